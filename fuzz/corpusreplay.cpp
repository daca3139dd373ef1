// Runs a fuzz target's entry point on stored inputs without libFuzzer, so that a corpus replays as
// an ordinary test with any compiler. Arguments: files or folders of inputs. A failing check
// aborts; the input it failed on is named on stderr first.

#include <algorithm>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include <unistd.h>

#if defined(__SANITIZE_ADDRESS__)
#define VELMARA_REPLAY_SANITIZED 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define VELMARA_REPLAY_SANITIZED 1
#endif
#endif
#ifdef VELMARA_REPLAY_SANITIZED
#include <sanitizer/common_interface_defs.h>
#endif

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, size_t size);

namespace {

// The input being run; a fixed buffer, since it is read from a signal handler.
char gCurrent[4096];

void nameCurrent()
{
    static const char prefix[] = "failing input: ";
    [[maybe_unused]] ssize_t n = ::write(2, prefix, sizeof prefix - 1);
    n = ::write(2, gCurrent, std::strlen(gCurrent));
    n = ::write(2, "\n", 1);
}

void onFatalSignal(int signal)
{
    nameCurrent();
    std::signal(signal, SIG_DFL);
    std::raise(signal);
}

std::vector<std::filesystem::path> inputsOf(const std::filesystem::path &arg)
{
    std::vector<std::filesystem::path> files;
    if (std::filesystem::is_directory(arg)) {
        for (const auto &entry : std::filesystem::directory_iterator(arg))
            if (entry.is_regular_file())
                files.push_back(entry.path());
        std::sort(files.begin(), files.end());
    } else if (std::filesystem::is_regular_file(arg)) {
        files.push_back(arg);
    }
    return files;
}

} // namespace

int main(int argc, char **argv)
{
    for (int s : {SIGABRT, SIGSEGV, SIGBUS, SIGFPE, SIGILL})
        std::signal(s, onFatalSignal);
#ifdef VELMARA_REPLAY_SANITIZED
    __sanitizer_set_death_callback(nameCurrent);
#endif
    size_t count = 0;
    for (int i = 1; i < argc; ++i) {
        for (const auto &path : inputsOf(argv[i])) {
            std::ifstream in(path, std::ios::binary);
            const std::vector<char> bytes{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
            std::snprintf(gCurrent, sizeof gCurrent, "%s", path.c_str());
            LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t *>(bytes.data()), bytes.size());
            ++count;
        }
    }
    // An empty or mistyped corpus folder must not pass as a clean run.
    if (count == 0) {
        std::fprintf(stderr, "no inputs found\n");
        return 1;
    }
    std::printf("%zu inputs replayed\n", count);
    return 0;
}
