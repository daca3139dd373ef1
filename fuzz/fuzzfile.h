#pragma once
// The readers take paths: each input is written to a file of this process's own folder.

#include "intake/picturereaders.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <unistd.h>

namespace velmara::fuzz {

inline std::string FuzzFolder()
{
    static const std::string folder = [] {
        const auto dir = std::filesystem::temp_directory_path() / ("velmara-fuzz-" + std::to_string(::getpid()));
        std::filesystem::create_directories(dir);
        return dir.string() + "/";
    }();
    return folder;
}

inline std::string WriteInput(const std::string &name, const std::uint8_t *data, size_t size)
{
    const std::string path = FuzzFolder() + name;
    std::FILE *f = std::fopen(path.c_str(), "wb");
    if (f) {
        if (size)
            std::fwrite(data, 1, size, f);
        std::fclose(f);
    }
    return path;
}

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
