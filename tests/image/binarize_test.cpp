#include <gtest/gtest.h>

#include <vector>

#include "core/globals.h"
#include "core/mdi_main.h"
#include "image/form_binarize.h"
#include "image/form_camera.h"
#include "support/main_window_test.h"
#include "support/scripted_host.h"

namespace sv {
namespace {

class BinarizeTest : public test::MainWindowTest {
 protected:
  void SetUp() override {
    MainWindowTest::SetUp();
    main.Load();
    image = NewImage(main);
    const std::vector<uint16_t> ramp = {0, 100, 127, 128, 129, 255};
    image->CreateImage(3, 2, 8, ramp.data());
    image->SetTitle("Spots");
    main.ShowChild(image->Handle());
  }
  std::vector<uint16_t> Pixels(Form_Camera& img) {
    return {img.ImagePtr(), img.ImagePtr() + img.ImageWidth() * img.ImageHeight()};
  }

  Form_Camera* image = nullptr;
};

TEST_F(BinarizeTest, InPlaceAboveTheThresholdIsTopWithUndo) {
  ASSERT_EQ(BinarizeDo(*image, 128), image);
  EXPECT_EQ(Pixels(*image), (std::vector<uint16_t>{0, 0, 0, 0, 255, 255}));
  EXPECT_EQ(image->UndoName(), "Binarize");
  EXPECT_TRUE(image->Changed());
  ASSERT_GE(host.status.size(), 2u);
  EXPECT_EQ(host.status[host.status.size() - 2], "Binarize...");
  EXPECT_EQ(host.status.back(), "");
  image->Undo();
  EXPECT_EQ(Pixels(*image), (std::vector<uint16_t>{0, 100, 127, 128, 129, 255}));
}

TEST_F(BinarizeTest, NewImageKeepsTheSourceAndIsTitled) {
  Form_Camera* made = BinarizeDo(*image, 100, true);
  ASSERT_NE(made, nullptr);
  ASSERT_NE(made, image);
  EXPECT_EQ(made->Title(), "Binarize(\"Spots\", 100)");
  EXPECT_EQ(Pixels(*made), (std::vector<uint16_t>{0, 0, 255, 255, 255, 255}));
  EXPECT_EQ(Pixels(*image), (std::vector<uint16_t>{0, 100, 127, 128, 129, 255}));
  EXPECT_EQ(image->UndoName(), "");
  EXPECT_TRUE(made->Visible());
  EXPECT_EQ(main.ActiveChild(), made);
}

TEST_F(BinarizeTest, RefusesWhatItCannotDo) {
  EXPECT_EQ(BinarizeDo(*image, -1), nullptr);
  EXPECT_EQ(BinarizeDo(*image, 256), nullptr);
  Form_Camera empty;
  EXPECT_EQ(BinarizeDo(empty, 10), nullptr);
  Form_Camera colour;
  colour.SetHasColors(true);
  colour.CreateImage(2, 2, 8, nullptr);
  EXPECT_EQ(BinarizeDo(colour, 10), nullptr);
  EXPECT_EQ(Pixels(*image), (std::vector<uint16_t>{0, 100, 127, 128, 129, 255}));
}

TEST_F(BinarizeTest, DialogKeepsTextAndScrollEqual) {
  Form_Binarize form(image);
  EXPECT_EQ(form.Text_Threshold, "128");
  EXPECT_EQ(form.HScroll_Threshold, 128);
  EXPECT_EQ(form.HScroll_Max, 255);
  EXPECT_EQ(form.Label_Range, "(0 - 255)");
  form.HScroll_Threshold = 40;
  form.HScroll_Threshold_Change();
  EXPECT_EQ(form.Text_Threshold, "40");
  form.Text_Threshold = " 77 ";
  form.Text_Threshold_Change();
  EXPECT_EQ(form.HScroll_Threshold, 77);
  for (const char* bad : {"", "7a", "300", "-1", "1.5"}) {
    form.Text_Threshold = bad;
    form.Text_Threshold_Change();
    EXPECT_EQ(form.HScroll_Threshold, 77) << bad;
  }
  Form_Camera deep;
  deep.CreateImage(2, 2, 12, nullptr);
  form.Bind(&deep);
  EXPECT_EQ(form.Label_Range, "(0 - 4095)");
  EXPECT_EQ(form.Text_Threshold, "2048");
}

TEST_F(BinarizeTest, DialogOkReportsABadThresholdAndStays) {
  Form_Binarize form(image);
  form.Text_Threshold = "999";
  host.Answer(MsgResult::OK);
  EXPECT_FALSE(form.Command_OK());
  ASSERT_EQ(host.messages.size(), 1u);
  EXPECT_EQ(host.messages[0].text, "Enter an integer number in the range of 0 to 255");
  EXPECT_EQ(host.messages[0].title, "Binarize");
  EXPECT_EQ(form.Result, nullptr);
  form.Text_Threshold = "127";
  form.Check_NewImage = true;
  ASSERT_TRUE(form.Command_OK());
  ASSERT_NE(form.Result, nullptr);
  EXPECT_EQ(form.Result->Title(), "Binarize(\"Spots\", 127)");
  EXPECT_EQ(Pixels(*form.Result), (std::vector<uint16_t>{0, 0, 0, 255, 255, 255}));
}

TEST_F(BinarizeTest, MenuRunsThroughTheDialog) {
  BinarizeDialog() = nullptr;
  EXPECT_FALSE(Binarize(*image));  // no front end: cancelled
  std::string seen;
  BinarizeDialog() = [&seen](Form_Binarize& form) {
    seen = form.Label_Range;
    form.Text_Threshold = "128";
    return form.Command_OK();
  };
  EXPECT_TRUE(Binarize(*image));
  EXPECT_EQ(seen, "(0 - 255)");
  EXPECT_EQ(Pixels(*image), (std::vector<uint16_t>{0, 0, 0, 0, 255, 255}));
  BinarizeDialog() = [](Form_Binarize&) { return false; };
  EXPECT_FALSE(Binarize(*image));
  BinarizeDialog() = nullptr;
}

}  // namespace
}  // namespace sv
