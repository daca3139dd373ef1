#pragma once
// A fixed-size picture control that keeps what was drawn on it (an image buffer) and its user
// scale between drawings, and reports mouse events in that scale.

#include "views/canvas.h"

#include <QImage>
#include <QWidget>

#include <memory>

namespace velmara {

class PictureBox : public QWidget
{
    Q_OBJECT
public:
    PictureBox(int width, int height, const UserScale &scale, QWidget *parent = nullptr);

    // A canvas on the buffer with the box's scale; call commit() when done so that the scale the
    // drawing set is kept and the box repaints.
    PainterCanvas *beginDrawing();
    void commit();

    void clear(QRgb colour);
    const UserScale &scale() const { return mScale; }
    const QImage &image() const { return mImage; }

    double userX(double px) const { return mScale.Left + px * mScale.Width / mImage.width(); }
    double userY(double py) const { return mScale.Top + py * mScale.Height / mImage.height(); }

signals:
    // button: 1 left, 2 right, 4 middle, 0 none; shift: 1 Shift, 2 Ctrl, 4 Alt, summed.
    void mousePressed(int button, int shift, double x, double y, QPoint pixel);
    void mouseMoved(int buttons, int shift, double x, double y, QPoint pixel);
    void mouseReleased(int button, int shift, double x, double y, QPoint pixel);

protected:
    void paintEvent(QPaintEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;

private:
    QImage mImage;
    UserScale mScale;
    std::unique_ptr<PainterCanvas> mCanvas;
};

// The button and shift codes of a mouse event, as the graph handlers take them.
int ButtonCode(Qt::MouseButtons buttons);
int ShiftCode(Qt::KeyboardModifiers modifiers);

} // namespace velmara
