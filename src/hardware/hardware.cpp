#include "hardware/hardware.h"

#include <algorithm>

#include "core/globals.h"
#include "core/host.h"
#include "core/mdi_main.h"
#include "core/startup.h"
#include "hardware/energy.h"

namespace sv {

namespace {

std::string g_lastError[3];

std::string& ErrorOf(DeviceKind kind) { return g_lastError[static_cast<int>(kind)]; }

// The normalised name: blanks trimmed, and a name of the table in the
// table's spelling. An unknown name is kept as it is.
std::string Normalise(DeviceKind kind, const std::string& name) {
  const size_t b = name.find_first_not_of(" \t");
  if (b == std::string::npos) return {};
  const size_t e = name.find_last_not_of(" \t");
  std::string trimmed = name.substr(b, e - b + 1);
  const int index = DeviceIndex(kind, trimmed);
  if (index == 0) return trimmed;
  for (const DeviceEntry& entry : DeviceTable(kind))
    if (entry.Index == index) return entry.LoadName;
  return trimmed;
}

std::string DriverText(const char* kind, long driver) {
  return kind + std::string(": the interface needs kernel driver ") + std::to_string(driver) +
         ", and this platform has no kernel driver loader";
}

std::string ShownOrName(DeviceKind kind, const std::string& name) {
  const int index = DeviceIndex(kind, name);
  return index ? DeviceShownAs(kind, index) : name;
}

// The menu caption of one setup entry.
std::string SetupCaption(const char* word, DeviceKind kind, const std::string& name, bool ready) {
  std::string shown;
  if (ready)
    shown = ShownOrName(kind, name);
  else if (!name.empty())
    shown = "N/A";
  std::string escaped;
  for (char c : shown) {
    escaped += c;
    if (c == '&') escaped += '&';
  }
  return std::string(word) + (escaped.empty() ? "" : ": " + escaped) + "...";
}

void Refresh() {
  if (MDIForm_Main* main = MainForm()) RefreshHardwareMenus(*main);
}

}  // namespace

int32_t DefaultChannelColor(int channel) {
  // The window palette: classic 16 colours, red in the low byte, taken at the
  // window's place (5, 13, 12, 11, 10, 9, 8, 2).
  static constexpr int32_t kColors[kADChannelMax] = {0x800080, 0xFF00FF, 0x0000FF, 0xFFFF00,
                                                     0x00FF00, 0xFF0000, 0x808080, 0x008000};
  if (channel < 0 || channel >= kADChannelMax) return kColors[0];
  return kColors[channel];
}

std::array<ADChannel, kADChannelMax> HardwareGlobals::DefaultADChannels() {
  std::array<ADChannel, kADChannelMax> channels;
  for (int n = 0; n < kADChannelMax; ++n) channels[size_t(n)].Color = DefaultChannelColor(n);
  return channels;
}

HardwareGlobals& HW() {
  static HardwareGlobals globals;
  return globals;
}

void ResetHardware() {
  HW() = HardwareGlobals();
  for (auto& e : g_lastError) e.clear();
}

std::string LastStartError(DeviceKind kind) { return ErrorOf(kind); }

bool ADReady() { return HW().AD && G().ADOK != 0; }
bool DAReady() { return HW().DA && G().DAOK != 0; }
bool IOReady() { return HW().IO && G().IOOK != 0; }

// --- Start and stop ---------------------------------------------------------------

bool IOStart(std::string& name) {
  HardwareGlobals& hw = HW();
  std::string& error = ErrorOf(DeviceKind::IO);
  error.clear();
  hw.IO.reset();
  G().IOOK = 0;
  name = Normalise(DeviceKind::IO, name);
  hw.IOIndex = DeviceIndex(DeviceKind::IO, name);
  if (name.empty()) return false;
  ShowStatus("I/O initializing...");
  auto fail = [&](const std::string& why) {
    hw.IO.reset();
    if (error.empty()) error = why;
    ShowStatus("");
    Refresh();
    return false;
  };
  // 2. The object, loaded.
  std::unique_ptr<IOBackend> io = MakeIOBackend(name, error);
  if (!io) return fail("I/O: no interface for " + name);
  hw.IO = std::move(io);
  bool loaded = false;
  if (hw.IO->IO_load(name, loaded) != 0 || !loaded)
    return fail("I/O: " + name + " cannot be loaded" + (hw.IO->LastError().empty() ? "" : ": " + hw.IO->LastError()));
  // 3. The kernel driver.
  long driver = 0;
  if (hw.IO->IO_winrt_device(driver) != 0) driver = 0;
  if (driver != 0) return fail(DriverText("I/O", driver));
  // 4. The card answers at its base address.
  bool answers = false;
  if (hw.IO->IO_init(hw.IOBase, answers) != 0 || !answers)
    return fail("I/O: " + name + " does not answer at base address " + std::to_string(hw.IOBase) +
                (hw.IO->LastError().empty() ? "" : ": " + hw.IO->LastError()));
  // 5. The pin assignment, and the shutter closed at once.
  hw.IOPinCount = 16;
  hw.ExtTriggerPin = 5;
  hw.SignalPin = 4;
  hw.ShutterPin = 6;
  hw.ExtTriggerIgnored = false;
  hw.IO->IO_pin_set(long(hw.ShutterPin), hw.ShutterControl.OpenLevel == 0);
  // 6.
  ShowStatus("");
  G().IOOK = -1;
  Refresh();
  return true;
}

bool DAStart(std::string& name) {
  HardwareGlobals& hw = HW();
  std::string& error = ErrorOf(DeviceKind::DA);
  error.clear();
  hw.DA.reset();
  G().DAOK = 0;
  name = Normalise(DeviceKind::DA, name);
  hw.DAIndex = DeviceIndex(DeviceKind::DA, name);
  if (name.empty()) return false;
  ShowStatus("D/A initializing...");
  auto fail = [&](const std::string& why) {
    hw.DA.reset();
    if (error.empty()) error = why;
    ShowStatus("");
    Refresh();
    return false;
  };
  std::unique_ptr<DABackend> da = MakeDABackend(name, error);
  if (!da) return fail("D/A: no interface for " + name);
  hw.DA = std::move(da);
  bool loaded = false;
  if (hw.DA->DA_load(name, loaded) != 0 || !loaded)
    return fail("D/A: " + name + " cannot be loaded" + (hw.DA->LastError().empty() ? "" : ": " + hw.DA->LastError()));
  long driver = 0;
  if (hw.DA->DA_winrt_device(driver) != 0) driver = 0;
  if (driver != 0) return fail(DriverText("D/A", driver));
  bool answers = false;
  if (hw.DA->DA_init(hw.DABase, answers) != 0 || !answers)
    return fail("D/A: " + name + " does not answer at base address " + std::to_string(hw.DABase) +
                (hw.DA->LastError().empty() ? "" : ": " + hw.DA->LastError()));
  // 5. Ranges, channels, the range from the settings.
  if (hw.DA->DA_Ranges(hw.DARangeCount) != 0) hw.DARangeCount = 0;
  if (hw.DA->DA_channels(hw.DAChannelCount) != 0) hw.DAChannelCount = 0;
  if (hw.DARange < 0 || hw.DARange >= std::max(1L, hw.DARangeCount)) hw.DARange = 0;
  hw.DA->DA_set_range(hw.DARange);
  UseDALine(DALine::LEED);
  ShowStatus("");
  G().DAOK = -1;
  Refresh();
  if (hw.DACalibrationCheck) {
    hw.DACalibrationCheck = false;
    host().MsgBox("You should check the calibration of the D/A-Converter!", MsgButtons::OK,
                  MsgIcon::Exclamation, G().AppTitle);
  }
  return true;
}

bool ADStart(std::string& name) {
  HardwareGlobals& hw = HW();
  std::string& error = ErrorOf(DeviceKind::AD);
  error.clear();
  hw.AD.reset();
  G().ADOK = 0;
  name = Normalise(DeviceKind::AD, name);
  hw.ADIndex = DeviceIndex(DeviceKind::AD, name);
  if (name.empty()) return false;
  // 1.
  ShowStatus("A/D initializing...");
  auto fail = [&](const std::string& why) {
    hw.AD.reset();
    if (error.empty()) error = why;
    ShowStatus("");
    Refresh();
    return false;
  };
  // 2. The object for the name, loaded.
  std::unique_ptr<ADBackend> ad = MakeADBackend(name, error);
  if (!ad) return fail("A/D: no interface for " + name);
  hw.AD = std::move(ad);
  bool loaded = false;
  if (hw.AD->AD_load(name, loaded) != 0 || !loaded)
    return fail("A/D: " + name + " cannot be loaded" + (hw.AD->LastError().empty() ? "" : ": " + hw.AD->LastError()));
  // 3. The kernel driver.
  long driver = 0;
  if (hw.AD->AD_winrt_device(driver) != 0) driver = 0;
  if (driver != 0) return fail(DriverText("A/D", driver));
  // 4.
  bool answers = false;
  if (hw.AD->AD_init(hw.ADBase, answers) != 0 || !answers)
    return fail("A/D: " + name + " does not answer at base address " + std::to_string(hw.ADBase) +
                (hw.AD->LastError().empty() ? "" : ": " + hw.AD->LastError()));
  // 5. Ranges, channels, range and averaging, the input mode, the names.
  if (hw.AD->AD_Ranges(hw.ADRangeCount) != 0) hw.ADRangeCount = 0;
  long channels = 0;
  if (hw.AD->AD_channels(channels) != 0) channels = 0;
  hw.ADChannelCount = std::clamp(channels, 0L, long(kADChannelMax));
  if (hw.ADRange < 0 || hw.ADRange >= std::max(1L, hw.ADRangeCount)) hw.ADRange = 0;
  hw.AD->AD_set_range(hw.ADRange);
  if (hw.ADAveraging < 1) hw.ADAveraging = 1;
  hw.AD->AD_set_averaging(hw.ADAveraging);
  bool diff = false;
  if (hw.AD->AD_has_diff_input(diff) == 0 && diff) hw.AD->AD_input_mode(hw.ADDifferential ? 1 : 0);
  for (long ch = 0; ch < hw.ADChannelCount; ++ch) {
    std::string& label = hw.ADChannels[size_t(ch)].ChannelName;
    if (!label.empty()) continue;
    std::string n;
    if (hw.AD->AD_channel_name(ch, n) == 0) label = n;
  }
  // 6.
  ShowStatus("");
  G().ADOK = -1;
  Refresh();
  return true;
}

void IOStop() {
  HW().IO.reset();
  G().IOOK = 0;
  Refresh();
}

void DAStop() {
  HW().DA.reset();
  G().DAOK = 0;
  Refresh();
}

void ADStop() {
  HW().AD.reset();
  G().ADOK = 0;
  Refresh();
}

// --- Exit ---------------------------------------------------------------------------

HardwareExitSteps& ExitSteps() {
  static HardwareExitSteps steps;
  return steps;
}

void RunHardwareExit() {
  HardwareExitSteps& s = ExitSteps();
  if (s.shutterAndTrigger) s.shutterAndTrigger();
  IOStop();
  if (s.eGun) s.eGun();
  DAStop();
  if (s.calibrationStore) s.calibrationStore();
  ADStop();
}

// --- Installation -------------------------------------------------------------------

void InstallHardwareEnvironment() {
  StartupEnvironment& env = Environment();
  env.ioInit = [](const std::string& configured) {
    std::string name = configured;
    const bool ok = IOStart(name);
    G().IOName = name;
    // A stored trigger source on an I/O line that is not there ("N/A").
    Globals& g = G();
    if (!ok && g.TriggerSource >= 0 && g.TriggerSource <= 3) {
      g.TriggerMode = 0;
      g.TriggerSource = 4;
    }
    return ok;
  };
  env.daInit = [](const std::string& configured) {
    std::string name = configured;
    const bool ok = DAStart(name);
    G().DAName = name;
    return ok;
  };
  env.adInit = [](const std::string& configured) {
    std::string name = configured;
    const bool ok = ADStart(name);
    G().ADName = name;
    return ok;
  };
  RegisterHardwareSettings();
}

void RegisterHardwareMenus(MDIForm_Main& main) {
  main.SetEnabledRule("mnuGunParameter", [] { return DAReady(); });
  main.SetEnabledRule("mnuShutterControl", [] { return IOReady(); });
  // Each step does nothing a second time, so a second registration is harmless.
  main.exitHooks.shutdown.push_back([] { RunHardwareExit(); });
  RefreshHardwareMenus(main);
}

void RefreshHardwareMenus(MDIForm_Main& main) {
  const Globals& g = G();
  if (MenuEntry* e = main.FindMenu("mnuIOSetup"))
    e->caption = SetupCaption("&I/O", DeviceKind::IO, g.IOName, IOReady());
  if (MenuEntry* e = main.FindMenu("mnuDASetup"))
    e->caption = SetupCaption("&D/A", DeviceKind::DA, g.DAName, DAReady());
  if (MenuEntry* e = main.FindMenu("mnuADSetup"))
    e->caption = SetupCaption("&A/D", DeviceKind::AD, g.ADName, ADReady());
  if (MainView* view = main.View()) view->MenusChanged();
}

// --- Slot calls -----------------------------------------------------------------------

long AD_get(long channel, long& raw) { return HW().AD ? HW().AD->AD_get(channel, raw) : -1; }
long AD_get_voltage(long channel, float& volts) {
  return HW().AD ? HW().AD->AD_get_voltage(channel, volts) : -1;
}
long AD_set_averaging(long count) {
  if (!HW().AD) return -1;
  const long r = HW().AD->AD_set_averaging(count);
  if (r == 0) HW().ADAveraging = int(count < 1 ? 1 : count);
  return r;
}
long DA_set(long channel, long raw) { return HW().DA ? HW().DA->DA_set(channel, raw) : -1; }
long DA_set_voltage(long channel, float volts) {
  return HW().DA ? HW().DA->DA_set_voltage(channel, volts) : -1;
}
long IO_pin_get(long pin, bool& level) { return HW().IO ? HW().IO->IO_pin_get(pin, level) : -1; }
long IO_pin_set(long pin, bool level) { return HW().IO ? HW().IO->IO_pin_set(pin, level) : -1; }
long IO_pin(long pin, bool& level) { return IO_pin_get(pin, level); }
long IO_pin(long pin, bool level) { return IO_pin_set(pin, level); }
long IO_PinOutStatus(long pin, bool& level) {
  return HW().IO ? HW().IO->IO_PinOutStatus(pin, level) : -1;
}

bool GetExtTrigger() {
  HardwareGlobals& hw = HW();
  if (!IOReady() || hw.ExtTriggerIgnored) return false;
  bool level = false;
  const long code = hw.IO->IO_pin_get(long(hw.ExtTriggerPin), level);
  if (code == 0) return level;
  hw.ExtTriggerIgnored = true;
  host().MsgBox("An error (Code # " + std::to_string(code) +
                    ") occured when reading the 'EXT. TRIGGER' I/O-line (pin # " +
                    std::to_string(hw.ExtTriggerPin) + ")\r\nThe 'EXT. TRIGGER' I/O-line will be ignored.",
                MsgButtons::OK, MsgIcon::Exclamation, "GetExtTrigger-Function");
  return false;
}

std::function<void(const std::string&, const std::string&)>& DeviceMonitor() {
  static std::function<void(const std::string&, const std::string&)> monitor;
  return monitor;
}

}  // namespace sv
