// The window tools: Form_WindowSetup (one tab per window, the single scan,
// the peak line of Repeat mode, drawing windows with the mouse),
// Form_MoveWindow (nudging the evaluated rectangle) and Form_WindowScanResult
// (the report). Presenters: they hold their controls' values and talk only to
// the host; a Qt dialog binds to each through its View.
#pragma once

#include <array>
#include <functional>
#include <string>

#include "analysis/scan_windows.h"

namespace sv {

class Form_Camera;
class MDIForm_Main;

inline constexpr const char* kScanTitle = "Scan";
inline constexpr const char* kNoImageText = "No image in memory. Open or Grab a new image";
inline constexpr const char* kRepeatModeTitle = "Repeat Mode";
inline constexpr long kWindowSetupMode = 8;  // the picture's mouse belongs to the window tool

// What the window tools ask of the layers above them (energy sources, films,
// the intensity calibration). Unset entries answer "no".
struct AnalysisHooks {
  // An energy source is set up; with it, Energy() is the present energy in eV.
  std::function<bool()> EnergyKnown;
  std::function<float()> Energy;
  // The image is a film's frame (VTR mode), and that film has an energy column.
  std::function<bool(const Form_Camera&)> IsFilmFrame;
  std::function<bool(const Form_Camera&)> FilmHasEnergy;
  // The energy of the film frame on show (eV).
  std::function<float(const Form_Camera&)> FilmEnergy;
  // The intensity calibration of an image is on; its conversion and unit.
  std::function<bool(const Form_Camera&)> CalibrationOn;
  std::function<float(const Form_Camera&, float)> CalIntensity;
  std::function<std::string(const Form_Camera&)> CalibrationUnit;
};
AnalysisHooks& Hooks();
// The application knows the energy for this image: the film's energy column
// in VTR mode, else a set-up energy source.
bool EnergyKnownFor(const Form_Camera* image);
// The present energy (0 when unknown).
float PresentEnergy();

// A board that sums windows itself (GRABBER_roi). No driver of this platform
// does; tests put a fake one in.
class WindowBoard {
 public:
  virtual ~WindowBoard() = default;
  virtual bool Roi() { return false; }
  virtual bool Digitize() { return false; }
  virtual bool Sync() { return false; }
  // Adds frame `frame` of the window's evaluated rectangle into its buffer
  // (frame 0 starts a new sum), as SV_scan_frame16 would.
  virtual bool ScanFrame(ScanWindow&, long /*frame*/) { return false; }
};
WindowBoard& Board();
void SetWindowBoard(WindowBoard* board);  // nullptr: back to the grabber's own

class Form_WindowSetup {
 public:
  // What the dialog shows: tabs, field texts, enabled and visible states.
  class View {
   public:
    virtual ~View() = default;
    virtual void Changed(const Form_WindowSetup&) {}
    // The result form is to be raised with the latest report.
    virtual void ShowResult(const Form_WindowSetup&) {}
    // The line of Repeat mode: image pixels of both ends, zoom applied by the
    // painter; labels beside the lower, further-right end. Empty labels: none.
    // All four ends -1: no line. The line and its labels are on the image's
    // overlay too, so a view that paints the overlay need not draw them.
    virtual void RepeatLine(long /*x1*/, long /*y1*/, long /*x2*/, long /*y2*/,
                            const std::string& /*label1*/, const std::string& /*label2*/) {}
  };
  struct Control {
    bool Enabled = true;
    bool Visible = true;
  };

  Form_WindowSetup();
  void SetView(View* view) { view_ = view; }

  // Opens the tool on an image: sets the image's mode to 8, loads the tab of
  // CurrentWindow (window 1 when none), draws the windows. The dialog shows
  // itself on the View::Changed that follows, with Visible() true; Unload
  // sends one with Visible() false, puts the mode back to 0 and takes the
  // windows off the overlay. An image of nullptr opens the tool on nothing:
  // a scan then says there is no image.
  void Load(Form_Camera* image);
  void Unload();
  bool Visible() const { return visible_; }
  Form_Camera* ImageForm = nullptr;
  long FrameIndex = 0;

  // Tabs "&1" .. "&8"; changing tab sets CurrentWindow and loads the fields.
  int Tab = 0;
  void TabStrip_Click(int tab);

  // Fields of the current window, as shown.
  std::string Text_l, Text_t, Text_w, Text_h, Text_Threshold;
  void Text_l_Change();
  void Text_t_Change();
  void Text_w_Change();
  void Text_h_Change();
  void Text_w_LostFocus();
  void Text_Threshold_LostFocus();
  // "+" and "-" step the field by one instead of being typed; true when the
  // key was taken. `field` is one of 'l', 't', 'w', 'h'.
  bool Text_KeyPress(char field, char key);

  int Combo_Averaging = 0;             // list index 0..13: 1 .. 8192
  std::string Combo_AveragingText;     // what the combo shows ("1" .. "8192", or a stored odd value)
  void Combo_Averaging_Click();
  int Combo_Mode = 0;                  // 0..4; a stored 5 shows no entry (-1)
  void Combo_Mode_Click();
  int Combo_Shape = 0;
  void Combo_Shape_Click();
  bool Check_AutoScan = true;
  void Check_AutoScan_Click();
  bool Check_DynamicSize = false;
  void Check_DynamicSize_Click();
  bool Check_Lock = false;
  void Check_Lock_Click();
  std::string Label_Status;            // the form's own status label

  // Enable and visibility states.
  Control Ctl_Text_l, Ctl_Text_t, Ctl_Text_w, Ctl_Text_h, Ctl_Text_Threshold, Ctl_Label_Threshold,
      Ctl_Check_DynamicSize, Ctl_Combo_Averaging, Ctl_Combo_Shape, Ctl_Command_Delete,
      Ctl_Command_Scan, Ctl_Command_AddSum, Ctl_Command_ClearSum;

  // Keys while the form has focus: arrows with Shift (size) or Ctrl (place),
  // F5 (0x74) for Command_Scan. True when the key was used.
  static constexpr int kShift = 1, kCtrl = 2;
  static constexpr int kKeyLeft = 0x25, kKeyUp = 0x26, kKeyRight = 0x27, kKeyDown = 0x28,
                       kKeyF5 = 0x74;
  bool Form_KeyDown(int keyCode, int shift);

  void Command_Scan();
  void Command_Grab();
  void Command_Delete();
  void Command_Close();
  void Command_Color(int32_t rgb);  // the colour the colour dialog gave
  void Command_Calibration();       // the intensity calibration dialog
  void Command_AddSum();
  void Command_ClearSum();

  // The image document's call after each new image.
  void AutoScan();
  // The peak line of a window in Repeat mode.
  void DrawRepeatLine(int index);
  // The energy changed: W, H of the current window from W0, H0.
  void EnergyChganged();
  // ".par" files through the file dialogs ("Load Parameter" / "Save Parameter").
  void INIFileOpen();
  void INIFileSave();

  // The mouse on the picture while the image's mode is 8, in image pixels:
  // inside a window drags it (unless locked), elsewhere a new rectangle is
  // drawn into the current window. The status line shows "Window: " + n of
  // the window under the mouse.
  void Picture_MouseDown(long x, long y);
  void Picture_MouseMove(long x, long y, bool buttonDown);
  void Picture_MouseUp(long x, long y);

  // The fields back from the record of the current window.
  void Refresh();
  // The latest report, for Form_WindowScanResult.
  const std::string& Report() const { return report_; }

 private:
  friend float PresentEnergy();
  void Changed();
  // The image the tool works on; nullptr when none, or when it was closed.
  Form_Camera* Image() const;
  ScanWindow& Current();
  // Enable and visibility states from the record and the image.
  void UpdateControls();
  // Stores a place or a size the way the fields do, and shows it.
  void StoreX1(long v);
  void StoreY1(long v);
  void StoreW(long v);
  void StoreH(long v);
  void Redraw();
  void ShowWindowStatus(long x, long y);
  long imageHandle_ = 0;
  bool scanning_ = false;
  int statusWindow_ = -1;  // the window last named in the status line
  View nullView_;
  View* view_ = &nullView_;
  bool visible_ = false;
  std::string report_;
  struct Drag {
    bool active = false;
    bool moving = false;  // dragging an existing window, else drawing a new one
    long x0 = 0, y0 = 0, startX1 = 0, startY1 = 0;
    // The current window before a new rectangle, back when nothing was drawn.
    int32_t oldX1 = 0, oldY1 = 0, oldW = 0, oldH = 0;
    float oldW0 = 0, oldH0 = 0;
    int32_t oldCenterX = 0, oldCenterY = 0;
  } drag_;
};
Form_WindowSetup& WindowSetupForm();

// Puts every valid window of the image on its overlay in its colour (solid
// when RunState is 0, dotted when 2; the current one with grips) and redraws.
void Overlay_WindowSetup(Form_Camera& image);
// The 11 x 11 cross at (x, y) in a colour.
void Overlay_Cross(Form_Camera& image, long x, long y, int32_t colour);

// One frame's evaluation of the window's home rectangle on the image into
// WG().Result (colour through the colour routines); Dynamic = ImageDynamik.
// False when the image has no pixels or the window does not fit.
bool WindowEvaluate(const ScanWindow& window, Form_Camera& image);
// After an evaluation in WG().Result: WindowApplyResult, the report text
// (the calibrated lines when the image's calibration is on, the VTR line for
// a film's frame, "Window moved"), the 11 x 11 cross at (X.max, Y.max) on the
// image's overlay, the moved window redrawn. Returns the text; `moved` tells
// whether the window moved. The single scan shows the text; svbatch prints it.
std::string WindowReport(ScanWindow& window, Form_Camera& image, bool& moved);

class Form_MoveWindow {
 public:
  class View {
   public:
    virtual ~View() = default;
    virtual void Changed(const Form_MoveWindow&) {}
  };
  void SetView(View* view) { view_ = view; }
  void Load(Form_Camera* image);
  Form_Camera* ImageForm = nullptr;

  int Option_Frame = 0;  // the selected window
  std::array<Form_WindowSetup::Control, kWindowCount> Ctl_Option_Frame;  // valid windows enabled
  bool Check_Fast = false;      // steps of 8
  bool Check_SetStart = false;  // the move becomes the home position
  void Option_Frame_Click(int n);
  void Check_SetStart_Click();
  void Command_Up();
  void Command_Down();
  void Command_Left();
  void Command_Right();
  void Command_Close();
  void UpdateFrames();
  bool Visible() const { return visible_; }

 private:
  Form_Camera* Image() const;
  long imageHandle_ = 0;
  View nullView_;
  View* view_ = &nullView_;
  bool visible_ = false;
};
Form_MoveWindow& MoveWindowForm();

class Form_WindowScanResult {
 public:
  class View {
   public:
    virtual ~View() = default;
    virtual void Changed(const Form_WindowScanResult&) {}
  };
  void SetView(View* view) { view_ = view; }
  std::string Text_Result;
  Form_Camera* ImageForm = nullptr;
  void Show(const std::string& text, Form_Camera* image);
  // The text menu; SaveAs writes the text through the save dialog.
  void EditCopy();
  void EditCut();
  void EditPaste();
  void EditDelete();
  bool FileSaveAs();
  bool Visible() const { return visible_; }
  void Hide();

 private:
  View nullView_;
  View* view_ = &nullView_;
  bool visible_ = false;
};
Form_WindowScanResult& WindowScanResultForm();

// mnuWindowSetup, mnuLoadWindowPar, mnuSaveWindowPar on a main window, and
// the window tool's hook into new images (AutoScan). Once per main window.
void RegisterWindowCommands(MDIForm_Main& main);

}  // namespace sv
