// svbatch record: recordings on the simulated camera and the dummy D/A and
// A/D, what they print, the answers about existing films, and a recording
// killed outright whose film the repair makes whole. The recordings take
// real time; no test checks how long anything took.
#include <gtest/gtest.h>
#include <signal.h>

#include <filesystem>
#include <thread>

#include "batch_child.h"
#include "batch_fixture.h"
#include "image/kernel/numbers.h"
#include "support/scripted_host.h"
#include "video/video_file.h"

namespace sv::cli {
namespace {

namespace fs = std::filesystem;

class BatchRecordTest : public BatchFixture {
 protected:
  void SetUp() override {
    BatchFixture::SetUp();
    ini = root + "/rec.ini";
    film = root + "/film.vid";
    WriteIni("0");
  }
  // The simulated camera at `period` ms a frame; the first A/D channel in
  // the records where the hardware names an A/D converter.
  void WriteIni(const std::string& period) {
    test::WriteFile(ini,
                    "[HARDWARE]\r\nGrabber=DummyGrb\r\nA/D-Converter=DummyAD\r\n"
                    "D/A-Converter=DummyDA\r\n[Grabber]\r\nDummyFramePeriod=" + period + "\r\n"
                    "[Experiment VTR]\r\nAD=0\r\n");
  }
  struct Film {
    long frames = -1, cols = -1, bits = -1;
    std::vector<std::vector<float>> cells;  // per frame: cycle, then the columns
    bool decoded = true;
  };
  static Film Read(const std::string& path) {
    test::ScriptedHost host;
    Film f;
    auto vid = NewVideoFile(false);
    std::string name = path;
    if (!vid->FileOpen(name, kFilmOpenExist, nullptr, nullptr, nullptr, nullptr, false)) return f;
    f.frames = vid->Samples();
    f.cols = vid->Cols();
    f.bits = vid->BitsPerPixel();
    std::vector<uint8_t> bytes(vid->FrameSize());
    for (long i = 0; i < f.frames; ++i) {
      uint32_t got = 0;
      std::vector<float> cells(size_t(f.cols + 1));
      if (!vid->ReadFrame(uint32_t(i), bytes.data(), got) || !SV_decode(cells, bytes)) f.decoded = false;
      f.cells.push_back(cells);
    }
    return f;
  }
  std::string ini, film;
};

TEST_F(BatchRecordTest, BadCommandLinesAreRefused) {
  for (std::vector<std::string> args :
       {std::vector<std::string>{"record"}, {"record", "a.vid", "b.vid"}, {"record", "a.vid", "--frames", "0"},
        {"record", "a.vid", "--average", "3"}, {"record", "a.vid", "--sources", "5"},
        {"record", "a.vid", "--ie", "20", "30"}, {"record", "a.vid", "--append", "--replace"},
        {"record", "a.vid", "--codec", "best"}, {"record", "a.vid", "--frames", "2", "--ie", "1", "2", "1"},
        {"record", "a.vid", "--what"}}) {
    SCOPED_TRACE(args.back());
    EXPECT_EQ(Run(args), 2);
  }
  EXPECT_EQ(Run({"record", film, "--ini", root + "/none.ini"}), 1);
  // The simulated camera has one input: two films need two.
  EXPECT_EQ(Run({"record", film, "--frames", "1", "--sources", "1", "--ini", ini}), 1);
  EXPECT_NE(err.str().find("source mode 1"), std::string::npos) << err.str();
  EXPECT_FALSE(fs::exists(film));
}

TEST_F(BatchRecordTest, FramesAreRecordedWithTimeAndChannelAndAppendedOrReplaced) {
  const std::string sheet = root + "/rec.sht";
  ASSERT_EQ(Run({"record", film, "--frames", "3", "--ini", ini, "--sheet", sheet}), 0) << err.str();
  EXPECT_EQ(out.str(), film + ": 3 frames, 384 x 288, 12 bit\n");
  EXPECT_TRUE(fs::exists(sheet));
  Film f = Read(film);
  ASSERT_EQ(f.frames, 3);
  EXPECT_GE(f.cols, 1);  // time, and the A/D channel where the hardware names one
  EXPECT_TRUE(f.decoded);
  for (long i = 0; i < 3; ++i) EXPECT_EQ(f.cells[size_t(i)][0], float(i));

  // By default a film of the same format is appended to.
  ASSERT_EQ(Run({"record", film, "--frames", "2", "--ini", ini}), 0) << err.str();
  EXPECT_EQ(out.str(), film + ": 5 frames, 384 x 288, 12 bit\n");
  ASSERT_EQ(Run({"record", film, "--frames", "1", "--ini", ini, "--replace"}), 0) << err.str();
  EXPECT_EQ(Read(film).frames, 1);

  // Another depth cannot be appended: untouched, exit 1, unless replaced.
  const std::string before = test::ReadFile(film);
  EXPECT_EQ(Run({"record", film, "--frames", "1", "--average", "4", "--ini", ini}), 1);
  EXPECT_NE(err.str().find("Can't append!"), std::string::npos) << err.str();
  EXPECT_EQ(Run({"record", film, "--frames", "1", "--average", "4", "--append", "--ini", ini}), 1);
  EXPECT_EQ(test::ReadFile(film), before);
  ASSERT_EQ(Run({"record", film, "--frames", "2", "--average", "4", "--replace", "--ini", ini}), 0);
  EXPECT_EQ(out.str(), film + ": 2 frames, 384 x 288, 14 bit\n");
  EXPECT_EQ(Read(film).bits, 14);
}

TEST_F(BatchRecordTest, AnEnergySweepStoresItsEnergies) {
  const std::string name = root + "/sweep";  // ".vid" is added
  ASSERT_EQ(Run({"record", name, "--ie", "20", "23", "1.5", "--ini", ini}), 0) << err.str();
  EXPECT_EQ(out.str(), name + ".vid: 3 frames, 384 x 288, 12 bit\n");
  Film f = Read(name + ".vid");
  ASSERT_EQ(f.frames, 3);
  ASSERT_GE(f.cols, 2);  // energy, time (and the channel)
  EXPECT_EQ(f.cells[0][1], 20.0f);
  EXPECT_EQ(f.cells[1][1], 21.5f);
  EXPECT_EQ(f.cells[2][1], 23.0f);
}

TEST_F(BatchRecordTest, AnAviFilmTakesTheCodecNamedAndHasNoColumns) {
  const std::string clip = root + "/clip.avi";
  for (const char* codec : {"lossless", "view"}) {
    SCOPED_TRACE(codec);
    ASSERT_EQ(Run({"record", clip, "--frames", "2", "--codec", codec, "--replace", "--ini", ini}), 0)
        << err.str();
    EXPECT_EQ(out.str(), clip + ": 2 frames, 384 x 288, 8 bit\n");
    ASSERT_EQ(Run({"film-info", clip}), 0) << err.str();
    EXPECT_NE(out.str().find("type: avi\n"), std::string::npos) << out.str();
    EXPECT_NE(out.str().find("frames: 2\n"), std::string::npos) << out.str();
    EXPECT_NE(out.str().find("columns: 0\n"), std::string::npos) << out.str();
  }
}

// Killed outright mid-recording: the header still says 0 frames. After the
// repair every counted frame is complete and its cells decode.
TEST_F(BatchRecordTest, AKilledRecordingIsMadeWholeByTheRepair) {
  WriteIni("20");  // a frame each 20 ms, so that the kill falls mid-recording
  test::BatchChild child({"record", film, "--frames", "100000", "--ini", ini, "--flush"});
  ASSERT_GT(child.Pid(), 0);
  const uintmax_t frameBytes = 384 * 288 * 2;
  const auto size = [this] {
    std::error_code ec;
    const uintmax_t n = fs::file_size(film, ec);
    return ec ? uintmax_t(0) : n;
  };
  for (int i = 0; i < 2000 && size() < 1056 + 6 * frameBytes; ++i)
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  ASSERT_GE(size(), 1056 + 6 * frameBytes);
  ::kill(child.Pid(), SIGKILL);
  EXPECT_EQ(child.Wait(), 128 + SIGKILL);
  EXPECT_EQ(Read(film).frames, -1);  // no film for a reader yet

  ASSERT_EQ(Run({"film-repair", film}), 0) << err.str();
  EXPECT_EQ(out.str().rfind(film + ": 0 -> ", 0), 0u) << out.str();
  const Film f = Read(film);
  ASSERT_GE(f.frames, 6);
  EXPECT_EQ(fs::file_size(film), 1056 + uintmax_t(f.frames) * frameBytes);
  EXPECT_TRUE(f.decoded);
  for (long i = 0; i < f.frames; ++i) {
    EXPECT_EQ(f.cells[size_t(i)][0], float(i));
    if (i > 0) {
      EXPECT_GE(f.cells[size_t(i)][1], f.cells[size_t(i - 1)][1]);  // time runs on
    }
  }
}

}  // namespace
}  // namespace sv::cli
