#pragma once
// The main window: the card view with its tabs, the hue histogram and sliders, the command
// buttons, the colour masking frame and the result frame with the size graph. Handlers keep the
// names the program's documentation uses for them (btnScan_Click, ImageStrip_Click ...), so that
// each can be followed from the description of the command.

#include "analysis/scanallcards.h"
#include "core/workspace.h"
#include "intake/decode.h"
#include "shell/windowprogress.h"
#include "shell/writecompositecommand.h"

#include <QImage>
#include <QMainWindow>
#include <QPointer>
#include <QStringList>

#include <array>
#include <exception>
#include <functional>
#include <memory>

class QButtonGroup;
class QCheckBox;
class QGridLayout;
class QGroupBox;
class QLabel;
class QProgressBar;
class QPushButton;
class QRadioButton;
class QScrollBar;
class QSlider;
class QSpinBox;
class QTabBar;
class QToolButton;

namespace velmara {

class CardView;
class CompositeView;
class InfoForm;
class PictureBox;
struct Picture;
class PrinterAccess;
class SettingsStore;
class SpectrumWindow;

// The controls of the main window, named as the documentation names them. Each also carries its
// name as object name, so that tests and tools find it as a user does, by what it is.
struct MainWindowControls
{
    QTabBar *ImageStrip = nullptr;
    CardView *Picture1 = nullptr;
    QScrollBar *HScroll1 = nullptr;
    QScrollBar *VScroll1 = nullptr;
    QToolButton *btnChangeRes = nullptr;
    QProgressBar *ProgressBar1 = nullptr;
    PictureBox *HistogramPic = nullptr;
    QSlider *Slider1 = nullptr;
    QSlider *Slider2 = nullptr;
    QLabel *Label1 = nullptr;
    QLabel *Label2 = nullptr;
    QCheckBox *HueInvertCheck = nullptr;
    QPushButton *btnLoad = nullptr;
    QToolButton *btnLoadTemplate = nullptr;
    QPushButton *btnScanColour = nullptr;
    QPushButton *btnScanColourAll = nullptr;
    QPushButton *btnScan = nullptr;
    QPushButton *btnScanAll = nullptr;
    QPushButton *btnCancel = nullptr;
    QToolButton *btnPrefs = nullptr;
    QGroupBox *MaskFrame = nullptr;
    QCheckBox *MaskCheck = nullptr;
    std::array<QRadioButton *, 3> BackColorOption{}; // 1 Black, 2 White
    // Card/stain boundary of a colour card, in colour steps; shown only for colour cards.
    QLabel *StainBoundaryLabel = nullptr;
    QSpinBox *StainBoundaryBox = nullptr;
    QCheckBox *StainBoundaryAuto = nullptr;
    QGroupBox *ResultFrame = nullptr;
    PictureBox *ResultPic = nullptr;
    QLabel *SizeRangeLabel = nullptr;
    QLabel *ResultLabel = nullptr;
    QLabel *ResultLabelX1 = nullptr;
    QLabel *ResultLabelX2 = nullptr;
    QLabel *ResultLabelY1 = nullptr;
    QLabel *ResultLabelY2 = nullptr;
    std::array<QRadioButton *, 4> GraphOption{}; // 1 VF, 2 CVF, 3 #/cm²
    std::array<QLabel *, 4> InfoLabel{};         // 1 to 3
    QLabel *VMDLabel = nullptr;
    QLabel *DropLabel = nullptr;
    QLabel *VolumeLabel = nullptr;
    // A fourth line under the three, shown by the swath view alone: the effective swath.
    QLabel *EffectiveInfoLabel = nullptr;
    QLabel *EffectiveLabel = nullptr;
    QCheckBox *CompositeCheck = nullptr;
    QToolButton *btnWriteComposite = nullptr;
    QToolButton *btnPrint = nullptr;
};

class MainWindow : public QMainWindow, private MainWindowControls
{
    Q_OBJECT
    // The composite view takes over the picture, the tabs and the result labels while it is on.
    friend class CompositeView;

public:
    // Reads the preferences from store (the window's initialisation) and lays itself out for a
    // screen of screenHeight pixels. ws and store must outlive the window.
    MainWindow(Workspace &ws, SettingsStore &store, int screenHeight, QWidget *parent = nullptr);
    ~MainWindow() override;

    Workspace &workspace() { return mWs; }
    // The chart and swath view shown while CompositeCheck is ticked.
    CompositeView *compositeView() const { return mComposite; }

    // --- Commands, as the buttons and keys run them.
    void btnLoad_Click();
    // A multi-card scan: asks for the sheet, then loadTemplateSheet (in mainwindowtemplates.cpp).
    void btnLoadTemplate_Click();
    // Shows the template load dialog over the sheet; its clips join the list unsorted.
    void loadTemplateSheet(const QString &path);
    // The answer of the file dialog: one path, or several of one folder. Loads them as the dialog
    // command does, then shows the card to show.
    void loadChosenFiles(const QStringList &paths);
    void btnScanColour_Click();
    void btnScanColourAll_Click();
    void btnScan_Click();
    void btnScanAll_Click();
    void btnCancel_Click();
    void btnPrefs_Click();
    void btnChangeRes_Click();
    void removeSelectedCard();
    void clearAllCards();
    void GraphOption_Click(int index);
    // The composite view's file commands (mainwindowresults.cpp): the results file, the report.
    void btnWriteComposite_Click();
    void btnPrint_Click();
    // Tests answer the dialogs of those two commands through these.
    void setResultsCommandHooks(ResultsCommandHooks hooks) { mResultsHooks = std::move(hooks); }

    // Selects tab of card index (1-based), running ImageStrip_Click also when it is selected.
    void selectCard(int index);
    void ImageStrip_Click();

    // A pass (decode or scan) is running: commands that load, decode or scan return at once.
    bool passRunning() const;

    // --- Drawing, as the commands call it.
    void DrawHueHistogram();
    void BuildMask();
    void PaintCard();
    void DrawResult();
    void UpdateHistogramLabels();
    void UpdateStatsLabels();
    // Shows the spectrum window beside the result frame, with the figures of what is on show.
    void showSpectrum();

    // The question dialogs ask through these; tests answer them instead.
    // kind 0 asks for the background, 1 for the dither colour.
    using QuestionHook = std::function<Answer(int kind, int cardIndex, Byte suggested, Byte background)>;
    Answer askQuestion(int kind, int cardIndex, Byte suggested, Byte background);
    // The background question of a colour card, asked once the card is decoded into indexes.
    Answer askClassQuestion(int cardIndex, const Picture &indexes);
    void setQuestionHook(QuestionHook hook) { mQuestionHook = std::move(hook); }
    // Message boxes go through this; tests collect them instead of showing boxes.
    using MessageHook = std::function<void(const QString &text)>;
    void setMessageHook(MessageHook hook) { mMessageHook = std::move(hook); }
    void showMessage(const QString &text, bool warning = false);

    // The picture of the card shown, masked when masking is on.
    const QImage &KromeKotePicture() const { return mShownPicture; }

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
    void closeEvent(QCloseEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void changeEvent(QEvent *event) override;

private:
    void buildControls();
    void nameControls();
    void buildHuePanel(QGridLayout *grid, QWidget *parent);
    void buildCommandPanel(QGridLayout *grid, QWidget *parent);
    QWidget *buildResultFrame();
    void setEmptyState();
    void applyCardState(const CardImage &card);
    void setCaption(const QString &text);
    void setCardCaption(const CardImage &card, const QString &tail);
    void rebuildTabs();
    // Each card's tab shows the file's full path as its tool tip; the composite's tabs none.
    void setTabToolTips();
    void updateScrollBars();
    void onScroll();

    bool handleKey(int key, Qt::KeyboardModifiers modifiers);
    void closingStep();

    // Marks a pass under way for as long as it lives: the busy cursor shows, the commands that
    // would return at once look disabled, and an exception leaving the pass still ends it.
    class BusyGuard
    {
    public:
        explicit BusyGuard(MainWindow &window);
        ~BusyGuard();
        BusyGuard(const BusyGuard &) = delete;
        BusyGuard &operator=(const BusyGuard &) = delete;

    private:
        MainWindow &mWindow;
    };

    // Runs one command handler; what a step throws is told in a box and the window is put back
    // at rest, so that no failure ends the program.
    template <typename F>
    void command(F &&handler);
    void commandFailed(const QString &what);
    // A handler of this window as a slot that runs through command().
    template <typename... Args>
    auto asCommand(void (MainWindow::*handler)(Args...));

    void registerFile(const std::string &fileName, const std::string &folder);
    // Card index was scanned (Done or NoStains): its scan log, the Composite box.
    void afterScan(int index, const ScanOutcome &outcome);
    bool decodeCard(int index);
    // Decodes where needed and scans the cards of the list, telling the zero-volume notice once;
    // followTabs selects each card's tab as the scan of all cards does.
    ScanAllSummary scanCards(const std::vector<int> &cards, bool followTabs);
    bool loadShownPicture(const CardImage &card);
    void refreshAfterScan();
    bool sprayRecordStep();
    void updateCompositeVisibility();
    void scanCardsInView(const std::vector<int> &cards);
    void refreshCompositeView();
    void showHueLabels();

    void sliderMoving(int which);
    void sliderChanged();
    void onSliderValue(int which);
    void onHistogramPressed(int button, int shift, double x);
    void onMaskCheckClicked();
    void onHueInvertClicked();
    void onBackColourClicked();
    void onStainBoundaryChanged();
    void onStainBoundaryAutoClicked();
    void showStainBoundary(const CardImage &card);
    void reclassifyCard(int boundaryOverride);
    void onResultPressed(int button, int shift, double x, double y);
    void onResultMoved(int buttons, int shift, double x, double y);
    void onResultReleased();
    void placeSizeRangeLabel(double x);
    void onPictureMousePressed(QMouseEvent *event);
    void onPictureMouseReleased(QMouseEvent *event);
    void onPictureWheel(QWheelEvent *event);

    Workspace &mWs;
    SettingsStore &mStore;
    int mScreenHeight;
    std::unique_ptr<WindowProgress> mProgress;
    QImage mShownPicture;          // the card's picture; masking rewrites its colour table only
    QList<QRgb> mOriginalTable;    // the colour table as read
    QPointer<InfoForm> mInfoForm;
    QuestionHook mQuestionHook;
    MessageHook mMessageHook;
    int mBusy = 0;            // BusyGuards alive: a pass is under way
    QWidget *mPassCommands = nullptr; // the load and scan buttons, idle while a pass runs
    QWidget *mFileCommands = nullptr; // the results file and report buttons, likewise
    QToolButton *mSpectrumButton = nullptr; // opens mSpectrum beside the statistics
    SpectrumWindow *mSpectrum = nullptr;    // made on first use, a child window
    bool mSliderGuard = false; // sliders set in code: no handlers
    bool mTabGuard = false;    // tabs rebuilt in code: no click
    CompositeView *mComposite = nullptr; // owned as a child object
    ResultsCommandHooks mResultsHooks;
    std::shared_ptr<PrinterAccess> mPrinters; // made at the first report: the chosen printer stays
};

template <typename F>
void MainWindow::command(F &&handler)
{
    try {
        handler();
    } catch (const std::exception &e) {
        commandFailed(QString::fromUtf8(e.what()));
    } catch (...) {
        commandFailed(QStringLiteral("Unexpected failure"));
    }
}

template <typename... Args>
auto MainWindow::asCommand(void (MainWindow::*handler)(Args...))
{
    return [this, handler](Args... args) { command([&] { (this->*handler)(args...); }); };
}

} // namespace velmara
