#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "batch_child.h"
#include "batch_fixture.h"
#include "image/kernel/numbers.h"
#include "support/scripted_host.h"
#include "video/class_sv2vid.h"
#include "video/film_repair.h"

namespace sv::cli {
namespace {

using test::ReadFile;
using test::WriteFile;

class BatchFilmTest : public BatchFixture {
 protected:
  // Three frames of 8 x 2 at 10 a second with the columns "E (eV)" and "I";
  // frame 1 carries no numbers.
  std::string Film() {
    std::string path = root + "/run.vid";
    Class_SV2VID film;
    long w = 64, h = 2, b = 8;
    float rate = 10;
    EXPECT_TRUE(film.FileOpen(path, kFilmOpenCreateWrite, &w, &h, &b, &rate, false));
    EXPECT_TRUE(film.NumericData({"E (eV)", "I"}));
    std::vector<uint8_t> frame(film.FrameSize());
    for (uint32_t i = 0; i < 3; ++i) {
      std::fill(frame.begin(), frame.end(), uint8_t(0));
      const std::vector<float> cells = {float(i), 20.5f + float(i), -1.25f};
      if (i != 1) {
        EXPECT_TRUE(SV_code(Samples8(frame.data(), frame.size()), cells));
      }
      EXPECT_TRUE(film.WriteFrame(i, frame.data()));
    }
    EXPECT_TRUE(film.FileClose());
    return path;
  }
};

TEST_F(BatchFilmTest, InfoShowsHeaderColumnsAndFrames) {
  const std::string path = Film();
  ASSERT_EQ(Run({"film-info", path}), 0) << err.str();
  EXPECT_EQ(out.str(), "file: " + path +
                           "\ntype: vid\nframes: 3\nwidth: 64\nheight: 2\nbits: 8\ncolour: no\n"
                           "rate: 10.00\nframe size: 128\ncolumns: 2\ncolumn 0: E (eV)\n"
                           "column 1: I\n");

  ASSERT_EQ(Run({"film-info", "--frames", path}), 0) << err.str();
  const std::string table = out.str().substr(out.str().find("frame\t"));
  EXPECT_EQ(table,
            "frame\tcycle\tE (eV)\tI\n"
            "0\t0\t20.5\t-1.25\n"
            "1\t-\t-\t-\n"
            "2\t2\t22.5\t-1.25\n");
}

TEST_F(BatchFilmTest, InfoAndRepairOfACrashedFilm) {
  const std::string path = Film();
  ASSERT_TRUE(WriteFilmFrameCount(path, 1));
  std::string bytes = ReadFile(path);
  WriteFile(path, bytes + std::string(50, 'x'));  // half a frame more

  ASSERT_EQ(Run({"film-info", path}), 0) << err.str();
  EXPECT_NE(out.str().find("frames: 1\n"), std::string::npos) << out.str();
  EXPECT_NE(out.str().find("complete frames: 3\n"), std::string::npos) << out.str();

  ASSERT_EQ(Run({"film-repair", path}), 0) << err.str();
  EXPECT_EQ(out.str(), path + ": 1 -> 3 frames, 50 bytes of an incomplete frame cut off\n");
  EXPECT_EQ(ReadFile(path).size(), bytes.size());

  ASSERT_EQ(Run({"film-repair", path}), 0) << err.str();
  EXPECT_EQ(out.str(), path + ": 3 frames, nothing to repair\n");
  ASSERT_EQ(Run({"film-info", path}), 0);
  EXPECT_EQ(out.str().find("complete frames"), std::string::npos);

  // A header that counts no frames is still shown, with what the file holds.
  ASSERT_TRUE(WriteFilmFrameCount(path, 0));
  ASSERT_EQ(Run({"film-info", path, "--frames"}), 0) << err.str();
  EXPECT_NE(out.str().find("frames: 0\n"), std::string::npos);
  EXPECT_NE(out.str().find("complete frames: 3\nframe\tcycle\tE (eV)\tI\n"), std::string::npos)
      << out.str();
}

TEST_F(BatchFilmTest, BadFilesAndBadCommandLines) {
  const std::string other = root + "/clip.avi";
  WriteFile(other, std::string(2048, 'Q'));
  EXPECT_EQ(Run({"film-info", other}), 1);
  EXPECT_NE(err.str().find("is not a film"), std::string::npos) << err.str();
  EXPECT_EQ(Run({"film-repair", other}), 1);
  EXPECT_NE(err.str().find("is not a valid Film File"), std::string::npos) << err.str();
  EXPECT_EQ(ReadFile(other), std::string(2048, 'Q'));
  EXPECT_EQ(Run({"film-info", root + "/none.vid"}), 1);
  EXPECT_NE(err.str().find("not found"), std::string::npos) << err.str();
  EXPECT_EQ(Run({"film-repair", root + "/none.vid"}), 1);

  const std::string path = Film();
  for (const std::vector<std::string>& bad : std::vector<std::vector<std::string>>{
           {"film-info"}, {"film-info", path, path}, {"film-info", path, "--all"},
           {"film-repair"}, {"film-repair", path, path}, {"film-repair", "--frames"}})
    EXPECT_EQ(Run(bad), 2) << bad.back();
  EXPECT_NE(Run({"help"}), 2);
  EXPECT_NE(out.str().find("film-repair FILE"), std::string::npos);
}

// The same commands as their own process: the exit code is the program's.
TEST_F(BatchFilmTest, ExitCodesOfTheProgram) {
  const std::string path = Film();
  test::BatchChild info({"film-info", path});
  EXPECT_EQ(info.OutLine(), "file: " + path);
  EXPECT_EQ(info.Wait(), 0);
  test::BatchChild repair({"film-repair", root + "/none.vid"});
  EXPECT_EQ(repair.Wait(), 1);
  test::BatchChild bad({"film-info"});
  EXPECT_EQ(bad.Wait(), 2);
}

}  // namespace
}  // namespace sv::cli
