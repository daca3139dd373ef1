#pragma once
// The file dialog of the program's save commands. A caller makes one CCommonDialogs per use, sets
// its properties, calls ShowSave and reads the answer. The dialog itself stands behind
// FileChooser, so that tests can answer it.

#include <QString>
#include <QStringList>

#include <optional>

class QWidget;

namespace velmara {

// The platform's save dialog.
class FileChooser
{
public:
    struct Request
    {
        QString Title;
        QString StartFolder;
        QStringList NameFilters; // "Label (*.ext)" entries
        int FilterIndex = 1;     // from 1
        QString ProposedName;
    };
    struct Choice
    {
        QString FileName; // as typed or picked: no extension is added here
        int FilterIndex = 1;
    };

    virtual ~FileChooser() = default;
    // std::nullopt when the user cancelled.
    virtual std::optional<Choice> chooseSaveName(QWidget *owner, const Request &request) = 0;
    // Asked when the chosen file exists already; true to replace it.
    virtual bool confirmReplace(QWidget *owner, const QString &title, const QString &path) = 0;
};

// QFileDialog (Qt's own, so that it looks the same everywhere) and a Yes/No box.
class SystemFileChooser : public FileChooser
{
public:
    std::optional<Choice> chooseSaveName(QWidget *owner, const Request &request) override;
    bool confirmReplace(QWidget *owner, const QString &title, const QString &path) override;
};

class CCommonDialogs
{
public:
    // The owner window and the chooser to use; the chooser must outlive the object.
    void Init(QWidget *owner, FileChooser &chooser);

    QString Title;
    QString InitialDir; // kept for the callers' sake: the save dialog starts in the current folder
    QString Filter;     // label|pattern|label|pattern...
    int FilterIndex = 1;
    QString DefExt;
    QString FileName;
    QString FileTitle;
    QString Path;

    // True when the user chose a name: FileName (with DefExt added to a name without an
    // extension, and an existing file confirmed), FileTitle, Path and FilterIndex are set.
    // False on cancel, with every property as it was.
    bool ShowSave();

private:
    QWidget *mOwner = nullptr;
    FileChooser *mChooser = nullptr;
};

// "Label|pattern|..." as Qt name filters: the label alone when it names its patterns in
// parentheses, else the label with the patterns appended.
QStringList NameFiltersOf(const QString &filter);

// name with "." and defExt appended when its last path element has no extension.
QString WithDefaultExtension(const QString &name, const QString &defExt);

// The name filters of the dialogs that open card images and template sheets, for Qt's open
// dialog: the classic three kinds, and with colour scans also PNG, JPEG and four-letter TIFF.
// Qt's own dialog matches any letter case; the upper-case patterns serve platform dialogs that
// match case.
QString CardImageFilter(bool colourScans);

} // namespace velmara
