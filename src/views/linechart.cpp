#include "views/linechart.h"

#include "core/numberform.h"
#include "statistics/line.h"
#include "statistics/range.h"
#include "statistics/textvalue.h"

#include <QLocale>

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

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

// Text centred on y, its right edge 7 pixels left of x (leftOfX) or its left edge 7 pixels right.
void printBeside(ChartCanvas &c, const QString &text, double x, double y, bool leftOfX)
{
    c.CurrentX = leftOfX ? x - c.scaleX(7) - c.textWidth(text) : x + c.scaleX(7);
    c.CurrentY = y - c.textHeight(text) / 2;
    c.print(text);
}

// One band's axis: labels from 0 to its top by the band's step, each with as many decimals as the
// step needs.
struct BandAxis
{
    double Top = 0;
    double Base = 0; // the band's bottom: 0, 1 or 2
    bool Left = false;
    QString Title;
    std::vector<std::pair<double, QString>> Labels; // value, text

    BandAxis(double top, double base, bool left, QString title)
        : Top(top), Base(base), Left(left), Title(std::move(title))
    {
        if (!bandHasTop(top))
            return;
        const double step = TickStep(ToSingle(top));
        const std::string pattern = TickPattern(step);
        for (long i = 0; i <= 100; ++i) {
            const double v = step * static_cast<double>(i);
            if (v > top)
                break;
            Labels.emplace_back(v, ChartText(v, pattern));
        }
    }

    double widestLabelPixels(const ChartCanvas &c) const
    {
        double widest = 0;
        for (const auto &label : Labels)
            widest = std::max(widest, c.textWidthPixels(label.second));
        return widest;
    }

    void draw(ChartCanvas &c, double edge) const
    {
        for (const auto &[v, text] : Labels) {
            const double y = v / Top + Base;
            printBeside(c, text, edge, y, Left);
            c.drawLine(edge, y, edge + (Left ? -c.scaleX(5) : c.scaleX(5)), y);
        }
    }
};

const ChartFont kTitleFont{QStringLiteral("Arial"), 12, true};
const ChartFont kLabelFont{QStringLiteral("MS Sans Serif"), 8, false};
constexpr double kTitleGap = 4;  // pixels between a title and its labels
constexpr double kEdgeGap = 2;   // pixels between a title and the picture's edge

// Pixels a side needs for its labels (7 pixels off the line) and the titles beside them.
double sideNeed(ChartCanvas &c, const std::vector<const BandAxis *> &axes)
{
    double need = 0;
    for (const BandAxis *axis : axes)
        need = std::max(need, 7 + axis->widestLabelPixels(c) + kTitleGap
                                  + c.fontTextHeightPixels(axis->Title, kTitleFont) + kEdgeGap);
    return need;
}

// A band title turned along the picture's edge, beside its band's labels: on the left it reads
// upward, on the right downward. Centred on its band, and made smaller (down to 7 points) where
// it would run out of the room the band has along the edge (halfRoom user units either way).
void drawTitle(ChartCanvas &c, const BandAxis &axis, double lineEdge, double halfRoom)
{
    ChartFont font = kTitleFont;
    const double pixelsPerUnit = std::abs(c.lengthToPixelsY(1));
    while (font.Size > 7 && c.fontTextWidthPixels(axis.Title, font) > 2 * halfRoom * pixelsPerUnit)
        font.Size -= 1;
    const double thickness = c.fontTextHeightPixels(axis.Title, font);
    const double labels = axis.widestLabelPixels(c) + 7;
    const double edgePx = c.toPixelX(lineEdge);
    double x = axis.Left ? edgePx - labels - kTitleGap - thickness : edgePx + labels + kTitleGap + thickness;
    x = axis.Left ? std::max(x, kEdgeGap) : std::min(x, c.pixelWidth() - kEdgeGap);
    const double along = -c.scaleY(c.fontTextWidthPixels(axis.Title, font)); // upward user length
    const double centre = axis.Base + 0.5;
    c.printRotated(axis.Title, font, axis.Left ? 90 : 270, c.toUserX(x),
                   axis.Left ? centre - along / 2 : centre + along / 2);
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

LineChartLayout DrawLineChart(ChartCanvas &c, const Workspace &ws)
{
    LineChartLayout layout;
    const int n = ws.CardCount();
    if (n < 1)
        return layout;

    const double left = ws.LineLeft;
    const double right = ws.LineRight;
    double R = static_cast<double>(right) - left;
    // Cards all on one place (an interval of 0 kept by closing the position dialog): the line
    // is drawn one unit long so that the scale stays finite.
    if (!(R > 0) || !std::isfinite(R))
        R = 1;
    const std::optional<Single> typedInterval = TryTextToSingle(ws.Spray.Sample_Interval);
    const double interval = typedInterval ? static_cast<double>(*typedInterval) : 0.0;
    const double maxVmd = ws.LineMaxVmd, maxDensity = ws.LineMaxDensity, maxDeposit = ws.LineMaxDeposit;
    const QString depositUnit = QString::fromStdString(ws.DepositUnit[static_cast<size_t>(ws.UnitIndex())]);
    const BandAxis vmdAxis(maxVmd, 2, true, QStringLiteral("VMD (") + QChar(0x00B5) + QStringLiteral("m)"));
    const BandAxis densityAxis(maxDensity, 1, false,
                               QStringLiteral("Drop Density (drops/cm") + QChar(0x00B2) + QLatin1Char(')'));
    const BandAxis depositAxis(maxDeposit, 0, true, QStringLiteral("Vol. Density (") + depositUnit + QLatin1Char(')'));

    c.BackColor = kChartWhite;
    c.cls();
    c.DrawWidth = 1;
    c.ForeColor = kChartBlack;
    c.DrawStyle = ChartCanvas::Style::Solid;
    c.FillShapes = false;
    c.Font = kLabelFont;
    // A tenth of the line's length on either side, widened where the labels and titles of a side
    // need more (up to a quarter of the picture each).
    const double width = c.pixelWidth();
    const double usual = width / 12;
    const double most = std::max(usual, width / 4);
    const double leftMargin = std::clamp(sideNeed(c, {&vmdAxis, &depositAxis}), usual, most);
    const double rightMargin = std::clamp(sideNeed(c, {&densityAxis}), usual, most);
    if (leftMargin == usual && rightMargin == usual) {
        c.setScaleTo(left - R / 10, R * 1.2, 3.15, -3.7);
    } else {
        const double unitsPerPixel = R / (width - leftMargin - rightMargin);
        c.setScaleTo(left - leftMargin * unitsPerPixel, width * unitsPerPixel, 3.15, -3.7);
    }

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

    vmdAxis.draw(c, left);
    densityAxis.draw(c, right);
    depositAxis.draw(c, left);

    // Positions below, thinned to every k-th interval on a long line. The place advances in
    // Single as the typed interval does, so the last label stops where the line's own arithmetic
    // stops.
    const std::string pattern = PositionPattern(ws);
    AxisLabelRow positions(c, 7);
    auto positionLabel = [&](double x) {
        positions.place(ChartText(x, pattern), x);
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

    // Band titles with their units, each beside its own labels; the left pair shares the edge, so
    // each keeps to its band and half of the middle one.
    drawTitle(c, vmdAxis, left, 0.65); // the picture ends 0.15 above the band
    drawTitle(c, depositAxis, left, 1.0);
    drawTitle(c, densityAxis, right, 1.65);
    c.Font = kLabelFont;

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
