// The coded line of each statement, element by element.
#include <gtest/gtest.h>

#include "script/script_compiler.h"
#include "support/scripted_host.h"

namespace sv {
namespace {

CodeLine CompileOne(const std::string& text) {
  test::ScriptedHost host;
  ScriptCompiler c;
  int result = 0;
  c.Compile(text, result);
  EXPECT_EQ(result, 1) << text;
  EXPECT_TRUE(host.messages.empty()) << text;
  return c.Code.empty() ? CodeLine{} : c.Code.back();
}

CodeLine Make(std::initializer_list<ScriptValue> pairs) {
  CodeLine line{int32_t(pairs.size())};
  line.insert(line.end(), pairs);
  return line;
}

ScriptValue S(const char* s) { return std::string(s); }
ScriptValue K(int32_t k) { return k; }

TEST(ScriptCode, EveryStatement) {
  struct Row {
    const char* text;
    CodeLine code;
  } rows[] = {
      {"  ", Make({K(1), S("")})},
      {"stop", Make({K(1), S("Stop")})},
      {"End", Make({K(1), S("End")})},
      {"// note, \"x\"", Make({K(1), S("//"), K(10), S(" note, \"x\"")})},
      {"Delay(250)", Make({K(1), S("Delay"), K(11), S("("), K(7), int32_t(250), K(12), S(")")})},
      {"Capture", Make({K(1), S("Capture")})},
      {"Edge(\"a.tif\")", Make({K(1), S("Edge"), K(11), S("("), K(5), S("a.tif"), K(12), S(")")})},
      {"OpenImage(\"/d/a.tif\")",
       Make({K(1), S("OpenImage"), K(11), S("("), K(5), S("/d/a.tif"), K(12), S(")")})},
      {"CloseImage(\"\")", Make({K(1), S("CloseImage"), K(11), S("("), K(5), S(""), K(12), S(")")})},
      {"ResizeImage(\"a\", 640, 480)",
       Make({K(1), S("ResizeImage"), K(11), S("("), K(5), S("a"), K(13), S(", "), K(7), int32_t(640),
             K(13), S(", "), K(7), int32_t(480), K(12), S(")")})},
      {"BinarizeImage(\"a\",10,-3)",
       Make({K(1), S("BinarizeImage"), K(11), S("("), K(5), S("a"), K(13), S(", "), K(7), int32_t(10),
             K(13), S(", "), K(7), int32_t(-3), K(12), S(")")})},
      {"NegativeImage(\"a\")",
       Make({K(1), S("NegativeImage"), K(11), S("("), K(5), S("a"), K(12), S(")")})},
      {"ParticleDetect(\"a\")",
       Make({K(1), S("ParticleDetect"), K(11), S("("), K(5), S("a"), K(12), S(")")})},
      {"ParticleMinArea(2.5)",
       Make({K(1), S("ParticleMinArea"), K(11), S("("), K(6), 2.5f, K(12), S(")")})},
      {"ParticleWorksheet", Make({K(1), S("ParticleWorksheet")})},
      {"CloseImages", Make({K(1), S("CloseImages")})},
      {"WorksheetSort(\"s\", 1, 0)",
       Make({K(1), S("WorksheetSort"), K(11), S("("), K(5), S("s"), K(13), S(", "), K(7), int32_t(1),
             K(13), S(", "), K(7), int32_t(0), K(12), S(")")})},
      {"Exit", Make({K(1), S("Exit")})},
      {"CloseWorksheets", Make({K(1), S("CloseWorksheets")})},
      {"ParticleErosion(\"a\", 8)",
       Make({K(1), S("ParticleErosion"), K(11), S("("), K(5), S("a"), K(13), S(", "), K(7), int32_t(8),
             K(12), S(")")})},
      {"ParticleDilatation(\"a\", 4)",
       Make({K(1), S("ParticleDilatation"), K(11), S("("), K(5), S("a"), K(13), S(", "), K(7),
             int32_t(4), K(12), S(")")})},
      {"Dim  x", Make({K(1), S("Dim"), K(14), S(" "), K(4), S("x")})},
  };
  for (const Row& r : rows) EXPECT_EQ(CompileOne(r.text), r.code) << r.text;
}

TEST(ScriptCode, ArgumentsLieAtFixedPlaces) {
  CodeLine resize = CompileOne("ResizeImage(\"img\",7,9)");
  EXPECT_EQ(CodeText(resize, kCodeArg1), "img");
  EXPECT_EQ(CodeLong(resize, kCodeArg2), 7);
  EXPECT_EQ(CodeLong(resize, kCodeArg3), 9);
  EXPECT_EQ(CodeCount(resize), 16);
}

TEST(ScriptCode, Assignments) {
  test::ScriptedHost host;
  ScriptCompiler c;
  int result = 0;
  c.Compile("Dim Width\r\nwidth = 12.5\r\nWIDTH = \"a b\"\r\nwidth=x'y", result);
  // "a b" holds a blank: the value ends at it, the rest is dropped.
  ASSERT_EQ(result, 1);
  EXPECT_EQ(c.Code[1], Make({K(4), S("Width"), K(3), S(" = "), K(7), S("12.5")}));
  EXPECT_EQ(c.Code[2], Make({K(4), S("Width"), K(3), S(" = "), K(5), S("\"a")}));
  EXPECT_EQ(c.Code[3], Make({K(4), S("Width"), K(3), S(" = "), K(5), S("x")}));
  EXPECT_EQ(c.VariableNames, std::vector<std::string>{"Width"});
}

TEST(ScriptCode, NumbersRoundToEvenAndKeepTheirRange) {
  EXPECT_EQ(CodeLong(CompileOne("Delay(1.5)"), kCodeArg1), 2);
  EXPECT_EQ(CodeLong(CompileOne("Delay(2.5)"), kCodeArg1), 2);
  EXPECT_EQ(CodeLong(CompileOne("Delay(-2.5)"), kCodeArg1), -2);
  EXPECT_EQ(CodeLong(CompileOne("Delay(+7)"), kCodeArg1), 7);
  EXPECT_EQ(CodeLong(CompileOne("Delay(1e3)"), kCodeArg1), 1000);
  EXPECT_EQ(CodeLong(CompileOne("Delay(2147483647)"), kCodeArg1), 2147483647);
  EXPECT_EQ(CodeLong(CompileOne("Delay(-2147483648)"), kCodeArg1), INT32_MIN);
  EXPECT_FLOAT_EQ(CodeSingle(CompileOne("ParticleMinArea(-0.25)"), kCodeArg1), -0.25f);
}

TEST(ScriptCode, SmallerTypesOfTheSignature) {
  test::ScriptedHost host;
  host.lenient = true;
  ScriptCompiler c;
  c.AddToken("Small", "(%,B)");
  int result = 0;
  c.Compile("small(-32768,255)", result);
  ASSERT_EQ(result, 1);
  EXPECT_EQ(c.Code[0], Make({K(1), S("Small"), K(11), S("("), K(8), int16_t(-32768), K(13), S(", "),
                             K(9), uint8_t(255), K(12), S(")")}));
  for (const char* bad : {"small(32768,1)", "small(1,256)", "small(1,-1)"}) {
    c.Compile(bad, result);
    EXPECT_EQ(result, 0) << bad;
    EXPECT_EQ(c.ErrorMessage, "Argument type mismatch") << bad;
  }
}

TEST(ScriptCode, PrintStatementShowsTheLine) {
  EXPECT_EQ(PrintStatement(CompileOne("resizeimage(  \"a\",5,6)  junk")),
            "ResizeImage(\"a\", 5, 6)");
  EXPECT_EQ(PrintStatement(CompileOne("  // hello")), "// hello");
  EXPECT_EQ(PrintStatement(CompileOne("ParticleMinArea(2.5)")), "ParticleMinArea(2.5)");
  EXPECT_EQ(PrintStatement(CompileOne("dim   q")), "Dim q");
  EXPECT_EQ(PrintStatement(CompileOne("\t")), "");
  test::ScriptedHost host;
  ScriptCompiler c;
  int result = 0;
  c.Compile("Dim q\r\nq = 007\r\nq = \"t\"", result);
  EXPECT_EQ(PrintStatement(c.Code[1]), "q = 007");
  EXPECT_EQ(PrintStatement(c.Code[2]), "q = \"t\"");
}

TEST(ScriptCode, CopiedLinesOutliveTheCompiler) {
  test::ScriptedHost host;
  CodeLine kept;
  {
    ScriptCompiler c;
    int result = 0;
    c.Compile("Edge(\"first.tif\")\r\n// a note", result);
    ASSERT_EQ(result, 1);
    kept = c.Code[0];
    // A recompile reuses the memory of the lines; the copy keeps its own.
    std::string big;
    for (int i = 0; i < 5000; ++i) big += "ResizeImage(\"other.tif\", 1, 2)\r\n";
    c.Compile(big, result);
    ASSERT_EQ(result, 1);
    EXPECT_EQ(CodeText(c.Code[4999], kCodeArg1), "other.tif");
    EXPECT_EQ(CodeLong(c.Code[4999], kCodeArg3), 2);
  }
  EXPECT_EQ(CodeText(kept, kCodeArg1), "first.tif");
  EXPECT_EQ(PrintStatement(kept), "Edge(\"first.tif\")");
}

}  // namespace
}  // namespace sv
