#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "core/globals.h"
#include "core/mdi_main.h"
#include "image/form_camera.h"
#include "image/form_image_math.h"
#include "support/scripted_host.h"

namespace sv {
namespace {

class ImageMathTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ResetGlobals();
    SetMainForm(&main);
    RegisterImageDocuments(main);
    RegisterImageMathCommands(main);
    main.Load();
  }
  void TearDown() override {
    ImageMath1Dialog() = nullptr;
    ImageMath2Dialog() = nullptr;
    SetMainForm(nullptr);
  }
  Form_Camera* Make(const std::string& title, long w, long h, long bits,
                    std::vector<uint16_t> samples, bool colour = false) {
    Form_Camera* image = NewImage(main);
    image->SetHasColors(colour);
    image->CreateImage(w, h, bits, samples.data());
    image->SetTitle(title);
    main.ShowChild(image->Handle());
    return image;
  }
  static std::vector<uint16_t> Pixels(Form_Camera& img) {
    const size_t n = size_t(img.ImageWidth() * img.ImageHeight() * (img.HasColors() ? 3 : 1));
    return {img.ImagePtr(), img.ImagePtr() + n};
  }
  test::ScriptedHost host;
  MDIForm_Main main;
};

TEST_F(ImageMathTest, ConstantInPlaceClipsOrWrapsWithUndo) {
  Form_Camera* a = Make("A", 2, 2, 8, {10, 100, 200, 250});
  ASSERT_EQ(ImageMath1Do(*a, kMathAdd, {60, 60, 60}, true), a);
  EXPECT_EQ(Pixels(*a), (std::vector<uint16_t>{70, 160, 255, 255}));
  EXPECT_EQ(a->UndoName(), "Image Math");
  a->Undo();
  ASSERT_EQ(ImageMath1Do(*a, kMathAdd, {60, 60, 60}, false), a);
  EXPECT_EQ(Pixels(*a), (std::vector<uint16_t>{70, 160, 4, 54}));
  a->Undo();
  EXPECT_EQ(Pixels(*a), (std::vector<uint16_t>{10, 100, 200, 250}));
}

TEST_F(ImageMathTest, ConstantIntoANewImageNamesItsSource) {
  Form_Camera* a = Make("A", 2, 1, 8, {10, 20});
  Form_Camera* r = ImageMath1Do(*a, kMathSubtract, {15, 0, 0}, true, true);
  ASSERT_NE(r, nullptr);
  ASSERT_NE(r, a);
  EXPECT_EQ(r->Title(), "Subtract(\"A\", 15)");
  EXPECT_EQ(Pixels(*r), (std::vector<uint16_t>{0, 5}));
  EXPECT_EQ(Pixels(*a), (std::vector<uint16_t>{10, 20}));
  EXPECT_EQ(a->UndoName(), "");
  EXPECT_EQ(main.ActiveChild(), r);
  Form_Camera* c = Make("C", 1, 1, 8, {10, 20, 30}, true);
  r = ImageMath1Do(*c, kMathMultiply, {2, 3, 4}, true, true);
  ASSERT_NE(r, nullptr);
  EXPECT_TRUE(r->HasColors());
  EXPECT_EQ(r->Title(), "Multiply(\"C\", 2, 3, 4)");
  EXPECT_EQ(Pixels(*r), (std::vector<uint16_t>{20, 60, 120}));
}

TEST_F(ImageMathTest, TwoImagesOfOtherDepthAndSizeTakeTheFirstOnesShape) {
  // 8-bit 4 x 2 and 12-bit 2 x 1: the second loses 4 bits and is stretched.
  Form_Camera* a = Make("A", 4, 2, 8, {1, 2, 3, 4, 5, 6, 7, 8});
  Form_Camera* b = Make("B", 2, 1, 12, {160, 160});
  ImageMath2Args args;
  args.operation = kMathAdd;
  Form_Camera* r = ImageMath2Do(*a, *b, args, true);
  ASSERT_NE(r, nullptr);
  EXPECT_EQ(r->ImageWidth(), 4);
  EXPECT_EQ(r->ImageHeight(), 2);
  EXPECT_EQ(r->ImageBitsPerPixel(), 8);
  EXPECT_EQ(r->Title(), "Add(\"A\", \"B\")");
  EXPECT_EQ(Pixels(*r), (std::vector<uint16_t>{11, 12, 13, 14, 15, 16, 17, 18}));
  // The other way round the 8-bit samples gain 4 bits; the result is 12-bit.
  r = ImageMath2Do(*b, *a, args, true);
  ASSERT_NE(r, nullptr);
  EXPECT_EQ(r->ImageWidth(), 2);
  EXPECT_EQ(r->ImageBitsPerPixel(), 12);
  for (uint16_t v : Pixels(*r)) {
    EXPECT_GE(v, 160 + 16);
    EXPECT_LE(v, 160 + 8 * 16);
  }
}

TEST_F(ImageMathTest, TwoImagesGreyAndColourFadeDivisorAndBias) {
  Form_Camera* c = Make("C", 1, 1, 8, {100, 50, 0}, true);
  Form_Camera* g = Make("G", 1, 1, 8, {200});
  ImageMath2Args args;
  args.operation = kMathFade;
  args.fade = 25;
  Form_Camera* r = ImageMath2Do(*c, *g, args, true);
  ASSERT_NE(r, nullptr);
  EXPECT_TRUE(r->HasColors());
  EXPECT_EQ(r->Title(), "Fade(\"C\", \"G\", 25)");
  EXPECT_EQ(Pixels(*r), (std::vector<uint16_t>{175, 162, 150}));
  // In place in the first source, the colour one made grey.
  args.operation = kMathSubtract;
  args.divisor = 2;
  args.bias = 3;
  ASSERT_EQ(ImageMath2Do(*g, *c, args), g);
  EXPECT_EQ(g->UndoName(), "Image Math");
  const uint16_t grey = Pixels(*g)[0];
  EXPECT_GE(grey, 3 + (200 - 60) / 2 - 1);
  EXPECT_LE(grey, 3 + (200 - 60) / 2 + 1);
  g->Undo();
  EXPECT_EQ(Pixels(*g), std::vector<uint16_t>{200});
}

TEST_F(ImageMathTest, Dialog1ChecksTheConstantAgainstTheRange) {
  Form_Camera* a = Make("A", 1, 1, 8, {10});
  Form_Camera* c = Make("C", 1, 1, 12, {1, 2, 3}, true);
  Form_ImageMath1 form;
  form.Open(MathImages(&main), a);
  EXPECT_EQ(form.Combo_InputImage, (std::vector<std::string>{"A", "C"}));
  EXPECT_EQ(form.InputIndex, 0);
  EXPECT_TRUE(form.ConstantVisible);
  EXPECT_EQ(ImageMath1Captions().size(), 11u);
  EXPECT_EQ(ImageMath1Captions()[10], "&Compare");
  form.Text_Constant = "256";
  host.Answer(MsgResult::OK);
  EXPECT_FALSE(form.Command_OK());
  EXPECT_EQ(host.messages.back().text, "Enter an integer number in the range of 0 to 255");
  EXPECT_EQ(host.messages.back().title, "Image Math");
  form.Text_Constant = " 5 ";
  form.Option_Operation = 0;
  ASSERT_TRUE(form.Command_OK());
  EXPECT_EQ(form.Result, a);
  EXPECT_EQ(Pixels(*a), std::vector<uint16_t>{15});
  // A colour source takes the three constants.
  form.InputIndex = 1;
  form.Combo_InputImage_Click();
  EXPECT_TRUE(form.ColourVisible);
  EXPECT_FALSE(form.ConstantVisible);
  EXPECT_EQ(form.Limit(), 4095);
  form.Text_Red = "1";
  form.Text_Green = "x";
  host.Answer(MsgResult::OK);
  EXPECT_FALSE(form.Command_OK());
  EXPECT_EQ(host.messages.back().text, "Enter an integer number in the range of 0 to 4095");
  form.Text_Green = "2";
  form.Text_Blue = "3";
  form.Check_CreateNewImage = true;
  ASSERT_TRUE(form.Command_OK());
  ASSERT_NE(form.Result, c);
  EXPECT_EQ(Pixels(*form.Result), (std::vector<uint16_t>{2, 4, 6}));
}

TEST_F(ImageMathTest, Dialog2LabelsSwapAndLimits) {
  Form_Camera* a = Make("A", 4, 3, 8, std::vector<uint16_t>(12, 100));
  Form_Camera* b = Make("B", 2, 2, 16, std::vector<uint16_t>(4, 0));
  Form_ImageMath2 form;
  form.Open(MathImages(&main), b);
  EXPECT_EQ(form.Source1(), b);
  EXPECT_EQ(form.Source2(), a);
  EXPECT_EQ(form.Label_Fade, "50 %");
  EXPECT_EQ(form.Label_Info, "1: 2 x 2, 16bpp\n2: 4 x 3, 8bpp");
  EXPECT_EQ(form.Label_OutputSize, "Output Size: 2 x 2");
  form.Command_Swap();
  EXPECT_EQ(form.Source1(), a);
  EXPECT_EQ(form.Label_OutputSize, "Output Size: 4 x 3");
  EXPECT_EQ(ImageMath2Captions()[0], "&Fade:");
  form.Text_Divisor = "0";
  host.Answer(MsgResult::OK);
  EXPECT_FALSE(form.Command_OK());
  EXPECT_EQ(host.messages.back().text, "Enter an integer number in the range of 1 to 255");
  form.Text_Divisor = "1";
  form.Text_Bias = "-256";
  host.Answer(MsgResult::OK);
  EXPECT_FALSE(form.Command_OK());
  EXPECT_EQ(host.messages.back().text, "Enter an integer number in the range of -255 to 255");
  form.Text_Bias = "-255";
  form.HScroll_Fade = 130;
  form.HScroll_Fade_Change();
  EXPECT_EQ(form.Label_Fade, "100 %");
  form.Option_Operation = kMathLightest;
  form.Check_CreateNewImage = true;
  ASSERT_TRUE(form.Command_OK());
  ASSERT_NE(form.Result, nullptr);
  EXPECT_EQ(form.Result->Title(), "Lightest(\"A\", \"B\")");
  EXPECT_EQ(Pixels(*form.Result), std::vector<uint16_t>(12, 0));
}

TEST_F(ImageMathTest, MenuCommandsOpenTheDialogsOnTheOpenImages) {
  Form_Camera* a = Make("A", 1, 1, 8, {1});
  int shown = 0;
  ImageMath1Dialog() = [&](Form_ImageMath1& f) {
    ++shown;
    EXPECT_EQ(f.Source(), a);
    return false;
  };
  ImageMath2Dialog() = [&](Form_ImageMath2& f) {
    ++shown;
    EXPECT_EQ(f.Source1(), a);
    EXPECT_EQ(f.Source2(), a);
    return false;
  };
  main.Click("mnuImageMath1");
  main.Click("mnuImageMath2");
  EXPECT_EQ(shown, 2);
  // A busy image (the live picture, a run) is neither offered nor in front.
  Form_Camera* live = Make("Live", 1, 1, 8, {2});
  live->SetLocked(true);
  EXPECT_EQ(MathImages(&main), std::vector<Form_Camera*>{a});
  main.PrepareAllMenus();
  EXPECT_FALSE(main.FindMenu("mnuImageMath1")->enabled);
  main.SetActiveChild(a->Handle());
  main.PrepareAllMenus();
  EXPECT_TRUE(main.FindMenu("mnuImageMath2")->enabled);
}

}  // namespace
}  // namespace sv
