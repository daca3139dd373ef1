#pragma once
// Every key of the settings store with its section and default text. No other key exists.

namespace velmara {

struct SettingKey
{
    const char *section;
    const char *key;
    const char *defaultText;
};

namespace SettingKeys {

// Section "Settings".
inline constexpr SettingKey RootDir{"Settings", "RootDir", ""};
inline constexpr SettingKey InitialDir{"Settings", "InitialDir", "C:"};
inline constexpr SettingKey TemplateName{"Settings", "TemplateName", "<Default>"};
inline constexpr SettingKey TemplateNumH{"Settings", "TemplateNumH", "3"};
inline constexpr SettingKey TemplateNumV{"Settings", "TemplateNumV", "3"};
inline constexpr SettingKey TemplateSizeH{"Settings", "TemplateSizeH", "1.75"};
inline constexpr SettingKey TemplateSizeV{"Settings", "TemplateSizeV", "2.75"};
inline constexpr SettingKey TemplateSpaceH{"Settings", "TemplateSpaceH", "0.25"};
inline constexpr SettingKey TemplateSpaceV{"Settings", "TemplateSpaceV", "0.375"};

// Section "Prefs".
inline constexpr SettingKey Metric{"Prefs", "Metric", "True"};
inline constexpr SettingKey DefaultRes{"Prefs", "DefaultRes", "1200"};
inline constexpr SettingKey SpreadFactor0{"Prefs", "SpreadFactor0", "0.00"};
inline constexpr SettingKey SpreadFactor1{"Prefs", "SpreadFactor1", "0.56"};
inline constexpr SettingKey SpreadFactor2{"Prefs", "SpreadFactor2", "0.00"};
inline constexpr SettingKey LogAnalysis{"Prefs", "LogAnalysis", "True"};
inline constexpr SettingKey Append{"Prefs", "Append", "False"};
inline constexpr SettingKey LogSprayInfo{"Prefs", "LogSprayInfo", "False"};
inline constexpr SettingKey ShapeThreshold{"Prefs", "ShapeThreshold", "100"};
inline constexpr SettingKey HueThreshold{"Prefs", "HueThreshold", "0"};
// Beyond the classic analysis; all off by default, which leaves every output as it was.
inline constexpr SettingKey ColourScans{"Prefs", "ColourScans", "False"};
inline constexpr SettingKey UseFileResolution{"Prefs", "UseFileResolution", "False"};
inline constexpr SettingKey SplitOverlaps{"Prefs", "SplitOverlaps", "False"};
inline constexpr SettingKey ExtendedResults{"Prefs", "ExtendedResults", "False"};
// Percent, 1 to 100; a stored value outside that range reads as the default.
inline constexpr SettingKey CovLimit{"Prefs", "CovLimit", "25"};

// Section "SprayInfo": all plain text, empty by default. The card position dialog reads the two
// sampler keys with its own defaults, "-50" and "10".
inline constexpr SettingKey AC_Type{"SprayInfo", "AC_Type", ""};
inline constexpr SettingKey AC_Registration{"SprayInfo", "AC_Registration", ""};
inline constexpr SettingKey AC_Owner{"SprayInfo", "AC_Owner", ""};
inline constexpr SettingKey AC_Swath{"SprayInfo", "AC_Swath", ""};
inline constexpr SettingKey AC_Speed{"SprayInfo", "AC_Speed", ""};
inline constexpr SettingKey AC_Height{"SprayInfo", "AC_Height", ""};
inline constexpr SettingKey Spray_Product{"SprayInfo", "Spray_Product", ""};
inline constexpr SettingKey Spray_ActiveRate{"SprayInfo", "Spray_ActiveRate", ""};
inline constexpr SettingKey Spray_SprayRate{"SprayInfo", "Spray_SprayRate", ""};
inline constexpr SettingKey Nozzle_Type{"SprayInfo", "Nozzle_Type", ""};
inline constexpr SettingKey Nozzle_Number{"SprayInfo", "Nozzle_Number", ""};
inline constexpr SettingKey Sampler_Type{"SprayInfo", "Sampler_Type", ""};
inline constexpr SettingKey Sample_Position1{"SprayInfo", "Sample_Position1", ""};
inline constexpr SettingKey Sample_Interval{"SprayInfo", "Sample_Interval", ""};
inline constexpr SettingKey Comment{"SprayInfo", "Comment", ""};

inline constexpr const char *CardPositionDefaultPosition1 = "-50";
inline constexpr const char *CardPositionDefaultInterval = "10";

} // namespace SettingKeys

} // namespace velmara
