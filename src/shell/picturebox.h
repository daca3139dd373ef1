#pragma once
// A fixed-size picture control that keeps what was drawn on it (an image buffer) and its user
// scale between drawings, and reports mouse events in that scale. A one-pixel frame stands
// around the drawing, outside it: a graph's first and last columns (the hue-0 bar of the
// histogram) stay in view.

#include "views/canvas.h"

#include <QImage>
#include <QWidget>

#include <memory>

namespace velmara {

class PictureBox : public QWidget
{
    Q_OBJECT
public:
    // width and height are those of the drawing; the control is kFrame larger on every side.
    PictureBox(int width, int height, const UserScale &scale, QWidget *parent = nullptr);

    static constexpr int kFrame = 1;

    // A canvas on the buffer with the box's scale; call commit() when done so that the scale the
    // drawing set is kept and the box repaints.
    PainterCanvas *beginDrawing();
    void commit();

    void clear(QRgb colour);
    const UserScale &scale() const { return mScale; }
    const QImage &image() const { return mImage; }

    // User units of a point of the control, in the control's pixels (the frame included).
    double userX(double px) const { return mScale.Left + (px - kFrame) * mScale.Width / mImage.width(); }
    double userY(double py) const { return mScale.Top + (py - kFrame) * mScale.Height / mImage.height(); }
    // The drawing's place in the parent's coordinates, without the frame.
    QRect imageGeometry() const { return geometry().adjusted(kFrame, kFrame, -kFrame, -kFrame); }

signals:
    // button: 1 left, 2 right, 4 middle, 0 none; shift: 1 Shift, 2 Ctrl, 4 Alt, summed. pixel is
    // a pixel of the drawing.
    void mousePressed(int button, int shift, double x, double y, QPoint pixel);
    void mouseMoved(int buttons, int shift, double x, double y, QPoint pixel);
    void mouseReleased(int button, int shift, double x, double y, QPoint pixel);

protected:
    void paintEvent(QPaintEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;

private:
    static QPoint drawingPixel(QPointF pos);

    QImage mImage;
    UserScale mScale;
    std::unique_ptr<PainterCanvas> mCanvas;
};

// The button and shift codes of a mouse event, as the graph handlers take them.
int ButtonCode(Qt::MouseButtons buttons);
int ShiftCode(Qt::KeyboardModifiers modifiers);

} // namespace velmara
