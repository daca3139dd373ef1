#pragma once
// The load dialog of a multi-card scan, "Load Card Template": the scan under the grid of the
// template in use, shifted by the arrow buttons and keys, cells picked by a click, the scan's
// resolution, the template manager, and OK, which cuts each selected cell into a clip that loads
// as a card. The grid's rules live in TemplateGrid, the cut in CutSheet.

#include "core/workspace.h"
#include "dialogs/settingsaccess.h"
#include "intake/picture.h"
#include "templates/templategrid.h"

#include <QDialog>
#include <QImage>

#include <array>
#include <functional>
#include <string>

class QComboBox;
class QLabel;
class QPainter;
class QPushButton;
class QToolButton;

namespace velmara {

class TemplateManagerForm;
class TemplateManagerHost;

class LoadTemplateForm : public QDialog
{
    Q_OBJECT
public:
    // Reads the seven template settings (a count outside 1 to 5, a size that is not a positive
    // number or a gap below 0 falls back to its default). On a screen exactly 600 pixels high the
    // dialog and its picture are made smaller. ws and settings must outlive the dialog.
    LoadTemplateForm(Workspace &ws, SettingsAccess &settings, int screenHeight, QWidget *parent = nullptr);
    ~LoadTemplateForm() override;

    // --- Set by the caller before showing, and by the template manager.
    std::string TemplateFile; // full path of the scan
    int Res = 1200;           // dots per inch of the scan
    std::string TemplateName;
    Integer TemplateNumH = 3;
    Integer TemplateNumV = 3;
    Single TemplateSizeH = 1.75f;
    Single TemplateSizeV = 2.75f;
    Single TemplateSpaceH = 0.25f;
    Single TemplateSpaceV = 0.375f;

    // Activation, run when the dialog is first shown and after the template manager: the scan is
    // read once ("Loading Image..." meanwhile), the picture box takes the scan's aspect ratio, the
    // scale is set from Res and the grid drawn. Returns false when the scan cannot be read; the
    // reason is in loadError() and the dialog then ends as by Cancel.
    bool Form_Activate();
    const std::string &loadError() const { return mLoadError; }

    // --- Commands, as the controls and keys run them.
    void ShiftButton_Click(ShiftDirection direction);
    // The text of ResCombo applied; text that is no resolution brings the last good one back.
    void applyResolution();
    void btnTemplates_Click();
    void btnOK_Click();
    // Hides and shows the cells again and enables OK only while every cell lies on the scan.
    void DrawTemplate();

    const TemplateGrid &grid() const { return mGrid; }
    bool pictureLoaded() const { return mPictureLoaded; }
    // The cell whose clip is being made (blue, 2 wide); 0 outside the cut.
    int cellInWork() const { return mCellInWork; }
    // The scan as Picture1 shows it, scaled once to the box's size.
    const QImage &shownPicture() const { return mShown; }

    // Told after each card the cut adds, so that the main window shows it.
    void setCardAddedHook(std::function<void(int card)> hook) { mCardAdded = std::move(hook); }
    // Messages of the cut go here; unset, they appear in boxes titled "Velmara".
    void setMessageHook(std::function<void(const QString &)> hook) { mMessage = std::move(hook); }
    // Runs the template manager; unset, it is shown modally. Tests drive it here.
    void setManagerRunner(std::function<void(TemplateManagerForm &)> runner) { mRunManager = std::move(runner); }
    // Passed to the template manager (tests answer its boxes); unset, it asks the user.
    void setManagerHost(TemplateManagerHost *host) { mManagerHost = host; }

    // --- The controls, named as the documentation names them.
    QWidget *Picture1 = nullptr;
    std::array<QToolButton *, 5> ShiftButton{}; // 1 up, 2 right, 3 down, 4 left
    QComboBox *ResCombo = nullptr;
    QPushButton *btnTemplates = nullptr;
    QPushButton *btnOK = nullptr;
    QPushButton *CancelButton = nullptr;
    QLabel *LoadingLabel = nullptr;

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
    void showEvent(QShowEvent *event) override;

private:
    void buildControls();
    void layoutControls(int pictureWidth);
    void pictureClicked(QPoint pixel);
    void paintPicture(QPainter &painter);
    CardTemplate currentTemplate() const;
    void message(const QString &text);
    void saveSettings();

    Workspace &mWs;
    SettingsAccess &mSettings;
    int mPictureHeight;
    Picture mScanPicture;
    bool mPictureLoaded = false;
    bool mActivating = false;
    std::string mLoadError;
    TemplateGrid mGrid;
    QImage mShown;
    int mCellInWork = 0;
    std::function<void(int)> mCardAdded;
    std::function<void(const QString &)> mMessage;
    std::function<void(TemplateManagerForm &)> mRunManager;
    TemplateManagerHost *mManagerHost = nullptr;
};

} // namespace velmara
