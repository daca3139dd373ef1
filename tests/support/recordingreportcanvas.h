#pragma once
// A report canvas that keeps every drawing call with the state it was made in, so that tests can
// check the pages' layout without any device.

#include "reports/reportcanvas.h"

#include <string>
#include <vector>

namespace velmara {

class RecordingReportCanvas : public ReportCanvas
{
public:
    enum class Op { Cls, Text, Line, Rect, Circle, NewPage, EndDoc, KillDoc };
    struct Call
    {
        Op op = Op::Cls;
        double x1 = 0, y1 = 0, x2 = 0, y2 = 0; // text: top left; circle: centre, radius in x2
        std::string text;
        ReportColour colour = 0;             // line colour, outline
        bool filled = false;
        ReportColour fill = 0;
        int drawWidth = 1;
        int drawStyle = kSolid;
        ReportFont font;
    };

    // A printer has as many pixels per page inch as per physical inch (1200, 1200); a preview
    // picture 425 pixels across the page on a 96 dpi screen has 50 and 96.
    explicit RecordingReportCanvas(double pixelsPerInch = 1200, double dpi = 1200);

    double pixelsPerInch() const override { return mPixelsPerInch; }
    double deviceDpi() const override;

    void NewPage() override;
    void EndDoc() override;
    void KillDoc() override;

    // deviceDpi() then throws Failure(text), as a preview without any printer does.
    void failConversions(const std::string &text) { mConversionFailure = text; }

    std::vector<Call> calls;
    int count(Op op) const;
    // Texts in order of drawing.
    std::vector<std::string> texts() const;
    // The first text call equal to text; nullptr when none.
    const Call *findText(std::string_view text) const;

protected:
    void clearSurface() override;
    void drawText(double x, double y, std::string_view utf8) override;
    void drawLine(double x1, double y1, double x2, double y2, ReportColour colour) override;
    void drawRect(double x1, double y1, double x2, double y2, ReportColour outline,
                  std::optional<ReportColour> fill) override;
    void drawCircle(double x, double y, double radius, ReportColour outline,
                    std::optional<ReportColour> fill) override;

private:
    Call stamped(Op op) const;
    void simple(Op op);

    FixedTextMeasure mFixed;
    double mPixelsPerInch;
    double mDpi;
    std::string mConversionFailure;
};

} // namespace velmara
