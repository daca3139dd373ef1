#include "templates/templategrid.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace velmara {

namespace {

// The platform's own scale: 2540 hundredths of a millimetre to an inch of 96 screen pixels.
constexpr double kHiMetricPerPixel = 2540.0 / 96.0;
// The rounded factor the resolution change works with.
constexpr double kRoundedHiMetricPerPixel = 26.46;

std::string TwoDigits(int n)
{
    std::string s = std::to_string(n);
    return s.size() < 2 ? "0" + s : s;
}

} // namespace

TemplateGrid::TemplateGrid() : mTemplate(DefaultTemplate()) { mSelected.fill(true); }

void TemplateGrid::setTemplate(const CardTemplate &t)
{
    mTemplate = t;
    mTemplate.NumH = std::clamp<Integer>(t.NumH, kMinCount, kMaxCount);
    mTemplate.NumV = std::clamp<Integer>(t.NumV, kMinCount, kMaxCount);
}

Long TemplateGrid::PixelsToHiMetric(int px)
{
    // Whole hundredths, halves up: px x 2540 / 96 with the remainder rounded in integers.
    const long long num = static_cast<long long>(px) * 2540;
    return static_cast<Long>((num + 48) / 96);
}

void TemplateGrid::setPictureSize(int widthPx, int heightPx)
{
    mWidthPx = widthPx;
    mHeightPx = heightPx;
    mWidthHiMetric = PixelsToHiMetric(widthPx);
    mHeightHiMetric = PixelsToHiMetric(heightPx);
}

void TemplateGrid::setViewSize(int widthPx, int heightPx)
{
    mViewWidth = widthPx;
    mViewHeight = heightPx;
}

int TemplateGrid::viewWidthForHeight(int heightPx) const
{
    if (mHeightHiMetric <= 0)
        return heightPx;
    return CInt(static_cast<double>(heightPx) * mWidthHiMetric / mHeightHiMetric);
}

void TemplateGrid::updateScale(bool exact)
{
    if (mRes <= 0)
        return;
    if (exact) {
        // The picture's size back in pixels, plus 0.5, rounded half to even.
        const Single w = ToSingle(mWidthHiMetric / kHiMetricPerPixel);
        const Single h = ToSingle(mHeightHiMetric / kHiMetricPerPixel);
        mScaleWidth = ToSingle(static_cast<Single>(CLng(w + 0.5)) / static_cast<Single>(mRes));
        mScaleHeight = ToSingle(static_cast<Single>(CLng(h + 0.5)) / static_cast<Single>(mRes));
    } else {
        mScaleWidth = ToSingle(mWidthHiMetric / kRoundedHiMetricPerPixel / mRes);
        mScaleHeight = ToSingle(mHeightHiMetric / kRoundedHiMetricPerPixel / mRes);
    }
}

void TemplateGrid::activate() { updateScale(true); }

void TemplateGrid::setResolution(int res)
{
    mRes = res;
    updateScale(false);
}

bool TemplateGrid::applyResolutionText(const std::string &text)
{
    // Plain decimal text only: digits with at most one point, blanks around them.
    const size_t first = text.find_first_not_of(' ');
    if (first == std::string::npos)
        return false;
    const std::string t = text.substr(first, text.find_last_not_of(' ') - first + 1);
    if (t.find_first_not_of("0123456789.") != std::string::npos
        || t.find_first_of("0123456789") == std::string::npos || std::count(t.begin(), t.end(), '.') > 1)
        return false;
    const double rounded = RoundHalfEven(std::strtod(t.c_str(), nullptr));
    if (rounded < 1 || rounded > 32767)
        return false;
    setResolution(static_cast<int>(rounded));
    return true;
}

void TemplateGrid::shift(ShiftDirection d)
{
    switch (d) {
    case ShiftDirection::Up: --mOffsetY; break;
    case ShiftDirection::Right: ++mOffsetX; break;
    case ShiftDirection::Down: ++mOffsetY; break;
    case ShiftDirection::Left: --mOffsetX; break;
    }
    mInchOffset = false;
}

void TemplateGrid::setOffsetPixels(int x, int y)
{
    mOffsetX = x;
    mOffsetY = y;
    mInchOffset = false;
}

void TemplateGrid::setOffsetInches(double x, double y)
{
    mOffsetInchX = x;
    mOffsetInchY = y;
    mInchOffset = true;
}

double TemplateGrid::viewToInchesX(double px) const
{
    return mViewWidth > 0 ? px * mScaleWidth / mViewWidth : 0.0;
}

double TemplateGrid::viewToInchesY(double px) const
{
    return mViewHeight > 0 ? px * mScaleHeight / mViewHeight : 0.0;
}

double TemplateGrid::inchesToViewX(double inches) const
{
    return mScaleWidth > 0 ? inches * mViewWidth / mScaleWidth : 0.0;
}

double TemplateGrid::inchesToViewY(double inches) const
{
    return mScaleHeight > 0 ? inches * mViewHeight / mScaleHeight : 0.0;
}

double TemplateGrid::offsetInchesX() const
{
    return mInchOffset ? mOffsetInchX : ToSingle(viewToInchesX(mOffsetX));
}

double TemplateGrid::offsetInchesY() const
{
    return mInchOffset ? mOffsetInchY : ToSingle(viewToInchesY(mOffsetY));
}

GridCell TemplateGrid::cell(int n) const
{
    GridCell g;
    g.Number = n;
    const int r = (n - 1) / mTemplate.NumH + 1;
    const int c = (n - 1) % mTemplate.NumH + 1;
    const Single pitchH = ToSingle(mTemplate.SizeH + mTemplate.SpaceH);
    const Single pitchV = ToSingle(mTemplate.SizeV + mTemplate.SpaceV);
    g.Left = ToSingle(ToSingle(offsetInchesX()) + ToSingle(static_cast<Single>(c - 1) * pitchH));
    g.Top = ToSingle(ToSingle(offsetInchesY()) + ToSingle(static_cast<Single>(r - 1) * pitchV));
    g.Width = mTemplate.SizeH;
    g.Height = mTemplate.SizeV;
    g.Selected = selected(n);

    // Every drawn cell counts, selected or not: all must lie on the scan.
    const double widthPx = std::floor(ToSingle(mWidthHiMetric / kHiMetricPerPixel) + 0.5);
    const double heightPx = std::floor(ToSingle(mHeightHiMetric / kHiMetricPerPixel) + 0.5);
    const Single right = ToSingle(ToSingle(g.Left + g.Width) * static_cast<Single>(mRes));
    const Single bottom = ToSingle(ToSingle(g.Top + g.Height) * static_cast<Single>(mRes));
    g.OutOfBounds = g.Left < 0 || widthPx < right || g.Top < 0 || heightPx < bottom;
    return g;
}

int TemplateGrid::firstCellOutOfBounds() const
{
    for (int n = 1; n <= cellCount(); ++n)
        if (cell(n).OutOfBounds)
            return n;
    return 0;
}

void TemplateGrid::selectAll() { mSelected.fill(true); }

int TemplateGrid::hitTest(double x, double y) const
{
    for (int n = 1; n <= cellCount(); ++n) {
        const GridCell g = cell(n);
        if (g.Left < x && x < g.Left + g.Width && g.Top < y && y < g.Top + g.Height)
            return n;
    }
    return 0;
}

bool TemplateGrid::clickAt(double x, double y)
{
    const int n = hitTest(x, y);
    if (n == 0)
        return false;
    setSelected(n, !selected(n));
    return true;
}

ClipRect TemplateGrid::clipRect(int n) const
{
    const GridCell g = cell(n);
    ClipRect r;
    r.X = CInt(ToSingle(g.Left * static_cast<Single>(mRes)));
    r.Y = CInt(ToSingle(g.Top * static_cast<Single>(mRes)));
    // The quarter inch is taken off the right and the bottom only.
    r.Width = CInt((static_cast<double>(mTemplate.SizeH) - 0.25) * mRes);
    r.Height = CInt((static_cast<double>(mTemplate.SizeV) - 0.25) * mRes);
    return r;
}

std::string TemplateGrid::clipName(int lastClipIndex, int n)
{
    return "clip" + TwoDigits(lastClipIndex + n) + ".bmp";
}

} // namespace velmara
