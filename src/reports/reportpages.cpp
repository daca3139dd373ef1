#include "reports/reportpages.h"

#include "core/numberform.h"
#include "statistics/line.h"
#include "statistics/range.h"
#include "statistics/spectrum.h"
#include "statistics/swath.h"
#include "statistics/swathpatterns.h"
#include "statistics/textvalue.h"

#include <algorithm>
#include <cmath>
#include <exception>
#include <new>
#include <optional>
#include <stdexcept>

namespace velmara {

namespace {

const char *const kSubscriptOutOfRange = "Subscript out of range";
const char *const kOutOfMemory = "Out of memory";

// Geometry shared by the graph pages, in page inches.
constexpr double L = 1;
constexpr double W = 6.5;
constexpr double kCentre = 4.25;
constexpr double kRightLabelX = 7.625; // L + W + 0.125
constexpr double kTick = 0.1;
constexpr double kBelowAxis = 0.125;
constexpr double kAxisTitleDrop = 5.0 / 16;
constexpr double kTitleGap = 1.0 / 32;

// Pages 2 and 3: three graphs of height H with a gap G.
constexpr double H = 2.25;
constexpr double Y3 = 9.5 - H;
constexpr double Y2 = Y3 - H - 5.0 / 8;
constexpr double Y1 = Y2 - H - 5.0 / 8;
constexpr double kRightEdge = L + W;

// Page 4: per half s (1 deposit, 2 drop density) a profile graph of height PH over a COV graph
// of height C.
constexpr double PH = 2;
constexpr double C = 1;
constexpr double SwathProfileBottom(int s) { return 9.5 - (s - 1) * 4.75 - PH; }
constexpr double SwathCovBottom(int s) { return SwathProfileBottom(s) - 0.75 - C; }

// A page that cannot be drawn, with the reason the reader is told on it.
class PageNotDrawn : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

const ReportColour kGrey210 = ReportRgb(210, 210, 210);
const ReportColour kGrey180 = ReportRgb(180, 180, 180);
const ReportColour kLimitBlue = ReportRgb(0, 0, 192);
const ReportColour kGrey150 = ReportRgb(150, 150, 150);
const ReportColour kBlue = ReportRgb(0, 0, 255);
const ReportColour kBlack = 0;

// Every divisor of the pages goes through these, so that a zero shows up as the failure the
// user is told about instead of an infinity drawn off the page.
double Div(double a, double b) { return Divide(a, b); }

long long Mod(long long a, long long b)
{
    if (b == 0)
        throw Failure(kDivisionByZero);
    return a % b;
}

// The label step of an axis; an axis whose top is 0 has nothing to divide into steps.
Single CheckedTickStep(Single max)
{
    if (!(max > 0))
        throw Failure(kDivisionByZero);
    return ToSingle(TickStep(max));
}

bool IsWhole(Single v) { return std::floor(v) == v; }

// A counted loop over a Single from `from` to `to`, the end included, each step rounded to Single
// as the loop variable is.
template <typename Body>
void ForSingle(Single from, Single to, Single step, Body body)
{
    if (step == 0)
        throw Failure(kDivisionByZero);
    for (Single v = from; step > 0 ? v <= to : v >= to;) {
        body(v);
        const Single next = ToSingle(static_cast<double>(v) + step);
        if (next == v) // a step lost in the rounding would never end the loop
            throw Failure(kOverflow);
        v = next;
    }
}

bool EndsInZero(const std::string &text) { return !text.empty() && text.back() == '0'; }

class Pages
{
public:
    Pages(const Workspace &ws, ReportCanvas &canvas, bool printer, const ReportHooks &hooks, char sep)
        : mWs(ws), c(canvas), mPrinter(printer), mHooks(hooks), mSep(sep)
    {
        k = mWs.DepositFactor[static_cast<size_t>(mWs.UnitIndex())];
        mCurvePen = mPrinter ? ToSingle(c.ScaleX(1.0 / 32, ScaleUnit::Page, ScaleUnit::Pixels)) : 3;
    }

    void page(int number)
    {
        switch (number) {
        case 1: page1(); break;
        case 2: page2(); break;
        case 3: page3(); break;
        case 5: page5(); break;
        default: page4(); break;
        }
    }

    // In place of a page that cannot be drawn: its head, the empty frames of its graphs and the
    // reason, one line across the first frame. Leaves the pen as a fresh canvas has it.
    void notePage(int number, const std::string &reason);

private:
    void page1();
    void page2();
    void page3();
    void page4();
    void page5();
    void drawPatternsOnCovGraph(const SwathSet &set, double Zs, Single V, Single interval);

    void beginPage(int page)
    {
        if (!mPrinter)
            return;
        if (page > 1)
            c.NewPage();
        if (mHooks.PageStarted)
            mHooks.PageStarted(page);
    }

    void font(Single size) { SetReportFont(c, mPrinter, size); }

    std::string num(Single v, const char *pattern) const { return FormatNumber(v, pattern, mSep); }
    std::string num(double v, const char *pattern) const { return FormatNumber(v, pattern, mSep); }

    void centred(const std::string &text, double x, double y)
    {
        c.CurrentX = x - c.TextWidth(text) / 2;
        c.CurrentY = y;
        c.Print(text);
    }

    // Text with its left edge at x and its vertical middle on y.
    void middleAt(const std::string &text, double x, double y)
    {
        c.CurrentX = x;
        c.CurrentY = y + c.TextHeight(text) / 2;
        c.Print(text);
    }

    void head(const char *title)
    {
        font(18);
        c.Font.Bold = true;
        centred(kReportHeadline, kCentre, 10.5);
        font(14);
        centred(title, kCentre, 10.15);
        c.Font.Bold = false;
        font(10);
    }

    // The title over a graph whose top edge is at top: the first text bold in size 12, the
    // second regular in size 10 on the same line, each with its bottom 1/32 inch above the edge.
    void graphTitle(const std::string &first, const std::string &second, double top)
    {
        font(12);
        c.Font.Bold = true;
        c.CurrentX = L;
        c.CurrentY = top + kTitleGap + c.TextHeight(first);
        c.PrintStay(first);
        font(10);
        c.Font.Bold = false;
        c.CurrentY = top + kTitleGap + c.TextHeight(second);
        c.Print(second);
    }

    std::string unitSuffix() const { return mWs.Metric ? " (m)" : " (ft)"; }

    const Workspace &mWs;
    ReportCanvas &c;
    bool mPrinter;
    const ReportHooks &mHooks;
    char mSep;
    Single k = 1;
    Single mCurvePen = 3;
};

void Pages::page1()
{
    beginPage(1);
    head(kReportPageTitles[0]);

    const SprayInfo &s = mWs.Spray;
    const bool metric = mWs.Metric;
    const std::string length = metric ? " m" : " ft";
    const std::string speed = metric ? " km/h" : " mph";
    const std::string rate = metric ? " L/ha" : " oz/ac";

    c.CurrentY = 9;
    auto heading = [&](const std::string &text) {
        font(14);
        c.CurrentX = 2.25;
        c.Print(text);
    };
    // A long text (a comment, an owner's name) goes on over further lines inside the margin.
    auto line = [&](const std::string &text) {
        font(12);
        for (const std::string &part : WrapToWidth(c, text, kRightEdge - 2.5)) {
            c.CurrentX = 2.5;
            c.Print(part);
        }
    };
    auto gap = [&] {
        font(14);
        c.Print();
    };

    heading("Aircraft:");
    line("Type:  " + s.AC_Type);
    line("Registration:  " + s.AC_Registration);
    line("Owner:  " + s.AC_Owner);
    line("Swath:  " + s.AC_Swath + length);
    line("Speed:  " + s.AC_Speed + speed);
    line("Height:  " + s.AC_Height + length);
    gap();
    heading("Nozzles:");
    line("Type:  " + s.Nozzle_Type);
    line("Number:  " + s.Nozzle_Number);
    gap();
    heading("Sampler:");
    line("Type:  " + s.Sampler_Type);
    // A coefficient of exactly 0 takes the plus branch here.
    const auto &f = mWs.SpreadFactor;
    auto term = [&](double v) {
        return v < 0 ? " - " + GeneralDouble(std::fabs(v), mSep) : " + " + GeneralDouble(v, mSep);
    };
    line("Spread Factor:  " + GeneralDouble(f[0], mSep) + term(f[1]) + "d" + term(f[2]) + "d²");
    gap();
    heading("Spray Info:");
    line("Product:  " + s.Spray_Product);
    line("Active Rate:  " + s.Spray_ActiveRate + rate);
    line("Spray Rate:  " + s.Spray_SprayRate + rate);
    gap();
    heading("Comment:");
    line(s.Comment);
    gap();
    gap();
    heading("Droplet Filters:");
    std::string range;
    if (RangeSelected(mWs)) {
        range = num(mWs.RangeLow, "0.00") + " -- " + num(mWs.RangeHigh, "0.00") + " µm";
    } else if (mWs.CompositeAll.Classes.size() < 2) {
        // An empty composite has no rows at all, not even row 0: nothing to give a range of.
        range = "no stain on any card";
    } else {
        range = "0.00 -- " + num(mWs.CompositeAll.Classes.back().Diameter, "0.00") + " µm";
    }
    line("Droplet Size Range:  " + range);
    line("Drop Roundness Threshold:  " + FormatNumber(mWs.ShapeThreshold, "0", mSep));
    line("% Valid Hue Threshold:  " + FormatNumber(mWs.HueThreshold, "0", mSep));
    gap();
    heading("Droplet Filters:");
    const CardStats &all = mWs.CompositeAll.Stats;
    line("Composite VMD:  " + num(all.Vmd, "0.00") + "µm");
    line("Ave. Drop Density:  " + num(all.DropDensity, "0.00") + " drops/cm²");
    line("Ave. Volume Density:  " + num(all.VolumeDensity, "0.00") + " nL/cm²" + " = "
         + num(static_cast<double>(k) * all.VolumeDensity, "0.000") + " "
         + mWs.DepositUnit[static_cast<size_t>(mWs.UnitIndex())]);
}

void Pages::page2()
{
    const SizeStats &ca = mWs.CompositeAll;
    if (ca.Classes.size() < 2 || !(ca.TotalVolume > 0) || !(ca.AreaCm2 > 0) || !(ca.MaxDiameter > 0))
        throw PageNotDrawn(kNoSizeStatisticsWithoutStains);
    beginPage(2);
    head(kReportPageTitles[1]);

    const Single S1 = ToSingle(std::floor(Div(1100 * ca.MaxClassVolume, ca.TotalVolume) + 0.5) / 1000);
    const Single S3 = ToSingle(std::floor(Div(static_cast<double>(ca.MaxClassCount) * 11, ca.AreaCm2) + 0.5) / 10);
    const Single T1 = CheckedTickStep(S1);
    const Single T3 = CheckedTickStep(S3);
    const Single TX = ToSingle(static_cast<double>(CheckedTickStep(ca.MaxDiameter)) / 2);
    const double maxDiameter = ca.MaxDiameter;
    auto x = [&](double d) { return Div(W * d, maxDiameter) + L; };

    c.Font.Bold = true;
    centred("Drop Size (µm)", kCentre, Y1 - kAxisTitleDrop);
    c.Font.Bold = false;
    c.FillStyle = kTransparent;

    auto rightTick = [&](const std::string &text, double y) {
        middleAt(text, kRightLabelX, y);
        c.LineBy(L + W, y, kTick, 0);
    };
    ForSingle(0, S1, T1, [&](Single v) {
        const Single percent = ToSingle(static_cast<double>(v) * 100);
        rightTick(num(percent, IsWhole(T1) ? "0" : "0.0#"), Y3 + Div(H * v, S1));
    });
    ForSingle(0, 1.1f, 0.2f, [&](Single v) {
        rightTick(num(ToSingle(static_cast<double>(v) * 100), "0"), Y2 + H * v);
    });
    ForSingle(0, S3, T3, [&](Single v) {
        rightTick(num(v, IsWhole(T3) ? "0" : "0.0#"), Y1 + Div(H * v, S3));
    });
    ForSingle(0, ca.MaxDiameter, TX, [&](Single v) {
        centred(num(v, "0"), x(v), Y1 - kBelowAxis);
        c.LineBy(x(v), Y1, 0, -kTick);
    });

    // The three curves, each an open polyline rising from its graph's bottom edge at the first row.
    const auto &rows = ca.Classes;
    const int last = static_cast<int>(rows.size()) - 1;
    auto curve = [&](double bottom, ReportColour first, auto value) {
        c.CurrentX = x(rows[1].Diameter);
        c.CurrentY = bottom;
        for (int i = 1; i <= last; ++i)
            c.LineTo(x(rows[static_cast<size_t>(i)].Diameter), value(rows[static_cast<size_t>(i)]),
                     i == 1 ? first : kBlack);
    };
    curve(Y1, kBlack, [&](const SizeClass &r) { return Y1 + Div(H * Div(r.Count, ca.AreaCm2), S3); });
    curve(Y2, kBlack, [&](const SizeClass &r) { return Y2 + H * r.CumVolumeFraction; });
    curve(Y3, kBlue, [&](const SizeClass &r) { return Y3 + Div(H * r.VolumeFraction, S1); });

    for (double Y : {Y1, Y2, Y3})
        c.Box(L, Y, W, H, kBlack);

    graphTitle("Volume Fraction ", "(%)", Y3 + H);
    graphTitle("Cumulative Volume Fraction ", "(%)", Y2 + H);
    graphTitle("Drop Density ", "(#/cm)²", Y1 + H);
}

void Pages::page3()
{
    const int n = mWs.CardCount();
    if (n < 1 || !(mWs.LineMaxVmd > 0) || !(mWs.LineMaxDensity > 0) || !(mWs.LineMaxDeposit > 0))
        throw PageNotDrawn(kNoLineResultsWithoutStains);
    if (mWs.LineLeft == mWs.LineRight)
        throw PageNotDrawn(kNoLineResultsAtOnePosition);
    beginPage(3);
    c.DrawWidth = 1;
    c.ForeColor = kBlack;
    c.FillStyle = kTransparent;

    const Single Pmin = mWs.LineLeft;
    const Single Pmax = mWs.LineRight;
    const Single M1 = mWs.LineMaxVmd, M2 = mWs.LineMaxDensity, M3 = mWs.LineMaxDeposit;
    const Single T1 = CheckedTickStep(M1), T2 = CheckedTickStep(M2), T3 = CheckedTickStep(M3);
    const Single interval = TextToSingle(mWs.Spray.Sample_Interval);
    const char *positionForm =
        EndsInZero(mWs.Spray.Sample_Position1) && EndsInZero(mWs.Spray.Sample_Interval) ? "0" : "0.0";
    const long long E =
        n <= 25 ? 1 : ToInteger(static_cast<long long>(std::floor(Div(Div(Pmax - Pmin, interval), 10))));
    auto x = [&](double p) { return Div((p - Pmin) * W, static_cast<double>(Pmax) - Pmin) + L; };
    auto stats = [&](int i) {
        return static_cast<size_t>(i) < mWs.LineStats.size() ? mWs.LineStats[static_cast<size_t>(i)]
                                                             : CardStats{};
    };

    for (int i = 1; i <= n; ++i) {
        const CardImage &card = mWs.Card(i);
        if (!card.Scanned)
            continue;
        for (double Y : {Y1, Y2, Y3})
            c.LineBy(x(card.Position), Y, 0, H, kGrey210);
    }
    c.setDrawWidth(c.ScaleX(1.0 / 64, ScaleUnit::Page, ScaleUnit::Pixels));
    for (double Y : {Y1, Y2, Y3})
        c.LineBy(x(0), Y, 0, H, kBlack);

    head(kReportPageTitles[2]);
    c.DrawWidth = 1;

    auto axis = [&](Single M, Single T, double Y) {
        const std::string pattern = TickPattern(T);
        ForSingle(0, M, T, [&](Single v) {
            const double y = Div(v, M) * H + Y;
            middleAt(num(v, pattern.c_str()), kRightLabelX, y);
            c.LineBy(L + W, y, kTick, 0);
        });
    };
    axis(M1, T1, Y3);
    axis(M2, T2, Y2);
    axis(M3, T3, Y1);

    // The running count starts past the cards so that with many cards the labels fall on every
    // E-th step counted from the line's left end.
    long long count = n + 1;
    ForSingle(Pmin, Pmax, interval, [&](Single v) {
        count = ToInteger(count + 1);
        if (Mod(count, E) == 0) {
            c.LineBy(x(v), Y1, 0, -kTick);
            centred(num(v, positionForm), x(v), Y1 - kBelowAxis);
        }
    });

    graphTitle("Volume Median Diameter ", "(µm)", Y3 + H);
    graphTitle("Drop Density ", "(#/cm²)", Y2 + H);
    graphTitle("Volume Density ", mWs.DepositUnit[static_cast<size_t>(mWs.UnitIndex())], Y1 + H);

    c.Font.Bold = true;
    font(10);
    centred("Card Position" + unitSuffix(), kCentre, Y1 - kAxisTitleDrop);
    c.Font.Bold = false;

    c.DrawWidth = 1;
    c.DrawStyle = kDotted;
    const CardStats &composite = RangeSelected(mWs) ? mWs.CompositeRange.Stats : mWs.CompositeAll.Stats;
    c.LineBy(L, Y3 + Div(composite.Vmd, M1) * H, W, 0);
    c.LineBy(L, Y2 + Div(composite.DropDensity, M2) * H, W, 0);
    c.LineBy(L, Y1 + Div(k * composite.VolumeDensity, M3) * H, W, 0);

    c.setDrawWidth(mCurvePen);
    c.ForeColor = kBlack;
    c.DrawStyle = kSolid;
    int previous = 0;
    for (int i = 1; i <= n; ++i) {
        if (!mWs.Card(i).Scanned)
            continue;
        if (previous != 0) {
            const CardStats a = stats(previous), b = stats(i);
            const double xa = x(mWs.Card(previous).Position), xb = x(mWs.Card(i).Position);
            c.Line(xa, Y3 + Div(a.Vmd, M1) * H, xb, Y3 + Div(b.Vmd, M1) * H);
            c.Line(xa, Y2 + Div(a.DropDensity, M2) * H, xb, Y2 + Div(b.DropDensity, M2) * H);
            c.Line(xa, Y1 + Div(k * a.VolumeDensity, M3) * H, xb, Y1 + Div(k * b.VolumeDensity, M3) * H);
        }
        previous = i;
    }

    c.DrawWidth = 1;
    for (double Y : {Y1, Y2, Y3})
        c.Box(L, Y, W, H, kBlack);
}

void Pages::page4()
{
    const int n = mWs.CardCount();
    if (n < 3)
        throw PageNotDrawn(kNoSwathBelowThreeCards);
    beginPage(4);
    const SprayInfo &spray = mWs.Spray;

    for (int s = 1; s <= 2; ++s) {
        const double Ys = SwathProfileBottom(s);
        const double Zs = SwathCovBottom(s);

        c.Font.Bold = false;
        font(10);
        const SwathSet &set = mWs.SwathSets[static_cast<size_t>(s)];
        c.DrawWidth = 1;
        c.ForeColor = kBlack;
        c.FillColor = kGrey210;
        c.FillStyle = kTransparent;
        c.DrawStyle = kSolid;

        const Single q = s == 1 ? k : 1.0f;
        const Single F = SwathRateFactor(mWs, s);
        const Single position1 = TextToSingle(spray.Sample_Position1);
        const Single interval = TextToSingle(spray.Sample_Interval);
        const Single quotient = ToSingle(Div(position1, interval));
        const Single off = ToSingle(static_cast<double>(quotient) - std::trunc(quotient));
        const Long lo = set.Profile.Lower;
        const Long hi = set.Profile.Upper();
        const Single start = ToSingle(static_cast<double>(off) + lo);
        const Single A = start > 0 ? 0.0f : start;
        const Single B = start < 0 ? 0.0f : start;
        const Single D = ToSingle(static_cast<double>(hi) - A + off);
        const Single scaled = ToSingle(ToSingle(ToSingle(q * set.ProfileMax) * F) * 12.0f);
        const Single M = std::max(1.0f, ToSingle(std::floor(scaled + 0.5) / 10));
        const char *positionForm =
            EndsInZero(spray.Sample_Position1) && EndsInZero(spray.Sample_Interval) ? "0" : "0.0";
        const char *widthForm = EndsInZero(spray.Sample_Interval) ? "0" : "0.0";
        // With the extended results the axis also holds the back-and-forth COVs.
        const bool patterns = mWs.ExtendedResults && set.BackForthStats.size() == set.Stats.size();
        const Single topCov = patterns ? std::max(set.MaxCov, set.BackForthMaxCov) : set.MaxCov;
        const Single V =
            std::max(1.0f, ToSingle(std::floor(ToSingle(topCov * 12.0f) + 0.9999) / 10));
        const long long E = n <= 20 ? 1 : n / 10 - 1;
        const Long width = set.Width;
        const Long passes = set.Passes;
        if (width < 1 || static_cast<size_t>(width) >= set.Stats.size() || set.Profile.Items.empty()
            || set.Deposit.Items.empty())
            throw Failure(kSubscriptOutOfRange);

        auto y = [&](double v) { return Ys + Div(PH * q * v * F, M); };
        auto xAt = [&](double i) { return L + Div(W * (B + i - lo), D); };
        auto X = [&](double d) { return L + Div(W * (d - A), D); };
        auto position = [&](double v) { return num(v, positionForm); };

        c.FilledBox(L - Div(W * A, D), Ys, Div(W * width * passes, D), PH, kGrey210);

        c.DrawStyle = kDotted;
        c.LineBy(L, y(set.Stats[static_cast<size_t>(width)].Mean), W, 0);
        c.DrawStyle = kSolid;

        c.setDrawWidth(mCurvePen);
        c.CurrentX = xAt(lo);
        c.CurrentY = y(set.Profile[lo]);
        for (Long i = lo + 1; i <= hi; ++i)
            c.LineTo(xAt(i), y(set.Profile[i]), kBlack);
        c.CurrentX = xAt(lo);
        c.CurrentY = y(set.Deposit[lo]);
        for (Long i = lo + 1; i <= set.Deposit.Upper(); ++i)
            c.LineTo(xAt(i), y(set.Deposit[i]), kGrey150);
        c.DrawWidth = 1;
        c.Box(L, Ys, W, PH, kBlack);

        for (Long p = 0; p < passes; ++p) {
            const double tx = X(static_cast<double>(p) * width);
            c.LineBy(tx, Ys + PH, 0, -PH - kTick, kBlack);
            centred(position(static_cast<double>(interval) * p * width), tx, Ys - kBelowAxis);
        }
        c.LineBy(L + W, Ys + PH, kTick, 0);
        middleAt(num(M, "0.0"), L + W + 0.125, Ys + PH);

        const double blockEnd = X(static_cast<double>(passes) * width);
        c.LineBy(blockEnd, Ys, 0, -kTick);
        centred(position(static_cast<double>(interval) * passes * width), blockEnd, Ys - kBelowAxis);

        // The right end label only where it keeps clear of the block end's label.
        const std::string R = position(ToSingle((static_cast<double>(off) + hi) * interval));
        const double wR = c.TextWidth(R);
        if ((L + W - wR / 2) - (blockEnd + wR / 2) >= 1.0 / 8) {
            c.LineBy(L + W, Ys, 0, -kTick);
            centred(R, L + W, Ys - kBelowAxis);
        }
        // The left end label: c is the width of the block's first tick label.
        const std::string P = position(ToSingle((static_cast<double>(off) + lo) * interval));
        const double wP = c.TextWidth(P);
        const double firstTick = c.TextWidth(position(0.0));
        const double reference = L + Div(W * (-static_cast<double>(lo) - 1) * width, D) - firstTick / 2;
        if ((L + wP / 2) - reference <= 1.0 / 8) {
            c.LineBy(L, Ys, 0, -kTick);
            centred(P, L, Ys - kBelowAxis);
        }

        c.Font.Bold = true;
        centred("Position Across Block" + unitSuffix(), kCentre, Ys - kAxisTitleDrop);
        font(12);
        const std::string first = s == 1 ? "Deposit Profile " : "Drop Density Profile ";
        c.CurrentX = L;
        c.CurrentY = Ys + PH + kTitleGap + c.TextHeight(first);
        c.PrintStay(first);
        c.Font.Bold = false;
        font(10);
        const std::string second = s == 1 ? (mWs.Metric ? "(L/ha)" : "(oz/ac)") : "(#/cm²)";
        c.CurrentY = Ys + PH + kTitleGap + c.TextHeight(second);
        c.Print(second);

        c.DrawStyle = kDotted;
        c.LineBy(L, Zs + Div(C * 0.3, V), W, 0);
        c.DrawStyle = kSolid;
        c.FillStyle = kTransparent;
        c.Box(L, Zs, W, C, kBlack);
        c.FillStyle = kSolid;
        c.FillColor = kGrey180;

        for (int i = 1; i <= n - 1; ++i) {
            const double px = L + Div(W * (i - 1), n - 2);
            const double py = Zs + Div(C * set.Stats.at(static_cast<size_t>(i)).Cov, V);
            if (Mod(i - 1, E) == 0) {
                c.LineBy(px, Zs, 0, -kTick);
                centred(num(static_cast<double>(interval) * i, widthForm), px, Zs - kBelowAxis);
            }
            c.Circle(px, py, 1.0 / 32);
            if (i == width) {
                c.FillColor = kBlack;
                c.Circle(px, py, 3.0 / 64);
                c.FillColor = kGrey180;
            }
        }
        if (patterns)
            drawPatternsOnCovGraph(set, Zs, V, interval);
        c.LineBy(L + W, Zs + C, kTick, 0);
        middleAt(num(V, "0.0"), L + W + 0.125, Zs + C);

        c.Font.Bold = true;
        centred("Swath Width" + unitSuffix(), kCentre, Zs - kAxisTitleDrop);
        font(12);
        const std::string cov = "Coefficient of Variation";
        c.CurrentX = L;
        c.CurrentY = Zs + C + kTitleGap + c.TextHeight(cov);
        c.Print(cov);
        c.Font.Bold = false;
    }
    head(kReportPageTitles[3]);
}

// The spectrum table of the results file: a row per scanned card (inside the range when one is
// selected, as page 3 takes the cards) and the composite in bold under a rule. Rows shrink to fit
// the page; a line too long for even the smallest rows ends with a note of the cards left out.
void Pages::page5()
{
    beginPage(5);
    head(kSpectrumPageTitle);
    c.DrawWidth = 1;
    c.DrawStyle = kSolid;
    c.ForeColor = kBlack;
    c.FillStyle = kTransparent;

    const bool ranged = RangeSelected(mWs);
    std::vector<int> cards;
    for (int i = 1; i <= mWs.CardCount(); ++i)
        if (mWs.Card(i).Scanned)
            cards.push_back(i);

    font(12);
    std::string scope = "Whole Size Range";
    if (ranged)
        scope = "Selected Size Range:  " + num(mWs.RangeLow, "0.00") + " -- " + num(mWs.RangeHigh, "0.00") + " µm";
    centred(scope, kCentre, 9.75);

    // Right ends of the figures; the card number ends at 1.25, its file name starts at 1.35.
    static constexpr double kEnds[9] = {2.95, 3.6, 4.25, 4.8, 5.45, 6.05, 6.55, 7.05, 7.55};
    static constexpr const char *kTitles[9] = {"Dv0.1", "Dv0.5", "Dv0.9", "Span", "NMD", "Cover", "<100", "<150", "<200"};
    static constexpr const char *kUnits[9] = {"(µm)", "(µm)", "(µm)", "", "(µm)", "(%)", "(%)", "(%)", "(%)"};
    constexpr double kNameX = 1.35, kNameWidth = 1.0, kTop = 9.3, kBottom = 1.4;
    auto right = [&](const std::string &text, double end, double y) {
        c.CurrentX = end - c.TextWidth(text);
        c.CurrentY = y;
        c.PrintStay(text);
    };

    font(10);
    double y = kTop;
    // The three fine-drop columns share one heading.
    centred("Volume below, µm", (kEnds[5] + kEnds[8]) / 2 + 0.1, y + c.TextHeight());
    c.Font.Bold = true;
    right("Card", 1.25, y);
    c.CurrentX = kNameX;
    c.PrintStay("File");
    for (int k = 0; k < 9; ++k)
        right(kTitles[k], kEnds[k], y);
    c.Font.Bold = false;
    y -= c.TextHeight();
    for (int k = 0; k < 9; ++k)
        right(kUnits[k], kEnds[k], y);
    y -= c.TextHeight() + 0.05;
    c.LineBy(L, y, W + 0.05, 0);
    y -= 0.05;

    // Rows of 10 points down to 5; below that, as many rows as fit and a note.
    const double room = y - kBottom;
    const size_t rows = cards.size() + 1;
    const double step = std::min(0.2, room / static_cast<double>(rows));
    const Single size = ToSingle(std::clamp(std::floor(step * 72 / 1.25), 5.0, 10.0));
    font(size);
    const double rowStep = std::max(step, c.TextHeight());
    const size_t fitting = static_cast<size_t>(std::floor(room / rowStep)) - 1; // the composite's row
    const size_t shown = std::min(cards.size(), fitting);

    auto figures = [&](const SpectrumFigures &f) {
        const double values[9] = {f.Dv10, f.Dv50, f.Dv90, f.RelativeSpan, f.Nmd, f.CoveragePercent,
                                  f.VolumeBelow100 * 100, f.VolumeBelow150 * 100, f.VolumeBelow200 * 100};
        for (int k = 0; k < 9; ++k)
            right(num(values[k], "0.00"), kEnds[k], y);
    };
    for (size_t r = 0; r < shown; ++r) {
        const int i = cards[r];
        right(FormatNumber(i, "0", mSep), 1.25, y);
        std::string name = mWs.Card(i).FileName;
        // A long name keeps its start; the figures keep their columns.
        while (name.size() > 1 && c.TextWidth(name) > kNameWidth) {
            name.pop_back();
            while (name.size() > 1 && (static_cast<unsigned char>(name.back()) & 0xC0) == 0x80)
                name.pop_back();
        }
        c.CurrentX = kNameX;
        c.CurrentY = y;
        c.PrintStay(name);
        figures(CardSpectrum(mWs, i, ranged));
        y -= rowStep;
    }
    if (shown < cards.size()) {
        c.CurrentX = kNameX;
        c.CurrentY = y;
        c.PrintStay(std::to_string(cards.size() - shown) + " more cards: see the results file");
        y -= rowStep;
    }
    c.LineBy(L, y + 0.02, W + 0.05, 0);
    y -= 0.04;
    c.Font.Bold = true;
    c.CurrentX = kNameX;
    c.CurrentY = y;
    c.PrintStay("Composite");
    figures(CompositeSpectrum(mWs, ranged));
    c.Font.Bold = false;

    font(9);
    c.CurrentY = 1.05;
    for (const char *note : {"Span: (Dv0.9 - Dv0.1) / Dv0.5.   NMD: number median diameter.   Cover: stained share of the card.",
                             "<100, <150, <200: share of the spray volume in drops below that diameter."}) {
        c.CurrentX = L;
        c.Print(note);
    }
    font(10);
}

// Over the racetrack dots of a COV graph whose bottom edge is Zs and top value V: the back-and-
// forth COVs as hollow squares, the COV limit as a line, a stem at each effective swath, and over
// the graph's right end the two effective swaths in words.
void Pages::drawPatternsOnCovGraph(const SwathSet &set, double Zs, Single V, Single interval)
{
    const int n = mWs.CardCount();
    const double half = 1.0 / 32;
    c.FillStyle = kTransparent;
    for (int i = 1; i <= n - 1; ++i) {
        const double px = L + Div(W * (i - 1), n - 2);
        const double py = Zs + Div(C * set.BackForthStats.at(static_cast<size_t>(i)).Cov, V);
        c.Box(px - half, py - half, 2 * half, 2 * half, kBlack);
    }
    const double limitY = Zs + Div(C * CovLimitFraction(mWs.CovLimit), V);
    c.LineBy(L, limitY, W, 0, kLimitBlue);
    std::string words = "COV limit " + num(mWs.CovLimit, "0.0#") + " %:";
    for (const auto &[pattern, name] : {std::pair(SwathPattern::Racetrack, " Racetrack (dots) "),
                                        std::pair(SwathPattern::BackAndForth, ", Back and Forth (squares) ")}) {
        const EffectiveSwath e = FindEffectiveSwath(set, pattern, mWs.CovLimit);
        words += name;
        if (!e.Found) {
            words += "none";
            continue;
        }
        const double x = L + Div(W * (e.Width - 1), n - 2);
        c.Line(x, Zs, x, limitY, kLimitBlue);
        words += num(ToSingle(static_cast<double>(interval) * e.Width), "0.0#") + (mWs.Metric ? " m" : " ft") + " at "
                 + num(e.Cov, "0.00");
    }
    font(8);
    c.CurrentX = L + W - c.TextWidth(words);
    c.CurrentY = Zs + C + kTitleGap + c.TextHeight(words);
    c.Print(words);
    font(10);
    c.FillStyle = kSolid;
    c.FillColor = kGrey180;
}

void Pages::notePage(int number, const std::string &reason)
{
    beginPage(number);
    head(ReportPageTitle(number));
    c.DrawWidth = 1;
    c.DrawStyle = kSolid;
    c.ForeColor = kBlack;
    c.FillStyle = kTransparent;
    double top = 9;
    if (number == 2 || number == 3) {
        for (double Y : {Y1, Y2, Y3})
            c.Box(L, Y, W, H, kBlack);
        top = Y3 + H / 2;
    } else if (number == 4) {
        for (int s = 1; s <= 2; ++s) {
            c.Box(L, SwathProfileBottom(s), W, PH, kBlack);
            c.Box(L, SwathCovBottom(s), W, C, kBlack);
        }
        top = SwathProfileBottom(1) + PH / 2;
    }
    font(12);
    centred(reason, kCentre, top + c.TextHeight(reason) / 2);
    font(10);
}

// A target that draws nothing: a page is first laid out on it, so that a page that fails half
// way leaves nothing on the real target. It measures and converts as the target does, from the
// target's pen and font state.
class DryRunCanvas : public ReportCanvas
{
public:
    explicit DryRunCanvas(const ReportCanvas &target) : ReportCanvas(target.textMeasure()), mTarget(target)
    {
        CurrentX = target.CurrentX;
        CurrentY = target.CurrentY;
        DrawWidth = target.DrawWidth;
        DrawStyle = target.DrawStyle;
        ForeColor = target.ForeColor;
        FillStyle = target.FillStyle;
        FillColor = target.FillColor;
        Font = target.Font;
    }
    double pixelsPerInch() const override { return mTarget.pixelsPerInch(); }
    double deviceDpi() const override { return mTarget.deviceDpi(); }

protected:
    void clearSurface() override {}
    void drawText(double, double, std::string_view) override {}
    void drawLine(double, double, double, double, ReportColour) override {}
    void drawRect(double, double, double, double, ReportColour, std::optional<ReportColour>) override {}
    void drawCircle(double, double, double, ReportColour, std::optional<ReportColour>) override {}

private:
    const ReportCanvas &mTarget;
};

std::string FailureText(const std::exception_ptr &failure)
{
    try {
        std::rethrow_exception(failure);
    } catch (const Failure &f) {
        return f.what();
    } catch (const std::out_of_range &) {
        return kSubscriptOutOfRange;
    } catch (const std::bad_alloc &) {
        return kOutOfMemory;
    } catch (const std::exception &e) {
        return e.what();
    }
}

// Why page number cannot be drawn on canvas, or nothing when it can.
std::optional<std::string> WhyNotDrawn(const Workspace &ws, const ReportCanvas &canvas, bool printer, char sep,
                                       int number)
{
    DryRunCanvas dry(canvas);
    const ReportHooks none;
    try {
        Pages(ws, dry, printer, none, sep).page(number);
        return std::nullopt;
    } catch (const PageNotDrawn &reason) {
        return std::string(reason.what());
    } catch (...) {
        return kPageNotDrawnLead + FailureText(std::current_exception()) + ".";
    }
}

} // namespace

int ReportPageCount(const Workspace &ws) { return ws.ExtendedResults ? 5 : 4; }

const char *ReportPageTitle(int page)
{
    return page == 5 ? kSpectrumPageTitle : kReportPageTitles[std::clamp(page, 1, 4) - 1];
}

std::string PrintingCaption(int page)
{
    return "Velmara - Printing Page " + std::to_string(page) + "...";
}

void SetReportFont(ReportCanvas &DestC, bool DestCisPrinter, Single Size)
{
    double size = Size;
    if (!DestCisPrinter) {
        const double widthPoints =
            DestC.ScaleX(ReportCanvas::kPageWidth, ScaleUnit::Page, ScaleUnit::Points);
        size = ToSingle(Size * widthPoints / 612);
    }
    DestC.Font.Name = size <= 7 ? "Small Fonts" : "Arial";
    DestC.Font.Size = size;
}

void PrepareReport(Workspace &ws)
{
    ComputeLineScales(ws);
    for (int s = 1; s <= 2; ++s) {
        try {
            BuildOverlapProfile(ws, s);
        } catch (const Failure &) {
            SwathSet &set = ws.SwathSets[static_cast<size_t>(s)];
            set.Profile.Redim(0, -1);
            set.ProfileMax = 0;
            set.Passes = 0;
        }
    }
}

ReportResult PrintSub2(const Workspace &ws, ReportCanvas &DestC, bool DestCisPrinter, int PageNum,
                       const ReportHooks &hooks, char decimalSeparator)
{
    ReportResult result;
    try {
        if (!DestCisPrinter)
            DestC.Cls();
        Pages pages(ws, DestC, DestCisPrinter, hooks, decimalSeparator);
        for (int number = 1; number <= ReportPageCount(ws); ++number) {
            if (PageNum != 0 && PageNum != number)
                continue;
            if (const auto why = WhyNotDrawn(ws, DestC, DestCisPrinter, decimalSeparator, number)) {
                pages.notePage(number, *why);
                result.NotDrawn.push_back(PageNote{number, *why});
            } else {
                pages.page(number);
            }
        }
    } catch (...) {
        result.Error = FailureText(std::current_exception());
    }
    if (result.Error.empty()) {
        if (DestCisPrinter)
            DestC.EndDoc();
        return result;
    }
    result.Ok = false;
    if (DestCisPrinter)
        DestC.KillDoc();
    result.Message = kReportErrorLead + result.Error;
    if (hooks.ShowMessage)
        hooks.ShowMessage(result.Message);
    return result;
}

std::vector<std::string> WrapToWidth(const ReportCanvas &canvas, const std::string &text, double width)
{
    std::vector<std::string> lines;
    std::string current;
    auto fits = [&](const std::string &t) { return canvas.TextWidth(t) <= width; };
    size_t start = 0;
    while (start <= text.size()) {
        size_t end = text.find(' ', start);
        if (end == std::string::npos)
            end = text.size();
        std::string word = text.substr(start, end - start);
        start = end + 1;
        const std::string joined = current.empty() ? word : current + " " + word;
        if (current.empty() || fits(joined)) {
            current = joined;
        } else {
            lines.push_back(current);
            current = word;
        }
        // A word wider than the line: break it after the most characters that fit, at least one.
        while (!fits(current)) {
            size_t cut = 0;
            for (size_t next = 1; next <= current.size(); ++next) {
                if (next < current.size() && (static_cast<unsigned char>(current[next]) & 0xC0) == 0x80)
                    continue; // inside a UTF-8 character
                if (cut != 0 && !fits(current.substr(0, next)))
                    break;
                cut = next;
            }
            if (cut >= current.size())
                break;
            lines.push_back(current.substr(0, cut));
            current = current.substr(cut);
        }
    }
    lines.push_back(current);
    return lines;
}

} // namespace velmara
