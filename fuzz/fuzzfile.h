#pragma once
// The readers take paths: each input is written to a file of this process's own folder.

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <string>
#include <unistd.h>

namespace velmara::fuzz {

// Made on first use and removed when the process ends normally.
inline std::string FuzzFolder()
{
    struct Folder
    {
        std::filesystem::path dir =
            std::filesystem::temp_directory_path() / ("velmara-fuzz-" + std::to_string(::getpid()));
        Folder() { std::filesystem::create_directories(dir); }
        ~Folder()
        {
            std::error_code ec;
            std::filesystem::remove_all(dir, ec);
        }
    };
    static const Folder folder;
    return folder.dir.string() + "/";
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
