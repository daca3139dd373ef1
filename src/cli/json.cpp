#include "cli/json.h"

#include <charconv>
#include <cmath>
#include <cstdio>

namespace velmara::cli {

void JsonWriter::separate()
{
    if (mAfterKey) {
        mAfterKey = false;
        return;
    }
    if (!mHasItem.empty()) {
        if (mHasItem.back())
            mOut += ',';
        mHasItem.back() = true;
    }
}

void JsonWriter::beginObject()
{
    separate();
    mOut += '{';
    mHasItem.push_back(false);
}

void JsonWriter::endObject()
{
    mOut += '}';
    mHasItem.pop_back();
}

void JsonWriter::beginArray()
{
    separate();
    mOut += '[';
    mHasItem.push_back(false);
}

void JsonWriter::endArray()
{
    mOut += ']';
    mHasItem.pop_back();
}

void JsonWriter::key(std::string_view name)
{
    separate();
    writeString(name);
    mOut += ':';
    mAfterKey = true;
}

void JsonWriter::value(std::string_view text)
{
    separate();
    writeString(text);
}

void JsonWriter::writeString(std::string_view text)
{
    mOut += '"';
    for (const char ch : text) {
        const unsigned char c = static_cast<unsigned char>(ch);
        switch (c) {
        case '"': mOut += "\\\""; break;
        case '\\': mOut += "\\\\"; break;
        case '\n': mOut += "\\n"; break;
        case '\r': mOut += "\\r"; break;
        case '\t': mOut += "\\t"; break;
        default:
            if (c < 0x20) {
                char buf[8];
                std::snprintf(buf, sizeof buf, "\\u%04x", c);
                mOut += buf;
            } else {
                mOut += ch;
            }
        }
    }
    mOut += '"';
}

void JsonWriter::value(bool flag)
{
    separate();
    mOut += flag ? "true" : "false";
}

void JsonWriter::value(long long number)
{
    separate();
    mOut += std::to_string(number);
}

namespace {
template <typename T>
void appendShortest(std::string &out, T number)
{
    if (!std::isfinite(number)) {
        out += "null"; // JSON has no NaN or infinity
        return;
    }
    char buf[64];
    const auto res = std::to_chars(buf, buf + sizeof buf, number);
    out.append(buf, res.ptr);
}
} // namespace

void JsonWriter::value(double number)
{
    separate();
    appendShortest(mOut, number);
}

void JsonWriter::valueSingle(float number)
{
    separate();
    appendShortest(mOut, number);
}

void JsonWriter::null()
{
    separate();
    mOut += "null";
}

} // namespace velmara::cli
