#include <gtest/gtest.h>

#include "script/script_compiler.h"
#include "support/scripted_host.h"

namespace sv {
namespace {

struct CompileOutcome {
  int result;
  std::string message;  // the whole box text, "" when none
  int line;
};

CompileOutcome CompileText(const std::string& text, ScriptCompiler* keep = nullptr) {
  test::ScriptedHost host;
  host.lenient = true;
  ScriptCompiler local;
  ScriptCompiler& c = keep ? *keep : local;
  int result = -1;
  c.Compile(text, result);
  CompileOutcome out{result, "", c.ErrorLine};
  if (!host.messages.empty()) {
    EXPECT_EQ(host.messages.size(), 1u) << text;
    const auto& m = host.messages.back();
    EXPECT_EQ(m.title, "SV4200 Script");
    out.message = m.text;
  }
  return out;
}

std::string Box(const std::string& message) { return "Compile error:\r\n\r\n" + message; }

TEST(ScriptCompiler, TokenTableHasItsRowsInOrder) {
  ScriptCompiler c;
  const auto& t = c.Tokens().Tokens();
  ASSERT_EQ(t.size(), 22u);
  const char* names[] = {"",           "Stop",          "End",           "//",
                         "Delay",      "Capture",       "Edge",          "OpenImage",
                         "CloseImage", "ResizeImage",   "BinarizeImage", "NegativeImage",
                         "ParticleDetect", "ParticleMinArea", "ParticleWorksheet", "CloseImages",
                         "WorksheetSort", "Exit", "CloseWorksheets", "ParticleErosion",
                         "ParticleDilatation", "Dim"};
  const char* sigs[] = {"", "", "", "?", "(&)", "", "($)", "($)", "($)", "($,&,&)", "($,&,&)",
                        "($)", "($)", "(!)", "", "", "($,&,&)", "", "", "($,&)", "($,&)", " N"};
  for (size_t i = 0; i < t.size(); ++i) {
    EXPECT_EQ(t[i].Name, names[i]) << i;
    EXPECT_EQ(t[i].Signature, sigs[i]) << i;
  }
}

// Every message the compiler can give, with the line it stops at.
TEST(ScriptCompiler, MessageTable) {
  struct Row {
    const char* text;
    const char* message;
    int line;
  } rows[] = {
      {"Stop\r\n/ x", "Syntax error", 2},
      {"/", "Syntax error", 1},
      {"Frobnicate(1)", "\"Frobnicate\": Sub or Function not defined", 1},
      {"a = 5\r\nDim a", "\"a\": Sub or Function not defined", 1},
      {"Delay", "Expected: (", 1},
      {"ResizeImage (\"a\", 5, 6)", "Expected: (", 1},
      {"ResizeImage(\"a\" , 5, 6)", "Expected: ,", 1},
      {"Edge(\"a\"", "Expected: )", 1},
      {"Delay(", "Missing argument", 1},
      {"Delay(   ", "Missing argument", 1},
      {"ResizeImage(\"a\",5,", "Missing argument", 1},
      {"OpenImage(\"my file.tif\")", "Expected: \"", 1},
      {"OpenImage(\"a,b.tif\")", "Expected: \"", 1},
      {"OpenImage(a.tif)", "Expected: \"", 1},
      {"Edge()", "Expected: \"", 1},
      {"Edge(\")", "Expected: \"", 1},
      {"Delay(x)", "Argument type mismatch", 1},
      {"Delay(1e10)", "Argument type mismatch", 1},
      {"Delay(\"5\")", "Argument type mismatch", 1},
      {"ParticleMinArea(1e39)", "Argument type mismatch", 1},
      {"Dim", "Expected:  ", 1},
      {"Dim\ta", "Expected:  ", 1},
      {"Dim ", "Expected: Identifier", 1},
      {"Dim a\nDim A", "Duplicate declaration: A", 2},
      {"Dim a\r\na", "Expected: =", 2},
      {"Dim a\r\na 5", "Expected: =", 2},
      {"Dim a\r\na =", "Missing argument", 2},
      {"Dim a\r\na =  \t", "Missing argument", 2},
  };
  for (const Row& r : rows) {
    CompileOutcome o = CompileText(r.text);
    EXPECT_EQ(o.result, 0) << r.text;
    EXPECT_EQ(o.message, Box(r.message)) << r.text;
    EXPECT_EQ(o.line, r.line) << r.text;
  }
}

TEST(ScriptCompiler, WhatCompiles) {
  const char* good[] = {
      "",
      "   \t",
      "delay(100)",
      "DELAY(100)",
      "Delay( 100)",
      "Delay(1.5)",
      "Stop junk",
      "Dim  a",
      "Dim a\r\na = 5",
      "Dim a\r\na=\"text\"",
      "Dim a\r\nA = text",
      "// anything, \"even\" this",
      "   //",
      "ResizeImage(\"a\", 5, 6)",
      "ResizeImage(\"a\",5,6) and more",
      "Edge(\"\")",
      "ParticleErosion(\"\", 8)",
      "Capture\r\nCloseImages\r\nCloseWorksheets\r\nParticleWorksheet\r\nExit\r\nEnd",
      "(5)",
      "= 5",
  };
  for (const char* text : good) {
    CompileOutcome o = CompileText(text);
    EXPECT_EQ(o.result, 1) << text;
    EXPECT_EQ(o.message, "") << text;
  }
}

TEST(ScriptCompiler, StatementsAreNotNames) {
  // A name may be declared with a statement's spelling; the statement wins.
  ScriptCompiler c;
  EXPECT_EQ(CompileText("Dim Stop\r\nStop = 5", &c).result, 1);
  EXPECT_EQ(CodeText(c.Code[1], 2), "Stop");
  EXPECT_EQ(c.Code[1].size(), 3u);
}

TEST(ScriptCompiler, GetCommandLineEndsLinesAtCrLfOrBoth) {
  auto split = [](const std::string& text) {
    std::vector<std::string> lines;
    size_t pos = 0;
    while (pos < text.size()) lines.emplace_back(ScriptCompiler::GetCommandLine(text, pos));
    return lines;
  };
  using V = std::vector<std::string>;
  EXPECT_EQ(split(""), V{});
  EXPECT_EQ(split("a"), V{"a"});
  EXPECT_EQ(split("a\r\nb\r\n"), (V{"a", "b"}));
  EXPECT_EQ(split("a\n\rb"), (V{"a", "b"}));
  EXPECT_EQ(split("a\rb\nc"), (V{"a", "b", "c"}));
  EXPECT_EQ(split("a\r\rb"), (V{"a", "", "b"}));
  EXPECT_EQ(split("a\n\nb"), (V{"a", "", "b"}));
  EXPECT_EQ(split("a\r\n\r\nb"), (V{"a", "", "b"}));
  EXPECT_EQ(split("\r\n"), (V{""}));
}

TEST(ScriptCompiler, LineCountAndFailedLine) {
  ScriptCompiler c;
  EXPECT_EQ(CompileText("Stop\r\n\r\nbad\r\nStop", &c).result, 0);
  EXPECT_EQ(c.LineCount, 3);
  ASSERT_EQ(c.Code.size(), 3u);
  EXPECT_TRUE(c.Code[2].empty());
  EXPECT_EQ(CodeCount(c.Code[1]), 2);
  EXPECT_EQ(c.ErrorMessage, "\"bad\": Sub or Function not defined");
}

TEST(ScriptCompiler, EndOfStatementIsThereButUnused) {
  test::ScriptedHost host;
  host.lenient = true;
  ScriptCompiler c;
  int result = 1;
  c.EndOfStatement("", result);
  EXPECT_EQ(result, 1);
  c.EndOfStatement("x", result);
  EXPECT_EQ(result, 0);
  ASSERT_EQ(host.messages.size(), 1u);
  EXPECT_EQ(host.messages[0].text, Box("Expected: end of statement"));
  EXPECT_EQ(host.messages[0].icon, MsgIcon::Exclamation);
}

TEST(ScriptCompiler, FaultyTableStopsWithItsSignature) {
  test::ScriptedHost host;
  host.lenient = true;
  ScriptCompiler c;
  c.AddToken("Bad", "(#)");
  c.AddToken("Typed", "(V&)");
  c.AddToken("Comma", ",&");
  int result = 1;
  c.Compile("Stop\r\nbad(5)", result);
  EXPECT_EQ(result, 0);
  ASSERT_EQ(host.messages.size(), 1u);
  EXPECT_EQ(host.messages[0].text, "Unknown Token in:\r\n(#)");
  EXPECT_EQ(host.messages[0].icon, MsgIcon::Critical);
  EXPECT_EQ(c.ErrorLine, 2);
  // A typed variable accepts nothing: the line fails without a message.
  c.Compile("typed(5)", result);
  EXPECT_EQ(result, 0);
  EXPECT_EQ(host.messages.size(), 1u);
  // A comma before any argument.
  c.Compile("comma ,5", result);
  EXPECT_EQ(result, 0);
  EXPECT_EQ(host.messages.back().text, Box("Missing argument"));
}

TEST(ScriptCompiler, FailureBringsTheEditorBackAndClearsStatus) {
  test::ScriptedHost host;
  host.lenient = true;
  ScriptCompiler c;
  int failures = 0, lines = 0;
  c.OnFailure = [&] { ++failures; };
  c.OnLine = [&](int, const CodeLine&) { ++lines; };
  int result = 1;
  c.Compile("Stop\r\nStop\r\nnope", result);
  EXPECT_EQ(result, 0);
  EXPECT_GE(failures, 1);
  EXPECT_EQ(lines, 2);
  EXPECT_EQ(host.LastStatus(), "");
}

TEST(ScriptCompiler, StatusIsRationed) {
  test::ScriptedHost host;
  host.tick = 1;  // every look at the clock costs a millisecond
  ScriptCompiler c;
  std::string text;
  for (int i = 0; i < 2000; ++i) text += "Stop\r\n";
  int result = 0;
  c.Compile(text, result);
  ASSERT_EQ(result, 1);
  std::vector<std::string> progress;
  for (const auto& s : host.status)
    if (!s.empty()) progress.push_back(s);
  // 2000 lines at 1 ms each: first after 200 ms, then every 500 ms.
  ASSERT_EQ(progress.size(), 4u);
  EXPECT_EQ(progress[0], "Compile...(10%)");
  EXPECT_EQ(progress[1], "Compile...(35%)");
  EXPECT_EQ(host.status.back(), "");
}

TEST(ScriptCompiler, RecompilingForgetsNames) {
  ScriptCompiler c;
  EXPECT_EQ(CompileText("Dim a", &c).result, 1);
  EXPECT_EQ(c.VariableCount, 1);
  EXPECT_EQ(CompileText("Dim a", &c).result, 1);
  EXPECT_EQ(c.VariableCount, 1);
  EXPECT_EQ(c.VariableNames, std::vector<std::string>{"a"});
}

}  // namespace
}  // namespace sv
