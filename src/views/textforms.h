#pragma once
// Number texts of the result views in the locale's decimal separator: patterns such as "0.00"
// round half away from zero, plain text of a Single keeps up to seven significant digits and of a
// Double up to fifteen.

#include <QString>

namespace velmara {

// value with a fixed number of decimals, as the patterns "0", "0.0", "0.00", "0.000" give it.
QString FixedText(double value, int decimals);
// Shortest text of a Single, up to seven significant digits ("12.5", "0.1").
QString PlainSingleText(float value);
// Shortest text of a Double, up to fifteen significant digits ("8.4", "100").
QString PlainDoubleText(double value);

} // namespace velmara
