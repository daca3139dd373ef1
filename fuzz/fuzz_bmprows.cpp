// Any input to the row reader of 24- and 32-bit BMP (plain and with colour masks) pictures, opened as the colour path opens it and read
// to the end: a clean refusal or every row, never a crash, a hang or an unbounded allocation.

#include "rowscheck.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, size_t size)
{
    return velmara::fuzz::CheckRows("input.bmp", data, size);
}
