// The dialogs that edit the shared state, and the template manager, each saved as it opens.

#include "dialogs/settingsaccess.h"
#include "shell/cardposform.h"
#include "shell/prefsform.h"
#include "shell/resolutionform.h"
#include "shell/sprayinfoform.h"
#include "shell/templatemanagerform.h"
#include "templates/cardtemplate.h"

#include <QApplication>
#include <QDir>
#include <QTemporaryDir>

#include <cstdio>

using namespace velmara;

namespace {

bool saveDialog(QWidget &dialog, const QDir &out, const char *name)
{
    dialog.show();
    QApplication::processEvents();
    const bool ok = dialog.grab().save(out.filePath(QString::fromLatin1(name) + ".png"));
    std::printf("%s %s\n", ok ? "wrote" : "FAILED", name);
    dialog.hide();
    return ok;
}

} // namespace

bool SaveDialogShots(const QDir &out)
{
    Workspace ws;
    for (const char *name : {"north_01.bmp", "north_02.bmp", "north_03_long_name.bmp"}) {
        CardImage &card = ws.Card(ws.AppendCard());
        card.FileName = name;
        card.WidthPx = 1000;
        card.HeightPx = 1000;
        card.Dpi = 1200;
    }
    ws.Spray.AC_Type = "Biplane";
    ws.Spray.Comment = "Morning pass, light wind";
    MemorySettings store;
    store.SaveSetting("SprayInfo", "Sample_Position1", "-50");
    store.SaveSetting("SprayInfo", "Sample_Interval", "10");

    bool ok = true;
    SprayInfoForm spray(ws, store);
    ok &= saveDialog(spray, out, "d1-spray-information");
    frmPrefs prefs(ws, store);
    ok &= saveDialog(prefs, out, "d2-preferences");
    frmResolution resolution(ws, nullptr);
    ok &= saveDialog(resolution, out, "d3-resolution");
    frmCardPos cardPos(ws, store, CardPosMode::Ordinary);
    ok &= saveDialog(cardPos, out, "d4-card-positions");
    QTemporaryDir tempDir;
    TemplateManagerForm manager(tempDir.path().toStdString() + "/", DefaultTemplate());
    ok &= saveDialog(manager, out, "d5-template-manager");
    return ok;
}
