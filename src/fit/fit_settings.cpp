#include "fit/fit_settings.h"

#include <cctype>
#include <charconv>
#include <cmath>
#include <cstdlib>

#include "core/ini_profile.h"

namespace sv {

namespace {

// A size that must be above 0: 0, negative or too large for a float gives
// the fallback.
float PositiveOr(float v, float fallback) { return (std::isfinite(v) && v > 0.0f) ? v : fallback; }

}  // namespace

float FitTextToFloat(const std::string& text) {
  size_t i = 0;
  while (i < text.size() && (text[i] == ' ' || text[i] == '\t')) ++i;
  const size_t start = i;
  if (i < text.size() && (text[i] == '+' || text[i] == '-')) ++i;
  size_t digits = 0;
  while (i < text.size() && std::isdigit(static_cast<unsigned char>(text[i]))) ++i, ++digits;
  if (i < text.size() && text[i] == '.') {
    ++i;
    while (i < text.size() && std::isdigit(static_cast<unsigned char>(text[i]))) ++i, ++digits;
  }
  if (digits == 0) return 0.0f;
  if (i < text.size() && (text[i] == 'e' || text[i] == 'E')) {
    size_t j = i + 1;
    if (j < text.size() && (text[j] == '+' || text[j] == '-')) ++j;
    if (j < text.size() && std::isdigit(static_cast<unsigned char>(text[j]))) {
      while (j < text.size() && std::isdigit(static_cast<unsigned char>(text[j]))) ++j;
      i = j;
    }
  }
  const std::string number = text.substr(start, i - start);
  const double v = std::strtod(number.c_str(), nullptr);
  if (!std::isfinite(v) || std::fabs(v) > 3.4e38) return 0.0f;
  return float(v);
}

std::string FitNumberText(float v) {
  char buf[32];
  const auto res = std::to_chars(buf, buf + sizeof buf, v);
  return std::string(buf, res.ptr);
}

FitSettings LoadFitSettings(const std::string& file) {
  return FitSettingsFrom(Profile::Load(ResolveProfilePath(file)));
}

FitSettings FitSettingsFrom(const Profile& p) {
  const char* sec = kFitIniSection;
  FitSettings s;
  auto getFloat = [&](const char* key, float def) {
    const auto text = p.Get(sec, key);
    return text ? FitTextToFloat(text->substr(0, kProfileValueMax)) : def;
  };
  s.Dmax = PositiveOr(getFloat("Dmax", s.Dmax), 1.0e9f);
  s.SOSslope = PositiveOr(getFloat("SOS-slope", s.SOSslope), 0.01f);
  s.DiffStep = PositiveOr(getFloat("DiffStep", s.DiffStep), 0.01f);
  s.minSOS = PositiveOr(getFloat("min-SOS", s.minSOS), 0.001f);
  s.MaxDmpg = p.GetInt(sec, "MaxDmpg", s.MaxDmpg);
  // Beyond about 150 halvings a float step is 0; more would only spin.
  if (s.MaxDmpg < 0 || s.MaxDmpg > 100) s.MaxDmpg = 5;
  s.MaxFun = p.GetInt(sec, "MaxFun", s.MaxFun);
  if (s.MaxFun < 1) s.MaxFun = 100;
  s.FitWght = p.GetInt(sec, "Fit-Wght", s.FitWght);
  if (s.FitWght != 2) s.FitWght = 1;
  const int minCount = p.GetInt(sec, "PeakMinCount", s.PeakMinCount);
  s.PeakMinCount = (minCount < 0 || minCount > 99) ? 0 : minCount;
  s.PeakContrast = p.GetInt(sec, "PeakContrast", s.PeakContrast);
  if (s.PeakContrast < 1 || minCount >= 100) s.PeakContrast = 8;
  s.PeakShape = p.GetInt(sec, "PeakShape", s.PeakShape);
  if (s.PeakShape != 2) s.PeakShape = 1;
  const auto width = p.Get(sec, "PeakWidth");
  if (width) s.PeakWidth = FitTextToFloat(width->substr(0, kProfileValueMax));
  s.Beep = p.GetInt(sec, "Beep", s.Beep);
  return s;
}

bool SaveFitSettings(const FitSettings& s, const std::string& file) {
  Profile p = Profile::Load(ResolveProfilePath(file));
  const char* sec = kFitIniSection;
  p.Set(sec, "Dmax", FitNumberText(s.Dmax));
  p.Set(sec, "SOS-slope", FitNumberText(s.SOSslope));
  p.Set(sec, "DiffStep", FitNumberText(s.DiffStep));
  p.Set(sec, "min-SOS", FitNumberText(s.minSOS));
  p.SetInt(sec, "MaxDmpg", s.MaxDmpg);
  p.SetInt(sec, "MaxFun", s.MaxFun);
  p.SetInt(sec, "Fit-Wght", s.FitWght);
  p.SetInt(sec, "PeakMinCount", s.PeakMinCount);
  p.SetInt(sec, "PeakContrast", s.PeakContrast);
  p.SetInt(sec, "PeakShape", s.PeakShape);
  p.Set(sec, "PeakWidth", FitNumberText(s.PeakWidth));
  p.SetInt(sec, "Beep", s.Beep);
  return SaveProfileTo(p, file);
}

}  // namespace sv
