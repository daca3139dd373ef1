#include "views/statslabels.h"

#include "views/textforms.h"

#include <cmath>

namespace velmara {

AxisLabelTexts HistogramLabelTexts(const UserScale &scale, int graphMode)
{
    AxisLabelTexts t;
    t.x1 = FixedText(scale.Left, 1);
    t.x2 = FixedText(scale.Left + scale.Width, 1);
    if (graphMode > 2) {
        t.y2 = PlainSingleText(ToSingle(scale.Top));
        t.y1 = QStringLiteral("0");
    } else {
        t.y2 = PlainDoubleText(std::floor(scale.Top * 1000.0 + 0.5) / 10.0) + QLatin1Char('%');
        t.y1 = QStringLiteral("0%");
    }
    return t;
}

CardStats ShownStats(const Workspace &ws, bool rangeSelected)
{
    if (ws.CompositeCheck)
        return rangeSelected ? ws.CompositeRange.Stats : ws.CompositeAll.Stats;
    if (rangeSelected)
        return ws.CardRange.Stats;
    if (ws.CurrentCard < 1 || ws.CurrentCard > ws.CardCount())
        return {};
    return ws.Card(ws.CurrentCard).Stats;
}

StatsLabelTexts StatsTexts(const CardStats &stats, bool metric)
{
    // The deposit is converted only for display; stored values stay in nL/cm².
    const double factor = metric ? 0.1 : 1.368;
    const QString unit = metric ? QStringLiteral("L/ha") : QStringLiteral("oz/ac");
    StatsLabelTexts t;
    t.info1 = QStringLiteral("VMD:");
    t.info2 = QStringLiteral("Drop Density:");
    t.info3 = QStringLiteral("Volume:");
    t.vmd = FixedText(stats.Vmd, 1) + QLatin1Char(' ') + QChar(0x00B5) + QLatin1Char('m');
    t.drop = FixedText(stats.DropDensity, 2) + QStringLiteral(" drops/cm ") + QChar(0x00B2);
    t.volume = FixedText(factor * stats.VolumeDensity, 3) + QLatin1Char(' ') + unit;
    return t;
}

} // namespace velmara
