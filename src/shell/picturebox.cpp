#include "shell/picturebox.h"

#include <QMouseEvent>
#include <QPainter>

namespace velmara {

int ButtonCode(Qt::MouseButtons buttons)
{
    int code = 0;
    if (buttons & Qt::LeftButton)
        code |= 1;
    if (buttons & Qt::RightButton)
        code |= 2;
    if (buttons & Qt::MiddleButton)
        code |= 4;
    return code;
}

int ShiftCode(Qt::KeyboardModifiers modifiers)
{
    int code = 0;
    if (modifiers & Qt::ShiftModifier)
        code |= 1;
    if (modifiers & Qt::ControlModifier)
        code |= 2;
    if (modifiers & Qt::AltModifier)
        code |= 4;
    return code;
}

PictureBox::PictureBox(int width, int height, const UserScale &scale, QWidget *parent)
    : QWidget(parent), mImage(width, height, QImage::Format_RGB32), mScale(scale)
{
    setFixedSize(width + 2 * kFrame, height + 2 * kFrame);
    mImage.fill(palette().color(QPalette::Window));
    setAttribute(Qt::WA_OpaquePaintEvent);
}

PainterCanvas *PictureBox::beginDrawing()
{
    mCanvas = std::make_unique<PainterCanvas>(mImage);
    mCanvas->setScale(mScale);
    return mCanvas.get();
}

void PictureBox::commit()
{
    if (mCanvas) {
        mScale = mCanvas->scale();
        mCanvas.reset();
    }
    update();
}

void PictureBox::clear(QRgb colour)
{
    mCanvas.reset();
    mImage.fill(colour);
    update();
}

void PictureBox::paintEvent(QPaintEvent *)
{
    QPainter p(this);
    p.drawImage(kFrame, kFrame, mImage);
    // A hairline edge so that a box in the window colour still shows; it lies around the drawing,
    // never over it.
    p.setPen(palette().color(QPalette::Mid));
    p.drawRect(rect().adjusted(0, 0, -1, -1));
}

QPoint PictureBox::drawingPixel(QPointF pos)
{
    return pos.toPoint() - QPoint(kFrame, kFrame);
}

void PictureBox::mousePressEvent(QMouseEvent *event)
{
    const QPointF pos = event->position();
    emit mousePressed(ButtonCode(event->button()), ShiftCode(event->modifiers()), userX(pos.x()),
                      userY(pos.y()), drawingPixel(pos));
}

void PictureBox::mouseMoveEvent(QMouseEvent *event)
{
    const QPointF pos = event->position();
    emit mouseMoved(ButtonCode(event->buttons()), ShiftCode(event->modifiers()), userX(pos.x()),
                    userY(pos.y()), drawingPixel(pos));
}

void PictureBox::mouseReleaseEvent(QMouseEvent *event)
{
    const QPointF pos = event->position();
    emit mouseReleased(ButtonCode(event->button()), ShiftCode(event->modifiers()), userX(pos.x()),
                       userY(pos.y()), drawingPixel(pos));
}

} // namespace velmara
