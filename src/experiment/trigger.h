// The trigger wait of a run: at its start or before every step the run can
// wait for the EXT. TRIGGER line, for the user, for a count that comes in
// over the application link, or for a file another program makes.
#pragma once

#include <string>
#include <vector>

#include "experiment/wait.h"

namespace sv {

// ES().TriggerMode.
inline constexpr int kTriggerDisabled = 0;
inline constexpr int kTriggerAtStart = 1;
inline constexpr int kTriggerEveryStep = 2;

// ES().TriggerSource.
inline constexpr int kTriggerLow = 0;
inline constexpr int kTriggerHigh = 1;
inline constexpr int kTriggerLowHigh = 2;
inline constexpr int kTriggerHighLow = 3;
inline constexpr int kTriggerManual = 4;
inline constexpr int kTriggerLink = 5;
inline constexpr int kTriggerFile = 6;
inline constexpr int kTriggerSourceCount = 7;

// The file that triggers, in the temporary folder.
inline constexpr const char* kTriggerFileName = "~Trigger.tmp";

// The texts of Combo_TriggerMode: "(disabled)", "Trigger Start of Sweep",
// "Trigger every Step of Sweep"; "" for other values.
std::string TriggerModeText(int mode);
std::vector<std::string> TriggerModeTexts();
// The texts of Combo_TriggerSource as they are shown now: the four
// EXT. TRIGGER entries read "N/A" while the I/O is not ready; "" for values
// outside the list.
std::string TriggerSourceText(int source);
std::vector<std::string> TriggerSourceTexts();

// host().TempPath() + "~Trigger.tmp".
std::string TriggerFilePath();
// True when the trigger file is there; it is deleted, so that the program
// that made it sees it consumed.
bool FileTrigger();

// Waits for the trigger of ES().TriggerSource when ES().TriggerMode asks for
// one here: mode 1 only at the start (atStart true), mode 2 only before the
// steps (atStart false), mode 0 never. The wait has no time limit: it ends
// on its event or on the stop word. Done when the trigger came or no wait
// was due; Stopped when the stop word ended it (Cancel in the manual box
// sets it to -1).
WaitEnd WaitTrigger(bool atStart);

}  // namespace sv
