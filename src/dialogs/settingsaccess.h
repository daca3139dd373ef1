#pragma once
// The dialogs' only door to the settings store. The desktop program passes an adapter over the
// store of src/settings; tests and the command-line program may pass MemorySettings.

#include "core/workspace.h"

#include <map>
#include <string>
#include <utility>
#include <vector>

namespace velmara {

class SettingsAccess
{
public:
    virtual ~SettingsAccess() = default;
    // The stored text with blanks trimmed; the trimmed default when the key is absent.
    virtual std::string GetSetting(const std::string &section, const std::string &key,
                                   const std::string &defaultValue) = 0;
    // Stores the text; an empty text is stored as one blank, so that it reads back empty.
    virtual void SaveSetting(const std::string &section, const std::string &key,
                             const std::string &value) = 0;
    // Writes the fifteen fields of the spray record, in record order, to section "SprayInfo".
    // This default goes through SaveSetting; an adapter may hand the work to its store instead.
    virtual void SaveSprayInfo(const Workspace &ws);
};

// A store in memory that behaves like the real one (trimming, the blank for an empty text) and
// records every write in order.
class MemorySettings : public SettingsAccess
{
public:
    std::string GetSetting(const std::string &section, const std::string &key,
                           const std::string &defaultValue) override;
    void SaveSetting(const std::string &section, const std::string &key,
                     const std::string &value) override;

    // section + "\\" + key of every write, oldest first.
    const std::vector<std::string> &Writes() const { return mWrites; }
    bool Has(const std::string &section, const std::string &key) const;

private:
    std::map<std::pair<std::string, std::string>, std::string> mValues;
    std::vector<std::string> mWrites;
};

} // namespace velmara
