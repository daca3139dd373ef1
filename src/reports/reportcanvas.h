#pragma once
// The page surface of the printed report. Coordinates are inches on an 8.5 by 11 inch page with
// the origin at the bottom left corner, y growing upward. The canvas keeps the pen, fill and font
// state between operations and moves a text cursor as the report's layout expects; a target (the
// preview picture, a printer, a PDF file, a recorder for tests) supplies only the drawing
// primitives and the text measure.

#include "core/numeric.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace velmara {

// A 24-bit colour: red + 256 green + 65536 blue; 0 is black.
using ReportColour = std::uint32_t;

constexpr ReportColour ReportRgb(int red, int green, int blue)
{
    return static_cast<ReportColour>((red & 0xff) | ((green & 0xff) << 8) | ((blue & 0xff) << 16));
}
constexpr int RedOf(ReportColour c) { return static_cast<int>(c & 0xff); }
constexpr int GreenOf(ReportColour c) { return static_cast<int>((c >> 8) & 0xff); }
constexpr int BlueOf(ReportColour c) { return static_cast<int>((c >> 16) & 0xff); }

struct ReportFont
{
    std::string Name = "Arial";
    double Size = 10; // points
    bool Bold = false;

    friend bool operator==(const ReportFont &, const ReportFont &) = default;
};

// Measures text in a font, in page inches; both results are positive. The height is that of one
// line of the font, whatever the text.
class TextMeasure
{
public:
    virtual ~TextMeasure() = default;
    virtual double width(const ReportFont &font, std::string_view utf8) const = 0;
    virtual double height(const ReportFont &font) const = 0;
};

enum class ScaleUnit { Page, Points, Pixels };

// Line style values of DrawStyle and FillStyle.
inline constexpr int kSolid = 0;
inline constexpr int kDotted = 2;
inline constexpr int kTransparent = 1;

class ReportCanvas
{
public:
    static constexpr double kPageWidth = 8.5;
    static constexpr double kPageHeight = 11;

    virtual ~ReportCanvas() = default;
    ReportCanvas(const ReportCanvas &) = delete;
    ReportCanvas &operator=(const ReportCanvas &) = delete;

    // --- Pen and font state. A fresh canvas draws 1 pixel wide, solid, black, without fill.
    double CurrentX = 0;
    double CurrentY = 0;
    int DrawWidth = 1; // device pixels
    int DrawStyle = kSolid;
    ReportColour ForeColor = 0;
    int FillStyle = kTransparent;
    ReportColour FillColor = 0;
    ReportFont Font;

    // Sets DrawWidth from a length in device pixels, rounded half to even, at least 1.
    void setDrawWidth(double pixels);

    // --- Operations.
    // Clears the drawing; the state stays, the cursor goes to (0, 0).
    void Cls();
    // Draws the text with its top left corner at the cursor, then moves the cursor to x = 0 one
    // line lower. An empty text only moves the cursor.
    void Print(std::string_view utf8 = {});
    // The same, but the cursor stays on the line right behind the text.
    void PrintStay(std::string_view utf8);
    double TextWidth(std::string_view utf8) const;
    double TextHeight(std::string_view utf8 = {}) const;

    // Line from (x1, y1) to (x2, y2) in the colour (ForeColor without one); the cursor ends at
    // (x2, y2).
    void Line(double x1, double y1, double x2, double y2, std::optional<ReportColour> colour = {});
    // From (x, y) to (x + dx, y + dy).
    void LineBy(double x, double y, double dx, double dy, std::optional<ReportColour> colour = {});
    // From the cursor.
    void LineTo(double x, double y, std::optional<ReportColour> colour = {});
    void LineToBy(double dx, double dy, std::optional<ReportColour> colour = {});
    // Outline of the rectangle (x, y)-(x + w, y + h), black without a colour; filled with
    // FillColor first when FillStyle is solid. The cursor ends at the far corner.
    void Box(double x, double y, double w, double h, std::optional<ReportColour> colour = {});
    // The same rectangle filled and outlined in the colour.
    void FilledBox(double x, double y, double w, double h, ReportColour colour);
    // Black outline, filled with FillColor when FillStyle is solid; radius in page inches along x.
    // The cursor ends at the centre.
    void Circle(double x, double y, double radius);

    // Converts a length between page inches, points and device pixels. Throws Failure when the
    // target cannot answer (a preview without any printer asks for points).
    double ScaleX(double value, ScaleUnit from, ScaleUnit to) const;

    // Printer only: next sheet, finish the job, abandon the job. Others ignore them.
    virtual void NewPage() {}
    virtual void EndDoc() {}
    virtual void KillDoc() {}

    // Device pixels per page inch.
    virtual double pixelsPerInch() const = 0;
    // Device pixels per physical inch, for conversions to points. Throws Failure when unknown.
    virtual double deviceDpi() const = 0;

    const TextMeasure &textMeasure() const { return mMeasure; }

protected:
    explicit ReportCanvas(const TextMeasure &measure) : mMeasure(measure) {}

    // Primitives in page inches, with the state as it stands.
    virtual void clearSurface() = 0;
    virtual void drawText(double x, double y, std::string_view utf8) = 0;
    virtual void drawLine(double x1, double y1, double x2, double y2, ReportColour colour) = 0;
    // Axis-aligned rectangle with corners (x1, y1) and (x2, y2); fill only when given.
    virtual void drawRect(double x1, double y1, double x2, double y2, ReportColour outline,
                          std::optional<ReportColour> fill) = 0;
    virtual void drawCircle(double x, double y, double radius, ReportColour outline,
                            std::optional<ReportColour> fill) = 0;

    const TextMeasure &mMeasure;
};

// The font model of the recording canvas: every character is 0.6 of the size wide and a line is
// 1.2 of the size high, Bold or not; so widths and heights are easy to work out by hand.
class FixedTextMeasure : public TextMeasure
{
public:
    double width(const ReportFont &font, std::string_view utf8) const override;
    double height(const ReportFont &font) const override;
};

// Number of characters of a UTF-8 text (continuation bytes do not count).
int CharacterCount(std::string_view utf8);

} // namespace velmara
