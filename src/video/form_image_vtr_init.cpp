// The start and end of a recording: ExperimentInit opens the films (the
// append, replace and overwrite questions), gives them their labels and
// takes every buffer a record needs; ExperimentExit closes the films and
// puts the grabber back on its input.
#include <algorithm>
#include <filesystem>
#include <new>

#include "core/error_table.h"
#include "core/host.h"
#include "experiment/sweep_file.h"
#include "hardware/energy.h"
#include "video/film_files.h"
#include "video/form_image_vtr.h"
#include "worksheet/form_worksheet.h"

namespace sv {

namespace {

bool IsAviName(const std::string& name) {
  if (name.size() < 4) return false;
  std::string ext = name.substr(name.size() - 4);
  for (char& c : ext) c = char(std::tolower(static_cast<unsigned char>(c)));
  return ext == ".avi";
}

bool HasDot(const std::string& name) {
  const size_t slash = name.find_last_of("/\\");
  return name.find('.', slash == std::string::npos ? 0 : slash + 1) != std::string::npos;
}

void InitMessage(const std::string& text) {
  host().MsgBox(text, MsgButtons::OK, MsgIcon::Critical, kRecorderInitTitle);
}

}  // namespace

long Form_ImageVTR::VideoSource(long film) const {
  return VideoSourceOf(VTR().VideoSource, film, firstSource_);
}
long Form_ImageVTR::NextVideoSource(long s) const { return NextVideoSourceOf(VTR().VideoSource, s); }
long Form_ImageVTR::FilmIndex(long s) const { return FilmIndexOf(VTR().VideoSource, s); }

void Form_ImageVTR::CloseAllFilms() {
  for (auto& film : Video)
    if (film && !film->Filename().empty()) film->FileClose();
}

bool Form_ImageVTR::PrintMyFileSize() {
  const long film = std::clamp(film_, 0L, long(Video.size()) - 1);
  uint32_t low = 0, high = 0;
  if (film < 0 || !Video[size_t(film)] || !Video[size_t(film)]->FileSize(low, high)) {
    Label_FileSize = "*** Error ***";
    lastError_ = -1;
    StopCode() = -1;
    return false;
  }
  const uint64_t size = uint64_t(high) << 32 | low;
  std::string text = std::to_string(size) + " (" + std::to_string(Video[size_t(film)]->Samples()) + " frames)";
  if (Video.size() > 1) text = std::to_string(film + 1) + ": " + text;
  Label_FileSize = text;
  return true;
}

bool Form_ImageVTR::NumericData(long film) {
  Form_Worksheet* sheet = Worksheet();
  if (!sheet || film < 0 || film >= long(Video.size()) || !Video[size_t(film)]) return false;
  labels_.clear();
  for (long c = 1; c < sheet->Cols(); ++c) labels_.push_back(sheet->ColName(c));
  NumericDataRow.assign(labels_.size(), 0.0f);
  return Video[size_t(film)]->NumericData(labels_);
}

// Inputs are selected in turn; every one must deliver the first one's size.
bool Form_ImageVTR::CheckSizes() {
  VTRGrabber& grabber = RecorderGrabber();
  for (long film = 0; film < VideoSources; ++film) {
    const long input = VideoSource(film);
    if (!grabber.SelectInput(input)) {
      InitMessage("Error:\r\nVideo Source " + std::to_string(input) + " is not available.");
      return false;
    }
    if (film == 0) {
      width_ = grabber.Width();
      height_ = grabber.Height();
    } else if (grabber.Width() != width_ || grabber.Height() != height_) {
      InitMessage("Error:\r\nImage Size of all cameras must be equal.");
      return false;
    }
  }
  return true;
}

// Opens film `film` after the questions; false ends the start.
bool Form_ImageVTR::OpenFilm(long film, long width, long height) {
  std::string name = filmNames_[size_t(film)];
  VideoFile& video = *Video[size_t(film)];
  int mode = kFilmOpenCreateWrite;
  if (video.FileOpen(name, kFilmOpenExist, nullptr, nullptr, nullptr, nullptr, false) &&
      video.Samples() > 0) {
    const long ow = video.Width(), oh = video.Height(), ob = video.BitsPerPixel();
    const bool oc = video.HasColors();
    const bool same = SameVideoFormat(video, width, height, bits_, colour_);
    video.FileClose();
    if (same) {
      switch (host().MsgBox("Append Video to existing Video File?", MsgButtons::YesNoCancel,
                            MsgIcon::Question, kSaveVideoTitle)) {
        case MsgResult::Yes: mode = kFilmOpenWrite; break;
        case MsgResult::No: mode = kFilmOpenCreateWrite; break;
        default: return false;
      }
    } else {
      const std::string text = "Existing Video Format: " + FilmFormatText(ow, oh, ob, oc) +
                               "\r\nis different from new Video Format: " +
                               FilmFormatText(width, height, bits_, colour_) +
                               ".\r\nCan't append!\r\n\r\nOverwrite " + name + " ?";
      if (host().MsgBox(text, MsgButtons::OKCancel, MsgIcon::Exclamation, kSaveVideoTitle) !=
          MsgResult::OK)
        return false;
    }
  } else {
    video.FileClose();
    std::error_code ec;
    if (std::filesystem::exists(name, ec) &&
        host().MsgBox("Overwrite " + name + " ?", MsgButtons::OKCancel, MsgIcon::Question,
                      kSaveVideoTitle) != MsgResult::OK)
      return false;
  }
  long w = width, h = height, b = bits_;
  float rate = 15;
  if (!video.FileOpen(name, mode, &w, &h, &b, &rate, colour_)) {
    InitMessage("Can`t open " + name);
    lastError_ = -1;
    return false;
  }
  FrameIndex[size_t(film)] = uint32_t(video.Samples());
  if (!NumericData(film)) {
    InitMessage("Cannot open video file " + name);
    return false;
  }
  return true;
}

bool Form_ImageVTR::ExperimentInit() {
  VTRSettings& v = VTR();
  VTRGrabber& grabber = RecorderGrabber();
  // 1.
  ShowStatus("Initializing...");
  host().SetBusy(true);
  CloseAllFilms();
  const auto fail = [this] {
    CloseAllFilms();
    Video.clear();
    host().SetBusy(false);
    ShowStatus("");
    Changed();
    return false;
  };
  try {
    // 2.
    std::string name = Label_VIDFilename;
    if (name.empty()) {
      InitMessage(ErrorText(52));
      return fail();
    }
    if (!HasDot(name)) name += ".vid";
    // 3.
    VideoSources = VideoSourcesOf(v.VideoSource);
    avi_ = IsAviName(name);
    Video.clear();
    for (int i = 0; i < VideoSources; ++i) Video.push_back(NewVideoFile(avi_));
    if (std::any_of(Video.begin(), Video.end(), [](auto& p) { return !p; })) {
      InitMessage("Can`t open " + name);
      return fail();
    }
    FrameIndex.assign(size_t(VideoSources), 0);
    FrameRates.assign(size_t(VideoSources), 0.0f);
    // 4.
    firstSource_ = grabber.Input();
    if (VideoSources > 1) {
      if (!CheckSizes()) return fail();
    } else {
      width_ = grabber.Width();
      height_ = grabber.Height();
    }
    // 5. Colour frames keep one byte a sample.
    grabberBits_ = std::clamp(grabber.Bits(), 1L, 16L);
    colour_ = grabber.IsColor();
    bits_ = RecorderBits(grabberBits_, v.Average);
    if (colour_) bits_ = 8;
    // 6.
    Form_Worksheet* sheet = EnsureWorksheet();
    if (sheet->Cols() != ColumnCount + 1 || ColumnCount == 0) BuildColumns(*sheet);
    filmNames_.clear();
    for (long film = 0; film < VideoSources; ++film) {
      if (avi_) {
        bits_ = 8;
        colour_ = true;
      }
      filmNames_.push_back(BuildFilmFilename(name, VideoSources, int(film)) + (avi_ ? ".avi" : ".vid"));
      if (!OpenFilm(film, width_, height_)) return fail();
    }
    // 7.
    source_ = VideoSource(0);
    film_ = 0;
    if (source_ != grabber.Input()) grabber.SelectInput(source_);
    cycle_ = 0;
    // The buffers of a record.
    const size_t samples = size_t(width_) * size_t(height_) * (grabber.IsColor() ? 3 : 1);
    grab_.assign(samples, 0);
    sum_.assign(v.Average > 1 ? samples : 0, 0);
    frame_.assign(Video[0]->FrameSize(), 0);
    channels_ = v.Channels;
    rowData_.assign(size_t(ColumnCount + 1), 0.0f);
    if (!PrintMyFileSize()) return fail();
    sheet->Rows(1);
    sheet->Row(0);
    sheet->UpdatePlots();
    // The run's first energy: the sweep list's first entry, else EStart.
    ie_ = v.ExperimentType == kExperimentIE;
    energy_ = v.EStart;
    List_SweepIndex = -1;
    if (v.UserSweep && !List_Sweep.empty()) {
      List_SweepIndex = 0;
      if (ie_) energy_ = float(std::strtod(List_Sweep[0].c_str(), nullptr));
    }
    if (ie_) SetEnergy(energy_, true);
  } catch (const std::bad_alloc&) {
    InitMessage(ErrorText(kErrNoMemory));
    return fail();
  } catch (const std::exception& e) {
    InitMessage(e.what());
    return fail();
  }
  // 8.
  host().SetBusy(false);
  ShowStatus("");
  Text_Time = "0.0 s";
  Changed();
  return true;
}

void Form_ImageVTR::ExperimentExit() {
  CloseAllFilms();
  for (const std::string& name : filmNames_) UpdateLastVIDFileList(LastVIDFiles, name);
  VTR().LastFiles = LastVIDFiles;
  // The film's line shows what it holds now.
  DrawFilmInfo();
  RecorderGrabber().SelectInput(firstSource_);
  std::vector<uint16_t>().swap(grab_);
  std::vector<uint32_t>().swap(sum_);
  std::vector<uint8_t>().swap(frame_);
}

}  // namespace sv
