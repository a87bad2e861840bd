// The lines in the ini file: section "Line" (the line in the setup and the
// setup's place), "LineScanPlot" (the profile window) and one section "Line1"
// .. "Line8" a line.
#include "analysis/scan_lines.h"
#include "analysis/scan_windows.h"
#include "core/ini_profile.h"
#include "core/platform/platform.h"
#include "core/settings.h"

namespace sv {

namespace {

const char* const kSection = "Line";
const char* const kPlotSection = "LineScanPlot";

std::string SectionOf(int n) { return kSection + std::to_string(n + 1); }

void ReadLine(const Profile& ini, int n, ScanLine& line) {
  const std::string s = SectionOf(n);
  line.X1 = ini.GetInt(s, "X1", 0);
  line.Y1 = ini.GetInt(s, "Y1", 0);
  line.X2 = ini.GetInt(s, "X2", 0);
  line.Y2 = ini.GetInt(s, "Y2", 0);
  LineSetHome(line);
  line.Color = ini.GetInt(s, "Color", DefaultWindowColor(n));
  line.Averaging = LineAveragingRule(ini.GetInt(s, "Averaging", 1));
  line.Mode = ini.GetInt(s, "Mode", 0);
  // Only a window that exists can be followed.
  if (line.Mode < 0 || line.Mode > kWindowCount) line.Mode = 0;
  line.Thickness = LineThicknessRule(ini.GetInt(s, "Thickness", kDefaultThickness));
  line.Enabled = ini.GetInt(s, "enabled", 0) != 0 ? 1 : 0;
  line.Plot = ini.GetInt(s, "plot", 1) != 0 ? 1 : 0;
}

void WriteLine(Profile& ini, int n, const ScanLine& line) {
  const std::string s = SectionOf(n);
  // The home position is what is kept; a linked line comes back to it.
  ini.SetInt(s, "X1", line.X);
  ini.SetInt(s, "Y1", line.Y);
  ini.SetInt(s, "X2", long(line.X) + line.DX);
  ini.SetInt(s, "Y2", long(line.Y) + line.DY);
  ini.SetInt(s, "Color", line.Color);
  ini.SetInt(s, "Averaging", line.Averaging);
  ini.SetInt(s, "Mode", line.Mode);
  ini.SetInt(s, "Thickness", line.Thickness);
  ini.SetInt(s, "enabled", line.Enabled);
  ini.SetInt(s, "plot", line.Plot);
}

}  // namespace

void LinesRead(const Profile& ini) {
  LineGlobals& g = LG();
  const int current = ini.GetInt(kSection, "Scan", -1);
  g.CurrentLine = current >= 0 && current < kLineCount ? current : -1;
  g.Left = ini.GetInt(kSection, "Left", 0);
  g.Top = ini.GetInt(kSection, "Top", 0);
  g.Width = ini.GetInt(kSection, "Width", 0);
  g.Height = ini.GetInt(kSection, "Height", 0);
  g.State = ini.GetInt(kSection, "State", 0);
  g.PlotAuto = ini.GetInt(kPlotSection, "Auto", 1);
  g.PlotLeft = ini.GetInt(kPlotSection, "Left", 0);
  g.PlotTop = ini.GetInt(kPlotSection, "Top", 0);
  g.PlotWidth = ini.GetInt(kPlotSection, "Width", 0);
  g.PlotHeight = ini.GetInt(kPlotSection, "Height", 0);
  for (int n = 0; n < kLineCount; ++n) ReadLine(ini, n, g.ScanLines[size_t(n)]);
}

void LinesWrite(Profile& ini) {
  const LineGlobals& g = LG();
  ini.SetInt(kSection, "Scan", g.CurrentLine);
  ini.SetInt(kSection, "Left", g.Left);
  ini.SetInt(kSection, "Top", g.Top);
  ini.SetInt(kSection, "Width", g.Width);
  ini.SetInt(kSection, "Height", g.Height);
  ini.SetInt(kSection, "State", g.State);
  ini.SetInt(kPlotSection, "Auto", g.PlotAuto);
  ini.SetInt(kPlotSection, "Left", g.PlotLeft);
  ini.SetInt(kPlotSection, "Top", g.PlotTop);
  ini.SetInt(kPlotSection, "Width", g.PlotWidth);
  ini.SetInt(kPlotSection, "Height", g.PlotHeight);
  for (int n = 0; n < kLineCount; ++n) WriteLine(ini, n, g.ScanLines[size_t(n)]);
}

bool LinesLoad(const std::string& path) {
  const bool exists = platform::FileExists(path);
  LinesRead(exists ? Profile::Load(path) : Profile());
  return exists;
}

bool LinesSave(const std::string& path) {
  Profile ini = Profile::Load(path);
  LinesWrite(ini);
  return ini.Save(path);
}

void RegisterLineSettings() {
  for (const SettingsSection& s : SettingsSections())
    if (s.slot == SettingsSlot::Line) return;
  RegisterSettingsSection({SettingsSlot::Line, kSection,
                           [](const Profile& ini) { LinesRead(ini); },
                           [](Profile& ini) { LinesWrite(ini); }});
}

}  // namespace sv
