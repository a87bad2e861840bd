// The recording loop: ExperimentDo runs the experiment's steps (RunSteps);
// each step is one record, ExperimentGrab: a frame (summed over the
// averages) with its numbers in its first cells, or stamped on the picture
// in an AVI film, goes to the film of the present input; the row goes to
// the sheet; the next input is selected.
#include <sys/stat.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdio>
#include <filesystem>

#include "acquisition/grabber_environment.h"
#include "acquisition/live.h"
#include "core/error_table.h"
#include "core/globals.h"
#include "core/host.h"
#include "core/mdi_main.h"
#include "experiment/form_experiment.h"
#include "experiment/run_steps.h"
#include "experiment/trigger.h"
#include "experiment/wait.h"
#include "hardware/energy.h"
#include "image/form_camera.h"
#include "image/kernel/numbers.h"
#include "plot/form_plot.h"
#include "video/form_image_vtr.h"
#include "video/text_stamp.h"
#include "worksheet/form_worksheet.h"

namespace sv {

namespace {

// The disk and the file size are shown this often.
constexpr int32_t kDiskShowMs = 2000;
// The sheet is kept in the temporary folder this often while recording.
constexpr int32_t kSweepSheetMs = 10000;

std::string Fixed(double value, int decimals) {
  char text[48];
  std::snprintf(text, sizeof text, "%.*f", decimals, value);
  return text;
}

std::string SweepSheetPath() { return host().TempPath() + kRecorderSweepSheet; }

// The drive of a film: the mount point of the folder it lies in (the
// highest folder above it on the same device).
std::string DriveOf(const std::string& name) {
  std::error_code ec;
  std::filesystem::path p = std::filesystem::absolute(name, ec).parent_path();
  struct stat st {};
  if (ec || ::stat(p.c_str(), &st) != 0) return p.string();
  for (;;) {
    const std::filesystem::path up = p.parent_path();
    struct stat above {};
    if (up == p || ::stat(up.c_str(), &above) != 0 || above.st_dev != st.st_dev) return p.string();
    p = up;
  }
}

std::string SizeText(int64_t bytes) {
  if (bytes < 0) return "unknown";
  const double mb = double(bytes) / (1024.0 * 1024.0);
  if (mb >= 1024) return Fixed(mb / 1024.0, 2) + " GB";
  return Fixed(mb, 1) + " MB";
}

}  // namespace

void Form_ImageVTR::RunControls(bool running) {
  for (Control* c : {&Ctl_Command_Accept, &Ctl_Command_Cancel, &Ctl_Command_Start, &Ctl_Command_Close})
    c->Enabled = !running;
  Ctl_Command_Stop.Enabled = running;
  if (!running) SetEditState(false);
}

void Form_ImageVTR::ShowTimeAndRate() {
  const Form_Worksheet* sheet = Worksheet();
  const long rows = sheet ? sheet->Row() : 0;
  Text_Time = Fixed(time_ * 0.001, 0) + " s";
  Text_Rate = time_ <= 0 ? "- Hz" : Fixed(double(rows) / (time_ * 0.001), 1) + " Hz";
  Text_Records = std::to_string(rows) + " Records";
  for (size_t f = 0; f < FrameRates.size(); ++f)
    FrameRates[f] = time_ > 0 && f < FrameIndex.size() ? float(FrameIndex[f] * 1000.0 / time_) : 0;
}

void Form_ImageVTR::Command_Start() {
  if (running_ || AcceptPending()) return;
  ExperimentDo();
}

void Form_ImageVTR::Command_Stop() {
  StopCode() = int16_t(kErrExperimentCanceled);
  host().DoEvents();
}

void Form_ImageVTR::ShowDiskSpace() {
  const std::string drive = DriveOf(filmNames_.empty() ? Label_VIDFilename : filmNames_[0]);
  ShowStatus("Free disk space on " + drive + " " + SizeText(host().FreeDiskSpace(drive)));
}

// --- The loop ------------------------------------------------------------------------

void Form_ImageVTR::ExperimentDo() {
  if (running_) return;
  VTRSettings& v = VTR();
  const bool previewWas = PreviewRunning();
  StopPreview();
  StopCode() = 0;
  lastError_ = 0;
  if (!ExperimentInit()) {
    if (previewWas)
      if (Form_Camera* image = PreviewImage(MainForm())) Preview(*image);
    return;
  }
  running_ = true;
  RunControls(true);
  MainCaption = G().AppTitle + " - Experiment running...";
  if (MDIForm_Main* main = MainForm()) main->MenuEnabled(false);
  Form_Worksheet* sheet = Worksheet();
  sheet->Locked(true);
  sheet->Redraw(false);
  Text_Time = "0 s";
  Text_Rate = "- Hz";
  Text_Records = "0 Records";
  Changed();
  host().DoEvents();

  time_ = 0;
  WaitTrigger(true);
  if (StopCode() == 0) {
    startTime_ = host().TimeGetTime();
    lastDiskShow_ = startTime_;
    nextDisplay_ = 0;
    bool measured = true;
    if (!ie_ && v.tStart != 0) {
      Label_tStartMarked = true;
      Changed();
      WaitSince(startTime_, v.tStart);
      Label_tStartMarked = false;
      Changed();
      measured = StopCode() == 0;
    }
    if (measured) {
      StepSweep sweep;
      sweep.ie = ie_;
      sweep.userSweep = v.UserSweep != 0 && !List_Sweep.empty();
      sweep.sweepCount = long(List_Sweep.size());
      sweep.tStop = v.tStop;
      sweep.tStep = v.tStep;
      sweep.dwell = v.DwellTime;
      sweep.EStart = v.EStart;
      sweep.EStop = v.EStop;
      sweep.EStep = v.EStep;
      if (!sweep.userSweep) List_SweepIndex = 0;
      StepState state{startTime_, time_, energy_, List_SweepIndex, nextDisplay_};
      StepHooks hooks;
      hooks.mark = [this](StepWait wait, bool on) {
        (wait == StepWait::Dwell ? Label_dwellTimeMarked : Label_tStepMarked) = on;
        Changed();
      };
      int32_t nextSheet = kSweepSheetMs;
      hooks.display = [this, &nextSheet] {
        ShowTimeAndRate();
        // A copy of the sheet in the temporary folder outlives a crash.
        if (time_ >= nextSheet) {
          if (Form_Worksheet* s = Worksheet()) s->SaveWorksheet(SweepSheetPath(), true);
          nextSheet = time_ + kSweepSheetMs;
        }
        Changed();
      };
      hooks.record = [this] { return ExperimentGrab() && ChangeSource(); };
      hooks.stopped = [] { return StopCode() != 0; };
      hooks.stopCode = [] { return int(StopCode()); };
      hooks.sweepEnergy = [this](long index, float& energy) {
        if (index < 0 || index >= long(List_Sweep.size())) return false;
        std::string text = List_Sweep[size_t(index)];
        std::replace(text.begin(), text.end(), ',', '.');
        energy = float(std::strtod(text.c_str(), nullptr));
        return true;
      };
      hooks.setEnergy = [](float energy) { SetEnergy(energy, true); };
      hooks.leave = [this] {
        const Form_Worksheet* s = Worksheet();
        return StepLimit > 0 && s && s->Row() >= StepLimit;
      };
      RunSteps(sweep, state, hooks);
    }
  }
  EndRun();
  if (previewWas)
    if (Form_Camera* image = PreviewImage(MainForm())) Preview(*image);
}

// The end of a recording, however it came: the films closed with their
// headers, the sheet keeps the rows that were written.
void Form_ImageVTR::EndRun() {
  Form_Worksheet* sheet = Worksheet();
  const long rows = sheet ? std::clamp(sheet->Row(), 0L, sheet->Rows() - 1) : 0;
  Label_tStartMarked = Label_tStepMarked = Label_dwellTimeMarked = false;
  ShowTimeAndRate();
  if (lastError_ == 0 && StopCode() != 0) lastError_ = StopCode();
  PrintMyFileSize();
  MainCaption = G().AppTitle;
  std::string status = std::to_string(rows) + " Records";
  if (sheet) {
    sheet->Locked(false);
    sheet->Rows(rows + 1);
    sheet->Redraw(true);
    sheet->UpdatePlots();
    // The sheet's copy in the temporary folder stays with AutoSave, else goes.
    const std::string temp = SweepSheetPath();
    std::error_code ec;
    if (VTR().AutoSave) {
      if (sheet->SaveWorksheet(temp, true) == 0) status += " saved to " + temp;
    } else {
      std::filesystem::remove(temp, ec);
    }
  }
  ExperimentExit();
  ShowStatus(status);
  running_ = false;
  RunControls(false);
  if (MDIForm_Main* main = MainForm()) main->MenuEnabled(true);
  Changed();
}

// --- One record ---------------------------------------------------------------------------

// Sums the averages and packs the frame into the film's format: one byte a
// sample up to 8 bits (lines as long as the film's frame gives them), two
// bytes, low first, above; colour as R, G, B.
void Form_ImageVTR::ReadFrame() {
  VTRGrabber& grabber = RecorderGrabber();
  const long average = VTR().Average;
  const bool grabColour = grab_.size() == size_t(width_) * size_t(height_) * 3;
  const size_t samples = grab_.size();
  // A 16-bit grey film of single frames takes the grabber's frame as it is.
  if (average <= 1 && bits_ > 8 && !colour_ && !grabColour &&
      frame_.size() >= samples * 2 && std::endian::native == std::endian::little) {
    grabber.Read(Samples16(reinterpret_cast<uint16_t*>(frame_.data()), samples));
    return;
  }
  int shift = 0;
  for (long n = average; n > 1; n /= 2) ++shift;
  shift = std::max(0, int(grabberBits_) + shift - int(bits_));
  const uint16_t* src = grab_.data();
  const uint32_t* sum = nullptr;
  if (average > 1) {
    std::fill(sum_.begin(), sum_.end(), 0u);
    for (long f = 0; f < average; ++f) {
      grabber.Read(Samples16(grab_.data(), samples));
      for (size_t i = 0; i < samples; ++i) sum_[i] += grab_[i];
    }
    sum = sum_.data();
  } else {
    grabber.Read(Samples16(grab_.data(), samples));
  }
  const uint32_t top = bits_ >= 16 ? 0xFFFFu : (1u << bits_) - 1;
  const auto value = [&](size_t i) {
    const uint32_t v = (sum ? sum[i] : src[i]) >> shift;
    return std::min(v, top);
  };
  if (bits_ > 8) {
    const size_t pixels = std::min(samples, frame_.size() / 2);
    for (size_t i = 0; i < pixels; ++i) {
      const uint32_t v = value(grabColour ? i * 3 + 1 : i);  // a colour grab: its green
      frame_[2 * i] = uint8_t(v);
      frame_[2 * i + 1] = uint8_t(v >> 8);
    }
    return;
  }
  const size_t lineBytes = height_ > 0 ? frame_.size() / size_t(height_) : 0;
  const size_t perPixel = colour_ ? 3 : 1;
  const size_t columns = std::min(size_t(width_), lineBytes / perPixel);
  for (long y = 0; y < height_; ++y) {
    uint8_t* line = frame_.data() + size_t(y) * lineBytes;
    const size_t row = size_t(y) * size_t(width_);
    for (size_t x = 0; x < columns; ++x) {
      const size_t p = row + x;
      if (colour_ && grabColour) {
        for (size_t k = 0; k < 3; ++k) line[3 * x + k] = uint8_t(value(3 * p + k));
      } else if (colour_) {
        line[3 * x] = line[3 * x + 1] = line[3 * x + 2] = uint8_t(value(p));
      } else if (grabColour) {
        line[x] = uint8_t((value(3 * p) + value(3 * p + 1) + value(3 * p + 2)) / 3);
      } else {
        line[x] = uint8_t(value(p));
      }
    }
  }
}

bool Form_ImageVTR::ExperimentGrab() {
  VTRSettings& v = VTR();
  Form_Worksheet* sheet = Worksheet();
  if (!sheet || film_ < 0 || film_ >= long(Video.size())) {
    StopCode() = int16_t(kErrNoMemory);
    return false;
  }
  VideoFile& film = *Video[size_t(film_)];
  // 1.
  ReadFrame();
  // 2. The numbers: energy (I(E)), time, the A/D channels.
  const float seconds = float(time_ * 0.001);
  size_t n = 0;
  auto put = [&](float value) {
    if (n < NumericDataRow.size()) NumericDataRow[n] = value;
    if (n + 1 < rowData_.size()) rowData_[n + 1] = value;
    ++n;
  };
  if (ie_) put(energy_);
  put(seconds);
  Form_Plot* adplot = adPlotHandle_ ? dynamic_cast<Form_Plot*>(sheet->FindPlot(adPlotHandle_)) : nullptr;
  long curve = 0;
  const float x = ie_ ? energy_ : seconds;
  for (int16_t c : channels_) {
    const float volts = ReadVoltage(c, HW().ADCalibrationOn);
    put(volts);
    if (adplot && std::find(v.PlotChannels.begin(), v.PlotChannels.end(), c) != v.PlotChannels.end())
      adplot->PlotPoint(curve++, x, volts);
  }
  // 3. Cells from the frame's start; an AVI film shows the numbers instead.
  if (!avi_) {
    std::vector<float> cells(NumericDataRow.size() + 1);
    cells[0] = float(cycle_);
    std::copy(NumericDataRow.begin(), NumericDataRow.end(), cells.begin() + 1);
    SV_code(Samples8(frame_.data(), frame_.size()), cells);
  } else {
    const long bytesPerLine = height_ > 0 ? long(frame_.size()) / height_ : 0;
    StampText(frame_.data(), width_, height_, bytesPerLine, colour_,
              StampLine(labels_, NumericDataRow));
  }
  // 4. The frame's buffer is ours: it is always there.
  if (frame_.empty()) {
    host().MsgBox("Bad ReadPtr!", MsgButtons::OK, MsgIcon::Critical, "ExperimentGrab");
    StopCode() = -1;
    lastError_ = -1;
    return false;
  }
  // 5.
  if (!film.WriteFrame(FrameIndex[size_t(film_)], frame_.data())) {
    host().MsgBox("Error writing Video File " + film.Filename() + "\r\nExperiment stopped!",
                  MsgButtons::OK, MsgIcon::Critical, kRecorderTitle);
    lastError_ = -1;
    StopCode() = -1;
    return false;
  }
  // 6.
  ++FrameIndex[size_t(film_)];
  if (v.FlushBuffer) film.FlushFileBuffer();
  // 7.
  const long before = sheet->Row();
  sheet->SetRowData(rowData_);
  if (sheet->Row() == before) {
    StopCode() = int16_t(kErrMaxRows);
    return true;
  }
  if (v.UpdateWorksheet) {
    sheet->View().ShowCurrentCell(*sheet);
    sheet->Redraw(true);
    sheet->Redraw(false);
  }
  // 8. The disk, at intervals.
  const uint32_t now = host().TimeGetTime();
  if (SV_SubTime(now, lastDiskShow_) >= kDiskShowMs) {
    lastDiskShow_ = now;
    ShowDiskSpace();
    if (!PrintMyFileSize()) return false;
    // The screen shows the last frame.
    if (Form_Camera* image = PreviewImage(MainForm()))
      if (image->ImagePtr() && size_t(image->ImageBytes()) / 2 >= grab_.size() &&
          image->ImageWidth() == width_ && image->ImageHeight() == height_) {
        std::copy(grab_.begin(), grab_.end(), image->ImagePtr());
        image->Update8BitImage();
        image->DrawCameraImage();
      }
    Changed();
  }
  return true;
}

// The next input, and its film; a real camera's input settles first.
bool Form_ImageVTR::ChangeSource() {
  if (VideoSources <= 1) {
    ++cycle_;
    return true;
  }
  source_ = NextVideoSource(source_);
  film_ = std::clamp(FilmIndex(source_), 0L, long(Video.size()) - 1);
  if (film_ == 0) ++cycle_;
  ShowStatus(kChangingSourceText);
  VTRGrabber& grabber = RecorderGrabber();
  grabber.SelectInput(source_);
  if (const long settle = grabber.SettleMs(); settle > 0) WaitSince(host().TimeGetTime(), int32_t(settle));
  return true;
}

}  // namespace sv
