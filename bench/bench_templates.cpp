// Opening a multi-card sheet and cutting it into clips: a letter sheet at 1200 and 2400 dpi,
// 8-bit, with the default 3 x 3 grid of cards. Peak resident memory is reported with each run.

#include "core/workspace.h"
#include "intake/picture.h"
#include "templates/sheetcutter.h"
#include "templates/templategrid.h"

#include <benchmark/benchmark.h>
#include <sys/resource.h>

#include <filesystem>
#include <map>
#include <string>

using namespace velmara;

namespace {

namespace fs = std::filesystem;

fs::path BenchDir()
{
    static const fs::path dir = [] {
        fs::path d = fs::temp_directory_path() / "velmara-bench-templates";
        fs::create_directories(d);
        return d;
    }();
    return dir;
}

// A letter sheet at dpi: white, each card cell of the default grid in its own colour with a
// stripe pattern, written once per resolution and reused by every run.
std::string SheetFile(int dpi)
{
    static std::map<int, std::string> made;
    if (auto it = made.find(dpi); it != made.end())
        return it->second;
    Picture p;
    p.Width = 8500 * dpi / 1000;
    p.Height = 11 * dpi;
    p.BitsPerPixel = 8;
    p.Channels = 1;
    for (int i = 0; i < 256; ++i)
        p.Palette.push_back({static_cast<Byte>(255 - i), static_cast<Byte>(i), static_cast<Byte>(i / 2)});
    p.Data.assign(static_cast<size_t>(p.Width) * p.Height, 0);
    TemplateGrid g;
    g.setPictureSize(p.Width, p.Height);
    g.setRes(dpi);
    g.activate();
    for (int n = 1; n <= 9; ++n) {
        const ClipRect r = g.clipRect(n);
        for (int y = r.Y; y < r.Y + r.Height; ++y)
            for (int x = r.X; x < r.X + r.Width; ++x)
                p.Row(y)[x] = static_cast<Byte>((x / 16 + y / 16) % 2 ? n : 0);
    }
    const std::string path = (BenchDir() / ("sheet" + std::to_string(dpi) + ".bmp")).string();
    std::string error;
    if (!SaveBitmap8(p, path, error))
        return {};
    made[dpi] = path;
    return path;
}

void ReportPeakMemory(benchmark::State &state)
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    state.counters["peak_MB"] = static_cast<double>(usage.ru_maxrss) / 1024.0;
}

// Reading the sheet at any depth and laying the grid over it, as the load dialog opens.
void BM_OpenSheet(benchmark::State &state)
{
    const int dpi = static_cast<int>(state.range(0));
    const std::string path = SheetFile(dpi);
    for (auto _ : state) {
        Picture sheet;
        std::string error;
        if (!ReadPicture(path, PictureDepth::AnyDepth, sheet, error)) {
            state.SkipWithError(error.c_str());
            break;
        }
        TemplateGrid g;
        g.setPictureSize(sheet.Width, sheet.Height);
        g.setViewSize(g.viewWidthForHeight(450), 450);
        g.setRes(dpi);
        g.activate();
        benchmark::DoNotOptimize(g.okEnabled());
    }
    ReportPeakMemory(state);
}

// One shift of the grid: the cells placed anew and checked against the sheet.
void BM_ShiftStep(benchmark::State &state)
{
    TemplateGrid g;
    g.setPictureSize(10200, 13200);
    g.setViewSize(348, 450);
    g.setRes(1200);
    g.activate();
    int step = 0;
    for (auto _ : state) {
        g.shift(++step % 2 ? ShiftDirection::Right : ShiftDirection::Left);
        for (int n = 1; n <= g.cellCount(); ++n)
            benchmark::DoNotOptimize(g.cell(n));
        benchmark::DoNotOptimize(g.okEnabled());
    }
}

// Cutting the nine cells into clip files and registering each as a card, from a sheet in memory.
void BM_CutNineClips(benchmark::State &state)
{
    const int dpi = static_cast<int>(state.range(0));
    Picture sheet;
    std::string error;
    if (!ReadPicture(SheetFile(dpi), PictureDepth::AnyDepth, sheet, error)) {
        state.SkipWithError(error.c_str());
        return;
    }
    TemplateGrid g;
    g.setPictureSize(sheet.Width, sheet.Height);
    g.setRes(dpi);
    g.activate();
    const std::string folder = (BenchDir() / "clips").string() + "/";
    fs::create_directories(folder);
    for (auto _ : state) {
        Workspace ws;
        ws.TempDir = folder;
        const CutResult r = CutSheet(ws, sheet, g, folder);
        if (r.Cards.size() != 9) {
            state.SkipWithError("a clip was refused");
            break;
        }
    }
    ReportPeakMemory(state);
}

} // namespace

BENCHMARK(BM_OpenSheet)->Arg(1200)->Arg(2400)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_ShiftStep)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_CutNineClips)->Arg(1200)->Arg(2400)->Unit(benchmark::kMillisecond)->Iterations(3);

BENCHMARK_MAIN();
