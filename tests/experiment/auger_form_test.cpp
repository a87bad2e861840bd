// The Auger dialog's editing: checks in order, titles, total time, files.
#include <gtest/gtest.h>

#include <fstream>

#include "core/globals.h"
#include "experiment/form_auger.h"
#include "support/scripted_host.h"

namespace sv {
namespace {

class AugerFormTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ResetGlobals();
    G().MinEnergyAUGER = 5;
    G().MaxEnergyAUGER = 1000;
  }
  void TearDown() override { ResetGlobals(); }
  test::ScriptedHost host;
};

TEST_F(AugerFormTest, SweepChecksInOrderWithTheFocus) {
  Form_Auger f;
  EXPECT_EQ(f.Caption, "Auger - [(default)]");
  struct Case {
    const char *start, *stop, *step, *intTime, *focus;
  } cases[] = {{"4", "x", "0", "0", "Text_Start"},       {"5", "1001", "0", "0", "Text_Stop"},
               {"5", "1000", "0", "0", "Text_Step"},     {"5", "1000", "1000.5", "0", "Text_Step"},
               {"5", "1000", "1", "0.0009", "Text_IntTime"}, {"5", "1000", "1", "abc", "Text_IntTime"}};
  for (const Case& c : cases) {
    f.Text_Start = c.start, f.Text_Stop = c.stop, f.Text_Step = c.step, f.Text_IntTime = c.intTime;
    host.Answer(MsgResult::OK);
    EXPECT_FALSE(f.AddSweep()) << c.focus;
    EXPECT_EQ(f.Focus, c.focus);
  }
  ASSERT_EQ(host.messages.size(), 6u);
  EXPECT_EQ(host.messages[0].text, "Invalid Parameter");
  EXPECT_EQ(host.messages[0].title, "Auger");
  EXPECT_TRUE(f.Ramp().Sweeps.empty());
  EXPECT_FALSE(f.Changed());

  f.Text_Start = "100", f.Text_Stop = "200", f.Text_Step = "0.5", f.Text_IntTime = "0.1";
  ASSERT_TRUE(f.AddSweep());
  EXPECT_TRUE(f.Changed());
  EXPECT_EQ(f.Caption, "Auger Control [(untitled)]");
  EXPECT_EQ(f.List_Sweep.size(), 1u);
  // 201 points of 0.1 s.
  EXPECT_EQ(f.Label_Status, "Total Scan Time = 20.1 s (Time per Iteration = 20.1 s)");
  f.Text_Delay = "0.4";
  f.Text_Iterations = "3";
  ASSERT_TRUE(f.AcceptGeneral());
  EXPECT_EQ(f.Label_Status, "Total Scan Time = 5 min 01.5 s (Time per Iteration = 1 min 40.5 s)");
  for (const char* bad : {"0", "101", "1.5", ""}) {
    f.Text_Iterations = bad;
    host.Answer(MsgResult::OK);
    EXPECT_FALSE(f.AcceptGeneral()) << bad;
    EXPECT_EQ(f.Focus, "Text_Iterations");
  }
  EXPECT_EQ(f.Ramp().Iterations, 3);
}

TEST_F(AugerFormTest, SaveLoadAndARefusedFile) {
  Form_Auger f;
  f.Text_Start = "900", f.Text_Stop = "300", f.Text_Step = "2", f.Text_IntTime = "0.02";
  ASSERT_TRUE(f.AddSweep());
  const std::string path = host.root + "/ramp.rmp";
  ASSERT_TRUE(f.SaveRamp(path));
  EXPECT_FALSE(f.Changed());
  EXPECT_EQ(f.Caption, "Auger Control [ramp.rmp]");

  Form_Auger g;
  ASSERT_TRUE(g.LoadRamp(path));
  EXPECT_EQ(host.status.front(), "Load Auger File...(" + path + "\")");
  ASSERT_EQ(g.Ramp().Sweeps.size(), 1u);
  EXPECT_EQ(g.Ramp().Sweeps[0].From, 900);
  EXPECT_EQ(g.Text_Start, "900.0");
  EXPECT_EQ(g.Label_Status, f.Label_Status);

  std::ofstream(host.root + "/v2.rmp") << "[SV4200 Auger Ramp File]\nVersion=2\n";
  host.Answer(MsgResult::OK);
  EXPECT_FALSE(g.LoadRamp(host.root + "/v2.rmp"));
  EXPECT_EQ(host.messages.back().text, "Invalid File Format");
  EXPECT_EQ(g.Ramp().Sweeps.size(), 1u);  // the ramp held stays
  EXPECT_EQ(g.Filename(), path);
}

}  // namespace
}  // namespace sv

namespace sv {
namespace {

// The default ramp, its printed page and the recent files (four, newest
// first, a name already there moved up whatever its case).
TEST(AugerFormExtras, DefaultRampPrintAndRecentFiles) {
  test::ScriptedHost host;
  Form_Auger form;
  form.DefaultRamp();
  ASSERT_EQ(form.Ramp().Sweeps.size(), 1u);
  EXPECT_FLOAT_EQ(form.Ramp().Sweeps[0].From, 100.0f);
  EXPECT_FLOAT_EQ(form.Ramp().Sweeps[0].To, 1000.0f);
  EXPECT_FALSE(form.Changed());
  EXPECT_EQ(form.Caption, "Auger - [(default)]");

  std::string printedTitle, printedText;
  AugerPrintHook() = [&](const std::string& title, const std::string& text) {
    printedTitle = title;
    printedText = text;
  };
  const std::string page = form.PrintAugerRamp();
  AugerPrintHook() = nullptr;
  EXPECT_EQ(printedTitle, form.Caption);
  EXPECT_EQ(printedText, page);
  EXPECT_NE(page.find("Iterations: 1"), std::string::npos);
  EXPECT_NE(page.find("Sweep #1: "), std::string::npos);
  EXPECT_NE(page.find("Total Scan Time = "), std::string::npos);

  const std::string dir = ::testing::TempDir();
  for (const char* name : {"a.rmp", "b.rmp", "c.rmp", "d.rmp", "e.rmp"})
    ASSERT_TRUE(form.SaveRamp(dir + name));
  ASSERT_TRUE(form.LoadRamp(dir + "c.rmp"));
  const std::vector<std::string> expected = {dir + "c.rmp", dir + "e.rmp", dir + "d.rmp", dir + "b.rmp"};
  EXPECT_EQ(form.RecentFiles, expected);
}

}  // namespace
}  // namespace sv

namespace sv {
namespace {

// Ramp files are chosen through the host's dialogs; a saved name without an
// extension gets ".rmp", a cancel gives "".
TEST(AugerFormExtras, RampDialogsGoThroughTheHost) {
  test::ScriptedHost host;
  Form_Auger form;
  host.AnswerFile("/data/ramps/scan");
  EXPECT_EQ(form.GetSaveRampFilename(), "/data/ramps/scan.rmp");
  host.AnswerFile("/data/ramps/old.rmp");
  EXPECT_EQ(form.GetOpenRampFilename(), "/data/ramps/old.rmp");
  host.AnswerFile("");
  EXPECT_EQ(form.GetOpenRampFilename(), "");
  ASSERT_EQ(host.fileDialogs.size(), 3u);
  EXPECT_EQ(host.fileDialogs[0].title, "Save Ramp");
  EXPECT_EQ(host.fileDialogs[1].title, "Open Ramp");
  EXPECT_NE(host.fileDialogs[1].filter.find("*.rmp"), std::string::npos);
}

}  // namespace
}  // namespace sv
