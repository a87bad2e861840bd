#include <gtest/gtest.h>

#include <filesystem>

#include "film_edit_fixture.h"
#include "video/class_sv2vid.h"
#include "video/compress_options.h"
#include "video/film_edit.h"

namespace sv {
namespace {

using test::ReadFile;
using test::WriteFile;

std::vector<long> Marked(const std::vector<int32_t>& mask) {
  std::vector<long> out;
  for (size_t i = 0; i < mask.size(); ++i)
    if (mask[i] == kDeleteFrame) out.push_back(long(i));
  return out;
}

TEST(SelectionList, FormsCommentsStepsAndFramesOutside) {
  std::vector<int32_t> mask(20, 0);
  EXPECT_EQ(ParseSelectionList("10,4,-2\n", mask), 4);
  EXPECT_EQ(Marked(mask), (std::vector<long>{4, 6, 8, 10}));

  mask.assign(20, 0);
  const char* text =
      "; frames to go\r\n"
      "\r\n"
      "  3  ; a single frame\n"
      "0,1\n"
      "12,19,3\n"
      "15,30\n"       // past the end: 15 .. 19
      "-5,2,2\n"      // before the start: 1 (on -5 + k*2)
      "7,5\n"         // counts up from 7: nothing
      "x,3\n"         // no number: skipped
      "1,2,3,4";      // four numbers: skipped
  ParseSelectionList(text, mask);
  EXPECT_EQ(Marked(mask), (std::vector<long>{0, 1, 3, 12, 15, 16, 17, 18, 19}));

  // A range far beyond the film visits only the film's frames.
  mask.assign(5, 0);
  EXPECT_EQ(ParseSelectionList("-2000000000,2000000000,1000000001\n2000000002,-2000000000,-3", mask), 3);
  EXPECT_EQ(Marked(mask), (std::vector<long>{1, 2, 4}));
}

TEST(FrameList, OrderAndTheLineAtFault) {
  std::vector<long> order;
  std::string error;
  EXPECT_TRUE(ParseFrameList("2\n0 ; first\n\n1\n2\n", 3, order, error)) << error;
  EXPECT_EQ(order, (std::vector<long>{2, 0, 1, 2}));
  EXPECT_FALSE(ParseFrameList("1\n3\n", 3, order, error));
  EXPECT_EQ(error, "Line 2: frame 3 does not exist (0 ... 2)");
  EXPECT_FALSE(ParseFrameList("1\n1.5\n", 3, order, error));
  EXPECT_EQ(error, "Line 2: \"1.5\" is no frame number");
  EXPECT_FALSE(ParseFrameList("; nothing\n", 3, order, error));
}

TEST(FilmNames, FreeSiblingAndGroupedNumbers) {
  test::ScriptedHost host;
  const std::string film = host.root + "/run.vid";
  WriteFile(film, "x");
  EXPECT_EQ(FreeSiblingName(film, ".vid"), host.root + "/run(1).vid");
  WriteFile(host.root + "/run(1).vid", "x");
  EXPECT_EQ(FreeSiblingName(film, ".vid"), host.root + "/run(2).vid");
  EXPECT_EQ(FreeSiblingName(film, ".sht"), host.root + "/run.sht");
  EXPECT_EQ(GroupedNumber(0), "0");
  EXPECT_EQ(GroupedNumber(999), "999");
  EXPECT_EQ(GroupedNumber(10485760), "10,485,760");
}

class FilmEditTest : public test::FilmEditFixture {};

TEST_F(FilmEditTest, DeleteSortAndCopyKeepFramesAndNumbersAndNeverTouchTheSource) {
  const std::string src = Film("src.vid", 6, {"energy (eV)", "time (s)"});
  const std::string before = ReadFile(src);
  const auto frames = Frames(src);

  std::vector<int32_t> mask(6, 0);
  mask[1] = mask[4] = kDeleteFrame;
  FilmEditResult r = DeleteFilmFrames(src, mask, Path("del.vid"));
  ASSERT_TRUE(r.ok) << r.error;
  EXPECT_EQ(r.frames, 4);
  EXPECT_EQ(Frames(Path("del.vid")),
            (std::vector<std::vector<uint8_t>>{frames[0], frames[2], frames[3], frames[5]}));
  EXPECT_EQ(Labels(Path("del.vid")), (std::vector<std::string>{"energy (eV)", "time (s)"}));

  r = SortFilm(src, {5, 5, 0}, Path("sorted.vid"));
  ASSERT_TRUE(r.ok) << r.error;
  EXPECT_EQ(Frames(Path("sorted.vid")),
            (std::vector<std::vector<uint8_t>>{frames[5], frames[5], frames[0]}));

  r = CopyFilm(src, Path("part.vid"), 2, 3);
  ASSERT_TRUE(r.ok) << r.error;
  EXPECT_EQ(Frames(Path("part.vid")), (std::vector<std::vector<uint8_t>>{frames[2], frames[3]}));
  // The rate goes along.
  std::unique_ptr<VideoFile> part = OpenFilmToRead(Path("part.vid"));
  EXPECT_NEAR(part->Rate(), 10.0f, 0.01f);

  // A target that cannot be written: a message text, no file, the source as it was.
  r = DeleteFilmFrames(src, mask, Path("missing/del.vid"));
  EXPECT_FALSE(r.ok);
  EXPECT_EQ(r.error, "Error writing " + Path("missing/del.vid"));
  EXPECT_EQ(ReadFile(src), before);
}

TEST_F(FilmEditTest, TheBreakFlagStopsACopyAndLeavesNoTarget) {
  const std::string src = Film("src.vid", 4);
  G().BreakFlag = true;
  const FilmEditResult r = CopyFilm(src, Path("copy.vid"), 0, -1);
  G().BreakFlag = false;
  EXPECT_FALSE(r.ok);
  EXPECT_TRUE(r.stopped);
  EXPECT_FALSE(std::filesystem::exists(Path("copy.vid")));
  // A command's own flag stops the edits it runs, and only those.
  bool stop = true;
  {
    EditStopScope scope(stop);
    EXPECT_FALSE(stop);  // cleared when the command starts
    stop = true;
    EXPECT_TRUE(CopyFilm(src, Path("copy.vid"), 0, -1).stopped);
  }
  EXPECT_TRUE(CopyFilm(src, Path("copy.vid"), 0, -1).ok);
}

TEST_F(FilmEditTest, CopyStatusIsRationedByTheClock) {
  const std::string src = Film("src.vid", 8);
  host.tick = 100;  // 100 ms a look at the clock
  ASSERT_TRUE(SortFilm(src, {7, 6, 5, 4, 3, 2, 1, 0}, Path("s.vid")).ok);
  std::vector<std::string> shown;
  for (const std::string& s : host.status)
    if (s.rfind("Processing", 0) == 0) shown.push_back(s);
  // First after 200 ms, then every 500 ms: not every frame.
  ASSERT_FALSE(shown.empty());
  EXPECT_LT(shown.size(), 8u);
  EXPECT_EQ(shown.front(), "Processing...(Frame[5] -> Frame[2])");
  EXPECT_GT(host.doEvents, 7);
}

TEST_F(FilmEditTest, AppendJoinsFilmsOfOneSizeOnly) {
  const std::string a = Film("a.vid", 2, {"Cycle"});
  const std::string b = Film("b.vid", 3, {"Cycle"});
  const FilmEditResult r = AppendFilms(a, b, Path("ab.vid"));
  ASSERT_TRUE(r.ok) << r.error;
  auto fa = Frames(a), fb = Frames(b), fab = Frames(Path("ab.vid"));
  fa.insert(fa.end(), fb.begin(), fb.end());
  EXPECT_EQ(fab, fa);
  const std::string other = Film("c.vid", 1, {}, 16, 4, 8);
  EXPECT_EQ(AppendFilms(a, other, Path("ac.vid")).error, "Image Size doesn't match");
  EXPECT_FALSE(std::filesystem::exists(Path("ac.vid")));
}

TEST_F(FilmEditTest, MergeKeepsTheLeadingEqualColumnsAfterAskingWithTheTable) {
  const std::string a = Film("a.vid", 2, {"energy (eV)", "time (s)", "U1"});
  const std::string b = Film("b.vid", 1, {"energy (eV)", "time (s)", "U2"});
  const std::string ba = ReadFile(a), bb = ReadFile(b);
  host.Answer(MsgResult::Yes);
  ASSERT_TRUE(MergeVideo(a, 1, b, Path("m.vid")));
  ASSERT_EQ(host.messages.size(), 1u);
  EXPECT_EQ(host.messages[0].title, "Merge Video");
  EXPECT_EQ(host.messages[0].text,
            "At least one of the videos include worksheet data but the number\r\n"
            "of data per frame and/or the type of data are different.\r\n\r\n"
            "2 columns are identical and can be saved in the merged video:\r\n"
            "\tVideo #1\t\tVideo #2\r\n"
            "A\tenergy (eV)\t\tenergy (eV)\r\n"
            "B\ttime (s)\t\ttime (s)\r\n"
            "C\tU1\t\tU2\r\n\r\n"
            "Continue?");
  EXPECT_EQ(Labels(Path("m.vid")), (std::vector<std::string>{"energy (eV)", "time (s)"}));
  auto fa = Frames(a), fb = Frames(b);
  fa.insert(fa.end(), fb.begin(), fb.end());
  EXPECT_EQ(Frames(Path("m.vid")), fa);
  EXPECT_EQ(ReadFile(a), ba);
  EXPECT_EQ(ReadFile(b), bb);

  // No: nothing is written. Films alike: nothing is asked.
  host.Answer(MsgResult::No);
  EXPECT_FALSE(MergeVideo(a, 1, b, Path("n.vid")));
  EXPECT_FALSE(std::filesystem::exists(Path("n.vid")));
  host.messages.clear();
  ASSERT_TRUE(MergeVideo(a, 1, a, Path("aa.vid")));
  EXPECT_TRUE(host.messages.empty());
  EXPECT_EQ(Labels(Path("aa.vid")).size(), 3u);

  // One film without columns: no column is identical.
  const std::string plain = Film("p.vid", 1);
  host.Answer(MsgResult::Yes);
  ASSERT_TRUE(MergeVideo(plain, 1, a, Path("pa.vid")));
  EXPECT_NE(host.messages.back().text.find("All columns are different. No column can be saved"),
            std::string::npos);
  EXPECT_NE(host.messages.back().text.find("\r\nA\t\t\tenergy (eV)"), std::string::npos);
  EXPECT_TRUE(Labels(Path("pa.vid")).empty());
}

TEST_F(FilmEditTest, MergeToAviAsksOnceKeepsNoColumnsAndTheExtensionFollowsTheType) {
  SetCompressOptions(DefaultCompressOptions(FilmCodec::Lossless));
  const std::string a = Film("a.vid", 2, {"energy (eV)"}, 32, 8, 8);
  const std::string b = Film("b.vid", 2, {"energy (eV)"}, 32, 8, 8);
  host.Answer(MsgResult::Yes);
  ASSERT_TRUE(MergeVideo(a, 2, b, Path("m.vid")));
  ClearCompressOptions();
  ASSERT_EQ(host.messages.size(), 1u);
  EXPECT_EQ(host.messages[0].text,
            "At least one of the videos include worksheet data but\r\n"
            "the AVI file format doesn't support worksheet data.\r\n\r\n"
            "No column can be saved in the merged video:\r\n\r\nContinue?");
  std::unique_ptr<VideoFile> m = OpenFilmToRead(Path("m.avi"));
  ASSERT_TRUE(m);
  EXPECT_TRUE(m->IsAVI());
  EXPECT_EQ(m->NumberOfPictures(), 4);
  EXPECT_EQ(m->Cols(), 0);
  // The pixels come through losslessly; the cells are blanked.
  std::vector<uint8_t> frame(m->FrameSize());
  uint32_t got = 0;
  ASSERT_TRUE(m->ReadFrame(3, frame.data(), got));
  const auto source = Frames(b)[1];
  EXPECT_EQ(frame[0], 0);
  EXPECT_EQ(frame[63], 0);
  EXPECT_TRUE(std::equal(frame.begin() + 64, frame.end(), source.begin() + 64));
}

TEST_F(FilmEditTest, AnAviAndAVidMergeIntoAVidWithoutColumns) {
  SetCompressOptions(DefaultCompressOptions(FilmCodec::Lossless));
  const std::string v = Film("v.vid", 2, {}, 32, 8, 8);
  ASSERT_TRUE(CopyFilm(v, Path("v.avi"), 0, -1).ok);
  ClearCompressOptions();
  const std::string labelled = Film("l.vid", 1, {"energy (eV)"}, 32, 8, 8);
  host.Answer(MsgResult::Yes);  // the columns of one film cannot be kept
  ASSERT_TRUE(MergeVideo(Path("v.avi"), 1, labelled, Path("m.vid")));
  EXPECT_NE(host.messages.back().text.find("All columns are different."), std::string::npos);
  const auto m = Frames(Path("m.vid"));
  ASSERT_EQ(m.size(), 3u);
  // The AVI's frames are the ".vid"'s with the cell of the cycle blanked.
  const auto source = Frames(v);
  EXPECT_TRUE(std::equal(m[1].begin() + 32, m[1].end(), source[1].begin() + 32));
  EXPECT_EQ(m[2], Frames(labelled)[0]);
  EXPECT_TRUE(Labels(Path("m.vid")).empty());
}

TEST_F(FilmEditTest, MergeRefusesOtherFormatsAndTooLittleDiskWithTheWholeText) {
  const std::string a = Film("a.vid", 2);
  const std::string b = Film("b.vid", 1, {}, 8, 4, 8);
  host.Answer(MsgResult::OK);
  EXPECT_FALSE(MergeVideo(a, 1, b, Path("m.vid")));
  EXPECT_EQ(host.messages.back().text,
            "Image format of first Video 16 x 4 Pixel x 12 bpp\r\n"
            "is different from second Video: 8 x 4 Pixel x 8 bpp.\r\nCan't merge!");

  const std::string c = Film("c.vid", 1);
  const uint64_t sa = std::filesystem::file_size(a), sc = std::filesystem::file_size(c);
  // One byte short of both films and 10 MiB.
  host.freeDisk = int64_t(sa + sc + kMergeReserveBytes - 1);
  host.Answer(MsgResult::OK);
  EXPECT_FALSE(MergeVideo(a, 1, c, Path("m.vid")));
  EXPECT_EQ(host.messages.back().title, "Merge Video");
  EXPECT_EQ(host.messages.back().text,
            "Not enough free disk space available.\r\n"
            "Merge video requires:\r\n"
            "       \t" + GroupedNumber(sa) + " Bytes (" + a + ")\r\n"
            "     + \t" + GroupedNumber(sc) + " Bytes (" + c + ")\r\n"
            "     + \t10,485,760 Bytes (min. remaining space)\r\n"
            "     = \t" + GroupedNumber(sa + sc + kMergeReserveBytes) + " Bytes (total)\r\n"
            "     " + GroupedNumber(sa + sc + kMergeReserveBytes - 1) + " Bytes available");
  EXPECT_FALSE(std::filesystem::exists(Path("m.vid")));
  host.freeDisk = int64_t(sa + sc + kMergeReserveBytes);
  EXPECT_TRUE(MergeVideo(a, 1, c, Path("m.vid")));
  EXPECT_EQ(MergeTargetName("/d/a.vid", "/e/b.avi", 2), "/d/a_b.avi");
}

TEST_F(FilmEditTest, ResizeStretchesThePixelsAndKeepsTheNumbers) {
  const std::string src = Film("src.vid", 3, {"energy (eV)"}, 16, 4, 12);
  const FilmEditResult r = ResizeFilm(src, Path("big.vid"), 32, 8);
  ASSERT_TRUE(r.ok) << r.error;
  std::unique_ptr<VideoFile> big = OpenFilmToRead(Path("big.vid"));
  ASSERT_TRUE(big);
  EXPECT_EQ(big->Width(), 32);
  EXPECT_EQ(big->Height(), 8);
  std::vector<uint8_t> frame(big->FrameSize());
  uint32_t got = 0;
  ASSERT_TRUE(big->ReadFrame(2, frame.data(), got));
  EXPECT_EQ(big->ColData(0), 200.0f);
  // The same size is a plain copy of the pixels.
  ASSERT_TRUE(ResizeFilm(src, Path("same.vid"), 16, 4).ok);
  EXPECT_EQ(Frames(Path("same.vid")), Frames(src));
  EXPECT_FALSE(ResizeFilm(src, Path("bad.vid"), 0, 4).ok);
}

TEST_F(FilmEditTest, PixelsOfAFrameComeBackExactly) {
  // 8-bit colour in lines of frame size / height; 16-bit grey low byte first.
  FramePixels colour{5, 2, 8, true, 16 * 2};
  std::vector<uint16_t> s(30), back(30);
  for (size_t i = 0; i < s.size(); ++i) s[i] = uint16_t(i * 8);
  std::vector<uint8_t> frame(colour.frameBytes, 0xEE);
  SamplesToFrame(colour, s.data(), frame.data());
  EXPECT_EQ(frame[15], 0);  // the line's padding
  EXPECT_EQ(frame[16], 15 * 8);
  FrameToSamples(colour, frame.data(), back.data());
  EXPECT_EQ(back, s);
  FramePixels grey{3, 1, 12, false, 6};
  std::vector<uint16_t> g{1, 0x0FFF, 0xFFFF}, gb(3);
  std::vector<uint8_t> f(6);
  SamplesToFrame(grey, g.data(), f.data());
  EXPECT_EQ(f, (std::vector<uint8_t>{1, 0, 0xFF, 0x0F, 0xFF, 0x0F}));  // cut to 12 bits
  FrameToSamples(grey, f.data(), gb.data());
  EXPECT_EQ(gb, (std::vector<uint16_t>{1, 0x0FFF, 0x0FFF}));
}

}  // namespace
}  // namespace sv
