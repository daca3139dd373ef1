// The main window's command for a multi-card scan: the sheet is chosen, the template load dialog
// cuts it into clips that join the card list, and the window shows the last card.

#include "shell/mainwindow.h"

#include "shell/cardview.h"
#include "shell/commondialogs.h"
#include "shell/loadtemplateform.h"
#include "shell/storesettingsaccess.h"

#include <QCheckBox>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QPushButton>
#include <QTabBar>
#include <QToolButton>

#include <exception>

namespace velmara {

void MainWindow::btnLoadTemplate_Click()
{
    if (passRunning())
        return;
    Picture1->setFocus();
    QString start = QString::fromStdString(mWs.InitialDir);
    if (start.isEmpty() || !QDir(start).exists())
        start = QDir::homePath();
    const QString path = QFileDialog::getOpenFileName(this, QStringLiteral("Load Card Template"), start,
                                                      CardImageFilter(mWs.ColourScans));
    if (path.isEmpty()) {
        Picture1->setFocus();
        return;
    }
    loadTemplateSheet(path);
}

void MainWindow::loadTemplateSheet(const QString &path)
{
    if (path.isEmpty() || passRunning())
        return;
    try {
        StoreSettingsAccess settings(mStore);
        LoadTemplateForm form(mWs, settings, mScreenHeight, this);
        form.TemplateFile = path.toStdString();
        form.Res = mWs.DefaultRes;
        form.setMessageHook([this](const QString &text) { showMessage(text); });
        form.setCardAddedHook([this](int card) {
            // As a loaded file: out of the composite view, a tab for the card, its name on show.
            CompositeCheck->setChecked(false);
            rebuildTabs();
            setCardCaption(mWs.Card(card), QString());
            repaint();
        });
        form.exec();
        if (!form.loadError().empty())
            showMessage(QStringLiteral("Error: ") + QString::fromStdString(form.loadError()));
    } catch (const std::exception &e) {
        showMessage(QStringLiteral("Error: ") + QString::fromUtf8(e.what()));
    }

    // After OK and Cancel alike.
    mWs.InitialDir = QFileInfo(path).absolutePath().toStdString() + "/";
    mWs.CurrentCard = mWs.CardCount() > 0 ? mWs.CardCount() : 1;
    rebuildTabs();
    btnChangeRes->setVisible(true);
    btnChangeRes->setEnabled(mWs.CardCount() > 0);
    if (isMinimized())
        showNormal();
    selectCard(mWs.CurrentCard);
    btnCancel->setEnabled(false);
    mWs.CancelRequested = false;
    Picture1->setFocus();
}

} // namespace velmara
