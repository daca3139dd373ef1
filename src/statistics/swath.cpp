#include "statistics/swath.h"

#include "statistics/swathpatterns.h"
#include "statistics/textvalue.h"

#include <cmath>
#include <exception>
#include <system_error>
#include <thread>

namespace velmara {

namespace {

// Single by Single division as the desktop BASIC reports its failures: x / 0 is a division by
// zero, 0 / 0 an overflow.
Single DivideSingles(Single a, Single b)
{
    if (b == 0)
        throw Failure(a == 0 ? kOverflow : kDivisionByZero);
    return ToSingle(static_cast<double>(a) / b);
}

// Below this a second thread costs more than it saves.
constexpr Long kCardsWorthAThread = 500;

} // namespace

Long ChooseSwathWidth(const SwathSet &set, Long n)
{
    for (Long w = n - 2; w >= 1; --w)
        if (set.Stats[w + 1].Cov > kCovThreshold && set.Stats[w].Cov <= kCovThreshold)
            return w;
    return n - 1;
}

Single GridQuotient(const Workspace &ws)
{
    return DivideSingles(TextToSingle(ws.Spray.Sample_Position1), TextToSingle(ws.Spray.Sample_Interval));
}

Long SwathFirst(const Workspace &ws)
{
    const Single q = GridQuotient(ws);
    const double t = std::trunc(static_cast<double>(q));
    if (!(t >= -2147483648.0 && t <= 2147483647.0))
        throw Failure(kOverflow);
    return static_cast<Long>(t);
}

void BuildSwathTables(Workspace &ws)
{
    const Long first = SwathFirst(ws);
    const Long n = ws.CardCount();
    for (int s = 1; s <= 2; ++s)
        ws.SwathSets[s].Deposit.Redim(first, first + n - 1);
    for (Long i = 1; i <= n; ++i) {
        const size_t k = static_cast<size_t>(i);
        const CardStats line = k < ws.LineStats.size() ? ws.LineStats[k] : CardStats{};
        ws.SwathSets[1].Deposit[first + i - 1] = ToSingle(line.VolumeDensity);
        ws.SwathSets[2].Deposit[first + i - 1] = ToSingle(line.DropDensity);
    }
    const Single q = GridQuotient(ws);
    // Each set's tables take time in the square of the cards; the two sets share nothing, so on a
    // long line they are built side by side.
    const auto build = [&ws, n, q](int s) {
        SwathSet &set = ws.SwathSets[s];
        set.MaxCov = 0;
        set.Stats.assign(static_cast<size_t>(n > 1 ? n : 1), SwathStat{});
        for (Long w = 1; w <= n - 1; ++w) {
            set.Stats[w] = FoldAtWidth(ws, s, w);
            if (set.Stats[w].Cov > set.MaxCov)
                set.MaxCov = set.Stats[w].Cov;
        }
        if (set.Width == 0)
            set.Width = ChooseSwathWidth(set, n);
        BuildBackForthTables(ws, s, q - std::trunc(q));
    };
    std::thread second;
    std::exception_ptr secondFailed;
    if (n >= kCardsWorthAThread) {
        try {
            second = std::thread([&] {
                try {
                    build(2);
                } catch (...) {
                    secondFailed = std::current_exception();
                }
            });
        } catch (const std::system_error &) {
            // Then this thread builds both.
        }
    }
    std::exception_ptr firstFailed;
    try {
        build(1);
    } catch (...) {
        firstFailed = std::current_exception();
    }
    if (second.joinable())
        second.join();
    else if (!firstFailed)
        build(2);
    if (firstFailed)
        std::rethrow_exception(firstFailed);
    if (secondFailed)
        std::rethrow_exception(secondFailed);
}

SwathStat FoldAtWidth(const Workspace &ws, int setIndex, Long w)
{
    const SwathSet &set = ws.SwathSets[setIndex];
    const Long first = set.First();
    const Long last = set.Deposit.Upper();
    std::vector<Single> bins(static_cast<size_t>(w > 0 ? w : 0) + 1, 0.0f);
    Single low = 1000000;
    Single high = 0;
    Single sum = 0;
    for (Long j = 1; j <= w; ++j) {
        Single &bin = bins[static_cast<size_t>(j)];
        for (Long k = first + j - 1; k <= last; k += w)
            bin += set.Deposit[k];
        if (bin > high)
            high = bin;
        if (bin < low)
            low = bin;
        sum += bin;
    }
    SwathStat r;
    r.Mean = w > 0 ? ToSingle(static_cast<double>(sum) / w) : 0;
    r.Cov = r.Mean > 0 ? ToSingle(static_cast<double>(SampleStdDev(bins)) / r.Mean) : 0;
    r.Max = high;
    r.Min = low;
    return r;
}

Single SampleStdDev(const std::vector<Single> &values)
{
    const long long m = static_cast<long long>(values.size()) - 1;
    if (m <= 1)
        return 0;
    Single s = 0;
    Single q = 0;
    for (long long i = 1; i <= m; ++i) {
        const double v = values[static_cast<size_t>(i)];
        s = ToSingle(s + v);
        q = ToSingle(q + v * v);
    }
    const double dm = static_cast<double>(m);
    const double spread = std::fabs(dm * q - static_cast<double>(s) * s);
    return ToSingle(std::sqrt(spread / (dm * (dm - 1))));
}

void BuildOverlapProfile(Workspace &ws, int setIndex)
{
    SwathSet &set = ws.SwathSets[setIndex];
    const Long n = ws.CardCount();
    const Long w = set.Width;
    const Long first = set.First();
    if (w == 0)
        throw Failure(kDivisionByZero);
    // 0.49999, not 0.5: ten cards at width 3 give 3.49999, so 3 passes, raised to the minimum 5.
    Long passes = CLng(static_cast<double>(n - 1) / w + 0.49999);
    if (passes < 5)
        passes = 5;
    set.Passes = passes;
    Long e = n + first - w;
    if (e < 0)
        e = 0;
    set.Profile.Redim(first, w * passes + e);
    for (Long i = 0; i < passes; ++i)
        for (Long j = first; j <= set.Deposit.Upper(); ++j)
            set.Profile[j + w * i] += set.Deposit[j];
    set.ProfileMax = 0;
    for (const Single v : set.Profile.Items)
        if (v > set.ProfileMax)
            set.ProfileMax = v;
    BuildBackForthProfile(set);
}

Single RateFactorForWidth(const Workspace &ws, Long w)
{
    const std::string &swathText = ws.Spray.AC_Swath;
    if (swathText.empty())
        return 1;
    const Single swath = TextToSingle(swathText);
    if (!(swath > 0))
        return 1;
    const Single interval = TextToSingle(ws.Spray.Sample_Interval);
    return ToSingle(static_cast<double>(interval) * w / swath);
}

Single SwathRateFactor(const Workspace &ws, int setIndex)
{
    return RateFactorForWidth(ws, ws.SwathSets[setIndex].Width);
}

} // namespace velmara
