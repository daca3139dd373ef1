#include "templates/templatemanager.h"

#include "core/numberform.h"
#include "templates/templatetext.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdlib>
#include <optional>

namespace velmara {

namespace {

constexpr std::array<SpinnerRange, kTemplateBoxCount> kRanges = {{
    {kMinCount, kMaxCount, 1},     // udHNum
    {kMinLength, kMaxLength, 250}, // udHSize
    {kMinLength, kMaxLength, 250}, // udHSpace: the gaps step like the sizes
    {kMinCount, kMaxCount, 1},     // udVNum
    {kMinLength, kMaxLength, 250}, // udVSize
    {kMinLength, kMaxLength, 250}, // udVSpace
}};

// A length in thousandths for its spinner; values far outside any range (a hand-edited setting)
// are held back before the Long conversion so that they clamp instead of overflowing.
int Thousandths(Single inches)
{
    const double v = std::clamp(static_cast<double>(inches) * 1000.0, -1.0e6, 1.0e6);
    return std::isfinite(v) ? CLng(v) : 0;
}

bool IsCountBox(TemplateBox b) { return b == TemplateBox::HNum || b == TemplateBox::VNum; }

DimensionField FieldOf(TemplateBox b)
{
    switch (b) {
    case TemplateBox::HSize: return DimensionField::HSize;
    case TemplateBox::HSpace: return DimensionField::HSpace;
    case TemplateBox::VSize: return DimensionField::VSize;
    case TemplateBox::VSpace: return DimensionField::VSpace;
    default: return DimensionField::None;
    }
}

// A bracket along one side of a span: the line and a 3-pixel tick at each end, pointing towards
// what it measures (dx, dy is the tick's direction).
void AddBracket(std::vector<PixelLine> &lines, int x1, int y1, int x2, int y2, int dx, int dy)
{
    lines.push_back({x1, y1, x2, y2});
    lines.push_back({x1, y1, x1 + 3 * dx, y1 + 3 * dy});
    lines.push_back({x2, y2, x2 + 3 * dx, y2 + 3 * dy});
}

} // namespace

TemplateManager::TemplateManager(std::string tempDir, TemplateManagerHost &host,
                                 char decimalSeparator)
    : mTempDir(std::move(tempDir)),
      mHost(host),
      mSeparator(decimalSeparator),
      mStore(TemplateStore::PathIn(mTempDir))
{
    // Spinners start below their ranges, so the first template put into them always counts as a
    // change and sets the texts and the gap boxes.
    for (auto &b : mBoxes)
        b.Value = 0;
}

void TemplateManager::setSheetOrigin(int left, int top)
{
    mOriginLeft = left;
    mOriginTop = top;
}

void TemplateManager::setLeaderAnchors(const std::array<std::array<int, 2>, 4> &anchors)
{
    mAnchors = anchors;
}

SpinnerRange TemplateManager::range(TemplateBox b) { return kRanges[Index(b)]; }

void TemplateManager::open(const CardTemplate &current)
{
    mTemplates.assign(1, DefaultTemplate());
    mLoading = true;
    if (!mStore.load()) {
        mHost.showMessage(mStore.errorString());
    } else if (!mStore.badLines().empty()) {
        const std::string backup = mStore.backupNotice();
        mHost.showMessage(mStore.badLinesMessage() + (backup.empty() ? "" : "\r" + backup));
    }
    mTemplates.insert(mTemplates.end(), mStore.stored().begin(), mStore.stored().end());

    int found = -1;
    for (size_t i = 0; i < mTemplates.size() && found < 0; ++i)
        if (mTemplates[i].Name == current.Name)
            found = static_cast<int>(i);
    if (found < 0) {
        // Stands in memory only until a save or a delete writes the list.
        mTemplates.push_back(current);
        found = static_cast<int>(mTemplates.size()) - 1;
    }
    select(found);
    CardTemplate &shown = mTemplates[static_cast<size_t>(found)];
    if (!TemplateStore::whyNotStorable(shown).empty()) {
        // Only the element made from the load dialog's fields can get here (a hand-edited
        // setting, say a gap of 0): it takes the values its boxes show, held to the spinners'
        // ranges, so that a later save never writes a line the store would skip on reading.
        const std::string name = shown.Name;
        shown = boxValues();
        shown.Name = ValidTemplateName(name) && name.find_first_of("\r\n") == std::string::npos ? name : kNoTemplateName;
    }
    mSaveVisible = false;
    mLoading = false;
}

void TemplateManager::select(int index)
{
    if (index < 0 || index >= static_cast<int>(mTemplates.size()))
        return;
    mSelected = index;
    const CardTemplate t = mTemplates[static_cast<size_t>(index)];
    mLoading = true;
    setSpinner(TemplateBox::HNum, t.NumH);
    setSpinner(TemplateBox::HSize, Thousandths(t.SizeH));
    setSpinner(TemplateBox::HSpace, Thousandths(t.SpaceH));
    setSpinner(TemplateBox::VNum, t.NumV);
    setSpinner(TemplateBox::VSize, Thousandths(t.SizeV));
    setSpinner(TemplateBox::VSpace, Thousandths(t.SpaceV));
    mSaveVisible = false;
    mLoading = false;
    DrawLayout();
    DrawDimensionMarks(DimensionField::None);
}

std::string TemplateManager::valueText(TemplateBox b, int value) const
{
    if (IsCountBox(b))
        return std::to_string(value);
    return GeneralDouble(value / 1000.0, mSeparator);
}

void TemplateManager::setText(TemplateBox b, const std::string &text)
{
    TemplateBoxState &box = mBoxes[Index(b)];
    if (box.Text == text)
        return; // an equal text is no change and shows no Save button
    box.Text = text;
    mSaveVisible = true;
}

void TemplateManager::setSpinner(TemplateBox b, int value)
{
    const SpinnerRange r = range(b);
    value = std::clamp(value, r.Min, r.Max);
    TemplateBoxState &box = mBoxes[Index(b)];
    if (box.Value == value)
        return;
    box.Value = value;
    spinnerChanged(b);
}

void TemplateManager::spinnerChanged(TemplateBox b)
{
    const int value = mBoxes[Index(b)].Value;
    setText(b, valueText(b, value));
    if (IsCountBox(b)) {
        // A single card across (or down) has no gap: its box rests, keeping its value.
        const TemplateBox gap = b == TemplateBox::HNum ? TemplateBox::HSpace : TemplateBox::VSpace;
        mBoxes[Index(gap)].Enabled = value != 1;
    }
    DrawLayout();
    DrawDimensionMarks(FieldOf(b));
}

void TemplateManager::stepUp(TemplateBox b)
{
    const SpinnerRange r = range(b);
    const int v = mBoxes[Index(b)].Value;
    setSpinner(b, v + r.Step >= r.Max ? r.Max : v + r.Step);
}

void TemplateManager::stepDown(TemplateBox b)
{
    const SpinnerRange r = range(b);
    const int v = mBoxes[Index(b)].Value;
    setSpinner(b, v - r.Step <= r.Min ? r.Min : v - r.Step);
}

void TemplateManager::editText(TemplateBox b, const std::string &text) { setText(b, text); }

void TemplateManager::focusBox(TemplateBox b) { DrawDimensionMarks(FieldOf(b)); }

void TemplateManager::focusOther() { DrawDimensionMarks(DimensionField::None); }

std::optional<double> TemplateManager::parseBox(const std::string &text) const
{
    // A plain decimal number: blanks around it, a sign, digits with one separator, an exponent.
    size_t i = text.find_first_not_of(' ');
    const size_t end = text.find_last_not_of(' ');
    if (i == std::string::npos)
        return std::nullopt;
    std::string c; // the same number in the C form
    if (text[i] == '+' || text[i] == '-')
        c += text[i++];
    int digits = 0;
    bool point = false;
    for (; i <= end; ++i) {
        const char ch = text[i];
        if (std::isdigit(static_cast<unsigned char>(ch))) {
            c += ch;
            ++digits;
        } else if (ch == mSeparator && !point) {
            c += '.';
            point = true;
        } else {
            break;
        }
    }
    if (digits == 0)
        return std::nullopt;
    if (i <= end && (text[i] == 'e' || text[i] == 'E')) {
        c += 'e';
        ++i;
        if (i <= end && (text[i] == '+' || text[i] == '-'))
            c += text[i++];
        int expDigits = 0;
        for (; i <= end && std::isdigit(static_cast<unsigned char>(text[i])); ++i, ++expDigits)
            c += text[i];
        if (expDigits == 0)
            return std::nullopt;
    }
    if (i <= end)
        return std::nullopt;
    const double v = std::strtod(c.c_str(), nullptr);
    if (!std::isfinite(v))
        return std::nullopt;
    return v;
}

void TemplateManager::leaveBox(TemplateBox b)
{
    const SpinnerRange r = range(b);
    TemplateBoxState &box = mBoxes[Index(b)];
    const auto v = parseBox(box.Text);
    const double scaled = v ? (IsCountBox(b) ? *v : *v * 1000.0) : 0.0;
    if (!v || scaled > r.Max || scaled < r.Min) {
        setText(b, valueText(b, box.Value));
        return;
    }
    setSpinner(b, CLng(scaled));
}

CardTemplate TemplateManager::boxValues() const
{
    // The values the boxes show. A box still holding text it would refuse on leaving counts with
    // its spinner's value, so the drawing never divides by a zero total.
    auto count = [this](TemplateBox b) -> Integer {
        const TemplateBoxState &box = mBoxes[Index(b)];
        const auto v = parseBox(box.Text);
        if (v && *v >= kMinCount && *v <= kMaxCount)
            return CInt(*v);
        return static_cast<Integer>(box.Value);
    };
    auto length = [this](TemplateBox b) -> Single {
        const TemplateBoxState &box = mBoxes[Index(b)];
        const auto v = parseBox(box.Text);
        if (v && *v * 1000.0 >= kMinLength && *v * 1000.0 <= kMaxLength)
            return ToSingle(*v);
        return ToSingle(box.Value / 1000.0);
    };
    CardTemplate t;
    t.NumH = count(TemplateBox::HNum);
    t.SizeH = length(TemplateBox::HSize);
    t.SpaceH = length(TemplateBox::HSpace);
    t.NumV = count(TemplateBox::VNum);
    t.SizeV = length(TemplateBox::VSize);
    t.SpaceV = length(TemplateBox::VSpace);
    return t;
}

bool TemplateManager::writeTemplates()
{
    if (mStore.write(mTemplates))
        return true;
    mHost.showMessage(mStore.errorString());
    return false;
}

void TemplateManager::save()
{
    const CardTemplate values = boxValues();
    for (size_t i = 1; i < mTemplates.size(); ++i) {
        if (mTemplates[i].SameDimensions(values)) {
            mHost.showMessage("Template '" + mTemplates[i].Name
                              + "' has the same dimensions as the one you're saving.");
            select(static_cast<int>(i));
            mSaveVisible = false;
            return;
        }
    }

    for (;;) {
        const std::string answer =
            mHost.askText("Please enter a name for this template:", mLastAnswer);
        mLastAnswer = answer;
        // An empty answer (also the input box's Cancel) stops the save; it is tested before the
        // name search so that it can never be taken for a stored name.
        if (answer.empty())
            return;

        int target = -1;
        bool askAgain = false;
        const std::string key = LowerCaseName(TrimSpaces(answer));
        for (size_t i = 1; i < mTemplates.size(); ++i) {
            if (key == LowerCaseName(mTemplates[i].Name)) {
                if (mHost.askYesNo("Overwrite template '" + mTemplates[i].Name + "'?"))
                    target = static_cast<int>(i);
                else
                    askAgain = true;
                break;
            }
        }
        if (askAgain)
            continue;
        // A name of blanks alone would be stored empty: refused like any other bad name.
        if (!ValidTemplateName(answer) || TrimSpaces(answer).empty())
            continue;

        CardTemplate t = values;
        t.Name = TrimSpaces(answer);
        if (target < 0) {
            mTemplates.push_back(t);
            target = static_cast<int>(mTemplates.size()) - 1;
        } else {
            mTemplates[static_cast<size_t>(target)] = t;
        }
        writeTemplates();
        select(target);
        return;
    }
}

void TemplateManager::deleteSelected()
{
    if (mSelected <= 0)
        return;
    if (!mHost.askYesNo("Are you sure you want to delete this template?"))
        return;
    mTemplates.erase(mTemplates.begin() + mSelected);
    writeTemplates();
    select(std::min(mSelected, static_cast<int>(mTemplates.size()) - 1));
}

CardTemplate TemplateManager::accept() const
{
    CardTemplate t = boxValues();
    t.Name = mTemplates.size() > 1 && mSelected >= 0 ? mTemplates[static_cast<size_t>(mSelected)].Name
                                                     : kNoTemplateName;
    return t;
}

void TemplateManager::DrawLayout()
{
    if (mLoading)
        return;
    const CardTemplate v = boxValues();
    TemplateLayout &L = mLayout;

    // Single arithmetic throughout, as the sheet's totals are held.
    L.TotalWidth = ToSingle(ToSingle(v.SpaceH * static_cast<Single>(v.NumH - 1))
                            + ToSingle(v.SizeH * static_cast<Single>(v.NumH)));
    L.TotalHeight = ToSingle(ToSingle(v.SpaceV * static_cast<Single>(v.NumV - 1))
                             + ToSingle(v.SizeV * static_cast<Single>(v.NumV)));

    L.Sheet.Left = mOriginLeft;
    L.Sheet.Top = mOriginTop;
    const Single ratio = ToSingle(L.TotalHeight / L.TotalWidth);
    if (static_cast<double>(ratio) < 11.0 / 8.5) {
        L.Sheet.Width = 340;
        L.Sheet.Height = CInt(ToSingle(ratio * 338.0f) + 2.0f);
    } else {
        L.Sheet.Height = 440;
        L.Sheet.Width = CInt(ToSingle(ToSingle(L.TotalWidth / L.TotalHeight) * 438.0f) + 2.0f);
    }

    // Built in a local and moved: GCC 12 warns falsely (-Wrestrict) on the plain forms.
    std::string hText(1, ' ');
    hText += FormatNumber(L.TotalWidth, "0.0##", mSeparator);
    hText += "\" ";
    L.HSize.Text = std::move(hText);
    L.HSize.X = L.Sheet.Left + L.Sheet.Width / 2;
    L.HSize.Y = L.Sheet.Bottom() + 7;
    L.VSize.Text = FormatNumber(L.TotalHeight, "0.0##", mSeparator) + "\"";
    L.VSize.X = L.Sheet.Right() + 5;
    L.VSize.Y = L.Sheet.Top + L.Sheet.Height / 2;

    const int w = L.Sheet.Width - 2;
    const int h = L.Sheet.Height - 2;
    L.CardWidthPx = CInt(ToSingle(v.SizeH / L.TotalWidth) * static_cast<Single>(w));
    L.CardHeightPx = CInt(ToSingle(v.SizeV / L.TotalHeight) * static_cast<Single>(h));
    L.GapHPx = CInt(ToSingle(v.SpaceH / L.TotalWidth) * static_cast<Single>(w));
    L.GapVPx = CInt(ToSingle(v.SpaceV / L.TotalHeight) * static_cast<Single>(h));

    L.Cards.clear();
    const Single pitchH = ToSingle(v.SpaceH + v.SizeH);
    const Single pitchV = ToSingle(v.SpaceV + v.SizeV);
    for (int r = 1; r <= v.NumV; ++r) {
        for (int c = 1; c <= v.NumH; ++c) {
            PixelRect card;
            const Single dx = ToSingle(ToSingle(static_cast<Single>(w * (c - 1)) * pitchH) / L.TotalWidth);
            const Single dy = ToSingle(ToSingle(static_cast<Single>(h * (r - 1)) * pitchV) / L.TotalHeight);
            card.Left = L.Sheet.Left + CInt(dx);
            card.Top = L.Sheet.Top + CInt(dy);
            card.Width = L.CardWidthPx;
            card.Height = L.CardHeightPx;
            L.Cards.push_back(card);
        }
    }
    L.Drawn = true;
}

void TemplateManager::DrawDimensionMarks(DimensionField field)
{
    if (mLoading)
        return;
    mMarks = DimensionMarks{};
    mMarks.Field = field;
    if (!mLayout.Drawn)
        return;
    const PixelRect &s = mLayout.Sheet;
    AddBracket(mMarks.Brackets, s.Right() + 10, s.Top, s.Right() + 10, s.Bottom(), -1, 0);
    AddBracket(mMarks.Brackets, s.Left, s.Bottom() + 10, s.Right(), s.Bottom() + 10, 0, -1);
    if (field == DimensionField::None || mLayout.Cards.empty())
        return;

    const PixelRect &c = mLayout.Cards.front();
    int x1 = 0, y1 = 0, x2 = 0, y2 = 0, dx = 0, dy = 0;
    switch (field) {
    case DimensionField::HSize:
        x1 = c.Left, x2 = c.Right(), y1 = y2 = c.Top - 10, dy = 1;
        break;
    case DimensionField::HSpace:
        x1 = c.Right(), x2 = c.Right() + mLayout.GapHPx, y1 = y2 = c.Top - 10, dy = 1;
        break;
    case DimensionField::VSize:
        y1 = c.Top, y2 = c.Bottom(), x1 = x2 = c.Left - 10, dx = 1;
        break;
    case DimensionField::VSpace:
        y1 = c.Bottom(), y2 = c.Bottom() + mLayout.GapVPx, x1 = x2 = c.Left - 10, dx = 1;
        break;
    case DimensionField::None:
        break;
    }
    AddBracket(mMarks.Brackets, x1, y1, x2, y2, dx, dy);
    const auto &anchor = mAnchors[static_cast<size_t>(field) - 1];
    mMarks.HasLeader = true;
    mMarks.Leader = {anchor[0], anchor[1], (x1 + x2) / 2, (y1 + y2) / 2};
}

} // namespace velmara
