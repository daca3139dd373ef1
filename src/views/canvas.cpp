#include "views/canvas.h"


#include <algorithm>

namespace velmara {

PainterCanvas::PainterCanvas(QImage &image) : Canvas(image.width(), image.height()), mPainter(&image)
{
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

void PainterCanvas::polygon(const std::array<QPoint, 4> &points, QRgb outline, QRgb fill)
{
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
