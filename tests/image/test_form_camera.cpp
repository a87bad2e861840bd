#include "image/form_camera.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <tuple>
#include <vector>

#include "core/globals.h"
#include "core/mdi_main.h"
#include "image/kernel/sv_kernel.h"
#include "support/scripted_host.h"

namespace sv {
namespace {

struct RecordingView : CameraView {
  int presents = 0, captions = 0;
  std::vector<std::pair<int, int>> resizes;
  bool maximised = false;
  void Present(const Form_Camera&) override { ++presents; }
  void CaptionChanged(const Form_Camera&) override { ++captions; }
  void ResizeTo(const Form_Camera&, int w, int h) override { resizes.emplace_back(w, h); }
  bool Maximised() const override { return maximised; }
};

struct RecordingMainView : MainView {
  int lutForms = 0;
  void ShowLutForm(ChildDocument&) override { ++lutForms; }
};

class CameraTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ResetGlobals();
    image.SetView(&view);
  }
  void TearDown() override { image.SetView(nullptr); }

  // A w x h mono image whose samples count up from `first` in steps of `step`.
  void Ramp(long w, long h, long bits, uint16_t first = 0, uint16_t step = 1) {
    std::vector<uint16_t> src(size_t(w * h));
    for (size_t i = 0; i < src.size(); ++i) src[i] = uint16_t(first + i * step);
    image.CreateImage(w, h, bits, src.data());
  }

  test::ScriptedHost host;
  RecordingView view;
  Form_Camera image;
};

// A main window with the image documents wired in and one image in front.
class CameraInMainTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ResetGlobals();
    main.SetView(&mainView);
    SetMainForm(&main);
    RegisterImageDocuments(main);
    main.Load();
  }
  void TearDown() override { SetMainForm(nullptr); }

  Form_Camera* ShownImage(long w = 8, long h = 4) {
    Form_Camera* img = NewImage(main);
    img->CreateImage(w, h, 12, nullptr);
    main.ShowChild(img->Handle());
    return img;
  }

  test::ScriptedHost host;
  RecordingMainView mainView;
  MDIForm_Main main;
};

// --- Shape ---------------------------------------------------------------------

TEST_F(CameraTest, NewDocumentFollowsTheDefaults) {
  G().DefaultLUTtype = 4;
  Form_Camera fresh;
  EXPECT_EQ(fresh.LUTtype(), 4);
  EXPECT_EQ(std::tuple(fresh.Header.bmiHeader.biWidth, fresh.Header.bmiHeader.biHeight,
                       fresh.Header.bmiHeader.biBitCount),
            std::tuple(384, 288, 8));
  EXPECT_FALSE(fresh.Visible());  // shown by the main window
  G().DefaultLUTtype = 12;
  EXPECT_EQ(Form_Camera().LUTtype(), 6);
}

TEST_F(CameraTest, OddWidthPadsTheBitmapButNotThePixels) {
  struct Case {
    long w;
    bool colour;
    long bytes, byteWidth;
  };
  for (const Case& c : {Case{5, false, 5 * 3 * 2, 8}, Case{5, true, 5 * 3 * 6, 16},
                        Case{4, false, 4 * 3 * 2, 4}}) {
    image.SetHasColors(c.colour);
    image.SizeImage(c.w, 3);
    EXPECT_EQ(image.ImageWidth(), c.w);
    EXPECT_EQ(image.ImageHeight(), 3);
    EXPECT_EQ(image.ImageBytes(), c.bytes);
    EXPECT_EQ(image.ImageByteWidth(), c.byteWidth);
  }
}

TEST_F(CameraTest, BuffersStayWhileTheSizeStays) {
  image.SizeImage(6, 4);
  ASSERT_NE(image.ImagePtr8(), nullptr);
  ASSERT_NE(image.GrabPtr(), nullptr);
  image.ImagePtr()[5] = 1234;
  image.SizeImage(6, 4);
  EXPECT_EQ(image.ImagePtr()[5], 1234);  // kept: same size
  image.SizeImage(4, 6);
  EXPECT_EQ(image.ImagePtr()[5], 0);  // new buffer, zeroed
  image.SetImageHeight(8);            // the height only shrinks
  EXPECT_EQ(image.ImageHeight(), 6);
  image.SetImageHeight(5);
  EXPECT_EQ(image.ImageHeight(), 5);
  image.Update8BitImage();  // the larger buffers serve the smaller picture
  image.SizeImage(0, 0);
  EXPECT_EQ(image.ImageBytes(), 0);
  EXPECT_EQ(image.ImagePtr(), nullptr);
  EXPECT_EQ(image.ImagePtr8(), nullptr);
  EXPECT_EQ(image.GrabPtr(), nullptr);
}

TEST_F(CameraTest, ColourModeWithoutSizeImageLeavesBytesStale) {
  Ramp(4, 4, 8);
  EXPECT_EQ(image.ImageBytes(), 32);
  const int presents = view.presents;
  image.SetHasColors(true);
  EXPECT_EQ(image.Header.bmiHeader.biBitCount, 24);
  // Bytes and line width are stale until the next SizeImage.
  EXPECT_EQ(std::pair(image.ImageBytes(), image.ImageByteWidth()), std::pair(32L, 4L));
  image.Update8BitImage();               // buffers of the old shape: nothing drawn
  EXPECT_EQ(view.presents, presents);
  image.SizeImage(4, 4);
  EXPECT_EQ(std::pair(image.ImageBytes(), image.ImageByteWidth()), std::pair(96L, 12L));
  image.SetHasColors(false);
  EXPECT_EQ(image.Header.bmiHeader.biBitCount, 8);
  EXPECT_EQ(image.ImageBytes(), 96);
}

TEST_F(CameraTest, BitsAreClampedAndSetTheDynamik) {
  for (auto [asked, bits, dynamik] : {std::tuple{0L, 1L, 2L}, {17L, 16L, 65536L}, {12L, 12L, 4096L}}) {
    image.SetImageBitsPerPixel(asked);
    EXPECT_EQ(image.ImageBitsPerPixel(), bits);
    EXPECT_EQ(image.ImageDynamik(), dynamik);
  }
}

TEST_F(CameraTest, FirstBitDepthResetsTheLimitsLaterOnesKeepThem) {
  image.LUTmin = 0.3f;
  image.LUTmax = 0.4f;
  image.SetImageBitsPerPixel(8);
  EXPECT_EQ(image.LUTmin, 0.0f);
  EXPECT_EQ(image.LUTmax, 1.0f);
  image.LUTmin = 0.3f;
  image.SetImageBitsPerPixel(10);
  EXPECT_EQ(image.LUTmin, 0.3f);
  // The table was rebuilt for the new level count.
  std::vector<uint8_t> expected(65536);
  SV_set_lut(0.3f, 1.0f, 1024, 65536, expected.data(), false);
  EXPECT_EQ(std::vector<uint8_t>(image.LutTable(), image.LutTable() + 65536), expected);
}

TEST_F(CameraTest, CreateImageCopiesTheSourceAndClearsTheComment) {
  image.ImgDescription = "old";
  image.LUTmin = 0.5f;
  Ramp(3, 2, 8, 10, 10);
  EXPECT_EQ(image.ImgDescription, "");
  EXPECT_EQ(image.ImageBitsPerPixel(), 8);
  EXPECT_EQ(std::pair(image.LUTmin, image.LUTmax), std::pair(0.0f, 1.0f));
  EXPECT_EQ(std::pair(image.ImagePtr()[0], image.ImagePtr()[5]), (std::pair<uint16_t, uint16_t>(10, 60)));
  EXPECT_FALSE(image.Changed());
}

// --- Display pipeline --------------------------------------------------------------

TEST_F(CameraTest, PixelsReachTheBitmapBottomUpThroughTheTable) {
  image.DrawCameraImage();  // no bitmap yet: nothing drawn
  image.Update8BitImage();
  image.RealizeLUT();
  EXPECT_EQ(view.presents, 0);
  Ramp(3, 2, 8, 10, 10);  // 10 20 30 / 40 50 60, full range of 256 levels
  const uint8_t* bits = image.ImagePtr8();
  ASSERT_NE(bits, nullptr);
  const uint8_t* t = image.LutTable();
  // Lines of four bytes: the bottom line first.
  EXPECT_EQ(std::vector<uint8_t>(bits, bits + 8),
            (std::vector<uint8_t>{t[40], t[50], t[60], 0, t[10], t[20], t[30], 0}));
  EXPECT_EQ(t[10], 10);  // round(10 * 255 / 256)
  EXPECT_GT(view.presents, 0);
}

TEST_F(CameraTest, SetLutRebuildsOnlyWhenSomethingChanged) {
  Ramp(4, 4, 8);
  const long builds = image.LutBuilds();
  const int presents = view.presents;
  image.SetLUT();
  EXPECT_EQ(image.LutBuilds(), builds);  // free when nothing changed
  EXPECT_EQ(view.presents, presents);
  image.LUTmax = 0.5f;
  image.SetLUT();
  EXPECT_EQ(image.LutBuilds(), builds + 1);
  EXPECT_EQ(image.LutCache.max, 0.5f);
  EXPECT_GT(view.presents, presents);  // redrawn with the new table
  image.SetLUT();
  EXPECT_EQ(image.LutBuilds(), builds + 1);
  image.LUTinverse = true;
  image.SetLUT();
  EXPECT_EQ(image.LutBuilds(), builds + 2);
  EXPECT_EQ(image.LutCache.inverse, -1);
  image.SetLUT(true);
  EXPECT_EQ(image.LutBuilds(), builds + 3);  // forced
  EXPECT_EQ(image.LutTable()[0], 255);
}

TEST_F(CameraTest, PaletteTypeFillsTheHeaderAndRedraws) {
  Ramp(4, 4, 8);
  const int presents = view.presents;
  image.SetLUTtype(1);
  EXPECT_EQ(image.LUTtype(), 1);
  EXPECT_EQ(image.Header.bmiColors[43].rgbBlue, 255);
  EXPECT_EQ(image.Header.bmiColors[43].rgbRed, 0);
  EXPECT_GT(view.presents, presents);
  image.SetLUTtype(-3);
  EXPECT_EQ(image.LUTtype(), 0);
  EXPECT_EQ(image.Header.bmiColors[43].rgbRed, 43);
}

TEST_F(CameraTest, ColourImageShowsThroughTheRgbPath) {
  image.SetHasColors(true);
  std::vector<uint16_t> src = {0, 128, 255, 64, 32, 16};  // two pixels, R G B
  image.CreateImage(2, 1, 8, src.data());
  EXPECT_EQ(image.Header.bmiHeader.biBitCount, 24);
  EXPECT_EQ(image.ImageBytes(), 12);
  const uint8_t* t = image.LutTable();
  const uint8_t* bits = image.ImagePtr8();
  ASSERT_NE(bits, nullptr);
  EXPECT_EQ(std::vector<uint8_t>(bits, bits + 4), (std::vector<uint8_t>{t[255], t[128], t[0], t[16]}));
}

// --- Window fit and zoom ---------------------------------------------------------------

TEST_F(CameraTest, WindowFitKeepsTheProportions) {
  image.MaxClientWidth = 400;
  image.MaxClientHeight = 300;
  for (auto [w, h, cw, ch] : {std::tuple{800, 300, 400, 150}, {300, 600, 150, 300}, {100, 50, 100, 50}}) {
    image.CreateImage(w, h, 8, nullptr);
    ASSERT_FALSE(view.resizes.empty());
    EXPECT_EQ(view.resizes.back(), std::make_pair(cw, ch));
  }
}

TEST(CameraZoom, IndexToFactor) {
  for (auto [index, factor] : {std::pair{0, 16.0f}, {12, 4.0f}, {14, 2.0f}, {15, 1.0f}, {16, 0.5f}, {30, 1.0f / 16}})
    EXPECT_EQ(Form_Camera::ZoomFactorForIndex(index), factor) << index;
}

class ZoomTest : public CameraTest {
 protected:
  void SetUp() override {
    CameraTest::SetUp();
    // A large picture in a window that cannot grow.
    image.MaxClientWidth = image.MaxClientHeight = 200;
    image.CreateImage(1000, 1000, 8, nullptr);
    ASSERT_EQ(image.ClientWidth, 200);
  }
};

TEST_F(ZoomTest, TheMiddleOfTheWindowStaysInPlace) {
  image.SetZoom(14);  // 2:1; the middle was image point 99.5
  EXPECT_EQ(image.ZoomIndex, 14);
  EXPECT_EQ(std::pair(image.ZoomFactor(), image.Overlay.factor), std::pair(2.0f, 2.0f));
  // -(2 * 99.5 - 100) + 1
  EXPECT_EQ(std::pair(image.ZoomOffsetX(), image.ZoomOffsetY()), std::pair(-98L, -98L));
  long x = 0, y = 0;
  ASSERT_TRUE(image.ScreenToImage(100, 100, x, y));
  EXPECT_EQ(x, 99);

  image.SetZoom(15);
  image.SetZoomOffsets(-300, -300);  // middle at image point 399.5
  image.SetZoom(16);                 // 1:2
  // -(0.5 * 399.5 - 100) + 0.25 = -99.5, truncated towards zero
  EXPECT_EQ(image.ZoomOffsetX(), -99);
  EXPECT_TRUE(image.HScrollVisible);
  EXPECT_EQ(image.HScrollMax, 300);

  // Offsets are clamped to the picture.
  image.SetZoom(14);
  image.SetZoomOffsets(-5000, 10);  // x: client 200 - zoomed 2000
  EXPECT_EQ(std::pair(image.ZoomOffsetX(), image.ZoomOffsetY()), std::pair(-1800L, 0L));
  image.SetZoom(15);  // back to 1:1: the middle moves back, within range
  EXPECT_GE(image.ZoomOffsetX(), -800);
  EXPECT_LE(image.ZoomOffsetX(), 0);
}

TEST_F(ZoomTest, SmallPictureShrinksTheWindowAndDropsTheBars) {
  image.SetZoom(30);  // 1:16: 62 pixels
  EXPECT_EQ(view.resizes.back(), std::make_pair(62, 62));
  EXPECT_EQ(image.ClientWidth, 62);
  EXPECT_FALSE(image.HScrollVisible || image.VScrollVisible);
  EXPECT_EQ(image.ZoomOffsetX(), 0);
  const long index = image.ZoomIndex;
  image.SetZoom(-1);  // only recomputes
  EXPECT_EQ(image.ZoomIndex, index);
}

TEST_F(ZoomTest, MaximisedWindowOnlyRedraws) {
  view.maximised = true;
  const size_t resizes = view.resizes.size();
  const int presents = view.presents;
  image.SetZoom(30);
  EXPECT_EQ(view.resizes.size(), resizes);
  EXPECT_EQ(image.ClientWidth, 200);
  EXPECT_GT(view.presents, presents);
}

// --- Undo -----------------------------------------------------------------------------

TEST_F(CameraTest, UndoRestoresPixelsSizeAndColourAndSpendsItself) {
  G().UndoEnabled = 1;
  Ramp(4, 4, 12, 100);
  image.RegisterUndo("Ne&gative");
  EXPECT_EQ(image.UndoName(), "Negative");
  image.SetHasColors(true);
  image.SizeImage(2, 2);
  image.ImagePtr()[0] = 7;
  image.Undo();
  EXPECT_FALSE(image.HasColors());
  EXPECT_EQ(std::tuple(image.ImageWidth(), image.ImageHeight(), image.ImageBytes()),
            std::tuple(4, 4, 32));
  EXPECT_EQ(std::pair(image.ImagePtr()[0], image.ImagePtr()[15]), (std::pair<uint16_t, uint16_t>(100, 115)));
  EXPECT_EQ(image.UndoName(), "");
  // A second undo has nothing left.
  image.ImagePtr()[0] = 9;
  image.Undo();
  EXPECT_EQ(image.ImagePtr()[0], 9);
}

TEST_F(CameraTest, NoUndoWhenTheOptionIsOffOrThereAreNoPixels) {
  G().UndoEnabled = 0;
  Ramp(4, 4, 8, 1);
  image.RegisterUndo("Clear");
  EXPECT_EQ(image.UndoName(), "");
  EXPECT_TRUE(image.UndoBuffer.empty());
  image.ImagePtr()[0] = 50;
  image.Undo();
  EXPECT_EQ(image.ImagePtr()[0], 50);

  G().UndoEnabled = -1;
  image.ImageClose();
  image.RegisterUndo("Clear");
  EXPECT_EQ(image.UndoName(), "");
}

TEST_F(CameraInMainTest, UndoCaptionAndToolTipFollowTheImageInFront) {
  Form_Camera* img = ShownImage();
  img->RegisterUndo("&Rotate");
  Form_Camera* behind = NewImage(main);  // hidden, not in front: no say in the undo
  behind->CreateImage(4, 4, 8, nullptr);
  EXPECT_EQ(main.FindMenu("mnuUndo")->caption, "&Undo Rotate");
  EXPECT_EQ(main.FindButton("Undo")->tip, "Undo: Rotate");
  EXPECT_TRUE(main.FindMenu("mnuUndo")->enabled && main.FindButton("Undo")->enabled);

  // Through the menu, as the user does it.
  main.Click("mnuUndo");
  EXPECT_EQ(img->UndoName(), "");
  EXPECT_EQ(main.FindMenu("mnuUndo")->caption, "&Undo");
  EXPECT_EQ(main.FindButton("Undo")->tip, "Undo");
  EXPECT_FALSE(main.FindMenu("mnuUndo")->enabled || main.FindButton("Undo")->enabled);
}

TEST_F(CameraInMainTest, CutKeyFollowsThePixelsAndEditClearZeroesWithUndo) {
  Form_Camera* img = ShownImage();
  img->SizeImage(0, 0);
  EXPECT_FALSE(main.FindButton("Cut")->enabled);
  img->SizeImage(3, 3);
  EXPECT_TRUE(main.FindButton("Cut")->enabled);
  img->ImagePtr()[3] = 77;
  main.Click("mnuClear");
  EXPECT_EQ(img->ImagePtr()[3], 0);
  EXPECT_TRUE(img->Changed());
  EXPECT_EQ(img->UndoName(), "Clear");
  main.Click("mnuUndo");
  EXPECT_EQ(img->ImagePtr()[3], 77);
}

// --- Caption and closing -------------------------------------------------------------------

TEST_F(CameraTest, ChangedMarkInTheCaption) {
  image.SetTitle("Image1");
  EXPECT_EQ(image.Caption(), "Image1");
  image.SetChanged(true);
  EXPECT_EQ(image.Caption(), "*Image1");
  image.SetChanged(false);
  EXPECT_EQ(image.Caption(), "Image1");
  EXPECT_GE(view.captions, 3);
}

TEST_F(CameraInMainTest, ChangedImageAsksBeforeClosing) {
  Form_Camera* img = ShownImage();
  const long handle = img->Handle();
  img->SetChanged(true);

  host.Answer(MsgResult::Cancel);
  main.Click("mnuClose");
  ASSERT_EQ(host.messages.size(), 1u);
  EXPECT_EQ(std::pair(host.messages[0].text, host.messages[0].title),
            (std::pair<std::string, std::string>("Save changes to Image1?", "Close")));
  EXPECT_EQ(host.messages[0].buttons, MsgButtons::YesNoCancel);
  EXPECT_NE(main.Child(handle), nullptr);

  host.Answer(MsgResult::Yes);  // Save As, cancelled: the image stays
  host.AnswerFile("");
  main.Click("mnuClose");
  EXPECT_NE(main.Child(handle), nullptr);

  host.Answer(MsgResult::No);
  main.Click("mnuClose");
  EXPECT_EQ(main.Child(handle), nullptr);
  EXPECT_EQ(main.ImageCount, 0);

  // An unchanged image closes without asking.
  const size_t asked = host.messages.size();
  Form_Camera* plain = ShownImage();
  const long other = plain->Handle();
  plain->Invoke("FileClose");
  EXPECT_EQ(main.Child(other), nullptr);
  EXPECT_EQ(host.messages.size(), asked);
}

TEST_F(CameraInMainTest, OffersOnlyWhatItCanDo) {
  Form_Camera* img = ShownImage();
  for (const char* op : {"FileClose", "Undo", "EditClear", "Lut", "FileSave", "FileSaveAs"})
    EXPECT_TRUE(img->Offers(op)) << op;
  for (const char* op : {"EditCopy", "Info", "AddRows"}) {
    EXPECT_FALSE(img->Offers(op)) << op;
    EXPECT_FALSE(img->Invoke(op)) << op;
  }
  img->Invoke("Lut");
  EXPECT_EQ(mainView.lutForms, 1);
}

// --- Measuring polygon ------------------------------------------------------------------

TEST_F(CameraTest, PointsGrowDeleteComeBackAndRewind) {
  EXPECT_EQ(image.AddPoint(0, 0), 0);
  EXPECT_EQ(image.AddPoint(3, 4), 1);
  EXPECT_EQ(image.AddPoint(3, 10), 2);
  EXPECT_EQ(image.PointCount(), 3);
  EXPECT_EQ(image.CurrPolygon(), 2);
  EXPECT_DOUBLE_EQ(image.PolygonLength, 11.0);
  EXPECT_DOUBLE_EQ(image.PolygonAngle, -90.0);  // straight down the screen

  EXPECT_EQ(image.DeletePoint(), 1);
  EXPECT_EQ(image.PointCount(), 3);  // the point stays in the list
  EXPECT_EQ(image.PointList()[2].y, 10);
  EXPECT_EQ(image.UnDeletePoint(), 2);
  EXPECT_EQ(image.UnDeletePoint(), 2);  // not beyond the last

  // Adding after a delete overwrites the next place without growing.
  image.DeletePoint();
  EXPECT_EQ(image.AddPoint(9, 9), 2);
  EXPECT_EQ(image.PointCount(), 3);
  EXPECT_EQ(image.PointList()[2].x, 9);

  EXPECT_EQ(image.SetPoint(8, 8), 2);
  EXPECT_EQ(image.PointList()[2].x, 8);

  EXPECT_EQ(image.ClearPoints(), -1);
  EXPECT_EQ(image.PointCount(), 0);
  EXPECT_EQ(image.CurrPolygon(), -1);
  EXPECT_EQ(image.DeletePoint(), -1);

  // The current point only rewinds.
  for (int i = 0; i < 5; ++i) image.AddPoint(i, i);
  image.SetCurrPolygon(2);
  EXPECT_EQ(image.CurrPolygon(), 0);  // anything not above the count goes to the start
  image.SetCurrPolygon(5);
  EXPECT_EQ(image.CurrPolygon(), 0);
  image.SetCurrPolygon(9);
  EXPECT_EQ(image.CurrPolygon(), 5);  // beyond: to the count
  image.PlotPolygon();                // draws the legs that exist
  EXPECT_EQ(image.Overlay.ItemCount(), 4);
}

TEST_F(CameraTest, PlotPolygonDrawsTheLegsUpToTheCurrentPoint) {
  image.AddPoint(1, 1);
  image.AddPoint(5, 1);
  EXPECT_DOUBLE_EQ(image.PolygonAngle, 0.0);
  image.AddPoint(5, 7);
  EXPECT_DOUBLE_EQ(image.PolygonLength, 10.0);
  image.OVERLAY_TEXT(0, 0, "old", 0);
  image.PlotPolygon();
  ASSERT_EQ(image.Overlay.ItemCount(), 2);
  const auto& leg = image.Overlay.Items()[1];
  EXPECT_EQ(leg.type, 1);
  EXPECT_EQ(std::vector<long>({leg.x1, leg.y1, leg.x2, leg.y2}), std::vector<long>({5, 1, 5, 7}));
  image.DeletePoint();
  image.PlotPolygon();
  EXPECT_EQ(image.Overlay.ItemCount(), 1);
  image.ClearPoints();
  image.PlotPolygon();
  EXPECT_EQ(image.Overlay.ItemCount(), 0);
  // Clearing the overlay redraws the picture.
  Ramp(4, 4, 8);
  image.OVERLAY_TEXT(1, 2, "A", 0xFF);
  ASSERT_EQ(image.Overlay.ItemCount(), 1);
  const int presents = view.presents;
  image.Overlay_Clear();
  EXPECT_EQ(image.Overlay.ItemCount(), 0);
  EXPECT_GT(view.presents, presents);
}

TEST_F(CameraTest, LoopPointClosesAndTrims) {
  image.AddPoint(0, 0);
  image.AddPoint(4, 0);
  image.AddPoint(4, 3);
  image.AddPoint(9, 9);
  image.DeletePoint();  // the fourth point is dropped by the loop
  image.LoopPoint();
  EXPECT_EQ(image.PointCount(), 4);
  EXPECT_EQ(image.CurrPolygon(), 3);
  EXPECT_EQ(std::pair(image.PointList()[3].x, image.PointList()[3].y), std::pair(0L, 0L));
  EXPECT_EQ(image.Overlay.ItemCount(), 3);
  EXPECT_DOUBLE_EQ(image.PolygonLength, 12.0);
}

// --- Mouse ------------------------------------------------------------------------------

TEST_F(CameraInMainTest, PointScanShowsTheSampleUnderTheMouse) {
  Form_Camera* img = ShownImage(4, 3);
  img->ImagePtr()[1 * 4 + 2] = 4095;
  img->PointScan(2, 1);
  EXPECT_EQ(main.Panel(kPanelPixelColor), "2, 1: 4095");
  img->PointScan(50, 1);  // outside the picture
  EXPECT_EQ(main.Panel(kPanelPixelColor), "");

  img->SetZoom(14);  // 2:1 from the top left
  img->SetZoomOffsets(0, 0);
  img->PointScan(5, 3);
  EXPECT_EQ(main.Panel(kPanelPixelColor), "2, 1: 4095");

  img->SetHasColors(true);
  const std::vector<uint16_t> src = {1, 2, 3, 40, 50, 60};
  img->CreateImage(2, 1, 8, src.data());
  img->SetZoom(15);
  img->PointScan(1, 0);
  EXPECT_EQ(main.Panel(kPanelPixelColor), "1, 0: 40, 50, 60");
}

// --- Registration and the test picture -----------------------------------------------------

TEST_F(CameraInMainTest, NewImageCommandShowsTheTestPicture) {
  G().DefaultLUTtype = 2;
  main.Click("mnuNewImage");
  ASSERT_EQ(main.ImageCount, 1);
  auto* img = dynamic_cast<Form_Camera*>(main.ActiveChild());
  ASSERT_NE(img, nullptr);
  EXPECT_TRUE(img->Visible());
  EXPECT_EQ(img->LUTtype(), 2);
  EXPECT_EQ(img->Caption(), "Image1");
  EXPECT_FALSE(img->Changed());
  EXPECT_EQ(img->ImageBitsPerPixel(), 16);
  const long w = img->ImageWidth(), h = img->ImageHeight();
  ASSERT_GT(w, 1);
  const uint16_t* p = img->ImagePtr();
  EXPECT_EQ(p[0], 0);                         // horizontal ramp from black
  EXPECT_EQ(p[w - 1], 65535);                 // to white
  EXPECT_EQ(p[(h - 1) * w], 65535);           // vertical ramp ends white
  EXPECT_EQ(p[(2 * (h / 3)) * w + 5], 0);     // and starts black
  EXPECT_NE(img->ImagePtr8(), nullptr);

  // A changed image made over into the test picture is unchanged again.
  img->SetChanged(true);
  img->MakeTestImage(64, 48);
  EXPECT_FALSE(img->Changed());
  EXPECT_EQ(std::pair(img->ImageWidth(), img->ImageHeight()), std::pair(64L, 48L));
  EXPECT_EQ(img->ImagePtr()[63], 65535);
}

TEST_F(CameraInMainTest, ZoomMenusReachTheImageInFront) {
  Form_Camera* img = ShownImage();
  for (auto [menu, index, zoom] : {std::tuple{"mnuViewLarger", 4, 12}, {"mnuViewSmaller", 3, 17},
                                   {"mnuViewLarger", 16, 0}, {"mnuZoom1x", -1, 15}}) {
    main.Click(menu, index);
    EXPECT_EQ(img->ZoomIndex, zoom) << menu << index;
  }
  EXPECT_EQ(img->ZoomFactor(), 1.0f);
  main.Click("mnuViewSmaller", 3);
  EXPECT_FLOAT_EQ(img->ZoomFactor(), 1.0f / 3.0f);
}

}  // namespace
}  // namespace sv
