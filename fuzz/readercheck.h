#pragma once
// The one check of the picture readers' fuzz targets.

#include "fuzzfile.h"
#include "intake/picturereaders.h"

#include <cstdlib>

namespace velmara::fuzz {

// Runs one reader on the input in both depth modes: a clean refusal that says why, or a picture
// whose buffers match its size. Anything else aborts, which the fuzzer reports.
template <typename Reader>
int CheckReader(Reader read, const char *fileName, const std::uint8_t *data, size_t size)
{
    const std::string path = WriteInput(fileName, data, size);
    for (PictureDepth mode : {PictureDepth::EightBitOnly, PictureDepth::AnyDepth}) {
        Picture picture;
        std::string error;
        if (read(path, mode, picture, error)) {
            if (picture.Data.size() != static_cast<size_t>(picture.RowBytes()) * picture.Height || picture.Width < 1
                || picture.Height < 1 || picture.Width > kMaxPictureSide || picture.Height > kMaxPictureSide
                || (picture.Indexed() && (picture.Palette.empty() || picture.Palette.size() > 256)))
                std::abort();
        } else if (error.empty()) {
            std::abort(); // every refusal says why
        }
    }
    return 0;
}

} // namespace velmara::fuzz
