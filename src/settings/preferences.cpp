#include "settings/preferences.h"

#include "settings/settingkeys.h"

#include <QDir>
#include <QStandardPaths>

#include <array>

namespace velmara {

namespace {

std::string get(const SettingsStore &store, const SettingKey &k)
{
    return store.GetSetting(k.section, k.key, k.defaultText);
}

bool readBool(const SettingsStore &store, const SettingKey &k)
{
    return store.readBool(k.section, k.key, k.defaultText);
}

double readDouble(const SettingsStore &store, const SettingKey &k)
{
    return store.readDouble(k.section, k.key, k.defaultText);
}

// The spray record's fields in the order they are stored, Comment last.
using SprayField = std::string SprayInfo::*;
struct SprayEntry
{
    const SettingKey &key;
    SprayField field;
};

const std::array<SprayEntry, 15> &sprayEntries()
{
    namespace K = SettingKeys;
    static const std::array<SprayEntry, 15> entries{{
        {K::AC_Type, &SprayInfo::AC_Type},
        {K::AC_Registration, &SprayInfo::AC_Registration},
        {K::AC_Owner, &SprayInfo::AC_Owner},
        {K::AC_Swath, &SprayInfo::AC_Swath},
        {K::AC_Speed, &SprayInfo::AC_Speed},
        {K::AC_Height, &SprayInfo::AC_Height},
        {K::Spray_Product, &SprayInfo::Spray_Product},
        {K::Spray_ActiveRate, &SprayInfo::Spray_ActiveRate},
        {K::Spray_SprayRate, &SprayInfo::Spray_SprayRate},
        {K::Nozzle_Type, &SprayInfo::Nozzle_Type},
        {K::Nozzle_Number, &SprayInfo::Nozzle_Number},
        {K::Sampler_Type, &SprayInfo::Sampler_Type},
        {K::Sample_Position1, &SprayInfo::Sample_Position1},
        {K::Sample_Interval, &SprayInfo::Sample_Interval},
        {K::Comment, &SprayInfo::Comment},
    }};
    return entries;
}

// How LoadPreferences reads each typed key of section "Prefs", in its order.
enum class ValueKind { Bool, Integer, Byte, Double, CovLimit };
struct TypedKey
{
    const SettingKey &key;
    ValueKind kind;
};

const std::array<TypedKey, 15> &typedPreferences()
{
    namespace K = SettingKeys;
    using V = ValueKind;
    static const std::array<TypedKey, 15> keys{{
        {K::Metric, V::Bool}, {K::DefaultRes, V::Integer}, {K::SpreadFactor0, V::Double},
        {K::SpreadFactor1, V::Double}, {K::SpreadFactor2, V::Double}, {K::LogAnalysis, V::Bool},
        {K::Append, V::Bool}, {K::LogSprayInfo, V::Bool}, {K::ShapeThreshold, V::Byte},
        {K::HueThreshold, V::Byte}, {K::ColourScans, V::Bool}, {K::UseFileResolution, V::Bool},
        {K::SplitOverlaps, V::Bool}, {K::ExtendedResults, V::Bool}, {K::CovLimit, V::CovLimit},
    }};
    return keys;
}

bool isSamplerKey(const SettingKey &k)
{
    return &k == &SettingKeys::Sample_Position1 || &k == &SettingKeys::Sample_Interval;
}

} // namespace

std::vector<std::string> UnreadablePreferences(const SettingsStore &store)
{
    std::vector<std::string> bad;
    for (const TypedKey &t : typedPreferences()) {
        const char *s = t.key.section;
        const char *k = t.key.key;
        const std::string text = store.GetSetting(s, k, "");
        if (text != store.GetSetting(s, k, "?"))
            continue; // not in the file
        // A text that reads gives its own value whatever the default; one that does not gives
        // the default.
        bool unreadable = false;
        switch (t.kind) {
        case ValueKind::Bool: unreadable = store.readBool(s, k, "True") != store.readBool(s, k, "False"); break;
        case ValueKind::Integer: unreadable = store.readInteger(s, k, "1") != store.readInteger(s, k, "2"); break;
        case ValueKind::Byte: unreadable = store.readByte(s, k, "1") != store.readByte(s, k, "2"); break;
        case ValueKind::Double: unreadable = store.readDouble(s, k, "1") != store.readDouble(s, k, "2"); break;
        case ValueKind::CovLimit: {
            const double v = store.readDouble(s, k, "0");
            unreadable = !(v >= 1 && v <= 100);
            break;
        }
        }
        if (unreadable)
            bad.push_back(std::string(k) + "=" + SettingsStore::quoted(text));
    }
    return bad;
}

std::string UnreadablePreferencesNotice(const SettingsStore &store)
{
    const std::vector<std::string> bad = UnreadablePreferences(store);
    if (bad.empty())
        return {};
    std::string list;
    for (size_t i = 0; i < bad.size(); ++i)
        list += (i == 0 ? "" : i + 1 == bad.size() ? " and " : ", ") + bad[i];
    const bool one = bad.size() == 1;
    return "The settings file '" + QDir::toNativeSeparators(store.filePath()).toStdString() + "' holds "
           + (one ? "a value" : "values") + " that cannot be read: " + list + ".\r\r"
           + (one ? "Its default is" : "Their defaults are") + " used, and saved in "
           + (one ? "its" : "their") + " place when the program ends.";
}

std::string ResolveTempDir(const std::string &rootDir)
{
    if (rootDir.empty()) {
        const QString folder = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation)
                               + QStringLiteral("/Orvinek/Velmara/");
        QDir().mkpath(folder);
        return QDir::toNativeSeparators(folder).toStdString();
    }
    const char last = rootDir.back();
    if (last == '/' || last == '\\')
        return rootDir;
    return rootDir + QDir::separator().toLatin1();
}

void LoadStartupSettings(Workspace &ws, const SettingsStore &store)
{
    ws.TempDir = ResolveTempDir(get(store, SettingKeys::RootDir));
    ws.Metric = readBool(store, SettingKeys::Metric);
}

void LoadPreferences(Workspace &ws, const SettingsStore &store)
{
    namespace K = SettingKeys;
    ws.DefaultRes = store.readInteger(K::DefaultRes.section, K::DefaultRes.key, K::DefaultRes.defaultText);
    ws.SpreadFactor[0] = readDouble(store, K::SpreadFactor0);
    ws.SpreadFactor[1] = readDouble(store, K::SpreadFactor1);
    ws.SpreadFactor[2] = readDouble(store, K::SpreadFactor2);
    ws.LogAnalysis = readBool(store, K::LogAnalysis);
    ws.Append = readBool(store, K::Append);
    ws.LogSprayInfo = readBool(store, K::LogSprayInfo);
    ws.ShapeThreshold = static_cast<Byte>(
        store.readByte(K::ShapeThreshold.section, K::ShapeThreshold.key, K::ShapeThreshold.defaultText));
    ws.HueThreshold = static_cast<Byte>(
        store.readByte(K::HueThreshold.section, K::HueThreshold.key, K::HueThreshold.defaultText));
    ws.ColourScans = readBool(store, K::ColourScans);
    ws.UseFileResolution = readBool(store, K::UseFileResolution);
    ws.SplitOverlaps = readBool(store, K::SplitOverlaps);
    ws.ExtendedResults = readBool(store, K::ExtendedResults);
    ws.CovLimit = readDouble(store, K::CovLimit);
    // The dialog takes 1 to 100; a limit outside that would make every width pass, or none.
    if (!(ws.CovLimit >= 1 && ws.CovLimit <= 100))
        store.parseNumber(K::CovLimit.defaultText, ws.CovLimit);
    LoadSprayInfo(ws, store);
    ws.InitialDir = get(store, K::InitialDir);
}

void LoadSprayInfo(Workspace &ws, const SettingsStore &store)
{
    for (const SprayEntry &e : sprayEntries()) {
        if (isSamplerKey(e.key))
            ws.Spray.*e.field = std::string();
        else
            ws.Spray.*e.field = get(store, e.key);
    }
}

bool SavePreferences(const Workspace &ws, SettingsStore &store)
{
    namespace K = SettingKeys;
    bool ok = true;
    ok &= store.saveInteger(K::DefaultRes.section, K::DefaultRes.key, ws.DefaultRes);
    ok &= store.saveDouble(K::SpreadFactor0.section, K::SpreadFactor0.key, ws.SpreadFactor[0]);
    ok &= store.saveDouble(K::SpreadFactor1.section, K::SpreadFactor1.key, ws.SpreadFactor[1]);
    ok &= store.saveDouble(K::SpreadFactor2.section, K::SpreadFactor2.key, ws.SpreadFactor[2]);
    ok &= store.saveBool(K::LogAnalysis.section, K::LogAnalysis.key, ws.LogAnalysis);
    ok &= store.saveBool(K::Append.section, K::Append.key, ws.Append);
    ok &= store.saveBool(K::LogSprayInfo.section, K::LogSprayInfo.key, ws.LogSprayInfo);
    ok &= store.SaveSetting(K::InitialDir.section, K::InitialDir.key, ws.InitialDir);
    ok &= store.saveInteger(K::ShapeThreshold.section, K::ShapeThreshold.key, ws.ShapeThreshold);
    ok &= store.saveInteger(K::HueThreshold.section, K::HueThreshold.key, ws.HueThreshold);
    ok &= store.saveBool(K::Metric.section, K::Metric.key, ws.Metric);
    ok &= store.saveBool(K::ColourScans.section, K::ColourScans.key, ws.ColourScans);
    ok &= store.saveBool(K::UseFileResolution.section, K::UseFileResolution.key, ws.UseFileResolution);
    ok &= store.saveBool(K::SplitOverlaps.section, K::SplitOverlaps.key, ws.SplitOverlaps);
    ok &= store.saveBool(K::ExtendedResults.section, K::ExtendedResults.key, ws.ExtendedResults);
    ok &= store.saveDouble(K::CovLimit.section, K::CovLimit.key, ws.CovLimit);
    return ok;
}

bool SaveSprayInfo(const Workspace &ws, SettingsStore &store)
{
    bool ok = true;
    for (const SprayEntry &e : sprayEntries())
        ok &= store.SaveSetting(e.key.section, e.key.key, ws.Spray.*e.field);
    return ok;
}

} // namespace velmara
