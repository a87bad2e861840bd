#include "cli/batch_grab.h"

#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <sstream>
#include <tuple>

#include "acquisition/genicam.h"
#include "acquisition/grabber.h"
#include "acquisition/grabber_environment.h"
#include "acquisition/live.h"
#include "cli/batch.h"
#include "cli/batch_host.h"
#include "cli/batch_session.h"
#include "core/first_start.h"
#include "core/globals.h"
#include "core/mdi_main.h"
#include "core/settings.h"
#include "image/form_camera.h"
#include "image/image_files.h"
#include "image/save_depth.h"

namespace sv::cli {

namespace {

constexpr long kMostFrames = 100000;

int BadCommandLine(std::ostream& err, const std::string& why) {
  err << "svbatch: " << why << "\n" << Usage();
  return 2;
}

bool ParseLong(const std::string& text, long& value) {
  char* end = nullptr;
  const long v = std::strtol(text.c_str(), &end, 10);
  if (text.empty() || *end != '\0') return false;
  value = v;
  return true;
}

bool ParseNumber(const std::string& text, double& value) {
  char* end = nullptr;
  const double v = std::strtod(text.c_str(), &end);
  if (text.empty() || *end != '\0' || !std::isfinite(v)) return false;
  value = v;
  return true;
}

// "X,Y,W,H", four whole numbers of 0 or more.
bool ParseRegion(const std::string& text, std::array<long, 4>& region) {
  size_t at = 0;
  for (int i = 0; i < 4; ++i) {
    const size_t comma = i < 3 ? text.find(',', at) : text.size();
    if (comma == std::string::npos) return false;
    if (!ParseLong(text.substr(at, comma - at), region[i]) || region[i] < 0) return false;
    at = comma + 1;
  }
  return true;
}

}  // namespace

int GrabbersCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
  if (args.size() > 1) return BadCommandLine(err, "grabbers takes no options");
  auto row = [&](const std::string& number, const std::string& stem, const std::string& name,
                 const std::string& available) {
    char line[512];
    std::snprintf(line, sizeof line, "%-7s %-16s %-28s %s\n", number.c_str(), stem.c_str(),
                  name.c_str(), available.c_str());
    out << line;
  };
  row("driver", "stem", "display name", "available");
  for (const auto& d : GrabberDriverTable())
    row(std::to_string(d.number), d.stem.empty() ? "-" : d.stem, d.displayName,
        d.available ? "yes" : "no");
  const auto devices = CaptureDriverEntries();
  for (const auto& d : devices)
    row(std::to_string(d.number), d.stem, d.displayName, d.available ? "yes" : "no");
  if (devices.empty()) out << "no capture devices found\n";
  if (GenICamSupported()) {
    const auto cameras = GenICamDiscover();
    if (cameras.empty()) {
      out << "no GenICam cameras found\n";
    } else {
      out << "GenICam cameras (--driver " << kGenICamStem << " --camera N or ID):\n";
      for (size_t i = 0; i < cameras.size(); ++i) {
        char line[512];
        std::snprintf(line, sizeof line, "%-7zu %-16s %s\n", i, cameras[i].Id.c_str(),
                      cameras[i].Caption.c_str());
        out << line;
      }
    }
  }
  return 0;
}

int GrabCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
  std::string path, driver, camera, format;
  long filter = 0, average = 1, frames = 1;
  // Camera settings for this run (Aravis only), checked against the camera.
  std::optional<double> exposure, gain, rate;
  std::optional<std::array<long, 4>> region;
  bool subtract = false, haveEnergy = false, haveFrames = false;
  double energy = 0;
  for (size_t i = 1; i < args.size(); ++i) {
    const std::string& a = args[i];
    const bool takesValue = a == "--out" || a == "--filter" || a == "--average" ||
                            a == "--energy" || a == "--driver" || a == "--camera" ||
                            a == "--frames" || a == "--format" || a == "--exposure" ||
                            a == "--gain" || a == "--rate" || a == "--region";
    if (takesValue && i + 1 >= args.size()) return BadCommandLine(err, a + " needs a value");
    if (a == "--out") {
      path = args[++i];
    } else if (a == "--driver") {
      driver = args[++i];
    } else if (a == "--camera") {
      camera = args[++i];
    } else if (a == "--format") {
      format = args[++i];
      long bits = 0;
      bool colour = false;
      if (!GenICamFormatShape(format, bits, colour))
        return BadCommandLine(err, "--format takes Mono8, Mono10, Mono10Packed, Mono12, "
                                   "Mono12Packed, Mono16 or RGB8");
    } else if (a == "--exposure" || a == "--gain" || a == "--rate") {
      double v = 0;
      if (!ParseNumber(args[++i], v))
        return BadCommandLine(err, a + " takes a number (" +
                                       (a == "--exposure" ? "\xC2\xB5s" : a == "--gain" ? "dB" : "Hz") +
                                       ")");
      (a == "--exposure" ? exposure : a == "--gain" ? gain : rate) = v;
    } else if (a == "--region") {
      std::array<long, 4> r{};
      if (!ParseRegion(args[++i], r))
        return BadCommandLine(err, "--region takes X,Y,W,H in pixels (0 or more)");
      region = r;
    } else if (a == "--frames") {
      if (!ParseLong(args[++i], frames) || frames < 1 || frames > kMostFrames)
        return BadCommandLine(err, "--frames takes 1 to " + std::to_string(kMostFrames));
      haveFrames = true;
    } else if (a == "--filter") {
      if (!ParseLong(args[++i], filter) || filter < 1 || filter > 12)
        return BadCommandLine(err, "--filter takes 1 to 12");
    } else if (a == "--average") {
      if (!ParseLong(args[++i], average) || average < kAverageMin || average > kAverageMax)
        return BadCommandLine(err, "--average takes 2 to 8192");
    } else if (a == "--energy") {
      char* end = nullptr;
      const std::string& text = args[++i];
      energy = std::strtod(text.c_str(), &end);
      if (text.empty() || *end != '\0' || !std::isfinite(energy))
        return BadCommandLine(err, "--energy takes a number of eV");
      haveEnergy = true;
    } else if (a == "--subtract-background") {
      subtract = true;
    } else {
      return BadCommandLine(err, "unknown option " + a);
    }
  }
  if (path.empty() && driver.empty()) return BadCommandLine(err, "grab needs --out FILE");
  if (haveFrames && average > 1) return BadCommandLine(err, "--frames and --average exclude each other");
  if (!path.empty() && filter == 0 && ImageFilterForPath(path) == 0)
    return BadCommandLine(err, "the extension of " + path + " names no image format; give --filter N");
  if (!driver.empty()) {
    std::string stem = driver;
    if (GrabberDriverNumber(stem) == kDriverNone)
      return BadCommandLine(err, "unknown driver " + driver + "; svbatch grabbers lists them");
    driver = stem;
  }
  long cameraIndex = -1;
  const bool cameraById = !camera.empty() && !ParseLong(camera, cameraIndex);
  if (!camera.empty() && !cameraById && cameraIndex < 0)
    return BadCommandLine(err, "--camera takes a camera's number (0 and up) or its id");

  BatchHost batchHost(err);
  HostScope scope(&batchHost);
  ReadBatchSettings(batchHost);
  Globals& g = G();
  if (!driver.empty()) g.GrabberName = driver;
  ChooseSimulatedDevices(StartKind::Batch, false, false);
  if (haveEnergy) g.ElectronEnergy = float(energy);
  g.NoiseReduction = false;  // one frame stands on its own
  g.SubtractBackground = subtract ? -1 : 0;
  std::string stem = g.GrabberName;
  const long number = GrabberDriverNumber(stem);
  // The camera and its format for this run only.
  GenICamSettings& genicam = GenICamConfig();
  if (number == kDriverGenICam) {
    if (cameraById) genicam.Camera = camera;
    if (cameraIndex >= 0) genicam.Camera.clear();
    if (!format.empty()) genicam.PixelFormat = format;
    if (exposure) genicam.ExposureTime = exposure;
    if (gain) genicam.Gain = gain;
    if (rate) genicam.FrameRate = rate;
    if (region)
      std::tie(genicam.RegionX, genicam.RegionY, genicam.RegionWidth, genicam.RegionHeight) =
          std::tuple_cat(*region);
  } else if (!format.empty() || exposure || gain || rate || region) {
    return BadCommandLine(err, "--format, --exposure, --gain, --rate and --region are for the " +
                                   std::string(kGenICamStem) + " driver");
  }
  if (cameraIndex >= 0) GB().GrabberSource = cameraIndex;
  const std::string display = GrabberDisplayNameOf(g.GrabberName);

  GrabberMainWindow window;
  MDIForm_Main& main = window.main;
  // A source the driver does not have is not quietly replaced by another.
  const long wantedSource = GB().GrabberSource;
  const bool started = StartGrabber(g.GrabberName);
  if (started && ((cameraIndex >= 0 && GB().GrabberSource != wantedSource) ||
                  (cameraById && GenICamInputId(GB().GrabberSource) != camera))) {
    err << "svbatch: " << display << " has no camera " << camera << "\n";
    return 1;
  }
  if (!started) {
    const std::string why = number == kDriverGenICam ? GenICamLastError() : "";
    err << "svbatch: the grabber " << display << " did not come up"
        << (why.empty() ? "" : ": " + why) << "\n";
    return 1;
  }
  if (number == kDriverGenICam) {
    // What the camera does not offer is refused, not passed over: the frame
    // would not be the one asked for.
    GenICamSettings wanted = genicam;
    wanted.Camera.clear();  // the camera that opened
    GenICamBounds bounds;
    std::string why;
    if (!GenICamQuery("", bounds, why) || !GenICamCheck(wanted, bounds, why) ||
        !GenICamApply(wanted, why)) {
      err << "svbatch: " << GrabberInputName(GB().GrabberSource) << ": " << why << "\n";
      return 1;
    }
  }
  Form_Camera* image = PreviewImage(&main);
  if (!image) {
    err << "svbatch: no image for the frame\n";
    return 1;
  }
  if (subtract) {
    if (auto* bg = dynamic_cast<Form_Camera*>(main.CreateImage())) g.BackgroundImageHandle = bg->Handle();
    LoadBackgroundImage();
    if (!g.BackgroundValid) {
      err << "svbatch: no background image in " << BackgroundFilePath() << "\n";
      return 1;
    }
  }
  bool ok = true;
  if (average > 1) {
    ok = Average(*image, average);
  } else {
    for (long i = 0; i < frames && ok; ++i) {
      const long result = sv::Grab(*image);
      if (result == kGrabberNoSync) {
        err << "svbatch: no frame came from " << display << " in time " << kNoSyncText << "\n";
        return 1;
      }
      ok = result >= 0;
    }
  }
  if (!ok) {
    err << "svbatch: no frame came from " << display << "\n";
    return 1;
  }
  const std::string count = average > 1   ? std::to_string(average) + " frames"
                            : frames > 1  ? std::to_string(frames) + " frames, the last kept"
                                          : std::string("1 frame");
  std::string shape = std::to_string(image->ImageWidth()) + " x " +
                      std::to_string(image->ImageHeight()) + ", " +
                      std::to_string(image->ImageBitsPerPixel()) + " bits" +
                      (image->HasColors() ? ", colour" : "") + ", " + count + " from " + display;
  if (GB().GrabberDriver == kDriverDummy)
    shape += " at " + [&] {
      std::ostringstream e;
      e << g.ElectronEnergy;
      return e.str();
    }() + " eV";
  else
    shape += " (" + GrabberInputName(GB().GrabberSource) + ")";
  if (subtract) shape += ", background subtracted";
  if (path.empty()) {
    out << shape << "\n";
    return 0;
  }
  if (!GrabWriter()) {
    err << "svbatch: no image writer is built in; the frame was not saved\n";
    return 1;
  }
  if (!GrabWriter()(*image, path, int(filter))) {
    err << "svbatch: cannot write " << path << "\n";
    return 1;
  }
  if (SaveLosesBits(*image, filter ? int(filter) : ImageFilterForPath(path)))
    err << "svbatch: " << path << ": " << kSaveDepthNote << "\n";
  out << path << ": " << shape << "\n";
  return 0;
}

std::string GrabUsage() {
  return "  grabbers    the grabber drivers: number, stem, display name and whether\n"
         "              it can come up here, then the capture devices and the GenICam\n"
         "              cameras found\n"
         "  grab --out FILE [--filter N] [--average N] [--subtract-background] [--energy EV]\n"
         "       [--driver STEM] [--camera N|ID] [--frames N] [--format F] [--exposure US]\n"
         "       [--gain DB] [--rate HZ] [--region X,Y,W,H]\n"
         "              one frame, the last of N (--frames) or the average of N (2 to\n"
         "              8192) from the driver STEM (default: the configured grabber, the\n"
         "              simulated camera when none is set), its camera N or ID, in pixel\n"
         "              format F (Mono8, Mono16, RGB8, ...), exposure time, gain,\n"
         "              frame rate and region X,Y,W,H (Aravis only; what the camera\n"
         "              does not offer is refused), saved with filter N (1 to 12;\n"
         "              default from the file's extension; an 8-bit filter on a deeper\n"
         "              frame is noted); with --driver and no --out only the frame's\n"
         "              shape is printed\n";
}

}  // namespace sv::cli
