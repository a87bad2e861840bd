// The links to other programs that take the place of DDE on this platform:
// a remote A/D and D/A device ("<name>|Control"), and the rows of a run sent
// to a spreadsheet ("Excel|<sheet>"). The topic and item names are those a
// Windows peer knows; the transport is the local link of link_socket.h.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "hardware/link_socket.h"

namespace sv {

// The link fields of the remote device, and the counters that come in by
// advise. One per process.
struct Form_DDE {
  // The client text fields.
  std::string Text_AD_get_voltage;
  std::string Text_AD_get_stress_counter;
  std::string Text_AD_cmd;
  std::string Text_AD_TrigCount;
  std::string Text_DA_set_voltage;

  LinkClient ADLink, DALink;
  std::string ADName, DAName;  // the interface names the links were opened for

  // The stress counter and the trigger count as they last came in; the
  // trigger wait compares the two (and negates the count once it fired).
  long DDECounter = 0;
  long DDETriggerCount = 0;
  // Runs after each new stress counter.
  std::function<void()> OnCounterUpdate;

  int PollTimer = 0;  // the host timer that reads the advise updates
};

Form_DDE& DDEForm();

// Items of the A/D link.
inline constexpr const char* kItemADVoltage = "Label_AD_get_voltage";
inline constexpr const char* kItemADCounter = "Label_AD_get_stress_counter";
inline constexpr const char* kItemADCmd = "Label_AD_cmd";
inline constexpr const char* kItemADTrigger = "Label_AD_trigger";
// The item of the D/A link.
inline constexpr const char* kItemDAVoltage = "DA_set_voltage";
// How often the host timer reads pushed updates.
inline constexpr int kDDEPollIntervalMs = 50;

// "<name>|Control".
std::string DDEControlTopic(const std::string& interfaceName);

// Each open gives false with a message that starts "DDE_AD_open: ".
// `timeoutMs` bounds every wait for the peer.
bool DDE_AD_open(const std::string& interfaceName, int timeoutMs, std::string& error);
bool DDE_DA_open(const std::string& interfaceName, int timeoutMs, std::string& error);
void DDE_AD_close();
void DDE_DA_close();
// Closes both links and clears the fields, the counters and the callback.
void DDE_Reset();

// Asks the text of the voltage item and reads it as a number. A link that
// went away is opened again once.
bool DDE_AD_get_voltage(float& volts, std::string& error);
// Sets Text_DA_set_voltage and pokes it.
bool DDE_DA_set_voltage(float volts, std::string& error);

// Reads the advise updates that have come in (the host timer calls it at
// every tick while a link is open; waits may call it too).
void DDE_Poll();

// The number in a link text ("1,5" reads as 1.5); false when it is none.
bool DDEParseNumber(const std::string& text, double& value);
// A voltage as the shortest text that reads back the same single.
std::string DDEFormatNumber(float value);

// The rows of a run sent to a spreadsheet.
class DDESheetLink {
 public:
  // "Excel|" + sheet ("Tabelle1" when empty), item "Z1S1:Z1S" + the column
  // count, and the labels poked as one tab-separated line. The link stays
  // open.
  bool Open(const std::string& sheet, const std::vector<std::string>& labels, int timeoutMs,
            std::string& error);
  // Worksheet row `row` (0 is the label row, 1 the first data row) as
  // tab-separated text, poked at the item of its line.
  bool Row(long row, long columns, const std::string& rowText, std::string& error);
  void Close();
  bool IsOpen() const { return link_.IsOpen(); }
  const std::string& Topic() const { return link_.Topic(); }
  const std::string& Item() const { return item_; }

 private:
  LinkClient link_;
  std::string item_;
};

// The item of worksheet row `row`: "Z<row+1>S1:Z<row+1>S<columns>".
std::string SheetLinkItem(long row, long columns);

}  // namespace sv
