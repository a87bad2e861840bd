#include "experiment/run_journal.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>

#include "worksheet/form_worksheet.h"

namespace sv {

namespace {

// The highest row number a sheet can hold (row 0 is its header).
constexpr long kMaxJournalRow = kMaxSheetRows - 1;
// A journal of the largest sheet with a hundred columns is about 100 MB.
constexpr long long kMaxJournalBytes = 512LL * 1024 * 1024;
constexpr int kJournalVersion = 1;

std::string Escape(const std::string& text) {
  std::string out;
  out.reserve(text.size());
  for (char c : text) {
    switch (c) {
      case '\\': out += "\\\\"; break;
      case '\t': out += "\\t"; break;
      case '\n': out += "\\n"; break;
      case '\r': out += "\\r"; break;
      default: out += c;
    }
  }
  return out;
}

bool Unescape(std::string_view text, std::string& out) {
  out.clear();
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '\\') {
      out += text[i];
      continue;
    }
    if (++i == text.size()) return false;
    switch (text[i]) {
      case '\\': out += '\\'; break;
      case 't': out += '\t'; break;
      case 'n': out += '\n'; break;
      case 'r': out += '\r'; break;
      default: return false;
    }
  }
  return true;
}

std::vector<std::string_view> SplitTabs(std::string_view line) {
  std::vector<std::string_view> fields;
  size_t start = 0;
  for (;;) {
    const size_t tab = line.find('\t', start);
    if (tab == std::string_view::npos) {
      fields.push_back(line.substr(start));
      return fields;
    }
    fields.push_back(line.substr(start, tab - start));
    start = tab + 1;
  }
}

// A whole field as a decimal integer.
template <typename T>
bool ParseInt(std::string_view text, T& value) {
  if (text.empty()) return false;
  const char* end = text.data() + text.size();
  auto r = std::from_chars(text.data(), end, value);
  return r.ec == std::errc() && r.ptr == end;
}

// A whole field as a single: empty is a gap; anything but a finite number
// is refused.
bool ParseValue(std::string_view text, double& value) {
  if (text.empty()) {
    value = std::numeric_limits<double>::quiet_NaN();
    return true;
  }
  float f = 0;
  const char* end = text.data() + text.size();
  auto r = std::from_chars(text.data(), end, f);
  if (r.ec != std::errc() || r.ptr != end || !std::isfinite(f)) return false;
  value = f;
  return true;
}

std::string SystemError(int code) { return std::strerror(code); }

// What a header line changes; false with `why` when the line is bad.
// `fatal` is set when the journal cannot be read on without it.
bool HeaderLine(const std::vector<std::string_view>& f, JournalContents& j, bool rowsSeen,
                std::string& why, bool& fatal) {
  const std::string_view key = f[0];
  JournalHeader& h = j.header;
  if (key == "#type") {
    int type = 0;
    if (f.size() != 2 || !ParseInt(f[1], type) || (type != 0 && type != 1)) {
      why = "bad type";
      return false;
    }
    h.experimentType = type;
  } else if (key == "#sheet") {
    if (f.size() != 2 || !Unescape(f[1], h.sheetPath)) {
      why = "bad sheet path";
      return false;
    }
  } else if (key == "#column") {
    fatal = true;
    long n = 0;
    int typ = 0;
    JournalColumn c;
    if (f.size() != 5 || !ParseInt(f[1], n) || !ParseInt(f[2], typ) || typ < 0 || typ > 4 ||
        !Unescape(f[3], c.name) || !Unescape(f[4], c.label)) {
      why = "bad column";
      return false;
    }
    if (rowsSeen) {
      why = "a column after the rows";
      return false;
    }
    if (n != static_cast<long>(h.columns.size()) + 1 || n > kJournalMaxColumns) {
      why = "column " + std::to_string(n) + " out of order";
      return false;
    }
    c.typ = typ;
    h.columns.push_back(std::move(c));
  } else if (key == "#plot") {
    JournalPlot p;
    if (f.size() != 4 || !ParseInt(f[1], p.plot) || p.plot < 0 || p.plot > kJournalMaxPlot ||
        !Unescape(f[2], p.xLabel) || !Unescape(f[3], p.yLabel)) {
      why = "bad plot";
      return false;
    }
    h.plots.push_back(std::move(p));
  } else if (key == "#curve") {
    JournalCurve c;
    if (f.size() != 6 || !ParseInt(f[1], c.plot) || c.plot < 0 || c.plot > kJournalMaxPlot ||
        !ParseInt(f[2], c.xcol) || !ParseInt(f[3], c.ycol) || !ParseInt(f[4], c.color) ||
        !Unescape(f[5], c.legend)) {
      why = "bad curve";
      return false;
    }
    h.curves.push_back(std::move(c));
  } else if (key == "#end") {
    int code = 0;
    long rows = 0;
    if (f.size() != 3 || !ParseInt(f[1], code) || !ParseInt(f[2], rows) || rows < 0) {
      why = "bad end";
      return false;
    }
    j.ended = true;
    j.stopCode = code;
    j.endRows = rows;
  }
  return true;  // other "#" lines belong to later writers
}

bool RowLine(const std::vector<std::string_view>& f, JournalContents& j, std::string& why) {
  const size_t columns = j.header.columns.size();
  if (columns == 0) {
    why = "a row before the columns";
    return false;
  }
  long row = 0;
  if (!ParseInt(f[0], row) || row < 1 || row > kMaxJournalRow) {
    why = "no row number";
    return false;
  }
  if (f.size() != columns + 1) {
    why = std::to_string(f.size() - 1) + " values for " + std::to_string(columns) + " columns";
    return false;
  }
  std::vector<double> values(columns);
  for (size_t c = 0; c < columns; ++c)
    if (!ParseValue(f[c + 1], values[c])) {
      why = "column " + std::to_string(c + 1) + " is no number";
      return false;
    }
  j.rows.emplace_back(row, std::move(values));
  return true;
}

}  // namespace

std::string ShortestFloatText(float value) {
  char buf[64];
  auto r = std::to_chars(buf, buf + sizeof buf, value);
  return std::string(buf, r.ptr);
}

std::string JournalHeaderText(const JournalHeader& h) {
  std::string text = std::string(kJournalMagic) + "\t" + std::to_string(kJournalVersion) + "\n";
  text += "#type\t" + std::to_string(h.experimentType) + "\n";
  text += "#sheet\t" + Escape(h.sheetPath) + "\n";
  for (size_t i = 0; i < h.columns.size(); ++i) {
    const JournalColumn& c = h.columns[i];
    text += "#column\t" + std::to_string(i + 1) + "\t" + std::to_string(c.typ) + "\t" +
            Escape(c.name) + "\t" + Escape(c.label) + "\n";
  }
  for (const JournalPlot& p : h.plots)
    text += "#plot\t" + std::to_string(p.plot) + "\t" + Escape(p.xLabel) + "\t" +
            Escape(p.yLabel) + "\n";
  for (const JournalCurve& c : h.curves)
    text += "#curve\t" + std::to_string(c.plot) + "\t" + std::to_string(c.xcol) + "\t" +
            std::to_string(c.ycol) + "\t" + std::to_string(c.color) + "\t" + Escape(c.legend) +
            "\n";
  return text;
}

namespace {

// Puts a row line at the end of `text`: the number, each value after a TAB
// (nothing for a gap), the LF.
void AppendRowText(std::string& text, long row, const double* values, size_t count,
                   size_t columns) {
  char buf[64];
  auto r = std::to_chars(buf, buf + sizeof buf, row);
  text.append(buf, r.ptr);
  for (size_t i = 0; i < columns; ++i) {
    text += '\t';
    const float f = i < count ? static_cast<float>(values[i])
                                : std::numeric_limits<float>::quiet_NaN();
    if (!std::isfinite(f)) continue;
    r = std::to_chars(buf, buf + sizeof buf, f);
    text.append(buf, r.ptr);
  }
  text += '\n';
}

}  // namespace

std::string JournalRowText(long row, const std::vector<double>& values) {
  std::string text;
  AppendRowText(text, row, values.data(), values.size(), values.size());
  return text;
}

// --- The writer ----------------------------------------------------------------

RunJournal::~RunJournal() { Close(); }

std::string RunJournal::PathFor(const std::string& sheetPath) {
  return sheetPath + kJournalExtension;
}

void RunJournal::Close() {
  if (fd_ >= 0) ::close(fd_);  // the lock goes with the descriptor
  fd_ = -1;
}

bool RunJournal::Open(const std::string& sheetPath, const JournalHeader& header,
                      std::string& error) {
  Close();
  rows_ = 0;
  size_ = 0;
  path_ = PathFor(sheetPath);
  columns_ = header.columns.size();
  const int fd = ::open(path_.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
  if (fd < 0) {
    error_ = "Cannot create the journal " + path_ + ": " + SystemError(errno);
    error = error_;
    return false;
  }
  if (::flock(fd, LOCK_EX | LOCK_NB) != 0) {
    const int e = errno;
    ::close(fd);
    error_ = e == EWOULDBLOCK ? "The journal " + path_ + " is in use by another run"
                              : "Cannot lock the journal " + path_ + ": " + SystemError(e);
    error = error_;
    return false;
  }
  fd_ = fd;
  bool written = false;
  if (::ftruncate(fd_, 0) != 0)
    error_ = "Cannot empty the journal " + path_ + ": " + SystemError(errno);
  else
    written = WriteLine(JournalHeaderText(header));
  if (!written) {
    error = error_;
    Close();
    ::unlink(path_.c_str());
    return false;
  }
  error_.clear();
  return true;
}

bool RunJournal::WriteLine(const std::string& line) {
  if (fd_ < 0) {
    error_ = "The journal is not open";
    return false;
  }
  ssize_t n = 0;
  do {
    n = ::write(fd_, line.data(), line.size());
  } while (n < 0 && errno == EINTR);
  if (n == static_cast<ssize_t>(line.size())) {
    size_ += n;
    return true;
  }
  // A short write (the disk is full) leaves a torn line; it is cut off, so
  // that the lines after it stay whole.
  const int e = n < 0 ? errno : ENOSPC;
  error_ = "Cannot write the journal " + path_ + ": " + SystemError(e);
  if (n > 0 && ::ftruncate(fd_, size_) != 0) {
    // The torn line stays; the reader skips it.
  }
  return false;
}

bool RunJournal::Append(long row, const std::vector<double>& values) {
  // Exactly the header's columns: missing values are gaps. The line is
  // built in the same buffer every time.
  line_.clear();
  AppendRowText(line_, row, values.data(), values.size(), columns_);
  if (!WriteLine(line_)) return false;
  ++rows_;
  return true;
}

void RunJournal::End(int stopCode, long rows) {
  if (fd_ < 0) return;
  WriteLine("#end\t" + std::to_string(stopCode) + "\t" + std::to_string(rows) + "\n");
  Close();
}

void RunJournal::Remove() {
  Close();
  if (!path_.empty()) ::unlink(path_.c_str());
  path_.clear();
}

// --- The reader ----------------------------------------------------------------

std::optional<JournalContents> ParseJournal(std::string_view text, std::string& error) {
  JournalContents j;
  size_t start = 0;
  long lineNo = 0;
  bool rowsSeen = false;
  while (start < text.size()) {
    const size_t lf = text.find('\n', start);
    if (lf == std::string_view::npos) {
      j.tornLine = true;  // the write of this line did not finish
      break;
    }
    std::string_view line = text.substr(start, lf - start);
    start = lf + 1;
    ++lineNo;
    if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
    if (lineNo == 1) {
      const std::string_view magic = kJournalMagic;
      int version = 0;
      if (line.substr(0, magic.size()) != magic || line.size() < magic.size() + 2 ||
          line[magic.size()] != '\t' || !ParseInt(line.substr(magic.size() + 1), version)) {
        error = "no run journal";
        return std::nullopt;
      }
      if (version != kJournalVersion) {
        error = "a run journal of version " + std::to_string(version) + ", which is not known";
        return std::nullopt;
      }
      continue;
    }
    if (line.empty()) continue;
    const std::vector<std::string_view> fields = SplitTabs(line);
    std::string why;
    bool fatal = false;
    bool ok = false;
    if (line[0] == '#') {
      ok = HeaderLine(fields, j, rowsSeen, why, fatal);
    } else {
      rowsSeen = true;
      ok = RowLine(fields, j, why);
    }
    if (ok) continue;
    if (fatal) {
      error = "line " + std::to_string(lineNo) + ": " + why;
      return std::nullopt;
    }
    if (j.badLines++ == 0) j.firstBadLine = "line " + std::to_string(lineNo) + ": " + why;
  }
  if (lineNo == 0) {
    error = text.empty() ? "an empty file" : "no run journal";
    return std::nullopt;
  }
  if (j.header.columns.empty()) {
    error = "a journal without columns";
    return std::nullopt;
  }
  return j;
}

std::optional<JournalContents> ReadJournal(const std::string& path, std::string& error) {
  const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) {
    error = "Cannot open " + path + ": " + SystemError(errno);
    return std::nullopt;
  }
  struct stat st {};
  if (::fstat(fd, &st) != 0 || !S_ISREG(st.st_mode)) {
    ::close(fd);
    error = path + " is no file";
    return std::nullopt;
  }
  if (st.st_size > kMaxJournalBytes) {
    ::close(fd);
    error = path + " is too large for a journal";
    return std::nullopt;
  }
  std::string text(static_cast<size_t>(st.st_size), '\0');
  size_t got = 0;
  while (got < text.size()) {
    const ssize_t n = ::read(fd, text.data() + got, text.size() - got);
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) {
      error = "Cannot read " + path + ": " + SystemError(errno);
      ::close(fd);
      return std::nullopt;
    }
    if (n == 0) break;  // shorter than it was a moment ago
    got += static_cast<size_t>(n);
  }
  ::close(fd);
  text.resize(got);
  std::string why;
  auto j = ParseJournal(text, why);
  if (!j) error = path + ": " + why;
  return j;
}

bool JournalLocked(const std::string& path) {
  const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return false;
  bool locked = false;
  if (::flock(fd, LOCK_SH | LOCK_NB) != 0)
    locked = errno == EWOULDBLOCK;
  else
    ::flock(fd, LOCK_UN);
  ::close(fd);
  return locked;
}

std::string JournalReadNotes(const JournalContents& j) {
  std::string notes;
  if (j.tornLine) notes = "the last line was incomplete and was dropped";
  if (j.badLines > 0) {
    if (!notes.empty()) notes += "; ";
    notes += std::to_string(j.badLines) + (j.badLines == 1 ? " line was" : " lines were") +
             " not readable and skipped (" + j.firstBadLine + ")";
  }
  return notes;
}

}  // namespace sv
