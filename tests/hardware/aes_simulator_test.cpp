#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>

#include "hardware/aes_simulator.h"

namespace sv {
namespace {

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

}  // namespace
}  // namespace sv
