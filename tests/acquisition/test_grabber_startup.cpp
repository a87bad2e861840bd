// The grabber at start-up, in the main window (menus, toolbars, the live
// picture's image), in the setup dialog's presenter, and at exit.

#include <tuple>

#include "acquisition/form_grabber_interface.h"
#include "acquisition/grabber_environment.h"
#include "core/ini_profile.h"
#include "grabber_fixture.h"
#include "image/form_camera.h"

namespace sv {
namespace {

class GrabberStartupTest : public test::GrabberTest {
 protected:
  void SetUp() override {
    GrabberTest::SetUp();
    RegisterImageDocuments(main);
    InstallGrabberEnvironment();
    RegisterGrabberCommands(main);
    // The live commands are not there yet; a stand-in shows the rule at work.
    main.SetCommand("mnuPreview", [this](int) { ++previews; });
  }
  void Configure(const std::string& grabber) {
    host.store.SaveSetting("sv4200", "HARDWARE", "Grabber", grabber);
  }
  int previews = 0;
};

TEST_F(GrabberStartupTest, ClosedDriverIsReportedWithItsDisplayName) {
  Configure("Sen95cam");
  host.Answer(MsgResult::OK);
  ASSERT_TRUE(Main(main, "/B"));
  ASSERT_EQ(host.messages.size(), 1u);
  EXPECT_EQ(host.messages[0].text,
            "Cannot initialize Grabber Interface\r\nGrabber:PCO SensiCam 370xL/375xL");
  // Unloaded again.
  EXPECT_EQ(std::tuple(G().GrabberOK, G().GrabberName, GB().GrabberLibrary, PreviewImage()),
            std::tuple(false, "SenNTcam", 0L, nullptr));
  EXPECT_EQ(std::tuple(main.FindButton("Preview")->enabled, main.FindToolbar("Toolbar_Sources")->buttons.size()),
            std::tuple(false, 0u));
  EXPECT_EQ(main.FindMenu("mnuGrabberSetup")->caption, "&Grabber: PCO SensiCam 370xL/375xL...");
}

TEST_F(GrabberStartupTest, EachClosedDriverNamesItselfInTheMessage) {
  for (auto [stem, display] : {std::pair{"V1SW2000", "Video 1000 S/W"}, {"V1rgb2k", "Video 1000 RGB"},
                               {"V1k12", "Video 1000 12Bit PCI"}, {"PCCAM", "PCO PixelFly"},
                               {"CamUsb_API_vb6", "UK1000 USB2.0 Cameras"}}) {
    ResetGlobals();
    MDIForm_Main other;
    SetMainForm(&other);
    Configure(stem);
    host.Answer(MsgResult::OK);
    ASSERT_TRUE(Main(other, "/B"));
    EXPECT_EQ(host.messages.back().text,
              std::string("Cannot initialize Grabber Interface\r\nGrabber:") + display);
    SetMainForm(&main);
  }
}

TEST_F(GrabberStartupTest, NoNameNoMessageAndAGoneDeviceIsForgotten) {
  ASSERT_TRUE(Main(main, "/B"));
  EXPECT_TRUE(host.messages.empty());
  EXPECT_EQ(main.FindMenu("mnuGrabberSetup")->caption, "&Grabber: (none)...");

  ResetGlobals();
  MDIForm_Main other;
  SetMainForm(&other);
  Configure("USB Video");  // was device 0, is unplugged now
  ASSERT_TRUE(Main(other, "/B"));
  EXPECT_EQ(std::tuple(host.messages.size(), G().GrabberName), std::tuple(0u, ""));
  SetMainForm(&main);
}

TEST_F(GrabberStartupTest, TheDummyComesUpWithItsLivePicture) {
  Configure("DummyGrb");
  ASSERT_TRUE(Main(main, ""));
  EXPECT_TRUE(host.messages.empty());
  ASSERT_TRUE(G().GrabberOK);
  EXPECT_EQ(std::tuple(G().VideoMode, GB().GrabberBits, GB().GrabberDynamik), std::tuple(0, 12, 4096));

  Form_Camera* preview = PreviewImage();
  ASSERT_NE(preview, nullptr);
  EXPECT_EQ(std::tuple(preview->Caption(), preview->Locked(), preview->GrabEnabled, preview->HasColors()),
            std::tuple("Camera Image", true, true, false));
  EXPECT_EQ(std::tuple(preview->ImageWidth(), preview->ImageHeight(), preview->ImageBitsPerPixel()),
            std::tuple(384, 288, 12));
  EXPECT_TRUE(preview->Filename.empty());
  EXPECT_NE(preview->ImagePtr(), nullptr);
  EXPECT_EQ(main.ActiveChild(), preview) << "the live picture has the focus";
  EXPECT_EQ(main.ImageCount, 2) << "the live picture and the hidden background image";

  // The grabber's entries follow GrabberOK.
  // The dummy has no overlay and no source dialog.
  EXPECT_EQ(std::tuple(main.FindMenu("mnuPreview")->enabled, main.FindButton("Preview")->enabled,
                       main.FindButton("Overlay")->enabled, main.FindMenu("mnuDlgVideoSource")->enabled),
            std::tuple(true, true, false, false));
  EXPECT_EQ(main.FindMenu("mnuGrabberSetup")->caption, "&Grabber: Dummy Grabber...");
  EXPECT_TRUE(main.FindMenu("mnuGrabberSetup")->built == false)
      << "the dialog is the workbench window's";

  // One source, shown as "Video Source" and pressed.
  Toolbar* sources = main.FindToolbar("Toolbar_Sources");
  ASSERT_NE(sources, nullptr);
  ASSERT_EQ(sources->buttons.size(), 1u);
  EXPECT_EQ(sources->buttons[0].caption, "Video Source");
  EXPECT_TRUE(sources->buttons[0].checked && sources->buttons[0].enabled && sources->visible);
  MenuEntry* source = main.FindMenu("mnuSource", 0);
  ASSERT_NE(source, nullptr);
  EXPECT_EQ(std::tuple(source->caption, source->checked), std::tuple("Video Source", true));

  // Pressing the button selects its input.
  GB().GrabberSource = 7;
  main.ToolbarClick("Source0");
  EXPECT_EQ(GB().GrabberSource, 0);
  EXPECT_TRUE(main.FindToolbar("Toolbar_Sources")->buttons[0].checked);

  main.ToolbarClick("Preview");
  EXPECT_EQ(previews, 1);
}

TEST_F(GrabberStartupTest, TheStoredRectangleSetsTheZoomOfANewLivePicture) {
  Configure("DummyGrb");
  test::WriteFile(host.programFolder + "/SV4200_tester.ini",
                  "[Camera Image]\r\nLeft=4\r\nTop=8\r\nWidth=800\r\nHeight=600\r\n");
  ASSERT_TRUE(Main(main, "/B"));
  ASSERT_NE(PreviewImage(), nullptr);
  EXPECT_EQ(PreviewImage()->ZoomIndex, 14) << "2:1 fits 800 x 600";
}

TEST_F(GrabberStartupTest, ExitShutsTheGrabberDownFirstAndKeepsTheRectangle) {
  Configure("DummyGrb");
  ASSERT_TRUE(Main(main, "/B"));
  std::vector<std::string> order;
  main.exitHooks.shutdown.push_back([&] {
    order.push_back(GB().GrabberLibrary == 0 ? "grabber already down" : "grabber still up");
  });
  G().ShowExitDialog = 0;
  Form_Camera* preview = PreviewImage();
  ASSERT_NE(preview, nullptr);
  preview->ClientWidth = 500;
  preview->ClientHeight = 400;
  ASSERT_TRUE(main.QueryUnload());
  EXPECT_EQ(order, std::vector<std::string>{"grabber already down"});
  EXPECT_EQ(GB().CameraImageWidth, 500);
  const Profile ini = Profile::Load(ResolveProfilePath(G().IniFile));
  EXPECT_EQ(std::tuple(ini.GetInt("Camera Image", "Width", 0), ini.GetInt("Camera Image", "Height", 0)),
            std::tuple(500, 400));
  EXPECT_EQ(host.store.GetSetting("sv4200", "HARDWARE", "Grabber", "?"), "DummyGrb");
}

TEST_F(GrabberStartupTest, SetupListsTheDriversAndChangesAtRunTime) {
  devices.names = {{1, "USB Video"}};
  ASSERT_TRUE(Main(main, "/B"));
  Form_GrabberInterface form(&main);
  form.Form_Load();
  ASSERT_EQ(form.Drivers.size(), 10u) << "nine fixed rows and one device";
  ASSERT_EQ(form.List_Drivers.size(), form.Drivers.size());
  for (auto [row, text] : {std::pair{0, "(none)"}, {1, "Video 1000 S/W (not available)"},
                           {7, "GenICam Camera (Aravis)"}, {8, "Dummy Grabber"}, {9, "USB Video"}})
    EXPECT_EQ(form.List_Drivers[size_t(row)], text);
  // No grabber: the first row.
  EXPECT_EQ(std::tuple(form.Drivers[9].number, form.ListIndex, form.Label_Info, form.Check_ColorEnabled),
            std::tuple(12L, 0, "No grabber", false));

  // To the dummy, in colour.
  form.List_Drivers_Click(8);
  EXPECT_TRUE(form.Check_ColorEnabled);
  form.Check_Color = true;
  form.Visible = true;
  EXPECT_TRUE(form.Command_OK());
  EXPECT_EQ(std::tuple(form.Visible, G().GrabberOK, G().GrabberName, GrabberIsColor()),
            std::tuple(false, true, "DummyGrb", true));
  Form_Camera* preview = PreviewImage();
  ASSERT_NE(preview, nullptr);
  EXPECT_TRUE(preview->HasColors());
  EXPECT_NE(form.Label_Info.find("Dummy Grabber"), std::string::npos);
  EXPECT_NE(form.Label_Info.find("384 x 288"), std::string::npos);
  EXPECT_TRUE(main.FindButton("Preview")->enabled);
  EXPECT_EQ(main.FindMenu("mnuGrabberSetup")->caption, "&Grabber: Dummy Grabber...");

  // The dialog opens on the driver in use.
  form.Form_Load();
  EXPECT_EQ(std::tuple(form.ListIndex, form.Check_Color), std::tuple(8, true));

  // To a driver that cannot come up here: the start-up message, no grabber,
  // and the images stay.
  form.List_Drivers_Click(4);
  host.Answer(MsgResult::OK);
  EXPECT_FALSE(form.Command_OK());
  ASSERT_EQ(host.messages.size(), 1u);
  EXPECT_EQ(host.messages[0].text, "Cannot initialize Grabber Interface\r\nGrabber:Video 1000 12Bit PCI");
  EXPECT_EQ(std::tuple(G().GrabberOK, PreviewImage(), main.FindButton("Preview")->enabled),
            std::tuple(false, preview, false));
  EXPECT_TRUE(main.FindToolbar("Toolbar_Sources")->buttons.empty());
  EXPECT_FALSE(main.FindToolbar("Toolbar_Sources")->visible);

  // Back to none: no message. Cancel changes nothing.
  form.Form_Load();
  form.List_Drivers_Click(0);
  EXPECT_FALSE(form.Command_OK());
  EXPECT_EQ(std::tuple(host.messages.size(), G().GrabberName), std::tuple(1u, ""));
  form.List_Drivers_Click(8);
  form.Command_Cancel();
  EXPECT_FALSE(G().GrabberOK);
  form.List_Drivers_Click(99);
  EXPECT_EQ(std::tuple(form.ListIndex, form.Command_OKEnabled), std::tuple(-1, false));
}

TEST_F(GrabberStartupTest, ResetComesUpWithoutTheGrabber) {
  Configure("DummyGrb");
  ASSERT_TRUE(Main(main, "/B /RESET"));
  EXPECT_EQ(std::tuple(G().GrabberOK, PreviewImage(), main.FindMenu("mnuPreview")->enabled,
                       main.FindButton("Preview")->enabled),
            std::tuple(false, nullptr, false, false));
  main.ToolbarClick("Preview");
  EXPECT_EQ(previews, 0);
}

}  // namespace
}  // namespace sv
