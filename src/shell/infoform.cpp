#include "shell/infoform.h"

#include "views/textforms.h"

#include <QGridLayout>
#include <QLabel>

namespace velmara {

ImageInfoTexts ImageInformation(const CardImage &card, bool metric)
{
    const QChar times(0x00D7), micro(0x00B5), squared(0x00B2);
    ImageInfoTexts t;
    t.resolution = FixedText(card.MicronsPerPixelX, 1) + QLatin1Char(' ') + micro
                   + QStringLiteral("m/pixel");
    t.dpi = QString::number(card.Dpi) + QStringLiteral(" d.p.i.");
    t.pixels = QString::number(card.WidthPx) + times + QString::number(card.HeightPx)
               + QStringLiteral(" pixels");
    if (metric) {
        const double w = card.WidthPx * card.MicronsPerPixelX / 10000.0;
        const double h = card.HeightPx * card.MicronsPerPixelY / 10000.0;
        t.size = FixedText(w, 2) + times + FixedText(h, 2) + QStringLiteral(" cm");
        t.area = FixedText(card.AreaCm2, 2) + QStringLiteral(" cm ") + squared;
    } else {
        const double dpi = card.Dpi != 0 ? static_cast<double>(card.Dpi) : 1.0;
        t.size = FixedText(card.WidthPx / dpi, 2) + times + FixedText(card.HeightPx / dpi, 2)
                 + QStringLiteral(" inches");
        const double k = 3.2808 * 12.0 / 100.0;
        t.area = FixedText(k * k * card.AreaCm2, 2) + QStringLiteral(" inches ") + squared;
    }
    return t;
}

InfoForm::InfoForm(const CardImage &card, bool metric, QWidget *parent)
    : QFrame(parent, Qt::ToolTip | Qt::FramelessWindowHint), mTexts(ImageInformation(card, metric))
{
    setWindowTitle(QStringLiteral("Image Information..."));
    setFrameShape(QFrame::Box);
    setAutoFillBackground(true);
    auto *grid = new QGridLayout(this);
    grid->setContentsMargins(8, 6, 8, 6);
    grid->setHorizontalSpacing(10);
    grid->setVerticalSpacing(2);
    // A popup has no frame of its own to carry the caption: it heads the window as a bar.
    auto *caption = new QLabel(windowTitle(), this);
    caption->setObjectName(QStringLiteral("Caption"));
    caption->setAutoFillBackground(true);
    caption->setBackgroundRole(QPalette::Highlight);
    caption->setForegroundRole(QPalette::HighlightedText);
    caption->setContentsMargins(4, 1, 4, 1);
    QFont bold = caption->font();
    bold.setBold(true);
    caption->setFont(bold);
    grid->addWidget(caption, 0, 0, 1, 2);
    auto heading = [this](const QString &text) {
        auto *l = new QLabel(text, this);
        QFont f = l->font();
        f.setBold(true);
        l->setFont(f);
        return l;
    };
    auto value = [this](const QString &text, const char *name) {
        auto *l = new QLabel(text, this);
        l->setObjectName(QLatin1String(name));
        return l;
    };
    grid->addWidget(heading(QStringLiteral("Resolution:")), 1, 0);
    grid->addWidget(value(mTexts.resolution, "ResLabel1"), 1, 1);
    grid->addWidget(value(mTexts.dpi, "ResLabel2"), 2, 1);
    grid->addWidget(heading(QStringLiteral("Image Size:")), 3, 0);
    grid->addWidget(value(mTexts.pixels, "SizeLabel1"), 3, 1);
    grid->addWidget(value(mTexts.size, "SizeLabel2"), 4, 1);
    grid->addWidget(heading(QStringLiteral("Image Area:")), 5, 0);
    grid->addWidget(value(mTexts.area, "AreaLabel"), 5, 1);
    adjustSize();
}

} // namespace velmara
