#pragma once
// The composite view of the main window: the sampling line chart and the swath analysis on the
// card picture's place, the card markers with their value callouts, the width buttons, and the
// switch into and out of the view. The main window owns it and routes to it the events that mean
// something else while the view is on: the tab clicks, the mouse-up on the size graph, the graph
// options, btnChangeRes and the preferences.

#include "core/workspace.h"
#include "dialogs/cardposrules.h"
#include "dialogs/prefsrules.h"
#include "statistics/swathpatterns.h"
#include "views/callouts.h"
#include "views/canvas.h"
#include "views/swathwidthchoice.h"

#include <QImage>
#include <QObject>

#include <array>
#include <functional>
#include <memory>
#include <vector>

class QButtonGroup;
class QLabel;
class QRadioButton;
class QWidget;

namespace velmara {

class ChartSurface;
class MainWindow;
class SettingsStore;

class CompositeView : public QObject
{
    Q_OBJECT
public:
    // Builds the view's controls on the window's Picture1 (hidden until the view is entered).
    // window, ws and store must outlive the view.
    CompositeView(MainWindow &window, Workspace &ws, SettingsStore &store);
    ~CompositeView() override;

    bool isOn() const { return mOn; }
    // The second tab ("Swath Analysis") is on show.
    bool swathTabShown() const;

    // The click of CompositeCheck (its state already changed): enters or leaves the view.
    void CompositeCheck_Click();
    // ImageStrip_Click while the view is on.
    void tabClicked();
    // Step 2 of the size graph's mouse-up: range, line statistics, swath tables, then the chart
    // or the swath view. The caller goes on with the median, the graph and (unless
    // swathTabShown()) the statistics labels.
    void refreshAtMouseUp();
    // Step 5 of GraphOption_Click in the view.
    void graphModeChanged();
    // btnChangeRes (and Ctrl+R) in the view: the card position dialog, Cancel allowed.
    void changePositions();
    // The preferences closed: their redraws for this view (positions already rewritten).
    void applyPrefsEffect(const PrefsEffect &effect);

    void DrawLineChart();
    void DrawSwathView();
    void CardLabel_MouseMove(int index);
    void Picture1_MouseMove();
    // optSwathWidth_Click, as a click of the user or a selection in code.
    void optSwathWidth_Click(int index);

    // The retained picture of the view and the surface that shows it over Picture1.
    const QImage &picture() const { return mImage; }
    QWidget *surface() const;

    // The controls, named as the documentation names them; element 0 of each array is unused
    // except optSwathWidth(0), the hidden element.
    std::vector<QLabel *> CardLabel;
    std::array<QLabel *, 4> DataLabel{};
    std::array<QWidget *, 4> DataLabelLine{};
    std::array<QWidget *, 4> DataLabelCircle{};
    std::vector<QRadioButton *> optSwathWidth;
    // "Racetrack" and "Back and Forth": the pattern the swath view folds.
    std::array<QRadioButton *, 2> optSwathPattern{};
    SwathPattern pattern() const { return mPattern; }
    bool CalloutsShown = false;
    const SwathWidthChoice &widthChoice() const { return mChoice; }

    // The card position dialog goes through this; tests answer it instead. Returns whether the
    // dialog was accepted.
    using PositionDialogHook = std::function<bool(CardPosMode mode)>;
    void setPositionDialogHook(PositionDialogHook hook) { mPositionDialogHook = std::move(hook); }

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void enter();
    void leave();
    void setDependentControls(bool ticked);
    bool openPositionDialog(CardPosMode mode);
    void hideCallouts();
    // The picture changed size: the tab on show is drawn again at once.
    void redrawAtNewSize();
    void loadWidthButtons(int count);
    void unloadWidthButtons();
    void hideWidthButtons();
    // The pattern buttons and the effective swath's label line: on show with the swath view only.
    void showSwathExtras(bool shown);
    void hideCardLabels();
    void ensureCardLabels(int count);
    QImage &canvasImage();
    void commitImage();

    MainWindow &mWindow;
    Workspace &mWs;
    SettingsStore &mStore;
    ChartSurface *mSurface = nullptr;
    QButtonGroup *mWidthGroup = nullptr;
    QImage mImage;
    UserScale mChartScale;   // the scale the last line chart left, for the callouts
    SwathWidthChoice mChoice;
    SwathPattern mPattern = SwathPattern::Racetrack;
    PositionDialogHook mPositionDialogHook;
    bool mOn = false;
};

} // namespace velmara
