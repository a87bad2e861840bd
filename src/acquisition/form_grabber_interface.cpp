#include "acquisition/form_grabber_interface.h"

#include "acquisition/grabber_environment.h"
#include "core/globals.h"
#include "core/host.h"
#include "core/mdi_main.h"

namespace sv {

namespace {

bool TakesColour(long driver) { return driver >= kDriverDummy; }

}  // namespace

Form_GrabberInterface::Form_GrabberInterface(MDIForm_Main* main) : main_(main) {}

std::string Form_GrabberInterface::ListCaption(const GrabberDriverEntry& driver) {
  return driver.available ? driver.displayName : driver.displayName + " (not available)";
}

std::string Form_GrabberInterface::GrabberInfo() {
  if (!G().GrabberOK) return "No grabber";
  std::string info = GrabberInterfaceName() + "\n" + GrabberDllDate();
  const long w = GrabberWidth(), h = GrabberHeight();
  if (w > 0 && h > 0) info += "\n" + std::to_string(w) + " x " + std::to_string(h);
  info += "\n" + std::to_string(GrabberBitsPerPixel()) + " bits" +
          (GrabberIsColor() ? ", colour" : "");
  return info;
}

void Form_GrabberInterface::Form_Load() {
  Drivers = GrabberDriverTable();
  for (auto& d : CaptureDriverEntries()) Drivers.push_back(d);
  List_Drivers.clear();
  for (const auto& d : Drivers) List_Drivers.push_back(ListCaption(d));
  // The driver in use, as its name stands now.
  std::string name = G().GrabberName;
  const long current = GrabberDriverNumber(name);
  int index = 0;
  for (size_t i = 0; i < Drivers.size(); ++i)
    if (Drivers[i].number == current) index = static_cast<int>(i);
  Check_Color = GB().GrabberColor;
  Label_Info = GrabberInfo();
  List_Drivers_Click(index);
}

void Form_GrabberInterface::List_Drivers_Click(int index) {
  if (index < 0 || index >= static_cast<int>(Drivers.size())) index = -1;
  ListIndex = index;
  Command_OKEnabled = index >= 0;
  Check_ColorEnabled = index >= 0 && TakesColour(Drivers[size_t(index)].number);
}

bool Form_GrabberInterface::Command_OK() {
  if (ListIndex < 0 || ListIndex >= static_cast<int>(Drivers.size())) return G().GrabberOK;
  const GrabberDriverEntry driver = Drivers[size_t(ListIndex)];
  if (TakesColour(driver.number)) GB().GrabberColor = Check_Color;
  const bool ok = ChangeGrabber(driver.stem);
  if (!ok && !G().GrabberName.empty() && HasHost())
    host().MsgBox("Cannot initialize Grabber Interface\r\nGrabber:" +
                      GrabberDisplayNameOf(G().GrabberName),
                  MsgButtons::OK, MsgIcon::Exclamation, G().AppTitle);
  Label_Info = GrabberInfo();
  Visible = false;
  if (MDIForm_Main* m = main_ ? main_ : MainForm()) m->UpdateToolbarState();
  return ok;
}

void Form_GrabberInterface::Command_Cancel() { Visible = false; }

}  // namespace sv
