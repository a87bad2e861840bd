// The calibration dialogs: the two-value limits dialog and its messages, the
// D/A line's fields and test points, and the e-gun's voltage, code and
// wavelength.
#include <gtest/gtest.h>

#include "core/globals.h"
#include "core/settings.h"
#include "hardware/form_calibration.h"
#include "hardware/form_device_setup.h"
#include "hardware/form_egun.h"
#include "hardware/form_fakes.h"

namespace sv {
namespace {

using dialog_test::DialogHost;
using dialog_test::DialogDA;

TEST(FormDefineLimits, MessagesAndValues) {
  struct Case {
    const char* min;
    const char* max;
    const char* message;  // "" when OK takes the values
    double lo, hi;
  };
  const Case cases[] = {
      {"10", "500", "", 10, 500},
      {" 0,5 ", "1639", "", 0.5, 1639},
      {"30000", "30000", "Min. value must be less than Max. value", 0, 1639},
      {"700", "600", "Min. value must be less than Max. value", 0, 1639},
      {"-1", "600", "Min. value is out of Range (0 ... 30000)", 0, 1639},
      {"abc", "600", "Min. value is out of Range (0 ... 30000)", 0, 1639},
      {"0", "30001", "Max. value is out of Range (0 ... 30000)", 0, 1639},
      {"0", "", "Max. value is out of Range (0 ... 30000)", 0, 1639},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.min) + " / " + c.max);
    DialogHost host;
    ResetGlobals();
    Form_DefineLimits f;
    f.SetAugerMesh();
    f.Load();
    EXPECT_EQ(f.Text_Min, "0");
    EXPECT_EQ(f.Text_Max, "1639");
    f.Text_Min = c.min;
    f.Text_Max = c.max;
    if (*c.message) host.Answer(MsgResult::OK);
    EXPECT_EQ(f.Command_OK(), *c.message == 0);
    EXPECT_EQ(f.ok, *c.message == 0);
    if (*c.message) {
      ASSERT_EQ(host.messages.size(), 1u);
      EXPECT_EQ(host.messages[0].text, c.message);
      EXPECT_EQ(host.messages[0].title, "Define Auger Mesh Energy Limits");
    }
    EXPECT_DOUBLE_EQ(f.MinValue, c.lo);
    EXPECT_DOUBLE_EQ(f.MaxValue, c.hi);
  }
}

TEST(FormDefineLimits, AugerMeshSetAndDefaults) {
  DialogHost host;
  ResetGlobals();
  G().MinEnergyAUGER = 20;
  G().MaxEnergyAUGER = 900;
  Form_DefineLimits f;
  f.SetAugerMesh();
  EXPECT_EQ(f.Caption, "Define Auger Mesh Energy Limits");
  EXPECT_EQ(f.MinCaption, "Min. Mesh Energy:");
  EXPECT_EQ(f.MaxCaption, "Max. Mesh Energy:");
  EXPECT_EQ(f.MinUnit + f.MaxUnit, "eVeV");
  EXPECT_EQ(f.MinAbsolut, 0);
  EXPECT_EQ(f.MaxAbsolut, 30000);
  f.Load();
  EXPECT_EQ(f.Text_Min + "/" + f.Text_Max, "20/900");
  f.Command_Default();
  EXPECT_EQ(f.Text_Min + "/" + f.Text_Max, "0/1639");
}

// A view that types new limits and presses OK in the modal dialog.
class TypingView : public Form_DASetup::View {
 public:
  std::string min, max;
  void ShowLimits(Form_DefineLimits& f) override {
    f.Text_Min = min;
    f.Text_Max = max;
    f.Command_OK();
  }
};

TEST(FormDASetup, EditLimitsKeepsThemInTheUserStore) {
  DialogHost host;
  dialog_test::FreshDevices();
  TypingView view;
  view.min = "5";
  view.max = "1500";
  Form_DASetup f;
  f.SetView(&view);
  f.Load();
  f.Command_EditAUGER();
  EXPECT_FLOAT_EQ(G().MinEnergyAUGER, 5);
  EXPECT_FLOAT_EQ(G().MaxEnergyAUGER, 1500);
  const std::string app = UserStoreApp(host.exeName, false);
  EXPECT_EQ(host.store.GetSetting(app, "eGun", "MaxEnergyAUGER", ""), "1500");
  EXPECT_EQ(f.Label_EnergyRangeAUGER.substr(0, 17), "5.0 ... 1500.0 eV");
  // A refused value leaves the limits alone.
  view.min = "2000";
  host.Answer(MsgResult::OK);
  f.Command_EditLEED();
  EXPECT_FLOAT_EQ(G().MaxEnergyLEED, 1000);
}

TEST(FormDACalibration, DefaultsShowTestPointsInTheirFormats) {
  struct Case {
    DALine mode;
    float upper;
    const char *caption, *label, *gain, *v1, *v2, *e1, *e2;
  };
  const Case cases[] = {
      {DALine::LEED, 10, "LEED / RHEED D/A Calibration", " D/A-Voltage <-> LEED / RHEED Energy",
       "0.01000000", "0.500000", "4.500000", "50.000", "450.000"},
      {DALine::AUGER, 5, "Auger D/A Calibration", " D/A-Voltage <-> Auger Mesh Energy",
       "0.00305064", "0.250000", "2.250000", "81.950", "737.550"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.caption);
    DialogHost host;
    dialog_test::FreshDevices();
    HW().GainLEED = HW().GainAUGER = 0.5f;
    HW().OffsetLEED = HW().OffsetAUGER = 1;
    Form_DACalibration f;
    f.Load(c.mode, c.upper);
    EXPECT_EQ(f.Caption, c.caption);
    EXPECT_EQ(f.Text_Gain, "0.50000000");
    EXPECT_EQ(f.Text_Offset, "1.000000");
    f.Command_Default();
    EXPECT_EQ(f.Text_Offset, "0.000000");
    EXPECT_EQ(f.Text_Gain, c.gain);
    EXPECT_EQ(f.Text_Voltage[0], c.v1);
    EXPECT_EQ(f.Text_Voltage[1], c.v2);
    EXPECT_EQ(f.Text_Energy[0], c.e1);
    EXPECT_EQ(f.Text_Energy[1], c.e2);
    EXPECT_EQ(f.Picture_Cal.label, c.label);
    EXPECT_DOUBLE_EQ(f.Picture_Cal.v1, 0);
    EXPECT_NEAR(f.Picture_Cal.v2, f.Gain * f.Picture_Cal.e2, 1e-6);
    // Nothing is kept until OK.
    EXPECT_FLOAT_EQ(c.mode == DALine::LEED ? HW().GainLEED : HW().GainAUGER, 0.5f);
    EXPECT_TRUE(f.Command_OK());
    EXPECT_FLOAT_EQ(c.mode == DALine::LEED ? HW().GainLEED : HW().GainAUGER, f.Gain);
    EXPECT_FLOAT_EQ(c.mode == DALine::LEED ? HW().OffsetLEED : HW().OffsetAUGER, 0);
  }
}

TEST(FormDACalibration, FieldsFollowTheLine) {
  DialogHost host;
  dialog_test::FreshDevices();
  Form_DACalibration f;
  f.Load(DALine::LEED, 10);
  f.Text_Energy[0] = "100,5";
  f.Text_Energy_Change(0);
  EXPECT_EQ(f.Text_Voltage[0], "1.005000");
  f.Text_Voltage[1] = "2";
  f.Text_Voltage_Change(1);
  EXPECT_EQ(f.Text_Energy[1], "200.000");
  // Energies fixed: a new gain moves the voltages.
  f.Option_Voltage = false;
  f.Text_Gain = "0,02";
  f.Text_Offset = "0.5";
  EXPECT_TRUE(f.Command_Accept());
  EXPECT_EQ(f.Text_Voltage[0], "2.510000");
  EXPECT_EQ(f.Text_Energy[1], "200.000");
  // Voltages fixed: the energies move.
  f.Option_Voltage = true;
  f.Text_Gain = "0.01";
  EXPECT_TRUE(f.Command_Accept());
  EXPECT_EQ(f.Text_Voltage[1], "4.500000");
  EXPECT_EQ(f.Text_Energy[1], "400.000");
  // A gain of 0 is refused and nothing changes.
  f.Text_Gain = "0";
  host.Answer(MsgResult::OK);
  EXPECT_FALSE(f.Command_OK());
  EXPECT_EQ(host.messages.size(), 1u);
  EXPECT_FLOAT_EQ(HW().GainLEED, 0.01f);
}

TEST(FormEGun, VoltageCodeAndWavelength) {
  struct Case {
    float low, high;
    const char *typed, *voltage, *code, *lambda;
    float energy;
  };
  const Case cases[] = {
      {-10, 10, "150", "1.500 V", "0x9333", "1.001 \u00C5", 150},
      {0, 10, "150,0", "1.500 V", "0x2666", "1.001 \u00C5", 150},
      {0, 10, "5000", "10.000 V", "0xFFFF", "0.388 \u00C5", 1000},  // held at the upper limit
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.typed);
    DialogHost host;
    DialogDA* da = nullptr;
    dialog_test::FreshDevices(nullptr, &da);
    da->low = c.low;
    da->high = c.high;
    HW().GainLEED = 0.01f;
    HW().OffsetLEED = 0;
    Form_eGun f;
    f.Load();
    f.Text_Energy = c.typed;
    f.MySetEnergy();
    EXPECT_EQ(f.Label_Voltage, c.voltage);
    EXPECT_EQ(f.Label_DAC, c.code);
    EXPECT_EQ(f.Label_Lambda, c.lambda);
    EXPECT_EQ(f.Label_DACNb, "1 (DA_1)");
    EXPECT_FLOAT_EQ(G().ElectronEnergy, c.energy);
    EXPECT_EQ(f.HScroll_Energy, int(c.energy));
    ASSERT_FALSE(da->sent.empty());
    EXPECT_NEAR(da->sent.back().second, c.energy * 0.01f, 1e-5);
  }
}

TEST(FormEGun, ModesAndBrokenInput) {
  DialogHost host;
  DialogDA* da = nullptr;
  dialog_test::FreshDevices(nullptr, &da);
  G().ElectronEnergy = 80;
  Form_eGun f;
  f.Load();
  EXPECT_EQ(f.Text_Energy, "80.0");
  EXPECT_EQ(f.Label_minEnergy + " / " + f.Label_maxEnergy, "0.0 eV / 1000.0 eV");
  f.Text_Energy = "fast";
  EXPECT_FALSE(f.MySetEnergy());
  EXPECT_EQ(f.Text_Energy, "80.0");
  // Voltage mode: the scroll bar runs in 1/100 V over the D/A range.
  f.Option_Mode = kEGunModeVoltage;
  f.Option_Mode_Click();
  EXPECT_EQ(f.Text_Energy, "0.800");
  EXPECT_EQ(f.HScroll_Min, -1000);
  EXPECT_EQ(f.HScroll_Max, 1000);
  f.HScroll_Energy = 250;
  f.HScroll_Energy_Change();
  EXPECT_FLOAT_EQ(G().ElectronEnergy, 250);
  EXPECT_FLOAT_EQ(da->sent.back().second, 2.5f);
  // Off: the line goes to 0 V, the energy stays in the dialog.
  f.Check_On = false;
  f.Check_On_Click();
  EXPECT_FLOAT_EQ(da->sent.back().second, 0);
  EXPECT_FLOAT_EQ(f.Energy(), 250);
}

}  // namespace
}  // namespace sv
