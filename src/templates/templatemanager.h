#pragma once
// The rules of the template manager dialog, without widgets: the template list and its file, the
// six boxes with their spinners, Save, Delete, Accept, and the scale drawing of the sheet as plain
// shapes, lines and labels that a form only has to paint.
//
// A form drives it like this: construct (a fresh object per opening), open(), copy the boxes and
// the list into its controls, and forward each event: comboTemplates click -> select(), a
// spinner's arrow or an arrow key -> stepUp()/stepDown(), typing -> editText(), focus ->
// focusBox()/focusOther(), losing focus -> leaveBox(), the Delete key in the list ->
// deleteSelected(), btnSave -> save(), btnAccept -> accept(). After each call it reads the state
// back (box texts and enabled flags, saveVisible(), templates(), selectedIndex(), layout(),
// marks()).

#include "templates/cardtemplate.h"
#include "templates/templatestore.h"

#include <array>
#include <string>
#include <vector>

namespace velmara {

// The message box and input box the manager needs; the desktop program shows them with the title
// "Velmara".
class TemplateManagerHost
{
public:
    virtual ~TemplateManagerHost() = default;
    // An OK box.
    virtual void showMessage(const std::string &text) = 0;
    // A Yes/No box; true for Yes.
    virtual bool askYesNo(const std::string &text) = 0;
    // An input box; the empty text when the user cancels.
    virtual std::string askText(const std::string &prompt, const std::string &defaultText) = 0;
};

// The six boxes, each with its spinner, in the order of the dialog.
enum class TemplateBox { HNum, HSize, HSpace, VNum, VSize, VSpace };
constexpr int kTemplateBoxCount = 6;

// Dimension fields of DrawDimensionMarks: 0 none, 1 txtHSize, 2 txtHSpace, 3 txtVSize,
// 4 txtVSpace.
enum class DimensionField { None = 0, HSize = 1, HSpace = 2, VSize = 3, VSpace = 4 };

struct SpinnerRange
{
    int Min = 0;
    int Max = 0;
    int Step = 1;
};

struct TemplateBoxState
{
    std::string Text; // what the box shows
    int Value = 0;    // the spinner: the count, or the length in thousandths of an inch
    bool Enabled = true;
};

struct PixelRect
{
    int Left = 0;
    int Top = 0;
    int Width = 0;
    int Height = 0;
    int Right() const { return Left + Width; }
    int Bottom() const { return Top + Height; }
};

struct PixelLine
{
    int X1 = 0, Y1 = 0, X2 = 0, Y2 = 0;
};

// A label placed by one point: lblHSize is centred across on X with its top at Y; lblVSize has
// its left at X and is centred down on Y.
struct PlacedLabel
{
    enum class Anchor { TopCentre, LeftMiddle };
    std::string Text;
    int X = 0;
    int Y = 0;
    Anchor Place = Anchor::TopCentre;
};

// What DrawLayout leaves on the dialog, in pixels of the drawing surface.
struct TemplateLayout
{
    bool Drawn = false;          // false until the first drawing
    Single TotalWidth = 0;       // inches
    Single TotalHeight = 0;
    PixelRect Sheet;             // BackgroundShape, grey (224, 224, 224)
    std::vector<PixelRect> Cards; // CardShape(1..NumH*NumV), Cards[n - 1] is cell n
    int CardWidthPx = 0;
    int CardHeightPx = 0;
    int GapHPx = 0;
    int GapVPx = 0;
    PlacedLabel HSize{" 8.5\" ", 0, 0, PlacedLabel::Anchor::TopCentre};
    PlacedLabel VSize{"11.375\"", 0, 0, PlacedLabel::Anchor::LeftMiddle};
};

// What DrawDimensionMarks leaves: brackets (each a line with a 3-pixel tick at both ends) and at
// most one leader line from a box to the bracket it explains.
struct DimensionMarks
{
    DimensionField Field = DimensionField::None;
    std::vector<PixelLine> Brackets; // lines and ticks of all brackets
    bool HasLeader = false;
    PixelLine Leader;
};

class TemplateManager
{
public:
    // tempDir ends in a separator; decimalSeparator is the one the boxes show and accept.
    TemplateManager(std::string tempDir, TemplateManagerHost &host, char decimalSeparator = '.');

    // Where the sheet's top left corner stands on the drawing surface. Free; the default leaves
    // room for the marks above and left of the first card.
    void setSheetOrigin(int left, int top);
    // Points of the four length boxes from which the leader lines start, in drawing-surface
    // pixels: below txtHSize, below txtHSpace, right of txtVSize, right of txtVSpace.
    void setLeaderAnchors(const std::array<std::array<int, 2>, 4> &anchors);

    // Opening: element 0 "<Default>", then "templates.dat" in file order; selects the first
    // element named as current.Name (case-sensitive), else appends current in memory and selects
    // it. Unreadable lines of the file are named in one message.
    void open(const CardTemplate &current);

    // comboTemplates: names at the same index as the elements.
    const std::vector<CardTemplate> &templates() const { return mTemplates; }
    int selectedIndex() const { return mSelected; }
    // A click in comboTemplates: the boxes take the element, btnSave hides, the sheet is drawn.
    void select(int index);

    const TemplateBoxState &box(TemplateBox b) const { return mBoxes[Index(b)]; }
    static SpinnerRange range(TemplateBox b);
    bool saveVisible() const { return mSaveVisible; }

    // The spinner takes a value (clamped to its range), as its own arrows or code set it.
    void setSpinner(TemplateBox b, int value);
    // Up and Down arrow in a box, or the spinner's arrows: one step, ending at the range's end.
    void stepUp(TemplateBox b);
    void stepDown(TemplateBox b);
    // The user changed the text of a box.
    void editText(TemplateBox b, const std::string &text);
    // A box got the focus: the marks of its field (none for the number boxes).
    void focusBox(TemplateBox b);
    // btnSave, btnAccept, btnCancel or comboTemplates got the focus.
    void focusOther();
    // Leaving a box: text that is not a number or lies outside the spinner's range is replaced by
    // the spinner's value; otherwise the spinner takes the text's value.
    void leaveBox(TemplateBox b);

    // btnSave, with its messages and input box loop. Saving writes the file.
    void save();
    // The Delete key in comboTemplates: asks, then removes the selected element (not element 0).
    void deleteSelected();
    // btnAccept: the seven fields for the load dialog, Name "<No Name>" when the list holds only
    // element 0. The six values are those in the boxes, saved or not.
    CardTemplate accept() const;

    const TemplateLayout &layout() const { return mLayout; }
    const DimensionMarks &marks() const { return mMarks; }

    // DrawLayout and DrawDimensionMarks; both do nothing while a template is being loaded.
    void DrawLayout();
    void DrawDimensionMarks(DimensionField field);

private:
    static int Index(TemplateBox b) { return static_cast<int>(b); }
    void setText(TemplateBox b, const std::string &text);
    void spinnerChanged(TemplateBox b);
    std::string valueText(TemplateBox b, int value) const;
    std::optional<double> parseBox(const std::string &text) const;
    CardTemplate boxValues() const;
    bool writeTemplates();

    std::string mTempDir;
    TemplateManagerHost &mHost;
    char mSeparator;
    TemplateStore mStore;
    std::vector<CardTemplate> mTemplates;
    int mSelected = -1;
    std::array<TemplateBoxState, kTemplateBoxCount> mBoxes;
    bool mSaveVisible = false;
    bool mLoading = false;
    std::string mLastAnswer;
    int mOriginLeft = 40;
    int mOriginTop = 30;
    std::array<std::array<int, 2>, 4> mAnchors{};
    TemplateLayout mLayout;
    DimensionMarks mMarks;
};

} // namespace velmara
