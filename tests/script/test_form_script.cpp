#include <gtest/gtest.h>

#include <fstream>
#include <iterator>

#include "core/globals.h"
#include "core/mdi_main.h"
#include "script/form_script.h"
#include "support/scripted_host.h"

namespace sv {
namespace {

std::string ReadAll(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
}

void WriteAll(const std::string& path, const std::string& text) {
  std::ofstream(path, std::ios::binary) << text;
}

class FormScriptTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ResetGlobals();
    form.Load();
  }
  test::ScriptedHost host;
  Form_Script form;
};

TEST_F(FormScriptTest, NewScriptIsInDesign) {
  int result = 0;
  form.Text_Script = "Stop";
  form.ProgramCounter = 4;
  form.SetMenu("mnuBreak", true);
  form.NewScript(result);
  EXPECT_EQ(result, 1);
  EXPECT_EQ(form.Text_Script, "");
  EXPECT_EQ(form.ProgramCounter, -1);
  EXPECT_EQ(form.Caption, "Script [design]");
  EXPECT_TRUE(form.MenuOn("mnuStart"));
  EXPECT_EQ(form.FindMenu("mnuStart")->caption, "&Run");
  EXPECT_FALSE(form.MenuOn("mnuBreak"));
  EXPECT_FALSE(form.MenuOn("mnuEnd"));
  EXPECT_FALSE(form.MenuOn("mnuReStart"));
  EXPECT_EQ(form.FileName, "");
}

TEST_F(FormScriptTest, FileRoundTripWritesCrLfAndReadsAnyEnd) {
  const std::string path = host.root + "/job.scr";
  form.SetEditorText("Delay(5)\nStop\r\n// x\r");
  EXPECT_EQ(form.Text_Script, "Delay(5)\r\nStop\r\n// x\r\n");
  form.Text_Script = "a\nb\n\rc\rd";  // as it may come from elsewhere
  int result = 0;
  form.SaveScript(path, result);
  ASSERT_EQ(result, 1);
  EXPECT_EQ(ReadAll(path), "a\r\nb\r\nc\r\nd");
  EXPECT_EQ(form.Caption, "job.scr - Script [design]");

  WriteAll(path, "Stop\nEnd\rExit");
  form.NewScript(result);
  form.OpenScript(path, result);
  ASSERT_EQ(result, 1);
  EXPECT_EQ(form.Text_Script, "Stop\nEnd\rExit");
  EXPECT_EQ(form.ScriptName, "job.scr - Script");
  EXPECT_EQ(form.Caption, "job.scr - Script [design]");
  EXPECT_EQ(form.FileName, path);
  form.Compile(result);
  EXPECT_EQ(result, 1);
  EXPECT_EQ(form.LineCount, 3);
}

TEST_F(FormScriptTest, AFailedOpenKeepsTheScript) {
  form.Text_Script = "Stop";
  int result = 1;
  form.OpenScript(host.root + "/missing.scr", result);
  EXPECT_EQ(result, 0);
  EXPECT_EQ(form.Text_Script, "Stop");

  host.AnswerFile(host.root + "/missing.scr");
  host.Answer(MsgResult::OK);
  form.Click("mnuOpen");
  ASSERT_EQ(host.messages.size(), 1u);
  EXPECT_EQ(host.messages[0].text, "Error loading " + host.root + "/missing.scr");
  EXPECT_EQ(host.messages[0].title, "Open Script");
  EXPECT_EQ(form.Text_Script, "Stop");
}

TEST_F(FormScriptTest, DialogsOfferTheirNamesAndRememberTheFolder) {
  G().ScriptPath = host.root + "/";
  host.AnswerFile("");
  form.Click("mnuOpen");
  ASSERT_EQ(host.fileDialogs.size(), 1u);
  EXPECT_EQ(host.fileDialogs[0].title, "Open Script");
  EXPECT_EQ(host.fileDialogs[0].filter, "SV4200 Script Files (*.scr)|*.scr|All Files (*.*)|*.*|");
  EXPECT_EQ(host.fileDialogs[0].folder, host.root + "/");

  // Save on a new script asks for a name, offering "Script1.scr"; the
  // default extension is added.
  form.Text_Script = "Stop";
  host.AnswerFile(host.root + "/first");
  form.Click("mnuSave");
  ASSERT_EQ(host.fileDialogs.size(), 2u);
  EXPECT_EQ(host.fileDialogs[1].title, "Save Script As");
  EXPECT_EQ(host.fileDialogs[1].fileName, "Script1.scr");
  EXPECT_EQ(form.FileName, host.root + "/first.scr");
  EXPECT_EQ(G().ScriptPath, host.root + "/");
  EXPECT_EQ(ReadAll(host.root + "/first.scr"), "Stop");
  // Save again goes to the same file without a dialog.
  form.Text_Script = "End";
  form.Click("mnuSave");
  EXPECT_EQ(host.fileDialogs.size(), 2u);
  EXPECT_EQ(ReadAll(host.root + "/first.scr"), "End");
  // Save As offers the present name.
  host.AnswerFile("");
  form.Click("mnuSaveAs");
  EXPECT_EQ(host.fileDialogs[2].fileName, "first.scr");
}

TEST_F(FormScriptTest, SaveFailureIsTold) {
  form.Text_Script = "Stop";
  host.AnswerFile(host.root + "/no/such/folder/x.scr");
  host.Answer(MsgResult::OK);
  form.Click("mnuSaveAs");
  ASSERT_EQ(host.messages.size(), 1u);
  EXPECT_EQ(host.messages[0].text, "Error saving " + host.root + "/no/such/folder/x.scr");
  EXPECT_EQ(form.FileName, "");
}

TEST_F(FormScriptTest, CompileFillsTheListingOrBringsTheEditorBack) {
  int result = 0;
  form.Text_Script = "delay(5)\r\n  //note\r\nDim  a\r\na = 3";
  form.Compile(result);
  ASSERT_EQ(result, 1);
  EXPECT_EQ(form.Picture_Script.Lines(),
            (std::vector<std::string>{"Delay(5)", "//note", "Dim a", "a = 3"}));
  EXPECT_TRUE(form.Picture_Script_Visible);
  EXPECT_FALSE(form.Text_Script_Visible);
  EXPECT_EQ(form.LineCount, 4);

  const std::string text = "Stop\r\nEdge(\"a\")\r\nEdge(x)\r\nStop";
  form.Text_Script = text;
  host.Answer(MsgResult::OK);
  form.Compile(result);
  EXPECT_EQ(result, 0);
  EXPECT_EQ(form.Text_Script, text);
  EXPECT_TRUE(form.Text_Script_Visible);
  EXPECT_FALSE(form.Picture_Script_Visible);
  EXPECT_EQ(form.CaretLine, 2);
  EXPECT_EQ(form.Picture_Script.Lines(), (std::vector<std::string>{"Stop", "Edge(\"a\")"}));
  ASSERT_EQ(host.messages.size(), 1u);
  EXPECT_EQ(host.messages[0].text, "Compile error:\r\n\r\nExpected: \"");
  EXPECT_EQ(host.messages[0].icon, MsgIcon::Exclamation);
}

TEST_F(FormScriptTest, MenusGateTheirCommands) {
  int starts = 0, breaks = 0, ends = 0, restarts = 0;
  form.Run.start = [&] { ++starts; };
  form.Run.brk = [&] { ++breaks; };
  form.Run.end = [&] { ++ends; };
  form.Run.restart = [&] { ++restarts; };
  form.Click("mnuStart");
  form.Click("mnuBreak");  // disabled in design
  form.Click("mnuEnd");
  form.Click("mnuReStart");
  EXPECT_EQ(starts, 1);
  EXPECT_EQ(breaks + ends + restarts, 0);
  form.SetMenu("mnuBreak", true);
  form.SetMenu("mnuEnd", true);
  form.SetMenu("mnuReStart", true);
  form.Click("mnuBreak");
  form.Click("mnuEnd");
  form.Click("mnuReStart");
  EXPECT_EQ(breaks + ends + restarts, 3);
  form.MenuEnabled(false);
  EXPECT_FALSE(form.MenuOn("mnuFile"));
  EXPECT_FALSE(form.MenuOn("mnuDEBUG"));
  EXPECT_FALSE(form.MenuOn("mnuRun"));
  form.Click("mnuStart");
  host.AnswerFile("");
  form.Click("mnuOpen");
  EXPECT_EQ(starts, 1);
  EXPECT_TRUE(host.fileDialogs.empty());
  form.MenuEnabled(true);
  form.Click("mnuSetNextStatement");
  form.Click("mnuShowNextStatement");
  form.Click("mnuStart");
  EXPECT_EQ(starts, 2);
  EXPECT_EQ(form.FindMenu("mnuStart")->shortcut, "F5");
}

TEST_F(FormScriptTest, PlaceIsKeptAcrossUnload) {
  G().ScriptLeft = 10;
  G().ScriptTop = 20;
  Form_Script f;
  f.Load();
  EXPECT_EQ(f.Left, 10);
  EXPECT_EQ(f.Top, 20);
  f.Moved(30, 40);
  f.Unload();
  EXPECT_FALSE(f.Loaded());
  EXPECT_EQ(G().ScriptLeft, 30);
  EXPECT_EQ(G().ScriptTop, 40);
  f.Text_Script = "left over";
  f.Load();
  EXPECT_EQ(f.Text_Script, "");
}

TEST(ScriptLineEnds, EveryEndBecomesCrLf) {
  EXPECT_EQ(ScriptLineEnds(""), "");
  EXPECT_EQ(ScriptLineEnds("a\r\nb\n\rc\rd\ne"), "a\r\nb\r\nc\r\nd\r\ne");
  EXPECT_EQ(ScriptLineEnds("\n\n"), "\r\n\r\n");
  EXPECT_EQ(ScriptLineEnds("\r\n\n\r"), "\r\n\r\n");
}

// The main window's ".scr" branch and its menu entry.
TEST(ScriptDocument, OpensThroughTheMainWindow) {
  test::ScriptedHost host;
  ResetGlobals();
  MDIForm_Main main;
  SetMainForm(&main);
  Form_Script& form = ScriptForm();
  form.Unload();
  int shown = 0, starts = 0;
  ScriptShowHook() = [&](Form_Script&) { ++shown; };
  const std::string path = host.root + "/run.scr";
  WriteAll(path, "Stop");

  // Before the script window is registered the entry is not built.
  host.Answer(MsgResult::OK);
  EXPECT_FALSE(main.OpenDocument(path));
  EXPECT_EQ(host.messages.back().text, "Can't open " + path + " at this time.");

  RegisterScriptForm(main);
  EXPECT_TRUE(main.OpenDocument(path));
  EXPECT_TRUE(form.Loaded());
  EXPECT_TRUE(form.Visible());
  EXPECT_EQ(form.Text_Script, "Stop");
  EXPECT_EQ(shown, 1);

  // With runNow a form not loaded stays hidden and is started.
  form.Unload();
  form.Run.start = [&] { ++starts; };
  EXPECT_TRUE(main.OpenDocument(path, 1, true));
  EXPECT_FALSE(form.Visible());
  EXPECT_EQ(starts, 1);
  form.Run = {};

  host.Answer(MsgResult::OK);
  EXPECT_FALSE(main.OpenDocument(host.root + "/gone.scr"));
  EXPECT_EQ(host.messages.back().text, "Error loading " + host.root + "/gone.scr");
  EXPECT_EQ(form.Text_Script, "Stop");

  main.Click("mnuScript");
  EXPECT_TRUE(form.Visible());
  form.Unload();
  ScriptShowHook() = nullptr;
  SetMainForm(nullptr);
}

}  // namespace
}  // namespace sv
