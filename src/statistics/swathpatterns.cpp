#include "statistics/swathpatterns.h"

#include "statistics/swath.h"

#include <algorithm>
#include <cmath>

namespace velmara {

namespace {

// v[k] for k inside v, 0 outside: the line ends where its cards end.
template <typename Values>
double Padded(const Values &v, long long k)
{
    return k >= 0 && k < static_cast<long long>(v.size()) ? static_cast<double>(v[static_cast<size_t>(k)]) : 0.0;
}

// v read at a place x between its indices, on the straight line between the two neighbours.
double Between(const std::vector<double> &v, double x)
{
    const double k = std::floor(x);
    const double f = x - k;
    const auto i = static_cast<long long>(k);
    return f == 0 ? Padded(v, i) : (1 - f) * Padded(v, i) + f * Padded(v, i + 1);
}

// The line as a pass flown the other way lays it, with its flight line at position 0: index e
// takes the deposit at the mirrored place -(GridOffset + e). Where that place falls between two
// cards the deposit is read on the straight line between them; past the last card it falls to 0
// over one interval, so that the mirrored line carries the same total deposit as the line.
BoundedArray<Single> MirroredLine(const SwathSet &set)
{
    BoundedArray<Single> m;
    const Long first = set.First();
    const Long last = set.Deposit.Upper();
    if (set.Deposit.Empty())
        return m;
    const double shift = -2.0 * set.GridOffset;
    const auto lo = static_cast<Long>(std::ceil(shift - last - 1));
    const auto hi = static_cast<Long>(std::floor(shift - first + 1));
    m.Redim(lo, hi);
    for (Long e = lo; e <= hi; ++e) {
        const double t = shift - e - first; // index into Deposit.Items
        const double k = std::floor(t);
        const double f = t - k;
        const auto i = static_cast<long long>(k);
        const double v = f == 0 ? Padded(set.Deposit.Items, i)
                                : (1 - f) * Padded(set.Deposit.Items, i) + f * Padded(set.Deposit.Items, i + 1);
        m[e] = ToSingle(v);
    }
    return m;
}

// Adds items into bins of a fold of the given period, item 0 into bin start: block by block, so
// that the inner loop runs over contiguous memory. Each bin still takes its items in line order.
void AddFolded(Single *bins, Long period, Long start, const std::vector<Single> &items)
{
    const Long count = static_cast<Long>(items.size());
    const Single *v = items.data();
    Long head = std::min(count, period - start);
    for (Long j = 0; j < head; ++j)
        bins[start + j] += v[j];
    for (Long k = head; k < count; k += period) {
        const Long len = std::min(period, count - k);
        const Single *block = v + k;
        for (Long j = 0; j < len; ++j)
            bins[j] += block[j];
    }
}

SwathStat FoldWithMirror(const SwathSet &set, const BoundedArray<Single> &mirror, Long w)
{
    // The pattern repeats after two passes: bin b holds grid index First + b of every even pass
    // (flight line at 2kw) and every odd one (flight line at (2k + 1)w, mirrored).
    const Long period = 2 * w;
    std::vector<Single> bins(static_cast<size_t>(period), 0.0f);
    Single *bin = bins.data();
    AddFolded(bin, period, 0, set.Deposit.Items);
    // The odd pass's index e lies in bin e + w - First, give or take periods.
    if (!mirror.Empty())
        AddFolded(bin, period, ((mirror.Lower + w - set.First()) % period + period) % period, mirror.Items);
    // Two running sums side by side (the bin count is even): each width reads all 2w bins, and
    // one chain of dependent additions would make this the slowest step of the refresh.
    double sum0 = 0, sum1 = 0, squares0 = 0, squares1 = 0;
    Single low0 = 1000000, low1 = 1000000, high0 = 0, high1 = 0;
    for (Long i = 0; i < period; i += 2) {
        const Single a = bin[i];
        const Single c = bin[i + 1];
        sum0 += a;
        sum1 += c;
        squares0 += static_cast<double>(a) * a;
        squares1 += static_cast<double>(c) * c;
        low0 = std::min(low0, a);
        low1 = std::min(low1, c);
        high0 = std::max(high0, a);
        high1 = std::max(high1, c);
    }
    const double s = sum0 + sum1;
    const double q = squares0 + squares1;
    SwathStat r;
    r.Mean = ToSingle(s / static_cast<double>(period));
    // The spread is weighed per swath, as the racetrack's: 2w bins count as w - 1 degrees of
    // freedom twice, so a line that is its own mirror gives the racetrack's figures.
    const double m = static_cast<double>(period);
    if (r.Mean > 0 && w > 1) {
        const double spread = std::fabs(m * q - s * s) / (m * (m - 2));
        r.Cov = ToSingle(std::sqrt(spread) / r.Mean);
    }
    r.Max = std::max(high0, high1);
    r.Min = std::min(low0, low1);
    return r;
}

} // namespace

void BuildBackForthTables(Workspace &ws, int setIndex, Single gridOffset)
{
    SwathSet &set = ws.SwathSets[static_cast<size_t>(setIndex)];
    set.GridOffset = gridOffset;
    const Long n = static_cast<Long>(set.Deposit.Items.size());
    const BoundedArray<Single> mirror = MirroredLine(set);
    set.BackForthMaxCov = 0;
    set.BackForthStats.assign(static_cast<size_t>(n > 1 ? n : 1), SwathStat{});
    for (Long w = 1; w <= n - 1; ++w) {
        set.BackForthStats[static_cast<size_t>(w)] = FoldWithMirror(set, mirror, w);
        set.BackForthMaxCov = std::max(set.BackForthMaxCov, set.BackForthStats[static_cast<size_t>(w)].Cov);
    }

    // Products of the line with itself, shifted (Lags) and mirrored (Pairs). Each row is added
    // whole, so the loops run over contiguous memory.
    const std::vector<double> d(set.Deposit.Items.begin(), set.Deposit.Items.end());
    const size_t count = d.size();
    set.Lags.assign(count, 0.0);
    set.Pairs.assign(count > 0 ? 2 * count - 1 : 0, 0.0);
    set.DepositSum = 0;
    for (size_t i = 0; i < count; ++i) {
        const double di = d[i];
        set.DepositSum += di;
        if (di == 0)
            continue;
        double *lag = set.Lags.data();
        for (size_t t = 0; t + i < count; ++t)
            lag[t] += di * d[i + t];
        double *pair = set.Pairs.data() + i;
        for (size_t j = 0; j < count; ++j)
            pair[j] += di * d[j];
    }
}

SwathStat FoldBackForthAtWidth(const SwathSet &set, Long w)
{
    return FoldWithMirror(set, MirroredLine(set), w);
}

void BuildBackForthProfile(SwathSet &set)
{
    const Long w = set.Width;
    const Long passes = set.Passes;
    const BoundedArray<Single> mirror = MirroredLine(set);
    Long lo = set.First();
    Long hi = set.Profile.Empty() ? set.Deposit.Upper() : set.Profile.Upper();
    const Long lastOdd = passes % 2 == 0 ? passes - 1 : passes - 2;
    if (!mirror.Empty() && passes > 1) {
        lo = std::min(lo, mirror.Lower + w);
        hi = std::max(hi, mirror.Upper() + w * lastOdd);
    }
    set.BackForthProfile.Redim(lo, hi);
    for (Long i = 0; i < passes; ++i) {
        const BoundedArray<Single> &line = i % 2 == 0 ? set.Deposit : mirror;
        for (Long j = line.Lower; j <= line.Upper(); ++j)
            set.BackForthProfile[j + w * i] += line[j];
    }
    set.BackForthProfileMax = 0;
    for (const Single v : set.BackForthProfile.Items)
        set.BackForthProfileMax = std::max(set.BackForthProfileMax, v);
}

const std::vector<SwathStat> &PatternStats(const SwathSet &set, SwathPattern pattern)
{
    return pattern == SwathPattern::Racetrack ? set.Stats : set.BackForthStats;
}

Single PatternMaxCov(const SwathSet &set, SwathPattern pattern)
{
    return pattern == SwathPattern::Racetrack ? set.MaxCov : set.BackForthMaxCov;
}

// The sum of the squared bins of a whole-width fold equals the sum over the cards of one pass of
// its deposit times the overlapped deposit at its place: Lags(0) + 2 Lags(w) + 2 Lags(2w) ... for
// racetrack. Between whole widths the other passes' cards fall between card places, and their
// deposit there, read on the straight line between cards, is Lags (or, for a mirrored pass,
// Pairs) read the same way. So every width costs only a pass count of reads.
Single CovAtWidth(const SwathSet &set, SwathPattern pattern, double width)
{
    const double sum = set.DepositSum;
    if (!(width > 1) || !(sum > 0) || set.Lags.empty())
        return 0;
    const double reach = static_cast<double>(set.Lags.size());
    double q = set.Lags[0];
    if (pattern == SwathPattern::Racetrack) {
        for (double shift = width; shift < reach; shift += width)
            q += 2 * Between(set.Lags, shift);
    } else {
        for (double shift = 2 * width; shift < reach; shift += 2 * width)
            q += 2 * Between(set.Lags, shift);
        // An odd pass flown at kw meets the line where index pairs add up to kw - 2 GridOffset.
        const double base = -2.0 * set.GridOffset - 2.0 * static_cast<double>(set.First());
        const double top = static_cast<double>(set.Pairs.size());
        for (double k = 1;; k += 2) {
            const double up = k * width + base;
            const double down = -k * width + base;
            if (up >= top && down <= -1)
                break;
            q += Between(set.Pairs, up) + Between(set.Pairs, down);
        }
    }
    const double mean = sum / width;
    const double variance = std::fabs(q - sum * sum / width) / (width - 1);
    return ToSingle(std::sqrt(variance) / mean);
}

Single CovLimitFraction(double percent)
{
    return ToSingle(percent / 100);
}

EffectiveSwath FindEffectiveSwath(const SwathSet &set, SwathPattern pattern, double limitPercent)
{
    const std::vector<SwathStat> &stats = PatternStats(set, pattern);
    const Single limit = CovLimitFraction(limitPercent);
    const auto widest = static_cast<Long>(stats.size()) - 1;
    for (Long tenths = 10 * widest; tenths > 10; --tenths) {
        const Single cov = tenths % 10 == 0 ? stats[static_cast<size_t>(tenths / 10)].Cov
                                            : CovAtWidth(set, pattern, tenths / 10.0);
        if (cov <= limit)
            return EffectiveSwath{true, tenths / 10.0, cov};
    }
    return {};
}

} // namespace velmara
