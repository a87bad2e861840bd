#include "video/class_sv2vid.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <string>
#include <tuple>
#include <vector>

#include "image/kernel/numbers.h"
#include "support/scripted_host.h"

namespace sv {
namespace {

using test::ReadFile;
using test::ScriptedHost;

int32_t I32At(const std::string& bytes, size_t at) {
  int32_t v;
  std::memcpy(&v, bytes.data() + at, 4);
  return v;
}
int16_t I16At(const std::string& bytes, size_t at) {
  int16_t v;
  std::memcpy(&v, bytes.data() + at, 2);
  return v;
}

class VidTest : public ::testing::Test {
 protected:
  std::string Path(const char* name) { return host.root + "/" + name; }
  // A new film; width, height, bits by value.
  bool Create(Class_SV2VID& film, std::string path, long w, long h, long b, float rate = 25,
              bool colour = false, int mode = kFilmOpenCreateWrite) {
    return film.FileOpen(path, mode, &w, &h, &b, &rate, colour);
  }
  // A frame whose bytes all hold `fill`, with the cycle and `values` coded in front.
  std::vector<uint8_t> Frame(const Class_SV2VID& film, uint8_t fill, float cycle = -1,
                             std::vector<float> values = {}) {
    std::vector<uint8_t> f(film.FrameSize(), fill);
    if (cycle >= 0) {
      values.insert(values.begin(), cycle);
      EXPECT_TRUE(SV_code(Samples8(f.data(), f.size()), values));
    }
    return f;
  }
  ScriptedHost host;
};

// The layout to the byte: magic, the numbers, the label text and the frames
// at 1056 + i * FrameSize.
TEST_F(VidTest, FileLayoutToTheByte) {
  Class_SV2VID film;
  ASSERT_TRUE(Create(film, Path("a.vid"), 1024, 1024, 8, 25));
  EXPECT_EQ(film.FrameSize(), 1048576u);
  ASSERT_TRUE(film.NumericData({"energy (eV)", "I1"}));
  for (uint32_t i = 0; i < 3; ++i) ASSERT_TRUE(film.WriteFrame(i, Frame(film, uint8_t(10 + i)).data()));
  ASSERT_TRUE(film.FileClose());

  const std::string bytes = ReadFile(Path("a.vid"));
  ASSERT_EQ(bytes.size(), 8u + 1048u + 3u * 1048576u);
  EXPECT_EQ(bytes.substr(0, 8), std::string("VIDEO\r\n\0", 8));
  EXPECT_EQ(I32At(bytes, 8), 3);
  EXPECT_EQ(I32At(bytes, 12), 120);  // 3 frames at 25 a second
  EXPECT_EQ(I32At(bytes, 16), 1024);
  EXPECT_EQ(I32At(bytes, 20), 1024);
  EXPECT_EQ(I16At(bytes, 24), 8);
  EXPECT_EQ(I16At(bytes, 26), 0);
  EXPECT_EQ(I16At(bytes, 28), 2);
  EXPECT_EQ(I16At(bytes, 30), 0);
  EXPECT_EQ(bytes.substr(32, 16), std::string("energy (eV)\0I1\0\0", 16));
  EXPECT_EQ(bytes.find_first_not_of('\0', 32 + 15), 1056u);
  // Frame 2 begins at 8 + 1048 + 2 * 1048576.
  const size_t frame2 = 8 + 1048 + 2 * 1048576;
  EXPECT_EQ(uint8_t(bytes[frame2 - 1]), 11);
  EXPECT_EQ(uint8_t(bytes[frame2]), 12);
}

TEST_F(VidTest, FrameSizeRules) {
  // Made: 8-bit lines rounded down to 4 bytes, colour three bytes a pixel.
  EXPECT_EQ(CreateFrameSize(10, 3, 8, false), 8u * 3);
  EXPECT_EQ(CreateFrameSize(10, 3, 8, true), 28u * 3);
  EXPECT_EQ(CreateFrameSize(10, 3, 12, true), 20u * 3);
  // Read: the simpler form, colour not counted.
  EXPECT_EQ(ReadFrameSize(10, 3, 8), 8u * 3);
  EXPECT_EQ(ReadFrameSize(10, 3, 9), 20u * 3);
  EXPECT_EQ(ReadFrameSize(0, 3, 8), 0u);
  EXPECT_EQ(ReadFrameSize(65536, 65536, 16), uint64_t(1) << 33);
}

// The cycle in cell 0, column c in cell c + 1; 32 columns reach byte 1055.
TEST_F(VidTest, ThirtyTwoColumnsFillTheCellsUpToByte1055) {
  Class_SV2VID film;
  ASSERT_TRUE(Create(film, Path("c.vid"), 1024, 4, 8));
  std::vector<std::string> labels;
  std::vector<float> values;
  for (int c = 0; c < 32; ++c) {
    labels.push_back("c" + std::to_string(c));
    values.push_back(float(c) * 1.5f - 3);
  }
  ASSERT_TRUE(film.NumericData(labels));
  std::vector<uint8_t> frame = Frame(film, 7, 42, values);
  EXPECT_EQ(frame[1055], 0);     // the last byte of the last cell
  EXPECT_EQ(frame[1056], 7);     // pixels from here on
  ASSERT_TRUE(film.WriteFrame(0, frame.data()));
  // One spoilt byte in the last cell loses column 31 and no other.
  frame[1024 + 5] = 'x';
  ASSERT_TRUE(film.WriteFrame(1, frame.data()));
  ASSERT_TRUE(film.FileClose());

  Class_SV2VID back;
  std::string name = Path("c.vid");
  ASSERT_TRUE(back.FileOpen(name, kFilmOpenExist, nullptr, nullptr, nullptr, nullptr, false));
  ASSERT_EQ(back.Cols(), 32);
  EXPECT_EQ(back.ColLabel(31), "c31");
  std::vector<uint8_t> buffer(back.FrameSize());
  uint32_t got = 0;
  ASSERT_TRUE(back.ReadFrame(0, buffer.data(), got));
  EXPECT_EQ(got, back.FrameSize());
  for (int c = 0; c < 32; ++c) EXPECT_EQ(back.ColData(c), values[size_t(c)]) << c;
  ASSERT_TRUE(back.ReadFrame(1, buffer.data(), got));
  EXPECT_EQ(back.ColData(30), values[30]);
  EXPECT_TRUE(SV_IsNAVN(back.ColData(31)));
}

// Labels are cut at 1024 bytes, also inside a label; they are Windows-1252
// in the file.
TEST_F(VidTest, LabelsAreCutAtTheFieldsEndAndKeptInWindows1252) {
  Class_SV2VID film;
  ASSERT_TRUE(Create(film, Path("l.vid"), 8, 2, 8));
  std::vector<std::string> labels;
  for (int i = 0; i < 12; ++i) labels.push_back(std::string(100, char('a' + i)));
  labels[0] = "I (\xC2\xB5" "A)";  // "µ"
  ASSERT_TRUE(film.NumericData(labels));
  ASSERT_TRUE(film.WriteFrame(0, Frame(film, 0).data()));
  ASSERT_TRUE(film.FileClose());
  const std::string bytes = ReadFile(Path("l.vid"));
  EXPECT_EQ(bytes.substr(32, 7), std::string("I (\xB5" "A)\0", 7));
  EXPECT_EQ(bytes[32 + 1023], 'l');  // the last label runs to the field's end

  Class_SV2VID back;
  std::string name = Path("l.vid");
  ASSERT_TRUE(back.FileOpen(name, kFilmOpenExist, nullptr, nullptr, nullptr, nullptr, false));
  ASSERT_EQ(back.Cols(), 12);
  EXPECT_EQ(back.ColLabel(0), labels[0]);
  EXPECT_EQ(back.ColLabel(10), labels[10]);
  // The last label keeps what is left of the field behind the others.
  EXPECT_EQ(back.ColLabel(11), std::string(1024 - 7 - 10 * 101, 'l'));
}

TEST_F(VidTest, ColumnsAndTheirRanges) {
  Class_SV2VID film;
  EXPECT_EQ(film.ColData(-1), 0.0f);
  film.Cols(40);
  EXPECT_EQ(film.Cols(), 32);
  film.ColData(3, 2.5f);
  film.ColLabel(3, "x");
  film.ColData(32, 9.0f);  // ignored
  film.ColLabel(-1, "y");  // ignored
  EXPECT_EQ(film.ColData(-1), 0.0f);
  EXPECT_EQ(film.ColData(32), 0.0f);
  EXPECT_EQ(film.ColLabel(32), "");
  film.Cols(4);  // shrinking keeps what stays
  EXPECT_EQ(film.ColData(3), 2.5f);
  EXPECT_EQ(film.ColLabel(3), "x");
  film.Cols(0);
  EXPECT_EQ(film.Cols(), 0);
  film.Cols(4);  // cleared, not kept
  EXPECT_EQ(film.ColData(3), 0.0f);
  EXPECT_EQ(film.ColLabel(3), "");
  film.Cols(-5);
  EXPECT_EQ(film.Cols(), 0);
}

TEST_F(VidTest, ReadModesAcceptOnlyAUsableHeader) {
  Class_SV2VID film;
  ASSERT_TRUE(Create(film, Path("r.vid"), 16, 4, 12, 10));
  ASSERT_TRUE(film.NumericData({"E"}));
  ASSERT_TRUE(film.WriteFrame(0, Frame(film, 1, 0, {5}).data()));
  ASSERT_TRUE(film.FileClose());

  // Mode 0 hands back the size, depth and rate, not the labels.
  Class_SV2VID r;
  std::string name = Path("r.vid");
  long w = 0, h = 0, b = 0;
  float rate = 0;
  ASSERT_TRUE(r.FileOpen(name, kFilmOpenRead, &w, &h, &b, &rate, false));
  EXPECT_EQ(std::tuple(w, h, b, rate, r.Cols(), r.Samples(), r.Filename()),
            std::tuple(16L, 4L, 12L, 10.0f, 0L, 1L, name));
  // Mode 0x4000 hands back nothing but reads the labels.
  w = h = b = -1;
  rate = -1;
  ASSERT_TRUE(r.FileOpen(name, kFilmOpenExist, &w, &h, &b, &rate, false));
  EXPECT_EQ(std::tuple(w, h, b, rate, r.Cols(), r.ColLabel(0)),
            std::tuple(-1L, -1L, -1L, -1.0f, 1L, std::string("E")));
  EXPECT_TRUE(r.FileClose());
  EXPECT_EQ(r.Filename(), "");
  EXPECT_EQ(r.Samples(), 0);
  EXPECT_TRUE(r.FileClose());  // closed already
  uint32_t low = 1, high = 1;
  EXPECT_FALSE(r.FileSize(low, high));
  EXPECT_EQ(low + high, 0u);

  // No frames, bits below 8, a missing file, no magic: refused, closed.
  Class_SV2VID empty;
  ASSERT_TRUE(Create(empty, Path("empty.vid"), 16, 4, 8));
  ASSERT_TRUE(empty.FileClose());
  Class_SV2VID shallow;
  ASSERT_TRUE(Create(shallow, Path("six.vid"), 16, 4, 6));
  ASSERT_TRUE(shallow.WriteFrame(0, Frame(shallow, 0).data()));
  ASSERT_TRUE(shallow.FileClose());
  test::WriteFile(Path("text.vid"), std::string(2000, 'x'));
  for (const char* file : {"empty.vid", "six.vid", "none.vid", "text.vid"})
    for (int mode : {kFilmOpenRead, kFilmOpenExist}) {
      std::string n = Path(file);
      EXPECT_FALSE(r.FileOpen(n, mode, nullptr, nullptr, nullptr, nullptr, false)) << file;
      EXPECT_EQ(r.Filename(), "");
    }
}

TEST_F(VidTest, RateAndDuration) {
  Class_SV2VID film;
  float rate = 0;  // none given: 15, handed back
  long w = 8, h = 2, b = 8;
  std::string name = Path("rate.vid");
  ASSERT_TRUE(film.FileOpen(name, kFilmOpenCreateWrite, &w, &h, &b, &rate, false));
  EXPECT_EQ(rate, 15.0f);
  for (uint32_t i = 0; i < 4; ++i) ASSERT_TRUE(film.WriteFrame(i, Frame(film, 0).data()));
  ASSERT_TRUE(film.FileClose());
  EXPECT_EQ(I32At(ReadFile(name), 12), 267);  // 4000 / 15 rounded

  ASSERT_TRUE(film.FileOpen(name, kFilmOpenExist, nullptr, nullptr, nullptr, nullptr, false));
  EXPECT_NEAR(film.Rate(), 4000.0f / 267, 1e-4);
  ASSERT_TRUE(film.FileClose());

  // A header without a duration gives 15.
  VideoHeader hd;
  hd.NumberOfPictures = 4;
  hd.Duration = 0;
  EXPECT_EQ(RateFromHeader(hd), 15.0f);
  hd.Duration = 160;
  EXPECT_EQ(RateFromHeader(hd), 25.0f);
  EXPECT_EQ(DurationFor(3, 0.0f), 200);
  EXPECT_EQ(DurationFor(1, 400.0f), 2);  // 2.5 rounds to even
}

// Appending goes on behind a film of the same format; any other format
// starts a new, empty film in the same file.
TEST_F(VidTest, AppendKeepsTheOldFramesOnlyForTheSameFormat) {
  const std::string name = Path("app.vid");
  {
    Class_SV2VID film;
    ASSERT_TRUE(Create(film, name, 8, 2, 8, 25, false, kFilmOpenWrite));  // missing: made
    ASSERT_TRUE(film.NumericData({"E"}));
    ASSERT_TRUE(film.WriteFrame(0, Frame(film, 1).data()));
    ASSERT_TRUE(film.WriteFrame(1, Frame(film, 2).data()));
    ASSERT_TRUE(film.FileClose());
  }
  {
    Class_SV2VID film;
    ASSERT_TRUE(Create(film, name, 8, 2, 8, 25, false, kFilmOpenWrite));
    EXPECT_EQ(film.Samples(), 2);
    EXPECT_EQ(film.Cols(), 0);  // the caller gives the labels again
    // The header is rewritten at once, labels gone, the frames kept.
    EXPECT_EQ(I16At(ReadFile(name), 28), 0);
    ASSERT_TRUE(film.WriteFrame(uint32_t(film.Samples()), Frame(film, 3).data()));
    ASSERT_TRUE(film.FileClose());
    const std::string bytes = ReadFile(name);
    ASSERT_EQ(bytes.size(), 1056u + 3 * 16);
    EXPECT_EQ(bytes[1056], 1);
    EXPECT_EQ(bytes[1056 + 16], 2);
    EXPECT_EQ(bytes[1056 + 32], 3);
  }
  struct Other {
    long w, h, b;
    bool colour;
  };
  for (const Other& o : {Other{12, 2, 8, false}, Other{8, 3, 8, false}, Other{8, 2, 16, false},
                         Other{8, 2, 8, true}}) {
    Class_SV2VID film;
    ASSERT_TRUE(Create(film, name, 8, 2, 8, 25, false, kFilmOpenWrite));
    ASSERT_TRUE(film.WriteFrame(uint32_t(film.Samples()), Frame(film, 4).data()));
    ASSERT_TRUE(film.FileClose());
    ASSERT_TRUE(Create(film, name, o.w, o.h, o.b, 25, o.colour, kFilmOpenWrite));
    EXPECT_EQ(film.Samples(), 0);
    EXPECT_EQ(ReadFile(name).size(), 1056u);
    EXPECT_EQ(std::tuple(film.Width(), film.Height(), film.BitsPerPixel(), film.HasColors()),
              std::tuple(o.w, o.h, o.b, o.colour));
    ASSERT_TRUE(film.FileClose());
    // Back to the first format for the next case.
    ASSERT_TRUE(Create(film, name, 8, 2, 8));
    ASSERT_TRUE(film.FileClose());
  }
  // Delete.
  Class_SV2VID film;
  std::string n = name;
  EXPECT_TRUE(film.FileOpen(n, kFilmOpenDelete, nullptr, nullptr, nullptr, nullptr, false));
  EXPECT_NE(access(name.c_str(), F_OK), 0);
  EXPECT_FALSE(film.FileOpen(n, kFilmOpenDelete, nullptr, nullptr, nullptr, nullptr, false));
}

TEST_F(VidTest, GapsReadAsZerosAndTheCountJumps) {
  Class_SV2VID film;
  ASSERT_TRUE(Create(film, Path("gap.vid"), 64, 2, 8));
  film.Cols(1);
  ASSERT_TRUE(film.WriteFrame(0, Frame(film, 9, 1, {2}).data()));
  ASSERT_TRUE(film.WriteFrame(5, Frame(film, 9, 6, {7}).data()));
  EXPECT_EQ(film.Samples(), 6);
  ASSERT_TRUE(film.WriteFrame(2, Frame(film, 8).data()));  // rewritten in place, count kept
  EXPECT_EQ(film.Samples(), 6);
  std::vector<uint8_t> buffer(film.FrameSize(), 0xEE);
  uint32_t got = 0;
  ASSERT_TRUE(film.ReadFrame(3, buffer.data(), got));
  EXPECT_EQ(got, film.FrameSize());
  EXPECT_EQ(std::count(buffer.begin(), buffer.end(), 0), long(buffer.size()));
  EXPECT_TRUE(SV_IsNAVN(film.ColData(0)));  // no number in a gap
  ASSERT_TRUE(film.ReadFrame(5, buffer.data(), got));
  EXPECT_EQ(film.ColData(0), 7.0f);
  // Past the end: what is there, the rest zeros.
  std::fill(buffer.begin(), buffer.end(), 0xEE);
  ASSERT_TRUE(film.ReadFrame(6, buffer.data(), got));
  EXPECT_EQ(got, 0u);
  EXPECT_EQ(buffer[0], 0);
  ASSERT_TRUE(film.FileClose());
  Class_SV2VID closed;
  EXPECT_FALSE(closed.ReadFrame(0, buffer.data(), got));
  EXPECT_FALSE(closed.WriteFrame(0, buffer.data()));
  EXPECT_FALSE(closed.SaveHeader());
  EXPECT_FALSE(closed.FlushFileBuffer());
}

// Offsets are 64-bit: a frame past 4 GiB, on a sparse file.
TEST_F(VidTest, FramesPastFourGigabytes) {
  Class_SV2VID film;
  const std::string name = Path("big.vid");
  ASSERT_TRUE(Create(film, name, 1024, 1024, 16));
  ASSERT_EQ(film.FrameSize(), 2u << 20);
  const uint32_t index = 2100;  // 1056 + 2100 * 2 MiB > 4 GiB
  std::vector<uint8_t> frame = Frame(film, 0x5A, 3, {});
  frame.back() = 0xA5;
  ASSERT_TRUE(film.WriteFrame(index, frame.data()));
  ASSERT_TRUE(film.FlushFileBuffer());
  EXPECT_EQ(film.Samples(), 2101);
  uint32_t low = 0, high = 0;
  ASSERT_TRUE(film.FileSize(low, high));
  const uint64_t size = uint64_t(high) << 32 | low;
  EXPECT_EQ(size, 1056 + uint64_t(2101) * (2u << 20));
  EXPECT_EQ(high, 1u);
  ASSERT_TRUE(film.FileClose());

  Class_SV2VID back;
  std::string n = name;
  ASSERT_TRUE(back.FileOpen(n, kFilmOpenRead, nullptr, nullptr, nullptr, nullptr, false));
  std::vector<uint8_t> buffer(back.FrameSize());
  uint32_t got = 0;
  ASSERT_TRUE(back.ReadFrame(index, buffer.data(), got));
  EXPECT_EQ(buffer, frame);
  ASSERT_TRUE(back.ReadFrame(index - 1, buffer.data(), got));
  EXPECT_EQ(buffer[0], 0);
  struct stat st {};
  ASSERT_EQ(stat(name.c_str(), &st), 0);
  EXPECT_LT(uint64_t(st.st_blocks) * 512, uint64_t(64) << 20);  // sparse
}

// A failed write is a stop message with the system's code under the call
// that failed.
TEST_F(VidTest, AFailedWriteShowsItsCode) {
  Class_SV2VID film;
  ASSERT_TRUE(Create(film, Path("w.vid"), 8, 2, 8));
  ASSERT_TRUE(film.WriteFrame(0, Frame(film, 1).data()));
  ASSERT_TRUE(film.FileClose());
  // Opened for reading, the film cannot be written.
  std::string name = Path("w.vid");
  ASSERT_TRUE(film.FileOpen(name, kFilmOpenRead, nullptr, nullptr, nullptr, nullptr, false));
  host.Answer(MsgResult::OK);
  EXPECT_FALSE(film.WriteFrame(1, Frame(film, 2).data()));
  ASSERT_EQ(host.messages.size(), 1u);
  EXPECT_EQ(host.messages[0].text, "ErrorCode = " + std::to_string(EBADF));
  EXPECT_EQ(host.messages[0].title, "WriteFile");
  EXPECT_EQ(host.messages[0].icon, MsgIcon::Critical);
  EXPECT_EQ(film.Samples(), 1);
  EXPECT_TRUE(film.FileClose());  // reading leaves the header alone
  EXPECT_EQ(ReadFile(name).size(), 1056u + 16);

  // A full disk fails the open already: the magic cannot be written.
  if (access("/dev/full", W_OK) == 0) {
    std::string full = "/dev/full";
    long w = 8, h = 2, b = 8;
    EXPECT_FALSE(film.FileOpen(full, kFilmOpenCreateWrite, &w, &h, &b, nullptr, false));
    EXPECT_EQ(film.Filename(), "");
  }
}

TEST_F(VidTest, HeaderEncodingRoundTrips) {
  VideoHeader h;
  h.NumberOfPictures = -5;
  h.Duration = 0x7FFFFFFF;
  h.Width = 640;
  h.Height = -1;
  h.BitsPerPixel = -32768;
  h.HasColors = -1;
  h.Cols = 33;
  h.Reserved = 7;
  h.Text[1023] = 'z';
  uint8_t bytes[kFilmHeaderBytes];
  EncodeVideoHeader(h, bytes);
  const VideoHeader back = DecodeVideoHeader(bytes);
  EXPECT_EQ(std::memcmp(&back, &h, sizeof h), 0);
  EXPECT_FALSE(VideoHeaderValid(back));
  // More than 32 columns in a header give 32 labels.
  EXPECT_EQ(SplitFilmLabels(back).size(), 32u);
}

}  // namespace
}  // namespace sv
