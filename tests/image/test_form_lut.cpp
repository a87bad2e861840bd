#include "image/form_lut.h"

#include <gtest/gtest.h>

#include "core/globals.h"
#include "image/form_camera.h"
#include "support/scripted_host.h"

namespace sv {
namespace {

class LutFormTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ResetGlobals();
    image.CreateImage(4, 4, 12, nullptr);
  }
  test::ScriptedHost host;
  Form_Camera image;
};

TEST_F(LutFormTest, ControlsShowTheImage) {
  image.SetLUTtype(3);
  image.LUTmin = 0.125f;
  image.LUTmax = 0.5f;
  image.LUTinverse = true;
  Form_LUT lut(&image);
  EXPECT_EQ(image.LutForm(), &lut);
  EXPECT_EQ(lut.Combo_LUTtype, 3);
  EXPECT_EQ(lut.Text_Min, "12.5");
  EXPECT_EQ(lut.Text_Max, "50");
  EXPECT_TRUE(lut.Check_Inverse);
  EXPECT_EQ(lut.Slider_Min, 125);
  EXPECT_EQ(lut.Slider_Max, 500);
  EXPECT_EQ(Form_LUT::LutTypeNames(),
            (std::vector<std::string>{"White", "Rainbow", "Green", "Orange", "Yellow", "Blue",
                                      "Chart"}));
  // An open dialog follows a new bit depth.
  lut.Visible = true;
  image.LUTmin = 0.25f;
  image.SetImageBitsPerPixel(16);
  EXPECT_EQ(lut.Text_Min, "25");
}

TEST_F(LutFormTest, ApplySetsTheImageAndItsTable) {
  Form_LUT lut(&image);
  const long builds = image.LutBuilds();
  lut.Combo_LUTtype = 1;
  lut.Text_Min = "10";
  lut.Text_Max = "62,5";  // decimal comma
  lut.Check_Inverse = true;
  EXPECT_TRUE(lut.Command_Apply());
  EXPECT_EQ(image.LUTtype(), 1);
  EXPECT_FLOAT_EQ(image.LUTmin, 0.1f);
  EXPECT_FLOAT_EQ(image.LUTmax, 0.625f);
  EXPECT_TRUE(image.LUTinverse);
  EXPECT_EQ(image.LutBuilds(), builds + 1);
  EXPECT_EQ(image.LutTable()[0], 255);
  EXPECT_TRUE(host.messages.empty());
}

TEST_F(LutFormTest, InvalidLimitsAreReportedAndChangeNothing) {
  Form_LUT lut(&image);
  const struct {
    const char *min, *max;
  } bad[] = {{"abc", "50"}, {"10", ""}, {"-5", "50"}, {"10", "101"}, {"60", "40"}, {"30", "30"}};
  for (const auto& b : bad) {
    lut.Text_Min = b.min;
    lut.Text_Max = b.max;
    host.Answer(MsgResult::OK);
    EXPECT_FALSE(lut.Command_Apply()) << b.min << " " << b.max;
    EXPECT_EQ(image.LUTmin, 0.0f);
    EXPECT_EQ(image.LUTmax, 1.0f);
  }
  ASSERT_EQ(host.messages.size(), std::size(bad));
  for (const auto& m : host.messages) EXPECT_EQ(m.title, "LUT");
  EXPECT_EQ(host.messages[0].text, "The lower limit \"abc\" is not a number.");
  EXPECT_EQ(host.messages[3].text, "The limits must lie between 0 and 100 %.");
  EXPECT_EQ(host.messages[4].text, "The lower limit must be below the upper limit.");
}

TEST_F(LutFormTest, LiveChangesAndSlidersWaitQuietlyForValidInput) {
  Form_LUT lut(&image);
  lut.Text_Max = "4";  // the user is typing "40"
  lut.Text_Min = "5";
  EXPECT_FALSE(lut.Change());
  EXPECT_TRUE(host.messages.empty());
  lut.Text_Max = "40 %";
  EXPECT_TRUE(lut.Change());
  EXPECT_FLOAT_EQ(image.LUTmax, 0.4f);

  // Sliders write the texts and apply.
  lut.Text_Min = "12.34";
  lut.Slider_Min = 123;  // stands for the text already: the finer value stays
  lut.Slider_Max = 875;
  EXPECT_TRUE(lut.Slider_Change());
  EXPECT_EQ(lut.Text_Min, "12.34");
  EXPECT_EQ(lut.Text_Max, "87.5");
  EXPECT_FLOAT_EQ(image.LUTmax, 0.875f);
  lut.Slider_Min = 2000;  // clamped
  lut.Slider_Max = 1000;
  EXPECT_FALSE(lut.Slider_Change());  // 100 is not below 100
  EXPECT_EQ(lut.Slider_Min, 1000);
  EXPECT_EQ(lut.Text_Min, "100");
}

TEST_F(LutFormTest, BindingMovesAndEndsCleanly) {
  Form_Camera other;
  other.CreateImage(2, 2, 8, nullptr);
  Form_LUT lut(&image);
  lut.Bind(&other);
  EXPECT_EQ(image.LutForm(), nullptr);
  EXPECT_EQ(other.LutForm(), &lut);
  {
    Form_Camera gone;
    lut.Bind(&gone);
  }
  EXPECT_EQ(lut.Image(), nullptr);  // the image went first
  EXPECT_FALSE(lut.Command_Apply());
  EXPECT_TRUE(host.messages.empty());
}

TEST(LutFormText, PercentTexts) {
  float f = -1.0f;
  EXPECT_TRUE(Form_LUT::ParsePercent(" 12,5 ", f));
  EXPECT_FLOAT_EQ(f, 0.125f);
  EXPECT_TRUE(Form_LUT::ParsePercent("100%", f));
  EXPECT_FLOAT_EQ(f, 1.0f);
  for (const char* bad : {"", "1e999", "5x", "nan"}) EXPECT_FALSE(Form_LUT::ParsePercent(bad, f)) << bad;
  for (auto [v, text] : {std::pair{0.0f, "0"}, {1.0f, "100"}, {0.1f, "10"}, {0.12345f, "12.35"}})
    EXPECT_EQ(Form_LUT::FormatPercent(v), text);
}

}  // namespace
}  // namespace sv
