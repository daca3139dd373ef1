#include "views/swathview.h"

#include "statistics/samplingline.h"
#include "statistics/swath.h"
#include "statistics/swathpatterns.h"
#include "statistics/textvalue.h"
#include "views/linechart.h"
#include "views/textforms.h"

#include <algorithm>
#include <cmath>

namespace velmara {

namespace {

// A profile longer than this (a first position of -1E+9 at an interval of 1) is not built: the
// block would take gigabytes, and its chart could not show it anyway.
constexpr double kMaxProfileLength = 2.0e7;

int currentSet(const Workspace &ws)
{
    return ws.CurrentSwathSet == 2 ? 2 : 1;
}

bool setUsable(const Workspace &ws, const SwathSet &set)
{
    const Long n = ws.CardCount();
    return set.Stats.size() >= static_cast<size_t>(n) && set.BackForthStats.size() >= static_cast<size_t>(n)
           && set.Deposit.Items.size() == static_cast<size_t>(n) && set.Width >= 1 && set.Width <= n - 1;
}

double profileLength(const Workspace &ws, const SwathSet &set)
{
    const double n = ws.CardCount();
    const double w = set.Width;
    double passes = std::nearbyint((n - 1) / w + 0.49999);
    passes = std::max(passes, 5.0);
    const double e = std::max(0.0, n + set.First() - w);
    return w * passes + e - set.First() + 1;
}

// Text centred on x with its top dy pixels below y = 0.
void labelUnder(ChartCanvas &c, const QString &text, double x, double dyPixels)
{
    c.CurrentX = x - c.textWidth(text) / 2;
    c.CurrentY = c.scaleY(dyPixels);
    c.print(text);
}

void tickDown(ChartCanvas &c, double x)
{
    c.drawLine(x, 0, x, c.scaleY(5));
}

// Text with its left edge 7 pixels right of x, centred on y, after a 5-pixel tick.
void rightEndLabel(ChartCanvas &c, const QString &text, double x, double y)
{
    c.drawLine(x, y, x + c.scaleX(5), y);
    c.CurrentX = x + c.scaleX(7);
    c.CurrentY = y - c.textHeight(text) / 2;
    c.print(text);
}

// Title centred over a box from x to x + width, its bottom 3 pixels above y = 1.
void titleOver(ChartCanvas &c, const QString &text, double x, double width)
{
    c.CurrentX = x + width / 2 - c.textWidth(text) / 2;
    c.CurrentY = 1 - c.scaleY(3) - c.textHeight(text);
    c.print(text);
}

} // namespace

double SwathUnitFactor(const Workspace &ws, int setIndex)
{
    return setIndex == 1 ? static_cast<double>(ws.DepositFactor[static_cast<size_t>(ws.UnitIndex())]) : 1.0;
}

double SwathShownRateFactor(const Workspace &ws, int setIndex)
{
    try {
        const double f = SwathRateFactor(ws, setIndex);
        return std::isfinite(f) ? f : 1.0;
    } catch (const Failure &) {
        // The spray dialog only lets numbers through; a stored text that is not one counts as
        // no swath given.
        return 1.0;
    }
}

double CovAxisTop(Single maxCov)
{
    const double c = std::floor(static_cast<double>(maxCov) * 12 + 0.9999) / 10;
    return c < 1 || !std::isfinite(c) ? 1.0 : c;
}

double ProfileAxisTop(double shownProfileMax)
{
    const double t = std::floor(shownProfileMax * 12 + 0.5) / 10;
    return t < 1 || !std::isfinite(t) ? 1.0 : t;
}

bool RebuildSwathTables(Workspace &ws)
{
    return BuildSwathTablesOrZero(ws);
}

void PrepareSwathView(Workspace &ws)
{
    if (ws.CardCount() < 3)
        return;
    const int setIndex = currentSet(ws);
    if (!setUsable(ws, ws.SwathSets[static_cast<size_t>(setIndex)]))
        RebuildSwathTables(ws);
    SwathSet &S = ws.SwathSets[static_cast<size_t>(setIndex)];
    if (profileLength(ws, S) <= kMaxProfileLength) {
        BuildOverlapProfile(ws, setIndex);
    } else {
        S.Profile.Redim(0, -1);
        S.ProfileMax = 0;
        S.BackForthProfile.Redim(0, -1);
        S.BackForthProfileMax = 0;
        S.Passes = 5;
    }
}

SwathViewLayout DrawSwathView(ChartCanvas &c, const Workspace &ws, SwathPattern pattern)
{
    SwathViewLayout out;
    const int n = ws.CardCount();
    c.BackColor = kChartWhite;
    c.cls();
    const int setIndex = currentSet(ws);
    const SwathSet &S = ws.SwathSets[static_cast<size_t>(setIndex)];
    if (n < 3 || !setUsable(ws, S))
        return out;
    const int m = n - 2;
    const double U = SwathUnitFactor(ws, setIndex);
    const double F = SwathShownRateFactor(ws, setIndex);
    const std::optional<Single> typedInterval = TryTextToSingle(ws.Spray.Sample_Interval);
    const double interval = typedInterval ? static_cast<double>(*typedInterval) : 0.0;
    const QString lengthUnit = ws.Metric ? QStringLiteral("m") : QStringLiteral("ft");
    const bool racetrack = pattern == SwathPattern::Racetrack;
    const std::vector<SwathStat> &stats = PatternStats(S, pattern);
    const BoundedArray<Single> &profile = racetrack ? S.Profile : S.BackForthProfile;
    const Single profileMax = racetrack ? S.ProfileMax : S.BackForthProfileMax;

    // --- COV chart: x in widths (x = w - 1), y in parts of the axis top.
    c.setScaleTo(-m / 10.0, m * 1.2, 4.4, -5);
    c.Font = ChartFont{QStringLiteral("MS Sans Serif"), 8, false};
    c.DrawWidth = 1;
    c.ForeColor = kChartBlack;
    c.FillColor = kChartRed;
    c.FillShapes = false;
    const double cTop = CovAxisTop(PatternMaxCov(S, pattern));
    c.DrawStyle = ChartCanvas::Style::Dotted;
    c.drawLine(0, 0.3 / cTop, m, 0.3 / cTop, kChartRed);
    c.DrawStyle = ChartCanvas::Style::Solid;
    c.drawBox(0, 0, m, 1, kChartBlack);
    c.FillShapes = true;

    out.ButtonTop = static_cast<int>(std::nearbyint(c.toPixelY(0) + 10 + c.textHeightPixels(QStringLiteral("0"))));
    const std::string widthPattern = EndsInZero(ws.Spray.Sample_Interval) ? "0" : "0.0";
    const int k = n > 20 ? n / 10 : 1;
    out.ButtonCentreX.assign(static_cast<size_t>(n), 0.0);
    AxisLabelRow widths(c, 7);
    for (int w = 1; w <= n - 1; ++w) {
        const double x = w - 1;
        out.ButtonCentreX[static_cast<size_t>(w)] = c.toPixelX(x);
        if ((w - 1) % k == 0) {
            tickDown(c, x);
            widths.place(ChartText(static_cast<double>(ToSingle(interval * w)), widthPattern), x);
        }
        const double cov = stats[static_cast<size_t>(w)].Cov;
        c.drawCircle(x, (std::isfinite(cov) ? cov : 0.0) / cTop, 2);
    }
    // The limit across the chart, and the effective swath marked on it: a stem from the axis and
    // a larger dot at its COV, which may lie between two whole widths.
    const double limitY = static_cast<double>(CovLimitFraction(ws.CovLimit)) / cTop;
    c.DrawWidth = 2;
    c.drawLine(0, limitY, m, limitY, kEffectiveSwathColour);
    out.EffectiveWidth = FindEffectiveSwath(S, pattern, ws.CovLimit);
    if (out.EffectiveWidth.Found) {
        const double x = out.EffectiveWidth.Width - 1;
        const double y = static_cast<double>(out.EffectiveWidth.Cov) / cTop;
        c.drawLine(x, 0, x, limitY, kEffectiveSwathColour);
        c.ForeColor = kEffectiveSwathColour;
        c.FillColor = kEffectiveSwathColour;
        c.drawCircle(x, y, 4);
        c.ForeColor = kChartBlack;
        c.FillColor = kChartRed;
    }
    c.DrawWidth = 1;
    rightEndLabel(c, ChartText(cTop, "0.0"), m, 1);
    c.Font = ChartFont{QStringLiteral("MS Sans Serif"), 10, true};
    titleOver(c, QStringLiteral("Coefficient of Variation"), 0, m);
    c.Font = ChartFont{QStringLiteral("MS Sans Serif"), 8, false};
    const QString widthTitle = QStringLiteral("Swath Width (") + lengthUnit + QLatin1Char(')');
    labelUnder(c, widthTitle, m / 2.0, 25 + c.textHeightPixels(widthTitle));
    c.FillShapes = false;

    // --- Profile chart: x in card intervals from position 0.
    const std::string posPattern = PositionPattern(ws);
    const std::optional<Single> typedFirst = TryTextToSingle(ws.Spray.Sample_Position1);
    double frac = 0;
    if (typedFirst && interval != 0) {
        const Single q = ToSingle(static_cast<double>(*typedFirst) / interval);
        if (std::isfinite(q))
            frac = static_cast<double>(q) - std::trunc(static_cast<double>(q));
    }
    const double a = profile.Empty() ? S.First() : profile.Lower;
    const double b = profile.Empty() ? S.First() + n - 1 : profile.Upper();
    const double width = S.Width;
    const double passes = S.Passes;
    const double blockEnd = width * passes;
    // The box holds the profile and the whole block: a line starting half an interval short of a
    // card place ends its profile half an interval before the block does.
    double L = frac + a;
    if (L > 0)
        L = 0;
    double D = std::max(frac + b, blockEnd) - L;
    if (!(D > 0))
        D = 1;
    c.setScaleTo(L - D / 10, D * 1.2, 1.25, -2.5);
    const double T = ProfileAxisTop(U * profileMax * F);

    c.fillBoxUser(0, 0, blockEnd, 1, 0xffffffdc);
    const double mean = stats[static_cast<size_t>(S.Width)].Mean;
    c.DrawStyle = ChartCanvas::Style::Dotted;
    c.drawLine(L, U * mean * F / T, L + D, U * mean * F / T, kChartRed);
    c.DrawStyle = ChartCanvas::Style::Solid;
    // A line at every pass; labels where they have room, the block's two ends first, then the
    // passes between, then the ends of the box where they lie well beyond the block.
    for (Long p = 0; p < S.Passes; ++p) {
        const double x = static_cast<double>(p) * width;
        c.drawLine(x, 1, x, c.scaleY(5), kChartBlack);
    }
    tickDown(c, blockEnd);
    AxisLabelRow positions(c, 7);
    auto position = [&](double x) { return ChartText(static_cast<double>(ToSingle(interval * x)), posPattern); };
    positions.place(position(0), 0);
    positions.place(position(blockEnd), blockEnd);
    for (Long p = 1; p < S.Passes; ++p)
        positions.place(position(static_cast<double>(p) * width), static_cast<double>(p) * width);
    rightEndLabel(c, ChartText(T, "0.0"), L + D, 1);
    if (c.lengthToPixelsX(L) <= -20 && positions.place(position(L), L))
        tickDown(c, L);
    if (c.lengthToPixelsX(L + D - blockEnd) > 30 && positions.place(position(L + D), L + D))
        tickDown(c, L + D);

    c.DrawWidth = 3;
    std::vector<QPointF> curve;
    if (!profile.Empty()) {
        curve.reserve(profile.Items.size());
        for (Long j = profile.Lower; j <= profile.Upper(); ++j)
            curve.emplace_back(frac + j, U * profile[j] * F / T);
        c.drawPolyline(curve, kChartBlack);
    }
    curve.clear();
    for (Long j = S.Deposit.Lower; j <= S.Deposit.Upper(); ++j)
        curve.emplace_back(frac + j, U * S.Deposit[j] * F / T);
    c.drawPolyline(curve, kChartRed);
    c.DrawWidth = 1;
    c.drawBox(L, 0, L + D, 1, kChartBlack);

    c.Font = ChartFont{QStringLiteral("MS Sans Serif"), 10, true};
    const QString profileTitle = setIndex == 1 ? QStringLiteral("Deposit Profile  (") : QStringLiteral("Drop Density Profile  (");
    titleOver(c, profileTitle + QString::number(S.Passes) + (racetrack ? QStringLiteral(" passes)") : QStringLiteral(" passes, back and forth)")), L, D);
    c.Font = ChartFont{QStringLiteral("MS Sans Serif"), 8, false};
    const QString blockTitle = QStringLiteral("Position Across Block (") + lengthUnit + QLatin1Char(')');
    labelUnder(c, blockTitle, L + D / 2, 10 + c.textHeightPixels(blockTitle));

    // --- The labels beside the size graph take the values of this width.
    const SwathStat &st = stats[static_cast<size_t>(S.Width)];
    const QString valueUnit = setIndex == 1
                                  ? QString::fromStdString(ws.DepositUnit[static_cast<size_t>(ws.UnitIndex())])
                                  : QStringLiteral("drops/cm ") + QChar(0x00B2);
    out.Info1 = QStringLiteral("COV:");
    out.Info2 = QStringLiteral("Mean:");
    out.Info3 = QStringLiteral("Max / Min:");
    out.Vmd = FixedText(st.Cov, 2);
    out.Drop = FixedText(U * st.Mean * F, 2) + QLatin1Char(' ') + valueUnit;
    out.Volume = FixedText(U * st.Max * F, 2) + QStringLiteral(" / ") + FixedText(U * st.Min * F, 2);
    out.Info4 = QStringLiteral("Effective:");
    if (out.EffectiveWidth.Found) {
        const double metres = static_cast<double>(ToSingle(interval * out.EffectiveWidth.Width));
        out.Effective = ChartText(metres, "0.0#") + QLatin1Char(' ') + lengthUnit + QStringLiteral(" at ")
                        + FixedText(out.EffectiveWidth.Cov, 2);
    } else {
        out.Effective = QStringLiteral("None");
    }
    out.Drawn = true;
    return out;
}

} // namespace velmara
