#pragma once
// Reading the pixels of a card: colour table, hue of each entry, background and dither indexes,
// and the list of foreground pixels with its hue histogram.

#include "core/progress.h"
#include "core/workspace.h"

#include <string>

namespace velmara {

enum class Answer
{
    Yes,
    No,
    YesToAll,
};

// The two questions put while a card is decoded. The desktop program shows its dialogs (the
// card's picture is the caller's to show); the command-line program answers by option.
class DecodeQuestions
{
public:
    virtual ~DecodeQuestions() = default;
    // "Background Colour": the sample suggests likeliestIndex rather than colour table index 0.
    // Yes and YesToAll take likeliestIndex, No keeps 0; YesToAll also stops the question for later
    // cards (DisableBackgroundWarning).
    virtual Answer AskBackground(const Workspace &ws, int cardIndex, Byte likeliestIndex) = 0;
    // "Dithered Background?": ditherIndex may be a second background colour. Yes and YesToAll
    // take it, No leaves the background alone; YesToAll sets DisableDitherWarning.
    virtual Answer AskDither(const Workspace &ws, int cardIndex, Byte backgroundIndex, Byte ditherIndex) = 0;
};

// The same answer every time, for batch use and tests; counts the questions put.
class FixedAnswers : public DecodeQuestions
{
public:
    FixedAnswers(Answer background = Answer::Yes, Answer dither = Answer::Yes)
        : mBackground(background), mDither(dither) {}
    Answer AskBackground(const Workspace &, int, Byte) override { ++BackgroundAsked; return mBackground; }
    Answer AskDither(const Workspace &, int, Byte, Byte) override { ++DitherAsked; return mDither; }

    int BackgroundAsked = 0;
    int DitherAsked = 0;

private:
    Answer mBackground;
    Answer mDither;
};

struct DecodeResult
{
    bool Ok = false;        // the card's tables stand and PixelsReady is set
    bool Cancelled = false; // CancelRequested ended the pass; the card stays Loaded
    std::string Message;    // on failure, the description to show; the card stays Loaded
};

// Decodes card cardIndex (1-based) in one pass over its file: a BMP is read as it stands, a GIF or
// TIF is converted in memory to the bitmap the picture services would write. Asks the questions
// through questions, reports progress every tenth line and polls ws.CancelRequested at the head of
// each line. A card that is already decoded is left as it is (Ok). A file that is missing, damaged
// or changed since registration gives Ok false with a Message; the other cards are not touched.
DecodeResult DecodeCard(Workspace &ws, int cardIndex, DecodeQuestions &questions,
                        ProgressSink &progress = NoProgress());

// Hue 0 to 255 of a colour; greys, black and white give 169.
Byte RgbToHue(int red, int green, int blue);

} // namespace velmara
