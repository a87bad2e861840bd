#include "hardware/kernel_devices.h"

#include <dlfcn.h>

#include <algorithm>
#include <cctype>
#include <vector>

namespace sv::kernel {

namespace {

constexpr long kTextSize = 256;

// One loaded card library per kind.
struct Card {
  void* handle = nullptr;

  ~Card() { Unload(); }
  void Unload() {
    if (handle) dlclose(handle);
    handle = nullptr;
  }
  template <typename Fn>
  Fn* Entry(const char* name) const {
    if (!handle) return nullptr;
    return reinterpret_cast<Fn*>(dlsym(handle, name));
  }
};

Card& CardOf(DeviceKind kind) {
  static Card cards[3];
  return cards[static_cast<int>(kind)];
}

long Load(DeviceKind kind, const std::string& name, bool& loaded) {
  Card& card = CardOf(kind);
  card.Unload();
  loaded = false;
  if (name.empty()) return 0;
  card.handle = dlopen(CardLibraryFile(name).c_str(), RTLD_NOW | RTLD_LOCAL);
  loaded = card.handle != nullptr;
  return 0;
}

// Calls entry `name` of a kind's library with the arguments; kNotLoaded when
// there is no such entry.
template <typename... Args>
long Call(DeviceKind kind, const char* name, Args... args) {
  using Fn = long(Args...);
  Fn* fn = CardOf(kind).Entry<Fn>(name);
  return fn ? fn(args...) : kNotLoaded;
}

long Text(DeviceKind kind, const char* name, std::string& text) {
  std::vector<char> buf(kTextSize + 1, '\0');
  const long r = Call(kind, name, buf.data(), kTextSize);
  if (r == 0) text.assign(buf.data());
  return r;
}

long Text(DeviceKind kind, const char* name, long arg, std::string& text) {
  std::vector<char> buf(kTextSize + 1, '\0');
  const long r = Call(kind, name, arg, buf.data(), kTextSize);
  if (r == 0) text.assign(buf.data());
  return r;
}

long Flag(DeviceKind kind, const char* name, bool& flag) {
  long v = 0;
  const long r = Call(kind, name, &v);
  if (r == 0) flag = v != 0;
  return r;
}

long Flag(DeviceKind kind, const char* name, long arg, bool& flag) {
  long v = 0;
  const long r = Call(kind, name, arg, &v);
  if (r == 0) flag = v != 0;
  return r;
}

constexpr DeviceKind AD = DeviceKind::AD;
constexpr DeviceKind DA = DeviceKind::DA;
constexpr DeviceKind IO = DeviceKind::IO;

}  // namespace

std::string CardLibraryFile(const std::string& loadName) {
  std::string lower = loadName;
  std::transform(lower.begin(), lower.end(), lower.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return "lib" + lower + ".so";
}

// --- A/D ------------------------------------------------------------------------

long AD_load(const std::string& name, bool& loaded) { return Load(AD, name, loaded); }
long AD_unload() {
  CardOf(AD).Unload();
  return 0;
}
long AD_channel_name(long channel, std::string& name) {
  return Text(AD, "AD_channel_name", channel, name);
}
long AD_channels(long& count) { return Call(AD, "AD_channels", &count); }
long AD_dll_date(std::string& date) { return Text(AD, "AD_dll_date", date); }
long AD_get(long channel, long& raw) { return Call(AD, "AD_get", channel, &raw); }
long AD_get_voltage(long channel, float& volts) {
  return Call(AD, "AD_get_voltage", channel, &volts);
}
long AD_has_diff_input(bool& has) { return Flag(AD, "AD_has_diff_input", has); }
long AD_init(long base, bool& answers) { return Flag(AD, "AD_init", base, answers); }
long AD_input_mode(long mode) { return Call(AD, "AD_input_mode", mode); }
long AD_interface_name(std::string& name) { return Text(AD, "AD_interface_name", name); }
long AD_Range(long index, float& low, float& high) {
  return Call(AD, "AD_Range", index, &low, &high);
}
long AD_Ranges(long& count) { return Call(AD, "AD_Ranges", &count); }
long AD_set_range(long index) { return Call(AD, "AD_set_range", index); }
long AD_set_averaging(long count) { return Call(AD, "AD_set_averaging", count); }
long AD_winrt_device(long& driver) { return Call(AD, "AD_winrt_device", &driver); }

// --- D/A ------------------------------------------------------------------------

long DA_load(const std::string& name, bool& loaded) { return Load(DA, name, loaded); }
long DA_unload() {
  CardOf(DA).Unload();
  return 0;
}
long DA_channel_name(long channel, std::string& name) {
  return Text(DA, "DA_channel_name", channel, name);
}
long DA_channels(long& count) { return Call(DA, "DA_channels", &count); }
long DA_dll_date(std::string& date) { return Text(DA, "DA_dll_date", date); }
long DA_set(long channel, long raw) { return Call(DA, "DA_set", channel, raw); }
long DA_set_voltage(long channel, float volts) {
  return Call(DA, "DA_set_voltage", channel, volts);
}
long DA_init(long base, bool& answers) { return Flag(DA, "DA_init", base, answers); }
long DA_interface_name(std::string& name) { return Text(DA, "DA_interface_name", name); }
long DA_Range(long index, float& low, float& high) {
  return Call(DA, "DA_Range", index, &low, &high);
}
long DA_Ranges(long& count) { return Call(DA, "DA_Ranges", &count); }
long DA_set_range(long index) { return Call(DA, "DA_set_range", index); }
long DA_winrt_device(long& driver) { return Call(DA, "DA_winrt_device", &driver); }

// --- I/O ------------------------------------------------------------------------

long IO_load(const std::string& name, bool& loaded) { return Load(IO, name, loaded); }
long IO_unload() {
  CardOf(IO).Unload();
  return 0;
}
long IO_dll_date(std::string& date) { return Text(IO, "IO_dll_date", date); }
long IO_init(long base, bool& answers) { return Flag(IO, "IO_init", base, answers); }
long IO_interface_name(std::string& name) { return Text(IO, "IO_interface_name", name); }
long IO_pins_in(long& count) { return Call(IO, "IO_pins_in", &count); }
long IO_pins_out(long& count) { return Call(IO, "IO_pins_out", &count); }
long IO_winrt_device(long& driver) { return Call(IO, "IO_winrt_device", &driver); }
long IO_pin_get(long pin, bool& level) { return Flag(IO, "IO_pin_get", pin, level); }
long IO_pin_set(long pin, bool level) { return Call(IO, "IO_pin_set", pin, long(level ? -1 : 0)); }
long IO_PinOutStatus(long pin, bool& level) { return Flag(IO, "IO_PinOutStatus", pin, level); }

}  // namespace sv::kernel

namespace sv {

namespace {

class Class_AD : public ADBackend {
 public:
  ~Class_AD() override { kernel::AD_unload(); }
  long AD_channel_name(long c, std::string& n) override { return kernel::AD_channel_name(c, n); }
  long AD_channels(long& n) override { return kernel::AD_channels(n); }
  long AD_dll_date(std::string& d) override { return kernel::AD_dll_date(d); }
  long AD_get(long c, long& r) override { return kernel::AD_get(c, r); }
  long AD_get_voltage(long c, float& v) override { return kernel::AD_get_voltage(c, v); }
  long AD_has_diff_input(bool& h) override { return kernel::AD_has_diff_input(h); }
  long AD_init(long b, bool& a) override { return kernel::AD_init(b, a); }
  long AD_load(const std::string& n, bool& l) override { return kernel::AD_load(n, l); }
  long AD_input_mode(long m) override { return kernel::AD_input_mode(m); }
  long AD_interface_name(std::string& n) override { return kernel::AD_interface_name(n); }
  long AD_Range(long i, float& lo, float& hi) override { return kernel::AD_Range(i, lo, hi); }
  long AD_Ranges(long& n) override { return kernel::AD_Ranges(n); }
  long AD_set_range(long i) override { return kernel::AD_set_range(i); }
  long AD_set_averaging(long n) override { return kernel::AD_set_averaging(n); }
  long AD_winrt_device(long& d) override { return kernel::AD_winrt_device(d); }
};

class Class_DA : public DABackend {
 public:
  ~Class_DA() override { kernel::DA_unload(); }
  long DA_channel_name(long c, std::string& n) override { return kernel::DA_channel_name(c, n); }
  long DA_channels(long& n) override { return kernel::DA_channels(n); }
  long DA_dll_date(std::string& d) override { return kernel::DA_dll_date(d); }
  long DA_set(long c, long r) override { return kernel::DA_set(c, r); }
  long DA_set_voltage(long c, float v) override { return kernel::DA_set_voltage(c, v); }
  long DA_init(long b, bool& a) override { return kernel::DA_init(b, a); }
  long DA_interface_name(std::string& n) override { return kernel::DA_interface_name(n); }
  long DA_load(const std::string& n, bool& l) override { return kernel::DA_load(n, l); }
  long DA_Range(long i, float& lo, float& hi) override { return kernel::DA_Range(i, lo, hi); }
  long DA_Ranges(long& n) override { return kernel::DA_Ranges(n); }
  long DA_set_range(long i) override { return kernel::DA_set_range(i); }
  long DA_winrt_device(long& d) override { return kernel::DA_winrt_device(d); }
};

class Class_IO : public IOBackend {
 public:
  ~Class_IO() override { kernel::IO_unload(); }
  long IO_dll_date(std::string& d) override { return kernel::IO_dll_date(d); }
  long IO_init(long b, bool& a) override { return kernel::IO_init(b, a); }
  long IO_interface_name(std::string& n) override { return kernel::IO_interface_name(n); }
  long IO_pins_in(long& n) override { return kernel::IO_pins_in(n); }
  long IO_pins_out(long& n) override { return kernel::IO_pins_out(n); }
  long IO_winrt_device(long& d) override { return kernel::IO_winrt_device(d); }
  long IO_load(const std::string& n, bool& l) override { return kernel::IO_load(n, l); }
  long IO_pin(long p, bool& level) override { return kernel::IO_pin_get(p, level); }
  long IO_pin(long p, bool level) override { return kernel::IO_pin_set(p, level); }
  long IO_PinOutStatus(long p, bool& level) override { return kernel::IO_PinOutStatus(p, level); }
};

}  // namespace

std::unique_ptr<ADBackend> MakeKernelAD() { return std::make_unique<Class_AD>(); }
std::unique_ptr<DABackend> MakeKernelDA() { return std::make_unique<Class_DA>(); }
std::unique_ptr<IOBackend> MakeKernelIO() { return std::make_unique<Class_IO>(); }

}  // namespace sv
