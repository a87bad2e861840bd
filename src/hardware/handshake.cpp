#include "hardware/handshake.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>

#include "core/error_table.h"
#include "core/globals.h"
#include "core/host.h"
#include "core/platform/platform.h"
#include "core/settings.h"
#include "hardware/wait.h"
#include "image/kernel/numbers.h"

namespace sv {

namespace {

constexpr long kStopWriteFailed = 9999;
// The lines are files another program makes and removes: look often.
constexpr int kHandshakePollMs = 2;

std::string WithSlash(std::string folder) {
  folder = platform::NativePath(folder);
  if (folder.empty()) folder = host().TempPath();
  if (folder.empty() || folder.back() != '/') folder += '/';
  return folder;
}

// A regular file that can be seen; any error (a missing folder, no right to
// look) counts as absent.
bool Present(const std::string& path) {
  struct stat st {};
  return !path.empty() && ::stat(path.c_str(), &st) == 0 && !S_ISDIR(st.st_mode);
}

bool Create(const std::string& path) {
  int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644);
  if (fd < 0) return false;
  return ::close(fd) == 0;
}

bool Remove(const std::string& path) {
  if (::unlink(path.c_str()) == 0) return true;
  return errno == ENOENT;
}

// Waits until `line()` equals `wanted`, `waitMs` pass (false) or the stop word
// is set (false).
template <typename Line>
bool WaitFor(Line line, bool wanted, uint32_t waitMs, const long* stopCode,
             const std::function<bool()>& stopped = {}) {
  if (waitMs == 0) return line() == wanted;  // no time to wait: one look
  const WaitEnd end = WaitWhile(
      [&] { return line() == wanted; },
      [stopCode, &stopped] { return (stopCode && *stopCode != 0) || (stopped && stopped()); },
      host().TimeGetTime(), waitMs, kHandshakePollMs);
  return end == WaitEnd::Done;
}

}  // namespace

bool WriteLineFile(const std::string& path, const std::string& text) {
  std::FILE* f = std::fopen(path.c_str(), "wb");
  if (!f) return false;
  const std::string line = text + "\n";
  bool ok = std::fwrite(line.data(), 1, line.size(), f) == line.size();
  ok = (std::fclose(f) == 0) && ok;
  return ok;
}

std::string JoinTabs(const std::vector<std::string>& cells) {
  std::string out;
  for (size_t i = 0; i < cells.size(); ++i) {
    if (i) out += '\t';
    out += cells[i];
  }
  return out;
}

std::string HandshakeFolderSetting() {
  return host().Store().GetSetting(UserStoreApp(host().ExeName(), G().SlaveMode), "HandShake",
                                   "Path", "");
}

// --- HandShakeTX ---------------------------------------------------------

void HandShakeTX::Init(const std::string& folder) {
  const std::string base = WithSlash(folder);
  RDYFile = base + "RDY";
  DAVFile = base + "DAV";
  EXPFile = base + "EXP";
  // Only proves that the file can be looked at; errors are dropped.
  if (std::FILE* f = std::fopen(RDYFile.c_str(), "rb")) std::fclose(f);
  LastRDY = false;
  LastDAV = false;
}

bool HandShakeTX::RDY() {
  LastRDY = Present(RDYFile);
  return LastRDY;
}

bool HandShakeTX::DAV(bool value) {
  const bool ok = value ? Create(DAVFile) : Remove(DAVFile);
  LastDAV = Present(DAVFile);
  return ok;
}

bool HandShakeTX::DAV() {
  LastDAV = Present(DAVFile);
  return LastDAV;
}

bool HandShakeTX::DATAFILE(const std::string& name) {
  DataFileName = name;
  if (name.empty()) return Remove(EXPFile);
  return WriteLineFile(EXPFile, name);
}

// --- The run's steps ------------------------------------------------------

bool HandshakeRunStart(HandShakeTX& tx, const std::string& folder,
                       const std::string& dataFileName, uint32_t waitMs) {
  tx.Init(folder);
  while (!WaitFor([&] { return tx.RDY(); }, true, waitMs, nullptr)) {
    const MsgResult r = host().MsgBox("2nd application is not ready.\r\nTry again?",
                                      MsgButtons::RetryCancel, MsgIcon::Exclamation,
                                      "File Handshake");
    if (r != MsgResult::Retry) return false;
  }
  tx.DATAFILE(dataFileName);
  return true;
}

bool HandshakeRow(HandShakeTX& tx, const std::string& rowText, long& stopCode, uint32_t waitMs) {
  return HandshakeRow(tx, rowText, stopCode, {}, waitMs);
}

bool HandshakeRow(HandShakeTX& tx, const std::string& rowText, long& stopCode,
                  const std::function<bool()>& stopped, uint32_t waitMs) {
  const auto outside = [&stopped] { return stopped && stopped(); };
  // The receiver is ready for the next row.
  if (!WaitFor([&] { return tx.RDY(); }, true, waitMs, &stopCode, stopped)) {
    if (stopCode == 0 && !outside()) stopCode = kErrRdyTimeOut;
    return false;
  }
  if (tx.DataFileName.empty() || !WriteLineFile(tx.DataFileName, rowText)) {
    stopCode = kStopWriteFailed;
    return false;
  }
  tx.DAV(true);
  // The receiver took the row when it drops "RDY".
  const bool taken = WaitFor([&] { return tx.RDY(); }, false, waitMs, &stopCode, stopped);
  if (!taken && stopCode == 0 && !outside()) stopCode = kErrRdyTimeOut;
  tx.DAV(false);
  return taken;
}

void HandshakeRunEnd(HandShakeTX& tx) { tx.DAV(false); }

// --- DataLinkServer -------------------------------------------------------

DataLinkServer::DataLinkServer() {
  if (HasHost()) path("");
}

void DataLinkServer::path(const std::string& folder) {
  Path = WithSlash(folder);
  DAVFile = Path + "DAV";
  DATAFile = Path + "DATA";
  NRFDFile = Path + "NRFD";
  NDACFile = Path + "NDAC";
}

bool DataLinkServer::SetHigh(const std::string& name) { return Remove(name); }
bool DataLinkServer::SetLow(const std::string& name) { return Create(name); }
bool DataLinkServer::FileExist(const std::string& name) const { return Present(name); }

long DataLinkServer::Reset(double value) {
  if (value >= 0 && value < 60000) TimeOutMs = static_cast<int32_t>(value);
  return TimeOutMs;
}

long DataLinkServer::Reset(const std::string& value) {
  std::string text = value;
  for (char& c : text)
    if (c == ',') c = '.';
  char* end = nullptr;
  const double v = std::strtod(text.c_str(), &end);
  if (text.empty() || end == text.c_str() || *end != '\0') return TimeOutMs;
  return Reset(v);
}

bool DataLinkServer::Transmit(const std::string& text) {
  if (!WriteLineFile(DATAFile, text)) return false;
  return SetLow(DAVFile);
}

bool DataLinkServer::TimeOut(long ms) {
  if (!NRFD()) return false;
  ShowStatus("Waiting for RFD...");
  const bool fell = ms > 0 && WaitWhile([this] { return !NRFD(); }, nullptr, host().TimeGetTime(),
                                        static_cast<uint32_t>(ms), kHandshakePollMs) ==
                                  WaitEnd::Done;
  if (!fell && NRFD()) {
    ShowStatus("Time Out");
    return true;
  }
  ShowStatus("");
  return false;
}

}  // namespace sv
