// The GenICam driver on Aravis's in-process fake camera only: frames and
// their ramp, the shape following the pixel format and region, no frame in
// time, the grabber wrappers, the setup dialog and its ini section.

#include <cmath>
#include <cstdlib>
#include <tuple>

#include "acquisition/genicam.h"
#include "acquisition/live.h"
#include "core/ini_profile.h"
#include "grabber_fixture.h"
#include "image/form_camera.h"

namespace sv {
namespace {

// Before any test of this program runs: nothing may look for cameras beyond
// the fake one.
const bool kFakeOnly = [] {
  setenv("SV_GENICAM_FAKE", "1", 1);
  SetGenICamFakeOnly(true);
  return true;
}();

// The fake camera draws a ramp that runs one step a pixel along a row and
// one step a row down (and moves on from frame to frame): mono samples
// relative to the first one are (x + y) mod 256. Mono16 holds the ramp in
// its high byte over a low byte of 255.
void ExpectRamp(const std::vector<uint16_t>& f, long w, long h, bool sixteen) {
  ASSERT_GE(f.size(), size_t(w * h));
  const int base = sixteen ? f[0] >> 8 : f[0];
  for (long y = 0; y < h; ++y)
    for (long x = 0; x < w; ++x) {
      const uint16_t v = f[size_t(y * w + x)];
      const int ramp = sixteen ? v >> 8 : v;
      ASSERT_EQ((ramp - base + 512) % 256, (x + y) % 256) << x << "," << y;
      if (sixteen) ASSERT_EQ(v & 0xFF, 0xFF) << x << "," << y;
      else ASSERT_LE(v, 255);
    }
}

class GenICamTest : public test::GrabberTest {
 protected:
  void SetUp() override {
    GrabberTest::SetUp();
    ASSERT_TRUE(kFakeOnly && GenICamFakeOnly());
    GenICamConfig() = GenICamSettings();
  }
  void TearDown() override {
    driver.reset();
    GrabberClose();
    GrabberUnload();
    GenICamConfig() = GenICamSettings();
    GrabberTest::TearDown();
  }
  // The fake camera through the driver, with `settings` applied as it opens.
  void OpenFake(const GenICamSettings& settings) {
    GenICamConfig() = settings;
    driver = MakeGenICamDriver();
    ASSERT_NE(driver, nullptr);
    ASSERT_TRUE(driver->Open(0)) << GenICamLastError();
  }
  std::vector<uint16_t> Frame() {
    std::vector<uint16_t> f(size_t(driver->Width() * driver->Height() * (driver->IsColor() ? 3 : 1)));
    EXPECT_EQ(driver->ReadImage(f), 0);
    return f;
  }
  static GenICamSettings Format(const char* format, long w, long h) {
    GenICamSettings s;
    s.PixelFormat = format;
    s.RegionWidth = w;
    s.RegionHeight = h;
    return s;
  }
  std::unique_ptr<CameraDriver> driver;
};

TEST(GenICamConvertTest, EachFormatUnpacksOnceIntoSamples) {
  // Two pixels 0xABC and 0x123 in 12-bit GigE packing; 0x2A7 and 0x15B in 10.
  const uint8_t packed12[] = {0xAB, 0x3C, 0x12};
  const uint8_t packed10[] = {0xA9, 0x33, 0x56};
  const uint8_t words[] = {0x34, 0x12, 0xFF, 0x0F};
  const uint8_t rgb[] = {1, 2, 3, 4, 5, 6};
  struct Case {
    const char* format;
    const uint8_t* data;
    size_t size;
    long width;
    std::vector<uint16_t> want;
  } cases[] = {
      {"Mono12Packed", packed12, 3, 2, {0xABC, 0x123}},
      {"Mono12Packed", packed12, 3, 1, {0xABC}},  // an odd pixel at the end
      {"Mono10Packed", packed10, 3, 2, {0x2A7, 0x15B}},
      {"Mono16", words, 4, 2, {0x1234, 0x0FFF}},
      {"Mono12", words, 4, 2, {0x1234, 0x0FFF}},
      {"Mono8", words, 4, 4, {0x34, 0x12, 0xFF, 0x0F}},
      {"RGB8", rgb, 6, 2, {1, 2, 3, 4, 5, 6}},
  };
  for (const Case& c : cases) {
    std::vector<uint16_t> dest(c.want.size());
    ASSERT_TRUE(GenICamConvert(c.format, c.data, c.size, c.width, 1, dest)) << c.format;
    EXPECT_EQ(dest, c.want) << c.format;
  }
  std::vector<uint16_t> dest(8);
  EXPECT_FALSE(GenICamConvert("Mono16", words, 3, 2, 1, dest)) << "short data";
  EXPECT_FALSE(GenICamConvert("RGB8", rgb, 6, 2, 1, Samples16(dest.data(), 5))) << "small dest";
  EXPECT_FALSE(GenICamConvert("BayerRG8", rgb, 6, 2, 1, dest)) << "not taken";
  long bits = 0;
  bool colour = true;
  for (auto [format, b, c] : {std::tuple{"Mono10Packed", 10L, false}, {"Mono12", 12L, false},
                              {"Mono16", 16L, false}, {"RGB8", 8L, true}}) {
    ASSERT_TRUE(GenICamFormatShape(format, bits, colour));
    EXPECT_EQ(std::tuple(bits, colour), std::tuple(b, c)) << format;
  }
}

TEST(GenICamCheckTest, EachValueTheCameraDoesNotOfferIsNamedWithWhatItOffers) {
  GenICamBounds b;
  b.HasExposure = true;
  std::tie(b.ExposureMin, b.ExposureMax) = std::tuple(10.0, 5000.0);
  b.HasFrameRate = true;
  std::tie(b.FrameRateMin, b.FrameRateMax) = std::tuple(1.0, 60.0);
  std::tie(b.SensorWidth, b.SensorHeight) = std::tuple(640L, 480L);
  std::tie(b.WidthMin, b.WidthMax, b.HeightMin, b.HeightMax) = std::tuple(16L, 640L, 8L, 480L);
  std::tie(b.XIncrement, b.WidthIncrement) = std::tuple(2L, 8L);
  b.PixelFormats = {"Mono8", "Mono16"};
  auto with = [](auto change) {
    GenICamSettings s;
    change(s);
    return s;
  };
  struct Case {
    GenICamSettings settings;
    const char* message;  // "" when the camera offers it
  } cases[] = {
      {GenICamSettings(), ""},
      {with([](auto& s) { s.PixelFormat = "Mono12"; }),
       "This camera does not offer the pixel format Mono12; it offers Mono8, Mono16."},
      {with([](auto& s) { s.ExposureTime = 5000.5; }),
       "The exposure time must be between 10 and 5000 \xC2\xB5s."},
      {with([](auto& s) { s.Gain = 0; }), "This camera has no gain to set."},
      {with([](auto& s) { s.FrameRate = 0.5; }), "The frame rate must be between 1 and 60 Hz."},
      {with([](auto& s) { s.FrameRate = std::nan(""); }), "The frame rate must be between"},
      // A width of 0 runs to the sensor's edge, and is checked as such.
      {with([](auto& s) { std::tie(s.RegionX, s.RegionHeight) = std::tuple(16L, 100L); }), ""},
      {with([](auto& s) { std::tie(s.RegionX, s.RegionHeight) = std::tuple(636L, 100L); }),
       "The region's width must be between 16 and 640 pixels."},
      {with([](auto& s) { std::tie(s.RegionX, s.RegionWidth) = std::tuple(320L, 328L); }),
       "The region must lie inside the sensor of 640 x 480 pixels."},
      {with([](auto& s) { std::tie(s.RegionX, s.RegionWidth) = std::tuple(3L, 64L); }),
       "The region's left edge (X) must be a multiple of 2."},
      {with([](auto& s) { s.RegionWidth = 60; }), "The region's width must be a multiple of 8."},
      {with([](auto& s) { std::tie(s.RegionWidth, s.RegionHeight) = std::tuple(64L, 4L); }),
       "The region's height must be between 8 and 480 pixels."},
      {with([](auto& s) { s.RegionY = -1; }), "The region's top edge (Y) must be a whole number"},
  };
  for (const Case& c : cases) {
    std::string message;
    EXPECT_EQ(GenICamCheck(c.settings, b, message), *c.message == '\0') << c.message;
    EXPECT_EQ(message.rfind(c.message, 0), 0u) << message;
  }
}

TEST_F(GenICamTest, Mono8AndMono16FramesFromTheFakeCameraCarryItsRamp) {
  OpenFake(Format("Mono8", 64, 16));
  EXPECT_EQ(std::tuple(driver->Inputs(), driver->InputName(0)), std::tuple(1L, "Aravis Fake (1)"));
  EXPECT_EQ(std::tuple(driver->Width(), driver->Height(), driver->Bits(), driver->IsColor()),
            std::tuple(64L, 16L, 8L, false));
  ExpectRamp(Frame(), 64, 16, false);
  std::vector<uint16_t> small(64 * 16 - 1);
  EXPECT_EQ(driver->ReadImage(small), -1);

  OpenFake(Format("Mono16", 40, 10));
  EXPECT_EQ(std::tuple(driver->Width(), driver->Height(), driver->Bits()),
            std::tuple(40L, 10L, 16L));
  ExpectRamp(Frame(), 40, 10, true);
  const GenICamStreamStats s = GenICamStatistics();
  EXPECT_EQ(std::tuple(s.Delivered, s.Failed), std::tuple(1u, 0u));
  EXPECT_GE(s.Completed, 1u);
}

TEST_F(GenICamTest, TheShapeFollowsFormatAndRegionBetweenFrames) {
  OpenFake(Format("Mono8", 64, 16));
  ExpectRamp(Frame(), 64, 16, false);
  std::string error;
  ASSERT_TRUE(GenICamApply(Format("Mono16", 32, 8), error)) << error;
  EXPECT_EQ(std::tuple(driver->Width(), driver->Height(), driver->Bits()),
            std::tuple(32L, 8L, 16L));
  ExpectRamp(Frame(), 32, 8, true);

  ASSERT_TRUE(GenICamApply(Format("RGB8", 16, 4), error)) << error;
  EXPECT_TRUE(driver->IsColor());
  EXPECT_EQ(Frame().size(), 16u * 4 * 3);

  // A region the camera refuses is told, and the stream goes on as it was.
  EXPECT_FALSE(GenICamApply(Format("Mono8", 4096, 4096), error));
  EXPECT_NE(error.find("The camera refused the region"), std::string::npos) << error;
  EXPECT_EQ(Frame().size(), size_t(driver->Width() * driver->Height() * (driver->IsColor() ? 3 : 1)));
}

TEST_F(GenICamTest, NoFittingFrameWithinTheTimeoutIsNoSync) {
  OpenFake(Format("Mono8", 32, 8));
  std::vector<uint16_t> f(32 * 8);
  ASSERT_EQ(driver->ReadImage(f), 0);
  // The camera changed behind the driver's back: its frames no longer fit,
  // go straight back to the stream and none is delivered.
  std::string error;
  ASSERT_TRUE(GenICamSetFeature("Width", "16", error)) << error;
  long result = 0;
  for (int i = 0; i < 8 && result == 0; ++i) result = driver->ReadImage(f);  // those on their way
  EXPECT_EQ(result, kGrabberNoSync);
  const GenICamStreamStats s = GenICamStatistics();
  EXPECT_GE(s.Timeouts, 1u);
  EXPECT_GE(s.Failed, 1u);
  EXPECT_FALSE(GenICamSetFeature("NoSuchFeature", "1", error));
  // Applying the settings again takes the camera's shape anew.
  ASSERT_TRUE(GenICamApply(Format("Mono8", 32, 8), error)) << error;
  EXPECT_EQ(driver->ReadImage(f), 0);
}

TEST_F(GenICamTest, TheWrappersSelectTheFakeCameraAndGrabFollowsItsShape) {
  // The table lists the driver without looking for cameras.
  bool listed = false;
  for (const auto& d : GrabberDriverTable())
    if (d.number == kDriverGenICam)
      listed = d.available && d.stem == "Aravis" && d.displayName == "GenICam Camera (Aravis)";
  EXPECT_TRUE(listed);
  std::string name = "ARAVIS";
  EXPECT_EQ(GrabberDriverNumber(name), kDriverGenICam);
  EXPECT_EQ(name, "Aravis");

  RegisterImageDocuments(main);
  // The section as read at start; the selection opens the camera with it.
  ReadGrabberSettings(Profile::Parse("[Aravis]\r\nCamera=Fake_1\r\nPixelFormat=Mono16\r\n"
                                     "RegionWidth=48\r\nRegionHeight=24\r\nFrameRate=50\r\n"));
  ASSERT_TRUE(GrabberSelect("Aravis")) << GenICamLastError();
  EXPECT_EQ(std::tuple(GrabberInputs(), GrabberInputName(0), GrabberInterfaceName()),
            std::tuple(1L, "Aravis Fake (1)", "GenICam Camera (Aravis)"));
  EXPECT_EQ(GrabberDllDate().rfind("Aravis 0.8", 0), 0u);
  EXPECT_EQ(std::tuple(GrabberWidth(), GrabberHeight(), GrabberBitsPerPixel(), GrabberIsColor()),
            std::tuple(48L, 24L, 16L, false));

  auto* image = dynamic_cast<Form_Camera*>(main.CreateImage());
  ASSERT_NE(image, nullptr);
  image->CreateImage(8, 8, 8, nullptr);
  ASSERT_EQ(Grab(*image), 0);
  EXPECT_EQ(std::tuple(image->ImageWidth(), image->ImageHeight(), image->ImageBitsPerPixel()),
            std::tuple(48L, 24L, 16L));
  ExpectRamp(std::vector<uint16_t>(image->ImagePtr(), image->ImagePtr() + 48 * 24), 48, 24, true);

  std::string error;
  ASSERT_TRUE(GenICamApply(Format("Mono8", 20, 10), error)) << error;
  ASSERT_EQ(Grab(*image), 0);
  EXPECT_EQ(std::tuple(image->ImageWidth(), image->ImageHeight(), image->ImageBitsPerPixel()),
            std::tuple(20L, 10L, 8L));
  ExpectRamp(std::vector<uint16_t>(image->ImagePtr(), image->ImagePtr() + 20 * 10), 20, 10, false);

  // No frame in time: the last one stays, under the notice.
  ASSERT_TRUE(GenICamSetFeature("Width", "16", error)) << error;
  std::vector<uint16_t> last;
  long result = 0;
  for (int i = 0; i < 8 && result == 0; ++i) {
    last.assign(image->ImagePtr(), image->ImagePtr() + 20 * 10);
    result = Grab(*image);
  }
  EXPECT_EQ(std::tuple(result, image->StatusLine, image->ImageWidth()),
            std::tuple(kGrabberNoSync, "(No Sync)", 20L));
  EXPECT_TRUE(std::equal(last.begin(), last.end(), image->ImagePtr()));
}

TEST_F(GenICamTest, TheSetupChecksEachFieldAgainstTheCamera) {
  OpenFake(GenICamSettings());
  Form_GenICamSetup setup;
  setup.Form_Load();
  ASSERT_EQ(setup.Combo_Camera, std::vector<std::string>{"Aravis Fake (1)"});
  ASSERT_TRUE(setup.HasBounds());
  for (const char* format : {"Mono8", "Mono16", "RGB8"})
    EXPECT_NE(std::find(setup.Combo_PixelFormat.begin(), setup.Combo_PixelFormat.end(), format),
              setup.Combo_PixelFormat.end()) << format;
  EXPECT_EQ(std::find(setup.Combo_PixelFormat.begin(), setup.Combo_PixelFormat.end(), "BayerRG8"),
            setup.Combo_PixelFormat.end());
  const GenICamBounds& b = setup.Bounds();
  EXPECT_EQ(setup.Text_Width, std::to_string(driver->Width()));

  struct Bad {
    std::string Form_GenICamSetup::*field;
    std::string value;
    const char* message;
  } bad[] = {
      {&Form_GenICamSetup::Text_Exposure, "fast", "The exposure time must be a number"},
      {&Form_GenICamSetup::Text_Exposure, "1", "The exposure time must be between"},
      {&Form_GenICamSetup::Text_Gain, "99", "The gain must be between"},
      {&Form_GenICamSetup::Text_FrameRate, "1e6", "The frame rate must be between"},
      {&Form_GenICamSetup::Text_Width, std::to_string(b.SensorWidth + 1),
       "The region's width must be between"},
      {&Form_GenICamSetup::Text_Y, "-3", "The region's top edge (Y) must be a whole number"},
      {&Form_GenICamSetup::Text_X, std::to_string(b.SensorWidth),
       "The region must lie inside the sensor"},
  };
  const Form_GenICamSetup loaded = setup;
  for (const Bad& c : bad) {
    setup = loaded;
    setup.*c.field = c.value;
    host.Answer(MsgResult::OK);
    EXPECT_FALSE(setup.Command_OK()) << c.value;
    ASSERT_FALSE(host.messages.empty());
    EXPECT_EQ(host.messages.back().text.rfind(c.message, 0), 0u) << host.messages.back().text;
    EXPECT_EQ(host.messages.back().title, Form_GenICamSetup::kTitle);
  }
  EXPECT_EQ(GenICamConfig(), GenICamSettings()) << "nothing kept from a refused entry";

  setup = loaded;
  std::tie(setup.Text_Exposure, setup.Text_Gain, setup.Text_FrameRate) = std::tuple("2500,5", "3", "40");
  setup.PixelFormatIndex = int(std::find(setup.Combo_PixelFormat.begin(),
                                         setup.Combo_PixelFormat.end(), "Mono16") -
                               setup.Combo_PixelFormat.begin());
  std::tie(setup.Text_X, setup.Text_Y, setup.Text_Width, setup.Text_Height) =
      std::tuple("8", "4", "24", "12");
  setup.Visible = true;
  ASSERT_TRUE(setup.Command_OK());
  EXPECT_FALSE(setup.Visible);
  const GenICamSettings kept = GenICamConfig();
  EXPECT_EQ(std::tuple(kept.Camera, kept.ExposureTime, kept.PixelFormat),
            std::tuple("Fake_1", 2500.5, "Mono16"));
  EXPECT_EQ(std::tuple(driver->Width(), driver->Height(), driver->Bits()),
            std::tuple(24L, 12L, 16L));

  // The "Aravis" section round trip, through the grabber's settings pair.
  G().GrabberName = "Aravis";
  Profile ini;
  WriteGrabberSettings(ini);
  EXPECT_EQ(std::tuple(ini.GetString("Aravis", "ExposureTime", ""), ini.GetString("Aravis", "RegionWidth", "")),
            std::tuple("2500.5", "24"));
  GenICamConfig() = GenICamSettings();
  ReadGrabberSettings(Profile::Parse(ini.Text()));
  EXPECT_EQ(GenICamConfig(), kept);
}

}  // namespace
}  // namespace sv
