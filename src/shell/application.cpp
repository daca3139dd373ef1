#include "shell/application.h"

#include "settings/preferences.h"
#include "settings/settingsstore.h"
#include "shell/mainwindow.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <QIcon>
#include <QMessageBox>
#include <QScreen>

#include <algorithm>
#include <cmath>

namespace velmara {

namespace {

Long rgbValue(int r, int g, int b)
{
    return std::min(r, 255) + 256 * std::min(g, 255) + 65536 * std::min(b, 255);
}

} // namespace

void FillHueColour(std::array<Long, 257> &hueColour)
{
    for (int i = 0; i <= 256; ++i) {
        const int segment = i / 42;
        const int k = i % 42;
        switch (segment) {
        case 0: hueColour[static_cast<size_t>(i)] = rgbValue(255, 6 * k, 0); break;
        case 1: hueColour[static_cast<size_t>(i)] = rgbValue(256 - 6 * k, 255, 0); break;
        case 2: hueColour[static_cast<size_t>(i)] = rgbValue(0, 255, 6 * k); break;
        case 3: hueColour[static_cast<size_t>(i)] = rgbValue(0, 256 - 6 * k, 255); break;
        case 4: hueColour[static_cast<size_t>(i)] = rgbValue(6 * k, 0, 255); break;
        case 5: hueColour[static_cast<size_t>(i)] = rgbValue(255, 0, 256 - 6 * k); break;
        default: hueColour[static_cast<size_t>(i)] = rgbValue(255, 0, 0); break;
        }
    }
}

QString ScreenHeightMessage(int widthPx, int heightPx)
{
    if (heightPx >= 600)
        return {};
    const QChar times(0x00D7);
    return QStringLiteral("Your screen resolution is currently set to ") + QString::number(widthPx)
           + times + QString::number(heightPx) + QStringLiteral(".\r\rVelmara was designed to run at a minimum resolution\rof 800")
           + times + QStringLiteral("600, and preferably 1024") + times
           + QStringLiteral("768 or higher.\r\rClick OK to access the display settings.");
}

void RemoveClipFiles(const std::string &tempDir)
{
    QDir dir(QString::fromStdString(tempDir));
    const QStringList clips = dir.entryList({QStringLiteral("clip*.bmp")}, QDir::Files);
    for (const QString &name : clips)
        dir.remove(name);
}

void RemoveTemporaryBitmaps(const std::string &tempDir)
{
    const QString folder = QString::fromStdString(tempDir);
    for (const char *name : {"masktemp.bmp", "background_temp.bmp", "dither_temp.bmp"}) {
        const QString path = folder + QLatin1String(name);
        if (QFile::exists(path))
            QFile::remove(path);
    }
    RemoveClipFiles(tempDir);
}

int RunDesktop(int argc, char **argv)
{
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Velmara"));
    QApplication::setApplicationDisplayName(QString());
    QApplication::setWindowIcon(QIcon::fromTheme(QStringLiteral("velmara")));

    Workspace ws;
    SettingsStore store;
    // A settings file that cannot be read whole, or holds values that cannot be read, is told
    // once, here; a save that fails later is told when it happens, once per run.
    std::string told = store.startupNotice(store.checkFile());
    const std::string values = UnreadablePreferencesNotice(store);
    if (!values.empty())
        told += (told.empty() ? "" : "\r\r") + values;
    QString notice = QString::fromStdString(told);
    if (!notice.isEmpty()) {
        notice.replace(QLatin1Char('\r'), QLatin1Char('\n'));
        QMessageBox::warning(nullptr, QStringLiteral("Velmara"), notice);
    }
    store.setFailureHandler([](const std::string &message) {
        QString text = QString::fromStdString(message);
        text.replace(QLatin1Char('\r'), QLatin1Char('\n'));
        QMessageBox::warning(QApplication::activeWindow(), QStringLiteral("Velmara"), text);
    });
    LoadStartupSettings(ws, store);

    // Our layout works in device-independent pixels: one pixel is 15 twips at any density.
    ws.TwipsPerPixelX = 15;
    ws.TwipsPerPixelY = 15;
    ws.Pi = 4.0 * std::atan(1.0);
    const QScreen *screen = QGuiApplication::primaryScreen();
    const QSize size = screen ? screen->size() : QSize(1024, 768);
    const QString warning = ScreenHeightMessage(size.width(), size.height());
    if (!warning.isEmpty()) {
        // No display-settings program is started here: OK goes on starting, Cancel ends.
        QString text = warning;
        text.replace(QLatin1Char('\r'), QLatin1Char('\n'));
        if (QMessageBox::information(nullptr, QStringLiteral("Velmara"), text,
                                     QMessageBox::Ok | QMessageBox::Cancel)
            != QMessageBox::Ok)
            return 0;
    }
    ws.CurrentCard = 1;
    // "MS Sans Serif" 8 and "Small Fonts" 6 map to the system's sans face at those sizes.
    ws.UiFontName = ws.TwipsPerPixelX == 12 ? "Small Fonts" : "MS Sans Serif";
    ws.UiFontSize = ws.TwipsPerPixelX == 12 ? 6 : 8;

    MainWindow window(ws, store, size.height());
    window.show();
    const int status = app.exec();
    return status;
}

} // namespace velmara
