#include "views/qpainterreportcanvas.h"

#include <QPagedPaintDevice>
#include <QString>
#include <QStringList>

#include <cmath>

namespace velmara {

namespace {

QColor ToQColor(ReportColour c) { return QColor(RedOf(c), GreenOf(c), BlueOf(c)); }

QString ToQString(std::string_view utf8)
{
    return QString::fromUtf8(utf8.data(), static_cast<qsizetype>(utf8.size()));
}

} // namespace

const QFont &QtTextMeasure::realise(const ReportFont &font) const
{
    if (mKey && *mKey == font)
        return mFont;
    QFont f;
    if (font.Name == "Small Fonts")
        f.setFamilies({QStringLiteral("DejaVu Sans Condensed"), QStringLiteral("Liberation Sans Narrow"),
                       QStringLiteral("Arial")});
    else
        f.setFamilies({ToQString(font.Name), QStringLiteral("Liberation Sans"), QStringLiteral("Arimo")});
    f.setPointSizeF(std::max(0.5, font.Size));
    f.setBold(font.Bold);
    // Unhinted outlines keep text widths proportional to the size, so that the small preview
    // measures as the printed page does.
    f.setHintingPreference(QFont::PreferNoHinting);
    f.setKerning(false);
    mFont = f;
    mMetrics = std::make_unique<QFontMetricsF>(mFont, mDevice);
    mKey = font;
    return mFont;
}

const QFontMetricsF &QtTextMeasure::metrics(const ReportFont &font) const
{
    realise(font);
    return *mMetrics;
}

double QtTextMeasure::width(const ReportFont &font, std::string_view utf8) const
{
    return metrics(font).horizontalAdvance(ToQString(utf8)) / mPixelsPerInch;
}

double QtTextMeasure::height(const ReportFont &font) const
{
    return metrics(font).height() / mPixelsPerInch;
}

QPainterReportCanvas::QPainterReportCanvas(QImage &image, double screenDpi)
    : ReportCanvas(mQtMeasure),
      mImage(&image),
      mPpiX(image.width() / kPageWidth),
      mPpiY(image.height() / kPageHeight),
      mDpi(screenDpi),
      mQtMeasure(&image, image.width() / kPageWidth)
{
    const int dotsPerMeter = static_cast<int>(std::lround(screenDpi / 0.0254));
    image.setDotsPerMeterX(dotsPerMeter);
    image.setDotsPerMeterY(dotsPerMeter);
}

QPainterReportCanvas::QPainterReportCanvas(QPagedPaintDevice *device, std::function<void(bool)> finished,
                                           std::function<void()> aborting)
    : ReportCanvas(mQtMeasure),
      mPaged(device),
      mPpiX(device->logicalDpiX()),
      mPpiY(device->logicalDpiY()),
      mDpi(device->logicalDpiX()),
      mQtMeasure(device, device->logicalDpiX()),
      mFinished(std::move(finished)),
      mAborting(std::move(aborting))
{
    mPainter.begin(device);
    mPainter.setRenderHint(QPainter::Antialiasing, true);
    mPainter.setRenderHint(QPainter::TextAntialiasing, true);
}

QPainterReportCanvas::~QPainterReportCanvas()
{
    if (mPaged && !mEnded)
        finish(false);
    else
        flush();
}

bool QPainterReportCanvas::isActive() const
{
    return mPaged ? mPainter.isActive() && !mEnded : !mImage->isNull();
}

// The preview converts through the screen's resolution: it needs no printer to draw.
double QPainterReportCanvas::deviceDpi() const
{
    return mDpi;
}

bool QPainterReportCanvas::ensurePainter()
{
    if (mPainter.isActive())
        return true;
    if (!mImage || mImage->isNull())
        return false;
    mPainter.begin(mImage);
    mPainter.setRenderHint(QPainter::TextAntialiasing, true);
    return mPainter.isActive();
}

void QPainterReportCanvas::flushPolyline()
{
    if (mPolyline.size() >= 2 && mPainter.isActive()) {
        mPainter.setPen(mPolylinePen);
        mPainter.setBrush(Qt::NoBrush);
        mPainter.drawPolyline(mPolyline);
    }
    mPolyline.clear();
}

void QPainterReportCanvas::flush()
{
    flushPolyline();
    if (mImage && mPainter.isActive())
        mPainter.end();
}

void QPainterReportCanvas::finish(bool completed)
{
    if (mEnded)
        return;
    flushPolyline();
    if (!completed && mAborting)
        mAborting();
    if (mPainter.isActive())
        mPainter.end();
    mEnded = true;
    if (mFinished)
        mFinished(completed);
}

void QPainterReportCanvas::NewPage()
{
    flushPolyline();
    if (mPaged && !mEnded)
        mPaged->newPage();
}

void QPainterReportCanvas::EndDoc()
{
    if (mPaged)
        finish(true);
}

void QPainterReportCanvas::KillDoc()
{
    if (mPaged)
        finish(false);
}

QPen QPainterReportCanvas::penFor(ReportColour colour) const
{
    const double width = std::max(1, DrawWidth);
    QPen pen(ToQColor(colour), width, Qt::SolidLine, Qt::FlatCap, Qt::MiterJoin);
    if (mPaged && DrawWidth <= 1)
        pen.setWidthF(0); // the thinnest line the device draws, as one printer pixel is
    if (DrawStyle == kDotted) {
        // Dots of about 1/64 inch on a printer, single pixels on the screen; the pattern counts
        // in pen widths.
        const double dot = mPaged ? std::max(1.0, mPpiX / 64) : 1.0;
        const double unit = std::max(1.0, pen.widthF());
        pen.setDashPattern({dot / unit, dot / unit});
    }
    return pen;
}

void QPainterReportCanvas::clearSurface()
{
    flushPolyline();
    if (mImage) {
        if (mPainter.isActive())
            mPainter.end();
        mImage->fill(Qt::white);
    }
}

void QPainterReportCanvas::drawText(double x, double y, std::string_view utf8)
{
    flushPolyline();
    if (!ensurePainter())
        return;
    const QFont &font = mQtMeasure.realise(Font);
    mPainter.setFont(font);
    mPainter.setPen(ToQColor(ForeColor));
    const QPointF topLeft = toDevice(x, y);
    mPainter.drawText(QPointF(topLeft.x(), topLeft.y() + mQtMeasure.metrics(Font).ascent()),
                      ToQString(utf8));
}

void QPainterReportCanvas::drawLine(double x1, double y1, double x2, double y2, ReportColour colour)
{
    if (!ensurePainter())
        return;
    const QPen pen = penFor(colour);
    const QPointF a = toDevice(x1, y1), b = toDevice(x2, y2);
    if (!mPolyline.isEmpty() && pen == mPolylinePen && mPolyline.last() == a) {
        mPolyline.append(b);
        return;
    }
    flushPolyline();
    mPolylinePen = pen;
    mPolyline = {a, b};
    // Thin lines on the picture stay crisp, as on the screen of old; wide curves are smoothed.
    if (mImage)
        mPainter.setRenderHint(QPainter::Antialiasing, DrawWidth > 1);
}

void QPainterReportCanvas::drawRect(double x1, double y1, double x2, double y2, ReportColour outline,
                                    std::optional<ReportColour> fill)
{
    flushPolyline();
    if (!ensurePainter())
        return;
    const QRectF r = QRectF(toDevice(x1, y1), toDevice(x2, y2)).normalized();
    if (mImage)
        mPainter.setRenderHint(QPainter::Antialiasing, false);
    if (fill)
        mPainter.fillRect(r, ToQColor(*fill));
    mPainter.setPen(penFor(outline));
    mPainter.setBrush(Qt::NoBrush);
    mPainter.drawRect(r);
}

void QPainterReportCanvas::drawCircle(double x, double y, double radius, ReportColour outline,
                                      std::optional<ReportColour> fill)
{
    flushPolyline();
    if (!ensurePainter())
        return;
    if (mImage)
        mPainter.setRenderHint(QPainter::Antialiasing, true);
    mPainter.setPen(penFor(outline));
    if (fill)
        mPainter.setBrush(ToQColor(*fill));
    else
        mPainter.setBrush(Qt::NoBrush);
    const double r = radius * mPpiX;
    mPainter.drawEllipse(toDevice(x, y), r, r);
}

} // namespace velmara
