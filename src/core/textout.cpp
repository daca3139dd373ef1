#include "core/textout.h"

#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstring>

namespace velmara {

namespace {

// Code points of bytes 0x80 to 0x9F in Windows-1252; 0 where the code page leaves a byte unused.
constexpr char32_t kHighBlock[32] = {
    0x20AC, 0,      0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
    0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0,      0x017D, 0,
    0,      0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
    0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0,      0x017E, 0x0178,
};

char toCodePage(char32_t cp)
{
    if (cp < 0x80 || (cp >= 0xA0 && cp <= 0xFF))
        return static_cast<char>(cp);
    for (int i = 0; i < 32; ++i) {
        if (kHighBlock[i] == cp)
            return static_cast<char>(0x80 + i);
    }
    return '?';
}

// Length of a valid UTF-8 sequence at s[i] and its code point; 0 when the bytes are not UTF-8.
size_t decodeUtf8(std::string_view s, size_t i, char32_t &cp)
{
    const auto byte = [&](size_t k) { return static_cast<unsigned char>(s[k]); };
    const unsigned char lead = byte(i);
    size_t length = 0;
    char32_t min = 0;
    if (lead >= 0xC2 && lead <= 0xDF) {
        length = 2;
        cp = lead & 0x1F;
        min = 0x80;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
        length = 3;
        cp = lead & 0x0F;
        min = 0x800;
    } else if (lead >= 0xF0 && lead <= 0xF4) {
        length = 4;
        cp = lead & 0x07;
        min = 0x10000;
    } else {
        return 0;
    }
    if (i + length > s.size())
        return 0;
    for (size_t k = 1; k < length; ++k) {
        const unsigned char c = byte(i + k);
        if ((c & 0xC0) != 0x80)
            return 0;
        cp = (cp << 6) | (c & 0x3F);
    }
    if (cp < min || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF))
        return 0;
    return length;
}

} // namespace

std::string ToWindows1252(std::string_view utf8)
{
    std::string out;
    out.reserve(utf8.size());
    for (size_t i = 0; i < utf8.size();) {
        const unsigned char c = static_cast<unsigned char>(utf8[i]);
        if (c < 0x80) {
            out.push_back(static_cast<char>(c));
            ++i;
            continue;
        }
        char32_t cp = 0;
        const size_t length = decodeUtf8(utf8, i, cp);
        if (length == 0) {
            out.push_back(static_cast<char>(c));
            ++i;
        } else {
            out.push_back(toCodePage(cp));
            i += length;
        }
    }
    return out;
}

TextOut::~TextOut()
{
    close();
}

bool TextOut::fail(const char *what, int errorNumber)
{
    if (!mFailed) {
        mFailed = true;
        mError = std::string(what) + " " + mPath;
        if (errorNumber != 0)
            mError += ": " + std::string(std::strerror(errorNumber));
    }
    return false;
}

bool TextOut::open(const std::string &path, Mode mode)
{
    close();
    mPath = path;
    mError.clear();
    mFailed = false;
    errno = 0;
    mFile = std::fopen(path.c_str(), mode == Mode::Append ? "ab" : "wb");
    if (!mFile)
        return fail("Cannot open", errno);
    return true;
}

bool TextOut::writeBytes(std::string_view bytes)
{
    if (mFailed)
        return false;
    if (!mFile)
        return fail("Not open:", 0);
    errno = 0;
    if (!bytes.empty() && std::fwrite(bytes.data(), 1, bytes.size(), mFile) != bytes.size())
        return fail("Cannot write", errno);
    return true;
}

bool TextOut::write(std::string_view utf8)
{
    return writeBytes(ToWindows1252(utf8));
}

bool TextOut::endLine()
{
    return writeBytes("\r\n");
}

bool TextOut::close()
{
    if (mFile) {
        errno = 0;
        const bool flushed = std::fflush(mFile) == 0;
        const int flushError = errno;
        errno = 0;
        const bool closed = std::fclose(mFile) == 0;
        const int closeError = errno;
        mFile = nullptr;
        if (!flushed)
            fail("Cannot write", flushError);
        else if (!closed)
            fail("Cannot write", closeError);
    }
    return !mFailed;
}

std::string ShortestDouble(double value)
{
    if (!std::isfinite(value))
        return "null";
    char buf[64];
    const auto result = std::to_chars(buf, buf + sizeof buf, value);
    return std::string(buf, result.ptr);
}

std::string ShortestSingle(Single value)
{
    if (!std::isfinite(value))
        return "null";
    char buf[64];
    const auto result = std::to_chars(buf, buf + sizeof buf, value);
    return std::string(buf, result.ptr);
}

} // namespace velmara
