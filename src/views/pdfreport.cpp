#include "views/pdfreport.h"

#include "reports/reportpages.h"
#include "views/qpainterreportcanvas.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QGuiApplication>
#include <QPageLayout>
#include <QPageSize>
#include <QPdfWriter>
#include <QTemporaryFile>

#include <filesystem>

#if defined(__unix__) || defined(__APPLE__)
#include <sys/stat.h>
#endif

namespace velmara {

namespace {

constexpr int kPdfResolution = 1200;

std::string WithLineFeeds(std::string text)
{
    for (char &ch : text)
        if (ch == '\r')
            ch = '\n';
    return text;
}

// The mode the report takes: that of the file it replaces, else that of any new file (the process's
// file creation mask applied). The temporary file beside it is made for the owner alone.
std::filesystem::perms ReportPermissions(const std::string &path)
{
    namespace fs = std::filesystem;
    std::error_code ec;
    const fs::file_status old = fs::status(path, ec);
    if (!ec && fs::is_regular_file(old))
        return old.permissions();
    fs::perms mode = fs::perms::owner_read | fs::perms::owner_write | fs::perms::group_read
                     | fs::perms::group_write | fs::perms::others_read | fs::perms::others_write;
#if defined(__unix__) || defined(__APPLE__)
    const mode_t mask = ::umask(0);
    ::umask(mask);
    mode &= ~static_cast<fs::perms>(mask & 0777);
#endif
    return mode;
}

} // namespace

bool WritePdfReport(Workspace &ws, const std::string &path, std::string &error)
{
    error.clear();
    // Fonts and the PDF engine need a QGuiApplication; without one Qt would abort the program.
    if (!qobject_cast<QGuiApplication *>(QCoreApplication::instance())) {
        error = "The PDF report needs a QGuiApplication.";
        return false;
    }
    const QFileInfo target(QString::fromStdString(path));
    const QString folder = target.absolutePath();
    if (!QFileInfo(folder).isDir()) {
        error = "Cannot write \"" + path + "\": the folder does not exist.";
        return false;
    }

    // A unique name beside the target, so that the final rename stays on one file system.
    QString temporaryName;
    {
        QTemporaryFile reserve(folder + QStringLiteral("/.velmara-report-XXXXXX.pdf"));
        reserve.setAutoRemove(false);
        if (!reserve.open()) {
            error = "Cannot write \"" + path + "\": " + reserve.errorString().toStdString();
            return false;
        }
        temporaryName = reserve.fileName();
    }

    bool renamed = false;
    std::string renameError;
    {
        QPdfWriter writer(temporaryName);
        writer.setPageSize(QPageSize(QPageSize::Letter));
        writer.setPageMargins(QMarginsF(0, 0, 0, 0), QPageLayout::Point);
        writer.setResolution(kPdfResolution);
        writer.setCreator(QStringLiteral("Velmara"));
        writer.setTitle(QStringLiteral("Velmara report"));

        auto finished = [&](bool completed) {
            if (!completed)
                return;
            std::error_code ec;
            std::filesystem::permissions(temporaryName.toStdString(), ReportPermissions(path), ec);
            std::filesystem::rename(temporaryName.toStdString(), path, ec);
            renamed = !ec;
            if (ec)
                renameError = ec.message();
        };
        QPainterReportCanvas canvas(&writer, finished);
        if (!canvas.isActive()) {
            QFile::remove(temporaryName);
            error = "Cannot write \"" + path + "\": the PDF could not be started.";
            return false;
        }
        std::string message;
        ReportHooks hooks;
        hooks.ShowMessage = [&](const std::string &m) { message = m; };
        const ReportResult result = PrintSub2(ws, canvas, true, 0, hooks, '.');
        if (!result.Ok) {
            error = WithLineFeeds(result.Message);
            // The job was killed: an older report under this name would pass for this line's.
            QFile::remove(QString::fromStdString(path));
        }
    }
    if (!renamed) {
        QFile::remove(temporaryName);
        if (error.empty())
            error = "Cannot write \"" + path + "\": " + (renameError.empty() ? "unknown error" : renameError);
        return false;
    }
    return true;
}

} // namespace velmara
