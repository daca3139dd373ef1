#include "views/callouts.h"

#include "views/linechart.h"
#include "views/textforms.h"

#include <algorithm>
#include <cmath>

namespace velmara {

namespace {

int pixel(double v)
{
    return std::isfinite(v) ? static_cast<int>(std::nearbyint(std::clamp(v, -1.0e6, 1.0e6))) : 0;
}

} // namespace

std::array<double, 4> CalloutFractions(const Workspace &ws, int cardIndex)
{
    CardStats s;
    if (cardIndex >= 0 && static_cast<size_t>(cardIndex) < ws.LineStats.size())
        s = ws.LineStats[static_cast<size_t>(cardIndex)];
    const double factor = ws.DepositFactor[static_cast<size_t>(ws.UnitIndex())];
    // Each a Single, as the callouts keep them.
    return {0.0, ToSingle(BandFraction(s.Vmd, ws.LineMaxVmd)),
            ToSingle(BandFraction(s.DropDensity, ws.LineMaxDensity)),
            ToSingle(BandFraction(factor * s.VolumeDensity, ws.LineMaxDeposit))};
}

std::optional<CalloutLayout> PlaceCallouts(const Workspace &ws, int cardIndex, const UserScale &scale,
                                           QSize pixels,
                                           const std::function<QSize(const QString &)> &labelSize)
{
    const int n = ws.CardCount();
    if (cardIndex < 1 || cardIndex > n || !ws.Card(cardIndex).Scanned || pixels.isEmpty())
        return std::nullopt;
    const CardImage &card = ws.Card(cardIndex);
    CardStats s;
    if (static_cast<size_t>(cardIndex) < ws.LineStats.size())
        s = ws.LineStats[static_cast<size_t>(cardIndex)];
    const double factor = ws.DepositFactor[static_cast<size_t>(ws.UnitIndex())];
    const std::array<double, 4> v = CalloutFractions(ws, cardIndex);

    CalloutLayout out;
    const double middle = (static_cast<double>(ws.Card(1).Position) + ws.Card(n).Position) / 2;
    out.OnRight = middle > card.Position;
    out.Caption = QStringLiteral("Orvinek Velmara -- ") + QString::fromStdString(card.FileName);

    const QString unit = QString::fromStdString(ws.DepositUnit[static_cast<size_t>(ws.UnitIndex())]);
    out.Bands[1].Text = QLatin1Char(' ') + FixedText(s.Vmd, 2) + QLatin1Char(' ') + QChar(0x00B5) + QStringLiteral("m ");
    out.Bands[2].Text = QLatin1Char(' ') + FixedText(s.DropDensity, 2) + QStringLiteral(" drops/cm ") + QChar(0x00B2)
                        + QLatin1Char(' ');
    out.Bands[3].Text = QLatin1Char(' ') + FixedText(factor * s.VolumeDensity, 2) + QLatin1Char(' ') + unit + QLatin1Char(' ');

    const double px = (card.Position - scale.Left) * pixels.width() / scale.Width;
    const std::array<double, 4> heights{0.0, 2 + v[1], 1 + v[2], v[3]};
    for (int band = 1; band <= 3; ++band) {
        Callout &c = out.Bands[static_cast<size_t>(band)];
        const QSize size = labelSize(c.Text);
        const double py = (heights[static_cast<size_t>(band)] - scale.Top) * pixels.height() / scale.Height;
        // In the lower half of its band (0.5 included) the label stands above the value, else
        // below, so that it stays inside the band as far as it can.
        c.Above = v[static_cast<size_t>(band)] <= 0.5;
        const double top = c.Above ? py - 20 - size.height() : py + 20;
        const double lineEndY = c.Above ? py - 21 : py + 21;
        const double labelLeft = out.OnRight ? px + 20 : px - size.width() - 20;
        const double lineEndX = out.OnRight ? px + 21 : px - 21;
        c.Label = QRect(pixel(labelLeft), pixel(top), size.width(), size.height());
        c.LineFrom = QPoint(pixel(px), pixel(py));
        c.LineTo = QPoint(pixel(lineEndX), pixel(lineEndY));
        c.Circle = QRect(pixel(px - 4), pixel(py - 4), 8, 8);
    }
    return out;
}

} // namespace velmara
