// The measurement devices: one A/D (analog inputs), one D/A (analog outputs,
// which set the electron energy) and one digital I/O interface (external
// trigger, shutter). Each is picked by name from the table of its kind; the
// name makes a back-end, held in one slot per kind, and every caller goes
// through that slot without knowing which back-end it has.
//
// Every operation returns 0 for success and gives its result through an
// argument; a back-end that cannot do an operation returns a non-zero code.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace sv {

enum class DeviceKind { AD, DA, IO };

// One row of a device table: the index stored through the name, the load
// name, and what the user sees.
struct DeviceEntry {
  int Index = 0;
  std::string LoadName;
  std::string ShownAs;
};
// The tables in index order. The Advantech row's text gets the card's device
// number from the user settings (section "Advantech") in parentheses.
const std::vector<DeviceEntry>& DeviceTable(DeviceKind kind);
// The entry of a stored name, compared upper-cased; index 0 "(none)" for an
// unknown name (the name itself is kept by the caller until the user changes
// it).
int DeviceIndex(DeviceKind kind, const std::string& name);
// What the dialogs show for an entry.
std::string DeviceShownAs(DeviceKind kind, int index);

// Load names of the back-ends of this platform.
inline constexpr const char* kModbusLoadName = "ModbusTCP";  // index 16, "Modbus TCP"
inline constexpr const char* kLinkLoadName = "Link";         // index 20, "Application link"
inline constexpr int kModbusIndex = 16;
inline constexpr int kLinkIndex = 20;

class ADBackend {
 public:
  virtual ~ADBackend() = default;
  virtual long AD_channel_name(long channel, std::string& name) = 0;
  virtual long AD_channels(long& count) = 0;
  virtual long AD_dll_date(std::string& date) = 0;
  virtual long AD_get(long channel, long& raw) = 0;
  virtual long AD_get_voltage(long channel, float& volts) = 0;
  virtual long AD_has_diff_input(bool& has) = 0;
  virtual long AD_init(long base, bool& answers) = 0;
  virtual long AD_load(const std::string& name, bool& loaded) = 0;
  virtual long AD_input_mode(long mode) = 0;
  virtual long AD_interface_name(std::string& name) = 0;
  virtual long AD_Range(long index, float& low, float& high) = 0;
  virtual long AD_Ranges(long& count) = 0;
  virtual long AD_set_range(long index) = 0;
  virtual long AD_set_averaging(long count) = 0;
  virtual long AD_winrt_device(long& driver) = 0;
  // The text of the last failure ("" when there is none): host, port and the
  // library's words for a network device.
  virtual std::string LastError() const { return {}; }
};

class DABackend {
 public:
  virtual ~DABackend() = default;
  virtual long DA_channel_name(long channel, std::string& name) = 0;
  virtual long DA_channels(long& count) = 0;
  virtual long DA_dll_date(std::string& date) = 0;
  virtual long DA_set(long channel, long raw) = 0;
  virtual long DA_set_voltage(long channel, float volts) = 0;
  virtual long DA_init(long base, bool& answers) = 0;
  virtual long DA_interface_name(std::string& name) = 0;
  virtual long DA_load(const std::string& name, bool& loaded) = 0;
  virtual long DA_Range(long index, float& low, float& high) = 0;
  virtual long DA_Ranges(long& count) = 0;
  virtual long DA_set_range(long index) = 0;
  virtual long DA_winrt_device(long& driver) = 0;
  virtual std::string LastError() const { return {}; }
};

class IOBackend {
 public:
  virtual ~IOBackend() = default;
  virtual long IO_dll_date(std::string& date) = 0;
  virtual long IO_init(long base, bool& answers) = 0;
  virtual long IO_interface_name(std::string& name) = 0;
  virtual long IO_pins_in(long& count) = 0;
  virtual long IO_pins_out(long& count) = 0;
  virtual long IO_winrt_device(long& driver) = 0;
  virtual long IO_load(const std::string& name, bool& loaded) = 0;
  // Reads a level (true as -1 in the stored forms).
  virtual long IO_pin(long pin, bool& level) = 0;
  // Writes a level.
  virtual long IO_pin(long pin, bool level) = 0;
  // Reads back what was written.
  virtual long IO_PinOutStatus(long pin, bool& level) = 0;
  virtual std::string LastError() const { return {}; }

  // The two IO_pin overloads are ambiguous for a bool variable (an lvalue
  // binds to both): callers use these, which pick the one meant.
  long IO_pin_get(long pin, bool& level) {
    using Read = long (IOBackend::*)(long, bool&);
    return (this->*static_cast<Read>(&IOBackend::IO_pin))(pin, level);
  }
  long IO_pin_set(long pin, bool level) {
    using Write = long (IOBackend::*)(long, bool);
    return (this->*static_cast<Write>(&IOBackend::IO_pin))(pin, level);
  }
};

// --- The back-end choice ------------------------------------------------------

// The load names of the kinds' dummies and of the Advantech card.
inline constexpr const char* kDummyADName = "DummyAD";
inline constexpr const char* kDummyDAName = "DummyDA";
inline constexpr const char* kDummyIOName = "DummyIO";
inline constexpr const char* kAdvantechName = "ADVANTECH PCI-1716";
// User store (application key), section "Advantech", this key: the card's
// device number shown in the Advantech row ("0" when unset).
inline constexpr const char* kAdvantechSection = "Advantech";
inline constexpr const char* kAdvantechDeviceKey = "DeviceNumber";

// The support library of a name that makes a card class of its own (a name
// ending in ".ocx" or the Advantech name): the name in lower case, or
// "adsapi32.dll"; "" for every other name.
std::string SupportLibraryOf(const std::string& name);
// Whether a support library can be loaded; dlopen by default. Tests may
// replace it.
std::function<bool(const std::string& library)>& SupportLibraryProbe();

// Makes the object for a name, as the Part's back-end choice says: a card
// class behind a support library (none is built on this platform, so only the
// message differs), the dummies, the Modbus TCP and link back-ends, and for
// every other name the class that forwards to the kernel's device entries.
// The object is not loaded yet. nullptr, with `error` telling why, when the
// name makes nothing. An empty name makes nothing and says nothing.
std::unique_ptr<ADBackend> MakeADBackend(const std::string& name, std::string& error);
std::unique_ptr<DABackend> MakeDABackend(const std::string& name, std::string& error);
std::unique_ptr<IOBackend> MakeIOBackend(const std::string& name, std::string& error);

// A seam for tests: a factory here is asked first; what it returns (not
// nullptr) is taken instead of the usual choice.
struct BackendOverrides {
  std::function<std::unique_ptr<ADBackend>(const std::string& name)> ad;
  std::function<std::unique_ptr<DABackend>(const std::string& name)> da;
  std::function<std::unique_ptr<IOBackend>(const std::string& name)> io;
};
BackendOverrides& TestBackends();

// Upper-cased copy (the look-up's comparison).
std::string UpperName(const std::string& text);

// The back-ends of this platform that live in their own files. Each returns
// nullptr when it cannot be made.
std::unique_ptr<ADBackend> MakeModbusAD();
std::unique_ptr<DABackend> MakeModbusDA();
std::unique_ptr<IOBackend> MakeModbusIO();
std::unique_ptr<ADBackend> MakeLinkAD();
std::unique_ptr<DABackend> MakeLinkDA();

}  // namespace sv
