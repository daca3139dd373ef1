#include "reports/resultsfile.h"

#include "core/numberform.h"
#include "core/textout.h"
#include "reports/columnwriter.h"
#include "reports/scanlog.h"
#include "statistics/range.h"
#include "statistics/spectrum.h"
#include "statistics/swath.h"
#include "statistics/swathpatterns.h"
#include "statistics/textvalue.h"

#include <algorithm>
#include <cmath>
#include <initializer_list>
#include <utility>

namespace velmara {

namespace {

const char *const kSubscriptOutOfRange = "Subscript out of range";

// Everything the sections read, taken once before the file is opened.
struct Inputs
{
    SizeStats T;
    bool ranged = false;
    Single depositFactor = 0;
    UnitTexts units;
    Single interval = 0;
    Single offset = 0;
    std::vector<Single> rate; // R(i), i from 1 to n - 1
    std::string cardForm;     // position form of the card and profile tables
    std::string swathForm;    // position form of the swath table
    Long profileLow = 0;
    Long profileHigh = -1;
};

bool EndsInZero(const std::string &text) { return !text.empty() && text.back() == '0'; }

// Sample_Position1 / Sample_Interval less its whole part, keeping the quotient's sign. The
// quotient is a Single; x / 0 fails as a division by zero, 0 / 0 as an overflow.
Single LineOffset(const SprayInfo &spray)
{
    const Single first = TextToSingle(spray.Sample_Position1);
    const Single interval = TextToSingle(spray.Sample_Interval);
    if (interval == 0)
        throw Failure(first == 0 ? kOverflow : kDivisionByZero);
    const Single q = ToSingle(static_cast<double>(first) / interval);
    return q - std::trunc(q);
}

Inputs Gather(Workspace &ws)
{
    Inputs in;
    const int n = ws.CardCount();
    in.units = UnitTextsFor(ws.Metric);
    in.depositFactor = ws.DepositFactor[static_cast<size_t>(ws.UnitIndex())];
    in.rate.assign(static_cast<size_t>(std::max(n, 1)), 1.0f);
    for (int i = 1; i <= n - 1; ++i)
        in.rate[static_cast<size_t>(i)] = RateFactorForWidth(ws, i);
    in.ranged = RangeSelected(ws);
    in.T = in.ranged ? ws.CompositeRange : ws.CompositeAll;
    BuildOverlapProfile(ws, 1);
    BuildOverlapProfile(ws, 2);
    in.profileLow = ws.SwathSets[1].Profile.Lower;
    in.profileHigh = std::max(ws.SwathSets[1].Profile.Upper(), ws.SwathSets[2].Profile.Upper());
    in.interval = TextToSingle(ws.Spray.Sample_Interval);
    in.offset = LineOffset(ws.Spray);
    // The test is on the texts as typed: "10" and "2.0" pass, "12" and "2.5" do not.
    in.cardForm = EndsInZero(ws.Spray.Sample_Position1) && EndsInZero(ws.Spray.Sample_Interval)
        ? "0"
        : "0.0";
    in.swathForm = EndsInZero(ws.Spray.Sample_Interval) ? "0" : "0.0";
    return in;
}

Single ProfileAt(const SwathSet &set, Long index)
{
    const auto &p = set.Profile;
    return !p.Empty() && index >= p.Lower && index <= p.Upper() ? p[index] : 0.0f;
}

SwathStat StatAt(const SwathSet &set, Long w)
{
    return w >= 1 && w < static_cast<Long>(set.Stats.size()) ? set.Stats[w] : SwathStat{};
}

// Writes through a ColumnWriter and turns the first failure of the file into a Failure, so the
// sections read as a plain list of lines and one handler at the top reports.
class ResultsWriter
{
public:
    ResultsWriter(TextOut &out, Workspace &ws, const Inputs &in, ResultsFormat format, char sep)
        : mOut(out), mW(out), mWs(ws), mIn(in), mCsv(format == ResultsFormat::Csv), mSep(sep)
    {
    }

    void writeAll()
    {
        writeOpening();
        writeSpray();
        writeResults();
        writeCards();
        writeSizeTable();
        writeSwathTable();
        writeProfiles();
        if (mWs.ExtendedResults) {
            writeSpectrum();
            writeSwathPatterns();
        }
        if (mCsv)
            line();
    }

private:
    void check(bool ok)
    {
        if (!ok)
            throw Failure(mOut.errorString());
    }
    void line(std::string_view text = {}) { check(mW.line(text)); }
    void dashes(int n) { check(mW.dashes(n)); }
    void at(int column, std::string_view text) { check(mW.textAt(column, text)); }
    void endingAt(int column, std::string_view text) { check(mW.textEndingAt(column, text)); }
    void endLine() { check(mW.endLine()); }

    std::string num(double v, const char *form) const { return FormatNumber(v, form, mSep); }
    std::string num(Single v, const char *form) const { return FormatNumber(v, form, mSep); }

    void labelled(std::string_view label, std::string_view value)
    {
        if (mCsv) {
            line(std::string(label) + ",," + std::string(value));
        } else {
            check(mW.text(label) && mW.tab(25) && mW.text(value));
            endLine();
        }
    }

    static std::string Joined(std::initializer_list<std::string> fields)
    {
        std::string s;
        bool first = true;
        for (const std::string &f : fields) {
            if (!first)
                s += ',';
            s += f;
            first = false;
        }
        return s;
    }

    void writeOpening()
    {
        line("Velmara -- Orvinek Droplet Analysis Program");
        line("Swath Deposit Analysis");
        dashes(50);
        line();
        line("Spray Information:");
        dashes(18);
    }

    std::string spreadFactorText() const
    {
        const auto &f = mWs.SpreadFactor;
        // A coefficient of exactly 0 takes the minus branch: "0 + 0.56d - 0d²".
        auto term = [&](double c) {
            return c > 0 ? " + " + GeneralDouble(c, mSep)
                         : " - " + GeneralDouble(std::fabs(c), mSep);
        };
        return GeneralDouble(f[0], mSep) + term(f[1]) + "d" + term(f[2]) + "d²";
    }

    void writeSpray()
    {
        const SprayInfo &s = mWs.Spray;
        const UnitTexts &u = mIn.units;
        labelled("Aircraft Type:", s.AC_Type);
        labelled("Aircraft Registration:", s.AC_Registration);
        labelled("Aircraft Owner:", s.AC_Owner);
        labelled("Aircraft Swath:", s.AC_Swath + " " + u.Length);
        labelled("Aircraft Speed:", s.AC_Speed + " " + u.Speed);
        labelled("Aircraft Height:", s.AC_Height + " " + u.Length);
        labelled("Product Sprayed:", s.Spray_Product);
        labelled("Active Rate:", s.Spray_ActiveRate + " " + u.Rate);
        labelled("Spray Rate:", s.Spray_SprayRate + " " + u.Rate);
        labelled("Nozzles:", s.Nozzle_Number + "× " + s.Nozzle_Type);
        labelled("Analysis Device:", s.Sampler_Type);
        labelled("Spread Factor:", spreadFactorText());
        labelled("Sampler1 Position:", s.Sample_Position1 + " " + u.Length);
        labelled("Sampler Separation:", s.Sample_Interval + " " + u.Length);
        labelled("Comment:", s.Comment);
    }

    void writeResults()
    {
        dashes(50);
        line();
        line("Results:");
        dashes(8);
        const SizeStats &T = mIn.T;
        // A composite without a single stain has no row at all: the file stops here.
        if (T.Classes.empty())
            throw Failure(kSubscriptOutOfRange);
        const std::string whole = "0.00 -- " + num(T.Classes.back().Diameter, "0.00") + " µm";
        labelled("Droplet Size Range:", whole);
        const std::string selected =
            num(mWs.RangeLow, "0.00") + " -- " + num(mWs.RangeHigh, "0.00") + " µm";
        labelled("Selected Size Range:", mIn.ranged ? selected : whole);
        labelled("Drop Roundness:", FormatNumber(mWs.ShapeThreshold, "0", mSep));
        labelled("% Valid Hues:", FormatNumber(mWs.HueThreshold, "0", mSep));
        labelled("Composite VMD:", num(T.Stats.Vmd, "0.00") + (mCsv ? "µm" : " µm"));
        labelled("Ave. Drop Density:", num(T.Stats.DropDensity, "0.00") + " drops/cm²");
        const double deposit = static_cast<double>(mIn.depositFactor) * T.Stats.VolumeDensity;
        labelled("Ave. Volume Density:", num(T.Stats.VolumeDensity, "0.00") + " nL/cm²" + " = "
                                             + num(deposit, "0.000") + " " + mIn.units.Rate);
        line();
        line();
    }

    void writeCards()
    {
        const UnitTexts &u = mIn.units;
        if (mCsv) {
            line("Card,Position,VMD,Drop Density,Deposit Volume,Filename");
            line(",(" + u.Length + "),(µm),(#/cm²),(" + u.Rate + ")");
        } else {
            at(1, "Card");
            at(8, "Position");
            at(19, "VMD");
            at(27, "Drop Density");
            at(42, "Deposit Volume");
            at(59, "Filename");
            endLine();
            at(10, "(" + u.Length + ")");
            at(19, "(µm)");
            at(30, "(#/cm²)");
            endingAt(51, "(" + u.Rate + ")");
            endLine();
        }
        for (int i = 1; i <= mWs.CardCount(); ++i) {
            const CardImage &card = mWs.Card(i);
            if (!card.Scanned)
                continue;
            const CardStats s = static_cast<size_t>(i) < mWs.LineStats.size() ? mWs.LineStats[i]
                                                                               : CardStats{};
            const std::string position = num(card.Position, mIn.cardForm.c_str());
            const double deposit = static_cast<double>(mIn.depositFactor) * s.VolumeDensity;
            if (mCsv) {
                line(Joined({GeneralDouble(i, mSep), position, num(s.Vmd, "0.0"),
                             num(s.DropDensity, "0.00"), num(deposit, "0.00"), card.FileName}));
            } else {
                endingAt(3, FormatNumber(i, "0", mSep));
                endingAt(14, position);
                endingAt(23, num(s.Vmd, "0.00"));
                endingAt(35, num(s.DropDensity, "0.00"));
                endingAt(50, num(deposit, "0.000"));
                at(59, card.FileName);
                endLine();
            }
        }
        line();
        line();
    }

    void writeSizeTable()
    {
        if (mCsv) {
            line("Diameter,Count,Volume,Cumulative,Drop Density,Number,Cumulative");
            line("(µm),,Fraction%,V.F. (%),(#/cm²),Fraction%,N.F. (%)");
        } else {
            at(2, "Diameter");
            at(14, "Count");
            at(26, "Volume");
            at(39, "Cumulative");
            at(53, "Drop Density");
            at(70, "Number");
            at(82, "Cumulative");
            endLine();
            at(4, "(µm)");
            at(25, "Fraction%");
            at(40, "V.F. (%)");
            at(55, "(#/cm²)");
            at(69, "Fraction%");
            at(83, "N.F. (%)");
            endLine();
        }
        const SizeStats &T = mIn.T;
        for (size_t i = 1; i < T.Classes.size(); ++i) {
            const SizeClass &r = T.Classes[i];
            // The products by 100 are Singles, the density a Double.
            const Single vf = r.VolumeFraction * 100;
            const Single cvf = r.CumVolumeFraction * 100;
            const Single nf = r.NumberFraction * 100;
            const Single cnf = r.CumNumberFraction * 100;
            const double density = r.Count / T.AreaCm2;
            if (mCsv) {
                line(Joined({num(r.Diameter, "0.00"), GeneralDouble(r.Count, mSep), num(vf, "0.00"),
                             num(cvf, "0.00"), num(density, "0.000"), num(nf, "0.00"),
                             num(cnf, "0.00")}));
            } else {
                const int shortLength = static_cast<int>(num(r.Diameter, "0.00").size());
                at(9 - shortLength, num(r.Diameter, "0.000"));
                check(mW.numberEndingAt(17, r.Count));
                endingAt(30, num(vf, "0.00"));
                endingAt(45, num(cvf, "0.00"));
                endingAt(60, num(density, "0.000"));
                endingAt(75, num(nf, "0.00"));
                endingAt(89, num(cnf, "0.00"));
                endLine();
            }
        }
        line();
        line();
    }

    void writeSwathTable()
    {
        const UnitTexts &u = mIn.units;
        line("Swath Analysis:");
        dashes(15);
        if (mCsv) {
            line("Swath,,-------,Deposit,(" + u.Rate
                 + "),-------,,-------,Drop Density,(#/cm²),-------");
            line("Width (" + u.Length + "),,COV,Mean,Max,Min,,COV,Mean,Max,Min");
        } else {
            at(1, "  Swath");
            at(13, "------ Deposit (" + u.Rate + ") ------");
            at(47, "--- Drop Density (#/cm²) ---");
            endLine();
            at(1, "Width (" + u.Length + ")");
            at(14, "COV");
            at(21, "Mean");
            at(30, "Max");
            at(38, "Min");
            at(48, "COV");
            at(55, "Mean");
            at(64, "Max");
            at(72, "Min");
            endLine();
        }
        const SwathSet &deposit = mWs.SwathSets[1];
        const SwathSet &density = mWs.SwathSets[2];
        const char *marker = mCsv ? "        *****" : "***";
        for (Long i = 1; i <= mWs.CardCount() - 1; ++i) {
            const SwathStat a = StatAt(deposit, i);
            const SwathStat b = StatAt(density, i);
            const Single r = mIn.rate[static_cast<size_t>(i)];
            // Single by Single products, each rounded to Single as the table's values are.
            const Single df = mIn.depositFactor;
            const std::string fields[11] = {
                num(ToSingle(static_cast<double>(mIn.interval) * i), mIn.swathForm.c_str()),
                i == deposit.Width ? marker : "",
                num(a.Cov, "0.00"),
                num(df * a.Mean * r, "0.00"),
                num(df * a.Max * r, "0.00"),
                num(df * a.Min * r, "0.00"),
                i == density.Width ? marker : "",
                num(b.Cov, "0.00"),
                num(b.Mean * r, "0.00"),
                num(b.Max * r, "0.00"),
                num(b.Min * r, "0.00"),
            };
            if (mCsv) {
                std::string s = fields[0];
                for (int k = 1; k < 11; ++k)
                    s += "," + fields[k];
                line(s);
            } else {
                static constexpr int kEnds[11] = {6, 12, 16, 24, 32, 40, 46, 50, 58, 66, 74};
                for (int k = 0; k < 11; ++k)
                    endingAt(kEnds[k], fields[k]);
                endLine();
            }
        }
        line();
    }

    void writeProfiles()
    {
        const UnitTexts &u = mIn.units;
        const SwathSet &deposit = mWs.SwathSets[1];
        const SwathSet &density = mWs.SwathSets[2];
        const char *form = mIn.cardForm.c_str();
        auto block = [&](const SwathSet &set) {
            const Single size = ToSingle(static_cast<double>(mIn.interval) * set.Width);
            return num(ToSingle(static_cast<double>(size) * set.Passes), form);
        };
        if (mCsv) {
            line("Multiswath Profiles");
            line("Block Size:,0-" + block(deposit) + u.Length + ",0-" + block(density) + u.Length);
            line();
            line("Position,Deposit,Drop Density");
            line("(" + u.Length + "),(" + u.Rate + "),(#/cm²)");
        } else {
            line("Multiswath Profiles:");
            line("--------------------");
            at(1, "Block Size:");
            at(13, "0-" + block(deposit) + u.Length);
            at(24, "0-" + block(density) + u.Length);
            endLine();
            line();
            at(1, "Position");
            at(12, "Deposit");
            at(22, "Drop Density");
            endLine();
            at(1, "  (" + u.Length + ")");
            at(13, "(" + u.Rate + ")");
            at(24, "(#/cm²)");
            endLine();
        }
        for (Long index = mIn.profileLow; index <= mIn.profileHigh; ++index) {
            const Single place = ToSingle(static_cast<double>(mIn.offset) + index);
            const std::string position =
                num(ToSingle(static_cast<double>(place) * mIn.interval), form);
            const std::string a = num(mIn.depositFactor * ProfileAt(deposit, index), "0.000");
            const std::string b = num(ProfileAt(density, index), "0.000");
            if (mCsv) {
                line(position + "," + a + "," + b);
            } else {
                endingAt(7, position);
                endingAt(18, a);
                endingAt(30, b);
                endLine();
            }
        }
    }

    // One row per scanned card, inside the range when one is selected as the card table takes
    // them, and one for the composite.
    void writeSpectrum()
    {
        line();
        line();
        if (mCsv) {
            line("Spectrum Summary");
            line("Card,Dv0.1,Dv0.5,Dv0.9,Relative Span,NMD,Coverage,Volume <100µm,Volume <150µm,Volume <200µm,Filename");
            line(",(µm),(µm),(µm),,(µm),(%),(%),(%),(%)");
        } else {
            line("Spectrum Summary:");
            dashes(17);
            at(1, "Card");
            static constexpr std::pair<int, const char *> kTitles[] = {
                {12, "Dv0.1"}, {21, "Dv0.5"}, {30, "Dv0.9"}, {37, "Span"}, {46, "NMD"},
                {56, "Coverage"}, {65, "Vol<100"}, {74, "Vol<150"}, {83, "Vol<200"}};
            for (const auto &[end, title] : kTitles)
                endingAt(end, title);
            at(86, "Filename");
            endLine();
            for (const int end : {12, 21, 30, 46})
                endingAt(end, "(µm)");
            for (const int end : {56, 65, 74, 83})
                endingAt(end, "(%)");
            endLine();
        }
        for (int i = 1; i <= mWs.CardCount(); ++i) {
            if (mWs.Card(i).Scanned)
                spectrumRow(FormatNumber(i, "0", mSep), CardSpectrum(mWs, i, mIn.ranged), mWs.Card(i).FileName);
        }
        spectrumRow("", CompositeSpectrum(mWs, mIn.ranged), "Composite");
    }

    void spectrumRow(const std::string &card, const SpectrumFigures &f, const std::string &name)
    {
        const std::string fields[9] = {
            num(f.Dv10, "0.00"),           num(f.Dv50, "0.00"),
            num(f.Dv90, "0.00"),           num(f.RelativeSpan, "0.00"),
            num(f.Nmd, "0.00"),            num(f.CoveragePercent, "0.00"),
            num(f.VolumeBelow100 * 100, "0.00"), num(f.VolumeBelow150 * 100, "0.00"),
            num(f.VolumeBelow200 * 100, "0.00"),
        };
        if (mCsv) {
            std::string s = card;
            for (const std::string &field : fields)
                s += "," + field;
            line(s + "," + name);
            return;
        }
        if (!card.empty())
            endingAt(3, card);
        static constexpr int kEnds[9] = {12, 21, 30, 37, 46, 56, 65, 74, 83};
        for (int k = 0; k < 9; ++k)
            endingAt(kEnds[k], fields[k]);
        at(86, name);
        endLine();
    }

    // Both ways of flying the line: the COV at every whole width, then the effective swath of
    // each pattern and set at the COV limit.
    void writeSwathPatterns()
    {
        const UnitTexts &u = mIn.units;
        const SwathSet &deposit = mWs.SwathSets[1];
        const SwathSet &density = mWs.SwathSets[2];
        line();
        line();
        line(mCsv ? "Swath Patterns" : "Swath Patterns:");
        if (!mCsv)
            dashes(15);
        if (mCsv) {
            line("Swath,Deposit COV,,Drop Density COV,");
            line("Width (" + u.Length + "),Racetrack,Back and Forth,Racetrack,Back and Forth");
        } else {
            at(1, "  Swath");
            at(12, "------ Deposit COV ------");
            at(40, "---- Drop Density COV ----");
            endLine();
            at(1, "Width (" + u.Length + ")");
            at(12, "Racetrack");
            at(23, "Back and Forth");
            at(40, "Racetrack");
            at(51, "Back and Forth");
            endLine();
        }
        auto cov = [&](const std::vector<SwathStat> &stats, Long w) {
            return num(w >= 1 && w < static_cast<Long>(stats.size()) ? stats[static_cast<size_t>(w)].Cov : 0.0f,
                       "0.00");
        };
        for (Long i = 1; i <= mWs.CardCount() - 1; ++i) {
            const std::string fields[5] = {num(ToSingle(static_cast<double>(mIn.interval) * i), mIn.swathForm.c_str()),
                                           cov(deposit.Stats, i), cov(deposit.BackForthStats, i),
                                           cov(density.Stats, i), cov(density.BackForthStats, i)};
            if (mCsv) {
                line(Joined({fields[0], fields[1], fields[2], fields[3], fields[4]}));
            } else {
                static constexpr int kEnds[5] = {6, 20, 34, 48, 62};
                for (int k = 0; k < 5; ++k)
                    endingAt(kEnds[k], fields[k]);
                endLine();
            }
        }
        line();
        line(mCsv ? "Effective Swath" : "Effective Swath:");
        labelled("COV Limit:", num(mWs.CovLimit, "0.0#") + " %");
        if (mCsv) {
            line("Pattern,Deposit (" + u.Length + "),COV,Drop Density (" + u.Length + "),COV");
        } else {
            at(1, "Pattern");
            at(18, "Deposit (" + u.Length + ")");
            at(32, "COV");
            at(40, "Drop Density (" + u.Length + ")");
            at(59, "COV");
            endLine();
        }
        for (const auto &[pattern, name] : {std::pair(SwathPattern::Racetrack, "Racetrack"),
                                            std::pair(SwathPattern::BackAndForth, "Back and Forth")}) {
            std::string fields[4];
            for (int s = 0; s < 2; ++s) {
                const EffectiveSwath e = FindEffectiveSwath(s == 0 ? deposit : density, pattern, mWs.CovLimit);
                fields[2 * s] = e.Found ? num(ToSingle(static_cast<double>(mIn.interval) * e.Width), "0.0#") : "None";
                fields[2 * s + 1] = e.Found ? num(e.Cov, "0.00") : "";
            }
            if (mCsv) {
                line(Joined({name, fields[0], fields[1], fields[2], fields[3]}));
            } else {
                at(1, name);
                static constexpr int kEnds[4] = {28, 36, 55, 63};
                for (int k = 0; k < 4; ++k)
                    if (!fields[k].empty())
                        endingAt(kEnds[k], fields[k]);
                endLine();
            }
        }
    }

    TextOut &mOut;
    ColumnWriter mW;
    Workspace &mWs;
    const Inputs &mIn;
    bool mCsv;
    char mSep;
};

ResultsFileResult Failed(const std::string &error)
{
    ResultsFileResult r;
    r.Ok = false;
    r.Error = error;
    r.Message = kResultsFileErrorLead + error;
    return r;
}

} // namespace

ResultsFileResult WriteResultsFile(Workspace &ws, const std::string &path, ResultsFormat format,
                                   char decimalSeparator)
{
    TextOut out;
    try {
        const Inputs in = Gather(ws);
        if (!out.open(path, TextOut::Mode::Overwrite))
            return Failed(out.errorString());
        ResultsWriter(out, ws, in, format, decimalSeparator).writeAll();
    } catch (const Failure &f) {
        out.close();
        return Failed(f.what());
    } catch (const std::out_of_range &) {
        out.close();
        return Failed(kSubscriptOutOfRange);
    }
    if (!out.close())
        return Failed(out.errorString());
    return {};
}

SizeRangeLogsResult AppendSizeRangeRecords(Workspace &ws, char decimalSeparator)
{
    SizeRangeLogsResult result;
    if (!ws.LogAnalysis || !RangeSelected(ws))
        return result;
    const ScanLog log(ws, decimalSeparator);
    for (int i = 1; i <= ws.CardCount(); ++i) {
        if (!ws.Card(i).Scanned)
            continue;
        CalcSingleRange(ws, i);
        const ScanLogResult r = log.writeSizeRangeRecord(i);
        if (!r.Ok) {
            result.Ok = false;
            result.Error = r.Error;
            result.Message = kResultsFileErrorLead + r.Error;
            return result;
        }
        result.Cards.push_back(i);
        result.Paths.push_back(r.Path);
    }
    return result;
}

} // namespace velmara
