#include "hardware/form_fields.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>

#include "core/globals.h"
#include "core/host.h"
#include "core/settings.h"
#include "hardware/hardware.h"
#include "image/kernel/numbers.h"

namespace sv {

bool ParseFieldNumber(const std::string& text, double& value) {
  std::string t = text;
  std::replace(t.begin(), t.end(), ',', '.');
  const size_t b = t.find_first_not_of(" \t");
  if (b == std::string::npos) return false;
  const size_t e = t.find_last_not_of(" \t");
  const char* first = t.data() + b;
  const char* last = t.data() + e + 1;
  if (*first == '+') ++first;
  double v = 0;
  auto [ptr, ec] = std::from_chars(first, last, v);
  if (ec != std::errc() || ptr != last || !std::isfinite(v)) return false;
  value = v;
  return true;
}

std::string ShortNumber(double value) {
  char buf[32];
  auto [ptr, ec] = std::to_chars(buf, buf + sizeof buf, static_cast<float>(value));
  return ec == std::errc() ? std::string(buf, ptr) : std::string("0");
}

long VoltsToCode(double volts, double low, double high) {
  if (!(high > low)) return 0;
  const double code = (volts - low) / (high - low) * 65535.0;
  return std::clamp<long>(RoundEven(std::clamp(code, -1.0, 65536.0)), 0, 65535);
}

std::string HexCode(long code) {
  char buf[16];
  std::snprintf(buf, sizeof buf, "0x%04lX", code & 0xFFFFL);
  return buf;
}

std::string RestartMessage() { return "You must Restart " + G().AppTitle; }

std::vector<std::string> DeviceNameList(DeviceKind kind) {
  std::vector<std::string> list;
  for (const DeviceEntry& e : DeviceTable(kind)) list.push_back(DeviceShownAs(kind, e.Index));
  return list;
}

int DeviceListPosition(DeviceKind kind, const std::string& storedName) {
  const int index = DeviceIndex(kind, storedName);
  const auto& table = DeviceTable(kind);
  for (size_t i = 0; i < table.size(); ++i)
    if (table[i].Index == index) return static_cast<int>(i);
  return 0;
}

std::string DeviceLoadName(DeviceKind kind, int position) {
  const auto& table = DeviceTable(kind);
  if (position < 0 || position >= static_cast<int>(table.size())) return {};
  return table[position].LoadName;
}

void SaveEnergyLimits(DALine line, float minEnergy, float maxEnergy) {
  Globals& g = G();
  const bool leed = line == DALine::LEED;
  (leed ? g.MinEnergyLEED : g.MinEnergyAUGER) = minEnergy;
  (leed ? g.MaxEnergyLEED : g.MaxEnergyAUGER) = maxEnergy;
  if (!HasHost()) return;
  const std::string app = UserStoreApp(host().ExeName(), g.SlaveMode);
  host().Store().SaveSetting(app, "eGun", leed ? "MinEnergyLEED" : "MinEnergyAUGER",
                             ShortNumber(minEnergy));
  host().Store().SaveSetting(app, "eGun", leed ? "MaxEnergyLEED" : "MaxEnergyAUGER",
                             ShortNumber(maxEnergy));
}

void DARangeLimits(int range, float& low, float& high) {
  low = -10;
  high = 10;
  if (!HW().DA) return;
  float l = 0, h = 0;
  if (HW().DA->DA_Range(range, l, h) == 0 && h > l) {
    low = l;
    high = h;
  }
}

}  // namespace sv
