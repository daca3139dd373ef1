#include "cli/terminalprogress.h"

#include <cstdio>
#include <unistd.h>

namespace velmara::cli {

TerminalProgress::TerminalProgress() : mEnabled(isatty(STDERR_FILENO) == 1) {}

void TerminalProgress::setStage(int cardNumber, int cardTotal, const std::string &name,
                                const std::string &stage)
{
    mPrefix = "[" + std::to_string(cardNumber) + "/" + std::to_string(cardTotal) + "] " + name + "  "
        + stage;
    mLastPercent = -1;
}

void TerminalProgress::cardsDone(int done, int total, const std::string &lastName)
{
    if (!mEnabled)
        return;
    mPrefix = "[" + std::to_string(done) + "/" + std::to_string(total) + "] " + lastName;
    mLastPercent = -2; // the line is new even without a percentage
    draw(-1);
}

void TerminalProgress::Start(long maximum)
{
    mMaximum = maximum;
    mLastPercent = -1;
    draw(0);
}

void TerminalProgress::SetValue(long value)
{
    if (mMaximum <= 0)
        return;
    draw(static_cast<int>(100.0 * static_cast<double>(value) / static_cast<double>(mMaximum)));
}

void TerminalProgress::Finish()
{
    draw(100);
}

void TerminalProgress::draw(int percent)
{
    if (!mEnabled || percent == mLastPercent)
        return;
    mLastPercent = percent;
    std::string line = percent < 0 ? mPrefix : mPrefix + "  " + std::to_string(percent) + "%";
    // Blank out what a longer earlier line left behind.
    const size_t width = line.size();
    if (width < mDrawnWidth)
        line.append(mDrawnWidth - width, ' ');
    mDrawnWidth = width;
    std::fprintf(stderr, "\r%s", line.c_str());
    std::fflush(stderr);
}

void TerminalProgress::clear()
{
    if (!mEnabled || mDrawnWidth == 0)
        return;
    std::fprintf(stderr, "\r%s\r", std::string(mDrawnWidth + 4, ' ').c_str());
    std::fflush(stderr);
    mDrawnWidth = 0;
}

} // namespace velmara::cli
