// The recorder's sources and names: which grabber input feeds which film,
// the film names, the averaged depth, the text an AVI frame shows, the
// recorder's settings section, and the grabber as the recorder sees it.
#include <algorithm>
#include <cctype>
#include <cstdio>

#include "acquisition/grabber.h"
#include "core/ini_profile.h"
#include "core/settings.h"
#include "video/form_image_vtr.h"

namespace sv {

// --- Video sources ----------------------------------------------------------------------

int VideoSourcesOf(int mode) {
  switch (mode) {
    case 1: case 2: case 3: return 2;
    case 4: return 3;
    default: return 1;
  }
}

long VideoSourceOf(int mode, long film, long current) {
  switch (mode) {
    case 1: return film == 0 ? 0 : 1;
    case 2: return film == 0 ? 0 : 2;
    case 3: return film == 0 ? 1 : 2;
    case 4: return std::clamp(film, 0L, 2L);
    default: return current;
  }
}

long NextVideoSourceOf(int mode, long s) {
  switch (mode) {
    case 1: return s + 1 >= 2 ? 0 : s + 1;
    case 2: return s + 2 >= 3 ? 0 : s + 2;
    case 3: return s + 1 >= 3 ? 1 : s + 1;
    case 4: return s + 1 >= 3 ? 0 : s + 1;
    default: return s;
  }
}

long FilmIndexOf(int mode, long s) {
  switch (mode) {
    case 1: case 4: return s;
    case 2: return s == 0 ? 0 : 1;
    case 3: return s == 1 ? 0 : 1;
    default: return 0;
  }
}

std::string VideoSourceLabel(int mode, long current) {
  std::string text;
  for (int film = 0; film < VideoSourcesOf(mode); ++film) {
    if (film > 0) text += " -> ";
    text += "[" + std::to_string(VideoSourceOf(mode, film, current)) + "]";
  }
  return text;
}

// --- Names and numbers ------------------------------------------------------------------

std::string BuildFilmFilename(const std::string& name, int films, int index) {
  std::string result = name;
  // Only a dot in the file's own name starts an extension.
  const size_t slash = result.find_last_of("/\\");
  const size_t dot = result.rfind('.');
  if (dot != std::string::npos && (slash == std::string::npos || dot > slash)) result.resize(dot);
  if (films > 1) result += "_" + std::to_string(index + 1);
  return result;
}

namespace {

std::string Lower(std::string s) {
  for (char& c : s) c = char(std::tolower(static_cast<unsigned char>(c)));
  return s;
}

}  // namespace

void UpdateLastVIDFileList(std::vector<std::string>& list, const std::string& name) {
  if (name.empty()) return;
  const std::string key = Lower(name);
  list.erase(std::remove_if(list.begin(), list.end(),
                            [&key](const std::string& s) { return Lower(s) == key; }),
             list.end());
  list.insert(list.begin(), name);
  if (list.size() > size_t(kLastVIDFiles)) list.resize(size_t(kLastVIDFiles));
}

long RecorderBits(long grabberBits, long average) {
  long bits = grabberBits;
  // The sum of n frames needs log2 n more bits.
  for (long n = average; n > 1; n /= 2) ++bits;
  return std::min(bits, 16L);
}

std::string FilmFormatText(long width, long height, long bits, bool colour) {
  return std::to_string(width) + " x " + std::to_string(height) + " Pixel x " +
         std::to_string(bits) + " bpp " + (colour ? "RGB" : "B&W");
}

std::string StampLine(const std::vector<std::string>& labels, const std::vector<float>& values) {
  std::string text;
  for (size_t i = 0; i < labels.size() && i < values.size(); ++i) {
    if (i > 0) text += "; ";
    char number[32];
    std::snprintf(number, sizeof number, "%g", double(values[i]));
    text += labels[i] + " = " + number;
  }
  return text;
}

// --- Settings -------------------------------------------------------------------------

namespace {

constexpr const char* kSection = "Experiment VTR";

std::string Join(const std::vector<int16_t>& list) {
  std::string text;
  for (int16_t v : list) {
    if (!text.empty()) text += ',';
    text += std::to_string(v);
  }
  return text;
}

std::vector<int16_t> Split(const std::string& text) {
  std::vector<int16_t> list;
  size_t i = 0;
  while (i < text.size()) {
    size_t end = text.find(',', i);
    if (end == std::string::npos) end = text.size();
    const std::string piece = text.substr(i, end - i);
    char* stop = nullptr;
    const long v = std::strtol(piece.c_str(), &stop, 10);
    if (stop != piece.c_str() && v >= 0 && v < kADChannelMax &&
        std::find(list.begin(), list.end(), int16_t(v)) == list.end())
      list.push_back(int16_t(v));
    i = end + 1;
  }
  return list;
}

double Number(const Profile& ini, const char* key, double fallback) {
  std::string text = ini.GetString(kSection, key, "");
  for (char& c : text)
    if (c == ',') c = '.';
  char* end = nullptr;
  const double v = std::strtod(text.c_str(), &end);
  return end == text.c_str() ? fallback : v;
}

std::string Text(double v) {
  char text[32];
  std::snprintf(text, sizeof text, "%g", v);
  return text;
}

}  // namespace

VTRSettings& VTR() {
  static VTRSettings settings;
  return settings;
}

void ResetVTRSettings() { VTR() = VTRSettings(); }

void ReadVTRSettings(const Profile& ini) {
  VTRSettings& v = VTR();
  v = VTRSettings();
  v.ExperimentType = ini.GetInt(kSection, "Type", kExperimentIt) == kExperimentIE ? kExperimentIE
                                                                                 : kExperimentIt;
  // Times in seconds in the file, ms held.
  const auto ms = [&ini](const char* key, double fallback) {
    const double s = Number(ini, key, fallback);
    return int32_t(std::clamp(s * 1000.0, 0.0, 2.0e9));
  };
  v.tStart = ms("t-Start", 0);
  v.tStop = ms("t-Stop", 60);
  v.tStep = ms("t-Step", 0);
  v.DwellTime = float(ms("DwellTime", 0));
  v.EStart = float(Number(ini, "E-Start", 20));
  v.EStop = float(Number(ini, "E-Stop", 100));
  v.EStep = float(Number(ini, "E-Step", 1));
  const long average = ini.GetInt(kSection, "Average", 1);
  v.Average = 1;
  while (v.Average * 2 <= std::min(average, 256L)) v.Average *= 2;
  v.UserSweep = ini.GetInt(kSection, "User", 0);
  v.SweepFile = ini.GetString(kSection, "SweepFile", "");
  v.Channels = Split(ini.GetString(kSection, "AD", ""));
  v.PlotChannels = Split(ini.GetString(kSection, "ADPlot", ""));
  v.ADScan = ini.GetInt(kSection, "ADScan", 0);
  v.AutoSave = ini.GetInt(kSection, "Auto Save", 0);
  v.FlushBuffer = ini.GetInt(kSection, "Flush Buffer", 0);
  v.UpdateWorksheet = ini.GetInt(kSection, "Update Worksheet", 0);
  v.VideoSource = std::clamp<int32_t>(ini.GetInt(kSection, "VideoSource", 0), 0, kVideoSourceModes - 1);
  v.Filename = ini.GetString(kSection, "File", "");
  v.SettleTime = std::clamp<int32_t>(ini.GetInt(kSection, "SettleTime", 100), 0, 10000);
  // Read from the last to the first, so that File1 ends on top.
  for (int i = kLastVIDFiles; i >= 1; --i)
    UpdateLastVIDFileList(v.LastFiles, ini.GetString(kSection, "File" + std::to_string(i), ""));
}

void WriteVTRSettings(Profile& ini) {
  const VTRSettings& v = VTR();
  ini.SetInt(kSection, "Type", v.ExperimentType);
  ini.Set(kSection, "t-Start", Text(v.tStart / 1000.0));
  ini.Set(kSection, "t-Stop", Text(v.tStop / 1000.0));
  ini.Set(kSection, "t-Step", Text(v.tStep / 1000.0));
  ini.Set(kSection, "DwellTime", Text(v.DwellTime / 1000.0));
  ini.Set(kSection, "E-Start", Text(v.EStart));
  ini.Set(kSection, "E-Stop", Text(v.EStop));
  ini.Set(kSection, "E-Step", Text(v.EStep));
  ini.SetInt(kSection, "Average", v.Average);
  ini.SetInt(kSection, "User", v.UserSweep);
  ini.Set(kSection, "SweepFile", v.SweepFile);
  ini.Set(kSection, "AD", Join(v.Channels));
  ini.Set(kSection, "ADPlot", Join(v.PlotChannels));
  ini.SetInt(kSection, "ADScan", v.ADScan);
  ini.SetInt(kSection, "Auto Save", v.AutoSave);
  ini.SetInt(kSection, "Flush Buffer", v.FlushBuffer);
  ini.SetInt(kSection, "Update Worksheet", v.UpdateWorksheet);
  ini.SetInt(kSection, "VideoSource", v.VideoSource);
  ini.Set(kSection, "File", v.Filename);
  ini.SetInt(kSection, "SettleTime", v.SettleTime);
  for (int i = 1; i <= kLastVIDFiles; ++i)
    ini.Set(kSection, "File" + std::to_string(i),
            size_t(i) <= v.LastFiles.size() ? v.LastFiles[size_t(i - 1)] : "");
}

void RegisterVTRSettings() {
  for (const SettingsSection& s : SettingsSections())
    if (s.slot == SettingsSlot::Film && s.name == kSection) return;
  RegisterSettingsSection({SettingsSlot::Film, kSection,
                           [](const Profile& ini) { ReadVTRSettings(ini); },
                           [](Profile& ini) { WriteVTRSettings(ini); }});
}

// --- The grabber ----------------------------------------------------------------------

long VTRGrabber::Inputs() { return std::max(1L, GrabberInputs()); }
long VTRGrabber::Input() { return GB().GrabberSource; }
bool VTRGrabber::SelectInput(long input) {
  if (input == GB().GrabberSource) return true;
  return GrabberInput(input);
}
long VTRGrabber::Width() { return GrabberWidth() > 0 ? GrabberWidth() : kDummyWidth; }
long VTRGrabber::Height() { return GrabberHeight() > 0 ? GrabberHeight() : kDummyHeight; }
long VTRGrabber::Bits() { return GrabberBitsPerPixel(); }
bool VTRGrabber::IsColor() { return GrabberIsColor(); }
long VTRGrabber::Read(Samples16 dest) {
  const long r = GrabberReadImage(dest);
  // No sync: the dummy's picture, so that the film never stands still without notice.
  if (r == kGrabberNoSync) return DummyReadImage(dest);
  return r;
}
long VTRGrabber::SettleMs() {
  // The dummy switches at once; a camera's new input needs its frames to settle.
  return GB().GrabberDriver == kDriverDummy || GB().GrabberDriver == kDriverNone ? 0 : VTR().SettleTime;
}

namespace {
VTRGrabber g_barGrabber;
VTRGrabber* g_grabber = nullptr;
}  // namespace

VTRGrabber& RecorderGrabber() { return g_grabber ? *g_grabber : g_barGrabber; }
void SetRecorderGrabber(VTRGrabber* grabber) { g_grabber = grabber; }

}  // namespace sv
