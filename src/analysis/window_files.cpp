// The windows in ini and ".par" files: section "Window" with key "Scan" for
// the selected window, then one section "Window1" .. "Window8" a window.
#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>

#include "analysis/scan_windows.h"
#include "core/globals.h"
#include "core/ini_profile.h"
#include "core/platform/platform.h"
#include "core/settings.h"

namespace sv {

namespace {

const char* const kSection = "Window";
const char* const kScanKey = "Scan";

std::string SectionOf(int n) { return kSection + std::to_string(n + 1); }

// A single as the Windows profile reader takes it: the leading number
// of the text (blanks, sign, digits, a point, digits, an exponent), 0 when
// there is none or it lies beyond the range of a single, either way. A decimal comma
// counts as a point.
float ProfileTextToSingle(std::string text) {
  if (text.size() > kProfileValueMax) text.resize(kProfileValueMax);
  std::replace(text.begin(), text.end(), ',', '.');
  size_t i = text.find_first_not_of(" \t");
  if (i == std::string::npos) return 0;
  const size_t start = i;
  if (text[i] == '+' || text[i] == '-') ++i;
  auto digits = [&] {
    size_t n = 0;
    while (i < text.size() && text[i] >= '0' && text[i] <= '9') ++i, ++n;
    return n;
  };
  size_t mantissa = digits();
  if (i < text.size() && text[i] == '.') {
    ++i;
    mantissa += digits();
  }
  if (mantissa == 0) return 0;
  size_t end = i;
  if (i < text.size() && (text[i] == 'e' || text[i] == 'E')) {
    ++i;
    if (i < text.size() && (text[i] == '+' || text[i] == '-')) ++i;
    if (digits() > 0) end = i;
  }
  std::string number = text.substr(start, end - start);
  if (number[0] == '+') number.erase(0, 1);
  // Straight to a single: rounding through a double could miss by one.
  float v = 0;
  auto [ptr, ec] = std::from_chars(number.data(), number.data() + number.size(), v);
  if (ec != std::errc() || !std::isfinite(v)) return 0;
  return v;
}

float GetSingle(const Profile& ini, const std::string& section, const std::string& key,
                float def) {
  const std::optional<std::string> text = ini.Get(section, key);
  return text ? ProfileTextToSingle(*text) : def;
}

bool ShapesOn() { return G().ExtendedShapes != 0; }

void ReadWindow(const Profile& ini, int n, ScanWindow& w) {
  const std::string s = SectionOf(n);
  w.X1 = ini.GetInt(s, "X1", 0);
  w.Y1 = ini.GetInt(s, "Y1", 0);
  w.W = ini.GetInt(s, "W", 0);
  w.H = ini.GetInt(s, "H", 0);
  w.Shape = kShapeRectangle;
  if (ShapesOn()) {
    const int shape = ini.GetInt(s, "Shape", 0);
    // A shape the list does not have is a rectangle.
    if (shape >= kShapeRectangle && shape <= kShapeCircle) w.Shape = int16_t(shape);
  }
  w.DynamicSize = ini.GetInt(s, "DynamicSize", 0) == 1 ? 1 : 0;
  w.W0 = GetSingle(ini, s, "W0", 100.0f);
  w.H0 = GetSingle(ini, s, "H0", 100.0f);
  w.RGBColor = ini.GetInt(s, "RGBColor", DefaultWindowColor(n));
  w.Averaging = ini.GetInt(s, "Averaging", 1);
  w.Mode = ini.GetInt(s, "Mode", kModeFixed);
  w.Threshold = ini.GetInt(s, "Threshold", 10);
  w.Select = ini.GetInt(s, "Select", 0) == 1 ? 1 : 0;
  w.Plot = ini.GetInt(s, "Plot", 1);
  if (w.Plot < 0 || w.Plot > 5) w.Plot = 1;
  WindowSum& sum = w.Sum;
  sum.N = GetSingle(ini, s, "N", 0);
  sum.E = GetSingle(ini, s, "Sum.E", 0);
  sum.E2 = GetSingle(ini, s, "Sum.E2", 0);
  sum.X = GetSingle(ini, s, "Sum.X", 0);
  sum.EX = GetSingle(ini, s, "Sum.EX", 0);
  sum.Y = GetSingle(ini, s, "Sum.Y", 0);
  sum.EY = GetSingle(ini, s, "Sum.EY", 0);
  sum.Energy1 = GetSingle(ini, s, "Sum.Energy1", 0);
  sum.Energy2 = GetSingle(ini, s, "Sum.Energy2", 0);
  if (sum.N <= 0) SumClear(sum);
  w.Locked = ini.GetInt(s, "Locked", 0) != 0 ? 1 : 0;
}

void WriteWindow(Profile& ini, int n, const ScanWindow& w) {
  const std::string s = SectionOf(n);
  ini.SetInt(s, "X1", w.X1);
  ini.SetInt(s, "Y1", w.Y1);
  ini.SetInt(s, "W", w.W);
  ini.SetInt(s, "H", w.H);
  if (ShapesOn()) ini.SetInt(s, "Shape", w.Shape);
  ini.SetInt(s, "DynamicSize", w.DynamicSize);
  ini.Set(s, "W0", SingleText(w.W0));
  ini.Set(s, "H0", SingleText(w.H0));
  ini.SetInt(s, "RGBColor", w.RGBColor);
  ini.SetInt(s, "Averaging", w.Averaging);
  ini.SetInt(s, "Mode", w.Mode);
  ini.SetInt(s, "Threshold", w.Threshold);
  ini.SetInt(s, "Select", w.Select);
  ini.SetInt(s, "Plot", w.Plot);
  const WindowSum& sum = w.Sum;
  ini.Set(s, "N", SingleText(sum.N));
  ini.Set(s, "Sum.E", SingleText(sum.E));
  ini.Set(s, "Sum.E2", SingleText(sum.E2));
  ini.Set(s, "Sum.X", SingleText(sum.X));
  ini.Set(s, "Sum.EX", SingleText(sum.EX));
  ini.Set(s, "Sum.Y", SingleText(sum.Y));
  ini.Set(s, "Sum.EY", SingleText(sum.EY));
  ini.Set(s, "Sum.Energy1", SingleText(sum.Energy1));
  ini.Set(s, "Sum.Energy2", SingleText(sum.Energy2));
  ini.SetInt(s, "Locked", w.Locked);
}

}  // namespace

std::string SingleText(float value) {
  // Neither infinity nor NaN reads back; they are written as nothing held.
  if (!std::isfinite(value)) return "0.0";
  if (value == 0) return "0.0";  // and no "-0.0"
  // The shortest digits that read back to the same single, without an
  // exponent, so that any reader takes the whole number.
  char buf[80];
  auto [ptr, ec] = std::to_chars(buf, buf + sizeof buf, value, std::chars_format::fixed);
  if (ec != std::errc()) return "0.0";
  std::string text(buf, ptr);
  if (text.find('.') == std::string::npos) text += ".0";
  return text;
}

void WindowsRead(const Profile& ini) {
  WindowGlobals& g = WG();
  g.ExtendedShapes = ShapesOn();
  const int current = ini.GetInt(kSection, kScanKey, -1);
  // Only a window that exists can be the selected one.
  g.CurrentWindow = current >= 0 && current < kWindowCount ? current : -1;
  for (int n = 0; n < kWindowCount; ++n) ReadWindow(ini, n, g.ScanWindows[size_t(n)]);
}

void WindowsWrite(Profile& ini) {
  WindowGlobals& g = WG();
  g.ExtendedShapes = ShapesOn();
  ini.SetInt(kSection, kScanKey, g.CurrentWindow);
  for (int n = 0; n < kWindowCount; ++n) WriteWindow(ini, n, g.ScanWindows[size_t(n)]);
}

bool WindowsLoad(const std::string& path) {
  const bool exists = platform::FileExists(path);
  WindowsRead(exists ? Profile::Load(path) : Profile());
  return exists;
}

bool WindowsSave(const std::string& path) {
  // Lines of the file that are not the windows' stay as they are.
  Profile ini = Profile::Load(path);
  WindowsWrite(ini);
  return ini.Save(path);
}

void RegisterWindowSettings() {
  for (const SettingsSection& s : SettingsSections())
    if (s.slot == SettingsSlot::Window) return;
  RegisterSettingsSection({SettingsSlot::Window, kSection,
                           [](const Profile& ini) { WindowsRead(ini); },
                           [](Profile& ini) { WindowsWrite(ini); }});
}

}  // namespace sv
