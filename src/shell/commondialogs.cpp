#include "shell/commondialogs.h"

#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QMessageBox>

namespace velmara {

QStringList NameFiltersOf(const QString &filter)
{
    const QStringList parts = filter.split(QLatin1Char('|'));
    QStringList out;
    for (qsizetype i = 0; i + 1 < parts.size(); i += 2) {
        const QString &label = parts[i];
        QString patterns = parts[i + 1];
        patterns.replace(QLatin1Char(';'), QLatin1Char(' '));
        // Qt reads the patterns from the last parentheses of the entry.
        if (label.contains(QLatin1Char('(')) && label.trimmed().endsWith(QLatin1Char(')')))
            out << label;
        else
            out << label + QStringLiteral(" (") + patterns + QLatin1Char(')');
    }
    return out;
}

QString WithDefaultExtension(const QString &name, const QString &defExt)
{
    if (defExt.isEmpty() || name.isEmpty())
        return name;
    const qsizetype slash = name.lastIndexOf(QLatin1Char('/'));
    if (name.indexOf(QLatin1Char('.'), slash + 1) >= 0)
        return name;
    return name + QLatin1Char('.') + defExt;
}

QString CardImageFilter(bool colourScans)
{
    if (!colourScans)
        return QStringLiteral("All Image Files (*.bmp *.gif *.tif *.BMP *.GIF *.TIF);;"
                              "Bitmap Files (*.bmp *.BMP);;GIF Files (*.gif *.GIF);;TIF Files (*.tif *.TIF)");
    return QStringLiteral("All Image Files (*.bmp *.gif *.tif *.tiff *.png *.jpg *.jpeg "
                          "*.BMP *.GIF *.TIF *.TIFF *.PNG *.JPG *.JPEG);;"
                          "Bitmap Files (*.bmp *.BMP);;GIF Files (*.gif *.GIF);;"
                          "TIF Files (*.tif *.tiff *.TIF *.TIFF);;PNG Files (*.png *.PNG);;"
                          "JPEG Files (*.jpg *.jpeg *.JPG *.JPEG)");
}

void CCommonDialogs::Init(QWidget *owner, FileChooser &chooser)
{
    mOwner = owner;
    mChooser = &chooser;
}

bool CCommonDialogs::ShowSave()
{
    if (!mChooser)
        return false;
    FileChooser::Request request;
    request.Title = Title;
    request.StartFolder = QDir::currentPath();
    request.NameFilters = NameFiltersOf(Filter);
    request.FilterIndex = FilterIndex;
    request.ProposedName = FileName;
    for (;;) {
        const std::optional<FileChooser::Choice> choice = mChooser->chooseSaveName(mOwner, request);
        if (!choice || choice->FileName.isEmpty())
            return false;
        const QString name = WithDefaultExtension(choice->FileName, DefExt);
        // The dialog asks before an existing file is replaced; No returns to it.
        if (QFileInfo::exists(name) && !mChooser->confirmReplace(mOwner, Title, name)) {
            request.ProposedName = name;
            request.FilterIndex = choice->FilterIndex;
            continue;
        }
        FileName = name;
        const qsizetype slash = name.lastIndexOf(QLatin1Char('/'));
        FileTitle = name.mid(slash + 1);
        Path = slash >= 0 ? name.left(slash) : QString();
        FilterIndex = choice->FilterIndex;
        return true;
    }
}

std::optional<FileChooser::Choice> SystemFileChooser::chooseSaveName(QWidget *owner, const Request &request)
{
    QFileDialog dialog(owner, request.Title, request.StartFolder);
    dialog.setOption(QFileDialog::DontUseNativeDialog);
    // The extension and the overwrite question are the caller's: they follow the name finally used.
    dialog.setOption(QFileDialog::DontConfirmOverwrite);
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setFileMode(QFileDialog::AnyFile);
    dialog.setNameFilters(request.NameFilters);
    if (request.FilterIndex >= 1 && request.FilterIndex <= request.NameFilters.size())
        dialog.selectNameFilter(request.NameFilters[request.FilterIndex - 1]);
    if (!request.ProposedName.isEmpty())
        dialog.selectFile(request.ProposedName);
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty())
        return std::nullopt;
    Choice choice;
    choice.FileName = dialog.selectedFiles().constFirst();
    choice.FilterIndex = static_cast<int>(request.NameFilters.indexOf(dialog.selectedNameFilter())) + 1;
    if (choice.FilterIndex < 1)
        choice.FilterIndex = 1;
    return choice;
}

bool SystemFileChooser::confirmReplace(QWidget *owner, const QString &title, const QString &path)
{
    const QString text = QDir::toNativeSeparators(path) + QStringLiteral(" already exists.\nDo you want to replace it?");
    return QMessageBox::warning(owner, title, text, QMessageBox::Yes | QMessageBox::No, QMessageBox::No)
           == QMessageBox::Yes;
}

} // namespace velmara
