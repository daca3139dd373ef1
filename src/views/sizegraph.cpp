#include "views/sizegraph.h"

#include "views/textforms.h"

#include <algorithm>
#include <cmath>

namespace velmara {

namespace {

const QChar kMicro(0x00B5);
const QChar kSquared(0x00B2);

// Pixel coordinates round half to even; a far-away bound (RangeHigh 32755 on a small scale) is
// held inside int range, the canvas clips the rest.
int toPixel(double v)
{
    if (!(v == v))
        return 0;
    return static_cast<int>(std::nearbyint(std::clamp(v, -1.0e6, 1.0e6)));
}

// T(v): v rounded up to a tenth. The 0.999, not 1, is part of the definition: a value already on
// a tenth stays there, one a hair above it stays too.
Single roundUpToTenth(double v)
{
    return ToSingle(std::floor(v * 10.0 + 0.999) / 10.0);
}

void drawMedianMark(Canvas &canvas, double vmd)
{
    const int x = toPixel(canvas.toPixelX(vmd));
    const UserScale &s = canvas.scale();
    canvas.line(x, toPixel(canvas.toPixelY(0.0)), x, toPixel(canvas.toPixelY(s.Top)), kMedianMark);
}

// One polygon per pair of neighbouring rows: a skyline with sloping tops, not flat bars.
void drawBars(Canvas &canvas, const std::vector<SizeClass> &table, int graphMode, double areaCm2)
{
    const int base = canvas.pixelHeight() - 2;
    const int last = static_cast<int>(table.size()) - 1;
    for (int i = 2; i <= last; ++i) {
        const SizeClass &a = table[static_cast<size_t>(i - 1)];
        const SizeClass &b = table[static_cast<size_t>(i)];
        const int x1 = toPixel(canvas.lengthToPixelsX(a.Diameter));
        const int x2 = toPixel(canvas.lengthToPixelsX(b.Diameter));
        const int y1 = toPixel(canvas.lengthToPixelsY(GraphValue(a, graphMode, areaCm2)) + base);
        const int y2 = toPixel(canvas.lengthToPixelsY(GraphValue(b, graphMode, areaCm2)) + base);
        canvas.polygon({QPoint(x1, y1), QPoint(x1, base), QPoint(x2, base), QPoint(x2, y2)},
                       kGraphOutline, kGraphFill);
    }
}

} // namespace

UserScale InitialGraphScale(int pixelWidth)
{
    return {0.0, static_cast<double>(pixelWidth), 0.0, -1.0};
}

QString GraphModeSuffix(int graphMode)
{
    switch (graphMode) {
    case 1:
        return QStringLiteral("  (Volume Fraction)");
    case 2:
        return QStringLiteral("  (Cumulative Volume Fraction)");
    case 3:
        return QStringLiteral("  (drops/cm ") + kSquared + QLatin1Char(')');
    default:
        return {};
    }
}

QString ResultFrameCaption(bool composite, int graphMode)
{
    return (composite ? QStringLiteral("Composite Results") : QStringLiteral("Scan Results"))
           + GraphModeSuffix(graphMode);
}

QString GraphOptionCaption(int index)
{
    switch (index) {
    case 1:
        return QStringLiteral("VF");
    case 2:
        return QStringLiteral("CVF");
    case 3:
        return QStringLiteral("#/cm") + kSquared;
    default:
        return {};
    }
}

double GraphValue(const SizeClass &row, int graphMode, double areaCm2)
{
    switch (graphMode) {
    case 2:
        return row.CumVolumeFraction;
    case 3:
        return areaCm2 != 0 ? row.Count / areaCm2 : 0.0;
    default:
        return row.VolumeFraction;
    }
}

Single GraphTop(const Workspace &ws, int cardIndex)
{
    if (ws.CompositeCheck) {
        const SizeStats &c = ws.CompositeAll;
        switch (ws.GraphMode) {
        case 2:
            return 1;
        case 3:
            return c.AreaCm2 != 0 ? roundUpToTenth(c.MaxClassCount / c.AreaCm2) : 0;
        default:
            return c.TotalVolume != 0 ? ToSingle(c.MaxClassVolume / c.TotalVolume * 1.1) : 0;
        }
    }
    const CardImage &card = ws.Card(cardIndex);
    switch (ws.GraphMode) {
    case 2:
        return 1;
    case 3:
        return card.AreaCm2 != 0 ? roundUpToTenth(card.MaxClassCount / card.AreaCm2) : 0;
    default:
        return ToSingle(card.MaxVolumeFraction * 1.1);
    }
}

void DrawResult(Canvas &canvas, const Workspace &ws, int cardIndex)
{
    if (ws.CardCount() == 0)
        return;
    canvas.clear(kGraphBackground);
    {
        // The band goes under the scale of the previous drawing: with no range selected the whole
        // canvas turns white, because RangeHigh lies far beyond the right edge.
        const UserScale &s = canvas.scale();
        canvas.fillBox(toPixel(canvas.toPixelX(ws.RangeLow)), toPixel(canvas.toPixelY(s.Top)),
                       toPixel(canvas.toPixelX(ws.RangeHigh)),
                       toPixel(canvas.toPixelY(s.Top + s.Height)), kGraphBand);
    }

    if (ws.CompositeCheck) {
        const std::vector<SizeClass> &table = ws.CompositeAll.Classes;
        if (table.size() <= 1)
            return;
        drawMedianMark(canvas, ws.CurrentVMD);
        // The horizontal scale stays as the card graph last set it.
        UserScale s = canvas.scale();
        const Single top = GraphTop(ws, cardIndex);
        if (!(top > 0) || !(s.Width > 0))
            return;
        s.Top = top;
        s.Height = -top;
        canvas.setScale(s);
        drawBars(canvas, table, ws.GraphMode, ws.CompositeAll.AreaCm2);
        return;
    }

    if (cardIndex < 1 || cardIndex > ws.CardCount())
        return;
    const CardImage &card = ws.Card(cardIndex);
    if (card.SizeRows() < 1)
        return;
    const Single top = GraphTop(ws, cardIndex);
    const double width = ws.CompositeAll.MaxDiameter;
    // A scale of zero extent can't be set; the graph then stays as the band left it.
    if (!(top > 0) || !(width > 0))
        return;
    canvas.setScale({0.0, width, top, -static_cast<double>(top)});
    drawMedianMark(canvas, ws.CurrentVMD);
    drawBars(canvas, card.SizeTable, ws.GraphMode, card.AreaCm2);
}

bool PressRange(Workspace &ws, int button, int shift, double x)
{
    if (shift != 0)
        return false;
    if (button == 1) {
        ws.RangeLow = ToSingle(x);
        if (ws.RangeLow > ws.RangeHigh)
            ws.RangeHigh = ws.RangeLow + 1;
        return true;
    }
    if (button == 2) {
        ws.RangeHigh = ToSingle(x);
        if (ws.RangeHigh < ws.RangeLow)
            ws.RangeLow = ws.RangeHigh - 1;
        return true;
    }
    return false;
}

bool DragRange(Workspace &ws, int button, int shift, double &x)
{
    x = std::clamp(x, 0.0, static_cast<double>(ws.MaxDiameterAll));
    return PressRange(ws, button, shift, x);
}

double SizeRangeLabelLeft(double x, double labelWidth, double scaleWidth)
{
    return x + labelWidth < scaleWidth ? x : scaleWidth - labelWidth;
}

QString SizeGraphToolTip(bool mouseCoords, int graphMode, double x, double y)
{
    if (!mouseCoords)
        return {};
    QString s = QString::number(static_cast<long long>(std::floor(x))) + kMicro
                + QStringLiteral("m / ");
    if (graphMode == 3)
        return s + FixedText(y, 1);
    return s + FixedText(y * 100.0, 1) + QLatin1Char('%');
}

} // namespace velmara
