// The GenICam camera driver (GigE Vision and USB3 Vision cameras through
// Aravis): its fake-only switch, the settings it keeps in the "Aravis" section
// of the ini file, what the camera allows, and the setup dialog's presenter.
// Nothing here needs the Aravis headers; the driver itself sits behind
// CameraDriver (camera_driver.h) and the grabber wrappers.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "acquisition/camera_driver.h"

namespace sv {

class Profile;

// --- Fake-only mode ---------------------------------------------------------------
// With it on, only Aravis's in-process fake camera is offered: the GigE Vision
// and USB3 Vision interfaces are switched off before anything else, so nothing
// is ever looked for on the network or the bus, and the one camera is
// kGenICamFakeCameraId. The environment variable SV_GENICAM_FAKE=1 turns it
// on as well.
void SetGenICamFakeOnly(bool on);
// True when this build has the driver (Aravis is linked).
bool GenICamSupported();
bool GenICamFakeOnly();
inline constexpr const char* kGenICamFakeCameraId = "Fake_1";

// --- Settings ---------------------------------------------------------------------
// Kept in the ini file's "Aravis" section and applied whenever a camera is
// opened. A missing value leaves the camera's own.
//   Camera       the camera's id (as Aravis names it); "" the first found
//   ExposureTime microseconds
//   Gain         dB
//   FrameRate    frames per second
//   PixelFormat  "Mono8", "Mono10", "Mono10Packed", "Mono12", "Mono12Packed",
//                "Mono16" or "RGB8"
//   RegionX, RegionY, RegionWidth, RegionHeight   pixels; width or height 0
//                is the full sensor
inline constexpr const char* kGenICamSection = "Aravis";

struct GenICamSettings {
  std::string Camera;
  std::optional<double> ExposureTime;
  std::optional<double> Gain;
  std::optional<double> FrameRate;
  std::string PixelFormat;
  long RegionX = 0, RegionY = 0, RegionWidth = 0, RegionHeight = 0;

  bool operator==(const GenICamSettings&) const = default;
};

// The settings in use, process-wide.
GenICamSettings& GenICamConfig();
// The "Aravis" section. They ride with the grabber's settings pair
// (ReadGrabberSettings / WriteGrabberSettings), so they are read at start and
// written at exit with the rest of the grabber's.
void ReadGenICamSettings(const Profile& ini);
void WriteGenICamSettings(Profile& ini);

// --- Cameras and what they allow ---------------------------------------------------
struct GenICamCameraInfo {
  std::string Id;       // what opens it
  std::string Caption;  // "vendor model (serial)"
};

// The cameras found. This is the one place that looks for cameras (in
// fake-only mode only the fake one is seen): called when the driver is
// selected, when its setup opens, and by svbatch.
std::vector<GenICamCameraInfo> GenICamDiscover();
// The id of input `input` of the driver in use, from the cameras it found
// (no new search); "" when there is none.
std::string GenICamInputId(long input);

// The bounds of a camera's controls and its present values.
struct GenICamBounds {
  double ExposureMin = 0, ExposureMax = 0;  // microseconds
  double GainMin = 0, GainMax = 0;          // dB
  double FrameRateMin = 0, FrameRateMax = 0;
  bool HasExposure = false, HasGain = false, HasFrameRate = false;
  long SensorWidth = 0, SensorHeight = 0;
  long WidthMin = 1, WidthMax = 0, HeightMin = 1, HeightMax = 0;
  long XIncrement = 1, YIncrement = 1, WidthIncrement = 1, HeightIncrement = 1;
  std::vector<std::string> PixelFormats;  // the camera's formats that this driver takes
  GenICamSettings Present;                // the camera's values now
};

// Bounds of camera `id` (the camera of the driver in use when it is that one,
// else the camera opened for the moment). False with a message in `error`
// when it cannot be opened.
bool GenICamQuery(const std::string& id, GenICamBounds& bounds, std::string& error);

// Whether a camera offers settings: each value given lies within its bounds
// (a control it lacks takes no value), the pixel format is one it offers, and
// the region lies inside the sensor on the camera's steps. A region of all
// zeros leaves the camera's own; a width or height of 0 runs to the sensor's
// edge. False with a message for the first value it does not offer, naming
// what it does. The setup dialog and svbatch both check through this.
bool GenICamCheck(const GenICamSettings& settings, const GenICamBounds& bounds,
                  std::string& message);

// Applies settings to the camera of the driver in use, when that is the
// camera they name (or they name none): the stream is stopped, the settings
// set, the buffers made anew at the new frame size and the stream started
// again. False with a message in `error` when the camera refused a value.
// Nothing open: true, nothing done (they apply at the next open).
bool GenICamApply(const GenICamSettings& settings, std::string& error);

// Counts of the stream of the driver in use since it was opened.
struct GenICamStreamStats {
  uint64_t Completed = 0;  // complete frames the camera delivered to the pool
  uint64_t Failed = 0;     // frames that arrived broken
  uint64_t Underruns = 0;  // frames lost for want of a free buffer
  uint64_t Delivered = 0;  // frames handed to GrabberReadImage
  uint64_t Skipped = 0;    // complete frames passed over for a newer one
  uint64_t Timeouts = 0;   // reads that found nothing in time (-2)
};
GenICamStreamStats GenICamStatistics();

// Sets one GenICam feature of the open camera by its text value (an
// enumeration, or a number), e.g. "TriggerMode" "On". False with a message
// when no camera is open or the camera refuses.
bool GenICamSetFeature(const std::string& feature, const std::string& value, std::string& error);

// Why the last open, apply or read failed; "" after a success.
std::string GenICamLastError();

// The pixel formats the driver takes, and their shape: significant bits and
// colour. False for a format it does not take.
bool GenICamFormatShape(const std::string& format, long& bits, bool& color);

// One frame of `format` as the camera sends it (`size` bytes of `data`, a
// packed format as one run of pixels without line padding) into `dest`:
// mono one sample a pixel, RGB8 three. False when the format is not taken,
// the data is short or `dest` is too small.
bool GenICamConvert(const std::string& format, const uint8_t* data, size_t size, long width,
                    long height, Samples16 dest);

// --- The setup dialog ---------------------------------------------------------------
class Form_GenICamSetup {
 public:
  static constexpr const char* kTitle = "GenICam Camera Setup";

  // Finds the cameras (Combo_Camera), selects the one of the settings and
  // loads the fields from the settings, or the camera's own values where the
  // settings leave them open. A camera that cannot be opened is told through
  // the host; the fields stay empty.
  void Form_Load();

  // Controls.
  std::vector<GenICamCameraInfo> Cameras;  // the rows of Combo_Camera
  std::vector<std::string> Combo_Camera;   // their captions
  int CameraIndex = -1;
  std::string Text_Exposure;   // microseconds
  std::string Text_Gain;       // dB
  std::string Text_FrameRate;  // Hz
  std::vector<std::string> Combo_PixelFormat;
  int PixelFormatIndex = -1;
  std::string Text_X, Text_Y, Text_Width, Text_Height;
  std::string Label_Bounds;  // the camera's ranges, one line each
  bool Visible = false;      // set by the window that shows the dialog

  // The bounds of the selected camera (valid after Form_Load or a camera
  // change with a camera that opened).
  const GenICamBounds& Bounds() const { return bounds_; }
  bool HasBounds() const { return hasBounds_; }

  // Another camera chosen: its bounds and values are loaded.
  void Combo_Camera_Click(int index);
  // Checks every field against the camera's bounds. The first bad one is
  // told through the host (title kTitle) and false comes back; nothing is
  // kept. Otherwise the values become the settings in use and go to the
  // camera (GenICamApply), and true comes back.
  bool Command_Apply();
  // Command_Apply, then the dialog closes (Visible false) when it succeeded.
  bool Command_OK();
  // Closes; the settings in use stay as they were at the last Apply.
  void Command_Cancel();

  // The fields as settings, checked against the camera (GenICamCheck). False
  // with the message for the first bad field.
  bool Validate(GenICamSettings& out, std::string& message) const;

 private:
  void LoadCamera(int index);
  void LoadFields(const GenICamSettings& values);

  GenICamBounds bounds_;
  bool hasBounds_ = false;
};

}  // namespace sv
