#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

#include "image/kernel/numbers.h"
#include "support/scripted_host.h"
#include "video/class_sv2vid.h"
#include "video/film_files.h"
#include "video/film_repair.h"

namespace sv {
namespace {

using test::ReadFile;
using test::ScriptedHost;
using test::WriteFile;

class FilmFilesTest : public ::testing::Test {
 protected:
  std::string Path(const char* name) { return host.root + "/" + name; }
  // A film of `frames` frames of w x h at `bits`, each frame's bytes its index.
  std::string Film(const char* name, long frames, long w = 8, long h = 2, long bits = 8,
                   bool colour = false) {
    std::string path = Path(name);
    Class_SV2VID film;
    float rate = 20;
    EXPECT_TRUE(film.FileOpen(path, kFilmOpenCreateWrite, &w, &h, &bits, &rate, colour));
    std::vector<uint8_t> frame(film.FrameSize());
    for (long i = 0; i < frames; ++i) {
      std::fill(frame.begin(), frame.end(), uint8_t(i + 1));
      EXPECT_TRUE(film.WriteFrame(uint32_t(i), frame.data()));
    }
    EXPECT_TRUE(film.FileClose());
    return path;
  }
  ScriptedHost host;
};

TEST_F(FilmFilesTest, ReadVideoHeaderTellsMissingForeignAndFilm) {
  VideoHeader h;
  uint32_t low = 9, high = 9;
  EXPECT_EQ(ReadVideoHeader(Path("none.vid"), h, low, high), 0);
  EXPECT_EQ(low + high, 0u);
  WriteFile(Path("short.vid"), std::string("VIDEO\r\n\0", 8) + "abc");
  EXPECT_EQ(ReadVideoHeader(Path("short.vid"), h, low, high), 1);
  EXPECT_EQ(low, 11u);
  const std::string film = Film("f.vid", 3, 10, 2, 12);
  ASSERT_EQ(ReadVideoHeader(film, h, low, high), 2);
  EXPECT_EQ(std::tuple(h.NumberOfPictures, h.Width, h.Height, h.BitsPerPixel, h.Duration, low),
            std::tuple(3, 10, 2, int16_t(12), 150, 1056u + 3 * 40));
}

TEST_F(FilmFilesTest, IsVideoFileTellsTheKindAndNamesAMissingFile) {
  EXPECT_EQ(IsVideoFile(Film("f.vid", 1)), 1);
  WriteFile(Path("clip.avi"), "RIFF....AVI LIST");
  EXPECT_EQ(IsVideoFile(Path("clip.avi")), 2);
  WriteFile(Path("tiny.vid"), "VID");
  EXPECT_EQ(IsVideoFile(Path("tiny.vid")), 2);
  EXPECT_TRUE(host.messages.empty());

  host.Answer(MsgResult::OK);
  EXPECT_EQ(IsVideoFile(Path("gone.vid")), 0);
  ASSERT_EQ(host.messages.size(), 1u);
  EXPECT_EQ(host.messages[0].text, "File \"" + Path("gone.vid") + "\" not found");
  EXPECT_EQ(host.messages[0].title, "gone.vid");
  EXPECT_EQ(host.messages[0].icon, MsgIcon::Critical);
}

TEST_F(FilmFilesTest, SameVideoFormatComparesAllFour) {
  Class_SV2VID film;
  std::string path = Film("f.vid", 1, 8, 2, 8, true);
  ASSERT_TRUE(film.FileOpen(path, kFilmOpenExist, nullptr, nullptr, nullptr, nullptr, false));
  EXPECT_TRUE(SameVideoFormat(film, 8, 2, 8, true));
  EXPECT_FALSE(SameVideoFormat(film, 8, 2, 8, false));
  EXPECT_FALSE(SameVideoFormat(film, 8, 2, 16, true));
  EXPECT_FALSE(SameVideoFormat(film, 8, 3, 8, true));
  EXPECT_FALSE(SameVideoFormat(film, 12, 2, 8, true));
}

TEST_F(FilmFilesTest, SaveFilmDialogPreselectsAndForcesTheExtension) {
  std::string name = Path("old.avi");
  int index = 1;
  host.AnswerFile(Path("new.vid"), 2);  // the AVI filter chosen with a ".vid" name
  ASSERT_TRUE(SaveFilmDialog("Save Film", name, index, true));
  ASSERT_EQ(host.fileDialogs.size(), 1u);
  const FileDialog& d = host.fileDialogs[0];
  EXPECT_EQ(d.title, "Save Film");
  EXPECT_EQ(d.filter, "SV4200 video files (*.vid)|*.vid|AVI files (*.avi)|*.avi|");
  EXPECT_EQ(d.filterIndex, 2);
  EXPECT_EQ(d.fileName, "old.avi");
  EXPECT_EQ(d.folder, host.root + "/");
  EXPECT_EQ(std::tuple(name, index), std::tuple(Path("new.avi"), 2));

  name = "";
  host.AnswerFile(Path("plain"), 1);
  ASSERT_TRUE(SaveFilmDialog("", name, index, false));
  EXPECT_EQ(host.fileDialogs[1].fileName, "*.vid");
  EXPECT_EQ(host.fileDialogs[1].title, "Save Film");
  EXPECT_EQ(host.fileDialogs[1].filterIndex, 2);  // the index given
  EXPECT_EQ(std::tuple(name, index), std::tuple(Path("plain.vid"), 1));

  // The forced extension names an existing file: asked, No cancels.
  WriteFile(Path("taken.vid"), "x");
  host.AnswerFile(Path("taken.avi"), 1);
  host.Answer(MsgResult::No);
  name = Path("x.vid");
  EXPECT_FALSE(SaveFilmDialog("Save Film", name, index, true));
  EXPECT_EQ(name, Path("x.vid"));
  EXPECT_NE(host.messages.back().text.find("taken.vid already exists."), std::string::npos);

  host.AnswerFile("");  // cancelled
  EXPECT_FALSE(SaveFilmDialog("Save Film", name, index, true));
  EXPECT_EQ(name, Path("x.vid"));
}

// A recorder cut off leaves whole frames behind a header that counts fewer,
// and perhaps a part of one more.
class FilmRepairTest : public FilmFilesTest {
 protected:
  // `frames` whole frames of 100 bytes, a header that says `header`, and
  // `tail` bytes more.
  std::string Crashed(long frames, long header, size_t tail) {
    const std::string path = Film("crash.vid", frames, 20, 5, 8);
    EXPECT_TRUE(WriteFilmFrameCount(path, header));
    std::string bytes = ReadFile(path);
    bytes.append(tail, char(0x77));
    WriteFile(path, bytes);
    return path;
  }
};

TEST_F(FilmRepairTest, SizeCheckCountsCompleteAndRoundedFrames) {
  FilmSizeCheck c;
  EXPECT_EQ(CheckFilmSize(Path("none.vid"), c), 0);
  const std::string path = Crashed(5, 2, 60);
  ASSERT_EQ(CheckFilmSize(path, c), 2);
  EXPECT_EQ(c.headerFrames, 2);
  EXPECT_EQ(c.frameBytes, 100u);
  EXPECT_EQ(c.fileSize, 1056u + 560);
  EXPECT_EQ(c.expectedSize, 1056u + 200);
  EXPECT_FALSE(c.Matches());
  EXPECT_EQ(c.completeFrames, 5);
  EXPECT_EQ(c.roundedFrames, 6);  // more than half a frame rounds up
  EXPECT_EQ(c.tailBytes, 60u);

  // The player's frame bytes: colour three times, two bytes above 8 bits.
  VideoHeader h;
  h.Width = 10;
  h.Height = 3;
  h.BitsPerPixel = 8;
  EXPECT_EQ(FilmFrameBytes(h), 30u);
  h.HasColors = 1;
  EXPECT_EQ(FilmFrameBytes(h), 90u);
  h.BitsPerPixel = 12;
  EXPECT_EQ(FilmFrameBytes(h), 180u);
  h.Width = -1;
  EXPECT_EQ(FilmFrameBytes(h), 0u);
}

TEST_F(FilmRepairTest, RepairSetsTheCountAndCutsTheTail) {
  // Header behind, whole frames only; the rate stays.
  std::string path = Crashed(4, 1, 0);
  FilmRepairResult r;
  std::string error;
  ASSERT_TRUE(RepairFilm(path, r, error)) << error;
  EXPECT_EQ(std::tuple(r.oldFrames, r.newFrames, r.cutBytes, r.changed),
            std::tuple(1L, 4L, uint64_t(0), true));
  Class_SV2VID film;
  ASSERT_TRUE(film.FileOpen(path, kFilmOpenExist, nullptr, nullptr, nullptr, nullptr, false));
  EXPECT_EQ(film.Samples(), 4);
  EXPECT_FLOAT_EQ(film.Rate(), 20.0f);
  std::vector<uint8_t> frame(film.FrameSize());
  uint32_t got = 0;
  ASSERT_TRUE(film.ReadFrame(3, frame.data(), got));
  EXPECT_EQ(frame[99], 4);
  ASSERT_TRUE(film.FileClose());

  // An incomplete last frame is cut off.
  path = Crashed(3, 0, 40);
  ASSERT_TRUE(RepairFilm(path, r, error)) << error;
  EXPECT_EQ(std::tuple(r.oldFrames, r.newFrames, r.cutBytes), std::tuple(0L, 3L, uint64_t(40)));
  EXPECT_EQ(ReadFile(path).size(), 1056u + 300);
  // Header ahead of the file: the count comes down to what is there.
  path = Crashed(3, 9, 10);
  ASSERT_TRUE(RepairFilm(path, r, error)) << error;
  EXPECT_EQ(std::tuple(r.oldFrames, r.newFrames, r.cutBytes), std::tuple(9L, 3L, uint64_t(10)));
  FilmSizeCheck c;
  ASSERT_EQ(CheckFilmSize(path, c), 2);
  EXPECT_TRUE(c.Matches());
}

TEST_F(FilmRepairTest, ASoundFilmAndAForeignFileStayUntouched) {
  const std::string path = Film("good.vid", 3);
  const std::string before = ReadFile(path);
  FilmRepairResult r;
  std::string error;
  ASSERT_TRUE(RepairFilm(path, r, error));
  EXPECT_FALSE(r.changed);
  EXPECT_EQ(r.newFrames, 3);
  EXPECT_EQ(ReadFile(path), before);

  WriteFile(Path("other.avi"), std::string(3000, 'R'));
  EXPECT_FALSE(RepairFilm(Path("other.avi"), r, error));
  EXPECT_NE(error.find("is not a valid Film File"), std::string::npos);
  EXPECT_EQ(ReadFile(Path("other.avi")), std::string(3000, 'R'));
  EXPECT_FALSE(RepairFilm(Path("none.vid"), r, error));
  EXPECT_FALSE(WriteFilmFrameCount(Path("other.avi"), 1));
  EXPECT_EQ(ReadFile(Path("other.avi")), std::string(3000, 'R'));
}

}  // namespace
}  // namespace sv
