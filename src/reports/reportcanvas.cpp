#include "reports/reportcanvas.h"

#include <algorithm>

namespace velmara {

void ReportCanvas::setDrawWidth(double pixels)
{
    DrawWidth = std::max<int>(1, CInt(pixels));
}

void ReportCanvas::Cls()
{
    clearSurface();
    CurrentX = 0;
    CurrentY = 0;
}

void ReportCanvas::Print(std::string_view utf8)
{
    if (!utf8.empty())
        drawText(CurrentX, CurrentY, utf8);
    CurrentX = 0;
    CurrentY -= TextHeight(utf8);
}

void ReportCanvas::PrintStay(std::string_view utf8)
{
    if (!utf8.empty())
        drawText(CurrentX, CurrentY, utf8);
    CurrentX += TextWidth(utf8);
}

double ReportCanvas::TextWidth(std::string_view utf8) const
{
    return utf8.empty() ? 0.0 : mMeasure.width(Font, utf8);
}

double ReportCanvas::TextHeight(std::string_view) const
{
    return mMeasure.height(Font);
}

void ReportCanvas::Line(double x1, double y1, double x2, double y2, std::optional<ReportColour> colour)
{
    drawLine(x1, y1, x2, y2, colour.value_or(ForeColor));
    CurrentX = x2;
    CurrentY = y2;
}

void ReportCanvas::LineBy(double x, double y, double dx, double dy, std::optional<ReportColour> colour)
{
    Line(x, y, x + dx, y + dy, colour);
}

void ReportCanvas::LineTo(double x, double y, std::optional<ReportColour> colour)
{
    Line(CurrentX, CurrentY, x, y, colour);
}

void ReportCanvas::LineToBy(double dx, double dy, std::optional<ReportColour> colour)
{
    Line(CurrentX, CurrentY, CurrentX + dx, CurrentY + dy, colour);
}

void ReportCanvas::Box(double x, double y, double w, double h, std::optional<ReportColour> colour)
{
    std::optional<ReportColour> fill;
    if (FillStyle == kSolid)
        fill = FillColor;
    drawRect(x, y, x + w, y + h, colour.value_or(0), fill);
    CurrentX = x + w;
    CurrentY = y + h;
}

void ReportCanvas::FilledBox(double x, double y, double w, double h, ReportColour colour)
{
    drawRect(x, y, x + w, y + h, colour, colour);
    CurrentX = x + w;
    CurrentY = y + h;
}

void ReportCanvas::Circle(double x, double y, double radius)
{
    std::optional<ReportColour> fill;
    if (FillStyle == kSolid)
        fill = FillColor;
    drawCircle(x, y, radius, 0, fill);
    CurrentX = x;
    CurrentY = y;
}

double ReportCanvas::ScaleX(double value, ScaleUnit from, ScaleUnit to) const
{
    if (from == to)
        return value;
    double pixels = value;
    if (from == ScaleUnit::Page)
        pixels = value * pixelsPerInch();
    else if (from == ScaleUnit::Points)
        pixels = value * deviceDpi() / 72.0;
    switch (to) {
    case ScaleUnit::Page:
        return pixels / pixelsPerInch();
    case ScaleUnit::Points:
        return pixels * 72.0 / deviceDpi();
    case ScaleUnit::Pixels:
        break;
    }
    return pixels;
}

int CharacterCount(std::string_view utf8)
{
    return static_cast<int>(std::count_if(utf8.begin(), utf8.end(), [](char c) {
        return (static_cast<unsigned char>(c) & 0xc0) != 0x80;
    }));
}

double FixedTextMeasure::width(const ReportFont &font, std::string_view utf8) const
{
    return CharacterCount(utf8) * 0.6 * font.Size / 72.0;
}

double FixedTextMeasure::height(const ReportFont &font) const
{
    return 1.2 * font.Size / 72.0;
}

} // namespace velmara
