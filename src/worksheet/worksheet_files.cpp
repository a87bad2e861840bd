// Sheet files, ".MOS" files, ASCII import and export, the clipboard.
#include <dirent.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>
#include <memory>
#include <new>

#include "core/binary_file.h"
#include "core/error_table.h"
#include "core/globals.h"
#include "core/host.h"
#include "core/mdi_main.h"
#include "image/kernel/numbers.h"
#include "worksheet/form_worksheet.h"
#include "worksheet/worksheet_cells.h"
#include "worksheet/import_options.h"
#include "worksheet/sheet_formats.h"
#include "worksheet/sheet_plot.h"

namespace sv {

namespace {

constexpr const char* kOpenTitle = "Open Worksheet";
constexpr const char* kSaveTitle = "Save Worksheet";
constexpr const char* kSaveErrorTitle = "Worksheet";
constexpr const char* kExportTitle = "Export ASCII";
constexpr const char* kImportTitle = "Import ASCII";
constexpr const char* kCRLF = "\r\n";

// Run-time error numbers of the file steps.
constexpr long kErrOverflow = 6;
constexpr long kErrOutOfMemory = 7;
constexpr long kErrFileNotFound = 53;
constexpr long kErrIOError = 57;
constexpr long kErrDiskFull = 61;
constexpr long kErrPastEnd = 62;
constexpr long kErrPermission = 70;
constexpr long kErrAccess = 75;
constexpr long kErrPathNotFound = 76;

// No sheet a file or an import makes holds more cells than this: the sheet
// the workbench is built for is 65520 x 100; this leaves room, and keeps a
// hostile file from asking for more memory than the machine has.
constexpr long kMaxCells = kSheetMaxRows * 256;
// Rows the import adds at a time.
constexpr long kGrowStep = 1024;

// A sheet file's cells go through a block of about this size.
constexpr size_t kFileBlockBytes = 400 << 10;

// The block, kept from one file to the next: fresh pages of this size would
// cost more than reading into them. A file read or written while another one
// is (from the events of a status update) has a block of its own. data() is
// null without the memory.
class FileBlock {
 public:
  explicit FileBlock(size_t bytes) {
    Kept& kept = Shared();
    if (kept.busy) {
      own_.reset(new (std::nothrow) uint8_t[bytes]);
      data_ = own_.get();
      return;
    }
    if (bytes > kept.size) {
      kept.memory.reset();
      kept.memory.reset(new (std::nothrow) uint8_t[bytes]);
      kept.size = kept.memory ? bytes : 0;
    }
    data_ = kept.memory.get();
    kept.busy = data_ != nullptr;
    shared_ = kept.busy;
  }
  ~FileBlock() {
    if (shared_) Shared().busy = false;
  }
  FileBlock(const FileBlock&) = delete;
  FileBlock& operator=(const FileBlock&) = delete;
  uint8_t* data() const { return data_; }

 private:
  struct Kept {
    std::unique_ptr<uint8_t[]> memory;
    size_t size = 0;
    bool busy = false;
  };
  static Kept& Shared() {
    thread_local Kept kept;
    return kept;
  }
  std::unique_ptr<uint8_t[]> own_;
  uint8_t* data_ = nullptr;
  bool shared_ = false;
};

// The folder the sheet dialogs start in; follows the last file.
std::string& DialogFolder() {
  static std::string folder;
  return folder;
}

std::string StartFolder() {
  return DialogFolder().empty() ? G().SheetsPath : DialogFolder();
}

std::string FolderOf(const std::string& path) {
  const size_t slash = path.find_last_of('/');
  return slash == std::string::npos ? std::string() : path.substr(0, slash + 1);
}

std::string NameOf(const std::string& path) {
  const size_t slash = path.find_last_of('/');
  return slash == std::string::npos ? path : path.substr(slash + 1);
}

std::string Upper(std::string s) {
  for (char& c : s) c = char(std::toupper(static_cast<unsigned char>(c)));
  return s;
}

bool HasDot(const std::string& path) { return NameOf(path).find('.') != std::string::npos; }

// The name a sheet takes from its file: the folder as it is, the file's own
// name in upper case.
std::string SheetName(const std::string& path) { return FolderOf(path) + Upper(NameOf(path)); }

// The path with the extension of its file name replaced.
std::string WithExtension(const std::string& path, const std::string& ext) {
  const std::string name = NameOf(path);
  const size_t dot = name.find_last_of('.');
  return FolderOf(path) + (dot == std::string::npos ? name : name.substr(0, dot)) + ext;
}

// File names compare without regard to case, as on the system the files come
// from: a name that does not exist as written is looked up case-blind in its
// folder ("DATA.SHT" finds "data.sht").
std::string ResolveCase(const std::string& path) {
  struct stat st;
  if (path.empty() || ::stat(path.c_str(), &st) == 0) return path;
  const std::string folder = FolderOf(path), want = Upper(NameOf(path));
  DIR* dir = ::opendir(folder.empty() ? "." : folder.c_str());
  if (!dir) return path;
  std::string found = path;
  while (const dirent* e = ::readdir(dir)) {
    if (Upper(e->d_name) == want) {
      found = folder + e->d_name;
      break;
    }
  }
  ::closedir(dir);
  return found;
}

// The run-time error of a failed open or create.
long OpenError(int err, bool create) {
  switch (err) {
    case ENOENT: return create ? kErrPathNotFound : kErrFileNotFound;
    case ENOTDIR: return kErrPathNotFound;
    case EACCES:
    case EPERM:
    case EROFS: return kErrPermission;
    case ENOSPC: return kErrDiskFull;
    default: return kErrAccess;
  }
}

long WriteError(int err) { return err == ENOSPC ? kErrDiskFull : kErrIOError; }

void Status(Form_Worksheet& sheet, const std::string& text) {
  if (MDIForm_Main* m = sheet.Main()) m->ShowStatus(text);
  else ShowStatus(text);
}

void StopMessage(const std::string& text, const std::string& title) {
  if (HasHost()) host().MsgBox(text, MsgButtons::OK, MsgIcon::Critical, title);
}

// The handlers' message: the file, CRLF, "Error: " and the error's text.
std::string ErrorMessage(const std::string& file, long code) {
  return file + kCRLF + "Error: " + ErrorText(int(code));
}

void DoEvents() {
  if (HasHost()) host().DoEvents();
}

// Busy pointer for the length of an operation; the status line is cleared
// and the pointer restored however it ends.
class BusyScope {
 public:
  explicit BusyScope(Form_Worksheet& sheet) : sheet_(sheet) {
    if (HasHost()) host().SetBusy(true);
  }
  ~BusyScope() {
    Status(sheet_, "");
    if (HasHost()) host().SetBusy(false);
  }
  BusyScope(const BusyScope&) = delete;
  BusyScope& operator=(const BusyScope&) = delete;

 private:
  Form_Worksheet& sheet_;
};

void RemoveFromLastFiles(MDIForm_Main* main, const std::string& path) {
  if (!main) return;
  for (int i = 0; i < int(main->LastFiles.size()); ++i) {
    if (Upper(main->LastFiles[size_t(i)]) == Upper(path)) {
      main->RemoveLastFile(i);
      return;
    }
  }
}

// Reads a whole text file; an error number when it cannot.
long ReadText(const std::string& path, std::string& text) {
  text.clear();
  std::FILE* f = std::fopen(path.c_str(), "rb");
  if (!f) return OpenError(errno, false);
  char buf[1 << 16];
  size_t n;
  while ((n = std::fread(buf, 1, sizeof buf, f)) > 0) text.append(buf, n);
  const bool bad = std::ferror(f) != 0;
  std::fclose(f);
  return bad ? kErrIOError : 0;
}

// The lines of a text with the offset after each (for the progress).
struct TextLines {
  std::vector<std::string> lines;
  std::vector<size_t> ends;
};

TextLines LinesOf(const std::string& text) {
  TextLines t;
  t.lines = SplitLines(text, &t.ends);
  return t;
}

std::string PercentFormat(double done, double total) {
  char buf[32];
  std::snprintf(buf, sizeof buf, "%.2f%%", total > 0 ? done / total * 100.0 : 0.0);
  return buf;
}

// A text file written line by line.
class TextOut {
 public:
  ~TextOut() {
    if (f_) std::fclose(f_);
  }
  long Create(const std::string& path) {
    f_ = std::fopen(path.c_str(), "wb");
    return f_ ? 0 : OpenError(errno, true);
  }
  void Line(const std::string& text) {
    buffer_ += text;
    buffer_ += kCRLF;
    if (buffer_.size() >= (1u << 16)) Flush();
  }
  long Close() {
    Flush();
    long result = error_;
    if (std::fclose(f_) != 0 && !result) result = WriteError(errno);
    f_ = nullptr;
    return result;
  }

 private:
  void Flush() {
    if (!error_ && !buffer_.empty() && std::fwrite(buffer_.data(), 1, buffer_.size(), f_) != buffer_.size())
      error_ = WriteError(errno);
    buffer_.clear();
  }
  std::FILE* f_ = nullptr;
  std::string buffer_;
  long error_ = 0;
};

// The open dialog of the sheet files: the path and the filter picked, or ""
// when cancelled.
FileDialogResult AskOpenSheet(const std::string& title) {
  if (!HasHost()) return {};
  FileDialog dlg;
  dlg.title = title;
  dlg.filter = "Worksheet Files (*.sht)|*.sht|MOS Files (*.MOS)|*.MOS|All Files (*.*)|*.*|";
  dlg.filterIndex = 1;
  dlg.folder = StartFolder();
  FileDialogResult r = host().OpenFileDialog(dlg);
  if (!r.path.empty()) DialogFolder() = FolderOf(r.path);
  return r;
}

// Index 1 of the dialog reads a sheet, 2 a ".MOS" file; "All Files" goes by
// the extension.
bool IsMosChoice(const FileDialogResult& r) {
  if (r.filterIndex == 2) return true;
  if (r.filterIndex == 1) return false;
  const std::string name = Upper(NameOf(r.path));
  return name.size() >= 4 && name.substr(name.size() - 4) == ".MOS";
}

}  // namespace

// --- Sheet files ---------------------------------------------------------------

namespace {

// The save dialog; "" when cancelled.
std::string AskSaveSheet(const Form_Worksheet& sheet) {
  if (!HasHost()) return "";
  FileDialog dlg;
  dlg.title = kSaveTitle;
  dlg.filter = sheet.SaveFilter;
  dlg.folder = StartFolder();
  dlg.fileName = NameOf(sheet.Filename());
  std::string path = host().SaveFileDialog(dlg).path;
  if (!path.empty() && !HasDot(path)) path += "." + sheet.DefaultExt;
  return path;
}

}  // namespace

long Form_Worksheet::SaveWorksheet(const std::string& filename, bool silent) {
  std::string name = filename;
  if (name.empty()) {
    name = AskSaveSheet(*this);
    if (name.empty()) return 0;
  }
  BusyScope busy(*this);
  Status(*this, "Save Worksheet...");
  const std::string path = ResolveCase(name);

  long result = 0;
  BinaryOut out;
  if (Cols() - 1 > 0x7FFF) {
    result = kErrOverflow;  // the file counts columns in 16 bits
  } else if (!out.Create(path)) {
    result = OpenError(errno, true);
  } else {
    const long rows = Rows(), cols = Cols();
    WriteSheetHeader(out, int32_t(rows - 1), int16_t(cols - 1));
    for (long c = 1; c < cols; ++c) WriteColumnRecord(out, Record(c).Label, Record(c).Typ);
    StatusRation ration;
    // About 400 KB of rows at a time, each block written in one go.
    const size_t rowBytes = size_t(cols - 1) * 4;
    const long chunk = rowBytes ? std::max<long>(1, long(kFileBlockBytes / rowBytes)) : 1;
    const FileBlock memory(rowBytes * size_t(std::min(chunk, std::max<long>(1, rows - 1))));
    uint8_t* const block = rowBytes ? memory.data() : nullptr;
    if (rowBytes && !block) result = kErrOutOfMemory;
    const bool status = HasHost();
    for (long r = 1; r < rows && out.ok() && block; r += chunk) {
      const long n = std::min(chunk, rows - r);
      impl_->LoadFileRows(r, n, block, cols - 1);
      out.Block(block, rowBytes * size_t(n));
      // Without a host there is no status line to tell.
      for (long i = r; status && i < r + n; ++i)
        if (ration.Due()) Status(*this, "Save Worksheet...(" + PercentText(i, rows) + "%)");
    }
    out.I32(int32_t(Plots()));
    for (long i = 0; i < Plots() && result == 0; ++i) {
      // A plot whose window has gone writes nothing.
      if (SheetPlot* plot = FindPlot(PlotWindowHwnd(i))) result = plot->SavePlot(out);
    }
    if (!out.Close() && result == 0) result = WriteError(errno);
  }
  if (result != 0) {
    StopMessage(ErrorMessage(name, result), kSaveErrorTitle);
    return result;
  }
  if (!silent) {
    Filename(SheetName(name));
    Saved();
    DialogFolder() = FolderOf(path);
    if (Main()) Main()->UpdateLastFiles(name);
  }
  return 0;
}

long Form_Worksheet::OpenWorksheet(const std::string& filename) {
  Redraw(false);
  ResetWorksheet();
  UpdatePlots();
  BusyScope busy(*this);
  Status(*this, "Open Worksheet...");
  G().LastErrorCode = 0;
  std::string name = filename;
  if (!HasDot(name)) name += ".sht";
  if (Main()) Main()->UpdateLastFiles(name);

  long result = 0;
  bool empty = false;
  {
    BinaryIn in;
    const std::string path = ResolveCase(name);
    SheetHeader header;
    long dataCols = 0, fileRows = 0;
    if (!in.Open(path)) {
      result = OpenError(errno, false);
    } else if (in.Size() == 0) {
      empty = true;
    } else if (!ReadSheetHeader(in, header) || !header.magicOk) {
      result = kErrNoSheetMagic;
    } else {
      // The counts are checked against the file before anything is sized.
      dataCols = std::max<long>(0, header.dataCols);
      const long claimed = std::max<long>(0, header.dataRows);
      const uint64_t records = uint64_t(dataCols) * kSheetColumnRecordSize;
      const uint64_t left = in.Size() - in.Tell();
      if (records > left) {
        result = kErrPastEnd;
      } else {
        const uint64_t rowBytes = uint64_t(dataCols) * 4;
        // Rows without columns take no room: any number of them is there.
        const uint64_t held = rowBytes ? (left - records) / rowBytes : uint64_t(claimed);
        fileRows = long(std::min<uint64_t>(uint64_t(claimed), held));
        const long sheetRows = std::min(fileRows, kSheetMaxRows - 1);
        if ((sheetRows + 1) * (dataCols + 1) > kMaxCells) {
          result = kErrOutOfMemory;
        } else {
          Rows(1);
          Cols(dataCols + 1);
          // Above 65520 rows the sheet is cut (last-error 10015). Every row
          // added is read below (a short file reads as zeros), so it is not
          // filled first, nor drawn before it is read.
          const bool redraw = Redraw_;
          Redraw_ = false;
          impl_->fillLater = rowBytes != 0;
          Rows(fileRows + 1);
          impl_->fillLater = false;
          Redraw_ = redraw;
          for (long c = 1; c <= dataCols; ++c) {
            ColumnRecord& rec = Record(c);
            ReadColumnRecord(in, rec.Label, rec.Typ);
            rec.Changed = rec.Typ != 0;
            BuildHeader(c);
          }
          StatusRation ration;
          const long last = Rows() - 1;
          // About 400 KB of rows at a time, read in one go and spread over
          // the columns; whole sixteens of rows keep each block's cells on the
          // columns' cache lines.
          long chunk = rowBytes ? std::max<long>(1, long(kFileBlockBytes / rowBytes)) : 1;
          if (chunk > 16) chunk -= chunk % 16;
          const FileBlock memory(static_cast<size_t>(rowBytes) *
                                 size_t(std::min(chunk, std::max<long>(1, fileRows))));
          uint8_t* const block = rowBytes ? memory.data() : nullptr;
          if (rowBytes && !block) result = kErrOutOfMemory;
          const bool status = HasHost();
          for (long r = 1; block && r <= fileRows; r += chunk) {
            const long n = std::min(chunk, fileRows - r + 1);
            in.Block(block, static_cast<size_t>(rowBytes) * size_t(n));
            if (r + n - 1 <= last) {
              impl_->StoreFileRows(r, n, block, dataCols);
            } else {
              // Rows beyond the cut all go into the last one.
              for (long i = 0; i < n; ++i)
                impl_->StoreFileRow(std::min(r + i, last),
                                    block + static_cast<size_t>(rowBytes) * size_t(i), dataCols);
            }
            // Without a host there is no status line to tell.
            for (long i = r; status && i < r + n; ++i)
              if (ration.Due())
                Status(*this, "Open Worksheet...(" + PercentText(i, fileRows + 1) + "%)");
          }
          if (result == 0 && fileRows < claimed) {
            // The file ends inside its cells.
            result = kErrPastEnd;
          } else if (result == 0 && !in.AtEnd()) {
            const int32_t count = in.I32();
            if (!in.ok()) result = kErrPastEnd;
            for (int32_t i = 0; i < count && result == 0; ++i) {
              SheetPlot* plot = nullptr;
              if (!NewPlot(plot) || !plot) {
                result = kErrNotAvailable;  // no plot library to read the plots with
                break;
              }
              result = plot->OpenPlot(in);
              if (result == 0 && !in.ok()) result = kErrPastEnd;
              if (Main()) Main()->ShowChild(plot->Handle());
            }
          }
        }
      }
    }
  }
  if (!empty) {
    if (result != 0) {
      StopMessage(ErrorMessage(name, result), kOpenTitle);
      RemoveFromLastFiles(Main(), name);
    } else {
      Saved();
    }
    Filename(SheetName(name));
  }
  UpdatePlots();
  Redraw(true);
  return result;
}

// --- ".MOS" ---------------------------------------------------------------------

long Form_Worksheet::OpenMOS(const std::string& filename) {
  Redraw(false);
  ResetWorksheet();
  BusyScope busy(*this);
  Status(*this, "Open Worksheet...");
  std::string name = filename;
  if (!HasDot(name)) name += ".MOS";
  if (Main()) Main()->UpdateLastFiles(name);

  std::string text;
  long result = ReadText(ResolveCase(name), text);
  TextLines t;
  if (result == 0) {
    t = LinesOf(text);
    if (t.lines.size() < 2) result = kErrPastEnd;  // the two header lines are missing
  }
  if (result == 0) {
    // First pass: the shape.
    Rows(1);
    Cols(4);
    Rows(2);
    Record(1).Typ = kTypX;
    ColName(1, "v (mm/s)");
    Record(2).Typ = kTypY;
    ColName(2, "I (counts)");
    BuildHeader(1);
    BuildHeader(2);
    long fields = 0;
    for (size_t i = 2; i < t.lines.size(); ++i) fields += MosFieldCount(t.lines[i].size());
    Rows(1 + fields);  // above the most rows: cut, last-error 10015
    // Second pass: the velocity runs from about -vmax to about +vmax.
    const float vmax = MosVmax(t.lines[0]);
    const long rows = Rows();
    float imax = -std::numeric_limits<float>::infinity();
    StatusRation ration(200, 200);
    long r = 0;
    for (size_t i = 2; i < t.lines.size() && r < rows - 1; ++i) {
      const std::string& line = t.lines[i];
      const long fields = MosFieldCount(line.size());
      for (long k = 0; k < fields; ++k) {
        if (++r > rows - 1) break;
        const size_t at = size_t(k) * kMosFieldWidth;
        const float intensity =
            at < line.size() ? float(TextValue(line.substr(at, kMosFieldWidth))) : 0.0f;
        TextMatrix(r, 1, Cell(MosVelocity(r, rows, vmax)));
        TextMatrix(r, 2, Cell(intensity));
        imax = std::max(imax, intensity);
      }
      if (ration.Due())
        Status(*this, "Open Worksheet " + PercentText(double(t.ends[i]), double(text.size())) + "%...");
    }
    // Third step: the dips as peaks.
    for (long row = 1; row < rows; ++row) {
      double i;
      if (NumberAt(row, 2, i)) TextMatrix(row, 3, Cell(float(imax - float(i))));
    }
    Filename(SheetName(name));
    Saved();
  } else {
    StopMessage(ErrorMessage(name, result), kOpenTitle);
    RemoveFromLastFiles(Main(), name);
  }
  Redraw(true);
  return result;
}

// --- ASCII import ----------------------------------------------------------------

long Form_Worksheet::Import(const std::string& filename) {
  SetChanged();
  std::string text;
  long result = ReadText(ResolveCase(filename), text);
  if (result == 0 && text.empty()) return 0;
  BusyScope busy(*this);
  TextLines t;
  size_t next = 0;
  if (result == 0) {
    t = LinesOf(text);
    if (Header == 1) next = size_t(std::max(0, HeaderLines));
    if (next >= t.lines.size()) result = kErrPastEnd;
  }
  long count = 0;
  bool header = false;
  long width = 1;
  std::string first;
  if (result == 0) {
    first = t.lines[next++];
    first = DelimitersToTabs(first, uint8_t(Delimiter));
    // The first line always goes through with a decimal comma.
    first = ReplaceChar(first, '.', ',');
    if (Structure == 1) {
      width = std::max(1L, RoundEven(TextValue(ColWidthText)));
      count = RoundEven(double(first.size()) / double(width));
    } else if (!first.empty()) {
      const std::vector<std::string> pieces = Split(first, '\t');
      count = long(pieces.size());
      for (const auto& p : pieces) header = header || !IsNumericText(p);
    }
    if (count > 0 && UnknownColumns == 0) count = std::min<long>(count, Columns);
  }
  if (result == 0 && count > 0) {
    const bool fixed = Structure == 1 && ImportAs == 0;
    if (fixed) first = FixedToTabs(first, width);
    long firstCol = 1, row = 1, keepRows = 1;
    switch (ImportAs) {
      case 1:
        firstCol = Cols();
        keepRows = Rows();
        break;
      case 2:
        row = Rows();
        keepRows = Rows();
        break;
      default: ResetWorksheet(); break;
    }
    const long lastCol = firstCol + count - 1;
    if (lastCol + 1 > Cols()) {
      if (long(keepRows) * (lastCol + 1) > kMaxCells || lastCol > 0x7FFF) {
        result = kErrOutOfMemory;
      } else {
        Cols(lastCol + 1);
      }
    }
    long usedRows = keepRows;
    // Rows come in steps; false when the sheet is full.
    auto roomFor = [&](long r) {
      if (r < Rows()) return true;
      if (r >= kSheetMaxRows) {
        Rows(r + 1);  // cut: last-error 10015
        return false;
      }
      const long most = kMaxCells / Cols();
      if (r >= most) {
        result = kErrOutOfMemory;
        return false;
      }
      Rows(std::min({r + 1 + kGrowStep, kSheetMaxRows, most}));
      return true;
    };
    auto put = [&](const std::string& line) {
      if (!roomFor(row)) return false;
      SetSelection(row, firstCol, row, lastCol);
      AddItem(line);
      usedRows = std::max(usedRows, row + 1);
      return true;
    };
    if (result == 0 && put(first)) {
      if (header) {
        const std::vector<std::string> pieces = Split(first, '\t');
        for (long c = firstCol; c <= lastCol && size_t(c - firstCol) < pieces.size(); ++c) {
          Record(c).Label = pieces[size_t(c - firstCol)];
          BuildHeader(c);
        }
      } else {
        ++row;
      }
      if (RenameColumns) {
        for (long c = firstCol; c <= lastCol && c <= 255 - 64; ++c) {
          ColName(c, std::string(1, char('A' + c - 1)));
          BuildHeader(c);
        }
      }
      StatusRation ration;
      for (size_t i = next; i < t.lines.size(); ++i) {
        std::string line = DelimitersToTabs(t.lines[i], uint8_t(Delimiter));
        if (ImportAs == 0) {
          line = ReplaceChar(line, '.', ',');
          if (fixed) line = FixedToTabs(line, width);
        } else if (Delimiter != ',') {
          line = ReplaceChar(line, ',', '.');
        }
        if (!put(line)) break;
        ++row;
        if (ration.Due()) {
          Status(*this, "Import ASCII from " + filename + "...(" +
                            PercentText(double(t.ends[i]), double(text.size())) + "%)");
          DoEvents();
        }
      }
    }
    // The rows grown ahead and not filled go again.
    if (Rows() > usedRows) Rows(usedRows);
    if (result == 0 && RenameWorksheet) Filename(SheetName(WithExtension(filename, ".sht")));
    SetSelection(-1, -1, -1, -1);
  }
  if (result != 0) StopMessage(ErrorMessage(filename, result), kImportTitle);
  SetChanged();
  return result;
}

// --- ASCII export ----------------------------------------------------------------

namespace {

std::string JoinCells(const Form_Worksheet& sheet, long row, long c0, long c1,
                      const char* nullText) {
  std::string line;
  for (long c = c0; c <= c1; ++c) {
    if (c > c0) line += '\t';
    const Cell cell = sheet.CellAt(row, c);
    line += cell.IsNull() ? std::string(nullText) : cell.Text();
  }
  return line;
}

std::string HeaderLine(const Form_Worksheet& sheet, long c0, long c1) {
  const bool labels = c0 <= c1 && !sheet.Record(c0).Label.empty();
  std::string line;
  for (long c = c0; c <= c1; ++c) {
    if (c > c0) line += '\t';
    line += labels ? sheet.Record(c).Label : sheet.Record(c).Name;
  }
  return line;
}

long WriteAscii(Form_Worksheet& sheet, const std::string& filename, long r0, long r1, long c0,
                long c1, bool header) {
  BusyScope busy(sheet);
  TextOut out;
  long result = out.Create(ResolveCase(filename));
  if (result == 0) {
    if (header) out.Line(HeaderLine(sheet, c0, c1));
    StatusRation ration;
    for (long r = r0; r <= r1; ++r) {
      out.Line(JoinCells(sheet, r, c0, c1, ""));
      if (ration.Due())
        Status(sheet, "Export ASCII to " + filename + "... (" +
                          PercentFormat(double(r - r0 + 1), double(r1 - r0 + 1)) + ")");
    }
    result = out.Close();
  }
  if (result != 0) StopMessage(ErrorMessage(filename, result), kExportTitle);
  return result;
}

}  // namespace

long Form_Worksheet::Export(const std::string& filename) {
  const long lastRow = Rows() - 1, lastCol = Cols() - 1;
  long r0 = std::min(SelStartRow(), lastRow), r1 = std::min(SelEndRow(), lastRow);
  long c0 = std::min(SelStartCol(), lastCol), c1 = std::min(SelEndCol(), lastCol);
  const bool header = SelStartRow() < 1;
  const bool none = r0 < 0 || c0 < 0 || r1 < 0 || c1 < 0;
  if (none || (r0 == r1 && c0 == c1)) {
    r0 = 1, r1 = lastRow, c0 = 1, c1 = lastCol;
  }
  if (r0 > r1) std::swap(r0, r1);
  if (c0 > c1) std::swap(c0, c1);
  r0 = std::max(r0, 1L);
  c0 = std::max(c0, 1L);
  return WriteAscii(*this, filename, r0, r1, c0, c1, header);
}

long Form_Worksheet::ExportAll(const std::string& filename) {
  return WriteAscii(*this, filename, 1, Rows() - 1, 1, Cols() - 1, true);
}

// --- Dialog commands -----------------------------------------------------------------

void Form_Worksheet::FileOpen() {
  const FileDialogResult r = AskOpenSheet(kOpenTitle);
  if (r.path.empty()) {
    // The sheet was made for the file; without one it goes again.
    Saved();
    FileClose();
    return;
  }
  if (IsMosChoice(r)) OpenMOS(r.path);
  else OpenWorksheet(r.path);
}

bool Form_Worksheet::FileSave() {
  // A sheet that was never saved (a bare "Data1.sht") asks for its place.
  if (Filename().find('/') == std::string::npos) return FileSaveAs();
  return SaveWorksheet(Filename()) == 0;
}

bool Form_Worksheet::FileSaveAs() {
  const std::string path = AskSaveSheet(*this);
  if (path.empty()) return false;
  return SaveWorksheet(path) == 0;
}

void Form_Worksheet::FileAppend() {
  const FileDialogResult r = AskOpenSheet(kOpenTitle);
  if (r.path.empty() || !Main()) return;
  auto* sheet = dynamic_cast<Form_Worksheet*>(Main()->CreateWorksheet());
  if (!sheet) return;
  if (IsMosChoice(r)) sheet->OpenMOS(r.path);
  else sheet->OpenWorksheet(r.path);
  Main()->ShowChild(sheet->Handle());
}

void Form_Worksheet::FileExport() {
  if (!HasHost()) return;
  FileDialog dlg;
  dlg.title = kExportTitle;
  dlg.filter = "Ascii Files (*.dat)|*.dat||";
  dlg.folder = G().ExportPath.empty() ? StartFolder() : G().ExportPath;
  dlg.fileName = NameOf(WithExtension(Filename(), ".dat"));
  std::string path = host().SaveFileDialog(dlg).path;
  if (path.empty()) return;
  if (!HasDot(path)) path += ".dat";
  Export(path);
}

void Form_Worksheet::FileImportAscii() {
  Form_ImportOptions form;
  const std::string path = form.GetImportFilename();
  if (path.empty()) return;
  Redraw(false);
  Import(path);
  Redraw(true);
}

void Form_Worksheet::FileImportOptions() {
  Form_ImportOptions form;
  form.Load(ImportOptionsNow());
  if (!ImportOptionsDialog()) return;
  ImportOptionsDialog()(form);
  if (!form.Accepted()) return;
  TakeImportOptions(form.Settings());
  WriteINI();
  if (form.Tag != "Import") return;
  if (form.ImportFilename.empty()) {
    FileImportAscii();
  } else {
    Redraw(false);
    Import(form.ImportFilename);
    Redraw(true);
  }
}

ImportSettings Form_Worksheet::ImportOptionsNow() const {
  ImportSettings s;
  s.Structure = int16_t(Structure);
  s.Delimiter = uint8_t(Delimiter);
  s.ColWidth = ColWidthText;
  s.Header = int16_t(Header);
  s.HeaderLines = int16_t(HeaderLines);
  s.ImportAs = int16_t(ImportAs);
  s.UnknownColumns = int16_t(UnknownColumns);
  s.Columns = int16_t(Columns);
  s.RenameColumns = int16_t(RenameColumns);
  s.RenameWorksheet = int16_t(RenameWorksheet);
  return s;
}

void Form_Worksheet::TakeImportOptions(const ImportSettings& s) {
  Structure = s.Structure;
  Delimiter = s.Delimiter;
  ColWidthText = s.ColWidth;
  Header = s.Header;
  HeaderLines = s.HeaderLines;
  ImportAs = s.ImportAs;
  UnknownColumns = s.UnknownColumns;
  Columns = s.Columns;
  RenameColumns = s.RenameColumns;
  RenameWorksheet = s.RenameWorksheet;
}

void Form_Worksheet::GetINI() {
  if (G().IniFile.empty()) return;
  TakeImportOptions(ReadImportSettings(G().IniFile));
}

void Form_Worksheet::WriteINI() {
  if (G().IniFile.empty()) return;
  WriteImportSettings(ImportOptionsNow(), G().IniFile);
}

// --- Clipboard ------------------------------------------------------------------------

void Form_Worksheet::EditCopy() {
  const long c0 = std::max(SelStartCol(), 1L), c1 = std::min(SelEndCol(), Cols() - 1);
  long r0 = SelStartRow();
  const long r1 = std::min(SelEndRow(), Rows() - 1);
  std::string text;
  if (r0 < 1) {
    std::string labels;
    for (long c = c0; c <= c1; ++c) {
      if (c > c0) labels += '\t';
      labels += Record(c).Label;
    }
    text = labels + kCRLF;
    r0 = 1;
  }
  if (r0 > Rows() - 1) text.clear();
  StatusRation ration(500, 500);
  for (long r = r0; r <= r1 && r0 <= Rows() - 1; ++r) {
    text += JoinCells(*this, r, c0, c1, "-");
    text += kCRLF;
    if (ration.Due()) Status(*this, "Copying..." + PercentText(r - r0 + 1, r1 - r0 + 1) + "%");
    DoEvents();
    if (G().BreakFlag) {
      Status(*this, "");
      return;
    }
  }
  Status(*this, "");
  if (HasHost()) host().SetClipboardText(text);
}

void Form_Worksheet::EditCut() {
  EditCopy();
  // A copy that was broken off leaves the cells where they are.
  if (G().BreakFlag) return;
  EditClear();
  UpdatePlots();
}

void Form_Worksheet::EditClear() {
  SetChanged();
  const long c0 = std::max(SelStartCol(), 1L), c1 = std::min(SelEndCol(), Cols() - 1);
  const long r0 = std::max(SelStartRow(), 1L), r1 = std::min(SelEndRow(), Rows() - 1);
  for (long c = c0; c <= c1; ++c) {
    for (long r = r0; r <= r1; ++r) TextMatrix(r, c, Cell());
    ColChanged(c, true);
  }
  DrawWorksheet();
  UpdatePlots();
}

void Form_Worksheet::EditPaste() {
  SetChanged();
  const long sr = SelStartRow(), sc = SelStartCol(), er = SelEndRow(), ec = SelEndCol();
  const bool single = sr == er && sc == ec && sr >= 0 && sc >= 0;
  if (single) SetSelection(sr, sc, Rows() - 1, Cols() - 1);
  const long c0 = std::max(SelStartCol(), 1L), c1 = std::min(SelEndCol(), Cols() - 1);
  const long r1 = std::min(SelEndRow(), Rows() - 1);
  const std::vector<std::string> lines = SplitLines(HasHost() ? host().ClipboardText() : "");
  size_t next = 0;
  if (SelStartRow() < 1 && !lines.empty()) {
    const std::vector<std::string> pieces = Split(lines[next++], '\t');
    for (long c = c0; c <= c1 && size_t(c - c0) < pieces.size(); ++c) {
      Record(c).Label = pieces[size_t(c - c0)];
      BuildHeader(c);
    }
  }
  for (long r = std::max(SelStartRow(), 1L); r <= r1 && next < lines.size(); ++r) {
    const std::vector<std::string> pieces = Split(lines[next++], '\t');
    for (long c = c0; c <= c1 && size_t(c - c0) < pieces.size(); ++c) {
      const std::string& p = pieces[size_t(c - c0)];
      TextMatrix(r, c, p == "-" ? Cell() : Cell(p));
    }
  }
  for (long c = c0; c <= c1; ++c) ColChanged(c, true);
  if (single) SetSelection(sr, sc, er, ec);
  DrawWorksheet();
  UpdatePlots();
}

}  // namespace sv
