#include "experiment/form_soft_trigger.h"

#include <algorithm>
#include <cmath>

#include "core/globals.h"
#include "core/host.h"
#include "core/mdi_main.h"
#include "experiment/shutter.h"
#include "hardware/form_fields.h"
#include "image/form_camera.h"

namespace sv {

namespace {

ShutterControlRecord& Record() { return HW().ShutterControl; }

}  // namespace

long Form_SoftTrigger::Dynamik() const {
  MDIForm_Main* main = MainForm();
  if (!main) return 0;
  auto* image = dynamic_cast<Form_Camera*>(main->ActiveChild());
  if (!image && G().PreviewImageHandle != 0)
    image = dynamic_cast<Form_Camera*>(main->Child(G().PreviewImageHandle));
  return image ? std::max(0L, image->ImageDynamik()) : 0;
}

void Form_SoftTrigger::ShowRange() {
  const long dynamik = Dynamik();
  Label_min = dynamik > 0 ? "0" : "Min";
  Label_Max = dynamik > 0 ? std::to_string(dynamik) : "Max";
  Label_Hysterese = ShortNumber(Record().Hysterese);
}

void Form_SoftTrigger::ShowPin() {
  if (!IOReady()) {
    Label_Shutter = Label_Level = "N/A";
    return;
  }
  bool level = false;
  if (IO_PinOutStatus(long(HW().ShutterPin), level) != 0) {
    Label_Shutter = Label_Level = "N/A";
    return;
  }
  Label_Shutter = ShutterIsOpen() ? "OPEN" : "CLOSED";
  Label_Level = level ? "HIGH" : "LOW";
}

void Form_SoftTrigger::Load() {
  const ShutterControlRecord& sc = Record();
  saved_ = sc;
  Check_Shutter = sc.ShutterEnabled != 0;
  Text_Cycles = std::to_string(sc.Cycles);
  Text_MinTimeRange = ShortNumber(sc.MinTimeRange);
  const long dynamik = Dynamik();
  const double fraction = sc.Hysterese / double(dynamik > 0 ? dynamik : 1);
  Slider_Hysterese = int(std::clamp(std::nearbyint(fraction * kHystereseSliderMax), 0.0,
                                    double(kHystereseSliderMax)));
  Option_TriggerSource[kOptionMinimum] = sc.TriggerSource != 0;
  Option_TriggerSource[kOptionMaximum] = sc.TriggerSource == 0;
  Check_OpenLevel = sc.OpenLevel != 0;
  ShowRange();
  ShowPin();
  visible_ = true;
  if (timer_ == 0 && HasHost()) timer_ = host().StartTimer(kShutterTimerMs, [this] { Timer_Tick(); });
  Changed();
}

void Form_SoftTrigger::Unload() {
  if (timer_ != 0 && HasHost()) host().StopTimer(timer_);
  timer_ = 0;
  visible_ = false;
}

void Form_SoftTrigger::Check_Shutter_Click() {
  Record().ShutterEnabled = Check_Shutter ? 1 : 0;
  Changed();
}

void Form_SoftTrigger::Slider_Hysterese_Change() {
  Slider_Hysterese = std::clamp(Slider_Hysterese, 0, kHystereseSliderMax);
  const long dynamik = Dynamik();
  const double fraction = double(Slider_Hysterese) / kHystereseSliderMax;
  Record().Hysterese = float(dynamik > 0 ? fraction * double(dynamik) : fraction);
  ShowRange();
  Changed();
}

void Form_SoftTrigger::Option_TriggerSource_Click(int index) {
  if (index != kOptionMinimum && index != kOptionMaximum) return;
  Option_TriggerSource[size_t(kOptionMinimum)] = index == kOptionMinimum;
  Option_TriggerSource[size_t(kOptionMaximum)] = index == kOptionMaximum;
  Record().TriggerSource = index == kOptionMinimum ? 1 : 0;
  Changed();
}

void Form_SoftTrigger::Check_OpenLevel_Click() {
  Record().OpenLevel = Check_OpenLevel ? 1 : 0;
  ShowPin();
  Changed();
}

void Form_SoftTrigger::Timer_Tick() {
  ShowPin();
  Changed();
}

bool Form_SoftTrigger::Command_OK() {
  double range = 0, cycles = 0;
  const bool ok = ParseFieldNumber(Text_MinTimeRange, range) && range >= 0 &&
                  ParseFieldNumber(Text_Cycles, cycles) && cycles >= 1 &&
                  cycles <= 2147483647.0;
  if (!ok) {
    if (HasHost()) host().MsgBox("Invalid Parameter", MsgButtons::OK, MsgIcon::Exclamation, Caption);
    return false;
  }
  ShutterControlRecord& sc = Record();
  sc.MinTimeRange = float(range);
  sc.Cycles = int32_t(std::nearbyint(cycles));
  Unload();
  Changed();
  return true;
}

void Form_SoftTrigger::Command_Cancel() {
  Record() = saved_;
  Unload();
  Changed();
}

Form_SoftTrigger& SoftTriggerForm() {
  static Form_SoftTrigger form;
  return form;
}

std::function<void()>& OpenSoftTriggerHook() {
  static std::function<void()> hook;
  return hook;
}

}  // namespace sv
