#include "shell/storesettingsaccess.h"

#include "settings/preferences.h"
#include "settings/settingsstore.h"

namespace velmara {

std::string StoreSettingsAccess::GetSetting(const std::string &section, const std::string &key,
                                            const std::string &defaultValue)
{
    return mStore.GetSetting(section, key, defaultValue);
}

void StoreSettingsAccess::SaveSetting(const std::string &section, const std::string &key,
                                      const std::string &value)
{
    mStore.SaveSetting(section, key, value);
}

void StoreSettingsAccess::SaveSprayInfo(const Workspace &ws) { velmara::SaveSprayInfo(ws, mStore); }

} // namespace velmara
