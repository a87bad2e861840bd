#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <fstream>

#include "fake_devices.h"
#include "hardware/aes_simulator.h"
#include "hardware/energy.h"
#include "hardware/hardware.h"

namespace sv {
namespace {

using test::HardwareTest;

TEST(AESSimulator, StepAndInterpolatedAnswers) {
  Class_AES_Simulator sim;
  std::string message;
  ASSERT_TRUE(sim.ParseSpectrum("100,1\r\n110, 3\n\n 120 ,2.5\n120,9\n130,-1\n", message));
  EXPECT_EQ(sim.Rows(), 5u);
  // Outside the table: 0.
  EXPECT_EQ(sim.GetAESVoltage(99.9f, false), 0);
  EXPECT_EQ(sim.GetAESVoltage(130.1f, true), 0);
  // Off: the voltage of the first row above.
  EXPECT_EQ(sim.GetAESVoltage(100, false), 3);
  EXPECT_EQ(sim.GetAESVoltage(105, false), 3);
  EXPECT_EQ(sim.GetAESVoltage(110, false), 2.5f);
  // On: the straight line to that row.
  EXPECT_FLOAT_EQ(sim.GetAESVoltage(105, true), 2);
  EXPECT_FLOAT_EQ(sim.GetAESVoltage(100, true), 1);
  EXPECT_FLOAT_EQ(sim.GetAESVoltage(125, true), 4);  // from the second 120 row
  EXPECT_EQ(sim.GetAESVoltage(130, true), -1);
}

TEST(AESSimulator, BadTextKeepsTheSpectrumHeld) {
  Class_AES_Simulator sim;
  std::string message;
  ASSERT_TRUE(sim.ParseSpectrum("1,1\n2,2\n", message));
  for (const char* bad : {"1,1\n2;2\n", "1,1\nx,2\n", "1,nan\n", "1,2,3\n", "1,1e39\n", "1,\n"}) {
    EXPECT_FALSE(sim.ParseSpectrum(bad, message)) << bad;
    EXPECT_FALSE(message.empty());
  }
  EXPECT_FALSE(sim.ParseSpectrum("1,1\n2;2\n", message));
  EXPECT_EQ(message, "Line 2 is not an energy and a voltage");
  EXPECT_EQ(sim.Rows(), 2u);
  EXPECT_FALSE(sim.LoadSpectrum("/nonexistent/AES_Spectrum.txt", message));
  EXPECT_EQ(message, "Cannot open /nonexistent/AES_Spectrum.txt");
  EXPECT_EQ(sim.Rows(), 2u);
}

TEST(AESSimulator, FileOfMoreThan32000RowsKeepsTheFirst) {
  const std::string path = testing::TempDir() + "aes_spectrum_long.txt";
  {
    std::ofstream out(path);
    for (int i = 0; i < 32500; ++i) out << i << "," << i * 2 << "\n";
    out << "not a row\n";  // past the limit: never read
  }
  Class_AES_Simulator sim;
  std::string message;
  ASSERT_TRUE(sim.LoadSpectrum(path, message)) << message;
  EXPECT_EQ(sim.Rows(), 32000u);
  EXPECT_EQ(sim.GetAESVoltage(31999, false), 63998);
  EXPECT_EQ(sim.GetAESVoltage(32000, false), 0);
  std::remove(path.c_str());
}

using AESSimulatorBackend = HardwareTest;

// The whole chain: the energy set on the Auger line reaches the simulated
// spectrum through the D/A's voltage; the other channels stay the Dummy's.
TEST_F(AESSimulatorBackend, AugerChannelAnswersTheEnergySetOnTheAugerLine) {
  const std::string path = testing::TempDir() + "aes_spectrum_backend.txt";
  {
    std::ofstream out(path);
    out << "100,1\n200,3\n300,-2\n";
  }
  AESSpectrumFile() = path;
  std::string ad = "AD_Simulator", da = "DummyDA";
  HW().AugerADChannel = 3;
  ASSERT_TRUE(ADStart(ad));
  ASSERT_TRUE(DAStart(da));
  ASSERT_NE(dynamic_cast<Class_AD_Simulator*>(HW().AD.get()), nullptr);
  EXPECT_EQ(DeviceIndex(DeviceKind::AD, "ad_simulator"), 5);

  UseDALine(DALine::AUGER);
  SetEnergy(150, true);
  HW().AugerDerivative = 0;
  EXPECT_NEAR(ReadVoltage(3, false), 3, 1e-4);
  HW().AugerDerivative = 1;
  EXPECT_NEAR(ReadVoltage(3, false), 2, 1e-3);
  SetEnergy(400, true);
  EXPECT_EQ(ReadVoltage(3, false), 0);

  // A later LEED write leaves the Auger energy as it was.
  SetEnergy(250, true);
  UseDALine(DALine::LEED);
  SetEnergy(100, true);
  EXPECT_NEAR(ReadVoltage(3, false), 0.5, 1e-3);

  // Another channel reads the Dummy's sine of the millisecond counter.
  host.clock = 512;
  host.tick = 0;
  EXPECT_NEAR(ReadVoltage(0, false), std::sin(2.0 * 512 / 2047.0 * 3.1415) * 10.0, 2e-3);
  AESSpectrumFile().clear();
  std::remove(path.c_str());
}

TEST_F(AESSimulatorBackend, WithoutASpectrumTheAugerChannelReadsZero) {
  AESSpectrumFile() = testing::TempDir() + "no_such_spectrum.txt";
  std::string ad = "AD_Simulator";
  ASSERT_TRUE(ADStart(ad));
  auto* sim = dynamic_cast<Class_AD_Simulator*>(HW().AD.get());
  ASSERT_NE(sim, nullptr);
  EXPECT_NE(sim->LoadMessage().find("Cannot open "), std::string::npos);
  EXPECT_EQ(ReadVoltage(HW().AugerADChannel, false), 0);
  AESSpectrumFile().clear();
}

}  // namespace
}  // namespace sv
