#include <gtest/gtest.h>
#include <signal.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "batch_child.h"
#include "batch_fixture.h"
#include "cli/batch_script_run.h"
#include "image/form_camera.h"
#include "image/image_files.h"
#include "worksheet/form_worksheet.h"

namespace sv::cli {
namespace {

namespace fs = std::filesystem;

class BatchScriptTest : public BatchFixture {
 protected:
  void SetUp() override {
    BatchFixture::SetUp();
    fs::create_directories(root + "/in");
    // Three 8 x 8 grey pictures of 8 bits, each with a lit block.
    for (int n = 1; n <= 3; ++n) {
      std::vector<uint16_t> px(64, 0);
      for (int i = 0; i < n * 8; ++i) px[i] = 200;
      Form_Camera picture(nullptr);
      picture.CreateImage(8, 8, 8, px.data());
      const std::string path = root + "/in/p" + std::to_string(n) + ".tif";
      ASSERT_TRUE(ImageSaveDo(picture, path, 1));
      images.push_back(path);
    }
  }
  std::string Script(const std::string& name, const std::string& text) {
    const std::string path = root + "/" + name;
    std::ofstream(path, std::ios::binary) << text;
    return path;
  }
  std::vector<std::string> images;
};

TEST_F(BatchScriptTest, RunsOnEachInputAndWritesWhatIsOpen) {
  // "" acts on the last input, which is in front.
  const std::string job = Script("neg.scr", "NegativeImage(\"\")\r\nNegativeImage(\"p1.tif\")\r\n");
  const std::string outDir = root + "/out";
  ASSERT_EQ(Run({"script", job, images[0], images[2], "--out", outDir}), 0) << err.str();
  EXPECT_EQ(out.str(), outDir + "/p1.tif\n" + outDir + "/p3.tif\n");
  Form_Camera p1(nullptr), p3(nullptr);
  ASSERT_TRUE(ImageOpenDo(p1, outDir + "/p1.tif"));
  ASSERT_TRUE(ImageOpenDo(p3, outDir + "/p3.tif"));
  EXPECT_EQ(p1.ImagePtr()[0], 55);
  EXPECT_EQ(p1.ImagePtr()[63], 255);
  EXPECT_EQ(p3.ImagePtr()[0], 55);
  EXPECT_EQ(p3.ImageBitsPerPixel(), 8);
  // The inputs stay as they were.
  Form_Camera in(nullptr);
  ASSERT_TRUE(ImageOpenDo(in, images[0]));
  EXPECT_EQ(in.ImagePtr()[0], 200);
}

TEST_F(BatchScriptTest, NewDocumentsClashesAndTheFilter) {
  // The same file twice, a particle sheet, and a bitmap filter for all.
  const std::string job =
      Script("p.scr", "ParticleDetect(\"\")\r\nParticleWorksheet\r\nStop\r\nEdge(\"\")\r\n");
  const std::string outDir = root + "/o";
  ASSERT_EQ(Run({"script", job, images[1], images[1], "--out", outDir, "--filter", "2"}), 0)
      << err.str();
  EXPECT_EQ(out.str(),
            outDir + "/p2.bmp\n" + outDir + "/p2-2.bmp\n" + outDir + "/Data1.sht\n");
  EXPECT_TRUE(fs::exists(outDir + "/Data1.sht"));
  Form_Camera back(nullptr);
  EXPECT_TRUE(ImageOpenDo(back, outDir + "/p2-2.bmp"));

  std::vector<std::string> taken;
  EXPECT_EQ(UniqueOutputName("a.tif", taken), "a.tif");
  EXPECT_EQ(UniqueOutputName("A.TIF", taken), "A-2.TIF");
  EXPECT_EQ(UniqueOutputName("a.tif", taken), "a-3.tif");
  EXPECT_EQ(UniqueOutputName("noext", taken), "noext");
  EXPECT_EQ(UniqueOutputName("noext", taken), "noext-2");
}

TEST_F(BatchScriptTest, ErrorsPointAtTheirLine) {
  const std::string outDir = root + "/out";
  // A run-time error: the line is printed and what is open is written.
  const std::string bad = Script("bad.scr", "// x\n\nEdge(\"nothing\")\nStop\n");
  EXPECT_EQ(Run({"script", bad, images[0], "--out", outDir}), 1);
  EXPECT_EQ(out.str(), bad + ":3: Image \"nothing\" not found\n" + outDir + "/p1.tif\n");
  EXPECT_NE(err.str().find("Run time error:"), std::string::npos);

  // A compile error: nothing is written.
  fs::remove_all(outDir);
  const std::string broken = Script("broken.scr", "Stop\r\nDelay(x)\r\n");
  EXPECT_EQ(Run({"script", broken, images[0], "--out", outDir}), 1);
  EXPECT_EQ(out.str(), broken + ":2: Argument type mismatch\n");
  EXPECT_FALSE(fs::exists(outDir));

  EXPECT_EQ(Run({"script", root + "/none.scr"}), 1);
  EXPECT_NE(err.str().find("Error loading " + root + "/none.scr"), std::string::npos);
  EXPECT_EQ(Run({"script", bad, root + "/in/missing.tif"}), 1);

  EXPECT_EQ(Run({"script"}), 2);
  EXPECT_EQ(Run({"script", bad, "--filter", "13"}), 2);
  EXPECT_EQ(Run({"script", bad, "--out"}), 2);
  EXPECT_EQ(Run({"script", bad, "--bogus"}), 2);
}

TEST_F(BatchScriptTest, EndAndExitEndWell) {
  EXPECT_EQ(Run({"script", Script("e.scr", "End\r\nEdge(\"x\")")}), 0);
  EXPECT_EQ(Run({"script", Script("x.scr", "Exit\r\nEdge(\"x\")")}), 0);
  EXPECT_EQ(out.str(), "");
  EXPECT_TRUE(ScriptUsesCapture("// c\r\n  capture junk\r\n"));
  EXPECT_FALSE(ScriptUsesCapture("// Capture\r\nCaptured\r\n"));
}

TEST_F(BatchScriptTest, CtrlCEndsALongDelay) {
  // The Delay is the last statement: the status still tells of the Ctrl-C.
  const std::string job = Script("wait.scr", "Delay(600000)\r\n");
  const std::string outDir = root + "/out";
  test::BatchChild child({"script", job, images[0], "--out", outDir});
  ASSERT_GT(child.Pid(), 0);
  // The child is in its Delay once it has opened its input; give it the time
  // to get there, then press Ctrl-C.
  ::usleep(300 * 1000);
  ::kill(child.Pid(), SIGINT);
  EXPECT_EQ(child.Wait(), 130);
  // It ended itself and wrote the image as read.
  EXPECT_EQ(child.OutLine(), outDir + "/p1.tif");
  Form_Camera back(nullptr);
  ASSERT_TRUE(ImageOpenDo(back, outDir + "/p1.tif"));
  EXPECT_EQ(back.ImagePtr()[0], 200);
}

}  // namespace
}  // namespace sv::cli
