#pragma once
// The settings store seen through the dialogs' SettingsAccess.

#include "dialogs/settingsaccess.h"

namespace velmara {

class SettingsStore;

class StoreSettingsAccess : public SettingsAccess
{
public:
    explicit StoreSettingsAccess(SettingsStore &store) : mStore(store) {}

    std::string GetSetting(const std::string &section, const std::string &key,
                           const std::string &defaultValue) override;
    // A failed write is reported by the store itself, once.
    void SaveSetting(const std::string &section, const std::string &key,
                     const std::string &value) override;
    void SaveSprayInfo(const Workspace &ws) override;

private:
    SettingsStore &mStore;
};

} // namespace velmara
