// Any bytes as a settings file (after the first, which picks a key). The text form either refuses
// them or gives a document in which a value, once set, reads back unchanged, also after the
// document is written out and read again; and the store reads the file's keys without failing.

#include "fuzzfile.h"
#include "settings/inidocument.h"
#include "settings/settingkeys.h"
#include "settings/settingsstore.h"

#include <cstdlib>
#include <iterator>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, size_t size)
{
    using namespace velmara;
    if (size < 1)
        return 0;
    // One key of each kind: a number, a flag, free text, a path, one outside every section.
    static const SettingKey kKeys[] = {SettingKeys::DefaultRes, SettingKeys::SpreadFactor1, SettingKeys::Metric,
                                       SettingKeys::AC_Swath, SettingKeys::Comment, SettingKeys::RootDir,
                                       SettingKey{"", "Stray", ""}};
    const SettingKey &key = kKeys[data[0] % std::size(kKeys)];
    const std::string_view bytes(reinterpret_cast<const char *>(data + 1), size - 1);

    if (std::optional<IniDocument> doc = IniDocument::parse(bytes)) {
        // The value: any ASCII, control characters, quotes and backslashes included.
        std::string value(bytes.substr(0, 40));
        for (char &c : value)
            c = static_cast<char>(c & 0x7F);
        doc->setValue(key.section, key.key, value);
        if (doc->value(key.section, key.key) != value)
            std::abort();
        const std::optional<IniDocument> again = IniDocument::parse(doc->serialize());
        if (!again || again->value(key.section, key.key) != value)
            std::abort();
    }

    SettingsStore store(QString::fromStdString(fuzz::WriteInput("settings.ini", data + 1, size - 1)));
    for (const SettingKey &k : kKeys) {
        store.GetSetting(k.section, k.key, k.defaultText);
        store.readInteger(k.section, k.key, k.defaultText);
        store.readDouble(k.section, k.key, k.defaultText);
        store.readBool(k.section, k.key, k.defaultText);
    }
    return 0;
}
