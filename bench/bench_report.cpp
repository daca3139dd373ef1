// The printed report: one preview page (the preview window waits for it) and the four-page PDF
// of velmara-cli, for a line of 100 cards whose composite has 10,000 classes, and the PDF for a
// line of 1000 cards. Targets: a preview page under 30 ms; the PDF under 1 s and 2 MB for 100
// cards, under 3 s for 1000.
//
//   bench_report [benchmark options]      (runs on the offscreen platform unless told otherwise)

#include "../tests/reports/sampleline.h"
#include "reports/reportpages.h"
#include "views/pdfreport.h"
#include "views/qpainterreportcanvas.h"

#include <QGuiApplication>
#include <QImage>

#include <benchmark/benchmark.h>

#include <filesystem>
#include <memory>

using namespace velmara;
namespace fs = std::filesystem;

namespace {

// A line of `cards` cards with `rows` rows each. With ownClasses every row falls in a 0.1
// micrometre class of its own, so that the composite has cards * rows classes; otherwise the
// cards share their classes. (A composite whose largest class holds less than about 0.045 % of
// the volume has a volume fraction axis of 0 and cannot be printed, so 1000 cards of ten own
// classes each are no line to measure.)
std::unique_ptr<Workspace> MakeBenchLine(int cards, int rows, bool ownClasses)
{
    auto ws = std::make_unique<Workspace>();
    testing::MakeLine(*ws, testing::LineSpec{cards, rows, "-50", "2.5"});
    for (int i = 1; i <= cards && ownClasses; ++i) {
        CardImage &card = ws->Card(i);
        for (int r = 1; r <= rows; ++r) {
            SizeClass &c = card.SizeTable[static_cast<size_t>(r)];
            c.Diameter = static_cast<Single>(20 + 0.1 * ((i - 1) * rows + r));
            c.Volume = static_cast<Single>(4.0 / 3.0 * 3.141592653589793 * std::pow(c.Diameter / 2, 3));
        }
        card.MaxDiameter = card.SizeTable.back().Diameter;
    }
    ws->Spray.AC_Swath = "30";
    testing::Recompute(*ws);
    return ws;
}

void BM_PreviewPage(benchmark::State &state)
{
    const int page = static_cast<int>(state.range(0));
    auto ws = MakeBenchLine(100, 100, true);
    PrepareReport(*ws);
    QImage image(425, 550, QImage::Format_RGB32);
    QPainterReportCanvas canvas(image);
    for (auto _ : state) {
        const ReportResult r = PrintSub2(*ws, canvas, false, page);
        canvas.flush();
        if (!r.Ok)
            state.SkipWithError(r.Error.c_str());
    }
    state.counters["classes"] = static_cast<double>(ws->CompositeAll.Classes.size() - 1);
}
BENCHMARK(BM_PreviewPage)->DenseRange(1, 4)->Unit(benchmark::kMillisecond);

void BM_PdfReport(benchmark::State &state)
{
    const int cards = static_cast<int>(state.range(0));
    auto ws = MakeBenchLine(cards, cards >= 1000 ? 40 : 100, cards < 1000);
    const fs::path path = fs::temp_directory_path() / ("bench_report_" + std::to_string(cards) + ".pdf");
    for (auto _ : state) {
        std::string error;
        if (!WritePdfReport(*ws, path.string(), error)) {
            state.SkipWithError(error.c_str());
            return;
        }
    }
    state.counters["bytes"] = static_cast<double>(fs::file_size(path));
    state.counters["classes"] = static_cast<double>(ws->CompositeAll.Classes.size() - 1);
    fs::remove(path);
}
BENCHMARK(BM_PdfReport)->Arg(100)->Arg(1000)->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char **argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
