// svbatch film-export and film-import: what they write and print, the bad
// command lines, and an import killed outright that the repair makes whole.
#include <gtest/gtest.h>
#include <signal.h>

#include <filesystem>
#include <thread>

#include "batch_child.h"
#include "batch_fixture.h"
#include "image/form_camera.h"
#include "image/image_files.h"
#include "support/scripted_host.h"
#include "video/film_edit.h"

namespace sv::cli {
namespace {

namespace fs = std::filesystem;

class BatchFilmEditTest : public BatchFixture {
 protected:
  static std::vector<uint16_t> Samples(int seed, long w, long h) {
    std::vector<uint16_t> s(size_t(w * h));
    for (size_t i = 0; i < s.size(); ++i) s[i] = uint16_t((seed * 977 + i * 13) % 4096);
    s[0] = 4095;
    return s;
  }
  std::string Image(const std::string& name, int seed, long w = 32, long h = 8) {
    test::ScriptedHost host;
    Form_Camera image(nullptr);
    std::vector<uint16_t> s = Samples(seed, w, h);
    image.CreateImage(w, h, 12, s.data());
    const std::string path = root + "/" + name;
    fs::create_directories(fs::path(path).parent_path());
    EXPECT_TRUE(SaveTIF(image, path, 6));
    return path;
  }
  // The samples of each frame behind its first `skip` samples.
  static std::vector<std::vector<uint16_t>> FilmSamples(const std::string& path, size_t skip) {
    test::ScriptedHost host;
    std::vector<std::vector<uint16_t>> all;
    std::unique_ptr<VideoFile> f = OpenFilmToRead(path);
    if (!f) return all;
    const FramePixels p = PixelsOf(*f);
    std::vector<uint8_t> frame(f->FrameSize());
    for (long i = 0; i < f->NumberOfPictures(); ++i) {
      uint32_t got = 0;
      EXPECT_TRUE(f->ReadFrame(uint32_t(i), frame.data(), got));
      std::vector<uint16_t> s(p.Samples());
      FrameToSamples(p, frame.data(), s.data());
      all.emplace_back(s.begin() + long(skip), s.end());
    }
    return all;
  }
};

TEST_F(BatchFilmEditTest, ImportThenExportRoundTrip) {
  const std::string a = Image("in/leed_60eV.tif", 1), b = Image("in/leed_61.5eV.tif", 2);
  const std::string film = root + "/f.vid";
  ASSERT_EQ(Run({"film-import", b, a, film, "--energy-from-name"}), 0) << err.str();
  EXPECT_EQ(out.str(), film + ": 2 frames, 32 x 8, 16 bit\n");
  ASSERT_EQ(Run({"film-info", film, "--frames"}), 0);
  EXPECT_NE(out.str().find("column 0: energy (eV)\n"), std::string::npos) << out.str();
  EXPECT_NE(out.str().find("0\t0\t61.5\t0\t0\n1\t1\t60\t1\t0.5\n"), std::string::npos) << out.str();

  // To images: 16-bit TIFF by default above 8 bits, and the log.
  ASSERT_EQ(Run({"film-export", film, root + "/out", "--from", "1", "--log"}), 0) << err.str();
  EXPECT_EQ(out.str(), root + "/out: 1 frames\n");
  EXPECT_TRUE(fs::exists(root + "/out/f_000001.t16"));
  EXPECT_FALSE(fs::exists(root + "/out/f_000000.t16"));
  EXPECT_EQ(test::ReadFile(root + "/out/f.txt"), "[1]\t60\t1\t0.5\r\n");
  ASSERT_EQ(Run({"film-export", film, root + "/bmp", "--filter", "2"}), 0) << err.str();
  EXPECT_TRUE(fs::exists(root + "/bmp/f_000000.bmp"));

  // Back into a film: the same pixels behind the cells.
  ASSERT_EQ(Run({"film-import", root + "/out", root + "/g.vid"}), 0) << err.str();
  EXPECT_EQ(FilmSamples(root + "/g.vid", 64)[0], FilmSamples(film, 64)[1]);

  // To a film: the range, and AVI without the numbers.
  ASSERT_EQ(Run({"film-export", film, root + "/part.vid", "--to", "0"}), 0) << err.str();
  EXPECT_EQ(out.str(), root + "/part.vid: 1 frames\n");
  EXPECT_EQ(FilmSamples(root + "/part.vid", 0)[0], FilmSamples(film, 0)[0]);
  ASSERT_EQ(Run({"film-export", film, root + "/all.avi"}), 0) << err.str();
  EXPECT_EQ(out.str(), root + "/all.avi: 2 frames\n");
  const auto avi = FilmSamples(root + "/all.avi", 64);
  ASSERT_EQ(avi.size(), 2u);
  EXPECT_EQ(avi[1], FilmSamples(film, 64)[1]);  // lossless
  EXPECT_EQ(test::ReadFile(root + "/all.txt"),
            "[0]\tenergy (eV) = 61.5\tCycle = 0\ttime (s) = 0\r\n"
            "[1]\tenergy (eV) = 60\tCycle = 1\ttime (s) = 0.5\r\n");
}

TEST_F(BatchFilmEditTest, BadCommandLinesAndFailures) {
  const std::string a = Image("a.tif", 1);
  const std::string film = root + "/f.vid";
  ASSERT_EQ(Run({"film-import", a, film}), 0) << err.str();
  EXPECT_EQ(Run({"film-export", film}), 2);
  EXPECT_EQ(Run({"film-export", film, root + "/o", "--filter", "13"}), 2);
  EXPECT_EQ(Run({"film-export", film, root + "/o", "--from", "2", "--to", "1"}), 2);
  EXPECT_EQ(Run({"film-export", film, root + "/o.vid", "--log"}), 2);
  EXPECT_EQ(Run({"film-export", film, root + "/o", "--codec", "view"}), 2);
  EXPECT_EQ(Run({"film-export", film, root + "/o.avi", "--codec", "best"}), 2);
  EXPECT_EQ(Run({"film-import", a, root + "/f.avi"}), 2);
  EXPECT_EQ(Run({"film-import", a, film, "--energy", "4", "1"}), 2);
  EXPECT_EQ(Run({"film-import", a, film, "--energy", "10", "0"}), 2);
  EXPECT_EQ(Run({"film-import", a, film, "--energy", "10", "1", "--energy-from-name"}), 2);

  EXPECT_EQ(Run({"film-export", film, root + "/o", "--from", "1"}), 1);
  EXPECT_EQ(err.str(), "svbatch: " + film + " has frames 0 to 0\n");
  EXPECT_EQ(Run({"film-export", a, root + "/o"}), 1);
  EXPECT_EQ(err.str(), "svbatch: " + a + " is not a valid Film File\n");
  EXPECT_EQ(Run({"film-import", a, root + "/g.vid", "--energy-from-name"}), 1);
  EXPECT_EQ(err.str(), "svbatch: No energy in the file name a.tif\n");
  EXPECT_EQ(Run({"film-import", root + "/none", root + "/g.vid"}), 1);
  test::WriteFile(root + "/h.txt", "1 2\n3\n");
  EXPECT_EQ(Run({"film-import", a, root + "/h.vid"}), 1);
  EXPECT_EQ(err.str(), "svbatch: " + root + "/h.txt: Line 2: 1 numbers for 2 columns\n");
}

// Killed outright mid-import: the header still counts no frame. After the
// repair every counted frame is its source image.
TEST_F(BatchFilmEditTest, AKilledImportIsMadeWholeByTheRepair) {
  const long w = 128, h = 128;
  std::vector<std::string> images;
  for (int i = 0; i < 16; ++i) images.push_back(Image("in/i" + std::to_string(i) + ".tif", i, w, h));
  std::vector<std::string> args{"film-import"};
  for (int k = 0; k < 4000; ++k) args.push_back(images[size_t(k % 16)]);
  const std::string film = root + "/k.vid";
  args.push_back(film);
  const uintmax_t frameBytes = uintmax_t(w * h * 2);
  const auto size = [&] {
    std::error_code ec;
    const uintmax_t n = fs::file_size(film, ec);
    return ec ? uintmax_t(0) : n;
  };
  test::BatchChild child(args);
  ASSERT_GT(child.Pid(), 0);
  for (int i = 0; i < 20000 && size() < 1056 + 20 * frameBytes; ++i)
    std::this_thread::sleep_for(std::chrono::microseconds(200));
  ::kill(child.Pid(), SIGKILL);
  ASSERT_EQ(child.Wait(), 128 + SIGKILL) << "the import ended before the kill";

  ASSERT_EQ(Run({"film-repair", film}), 0) << err.str();
  EXPECT_EQ(out.str().rfind(film + ": 0 -> ", 0), 0u) << out.str();
  const auto frames = FilmSamples(film, 3 * 16);
  ASSERT_GE(frames.size(), 20u);
  EXPECT_EQ(fs::file_size(film), 1056 + frames.size() * frameBytes);
  for (size_t i = 0; i < frames.size(); ++i) {
    const std::vector<uint16_t> s = Samples(int(i % 16), w, h);
    ASSERT_EQ(frames[i], std::vector<uint16_t>(s.begin() + 48, s.end())) << "frame " << i;
  }
}

}  // namespace
}  // namespace sv::cli
