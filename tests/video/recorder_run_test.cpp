// Recordings on the fake three-input grabber and the simulated clock: what
// lands in which film, the numbers inside the frames, the questions about
// existing films, the depth of averaged frames, and the run's texts.
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>

#include "core/error_table.h"
#include "experiment/form_experiment.h"
#include "recorder_fixture.h"
#include "video/compress_options.h"

namespace sv::test {
namespace {

using Strings = std::vector<std::string>;

TEST_F(RecorderTest, ThreeFilmsGetTheirInputsFramesWithCycleAndTimeInTheCells) {
  DefineIt(folder + "name.vid", 4, 6);
  Record();
  EXPECT_TRUE(host.messages.empty()) << host.MessageTexts().front();
  EXPECT_EQ(form.FilmNames(), (Strings{folder + "name_1.vid", folder + "name_2.vid", folder + "name_3.vid"}));
  EXPECT_EQ(form.Worksheet()->Rows(), 7);  // the header row and six records
  for (long film = 0; film < 3; ++film) {
    SCOPED_TRACE(film);
    auto vid = Open(form.FilmNames()[size_t(film)]);
    ASSERT_EQ(vid->Samples(), 2);
    EXPECT_EQ(vid->Cols(), 1);
    EXPECT_EQ(vid->ColLabel(0), "time (s)");
    EXPECT_EQ(vid->BitsPerPixel(), 12);
    for (uint32_t i = 0; i < 2; ++i) {
      const Frame f = ReadFrame(*vid, i);
      EXPECT_EQ(f.lastSample, uint32_t(1000 + 10 * film));  // input `film`
      EXPECT_EQ(f.cells[0], float(i));                        // the round
      // Steps every 100 ms from 100 ms: record 3 i + film.
      EXPECT_FLOAT_EQ(f.cells[1], 0.1f * float(3 * i + film + 1));
    }
  }
  // The grabber went round the inputs and back to where it was.
  EXPECT_EQ(grabber.input, 0);
  EXPECT_EQ(form.LastVIDFiles.front(), folder + "name_3.vid");
}

TEST_F(RecorderTest, ModeThreeRecordsInputsOneAndTwoAndSettlesAfterEachChange) {
  grabber.input = 2;
  grabber.settle = 40;
  DefineIt(folder + "pair", 3, 4);
  EXPECT_EQ(form.Label_Sources, "[1] -> [2]");
  Record();
  ASSERT_EQ(form.FilmNames(), (Strings{folder + "pair_1.vid", folder + "pair_2.vid"}));
  auto first = Open(form.FilmNames()[0]);
  auto second = Open(form.FilmNames()[1]);
  EXPECT_EQ(ReadFrame(*first, 1).lastSample, 1010u);
  EXPECT_EQ(ReadFrame(*second, 1).lastSample, 1020u);
  EXPECT_EQ(form.FilmIndex(2), 1);
  const auto& s = host.status;
  EXPECT_GE(std::count(s.begin(), s.end(), std::string(kChangingSourceText)), 3);
  EXPECT_EQ(grabber.input, 2);  // back on the input of the start
}

TEST_F(RecorderTest, AverageCountsRaiseTheStoredDepth) {
  DefineIt(folder + "avg.vid", 0, 2, 4);
  Record();
  auto vid = Open(folder + "avg.vid");
  EXPECT_EQ(vid->BitsPerPixel(), 14);
  EXPECT_EQ(ReadFrame(*vid, 0).lastSample, 4000u);  // the sum of four frames
  EXPECT_EQ(grabber.reads, 8);
  vid->FileClose();

  // 8 frames of a 14-bit camera: 17 bits of sum in 16.
  grabber.bits = 14;
  DefineIt(folder + "avg.vid", 0, 1, 8);
  host.Answer(MsgResult::OK);  // another depth: overwrite
  Record();
  vid = Open(folder + "avg.vid");
  EXPECT_EQ(vid->BitsPerPixel(), 16);
  EXPECT_EQ(vid->Samples(), 1);
  EXPECT_EQ(ReadFrame(*vid, 0).lastSample, 4000u);  // 8 x 1000, halved
}

TEST_F(RecorderTest, AnExistingFilmOfTheSameFormatIsAppendedReplacedOrKept) {
  DefineIt(folder + "film.vid", 0, 2);
  Record();
  const std::string name = folder + "film.vid";
  ASSERT_EQ(Open(name)->Samples(), 2);

  // Yes appends: the new frames follow the old ones.
  host.Answer(MsgResult::Yes);
  Record();
  EXPECT_EQ(host.messages.back().text, "Append Video to existing Video File?");
  EXPECT_EQ(host.messages.back().buttons, MsgButtons::YesNoCancel);
  EXPECT_EQ(host.messages.back().title, "Save Video");
  {
    auto vid = Open(name);
    EXPECT_EQ(vid->Samples(), 4);
    EXPECT_EQ(vid->ColLabel(0), "time (s)");  // the labels are given again
    EXPECT_FLOAT_EQ(ReadFrame(*vid, 2).cells[1], 0.1f);
  }
  // No replaces.
  host.Answer(MsgResult::No);
  Record();
  EXPECT_EQ(Open(name)->Samples(), 2);
  // Cancel: no run, the film as it was, nothing open.
  const auto before = std::filesystem::file_size(name);
  host.Answer(MsgResult::Cancel);
  const long reads = grabber.reads;
  Record();
  EXPECT_EQ(grabber.reads, reads);
  EXPECT_EQ(std::filesystem::file_size(name), before);
  for (auto& v : form.Video) EXPECT_TRUE(!v || v->Filename().empty());
  EXPECT_FALSE(form.Running());
}

TEST_F(RecorderTest, AFilmOfAnotherFormatCanOnlyBeOverwritten) {
  DefineIt(folder + "other.vid", 0, 2);
  Record();
  const std::string name = folder + "other.vid";
  grabber.bits = 8;
  host.Answer(MsgResult::Cancel);
  Record();
  ASSERT_EQ(host.messages.size(), 1u);
  EXPECT_EQ(host.messages[0].text,
            "Existing Video Format: 64 x 8 Pixel x 12 bpp B&W\r\nis different from new Video "
            "Format: 64 x 8 Pixel x 8 bpp B&W.\r\nCan't append!\r\n\r\nOverwrite " + name + " ?");
  EXPECT_EQ(host.messages[0].buttons, MsgButtons::OKCancel);
  EXPECT_EQ(Open(name)->BitsPerPixel(), 12);

  host.Answer(MsgResult::OK);
  Record();
  auto vid = Open(name);
  EXPECT_EQ(vid->BitsPerPixel(), 8);
  EXPECT_EQ(vid->Samples(), 2);
  EXPECT_EQ(ReadFrame(*vid, 1).lastSample, 255u);  // held at the depth's top
}

TEST_F(RecorderTest, AFileThatIsNoFilmIsOverwrittenOnlyWhenAllowed) {
  const std::string name = folder + "notes.vid";
  WriteFile(name, "not a film");
  DefineIt(name, 0, 1);
  host.Answer(MsgResult::Cancel);
  Record();
  EXPECT_EQ(host.messages.at(0).text, "Overwrite " + name + " ?");
  EXPECT_EQ(ReadFile(name), "not a film");
  host.Answer(MsgResult::OK);
  Record();
  EXPECT_EQ(Open(name)->Samples(), 1);
}

TEST_F(RecorderTest, AStartThatCannotBeginSaysWhyAndLeavesNoFilmOpen) {
  // No name: error 52.
  DefineIt("", 0, 1);
  host.Answer(MsgResult::OK);
  Record();
  EXPECT_EQ(host.messages.at(0).text, "Bad file name or number");
  EXPECT_EQ(host.messages.at(0).title, "Experiment Init");
  // Inputs of different sizes.
  grabber.widths = {64, 64, 32};
  DefineIt(folder + "sizes", 4, 1);
  host.Answer(MsgResult::OK);
  Record();
  EXPECT_EQ(host.messages.at(1).text, "Error:\r\nImage Size of all cameras must be equal.");
  EXPECT_FALSE(std::filesystem::exists(folder + "sizes_1.vid"));
  // A folder that is not there.
  grabber.widths.clear();
  DefineIt(folder + "missing/x.vid", 0, 1);
  host.Answer(MsgResult::OK);
  Record();
  EXPECT_EQ(host.messages.at(2).text, "Can`t open " + folder + "missing/x.vid");
  EXPECT_EQ(grabber.reads, 0);
  for (auto& v : form.Video) EXPECT_TRUE(!v || v->Filename().empty());
}

TEST_F(RecorderTest, IERecordingStoresEnergyTimeAndTheADChannelsAndShowsItsProgress) {
  std::string ad = "DummyAD";
  ASSERT_TRUE(ADStart(ad));
  form.LoadControls();
  form.Check_AD[1] = true;
  form.Check_ADPlot[1] = true;
  form.Option_Experiment = kExperimentIE;
  form.Text_EStart = "20";
  form.Text_EStop = "24";
  form.Text_EStep = "2";
  form.Text_File = folder + "ie";
  form.Text_File_Change();
  form.Command_Accept();
  EXPECT_EQ(form.Label_ADScans, "1 A/D-channel(s)");
  Form_Worksheet& sheet = *form.Worksheet();
  ASSERT_EQ(sheet.Cols(), 4);
  EXPECT_EQ(sheet.ColName(1), "energy (eV)");
  EXPECT_EQ(sheet.ColName(2), "time (s)");
  EXPECT_EQ(sheet.ColName(3), HW().ADChannels[1].ChannelName);
  host.tick = 700;  // the clock moves with every read
  Record();
  EXPECT_TRUE(host.messages.empty());
  auto vid = Open(folder + "ie.vid");
  ASSERT_EQ(vid->Samples(), 3);
  EXPECT_EQ(vid->Cols(), 3);
  EXPECT_EQ(vid->ColLabel(2), HW().ADChannels[1].ChannelName);
  for (uint32_t i = 0; i < 3; ++i) {
    const Frame f = ReadFrame(*vid, i);
    EXPECT_EQ(f.cells[0], float(i));
    EXPECT_EQ(f.cells[1], 20.0f + 2.0f * float(i));
    double energy = 0, time = 0, volts = 0;
    ASSERT_TRUE(sheet.NumberAt(long(i) + 1, 1, energy));
    ASSERT_TRUE(sheet.NumberAt(long(i) + 1, 2, time));
    ASSERT_TRUE(sheet.NumberAt(long(i) + 1, 3, volts));
    EXPECT_EQ(float(energy), f.cells[1]);
    EXPECT_EQ(float(time), f.cells[2]);
    EXPECT_EQ(float(volts), f.cells[3]);
  }
  const std::string statuses = [this] {
    std::string all;
    for (const auto& s : host.status) all += s + "|";
    return all;
  }();
  EXPECT_NE(statuses.find("Initializing...|"), std::string::npos);
  // The drive is the mount point above the film's folder.
  const size_t disk = statuses.find("Free disk space on /");
  ASSERT_NE(disk, std::string::npos) << statuses;
  const std::string drive = statuses.substr(disk + 19, statuses.find(' ', disk + 19) - disk - 19);
  EXPECT_EQ(folder.rfind(drive, 0), 0u) << drive;
  EXPECT_NE(statuses.find("Free disk space on " + drive + " 1024.00 GB|"), std::string::npos);
  EXPECT_EQ(host.LastStatus(), "3 Records");
  EXPECT_EQ(form.Text_Records, "3 Records");
  EXPECT_EQ(form.Label_FileSize, std::to_string(std::filesystem::file_size(folder + "ie.vid")) + " (3 frames)");
}

TEST_F(RecorderTest, StopEndsTheRunWithTheFilmsHeadersSaved) {
  DefineIt(folder + "stop.vid", 0, 100);
  host.After(450, [this] { form.Command_Stop(); });
  host.Answer(MsgResult::OK);
  Record();
  // The step whose interval wait the stop broke still records, as in the
  // experiment; the loop ends at the check behind it.
  EXPECT_EQ(Open(folder + "stop.vid")->Samples(), 5);
  EXPECT_EQ(form.Worksheet()->Rows(), 6);
  EXPECT_EQ(form.LastError(), kErrExperimentCanceled);
  ASSERT_EQ(host.messages.size(), 1u);
  EXPECT_EQ(host.messages[0].text, "Experiment canceled by user");
  EXPECT_FALSE(form.Running());
}

// A write that fails (the file may grow no more) ends the run with its
// message; the frames before it stay readable. Run in a child, whose file
// size limit is its own.
TEST_F(RecorderTest, AFailedWriteStopsTheRunAndKeepsTheFramesBefore) {
  DefineIt(folder + "full.vid", 0, 50);
  const std::string name = folder + "full.vid";
  const long frameBytes = 64 * 8 * 2;
  const pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    host.lenient = true;
    std::signal(SIGXFSZ, SIG_IGN);
    const rlim_t limit = rlim_t(1056 + 3 * frameBytes + 10);
    rlimit lim{limit, limit};
    setrlimit(RLIMIT_FSIZE, &lim);
    form.Command_Start();
    int code = 0;
    const auto& m = host.messages;
    // The film's own message first, then the recorder's.
    if (m.size() != 2 || m[1].text != "Error writing Video File " + name + "\r\nExperiment stopped!" ||
        m[1].title != "Image Recorder")
      code |= 1;
    if (form.LastError() != -1) code |= 2;
    if (form.Worksheet()->Rows() != 4) code |= 4;
    _exit(code);
  }
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  ASSERT_TRUE(WIFEXITED(status));
  EXPECT_EQ(WEXITSTATUS(status), 0);
  auto vid = Open(name);
  ASSERT_EQ(vid->Samples(), 3);
  EXPECT_FLOAT_EQ(ReadFrame(*vid, 2).cells[1], 0.3f);
}

TEST_F(RecorderTest, AnAviFilmHasNoCellsWhateverTheChannelsSay) {
  SelectCompressCodec("lossless");  // no chooser without a front end
  std::string ad = "DummyAD";
  ASSERT_TRUE(ADStart(ad));
  VTR().Channels = {0};
  DefineIt(folder + "clip.avi", 0, 2);
  ASSERT_EQ(VTR().Channels, (std::vector<int16_t>{0}));
  Record();
  EXPECT_TRUE(host.messages.empty()) << host.MessageTexts().front();
  EXPECT_EQ(form.FilmBits(), 8);
  EXPECT_TRUE(form.FilmColour());
  auto avi = NewVideoFile(true);
  std::string n = folder + "clip.avi";
  ASSERT_TRUE(avi->FileOpen(n, kFilmOpenRead, nullptr, nullptr, nullptr, nullptr, false));
  EXPECT_EQ(avi->Samples(), 2);
  EXPECT_EQ(avi->Cols(), 0);
  std::vector<uint8_t> bytes(avi->FrameSize());
  uint32_t got = 0;
  ASSERT_TRUE(avi->ReadFrame(0, bytes.data(), got));
  float cell = 0;
  EXPECT_FALSE(SV_decode(std::span<float>(&cell, 1), bytes));
}

}  // namespace
}  // namespace sv::test

namespace sv::test {
namespace {

TEST_F(RecorderTest, TheFormShowsTheFilmsSizeAndFormatAndRefusesFieldsOutOfRange) {
  DefineIt(folder + "info", 1, 3);
  Record();
  // Two films: the size of the one in turn, with its number.
  const auto size = std::filesystem::file_size(folder + "info_2.vid");
  EXPECT_EQ(form.CurrentFilm(), 1);
  EXPECT_EQ(form.Label_FileSize, "2: " + std::to_string(size) + " (1 frames)");
  form.Text_File = folder + "info_1.vid";
  form.Text_File_Change();
  EXPECT_EQ(form.Label_FilmFrames, " (2 frames)");
  EXPECT_EQ(form.Label_FilmFormat, "Video Format: 64 x 8 Pixel, 12 Bit");
  form.Text_File = folder + "none.vid";
  form.Text_File_Change();
  EXPECT_EQ(form.Label_FilmFormat, "Not a valid Video File");

  form.Text_EStart = "2000";
  EXPECT_FALSE(form.Text_LostFocus(Form_ImageVTR::EStart));
  EXPECT_EQ(form.Text_EStart, "20");
  form.Text_tStep = "0,5";
  EXPECT_TRUE(form.Text_LostFocus(Form_ImageVTR::tStep));
  EXPECT_EQ(host.beeps, 1);

  // Accepting over recorded rows asks first; No keeps everything.
  host.Answer(MsgResult::No);
  form.Command_Accept();
  EXPECT_EQ(host.messages.back().text, kRestartQuestion);
  EXPECT_EQ(VTR().tStep, 100);
  EXPECT_EQ(form.Worksheet()->Rows(), 4);
}

}  // namespace
}  // namespace sv::test

namespace sv::test {
namespace {

TEST_F(RecorderTest, AUserSweepGivesTheEnergiesAndAPointOutOfRangeIsRefused) {
  const std::string bad = folder + "bad.swp", good = folder + "good.swp";
  WriteFile(bad, "30\r\n1001\r\n");
  WriteFile(good, "30\r\n25,22.5\r\n");
  form.LoadControls();
  form.Option_Experiment = kExperimentIE;
  host.Answer(MsgResult::OK);
  EXPECT_FALSE(form.OpenSweepFileDo(bad));
  EXPECT_EQ(host.messages.at(0).text, "Energy[1] = 1001 eV is out of range");
  EXPECT_EQ(host.messages.at(0).title, "Open Sweep File");
  EXPECT_TRUE(form.List_Sweep.empty());

  ASSERT_TRUE(form.OpenSweepFileDo(good));
  form.Check_UserSweep = true;
  form.Check_UserSweep_Click();
  form.Text_File = folder + "user";
  form.Text_File_Change();
  form.Command_Accept();
  Record();
  auto vid = Open(folder + "user.vid");
  ASSERT_EQ(vid->Samples(), 3);
  EXPECT_EQ(vid->ColLabel(0), "energy (eV)");
  EXPECT_EQ(ReadFrame(*vid, 0).cells[1], 30.0f);
  EXPECT_EQ(ReadFrame(*vid, 1).cells[1], 25.0f);
  EXPECT_EQ(ReadFrame(*vid, 2).cells[1], 22.5f);
}

}  // namespace
}  // namespace sv::test

namespace sv::test {
namespace {

// The sheet's copy in the temporary folder stays only with AutoSave; one
// film records the input that is selected.
TEST_F(RecorderTest, TheTemporarySheetStaysWithAutoSaveAndOneFilmTakesTheCurrentInput) {
  const std::string temp = host.tempPath + kRecorderSweepSheet;
  grabber.input = 1;
  VTR().AutoSave = -1;
  DefineIt(folder + "auto.vid", 0, 2);
  ASSERT_TRUE(form.Check_AutoSave);
  Record();
  EXPECT_TRUE(std::filesystem::exists(temp));
  EXPECT_EQ(host.LastStatus(), "2 Records saved to " + temp);
  EXPECT_EQ(ReadFrame(*Open(folder + "auto.vid"), 1).lastSample, 1010u);
  EXPECT_EQ(grabber.selects, std::vector<long>{1});  // put back, never moved

  VTR().AutoSave = 0;
  DefineIt(folder + "auto2.vid", 0, 1);
  ASSERT_FALSE(form.Check_AutoSave);
  Record();
  EXPECT_FALSE(std::filesystem::exists(temp));
  EXPECT_EQ(host.LastStatus(), "1 Records");
}

}  // namespace
}  // namespace sv::test
