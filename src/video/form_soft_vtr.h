// The film player: Form_SoftVTR plays one film at a time into an image
// document, steps, skips, plays forward and back, tags a range of frames,
// shows a frame's numbers, and edits films (the editing members live in
// form_soft_vtr_edit*.cpp). A run can take its frames from the open film
// instead of a camera: the player is the run's FilmSource while a film is
// open. A presenter: the Qt player window binds to it through its View.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "experiment/film_source.h"
#include "video/video_file.h"

namespace sv {

class Form_Camera;
class Form_Experiment;
class MDIForm_Main;
class Profile;

inline constexpr const char* kOpenFilmTitle = "Open Film";
inline constexpr const char* kOpenAVITitle = "Open AVI";
inline constexpr const char* kFilmSection = "Film";
inline constexpr const char* kTimeColLabel = "time (s)";
inline constexpr const char* kEnergyColLabel = "energy (eV)";
inline constexpr const char* kCycleColLabel = "Cycle";
inline constexpr const char* kOpenFilmFilter =
    "all video files (.vid;.avi)|*.vid;*.avi|SV4200 video files (*.vid)|*.vid|"
    "AVI files (*.avi)|*.avi|all files (*.*)|*.*|";
// Without a time column each frame counts half a second.
inline constexpr int32_t kFrameMsWithoutTime = 500;
// The player's identity as an image source.
inline constexpr long kIDVTR = 2;
inline constexpr int kLastFilmFiles = 4;

// "mm:ss.s" of a time in milliseconds ("00:00.0"), "--:--.-" when negative.
std::string FormatTime(long ms);

class Form_SoftVTR final : public FilmSource {
 public:
  // What the player window is told.
  class View {
   public:
    virtual ~View() = default;
    // Any of the fields below changed: caption, status word, position,
    // slider, tags, selection text, enabled states.
    virtual void Changed(const Form_SoftVTR&) {}
    // A new frame is in the image document (Image()); the document has
    // been redrawn already.
    virtual void FrameShown(const Form_SoftVTR&) {}
    // The player window is to be shown (true) or hidden (false).
    virtual void Shown(const Form_SoftVTR&, bool) {}
  };

  Form_SoftVTR();
  ~Form_SoftVTR() override;
  Form_SoftVTR(const Form_SoftVTR&) = delete;
  Form_SoftVTR& operator=(const Form_SoftVTR&) = delete;
  void SetView(View* view) { view_ = view ? view : &nullView_; }

  // Showing the player window, and Form_Unload: closes the film and saves
  // the player's settings section.
  void Load();
  void Form_Unload();
  bool Visible() const { return visible_; }

  // --- The film ----------------------------------------------------------------------------
  // Opens a film of either type; asks first about background subtraction.
  // False with the failure shown.
  bool OpenVideo(const std::string& filename);
  // The ".vid" opening with the file-size test and its two questions.
  bool Open_VID(const std::string& filename, bool& isColour);
  bool Open_AVI(const std::string& filename);
  void Close_VID();
  void Close_AVI();
  void CloseVideo();
  // The "Open Film" dialog, then OpenVideo. False when cancelled or failed.
  bool VideoFileOpen();
  bool IsOpen() const { return video_ != nullptr; }
  bool IsAVI() const;
  // Sets the type of the next film object (closes any open film).
  void IsAVI(bool avi);
  // The open film's name, "" when none.
  std::string Filename() const;
  // The open film object; null when none. Editing reads through it.
  VideoFile* Video() { return video_.get(); }
  const VideoFile* Video() const { return video_.get(); }
  // The caption: "Film - " + the file name, or "Film - (untitled)".
  void DrawMyTitle();

  // Module state.
  VideoHeader FilmHeader;
  uint32_t FrameBytes = 0;      // width * height, * 3 in colour, * 2 above 8 bits
  long Frames = 0;              // frames in use
  long CurrentFrame = 0;        // the frame on show
  long Col = 0;                 // the column shown in the status, kept in the settings
  long TimeCol = -1, EnergyCol = -1, CycleCol = -1;  // 0-based, -1 when absent
  int32_t VTR_Time = 0;         // ms of the present frame
  long IDVTR = kIDVTR;
  std::vector<std::string> LastFiles;  // the four last films, most recent first

  // --- Frames ------------------------------------------------------------------------------
  // The slider's change: reads frame n into the image document and shows it.
  // Beyond the end: "Frame " + n + " does not exist." and false.
  bool ShowFrame(long n);
  // In range: slider and frame, true; else false and nothing changes.
  bool GotoFrame(long frame);
  // The image document the frames go to; made on first use (through the
  // main window's image factory when there is one). Null without a film.
  Form_Camera* Image() override;
  // The image document if there is one; never makes one.
  Form_Camera* ImageIf() const;

  // --- Columns of the present frame ----------------------------------------------------------
  long Cols() const;
  // 1-based: index below 1 or above Cols gives "" or 0.0.
  std::string ColLabel(long i) const;
  float ColData(long i) const;
  // The 0-based column with that label, -1 when none.
  long ColOf(const std::string& label) const;
  // "Frame n" then "[label] = value" for each column, CRLF between.
  std::string ColInfo() const;
  long Cycle() const { return cycle_; }      // -1 without a cycle column
  float Energy() const override { return energy_; }  // -1 without an energy column
  int32_t TimeMs() const override { return VTR_Time; }
  bool VTR_UserData(const std::string& label, float& value) const;
  bool UserData(const std::string& label, float& value) const override {
    return VTR_UserData(label, value);
  }
  // The energy and time a plot following the film can show: the lowest and
  // highest energy (both -1 without an energy column) and the time of the
  // first and last frame, in seconds. False without a film.
  struct ClipRange {
    float eMin = -1, eMax = -1;
    double tMin = 0, tMax = 0;
  };
  bool PlotClipRange(ClipRange& range);

  // --- Transport ------------------------------------------------------------------------------
  // Skip frames forward or back, whatever the playing direction; false
  // (nothing moves) when that lies beyond an end.
  bool NextFrame();
  bool PreviousFrame();
  void VTR_First();
  void LastFrame();
  // Plays from the present frame at the film's rate, forward or (with
  // Check_Reverse) backward, by Skip frames a step, until Stopp, the end or
  // the first frame; with Replay from the other end again.
  void Play();
  void Previous();  // plays backward
  void Stopp();     // the break flag: the loop stops at its next pass
  void VTR_Stop();
  // Steps one frame forward; false at the end (nothing moves).
  bool VTR_Step();
  void mnuSkip(long frames);  // frames a step, at least 1
  void mnuReplay();           // toggles Replay
  bool Check_Reverse = false;
  bool Replay = false;
  long Skip = 1;
  bool Playing() const { return playing_; }
  bool BreakFlag = false;
  // Transport is disabled while a run holds the film.
  bool TransportEnabled() const;

  // --- What the window shows ------------------------------------------------------------------
  std::string Caption = "Film";
  // "Play", "Step", "Pause", "Stop", "First", "Back", "Still".
  std::string Label_Status = "Stop";
  std::string Label_Position;   // "(1.5 s)" or "(120 eV)", " [- Background Image]" appended
  std::string Label_Time;       // FormatTime of the present frame
  std::string Label_Frame;      // "Frame n / frames - 1"
  std::string Label_Col;        // the Col'th column: "label = value"
  long SliderMin = 0, SliderMax = 0, SliderValue = 0;

  // --- Tags -----------------------------------------------------------------------------------
  long SelFirst = -1, SelLast = -1;  // -1 when nothing is selected
  void TagDown(long frame);           // a click on the tag bar: the first tag
  void TagDrag(long frame);           // dragging: the last tag
  void mnuSelAll();
  void mnuSelClear();
  bool HasSelection() const { return SelFirst >= 0 && SelLast >= 0; }
  // The lower and upper selected frame.
  long SelLow() const;
  long SelHigh() const;
  // "Selected Frames: [first] ... [last]", "" when none.
  std::string SelectionStatus() const;

  // --- Information and background -------------------------------------------------------------
  // The film's properties as shown by mnuInfo.
  std::string InfoText() const;
  void mnuInfo();
  void mnuDefineBackground();
  void mnuSubtractBackground();
  // The background state: "Background Subtraction: on|off", the image's size.
  std::string BackgroundText() const;
  void mnuBackground();

  // --- Settings: section "Film" ---------------------------------------------------------------
  void FilmLoadPar(const Profile& ini);
  void FilmSavePar(Profile& ini) const;
  // Puts a name at the top of LastFiles.
  void AddLastFile(const std::string& name);

  // --- A run on the film ----------------------------------------------------------------------
  // Ties the player to a run (null: none); transport is off while tied.
  void SetExperimentForm(Form_Experiment* form);
  Form_Experiment* ExperimentForm() const { return experiment_; }
  // Steps to the next frame whose energy lies in the run's range (EStart
  // to EStop of the experiment settings); result true at the end of the film.
  void SetNextFrameInSweepEnergyRange(bool& result);
  // FilmSource.
  long Bits() const override;
  void First() override { VTR_First(); }
  bool Step() override { return VTR_Step(); }
  bool NextFrameInSweepEnergyRange(float eStart, float eStop) override;
  void Stop() override { VTR_Stop(); }

  // --- Editing (form_soft_vtr_edit*.cpp) ---------------------------------------------------
  // mask: one entry a frame, -1 deletes it. Writes the kept frames to a new
  // ".vid" beside the film and opens that; the film itself stays untouched.
  bool DeleteFrames(const std::vector<int32_t>& mask);
  void mnuDeleteFrame();
  void mnuDeleteSel();
  void mnuDelete2ndFrame();
  void mnuDeleteFramesFromFile();
  bool SortVID(const std::string& source, const std::string& target);
  bool AppendVID(const std::string& file1, const std::string& file2, const std::string& target);
  // type: the target's kind, 1 ".vid", 2 ".avi" (SaveFilmDialog's filter).
  bool MergeVideo(const std::string& file1, int type, const std::string& file2,
                  const std::string& target);
  void mnuMergeVideo();
  bool Import(const std::vector<std::string>& names);
  void mnuImport();
  void mnuExport();
  bool CreateWorksheet(const std::string& name);
  bool Resize(long width, long height);
  bool VideoSaveAs();
  // Status line of the editing operations (through the main window or the host).
  void ShowStatus(const std::string& text);

 private:
  friend class SoftVTRAccess;  // tests
  void Changed() { view_->Changed(*this); }
  bool ReadIntoImage(long n);
  void DecodeNumbers();
  void UpdateCaptions();
  bool SubtractBackground(Form_Camera& image);
  void ResetColumns();
  void SetOpen(bool open);
  bool StepBy(long delta);
  void PlayLoop(bool backward);
  Form_Camera* EnsureImage();

  View nullView_;
  View* view_ = &nullView_;
  bool visible_ = false;
  bool avi_ = false;
  bool playing_ = false;
  std::unique_ptr<VideoFile> video_;
  std::string filename_;
  std::unique_ptr<Form_Camera> ownImage_;  // without a main window
  long imageHandle_ = 0;                   // with one
  const Form_Camera* imageDoc_ = nullptr;  // the document that handle was given to
  int fd_ = -1;                            // ".vid": the frames are read here
  bool atStart_ = false;                   // First() was the last move: frame 0 is yet to count
  std::vector<uint8_t> frame8_;            // 8-bit films: the frame before conversion
  std::vector<float> colData_;             // the present frame's numbers, 0-based
  std::vector<std::string> colLabels_;
  float energy_ = -1;
  long cycle_ = -1;
  Form_Experiment* experiment_ = nullptr;
};

Form_SoftVTR& SoftVTRForm();

// mnuFilm and mnuOpenFilm, the transport, tag, background and info
// commands, ".vid"/".avi" in OpenDocument and the film settings section on
// a main window; `show` shows the player window.
void RegisterSoftVTRForm(MDIForm_Main& main, std::function<void()> show);
// The settings section at its place (once).
void RegisterFilmPlayerSettings();
// The window tools' film hooks: the player's picture is a film frame.
void InstallFilmHooks();

}  // namespace sv
