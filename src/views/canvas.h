#pragma once
// A drawing surface with a user scale, as the graphs of the main window use it: left, width, top
// and height in user units, a negative height making the vertical axis point up. Drawing calls
// take pixels; the scale only converts. PainterCanvas draws on a QImage, RecordingCanvas keeps
// the calls so that tests can check coordinates, order and colours without a screen.

#include <QImage>
#include <QPainter>
#include <QPoint>
#include <QRgb>

#include <array>
#include <vector>

namespace velmara {

struct UserScale
{
    double Left = 0;
    double Width = 1;
    double Top = 0;
    double Height = 1;
};

class Canvas
{
public:
    Canvas(int pixelWidth, int pixelHeight) : mPixelWidth(pixelWidth), mPixelHeight(pixelHeight) {}
    virtual ~Canvas() = default;

    int pixelWidth() const { return mPixelWidth; }
    int pixelHeight() const { return mPixelHeight; }

    // The scale survives between drawings: the range band of the size graph is laid under the
    // scale of the previous drawing.
    const UserScale &scale() const { return mScale; }
    void setScale(const UserScale &scale) { mScale = scale; }

    // Positions (origin included) and lengths (origin ignored) between user units and pixels.
    // A length on an axis whose user height is negative comes out negative.
    double toPixelX(double x) const { return (x - mScale.Left) * mPixelWidth / mScale.Width; }
    double toPixelY(double y) const { return (y - mScale.Top) * mPixelHeight / mScale.Height; }
    double lengthToPixelsX(double w) const { return w * mPixelWidth / mScale.Width; }
    double lengthToPixelsY(double h) const { return h * mPixelHeight / mScale.Height; }
    double toUserX(double px) const { return mScale.Left + px * mScale.Width / mPixelWidth; }

    virtual void clear(QRgb background) = 0;
    // Filled box between two pixel corners, both included.
    virtual void fillBox(int x1, int y1, int x2, int y2, QRgb colour) = 0;
    virtual void line(int x1, int y1, int x2, int y2, QRgb colour) = 0;
    // A four-cornered polygon, outlined and filled.
    virtual void polygon(const std::array<QPoint, 4> &points, QRgb outline, QRgb fill) = 0;

protected:
    int mPixelWidth;
    int mPixelHeight;
    UserScale mScale;
};

// Draws into an image owned by the caller; the image must outlive the canvas, and is complete
// when the canvas is destroyed. One painter serves all calls: a drag redraws thousands of bars.
class PainterCanvas : public Canvas
{
public:
    explicit PainterCanvas(QImage &image);
    ~PainterCanvas() override;

    void clear(QRgb background) override;
    void fillBox(int x1, int y1, int x2, int y2, QRgb colour) override;
    void line(int x1, int y1, int x2, int y2, QRgb colour) override;
    void polygon(const std::array<QPoint, 4> &points, QRgb outline, QRgb fill) override;

private:
    bool drawSkylineBar(const std::array<QPoint, 4> &points, QRgb outline, QRgb fill);
    void plot(int x, int y, QRgb colour);

    QImage &mImage;
    QPainter mPainter;
    uchar *mBits = nullptr; // the image's pixels, for the bars
    qsizetype mStride = 0;
};

class RecordingCanvas : public Canvas
{
public:
    enum class Op { Clear, FillBox, Line, Polygon };
    struct Call
    {
        Op op;
        std::vector<QPoint> points; // box and line: two corners; polygon: four vertices
        QRgb colour = 0;            // fill of a box or polygon, colour of a line, clear colour
        QRgb outline = 0;
    };

    RecordingCanvas(int pixelWidth, int pixelHeight) : Canvas(pixelWidth, pixelHeight) {}

    void clear(QRgb background) override;
    void fillBox(int x1, int y1, int x2, int y2, QRgb colour) override;
    void line(int x1, int y1, int x2, int y2, QRgb colour) override;
    void polygon(const std::array<QPoint, 4> &points, QRgb outline, QRgb fill) override;

    std::vector<Call> calls;
    int count(Op op) const;
};

} // namespace velmara
