// velmara-screenshots <folder>: drives the main window through its states on generated cards and
// saves a PNG of each into the folder. Runs under any Qt platform, offscreen included.

#include "cardgen/cardgen.h"
#include "shots.h"
#include "settings/settingsstore.h"
#include "shell/mainwindow.h"
#include "shell/picturebox.h"

#include <QApplication>
#include <QCheckBox>
#include <QDir>
#include <QMouseEvent>
#include <QSlider>
#include <QTemporaryDir>
#include <QTest>

#include <cstdio>

using namespace velmara;

// The composite view's states, on a line of their own (compositeshots.cpp).
bool SaveCompositeShots(const QDir &out, int width, int height);
bool SaveDialogShots(const QDir &out);
// The graphs and charts at their edge cases (chartshots.cpp).
bool SaveChartShots(const QDir &out, int width, int height);

namespace {

bool save(MainWindow &window, const QDir &out, const char *name)
{
    QApplication::processEvents();
    const bool ok = window.grab().save(out.filePath(QString::fromLatin1(name) + ".png"));
    std::printf("%s %s\n", ok ? "wrote" : "FAILED", name);
    return ok;
}

} // namespace

int main(int argc, char **argv)
{
    QApplication app(argc, argv);
    if (argc < 2) {
        std::fprintf(stderr, "usage: velmara-screenshots <output folder> [width height]\n");
        return 1;
    }
    QDir out(QString::fromLocal8Bit(argv[1]));
    if (!out.mkpath(QStringLiteral(".")))
        return 1;
    const int width = argc >= 4 ? std::atoi(argv[2]) : 1024;
    const int height = argc >= 4 ? std::atoi(argv[3]) : 768;

    QTemporaryDir dir;
    cardgen::LineSpec spec;
    spec.cards = 4;
    spec.widthInches = 1.6;
    spec.heightInches = 1.2;
    const QStringList paths = shots::WriteLineCards(QDir(dir.path()), spec, "card");

    SettingsStore store(dir.filePath(QStringLiteral("settings.ini")));
    store.SaveSetting("Prefs", "DefaultRes", "600");
    store.SaveSetting("Prefs", "LogAnalysis", "False");
    Workspace ws;
    ws.TempDir = dir.path().toStdString() + "/";
    MainWindow window(ws, store, height);
    window.setQuestionHook([](int, int, Byte, Byte) { return Answer::Yes; });
    window.setMessageHook([](const QString &text) { std::printf("message: %s\n", qPrintable(text)); });
    window.resize(width, height);
    window.show();
    bool ok = save(window, out, "1-empty");

    window.loadChosenFiles(paths);
    window.selectCard(2);
    ok &= save(window, out, "2-loaded");

    window.btnScanColour_Click();
    window.findChild<QSlider *>("Slider1")->setValue(200);
    ok &= save(window, out, "3-decoded");

    window.findChild<QCheckBox *>("MaskCheck")->click();
    ok &= save(window, out, "4-masked");
    window.findChild<QCheckBox *>("MaskCheck")->click();

    window.btnScanAll_Click();
    ok &= save(window, out, "5-scanned");

    // The image information popup, held open by the right button on the card.
    auto *card = window.findChild<QWidget *>("Picture1");
    QTest::mousePress(card, Qt::RightButton, Qt::NoModifier, QPoint(60, 60));
    QApplication::processEvents();
    for (QWidget *w : QApplication::topLevelWidgets())
        if (w->isVisible() && w->inherits("velmara::InfoForm")) {
            const bool shot = w->grab().save(out.filePath(QStringLiteral("5b-image-information.png")));
            std::printf("%s 5b-image-information\n", shot ? "wrote" : "FAILED");
            ok &= shot;
        }
    QTest::mouseRelease(card, Qt::RightButton, Qt::NoModifier, QPoint(60, 60));

    PictureBox *graph = window.findChild<PictureBox *>("ResultPic");
    QTest::mousePress(graph, Qt::LeftButton, Qt::NoModifier, QPoint(40, 30));
    QMouseEvent move(QEvent::MouseMove, QPointF(60, 30), graph->mapToGlobal(QPointF(60, 30)), Qt::NoButton,
                     Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(graph, &move);
    ok &= save(window, out, "6-dragging");
    QTest::mouseRelease(graph, Qt::LeftButton, Qt::NoModifier, QPoint(60, 30));
    QTest::mouseClick(graph, Qt::RightButton, Qt::NoModifier, QPoint(180, 30));
    ok &= save(window, out, "7-range-selected");
    ok &= SaveCompositeShots(out, width, height);
    ok &= SaveChartShots(out, width, height);
    ok &= SaveDialogShots(out);
    return ok ? 0 : 1;
}
