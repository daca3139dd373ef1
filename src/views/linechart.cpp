#include "views/linechart.h"

#include "core/numberform.h"
#include "statistics/line.h"
#include "statistics/range.h"
#include "statistics/textvalue.h"

#include <QLocale>

#include <algorithm>
#include <cmath>

namespace velmara {

namespace {

char localeSeparator()
{
    const QString point = QLocale().decimalPoint();
    return point.size() == 1 && point.at(0).unicode() < 128 ? point.at(0).toLatin1() : '.';
}

// Loops over an axis stop after this many steps: a sampling line of 1E+30 metres at 10-metre
// intervals must not hang the window, and no real line comes near it.
constexpr long kMaxAxisSteps = 1000000;

CardStats lineStatsAt(const Workspace &ws, int i)
{
    return i >= 0 && static_cast<size_t>(i) < ws.LineStats.size() ? ws.LineStats[static_cast<size_t>(i)]
                                                                   : CardStats{};
}

bool bandHasTop(double top)
{
    return std::isfinite(top) && top > 0;
}

// Text centred on y, right edge dx pixels left of x (dx < 0: left edge -dx pixels right of x).
void printBeside(ChartCanvas &c, const QString &text, double x, double y, bool leftOfX)
{
    c.CurrentX = leftOfX ? x - c.scaleX(7) - c.textWidth(text) : x + c.scaleX(7);
    c.CurrentY = y - c.textHeight(text) / 2;
    c.print(text);
}

// One band's labels and ticks: v from 0 to top by the band's step.
void drawBandAxis(ChartCanvas &c, double top, double base, double edge, bool left,
                  const std::string &pattern)
{
    const double step = TickStep(ToSingle(top));
    for (long i = 0; i <= 100; ++i) {
        const double v = step * static_cast<double>(i);
        if (v > top)
            break;
        const double y = v / top + base;
        printBeside(c, ChartText(v, pattern), edge, y, left);
        c.drawLine(edge, y, edge + (left ? -c.scaleX(5) : c.scaleX(5)), y);
    }
}

} // namespace

QString ChartText(double value, std::string_view pattern)
{
    return QString::fromStdString(FormatNumber(value, pattern, localeSeparator()));
}

bool EndsInZero(const std::string &text)
{
    return !text.empty() && text.back() == '0';
}

std::string PositionPattern(const Workspace &ws)
{
    return EndsInZero(ws.Spray.Sample_Position1) && EndsInZero(ws.Spray.Sample_Interval) ? "0" : "0.0";
}

double BandFraction(double value, double top)
{
    if (!bandHasTop(top) || !std::isfinite(value))
        return 0;
    return value / top;
}

QSize MarkerSize(double pitchPixels)
{
    double w = std::nearbyint(pitchPixels - 3);
    if (!(w > 0))
        return {3, 4};
    w = std::min(w, 20.0);
    return {static_cast<int>(w), static_cast<int>(std::nearbyint(1.25 * w))};
}

LineChartLayout DrawLineChart(ChartCanvas &c, Workspace &ws)
{
    LineChartLayout layout;
    const int n = ws.CardCount();
    if (n < 1)
        return layout;

    ComputeLineScales(ws);
    const double left = ws.LineLeft;
    const double right = ws.LineRight;
    double R = static_cast<double>(right) - left;
    // Cards all on one place (an interval of 0 kept by closing the position dialog): the line
    // is drawn one unit long so that the scale stays finite.
    if (!(R > 0) || !std::isfinite(R))
        R = 1;
    const std::optional<Single> typedInterval = TryTextToSingle(ws.Spray.Sample_Interval);
    const double interval = typedInterval ? static_cast<double>(*typedInterval) : 0.0;

    c.BackColor = kChartWhite;
    c.cls();
    c.DrawWidth = 1;
    c.ForeColor = kChartBlack;
    c.DrawStyle = ChartCanvas::Style::Solid;
    c.FillShapes = false;
    c.setScaleTo(left - R / 10, R * 1.2, 3.15, -3.7);

    // Markers under the line, and a pale line up through the bands at each card.
    const QSize marker = MarkerSize(c.lengthToPixelsX(R / n));
    layout.MarkerWidth = marker.width();
    layout.MarkerHeight = marker.height();
    layout.Markers.resize(static_cast<size_t>(n) + 1);
    const double markerTop = std::nearbyint(c.toPixelY(0) + 25);
    for (int i = 1; i <= n; ++i) {
        const CardImage &card = ws.Card(i);
        const double x = c.toPixelX(card.Position) - marker.width() / 2.0;
        const int px = static_cast<int>(std::nearbyint(std::clamp(x, -1.0e6, 1.0e6)));
        layout.Markers[static_cast<size_t>(i)] = {QRect(px, static_cast<int>(markerTop), marker.width(), marker.height()),
                                                  card.Scanned};
        c.drawLine(card.Position, 0, card.Position, 3, kLinePlaceMark);
    }

    // Frame and band borders.
    c.drawBox(left, 0, right, 3, kChartBlack);
    c.drawLine(left, 1, right, 1);
    c.drawLine(left, 2, right, 2);

    const double maxVmd = ws.LineMaxVmd, maxDensity = ws.LineMaxDensity, maxDeposit = ws.LineMaxDeposit;
    if (bandHasTop(maxVmd)) {
        const double step = TickStep(ToSingle(maxVmd));
        drawBandAxis(c, maxVmd, 2, left, true, step == std::floor(step) ? "0" : "0.0#");
    }
    if (bandHasTop(maxDensity)) {
        const double step = TickStep(ToSingle(maxDensity));
        drawBandAxis(c, maxDensity, 1, right, false, step == std::floor(step) ? "0" : "0.0");
    }
    if (bandHasTop(maxDeposit)) {
        const double step = TickStep(ToSingle(maxDeposit));
        drawBandAxis(c, maxDeposit, 0, left, true, step >= 1 ? "0" : "0.0");
    }

    // Positions below, thinned to every k-th interval on a long line. The place advances in
    // Single as the typed interval does, so the last label stops where the line's own arithmetic
    // stops.
    const std::string pattern = PositionPattern(ws);
    auto positionLabel = [&](double x) {
        const QString text = ChartText(x, pattern);
        c.CurrentX = x - c.textWidth(text) / 2;
        c.CurrentY = c.scaleY(7);
        c.print(text);
        c.drawLine(x, 0, x, c.scaleY(5));
    };
    if (interval > 0 && std::isfinite(interval)) {
        const double intervals = static_cast<double>(right - left) / interval;
        long k = 1;
        if (intervals > 25)
            k = static_cast<long>(std::min(std::floor(intervals / 10), 1.0e9));
        Single x = ws.LineLeft;
        for (long count = 0; x <= ws.LineRight && count < kMaxAxisSteps; ++count) {
            if (count % k == 0)
                positionLabel(x);
            const Single next = ToSingle(static_cast<double>(x) + interval);
            if (next == x)
                break; // the interval is lost against the position: no further place exists
            x = next;
        }
    } else {
        positionLabel(left);
    }

    // The zero of the line.
    c.DrawWidth = 2;
    c.drawLine(0, 0, 0, 3, kChartBlack);

    // Band titles, each on the side away from its band's labels.
    const ChartFont title{QStringLiteral("Arial"), 12, true};
    auto titleAt = [&](const QString &text, int angle, double x, double centreY) {
        const double along = -c.scaleY(c.fontTextWidthPixels(text, title)); // upward user length
        const double y = angle == 90 ? centreY - along / 2 : centreY + along / 2;
        c.printRotated(text, title, angle, x, y);
    };
    const UserScale &s = c.scale();
    titleAt(QStringLiteral("Drop Density"), 90, s.Left + c.scaleX(15), 1.5);
    titleAt(QStringLiteral("VMD"), 270, s.Left + s.Width - c.scaleX(15), 2.5);
    titleAt(QStringLiteral("Vol. Density"), 270, s.Left + s.Width - c.scaleX(15), 0.5);
    c.Font = ChartFont{QStringLiteral("MS Sans Serif"), 8, false};

    const double factor = ws.DepositFactor[static_cast<size_t>(ws.UnitIndex())];

    // The composite's level in each band.
    c.DrawWidth = 1;
    c.DrawStyle = ChartCanvas::Style::Dotted;
    const CardStats level = RangeSelected(ws) ? ws.CompositeRange.Stats : ws.CompositeAll.Stats;
    c.drawLine(left, BandFraction(level.Vmd, maxVmd) + 2, right, BandFraction(level.Vmd, maxVmd) + 2, kChartRed);
    c.drawLine(left, BandFraction(level.DropDensity, maxDensity) + 1, right,
               BandFraction(level.DropDensity, maxDensity) + 1, kChartRed);
    c.drawLine(left, BandFraction(factor * level.VolumeDensity, maxDeposit), right,
               BandFraction(factor * level.VolumeDensity, maxDeposit), kChartRed);

    // The scanned cards, joined in list order; unscanned cards are bridged.
    c.DrawWidth = 3;
    c.DrawStyle = ChartCanvas::Style::Solid;
    int previous = 0;
    for (int i = 1; i <= n; ++i) {
        if (!ws.Card(i).Scanned)
            continue;
        if (previous > 0) {
            const CardStats a = lineStatsAt(ws, previous), b = lineStatsAt(ws, i);
            const double xa = ws.Card(previous).Position, xb = ws.Card(i).Position;
            c.drawLine(xa, BandFraction(a.Vmd, maxVmd) + 2, xb, BandFraction(b.Vmd, maxVmd) + 2, kLineGrey);
            c.drawLine(xa, BandFraction(a.DropDensity, maxDensity) + 1, xb,
                       BandFraction(b.DropDensity, maxDensity) + 1, kLineGrey);
            c.drawLine(xa, BandFraction(factor * a.VolumeDensity, maxDeposit), xb,
                       BandFraction(factor * b.VolumeDensity, maxDeposit), kLineGrey);
        }
        previous = i;
    }
    c.DrawWidth = 1;
    return layout;
}

} // namespace velmara
