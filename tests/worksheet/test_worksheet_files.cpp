#include <gtest/gtest.h>
#include <unistd.h>

#include <bit>
#include <cctype>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "core/binary_file.h"
#include "core/globals.h"
#include "core/ini_profile.h"
#include "core/mdi_main.h"
#include "support/scripted_host.h"
#include "worksheet/form_worksheet.h"
#include "worksheet/import_options.h"
#include "worksheet/load_table.h"
#include "worksheet/sheet_formats.h"
#include "worksheet/sheet_plot.h"
#include "worksheet/worksheet_documents.h"

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

// --- Sheets --------------------------------------------------------------------------

namespace sv {
namespace {

class SheetFilesTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ResetGlobals();
    SetPlotFactory(nullptr);
  }
  void TearDown() override { SetPlotFactory(nullptr); }
  std::string Path(const std::string& name) const { return host.root + "/" + name; }

  // A sheet of `cols` data columns and `rows` data rows, cell (r, c) = r * 10 + c.
  void Fill(Form_Worksheet& s, long rows, long cols) {
    s.Cols(cols + 1);
    s.Rows(rows + 1);
    for (long r = 1; r <= rows; ++r)
      for (long c = 1; c <= cols; ++c) s.TextMatrix(r, c, Cell(float(r * 10 + c)));
  }
  // A file as the sheet writer lays it out: header, records, cells, and the
  // plot count when given.
  static std::string SheetBytes(int32_t rows, int16_t cols, const std::vector<float>& cells,
                                const std::string& tail = "") {
    std::string b = std::string("WORKSHEET\r\n", 11) + std::string(1025, '\0');
    b.append(reinterpret_cast<const char*>(&rows), 4);
    b.append(reinterpret_cast<const char*>(&cols), 2);
    for (int c = 0; c < cols; ++c) b += std::string(30, ' ') + std::string("\x02\x00", 2);
    b.append(reinterpret_cast<const char*>(cells.data()), cells.size() * 4);
    return b + tail;
  }
  static double Num(const Form_Worksheet& s, long r, long c) {
    double v = -999;
    EXPECT_TRUE(s.NumberAt(r, c, v)) << r << "," << c;
    return v;
  }

  test::ScriptedHost host;
};

TEST_F(SheetFilesTest, OneRowSheetSizeGapsAndWhatTheFileKeeps) {
  Form_Worksheet s;
  Fill(s, 1, 3);
  s.TextMatrix(1, 2, Cell("abc"));  // text: a gap
  s.TextMatrix(1, 3, Cell());       // Null: a gap
  s.Col(1);
  s.ColLabel("123456789012345678901234567890X");
  s.Col(2);
  s.ColLabel("E (eV)   ");
  s.ColTyp(kTypL);
  s.ColName(3, "Energy");
  const std::string path = Path("one.sht");
  ASSERT_EQ(s.SaveWorksheet(path), 0);
  const std::string bytes = test::ReadFile(path);
  ASSERT_EQ(bytes.size(), 1042u + 32 * 3 + 4 * 3 + 4);
  EXPECT_EQ(bytes.substr(0, 11), "WORKSHEET\r\n");
  const size_t cells = 1042 + 32 * 3;
  uint32_t bits[3];
  std::memcpy(bits, bytes.data() + cells, 12);
  EXPECT_FLOAT_EQ(std::bit_cast<float>(bits[0]), 11.0f);
  EXPECT_EQ(bits[1], 0xFF80FFFFu);
  EXPECT_EQ(bits[2], 0xFF80FFFFu);
  EXPECT_FALSE(s.Changed());
  EXPECT_EQ(s.Filename(), host.root + "/ONE.SHT");

  Form_Worksheet t;
  ASSERT_EQ(t.OpenWorksheet(s.Filename()), 0);  // the upper-cased name finds the file
  EXPECT_EQ(t.Rows(), 2);
  EXPECT_EQ(t.Cols(), 4);
  EXPECT_EQ(t.Record(1).Label, "123456789012345678901234567890");
  EXPECT_EQ(t.Record(2).Label, "E (eV)");
  EXPECT_EQ(t.Record(2).Typ, kTypL);
  EXPECT_EQ(t.ColName(3), "C1");      // names are not kept
  EXPECT_DOUBLE_EQ(Num(t, 1, 1), 11.0);
  EXPECT_TRUE(t.TextMatrix(1, 2).IsNull());
  EXPECT_FALSE(t.Changed());
  EXPECT_EQ(t.Plots(), 0);
}

TEST_F(SheetFilesTest, AnOpenedSheetCountsItsRowsFromOne) {
  // The file keeps no index column: whatever series the sheet had in memory,
  // the opened sheet has increment 1 and initial 1.
  Form_Worksheet s;
  Fill(s, 4, 2);
  s.TextMatrix(0, 0, 0.5);
  s.TextMatrix(1, 0, 10.0);
  for (long r = 2; r <= 4; ++r) s.TextMatrix(r, 0, 10.0 + 0.5 * (r - 1));
  const std::string path = Path("index.sht");
  ASSERT_EQ(s.SaveWorksheet(path, true), 0);

  Form_Worksheet t;
  Fill(t, 7, 3);  // what was there before goes
  ASSERT_EQ(t.OpenWorksheet(path), 0);
  ASSERT_EQ(t.Rows(), 5);
  EXPECT_DOUBLE_EQ(Num(t, 0, 0), 1.0);
  for (long r = 1; r <= 4; ++r) EXPECT_DOUBLE_EQ(Num(t, r, 0), double(r)) << "row " << r;
  EXPECT_DOUBLE_EQ(Num(t, 4, 2), 42.0);
  // Rows added later go on with the same series.
  t.Rows(7);
  EXPECT_DOUBLE_EQ(Num(t, 6, 0), 6.0);

  // A sheet of one data row, and one without columns.
  Form_Worksheet one;
  Fill(one, 1, 1);
  ASSERT_EQ(one.SaveWorksheet(Path("one.sht"), true), 0);
  Form_Worksheet u;
  ASSERT_EQ(u.OpenWorksheet(Path("one.sht")), 0);
  ASSERT_EQ(u.Rows(), 2);
  EXPECT_DOUBLE_EQ(Num(u, 1, 0), 1.0);
  test::WriteFile(Path("bare.sht"), SheetBytes(3, 0, {}));
  Form_Worksheet v;
  ASSERT_EQ(v.OpenWorksheet(Path("bare.sht")), 0);
  ASSERT_EQ(v.Rows(), 4);
  for (long r = 1; r <= 3; ++r) EXPECT_DOUBLE_EQ(Num(v, r, 0), double(r)) << "row " << r;
}

TEST_F(SheetFilesTest, SilentSaveLeavesNameAndState) {
  Form_Worksheet s;
  s.Filename("Data7.sht");
  Fill(s, 2, 2);
  ASSERT_TRUE(s.Changed());
  ASSERT_EQ(s.SaveWorksheet(Path("copy.sht"), true), 0);
  EXPECT_EQ(s.Filename(), "Data7.sht");
  EXPECT_TRUE(s.Changed());
  EXPECT_FALSE(host.busy);
  EXPECT_EQ(host.LastStatus(), "");
  EXPECT_EQ(test::ReadFile(Path("copy.sht")).size(), 1042u + 64 + 16 + 4);
}

TEST_F(SheetFilesTest, AFullDiskFailsTheSaveWithItsMessage) {
  if (::access("/dev/full", W_OK) != 0) GTEST_SKIP() << "no /dev/full";
  Form_Worksheet s;
  Fill(s, 3, 2);
  host.Answer(MsgResult::OK);
  EXPECT_EQ(s.SaveWorksheet("/dev/full", true), 61);
  ASSERT_FALSE(host.messages.empty());
  EXPECT_EQ(host.messages.back().text, "/dev/full\r\nError: Disk full");
  EXPECT_EQ(host.messages.back().title, "Worksheet");
}

TEST_F(SheetFilesTest, OldFileWithoutPlotBlockLoadsSilently) {
  const std::string path = Path("old.sht");
  test::WriteFile(path, SheetBytes(2, 1, {1.5f, 2.5f}));
  Form_Worksheet s;
  ASSERT_EQ(s.OpenWorksheet(path), 0);
  EXPECT_EQ(s.Rows(), 3);
  EXPECT_DOUBLE_EQ(Num(s, 2, 1), 2.5);
  EXPECT_TRUE(host.messages.empty());
}

TEST_F(SheetFilesTest, WrongMagicAndShortFilesGoThroughTheOneHandler) {
  MDIForm_Main main;
  main.Load();
  Form_Worksheet s(&main);
  struct Case {
    std::string name, bytes, error;
    long rows;  // data rows kept
  } cases[] = {
      {"bad.sht", "WORKSHEEX\r\n" + std::string(1100, '\0'),
       "11001 (Code #Application-defined or object-defined error)", 0},
      // Claims a billion rows and holds two: what was read stays.
      {"cut.sht", SheetBytes(1000000000, 1, {4.0f, 5.0f}), "Input past end of file", 2},
      {"missing.sht", "", "File not found", 0},
  };
  for (const auto& c : cases) {
    const std::string path = Path(c.name);
    if (!c.bytes.empty()) test::WriteFile(path, c.bytes);
    host.Answer(MsgResult::OK);
    EXPECT_NE(s.OpenWorksheet(path), 0);
    ASSERT_FALSE(host.messages.empty());
    const auto& m = host.messages.back();
    EXPECT_EQ(m.title, "Open Worksheet");
    EXPECT_EQ(m.text, path + "\r\nError: " + c.error);
    EXPECT_EQ(m.icon, MsgIcon::Critical);
    EXPECT_EQ(s.Rows() - 1, c.rows) << c.name;
    EXPECT_EQ(s.Filename(), host.root + "/" + [&] {
      std::string u = c.name;
      for (char& ch : u) ch = char(std::toupper(ch));
      return u;
    }());
    for (const auto& f : main.LastFiles) EXPECT_NE(f, path);
    EXPECT_FALSE(host.busy);
    EXPECT_EQ(host.LastStatus(), "");
  }
}

TEST_F(SheetFilesTest, MoreThanTheMostRowsEndInTheLastRow) {
  const long rows = kSheetMaxRows + 2;  // data rows in the file
  std::vector<float> cells(static_cast<size_t>(rows));
  for (long r = 0; r < rows; ++r) cells[size_t(r)] = float(r + 1);
  const std::string path = Path("long.sht");
  test::WriteFile(path, SheetBytes(int32_t(rows), 1, cells, std::string(4, '\0')));
  Form_Worksheet s;
  EXPECT_EQ(s.OpenWorksheet(path), 0);
  EXPECT_EQ(s.Rows(), kSheetMaxRows);
  EXPECT_EQ(G().LastErrorCode, 10015);
  EXPECT_DOUBLE_EQ(Num(s, kSheetMaxRows - 2, 1), double(kSheetMaxRows - 2));
  EXPECT_DOUBLE_EQ(Num(s, kSheetMaxRows - 1, 1), double(rows));
}

// A plot that keeps one string in the file.
class FakePlot : public SheetPlot {
 public:
  bool Invoke(const std::string&) override { return false; }
  bool Offers(const std::string&) const override { return false; }
  std::string Caption() const override { return name; }
  void SetWorksheet(Form_Worksheet*) override {}
  void RemoveCurve(long) override {}
  void ColsAdded(long, long) override {}
  long Curves() const override { return 0; }
  void ClearPlot() override {}
  void Update() override {}
  std::string PlotName() const override { return name; }
  void SetPlotName(const std::string& n) override { name = n; }
  long SavePlot(BinaryOut& f) override {
    f.Str("curve of " + name);
    return 0;
  }
  long OpenPlot(BinaryIn& f) override {
    stored = f.Str();
    return f.ok() ? 0 : 62;
  }
  void Unload() override {}
  std::string name, stored;
};

TEST_F(SheetFilesTest, PlotsFollowTheCellsInOrder) {
  SetPlotFactory([](Form_Worksheet&, bool) { return std::make_unique<FakePlot>(); });
  Form_Worksheet s;
  Fill(s, 1, 2);
  SheetPlot* p = nullptr;
  ASSERT_TRUE(s.NewPlot(p));
  ASSERT_TRUE(s.NewPlot(p));
  const std::string path = Path("plots.sht");
  ASSERT_EQ(s.SaveWorksheet(path), 0);
  Form_Worksheet t;
  ASSERT_EQ(t.OpenWorksheet(path), 0);
  ASSERT_EQ(t.Plots(), 2);
  EXPECT_EQ(static_cast<FakePlot*>(t.FindPlot(t.PlotWindowHwnd(0)))->stored, "curve of Plot1");
  EXPECT_EQ(static_cast<FakePlot*>(t.FindPlot(t.PlotWindowHwnd(1)))->stored, "curve of Plot2");
}

TEST_F(SheetFilesTest, LookupTable) {
  test::WriteFile(Path("t.sht"), SheetBytes(3, 2, {2, 30, 0, 10, 1, 20}));
  SheetTable table;
  ASSERT_EQ(LoadTable(Path("t"), table), 0);
  EXPECT_EQ(table.Count, 3);
  EXPECT_EQ(table.Values, (std::vector<float>{10, 20, 30}));
  test::WriteFile(Path("u.sht"), SheetBytes(2, 2, {0, 1, 2, 1}));  // index 2 of 2 rows
  EXPECT_EQ(LoadTable(Path("u.sht"), table), 11007);
  test::WriteFile(Path("v.sht"), SheetBytes(1, 1, {0}));
  EXPECT_EQ(LoadTable(Path("v.sht"), table), 11007);
  test::WriteFile(Path("w.sht"), "no sheet");
  EXPECT_EQ(LoadTable(Path("w.sht"), table), 11001);
}

// --- ".MOS" -------------------------------------------------------------------------

TEST_F(SheetFilesTest, MosShortLineAddsNoRowAndVelocityRunsAcross) {
  const std::string path = Path("spec.mos");
  test::WriteFile(path, "10 mm/s\r\ncomment\r\n      100      300\r\n1234\r\n      200      400\r\n");
  Form_Worksheet s;
  ASSERT_EQ(s.OpenMOS(path), 0);
  ASSERT_EQ(s.Rows(), 5);  // 2 + 0 + 2 fields
  EXPECT_EQ(s.Cols(), 4);
  EXPECT_EQ(s.ColName(1), "v (mm/s)");
  EXPECT_EQ(s.ColName(2), "I (counts)");
  EXPECT_EQ(s.Record(1).Typ, kTypX);
  const double intensity[] = {100, 300, 200, 400};
  for (long r = 1; r <= 4; ++r) {
    EXPECT_NEAR(Num(s, r, 1), (r / 2.5 - 1.0) * 10.0, 1e-5);
    EXPECT_DOUBLE_EQ(Num(s, r, 2), intensity[r - 1]);
    EXPECT_DOUBLE_EQ(Num(s, r, 3), 400 - intensity[r - 1]);
  }
  EXPECT_EQ(s.Filename(), host.root + "/SPEC.MOS");
  EXPECT_FALSE(s.Changed());
}

// --- ASCII import and export ---------------------------------------------------------

TEST_F(SheetFilesTest, ImportOptions) {
  struct Case {
    const char* what;
    std::string file;
    int delimiter, structure, importAs, header, headerLines;
    std::string colWidth;
    std::vector<std::vector<std::string>> cells;  // rows 1.. of the new columns
    std::vector<std::string> labels;
  } cases[] = {
      {"tabs need no replacement", "1.5\t2\r\n3.5\t4\r\n", 0, 0, 0, 0, 1, "",
       {{"1,5", "2"}, {"3,5", "4"}}, {"", ""}},
      {"commas become tabs, points commas", "1.5,2\r\n3.5,4\r\n", ',', 0, 0, 0, 1, "",
       {{"1,5", "2"}, {"3,5", "4"}}, {"", ""}},
      {"a text line is the header", "E (eV)\tI.max\r\n1\t2\r\n", 0, 0, 0, 0, 1, "",
       {{"1", "2"}}, {"E (eV)", "I,max"}},
      {"header lines skipped", "run 7\r\nx\r\n1;2\r\n", ';', 0, 0, 1, 2, "",
       {{"1", "2"}}, {"", ""}},
      {"fixed width", "  1.5  2.0\r\n  3.0  4.0\r\n", 0, 1, 0, 0, 1, "5",
       {{"  1,5", "  2,0"}, {"  3,0", "  4,0"}}, {"", ""}},
      {"as columns: later lines keep no commas", "1.5,2\r\n3.5,4\r\n", ',', 0, 1, 0, 1, "",
       {{"1,5", "2"}, {"3.5", "4"}}, {"", ""}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    const std::string path = Path("in.dat");
    test::WriteFile(path, c.file);
    Form_Worksheet s;
    s.Delimiter = c.delimiter;
    s.Structure = c.structure;
    s.ImportAs = c.importAs;
    s.Header = c.header;
    s.HeaderLines = c.headerLines;
    s.ColWidthText = c.colWidth;
    long first = 1;
    if (c.importAs == 1) {
      Fill(s, 2, 1);
      first = 2;
    }
    ASSERT_EQ(s.Import(path), 0);
    EXPECT_EQ(s.Cols(), first + 2);
    EXPECT_EQ(s.Rows(), long(c.cells.size()) + 1);
    for (size_t r = 0; r < c.cells.size(); ++r)
      for (size_t k = 0; k < c.cells[r].size(); ++k)
        EXPECT_EQ(s.TextMatrix(long(r) + 1, first + long(k)).Text(), c.cells[r][k]);
    for (size_t k = 0; k < c.labels.size(); ++k)
      EXPECT_EQ(s.Record(first + long(k)).Label, c.labels[k]);
    EXPECT_EQ(s.ColName(first), std::string(1, char('A' + first - 1)));
    EXPECT_EQ(s.Filename(), host.root + "/IN.SHT");
    EXPECT_TRUE(s.Changed());
  }
}

TEST_F(SheetFilesTest, AnImportedSheetCountsItsRowsFromOne) {
  const std::string in = Path("scan.dat");
  std::string text = "E (eV)\tI\r\n";
  const long lines = 1100;  // rows grow in steps of 1024: two steps, then trimmed
  for (long i = 1; i <= lines; ++i) text += std::to_string(i * 2) + "\t" + std::to_string(i) + "\r\n";
  test::WriteFile(in, text);
  Form_Worksheet s;
  Fill(s, 3, 1);
  s.TextMatrix(0, 0, 2.0);  // the old series goes with the old sheet
  s.Header = 1;
  s.HeaderLines = 0;
  s.UnknownColumns = 1;
  s.RenameColumns = 1;
  s.RenameWorksheet = 0;
  ASSERT_EQ(s.Import(in), 0);
  ASSERT_EQ(s.Rows(), lines + 1);
  EXPECT_EQ(s.Record(1).Label, "E (eV)");
  EXPECT_DOUBLE_EQ(Num(s, 0, 0), 1.0);
  for (long r = 1; r <= lines; ++r) ASSERT_DOUBLE_EQ(Num(s, r, 0), double(r)) << "row " << r;

  const std::string path = Path("scan.sht");
  ASSERT_EQ(s.SaveWorksheet(path, true), 0);
  Form_Worksheet t;
  ASSERT_EQ(t.OpenWorksheet(path), 0);
  ASSERT_EQ(t.Rows(), lines + 1);
  for (long r = 1; r <= lines; ++r) ASSERT_DOUBLE_EQ(Num(t, r, 0), double(r)) << "row " << r;
  EXPECT_DOUBLE_EQ(Num(t, lines, 1), 2.0 * lines);
}

TEST_F(SheetFilesTest, ImportAsRowsAndAColumnLimit) {
  const std::string path = Path("in.dat");
  test::WriteFile(path, "5\t6\t7\r\n8\t9\t10\r\n");
  Form_Worksheet s;
  Fill(s, 2, 1);
  s.ImportAs = 2;
  s.UnknownColumns = 0;
  s.Columns = 2;
  s.RenameColumns = 0;
  s.RenameWorksheet = 0;
  ASSERT_EQ(s.Import(path), 0);
  EXPECT_EQ(s.Rows(), 5);
  EXPECT_EQ(s.Cols(), 3);
  EXPECT_DOUBLE_EQ(Num(s, 2, 1), 21);
  EXPECT_EQ(s.TextMatrix(3, 1).Text(), "5");
  EXPECT_EQ(s.TextMatrix(4, 2).Text(), "9");
  EXPECT_TRUE(s.TextMatrix(2, 2).IsNull());
  EXPECT_EQ(s.ColName(2), "B");
  EXPECT_EQ(s.Filename(), "");
}

TEST_F(SheetFilesTest, SaveStatusIsRationedAndCleared) {
  Form_Worksheet s;
  Fill(s, 10, 1);
  host.tick = 100;  // every look at the clock is 100 ms later
  host.status.clear();
  ASSERT_EQ(s.SaveWorksheet(Path("s.sht")), 0);
  EXPECT_EQ(host.status, (std::vector<std::string>{"Save Worksheet...", "Save Worksheet...(18%)",
                                                   "Save Worksheet...(64%)", ""}));
}

TEST_F(SheetFilesTest, DialogCommands) {
  MDIForm_Main main;
  main.Load();
  RegisterWorksheetDocuments(main);
  // A cancelled Open takes the new sheet away again.
  auto* s = dynamic_cast<Form_Worksheet*>(main.CreateWorksheet());
  ASSERT_NE(s, nullptr);
  host.AnswerFile("");
  s->FileOpen();
  EXPECT_EQ(main.SheetCount, 0);
  ASSERT_EQ(host.fileDialogs.size(), 1u);
  EXPECT_EQ(host.fileDialogs[0].title, "Open Worksheet");
  EXPECT_EQ(host.fileDialogs[0].filter.substr(0, 31), "Worksheet Files (*.sht)|*.sht|M");
  // The second entry reads ".MOS" files.
  test::WriteFile(Path("m.txt"), "1 x\r\nc\r\n        1\r\n");
  s = dynamic_cast<Form_Worksheet*>(main.CreateWorksheet());
  host.AnswerFile(Path("m.txt"), 2);
  s->FileOpen();
  EXPECT_EQ(s->Rows(), 2);
  EXPECT_EQ(s->ColName(2), "I (counts)");
  // Export proposes the sheet's name as ".dat".
  host.AnswerFile(Path("m"));
  s->FileExport();
  EXPECT_EQ(host.fileDialogs.back().title, "Export ASCII");
  EXPECT_EQ(host.fileDialogs.back().filter, "Ascii Files (*.dat)|*.dat||");
  EXPECT_EQ(host.fileDialogs.back().fileName, "M.dat");
  EXPECT_EQ(test::ReadFile(Path("m.dat")), "v (mm/s)\tI (counts)\tC1\r\n0\t1\t0\r\n");
}

TEST_F(SheetFilesTest, ExportWritesNullsAsEmptyFields) {
  Form_Worksheet s;
  Fill(s, 2, 3);
  s.TextMatrix(1, 2, Cell());
  s.Col(1);
  s.ColLabel("E");
  s.SetSelection(-1, -1, -1, -1);
  ASSERT_EQ(s.Export(Path("out.dat")), 0);
  EXPECT_EQ(test::ReadFile(Path("out.dat")), "E\t\t\r\n11\t\t13\r\n21\t22\t23\r\n");
  // Whole columns 2 and 3 without labels: the names.
  s.SetSelection(0, 2, 2, 3);
  ASSERT_EQ(s.Export(Path("cols.dat")), 0);
  EXPECT_EQ(test::ReadFile(Path("cols.dat")), "B\tC1\r\n\t13\r\n22\t23\r\n");
}

// --- Clipboard ------------------------------------------------------------------------

TEST_F(SheetFilesTest, CopyAndPasteKeepANullThroughADash) {
  Form_Worksheet s;
  Fill(s, 2, 2);
  s.TextMatrix(2, 1, Cell());
  s.SetSelection(1, 1, 2, 2);
  s.EditCopy();
  EXPECT_EQ(host.clipboard, "11\t12\r\n-\t22\r\n");

  Form_Worksheet t;
  Fill(t, 3, 3);
  t.SetSelection(2, 2, 2, 2);  // one cell: widened for the paste, then restored
  t.EditPaste();
  EXPECT_DOUBLE_EQ(Num(t, 2, 2), 11);
  EXPECT_DOUBLE_EQ(Num(t, 2, 3), 12);
  EXPECT_TRUE(t.TextMatrix(3, 2).IsNull());
  EXPECT_DOUBLE_EQ(Num(t, 3, 3), 22);
  EXPECT_DOUBLE_EQ(Num(t, 1, 2), 12);  // above the selection: untouched
  EXPECT_EQ(t.SelEndRow(), 2);
  EXPECT_EQ(t.SelEndCol(), 2);

  // Whole columns bring their labels; a break leaves the clipboard alone.
  t.Col(1);
  t.ColLabel("x");
  t.SetSelection(0, 1, 3, 1);
  G().BreakFlag = true;
  t.EditCopy();
  EXPECT_EQ(host.clipboard, "11\t12\r\n-\t22\r\n");
  G().BreakFlag = false;
  t.EditCopy();
  EXPECT_EQ(host.clipboard, "x\r\n11\r\n21\r\n31\r\n");
}

}  // namespace
}  // namespace sv
