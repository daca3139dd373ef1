#include "dialogs/settingsaccess.h"

#include "dialogs/sprayinforules.h"

namespace velmara {

namespace {
std::string trimBlanks(const std::string &text)
{
    const size_t first = text.find_first_not_of(' ');
    if (first == std::string::npos)
        return {};
    return text.substr(first, text.find_last_not_of(' ') - first + 1);
}
} // namespace

void SettingsAccess::SaveSprayInfo(const Workspace &ws)
{
    for (int f = 0; f < kSprayFieldCount; ++f) {
        const auto field = static_cast<SprayField>(f);
        SaveSetting("SprayInfo", SprayFieldTable(field).Key, SprayFieldText(ws.Spray, field));
    }
}

std::string MemorySettings::GetSetting(const std::string &section, const std::string &key,
                                       const std::string &defaultValue)
{
    const auto it = mValues.find({section, key});
    return trimBlanks(it == mValues.end() ? defaultValue : it->second);
}

void MemorySettings::SaveSetting(const std::string &section, const std::string &key,
                                 const std::string &value)
{
    mValues[{section, key}] = value.empty() ? std::string(" ") : value;
    mWrites.push_back(section + "\\" + key);
}

bool MemorySettings::Has(const std::string &section, const std::string &key) const
{
    return mValues.count({section, key}) != 0;
}

} // namespace velmara
