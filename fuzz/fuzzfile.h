#pragma once
// The readers take paths: each input is written to a file of this process's own folder.

#include <cstdint>
#include <cstdio>
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

} // namespace velmara::fuzz
