#pragma once
// What the program reads from the settings store when it starts and writes back when it ends,
// moved between the store and the Workspace.

#include "core/workspace.h"
#include "settings/settingsstore.h"

#include <string>
#include <vector>

namespace velmara {

// Before any window: TempDir from RootDir (see ResolveTempDir), then Metric.
void LoadStartupSettings(Workspace &ws, const SettingsStore &store);

// When the main window is made, in this order: DefaultRes, SpreadFactor0..2, LogAnalysis, Append,
// LogSprayInfo, ShapeThreshold, HueThreshold, ColourScans, UseFileResolution, SplitOverlaps,
// ExtendedResults, CovLimit, the spray record (LoadSprayInfo), InitialDir. A stored text that does
// not read as its type gives the key's default, as does a CovLimit outside 1 to 100.
void LoadPreferences(Workspace &ws, const SettingsStore &store);

// The [Prefs] values that the file holds but LoadPreferences cannot read (no number, a number out
// of range, neither "True" nor "False"), each as Key="text", in the order they are read. Each of
// them gives its key's default, and the exit writes that default over it.
std::vector<std::string> UnreadablePreferences(const SettingsStore &store);
// The desktop program's message about them at start; empty when there are none.
std::string UnreadablePreferencesNotice(const SettingsStore &store);

// The thirteen spray texts other than the two sampler keys, each with an empty default; the two
// sampler fields are emptied, since each run starts without card positions.
void LoadSprayInfo(Workspace &ws, const SettingsStore &store);

// When the main window closes, in this order: DefaultRes, SpreadFactor0..2, LogAnalysis, Append,
// LogSprayInfo, InitialDir, ShapeThreshold, HueThreshold, Metric, then the five later keys in the
// order LoadPreferences reads them. Every key is attempted; returns false when any write failed
// (the store reports the first failure).
bool SavePreferences(const Workspace &ws, SettingsStore &store);

// The fifteen spray keys, in the order of the spray record with Comment last. Returns false when
// any write failed.
bool SaveSprayInfo(const Workspace &ws, SettingsStore &store);

// RootDir with a trailing separator added when it ends in neither "/" nor "\". An empty RootDir
// gives the per-user data folder ("Orvinek/Velmara/" in the user's data location), created when
// missing; when it cannot be created the path is still returned and later writes there fail.
std::string ResolveTempDir(const std::string &rootDir);

} // namespace velmara
