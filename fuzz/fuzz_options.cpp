// Any command line for velmara-cli, the input's NUL bytes parting the arguments: a usage error
// that says why, or options inside the bounds the commands rely on. options.dict gives the fuzzer
// the option words and number spellings it would hardly guess.

#include "cli/options.h"

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, size_t size)
{
    using namespace velmara::cli;
    std::vector<std::string> args{"velmara-cli"};
    std::string arg;
    for (size_t i = 0; i <= size; ++i) {
        if (i == size || data[i] == 0) {
            args.push_back(arg);
            arg.clear();
        } else {
            arg.push_back(static_cast<char>(data[i]));
        }
    }
    std::vector<char *> argv;
    for (std::string &a : args)
        argv.push_back(a.data());
    argv.push_back(nullptr);

    std::string error;
    const std::optional<Options> o = ParseOptions(static_cast<int>(args.size()), argv.data(), error);
    if (!o) {
        if (error.empty())
            std::abort();
        return 0;
    }
    if (o->command == Command::Help)
        return 0;
    const auto resolution = [](const std::optional<int> &dpi) { return !dpi || (*dpi >= 1 && *dpi <= 32767); };
    bool sound = !o->images.empty() && o->hueLow >= 0 && o->hueLow <= o->hueHigh && o->hueHigh <= 255
                 && resolution(o->dpi) && resolution(o->sheetDpi)
                 && (!o->range || (o->range->first >= 0 && o->range->first <= o->range->second))
                 && std::isfinite(o->offsetX) && std::isfinite(o->offsetY)
                 && (o->command != Command::Clip || !o->templateName.empty());
    for (int cell : o->cells)
        sound = sound && cell >= 1;
    if (o->command != Command::Line)
        sound = sound && !o->position1 && !o->interval && !o->range && o->outFile.empty() && o->reportFile.empty();
    if (!sound)
        std::abort();
    return 0;
}
