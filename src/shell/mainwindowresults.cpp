// The two file commands of the composite view: the results file and the printed report.

#include "shell/mainwindow.h"

#include "analysis/scanimage.h"
#include "shell/cardposform.h"
#include "shell/cardview.h"
#include "shell/commondialogs.h"
#include "shell/compositeview.h"
#include "shell/previewform.h"
#include "shell/sprayinfoform.h"
#include "shell/storesettingsaccess.h"
#include "statistics/range.h"

#include <QCheckBox>
#include <QLocale>
#include <QMessageBox>
#include <QToolButton>

namespace velmara {

namespace {

char separatorOfLocale()
{
    const QString point = QLocale().decimalPoint();
    return point.size() == 1 && point.at(0).unicode() < 128 ? point.at(0).toLatin1() : '.';
}

} // namespace

void MainWindow::btnWriteComposite_Click()
{
    if (!CompositeCheck->isChecked() || passRunning())
        return;

    // The window's side of the command; a local class shares the window's access.
    class Host : public WriteCompositeHost
    {
    public:
        explicit Host(MainWindow &w) : mW(w) {}
        QWidget *owner() override { return &mW; }
        FileChooser &files() override
        {
            if (mW.mResultsHooks.Files)
                return *mW.mResultsHooks.Files;
            return mSystem;
        }
        bool sprayDialog() override
        {
            if (mW.mResultsHooks.SprayDialog)
                return mW.mResultsHooks.SprayDialog();
            StoreSettingsAccess settings(mW.mStore);
            return ShowSprayInfoForm(&mW, mW.mWs, settings);
        }
        bool askYesNo(const QString &text) override
        {
            if (mW.mResultsHooks.AskYesNo)
                return mW.mResultsHooks.AskYesNo(text);
            QString shown = text;
            shown.replace(QLatin1Char('\r'), QLatin1Char('\n'));
            return QMessageBox::question(&mW, QStringLiteral("Velmara"), shown, QMessageBox::Yes | QMessageBox::No,
                                         QMessageBox::Yes)
                   == QMessageBox::Yes;
        }
        void scanCards(const std::vector<int> &cards) override { mW.scanCardsInView(cards); }
        void refreshView() override { mW.refreshCompositeView(); }
        bool cardPositions() override
        {
            if (mW.mResultsHooks.CardPositions)
                return mW.mResultsHooks.CardPositions();
            StoreSettingsAccess settings(mW.mStore);
            const QRect picture(mW.Picture1->mapToGlobal(QPoint(0, 0)), mW.Picture1->size());
            return ShowCardPosForm(&mW, mW.mWs, settings, CardPosMode::Ordinary, picture);
        }
        void showWarning(const QString &text) override { mW.showMessage(text, true); }

    private:
        MainWindow &mW;
        SystemFileChooser mSystem;
    };

    Host host(*this);
    RunWriteComposite(mWs, host, separatorOfLocale());
}

void MainWindow::scanCardsInView(const std::vector<int> &cards)
{
    // The passes of the scan of all cards, without selecting the cards' tabs: the composite view
    // stays on show. The colour questions read the card they ask about.
    btnChangeRes->setEnabled(false);
    scanCards(cards, false);
    btnChangeRes->setEnabled(true);
}

void MainWindow::refreshCompositeView()
{
    mComposite->refreshAtMouseUp();
    mWs.CurrentVMD = GetCurrentVMD(mWs);
    DrawResult();
    UpdateHistogramLabels();
    if (!mComposite->swathTabShown())
        UpdateStatsLabels();
}

void MainWindow::btnPrint_Click()
{
    if (!CompositeCheck->isChecked() || passRunning())
        return;
    if (!mPrinters)
        mPrinters = std::make_shared<SystemPrinters>();
    PrinterAccess &printers = mResultsHooks.Printers ? *mResultsHooks.Printers : *mPrinters;
    PrintCommandHooks hooks;
    hooks.SprayDialog = mResultsHooks.SprayDialog;
    hooks.ShowPreview = mResultsHooks.ShowPreview;
    StoreSettingsAccess settings(mStore);
    RunPrintCommand(this, mWs, settings, printers, mScreenHeight, separatorOfLocale(), hooks);
}

} // namespace velmara
