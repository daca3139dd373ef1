#pragma once
// The image information popup: resolution, size and area of the current card, shown while the
// right mouse button is held on the card view.

#include "core/records.h"

#include <QFrame>
#include <QString>

class QLabel;

namespace velmara {

struct ImageInfoTexts
{
    QString resolution;  // "21.2 µm/pixel"
    QString dpi;         // "1200 d.p.i."
    QString pixels;      // "2000×3000 pixels"
    QString size;        // "4.23×6.35 cm" or "1.67×2.50 inches"
    QString area;        // "26.88 cm ²" or "4.17 inches ²"
};

ImageInfoTexts ImageInformation(const CardImage &card, bool metric);

class InfoForm : public QFrame
{
    Q_OBJECT
public:
    InfoForm(const CardImage &card, bool metric, QWidget *parent = nullptr);

    const ImageInfoTexts &texts() const { return mTexts; }

private:
    ImageInfoTexts mTexts;
};

} // namespace velmara
