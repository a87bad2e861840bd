// The film player: opening and closing films, the window's caption, the
// settings section and the commands on the main window.
#include "video/form_soft_vtr.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>

#include "acquisition/live.h"
#include "analysis/form_window_setup.h"
#include "core/error_table.h"
#include "core/globals.h"
#include "core/host.h"
#include "core/ini_profile.h"
#include "core/mdi_main.h"
#include "core/settings.h"
#include "image/form_camera.h"
#include "video/film_files.h"
#include "video/film_repair.h"

namespace sv {

namespace {

constexpr const char* kCRLF = "\r\n";
// 1 GiB: a 16-bit colour frame of about 13000 x 13000.
constexpr uint64_t kMaxPlayerFrameBytes = uint64_t(1) << 30;

std::string Lower(std::string s) {
  for (char& c : s) c = char(std::tolower(static_cast<unsigned char>(c)));
  return s;
}

bool EndsWith(const std::string& name, const char* ext) {
  const std::string e = ext;
  return name.size() >= e.size() && Lower(name.substr(name.size() - e.size())) == e;
}

std::string RightTrimmed(std::string s) {
  while (!s.empty() && (s.back() == ' ' || s.back() == '\t')) s.pop_back();
  return s;
}

void Message(const std::string& text, const std::string& title,
             MsgIcon icon = MsgIcon::Exclamation) {
  host().MsgBox(text, MsgButtons::OK, icon, title);
}

}  // namespace

Form_SoftVTR::Form_SoftVTR() = default;

Form_SoftVTR::~Form_SoftVTR() {
  if (TheFilmSource() == this) SetFilmSource(nullptr);
  if (fd_ >= 0) ::close(fd_);
}

Form_SoftVTR& SoftVTRForm() {
  static Form_SoftVTR form;
  return form;
}

// --- The window ------------------------------------------------------------------------------

void Form_SoftVTR::Load() {
  visible_ = true;
  DrawMyTitle();
  view_->Shown(*this, true);
  Changed();
}

void Form_SoftVTR::Form_Unload() {
  Stopp();
  CloseVideo();
  // The picture stays with the main window; the player forgets it.
  imageHandle_ = 0;
  imageDoc_ = nullptr;
  ownImage_.reset();
  if (visible_) {
    visible_ = false;
    view_->Shown(*this, false);
  }
}

// --- Opening ---------------------------------------------------------------------------------

bool Form_SoftVTR::IsAVI() const { return video_ ? video_->IsAVI() : avi_; }

void Form_SoftVTR::IsAVI(bool avi) {
  if (IsOpen()) CloseVideo();
  avi_ = avi;
}

std::string Form_SoftVTR::Filename() const { return IsOpen() ? filename_ : ""; }

bool Form_SoftVTR::OpenVideo(const std::string& filename) {
  // 1.
  if (G().SubtractBackground) {
    const std::string q = std::string("Background Subtraction is currently enabled.") + kCRLF +
                          "Do you want to disable Background Subtraction?";
    if (host().MsgBox(q, MsgButtons::YesNo, MsgIcon::Question, kOpenFilmTitle) == MsgResult::Yes)
      G().SubtractBackground = 0;
  }
  Stopp();
  CloseVideo();
  // 2.
  bool avi = EndsWith(filename, ".avi");
  if (!avi) {
    const int kind = IsVideoFile(filename);
    if (kind == 0) return false;  // its message is shown
    avi = kind == 2;
  }
  bool ok = false;
  if (avi) {
    ok = Open_AVI(filename);
    if (!ok) Message("Error while opening " + filename, kOpenAVITitle);
  } else {
    bool colour = false;
    ok = Open_VID(filename, colour);
  }
  if (!ok) {
    CloseVideo();
    return false;
  }
  // 3.
  TimeCol = ColOf(kTimeColLabel);
  EnergyCol = ColOf(kEnergyColLabel);
  CycleCol = ColOf(kCycleColLabel);
  // 4.
  filename_ = filename;
  SliderMin = 0;
  SliderMax = std::max(0L, Frames - 1);
  SetFilmSource(this);
  if (!ShowFrame(0)) {
    CloseVideo();
    return false;
  }
  AddLastFile(filename);
  if (MDIForm_Main* main = MainForm()) main->UpdateLastFiles(filename);
  DrawMyTitle();
  // The picture's window is named after the film, also when it stays from
  // a film of the same shape.
  if (Form_Camera* image = ImageIf()) image->SetTitle(Caption);
  Changed();
  return true;
}

bool Form_SoftVTR::Open_VID(const std::string& filename, bool& isColour) {
  FilmSizeCheck check;
  const int read = CheckFilmSize(filename, check);
  if (read == 0) {
    Message("Error opening film " + filename, kOpenFilmTitle);
    return false;
  }
  // 1., 2. A file shorter than magic and header.
  if (read == 1) {
    Message(ErrorText(62), kOpenFilmTitle);
    return false;
  }
  FilmHeader = check.header;
  // 3. A frame the image document cannot hold is no film of this system.
  if (check.frameBytes > kMaxPlayerFrameBytes) {
    Message(filename + " is not a valid Film File", kOpenFilmTitle);
    return false;
  }
  FrameBytes = uint32_t(check.frameBytes);
  isColour = FilmHeader.HasColors != 0;
  long frames = FilmHeader.NumberOfPictures;
  // 4.
  if (FrameBytes > 0 && !check.Matches()) {
    const long proposed = long(check.roundedFrames);
    const std::string q = std::string("Filesize doesn't match:") + kCRLF + "New: " +
                          std::to_string(proposed) + " frames, Old: " + std::to_string(frames) +
                          " frames" + kCRLF + kCRLF + "Change Number of Frames?";
    if (host().MsgBox(q, MsgButtons::YesNo, MsgIcon::Question, kOpenFilmTitle) ==
        MsgResult::Yes) {
      // 5.
      frames = proposed;
      if (host().MsgBox("Save new Header to disk?", MsgButtons::YesNo, MsgIcon::Question,
                        kOpenFilmTitle) == MsgResult::Yes &&
          frames >= 1) {
        if (WriteFilmFrameCount(filename, frames))
          CheckFilmSize(filename, check), FilmHeader = check.header;
        else
          Message("Error writing " + filename, kOpenFilmTitle);
      }
    }
  }
  // 6.
  if (frames < 1 || FrameBytes == 0 || FilmHeader.BitsPerPixel < 8 ||
      FilmHeader.BitsPerPixel > 16) {
    Message(filename + " is not a valid Film File", kOpenFilmTitle);
    return false;
  }
  FilmHeader.NumberOfPictures = int32_t(frames);
  Frames = frames;
  // 7. Labels through the film object, which the editing reads too.
  video_ = NewVideoFile(false);
  std::string name = filename;
  long w = 0, h = 0, bits = 0;
  float rate = 0;
  if (!video_->FileOpen(name, kFilmOpenExist, &w, &h, &bits, &rate, isColour)) {
    // Its own message is shown.
    video_.reset();
    return false;
  }
  fd_ = ::open(filename.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd_ < 0) {
    Message("Error opening film " + filename, kOpenFilmTitle);
    video_.reset();
    return false;
  }
  ResetColumns();
  return true;
}

bool Form_SoftVTR::Open_AVI(const std::string& filename) {
  video_ = NewVideoFile(true);
  std::string name = filename;
  long w = 0, h = 0, bits = 0;
  float rate = 0;
  if (!video_->FileOpen(name, kFilmOpenExist, &w, &h, &bits, &rate, false) ||
      video_->Samples() < 1) {
    video_.reset();
    return false;
  }
  FilmHeader = VideoHeader();
  FilmHeader.NumberOfPictures = int32_t(video_->Samples());
  FilmHeader.Width = int32_t(video_->Width());
  FilmHeader.Height = int32_t(video_->Height());
  FilmHeader.BitsPerPixel = int16_t(video_->BitsPerPixel());
  FilmHeader.HasColors = video_->HasColors() ? 1 : 0;
  const float r = video_->Rate();
  FilmHeader.Duration = r > 0 ? int32_t(double(FilmHeader.NumberOfPictures) * 1000.0 / r) : 0;
  FrameBytes = video_->FrameSize();
  Frames = video_->Samples();
  ResetColumns();
  return true;
}

void Form_SoftVTR::ResetColumns() {
  colLabels_.clear();
  const long cols = video_ && !video_->IsAVI() ? video_->Cols() : 0;
  for (long i = 0; i < cols; ++i) colLabels_.push_back(RightTrimmed(video_->ColLabel(i)));
  FilmHeader.Cols = int16_t(cols);
  colData_.assign(size_t(cols), 0.0f);
  if (Col >= cols) Col = 0;
  CurrentFrame = 0;
  SelFirst = SelLast = -1;
}

void Form_SoftVTR::Close_VID() {
  if (fd_ >= 0) ::close(fd_);
  fd_ = -1;
  if (video_) video_->FileClose();
  video_.reset();
}

void Form_SoftVTR::Close_AVI() {
  if (video_) video_->FileClose();
  video_.reset();
}

void Form_SoftVTR::CloseVideo() {
  playing_ = false;
  if (video_ && video_->IsAVI())
    Close_AVI();
  else
    Close_VID();
  if (TheFilmSource() == this) SetFilmSource(nullptr);
  filename_.clear();
  FilmHeader = VideoHeader();
  FrameBytes = 0;
  Frames = 0;
  CurrentFrame = 0;
  TimeCol = EnergyCol = CycleCol = -1;
  colLabels_.clear();
  colData_.clear();
  energy_ = -1;
  cycle_ = -1;
  VTR_Time = 0;
  SelFirst = SelLast = -1;
  SliderMin = SliderMax = SliderValue = 0;
  Label_Position.clear();
  Label_Time.clear();
  Label_Frame.clear();
  Label_Col.clear();
  Label_Status = "Stop";
  atStart_ = false;
  DrawMyTitle();
  Changed();
}

bool Form_SoftVTR::VideoFileOpen() {
  FileDialog dlg;
  dlg.title = kOpenFilmTitle;
  dlg.filter = kOpenFilmFilter;
  dlg.filterIndex = 1;
  dlg.folder = G().FilmsPath;
  const FileDialogResult r = host().OpenFileDialog(dlg);
  if (r.path.empty()) return false;
  if (!OpenVideo(r.path)) return false;
  return true;
}

void Form_SoftVTR::DrawMyTitle() {
  std::string name = filename_;
  const size_t slash = name.find_last_of('/');
  if (slash != std::string::npos) name = name.substr(slash + 1);
  Caption = "Film - " + (name.empty() ? std::string("(untitled)") : name);
}

void Form_SoftVTR::ShowStatus(const std::string& text) {
  if (MDIForm_Main* main = MainForm())
    main->ShowStatus(text);
  else
    host().ShowStatus(text, -1);
}

// --- Settings --------------------------------------------------------------------------------

void Form_SoftVTR::AddLastFile(const std::string& name) {
  if (name.empty()) return;
  const std::string key = Lower(name);
  LastFiles.erase(std::remove_if(LastFiles.begin(), LastFiles.end(),
                                 [&](const std::string& f) { return Lower(f) == key; }),
                  LastFiles.end());
  LastFiles.insert(LastFiles.begin(), name);
  if (LastFiles.size() > size_t(kLastFilmFiles)) LastFiles.resize(size_t(kLastFilmFiles));
}

void Form_SoftVTR::FilmLoadPar(const Profile& ini) {
  LastFiles.clear();
  for (int i = 1; i <= kLastFilmFiles; ++i) {
    const std::string f = ini.GetString(kFilmSection, "File" + std::to_string(i), "");
    if (!f.empty()) LastFiles.push_back(f);
  }
  Col = std::max(0, ini.GetInt(kFilmSection, "Col", 0));
  if (IsOpen() && Col >= Cols()) Col = 0;
}

void Form_SoftVTR::FilmSavePar(Profile& ini) const {
  for (int i = 1; i <= kLastFilmFiles; ++i)
    ini.Set(kFilmSection, "File" + std::to_string(i),
            size_t(i) <= LastFiles.size() ? LastFiles[size_t(i - 1)] : "");
  ini.SetInt(kFilmSection, "Col", Col);
}

void RegisterFilmPlayerSettings() {
  for (const SettingsSection& s : SettingsSections())
    if (s.slot == SettingsSlot::FilmPlayer && s.name == kFilmSection) return;
  RegisterSettingsSection({SettingsSlot::FilmPlayer, kFilmSection,
                           [](const Profile& ini) { SoftVTRForm().FilmLoadPar(ini); },
                           [](Profile& ini) { SoftVTRForm().FilmSavePar(ini); }});
}

// --- The main window -------------------------------------------------------------------------

void InstallFilmHooks() {
  Hooks().IsFilmFrame = [](const Form_Camera& image) {
    Form_SoftVTR& p = SoftVTRForm();
    return p.IsOpen() && p.ImageIf() == &image;
  };
  Hooks().FilmHasEnergy = [](const Form_Camera& image) {
    Form_SoftVTR& p = SoftVTRForm();
    return p.IsOpen() && p.ImageIf() == &image && p.EnergyCol >= 0;
  };
  Hooks().FilmEnergy = [](const Form_Camera& image) {
    Form_SoftVTR& p = SoftVTRForm();
    return p.IsOpen() && p.ImageIf() == &image ? p.Energy() : 0.0f;
  };
}

void RegisterSoftVTRForm(MDIForm_Main& main, std::function<void()> show) {
  RegisterFilmPlayerSettings();
  InstallFilmHooks();
  auto open = [show] {
    Form_SoftVTR& p = SoftVTRForm();
    if (!p.Visible()) p.Load();
    if (show) show();
  };
  main.SetCommand("mnuFilm", [open](int) { open(); });
  main.SetCommand("mnuOpenFilm", [open](int) {
    open();
    SoftVTRForm().VideoFileOpen();
  });
  main.FilmOpenDo = [open](const std::string& path) {
    open();
    return SoftVTRForm().OpenVideo(path);
  };
  main.exitHooks.unloadForms.push_back([] { SoftVTRForm().Form_Unload(); });
}

}  // namespace sv
