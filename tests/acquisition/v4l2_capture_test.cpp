// Video capture devices: the conversion of each pixel format, the choice of
// format, the buffers of the stream, and the machine with no device at all.

#include <gtest/gtest.h>

#include <filesystem>

#include "acquisition/grabber.h"
#include "acquisition/grabber_environment.h"
#include "acquisition/v4l2_capture.h"
#include "core/globals.h"
#include "grabber_fixture.h"
#include "image/form_camera.h"
#include "v4l2_fake_stream.h"

namespace sv {
namespace {

using Bytes = std::vector<uint8_t>;
using Words = std::vector<uint16_t>;

class CaptureTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ResetGlobals();
    ResetGrabberGlobals();
    SetCaptureDevices(&list);
  }
  void TearDown() override {
    SetCaptureDevices(nullptr);
    ResetGrabberGlobals();
    ResetGlobals();
  }
  // Device 2 with grey 2 x 1 frames holding each value of `values` in turn.
  test::RecordedDevice& GreyDevice(std::initializer_list<uint8_t> values) {
    test::RecordedDevice& d = list.devices[2];
    d.width = 2;
    d.height = 1;
    for (uint8_t v : values) d.frames.push_back({v, v});
    return d;
  }
  test::RecordedCaptureDevices list;
};

struct ConversionCase {
  const char* name;
  uint32_t format;
  long width, height, padding;
  bool colour;
  Bytes frame;
  Words expected;
  long bits;
};

TEST_F(CaptureTest, EachFormatIsConvertedOnceIntoTheFrame) {
  const ConversionCase cases[] = {
      {"grey widened, padding skipped", kCaptureGrey, 3, 2, 1, false,
       {0, 128, 255, 99, 1, 2, 3, 99}, {0, 128, 255, 1, 2, 3}, 8},
      {"grey in colour", kCaptureGrey, 2, 1, 0, true, {7, 200}, {7, 7, 7, 200, 200, 200}, 8},
      {"Y16 little-endian", kCaptureY16, 2, 1, 0, false, {0x34, 0x12, 0xFF, 0xFF}, {0x1234, 0xFFFF}, 16},
      // White and black, two reds, a green that rounds, a Y above the range.
      {"YUYV to RGB", kCaptureYUYV, 2, 4, 0, true,
       {235, 128, 16, 128, 81, 90, 81, 240, 145, 54, 145, 34, 255, 128, 126, 128},
       {255, 255, 255, 0, 0, 0, 255, 0, 0, 255, 0, 0, 0, 255, 1, 0, 255, 1, 255, 255, 255, 128, 128, 128},
       8},
      {"YUYV grey is Y", kCaptureYUYV, 2, 2, 0, false,
       {235, 128, 16, 128, 81, 90, 145, 240}, {235, 16, 81, 145}, 8},
      {"RGB24 copied", kCaptureRGB24, 2, 1, 0, true, {1, 2, 3, 250, 251, 252}, {1, 2, 3, 250, 251, 252}, 8},
      {"RGB24 to grey through the table", kCaptureRGB24, 4, 1, 0, false,
       {255, 0, 0, 0, 255, 0, 0, 0, 255, 255, 255, 255}, {76, 150, 28, 255}, 8},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    G().RGBtoGrey.clear();
    GB().GrabberColor = c.colour;
    test::RecordedDevice& d = list.devices[0];
    d = test::RecordedDevice();
    std::tie(d.width, d.height, d.padding) = std::tuple(c.width, c.height, c.padding);
    d.formats = {c.format};
    d.frames = {c.frame};
    V4L2CaptureDriver driver(0);
    ASSERT_TRUE(driver.Open(0));
    EXPECT_EQ(G().RGBtoGrey.size(), 65536u) << "the grey table is built when missing";
    EXPECT_EQ(std::tuple(driver.Width(), driver.Height(), driver.Bits(), driver.IsColor()),
              std::tuple(c.width, c.height, c.bits, c.colour));
    ASSERT_TRUE(driver.Start());
    d.Send();
    Words dest(c.expected.size(), 0xBEEF);
    ASSERT_EQ(driver.ReadImage(dest), 0);
    EXPECT_EQ(dest, c.expected);
    Words small(c.expected.size() - 1);
    EXPECT_EQ(driver.ReadImage(small), -1) << "too small for the frame";
  }
}

TEST_F(CaptureTest, TheBestFormatOfferedIsChosen) {
  const struct {
    std::vector<uint32_t> offered;
    uint32_t chosen;
  } cases[] = {
      {{kCaptureRGB24, kCaptureYUYV, kCaptureY16, kCaptureGrey}, kCaptureGrey},
      {{kCaptureRGB24, kCaptureY16, kCaptureYUYV}, kCaptureY16},
      {{CaptureFourCC('M', 'J', 'P', 'G'), kCaptureRGB24, kCaptureYUYV}, kCaptureYUYV},
      {{CaptureFourCC('M', 'J', 'P', 'G'), kCaptureRGB24}, kCaptureRGB24},
      {{CaptureFourCC('M', 'J', 'P', 'G')}, 0},
  };
  for (const auto& c : cases) {
    test::RecordedDevice& d = list.devices[0];
    d = test::RecordedDevice();
    d.formats = c.offered;
    V4L2CaptureDriver driver(0);
    EXPECT_EQ(driver.Open(0), c.chosen != 0);
    EXPECT_EQ(driver.PixelFormat(), c.chosen);
    EXPECT_EQ(d.open, c.chosen != 0) << "a device with nothing to offer is let go";
  }
}

TEST_F(CaptureTest, TheDeviceNamesItselfAndItsInputs) {
  test::RecordedDevice& d = GreyDevice({1});
  d.card = "USB2.0 Grabber";
  d.inputs = {"Composite0", "S-Video"};
  std::unique_ptr<CameraDriver> driver = MakeCaptureDriver(2);
  // Known from the list before it opens.
  EXPECT_EQ(std::tuple(driver->InterfaceName(), driver->Version()), std::tuple("USB2.0 Grabber", "video4linux"));
  ASSERT_TRUE(driver->Open(1));
  EXPECT_EQ(std::tuple(d.selectedInput, driver->Inputs(), driver->InputName(1)), std::tuple(1, 2L, "S-Video"));
  driver->Close();
  EXPECT_EQ(std::tuple(d.open, driver->IsOpen()), std::tuple(false, false));

  d.inputs.clear();
  ASSERT_TRUE(driver->Open(0));
  EXPECT_EQ(std::tuple(driver->Inputs(), driver->InputName(0)), std::tuple(1L, "Video Source"));
  driver.reset();
  EXPECT_FALSE(d.open) << "the driver lets the device go when it ends";
}

TEST_F(CaptureTest, TheNewestFrameIsDeliveredAndEveryBufferGoesBack) {
  test::RecordedDevice& d = GreyDevice({10, 20, 30, 40, 50, 60});
  V4L2CaptureDriver driver(2);
  ASSERT_TRUE(driver.Open(0));
  Words dest(2);
  // Streaming starts with the first read; nothing has come yet.
  EXPECT_EQ(driver.ReadImage(dest), kGrabberNoSync);
  EXPECT_TRUE(d.streaming);
  EXPECT_EQ(d.Count(test::RecordedDevice::kQueued), V4L2CaptureDriver::kBuffers);

  d.Send(3);
  ASSERT_EQ(driver.ReadImage(dest), 0);
  EXPECT_EQ(dest, Words({30, 30})) << "the newest of three";
  EXPECT_EQ(d.Count(test::RecordedDevice::kQueued), V4L2CaptureDriver::kBuffers);

  // A damaged newest frame is passed over for the one before it.
  d.Send(1);
  d.Send(1, true);
  ASSERT_EQ(driver.ReadImage(dest), 0);
  EXPECT_EQ(dest, Words({40, 40}));
  EXPECT_EQ(std::tuple(d.Count(test::RecordedDevice::kQueued), d.dropped),
            std::tuple(V4L2CaptureDriver::kBuffers, 0u));

  // Taken once, a frame is not delivered again.
  EXPECT_EQ(driver.ReadImage(dest), kGrabberNoSync);
  // A frame too big for the caller leaves the device's buffers alone.
  d.Send(1);
  Words small(1);
  EXPECT_EQ(driver.ReadImage(small), -1);
  ASSERT_EQ(driver.ReadImage(dest), 0);
  EXPECT_EQ(dest, Words({60, 60}));
}

TEST_F(CaptureTest, ADeviceThatFailsGivesNoSyncNeverACrash) {
  test::RecordedDevice& d = GreyDevice({5});
  V4L2CaptureDriver driver(2);
  Words dest(2);
  EXPECT_EQ(driver.ReadImage(dest), kGrabberNoSync) << "not open";

  d.failBuffers = true;
  EXPECT_FALSE(driver.Open(0)) << "no buffers to map";
  EXPECT_FALSE(d.open);
  d.failBuffers = false;

  d.failStreamOn = true;
  ASSERT_TRUE(driver.Open(0));
  EXPECT_FALSE(driver.Start());
  EXPECT_EQ(driver.ReadImage(dest), kGrabberNoSync);
  EXPECT_EQ(d.Count(test::RecordedDevice::kHeld), V4L2CaptureDriver::kBuffers)
      << "a failed start leaves no buffer queued";
  d.failStreamOn = false;
  ASSERT_TRUE(driver.Start());
  d.Send();
  ASSERT_EQ(driver.ReadImage(dest), 0);
  EXPECT_EQ(dest, Words({5, 5}));

  d.gone = true;
  EXPECT_EQ(driver.ReadImage(dest), kGrabberNoSync) << "unplugged";
  V4L2CaptureDriver second(2);
  EXPECT_FALSE(second.Open(0)) << "busy with the first";
}

// This machine has no /dev/video device: the system's own list is used.
class NoCaptureDeviceTest : public test::GrabberTest {
 protected:
  void SetUp() override {
    GrabberTest::SetUp();
    SetCaptureDevices(nullptr);
    for (int n = 0; n < kCaptureDeviceCount; ++n)
      if (std::filesystem::exists(SystemCaptureDevices::DevicePath(n)))
        GTEST_SKIP() << "this machine has a capture device";
    RegisterImageDocuments(main);
    InstallGrabberEnvironment();
    RegisterGrabberCommands(main);
  }
};

TEST_F(NoCaptureDeviceTest, NothingIsListedAndSelectionIsRefused) {
  EXPECT_TRUE(CaptureDriverEntries().empty());
  EXPECT_FALSE(MakeCaptureDriver(0)->Open(0));

  host.store.SaveSetting("sv4200", "HARDWARE", "Grabber", "MSVIDEO");
  host.Answer(MsgResult::OK);
  ASSERT_TRUE(Main(main, "/B"));
  ASSERT_EQ(host.messages.size(), 1u);
  EXPECT_EQ(std::tuple(host.messages[0].text, G().GrabberOK, PreviewImage()),
            std::tuple("Cannot initialize Grabber Interface\r\nGrabber:(none)", false, nullptr));
}

}  // namespace
}  // namespace sv
