// The shutter dialog (Shutter -> Shutter Control, and the experiment's
// shutter label): the shutter logic on or off, the cycles before the shutter
// closes, the detector's time range and hysteresis, maximum or minimum, the
// output level that opens the shutter, and the pin's state, read by a timer.
//
// The check boxes, the slider and the options write the shutter record
// (HW().ShutterControl) as they change; the two fields are taken by
// Command_OK. Command_Cancel puts back the record as it was at Load.
#pragma once

#include <array>
#include <functional>
#include <string>

#include "hardware/hardware.h"

namespace sv {

inline constexpr int kHystereseSliderMax = 255;
inline constexpr int kShutterTimerMs = 200;
// Option_TriggerSource's two options; the record's TriggerSource is 1 for
// the first (minimum), 0 for the second (maximum).
inline constexpr int kOptionMinimum = 0;
inline constexpr int kOptionMaximum = 1;

class Form_SoftTrigger {
 public:
  class View {
   public:
    virtual ~View() = default;
    // Any control or label changed (a timer tick included).
    virtual void Changed(const Form_SoftTrigger&) {}
  };
  void SetView(View* view) { view_ = view ? view : &nullView_; }

  // Keeps a copy of the record, fills the controls and starts the pin timer.
  void Load();
  // Stops the timer (Command_OK and Command_Cancel do this themselves).
  void Unload();
  bool Visible() const { return visible_; }

  std::string Caption = "Shutter Control";

  bool Check_Shutter = false;  // ShutterEnabled
  void Check_Shutter_Click();
  std::string Text_Cycles;        // at or above 1
  std::string Text_MinTimeRange;  // seconds, at or above 0
  // 0..255: Hysterese = slider / 255 * ImageDynamik of the current image, or
  // the plain fraction without one.
  int Slider_Hysterese = 0;
  void Slider_Hysterese_Change();
  std::string Label_min = "Min", Label_Max = "Max";
  std::string Label_Hysterese;  // the value the slider stands for
  std::array<bool, 2> Option_TriggerSource{false, true};
  static constexpr std::array<const char*, 2> kTriggerSourceCaptions{
      "Trigger on M&inimum of Intensity", "Trigger on M&aximum of Intensity"};
  void Option_TriggerSource_Click(int index);
  bool Check_OpenLevel = false;  // on: output high opens the shutter
  void Check_OpenLevel_Click();

  // The pin as the timer last read it: "OPEN" or "CLOSED", and "HIGH" or
  // "LOW"; "N/A" for both without a ready I/O interface.
  std::string Label_Shutter = "N/A", Label_Level = "N/A";
  void Timer_Tick();

  // False with "Invalid Parameter" shown when a field is empty or out of
  // range; the dialog stays. True when taken: the dialog closes.
  bool Command_OK();
  void Command_Cancel();

 private:
  // ImageDynamik of the image in front (or the live picture), 0 without one.
  long Dynamik() const;
  void ShowRange();
  void ShowPin();
  void Changed() { view_->Changed(*this); }

  ShutterControlRecord saved_;
  int timer_ = 0;
  bool visible_ = false;
  View nullView_;
  View* view_ = &nullView_;
};

// The one dialog of the process.
Form_SoftTrigger& SoftTriggerForm();
// Opens the dialog as the user sees it; the Qt front end fills it. Unset:
// nothing opens.
std::function<void()>& OpenSoftTriggerHook();

}  // namespace sv
