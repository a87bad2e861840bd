#include "experiment/auger_ramp.h"

#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>

#include "core/ini_profile.h"

namespace sv {

namespace {

constexpr const char* kHead = "SV4200 Auger Ramp File";
constexpr const char* kIntTimeKeys[3] = {"IntTime(Fast)", "IntTime(Normal)", "IntTime(Exact)"};

// The shortest text that reads back to the same float.
std::string FloatText(float v) {
  char buf[64];
  const auto r = std::to_chars(buf, buf + sizeof buf, v);
  return std::string(buf, r.ptr);
}

std::string SweepSection(size_t i) { return "Sweep(" + std::to_string(i + 1) + ")"; }

// A value as a number: leading blanks, then the longest decimal number; no
// number, or a value that is not finite, reads as `def`.
float ReadFloat(const Profile& ini, const std::string& section, const std::string& key, float def) {
  const auto text = ini.Get(section, key);
  if (!text) return def;
  const char* p = text->c_str();
  while (*p == ' ' || *p == '\t') ++p;
  const char* end = text->c_str() + text->size();
  if (p < end && *p == '+') ++p;
  double v = 0;
  const auto r = std::from_chars(p, end, v, std::chars_format::fixed | std::chars_format::scientific);
  if (r.ec != std::errc() || !std::isfinite(v) || std::fabs(v) > 3.0e38) return def;
  return static_cast<float>(v);
}

bool Within(float v, float lo, float hi) { return std::isfinite(v) && v >= lo && v <= hi; }

}  // namespace

std::string AugerRampText(const AugerRamp& ramp) {
  std::string t;
  auto line = [&t](const std::string& s) { t += s + "\r\n"; };
  line(std::string("[") + kHead + "]");
  line("Version=1");
  line("");
  line("[General]");
  line("Iterations=" + std::to_string(ramp.Iterations));
  line("SweepCount=" + std::to_string(ramp.Sweeps.size()));
  line("Delay=" + FloatText(ramp.Delay));
  line("Profile=" + std::to_string(ramp.Profile));
  line("");
  for (size_t i = 0; i < ramp.Sweeps.size(); ++i) {
    const AugerSweep& s = ramp.Sweeps[i];
    line("[" + SweepSection(i) + "]");
    line("From=" + FloatText(s.From));
    line("To=" + FloatText(s.To));
    line("Step=" + FloatText(s.Step));
    for (int p = 0; p < 3; ++p) line(std::string(kIntTimeKeys[p]) + "=" + FloatText(s.IntTime[p]));
    line("");
  }
  line("[EOF]");
  return t;
}

bool ReadAugerRampText(std::string_view text, const AugerLimits& limits, AugerRamp& ramp,
                       std::vector<std::string>& status) {
  const Profile ini = Profile::Parse(std::string(text));
  if (ini.GetInt(kHead, "Version", 0) != 1) return false;
  const int count = ini.GetInt("General", "SweepCount", 0);
  if (count < 0) return false;

  AugerRamp read;
  read.Delay = ReadFloat(ini, "General", "Delay", 0);
  if (read.Delay < 0) read.Delay = 0;
  read.Profile = ini.GetInt("General", "Profile", 1);
  if (read.Profile < 0 || read.Profile > 2) read.Profile = 1;
  read.Iterations = ini.GetInt("General", "Iterations", 1);
  if (read.Iterations < 1 || read.Iterations > kAugerMaxIterations) read.Iterations = 1;

  const int n = count > kAugerMaxSweeps ? kAugerMaxSweeps : count;
  for (int i = 0; i < n; ++i) {
    const std::string sec = SweepSection(static_cast<size_t>(i));
    AugerSweep s;
    bool repaired = false;
    auto energy = [&](const char* key) {
      float v = ReadFloat(ini, sec, key, 0);
      if (v < limits.Min) v = limits.Min, repaired = true;
      if (v > limits.Max) v = limits.Max, repaired = true;
      return v;
    };
    s.From = energy("From");
    s.To = energy("To");
    s.Step = ReadFloat(ini, sec, "Step", 0);
    if (s.Step <= 0) s.Step = 0.1f, repaired = true;
    if (s.Step > limits.Max) s.Step = limits.Max, repaired = true;
    for (int p = 0; p < 3; ++p) {
      float v = ReadFloat(ini, sec, kIntTimeKeys[p], 0);
      if (v < kAugerMinIntTime) v = kAugerMinIntTime, repaired = true;
      if (v > kAugerMaxIntTime) v = kAugerMaxIntTime, repaired = true;
      s.IntTime[p] = v;
    }
    if (repaired) status.push_back("Sweep #" + std::to_string(i + 1) + " repaired!");
    if (CheckAugerSweep(s, s.IntTime[read.Profile], limits).empty()) read.Sweeps.push_back(s);
  }
  ramp.Sweeps = std::move(read.Sweeps);
  ramp.Delay = read.Delay;
  ramp.Profile = read.Profile;
  ramp.Iterations = read.Iterations;
  return true;
}

std::string CheckAugerSweep(const AugerSweep& s, float intTime, const AugerLimits& limits) {
  if (!Within(s.From, limits.Min, limits.Max)) return "Text_Start";
  if (!Within(s.To, limits.Min, limits.Max)) return "Text_Stop";
  if (!std::isfinite(s.Step) || s.Step <= 0 || s.Step > limits.Max) return "Text_Step";
  if (!Within(intTime, kAugerMinIntTime, kAugerMaxIntTime)) return "Text_IntTime";
  return "";
}

long AugerSweepPoints(const AugerSweep& s) {
  if (s.Step == 0 || !std::isfinite(s.Step)) return 0;
  const double q = std::fabs(static_cast<double>(s.To) - s.From) / std::fabs(s.Step);
  if (!std::isfinite(q) || q > 1e9) return 0;
  return static_cast<long>(q) + 1;
}

double AugerIterationTime(const AugerRamp& ramp) {
  const int p = ramp.Profile >= 0 && ramp.Profile <= 2 ? ramp.Profile : 1;
  double t = 0;
  for (const AugerSweep& s : ramp.Sweeps)
    t += (static_cast<double>(s.IntTime[p]) + ramp.Delay) * static_cast<double>(AugerSweepPoints(s));
  return t;
}

std::string AugerTimeText(double seconds) {
  if (!std::isfinite(seconds) || seconds < 0) seconds = 0;
  if (seconds > 1e12) seconds = 1e12;
  const long tenths = std::lround(seconds * 10);
  const long h = tenths / 36000, m = tenths / 600 % 60;
  const double s = static_cast<double>(tenths % 600) / 10;
  char buf[64];
  if (h > 0)
    std::snprintf(buf, sizeof buf, "%ld h %02ld min %04.1f s", h, m, s);
  else if (m > 0)
    std::snprintf(buf, sizeof buf, "%ld min %04.1f s", m, s);
  else
    std::snprintf(buf, sizeof buf, "%.1f s", s);
  return buf;
}

std::string AugerTotalTimeText(const AugerRamp& ramp) {
  const double it = AugerIterationTime(ramp);
  return "Total Scan Time = " + AugerTimeText(it * ramp.Iterations) + " (Time per Iteration = " +
         AugerTimeText(it) + ")";
}

}  // namespace sv
