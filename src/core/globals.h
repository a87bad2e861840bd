// The process-wide state block: options read from the ini file, the names
// and states of the hardware interfaces, the start-up switches.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace sv {

struct Globals {
  // Start-up.
  bool DebugMode = false;
  bool Use3D = false;
  bool SlaveMode = false;        // "/SLAVE"
  bool ResetHardware = false;    // "/RESET "
  bool NoBackground = false;     // "/B"
  bool FirstStart = false;       // no ini file and no per-user store yet
  std::string CommandLine;       // as given, without the program name
  std::string AppTitle = "SV4200";
  std::string IniFile;           // full path or bare name
  std::string UserIniName;       // "" when the user name cannot be read
  std::string VideoMarker;       // CR LF "VIDEO", kept for the film files
  std::string HelpPath;

  // Hardware interfaces.
  std::string GrabberName;
  bool GrabberOK = false;
  std::string IOName;
  long IOOK = 0;
  std::string DAName;
  long DAOK = 0;
  std::string ADName;
  long ADOK = 0;

  std::vector<uint16_t> RGBtoGrey;  // 65536 entries once built

  bool BackgroundValid = false;
  long BackgroundImageHandle = 0;
  bool NoiseReduction = false;
  // The cancel flag of file reads and grabs: a reader sets it, a stop clears
  // it, and the read ends at its next line.
  bool LoadOK = false;
  long PreviewImageHandle = 0;     // the image that shows the live picture, 0 for none

  // The application's last-error code (10015: the sheet rows were cut) and
  // its break flag, which long loops test.
  long LastErrorCode = 0;
  bool BreakFlag = false;

  // The present electron energy in eV.
  float ElectronEnergy = 100.0f;

  // Section "Main".
  int MainState = 2, MainLeft = 0, MainTop = 0, MainWidth = 0, MainHeight = 0;
  int AutoScan = 1;
  int UndoEnabled = 1;
  // Section "LUT".
  int DefaultLUTtype = 0;  // "RainbowLUT"
  int LutVisible = 0, LutLeft = 0, LutTop = 0;
  // Section "Video".
  int VideoMode = 0, VideoLeft = 0, VideoTop = 48;
  std::string VideoPath;
  // Section "Images".
  std::string ImagesDialogPath;  // "Path": the last image folder
  int ImagesFilterIndex = 1;
  std::string WebFilename;
  int ViewImageComment = -1;
  // Section "Options".
  int ShowExitDialog = 1, StartOverlay = 1, ShowToolbar = -1, ShowStatusbar = -1;
  int OsziBackColor = 0xFFFFFF;
  // The extended window shapes (Rectangle, Quadrat, Ellipse, Circle): off,
  // every window is a rectangle and its "Shape" key is neither read nor written.
  int ExtendedShapes = 0;
  // Sections "Tarvos", "Trigger", "Histogram", "LineSetupDlg", "eGun", "Script".
  bool TarvosEnabled = false;  // the Tarvos data link is built and on: "DataLinkMode" is kept
  int DataLinkMode = 0;
  int TriggerMode = 0, TriggerSource = 4;
  int HistogramVisible = 0, HistogramLeft = 0, HistogramTop = 0;
  int LineSetupLeft = 0, LineSetupTop = 0;
  int eGunVisible = 0, eGunLeft = 0, eGunTop = 0;
  float MinEnergyLEED = 0, MaxEnergyLEED = 1000, MinEnergyAUGER = 0, MaxEnergyAUGER = 1639;
  int ScriptLeft = 800, ScriptTop = 1600;
  std::string ScriptPath;  // section "Script", "Path"
  // Section "Grabber".
  int SubtractBackground = 0;
  std::string WebCamFile;
  int WebCamInterval = 6;

  // Default data folders, each with a trailing "/".
  std::string ImagesPath, FilmsPath, SheetsPath, ExportPath, ParameterPath, ScriptsPath;
};

Globals& G();
// Back to a fresh state block (tests, and a second start in one process).
void ResetGlobals();

}  // namespace sv
