// Any input to the TIF reader, in both depth modes: a clean refusal or a picture whose
// buffers match its size, never a crash, a hang or an unbounded allocation.

#include "readercheck.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, size_t size)
{
    return velmara::fuzz::CheckReader(velmara::intake_detail::ReadTiff, "input.tif", data, size);
}
