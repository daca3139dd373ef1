#pragma once
// The --summary file: one comma-separated row per card, written and flushed as the card
// finishes, so that a batch stopped half-way leaves the rows of the cards it did.

#include "core/workspace.h"

#include <cstdio>
#include <string>

namespace velmara::cli {

class SummaryFile
{
public:
    SummaryFile() = default;
    SummaryFile(const SummaryFile &) = delete;
    SummaryFile &operator=(const SummaryFile &) = delete;
    ~SummaryFile();

    // Creates the file with its header row; false with error when it cannot.
    bool open(const std::string &path, std::string &error);
    bool isOpen() const { return mFile != nullptr; }
    // A file that never became a card.
    void refused(const std::string &path, const std::string &message);
    // Card index as the run left it; message: what was told about it (may be empty).
    void card(const Workspace &ws, int index, const std::string &message);
    // False once a row could not be written; error says why (told once by the caller).
    bool ok() const { return mError.empty(); }
    const std::string &error() const { return mError; }

private:
    void row(const std::string &text);
    std::FILE *mFile = nullptr;
    std::string mPath;
    std::string mError;
};

} // namespace velmara::cli
