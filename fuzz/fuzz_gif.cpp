// Any input to the GIF reader, in both depth modes: a clean refusal or a picture whose
// buffers match its size, never a crash, a hang or an unbounded allocation.

#include "fuzzfile.h"
#include "intake/picturereaders.h"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, size_t size)
{
    using namespace velmara;
    const std::string path = fuzz::WriteInput("input.gif", data, size);
    for (PictureDepth mode : {PictureDepth::EightBitOnly, PictureDepth::AnyDepth}) {
        Picture picture;
        std::string error;
        if (intake_detail::ReadGif(path, mode, picture, error)) {
            if (picture.Data.size() != static_cast<size_t>(picture.RowBytes()) * picture.Height || picture.Width < 1 ||
                picture.Height < 1 || picture.Width > kMaxPictureSide || picture.Height > kMaxPictureSide ||
                (picture.Indexed() && (picture.Palette.empty() || picture.Palette.size() > 256)))
                std::abort();
        } else if (error.empty()) {
            std::abort(); // every refusal says why
        }
    }
    return 0;
}
