#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "support/scripted_host.h"
#include "video/class_sv2avi.h"
#include "video/compress_options.h"

namespace sv {
namespace {

using test::ReadFile;
using test::ScriptedHost;
using test::WriteFile;

bool HaveTool(const char* tool) { return ::access(tool, X_OK) == 0; }

// Runs a shell command; its standard output, "" on failure.
std::string Shell(const std::string& command, bool* ok = nullptr) {
  std::string out;
  FILE* p = ::popen((command + " 2>/dev/null").c_str(), "r");
  if (!p) return out;
  char buf[4096];
  size_t n;
  while ((n = std::fread(buf, 1, sizeof buf, p)) > 0) out.append(buf, n);
  const int rc = ::pclose(p);
  if (ok) *ok = rc == 0;
  return out;
}

// What ffprobe says of the first video stream: codec_name, pix_fmt, width,
// height, nb_read_frames.
std::map<std::string, std::string> Probe(const std::string& path) {
  std::map<std::string, std::string> m;
  const std::string out = Shell("/usr/bin/ffprobe -v error -select_streams v:0 -count_frames "
                              "-show_entries stream=codec_name,pix_fmt,width,height,nb_read_frames "
                              "-of default=nw=1 '" + path + "'");
  size_t at = 0;
  while (at < out.size()) {
    const size_t end = out.find('\n', at);
    const std::string line = out.substr(at, end - at);
    const size_t eq = line.find('=');
    if (eq != std::string::npos) m[line.substr(0, eq)] = line.substr(eq + 1);
    if (end == std::string::npos) break;
    at = end + 1;
  }
  return m;
}

// A picture that differs in every frame and every pixel: bytes a pixel
// `per`, frame `i`.
std::vector<uint8_t> Pattern(long w, long h, int per, long i) {
  std::vector<uint8_t> f(size_t(w * h * per));
  for (size_t k = 0; k < f.size(); ++k) f[k] = uint8_t(k * 7 + size_t(i) * 31 + (k >> 9));
  return f;
}

// A flat picture whose brightness tells the frame: 20 + 9 i.
std::vector<uint8_t> Flat(long w, long h, int per, long i) {
  return std::vector<uint8_t>(size_t(w * h * per), uint8_t(20 + 9 * i));
}

double Mean(const std::vector<uint8_t>& f) {
  double s = 0;
  for (uint8_t v : f) s += v;
  return f.empty() ? 0 : s / double(f.size());
}

class AviTest : public ::testing::Test {
 protected:
  void SetUp() override { ClearCompressOptions(); }
  void TearDown() override {
    ClearCompressOptions();
    CompressOptionsDialog() = nullptr;
  }
  std::string Path(const char* name) { return host.root + "/" + name; }
  bool Create(Class_SV2AVI& film, std::string path, long w, long h, long b, bool colour,
              FilmCodec codec, float rate = 25, int mode = kFilmOpenCreateWrite) {
    SetCompressOptions(DefaultCompressOptions(codec));
    return film.FileOpen(path, mode, &w, &h, &b, &rate, colour);
  }
  // Writes `frames` frames from `make` and closes.
  template <class Make>
  void WriteFilm(const std::string& path, long w, long h, long bits, bool colour, FilmCodec codec,
                 long frames, Make make) {
    Class_SV2AVI film;
    ASSERT_TRUE(Create(film, path, w, h, bits, colour, codec));
    const int per = colour ? 3 : bits > 8 ? 2 : 1;
    ASSERT_EQ(film.FrameSize(), uint32_t(w * h * per));
    for (long i = 0; i < frames; ++i)
      ASSERT_TRUE(film.WriteFrame(uint32_t(i), make(w, h, per, i).data()));
    EXPECT_EQ(film.Samples(), frames);
    ASSERT_TRUE(film.FileClose());
    EXPECT_EQ(film.Samples(), 0);
    EXPECT_EQ(film.Filename(), "");
  }
  std::vector<uint8_t> Read(Class_SV2AVI& film, uint32_t index) {
    std::vector<uint8_t> f(film.FrameSize() + 16, 0xEE);
    uint32_t got = 0;
    EXPECT_TRUE(film.ReadFrame(index, f.data(), got)) << index;
    EXPECT_EQ(got, film.FrameSize());
    for (size_t k = film.FrameSize(); k < f.size(); ++k) EXPECT_EQ(f[k], 0xEE) << "past the frame";
    f.resize(film.FrameSize());
    return f;
  }
  ScriptedHost host;
};

// Lossless films of every kind come back bit for bit, in any order, and
// ffprobe sees the codec, the pixel format, the size and the count.
TEST_F(AviTest, LosslessRoundTripOfEveryKind) {
  struct Kind { long bits; bool colour; const char* pixFmt; int per; };
  for (const Kind k : {Kind{16, false, "gray16le", 2}, Kind{8, false, "gray", 1},
                       Kind{8, true, "bgr0", 3}}) {
    const std::string path = Path("lossless.avi");
    WriteFilm(path, 40, 30, k.bits, k.colour, FilmCodec::Lossless, 12, Pattern);
    if (HaveTool("/usr/bin/ffprobe")) {
      auto p = Probe(path);
      EXPECT_EQ(p["codec_name"], "ffv1");
      EXPECT_EQ(p["pix_fmt"], k.pixFmt);
      EXPECT_EQ(p["width"], "40");
      EXPECT_EQ(p["height"], "30");
      EXPECT_EQ(p["nb_read_frames"], "12");
    }
    Class_SV2AVI film;
    std::string name = path;
    long w = 0, h = 0, b = 0;
    float rate = 0;
    ASSERT_TRUE(film.FileOpen(name, kFilmOpenRead, &w, &h, &b, &rate, false));
    EXPECT_EQ(w, 40);
    EXPECT_EQ(h, 30);
    EXPECT_EQ(b, k.bits);
    EXPECT_FLOAT_EQ(rate, 25.0f);
    EXPECT_EQ(film.HasColors(), k.colour);
    EXPECT_EQ(film.NumberOfPictures(), 12);
    EXPECT_EQ(film.FrameSize(), uint32_t(40 * 30 * k.per));
    for (uint32_t i : {5u, 0u, 11u, 3u, 4u, 4u, 10u, 1u})
      EXPECT_EQ(Read(film, i), Pattern(40, 30, k.per, i)) << k.pixFmt << " frame " << i;
    uint32_t low = 0, high = 1;
    EXPECT_TRUE(film.FileSize(low, high));
    EXPECT_EQ(low, ReadFile(path).size());
    EXPECT_EQ(high, 0u);
    std::vector<uint8_t> buf(film.FrameSize());
    uint32_t got = 7;
    EXPECT_FALSE(film.ReadFrame(12, buf.data(), got));
    EXPECT_EQ(got, 0u);
  }
}

// The viewing codec: MPEG-4 in AVI, every frame found by its brightness,
// grey films read back as colour.
TEST_F(AviTest, ViewCodecFindsEveryFrame) {
  const std::string path = Path("view.avi");
  WriteFilm(path, 64, 48, 8, false, FilmCodec::View, 24, Flat);
  if (HaveTool("/usr/bin/ffprobe")) {
    auto p = Probe(path);
    EXPECT_EQ(p["codec_name"], "mpeg4");
    EXPECT_EQ(p["nb_read_frames"], "24");
  }
  Class_SV2AVI film;
  std::string name = path;
  ASSERT_TRUE(film.FileOpen(name, kFilmOpenExist, nullptr, nullptr, nullptr, nullptr, false));
  EXPECT_TRUE(film.HasColors());
  EXPECT_EQ(film.BitsPerPixel(), 8);
  EXPECT_EQ(film.Samples(), 24);
  for (uint32_t i : {23u, 0u, 16u, 15u, 14u, 2u, 3u, 22u})
    EXPECT_NEAR(Mean(Read(film, i)), 20 + 9 * i, 2.0) << i;
}

// A gap leaves skipped frames that read as the frame before; a gap in
// front reads black; a frame before the end is refused with a message.
TEST_F(AviTest, GapsAndRewrites) {
  const std::string path = Path("gaps.avi");
  {
    Class_SV2AVI film;
    ASSERT_TRUE(Create(film, path, 16, 8, 8, false, FilmCodec::Lossless));
    ASSERT_TRUE(film.WriteFrame(2, Flat(16, 8, 1, 2).data()));
    ASSERT_TRUE(film.WriteFrame(3, Flat(16, 8, 1, 3).data()));
    ASSERT_TRUE(film.WriteFrame(7, Flat(16, 8, 1, 7).data()));
    EXPECT_EQ(film.NumberOfPictures(), 8);
    host.Answer(MsgResult::OK);
    EXPECT_FALSE(film.WriteFrame(5, Flat(16, 8, 1, 5).data()));
    EXPECT_EQ(host.messages.back().title, "AVI.WriteFrame");
    host.Answer(MsgResult::OK);
    EXPECT_FALSE(film.WriteFrame(8 + kMaxAVIGap + 1, Flat(16, 8, 1, 5).data()));
    ASSERT_TRUE(film.FileClose());
  }
  Class_SV2AVI film;
  std::string name = path;
  ASSERT_TRUE(film.FileOpen(name, kFilmOpenRead, nullptr, nullptr, nullptr, nullptr, false));
  ASSERT_EQ(film.Samples(), 8);
  const long expect[8] = {-1, -1, 2, 3, 3, 3, 3, 7};
  for (uint32_t i : {7u, 0u, 1u, 2u, 3u, 4u, 5u, 6u, 7u, 5u}) {
    const auto f = Read(film, i);
    EXPECT_EQ(f, expect[i] < 0 ? std::vector<uint8_t>(f.size(), 0) : Flat(16, 8, 1, expect[i]))
        << i;
  }
}

// Mode 1 makes a new film as 0x1001 does; the rate falls back to 15;
// colour is 8 bits; 0x200 deletes; bad files and closed objects fail quietly.
TEST_F(AviTest, ModesAndBadInput) {
  const std::string path = Path("modes.avi");
  WriteFilm(path, 8, 8, 8, false, FilmCodec::Lossless, 3, Pattern);
  {
    Class_SV2AVI film;
    std::string name = path;
    long w = 8, h = 8, b = 12;
    float rate = 0;
    SetCompressOptions(DefaultCompressOptions(FilmCodec::Lossless));
    ASSERT_TRUE(film.FileOpen(name, kFilmOpenWrite, &w, &h, &b, &rate, true));
    EXPECT_FLOAT_EQ(rate, 15.0f);
    EXPECT_EQ(b, 8);
    EXPECT_EQ(film.Samples(), 0);
    ASSERT_TRUE(film.WriteFrame(0, Pattern(8, 8, 3, 9).data()));
    ASSERT_TRUE(film.FileClose());
  }
  Class_SV2AVI film;
  std::string name = path;
  ASSERT_TRUE(film.FileOpen(name, kFilmOpenRead, nullptr, nullptr, nullptr, nullptr, false));
  EXPECT_EQ(film.Samples(), 1);
  EXPECT_TRUE(film.HasColors());
  EXPECT_FLOAT_EQ(film.Rate(), 15.0f);
  // The numbers an AVI film does not keep.
  film.Cols(5);
  film.ColData(0, 1.5f);
  EXPECT_EQ(film.Cols(), 0);
  EXPECT_EQ(film.ColData(0), 0.0f);
  EXPECT_EQ(film.ColLabel(0), "");
  EXPECT_TRUE(film.NumericData({"a", "b"}));
  EXPECT_TRUE(film.SaveHeader());
  EXPECT_TRUE(film.FlushFileBuffer());
  EXPECT_TRUE(film.IsAVI());
  film.HasColors(false);  // an open film keeps its layout
  EXPECT_EQ(film.FrameSize(), 8u * 8u * 3u);
  EXPECT_FALSE(film.WriteFrame(1, Pattern(8, 8, 3, 9).data()));  // opened for reading
  ASSERT_TRUE(film.FileClose());

  ASSERT_TRUE(film.FileOpen(name, kFilmOpenDelete, nullptr, nullptr, nullptr, nullptr, false));
  EXPECT_TRUE(ReadFile(path).empty());
  EXPECT_FALSE(film.FileOpen(name, kFilmOpenExist, nullptr, nullptr, nullptr, nullptr, false));
  WriteFile(path, "RIFF\x10\0\0\0AVI LIST garbage that is no film");
  EXPECT_FALSE(film.FileOpen(name, kFilmOpenRead, nullptr, nullptr, nullptr, nullptr, false));
  WriteFile(path, std::string("VIDEO\r\n\0", 8) + std::string(2000, '\0'));
  EXPECT_FALSE(film.FileOpen(name, kFilmOpenRead, nullptr, nullptr, nullptr, nullptr, false));
  EXPECT_EQ(film.Filename(), "");
  std::vector<uint8_t> buf(64);
  uint32_t got = 1, low = 1, high = 1;
  EXPECT_FALSE(film.ReadFrame(0, buf.data(), got));
  EXPECT_EQ(got, 0u);
  EXPECT_FALSE(film.FileSize(low, high));
  EXPECT_FALSE(film.WriteFrame(0, buf.data()));
  EXPECT_TRUE(film.FileClose());
}

// Without options at hand or in "Compress.opt" the chooser runs: cancelled
// (or no front end) the open fails; chosen, the choice is saved.
TEST_F(AviTest, ChooserAtCreation) {
  const std::string path = Path("chosen.avi");
  long w = 16, h = 16, b = 8;
  float rate = 10;
  {
    Class_SV2AVI film;
    std::string name = path;
    EXPECT_FALSE(film.FileOpen(name, kFilmOpenCreateWrite, &w, &h, &b, &rate, false));
    CompressOptionsDialog() = [](Form_CompressOptions& f) {
      f.Command_Cancel();
      return false;
    };
    EXPECT_FALSE(film.FileOpen(name, kFilmOpenCreateWrite, &w, &h, &b, &rate, false));
    EXPECT_FALSE(film.IsOpen());
    EXPECT_TRUE(ReadFile(host.programFolder + "/Compress.opt").empty());
  }
  int shown = 0;
  CompressOptionsDialog() = [&shown](Form_CompressOptions& f) {
    ++shown;
    f.SelectCodec(1);
    return f.Command_OK();
  };
  Class_SV2AVI film;
  std::string name = path;
  ASSERT_TRUE(film.FileOpen(name, kFilmOpenCreateWrite, &w, &h, &b, &rate, false));
  EXPECT_EQ(shown, 1);
  EXPECT_EQ(film.Options()->handler, kCodecView);
  EXPECT_EQ(ReadFile(host.programFolder + "/Compress.opt").size(), 44u);
  ASSERT_TRUE(film.FileClose());
  // The next film takes the saved choice without asking.
  ClearCompressOptions();
  Class_SV2AVI second;
  std::string other = Path("second.avi");
  ASSERT_TRUE(second.FileOpen(other, kFilmOpenCreateWrite, &w, &h, &b, &rate, false));
  EXPECT_EQ(shown, 1);
  EXPECT_EQ(second.Options()->handler, kCodecView);
}

// A film that cannot be created says so under the open's title.
TEST_F(AviTest, CreateFailureMessage) {
  Class_SV2AVI film;
  std::string name = host.root + "/no-such-folder/x.avi";
  long w = 16, h = 16, b = 8;
  float rate = 10;
  SetCompressOptions(DefaultCompressOptions(FilmCodec::Lossless));
  host.Answer(MsgResult::OK);
  EXPECT_FALSE(film.FileOpen(name, kFilmOpenCreateWrite, &w, &h, &b, &rate, false));
  ASSERT_EQ(host.messages.size(), 1u);
  EXPECT_EQ(host.messages[0].title, "AVI.FileOpen");
  EXPECT_EQ(host.messages[0].text, "Cannot create AVI file with the selected Compressor");
  EXPECT_FALSE(AVILibraryTooOld(~0u, ~0u));
  EXPECT_TRUE(AVILibraryTooOld(0, ~0u));
  EXPECT_TRUE(AVILibraryTooOld(~0u, 0));
}

// Films the ffmpeg tool makes from raw pictures: FFV1 pixel for pixel in
// all three kinds, MPEG-4 with key frames far apart found frame by frame.
TEST_F(AviTest, FilmsFromTheFfmpegTool) {
  if (!HaveTool("/usr/bin/ffmpeg")) GTEST_SKIP() << "no ffmpeg";
  struct Kind { const char* pixFmt; int per; long bits; bool colour; };
  const long w = 48, h = 32, frames = 20;
  for (const Kind k : {Kind{"gray16le", 2, 16, false}, Kind{"gray", 1, 8, false},
                       Kind{"rgb24", 3, 8, true}}) {
    std::string raw;
    for (long i = 0; i < frames; ++i) {
      const auto f = Pattern(w, h, k.per, i);
      raw.append(reinterpret_cast<const char*>(f.data()), f.size());
    }
    WriteFile(Path("in.raw"), raw);
    std::string out = Path("tool.avi");
    bool ok = false;
    Shell("/usr/bin/ffmpeg -v error -y -f rawvideo -pix_fmt " + std::string(k.pixFmt) +
            " -s 48x32 -r 30 -i '" + Path("in.raw") + "' -c:v ffv1 -g 6 '" + out + "'",
        &ok);
    ASSERT_TRUE(ok) << k.pixFmt;
    Class_SV2AVI film;
    ASSERT_TRUE(film.FileOpen(out, kFilmOpenRead, nullptr, nullptr, nullptr, nullptr, false));
    EXPECT_EQ(film.Samples(), frames);
    EXPECT_EQ(film.BitsPerPixel(), k.bits);
    EXPECT_EQ(film.HasColors(), k.colour);
    EXPECT_FLOAT_EQ(film.Rate(), 30.0f);
    for (uint32_t i : {19u, 0u, 7u, 6u, 5u, 13u, 1u, 2u, 18u})
      EXPECT_EQ(Read(film, i), Pattern(w, h, k.per, i)) << k.pixFmt << " frame " << i;
  }

  std::string raw;
  for (long i = 0; i < frames; ++i) {
    const auto f = Flat(w, h, 3, i);
    raw.append(reinterpret_cast<const char*>(f.data()), f.size());
  }
  WriteFile(Path("in.raw"), raw);
  // Key frames 8 apart, then also with B-frames (decoded out of order).
  for (const char* extra : {"-g 8", "-g 8 -bf 2", "-g 8 -bf 2 -sc_threshold 1000000000"}) {
    std::string out = Path("tool4.avi");
    bool ok = false;
    Shell("/usr/bin/ffmpeg -v error -y -f rawvideo -pix_fmt rgb24 -s 48x32 -r 25 -i '" +
              Path("in.raw") + "' -c:v mpeg4 -q:v 2 " + extra + " '" + out + "'",
          &ok);
    ASSERT_TRUE(ok);
    Class_SV2AVI film;
    ASSERT_TRUE(film.FileOpen(out, kFilmOpenRead, nullptr, nullptr, nullptr, nullptr, false));
    EXPECT_EQ(film.Samples(), frames);
    EXPECT_TRUE(film.HasColors());
    std::vector<std::vector<uint8_t>> inOrder;
    for (uint32_t i = 0; i < uint32_t(frames); ++i) inOrder.push_back(Read(film, i));
    for (uint32_t i : {17u, 3u, 8u, 7u, 16u, 0u, 19u, 9u}) {
      EXPECT_EQ(Read(film, i), inOrder[i]) << extra << ": frame " << i << " by seeking";
      EXPECT_NEAR(Mean(inOrder[i]), 20 + 9 * i, 2.0) << extra << ": frame " << i;
    }
  }
}

// A recording cut off before its close (the process dies): the film has
// no count and no index, and still opens with the frames that reached the disk.
TEST_F(AviTest, FilmOfAProcessThatDied) {
  const std::string path = Path("died.avi");
  const long w = 320, h = 240;
  const pid_t child = ::fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    Class_SV2AVI film;
    std::string name = path;
    long cw = w, ch = h, b = 8;
    float rate = 25;
    film.Options(DefaultCompressOptions(FilmCodec::Lossless));
    if (!film.FileOpen(name, kFilmOpenCreateWrite, &cw, &ch, &b, &rate, true)) ::_exit(1);
    for (uint32_t i = 0; i < 12; ++i)
      if (!film.WriteFrame(i, Pattern(w, h, 3, i).data())) ::_exit(2);
    ::_exit(0);  // no close: no trailer, no index, the last buffer lost
  }
  int status = 0;
  ASSERT_EQ(::waitpid(child, &status, 0), child);
  ASSERT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
  Class_SV2AVI film;
  std::string name = path;
  ASSERT_TRUE(film.FileOpen(name, kFilmOpenRead, nullptr, nullptr, nullptr, nullptr, false));
  EXPECT_GE(film.Samples(), 2) << ReadFile(path).size() << " bytes";
  EXPECT_LE(film.Samples(), 12);
  std::vector<uint8_t> f(film.FrameSize());
  uint32_t got = 0;
  // Every whole chunk reads back exactly; the last may be cut.
  const uint32_t last = uint32_t(film.Samples() - 1);
  for (uint32_t i = last + 1; i-- > 0;) {
    const bool read = film.ReadFrame(i, f.data(), got);
    if (i < last) {
      ASSERT_TRUE(read) << i;
      EXPECT_EQ(f, Pattern(w, h, 3, i)) << i;
    }
  }
}

// A film in memory opens as a file does; the memory is read, never written.
TEST_F(AviTest, OpenFromMemory) {
  const std::string path = Path("mem.avi");
  WriteFilm(path, 24, 16, 16, false, FilmCodec::Lossless, 5, Pattern);
  const std::string bytes = ReadFile(path);
  Class_SV2AVI film;
  ASSERT_TRUE(film.OpenFromMemory(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size()));
  EXPECT_EQ(film.Samples(), 5);
  EXPECT_EQ(Read(film, 3), Pattern(24, 16, 2, 3));
  uint32_t low = 0, high = 0;
  EXPECT_TRUE(film.FileSize(low, high));
  EXPECT_EQ(low, bytes.size());
  // Cut short anywhere: opens or not, never more frames than bytes allow.
  for (size_t cut : {size_t(0), size_t(12), size_t(300), bytes.size() / 2, bytes.size() - 9}) {
    Class_SV2AVI part;
    if (!part.OpenFromMemory(reinterpret_cast<const uint8_t*>(bytes.data()), cut)) continue;
    std::vector<uint8_t> f(part.FrameSize());
    uint32_t got = 0;
    for (uint32_t i = 0; i < uint32_t(part.Samples()); ++i) part.ReadFrame(i, f.data(), got);
  }
}

}  // namespace
}  // namespace sv
