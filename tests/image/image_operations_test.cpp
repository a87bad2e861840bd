#include "image/image_operations.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "core/error_table.h"
#include "core/globals.h"
#include "core/mdi_main.h"
#include "image/form_camera.h"
#include "image/form_resize.h"
#include "image/kernel/filter.h"
#include "image/kernel/geometry.h"
#include "support/main_window_test.h"
#include "support/scripted_host.h"

namespace sv {
namespace {

class ImageOperationsTest : public test::MainWindowTest {
 protected:
  void SetUp() override {
    MainWindowTest::SetUp();
    main.Load();
  }
  void TearDown() override {
    WorkBufferLimit() = 0;
    ResizeDialog() = nullptr;
    MainWindowTest::TearDown();
  }

  // A shown w x h image with 12 bits and a pattern that no flip, turn or
  // field leaves as it was.
  Form_Camera* Image(long w, long h, bool colour = false) {
    Form_Camera* img = NewImage(main);
    img->SetHasColors(colour);
    std::vector<uint16_t> px(size_t(w * h * (colour ? 3 : 1)));
    for (size_t i = 0; i < px.size(); ++i) px[i] = uint16_t((i * 37 + i / 5 * 11) % 4096);
    img->CreateImage(w, h, 12, px.data());
    main.ShowChild(img->Handle());
    return img;
  }

  static std::vector<uint16_t> Pixels(const Form_Camera& img) {
    const uint16_t* p = img.ImagePtr();
    return std::vector<uint16_t>(p, p + img.ImageBytes() / 2);
  }
};

struct OpCase {
  const char* undoName;
  bool colour;
  std::function<bool(Form_Camera&)> run;
  long width, height;  // of the result, from a 6 x 5 image
  bool resultColour;
  long bits;
};

// Every operation that changes pixels: its undo entry, its result's shape,
// and an undo that brings back the image as it was, depth included.
TEST_F(ImageOperationsTest, EveryOperationRegistersItsUndoAndUndoesWhole) {
  const std::vector<OpCase> cases = {
      {"Dilatation", false, [](Form_Camera& c) { return Dilatation(c, 4); }, 6, 5, false, 12},
      {"Erosion", false, [](Form_Camera& c) { return Erosion(c, 8); }, 6, 5, false, 12},
      {"Morph. Open", false, [](Form_Camera& c) { return MorphOpen(c, 4); }, 6, 5, false, 12},
      {"Morph. Close", false, [](Form_Camera& c) { return MorphClose(c, 8); }, 6, 5, false, 12},
      {"Edge", false, [](Form_Camera& c) { return Edge(c); }, 6, 5, false, 12},
      {"Negative Image", true, [](Form_Camera& c) { return Negative(c); }, 6, 5, true, 12},
      {"Flip", true, [](Form_Camera& c) { return Flip(c); }, 6, 5, true, 12},
      {"Mirror", false, [](Form_Camera& c) { return Mirror(c); }, 6, 5, false, 12},
      {"Rotate", true, [](Form_Camera& c) { return Rotate(c, 90); }, 5, 6, true, 12},
      {"Rotate", false, [](Form_Camera& c) { return Rotate(c, 270); }, 5, 6, false, 12},
      {"Extract Field 1", false, [](Form_Camera& c) { return field(c, 1); }, 6, 3, false, 12},
      {"Extract Field 2", true, [](Form_Camera& c) { return field(c, 2); }, 6, 2, true, 12},
      {"Change Dynamic 8 Bit", false, [](Form_Camera& c) { return ChangeImageDynamikTo(c, 8); },
       6, 5, false, 8},
      {"Change Dynamic 16 Bit", true,
       [](Form_Camera& c) { return ChangeImageDynamikTo(c, 16); }, 6, 5, true, 16},
      {"Resize", true, [](Form_Camera& c) { return ResizeImage(c, 9, 4); }, 9, 4, true, 12},
      {"Grey Scale", true, [](Form_Camera& c) { return GreyScale(c); }, 6, 5, false, 12},
      {"True Color", false, [](Form_Camera& c) { return TrueColor(c); }, 6, 5, true, 12},
  };
  for (const OpCase& c : cases) {
    SCOPED_TRACE(c.undoName);
    Form_Camera* img = Image(6, 5, c.colour);
    const std::vector<uint16_t> before = Pixels(*img);
    ASSERT_TRUE(c.run(*img));
    EXPECT_EQ(img->UndoName(), c.undoName);
    EXPECT_EQ(main.FindMenu("mnuUndo")->caption, std::string("&Undo ") + c.undoName);
    EXPECT_TRUE(img->Changed());
    EXPECT_EQ(img->ImageWidth(), c.width);
    EXPECT_EQ(img->ImageHeight(), c.height);
    EXPECT_EQ(img->HasColors(), c.resultColour);
    EXPECT_EQ(img->ImageBitsPerPixel(), c.bits);
    EXPECT_EQ(size_t(img->ImageBytes()), size_t(c.width * c.height * (c.resultColour ? 6 : 2)));
    EXPECT_NE(Pixels(*img), before);
    img->Undo();
    EXPECT_EQ(img->ImageWidth(), 6);
    EXPECT_EQ(img->ImageHeight(), 5);
    EXPECT_EQ(img->HasColors(), c.colour);
    EXPECT_EQ(img->ImageBitsPerPixel(), 12);
    EXPECT_EQ(Pixels(*img), before);
    EXPECT_EQ(img->UndoName(), "");
  }
  EXPECT_TRUE(host.messages.empty());
}

// The operations run the kernel's routine on the image: the result is the
// routine's on a copy.
TEST_F(ImageOperationsTest, ResultsAreTheKernelsOwn) {
  Form_Camera* img = Image(7, 4);
  const std::vector<uint16_t> src = Pixels(*img);
  const FrameSize size{7, 4};
  auto kernel = [&](auto fn) {
    std::vector<uint16_t> out(src.size());
    fn(ConstSamples16(src), Samples16(out));
    return out;
  };
  MorphClose(*img, 8);
  EXPECT_EQ(Pixels(*img), kernel([&](ConstSamples16 s, Samples16 d) {
              SV_Dilatation(size, s, d, 8);
              SV_Erosion(size, d, d, 8);
            }));
  img->Undo();
  MorphOpen(*img, 4);
  EXPECT_EQ(Pixels(*img), kernel([&](ConstSamples16 s, Samples16 d) {
              SV_Erosion(size, s, d, 4);
              SV_Dilatation(size, d, d, 4);
            }));
  img->Undo();
  Rotate(*img, 90);
  EXPECT_EQ(Pixels(*img),
            kernel([&](ConstSamples16 s, Samples16 d) { SV_Rotate90(size, s, d); }));
  img->Undo();
  Edge(*img);
  EXPECT_EQ(Pixels(*img), kernel([&](ConstSamples16 s, Samples16 d) { SV_Edge(size, s, d, 12); }));
  img->Undo();
  // Negative within the image's own range: 12 bits.
  Negative(*img);
  EXPECT_EQ(Pixels(*img)[3], 4095 - src[3]);
}

TEST_F(ImageOperationsTest, AMissingWorkBufferLeavesTheImageAndShows10004) {
  WorkBufferLimit() = 16;  // bytes: less than any of these images
  const std::vector<std::pair<std::string, std::function<bool(Form_Camera&)>>> ops = {
      {"Rotate", [](Form_Camera& c) { return Rotate(c, 270); }},
      {"Extract Field 2", [](Form_Camera& c) { return field(c, 2); }},
      {"Resize", [](Form_Camera& c) { return ResizeImage(c, 3, 3); }},
      {"Grey Scale", [](Form_Camera& c) { return GreyScale(c); }},
  };
  for (const auto& [title, run] : ops) {
    SCOPED_TRACE(title);
    host.messages.clear();
    Form_Camera* img = Image(6, 5, true);
    const std::vector<uint16_t> before = Pixels(*img);
    host.Answer(MsgResult::OK);
    EXPECT_FALSE(run(*img));
    ASSERT_EQ(host.messages.size(), 1u);
    EXPECT_EQ(host.messages[0].text, ErrorText(kErrNoMemory));
    EXPECT_EQ(host.messages[0].title, title);
    EXPECT_EQ(host.messages[0].icon, MsgIcon::Critical);
    EXPECT_EQ(Pixels(*img), before);
    EXPECT_EQ(img->ImageWidth(), 6);
    EXPECT_TRUE(img->HasColors());
    EXPECT_EQ(img->UndoName(), "");
    EXPECT_FALSE(img->Changed());
  }
  // New images need their memory too: the split makes none.
  Form_Camera* img = Image(6, 5, true);
  const size_t documents = main.Documents().size();
  host.messages.clear();
  host.Answer(MsgResult::OK);
  EXPECT_TRUE(SplitToRGB(*img, main).empty());
  EXPECT_EQ(main.Documents().size(), documents);
  ASSERT_EQ(host.messages.size(), 1u);
  EXPECT_EQ(host.messages[0].text, ErrorText(kErrNoMemory));
}

TEST_F(ImageOperationsTest, WithUndoOffTheOperationRunsWithoutAnEntry) {
  G().UndoEnabled = 0;
  Form_Camera* img = Image(4, 4);
  const std::vector<uint16_t> before = Pixels(*img);
  EXPECT_TRUE(Flip(*img));
  EXPECT_EQ(img->UndoName(), "");
  EXPECT_NE(Pixels(*img), before);
}

TEST_F(ImageOperationsTest, WrongKindsAndArgumentsAreRefusedSilently) {
  Form_Camera* grey = Image(4, 4);
  Form_Camera* colour = Image(4, 4, true);
  EXPECT_FALSE(GreyScale(*grey));
  EXPECT_FALSE(TrueColor(*colour));
  EXPECT_FALSE(Dilatation(*colour, 4));
  EXPECT_FALSE(Edge(*colour));
  EXPECT_FALSE(Dilatation(*grey, 6));
  EXPECT_FALSE(Rotate(*grey, 180));
  EXPECT_FALSE(field(*grey, 3));
  EXPECT_FALSE(ChangeImageDynamikTo(*grey, 7));
  EXPECT_FALSE(ChangeImageDynamikTo(*grey, 17));
  EXPECT_FALSE(ResizeImage(*grey, 0, 5));
  EXPECT_TRUE(SplitToRGB(*grey, main).empty());
  EXPECT_FALSE(field(*Image(4, 1), 2));  // a one-line frame has no second field
  // By name, as the menus reach them: not offered, not run.
  EXPECT_FALSE(grey->Invoke("GreyScale"));
  EXPECT_FALSE(colour->InvokeAt("Dilatation", 1));
  EXPECT_TRUE(grey->Offers("Edge"));
  EXPECT_FALSE(grey->Offers("NoSuchOperation"));
  EXPECT_EQ(grey->UndoName(), "");
  EXPECT_EQ(colour->UndoName(), "");
  EXPECT_TRUE(host.messages.empty());
}

// The image menu offers each entry for the kinds it applies to, and the
// entry's index chooses connectivity, turn, field and depth.
TEST_F(ImageOperationsTest, MenuEntriesFollowTheImageKindAndIndex) {
  Form_Camera* colour = Image(6, 5, true);
  main.PrepareMenu("mnuImage");
  EXPECT_TRUE(main.FindMenu("mnuColorsGreyScale")->enabled);
  EXPECT_TRUE(main.FindMenu("mnuColorsSplitToRGB")->enabled);
  EXPECT_FALSE(main.FindMenu("mnuColorsTrueColor")->enabled);
  EXPECT_FALSE(main.FindMenu("mnuDilatation", 0)->enabled);
  EXPECT_FALSE(main.FindMenu("mnuEdge")->enabled);
  EXPECT_FALSE(main.FindMenu("mnuBinarize")->enabled);
  EXPECT_TRUE(main.FindMenu("mnuRotate", 1)->enabled);
  EXPECT_TRUE(main.FindMenu("mnuDynamik", 8)->enabled);
  main.Click("mnuRotate", 1);
  EXPECT_EQ(colour->ImageWidth(), 5);
  EXPECT_EQ(colour->UndoName(), "Rotate");

  Form_Camera* grey = Image(6, 5);
  main.PrepareMenu("mnuImage");
  EXPECT_FALSE(main.FindMenu("mnuColorsGreyScale")->enabled);
  EXPECT_TRUE(main.FindMenu("mnuBinarize")->enabled);
  EXPECT_TRUE(main.FindMenu("mnuColorsTrueColor")->enabled);
  EXPECT_TRUE(main.FindMenu("mnuMorphClose", 1)->enabled);
  const std::vector<uint16_t> src = Pixels(*grey);
  main.Click("mnuDilatation", 1);
  std::vector<uint16_t> eight(src.size());
  SV_Dilatation(FrameSize{6, 5}, src, eight, 8);
  EXPECT_EQ(Pixels(*grey), eight);
  main.Click("mnuField", 2);
  EXPECT_EQ(grey->ImageHeight(), 2);
  EXPECT_EQ(grey->UndoName(), "Extract Field 2");
  main.Click("mnuDynamik", 14);
  EXPECT_EQ(grey->ImageBitsPerPixel(), 14);
  EXPECT_EQ(grey->UndoName(), "Change Dynamic 14 Bit");
  // A locked image takes no command.
  grey->SetLocked(true);
  main.Click("mnuFlip");
  EXPECT_EQ(grey->UndoName(), "Change Dynamic 14 Bit");
}

TEST_F(ImageOperationsTest, SplitMakesThreeTitledGreyImagesAndRegistersNoUndo) {
  Form_Camera* img = Image(3, 2, true);
  img->SetTitle("Spots");
  const std::vector<Form_Camera*> made = SplitToRGB(*img, main);
  ASSERT_EQ(made.size(), 3u);
  const char* titles[] = {"Spots (Red Channel)", "Spots (Green Channel)", "Spots (Blue Channel)"};
  const std::vector<uint16_t> rgb = Pixels(*img);
  for (int ch = 0; ch < 3; ++ch) {
    EXPECT_EQ(made[size_t(ch)]->Title(), titles[ch]);
    EXPECT_FALSE(made[size_t(ch)]->HasColors());
    EXPECT_EQ(made[size_t(ch)]->ImageBitsPerPixel(), 12);
    for (size_t i = 0; i < 6; ++i) EXPECT_EQ(made[size_t(ch)]->ImagePtr()[i], rgb[3 * i + ch]);
  }
  EXPECT_EQ(img->UndoName(), "");
  EXPECT_EQ(main.ActiveChild(), made[2]);
}

TEST_F(ImageOperationsTest, DuplicateNumbersItsCopies) {
  Form_Camera* img = Image(4, 3, true);
  img->SetTitle("Cu(100)");
  img->ImgDescription = "annealed";
  Form_Camera* first = Duplicate(*img, main);
  ASSERT_NE(first, nullptr);
  EXPECT_EQ(first->Title(), "Copy of Cu(100)");
  EXPECT_EQ(Pixels(*first), Pixels(*img));
  EXPECT_TRUE(first->HasColors());
  EXPECT_EQ(first->ImgDescription, "annealed");
  EXPECT_EQ(Duplicate(*img, main)->Title(), "Copy(2) of Cu(100)");
  EXPECT_EQ(Duplicate(*img, main)->Title(), "Copy(3) of Cu(100)");
  EXPECT_EQ(img->UndoName(), "");
  EXPECT_EQ(CopyTitle("A", {"Copy of A", "Copy(3) of A"}), "Copy(2) of A");
  EXPECT_EQ(CopyTitle("A", {"Copy of B"}), "Copy of A");
}

TEST_F(ImageOperationsTest, ColorCountShowsTheNumber) {
  Form_Camera* img = NewImage(main);
  const uint16_t px[] = {1, 1, 7, 9, 7, 1};
  img->CreateImage(3, 2, 12, px);
  host.Answer(MsgResult::OK);
  EXPECT_EQ(ColorCount(*img), 3);
  ASSERT_EQ(host.messages.size(), 1u);
  EXPECT_EQ(host.messages[0].text, "The number of unique colors in this picture is 3");
  EXPECT_EQ(img->UndoName(), "");
}

TEST_F(ImageOperationsTest, RotateShowsItsStatusAndTheDepthChangeShifts) {
  Form_Camera* img = NewImage(main);
  const uint16_t px[] = {0x0FFF, 0x0100, 0x0001, 0x0800};
  img->CreateImage(2, 2, 12, px);
  Rotate(*img, 90);
  ASSERT_GE(host.status.size(), 2u);
  EXPECT_NE(std::find(host.status.begin(), host.status.end(), "Rotating..."), host.status.end());
  EXPECT_EQ(host.status.back(), "");
  // Clockwise: the left column, read upwards, becomes the top line.
  EXPECT_EQ(Pixels(*img), (std::vector<uint16_t>{0x0001, 0x0FFF, 0x0800, 0x0100}));
  ChangeImageDynamikTo(*img, 8);
  EXPECT_EQ(Pixels(*img), (std::vector<uint16_t>{0x00, 0xFF, 0x80, 0x10}));
  EXPECT_EQ(img->ImageDynamik(), 256);
}

TEST_F(ImageOperationsTest, ResizeFormKeepsTheProportionAndChecksTheSize) {
  Form_Camera* img = Image(640, 480);
  Form_Resize form(img);
  EXPECT_EQ(form.Text_w, "640");
  EXPECT_EQ(form.Text_ratio, "1.3333");
  form.Text_w = "320";
  form.Text_w_Change();
  EXPECT_EQ(form.Text_h, "240");
  form.Text_h = "100";
  form.Text_h_Change();
  EXPECT_EQ(form.Text_w, "133");
  form.Check_Ratio = false;
  form.Text_w = "50";
  form.Text_w_Change();
  EXPECT_EQ(form.Text_h, "100");
  form.Option_Size_Click(3);
  EXPECT_EQ(form.Text_w + "x" + form.Text_h, "768x576");
  EXPECT_FALSE(form.Option_CustomSize);
  EXPECT_EQ(Form_Resize::SizeCaption(0), "320 x 240");

  for (const char* bad : {"0", "16385", "12.5", "abc", ""}) {
    form.Text_w = bad;
    host.Answer(MsgResult::OK);
    EXPECT_FALSE(form.Command_OK()) << bad;
  }
  ASSERT_EQ(host.messages.size(), 5u);
  EXPECT_EQ(host.messages[0].text, "Enter an integer number in the range of 1 to 16384");
  EXPECT_EQ(host.messages[0].title, "Resize");

  // Through the dialog: cancelled does nothing, OK resizes.
  EXPECT_FALSE(Resize(*img));  // no front end: cancelled
  ResizeDialog() = [](Form_Resize& f) {
    f.Text_w = "64";
    f.Text_w_Change();
    return f.Command_OK();
  };
  main.Click("mnuResize");
  EXPECT_EQ(img->ImageWidth(), 64);
  EXPECT_EQ(img->ImageHeight(), 48);
  EXPECT_EQ(img->UndoName(), "Resize");
}

TEST_F(ImageOperationsTest, AdoptImageRefusesAWrongCount) {
  Form_Camera* img = Image(4, 4);
  std::vector<uint16_t> wrong(15);
  EXPECT_FALSE(img->AdoptImage(4, 4, false, wrong));
  EXPECT_EQ(wrong.size(), 15u);
  std::vector<uint16_t> right(2 * 3 * 3, 7);
  EXPECT_TRUE(img->AdoptImage(2, 3, true, right));
  EXPECT_EQ(right.size(), 16u);  // the old pixels came back
  EXPECT_EQ(img->ImageBytes(), 36);
  EXPECT_EQ(img->ImageByteWidth(), 8);
  ASSERT_NE(img->ImagePtr8(), nullptr);
  EXPECT_NE(img->GrabPtr(), nullptr);
}

}  // namespace
}  // namespace sv
