#pragma once
// The canvas of the composite charts: a picture with a user scale and a drawing state (pen width
// and colour, solid or dotted, an optional fill, a font, a current position), as the line chart
// and the swath view draw on it. Coordinates are user units; pixel offsets go through
// scaleX()/scaleY(), which give lengths (negative vertically on a canvas whose height is
// negative). Text stands by its top left corner at the current position.
//
// PainterChartCanvas renders into a QImage; RecordingChartCanvas keeps every call in pixels, with
// fixed text metrics, so that tests check coordinates, order, pens and colours without a window.

#include "views/canvas.h"

#include <QFont>
#include <QFontMetricsF>
#include <QImage>
#include <QPainter>
#include <QPointF>
#include <QRgb>
#include <QString>

#include <memory>
#include <utility>
#include <vector>

namespace velmara {

inline constexpr QRgb kChartBlack = 0xff000000;
inline constexpr QRgb kChartWhite = 0xffffffff;
inline constexpr QRgb kChartRed = 0xffff0000;

struct ChartFont
{
    QString Name = QStringLiteral("MS Sans Serif");
    double Size = 8; // points
    bool Bold = false;
};

class ChartCanvas : public Canvas
{
public:
    enum class Style { Solid, Dotted };

    ChartCanvas(int pixelWidth, int pixelHeight) : Canvas(pixelWidth, pixelHeight) {}

    // --- Drawing state, kept until changed.
    int DrawWidth = 1;
    QRgb ForeColor = kChartBlack;
    QRgb BackColor = kChartWhite;
    Style DrawStyle = Style::Solid;
    bool FillShapes = false; // circles and boxes drawn by box()/circle() take FillColor
    QRgb FillColor = kChartBlack;
    ChartFont Font;
    double CurrentX = 0;
    double CurrentY = 0;

    void setScaleTo(double left, double width, double top, double height)
    {
        setScale({left, width, top, height});
    }
    // User length of a pixel length; vertical lengths come out negative when Height is.
    double scaleX(double pixels) const { return pixels * mScale.Width / mPixelWidth; }
    double scaleY(double pixels) const { return pixels * mScale.Height / mPixelHeight; }

    // Text extent in user units: the height is negative on a canvas with a negative height.
    double textWidth(const QString &text) const { return scaleX(textWidthPixels(text)); }
    double textHeight(const QString &text) const { return scaleY(textHeightPixels(text)); }
    virtual double textWidthPixels(const QString &text) const = 0;
    virtual double textHeightPixels(const QString &text) const = 0;

    // --- Operations in user units, with the state above.
    // Fills the picture with BackColor.
    void cls();
    void drawLine(double x1, double y1, double x2, double y2) { drawLine(x1, y1, x2, y2, ForeColor); }
    void drawLine(double x1, double y1, double x2, double y2, QRgb colour);
    // Outline in colour; filled with FillColor when FillShapes is on.
    void drawBox(double x1, double y1, double x2, double y2, QRgb colour);
    // Filled with colour, outline included.
    void fillBoxUser(double x1, double y1, double x2, double y2, QRgb colour);
    // Radius in pixels; outline in ForeColor, fill as for drawBox.
    void drawCircle(double x, double y, double radiusPixels);
    void drawPolyline(const std::vector<QPointF> &points, QRgb colour);
    // Prints at (CurrentX, CurrentY), the text's top left corner.
    void print(const QString &text);
    // The text turned about its starting corner: 90 reads upward, 270 downward. Font as given.
    void printRotated(const QString &text, const ChartFont &font, int angle, double x, double y);

    // Pixel extent of a text in a font other than the current one.
    double fontTextWidthPixels(const QString &text, const ChartFont &font);
    double fontTextHeightPixels(const QString &text, const ChartFont &font);

    // Calls dropped because a coordinate was not finite; the charts guard against it, so this
    // stays 0.
    int DroppedCalls = 0;

protected:
    // Pixel primitives; coordinates are finite (the public calls drop anything else).
    virtual void pixelLine(QPointF a, QPointF b, QRgb colour, int width, Style style) = 0;
    virtual void pixelRect(QPointF a, QPointF b, QRgb outline, int width, Style style, bool filled,
                           QRgb fill) = 0;
    virtual void pixelEllipse(QPointF centre, double radius, QRgb outline, bool filled, QRgb fill) = 0;
    virtual void pixelPolyline(const std::vector<QPointF> &points, QRgb colour, int width) = 0;
    virtual void pixelText(QPointF topLeft, const QString &text, const ChartFont &font, QRgb colour,
                           int angle) = 0;

    QPointF toPixels(double x, double y) const { return {toPixelX(x), toPixelY(y)}; }
};

// The labels under a horizontal axis, each centred on its x with its top a number of pixels below
// y = 0. A label is printed only where it keeps clear of those already printed, so that
// neighbours never run together; place the ones that matter most first.
class AxisLabelRow
{
public:
    explicit AxisLabelRow(ChartCanvas &canvas, double dyPixels, double gapPixels = 4)
        : mCanvas(canvas), mDy(dyPixels), mGap(gapPixels)
    {
    }
    // Prints text centred on x when it has room; returns whether it did.
    bool place(const QString &text, double x);

private:
    ChartCanvas &mCanvas;
    double mDy;
    double mGap;
    std::vector<std::pair<double, double>> mTaken; // pixel spans of the printed labels
};

class PainterChartCanvas : public ChartCanvas
{
public:
    // The image must outlive the canvas; drawing is complete when the canvas is destroyed.
    explicit PainterChartCanvas(QImage &image);
    ~PainterChartCanvas() override;

    double textWidthPixels(const QString &text) const override;
    double textHeightPixels(const QString &text) const override;

    // Pixel-level calls of the base Canvas (unused by the charts, kept for completeness).
    void clear(QRgb background) override;
    void fillBox(int x1, int y1, int x2, int y2, QRgb colour) override;
    void line(int x1, int y1, int x2, int y2, QRgb colour) override;
    void polygon(const std::array<QPoint, 4> &points, QRgb outline, QRgb fill) override;

    // The Qt font that stands for a chart font on this system.
    static QFont qtFont(const ChartFont &font);

protected:
    void pixelLine(QPointF a, QPointF b, QRgb colour, int width, Style style) override;
    void pixelRect(QPointF a, QPointF b, QRgb outline, int width, Style style, bool filled,
                   QRgb fill) override;
    void pixelEllipse(QPointF centre, double radius, QRgb outline, bool filled, QRgb fill) override;
    void pixelPolyline(const std::vector<QPointF> &points, QRgb colour, int width) override;
    void pixelText(QPointF topLeft, const QString &text, const ChartFont &font, QRgb colour,
                   int angle) override;

private:
    void setPen(QRgb colour, int width, Style style);
    // Font lookups are slow next to drawing: the font and metrics of the last chart font are kept.
    const QFontMetricsF &metrics(const ChartFont &font) const;
    QImage &mImage;
    QPainter mPainter;
    mutable ChartFont mMetricsFont;
    mutable std::unique_ptr<QFont> mFont;
    mutable std::unique_ptr<QFontMetricsF> mMetrics;
};

class RecordingChartCanvas : public ChartCanvas
{
public:
    enum class Op { Clear, Line, Box, Circle, Polyline, Text };
    struct Call
    {
        Op op;
        std::vector<QPointF> points; // pixels: line and box two corners, circle its centre,
                                     // text its top left corner, polyline every vertex
        QRgb colour = 0;             // pen, or the background of Clear
        int width = 1;
        Style style = Style::Solid;
        bool filled = false;
        QRgb fill = 0;
        double radius = 0;
        QString text;
        ChartFont font;
        int angle = 0;
    };

    RecordingChartCanvas(int pixelWidth, int pixelHeight) : ChartCanvas(pixelWidth, pixelHeight) {}

    // Fixed metrics: a character is 0.75 times the point size wide, a line 1.625 times high,
    // each rounded to whole pixels (6 by 13 at 8 points).
    double textWidthPixels(const QString &text) const override;
    double textHeightPixels(const QString &text) const override;
    static double charWidthPixels(double size);
    static double lineHeightPixels(double size);

    void clear(QRgb background) override;
    void fillBox(int x1, int y1, int x2, int y2, QRgb colour) override;
    void line(int x1, int y1, int x2, int y2, QRgb colour) override;
    void polygon(const std::array<QPoint, 4> &points, QRgb outline, QRgb fill) override;

    std::vector<Call> calls;

    std::vector<const Call *> of(Op op) const;
    const Call *findText(const QString &text) const;

protected:
    void pixelLine(QPointF a, QPointF b, QRgb colour, int width, Style style) override;
    void pixelRect(QPointF a, QPointF b, QRgb outline, int width, Style style, bool filled,
                   QRgb fill) override;
    void pixelEllipse(QPointF centre, double radius, QRgb outline, bool filled, QRgb fill) override;
    void pixelPolyline(const std::vector<QPointF> &points, QRgb colour, int width) override;
    void pixelText(QPointF topLeft, const QString &text, const ChartFont &font, QRgb colour,
                   int angle) override;
};

} // namespace velmara
