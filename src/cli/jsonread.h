#pragma once
// A pull reader for the JSON that velmara-cli writes: the caller walks the document in the order
// it expects and takes numbers from their text, so that a Single or a Double written as its
// shortest text reads back to the very same value.

#include <charconv>
#include <limits>
#include <string>
#include <string_view>
#include <system_error>
#include <type_traits>
#include <vector>

namespace velmara::cli {

class JsonReader
{
public:
    explicit JsonReader(std::string_view text) : mText(text) {}

    enum class Kind { Object, Array, String, Number, Bool, Null, Bad };
    // The kind of the next value.
    Kind peek();

    // Each step returns false on a fault; error() then says what and where, and every later step
    // fails too.
    bool beginObject();
    // The next member's key of the open object; false at its end (then consumed) or on a fault.
    bool nextMember(std::string &key);
    bool beginArray();
    // True when another item of the open array follows; false at its end (then consumed).
    bool nextItem();
    bool readString(std::string &out);
    bool readBool(bool &out);
    // A number into an integer or floating type, exactly as written; false if it does not fit.
    // A floating value may be null, which the writer gives for what is no finite number.
    template <typename T>
    bool readNumber(T &out)
    {
        if constexpr (std::is_floating_point_v<T>) {
            if (peek() == Kind::Null) {
                out = std::numeric_limits<T>::quiet_NaN();
                return skip();
            }
        }
        std::string_view text;
        if (!numberText(text))
            return false;
        const auto res = std::from_chars(text.data(), text.data() + text.size(), out);
        if (res.ec != std::errc() || res.ptr != text.data() + text.size())
            return fault("the number " + std::string(text) + " does not fit");
        return true;
    }
    // Skips one value of any kind.
    bool skip();
    // True once the whole text was read with nothing but blanks after the value.
    bool atEnd();

    bool failed() const { return !mError.empty(); }
    const std::string &error() const { return mError; }

private:
    bool fault(const std::string &what);
    void blanks();
    bool expect(char c);
    // Whether another item or member of the open array or object follows; consumes its close.
    bool another(char close);
    bool numberText(std::string_view &text);

    std::string_view mText;
    size_t mAt = 0;
    std::vector<bool> mFirst; // per open container: no item read yet
    std::string mError;
};

} // namespace velmara::cli
