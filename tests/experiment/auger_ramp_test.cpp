#include <gtest/gtest.h>

#include "experiment/auger_ramp.h"

namespace sv {
namespace {

const AugerLimits kLimits{0, 1639};

AugerSweep Sweep(float from, float to, float step, float fast, float normal, float exact) {
  AugerSweep s;
  s.From = from, s.To = to, s.Step = step;
  s.IntTime[0] = fast, s.IntTime[1] = normal, s.IntTime[2] = exact;
  return s;
}

std::string Head(int sweeps, const char* general = "Iterations=3\r\nDelay=0.5\r\nProfile=2\r\n") {
  return "[SV4200 Auger Ramp File]\r\nVersion=1\r\n\r\n[General]\r\n" + std::string(general) +
         "SweepCount=" + std::to_string(sweeps) + "\r\n\r\n";
}

TEST(AugerRamp, TextLineByLineAndRoundTrip) {
  AugerRamp r;
  r.Iterations = 3;
  r.Profile = 2;
  r.Delay = 0.25f;
  r.Sweeps = {Sweep(100, 200, 0.5f, 0.01f, 0.1f, 1.5f), Sweep(900, 300, 2, 0.002f, 0.02f, 0.2f)};
  const std::string text = AugerRampText(r);
  const std::string head =
            "[SV4200 Auger Ramp File]\r\nVersion=1\r\n\r\n[General]\r\nIterations=3\r\nSweepCount=2\r\n"
            "Delay=0.25\r\nProfile=2\r\n\r\n[Sweep(1)]\r\n";
  EXPECT_EQ(text.substr(0, head.size()), head);
  EXPECT_NE(text.find("[Sweep(2)]\r\nFrom=900\r\nTo=300\r\nStep=2\r\nIntTime(Fast)=0.002\r\n"
                      "IntTime(Normal)=0.02\r\nIntTime(Exact)=0.2\r\n\r\n[EOF]\r\n"),
            std::string::npos);

  AugerRamp back;
  std::vector<std::string> status;
  ASSERT_TRUE(ReadAugerRampText(text, kLimits, back, status));
  EXPECT_TRUE(status.empty());
  EXPECT_EQ(back.Iterations, 3);
  EXPECT_EQ(back.Profile, 2);
  EXPECT_FLOAT_EQ(back.Delay, 0.25f);
  ASSERT_EQ(back.Sweeps.size(), 2u);
  EXPECT_EQ(back.Sweeps[1].From, 900);
  EXPECT_EQ(back.Sweeps[1].To, 300);
  EXPECT_EQ(back.Sweeps[0].IntTime[2], 1.5f);
  EXPECT_EQ(AugerRampText(back), text);
}

TEST(AugerRamp, RefusedFilesLeaveTheRampHeld) {
  AugerRamp held;
  held.Sweeps = {Sweep(1, 2, 1, 1, 1, 1)};
  held.Iterations = 7;
  std::vector<std::string> status;
  std::string v2 = Head(1);
  v2.replace(v2.find("Version=1"), 9, "Version=2");
  EXPECT_FALSE(ReadAugerRampText(v2, kLimits, held, status));
  EXPECT_FALSE(ReadAugerRampText("", kLimits, held, status));
  EXPECT_FALSE(ReadAugerRampText("garbage\n\x01\x02", kLimits, held, status));
  EXPECT_FALSE(ReadAugerRampText(Head(-1), kLimits, held, status));
  EXPECT_EQ(held.Sweeps.size(), 1u);
  EXPECT_EQ(held.Iterations, 7);
  // No sweeps is a valid, empty ramp.
  ASSERT_TRUE(ReadAugerRampText(Head(0), kLimits, held, status));
  EXPECT_TRUE(held.Sweeps.empty());
}

TEST(AugerRamp, RepairsFieldsAndGeneralValues) {
  const std::string text =
      Head(3, "Iterations=101\r\nDelay=-2\r\nProfile=3\r\n") +
      "[Sweep(1)]\r\nFrom=-5\r\nTo=2000\r\nStep=0\r\nIntTime(Fast)=0\r\nIntTime(Normal)=1000\r\n"
      "IntTime(Exact)=abc\r\n\r\n"
      "[Sweep(2)]\r\nFrom=10\r\nTo=20\r\nStep=1\r\nIntTime(Fast)=0.1\r\nIntTime(Normal)=0.1\r\n"
      "IntTime(Exact)=0.1\r\n\r\n"
      "[Sweep(3)]\r\nFrom=nan\r\nTo=20\r\nStep=5000\r\nIntTime(Fast)=0.1\r\nIntTime(Normal)=0.1\r\n"
      "IntTime(Exact)=0.1\r\n\r\n[EOF]\r\n";
  AugerRamp r;
  std::vector<std::string> status;
  ASSERT_TRUE(ReadAugerRampText(text, kLimits, r, status));
  EXPECT_EQ(r.Iterations, 1);
  EXPECT_EQ(r.Profile, 1);
  EXPECT_EQ(r.Delay, 0);
  ASSERT_EQ(r.Sweeps.size(), 3u);
  const AugerSweep& a = r.Sweeps[0];
  EXPECT_EQ(a.From, 0);
  EXPECT_EQ(a.To, 1639);
  EXPECT_FLOAT_EQ(a.Step, 0.1f);
  EXPECT_FLOAT_EQ(a.IntTime[0], 0.001f);
  EXPECT_FLOAT_EQ(a.IntTime[1], 999.9f);
  EXPECT_FLOAT_EQ(a.IntTime[2], 0.001f);
  EXPECT_EQ(r.Sweeps[2].From, 0);  // not a number reads as 0
  EXPECT_EQ(r.Sweeps[2].Step, 1639);
  EXPECT_EQ(status, (std::vector<std::string>{"Sweep #1 repaired!", "Sweep #3 repaired!"}));
}

TEST(AugerRamp, SweepCountAbove100ReadsTheFirst100) {
  std::string text = Head(101);
  for (int i = 1; i <= 101; ++i)
    text += "[Sweep(" + std::to_string(i) + ")]\r\nFrom=" + std::to_string(i) +
            "\r\nTo=200\r\nStep=1\r\nIntTime(Fast)=0.1\r\nIntTime(Normal)=0.1\r\nIntTime(Exact)=0.1\r\n";
  AugerRamp r;
  std::vector<std::string> status;
  ASSERT_TRUE(ReadAugerRampText(text, kLimits, r, status));
  ASSERT_EQ(r.Sweeps.size(), 100u);
  EXPECT_EQ(r.Sweeps.back().From, 100);
}

TEST(AugerRamp, EditChecksInOrder) {
  const AugerLimits lim{5, 1000};
  EXPECT_EQ(CheckAugerSweep(Sweep(4, 2000, 0, 0, 0, 0), 0, lim), "Text_Start");
  EXPECT_EQ(CheckAugerSweep(Sweep(5, 2000, 0, 0, 0, 0), 0, lim), "Text_Stop");
  EXPECT_EQ(CheckAugerSweep(Sweep(5, 1000, 0, 0, 0, 0), 0, lim), "Text_Step");
  EXPECT_EQ(CheckAugerSweep(Sweep(5, 1000, 1001, 0, 0, 0), 0, lim), "Text_Step");
  EXPECT_EQ(CheckAugerSweep(Sweep(5, 1000, 1000, 0, 0, 0), 0.0009f, lim), "Text_IntTime");
  EXPECT_EQ(CheckAugerSweep(Sweep(5, 1000, 1000, 0, 0, 0), 1000, lim), "Text_IntTime");
  EXPECT_EQ(CheckAugerSweep(Sweep(1000, 5, 1000, 0, 0, 0), 999.9f, lim), "");
}

TEST(AugerRamp, TotalTime) {
  AugerRamp r;
  r.Profile = 0;
  r.Delay = 0.5f;
  r.Iterations = 3;
  // Rising: |200-100|/0.3 = 333.3 -> 334 points; falling walks the same way.
  r.Sweeps = {Sweep(100, 200, 0.3f, 0.5f, 9, 9), Sweep(200, 100, 50, 1.5f, 9, 9)};
  EXPECT_EQ(AugerSweepPoints(r.Sweeps[0]), 334);
  EXPECT_EQ(AugerSweepPoints(r.Sweeps[1]), 3);
  EXPECT_EQ(AugerSweepPoints(Sweep(100, 110, 50, 1, 1, 1)), 1);  // a step past the sweep
  EXPECT_EQ(AugerSweepPoints(Sweep(100, 110, 0, 1, 1, 1)), 0);
  EXPECT_DOUBLE_EQ(AugerIterationTime(r), 334 * 1.0 + 3 * 2.0);
  EXPECT_EQ(AugerTotalTimeText(r), "Total Scan Time = 17 min 00.0 s (Time per Iteration = 5 min 40.0 s)");
  EXPECT_EQ(AugerTimeText(3723.46), "1 h 02 min 03.5 s");
  EXPECT_EQ(AugerTimeText(0.04), "0.0 s");
}

}  // namespace
}  // namespace sv
