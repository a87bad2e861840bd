// The line tool: Form_LineSetup edits the eight scan lines (one tab a line),
// reads single profiles and profiles over time, writes a profile into a
// worksheet, and draws lines on the picture with the mouse. A presenter: it
// holds its controls' values and talks only to the host; a Qt dialog binds
// to it through its View.
#pragma once

#include <string>

#include "analysis/scan_lines.h"

namespace sv {

class Form_Camera;
class Form_Worksheet;
class MDIForm_Main;

// The entries of Combo_Mode: "Fixed Position", then "Link to Window 1" ..
// "Link to Window 8".
std::string LineModeName(int mode);
// "Line " n " Invalid Line Position." for line index n (0-based).
std::string InvalidLineText(int n);
// The columns of a profile sheet and of svbatch's table.
inline constexpr const char* kLocationColumn = "location";
inline constexpr const char* kIntensityColumn = "intensity (a.u.)";
// Distance from the line's start of point i, in pixels.
float LineLocation(const ScanLine& line, long points, long i);

class Form_LineSetup {
 public:
  class View {
   public:
    virtual ~View() = default;
    virtual void Changed(const Form_LineSetup&) {}
  };
  struct Control {
    bool Enabled = true;
    bool Visible = true;
  };

  void SetView(View* view) { view_ = view ? view : &nullView_; }

  // Opens the tool on an image: sets the image's mode to 4, loads the tab of
  // CurrentLine (line 1 when none) and draws the lines. Unload puts the mode
  // back to 0 and takes the lines off the overlay. An image of nullptr opens
  // the tool on nothing.
  void Load(Form_Camera* image);
  void Unload();
  bool Visible() const { return visible_; }
  Form_Camera* ImageForm = nullptr;

  // Tabs "&1" .. "&8"; changing tab sets CurrentLine and loads the fields.
  int Tab = 0;
  void TabStrip_Click(int tab);

  // The ends of the current line, as shown. A field takes a whole number.
  std::string Text_x1, Text_Y1, Text_x2, Text_Y2;
  void Text_x1_Change();
  void Text_Y1_Change();
  void Text_x2_Change();
  void Text_Y2_Change();

  int Combo_Mode = 0;         // 0 fixed, n: linked to window n
  void Combo_Mode_Click();
  int Combo_Averaging = 0;    // list index 0..13: 1 .. 8192
  std::string Combo_AveragingText;
  void Combo_Averaging_Click();
  int Combo_LineWidth = 1;    // index into 1, 3, 5, 7, 9, 15, 25
  void Combo_LineWidth_Click();
  bool Check_Lock = false;    // the line may not be edited or moved
  void Check_Lock_Click();
  bool Check_AutoScale = false;  // scans repeat; a new image scans by itself
  void Check_AutoScale_Click();
  bool Check_Enabled = false;    // the line is read in an experiment
  void Check_Enabled_Click();
  // The view says the scan button is held down: the scan repeats meanwhile.
  bool ScanHeld = false;

  std::string Command_ScanCaption = "&Scan";
  std::string Command_ScanTCaption = "Profile(&t)";
  std::string Label_Length, Label_Angle;
  std::string Label_Status;  // frame counter of a board read, rate of Profile(t)
  Control Ctl_Text_x1, Ctl_Text_Y1, Ctl_Text_x2, Ctl_Text_Y2, Ctl_Combo_Averaging,
      Ctl_Command_Scan, Ctl_Command_ScanT, Ctl_Command_Grab, Ctl_Command_SHT,
      Ctl_Command_Delete, Ctl_Command_Calibration;

  // A press while scanning stops the scan.
  void Command_Scan();
  void Command_ScanT();
  void Command_Grab();
  void Command_SHT();
  void Command_Delete();
  void Command_Color(int32_t rgb);
  void Command_Calibration();  // the length calibration dialog; the labels follow
  void Command_Close();

  // The image document's call after each new image.
  void AutoScan();
  void UpdateButtonStatus();
  // The last profile into a new worksheet with a plot; nullptr without one.
  Form_Worksheet* CreateProfileSHT();
  // Arrows with Shift move the end point, with Ctrl the whole line; F5 scans.
  static constexpr int kShift = 1, kCtrl = 2;
  static constexpr int kKeyLeft = 0x25, kKeyUp = 0x26, kKeyRight = 0x27, kKeyDown = 0x28,
                       kKeyF5 = 0x74;
  bool Form_KeyDown(int keyCode, int shift);
  // The last profile into the profile window.
  void PlotProfile();

  bool Scanning() const { return scanning_ || scanningT_; }
  // The mouse on the picture while the image's mode is 4, in image pixels:
  // near an end drags that end, on the line drags the line, elsewhere a new
  // line is drawn into the current one. The status line shows "Line: " n.
  void Picture_MouseDown(long x, long y);
  void Picture_MouseMove(long x, long y, bool buttonDown);
  void Picture_MouseUp(long x, long y);

  void Refresh();

 private:
  void Changed() { view_->Changed(*this); }
  Form_Camera* Image() const;
  ScanLine& Current();
  void UpdateLabels();
  void Redraw();
  void StoreEnds(long x1, long y1, long x2, long y2);
  bool ScanOnce(Form_Camera& image);
  bool TextEnd(const std::string& text, int which);
  void ShowLineStatus(long x, long y);

  long imageHandle_ = 0;
  bool scanning_ = false, scanningT_ = false, stopPressed_ = false;
  int statusLine_ = -1;
  View nullView_;
  View* view_ = &nullView_;
  bool visible_ = false;
  struct Drag {
    bool active = false;
    int what = 0;  // 1 start, 2 end, 3 the whole line, 4 a new line
    long x0 = 0, y0 = 0;
    int32_t old[4] = {0, 0, 0, 0};
  } drag_;
};
Form_LineSetup& LineSetupForm();

// Every line of the image on its overlay in its colour (the current one with
// grips at its ends) and redraws.
void Overlay_LineSetup(Form_Camera& image);

// mnuLineSetup on a main window and the tool's hook into new images.
void RegisterLineCommands(MDIForm_Main& main);

}  // namespace sv
