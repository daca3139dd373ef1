#include "shell/cardview.h"

#include <QMouseEvent>
#include <QPainter>
#include <QWheelEvent>

namespace velmara {

CardView::CardView(QWidget *parent) : QWidget(parent)
{
    setAttribute(Qt::WA_OpaquePaintEvent);
    setFocusPolicy(Qt::StrongFocus);
    setMinimumSize(200, 150);
}

void CardView::setPicture(const QImage *picture)
{
    mPicture = picture;
    update();
}

void CardView::clearPicture(const QColor &background)
{
    mPicture = nullptr;
    mBackground = background;
    update();
}

void CardView::setPan(int left, int top)
{
    mPan = QPoint(left, top);
    update();
}

void CardView::setBackground(const QColor &colour)
{
    mBackground = colour;
    update();
}

void CardView::paintEvent(QPaintEvent *event)
{
    QPainter p(this);
    p.fillRect(event->rect(), mBackground);
    if (mPicture && !mPicture->isNull()) {
        // Only the visible part of a large sheet is converted and drawn.
        const QRect source = QRect(mPan, size()).intersected(mPicture->rect());
        p.drawImage(source.topLeft() - mPan, *mPicture, source);
    }
}

void CardView::mousePressEvent(QMouseEvent *event)
{
    setFocus();
    emit mousePressed(event);
}

void CardView::mouseReleaseEvent(QMouseEvent *event)
{
    emit mouseReleased(event);
}

void CardView::wheelEvent(QWheelEvent *event)
{
    event->ignore();
    emit wheelTurned(event);
}

void CardView::resizeEvent(QResizeEvent *)
{
    emit resized();
}

} // namespace velmara
