#include "experiment/form_auger.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <fstream>
#include <sstream>
#include <strings.h>

#include "core/host.h"
#include "hardware/energy.h"
#include "plot/form_plot.h"
#include "worksheet/form_worksheet.h"

namespace sv {

namespace {

// The whole text as a finite number (blanks around allowed).
bool Number(const std::string& text, double& v) {
  size_t a = text.find_first_not_of(" \t"), b = text.find_last_not_of(" \t");
  if (a == std::string::npos) return false;
  const char* p = text.data() + a;
  const char* end = text.data() + b + 1;
  if (*p == '+') ++p;
  const auto r = std::from_chars(p, end, v, std::chars_format::fixed | std::chars_format::scientific);
  return r.ec == std::errc() && r.ptr == end && std::isfinite(v) && std::fabs(v) < 3.0e38;
}

std::string ShortName(const std::string& path) {
  const size_t slash = path.find_last_of("/\\");
  return slash == std::string::npos ? path : path.substr(slash + 1);
}

std::string SweepLine(const AugerSweep& s, int profile) {
  return FormatFixed(s.From, 1) + " ... " + FormatFixed(s.To, 1) + " eV, Step " + FormatFixed(s.Step, 2) +
         " eV, " + FormatFixed(s.IntTime[profile], 3) + " s";
}

}  // namespace

Form_Auger::Form_Auger() { Refresh(); }

AugerLimits Form_Auger::Limits() const { return {MinEnergy(DALine::AUGER), MaxEnergy(DALine::AUGER)}; }

bool Form_Auger::Invalid(const char* control) {
  Focus = control;
  host().MsgBox("Invalid Parameter", MsgButtons::OK, MsgIcon::Exclamation, kAugerTitle);
  return false;
}

bool Form_Auger::ReadSweep(AugerSweep& s) {
  const AugerLimits lim = Limits();
  double v = 0;
  Focus.clear();
  if (!Number(Text_Start, v) || v < lim.Min || v > lim.Max) return Invalid("Text_Start");
  s.From = static_cast<float>(v);
  if (!Number(Text_Stop, v) || v < lim.Min || v > lim.Max) return Invalid("Text_Stop");
  s.To = static_cast<float>(v);
  if (!Number(Text_Step, v) || v <= 0 || v > lim.Max) return Invalid("Text_Step");
  s.Step = static_cast<float>(v);
  if (!Number(Text_IntTime, v) || v < kAugerMinIntTime || v > kAugerMaxIntTime) return Invalid("Text_IntTime");
  const int p = Combo_Profile >= 0 && Combo_Profile <= 2 ? Combo_Profile : 1;
  s.IntTime[p] = static_cast<float>(v);
  return true;
}

bool Form_Auger::AddSweep() {
  if (static_cast<int>(ramp_.Sweeps.size()) >= kAugerMaxSweeps) return false;
  AugerSweep s;
  if (List_Index >= 0 && static_cast<size_t>(List_Index) < ramp_.Sweeps.size())
    s = ramp_.Sweeps[static_cast<size_t>(List_Index)];  // the other profiles' times carry over
  if (!ReadSweep(s)) return false;
  ramp_.Sweeps.push_back(s);
  List_Index = static_cast<int>(ramp_.Sweeps.size()) - 1;
  ramp_.Changed = true;
  Refresh();
  return true;
}

bool Form_Auger::EditSweep(int index) {
  if (index < 0 || static_cast<size_t>(index) >= ramp_.Sweeps.size()) return false;
  AugerSweep s = ramp_.Sweeps[static_cast<size_t>(index)];
  if (!ReadSweep(s)) return false;
  ramp_.Sweeps[static_cast<size_t>(index)] = s;
  ramp_.Changed = true;
  Refresh();
  return true;
}

void Form_Auger::RemoveSweep(int index) {
  if (index < 0 || static_cast<size_t>(index) >= ramp_.Sweeps.size()) return;
  ramp_.Sweeps.erase(ramp_.Sweeps.begin() + index);
  if (List_Index >= static_cast<int>(ramp_.Sweeps.size())) List_Index = static_cast<int>(ramp_.Sweeps.size()) - 1;
  ramp_.Changed = true;
  Refresh();
}

void Form_Auger::SelectSweep(int index) {
  if (index < 0 || static_cast<size_t>(index) >= ramp_.Sweeps.size()) return;
  List_Index = index;
  const AugerSweep& s = ramp_.Sweeps[static_cast<size_t>(index)];
  Text_Start = FormatFixed(s.From, 1);
  Text_Stop = FormatFixed(s.To, 1);
  Text_Step = FormatFixed(s.Step, 2);
  Text_IntTime = FormatFixed(s.IntTime[ramp_.Profile], 3);
}

bool Form_Auger::AcceptGeneral() {
  double v = 0;
  Focus.clear();
  if (!Number(Text_Delay, v) || v < 0) return Invalid("Text_Delay");
  const float delay = static_cast<float>(v);
  if (!Number(Text_Iterations, v) || v != std::floor(v) || v < 1 || v > kAugerMaxIterations)
    return Invalid("Text_Iterations");
  const int iterations = static_cast<int>(v);
  const int profile = Combo_Profile >= 0 && Combo_Profile <= 2 ? Combo_Profile : 1;
  if (delay != ramp_.Delay || iterations != ramp_.Iterations || profile != ramp_.Profile) ramp_.Changed = true;
  ramp_.Delay = delay;
  ramp_.Iterations = iterations;
  ramp_.Profile = profile;
  Refresh();
  return true;
}

void Form_Auger::ClearRamp() {
  ramp_.Sweeps.clear();
  List_Index = -1;
  ramp_.Changed = true;
  Refresh();
}

void Form_Auger::DefaultRamp() {
  ramp_ = AugerRamp{};
  AugerSweep sweep;
  sweep.From = 100;
  sweep.To = 1000;
  sweep.Step = 1;
  ramp_.Sweeps.push_back(sweep);
  List_Index = -1;
  SelectSweep(0);
  Text_Delay = "0";
  Text_Iterations = "1";
  Combo_Profile = ramp_.Profile;
  Refresh();
}

std::function<void(const std::string&, const std::string&)>& AugerPrintHook() {
  static std::function<void(const std::string&, const std::string&)> hook;
  return hook;
}

std::string Form_Auger::PrintAugerRamp() {
  static const char* const kProfiles[] = {"Fast", "Normal", "Exact"};
  std::string text = Caption + "\n\n";
  text += "Iterations: " + std::to_string(ramp_.Iterations) + "\n";
  text += "Profile: " + std::string(kProfiles[ramp_.Profile >= 0 && ramp_.Profile < 3 ? ramp_.Profile : 1]) + "\n";
  text += "Delay: " + FormatFixed(ramp_.Delay, 1) + " s\n\n";
  for (size_t i = 0; i < ramp_.Sweeps.size(); ++i)
    text += "Sweep #" + std::to_string(i + 1) + ": " + SweepLine(ramp_.Sweeps[i], ramp_.Profile) + "\n";
  text += "\n" + AugerTotalTimeText(ramp_) + "\n";
  if (AugerPrintHook()) AugerPrintHook()(Caption, text);
  return text;
}

// The name moves to the top of the recent files (names compared in any case).
static void NoteRecentRamp(std::vector<std::string>& list, const std::string& name) {
  if (name.empty()) return;
  auto same = [&name](const std::string& s) { return strcasecmp(s.c_str(), name.c_str()) == 0; };
  list.erase(std::remove_if(list.begin(), list.end(), same), list.end());
  list.insert(list.begin(), name);
  if (list.size() > 4) list.resize(4);
}

bool Form_Auger::LoadRamp(const std::string& path) {
  host().ShowStatus("Load Auger File...(" + path + "\")", -1);
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  if (in) text << in.rdbuf();
  std::vector<std::string> status;
  if (!in || !ReadAugerRampText(text.str(), Limits(), ramp_, status)) {
    host().MsgBox(kAugerInvalidFile, MsgButtons::OK, MsgIcon::Exclamation, kAugerTitle);
    return false;
  }
  for (const std::string& s : status) host().ShowStatus(s, -1);
  ramp_.Filename = path;
  NoteRecentRamp(RecentFiles, path);
  ramp_.Changed = false;
  Text_Delay = FormatFixed(ramp_.Delay, 3);
  Text_Iterations = std::to_string(ramp_.Iterations);
  Combo_Profile = ramp_.Profile;
  List_Index = ramp_.Sweeps.empty() ? -1 : 0;
  if (List_Index == 0) SelectSweep(0);
  Refresh();
  return true;
}

static FileDialog RampDialog(const std::string& title, const std::string& current) {
  FileDialog dlg;
  dlg.title = title;
  dlg.filter = "Auger Ramp (*.rmp)|*.rmp|All Files (*.*)|*.*";
  const size_t slash = current.find_last_of('/');
  if (slash != std::string::npos) {
    dlg.folder = current.substr(0, slash);
    dlg.fileName = current.substr(slash + 1);
  } else {
    dlg.fileName = current;
  }
  return dlg;
}

std::string Form_Auger::GetOpenRampFilename() {
  return host().OpenFileDialog(RampDialog("Open Ramp", ramp_.Filename)).path;
}

std::string Form_Auger::GetSaveRampFilename() {
  std::string path = host().SaveFileDialog(RampDialog("Save Ramp", ramp_.Filename)).path;
  const size_t slash = path.find_last_of('/');
  const std::string base = slash == std::string::npos ? path : path.substr(slash + 1);
  if (!path.empty() && base.find('.') == std::string::npos) path += ".rmp";
  return path;
}

bool Form_Auger::SaveRamp(const std::string& path) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out << AugerRampText(ramp_);
  out.close();
  if (!out) {
    host().MsgBox("Cannot write " + path, MsgButtons::OK, MsgIcon::Exclamation, kAugerTitle);
    return false;
  }
  ramp_.Filename = path;
  NoteRecentRamp(RecentFiles, path);
  ramp_.Changed = false;
  Refresh();
  return true;
}

void Form_Auger::Refresh() {
  List_Sweep.clear();
  for (const AugerSweep& s : ramp_.Sweeps) List_Sweep.push_back(SweepLine(s, ramp_.Profile));
  if (!ramp_.Filename.empty())
    Caption = "Auger Control [" + ShortName(ramp_.Filename) + "]";
  else if (ramp_.Changed)
    Caption = "Auger Control [(untitled)]";
  else
    Caption = "Auger - [(default)]";
  Label_Status = AugerTotalTimeText(ramp_);
}

}  // namespace sv
