// Helpers shared by the window tests: one application, waiting on the event loop, and a main
// window over copies of the sample cards with its boxes and questions answered by script.
#pragma once

#include "settings/settingsstore.h"
#include "shell/mainwindow.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QTabBar>
#include <QTemporaryDir>
#include <QTest>

#include <gtest/gtest.h>

#include <memory>

namespace velmara::shelltest {

inline void EnsureApp()
{
    if (QApplication::instance())
        return;
    static int argc = 1;
    static char name[] = "test_shell";
    static char *argv[] = {name, nullptr};
    new QApplication(argc, argv);
}

// Runs the event loop until cond holds or two seconds pass; returns cond().
template <typename F>
bool WaitFor(F cond)
{
    QElapsedTimer t;
    t.start();
    while (!cond() && t.elapsed() < 2000)
        QApplication::processEvents(QEventLoop::AllEvents, 20);
    return cond();
}

// The whole file, or an empty array when it cannot be read.
inline QByteArray ReadAll(const QString &path)
{
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
}

// Writes bytes as the whole file; returns false when it cannot be written.
inline bool WriteFile(const QString &path, const QByteArray &bytes)
{
    QFile f(path);
    return f.open(QIODevice::WriteOnly) && f.write(bytes) == bytes.size();
}

// A control of the main window by its name, as the window names it (its object name).
template <typename T>
T *Control(const QWidget &window, const char *name)
{
    T *found = window.findChild<T *>(QLatin1String(name));
    EXPECT_NE(found, nullptr) << name;
    return found;
}

class WindowFixture : public ::testing::Test
{
protected:
    // Copies card01.bmp .. card<n>.bmp of the samples and opens the window at 1024 x 768; log
    // false turns the scan log off.
    void openWindow(int cards = 3, bool log = false)
    {
        EnsureApp();
        ASSERT_TRUE(dir.isValid());
        for (int i = 1; i <= cards; ++i) {
            const QString name = QStringLiteral("card%1.bmp").arg(i, 2, 10, QLatin1Char('0'));
            ASSERT_TRUE(QFile::copy(QStringLiteral(VELMARA_SOURCE_DIR "/samples/") + name, dir.filePath(name)));
        }
        store = std::make_unique<SettingsStore>(dir.filePath(QStringLiteral("settings.ini")));
        store->SaveSetting("Prefs", "DefaultRes", "600");
        if (!log)
            store->SaveSetting("Prefs", "LogAnalysis", "False");
        ws.TempDir = dir.path().toStdString() + "/";
        window = std::make_unique<MainWindow>(ws, *store, 768);
        window->setMessageHook([this](const QString &text) { messages << text; });
        window->setQuestionHook([](int, int, Byte, Byte) { return Answer::Yes; });
        window->resize(1024, 768);
        window->show();
    }
    QString path(const char *name) const { return dir.filePath(QLatin1String(name)); }
    void loadCards(int n)
    {
        QStringList paths;
        for (int i = 1; i <= n; ++i)
            paths << dir.filePath(QStringLiteral("card%1.bmp").arg(i, 2, 10, QLatin1Char('0')));
        window->loadChosenFiles(paths);
    }
    void decodeAndScan(std::initializer_list<int> cards)
    {
        for (int card : cards) {
            window->selectCard(card);
            window->btnScanColour_Click();
            window->btnScan_Click();
        }
    }
    template <typename T>
    T *ctl(const char *name) const
    {
        return Control<T>(*window, name);
    }
    void key(int k, Qt::KeyboardModifiers m = Qt::NoModifier) { QTest::keyClick(window.get(), Qt::Key(k), m); }
    QStringList tabs() const
    {
        QStringList t;
        for (int i = 0; i < ctl<QTabBar>("ImageStrip")->count(); ++i)
            t << ctl<QTabBar>("ImageStrip")->tabText(i);
        return t;
    }

    QTemporaryDir dir;
    Workspace ws;
    std::unique_ptr<SettingsStore> store;
    std::unique_ptr<MainWindow> window;
    QStringList messages;
};

} // namespace velmara::shelltest
