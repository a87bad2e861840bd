// The file handshake with a second program on the same machine: small files
// stand for signal lines, and both sides poll them. `HandShakeTX` is the
// transmitter of a run's rows ("RDY" from the receiver, "DAV" and "EXP" from
// us); `DataLinkServer` is the older server with a bus of active-low lines
// ("DAV", "DATA", "NRFD", "NDAC").
//
// Missing folders and sharing errors count as a line that is not present.
// A write closes its file before the signal changes, so a receiver never sees
// half a row.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace sv {

// The folder of the run's handshake: "Path" of section "HandShake" in the
// per-user store under the application's key.
std::string HandshakeFolderSetting();

class HandShakeTX {
 public:
  // Sets the folder ("/" added when missing; an empty one is the temp
  // folder), builds the file names, looks once for "RDY" and resets the
  // lamps.
  void Init(const std::string& folder);

  // True while the receiver's file "RDY" exists.
  bool RDY();
  // True creates "DAV", false deletes it; false when the file could not be
  // made or removed.
  bool DAV(bool value);
  bool DAV();
  // A name is written as one line into "EXP"; "" deletes "EXP".
  bool DATAFILE(const std::string& name);
  const std::string& DATAFILE() const { return DataFileName; }

  std::string RDYFile, DAVFile, EXPFile;
  std::string DataFileName;
  // The lamps: the line's state when it was last read or written (an active
  // line shows red, an idle one green).
  bool LastRDY = false;
  bool LastDAV = false;
};

// The run's three handshake steps. `stopCode` is the run's stop word: a
// non-zero value set from outside (in a yield) ends every wait.

// Init with `folder`, then waits `waitMs` for "RDY"; when it does not come a
// "File Handshake" box asks "2nd application is not ready." / "Try again?"
// (Retry waits again, Cancel gives false). Then DATAFILE = `dataFileName`.
bool HandshakeRunStart(HandShakeTX& tx, const std::string& folder,
                       const std::string& dataFileName, uint32_t waitMs = 2000);
// One row: waits for "RDY", writes `rowText` as the row file's only line,
// raises "DAV", waits for "RDY" to fall, drops "DAV". A time-out sets the
// stop code 10016, a failed write 9999. True when the receiver took the row.
bool HandshakeRow(HandShakeTX& tx, const std::string& rowText, long& stopCode,
                  uint32_t waitMs = 10000);
// The same for a run whose stop word lives elsewhere: `stopped` (may be
// empty) is asked beside `stopCode` in every wait, and a wait it ends leaves
// `stopCode` as it was.
bool HandshakeRow(HandShakeTX& tx, const std::string& rowText, long& stopCode,
                  const std::function<bool()>& stopped, uint32_t waitMs = 10000);
// The end of a run: "DAV" false; "EXP" stays.
void HandshakeRunEnd(HandShakeTX& tx);

// Cells joined by tabs.
std::string JoinTabs(const std::vector<std::string>& cells);

class DataLinkServer {
 public:
  DataLinkServer();

  // Sets the folder (the temp folder when "" is given), with a trailing "/",
  // and the four file names.
  void path(const std::string& folder);
  const std::string& path() const { return Path; }

  // A present file is a low, active line.
  bool SetHigh(const std::string& name);  // deletes the file
  bool SetLow(const std::string& name);   // creates it
  bool FileExist(const std::string& name) const;

  // 0 <= value < 60000 sets the time-out in ms; anything else is ignored.
  // Returns the time-out in force afterwards.
  long Reset(double value);
  long Reset(const std::string& value);  // a text that is not a number is ignored

  // Writes `text` as the data file's one line, then sets DAV low.
  bool Transmit(const std::string& text);
  // With NRFD active: "Waiting for RFD..." and a wait until the line falls or
  // `ms` pass; on expiry "Time Out" and true.
  bool TimeOut(long ms);

  // The lines (true while active, that is while the file exists).
  bool NRFD() const { return FileExist(NRFDFile); }
  bool NDAC() const { return FileExist(NDACFile); }
  bool NDAV() const { return FileExist(DAVFile); }
  bool NDATA() const { return FileExist(DATAFile); }
  // The file names.
  const std::string& DAV() const { return DAVFile; }
  const std::string& DATA() const { return DATAFile; }

  std::string Path, DAVFile, DATAFile, NRFDFile, NDACFile;
  int32_t TimeOutMs = 10000;
};

// Writes `text` plus a line end into `path`, replacing the content, and
// closes the file; false when it cannot be written.
bool WriteLineFile(const std::string& path, const std::string& text);

}  // namespace sv
