#pragma once
// Internal to intake: the format readers behind ReadPicture.

#include "intake/picture.h"

namespace velmara::intake_detail {

bool ReadBmp(const std::string &path, PictureDepth mode, Picture &picture, std::string &error);
bool ReadGif(const std::string &path, PictureDepth mode, Picture &picture, std::string &error);
bool ReadTiff(const std::string &path, PictureDepth mode, Picture &picture, std::string &error);

} // namespace velmara::intake_detail
