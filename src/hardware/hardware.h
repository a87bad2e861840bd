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
class Profile;

inline constexpr int kADChannelMax = 8;

// The default colour of A/D channel `channel` (0-based): the colour of the
// scan window of the same number.
int32_t DefaultChannelColor(int channel);

// The shutter record: eight 32-bit fields in this order, copied as one block
// by the shutter dialog. Kept in the section "ShutterControl" with the keys
// named at each field, whichever I/O interface is configured.
struct ShutterControlRecord {
  int32_t ShutterEnabled = 0;   // "Enabled"
  int32_t ShutterWindow = 0;    // "Frame", 0-based
  float Hysterese = 0.1f;       // "Hysterese", intensity units
  float MinTimeRange = 1.0f;    // "MinTimeRange", seconds
  int32_t CycleCount = 0;       // not stored: extrema found so far
  int32_t Cycles = 1;           // "Cycles"
  int32_t OpenLevel = 0;        // "OpenLevel": non-zero, output high opens the shutter; 0, low does
  int32_t TriggerSource = 0;    // "TriggerSource": 0 maximum, 1 minimum
};
static_assert(sizeof(ShutterControlRecord) == 32, "eight 32-bit fields");
inline constexpr const char* kShutterSection = "ShutterControl";

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
  std::array<ADChannel, kADChannelMax> ADChannels = DefaultADChannels();
  long ADBase = 0;          // "BaseAddress": base address or device number
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
  long DABase = 0;  // "BaseAddress"
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
  float LastAugerVoltage = 0;  // what SetEnergy sent last to ChannelAUGER
  // The section lacked (part of) the calibration: the old keys or the
  // defaults stand in, and "You should check the calibration of the
  // D/A-Converter!" is shown once the D/A has come up.
  bool DACalibrationCheck = false;

  // I/O: section "DIO: " + name; the pin assignment made at its start. The
  // shutter's level is ShutterControl.OpenLevel.
  long IOBase = 0;  // "BaseAddress"
  int IOPinCount = 16;
  int ExtTriggerPin = 5;
  int SignalPin = 4;
  int ShutterPin = 6;
  ShutterControlRecord ShutterControl;
  bool ExtTriggerIgnored = false;  // a failed read was told once

  // User settings, section "Auger".
  int AugerDerivative = 0, AugerReverseScaling = 0;

  static std::array<ADChannel, kADChannelMax> DefaultADChannels();
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

// The settings of each kind: its section "ADC: " + name (with the channel
// sections "ADC: CH1" ...), "DAC: " + name, "DIO: " + name for the selected
// name (G().ADName ...), and the user store's section "Auger" with the D/A.
// A kind without a name reads its defaults and writes nothing; the I/O's
// shutter record (section "ShutterControl") is read and written whatever
// interface is configured. Key names:
// "BaseAddress" (default 0) is this system's own, in each kind's section.
void ReadIOSettings(const Profile& ini);
void WriteIOSettings(Profile& ini);
void ReadDASettings(const Profile& ini);
void WriteDASettings(Profile& ini);
void ReadADSettings(const Profile& ini);
void WriteADSettings(Profile& ini);
// The three at SettingsSlot::Interfaces in the order I/O, D/A, A/D; once.
void RegisterHardwareSettings();

// The exit sequence's step 7 from the I/O on: the shutter and trigger, the
// I/O, the e-gun, the D/A, the calibration store, the A/D. The steps that
// belong to other subsystems plug in here so that the order holds whoever
// registers first.
struct HardwareExitSteps {
  std::function<void()> shutterAndTrigger;  // the trigger and shutter tools
  std::function<void()> eGun;               // the e-gun dialog
  std::function<void()> calibrationStore;   // the intensity calibrations
};
HardwareExitSteps& ExitSteps();
void RunHardwareExit();

// Start-up's interface steps, the settings sections at the interfaces' place
// in the order, the exit steps; may be called more than once.
void InstallHardwareEnvironment();
// Menu rules of the hardware on a main window: entries of an interface that
// is off show "N/A" or hide.
// Also puts RunHardwareExit at the end of the main window's exit step 7.
void RegisterHardwareMenus(MDIForm_Main& main);
// The setup entries' captions: "&I/O: " + what the table shows + "..." for an
// interface that is up, "&I/O: N/A..." for one that is configured and off,
// "&I/O..." with none; the same for "&D/A" and "&A/D".
void RefreshHardwareMenus(MDIForm_Main& main);

// Whether an interface is up: its object is there and its ready flag is set.
bool ADReady();
bool DAReady();
bool IOReady();

// Calls on the slot; a slot without an object returns -1.
long AD_get(long channel, long& raw);
long AD_get_voltage(long channel, float& volts);
long AD_set_averaging(long count);
long DA_set(long channel, long raw);
long DA_set_voltage(long channel, float volts);
long IO_pin(long pin, bool& level);
long IO_pin(long pin, bool level);
long IO_PinOutStatus(long pin, bool& level);
// The same two without the overloads' ambiguity for a bool variable.
long IO_pin_get(long pin, bool& level);
long IO_pin_set(long pin, bool level);

// The external trigger line: a failed read is told once ("GetExtTrigger-
// Function") and the pin counts as low for the rest of the session.
bool GetExtTrigger();

// The debug monitor: after each voltage written, the raw and energy values
// in "#0.000000" and "#0.000" with " eV" or " V". Unset: no monitor.
std::function<void(const std::string& raw, const std::string& value)>& DeviceMonitor();

}  // namespace sv
