#include <gtest/gtest.h>

#include <cstring>
#include <tuple>

#include "core/ini_profile.h"
#include "image/form_camera.h"
#include "player_fixture.h"
#include "video/film_repair.h"

namespace sv::test {
namespace {

constexpr const char* kSizeQuestion =
    "Filesize doesn't match:\r\nNew: 3 frames, Old: 2 frames\r\n\r\nChange Number of Frames?";

class PlayerOpenTest : public PlayerTest {
 protected:
  // Three frames on disk, a header that counts two.
  std::string LongFilm() {
    const std::string path = Film("long.vid", 3, 8, 4, 12);
    EXPECT_TRUE(WriteFilmFrameCount(path, 2));
    return path;
  }
  long HeaderFrames(const std::string& path) {
    FilmSizeCheck check;
    EXPECT_EQ(CheckFilmSize(path, check), 2);
    return check.headerFrames;
  }
};

TEST_F(PlayerOpenTest, AFilmOneFrameLongerAsksAndAnswersDecideCountAndHeader) {
  // No keeps the header's count.
  const std::string path = LongFilm();
  host.Answer(MsgResult::No);
  ASSERT_TRUE(player.OpenVideo(path));
  ASSERT_EQ(host.messages.size(), 1u);
  EXPECT_EQ(host.messages[0].text, kSizeQuestion);
  EXPECT_EQ(host.messages[0].title, "Open Film");
  EXPECT_EQ(host.messages[0].buttons, MsgButtons::YesNo);
  EXPECT_EQ(player.Frames, 2);
  EXPECT_EQ(player.SliderMax, 1);
  player.CloseVideo();

  // Yes, then No: this session only.
  host.messages.clear();
  host.Answer(MsgResult::Yes);
  host.Answer(MsgResult::No);
  ASSERT_TRUE(player.OpenVideo(path));
  ASSERT_EQ(host.messages.size(), 2u);
  EXPECT_EQ(host.messages[1].text, "Save new Header to disk?");
  EXPECT_EQ(player.Frames, 3);
  EXPECT_TRUE(player.GotoFrame(2));
  EXPECT_EQ(HeaderFrames(path), 2);
  player.CloseVideo();

  // Yes, Yes: the header on disk; the next opening asks nothing.
  host.messages.clear();
  host.Answer(MsgResult::Yes);
  host.Answer(MsgResult::Yes);
  ASSERT_TRUE(player.OpenVideo(path));
  EXPECT_EQ(HeaderFrames(path), 3);
  player.CloseVideo();
  host.messages.clear();
  ASSERT_TRUE(player.OpenVideo(path));
  EXPECT_TRUE(host.messages.empty());
  EXPECT_EQ(player.Frames, 3);
}

TEST_F(PlayerOpenTest, ATruncatedLastFrameRoundsTheCountAndReadsAsZeros) {
  // Two frames of 8 x 4 x 16 bit (64 bytes) and 40 bytes of a third.
  const std::string path = Film("cut.vid", 3, 8, 4, 12);
  const std::string full = ReadFile(path);
  WriteFile(path, full.substr(0, 1056 + 2 * 64 + 40));
  host.Answer(MsgResult::Yes);
  host.Answer(MsgResult::No);
  ASSERT_TRUE(player.OpenVideo(path));
  EXPECT_EQ(host.messages[0].text,
            "Filesize doesn't match:\r\nNew: 3 frames, Old: 3 frames\r\n\r\nChange Number of "
            "Frames?");
  // Less than half a frame rounds down.
  WriteFile(path, full.substr(0, 1056 + 2 * 64 + 20));
  player.CloseVideo();
  host.messages.clear();
  host.Answer(MsgResult::Yes);
  host.Answer(MsgResult::No);
  ASSERT_TRUE(player.OpenVideo(path));
  EXPECT_EQ(player.Frames, 2);
  // Over half a frame counts one more than is complete: its missing tail is black.
  WriteFile(path, full.substr(0, 1056 + 2 * 64 + 40));
  player.CloseVideo();
  host.Answer(MsgResult::Yes);
  host.Answer(MsgResult::No);
  ASSERT_TRUE(player.OpenVideo(path));
  ASSERT_EQ(player.Frames, 3);
  ASSERT_TRUE(player.GotoFrame(2));
  const uint16_t* p = player.Image()->ImagePtr();
  EXPECT_EQ(p[19], PlayerPixel(2, 19, 12));
  EXPECT_EQ(p[20], 0);
  EXPECT_EQ(p[31], 0);
}

TEST_F(PlayerOpenTest, FilesThatAreNoFilmsAreRefusedWithTheirMessage) {
  WriteFile(Path("short.vid"), std::string("VIDEO\r\n\0", 8) + "abc");
  for (int i = 0; i < 4; ++i) host.Answer(MsgResult::OK);
  EXPECT_FALSE(player.OpenVideo(Path("short.vid")));
  EXPECT_EQ(host.messages.back().text, "Input past end of file");
  EXPECT_FALSE(player.IsOpen());
  EXPECT_EQ(TheFilmSource(), nullptr);

  // A header without frames.
  const std::string empty = Film("empty.vid", 0, 8, 4, 8);
  EXPECT_FALSE(player.OpenVideo(empty));
  EXPECT_EQ(host.messages.back().text, empty + " is not a valid Film File");

  // A header whose frame no memory holds: refused before anything is made.
  std::string huge = ReadFile(Film("huge.vid", 1, 8, 4, 16));
  const int32_t side = 100000;
  std::memcpy(huge.data() + 16, &side, 4);
  std::memcpy(huge.data() + 20, &side, 4);
  WriteFile(Path("huge.vid"), huge);
  EXPECT_FALSE(player.OpenVideo(Path("huge.vid")));
  EXPECT_EQ(host.messages.back().text, Path("huge.vid") + " is not a valid Film File");

  // Not the magic: tried as AVI.
  WriteFile(Path("junk.vid"), std::string(2000, 'x'));
  EXPECT_FALSE(player.OpenVideo(Path("junk.vid")));
  EXPECT_EQ(host.messages.back().text, "Error while opening " + Path("junk.vid"));
  EXPECT_EQ(host.messages.back().title, "Open AVI");
  EXPECT_EQ(player.Caption, "Film - (untitled)");
}

TEST_F(PlayerOpenTest, EightBitFramesAreWidenedIntoTheSixteenBitDocument) {
  ASSERT_TRUE(player.OpenVideo(Film("grey8.vid", 2, 8, 4, 8)));
  ASSERT_TRUE(player.GotoFrame(1));
  Form_Camera* image = player.Image();
  ASSERT_NE(image, nullptr);
  EXPECT_EQ(std::tuple(image->ImageWidth(), image->ImageHeight(), image->ImageBitsPerPixel(),
                       image->HasColors()),
            std::tuple(8L, 4L, 8L, false));
  for (size_t i = 0; i < 32; ++i) ASSERT_EQ(image->ImagePtr()[i], PlayerPixel(1, i, 8)) << i;
  EXPECT_EQ(player.Bits(), 8);
  player.CloseVideo();

  // Colour: three bytes a pixel, R G B, into three samples.
  ASSERT_TRUE(player.OpenVideo(Film("rgb.vid", 2, 8, 4, 8, {}, nullptr, true)));
  ASSERT_TRUE(player.GotoFrame(1));
  image = player.Image();
  EXPECT_TRUE(image->HasColors());
  for (size_t i = 0; i < 96; ++i) ASSERT_EQ(image->ImagePtr()[i], PlayerPixel(1, i, 8)) << i;

  // A 12-bit film after it: the same document, depth and samples follow.
  player.CloseVideo();
  ASSERT_TRUE(player.OpenVideo(Film("grey12.vid", 2, 8, 4, 12)));
  image = player.Image();
  EXPECT_EQ(std::tuple(image->ImageBitsPerPixel(), image->HasColors()), std::tuple(12L, false));
  for (size_t i = 0; i < 32; ++i) ASSERT_EQ(image->ImagePtr()[i], PlayerPixel(0, i, 12)) << i;
}

TEST_F(PlayerOpenTest, ColumnsAreOneBasedAndTimeEnergyCycleComeFromTheirLabels) {
  const auto values = [](long f) {
    return std::vector<float>{float(f + 1), 100.0f - 10.0f * float(f), 1.5f * float(f)};
  };
  ASSERT_TRUE(player.OpenVideo(
      Film("cols.vid", 4, 64, 4, 12, {"Cycle", "energy (eV)  ", "time (s)"}, values)));
  EXPECT_EQ(player.Cols(), 3);
  EXPECT_EQ(std::tuple(player.CycleCol, player.EnergyCol, player.TimeCol), std::tuple(0L, 1L, 2L));
  EXPECT_EQ(player.ColLabel(2), "energy (eV)");  // blanks cut at the right
  EXPECT_EQ(player.ColLabel(0), "");
  EXPECT_EQ(player.ColLabel(4), "");
  EXPECT_EQ(player.ColData(0), 0.0f);
  EXPECT_EQ(player.ColData(4), 0.0f);
  ASSERT_TRUE(player.GotoFrame(2));
  EXPECT_EQ(player.ColData(1), 3.0f);
  EXPECT_EQ(player.Energy(), 80.0f);
  EXPECT_EQ(player.Cycle(), 3);
  EXPECT_EQ(player.VTR_Time, 3000);
  EXPECT_EQ(player.Label_Position, "(80 eV)");
  EXPECT_EQ(player.ColInfo(), "Frame 2\r\n[Cycle] = 3\r\n[energy (eV)] = 80\r\n[time (s)] = 3");
  float v = 0;
  EXPECT_TRUE(player.VTR_UserData("time (s)", v));
  EXPECT_EQ(v, 3.0f);
  EXPECT_FALSE(player.VTR_UserData("voltage (V)", v));
  Form_SoftVTR::ClipRange range;
  ASSERT_TRUE(player.PlotClipRange(range));
  EXPECT_EQ(std::tuple(range.eMin, range.eMax, range.tMin, range.tMax),
            std::tuple(70.0f, 100.0f, 0.0, 4.5));
  player.CloseVideo();

  // A frame without numbers counts by the half-second rule and leaves the range alone.
  ASSERT_TRUE(player.OpenVideo(Film("gap.vid", 3, 64, 4, 12, {"energy (eV)", "time (s)"},
                                    [](long f) {
                                      return f == 1 ? std::vector<float>{}
                                                    : std::vector<float>{10.0f * float(f), 9.0f};
                                    })));
  ASSERT_TRUE(player.GotoFrame(1));
  EXPECT_EQ(player.VTR_Time, 500);
  ASSERT_TRUE(player.PlotClipRange(range));
  EXPECT_EQ(std::tuple(range.eMin, range.eMax, range.tMin, range.tMax),
            std::tuple(0.0f, 20.0f, 9.0, 9.0));
  player.CloseVideo();

  // Without time, energy or cycle column: half a second a frame.
  ASSERT_TRUE(player.OpenVideo(Film("plain.vid", 4, 8, 4, 12)));
  EXPECT_EQ(player.Cols(), 0);
  ASSERT_TRUE(player.GotoFrame(3));
  EXPECT_EQ(player.VTR_Time, 1500);
  EXPECT_EQ(player.Label_Position, "(1.5 s)");
  EXPECT_EQ(player.Energy(), -1.0f);
  EXPECT_EQ(player.Cycle(), -1);
  EXPECT_EQ(player.ColInfo(), "Frame 3");
}

TEST(PlayerFormatTime, MinutesSecondsAndTheDashesOfANegativeTime) {
  EXPECT_EQ(FormatTime(0), "00:00.0");
  EXPECT_EQ(FormatTime(1500), "00:01.5");
  EXPECT_EQ(FormatTime(61549), "01:01.5");
  EXPECT_EQ(FormatTime(59999), "00:59.9");
  EXPECT_EQ(FormatTime(600000), "10:00.0");
  EXPECT_EQ(FormatTime(-1), "--:--.-");
}

TEST_F(PlayerOpenTest, GotoFrameOutOfRangeAndTheMessageOfAFrameThatDoesNotExist) {
  ASSERT_TRUE(player.OpenVideo(Film("f.vid", 3, 8, 4, 8)));
  EXPECT_FALSE(player.GotoFrame(3));
  EXPECT_FALSE(player.GotoFrame(-1));
  EXPECT_TRUE(host.messages.empty());
  EXPECT_EQ(player.CurrentFrame, 0);
  host.Answer(MsgResult::OK);
  EXPECT_FALSE(player.ShowFrame(7));
  ASSERT_EQ(host.messages.size(), 1u);
  EXPECT_EQ(host.messages[0].text, "Frame 7 does not exist.");
  EXPECT_TRUE(player.GotoFrame(2));
  EXPECT_EQ(std::tuple(player.CurrentFrame, player.SliderValue), std::tuple(2L, 2L));
  EXPECT_EQ(player.Caption, "Film - f.vid");
}

TEST_F(PlayerOpenTest, TagsAndTheSelectionStatus) {
  ASSERT_TRUE(player.OpenVideo(Film("f.vid", 6, 8, 4, 8)));
  EXPECT_EQ(player.SelectionStatus(), "");
  player.TagDown(4);
  player.TagDrag(1);
  EXPECT_EQ(player.SelectionStatus(), "Selected Frames: [1] ... [4]");
  EXPECT_EQ(std::tuple(player.SelLow(), player.SelHigh()), std::tuple(1L, 4L));
  player.TagDrag(99);  // held inside the film
  EXPECT_EQ(player.SelectionStatus(), "Selected Frames: [4] ... [5]");
  player.mnuSelAll();
  EXPECT_EQ(player.SelectionStatus(), "Selected Frames: [0] ... [5]");
  player.mnuSelClear();
  EXPECT_FALSE(player.HasSelection());
  EXPECT_EQ(player.SelectionStatus(), "");
  player.TagDrag(3);  // dragging without a first tag does nothing
  EXPECT_FALSE(player.HasSelection());
}

TEST_F(PlayerOpenTest, SettingsKeepFourLastFilmsAndTheColumn) {
  for (const char* name : {"a.vid", "b.vid", "c.vid", "d.vid", "e.vid", "B.VID"})
    player.AddLastFile(name);
  player.Col = 2;
  Profile ini;
  player.FilmSavePar(ini);
  EXPECT_EQ(ini.GetString("Film", "File1", ""), "B.VID");
  EXPECT_EQ(ini.GetString("Film", "File4", ""), "c.vid");
  EXPECT_EQ(ini.GetInt("Film", "Col", -1), 2);
  Form_SoftVTR other;
  other.FilmLoadPar(ini);
  EXPECT_EQ(other.LastFiles, (std::vector<std::string>{"B.VID", "e.vid", "d.vid", "c.vid"}));
  EXPECT_EQ(other.Col, 2);
  // A column the film has not goes back to the first.
  ASSERT_TRUE(player.OpenVideo(Film("one.vid", 1, 64, 2, 8, {"x"}, [](long) {
    return std::vector<float>{1};
  })));
  EXPECT_EQ(player.Col, 0);
  EXPECT_EQ(player.LastFiles.front(), Path("one.vid"));
}

TEST_F(PlayerOpenTest, OpeningWithBackgroundSubtractionOnAsksToTurnItOff) {
  const std::string path = Film("f.vid", 1, 8, 4, 8);
  G().SubtractBackground = -1;
  host.Answer(MsgResult::Yes);
  ASSERT_TRUE(player.OpenVideo(path));
  EXPECT_EQ(host.messages[0].text,
            "Background Subtraction is currently enabled.\r\nDo you want to disable Background "
            "Subtraction?");
  EXPECT_EQ(G().SubtractBackground, 0);
  EXPECT_EQ(TheFilmSource(), &player);
  player.CloseVideo();
  EXPECT_EQ(TheFilmSource(), nullptr);
}

}  // namespace
}  // namespace sv::test

#include "video/class_sv2avi.h"
#include "video/compress_options.h"

namespace sv::test {
namespace {

TEST_F(PlayerOpenTest, AnAVIFilmPlaysSampleForSampleWithoutNumbers) {
  for (const bool colour : {false, true}) {
    const long bits = colour ? 8 : 16;
    std::string path = Path(colour ? "rgb.avi" : "grey.avi");
    const size_t samples = 16 * 8 * (colour ? 3 : 1);
    {
      Class_SV2AVI film;
      film.Options(DefaultCompressOptions(FilmCodec::Lossless));
      long w = 16, h = 8, b = bits;
      float rate = 10;
      ASSERT_TRUE(film.FileOpen(path, kFilmOpenCreateWrite, &w, &h, &b, &rate, colour));
      for (long f = 0; f < 3; ++f) {
        std::vector<uint8_t> frame(film.FrameSize());
        for (size_t i = 0; i < samples; ++i) {
          const uint16_t v = PlayerPixel(f, i, bits);
          if (bits > 8) {
            frame[2 * i] = uint8_t(v & 0xFF);
            frame[2 * i + 1] = uint8_t(v >> 8);
          } else {
            frame[i] = uint8_t(v);
          }
        }
        ASSERT_TRUE(film.WriteFrame(uint32_t(f), frame.data()));
      }
      ASSERT_TRUE(film.FileClose());
    }
    ASSERT_TRUE(player.OpenVideo(path)) << path;
    EXPECT_TRUE(player.IsAVI());
    EXPECT_EQ(std::tuple(player.Frames, player.Cols(), player.Bits()), std::tuple(3L, 0L, bits));
    ASSERT_TRUE(player.GotoFrame(2));
    const uint16_t* p = player.Image()->ImagePtr();
    for (size_t i = 0; i < samples; ++i) ASSERT_EQ(p[i], PlayerPixel(2, i, bits)) << path << i;
    EXPECT_EQ(player.VTR_Time, 1000);
    player.CloseVideo();
  }
}

}  // namespace
}  // namespace sv::test
