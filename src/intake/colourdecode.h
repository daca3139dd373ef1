#pragma once
// Reading a colour card (24-bit, greyscale, PNG, JPEG, ...): the picture becomes a colour table of
// at most 256 entries and one index per pixel, laid out by the distance of each pixel from the
// card's own colour at that place, so that the card is a set of entries, the background class.
//
// The stain boundary is measured in colour steps from the card's colour: the root mean square of
// the red, green and blue differences, 0 to 255 (a grey one step darker on all three channels is
// one step away). A pixel closer to the card than the boundary is card; the automatic boundary is
// half the distance of the stains' own colour, so that a stain's edge lies halfway between the two.

#include "core/progress.h"
#include "core/workspace.h"
#include "intake/decode.h"
#include "intake/picture.h"

namespace velmara {

// Decodes card cardIndex, which registration marked as a colour card, in two passes: the file once,
// row chunk by row chunk, into the table and one index byte per pixel, then those bytes into the
// pixel list. The boundary is the card's BoundaryOverride, else ws.StainBoundary, else the one
// found from the picture. The background question is put only when the class covers less than
// half of the card, which a card hardly ever does; every answer keeps the class, Yes to All stops
// the question. indexPicture, when given, receives the table and the index of every pixel, for a
// preview. A damaged file gives Ok false and a message naming the file and the reason.
DecodeResult DecodeColourCard(Workspace &ws, int cardIndex, DecodeQuestions &questions,
                              ProgressSink &progress = NoProgress(), Picture *indexPicture = nullptr);

// True when colour table entry index of the card is background: the background or dither index
// of an 8-bit card, a member of the background class of a colour card.
bool IsBackgroundEntry(const CardImage &card, int index);

// The card's picture as the background question shows it: the entries of the background class in
// their colour, every other entry black. indexPicture is what DecodeColourCard gave.
Picture BackgroundClassPreview(const CardImage &card, const Picture &indexPicture);

// The whole of any picture the colour path reads, as red, green, blue, for showing and cutting a
// picture that the picture services do not read (PNG, JPEG, deep TIF). Returns false and sets
// error, a sentence for the user, when the file can't be read.
bool ReadColourPicture(const std::string &path, Picture &picture, std::string &error);

} // namespace velmara
