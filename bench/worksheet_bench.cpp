// Worksheets: a full sheet of 65520 rows by 100 columns appended row by row,
// saved and opened again, beside a plain write and read of the same bytes.
// Sheet files are held to at most twice the plain rows. The sheet is made as
// an experiment makes it, from 32-bit records; a sheet of doubles (16-byte
// cells) is timed beside it without a target.
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "harness.h"
#include "worksheet/form_worksheet.h"

namespace {

constexpr long kRows = 65520, kCols = 100;
constexpr size_t kCellBytes = size_t(kRows) * kCols * 4;  // the file's cells

std::string Temp(const char* name) {
  static const std::string folder = [] {
    std::error_code ec;
    return std::filesystem::is_directory("/dev/shm", ec) ? std::string("/dev/shm/")
                                                         : std::string("/tmp/");
  }();
  return folder + "sv_sheet_bench_" + name;
}

template <class T>
std::vector<T> RowValues(long row) {
  std::vector<T> v(size_t(kCols) + 1);
  for (long c = 1; c <= kCols; ++c) v[size_t(c)] = T(double(row) * 0.5 + double(c));
  return v;
}

template <class T>
void Append(sv::Form_Worksheet& sheet) {
  sheet.Redraw(false);
  sheet.ResetWorksheet();
  sheet.Cols(kCols + 1);
  sheet.Row(0);
  for (long r = 1; r <= kRows - 1; ++r) sheet.SetRowData(RowValues<T>(r));
}

template <class T>
sv::Form_Worksheet& Full() {
  static sv::Form_Worksheet* sheet = [] {
    auto* s = new sv::Form_Worksheet();
    Append<T>(*s);
    s->SaveWorksheet(Temp(sizeof(T) == 4 ? "full.sht" : "full64.sht"), true);
    return s;
  }();
  return *sheet;
}

std::vector<char>& Buffer() {
  static std::vector<char> b(kCellBytes + (64 << 10));
  return b;
}

}  // namespace

SVBENCH_ROWS(SheetRows) {
  svbench::Kernel("SetRowData (65520 x 100)", kCellBytes, [] {
    static sv::Form_Worksheet sheet;
    Append<float>(sheet);
    svbench::Use(&sheet);
  });
  svbench::Kernel("SaveWorksheet (65520 x 100)", kCellBytes,
                  [] { Full<float>().SaveWorksheet(Temp("b.sht"), true); });
  svbench::Kernel("SaveWorksheet (doubles)", kCellBytes,
                  [] { Full<double>().SaveWorksheet(Temp("b64.sht"), true); });
  svbench::Kernel("plain write (26 MB file)", kCellBytes, [] {
    std::FILE* f = std::fopen(Temp("c.raw").c_str(), "wb");
    if (!f) return;
    std::fwrite(Buffer().data(), 1, kCellBytes, f);
    std::fclose(f);
  });
  svbench::Kernel("OpenWorksheet (65520 x 100)", kCellBytes, [] {
    static sv::Form_Worksheet sheet;
    Full<float>();
    sheet.OpenWorksheet(Temp("full.sht"));
    svbench::Use(&sheet);
  });
  svbench::Kernel("plain read (26 MB file)", kCellBytes, [] {
    Full<float>();
    std::FILE* f = std::fopen(Temp("full.sht").c_str(), "rb");
    if (!f) return;
    const size_t n = std::fread(Buffer().data(), 1, Buffer().size(), f);
    std::fclose(f);
    svbench::Use(&n);
  });
  svbench::TargetAgainst("SaveWorksheet (65520 x 100)", "plain write (26 MB file)", 2.0);
  svbench::TargetAgainst("OpenWorksheet (65520 x 100)", "plain read (26 MB file)", 2.0);
  auto memory = [](const char* what, const sv::Form_Worksheet& s) {
    char line[200];
    std::snprintf(line, sizeof line,
                  "worksheet memory, %s: %.1f bytes per cell (%ld x %ld cells, %.1f MB)", what,
                  double(s.CellStorageBytes()) / (double(s.Rows()) * double(s.Cols())), s.Rows(),
                  s.Cols(), double(s.CellStorageBytes()) / 1048576.0);
    return std::string(line);
  };
  svbench::Note([memory] { return memory("appended from 32-bit records", Full<float>()); });
  svbench::Note([memory] { return memory("appended as doubles", Full<double>()); });
}
