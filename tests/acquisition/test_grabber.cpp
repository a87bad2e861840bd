// The driver table, the wrappers' answers per driver, the dummy's frames and
// the grabber's settings pair.

#include <algorithm>
#include <tuple>
#include <vector>

#include "acquisition/grabber_environment.h"
#include "core/ini_profile.h"
#include "acquisition/genicam.h"
#include "grabber_fixture.h"
#include "v4l2_fake_stream.h"
#include "image/form_camera.h"
#include "image/kernel/test_image.h"

namespace sv {
namespace {

using test::GrabberTest;

TEST_F(GrabberTest, EveryStemInAnyCaseGivesItsNumber) {
  struct Case {
    const char* name;
    long number;
    const char* after;
  };
  const Case cases[] = {
      {"V1sw2000", 1, "V1sw2000"},       {"v1SW2000", 1, "v1SW2000"},
      {"Sen95cam", 2, "SenNTcam"},       {"SEN95CAM", 2, "SenNTcam"},
      {"senntcam", 2, "SenNTcam"},       {"V1rgb2k", 3, "V1rgb2k"},
      {"v1k12", 4, "v1k12"},             {"PCCAM", 5, "PCCAM"},
      {"pccam", 5, "pccam"},             {"CamUsb_API_vb6", 6, "CamUsb_API_vb6"},
      {"CAMUSB_API_VB6", 6, "CAMUSB_API_VB6"}, {"DummyGrb", 10, "DummyGrb"},
      {"dummygrb", 10, "dummygrb"},      {"MSVIDEO", 11, "MSVIDEO"},
  };
  for (const Case& c : cases) {
    std::string name = c.name;
    EXPECT_EQ(GrabberDriverNumber(name), c.number) << c.name;
    EXPECT_EQ(name, c.after) << c.name;
  }
  // A stem is the whole name, not a part of it.
  for (const char* other : {"V1sw2000.dll", " DummyGrb", "Dummy", "PIXELFLY", "SenXXcam"}) {
    std::string name = other;
    EXPECT_EQ(GrabberDriverNumber(name), 0) << other;
    EXPECT_EQ(name, "") << other;
  }
}

TEST_F(GrabberTest, UnknownNameClearsTheGrabberName) {
  devices.names[0] = "USB Camera";
  G().GrabberName = "";
  EXPECT_EQ(GrabberDriverNumber(G().GrabberName), 0) << "an empty name is no device either";
  // Selecting such a name leaves no grabber and says nothing.
  EXPECT_FALSE(GrabberSelect("Frame Grabber 9000"));
  EXPECT_FALSE(G().GrabberOK);
  EXPECT_EQ(G().GrabberName, "");
  EXPECT_TRUE(host.messages.empty());
}

TEST_F(GrabberTest, CaptureDevicesAreNumberedElevenPlusTheirIndex) {
  devices.names = {{0, "Integrated Camera"}, {3, "USB Video"}, {9, "Capture Card"}};
  const auto entries = CaptureDriverEntries();
  ASSERT_EQ(entries.size(), 3u);
  EXPECT_EQ(std::tuple(entries[0].number, entries[1].number, entries[2].number),
            std::tuple(11, 14, 20));
  EXPECT_EQ(std::tuple(entries[1].stem, entries[1].displayName, entries[1].available),
            std::tuple("USB Video", "USB Video", true));

  std::string name = "USB Video";
  EXPECT_EQ(GrabberDriverNumber(name), 14);
  EXPECT_EQ(name, "USB Video");
  name = "usb video";
  EXPECT_EQ(GrabberDriverNumber(name), 0) << "a description is matched as it is written";
  EXPECT_EQ(GrabberDisplayName(20), "Capture Card");
  EXPECT_EQ(GrabberDisplayName(12), "(none)") << "no device 1";
  EXPECT_EQ(GrabberDisplayNameOf("Capture Card"), "Capture Card");

  // The device that was configured has gone: the name is cleared.
  devices.names.erase(3);
  G().GrabberName = "USB Video";
  EXPECT_EQ(GrabberDriverNumber(G().GrabberName), 0);
  EXPECT_EQ(G().GrabberName, "");
}

TEST_F(GrabberTest, CaptureDevicesSelectWhenTheyOpenAndTheWrappersForwardToThem) {
  devices.names = {{2, "USB Video"}};
  EXPECT_FALSE(GrabberSelect("USB Video")) << "listed but cannot be opened";
  EXPECT_FALSE(G().GrabberOK);
  test::RecordedCaptureDevices recorded;
  test::RecordedDevice& d = recorded.devices[2];
  d.card = "USB Video";
  d.width = 2;
  d.height = 1;
  d.frames = {{7, 9}};
  SetCaptureDevices(&recorded);
  ASSERT_TRUE(GrabberSelect("USB Video"));
  EXPECT_EQ(std::tuple(GB().GrabberDriver, GB().CaptureIndex, GB().GrabberLibrary),
            std::tuple(13, 2, -1));
  EXPECT_EQ(std::tuple(GrabberInterfaceName(), GrabberDllDate(), GrabberInputs()),
            std::tuple("USB Video", "video4linux", 1L));
  EXPECT_EQ(std::tuple(GrabberWidth(), GrabberHeight(), GrabberBitsPerPixel()),
            std::tuple(2L, 1L, 8L));
  std::vector<uint16_t> frame(2);
  EXPECT_EQ(GrabberReadImage(frame), -2) << "nothing sent yet";
  d.Send(1);
  ASSERT_EQ(GrabberReadImage(frame), 0);
  EXPECT_EQ(frame, (std::vector<uint16_t>{7, 9}));
  GrabberClose();
  GrabberUnload();
  EXPECT_FALSE(d.open);
  SetCaptureDevices(&devices);
}

TEST_F(GrabberTest, WithoutADriverEveryWrapperGivesItsDefault) {
  GB().GrabberColor = true;  // the global alone does not make a colour grabber
  EXPECT_FALSE(GrabberLoad(""));
  EXPECT_EQ(GB().GrabberDriver, 0);
  EXPECT_EQ(std::tuple(GrabberDllDate(), GrabberInterfaceName(), GrabberInputName(0), GrabberInputs()),
            std::tuple("(disabled)", "(none)", "Video Source", 0L));
  EXPECT_EQ(std::tuple(GrabberWidth(), GrabberHeight(), GrabberBitsPerPixel()), std::tuple(0L, 0L, 8L));
  EXPECT_EQ(std::tuple(GrabberInit(0), GrabberInput(0), GrabberIsColor(), GrabberDigitize()),
            std::tuple(false, false, false, false));
  std::vector<uint16_t> frame(64, 0x5555);
  EXPECT_EQ(GrabberReadImage(frame), -2);
  EXPECT_TRUE(std::all_of(frame.begin(), frame.end(), [](uint16_t v) { return v == 0x5555; }));
  EXPECT_EQ(std::tuple(GrabberScanLine(0, 0, 10, 10, {}), GrabberScanFrame(0, 0, 10, 10, {}),
                       GrabberRoi(0, 0, 10, 10), GrabberSync()),
            std::tuple(false, false, false, true));
  EXPECT_EQ(std::tuple(GrabberHasOverlay(), GrabberDisplayOverlay(true),
                       GrabberOverlayDrawLine(0, 0, 1, 1, 0xFF), GrabberOverlayDrawFrame(0, 0, 1, 1, 0xFF),
                       GrabberOverlaySize(10, 10), GrabberOverlayClear(), GrabberOffersDialogs()),
            std::tuple(false, false, false, false, false, false, false));
  EXPECT_TRUE(host.messages.empty()) << "a missing scan buffer matters only to drivers 1 and 3";
}

TEST_F(GrabberTest, ClosedDriversFailCleanly) {
  for (const char* name : {"V1sw2000", "Sen95cam", "V1rgb2k", "V1k12", "PCCAM", "CamUsb_API_vb6"}) {
    EXPECT_FALSE(GrabberSelect(name)) << name;
    EXPECT_FALSE(G().GrabberOK) << name;
    EXPECT_NE(GB().GrabberDriver, 0) << name << " keeps its number for the message";
    EXPECT_EQ(GB().GrabberLibrary, 0) << name;
    // Nothing dispatches to a driver that never loaded.
    std::vector<uint16_t> frame(4);
    EXPECT_EQ(std::tuple(GrabberInit(0), GrabberWidth(), GrabberDllDate(), GrabberReadImage(frame),
                         GrabberScanLine(0, 0, 1, 1, {})),
              std::tuple(false, 0L, "(disabled)", -2L, false)) << name;
  }
  EXPECT_EQ(G().GrabberName, "CamUsb_API_vb6");
  EXPECT_TRUE(host.messages.empty());
  const auto table = GrabberDriverTable();
  for (const auto& d : table)
    EXPECT_EQ(d.available, d.number == 0 || d.number == 10 ||
                               (d.number == kDriverGenICam && GenICamSupported()))
        << d.displayName;
}

TEST_F(GrabberTest, TheDummyAnswersByItselfWhateverTheIniSays) {
  test::WriteFile(host.programFolder + "/grab.ini",
                  "[Camera Image]\r\nWidth=640\r\nHeight=480\r\n");
  G().IniFile = host.programFolder + "/grab.ini";
  ASSERT_TRUE(GrabberSelect("DummyGrb"));
  EXPECT_TRUE(G().GrabberOK);
  EXPECT_EQ(GB().CameraImageWidth, 640) << "the selection re-reads the camera's settings";
  EXPECT_EQ(GB().GrabberLibrary, -1);
  EXPECT_EQ(std::tuple(GrabberWidth(), GrabberHeight(), GrabberBitsPerPixel()),
            std::tuple(384, 288, 12));
  EXPECT_EQ(std::tuple(GrabberDllDate(), GrabberInterfaceName(), GrabberInputName(0), GrabberInputs()),
            std::tuple("Mar. 07, 2002 (R)", "Dummy Grabber", "Video Source", 1L));
  EXPECT_FALSE(GrabberIsColor());
  GB().GrabberColor = true;
  EXPECT_TRUE(GrabberIsColor());
  EXPECT_EQ(std::tuple(GrabberInput(1), GrabberInput(0)), std::tuple(false, true));
  // The init shows its status text and clears it again.
  auto at = std::find(host.status.begin(), host.status.end(), "Grabber initializing...");
  ASSERT_NE(at, host.status.end());
  ASSERT_NE(at + 1, host.status.end());
  EXPECT_EQ(*(at + 1), "");

  GrabberClose();
  GrabberUnload();
  EXPECT_EQ(GrabberWidth(), 0) << "an unloaded dummy answers nothing";
}

TEST_F(GrabberTest, DummyFramesAreTheScreenAtTheEnergyAndTimeOfNow) {
  host.clock = 5000;
  ASSERT_TRUE(GrabberSelect("DummyGrb"));
  GB().DummyFramePeriod = 0;
  host.clock = 25000;  // 20 s later
  G().ElectronEnergy = 150.0f;
  const FrameSize size{384, 288};
  std::vector<uint16_t> frame(size.Samples()), expected(size.Samples());
  ASSERT_EQ(GrabberReadImage(frame), 0);
  TestImageParams p;
  std::tie(p.Energy, p.Time, p.Seed, p.Bits) = std::tuple(150.0, 20.0, 1, 12);
  ASSERT_TRUE(SV_test_image(size, expected, p));
  EXPECT_EQ(frame, expected);
  EXPECT_LE(*std::max_element(frame.begin(), frame.end()), 4095);

  // The next frame has fresh noise.
  ASSERT_EQ(DummyReadImage(frame), 0);
  EXPECT_NE(frame, expected);

  // Colour follows the global, three words a pixel.
  GB().GrabberColor = true;
  std::vector<uint16_t> rgb(size.Samples(3)), rgbExpected(size.Samples(3));
  ASSERT_EQ(DummyReadImage(rgb), 0);
  p.Seed = 3;
  ASSERT_TRUE(SV_RGB_test_image(size, rgbExpected, p));
  EXPECT_EQ(rgb, rgbExpected);

  // A buffer too small for the frame is left alone.
  std::vector<uint16_t> small(size.Samples(), 9);
  EXPECT_EQ(GrabberReadImage(small), -1);
  EXPECT_TRUE(std::all_of(small.begin(), small.end(), [](uint16_t v) { return v == 9; }));

  // No electrons at 0 eV still gives a picture.
  GB().GrabberColor = false;
  G().ElectronEnergy = 0.0f;
  EXPECT_EQ(DummyReadImage(frame), 0);
}

// Notes the image's status text each time the window is refreshed.
struct StatusRecorder : CameraView {
  std::vector<std::string> seen;
  void Present(const Form_Camera& f) override { seen.push_back(f.StatusLine); }
};

TEST_F(GrabberTest, ReadingAFrameShowsGrabbingOnTheLivePicture) {
  RegisterImageDocuments(main);
  ASSERT_TRUE(StartGrabber("DummyGrb"));
  Form_Camera* preview = PreviewImage();
  ASSERT_NE(preview, nullptr);
  StatusRecorder view;
  preview->SetView(&view);
  std::vector<uint16_t> frame(size_t(384 * 288));
  EXPECT_EQ(GrabberReadImage(frame), 0);
  EXPECT_EQ(view.seen, (std::vector<std::string>{"Grabbing...", ""}));

  // A driver number that is none of the known ones: no sync.
  view.seen.clear();
  GB().GrabberDriver = 42;
  EXPECT_EQ(GrabberReadImage(frame), -2);
  EXPECT_EQ(view.seen, (std::vector<std::string>{"Grabbing...", ""}));
  preview->SetView(nullptr);
}

TEST_F(GrabberTest, SettingsPairRoundTrip) {
  InstallGrabberEnvironment();
  InstallGrabberEnvironment();
  int grabberSections = 0;
  SettingsSlot before = SettingsSlot::Core;
  for (const auto& s : SettingsSections()) {
    EXPECT_LE(int(before), int(s.slot)) << "kept in order";
    before = s.slot;
    if (s.slot == SettingsSlot::Grabber) ++grabberSections;
  }
  EXPECT_EQ(grabberSections, 1);

  // Missing keys give their defaults.
  G().IniFile = host.programFolder + "/SV4200.ini";
  G().NoiseReduction = true;
  GB().CameraImageWidth = 99;
  ReadSettings(nullptr);
  EXPECT_EQ(std::tuple(GB().CameraImageWidth, bool(G().NoiseReduction), bool(GB().UseOverlay)),
            std::tuple(0, false, false));

  test::WriteFile(G().IniFile,
                  "[Camera Image]\r\nLeft=10\r\nTop=20\r\nWidth=768\r\nHeight=576\r\n"
                  "[Overlay Window]\r\nLeft=5\r\nTop=6\r\nUseOverlay=1\r\n"
                  "[Grabber]\r\nNoiseReduction=-1\r\nWebCamInterval=9\r\n");
  ReadSettings(nullptr);
  EXPECT_EQ(std::tuple(GB().CameraImageLeft, GB().CameraImageTop, GB().CameraImageWidth,
                       GB().CameraImageHeight, GB().OverlayLeft, GB().OverlayTop),
            std::tuple(10, 20, 768, 576, 5, 6));
  EXPECT_TRUE(GB().UseOverlay);
  EXPECT_TRUE(G().NoiseReduction);
  EXPECT_EQ(G().WebCamInterval, 9) << "the core's keys of the same section stay the core's";

  GB().CameraImageLeft = -3;
  GB().UseOverlay = false;
  G().NoiseReduction = false;
  WriteSettings(nullptr);
  const Profile ini = Profile::Load(G().IniFile);
  EXPECT_EQ(std::tuple(ini.GetString("Camera Image", "Left", "?"), ini.GetString("Camera Image", "Width", "?"),
                       ini.GetString("Overlay Window", "UseOverlay", "?"), ini.GetString("Grabber", "NoiseReduction", "?")),
            std::tuple("-3", "768", "0", "0"));
  GB().UseOverlay = true;
  G().NoiseReduction = true;
  WriteSettings(nullptr);
  const Profile again = Profile::Load(G().IniFile);
  EXPECT_EQ(again.GetString("Overlay Window", "UseOverlay", "?"), "-1") << "true is -1";
  EXPECT_EQ(again.GetString("Grabber", "NoiseReduction", "?"), "-1");
  ResetGrabberGlobals();
  ReadSettings(nullptr);
  EXPECT_EQ(GB().CameraImageLeft, -3);
  EXPECT_TRUE(GB().UseOverlay);
  // The grabber's name is the per-user store's, written there only.
  EXPECT_EQ(again.Get("Grabber", "Grabber"), std::nullopt);
}

TEST_F(GrabberTest, CaptionsAndZoomOfTheLivePicture) {
  EXPECT_EQ(SourceCaption(0, 1, "Composite"), "Video Source");
  EXPECT_EQ(SourceCaption(2, 3, "S-Video"), "Source &2:S-Video");
  // Nothing stored is 1:1; a window too small for anything takes the smallest.
  for (auto [w, h, index] : {std::tuple{0, 0, 15}, {384, 288, 15}, {800, 600, 14},
                             {383, 600, 16}, {1, 1, 30}})
    EXPECT_EQ(ZoomIndexToFit(384, 288, w, h), index) << w << "x" << h;
}

}  // namespace
}  // namespace sv
