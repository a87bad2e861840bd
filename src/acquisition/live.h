// Live acquisition: the single grab, the running preview, timed grabs, frame
// averaging, noise reduction and the background image. Every frame goes into
// buffers the image already owns; nothing is allocated per frame.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace sv {

class Form_Camera;
class MDIForm_Main;

inline constexpr const char* kBackgroundFileName = "~BckGrnd.tif";
inline constexpr const char* kBackgroundStatus = " [- Background Image]";
inline constexpr const char* kBackgroundQuestionTitle = "Background Image Subtraction";
inline constexpr const char* kAverageTitle = "Averaging Frames";
inline constexpr const char* kTimerGrabTitle = "Timer Grab";
// The live picture's timer runs as fast as frames come.
inline constexpr int kPreviewIntervalMs = 10;
// Noise reduction lets each new frame count a quarter.
inline constexpr int kNoiseReductionFrames = 4;
inline constexpr long kAverageMin = 2, kAverageMax = 8192;
// The reference file is a 16-bit TIFF.
inline constexpr int kBackgroundFilter = 6;

// The state of the live modes.
struct LiveGlobals {
  int TimerPreview = 0;            // the host timer of the live picture; 0 when stopped
  long PreviewHandle = 0;          // the image the timer grabs into
  bool PreviewFrameSeen = false;   // PreviewFrameTime holds the live picture's last frame
  uint32_t PreviewFrameTime = 0;   // when the live picture's last frame was in (host clock)
  std::vector<uint32_t> AverageSum;  // the 32-bit sum of Average, kept between runs
  long AverageDone = 0;            // frames added so far (the bar of Picture1)
  bool FullScreenOn = false;
  // How the background image reaches its reference file and comes back;
  // empty: the 16-bit TIFF writer and the TIFF reader.
  std::function<bool(Form_Camera&, const std::string& path)> SaveBackground;
  std::function<bool(Form_Camera&, const std::string& path)> LoadBackground;
  // Told after every frame Grab brought and after every finished Average:
  // the window tool's automatic scan listens here. Empty: nobody.
  std::function<void(Form_Camera&)> NewImage;
};
LiveGlobals& LV();
void ResetLiveGlobals();

// The reference file: the images folder + "~BckGrnd.tif".
std::string BackgroundFilePath();
// The hidden background image; nullptr when there is none.
Form_Camera* BackgroundImage(MDIForm_Main* main = nullptr);

// Before the background is subtracted from `image`: a background of
// another size or depth asks the three-way question (reload, convert, or
// subtraction off). True when subtraction goes on.
bool BackgroundFits(Form_Camera& image);

// One frame into `image`. Returns the grabber's result: 0, or -2 when no sync
// came and the dummy's frame stands in; -1 when no frame can be taken.
long Grab(Form_Camera& image);
// The running picture: start digitising, one grab, the timer on.
void Preview(Form_Camera& image);
bool PreviewRunning();
void StopPreview();
// The timer's event: one grab; the frame rate into its panel, from the time
// between the live picture's last frame and this one.
void Timer_Preview();
// "12.5 Hz" for frames `ms` milliseconds apart ("0.0" format).
std::string FrameRateText(uint32_t ms);
// Averages n frames into `image` through a 32-bit sum and a shift by log2(n).
bool Average(Form_Camera& image, long n);
// The Average entry: a whole number from 2 to 8192, else nothing.
bool ParseAverageCount(const std::string& text, long& n);
// The Timer Grab entry: seconds, a number above 0.
bool ParseDelaySeconds(const std::string& text, double& seconds);

// Loads the background image from its reference file (start-up step).
// BackgroundValid follows whether it came.
void LoadBackgroundImage();

// The countdown of a timed grab; it presses Grab when the time is up.
class Form_TimerGrab {
 public:
  class View {
   public:
    virtual ~View() = default;
    virtual void Changed(const Form_TimerGrab&) {}
  };
  void SetView(View* view) { view_ = view; }
  void Start(double seconds);
  void Cancel();
  bool Visible() const { return visible_; }
  // The seconds left, rounded up, as shown.
  std::string Label_Time;
  void Tick();

 private:
  void Finish(bool grab);
  View* view_ = nullptr;
  bool visible_ = false;
  int timer_ = 0;
  uint32_t deadline_ = 0;
};
Form_TimerGrab& TimerGrabForm();

// The picture alone on the whole screen. The live picture draws into it while
// it is on.
class Form_FullScreen {
 public:
  class View {
   public:
    virtual ~View() = default;
    virtual void Present(const Form_Camera&) {}
    virtual void Shown(bool) {}
  };
  void SetView(View* view) { view_ = view; }
  void Show(long imageHandle);
  void Hide();
  bool Visible() const { return visible_; }
  long ImageHandle() const { return handle_; }
  void DrawImage();

 private:
  View* view_ = nullptr;
  bool visible_ = false;
  long handle_ = 0;
};
Form_FullScreen& FullScreenForm();

// Menu commands of the main window.
void mnuPreview_Click();
void mnuGrab_Click();
void mnuTimerGrab_Click();
void mnuAverage_Click();
void mnuAvgHist_Click();
void mnuDefineBackground_Click();
void mnuSubtractBackground_Click();
void mnuShowBackgroundImage_Click();
void mnuFullScreen_Click();

// The commands above on a main window, the preview's exit steps and the
// toolbar states; once per main window.
void RegisterLiveCommands(MDIForm_Main& main);
// The start-up step of the background image.
void InstallLiveEnvironment();
// Checks of the entries and keys that follow the live state.
void RefreshLiveControls(MDIForm_Main& main);

}  // namespace sv
