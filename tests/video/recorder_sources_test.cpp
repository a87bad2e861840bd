// The recorder's tables and names: sources by mode, film names, the depth
// of averaged frames, the last-films list, the settings section.
#include <gtest/gtest.h>

#include "core/ini_profile.h"
#include "video/form_image_vtr.h"

namespace sv {
namespace {

// Each mode's films, their inputs, the round through the inputs and which
// film each input feeds: a full round visits every film once.
TEST(RecorderSources, EachModeRoutesEveryInputOfItsRoundToItsOwnFilm) {
  struct Mode {
    int films;
    std::vector<long> inputs;  // film i's input
    std::string label;
  };
  const std::vector<Mode> modes = {{1, {2}, "[2]"},
                                   {2, {0, 1}, "[0] -> [1]"},
                                   {2, {0, 2}, "[0] -> [2]"},
                                   {2, {1, 2}, "[1] -> [2]"},
                                   {3, {0, 1, 2}, "[0] -> [1] -> [2]"}};
  for (int m = 0; m < kVideoSourceModes; ++m) {
    SCOPED_TRACE(m);
    const Mode& want = modes[size_t(m)];
    EXPECT_EQ(VideoSourcesOf(m), want.films);
    EXPECT_EQ(VideoSourceLabel(m, 2), want.label);
    long s = VideoSourceOf(m, 0, 2);
    std::vector<long> round;
    for (int i = 0; i < want.films; ++i) {
      EXPECT_EQ(s, want.inputs[size_t(i)]);
      EXPECT_EQ(FilmIndexOf(m, s), i);
      round.push_back(s);
      s = NextVideoSourceOf(m, s);
    }
    EXPECT_EQ(s, VideoSourceOf(m, 0, 2)) << "the round closes";
  }
  // The wraps as stated, also from inputs outside a mode's round.
  EXPECT_EQ(NextVideoSourceOf(2, 1), 0);  // 3 and above wrap to 0
  EXPECT_EQ(NextVideoSourceOf(3, 2), 1);
  EXPECT_EQ(FilmIndexOf(3, 2), 1);
  EXPECT_EQ(FilmIndexOf(2, 1), 1);
  EXPECT_EQ(NextVideoSourceOf(0, 5), 5);
}

TEST(RecorderNames, FilmNamesCutTheLastExtensionAndNumberSeveralFilms) {
  EXPECT_EQ(BuildFilmFilename("/d/run.vid", 1, 0), "/d/run");
  EXPECT_EQ(BuildFilmFilename("/d/run.2024.vid", 1, 0), "/d/run.2024");
  EXPECT_EQ(BuildFilmFilename("/d.x/run", 1, 0), "/d.x/run");  // a folder's dot stays
  std::vector<std::string> three;
  for (int i = 0; i < 3; ++i) three.push_back(BuildFilmFilename("name.vid", 3, i) + ".vid");
  EXPECT_EQ(three, (std::vector<std::string>{"name_1.vid", "name_2.vid", "name_3.vid"}));
}

TEST(RecorderNames, LastFilmsKeepFourMostRecentFirstIgnoringCase) {
  std::vector<std::string> list;
  for (const char* n : {"a.vid", "b.vid", "c.vid", "d.vid", "e.vid"}) UpdateLastVIDFileList(list, n);
  EXPECT_EQ(list, (std::vector<std::string>{"e.vid", "d.vid", "c.vid", "b.vid"}));
  UpdateLastVIDFileList(list, "C.VID");
  EXPECT_EQ(list, (std::vector<std::string>{"C.VID", "e.vid", "d.vid", "b.vid"}));
  UpdateLastVIDFileList(list, "");
  EXPECT_EQ(list.size(), 4u);
}

TEST(RecorderNames, AveragingRaisesTheDepthUpTo16Bits) {
  EXPECT_EQ(RecorderBits(12, 4), 14);
  EXPECT_EQ(RecorderBits(14, 8), 16);
  EXPECT_EQ(RecorderBits(8, 1), 8);
  EXPECT_EQ(RecorderBits(8, 2), 9);
  EXPECT_EQ(RecorderBits(12, 256), 16);
  EXPECT_EQ(FilmFormatText(640, 480, 8, true), "640 x 480 Pixel x 8 bpp RGB");
  EXPECT_EQ(FilmFormatText(64, 8, 14, false), "64 x 8 Pixel x 14 bpp B&W");
  EXPECT_EQ(StampLine({"time (s)", "AD0"}, {1.5f, -2}), "time (s) = 1.5; AD0 = -2");
}

TEST(RecorderSettings, TheSectionReadsBackWhatWasWrittenAndDefaultsWhatIsMissing) {
  Profile empty;
  ReadVTRSettings(empty);
  EXPECT_EQ(VTR().tStop, 60000);
  EXPECT_EQ(VTR().Average, 1);
  EXPECT_EQ(VTR().SettleTime, 100);

  VTRSettings& v = VTR();
  v.ExperimentType = kExperimentIE;
  v.tStep = 250;
  v.EStart = 40.5f;
  v.EStep = -2;
  v.Average = 8;
  v.Channels = {0, 3};
  v.PlotChannels = {3};
  v.VideoSource = 4;
  v.Filename = "/data/run.vid";
  v.LastFiles = {"/data/run.vid", "/data/old.vid"};
  v.FlushBuffer = -1;
  Profile ini;
  WriteVTRSettings(ini);
  ResetVTRSettings();
  ReadVTRSettings(ini);
  EXPECT_EQ(VTR().ExperimentType, kExperimentIE);
  EXPECT_EQ(VTR().tStep, 250);
  EXPECT_EQ(VTR().EStart, 40.5f);
  EXPECT_EQ(VTR().EStep, -2);
  EXPECT_EQ(VTR().Average, 8);
  EXPECT_EQ(VTR().Channels, (std::vector<int16_t>{0, 3}));
  EXPECT_EQ(VTR().PlotChannels, (std::vector<int16_t>{3}));
  EXPECT_EQ(VTR().VideoSource, 4);
  EXPECT_EQ(VTR().Filename, "/data/run.vid");
  EXPECT_EQ(VTR().LastFiles, (std::vector<std::string>{"/data/run.vid", "/data/old.vid"}));
  EXPECT_EQ(VTR().FlushBuffer, -1);

  // Out-of-range values come back inside their ranges.
  Profile bad;
  bad.Set("Experiment VTR", "VideoSource", "9");
  bad.Set("Experiment VTR", "Average", "6");
  bad.Set("Experiment VTR", "AD", "1,x,99,1");
  ReadVTRSettings(bad);
  EXPECT_EQ(VTR().VideoSource, 4);
  EXPECT_EQ(VTR().Average, 4);
  EXPECT_EQ(VTR().Channels, (std::vector<int16_t>{1}));
  ResetVTRSettings();
}

}  // namespace
}  // namespace sv
