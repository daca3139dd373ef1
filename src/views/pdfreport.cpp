#include "views/pdfreport.h"

#include "views/qpainterreportcanvas.h"

#include <QBuffer>
#include <QByteArray>
#include <QFileInfo>
#include <QGuiApplication>
#include <QHashSeed>
#include <QPageLayout>
#include <QPageSize>
#include <QPdfWriter>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

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

std::string CannotWrite(const std::string &path, const std::string &reason)
{
    return "Cannot write \"" + path + "\": " + reason;
}

// The mode the report takes: that of the file it replaces, else that of any new file (the
// process's file creation mask applied). The temporary file beside it is made for the owner alone.
mode_t ReportMode(const std::string &path)
{
    struct stat old {};
    if (::stat(path.c_str(), &old) == 0 && S_ISREG(old.st_mode))
        return old.st_mode & 07777;
    const mode_t mask = ::umask(0);
    ::umask(mask);
    return 0666 & ~mask;
}

// Writes all of bytes to fd and closes it, whatever happens; the first failure's reason in reason.
bool WriteAndClose(int fd, std::string_view bytes, std::string &reason)
{
    bool ok = true;
    for (size_t done = 0; ok && done < bytes.size();) {
        const ssize_t n = ::write(fd, bytes.data() + done, bytes.size() - done);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0) {
            reason = n < 0 ? std::strerror(errno) : "the disk took no more data";
            ok = false;
        } else {
            done += static_cast<size_t>(n);
        }
    }
    // A full disk may show only when the data reach it. EINVAL: a device that keeps nothing.
    if (ok && ::fsync(fd) != 0 && errno != EINVAL) {
        reason = std::strerror(errno);
        ok = false;
    }
    if (::close(fd) != 0 && ok) {
        reason = std::strerror(errno);
        ok = false;
    }
    return ok;
}

// Qt's PDF engine writes its embedded fonts in the order of a hash table, which a random seed
// per process would shuffle from run to run; the same input must give the same bytes.
class DeterministicHashes
{
public:
    DeterministicHashes() : mWasRandom(QHashSeed::globalSeed() != 0) { QHashSeed::setDeterministicGlobalSeed(); }
    ~DeterministicHashes()
    {
        if (mWasRandom)
            QHashSeed::resetRandomGlobalSeed();
    }
    DeterministicHashes(const DeterministicHashes &) = delete;
    DeterministicHashes &operator=(const DeterministicHashes &) = delete;

private:
    bool mWasRandom;
};

// The four pages as PDF bytes; false with the box text of the failure in error.
bool RenderPdf(const Workspace &ws, QByteArray &bytes, std::string &error, std::vector<PageNote> &notDrawn,
               char decimalSeparator)
{
    const DeterministicHashes sameOrder;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    QPdfWriter writer(&buffer);
    writer.setPageSize(QPageSize(QPageSize::Letter));
    writer.setPageMargins(QMarginsF(0, 0, 0, 0), QPageLayout::Point);
    writer.setResolution(kPdfResolution);
    writer.setCreator(QStringLiteral("Velmara"));
    writer.setTitle(QStringLiteral("Velmara report"));
    QPainterReportCanvas canvas(&writer);
    if (!canvas.isActive()) {
        error = "the PDF could not be started.";
        return false;
    }
    const ReportResult result = PrintSub2(ws, canvas, true, 0, {}, decimalSeparator);
    if (!result.Ok) {
        error = WithLineFeeds(result.Message);
        return false;
    }
    notDrawn = result.NotDrawn;
    return true;
}

} // namespace

bool WriteWholeFile(const std::string &path, std::string_view bytes, std::string &error, unsigned mode)
{
    const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, static_cast<mode_t>(mode));
    std::string reason;
    if (fd < 0)
        reason = std::strerror(errno);
    else if (WriteAndClose(fd, bytes, reason))
        return true;
    error = CannotWrite(path, reason);
    return false;
}

bool WritePdfReport(Workspace &ws, const std::string &path, std::string &error, std::vector<PageNote> *notDrawn,
                    char decimalSeparator)
{
    error.clear();
    // Fonts and the PDF engine need a QGuiApplication; without one Qt would abort the program.
    if (!qobject_cast<QGuiApplication *>(QCoreApplication::instance())) {
        error = "The PDF report needs a QGuiApplication.";
        return false;
    }
    const QFileInfo target(QString::fromStdString(path));
    const std::string folder = target.absolutePath().toStdString();
    if (!QFileInfo(QString::fromStdString(folder)).isDir()) {
        error = CannotWrite(path, "the folder does not exist.");
        return false;
    }

    PrepareReport(ws);
    QByteArray bytes;
    std::vector<PageNote> notes;
    std::string renderError;
    if (!RenderPdf(ws, bytes, renderError, notes, decimalSeparator)) {
        error = renderError.rfind("There was", 0) == 0 ? renderError : CannotWrite(path, renderError);
        return false;
    }

    // A unique name beside the target, so that the final rename stays on one file system.
    std::string temporary = folder + "/.velmara-report-XXXXXX.pdf";
    const int fd = ::mkstemps(temporary.data(), 4);
    if (fd < 0) {
        error = CannotWrite(path, std::strerror(errno));
        return false;
    }
    std::string reason;
    bool ok = true;
    if (::fchmod(fd, ReportMode(path)) != 0) {
        reason = std::strerror(errno);
        ok = false;
    }
    if (!WriteAndClose(fd, std::string_view(bytes.constData(), static_cast<size_t>(bytes.size())), reason))
        ok = false;
    if (ok) {
        std::error_code ec;
        std::filesystem::rename(temporary, path, ec);
        ok = !ec;
        if (ec)
            reason = ec.message();
    }
    if (!ok) {
        std::remove(temporary.c_str());
        error = CannotWrite(path, reason);
        return false;
    }
    if (notDrawn)
        *notDrawn = std::move(notes);
    return true;
}

} // namespace velmara
