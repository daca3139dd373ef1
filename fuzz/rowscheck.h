#pragma once
// The one check of the row readers' fuzz targets.

#include "fuzzfile.h"
#include "intake/picture.h"
#include "intake/rowreader.h"

#include <algorithm>
#include <cstdlib>
#include <memory>

namespace velmara::fuzz {

// Opens the input as a picture and reads all its rows, a few at a time: a clean refusal that says
// why, at the open or at any later band, or every row read. Anything else aborts.
inline int CheckRows(const char *fileName, const std::uint8_t *data, size_t size)
{
    const std::string path = WriteInput(fileName, data, size);
    std::string error;
    const std::unique_ptr<PictureRows> rows = OpenPictureRows(path, error);
    if (!rows) {
        if (error.empty())
            std::abort();
        return 0;
    }
    const RowPictureInfo &info = rows->Info();
    if (info.Width < 1 || info.Height < 1 || info.Width > kMaxPictureSide || info.Height > kMaxPictureSide)
        std::abort();
    constexpr int kBand = 7;
    // Not cleared: a wide picture would cost more in clearing than in reading.
    const std::unique_ptr<Byte[]> band(new Byte[static_cast<size_t>(info.Width) * 3 * kBand]);
    for (int y = 0; y < info.Height; y += kBand) {
        if (!rows->ReadRows(std::min(kBand, info.Height - y), band.get(), error)) {
            if (error.empty())
                std::abort();
            return 0;
        }
    }
    // Past the last row nothing is made up.
    if (rows->ReadRows(1, band.get(), error) || error.empty())
        std::abort();
    return 0;
}

} // namespace velmara::fuzz
