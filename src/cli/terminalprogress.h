#pragma once
// One progress line on a terminal's stderr: "[3/120] card07.bmp  scan  45%". Nothing at all when
// stderr is not a terminal, so batch logs stay clean.

#include "core/progress.h"

#include <string>

namespace velmara::cli {

class TerminalProgress : public ProgressSink
{
public:
    TerminalProgress();

    // Names the card and the stage ("decode", "scan") that the next pass reports on.
    void setStage(int cardNumber, int cardTotal, const std::string &name, const std::string &stage);
    // Cards through so far, for a run whose passes do not report (several cards at once).
    void cardsDone(int done, int total, const std::string &lastName);
    // Clears the line before a message is printed or the program ends.
    void clear();

    void Start(long maximum) override;
    void SetValue(long value) override;
    void Finish() override;

private:
    void draw(int percent);
    bool mEnabled;
    long mMaximum = 0;
    int mLastPercent = -1;
    std::string mPrefix;
    size_t mDrawnWidth = 0;
};

} // namespace velmara::cli
