#pragma once
// Internal to intake: a read-only file with its size, read at explicit offsets, and the texts of
// the errors a failed open gives.

#include "core/numeric.h"

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace velmara::intake_detail {

class InputFile
{
public:
    InputFile() = default;
    InputFile(const InputFile &) = delete;
    InputFile &operator=(const InputFile &) = delete;
    ~InputFile() { close(); }

    // Returns false and sets error to the description of the failure. Only a regular file opens:
    // a FIFO or device is refused without waiting for a writer, a folder is named as one.
    bool open(const std::string &path, std::string &error)
    {
        close();
        const int fd = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
        if (fd < 0) {
            error = openErrorText(errno);
            return false;
        }
        struct stat st = {};
        if (::fstat(fd, &st) != 0 || !S_ISREG(st.st_mode)) {
            error = S_ISDIR(st.st_mode) ? kFolderText : kNotRegularText;
            ::close(fd);
            return false;
        }
        mFile = ::fdopen(fd, "rb");
        if (!mFile) {
            error = openErrorText(errno);
            ::close(fd);
            return false;
        }
        mSize = static_cast<std::uint64_t>(st.st_size);
        mPos = ~std::uint64_t{0};
        return true;
    }

    void close()
    {
        if (std::FILE *file = std::exchange(mFile, nullptr))
            std::fclose(file);
        mSize = 0;
    }

    std::uint64_t size() const { return mSize; }

    // Copies up to count bytes from offset; returns how many were read (fewer at the end).
    size_t readAt(std::uint64_t offset, void *out, size_t count)
    {
        if (!mFile || offset >= mSize)
            return 0;
        if (offset != mPos && fseeko(mFile, static_cast<off_t>(offset), SEEK_SET) != 0)
            return 0;
        const size_t got = std::fread(out, 1, count, mFile);
        mPos = offset + got;
        return got;
    }

    static std::string openErrorText(int err)
    {
        switch (err) {
        case ENOENT:
        case ENOTDIR:
            return "File not found";
        case EACCES:
        case EPERM:
            return "Permission denied";
        case ENAMETOOLONG:
            return "The file name is too long";
        case EISDIR:
            return kFolderText;
        default:
            return "Path/File access error";
        }
    }

    static constexpr const char *kFolderText = "This is a folder, not a picture file";
    static constexpr const char *kNotRegularText = "This is not a regular file";

private:
    std::FILE *mFile = nullptr;
    std::uint64_t mSize = 0;
    std::uint64_t mPos = 0;
};

inline Long ReadLong(const Byte *p)
{
    return static_cast<Long>(static_cast<std::uint32_t>(p[0]) | static_cast<std::uint32_t>(p[1]) << 8 |
                             static_cast<std::uint32_t>(p[2]) << 16 | static_cast<std::uint32_t>(p[3]) << 24);
}

inline int ReadWord(const Byte *p) { return p[0] | p[1] << 8; }

// A compressed picture may claim a canvas far larger than its data could fill. No real encoder
// reaches 2048 pixels per byte of compressed pixel data on a card, and every small picture passes
// the fixed allowance. Checked before anything is allocated for the picture.
inline bool PixelBudgetOk(std::uint64_t pixels, std::uint64_t dataBytes)
{
    return pixels <= 2048 * dataBytes + (std::uint64_t{1} << 22);
}

} // namespace velmara::intake_detail
