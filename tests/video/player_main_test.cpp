#include <gtest/gtest.h>

#include <filesystem>

#include "acquisition/live.h"
#include "core/ini_profile.h"
#include "core/mdi_main.h"
#include "core/settings.h"
#include "image/form_camera.h"
#include "player_fixture.h"

namespace sv::test {
namespace {

// The player on a main window: the singleton, as the workbench has it.
class PlayerMainTest : public PlayerTest {
 protected:
  void SetUp() override {
    PlayerTest::SetUp();
    ResetLiveGlobals();
    G().ImagesPath = host.root + "/images/";
    SetMainForm(&main);
    RegisterImageDocuments(main);
    RegisterSoftVTRForm(main, [this] { ++shown; });
  }
  void TearDown() override {
    SoftVTRForm().Form_Unload();
    SetMainForm(nullptr);
    ClearSettingsSections();
    ResetLiveGlobals();
    PlayerTest::TearDown();
  }
  MDIForm_Main main;
  int shown = 0;
};

TEST_F(PlayerMainTest, OpenDocumentShowsThePlayerAndItsFramesGoToAnImageWindow) {
  const std::string path = Film("a.vid", 3, 8, 4, 12);
  ASSERT_TRUE(main.OpenDocument(path));
  Form_SoftVTR& p = SoftVTRForm();
  EXPECT_EQ(shown, 1);
  EXPECT_TRUE(p.Visible());
  ASSERT_TRUE(p.IsOpen());
  Form_Camera* image = p.Image();
  ASSERT_NE(image, nullptr);
  EXPECT_EQ(main.Child(image->Handle()), image);
  EXPECT_EQ(main.LastFiles.front(), path);
  EXPECT_EQ(p.LastFiles.front(), path);
  // The next film uses the same window; a window the user closed is made again.
  ASSERT_TRUE(main.OpenDocument(Film("b.vid", 2, 16, 4, 8)));
  EXPECT_EQ(p.Image(), image);
  EXPECT_EQ(image->ImageWidth(), 16);
  ASSERT_TRUE(main.CloseChild(image->Handle()));
  ASSERT_TRUE(p.GotoFrame(1));
  ASSERT_NE(p.Image(), nullptr);
  EXPECT_NE(main.Child(p.Image()->Handle()), nullptr);
  // The settings section is in the order, at the film player's place.
  bool found = false;
  for (const SettingsSection& s : SettingsSections())
    if (s.name == "Film") found = s.slot == SettingsSlot::FilmPlayer;
  EXPECT_TRUE(found);
}

TEST_F(PlayerMainTest, TheBackgroundIsSubtractedAndMarkedAndAnotherShapeAsks) {
  Form_SoftVTR& p = SoftVTRForm();
  ASSERT_TRUE(p.OpenVideo(Film("a.vid", 3, 8, 4, 12)));
  p.mnuDefineBackground();  // frame 0
  ASSERT_NE(BackgroundImage(), nullptr);
  EXPECT_TRUE(std::filesystem::exists(host.root + "/images/~BckGrnd.tif"));
  EXPECT_TRUE(G().BackgroundValid);
  G().SubtractBackground = -1;
  ASSERT_TRUE(p.GotoFrame(2));
  const uint16_t* s = p.Image()->ImagePtr();
  for (size_t i = 0; i < 32; ++i) {
    const int d = int(PlayerPixel(2, i, 12)) - int(PlayerPixel(0, i, 12));
    ASSERT_EQ(s[i], d > 0 ? d : 0) << i;
  }
  EXPECT_EQ(p.Label_Position, "(1.0 s) [- Background Image]");
  p.mnuSubtractBackground();  // off: the frame again as it is
  EXPECT_EQ(p.Image()->ImagePtr()[5], PlayerPixel(2, 5, 12));
  EXPECT_EQ(p.Label_Position, "(1.0 s)");

  // A film of another size: the three-way question; Cancel turns subtraction off.
  G().SubtractBackground = -1;
  host.Answer(MsgResult::No);  // keep it on while opening
  host.Answer(MsgResult::Cancel);
  ASSERT_TRUE(p.OpenVideo(Film("b.vid", 2, 16, 4, 12)));
  EXPECT_EQ(host.messages.back().title, "Background Image Subtraction");
  EXPECT_EQ(G().SubtractBackground, 0);
  EXPECT_EQ(p.Label_Position, "(0.0 s)");
  EXPECT_EQ(p.Image()->ImagePtr()[5], PlayerPixel(0, 5, 12));
}

TEST_F(PlayerMainTest, InfoListsTheFilm) {
  Form_SoftVTR& p = SoftVTRForm();
  const std::string path = Film("a.vid", 1000, 64, 32, 12);
  ASSERT_TRUE(p.OpenVideo(path));
  EXPECT_EQ(p.InfoText(), path +
                              "\r\n4,097,056 Bytes (4,096/Frame)\r\n1000 Frames\r\n64 x 32\r\n"
                              "12 bpp\r\n20.00 Frames/s\r\n0 ... 999");
  host.Answer(MsgResult::OK);
  p.mnuInfo();
  EXPECT_EQ(host.messages.back().text, p.InfoText());
}

}  // namespace
}  // namespace sv::test

#include "video/form_vtr_data.h"

namespace sv::test {
namespace {

TEST_F(PlayerTest, FilmDataListsPropertiesAndColumnsLetteredPastZ) {
  std::vector<std::string> labels;
  for (int i = 0; i < 28; ++i) labels.push_back("c" + std::to_string(i));
  const std::string path = Film("d.vid", 2, 64, 16, 8, labels);
  Form_VTR_Data data;
  EXPECT_FALSE(data.Load(player));
  ASSERT_TRUE(player.OpenVideo(path));
  for (bool fromFile : {false, true}) {
    ASSERT_TRUE(fromFile ? data.LoadFile(path) : data.Load(player));
    EXPECT_EQ(data.Label_FileLength, "3,104 Bytes");
    EXPECT_EQ(std::tuple(data.Label_Frames, data.Label_Compression, data.Label_BitsPerPixel,
                         data.Label_Width, data.Label_Height, data.Label_Cols),
              std::tuple("2", "none", "8", "64", "16", "28"));
    ASSERT_EQ(data.List_Column.size(), 28u);
    EXPECT_EQ(data.List_Column[0], "A: c0");
    EXPECT_EQ(data.List_Column[25], "Z: c25");
    EXPECT_EQ(data.List_Column[27], "AB: c27");
  }
  EXPECT_FALSE(data.LoadFile(Path("none.vid")));
  EXPECT_EQ(data.Label_Filename, Path("none.vid"));
  EXPECT_TRUE(data.List_Column.empty());
}

}  // namespace
}  // namespace sv::test
