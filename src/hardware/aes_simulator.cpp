#include "hardware/aes_simulator.h"

#include <charconv>
#include <cmath>
#include <fstream>
#include <sstream>

#include "core/globals.h"
#include "core/settings.h"
#include "hardware/hardware.h"

namespace sv {

namespace {

bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\r'; }

std::string_view Trim(std::string_view s) {
  while (!s.empty() && IsBlank(s.front())) s.remove_prefix(1);
  while (!s.empty() && IsBlank(s.back())) s.remove_suffix(1);
  return s;
}

// The whole field as a finite number within float range.
bool ParseNumber(std::string_view s, float& out) {
  s = Trim(s);
  if (!s.empty() && s.front() == '+') s.remove_prefix(1);
  if (s.empty()) return false;
  double v = 0;
  const auto r = std::from_chars(s.data(), s.data() + s.size(), v,
                                 std::chars_format::fixed | std::chars_format::scientific);
  if (r.ec != std::errc() || r.ptr != s.data() + s.size()) return false;
  if (!std::isfinite(v) || std::fabs(v) > 3.0e38) return false;
  out = static_cast<float>(v);
  return true;
}

}  // namespace

bool Class_AES_Simulator::ParseSpectrum(std::string_view text, std::string& message) {
  std::vector<float> e, v;
  size_t lineNo = 0;
  while (!text.empty() && e.size() < kAESMaxRows) {
    const size_t nl = text.find('\n');
    const std::string_view line = Trim(text.substr(0, nl));
    text = nl == std::string_view::npos ? std::string_view() : text.substr(nl + 1);
    ++lineNo;
    if (line.empty()) continue;
    const size_t comma = line.find(',');
    float a = 0, b = 0;
    if (comma == std::string_view::npos || !ParseNumber(line.substr(0, comma), a) ||
        !ParseNumber(line.substr(comma + 1), b)) {
      message = "Line " + std::to_string(lineNo) + " is not an energy and a voltage";
      return false;
    }
    if (e.size() == e.capacity()) {
      e.reserve(e.size() + 1000);
      v.reserve(v.size() + 1000);
    }
    e.push_back(a);
    v.push_back(b);
  }
  energy_ = std::move(e);
  voltage_ = std::move(v);
  message.clear();
  return true;
}

bool Class_AES_Simulator::LoadSpectrum(const std::string& path, std::string& message) {
  std::ifstream in(path, std::ios::binary);
  if (!in) {
    message = "Cannot open " + path;
    return false;
  }
  std::ostringstream all;
  all << in.rdbuf();
  return ParseSpectrum(all.str(), message);
}

float Class_AES_Simulator::GetAESVoltage(float energy, bool derivative) const {
  if (energy_.empty() || !std::isfinite(energy)) return 0;
  if (energy < energy_.front() || energy > energy_.back()) return 0;
  size_t i = 0;
  while (i < energy_.size() && !(energy_[i] > energy)) ++i;
  if (i == energy_.size()) {
    // At the last energy: the first row holding it.
    size_t j = energy_.size() - 1;
    while (j > 0 && energy_[j - 1] == energy_[j]) --j;
    return voltage_[j];
  }
  if (!derivative || i == 0) return voltage_[i];
  const double e0 = energy_[i - 1], e1 = energy_[i];
  const double t = (static_cast<double>(energy) - e0) / (e1 - e0);
  return static_cast<float>(voltage_[i - 1] + t * (static_cast<double>(voltage_[i]) - voltage_[i - 1]));
}

std::string AESSpectrumPath(const std::string& dataRoot) {
  if (!dataRoot.empty() && dataRoot.back() == '/') return dataRoot + "AES_Spectrum.txt";
  return dataRoot + "/AES_Spectrum.txt";
}

std::string& AESSpectrumFile() {
  static std::string file;
  return file;
}

long Class_AD_Simulator::AD_init(long base, bool& answers) {
  const long r = Class_AD_Dummy::AD_init(base, answers);
  const std::string path =
      AESSpectrumFile().empty() ? AESSpectrumPath(DataRoot(G().UserIniName)) : AESSpectrumFile();
  if (sim_.LoadSpectrum(path, loadMessage_)) loadMessage_.clear();
  return r;
}

long Class_AD_Simulator::AD_get_voltage(long channel, float& volts) {
  const HardwareGlobals& hw = HW();
  if (channel != hw.AugerADChannel) return Class_AD_Dummy::AD_get_voltage(channel, volts);
  if (channel < 0 || channel >= kChannels) return -1;
  const float energy = hw.GainAUGER != 0 ? (hw.LastAugerVoltage - hw.OffsetAUGER) / hw.GainAUGER : 0;
  volts = sim_.GetAESVoltage(energy, hw.AugerDerivative != 0);
  return 0;
}

long Class_AD_Simulator::AD_interface_name(std::string& name) {
  name = "AD_Simulator";
  return 0;
}

}  // namespace sv
