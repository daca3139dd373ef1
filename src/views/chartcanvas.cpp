#include "views/chartcanvas.h"

#include <QFontMetricsF>

#include <algorithm>
#include <cmath>
#include <utility>

namespace velmara {

namespace {

bool finite(QPointF p)
{
    return std::isfinite(p.x()) && std::isfinite(p.y());
}

// A far-away point (a position of 1E+30 on a line of a few metres) stays far away without
// overflowing the painter's fixed-point arithmetic.
QPointF held(QPointF p)
{
    constexpr double kFar = 1.0e6;
    return {std::clamp(p.x(), -kFar, kFar), std::clamp(p.y(), -kFar, kFar)};
}

// Points of a chart font in pixels, at 15 twips per pixel as the layout assumes everywhere.
int fontPixels(double size)
{
    const double px = std::nearbyint(size * 20.0 / 15.0);
    return static_cast<int>(std::clamp(px, 1.0, 400.0));
}

} // namespace

void ChartCanvas::cls()
{
    clear(BackColor);
}

void ChartCanvas::drawLine(double x1, double y1, double x2, double y2, QRgb colour)
{
    const QPointF a = toPixels(x1, y1), b = toPixels(x2, y2);
    if (!finite(a) || !finite(b)) {
        ++DroppedCalls;
        return;
    }
    pixelLine(a, b, colour, DrawWidth, DrawStyle);
}

void ChartCanvas::drawBox(double x1, double y1, double x2, double y2, QRgb colour)
{
    const QPointF a = toPixels(x1, y1), b = toPixels(x2, y2);
    if (!finite(a) || !finite(b)) {
        ++DroppedCalls;
        return;
    }
    pixelRect(a, b, colour, DrawWidth, DrawStyle, FillShapes, FillColor);
}

void ChartCanvas::fillBoxUser(double x1, double y1, double x2, double y2, QRgb colour)
{
    const QPointF a = toPixels(x1, y1), b = toPixels(x2, y2);
    if (!finite(a) || !finite(b)) {
        ++DroppedCalls;
        return;
    }
    pixelRect(a, b, colour, 1, Style::Solid, true, colour);
}

void ChartCanvas::drawCircle(double x, double y, double radiusPixels)
{
    const QPointF c = toPixels(x, y);
    if (!finite(c) || !std::isfinite(radiusPixels)) {
        ++DroppedCalls;
        return;
    }
    pixelEllipse(c, radiusPixels, ForeColor, FillShapes, FillColor);
}

void ChartCanvas::drawPolyline(const std::vector<QPointF> &points, QRgb colour)
{
    std::vector<QPointF> pixels;
    pixels.reserve(points.size());
    for (const QPointF &p : points) {
        const QPointF q = toPixels(p.x(), p.y());
        if (!finite(q)) {
            ++DroppedCalls;
            return;
        }
        pixels.push_back(q);
    }
    if (pixels.size() >= 2)
        pixelPolyline(pixels, colour, DrawWidth);
}

void ChartCanvas::print(const QString &text)
{
    const QPointF p = toPixels(CurrentX, CurrentY);
    if (!finite(p)) {
        ++DroppedCalls;
        return;
    }
    pixelText(p, text, Font, ForeColor, 0);
    CurrentX += textWidth(text);
}

void ChartCanvas::printRotated(const QString &text, const ChartFont &font, int angle, double x, double y)
{
    CurrentX = x;
    CurrentY = y;
    const QPointF p = toPixels(x, y);
    if (!finite(p)) {
        ++DroppedCalls;
        return;
    }
    pixelText(p, text, font, ForeColor, angle);
}

double ChartCanvas::fontTextWidthPixels(const QString &text, const ChartFont &font)
{
    const ChartFont kept = Font;
    Font = font;
    const double w = textWidthPixels(text);
    Font = kept;
    return w;
}

double ChartCanvas::fontTextHeightPixels(const QString &text, const ChartFont &font)
{
    const ChartFont kept = Font;
    Font = font;
    const double h = textHeightPixels(text);
    Font = kept;
    return h;
}

bool AxisLabelRow::place(const QString &text, double x)
{
    const double width = mCanvas.textWidthPixels(text);
    const double from = mCanvas.toPixelX(x) - width / 2;
    const double to = from + width;
    if (!std::isfinite(from))
        return false;
    for (const auto &[a, b] : mTaken)
        if (from < b + mGap && a < to + mGap)
            return false;
    mTaken.emplace_back(from, to);
    mCanvas.CurrentX = x - mCanvas.textWidth(text) / 2;
    mCanvas.CurrentY = mCanvas.scaleY(mDy);
    mCanvas.print(text);
    return true;
}

// --- Painter.

PainterChartCanvas::PainterChartCanvas(QImage &image)
    : ChartCanvas(image.width(), image.height()), mImage(image), mPainter(&image)
{
}

PainterChartCanvas::~PainterChartCanvas()
{
    mPainter.end();
}

QFont PainterChartCanvas::qtFont(const ChartFont &font)
{
    QFont f;
    // The faces the charts name may be missing; a metric-compatible sans face stands in.
    f.setFamilies({font.Name, QStringLiteral("Arial"), QStringLiteral("Liberation Sans"),
                   QStringLiteral("Helvetica"), QStringLiteral("DejaVu Sans")});
    f.setStyleHint(QFont::SansSerif);
    f.setPixelSize(fontPixels(font.Size));
    f.setBold(font.Bold);
    return f;
}

const QFontMetricsF &PainterChartCanvas::metrics(const ChartFont &font) const
{
    if (!mMetrics || font.Name != mMetricsFont.Name || font.Size != mMetricsFont.Size || font.Bold != mMetricsFont.Bold) {
        mMetricsFont = font;
        mFont = std::make_unique<QFont>(qtFont(font));
        mMetrics = std::make_unique<QFontMetricsF>(*mFont, &mImage);
    }
    return *mMetrics;
}

double PainterChartCanvas::textWidthPixels(const QString &text) const
{
    return metrics(Font).horizontalAdvance(text);
}

double PainterChartCanvas::textHeightPixels(const QString &text) const
{
    Q_UNUSED(text)
    return metrics(Font).height();
}

void PainterChartCanvas::clear(QRgb background)
{
    mPainter.fillRect(0, 0, mPixelWidth, mPixelHeight, QColor::fromRgb(background));
}

void PainterChartCanvas::fillBox(int x1, int y1, int x2, int y2, QRgb colour)
{
    mPainter.fillRect(QRect(QPoint(std::min(x1, x2), std::min(y1, y2)), QPoint(std::max(x1, x2), std::max(y1, y2))),
                      QColor::fromRgb(colour));
}

void PainterChartCanvas::line(int x1, int y1, int x2, int y2, QRgb colour)
{
    setPen(colour, 1, Style::Solid);
    mPainter.drawLine(x1, y1, x2, y2);
}

void PainterChartCanvas::polygon(const std::array<QPoint, 4> &points, QRgb outline, QRgb fill)
{
    setPen(outline, 1, Style::Solid);
    mPainter.setBrush(QColor::fromRgb(fill));
    mPainter.drawPolygon(points.data(), 4);
    mPainter.setBrush(Qt::NoBrush);
}

void PainterChartCanvas::setPen(QRgb colour, int width, Style style)
{
    QPen pen(QColor::fromRgb(colour));
    pen.setWidth(std::max(1, width));
    // A dotted pen exists only at width 1, as on the screens the charts were laid out for.
    pen.setStyle(style == Style::Dotted && width <= 1 ? Qt::DotLine : Qt::SolidLine);
    pen.setCapStyle(Qt::FlatCap);
    mPainter.setPen(pen);
}

void PainterChartCanvas::pixelLine(QPointF a, QPointF b, QRgb colour, int width, Style style)
{
    setPen(colour, width, style);
    mPainter.setRenderHint(QPainter::Antialiasing, width > 1);
    mPainter.drawLine(held(a), held(b));
}

void PainterChartCanvas::pixelRect(QPointF a, QPointF b, QRgb outline, int width, Style style, bool filled,
                                   QRgb fill)
{
    const QRectF r = QRectF(held(a), held(b)).normalized();
    mPainter.setRenderHint(QPainter::Antialiasing, false);
    if (filled)
        mPainter.fillRect(r.adjusted(0, 0, 1, 1), QColor::fromRgb(fill));
    setPen(outline, width, style);
    mPainter.setBrush(Qt::NoBrush);
    mPainter.drawRect(r);
}

void PainterChartCanvas::pixelEllipse(QPointF centre, double radius, QRgb outline, bool filled, QRgb fill)
{
    setPen(outline, 1, Style::Solid);
    mPainter.setRenderHint(QPainter::Antialiasing, true);
    mPainter.setBrush(filled ? QBrush(QColor::fromRgb(fill)) : QBrush(Qt::NoBrush));
    mPainter.drawEllipse(held(centre), radius, radius);
    mPainter.setBrush(Qt::NoBrush);
}

void PainterChartCanvas::pixelPolyline(const std::vector<QPointF> &points, QRgb colour, int width)
{
    // Segment by segment: a profile of thousands of points folds over itself, and filling it as
    // one stroked path costs far more than drawing its pieces.
    std::vector<QLineF> segments;
    segments.reserve(points.size());
    for (size_t i = 1; i < points.size(); ++i)
        segments.emplace_back(held(points[i - 1]), held(points[i]));
    QPen pen(QColor::fromRgb(colour));
    pen.setWidth(std::max(1, width));
    pen.setCapStyle(Qt::RoundCap);
    mPainter.setPen(pen);
    mPainter.setRenderHint(QPainter::Antialiasing, false);
    mPainter.drawLines(segments.data(), static_cast<int>(segments.size()));
}

void PainterChartCanvas::pixelText(QPointF topLeft, const QString &text, const ChartFont &font, QRgb colour,
                                   int angle)
{
    const QFontMetricsF &m = metrics(font);
    mPainter.setFont(*mFont);
    mPainter.setPen(QColor::fromRgb(colour));
    mPainter.save();
    mPainter.translate(held(topLeft));
    // Angles turn counter-clockwise on the screen; the painter turns clockwise.
    if (angle != 0)
        mPainter.rotate(-angle);
    mPainter.drawText(QPointF(0, m.ascent()), text);
    mPainter.restore();
}

// --- Recording.

double RecordingChartCanvas::charWidthPixels(double size)
{
    return std::nearbyint(size * 0.75);
}

double RecordingChartCanvas::lineHeightPixels(double size)
{
    return std::nearbyint(size * 1.625);
}

double RecordingChartCanvas::textWidthPixels(const QString &text) const
{
    return charWidthPixels(Font.Size) * text.size();
}

double RecordingChartCanvas::textHeightPixels(const QString &) const
{
    return lineHeightPixels(Font.Size);
}

void RecordingChartCanvas::clear(QRgb background)
{
    Call c;
    c.op = Op::Clear;
    c.colour = background;
    calls.push_back(std::move(c));
}

void RecordingChartCanvas::fillBox(int x1, int y1, int x2, int y2, QRgb colour)
{
    pixelRect(QPointF(x1, y1), QPointF(x2, y2), colour, 1, Style::Solid, true, colour);
}

void RecordingChartCanvas::line(int x1, int y1, int x2, int y2, QRgb colour)
{
    pixelLine(QPointF(x1, y1), QPointF(x2, y2), colour, 1, Style::Solid);
}

void RecordingChartCanvas::polygon(const std::array<QPoint, 4> &points, QRgb outline, QRgb)
{
    pixelPolyline({points.begin(), points.end()}, outline, 1);
}

void RecordingChartCanvas::pixelLine(QPointF a, QPointF b, QRgb colour, int width, Style style)
{
    Call c;
    c.op = Op::Line;
    c.points = {a, b};
    c.colour = colour;
    c.width = width;
    c.style = style;
    calls.push_back(std::move(c));
}

void RecordingChartCanvas::pixelRect(QPointF a, QPointF b, QRgb outline, int width, Style style, bool filled,
                                     QRgb fill)
{
    Call c;
    c.op = Op::Box;
    c.points = {a, b};
    c.colour = outline;
    c.width = width;
    c.style = style;
    c.filled = filled;
    c.fill = fill;
    calls.push_back(std::move(c));
}

void RecordingChartCanvas::pixelEllipse(QPointF centre, double radius, QRgb outline, bool filled, QRgb fill)
{
    Call c;
    c.op = Op::Circle;
    c.points = {centre};
    c.colour = outline;
    c.filled = filled;
    c.fill = fill;
    c.radius = radius;
    calls.push_back(std::move(c));
}

void RecordingChartCanvas::pixelPolyline(const std::vector<QPointF> &points, QRgb colour, int width)
{
    Call c;
    c.op = Op::Polyline;
    c.points = points;
    c.colour = colour;
    c.width = width;
    calls.push_back(std::move(c));
}

void RecordingChartCanvas::pixelText(QPointF topLeft, const QString &text, const ChartFont &font, QRgb colour,
                                     int angle)
{
    Call c;
    c.op = Op::Text;
    c.points = {topLeft};
    c.colour = colour;
    c.text = text;
    c.font = font;
    c.angle = angle;
    calls.push_back(std::move(c));
}

std::vector<const RecordingChartCanvas::Call *> RecordingChartCanvas::of(Op op) const
{
    std::vector<const Call *> found;
    for (const Call &c : calls)
        if (c.op == op)
            found.push_back(&c);
    return found;
}

const RecordingChartCanvas::Call *RecordingChartCanvas::findText(const QString &text) const
{
    for (const Call &c : calls)
        if (c.op == Op::Text && c.text == text)
            return &c;
    return nullptr;
}

} // namespace velmara
