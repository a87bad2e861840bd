// The device setup dialogs: the A/D two-point calibration as a dialogue of
// boxes, the live reading, and the restart note of a changed interface.
#include <gtest/gtest.h>

#include <functional>
#include <optional>

#include "core/globals.h"
#include "hardware/form_device_setup.h"
#include "hardware/form_fakes.h"

namespace sv {
namespace {

using dialog_test::DialogHost;
using dialog_test::DialogAD;

struct CalibrationCase {
  const char* name;
  std::vector<std::optional<std::string>> inputs;
  std::deque<float> volts;  // after the dialog loaded
  std::vector<MsgResult> answers;
  std::vector<std::string> messages;
  float gain, offset;  // afterwards; 2 and 0.7 when unchanged
};

TEST(FormADSetup, CalibrationDialogue) {
  const std::vector<CalibrationCase> cases = {
      {"two points", {"2", "1,0", " 4.5 "}, {0.3f, 0.25f, 4.0f, 2.25f}, {MsgResult::OK},
       {"Current calibration values:\r\nGain = 1.75000000\r\nOffset = 0.562500"}, 1.75f, 0.5625f},
      {"empty answer resets", {""}, {0}, {MsgResult::Yes, MsgResult::OK},
       {"Reset to Default values?", "Current calibration values:\r\nGain = 1.00000000\r\nOffset = 0.000000"},
       1, 0},
      {"cancel, no reset", {std::nullopt}, {0}, {MsgResult::No}, {"Reset to Default values?"}, 2, 0.7f},
      {"equal readings", {"1", "0.5", "4"}, {1}, {MsgResult::OK}, {"Calibration Error"}, 2, 0.7f},
      {"cancel at step 2", {"1", "0.5", std::nullopt}, {1}, {}, {}, 2, 0.7f},
      {"channel out of range", {"9"}, {0}, {MsgResult::OK}, {"Invalid channel number."}, 2, 0.7f},
      {"broken voltage", {"1", "volts"}, {0}, {}, {}, 2, 0.7f},
  };
  for (const CalibrationCase& c : cases) {
    SCOPED_TRACE(c.name);
    DialogHost host;
    DialogAD* ad = nullptr;
    dialog_test::FreshDevices(&ad);
    HW().ADGain = 2;
    HW().ADOffset = 0.7f;
    Form_ADSetup form;
    form.Load();
    ad->volts = c.volts;
    ad->read.clear();
    for (const auto& in : c.inputs) host.AnswerInput(in);
    for (MsgResult r : c.answers) host.Answer(r);
    form.Command_Calibration();
    form.Command_Cancel();
    EXPECT_EQ(host.MessageTexts(), c.messages);
    EXPECT_FLOAT_EQ(HW().ADGain, c.gain);
    EXPECT_FLOAT_EQ(HW().ADOffset, c.offset);
    ASSERT_FALSE(host.asked.empty());
    EXPECT_EQ(host.asked[0].prompt, "Select channel number (1...8):");
    EXPECT_EQ(host.asked[0].title, "A/D Calibration");
    EXPECT_EQ(host.asked[0].def, "1");
    for (const auto& m : host.messages) EXPECT_EQ(m.title, "A/D Calibration");
  }
}

TEST(FormADSetup, CalibrationStepsNameTheChannelAndProposeTheReading) {
  DialogHost host;
  DialogAD* ad = nullptr;
  dialog_test::FreshDevices(&ad);
  Form_ADSetup form;
  form.Load();
  ad->volts = {0.3f, 0.25f, 4.0f, 2.25f};
  ad->read.clear();
  for (const char* in : {"2", "1", "4.5"}) host.AnswerInput(std::string(in));
  host.Answer(MsgResult::OK);
  form.Command_Calibration();
  form.Command_Cancel();
  ASSERT_EQ(host.asked.size(), 3u);
  EXPECT_EQ(host.asked[1].title, "A/D Calibration: Step 1");
  EXPECT_EQ(host.asked[1].prompt,
            "* Connect a voltage less than 1 V to A/D channel CH2\r\n"
            "* Input the correct value (V) of the supplied voltage\r\n* Press OK");
  EXPECT_EQ(host.asked[1].def, "0.300000");
  EXPECT_EQ(host.asked[2].title, "A/D Calibration: Step 2");
  EXPECT_NE(host.asked[2].prompt.find("higher than 3 V to A/D channel CH2"), std::string::npos);
  EXPECT_EQ(host.asked[2].def, "4.000000");
  EXPECT_EQ(ad->read, (std::vector<long>{1, 1, 1, 1}));
}

TEST(FormADSetup, TimerShowsReadingsUntilClosed) {
  DialogHost host;
  DialogAD* ad = nullptr;
  dialog_test::FreshDevices(&ad);
  HW().ADGain = 2;
  HW().ADOffset = 1;
  Form_ADSetup form;
  form.Load();
  EXPECT_EQ(host.RunningTimers(), 1u);
  EXPECT_EQ(form.ChannelCount, 8);
  EXPECT_EQ(form.Text_Label[2], "AD_3");
  ad->volts = {0.5f};
  host.FireTimers();
  EXPECT_EQ(form.Label_Voltage[0], "0.500 V");
  form.Check_Calibration = true;
  host.FireTimers();
  EXPECT_EQ(form.Label_Voltage[7], "2.000 V");
  form.Option_Display = 1;
  host.FireTimers();
  EXPECT_EQ(form.Label_Voltage[0], "1234");
  form.Command_Cancel();
  EXPECT_EQ(host.RunningTimers(), 0u);
}

TEST(FormDeviceSetup, ChangedInterfaceNeedsRestart) {
  struct Kind {
    const char* name;
    std::string Globals::*stored;
    std::function<int(int change)> run;  // change the name by `change` rows, press OK
  };
  const std::vector<Kind> kinds = {
      {"A/D", &Globals::ADName,
       [](int change) {
         Form_ADSetup f;
         f.Load();
         f.Combo_Name += change;
         EXPECT_TRUE(f.Command_OK());
         return f.Combo_Name;
       }},
      {"D/A", &Globals::DAName,
       [](int change) {
         Form_DASetup f;
         f.Load();
         f.Combo_Name += change;
         EXPECT_TRUE(f.Command_OK());
         return f.Combo_Name;
       }},
      {"I/O", &Globals::IOName,
       [](int change) {
         Form_IOSetup f;
         f.Load();
         f.Combo_Name += change;
         EXPECT_TRUE(f.Command_OK());
         return f.Combo_Name;
       }},
  };
  const DeviceKind kindOf[] = {DeviceKind::AD, DeviceKind::DA, DeviceKind::IO};
  for (size_t k = 0; k < kinds.size(); ++k) {
    SCOPED_TRACE(kinds[k].name);
    {
      DialogHost host;
      dialog_test::FreshDevices();
      G().*kinds[k].stored = "Mystery";  // not in the table: row 0, kept
      kinds[k].run(0);
      EXPECT_TRUE(host.messages.empty());
      EXPECT_EQ(G().*kinds[k].stored, "Mystery");
    }
    {
      DialogHost host;
      dialog_test::FreshDevices();
      host.Answer(MsgResult::OK);
      const int row = kinds[k].run(1);
      EXPECT_EQ(host.MessageTexts(), std::vector<std::string>{"You must Restart SV4200"});
      EXPECT_EQ(G().*kinds[k].stored, DeviceTable(kindOf[k])[row].LoadName);
    }
  }
}

}  // namespace
}  // namespace sv
