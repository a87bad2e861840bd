// The three device slots and what the rest of the workbench calls: the
// start-up and exit steps of each interface, its settings sections, and the
// `AD_`, `DA_`, `IO_` calls on whatever back-end the slot holds.
//
// The selected names and ready flags are the process's own (G().ADName,
// G().ADOK and so on); this block holds the objects and what the interfaces
// read from their sections.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "hardware/devices.h"

namespace sv {

class MDIForm_Main;

inline constexpr int kADChannelMax = 8;

// One A/D channel, in the order it is kept.
struct ADChannel {
  std::string ChannelName;
  int32_t Selected = 0;  // 1: scanned in an experiment
  int32_t Plot = 1;      // 1: has a curve
  int32_t Color = 0;     // 24-bit RGB; default by channel index as for windows
};

struct HardwareGlobals {
  // The objects; empty while an interface is off.
  std::unique_ptr<ADBackend> AD;
  std::unique_ptr<DABackend> DA;
  std::unique_ptr<IOBackend> IO;
  int ADIndex = 0, DAIndex = 0, IOIndex = 0;

  // A/D: section "ADC: " + name.
  std::array<ADChannel, kADChannelMax> ADChannels;
  long ADChannelCount = 0;  // AD_channels, at most kADChannelMax used
  long ADRangeCount = 0;    // AD_Ranges
  int ADRange = 0;          // "Range"
  int ADAveraging = 1;      // "Averaging"
  int ADDifferential = 0;   // "Differential"
  int ADScan = 0;           // "Scan"
  int AugerADChannel = 0;   // "AugerADChannel"
  bool ADCalibrationOn = false;  // Check_Calibration of the A/D setup
  // A/D calibration: volts = raw volts * ADGain + ADOffset.
  float ADOffset = 0, ADGain = 1;  // "Offset", "Gain"

  // D/A: section "DAC: " + name.
  long DAChannelCount = 0;
  long DARangeCount = 0;
  int DARange = 0;  // "Range DA"
  int ChannelLEED = 0, ChannelAUGER = 1;
  float OffsetLEED = 0, GainLEED = 0.01f;
  float OffsetAUGER = 0, GainAUGER = 5.0f / 1639.0f;
  // The line in use: LEED unless an Auger scan set it.
  int DAChannel = 0;
  float DAOffset = 0, DAGain = 0.01f;
  float LastVoltage = 0;  // what SetEnergy sent last

  // I/O: the pin assignment made at its start, and the shutter's level.
  int IOPinCount = 16;
  int ExtTriggerPin = 5;
  int SignalPin = 4;
  int ShutterPin = 6;
  bool OpenLevel = true;  // the output level that opens the shutter
  bool ExtTriggerIgnored = false;  // a failed read was told once

  // User settings, section "Auger".
  int AugerDerivative = 0, AugerReverseScaling = 0;
};
HardwareGlobals& HW();
// Releases every object and starts afresh (tests, a second start).
void ResetHardware();

// Start-up steps 19 to 21 for one kind: status text, the object for the name,
// its kernel driver, its init with the stored base address, ranges, channels,
// averaging, names (I/O: pin assignment and the shutter closed). False, with
// the interface off and the object released, on any failure. The name may be
// normalised.
bool IOStart(std::string& name);
bool DAStart(std::string& name);
bool ADStart(std::string& name);
// The exit steps (in the order I/O, D/A, A/D at the exit sequence).
void IOStop();
void DAStop();
void ADStop();
// The text of the last start failure of a kind ("" when none).
std::string LastStartError(DeviceKind kind);

// Start-up's interface steps, the settings sections at the interfaces' place
// in the order, the exit steps; may be called more than once.
void InstallHardwareEnvironment();
// Menu rules of the hardware on a main window: entries of an interface that
// is off show "N/A" or hide.
void RegisterHardwareMenus(MDIForm_Main& main);

// Calls on the slot; a slot without an object returns -1.
long AD_get(long channel, long& raw);
long AD_get_voltage(long channel, float& volts);
long AD_set_averaging(long count);
long DA_set(long channel, long raw);
long DA_set_voltage(long channel, float volts);
long IO_pin(long pin, bool& level);
long IO_pin(long pin, bool level);
long IO_PinOutStatus(long pin, bool& level);

// The external trigger line: a failed read is told once ("GetExtTrigger-
// Function") and the pin counts as low for the rest of the session.
bool GetExtTrigger();

// The debug monitor: after each voltage written, the raw and energy values
// in "#0.000000" and "#0.000" with " eV" or " V". Unset: no monitor.
std::function<void(const std::string& raw, const std::string& value)>& DeviceMonitor();

}  // namespace sv
