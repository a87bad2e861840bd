// "PEAKFIT.INI", section "Fit": the fit and peak-search settings.
#pragma once

#include <string>

#include "fit/fit_engine.h"

namespace sv {

class Profile;

inline constexpr const char* kFitIniFile = "PEAKFIT.INI";
inline constexpr const char* kFitIniSection = "Fit";

// Reads the settings; a missing key gives its default, a value out of its
// range the key's fallback. The file name follows the profile rules (a bare
// name lives in the per-user config folder).
FitSettings LoadFitSettings(const std::string& file = kFitIniFile);
// The same from a profile already read.
FitSettings FitSettingsFrom(const Profile& profile);
// Writes every key; false when the file cannot be written.
bool SaveFitSettings(const FitSettings& s, const std::string& file = kFitIniFile);

// A float as the settings show it, the shortest text that reads back the same.
std::string FitNumberText(float v);
// The number at the start of a text ("" or text 0; too large for a float 0).
float FitTextToFloat(const std::string& text);

}  // namespace sv
