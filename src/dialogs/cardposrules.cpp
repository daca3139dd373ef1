#include "dialogs/cardposrules.h"

#include "core/numberform.h"
#include "dialogs/numbertext.h"
#include "statistics/line.h"

namespace velmara {

namespace {

const char *const kSection = "SprayInfo";

bool endsInZero(const std::string &text) { return !text.empty() && text.back() == '0'; }

// The in-memory text when there is one, else the stored key with its default. Text that is no
// number (a store edited by hand) counts as the default.
Single startValue(const std::string &memory, SettingsAccess &settings, const char *key,
                  const char *defaultText)
{
    const std::string text = memory.empty() ? settings.GetSetting(kSection, key, defaultText) : memory;
    if (const auto v = TextAsSingle(text))
        return *v;
    return *TextAsSingle(defaultText);
}

} // namespace

std::string PositionFormatOf(const std::string &first, const std::string &spacing)
{
    return endsInZero(first) && endsInZero(spacing) ? "0" : "0.0";
}

std::string FormatPosition(Single value, const std::string &format)
{
    const int decimals = format == "0" ? 0 : 1;
    return FormatNumber(value, decimals == 0 ? "0" : "0.0");
}

Single LinePosition(Single first, Single spacing, int index)
{
    const Single offset = ToSingle(static_cast<double>(spacing) * (index - 1));
    return ToSingle(static_cast<double>(first) + offset);
}

CardPosRules::CardPosRules(Workspace &ws, SettingsAccess &settings) : mWs(ws), mSettings(settings) {}

void CardPosRules::Open()
{
    const std::string presentFormat =
        PositionFormatOf(mWs.Spray.Sample_Position1, mWs.Spray.Sample_Interval);
    Rows.clear();
    for (int i = 1; i <= mWs.CardCount(); ++i)
        Rows.push_back(Row{mWs.Card(i).FileName, FormatPosition(mWs.Card(i).Position, presentFormat)});
    SelectedRow = mWs.CurrentCard - 1;
    UnitsLabel = mWs.Metric ? "m" : "ft";

    FirstPosition = startValue(mWs.Spray.Sample_Position1, mSettings, "Sample_Position1", "-50");
    Spacing = startValue(mWs.Spray.Sample_Interval, mSettings, "Sample_Interval", "10");
    // A store edited by hand must not bring a line that Accept could not stand by.
    if (!(Spacing > 0))
        Spacing = 10;
    if (!SamplingLineUsable(FirstPosition, Spacing)) {
        FirstPosition = -50;
        Spacing = 10;
    }
    txtInput[1] = FormatNumber(FirstPosition, "0.0");
    txtInput[2] = FormatNumber(Spacing, "0.0");
    // The grid shows at once the line that Accept would store, not the old positions.
    PositionFormat = PositionFormatOf(txtInput[1], txtInput[2]);
    RefreshPositions();
}

void CardPosRules::RefreshPositions()
{
    for (size_t r = 0; r < Rows.size(); ++r)
        Rows[r].Position =
            FormatPosition(LinePosition(FirstPosition, Spacing, static_cast<int>(r) + 1), PositionFormat);
}

void CardPosRules::ValidatePositionInput(int n)
{
    if (n != 1 && n != 2)
        return;
    std::string &text = txtInput[n];
    Single &stored = n == 1 ? FirstPosition : Spacing;
    if (text.empty()) {
        text = FormatNumber(stored, "0.0");
        return;
    }
    text = FormatIfNumeric(text, "0.0");
    const auto value = TextAsSingle(text);
    const bool usable = value && (n == 1 || *value > 0)
        && SamplingLineUsable(n == 1 ? *value : FirstPosition, n == 2 ? *value : Spacing);
    if (usable) {
        stored = *value;
        PositionFormat = PositionFormatOf(txtInput[1], txtInput[2]);
        RefreshPositions();
    } else {
        text = FormatNumber(stored, "0.0");
    }
}

void CardPosRules::AcceptClicked()
{
    ValidatePositionInput(1);
    ValidatePositionInput(2);
    for (int i = 1; i <= mWs.CardCount(); ++i)
        mWs.Card(i).Position = LinePosition(FirstPosition, Spacing, i);
    mWs.Spray.Sample_Position1 = txtInput[1];
    mWs.Spray.Sample_Interval = txtInput[2];
    mSettings.SaveSetting(kSection, "Sample_Position1", txtInput[1]);
    mSettings.SaveSetting(kSection, "Sample_Interval", txtInput[2]);
}

} // namespace velmara
