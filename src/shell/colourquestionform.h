#pragma once
// The two questions put while a card is decoded: which colour is the background, and whether a
// second colour is a dithered background. Each shows the card with every colour but the one in
// question blacked out (only the colour table of a copy changes; the pixels stay) and takes Yes,
// No or Yes to All, also as the keys Y, N and A. A colour card has a class of background colours
// in place of the one index.

#include "core/workspace.h"
#include "intake/decode.h"

#include <QDialog>
#include <QImage>

namespace velmara {

// A copy of an indexed picture in which every colour table entry but keepIndex is black. A picture
// without a colour table comes back unchanged.
QImage PreviewWithOnlyIndex(const QImage &picture, int keepIndex);

class ColourQuestionForm : public QDialog
{
    Q_OBJECT
public:
    // BackgroundClass: a colour card, whose picture already shows its background class in colour
    // and the rest black; suggested and background are unused.
    enum class Kind { Background, Dither, BackgroundClass };

    // Background: suggested is the likeliest background index (RealColour), background unused.
    // Dither: suggested is the suspected dither index (DitherColour), background the index chosen
    // so far (BackgroundColour).
    ColourQuestionForm(Kind kind, const CardImage &card, const QImage &picture, Byte suggested,
                       Byte background, QWidget *parent = nullptr);

    // The answer when the form has closed: RealColour or DitherColour, and the button that gave
    // it (Yes to All also stops the question for later cards; the decoder keeps that flag).
    Byte answer() const { return mAnswer; }
    Answer choice() const { return mChoice; }

    void answerYes();
    void answerNo();
    void answerYesToAll();

protected:
    void keyPressEvent(QKeyEvent *event) override;

private:
    Kind mKind;
    Byte mAnswer;
    Answer mChoice = Answer::Yes;
    Byte mBackground;
};

} // namespace velmara
