#include "cli/jsonread.h"

namespace velmara::cli {

bool JsonReader::fault(const std::string &what)
{
    if (mError.empty())
        mError = what + " at byte " + std::to_string(mAt);
    return false;
}

void JsonReader::blanks()
{
    while (mAt < mText.size()
           && (mText[mAt] == ' ' || mText[mAt] == '\n' || mText[mAt] == '\r' || mText[mAt] == '\t'))
        ++mAt;
}

bool JsonReader::expect(char c)
{
    blanks();
    if (failed())
        return false;
    if (mAt >= mText.size() || mText[mAt] != c)
        return fault(std::string("expected '") + c + "'");
    ++mAt;
    return true;
}

JsonReader::Kind JsonReader::peek()
{
    blanks();
    if (failed() || mAt >= mText.size())
        return Kind::Bad;
    switch (mText[mAt]) {
    case '{': return Kind::Object;
    case '[': return Kind::Array;
    case '"': return Kind::String;
    case 't':
    case 'f': return Kind::Bool;
    case 'n': return Kind::Null;
    default:
        return mText[mAt] == '-' || (mText[mAt] >= '0' && mText[mAt] <= '9') ? Kind::Number : Kind::Bad;
    }
}

bool JsonReader::beginObject()
{
    if (!expect('{'))
        return false;
    mFirst.push_back(true);
    return true;
}

bool JsonReader::beginArray()
{
    if (!expect('['))
        return false;
    mFirst.push_back(true);
    return true;
}

bool JsonReader::another(char close)
{
    blanks();
    if (failed() || mFirst.empty())
        return false;
    if (mAt < mText.size() && mText[mAt] == close) {
        ++mAt;
        mFirst.pop_back();
        return false;
    }
    if (!mFirst.back() && !expect(','))
        return false;
    mFirst.back() = false;
    return true;
}

bool JsonReader::nextItem() { return another(']'); }

bool JsonReader::nextMember(std::string &key) { return another('}') && readString(key) && expect(':'); }

namespace {

void appendUtf8(std::string &out, unsigned code)
{
    if (code < 0x80) {
        out += static_cast<char>(code);
    } else if (code < 0x800) {
        out += static_cast<char>(0xC0 | code >> 6);
        out += static_cast<char>(0x80 | (code & 0x3F));
    } else if (code < 0x10000) {
        out += static_cast<char>(0xE0 | code >> 12);
        out += static_cast<char>(0x80 | (code >> 6 & 0x3F));
        out += static_cast<char>(0x80 | (code & 0x3F));
    } else {
        out += static_cast<char>(0xF0 | code >> 18);
        out += static_cast<char>(0x80 | (code >> 12 & 0x3F));
        out += static_cast<char>(0x80 | (code >> 6 & 0x3F));
        out += static_cast<char>(0x80 | (code & 0x3F));
    }
}

} // namespace

bool JsonReader::readString(std::string &out)
{
    if (!expect('"'))
        return false;
    out.clear();
    for (;;) {
        size_t plain = mAt;
        while (plain < mText.size() && mText[plain] != '"' && mText[plain] != '\\')
            ++plain;
        if (plain == mText.size())
            return fault("a text without its closing quote");
        out.append(mText.substr(mAt, plain - mAt));
        mAt = plain + 1;
        if (mText[plain] == '"')
            return true;
        if (mAt >= mText.size())
            return fault("a text without its closing quote");
        const char c = mText[mAt++];
        switch (c) {
        case '"': out += '"'; break;
        case '\\': out += '\\'; break;
        case '/': out += '/'; break;
        case 'b': out += '\b'; break;
        case 'f': out += '\f'; break;
        case 'n': out += '\n'; break;
        case 'r': out += '\r'; break;
        case 't': out += '\t'; break;
        case 'u': {
            unsigned code = 0;
            if (mAt + 4 > mText.size()
                || std::from_chars(mText.data() + mAt, mText.data() + mAt + 4, code, 16).ptr != mText.data() + mAt + 4)
                return fault("a bad \\u escape");
            mAt += 4;
            // A pair of surrogates stands for one character beyond the first plane.
            if (code >= 0xD800 && code < 0xDC00 && mText.substr(mAt, 2) == "\\u" && mAt + 6 <= mText.size()) {
                unsigned low = 0;
                std::from_chars(mText.data() + mAt + 2, mText.data() + mAt + 6, low, 16);
                if (low >= 0xDC00 && low < 0xE000) {
                    code = 0x10000 + ((code - 0xD800) << 10) + (low - 0xDC00);
                    mAt += 6;
                }
            }
            appendUtf8(out, code);
            break;
        }
        default: return fault("a bad escape in a text");
        }
    }
}

bool JsonReader::readBool(bool &out)
{
    blanks();
    if (mText.substr(mAt, 4) == "true") {
        out = true;
        mAt += 4;
        return !failed();
    }
    if (mText.substr(mAt, 5) == "false") {
        out = false;
        mAt += 5;
        return !failed();
    }
    return fault("expected true or false");
}

bool JsonReader::numberText(std::string_view &text)
{
    if (peek() != Kind::Number)
        return fault("expected a number");
    const size_t start = mAt;
    while (mAt < mText.size() && std::string_view("+-0123456789.eE").find(mText[mAt]) != std::string_view::npos)
        ++mAt;
    text = mText.substr(start, mAt - start);
    return true;
}

bool JsonReader::skip()
{
    std::string ignored;
    std::string_view number;
    bool flag;
    switch (peek()) {
    case Kind::Object:
        if (!beginObject())
            return false;
        while (nextMember(ignored))
            if (!skip())
                return false;
        return !failed();
    case Kind::Array:
        if (!beginArray())
            return false;
        while (nextItem())
            if (!skip())
                return false;
        return !failed();
    case Kind::String: return readString(ignored);
    case Kind::Number: return numberText(number);
    case Kind::Bool: return readBool(flag);
    case Kind::Null:
        if (mText.substr(mAt, 4) != "null")
            return fault("expected null");
        mAt += 4;
        return true;
    case Kind::Bad: break;
    }
    return fault(mAt >= mText.size() ? "the text ends too early" : "expected a value");
}

bool JsonReader::atEnd()
{
    blanks();
    return !failed() && mAt == mText.size();
}

} // namespace velmara::cli
