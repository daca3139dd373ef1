#include "shell/toolicons.h"

#include <QPainter>
#include <QPainterPath>
#include <QPixmap>

namespace velmara {

namespace {

const QColor kInk(52, 73, 94);
const QColor kAccent(41, 128, 185);
const QColor kPaper(252, 252, 250);

// All pictures are drawn on a 24-unit square and scaled.
void drawIcon(QPainter &p, ToolIcon which)
{
    p.setRenderHint(QPainter::Antialiasing);
    QPen pen(kInk, 1.6, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin);
    p.setPen(pen);
    switch (which) {
    case ToolIcon::LoadTemplate:
        p.setBrush(kPaper);
        p.drawRoundedRect(QRectF(3, 2.5, 18, 19), 1.5, 1.5);
        p.setBrush(kAccent);
        p.setPen(Qt::NoPen);
        for (int r = 0; r < 3; ++r)
            for (int c = 0; c < 2; ++c)
                p.drawRoundedRect(QRectF(5.5 + c * 7, 4.5 + r * 5.7, 5.5, 4.3), 0.8, 0.8);
        break;
    case ToolIcon::Preferences:
        for (int i = 0; i < 3; ++i) {
            const double y = 6 + i * 6;
            p.setPen(pen);
            p.drawLine(QPointF(3, y), QPointF(21, y));
            const double x = i == 0 ? 8 : i == 1 ? 16 : 11;
            p.setBrush(kAccent);
            p.setPen(QPen(kInk, 1.2));
            p.drawEllipse(QPointF(x, y), 2.6, 2.6);
        }
        break;
    case ToolIcon::Resolution: {
        p.save();
        p.translate(12, 12);
        p.rotate(-40);
        p.setBrush(QColor(241, 196, 15));
        p.drawRect(QRectF(-11, -4, 22, 8));
        for (int i = 0; i < 9; ++i) {
            const double x = -9 + i * 2.25;
            p.drawLine(QPointF(x, -4), QPointF(x, i % 2 ? -1.8 : 0));
        }
        p.restore();
        break;
    }
    case ToolIcon::WriteResults:
        p.setBrush(kPaper);
        p.drawRect(QRectF(4, 2.5, 14, 18));
        for (int i = 0; i < 4; ++i)
            p.drawLine(QPointF(7, 7 + i * 3.2), QPointF(15, 7 + i * 3.2));
        p.setPen(QPen(kAccent, 2.2, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
        p.drawLine(QPointF(19, 12), QPointF(19, 21));
        p.drawLine(QPointF(15.5, 17.5), QPointF(19, 21));
        p.drawLine(QPointF(22.5, 17.5), QPointF(19, 21));
        break;
    case ToolIcon::Print:
        p.setBrush(kPaper);
        p.drawRect(QRectF(7, 2.5, 10, 7));
        p.setBrush(QColor(149, 165, 166));
        p.drawRoundedRect(QRectF(2.5, 9, 19, 9), 2, 2);
        p.setBrush(kPaper);
        p.drawRect(QRectF(7, 14, 10, 7.5));
        p.setPen(QPen(kAccent, 1.2));
        p.drawLine(QPointF(9, 17), QPointF(15, 17));
        p.drawLine(QPointF(9, 19.3), QPointF(15, 19.3));
        break;
    case ToolIcon::Application: {
        p.setBrush(QColor(255, 246, 178));
        p.drawRoundedRect(QRectF(2.5, 3.5, 19, 17), 2, 2);
        p.setPen(Qt::NoPen);
        p.setBrush(QColor(30, 80, 200));
        const QPointF spots[] = {{7, 8}, {15, 7.5}, {11, 12.5}, {17, 15}, {7, 16.5}, {13, 17.5}};
        const double radii[] = {2.2, 1.4, 2.8, 1.8, 1.2, 0.9};
        for (int i = 0; i < 6; ++i)
            p.drawEllipse(spots[i], radii[i], radii[i]);
        break;
    }
    }
}

} // namespace

QPixmap ToolIconPixmap(ToolIcon which, int size)
{
    QPixmap pixmap(size, size);
    pixmap.fill(Qt::transparent);
    QPainter p(&pixmap);
    p.scale(size / 24.0, size / 24.0);
    drawIcon(p, which);
    return pixmap;
}

QIcon MakeToolIcon(ToolIcon which)
{
    QIcon icon;
    for (int size : {16, 20, 24, 32, 48})
        icon.addPixmap(ToolIconPixmap(which, size));
    return icon;
}

} // namespace velmara
