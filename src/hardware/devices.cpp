#include "hardware/devices.h"

#include <dlfcn.h>

#include <algorithm>
#include <cctype>

#include "core/globals.h"
#include "core/host.h"
#include "core/settings.h"
#include "hardware/aes_simulator.h"
#include "hardware/dummy_backends.h"
#include "hardware/kernel_devices.h"

namespace sv {

namespace {

constexpr const char* kSameAsAD = "";  // the Advantech row: filled in per call

struct Row {
  int index;
  const char* load;
  const char* shown;
};

const Row kADRows[] = {
    {0, "", "(none)"},
    {1, "cbAD", "ComputerBoards Inc.: Universal Library, Bd# 1"},
    {2, "Ax5621AD", "AX5621  16-Bit A/D Converter"},
    {3, "Rtx03bAD", "RTX-03B  14-Bit A/D Converter"},
    {4, "Pacp12AD", "Pacp12AD"},
    {5, "AD_Simulator", "AD_Simulator"},
    {6, "Fpc011AD", "Flytech: FPC-011  14-Bit A/D Converter"},
    {8, "Ltc1290", "Ltc1290"},
    {9, "DummyAD", "Dummy A/D"},
    {10, "ADCFile", "ADCFile"},
    {11, "Das1602", "Das1602"},
    {12, "Ad12lc", "Ad12lc"},
    {14, "P1000.ocx", "BMC Messsysteme: PC20TR"},
    {15, "Pci300x.ocx", "BMC Messsysteme: PCI-Base50/300/1000 + MADx"},
    {kModbusIndex, kModbusLoadName, "Modbus TCP"},
    {17, "AD_USB.ocx", "AD USB 1/2"},
    {18, "cwdaq.ocx", "National Instruments: 6023E/6024E/6025E"},
    {19, kAdvantechName, kSameAsAD},
    {kLinkIndex, kLinkLoadName, "Application link"},
};

const Row kDARows[] = {
    {0, "", "(none)"},
    {1, "cbDA", "ComputerBoards Inc.: Universal Library, Bd# 1"},
    {2, "Ax5621DA", "Ax5621"},
    {4, "ErLEED", "ErLEED"},
    {5, "IsodacDA", "IsoDAC"},
    {6, "Pacp12DA", "Pacp12DA"},
    {7, "Fpc011DA", "Flytech: FPC-011  14-Bit D/A Converter"},
    {8, "Rtx03bDA", "RTX-03B  14-Bit D/A Converter"},
    {9, "Das1602", "Das1602"},
    {10, "P1000.ocx", "BMC Messsysteme: PC20TR"},
    {11, "Pci300x.ocx", "BMC Messsysteme: PCI-Base50/300/1000 + MDAx"},
    {12, "DummyDA", "Dummy D/A"},
    {kModbusIndex, kModbusLoadName, "Modbus TCP"},
    {17, "AD_USB.ocx", "AD USB 1/2"},
    {18, "cwdaq.ocx", "National Instruments: 6024E, 6025E"},
    {19, kAdvantechName, kSameAsAD},
    {kLinkIndex, kLinkLoadName, "Application link"},
};

const Row kIORows[] = {
    {0, "", "(none)"},
    {1, "Fpc024", "Flytech: FPC-024"},
    {2, "Rtx02d", "RTX-02D"},
    {3, "PciDIO24", "PciDIO24"},
    {4, "Pacp12IO", "Pacp12IO"},
    {5, "Das1602", "Das1602"},
    {6, "8255", "Generic 8255"},
    {7, "cbIO", "ComputerBoards Inc.: Universal Library, Bd# 1"},
    {8, "P1000.ocx", "BMC Messsysteme: PC20TR"},
    {9, "Pci300x.ocx", "BMC Messsysteme: PCI-Base50/300/1000"},
    {10, "DummyIO", "Dummy I/O"},
    {kModbusIndex, kModbusLoadName, "Modbus TCP"},
    {17, "AD_USB.ocx", "AD USB 1/2"},
    {19, kAdvantechName, kSameAsAD},
};

std::string LowerName(const std::string& text) {
  std::string s = text;
  std::transform(s.begin(), s.end(), s.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return s;
}

bool EndsWith(const std::string& text, const std::string& tail) {
  return text.size() >= tail.size() && text.compare(text.size() - tail.size(), tail.size(), tail) == 0;
}

// The Advantech card's device number from the user store.
std::string AdvantechDeviceNumber() {
  if (!HasHost()) return "0";
  const std::string app = UserStoreApp(host().ExeName(), G().SlaveMode);
  return host().Store().GetSetting(app, kAdvantechSection, kAdvantechDeviceKey, "0");
}

template <size_t N>
void Fill(std::vector<DeviceEntry>& table, const Row (&rows)[N]) {
  table.clear();
  for (const Row& r : rows) {
    DeviceEntry e;
    e.Index = r.index;
    e.LoadName = r.load;
    e.ShownAs = r.shown;
    if (e.LoadName == kAdvantechName) e.ShownAs = std::string(kAdvantechName) + " (" + AdvantechDeviceNumber() + ")";
    table.push_back(std::move(e));
  }
}

// The name's class kind: 0 the kernel's, 1 a card class behind a support
// library, 2 a dummy, 3 Modbus TCP, 4 the link.
enum class Choice { Kernel, CardClass, Dummy, Modbus, Link };

Choice ChoiceOf(DeviceKind kind, const std::string& name) {
  const std::string upper = UpperName(name);
  if (!SupportLibraryOf(name).empty()) return Choice::CardClass;
  const char* dummy = kind == DeviceKind::AD ? kDummyADName
                      : kind == DeviceKind::DA ? kDummyDAName
                                               : kDummyIOName;
  if (upper == UpperName(dummy)) return Choice::Dummy;
  if (upper == UpperName(kModbusLoadName)) return Choice::Modbus;
  if (kind != DeviceKind::IO && upper == UpperName(kLinkLoadName)) return Choice::Link;
  return Choice::Kernel;
}

// The steps every kind shares; `make` gives the object of each choice.
template <typename Backend, typename Override, typename Dummy, typename Modbus, typename Link,
          typename KernelObj>
std::unique_ptr<Backend> Make(DeviceKind kind, const std::string& name, std::string& error,
                              const Override& override, Dummy dummy, Modbus modbus, Link link,
                              KernelObj kernelObj) {
  error.clear();
  if (override) {
    if (auto made = override(name)) return made;
  }
  if (name.empty()) return nullptr;
  switch (ChoiceOf(kind, name)) {
    case Choice::CardClass: {
      const std::string library = SupportLibraryOf(name);
      if (!SupportLibraryProbe() || !SupportLibraryProbe()(library)) {
        error = "the support library " + library + " of " + name + " cannot be loaded";
        return nullptr;
      }
      // The card classes of Windows (PC20, PCI300, AD_USB, NIDAQ,
      // PCI1716) are not part of this system: the creation fails and counts
      // as no device.
      error = "no class for " + name + " is built on this platform";
      return nullptr;
    }
    case Choice::Dummy:
      return dummy();
    case Choice::Modbus: {
      auto made = modbus();
      if (!made) error = "the Modbus TCP back-end cannot be made";
      return made;
    }
    case Choice::Link: {
      auto made = link();
      if (!made) error = "the application link cannot be made";
      return made;
    }
    case Choice::Kernel:
      break;
  }
  return kernelObj();
}

}  // namespace

std::string UpperName(const std::string& text) {
  std::string s = text;
  std::transform(s.begin(), s.end(), s.begin(),
                 [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
  return s;
}

const std::vector<DeviceEntry>& DeviceTable(DeviceKind kind) {
  static std::vector<DeviceEntry> tables[3];
  std::vector<DeviceEntry>& table = tables[static_cast<int>(kind)];
  switch (kind) {
    case DeviceKind::AD: Fill(table, kADRows); break;
    case DeviceKind::DA: Fill(table, kDARows); break;
    case DeviceKind::IO: Fill(table, kIORows); break;
  }
  return table;
}

int DeviceIndex(DeviceKind kind, const std::string& name) {
  if (name.empty()) return 0;
  const std::string upper = UpperName(name);
  for (const DeviceEntry& e : DeviceTable(kind))
    if (UpperName(e.LoadName) == upper) return e.Index;
  return 0;
}

std::string DeviceShownAs(DeviceKind kind, int index) {
  for (const DeviceEntry& e : DeviceTable(kind))
    if (e.Index == index) return e.ShownAs;
  return {};
}

std::string SupportLibraryOf(const std::string& name) {
  const std::string upper = UpperName(name);
  if (upper == UpperName(kAdvantechName)) return "adsapi32.dll";
  if (EndsWith(upper, ".OCX")) return LowerName(name);
  return {};
}

std::function<bool(const std::string&)>& SupportLibraryProbe() {
  static std::function<bool(const std::string&)> probe = [](const std::string& library) {
    void* h = dlopen(library.c_str(), RTLD_LAZY | RTLD_LOCAL);
    if (!h) return false;
    dlclose(h);
    return true;
  };
  return probe;
}

BackendOverrides& TestBackends() {
  static BackendOverrides overrides;
  return overrides;
}

std::unique_ptr<ADBackend> MakeADBackend(const std::string& name, std::string& error) {
  // The simulated Auger spectrometer behind the Dummy A/D.
  if (!TestBackends().ad && UpperName(name) == "AD_SIMULATOR") {
    error.clear();
    return std::make_unique<Class_AD_Simulator>();
  }
  return Make<ADBackend>(
      DeviceKind::AD, name, error, TestBackends().ad,
      [] { return std::unique_ptr<ADBackend>(std::make_unique<Class_AD_Dummy>()); },
      [] { return MakeModbusAD(); }, [] { return MakeLinkAD(); }, [] { return MakeKernelAD(); });
}

std::unique_ptr<DABackend> MakeDABackend(const std::string& name, std::string& error) {
  return Make<DABackend>(
      DeviceKind::DA, name, error, TestBackends().da,
      [] { return std::unique_ptr<DABackend>(std::make_unique<Class_DA_Dummy>()); },
      [] { return MakeModbusDA(); }, [] { return MakeLinkDA(); }, [] { return MakeKernelDA(); });
}

std::unique_ptr<IOBackend> MakeIOBackend(const std::string& name, std::string& error) {
  return Make<IOBackend>(
      DeviceKind::IO, name, error, TestBackends().io,
      [] { return std::unique_ptr<IOBackend>(std::make_unique<Class_IO_Dummy>()); },
      [] { return MakeModbusIO(); }, [] { return std::unique_ptr<IOBackend>(); },
      [] { return MakeKernelIO(); });
}

}  // namespace sv
