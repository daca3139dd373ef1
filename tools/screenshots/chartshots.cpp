// The graphs and charts at their edge cases for velmara-screenshots: the histogram of a card of one
// pure red, the profile axis of lines whose end labels would meet, bands of small values, the
// line chart after a resize, and the swath view of the drop densities.

#include "cardgen/cardgen.h"
#include "settings/settingsstore.h"
#include "shell/compositeview.h"
#include "shell/mainwindow.h"
#include "shell/picturebox.h"
#include "statistics/composite.h"

#include <QApplication>
#include <QCheckBox>
#include <QDir>
#include <QPushButton>
#include <QRadioButton>
#include <QTabBar>
#include <QTemporaryDir>
#include <QTest>

#include <cmath>
#include <cstdio>
#include <memory>

using namespace velmara;

namespace {

bool saveShot(QWidget &widget, const QDir &out, const char *name)
{
    QApplication::processEvents();
    const bool ok = widget.grab().save(out.filePath(QString::fromLatin1(name) + ".png"));
    std::printf("%s %s\n", ok ? "wrote" : "FAILED", name);
    return ok;
}

// A window over n cards made in memory, scanned, with deposits of about depositScale nL/cm² and
// densities of about densityScale drops/cm², in the composite view.
struct MemoryLine
{
    Workspace ws;
    std::unique_ptr<MainWindow> window;

    MemoryLine(SettingsStore &store, const std::string &tempDir, int width, int height, int n,
               const std::string &first, const std::string &interval, double depositScale, double densityScale)
    {
        ws.TempDir = tempDir;
        window = std::make_unique<MainWindow>(ws, store, height);
        window->setMessageHook([](const QString &text) { std::printf("message: %s\n", qPrintable(text)); });
        window->resize(width, height);
        window->show();
        for (int i = 1; i <= n; ++i) {
            CardImage &c = ws.Card(ws.AppendCard());
            c.FileName = "card" + std::to_string(i) + ".bmp";
            c.FullPath = tempDir + c.FileName;
            c.Dpi = 600;
            c.AreaCm2 = 2;
            c.PixelsReady = true;
            c.Scanned = true;
            const double wave = 1.0 + 0.6 * std::sin(i * 0.9);
            SizeClass a;
            a.AreaPx = 10;
            a.Count = 4;
            a.Diameter = 150 + 10 * i % 40;
            a.Volume = static_cast<Single>(1.77e6 * depositScale * wave);
            c.SizeTable = {SizeClass{}, a};
            c.MinDiameter = c.MaxDiameter = a.Diameter;
            c.MaxClassCount = a.Count;
            c.TotalVolume = a.Count * a.Volume / 1e6;
            c.Stats = {a.Diameter, densityScale * wave, c.TotalVolume / 2.0};
        }
        ws.Spray.Sample_Position1 = first;
        ws.Spray.Sample_Interval = interval;
        ws.MaxDiameterAll = ws.ComputeMaxDiameterAll();
        CalcCompositeAll(ws);
        window->findChild<QCheckBox *>("CompositeCheck")->setVisible(true);
        window->findChild<QCheckBox *>("CompositeCheck")->click();
    }
};

} // namespace

bool SaveChartShots(const QDir &out, int width, int height)
{
    QTemporaryDir dir;
    const std::string tempDir = dir.path().toStdString() + "/";
    SettingsStore store(dir.filePath(QStringLiteral("settings.ini")));
    store.SaveSetting("Prefs", "DefaultRes", "600");
    store.SaveSetting("Prefs", "LogAnalysis", "False");
    bool ok = true;

    // A card of one pure red: its only bar is hue 0, at the histogram's first column.
    {
        Workspace ws;
        ws.TempDir = tempDir;
        MainWindow window(ws, store, height);
        window.setQuestionHook([](int, int, Byte, Byte) { return Answer::Yes; });
        window.resize(width, height);
        window.show();
        cardgen::CardSpec spec;
        spec.width = 300;
        spec.height = 300;
        spec.colours = {{1, cardgen::Rgb{255, 0, 0}}};
        spec.discs = {{80, 80, 30, 1}, {200, 190, 50, 1}, {70, 240, 12, 1}};
        const QString path = dir.filePath(QStringLiteral("red.bmp"));
        cardgen::WriteBmp(cardgen::MakeCard(spec), path.toStdString());
        window.loadChosenFiles({path});
        QTest::mouseClick(window.findChild<QPushButton *>("btnScanColour"), Qt::LeftButton);
        ok &= saveShot(*window.findChild<PictureBox *>("HistogramPic"), out, "g1-histogram-pure-red");
        ok &= saveShot(window, out, "g2-window-pure-red");
    }

    // Profile axes whose end labels would meet: five cards from -45, thirty cards from -50.
    {
        MemoryLine line(store, tempDir, width, height, 5, "-45", "10", 1, 40);
        line.window->findChild<QTabBar *>("ImageStrip")->setCurrentIndex(1);
        QRadioButton *three = line.window->compositeView()->optSwathWidth[3];
        QTest::mouseClick(three, Qt::LeftButton);
        ok &= saveShot(*line.window, out, "g3-profile-from-minus-45");
    }
    {
        MemoryLine line(store, tempDir, width, height, 30, "-50", "10", 1, 40);
        line.window->findChild<QTabBar *>("ImageStrip")->setCurrentIndex(1);
        QTest::mouseClick(line.window->compositeView()->optSwathWidth[22], Qt::LeftButton);
        ok &= saveShot(*line.window, out, "g4-profile-30-cards-width-22");
    }

    // Small values: densities near 1 and deposits of hundredths; then the window made larger and
    // the swath view of the densities.
    {
        MemoryLine line(store, tempDir, width, height, 8, "-35", "10", 0.0025, 0.5);
        ok &= saveShot(*line.window, out, "g5-line-chart-small-values");
        line.window->resize(width + 240, height + 100);
        ok &= saveShot(*line.window, out, "g6-line-chart-after-resize");
        line.window->findChild<QTabBar *>("ImageStrip")->setCurrentIndex(1);
        QTest::keyClick(line.window.get(), Qt::Key_3, Qt::ControlModifier);
        ok &= saveShot(*line.window, out, "g7-swath-drop-density");
    }
    return ok;
}
