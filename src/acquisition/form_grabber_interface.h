// The grabber setup dialog's presenter: the drivers this machine knows, which
// of them can come up, and the change to another one while the workbench runs.
#pragma once

#include <string>
#include <vector>

#include "acquisition/grabber.h"

namespace sv {

class MDIForm_Main;

class Form_GrabberInterface {
 public:
  static constexpr const char* kTitle = "Grabber Interface";

  explicit Form_GrabberInterface(MDIForm_Main* main = nullptr);

  // Fills List_Drivers from the driver table and the capture devices found
  // now, selects the driver in use and loads the other controls.
  void Form_Load();

  // Controls.
  std::vector<GrabberDriverEntry> Drivers;  // the rows of List_Drivers
  std::vector<std::string> List_Drivers;    // their captions
  int ListIndex = -1;                       // the selected row, -1 for none
  bool Check_Color = false;                 // colour frames, for the dummy and capture devices
  bool Check_ColorEnabled = false;
  bool Command_OKEnabled = false;
  std::string Label_Info;                   // the grabber that is up now
  bool Visible = false;                     // set by the window that shows the dialog

  // The caption of a row: the display name, marked when it cannot come up here.
  static std::string ListCaption(const GrabberDriverEntry& driver);
  // The text of Label_Info for the grabber that is up.
  static std::string GrabberInfo();

  // A row was chosen.
  void List_Drivers_Click(int index);
  // Changes to the chosen driver: close, unload, select, the steps after a
  // selection. A driver that does not come up is reported as at start-up.
  // Returns GrabberOK.
  bool Command_OK();
  void Command_Cancel();

 private:
  MDIForm_Main* main_;
};

}  // namespace sv
