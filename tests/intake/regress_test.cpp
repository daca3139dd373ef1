// Inputs that once broke a reader or the decoding pass. Each must now be read or refused cleanly,
// through the picture services and through registration and decoding as a card.

#include "intake/decode.h"
#include "intake/loadimage.h"
#include "intake/picture.h"

#include <gtest/gtest.h>

#include <filesystem>

using namespace velmara;

TEST(BadInputRegressions, EveryStoredInputIsReadOrRefusedCleanly)
{
    const std::filesystem::path folder = std::filesystem::path(VELMARA_TEST_DATA) / "intake" / "regress";
    int files = 0;
    for (const auto &entry : std::filesystem::directory_iterator(folder)) {
        if (!entry.is_regular_file() || entry.path().filename() == "README")
            continue;
        ++files;
        const std::string path = entry.path().string();
        SCOPED_TRACE(path);
        for (PictureDepth mode : {PictureDepth::EightBitOnly, PictureDepth::AnyDepth}) {
            Picture picture;
            std::string error;
            if (ReadPicture(path, mode, picture, error))
                EXPECT_EQ(picture.Data.size(), static_cast<size_t>(picture.RowBytes()) * picture.Height);
            else
                EXPECT_FALSE(error.empty());
        }
        Workspace ws;
        const LoadResult loaded = LoadImage(ws, path);
        if (!loaded.Ok) {
            EXPECT_FALSE(loaded.Message.empty());
            EXPECT_EQ(ws.CardCount(), 0);
            continue;
        }
        FixedAnswers answers;
        const DecodeResult decoded = DecodeCard(ws, loaded.CardIndex, answers);
        EXPECT_TRUE(decoded.Ok || !decoded.Message.empty());
        EXPECT_EQ(ws.Card(1).PixelsReady, decoded.Ok);
    }
    EXPECT_GT(files, 0);
}
