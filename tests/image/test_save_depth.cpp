// Which saves lose bits, and the note Save As leaves in the status line.

#include "image/save_depth.h"

#include <gtest/gtest.h>

#include <vector>

#include "core/globals.h"
#include "core/mdi_main.h"
#include "image/form_camera.h"
#include "image/image_files.h"
#include "support/scripted_host.h"

namespace sv {
namespace {

TEST(SaveDepthTest, OnlyTheEightBitFiltersLoseTheBitsOfADeeperImage) {
  for (int filter = 1; filter <= kImageFilterCount; ++filter) {
    EXPECT_FALSE(SaveLosesBits(8, filter)) << filter;
    EXPECT_EQ(SaveLosesBits(12, filter), filter <= 5) << filter;
    EXPECT_EQ(SaveLosesBits(16, filter), filter <= 5) << filter;
  }
  EXPECT_FALSE(SaveLosesBits(16, 0));
  EXPECT_FALSE(SaveLosesBits(16, 13));
  Form_Camera empty;
  EXPECT_FALSE(SaveLosesBits(empty, 1)) << "nothing to lose";
}

class SaveDepthMainTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ResetGlobals();
    SetMainForm(&main);
    main.Load();
    RegisterImageDocuments(main);
  }
  void TearDown() override { SetMainForm(nullptr); }
  // A picture of `bits` bits in front, saved through Save As with `filter`.
  Form_Camera* SaveAs(long bits, const std::string& name, int filter) {
    auto* image = NewImage(main);
    std::vector<uint16_t> src(16 * 8);
    for (size_t i = 0; i < src.size(); ++i) src[i] = uint16_t((i * 331) & ((1u << bits) - 1));
    image->CreateImage(16, 8, bits, src.data());
    main.ShowChild(image->Handle());
    host.status.clear();
    host.AnswerFile(host.root + "/" + name, filter);
    main.Click("mnuSaveAs");
    return image;
  }
  test::ScriptedHost host;
  MDIForm_Main main;
};

TEST_F(SaveDepthMainTest, SaveAsThroughAnEightBitFilterTellsTheStatusLine) {
  const Form_Camera* image = SaveAs(12, "deep", 1);
  EXPECT_EQ(image->Filename, host.root + "/deep.tif");
  EXPECT_EQ(host.LastStatus(),
            "deep.tif: saved through the display table as 8 bits; use .t16 (TIFF - 16 Bit) to keep "
            "16 bits");
  EXPECT_TRUE(host.messages.empty()) << "no box";
  ImageFileInfo info;
  ASSERT_TRUE(ReadImageFileInfo(host.root + "/deep.tif", info));
  EXPECT_EQ(info.bits, 8);

  SaveAs(16, "deep.jpg", 3);
  EXPECT_EQ(host.LastStatus().rfind("deep.jpg: saved through the display table as 8 bits", 0), 0u);
}

TEST_F(SaveDepthMainTest, SaveAsKeepingTheDepthLeavesTheStatusLineEmpty) {
  SaveAs(16, "deep", 6);
  EXPECT_EQ(host.LastStatus(), "");
  SaveAs(8, "shallow", 1);
  EXPECT_EQ(host.LastStatus(), "");
  SaveAs(12, "deep", 7);
  EXPECT_EQ(host.LastStatus(), "");
}

}  // namespace
}  // namespace sv
