#pragma once
// A small streaming JSON writer for the command-line program's --json output. Doubles and Singles
// are written as the shortest text that reads back to the same value, whole numbers without a
// point, so that a script comparing runs sees exactly what the program holds.

#include <string>
#include <string_view>
#include <vector>

namespace velmara::cli {

class JsonWriter
{
public:
    void beginObject();
    void endObject();
    void beginArray();
    void endArray();
    void key(std::string_view name);

    void value(std::string_view text);
    void value(const char *text) { value(std::string_view(text)); }
    void value(bool flag);
    void value(long long number);
    void value(int number) { value(static_cast<long long>(number)); }
    void value(long number) { value(static_cast<long long>(number)); }
    void value(const std::string &text) { value(std::string_view(text)); }
    void value(double number);
    void valueSingle(float number);
    void null();

    // A member of the open object: key, then value.
    template <typename T>
    void field(std::string_view name, const T &v)
    {
        key(name);
        value(v);
    }
    void fieldSingle(std::string_view name, float v)
    {
        key(name);
        valueSingle(v);
    }

    const std::string &text() const { return mOut; }

private:
    void separate();
    void writeString(std::string_view text);
    std::string mOut;
    // Per open container: whether something was written in it yet.
    std::vector<bool> mHasItem;
    bool mAfterKey = false;
};

} // namespace velmara::cli
