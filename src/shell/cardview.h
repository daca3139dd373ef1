#pragma once
// The card view: the picture of the current card at one image pixel per screen pixel, its top
// left corner at the pan position.

#include <QImage>
#include <QWidget>

namespace velmara {

class CardView : public QWidget
{
    Q_OBJECT
public:
    explicit CardView(QWidget *parent = nullptr);

    // The view paints the caller's image, which must outlive it or be replaced: a new mask only
    // changes that image's colour table, and no copy of a large sheet is made.
    void setPicture(const QImage *picture);
    const QImage *picture() const { return mPicture; }
    void clearPicture(const QColor &background);
    void setPan(int left, int top);
    QPoint pan() const { return mPan; }
    void setBackground(const QColor &colour);

signals:
    void mousePressed(QMouseEvent *event);
    void mouseReleased(QMouseEvent *event);
    // The wheel over the picture; the window pans with it.
    void wheelTurned(QWheelEvent *event);
    void resized();

protected:
    void paintEvent(QPaintEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void wheelEvent(QWheelEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;

private:
    const QImage *mPicture = nullptr;
    QPoint mPan;
    QColor mBackground{240, 240, 240};
};

} // namespace velmara
