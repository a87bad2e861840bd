// Grabber_BAS: every frame grabber and camera behind one set of wrappers. A
// wrapper dispatches on GrabberDriver to that driver, to the built-in dummy,
// or answers its default when no driver is up.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "image/kernel/kernel_types.h"

namespace sv {

class Profile;

// The driver numbers. Capture device n has kDriverCapture + n.
enum GrabberDriverNumbers : long {
  kDriverNone = 0,
  kDriverV1sw2000 = 1,
  kDriverSensiCam = 2,
  kDriverV1rgb2k = 3,
  kDriverV1k12 = 4,
  kDriverPixelFly = 5,
  kDriverUK1000 = 6,
  kDriverDummy = 10,
  kDriverCapture = 11,
};

// The dummy's frame, whatever the ini file says.
inline constexpr long kDummyWidth = 384;
inline constexpr long kDummyHeight = 288;
inline constexpr long kDummyBits = 12;  // a slow-scan CCD's depth
// The dummy's frame period in ms ("Grabber"/"DummyFramePeriod"): 25 frames a
// second unless set; 0 delivers a frame whenever one is asked for. Longer
// periods are taken as the longest.
inline constexpr long kDummyFramePeriodDefault = 40;
inline constexpr long kDummyFramePeriodMax = 10000;

struct GrabberDriverEntry {
  long number = 0;
  std::string stem;         // what GrabberName holds for it
  std::string displayName;
  bool available = false;   // can come up on this machine
};

// The fixed rows: 0 to 6 and the dummy.
std::vector<GrabberDriverEntry> GrabberDriverTable();
// One row 11 + n for each capture device found now.
std::vector<GrabberDriverEntry> CaptureDriverEntries();

// Upper-cases the stem and finds its number. Both SensiCam stems give 2 and
// the name becomes "SenNTcam". Any other name is looked for among the
// capture devices' descriptions (11 + n). No match clears the name: 0.
long GrabberDriverNumber(std::string& name);
// The display name of a driver number; "(none)" for 0 and numbers not in use.
std::string GrabberDisplayName(long driver);
// The same for a name, which is left as it is.
std::string GrabberDisplayNameOf(const std::string& name);

// The state of this layer. GrabberName, GrabberOK and NoiseReduction live in
// the core's block.
struct GrabberGlobals {
  long GrabberDriver = kDriverNone;
  long GrabberLibrary = 0;     // library handle; -1 for the built-in drivers; 0 none loaded
  long GrabberSource = 0;      // the selected input
  long GrabberBits = 8;        // significant bits of the grabber's samples
  long GrabberDynamik = 256;   // display range: 2 ^ GrabberBits
  bool GrabberColor = false;   // colour frames from the dummy and the capture devices
  long CameraImageLeft = 0, CameraImageTop = 0, CameraImageWidth = 0, CameraImageHeight = 0;
  long OverlayLeft = 0, OverlayTop = 0;
  bool UseOverlay = false;

  long CaptureIndex = -1;      // device n of driver 11 + n
  bool Initialised = false;    // GrabberInit succeeded and GrabberClose has not run
  uint32_t StartTime = 0;      // clock when the grabber came up
  uint32_t DummyFrames = 0;    // frames the dummy made
  long DummyFramePeriod = kDummyFramePeriodDefault;  // ms between two frames; 0 unpaced
  bool DummyFrameClock = false;  // a paced frame came since GrabberInit
  uint32_t DummyFrameTime = 0;   // when the last paced frame was due (host clock)
};
GrabberGlobals& GB();
void ResetGrabberGlobals();

// The full path from a name to a live grabber: sets GrabberName and
// GrabberOK, re-reads the grabber's settings from the ini file in use.
bool GrabberSelect(const std::string& name);

// Wrappers.
// Takes the name into GrabberName, normalised as GrabberDriverNumber leaves
// it, and loads that driver. The closed drivers 1 to 6 have no library on
// this platform and never load.
bool GrabberLoad(const std::string& name);
bool GrabberInit(long source);
void GrabberClose();
void GrabberUnload();
std::string GrabberDllDate();
std::string GrabberInterfaceName();
std::string GrabberInputName(long input);
long GrabberInputs();
// Selects an input; false when there is no such input. The sources toolbar
// and menu follow.
bool GrabberInput(long input);
long GrabberWidth();
long GrabberHeight();
long GrabberBitsPerPixel();
bool GrabberIsColor();
bool GrabberDigitize();
// 0 when a frame arrived; -2 "(No Sync)" when none came; -1 when `dest` is too
// small for the frame.
long GrabberReadImage(Samples16 dest);
inline constexpr long kGrabberNoSync = -2;
inline constexpr const char* kNoSyncText = "(No Sync)";
bool GrabberScanLine(long x1, long y1, long x2, long y2, Samples16 buffer);
bool GrabberScanFrame(long left, long top, long width, long height, Samples16 buffer);
bool GrabberRoi(long left, long top, long width, long height);
bool GrabberSync();
bool GrabberHasOverlay();
bool GrabberDisplayOverlay(bool on);
bool GrabberOverlayDrawLine(long x1, long y1, long x2, long y2, long colour);
bool GrabberOverlayDrawFrame(long left, long top, long width, long height, long colour);
bool GrabberOverlaySize(long width, long height);
bool GrabberOverlayClear();
// True when the capture driver offers its source and format dialogs.
bool GrabberOffersDialogs();

// The dummy's frame: the simulated screen at the present electron energy and
// the seconds since the grabber came up; grey or colour after GrabberColor.
// 0, or -1 when `dest` is too small. While the dummy is the grabber in use it
// runs like a camera: frames fall due every DummyFramePeriod ms, counted from
// the first read after GrabberInit; a read takes the newest frame that fell
// due since the last one it took, or waits for the next (DummyAwaitFrame).
long DummyReadImage(Samples16 dest);
// Waits until the dummy's next frame is due, letting events run through the
// host's waits; returns at once when it is due already or the dummy is not
// paced. The wait also ends when the dummy stops being the grabber in use,
// and after as many yields as the period has milliseconds (plus a few), so
// that a host whose clock stands still gets its frame and never hangs.
void DummyAwaitFrame();
// True when reads of the dummy wait for their frame (the dummy is up and its
// period is above 0).
bool DummyPaced();

// Exit step: stop, close, unload, keep the camera image's rectangle.
void GrabberExit();

// The grabber's settings pair: "Camera Image", "Overlay Window" and
// "Grabber"/"NoiseReduction".
void ReadGrabberSettings(const Profile& ini);
void WriteGrabberSettings(Profile& ini);
// Registers the pair at its place in the read and write order (once).
void RegisterGrabberSettings();
// The pair's present values, one "Section/Key=value" line each.
std::vector<std::string> DescribeGrabberSettings();

}  // namespace sv
