#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "core/binary_file.h"
#include "core/globals.h"
#include "core/ini_profile.h"
#include "support/scripted_host.h"
#include "worksheet/import_options.h"
#include "worksheet/sheet_formats.h"

namespace sv {
namespace {

// --- Pieces without a sheet ----------------------------------------------------

TEST(SheetFormats, PreviewTokens) {
  const std::string bytes = std::string("a\0\t\n\r", 5) + "\x01\x1f\x7f\xff" + " ~";
  EXPECT_EQ(PreviewText(bytes, false), bytes);
  EXPECT_EQ(PreviewText(bytes, true), "a[NULL][TAB][LF][CR][01][31][127][255] ~");
}

TEST(SheetFormats, ColumnRecordCutsAtThirtyAndLosesTrailingBlanks) {
  test::ScriptedHost host;
  const std::string path = host.root + "/rec.bin";
  const std::string longLabel = "123456789012345678901234567890X";
  {
    BinaryOut out;
    ASSERT_TRUE(out.Create(path));
    WriteColumnRecord(out, longLabel, 1);
    WriteColumnRecord(out, "E (eV)   ", 4);
    ASSERT_TRUE(out.Close());
  }
  const std::string bytes = test::ReadFile(path);
  ASSERT_EQ(bytes.size(), 2 * kSheetColumnRecordSize);
  EXPECT_EQ(bytes.substr(30, 2), std::string("\x02\x00", 2));
  EXPECT_EQ(bytes.substr(32, 30), "E (eV)" + std::string(24, ' '));
  BinaryIn in;
  ASSERT_TRUE(in.Open(path));
  std::string label;
  int16_t typ = -9;
  ReadColumnRecord(in, label, typ);
  EXPECT_EQ(label, longLabel.substr(0, 30));
  EXPECT_EQ(typ, 1);
  ReadColumnRecord(in, label, typ);
  EXPECT_EQ(label, "E (eV)");
  EXPECT_EQ(typ, 4);
}

TEST(SheetFormats, MosFieldsAndVelocity) {
  // Length / 9 rounded: 4 characters make no field, 5 make one.
  EXPECT_TRUE(MosFields("1234").empty());
  ASSERT_EQ(MosFields("12345").size(), 1u);
  const auto f = MosFields("      100      200   3");
  ASSERT_EQ(f.size(), 2u);  // 22 / 9 = 2.44
  EXPECT_EQ(f[0], "      100");
  EXPECT_EQ(f[1], "      200");
  EXPECT_FLOAT_EQ(MosVmax("12.5 mm/s run"), 12.5f);
  EXPECT_FLOAT_EQ(MosVmax("12.5"), 1.0f);
  // Rows 5 (4 data rows): -0.6, -0.2, 0.2, 0.6 of vmax... r / 2.5 - 1.
  EXPECT_FLOAT_EQ(MosVelocity(1, 5, 10.0f), -6.0f);
  EXPECT_FLOAT_EQ(MosVelocity(4, 5, 10.0f), 6.0f);
}

TEST(SheetFormats, NumericTextsAcceptTheDecimalComma) {
  struct Case {
    const char* text;
    bool numeric;
    double value;
  } cases[] = {{"1,5", true, 1.5}, {" -2.5e3 ", true, -2500}, {"12abc", false, 12},
               {"abc", false, 0},  {"", false, 0},            {"1,234.5", false, 1.234}};
  for (const auto& c : cases) {
    EXPECT_EQ(IsNumericText(c.text), c.numeric) << c.text;
    EXPECT_DOUBLE_EQ(TextValue(c.text), c.value) << c.text;
  }
}

TEST(ImportOptions, DialogFieldsFollowTheSettings) {
  Form_ImportOptions form;
  EXPECT_EQ(Form_ImportOptions::DelimiterNames(),
            (std::vector<std::string>{"Comma (,)", "Tab", "Space", "Other"}));
  struct Case {
    uint8_t code;
    int entry;
    std::string other;
  } cases[] = {{',', 0, ""}, {0, 1, ""}, {' ', 2, ""}, {';', 3, ";"}};
  for (const auto& c : cases) {
    ImportSettings s;
    s.Delimiter = c.code;
    form.Load(s);
    EXPECT_EQ(form.Combo_Delimiter, c.entry);
    EXPECT_EQ(form.Text_Delimiter, c.other);
    EXPECT_EQ(form.Text_DelimiterEnabled(), c.entry == 3);
    EXPECT_EQ(form.Settings(), s);
  }
  EXPECT_FALSE(form.Text_ColWidthEnabled());
  form.Option_FileStructure = 1;
  EXPECT_TRUE(form.Text_ColWidthEnabled());
}

TEST(ImportOptions, IniKeysAndDefaults) {
  test::ScriptedHost host;
  const std::string ini = host.root + "/sv.ini";
  EXPECT_EQ(ReadImportSettings(ini), ImportSettings{});
  ImportSettings s;
  s.Structure = 1;
  s.Delimiter = ';';
  s.ColWidth = "8";
  s.Header = 1;
  s.HeaderLines = 3;
  s.ImportAs = 2;
  s.UnknownColumns = 0;
  s.Columns = 4;
  s.RenameColumns = 0;
  s.RenameWorksheet = 0;
  WriteImportSettings(s, ini);
  EXPECT_EQ(ReadImportSettings(ini), s);
  const Profile p = Profile::Load(ini);
  EXPECT_EQ(p.Keys("Import"),
            (std::vector<std::string>{"Structure", "Delimiter", "ColWidth", "Header",
                                      "HeaderLines", "ImportAs", "UnknownColumns", "Columns",
                                      "RenameColumns", "RenameWorksheet"}));
  EXPECT_EQ(p.GetString("Import", "Delimiter", ""), "59");
}

TEST(ImportOptions, PreviewOfAFile) {
  test::ScriptedHost host;
  const std::string path = host.root + "/a.dat";
  test::WriteFile(path, "1\t2\r\n");
  Form_ImportOptions form;
  host.AnswerFile(path);
  form.Command_Preview();
  ASSERT_EQ(host.fileDialogs.size(), 1u);
  EXPECT_EQ(host.fileDialogs[0].title, "Import ASCII");
  EXPECT_EQ(form.Text_Preview, "1\t2\r\n");
  form.Check_PreviewMode = true;
  form.Check_PreviewMode_Click();
  EXPECT_EQ(form.Text_Preview, "1[TAB]2[CR][LF]");
}

}  // namespace
}  // namespace sv
