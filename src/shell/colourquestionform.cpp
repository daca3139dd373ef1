#include "shell/colourquestionform.h"

#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QPushButton>
#include <QScrollArea>
#include <QVBoxLayout>

namespace velmara {

namespace {

QLabel *colourBox(const CardImage &card, int index, QWidget *parent)
{
    auto *box = new QLabel(parent);
    box->setFixedSize(48, 24);
    box->setFrameShape(QFrame::Box);
    QColor colour(Qt::black);
    if (index >= 0 && static_cast<size_t>(index) < card.ColourTable.size()) {
        const auto &c = card.ColourTable[static_cast<size_t>(index)];
        colour = QColor(c[1], c[2], c[3]);
    }
    box->setStyleSheet(QStringLiteral("background-color: %1;").arg(colour.name()));
    return box;
}

// The top left part of the card at its natural size; beyond a small card's edge the box stays
// empty (a copy past the edge would fill with table entry 0, which looks like card).
QLabel *previewBox(const QImage &preview, QWidget *parent)
{
    auto *box = new QLabel(parent);
    box->setFixedSize(420, 220);
    box->setFrameShape(QFrame::StyledPanel);
    box->setAlignment(Qt::AlignLeft | Qt::AlignTop);
    box->setObjectName(QStringLiteral("Preview"));
    if (!preview.isNull())
        box->setPixmap(QPixmap::fromImage(preview.copy(0, 0, std::min(preview.width(), 420), std::min(preview.height(), 220))));
    return box;
}

} // namespace

QImage PreviewWithOnlyIndex(const QImage &picture, int keepIndex)
{
    if (picture.format() != QImage::Format_Indexed8)
        return picture;
    QImage copy = picture; // shares the pixels; only the table is new
    QList<QRgb> table = copy.colorTable();
    for (int i = 0; i < table.size(); ++i)
        if (i != keepIndex)
            table[i] = qRgb(0, 0, 0);
    copy.setColorTable(table);
    return copy;
}

ColourQuestionForm::ColourQuestionForm(Kind kind, const CardImage &card, const QImage &picture,
                                       Byte suggested, Byte background, QWidget *parent)
    : QDialog(parent), mKind(kind), mAnswer(suggested), mBackground(background)
{
    auto *layout = new QVBoxLayout(this);
    layout->setSizeConstraint(QLayout::SetFixedSize);
    if (kind == Kind::BackgroundClass) {
        setWindowTitle(QStringLiteral("Background Colour"));
        auto *label1 = new QLabel(
            QStringLiteral("Velmara takes the colours shown below as the card; everything it counts as "
                           "stain is black. They cover less than half of the card."),
            this);
        label1->setWordWrap(true);
        label1->setFixedWidth(420);
        layout->addWidget(label1);
        layout->addWidget(previewBox(picture, this));
        auto *label2 = new QLabel(QStringLiteral("Would you like to use these colours? The stain boundary beside "
                                                 "Colour Masking moves the line between card and stain."),
                                  this);
        label2->setWordWrap(true);
        label2->setFixedWidth(420);
        layout->addWidget(label2);
    } else if (kind == Kind::Background) {
        setWindowTitle(QStringLiteral("Background Colour"));
        auto *row1 = new QHBoxLayout;
        auto *label1 = new QLabel(
            QStringLiteral("This file's colour table indicates that its background colour is this:"), this);
        row1->addWidget(label1, 1);
        row1->addWidget(colourBox(card, 0, this));
        layout->addLayout(row1);
        auto *row2 = new QHBoxLayout;
        auto *label2 = new QLabel(
            QStringLiteral("Velmara has determined that the background colour is most likely this:"), this);
        row2->addWidget(label2, 1);
        row2->addWidget(colourBox(card, suggested, this));
        layout->addLayout(row2);
        layout->addWidget(previewBox(PreviewWithOnlyIndex(picture, suggested), this));
        layout->addWidget(new QLabel(QStringLiteral("Would you like to use the most likely colour?"), this));
    } else {
        setWindowTitle(QStringLiteral("Dithered Background?"));
        auto *label1 = new QLabel(
            QStringLiteral("When reducing the colour depth of images, many software programs (including "
                           "scanner software) use a method called 'dithering' to blend two colours together.\n"
                           "Velmara has detected that this image may have a dithered background. A section "
                           "of the image is shown below with only the dithered colour showing.\n\n"
                           "Do you see a dithering pattern below?"),
            this);
        label1->setWordWrap(true);
        label1->setFixedWidth(420);
        layout->addWidget(label1);
        layout->addWidget(previewBox(PreviewWithOnlyIndex(picture, suggested), this));
    }
    auto *buttons = new QHBoxLayout;
    buttons->addStretch(1);
    auto *yes = new QPushButton(QStringLiteral("&Yes"), this);
    auto *no = new QPushButton(QStringLiteral("&No"), this);
    auto *all = new QPushButton(QStringLiteral("Yes to &All"), this);
    yes->setObjectName(QStringLiteral("btnYes"));
    no->setObjectName(QStringLiteral("btnNo"));
    all->setObjectName(QStringLiteral("btnYesToAll"));
    // No button is the default nor takes the focus: Enter or Space must never answer for the
    // user, and no focus frame should suggest an answer. The letters and the mouse answer.
    for (QPushButton *b : {yes, no, all}) {
        b->setAutoDefault(false);
        b->setFocusPolicy(Qt::NoFocus);
        buttons->addWidget(b);
    }
    layout->addLayout(buttons);
    connect(yes, &QPushButton::clicked, this, &ColourQuestionForm::answerYes);
    connect(no, &QPushButton::clicked, this, &ColourQuestionForm::answerNo);
    connect(all, &QPushButton::clicked, this, &ColourQuestionForm::answerYesToAll);
}

void ColourQuestionForm::answerYes()
{
    mChoice = Answer::Yes;
    accept();
}

void ColourQuestionForm::answerNo()
{
    mChoice = Answer::No;
    mAnswer = mKind == Kind::Background ? Byte{0} : mBackground;
    accept();
}

void ColourQuestionForm::answerYesToAll()
{
    mChoice = Answer::YesToAll;
    accept();
}

void ColourQuestionForm::keyPressEvent(QKeyEvent *event)
{
    // The key code is tested, so the letters work with and without Shift.
    switch (event->key()) {
    case Qt::Key_Y: answerYes(); return;
    case Qt::Key_N: answerNo(); return;
    case Qt::Key_A: answerYesToAll(); return;
    case Qt::Key_Escape: return; // every question takes one of its three answers
    default: QDialog::keyPressEvent(event);
    }
}

} // namespace velmara
