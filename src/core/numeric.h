#pragma once
// The numeric words every subsystem computes in, and the rounding and overflow rules that decide
// the digits of the reports.

#include <cmath>
#include <cstdint>
#include <stdexcept>
#include <string>

namespace velmara {

using Byte = std::uint8_t;
using Integer = std::int16_t;
using Long = std::int32_t;
using Single = float;

// A failure inside a procedure that traps its failures once at its end (the results file, the
// report, LoadImage). what() is the text the user is shown, e.g. "Overflow", "Division by zero".
class Failure : public std::runtime_error
{
public:
    explicit Failure(const std::string &text) : std::runtime_error(text) {}
};

inline const char *const kOverflow = "Overflow";
inline const char *const kDivisionByZero = "Division by zero";
inline const char *const kTypeMismatch = "Type mismatch";

// Rounds a Double to the nearest IEEE single, as every value "stored as Single" is.
inline Single ToSingle(double v) { return static_cast<Single>(v); }

// Float to Integer or Long: half to even; out of range raises "Overflow".
inline double RoundHalfEven(double v) { return std::nearbyint(v); } // default FE_TONEAREST

inline Long CLng(double v)
{
    const double r = RoundHalfEven(v);
    if (!(r >= -2147483648.0 && r <= 2147483647.0))
        throw Failure(kOverflow);
    return static_cast<Long>(r);
}

inline Integer CInt(double v)
{
    const double r = RoundHalfEven(v);
    if (!(r >= -32768.0 && r <= 32767.0))
        throw Failure(kOverflow);
    return static_cast<Integer>(r);
}

inline Byte CByte(double v)
{
    const double r = RoundHalfEven(v);
    if (!(r >= 0.0 && r <= 255.0))
        throw Failure(kOverflow);
    return static_cast<Byte>(r);
}

// Long to Integer assignment: the value must fit.
inline Integer ToInteger(long long v)
{
    if (v < -32768 || v > 32767)
        throw Failure(kOverflow);
    return static_cast<Integer>(v);
}

// Checked division for code whose failure path must see a division by zero as the user would.
inline double Divide(double a, double b)
{
    if (b == 0.0)
        throw Failure(kDivisionByZero);
    return a / b;
}

} // namespace velmara
