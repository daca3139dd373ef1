#include "views/canvas.h"


#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace velmara {

PainterCanvas::PainterCanvas(QImage &image)
    : Canvas(image.width(), image.height()), mImage(image), mPainter(&image)
{
    mBits = mImage.bits();
    mStride = mImage.bytesPerLine();
}

PainterCanvas::~PainterCanvas()
{
    mPainter.end();
}

void PainterCanvas::clear(QRgb background)
{
    mPainter.fillRect(0, 0, mPixelWidth, mPixelHeight, QColor::fromRgb(background));
}

void PainterCanvas::fillBox(int x1, int y1, int x2, int y2, QRgb colour)
{
    // Clamp first: a band may reach far beyond the picture (RangeHigh 32755 on a small scale).
    const int left = std::max(0, std::min(x1, x2));
    const int right = std::min(mPixelWidth - 1, std::max(x1, x2));
    const int top = std::max(0, std::min(y1, y2));
    const int bottom = std::min(mPixelHeight - 1, std::max(y1, y2));
    if (left > right || top > bottom)
        return;
    mPainter.fillRect(QRect(QPoint(left, top), QPoint(right, bottom)), QColor::fromRgb(colour));
}

void PainterCanvas::line(int x1, int y1, int x2, int y2, QRgb colour)
{
    mPainter.setPen(QColor::fromRgb(colour));
    mPainter.drawLine(x1, y1, x2, y2);
}

void PainterCanvas::plot(int x, int y, QRgb colour)
{
    if (x >= 0 && y >= 0 && x < mPixelWidth && y < mPixelHeight)
        reinterpret_cast<QRgb *>(mBits + y * mStride)[x] = colour;
}

// The bars of the size graph have two vertical sides standing on one base line. Thousands of them
// are drawn at every mouse move of a drag, so they are set straight into the pixels: a general
// polygon through the painter costs several times more.
bool PainterCanvas::drawSkylineBar(const std::array<QPoint, 4> &pt, QRgb outline, QRgb fill)
{
    if (mImage.format() != QImage::Format_RGB32 && mImage.format() != QImage::Format_ARGB32)
        return false;
    if (pt[0].x() != pt[1].x() || pt[2].x() != pt[3].x() || pt[1].y() != pt[2].y())
        return false;
    const int base = pt[1].y();
    int xa = pt[0].x(), ya = pt[0].y(), xb = pt[3].x(), yb = pt[3].y();
    if (xa > xb) {
        std::swap(xa, xb);
        std::swap(ya, yb);
    }
    if (ya > base || yb > base)
        return false;
    fill |= 0xff000000;
    outline |= 0xff000000;
    // Interior columns: from the sloping top down to the base.
    const int from = std::max(xa + 1, 0);
    const int to = std::min(xb - 1, mPixelWidth - 1);
    for (int x = from; x <= to; ++x) {
        const double t = static_cast<double>(x - xa) / (xb - xa);
        const int top = static_cast<int>(std::lround(ya + (yb - ya) * t));
        for (int y = std::max(top, 0); y <= std::min(base, mPixelHeight - 1); ++y)
            reinterpret_cast<QRgb *>(mBits + y * mStride)[x] = fill;
    }
    // Outline: the two sides, the base, and the top edge stepped along its longer axis.
    for (int y = std::max(std::min(ya, base), 0); y <= std::min(base, mPixelHeight - 1); ++y)
        plot(xa, y, outline);
    for (int y = std::max(std::min(yb, base), 0); y <= std::min(base, mPixelHeight - 1); ++y)
        plot(xb, y, outline);
    if (base >= 0 && base < mPixelHeight)
        for (int x = std::max(xa, 0); x <= std::min(xb, mPixelWidth - 1); ++x)
            plot(x, base, outline);
    const int steps = std::max(xb - xa, std::abs(yb - ya));
    for (int s = 0; s <= steps && steps > 0; ++s) {
        const double t = static_cast<double>(s) / steps;
        plot(static_cast<int>(std::lround(xa + (xb - xa) * t)),
             static_cast<int>(std::lround(ya + (yb - ya) * t)), outline);
    }
    return true;
}

void PainterCanvas::polygon(const std::array<QPoint, 4> &points, QRgb outline, QRgb fill)
{
    if (drawSkylineBar(points, outline, fill))
        return;
    mPainter.setPen(QColor::fromRgb(outline));
    mPainter.setBrush(QColor::fromRgb(fill));
    mPainter.drawPolygon(points.data(), 4);
}

void RecordingCanvas::clear(QRgb background)
{
    calls.push_back({Op::Clear, {}, background, 0});
}

void RecordingCanvas::fillBox(int x1, int y1, int x2, int y2, QRgb colour)
{
    calls.push_back({Op::FillBox, {QPoint(x1, y1), QPoint(x2, y2)}, colour, 0});
}

void RecordingCanvas::line(int x1, int y1, int x2, int y2, QRgb colour)
{
    calls.push_back({Op::Line, {QPoint(x1, y1), QPoint(x2, y2)}, colour, 0});
}

void RecordingCanvas::polygon(const std::array<QPoint, 4> &points, QRgb outline, QRgb fill)
{
    calls.push_back({Op::Polygon, {points.begin(), points.end()}, fill, outline});
}

int RecordingCanvas::count(Op op) const
{
    return static_cast<int>(std::count_if(calls.begin(), calls.end(),
                                          [op](const Call &c) { return c.op == op; }));
}

} // namespace velmara
