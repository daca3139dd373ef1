#pragma once
// A fresh folder per test, removed afterwards; its path ends in a separator like TempDir.

#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>

namespace velmara::test {

class TestDir
{
public:
    TestDir()
    {
        std::random_device rd;
        mPath = std::filesystem::temp_directory_path()
                / ("velmara-test-" + std::to_string(rd()) + std::to_string(rd()));
        std::filesystem::create_directories(mPath);
    }
    ~TestDir()
    {
        std::error_code ec;
        std::filesystem::remove_all(mPath, ec);
    }
    std::string dir() const { return mPath.string() + "/"; }
    std::string file(const std::string &name) const { return (mPath / name).string(); }

private:
    std::filesystem::path mPath;
};

inline std::string ReadBytes(const std::string &path)
{
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

inline void WriteBytes(const std::string &path, const std::string &bytes)
{
    std::ofstream out(path, std::ios::binary);
    out << bytes;
}

} // namespace velmara::test
