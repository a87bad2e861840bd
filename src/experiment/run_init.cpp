// The start of a run: every buffer a step needs is taken here, so that a
// step allocates nothing large; the sheet is emptied and named; the file
// handshake is asked whether the receiver is there. Also the run's journal.
#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <limits>
#include <new>

#include "acquisition/grabber.h"
#include "acquisition/grabber_environment.h"
#include "acquisition/live.h"
#include "analysis/form_window_setup.h"
#include "core/error_table.h"
#include "core/globals.h"
#include "core/host.h"
#include "experiment/film_source.h"
#include "experiment/form_experiment.h"
#include "hardware/energy.h"
#include "image/form_camera.h"
#include "image/kernel/numbers.h"
#include "plot/form_plot.h"
#include "worksheet/form_worksheet.h"

namespace sv {

namespace {

// A clock read this often without moving stands still: a real millisecond
// clock moves long before.
constexpr long kClockStandsStill = 10'000'000;

// A plain busy wait on the host clock, without a yield, for the first
// energy to settle.
void BusyDwell(float ms) {
  if (!(ms > 0)) return;
  const int32_t span = int32_t(std::min<double>(RoundEven(double(ms)), INT32_MAX));
  const uint32_t start = host().TimeGetTime();
  uint32_t last = start;
  long still = 0;
  for (;;) {
    const uint32_t now = host().TimeGetTime();
    if (SV_SubTime(now, start) >= span) return;
    if (now != last) {
      last = now;
      still = 0;
    } else if (++still > kClockStandsStill) {
      return;
    }
  }
}

// "I(E)-Experiment_" + yy-mm-dd-hh-mm-ss + ".sht" in the default sheet folder.
std::string RunSheetPath(bool ie) {
  std::string folder = G().SheetsPath;
  if (!folder.empty() && folder.back() != '/' && folder.back() != '\\') folder += '/';
  const std::time_t now = std::time(nullptr);
  std::tm t{};
  localtime_r(&now, &t);
  char stamp[32];
  std::snprintf(stamp, sizeof stamp, "%02d-%02d-%02d-%02d-%02d-%02d", t.tm_year % 100,
                t.tm_mon + 1, t.tm_mday, t.tm_hour, t.tm_min, t.tm_sec);
  return folder + (ie ? "I(E)-Experiment" : "I(t)-Experiment") + "_" + stamp + ".sht";
}

long Levels(long bits) { return bits > 0 && bits < 31 ? (1L << bits) - 1 : 0; }

void AddCurves(JournalHeader& header, const Form_Plot* plot, int number) {
  if (!plot) return;
  for (const PlotCurveRecord& c : plot->CurveRecords())
    header.curves.push_back({number, c.XCol, c.YCol, c.Legend, c.Color});
  header.plots.push_back({number, plot->XLabelText(), plot->YLabelText()});
}

}  // namespace

// --- Buffers ---------------------------------------------------------------------------

bool Form_Experiment::InitImage(bool vtr) {
  ExperimentSettings& es = ES();
  imageBuffer_ = nullptr;
  imageSamples_ = 0;
  std::vector<uint16_t>().swap(ownFrame_);
  if (vtr || (es.SelectedWindows.empty() && es.SelectedLines.empty()) || Board().Roi()) return true;
  // The frames go into the image document's pixels, so that the screen
  // shows the last one; without a document of that shape, into our own.
  const size_t samples = size_t(imageWidth_) * size_t(imageHeight_) * (colour_ ? 3 : 1);
  if (Form_Camera* image = SourceImage()) {
    Grab(*image);
    if (image->ImagePtr() && image->ImageWidth() == imageWidth_ &&
        image->ImageHeight() == imageHeight_ && image->HasColors() == colour_ &&
        size_t(image->ImageBytes()) / 2 >= samples) {
      imageBuffer_ = image->ImagePtr();
      imageSamples_ = samples;
      return true;
    }
  }
  try {
    ownFrame_.assign(samples, 0);
  } catch (const std::bad_alloc&) {
    return false;
  }
  imageBuffer_ = ownFrame_.data();
  imageSamples_ = samples;
  return true;
}

bool Form_Experiment::InitWindows(bool ie, bool vtr, float energy) {
  ExperimentSettings& es = ES();
  const WindowStepEnergy step{ie, energy, es.EStart, es.EStep};
  for (int16_t i : es.SelectedWindows) {
    ScanWindow& w = WG().ScanWindows[size_t(i)];
    WindowCenterFromHome(w);
    // The forecast of Repeat and Target mode at the first energy.
    WindowPrepareStep(w, step, imageWidth_, imageHeight_);
    // A window that follows the energy is largest at the lowest one: the
    // buffer fits it there.
    if (ie && w.DynamicSize == 1) WindowSizeFromEnergy(w, std::min(es.EStart, es.EStop));
    WindowUpdateRect(w, imageWidth_, imageHeight_);
    if (!WindowBufferAlloc(w, colour_, false)) return false;
    if (!vtr) es.MaxAveraging = std::max(es.MaxAveraging, w.Averaging);
  }
  return true;
}

// --- ExperimentInit ----------------------------------------------------------------------

bool Form_Experiment::ExperimentInit() {
  ExperimentSettings& es = ES();
  const bool vtr = FilmMode();
  const bool ie = es.ExperimentType == kExperimentIE;
  FilmSource* film = vtr ? TheFilmSource() : nullptr;
  Form_Camera* filmImage = film ? film->Image() : nullptr;
  const auto fail = [](bool memory) {
    host().SetBusy(false);
    if (memory)
      host().MsgBox(ErrorText(kErrNoMemory), MsgButtons::OK, MsgIcon::Critical, "Error");
    ShowStatus("");
    return false;
  };
  initialised_ = false;
  // 1.
  ShowStatus("Initializing...");
  host().SetBusy(true);
  // 2. The run's first energy: the sweep list's first entry, else EStart.
  float first = es.EStart;
  if (es.UserSweep && !List_Sweep.empty()) {
    List_SweepIndex = 0;
    if (ie) SweepEntryEnergy(0, first);
  }
  // 3. It settles without a yield.
  if (ie && !vtr) {
    SetEnergy(first, true);
    BusyDwell(es.DwellTime);
  }
  // 4., 5.
  es.MaxAveraging = 1;
  if (vtr) {
    imageWidth_ = filmImage ? filmImage->ImageWidth() : 0;
    imageHeight_ = filmImage ? filmImage->ImageHeight() : 0;
    colour_ = filmImage && filmImage->HasColors();
  } else {
    imageWidth_ = GrabberWidth() > 0 ? GrabberWidth() : kDummyWidth;
    imageHeight_ = GrabberHeight() > 0 ? GrabberHeight() : kDummyHeight;
    colour_ = GrabberIsColor();
  }
  // 6., 7.
  for (ScanWindow& w : WG().ScanWindows) WindowBufferFree(w);
  if (!InitImage(vtr)) return fail(true);
  // 8. Windows.
  if (!InitWindows(ie, vtr, ie ? first : es.Energy)) return fail(true);
  // 9. Lines.
  if (!LinesStartRun(colour_)) return fail(true);
  if (!vtr)
    for (int16_t i : es.SelectedLines)
      es.MaxAveraging = std::max(es.MaxAveraging, LG().ScanLines[size_t(i)].Averaging);
  // The row and what goes out with it: a sheet with the definition's columns.
  Form_Worksheet* sheet = EnsureWorksheet();
  const long needed = long(ExperimentColumnNames(es, IntensityUnit()).size());
  if (ColumnCount != needed || sheet->Cols() != needed + 1) BuildColumns(*sheet);
  try {
    rowData_.assign(size_t(ColumnCount + 1), 0.0f);
    journalValues_.assign(size_t(ColumnCount), 0.0);
    filmValues_.assign(es.SelectedChannels.size(), 0.0f);
    rowText_.reserve(size_t(ColumnCount) * 16);
    for (auto& p : profiles_) p.reserve(4096);
  } catch (const std::bad_alloc&) {
    return fail(true);
  }
  // 10.
  sheet->Rows(1);
  sheet->Row(0);
  sheet->UpdatePlots();
  // 11., 12.
  if (vtr) {
    film->First();
    dynamik_ = Levels(film->Bits());
    if (ie && !es.UserSweep && film->NextFrameInSweepEnergyRange(es.EStart, es.EStop))
      StopCode() = int16_t(kErrEndOfClip);
  } else {
    const Form_Camera* image = SourceImage();
    dynamik_ = Levels(image ? image->ImageBitsPerPixel() : GrabberBitsPerPixel());
    es.Energy = first;
  }
  // 13.
  sheetPath_ = RunSheetPath(ie);
  // 14.
  if (es.OnlineExport) {
    host().SetBusy(false);
    if (!HandshakeRunStart(HandShake1, HandshakeFolderSetting(), sheetPath_, 2000))
      return fail(false);
  }
  // 15.
  initialised_ = true;
  host().SetBusy(false);
  ShowStatus("");
  char time[32];
  std::snprintf(time, sizeof time, "%.1f s", es.Time * 0.001);
  Text_Time = time;
  Changed();
  return true;
}

void Form_Experiment::ExperimentExit() {
  for (ScanWindow& w : WG().ScanWindows) WindowBufferFree(w);
  LinesEndRun();
  std::vector<uint16_t>().swap(ownFrame_);
  imageBuffer_ = nullptr;
  imageSamples_ = 0;
  std::vector<float>().swap(rowData_);
  std::vector<double>().swap(journalValues_);
  std::vector<float>().swap(filmValues_);
  for (auto& p : profiles_) std::vector<float>().swap(p);
  initialised_ = false;
}

// --- The journal ------------------------------------------------------------------------

void Form_Experiment::OpenJournal(bool fresh) {
  Form_Worksheet* sheet = Worksheet();
  journalOpen_ = false;
  if (!sheet || sheetPath_.empty()) return;
  // A continued run writes the journal afresh, with the rows it already has.
  if (!fresh) journal_.Remove();
  JournalHeader header;
  header.experimentType = ES().ExperimentType;
  header.sheetPath = sheetPath_;
  for (long c = 1; c <= ColumnCount && c < sheet->Cols(); ++c)
    header.columns.push_back({sheet->ColName(c), sheet->Record(c).Label, sheet->Record(c).Typ});
  AddCurves(header, IntensityPlot(), 0);
  AddCurves(header, ADPlot(), 1);
  std::string error;
  if (!journal_.Open(sheetPath_, header, error)) {
    // No journal is no reason to stop the run.
    ShowStatus("Experiment running... (no journal: " + error + ")");
    return;
  }
  journalOpen_ = journalPending_ = true;
  ShowStatus("Experiment running...");
  for (long r = 1; !fresh && r <= sheet->Row(); ++r) {
    for (long c = 1; c <= ColumnCount; ++c) {
      double v = 0;
      journalValues_[size_t(c - 1)] =
          sheet->NumberAt(r, c, v) ? v : std::numeric_limits<double>::quiet_NaN();
    }
    if (!journal_.Append(r, journalValues_)) break;
  }
}

void Form_Experiment::DropJournal() {
  if (journalPending_) journal_.Remove();
  journalOpen_ = journalPending_ = false;
}

}  // namespace sv
