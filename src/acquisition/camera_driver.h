// A camera behind the grabber wrappers: GenICam cameras (GigE Vision, USB3
// Vision) through Aravis, and video capture devices through video4linux.
// Grabber_BAS keeps one driver object for the driver number in use and
// forwards the wrappers to it; nothing above the wrappers sees these classes.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "image/kernel/kernel_types.h"

namespace sv {

class CameraDriver {
 public:
  virtual ~CameraDriver() = default;

  // GrabberInterfaceName and GrabberDllDate.
  virtual std::string InterfaceName() = 0;
  virtual std::string Version() = 0;
  // The inputs: cameras found (GenICam) or the device's inputs (capture).
  virtual long Inputs() = 0;
  virtual std::string InputName(long input) = 0;
  // GrabberInit: opens input `input` and gets it ready to stream; false when
  // it cannot be had. Close stops the stream and lets the device go.
  virtual bool Open(long input) = 0;
  virtual void Close() = 0;
  virtual bool IsOpen() const = 0;
  // The frames as they come now. Bits are the significant bits of a sample;
  // a colour frame has three samples a pixel (R, G, B).
  virtual long Width() = 0;
  virtual long Height() = 0;
  virtual long Bits() = 0;
  virtual bool IsColor() = 0;
  // Starts streaming when it is not running (GrabberDigitize).
  virtual bool Start() = 0;
  // The newest complete frame into `dest`: 0; -2 when none came within the
  // timeout; -1 when `dest` is too small for Width x Height (x3) samples.
  virtual long ReadImage(Samples16 dest) = 0;
};

// The GenICam driver: its number in the driver table, its stem (what the ini
// file's "Grabber" key holds) and its display name.
inline constexpr long kDriverGenICam = 7;
inline constexpr const char* kGenICamStem = "Aravis";
inline constexpr const char* kGenICamDisplayName = "GenICam Camera (Aravis)";

std::unique_ptr<CameraDriver> MakeGenICamDriver();
// Capture device n (/dev/video n, through CaptureDeviceList()).
std::unique_ptr<CameraDriver> MakeCaptureDriver(int index);

}  // namespace sv
