#include "hardware/form_device_setup.h"

#include <algorithm>
#include <cmath>

#include "core/globals.h"
#include "core/host.h"
#include "image/kernel/numbers.h"

namespace sv {

namespace {

constexpr const char* kCRLF = "\r\n";
constexpr const char* kNoADText = "No A/D-Converter available.";
constexpr const char* kBadChannelText = "Invalid channel number.";
constexpr const char* kBadAveragingText = "Averaging must be a whole number of 1 or more.";

std::string RangeText(float lo, float hi) {
  return FormatFixed(lo, 3) + " ... " + FormatFixed(hi, 3) + " V";
}

std::string Trimmed(const std::string& s) {
  const size_t b = s.find_first_not_of(" \t");
  if (b == std::string::npos) return {};
  return s.substr(b, s.find_last_not_of(" \t") - b + 1);
}

int ClampIndex(int value, size_t count) {
  if (count == 0) return 0;
  return std::clamp(value, 0, static_cast<int>(count) - 1);
}

// The reading of an A/D channel in volts, uncalibrated; 0 when it fails.
float RawVolts(long channel) {
  float v = 0;
  if (!HW().AD || HW().AD->AD_get_voltage(channel, v) != 0 || !std::isfinite(v)) return 0;
  return v;
}

}  // namespace

// --- Form_ADSetup ---------------------------------------------------------------

Form_ADSetup& ADSetupForm() {
  static Form_ADSetup form;
  return form;
}

void Form_ADSetup::Load() {
  HardwareGlobals& hw = HW();
  ADBackend* ad = hw.AD.get();
  Combo_NameList = DeviceNameList(DeviceKind::AD);
  Combo_Name = loadedName_ = DeviceListPosition(DeviceKind::AD, G().ADName);

  Combo_RangeList.clear();
  long ranges = 0;
  if (ad && ad->AD_Ranges(ranges) == 0)
    for (long r = 0; r < ranges; ++r) {
      float lo = 0, hi = 0;
      ad->AD_Range(r, lo, hi);
      Combo_RangeList.push_back(RangeText(lo, hi));
    }
  Combo_Range = ClampIndex(hw.ADRange, Combo_RangeList.size());
  Text_Averaging = std::to_string(std::max(1, hw.ADAveraging));

  bool diff = false;
  if (ad) ad->AD_has_diff_input(diff);
  Ctl_Option_Input_mode.Visible = diff;
  Option_Input_mode = hw.ADDifferential != 0 ? 1 : 0;

  ChannelCount = hw.ADChannelCount;
  if (ad && ChannelCount <= 0) ad->AD_channels(ChannelCount);
  ChannelCount = std::clamp<long>(ChannelCount, 0, kADChannelMax);
  Combo_AugerADChannelList.clear();
  for (long c = 0; c < kADChannelMax; ++c) {
    std::string name = hw.ADChannels[c].ChannelName;
    if (c < ChannelCount && name.empty() && ad) ad->AD_channel_name(c, name);
    Text_Label[c] = c < ChannelCount ? name : std::string();
    Label_Voltage[c].clear();
    if (c < ChannelCount) Combo_AugerADChannelList.push_back("CH" + std::to_string(c + 1) + ": " + name);
  }
  Check_Calibration = hw.ADCalibrationOn;
  Check_DetectorSignal = hw.ADScan != 0;
  Combo_AugerADChannel = ClampIndex(hw.AugerADChannel, Combo_AugerADChannelList.size());
  Ctl_Combo_AugerADChannel.Enabled = Check_DetectorSignal && ChannelCount > 0;
  ShowCalibration();

  if (timer_ == 0 && HasHost()) timer_ = host().StartTimer(kADTimerMs, [this] { Timer_Tick(); });
  Timer_Tick();
  Changed();
}

void Form_ADSetup::Unload() {
  if (timer_ != 0 && HasHost()) host().StopTimer(timer_);
  timer_ = 0;
}

void Form_ADSetup::Check_DetectorSignal_Click() {
  Ctl_Combo_AugerADChannel.Enabled = Check_DetectorSignal && ChannelCount > 0;
  Changed();
}

void Form_ADSetup::Timer_Tick() {
  ADBackend* ad = HW().AD.get();
  for (long c = 0; c < ChannelCount; ++c) {
    if (!ad) {
      Label_Voltage[c] = kNotAvailable;
    } else if (Option_Display == 1) {
      long raw = 0;
      const long code = ad->AD_get(c, raw);
      Label_Voltage[c] = code == 0 ? std::to_string(raw) : "Error " + std::to_string(code);
    } else {
      float v = 0;
      const long code = ad->AD_get_voltage(c, v);
      if (Check_Calibration) v = v * HW().ADGain + HW().ADOffset;
      Label_Voltage[c] = code == 0 ? FormatFixed(v, 3) + " V" : "Error " + std::to_string(code);
    }
  }
  view_->Readings(*this);
}

void Form_ADSetup::ShowCalibration() {
  Label_Calibration = "Gain = " + FormatFixed(HW().ADGain, 8) +
                      ", Offset = " + FormatFixed(HW().ADOffset, 6);
}

void Form_ADSetup::Command_Calibration() {
  const std::string title = kADCalibrationTitle;
  HardwareGlobals& hw = HW();
  if (!hw.AD || ChannelCount <= 0) {
    host().MsgBox(kNoADText, MsgButtons::OK, MsgIcon::Exclamation, title);
    return;
  }
  const std::optional<std::string> answer = host().InputBox(
      "Select channel number (1..." + std::to_string(ChannelCount) + "):", title, "1");
  const std::string chosen = answer ? Trimmed(*answer) : std::string();
  if (chosen.empty()) {
    if (host().MsgBox("Reset to Default values?", MsgButtons::YesNo, MsgIcon::Question, title) !=
        MsgResult::Yes)
      return;
    hw.ADOffset = 0;
    hw.ADGain = 1;
  } else {
    double n = 0;
    if (!ParseFieldNumber(chosen, n) || n != std::floor(n) || n < 1 || n > ChannelCount) {
      host().MsgBox(kBadChannelText, MsgButtons::OK, MsgIcon::Exclamation, title);
      return;
    }
    const long channel = static_cast<long>(n) - 1;
    const std::string ch = std::to_string(channel + 1);
    // One step: the box proposes the present reading; the reading kept is the
    // one taken when the user pressed OK, with the voltage connected.
    auto step = [&](const char* stepTitle, const char* level, double& u, double& r) {
      const std::string text = std::string("* Connect a voltage ") + level +
                               " to A/D channel CH" + ch + kCRLF +
                               "* Input the correct value (V) of the supplied voltage" + kCRLF +
                               "* Press OK";
      const std::optional<std::string> typed =
          host().InputBox(text, stepTitle, FormatFixed(RawVolts(channel), 6));
      if (!typed || !ParseFieldNumber(*typed, u)) return false;
      r = RawVolts(channel);
      return true;
    };
    double u1 = 0, r1 = 0, u2 = 0, r2 = 0;
    if (!step("A/D Calibration: Step 1", "less than 1 V", u1, r1)) return;
    if (!step("A/D Calibration: Step 2", "higher than 3 V", u2, r2)) return;
    float gain = 1, offset = 0;
    if (r2 == r1 || !ADCalibrationFromPoints(static_cast<float>(u1), static_cast<float>(r1),
                                             static_cast<float>(u2), static_cast<float>(r2), gain,
                                             offset)) {
      host().MsgBox("Calibration Error", MsgButtons::OK, MsgIcon::Critical, title);
      return;
    }
    hw.ADGain = gain;
    hw.ADOffset = offset;
  }
  ShowCalibration();
  host().MsgBox(std::string("Current calibration values:") + kCRLF + "Gain = " +
                    FormatFixed(hw.ADGain, 8) + kCRLF + "Offset = " + FormatFixed(hw.ADOffset, 6),
                MsgButtons::OK, MsgIcon::Information, title);
  Changed();
}

void Form_ADSetup::Command_Test() {
  Test.Load();
  view_->ShowTest(Test);
}

bool Form_ADSetup::Command_OK() {
  double avg = 0;
  if (!ParseFieldNumber(Text_Averaging, avg) || avg != std::floor(avg) || avg > 1e6) {
    host().MsgBox(kBadAveragingText, MsgButtons::OK, MsgIcon::Exclamation, kADSetupTitle);
    return false;
  }
  HardwareGlobals& hw = HW();
  const int averaging = std::max(1, static_cast<int>(avg));
  if (ADBackend* ad = hw.AD.get()) {
    if (!Combo_RangeList.empty()) ad->AD_set_range(Combo_Range);
    ad->AD_set_averaging(averaging);
    if (Ctl_Option_Input_mode.Visible) ad->AD_input_mode(Option_Input_mode);
  }
  if (!Combo_RangeList.empty()) hw.ADRange = Combo_Range;
  hw.ADAveraging = averaging;
  if (Ctl_Option_Input_mode.Visible) hw.ADDifferential = Option_Input_mode;
  for (long c = 0; c < ChannelCount; ++c) {
    std::string name = Text_Label[c];
    if (Trimmed(name).empty() && hw.AD) hw.AD->AD_channel_name(c, name);
    hw.ADChannels[c].ChannelName = name;
  }
  hw.ADCalibrationOn = Check_Calibration;
  hw.ADScan = Check_DetectorSignal ? 1 : 0;
  if (!Combo_AugerADChannelList.empty()) hw.AugerADChannel = Combo_AugerADChannel;
  Unload();
  if (Combo_Name != loadedName_) {
    G().ADName = DeviceLoadName(DeviceKind::AD, Combo_Name);
    host().MsgBox(RestartMessage(), MsgButtons::OK, MsgIcon::Information, kADSetupTitle);
  }
  return true;
}

void Form_ADSetup::Command_Cancel() { Unload(); }

// --- Form_DASetup ---------------------------------------------------------------

Form_DASetup& DASetupForm() {
  static Form_DASetup form;
  return form;
}

void Form_DASetup::Load() {
  HardwareGlobals& hw = HW();
  DABackend* da = hw.DA.get();
  Combo_NameList = DeviceNameList(DeviceKind::DA);
  Combo_Name = loadedName_ = DeviceListPosition(DeviceKind::DA, G().DAName);
  Combo_RangeList.clear();
  long ranges = 0;
  if (da && da->DA_Ranges(ranges) == 0)
    for (long r = 0; r < ranges; ++r) {
      float lo = 0, hi = 0;
      da->DA_Range(r, lo, hi);
      Combo_RangeList.push_back(RangeText(lo, hi));
    }
  Combo_Range = ClampIndex(hw.DARange, Combo_RangeList.size());
  Combo_ChannelList.clear();
  long channels = 0;
  if (da) da->DA_channels(channels);
  for (long c = 0; c < channels && c < 64; ++c) {
    std::string name;
    if (da->DA_channel_name(c, name) != 0 || name.empty()) name = "CH" + std::to_string(c + 1);
    Combo_ChannelList.push_back(name);
  }
  Combo_ChannelLEED = ClampIndex(hw.ChannelLEED, Combo_ChannelList.size());
  Combo_ChannelAUGER = ClampIndex(hw.ChannelAUGER, Combo_ChannelList.size());
  UpdateLabels();
  view_->Changed(*this);
}

std::string Form_DASetup::EnergyRangeText(DALine line) const {
  const Globals& g = G();
  const HardwareGlobals& hw = HW();
  const bool leed = line == DALine::LEED;
  const float lo = leed ? g.MinEnergyLEED : g.MinEnergyAUGER;
  const float hi = leed ? g.MaxEnergyLEED : g.MaxEnergyAUGER;
  const float gain = leed ? hw.GainLEED : hw.GainAUGER;
  const float offset = leed ? hw.OffsetLEED : hw.OffsetAUGER;
  return FormatFixed(lo, 1) + " ... " + FormatFixed(hi, 1) + " eV  (" +
         FormatFixed(gain * lo + offset, 3) + " ... " + FormatFixed(gain * hi + offset, 3) + " V)";
}

void Form_DASetup::UpdateLabels() {
  Label_EnergyRangeLEED = EnergyRangeText(DALine::LEED);
  Label_EnergyRangeAUGER = EnergyRangeText(DALine::AUGER);
}

void Form_DASetup::Calibrate(DALine line) {
  float lo = 0, hi = 0;
  DARangeLimits(Combo_Range, lo, hi);
  Calibration.Load(line, hi);
  view_->ShowCalibration(Calibration);
  UpdateLabels();
  view_->Changed(*this);
}

void Form_DASetup::EditLimits(DALine line) {
  if (line == DALine::AUGER)
    Limits.SetAugerMesh();
  else
    Limits.SetLEEDEnergy();
  Limits.Load();
  view_->ShowLimits(Limits);
  if (Limits.ok)
    SaveEnergyLimits(line, static_cast<float>(Limits.MinValue), static_cast<float>(Limits.MaxValue));
  UpdateLabels();
  view_->Changed(*this);
}

void Form_DASetup::Command_Test() {
  Test.Load();
  view_->ShowTest(Test);
}

bool Form_DASetup::Command_OK() {
  HardwareGlobals& hw = HW();
  if (!Combo_RangeList.empty()) {
    if (hw.DA) hw.DA->DA_set_range(Combo_Range);
    hw.DARange = Combo_Range;
  }
  if (!Combo_ChannelList.empty()) {
    hw.ChannelLEED = Combo_ChannelLEED;
    hw.ChannelAUGER = Combo_ChannelAUGER;
    UseDALine(DALine::LEED);
  }
  if (Combo_Name != loadedName_) {
    G().DAName = DeviceLoadName(DeviceKind::DA, Combo_Name);
    host().MsgBox(RestartMessage(), MsgButtons::OK, MsgIcon::Information, kDASetupTitle);
  }
  return true;
}

// --- Form_IOSetup ---------------------------------------------------------------

Form_IOSetup& IOSetupForm() {
  static Form_IOSetup form;
  return form;
}

void Form_IOSetup::Load() {
  Combo_NameList = DeviceNameList(DeviceKind::IO);
  Combo_Name = loadedName_ = DeviceListPosition(DeviceKind::IO, G().IOName);
  view_->Changed(*this);
}

void Form_IOSetup::Command_Test() {
  Test.Load();
  view_->ShowTest(Test);
}

bool Form_IOSetup::Command_OK() {
  if (Combo_Name != loadedName_) {
    G().IOName = DeviceLoadName(DeviceKind::IO, Combo_Name);
    host().MsgBox(RestartMessage(), MsgButtons::OK, MsgIcon::Information, kIOSetupTitle);
  }
  return true;
}

}  // namespace sv
