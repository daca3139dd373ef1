#include "support/recordingreportcanvas.h"

#include <algorithm>

namespace velmara {

RecordingReportCanvas::RecordingReportCanvas(double pixelsPerInch, double dpi)
    : ReportCanvas(mFixed), mPixelsPerInch(pixelsPerInch), mDpi(dpi)
{
}

double RecordingReportCanvas::deviceDpi() const
{
    if (!mConversionFailure.empty())
        throw Failure(mConversionFailure);
    return mDpi;
}

RecordingReportCanvas::Call RecordingReportCanvas::stamped(Op op) const
{
    Call c;
    c.op = op;
    c.drawWidth = DrawWidth;
    c.drawStyle = DrawStyle;
    c.font = Font;
    return c;
}

void RecordingReportCanvas::simple(Op op)
{
    calls.push_back(stamped(op));
}

void RecordingReportCanvas::NewPage() { simple(Op::NewPage); }
void RecordingReportCanvas::EndDoc() { simple(Op::EndDoc); }
void RecordingReportCanvas::KillDoc() { simple(Op::KillDoc); }
void RecordingReportCanvas::clearSurface() { simple(Op::Cls); }

void RecordingReportCanvas::drawText(double x, double y, std::string_view utf8)
{
    Call c = stamped(Op::Text);
    c.x1 = x;
    c.y1 = y;
    c.text = std::string(utf8);
    c.colour = ForeColor;
    calls.push_back(std::move(c));
}

void RecordingReportCanvas::drawLine(double x1, double y1, double x2, double y2, ReportColour colour)
{
    Call c = stamped(Op::Line);
    c.x1 = x1;
    c.y1 = y1;
    c.x2 = x2;
    c.y2 = y2;
    c.colour = colour;
    calls.push_back(std::move(c));
}

void RecordingReportCanvas::drawRect(double x1, double y1, double x2, double y2, ReportColour outline,
                                     std::optional<ReportColour> fill)
{
    Call c = stamped(Op::Rect);
    c.x1 = x1;
    c.y1 = y1;
    c.x2 = x2;
    c.y2 = y2;
    c.colour = outline;
    c.filled = fill.has_value();
    c.fill = fill.value_or(0);
    calls.push_back(std::move(c));
}

void RecordingReportCanvas::drawCircle(double x, double y, double radius, ReportColour outline,
                                       std::optional<ReportColour> fill)
{
    Call c = stamped(Op::Circle);
    c.x1 = x;
    c.y1 = y;
    c.x2 = radius;
    c.colour = outline;
    c.filled = fill.has_value();
    c.fill = fill.value_or(0);
    calls.push_back(std::move(c));
}

int RecordingReportCanvas::count(Op op) const
{
    return static_cast<int>(std::count_if(calls.begin(), calls.end(),
                                          [op](const Call &c) { return c.op == op; }));
}

std::vector<std::string> RecordingReportCanvas::texts() const
{
    std::vector<std::string> out;
    for (const Call &c : calls)
        if (c.op == Op::Text)
            out.push_back(c.text);
    return out;
}

const RecordingReportCanvas::Call *RecordingReportCanvas::findText(std::string_view text) const
{
    for (const Call &c : calls)
        if (c.op == Op::Text && c.text == text)
            return &c;
    return nullptr;
}

} // namespace velmara
