#include "acquisition/grabber.h"

#include <algorithm>
#include <cctype>

#include "acquisition/camera_driver.h"
#include "acquisition/capture_devices.h"
#include "acquisition/genicam.h"
#include "acquisition/grabber_environment.h"
#include "acquisition/live.h"
#include "core/globals.h"
#include "core/host.h"
#include "core/ini_profile.h"
#include "core/mdi_main.h"
#include "core/settings.h"
#include "image/form_camera.h"

namespace sv {

namespace {

GrabberGlobals g_grabber;

// The driver object of a camera driver in use (GenICam, capture device):
// made by GrabberLoad, opened by GrabberInit, let go by GrabberUnload.
std::unique_ptr<CameraDriver> g_camera;

struct FixedDriver {
  long number;
  const char* stem;
  const char* displayName;
};

// The drivers the workbench knows by name. The SensiCam has a stem for each
// family of Windows; this one runs its drivers in a protected
// kernel, so the NT stem is the one kept.
const FixedDriver kFixedDrivers[] = {
    {kDriverNone, "", "(none)"},
    {kDriverV1sw2000, "V1sw2000", "Video 1000 S/W"},
    {kDriverSensiCam, "SenNTcam", "PCO SensiCam 370xL/375xL"},
    {kDriverV1rgb2k, "V1rgb2k", "Video 1000 RGB"},
    {kDriverV1k12, "V1k12", "Video 1000 12Bit PCI"},
    {kDriverPixelFly, "PCCAM", "PCO PixelFly"},
    {kDriverUK1000, "CamUsb_API_vb6", "UK1000 USB2.0 Cameras"},
    {kDriverGenICam, kGenICamStem, kGenICamDisplayName},
    {kDriverDummy, "DummyGrb", "Dummy Grabber"},
};

std::string Upper(std::string s) {
  std::transform(s.begin(), s.end(), s.begin(), [](unsigned char c) { return std::toupper(c); });
  return s;
}

bool IsCapture(long driver) {
  return driver >= kDriverCapture && driver < kDriverCapture + kCaptureDeviceCount;
}

// The drivers whose frames come from a CameraDriver object.
bool IsCameraDriver(long driver) { return driver == kDriverGenICam || IsCapture(driver); }

// The driver the wrappers talk to: the selected one once it is loaded, else
// none, so that every wrapper gives its default.
long Active() {
  const GrabberGlobals& b = g_grabber;
  if (b.GrabberDriver >= kDriverDummy || b.GrabberDriver == kDriverGenICam)
    return b.GrabberLibrary == -1 ? b.GrabberDriver : 0;
  return b.GrabberLibrary > 0 ? b.GrabberDriver : 0;
}

// The closed driver libraries (1 to 6) do not exist on this platform; a
// driver of theirs never loads, so nothing below dispatches to them.
bool LoadClosedLibrary(long /*driver*/) { return false; }

// The live picture's own status text while a frame is taken.
void PreviewStatus(const std::string& text) {
  if (Form_Camera* preview = PreviewImage()) {
    preview->StatusLine = text;
    preview->DrawCameraImage();
  }
}

}  // namespace

GrabberGlobals& GB() { return g_grabber; }
void ResetGrabberGlobals() { g_grabber = GrabberGlobals(); }

// --- The driver table ------------------------------------------------------------

std::vector<GrabberDriverEntry> GrabberDriverTable() {
  std::vector<GrabberDriverEntry> out;
  for (const auto& d : kFixedDrivers) {
    GrabberDriverEntry e;
    e.number = d.number;
    e.stem = d.stem;
    e.displayName = d.displayName;
    // Listing the table looks for no camera: the GenICam row is there when
    // the driver is built in.
    e.available = d.number == kDriverNone || d.number == kDriverDummy ||
                  (d.number == kDriverGenICam && GenICamSupported());
    out.push_back(e);
  }
  return out;
}

std::vector<GrabberDriverEntry> CaptureDriverEntries() {
  std::vector<GrabberDriverEntry> out;
  CaptureDevices& devices = CaptureDeviceList();
  for (int n = 0; n < kCaptureDeviceCount; ++n) {
    std::string description = devices.Description(n);
    if (description.empty()) continue;
    GrabberDriverEntry e;
    e.number = kDriverCapture + n;
    e.stem = description;
    e.displayName = description;
    e.available = true;
    out.push_back(e);
  }
  return out;
}

long GrabberDriverNumber(std::string& name) {
  const std::string stem = Upper(name);
  if (stem == "V1SW2000") return kDriverV1sw2000;
  if (stem == "SEN95CAM" || stem == "SENNTCAM") {
    name = "SenNTcam";
    return kDriverSensiCam;
  }
  if (stem == "PCCAM") return kDriverPixelFly;
  if (stem == "CAMUSB_API_VB6") return kDriverUK1000;
  if (stem == "V1RGB2K") return kDriverV1rgb2k;
  if (stem == "V1K12") return kDriverV1k12;
  if (stem == "DUMMYGRB") return kDriverDummy;
  if (stem == "ARAVIS") {
    name = kGenICamStem;
    return kDriverGenICam;
  }
  if (stem == "MSVIDEO") return kDriverCapture;
  if (!name.empty()) {
    CaptureDevices& devices = CaptureDeviceList();
    for (int n = 0; n < kCaptureDeviceCount; ++n)
      if (devices.Description(n) == name) return kDriverCapture + n;
  }
  name.clear();
  return kDriverNone;
}

std::string GrabberDisplayName(long driver) {
  for (const auto& d : kFixedDrivers)
    if (d.number == driver) return d.displayName;
  if (IsCapture(driver)) {
    std::string description = CaptureDeviceList().Description(int(driver - kDriverCapture));
    if (!description.empty()) return description;
  }
  return "(none)";
}

std::string GrabberDisplayNameOf(const std::string& name) {
  std::string copy = name;
  return GrabberDisplayName(GrabberDriverNumber(copy));
}

// --- Selection ---------------------------------------------------------------------

bool GrabberSelect(const std::string& name) {
  Globals& g = G();
  g.GrabberOK = false;
  g.GrabberName = name;
  if (GrabberLoad(g.GrabberName)) {
    if (g_grabber.GrabberDriver == kDriverGenICam) {
      // The settings in use apply as the camera opens, and the camera they
      // name is the source when it is found.
      const std::string& camera = GenICamConfig().Camera;
      if (!camera.empty() && g_camera) {
        const long inputs = g_camera->Inputs();
        for (long i = 0; i < inputs; ++i)
          if (GenICamInputId(i) == camera) g_grabber.GrabberSource = i;
      }
    }
    if (GrabberInit(g_grabber.GrabberSource)) g.GrabberOK = true;
  }
  // The settings of the camera, as the ini file in use holds them.
  // The camera keeps the settings it was opened with: they are the ones in
  // use, which may be newer than the file's.
  if (!g.IniFile.empty()) {
    const GenICamSettings inUse = GenICamConfig();
    ReadGrabberSettings(Profile::Load(ResolveProfilePath(g.IniFile)));
    GenICamConfig() = inUse;
  }
  return g.GrabberOK;
}

bool GrabberLoad(const std::string& name) {
  GrabberGlobals& b = g_grabber;
  std::string& stem = G().GrabberName;
  if (&stem != &name) stem = name;
  b.GrabberDriver = GrabberDriverNumber(stem);
  b.GrabberLibrary = 0;
  b.CaptureIndex = -1;
  b.Initialised = false;
  g_camera.reset();
  if (b.GrabberDriver == kDriverNone) return false;
  if (b.GrabberDriver == kDriverGenICam) {
    g_camera = MakeGenICamDriver();
    if (!g_camera) return false;
    b.GrabberLibrary = -1;
    return true;
  }
  if (b.GrabberDriver < kDriverDummy) {
    if (!LoadClosedLibrary(b.GrabberDriver)) return false;
    return true;
  }
  if (IsCapture(b.GrabberDriver)) {
    b.CaptureIndex = b.GrabberDriver - kDriverCapture;
    // A device that is not there cannot be loaded.
    if (CaptureDeviceList().Description(int(b.CaptureIndex)).empty()) {
      b.CaptureIndex = -1;
      return false;
    }
    g_camera = MakeCaptureDriver(int(b.CaptureIndex));
    if (!g_camera) {
      b.CaptureIndex = -1;
      return false;
    }
  }
  b.GrabberLibrary = -1;
  return true;
}

bool GrabberInit(long source) {
  GrabberGlobals& b = g_grabber;
  const long driver = Active();
  if (driver == kDriverNone) return false;
  MDIForm_Main* main = MainForm();
  auto status = [main](const std::string& text) {
    if (main)
      main->ShowStatus(text);
    else if (HasHost())
      ShowStatus(text);
  };
  status("Grabber initializing...");
  bool ok = false;
  if (driver == kDriverDummy) {
    ok = true;
  } else if (IsCameraDriver(driver) && g_camera) {
    ok = g_camera->Open(source);
  }
  if (ok) {
    b.Initialised = true;
    b.GrabberSource = std::clamp(source, 0L, std::max(0L, GrabberInputs() - 1));
    b.StartTime = HasHost() ? host().TimeGetTime() : 0;
    b.DummyFrames = 0;
    b.DummyFrameClock = false;
  }
  status("");
  return ok;
}

void GrabberClose() {
  g_grabber.Initialised = false;
  if (g_camera) g_camera->Close();
}

void GrabberUnload() {
  GrabberGlobals& b = g_grabber;
  b.Initialised = false;
  g_camera.reset();
  b.GrabberLibrary = 0;
  b.CaptureIndex = -1;
}

// --- Wrappers ------------------------------------------------------------------------

std::string GrabberDllDate() {
  switch (Active()) {
    case kDriverDummy: return "Mar. 07, 2002 (R)";
    case kDriverNone: return "(disabled)";
    default: return IsCameraDriver(Active()) && g_camera ? g_camera->Version() : "(disabled)";
  }
}

std::string GrabberInterfaceName() {
  const long driver = Active();
  if (driver == kDriverDummy) return "Dummy Grabber";
  if (IsCameraDriver(driver) && g_camera) return g_camera->InterfaceName();
  return "(none)";
}

std::string GrabberInputName(long input) {
  if (IsCameraDriver(Active()) && g_camera) {
    std::string name = g_camera->InputName(input);
    if (!name.empty()) return name;
  }
  return "Video Source";
}

long GrabberInputs() {
  const long driver = Active();
  if (IsCameraDriver(driver) && g_camera) return g_camera->Inputs();
  return driver == kDriverDummy ? 1 : 0;
}

bool GrabberInput(long input) {
  if (input < 0 || input >= GrabberInputs()) return false;
  g_grabber.GrabberSource = input;
  if (MDIForm_Main* main = MainForm()) RebuildSourceControls(*main);
  return true;
}

// The camera driver that is up, or none.
static CameraDriver* OpenCamera() {
  return IsCameraDriver(Active()) && g_camera && g_camera->IsOpen() ? g_camera.get() : nullptr;
}

long GrabberWidth() {
  if (CameraDriver* camera = OpenCamera()) return camera->Width();
  return Active() == kDriverDummy ? kDummyWidth : 0;
}

long GrabberHeight() {
  if (CameraDriver* camera = OpenCamera()) return camera->Height();
  return Active() == kDriverDummy ? kDummyHeight : 0;
}

long GrabberBitsPerPixel() {
  const long driver = Active();
  if (driver == kDriverDummy) return kDummyBits;
  if (CameraDriver* camera = OpenCamera()) return camera->Bits();
  return 8;
}

bool GrabberIsColor() {
  const long driver = Active();
  if (driver == kDriverDummy) return g_grabber.GrabberColor;
  // The camera drivers deliver what they say; a capture device follows
  // GrabberColor by itself.
  if (CameraDriver* camera = OpenCamera()) return camera->IsColor();
  if (IsCapture(driver)) return g_grabber.GrabberColor;
  return false;  // driver 6 would ask its camera
}

bool GrabberDigitize() {
  // Drivers 1, 3 and 4 digitise continuously; none of them loads here. The
  // cameras start their stream.
  if (CameraDriver* camera = OpenCamera()) return camera->Start();
  return false;
}

long GrabberReadImage(Samples16 dest) {
  PreviewStatus("Grabbing...");
  long result = kGrabberNoSync;
  switch (Active()) {
    case kDriverDummy: result = DummyReadImage(dest); break;
    // The closed drivers never load: "(No Sync)".
    default:
      if (CameraDriver* camera = OpenCamera()) result = camera->ReadImage(dest);
      break;
  }
  PreviewStatus("");
  return result;
}

namespace {
// Drivers 1 and 3 need the buffer their lines go to.
bool ScanBufferMissing(Samples16 buffer) {
  const long driver = Active();
  if ((driver == kDriverV1sw2000 || driver == kDriverV1rgb2k) && buffer.empty()) {
    if (HasHost())
      host().MsgBox("No Memory allocated", MsgButtons::OK, MsgIcon::Exclamation, G().AppTitle);
    return true;
  }
  return false;
}
}  // namespace

bool GrabberScanLine(long, long, long, long, Samples16 buffer) {
  ScanBufferMissing(buffer);
  return false;
}

bool GrabberScanFrame(long, long, long, long, Samples16 buffer) {
  ScanBufferMissing(buffer);
  return false;
}

bool GrabberRoi(long, long, long, long) { return false; }

// Only drivers 1 and 4 can tell that the sync is missing; the others always
// have one.
bool GrabberSync() { return true; }

bool GrabberHasOverlay() { return false; }
bool GrabberDisplayOverlay(bool) { return false; }
bool GrabberOverlayDrawLine(long, long, long, long, long) { return false; }
bool GrabberOverlayDrawFrame(long, long, long, long, long) { return false; }
bool GrabberOverlaySize(long, long) { return false; }
bool GrabberOverlayClear() { return false; }

// video4linux devices have no dialogs of their own.
bool GrabberOffersDialogs() { return false; }

// --- Exit ----------------------------------------------------------------------------

void GrabberExit() {
  StopPreview();
  GrabberClose();
  GrabberUnload();
  GrabberGlobals& b = g_grabber;
  if (Form_Camera* preview = PreviewImage()) {
    b.CameraImageWidth = preview->ClientWidth;
    b.CameraImageHeight = preview->ClientHeight;
    const std::string& ini = G().IniFile;
    if (!ini.empty()) {
      WritePrivateProfileString("Camera Image", "Width", std::to_string(b.CameraImageWidth), ini);
      WritePrivateProfileString("Camera Image", "Height", std::to_string(b.CameraImageHeight),
                                ini);
    }
  }
}

// --- Settings ------------------------------------------------------------------------

void ReadGrabberSettings(const Profile& ini) {
  GrabberGlobals& b = g_grabber;
  b.CameraImageLeft = ini.GetInt("Camera Image", "Left", 0);
  b.CameraImageTop = ini.GetInt("Camera Image", "Top", 0);
  b.CameraImageWidth = ini.GetInt("Camera Image", "Width", 0);
  b.CameraImageHeight = ini.GetInt("Camera Image", "Height", 0);
  b.OverlayLeft = ini.GetInt("Overlay Window", "Left", 0);
  b.OverlayTop = ini.GetInt("Overlay Window", "Top", 0);
  b.UseOverlay = ini.GetInt("Overlay Window", "UseOverlay", 0) != 0;
  G().NoiseReduction = ini.GetInt("Grabber", "NoiseReduction", 0) != 0;
  b.DummyFramePeriod = std::clamp<long>(
      ini.GetInt("Grabber", "DummyFramePeriod", int(kDummyFramePeriodDefault)), 0,
      kDummyFramePeriodMax);
  ReadGenICamSettings(ini);
  // The name itself came with the hardware names; the menu shows it.
  if (MDIForm_Main* main = MainForm()) ShowGrabberSetupCaption(*main);
}

void WriteGrabberSettings(Profile& ini) {
  const GrabberGlobals& b = g_grabber;
  ini.SetInt("Camera Image", "Left", b.CameraImageLeft);
  ini.SetInt("Camera Image", "Top", b.CameraImageTop);
  ini.SetInt("Camera Image", "Width", b.CameraImageWidth);
  ini.SetInt("Camera Image", "Height", b.CameraImageHeight);
  ini.SetInt("Overlay Window", "Left", b.OverlayLeft);
  ini.SetInt("Overlay Window", "Top", b.OverlayTop);
  ini.SetInt("Overlay Window", "UseOverlay", b.UseOverlay ? -1 : 0);
  ini.SetInt("Grabber", "NoiseReduction", G().NoiseReduction ? -1 : 0);
  ini.SetInt("Grabber", "DummyFramePeriod", b.DummyFramePeriod);
  // The GenICam camera's section goes into the file once it has been used.
  if (G().GrabberName == kGenICamStem || ini.Get(kGenICamSection, "PixelFormat"))
    WriteGenICamSettings(ini);
}

void RegisterGrabberSettings() {
  for (const auto& s : SettingsSections())
    if (s.slot == SettingsSlot::Grabber) return;
  RegisterSettingsSection({SettingsSlot::Grabber, "Grabber",
                           [](const Profile& ini) { ReadGrabberSettings(ini); },
                           [](Profile& ini) { WriteGrabberSettings(ini); }});
}

std::vector<std::string> DescribeGrabberSettings() {
  const GrabberGlobals& b = g_grabber;
  auto line = [](const char* section, const char* key, long value) {
    return std::string(section) + "/" + key + "=" + std::to_string(value);
  };
  return {
      line("Camera Image", "Left", b.CameraImageLeft),
      line("Camera Image", "Top", b.CameraImageTop),
      line("Camera Image", "Width", b.CameraImageWidth),
      line("Camera Image", "Height", b.CameraImageHeight),
      line("Overlay Window", "Left", b.OverlayLeft),
      line("Overlay Window", "Top", b.OverlayTop),
      line("Overlay Window", "UseOverlay", b.UseOverlay ? -1 : 0),
      line("Grabber", "NoiseReduction", G().NoiseReduction ? -1 : 0),
      line("Grabber", "DummyFramePeriod", b.DummyFramePeriod),
  };
}

}  // namespace sv
