// The run time's states: design, run and break, and the commands that move
// between them, driven by a host whose event pump presses menus.
#include <gtest/gtest.h>

#include <functional>
#include <map>

#include "core/globals.h"
#include "core/mdi_main.h"
#include "image/form_camera.h"
#include "script/form_script.h"
#include "script/script_runtime.h"
#include "support/scripted_host.h"

namespace sv {
namespace {

// A host whose n-th pump (from 1) runs an action: a menu pressed while the
// script runs.
class PumpHost : public test::ScriptedHost {
 public:
  void DoEvents() override {
    ++doEvents;
    auto it = onPump.find(doEvents);
    if (it != onPump.end()) {
      auto action = it->second;
      onPump.erase(it);
      action();
    }
  }
  std::map<int, std::function<void()>> onPump;
};

class ScriptRunTimeTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ResetGlobals();
    SetMainForm(&main);
    RegisterImageDocuments(main);
    host.lenient = true;
    form.Load();
  }
  void TearDown() override { SetMainForm(nullptr); }

  int Run(const std::string& text) {
    form.SetEditorText(text);
    int result = -1;
    run.RunScript(result);
    return result;
  }
  int Continue() {
    int result = -1;
    run.RunScript(result);
    return result;
  }
  bool InDesign() const {
    return form.Caption == "Script [design]" && form.ProgramCounter == -1;
  }
  bool InBreak() const { return form.Caption == "Script [break]"; }

  PumpHost host;
  MDIForm_Main main;
  Form_Script form;
  ScriptRunTime run{form};
};

TEST_F(ScriptRunTimeTest, CommentsOnlyEndInDesign) {
  EXPECT_EQ(Run("// one\r\n\r\n//two\r\nDim a\r\na = 5\r\na = \"text\""), 1);
  EXPECT_TRUE(InDesign());
  EXPECT_EQ(run.StatementsRun, 6);
  EXPECT_TRUE(form.MenuOn("mnuStart"));
  EXPECT_EQ(form.FindMenu("mnuStart")->caption, "&Run");
  EXPECT_FALSE(form.MenuOn("mnuBreak"));
  EXPECT_FALSE(form.MenuOn("mnuEnd"));
  EXPECT_FALSE(form.MenuOn("mnuReStart"));
  EXPECT_TRUE(form.MenuOn("mnuFile") && form.MenuOn("mnuRun") && form.MenuOn("mnuDEBUG"));
  EXPECT_TRUE(host.messages.empty());
  // The pump runs before every statement.
  EXPECT_GE(host.doEvents, 6);
  EXPECT_TRUE(form.Visible());
  EXPECT_TRUE(form.Picture_Script_Visible);
}

TEST_F(ScriptRunTimeTest, StopBreaksAndContinueGoesOnAtTheNextLine) {
  EXPECT_EQ(Run("// a\r\nStop\r\n// b\r\nStop\r\n// c"), 1);
  EXPECT_TRUE(InBreak());
  EXPECT_EQ(form.ProgramCounter, 1);
  EXPECT_EQ(run.StatementsRun, 2);
  EXPECT_EQ(form.FindMenu("mnuStart")->caption, "&Continue");
  EXPECT_TRUE(form.MenuOn("mnuStart"));
  EXPECT_FALSE(form.MenuOn("mnuBreak"));
  EXPECT_TRUE(form.MenuOn("mnuEnd"));
  EXPECT_TRUE(form.MenuOn("mnuReStart"));

  form.Click("mnuStart");  // Continue
  EXPECT_EQ(form.ProgramCounter, 3);
  EXPECT_EQ(run.StatementsRun, 4);
  form.Click("mnuStart");
  EXPECT_TRUE(InDesign());
  EXPECT_EQ(run.StatementsRun, 5);
}

TEST_F(ScriptRunTimeTest, AFailedStatementIsTriedAgainOnContinue) {
  EXPECT_EQ(Run("// a\r\nNegativeImage(\"Image1\")\r\n// b"), 0);
  EXPECT_TRUE(InBreak());
  // The counter stands before the failing line.
  EXPECT_EQ(form.ProgramCounter, 0);
  EXPECT_EQ(run.ErrorLine, 1);
  EXPECT_EQ(form.MarkedLine, 1);
  ASSERT_EQ(host.messages.size(), 1u);
  EXPECT_EQ(host.messages[0].text, "Run time error:\r\n\r\nImage \"Image1\" not found");
  EXPECT_EQ(host.messages[0].title, "SV4200 Script");
  EXPECT_EQ(host.messages[0].icon, MsgIcon::Exclamation);

  auto* image = dynamic_cast<Form_Camera*>(main.CreateImage());
  ASSERT_TRUE(image);
  std::vector<uint16_t> pixels(16, 10);
  image->CreateImage(4, 4, 8, pixels.data());
  EXPECT_EQ(Continue(), 1);
  EXPECT_TRUE(InDesign());
  EXPECT_EQ(image->ImagePtr()[0], 245);
  EXPECT_EQ(host.messages.size(), 1u);
  EXPECT_EQ(run.ErrorLine, -1);
}

TEST_F(ScriptRunTimeTest, EndStatementEndsInDesignAndExitUnloads) {
  EXPECT_EQ(Run("// a\r\nEnd\r\nEdge(\"none\")"), 1);
  EXPECT_TRUE(InDesign());
  EXPECT_TRUE(host.messages.empty());
  EXPECT_TRUE(form.Loaded());

  EXPECT_EQ(Run("// a\r\nExit\r\nEdge(\"none\")"), 1);
  EXPECT_TRUE(form.ExitFlag);
  EXPECT_FALSE(form.Loaded());
  EXPECT_EQ(form.ProgramCounter, 1);
  EXPECT_TRUE(host.messages.empty());
}

TEST_F(ScriptRunTimeTest, ReStartRunsFromTheFirstLine) {
  Run("// a\r\nStop\r\n// b");
  ASSERT_EQ(run.StatementsRun, 2);
  form.Click("mnuReStart");
  // From line 0 again, up to the Stop.
  EXPECT_EQ(run.StatementsRun, 4);
  EXPECT_EQ(form.ProgramCounter, 1);
  form.Click("mnuEnd");
  EXPECT_TRUE(InDesign());
  EXPECT_EQ(run.StatementsRun, 4);
}

TEST_F(ScriptRunTimeTest, CompileErrorRunsNothing) {
  EXPECT_EQ(Run("// a\r\nbogus(1)"), 0);
  EXPECT_EQ(run.StatementsRun, 0);
  EXPECT_EQ(form.Caption, "Script [design]");
  EXPECT_EQ(form.ProgramCounter, -1);
  EXPECT_TRUE(form.Text_Script_Visible);
  EXPECT_EQ(form.CaretLine, 1);
  ASSERT_EQ(host.messages.size(), 1u);
  EXPECT_EQ(host.messages[0].text,
            "Compile error:\r\n\r\n\"bogus\": Sub or Function not defined");
}

TEST_F(ScriptRunTimeTest, BreakReentersFromWhereTheOuterRunBegan) {
  // Pressed in the pump before the outer run's second line: the inner run
  // starts where the outer began and runs every line; the outer then stops
  // at its own line, in state break.
  host.onPump[2] = [this] {
    EXPECT_TRUE(form.MenuOn("mnuBreak"));
    form.Click("mnuBreak");
  };
  EXPECT_EQ(Run("// 0\r\n// 1\r\n// 2\r\n// 3"), 1);
  EXPECT_EQ(run.StatementsRun, 1 + 4);
  EXPECT_TRUE(InBreak());
  EXPECT_EQ(form.ProgramCounter, 1);
  EXPECT_EQ(form.FindMenu("mnuStart")->caption, "&Continue");
  form.Click("mnuStart");
  EXPECT_TRUE(InDesign());
  EXPECT_EQ(run.StatementsRun, 5 + 2);
}

TEST_F(ScriptRunTimeTest, BreakInsideAStopsInnerRunLeavesBothInBreak) {
  host.onPump[1] = [this] { form.Click("mnuBreak"); };
  EXPECT_EQ(Run("// 0\r\nStop\r\n// 2"), 1);
  // The inner run stopped at line 1; the outer saw Run enabled at line 0.
  EXPECT_EQ(run.StatementsRun, 2);
  EXPECT_TRUE(InBreak());
  EXPECT_EQ(form.ProgramCounter, 0);
}

TEST_F(ScriptRunTimeTest, EndPressedDuringARunEndsBothInDesign) {
  host.onPump[3] = [this] {
    EXPECT_TRUE(form.MenuOn("mnuEnd"));
    form.Click("mnuEnd");
  };
  EXPECT_EQ(Run("// 0\r\n// 1\r\n// 2\r\n// 3\r\n// 4"), 1);
  EXPECT_EQ(run.StatementsRun, 2);
  EXPECT_TRUE(InDesign());
  EXPECT_FALSE(form.MenuOn("mnuEnd"));
  // Nothing is left over for the next run.
  EXPECT_EQ(Run("// 0\r\n// 1"), 1);
  EXPECT_EQ(run.StatementsRun, 4);
  EXPECT_TRUE(InDesign());
}

TEST_F(ScriptRunTimeTest, DelayWaitsOnTheHostClockAndInterruptEndsIt) {
  host.clock = 1000;
  EXPECT_EQ(Run("Delay(600000)\r\n// b"), 1);
  EXPECT_GE(host.clock, 1000u + 600000u);
  EXPECT_LT(host.clock, 1000u + 600000u + 100u);
  EXPECT_GT(host.waits, 0);

  // Interrupted during the wait: the wait ends at once and the run ends as
  // End ends it, before the next statement.
  bool stop = false;
  run.Interrupted = [&stop] { return stop; };
  host.waits = 0;
  host.After(50, [&stop] { stop = true; });
  EXPECT_EQ(Run("Delay(600000)\r\n// b\r\n// c"), 1);
  EXPECT_LT(host.waits, 20);
  EXPECT_TRUE(run.WasInterrupted());
  EXPECT_TRUE(InDesign());
  EXPECT_EQ(run.StatementsRun, 3);  // the two of the first run, and the Delay
  // The same with the Delay on the last line.
  stop = false;
  host.After(50, [&stop] { stop = true; });
  EXPECT_EQ(Run("// a\r\nDelay(600000)"), 1);
  EXPECT_TRUE(run.WasInterrupted());
  EXPECT_TRUE(InDesign());
}

TEST_F(ScriptRunTimeTest, NegativeAndZeroDelaysDoNotWait) {
  EXPECT_EQ(Run("Delay(-5000)\r\nDelay(0)"), 1);
  EXPECT_EQ(host.waits, 0);
  EXPECT_TRUE(InDesign());
}

TEST_F(ScriptRunTimeTest, InterruptStopsBeforeTheNextStatement) {
  run.Interrupted = [this] { return host.doEvents >= 3; };
  EXPECT_EQ(Run("// 0\r\n// 1\r\n// 2\r\n// 3"), 1);
  EXPECT_EQ(run.StatementsRun, 2);
  EXPECT_TRUE(run.WasInterrupted());
  EXPECT_TRUE(InDesign());
}

TEST_F(ScriptRunTimeTest, ExitInAScriptStartedOnOpeningUnloadsTheWindow) {
  RegisterScriptForm(main);
  WorkbenchScriptRunTime().Main = &main;
  const std::string path = host.root + "/start.scr";
  test::WriteFile(path, "// a\r\nExit\r\n// c\r\n");
  ASSERT_TRUE(main.OpenDocument(path, 1, true));
  EXPECT_TRUE(ScriptForm().ExitFlag);
  EXPECT_FALSE(ScriptForm().Loaded());
  EXPECT_EQ(ScriptForm().ProgramCounter, 1);
  WorkbenchScriptRunTime().Main = nullptr;
}

}  // namespace
}  // namespace sv
