// The composite view's states for velmara-screenshots: the line chart without and with a range,
// callouts on cards left and right of the middle, both swath sets, a line of 1000 cards, and the
// equal-positions message with the position dialog that follows it.

#include "cardgen/cardgen.h"
#include "shots.h"
#include "settings/settingsstore.h"
#include "shell/compositeview.h"
#include "shell/mainwindow.h"
#include "shell/picturebox.h"
#include "statistics/composite.h"

#include <QApplication>
#include <QCheckBox>
#include <QDir>
#include <QLabel>
#include <QLineEdit>
#include <QMouseEvent>
#include <QPushButton>
#include <QTabBar>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include <cmath>
#include <cstdio>
#include <functional>

using namespace velmara;

namespace {

bool saveWidget(QWidget &widget, const QDir &out, const char *name)
{
    QApplication::processEvents();
    const bool ok = widget.grab().save(out.filePath(QString::fromLatin1(name) + ".png"));
    std::printf("%s %s\n", ok ? "wrote" : "FAILED", name);
    return ok;
}

// Answers the modal windows that come up while run() runs, one after the other, in order.
void withModals(std::vector<std::function<void(QWidget *)>> answers, const std::function<void()> &run)
{
    size_t next = 0;
    QWidget *last = nullptr;
    QTimer timer;
    timer.setInterval(20);
    QObject::connect(&timer, &QTimer::timeout, [&] {
        QWidget *modal = QApplication::activeModalWidget();
        if (modal == nullptr || modal == last || next >= answers.size())
            return;
        last = modal;
        answers[next++](modal);
    });
    timer.start();
    run();
    timer.stop();
}

void moveOver(QWidget *widget)
{
    const QPointF at(widget->width() / 2.0, widget->height() / 2.0);
    QMouseEvent move(QEvent::MouseMove, at, widget->mapToGlobal(at), Qt::NoButton, Qt::NoButton, Qt::NoModifier);
    QApplication::sendEvent(widget, &move);
}

void acceptPositions(QWidget *modal, const QString &first, const QString &spacing)
{
    const auto edits = modal->findChildren<QLineEdit *>();
    if (edits.size() >= 2) {
        edits[0]->setText(first);
        edits[1]->setText(spacing);
    }
    for (QPushButton *b : modal->findChildren<QPushButton *>())
        if (b->text().remove(QLatin1Char('&')) == QStringLiteral("Accept"))
            b->click();
}

} // namespace

bool SaveCompositeShots(const QDir &out, int width, int height)
{
    QTemporaryDir dir;
    cardgen::LineSpec spec;
    spec.cards = 9;
    spec.widthInches = 0.6;
    spec.heightInches = 0.8;
    spec.seed = 7;
    const QStringList paths = shots::WriteLineCards(QDir(dir.path()), spec, "line");
    SettingsStore store(dir.filePath(QStringLiteral("settings.ini")));
    store.SaveSetting("Prefs", "DefaultRes", "600");
    store.SaveSetting("Prefs", "LogAnalysis", "False");
    Workspace ws;
    ws.TempDir = dir.path().toStdString() + "/";
    MainWindow window(ws, store, height);
    window.setQuestionHook([](int, int, Byte, Byte) { return Answer::Yes; });
    window.resize(width, height);
    window.show();
    window.loadChosenFiles(paths);
    window.btnScanAll_Click();
    CompositeView *view = window.compositeView();

    // Two cards on one place: the message, then the dialog without Cancel.
    bool ok = true;
    ws.Spray.Sample_Position1 = "0";
    ws.Spray.Sample_Interval = "0";
    withModals({[&](QWidget *box) {
                    ok &= saveWidget(*box, out, "c1-equal-positions-message");
                    QTest::keyClick(box, Qt::Key_Return);
                },
                [&](QWidget *form) {
                    ok &= saveWidget(*form, out, "c2-equal-positions-dialog");
                    acceptPositions(form, QStringLiteral("-40"), QStringLiteral("10"));
                }},
               [&] { window.findChild<QCheckBox *>("CompositeCheck")->click(); });
    window.setMessageHook([](const QString &text) { std::printf("message: %s\n", qPrintable(text)); });
    ok &= saveWidget(window, out, "c3-line-chart");

    moveOver(view->CardLabel[2]);
    ok &= saveWidget(window, out, "c4-callouts-right");
    moveOver(view->surface());
    moveOver(view->CardLabel[8]);
    ok &= saveWidget(window, out, "c5-callouts-left");
    moveOver(view->surface());

    PictureBox *graph = window.findChild<PictureBox *>("ResultPic");
    QTest::mouseClick(graph, Qt::LeftButton, Qt::NoModifier, QPoint(60, 30));
    QTest::mouseClick(graph, Qt::RightButton, Qt::NoModifier, QPoint(150, 30));
    ok &= saveWidget(window, out, "c6-line-chart-range");

    window.findChild<QTabBar *>("ImageStrip")->setCurrentIndex(1);
    ok &= saveWidget(window, out, "c7-swath-deposit");
    QTest::keyClick(&window, Qt::Key_3, Qt::ControlModifier);
    ok &= saveWidget(window, out, "c8-swath-density");
    QTest::keyClick(&window, Qt::Key_1, Qt::ControlModifier);
    window.findChild<QCheckBox *>("CompositeCheck")->click();
    ok &= saveWidget(window, out, "c9-left-view");

    // A line of 1000 cards, made in memory: a few cards without stains, one not scanned.
    Workspace big;
    big.TempDir = ws.TempDir;
    MainWindow bigWindow(big, store, height);
    bigWindow.setMessageHook([](const QString &) {});
    bigWindow.resize(width, height);
    bigWindow.show();
    for (int i = 1; i <= 1000; ++i) {
        const int k = big.AppendCard();
        CardImage &c = big.Card(k);
        c.FileName = "card" + std::to_string(k) + ".bmp";
        c.FullPath = ws.TempDir + c.FileName;
        c.Dpi = 600;
        c.AreaCm2 = 2;
        c.PixelsReady = true;
        c.Scanned = i != 500;
        if (i % 97 != 0) {
            const double wave = 1.0 + 0.5 * std::sin(i / 40.0);
            SizeClass a, b;
            a.AreaPx = 10;
            a.Count = static_cast<Long>(20 * wave);
            a.Diameter = 150;
            a.Volume = 1.77e6f;
            b.AreaPx = 40;
            b.Count = 5;
            b.Diameter = 300 + i % 50;
            b.Volume = 1.4e7f;
            c.SizeTable = {SizeClass{}, a, b};
            c.MinDiameter = a.Diameter;
            c.MaxDiameter = b.Diameter;
            c.MaxClassCount = a.Count;
            c.TotalVolume = (a.Count * a.Volume + b.Count * b.Volume) / 1e6;
            c.Stats = {240 + 30 * wave, (a.Count + b.Count) / 2.0, c.TotalVolume / 2.0};
        }
    }
    big.Spray.Sample_Position1 = "-500";
    big.Spray.Sample_Interval = "1";
    big.MaxDiameterAll = big.ComputeMaxDiameterAll();
    CalcCompositeAll(big);
    bigWindow.findChild<QCheckBox *>("CompositeCheck")->setVisible(true);
    bigWindow.findChild<QCheckBox *>("CompositeCheck")->click();
    ok &= saveWidget(bigWindow, out, "c10-line-1000-cards");
    bigWindow.findChild<QTabBar *>("ImageStrip")->setCurrentIndex(1);
    ok &= saveWidget(bigWindow, out, "c11-swath-1000-cards");
    return ok;
}
