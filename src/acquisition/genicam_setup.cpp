// The GenICam camera's setup dialog: exposure, gain, frame rate, pixel
// format and region, checked against what the camera allows.

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>

#include "acquisition/genicam.h"
#include "acquisition/grabber.h"
#include "core/globals.h"
#include "core/host.h"

namespace sv {

namespace {

std::string Num(double v) {
  char buf[64];
  std::snprintf(buf, sizeof buf, "%.10g", v);
  return buf;
}

// A decimal comma counts as a point. Empty: no value.
bool ParseDouble(std::string text, std::optional<double>& out) {
  text.erase(0, text.find_first_not_of(" \t"));
  text.erase(text.find_last_not_of(" \t") + 1);
  if (text.empty()) {
    out.reset();
    return true;
  }
  std::replace(text.begin(), text.end(), ',', '.');
  char* end = nullptr;
  const double v = std::strtod(text.c_str(), &end);
  if (*end != '\0' || !std::isfinite(v)) return false;
  out = v;
  return true;
}

bool ParseLong(std::string text, long& out) {
  text.erase(0, text.find_first_not_of(" \t"));
  text.erase(text.find_last_not_of(" \t") + 1);
  if (text.empty()) return false;
  char* end = nullptr;
  const long v = std::strtol(text.c_str(), &end, 10);
  if (*end != '\0') return false;
  out = v;
  return true;
}

// The camera driver in use is the GenICam one, open on camera `id`.
bool InUseOn(const std::string& id) {
  return GB().GrabberDriver == kDriverGenICam && GB().Initialised &&
         GenICamInputId(GB().GrabberSource) == id;
}

}  // namespace

void Form_GenICamSetup::Form_Load() {
  Cameras = GenICamDiscover();
  Combo_Camera.clear();
  for (const auto& c : Cameras) Combo_Camera.push_back(c.Caption);
  int index = Cameras.empty() ? -1 : 0;
  // The camera of the settings, else the one in use.
  const std::string& wanted = GenICamConfig().Camera;
  const std::string inUse =
      GB().GrabberDriver == kDriverGenICam ? GenICamInputId(GB().GrabberSource) : "";
  for (size_t i = 0; i < Cameras.size(); ++i)
    if (Cameras[i].Id == (wanted.empty() ? inUse : wanted)) index = int(i);
  Combo_Camera_Click(index);
}

void Form_GenICamSetup::Combo_Camera_Click(int index) {
  if (index < 0 || index >= int(Cameras.size())) index = -1;
  CameraIndex = index;
  LoadCamera(index);
}

void Form_GenICamSetup::LoadCamera(int index) {
  hasBounds_ = false;
  bounds_ = GenICamBounds();
  Combo_PixelFormat.clear();
  PixelFormatIndex = -1;
  LoadFields(GenICamSettings());
  Text_Width.clear();
  Text_Height.clear();
  Text_X.clear();
  Text_Y.clear();
  if (index < 0) {
    Label_Bounds = "No GenICam camera was found.";
    return;
  }
  std::string error;
  if (!GenICamQuery(Cameras[size_t(index)].Id, bounds_, error)) {
    Label_Bounds = error;
    if (HasHost()) host().MsgBox(error, MsgButtons::OK, MsgIcon::Exclamation, kTitle);
    return;
  }
  hasBounds_ = true;
  Combo_PixelFormat = bounds_.PixelFormats;
  // The settings where they give a value for this camera, else the camera's own.
  GenICamSettings shown = bounds_.Present;
  const GenICamSettings& kept = GenICamConfig();
  if (kept.Camera.empty() || kept.Camera == Cameras[size_t(index)].Id) {
    if (kept.ExposureTime) shown.ExposureTime = kept.ExposureTime;
    if (kept.Gain) shown.Gain = kept.Gain;
    if (kept.FrameRate) shown.FrameRate = kept.FrameRate;
    if (!kept.PixelFormat.empty()) shown.PixelFormat = kept.PixelFormat;
    if (kept.RegionWidth > 0 && kept.RegionHeight > 0) {
      shown.RegionX = kept.RegionX;
      shown.RegionY = kept.RegionY;
      shown.RegionWidth = kept.RegionWidth;
      shown.RegionHeight = kept.RegionHeight;
    }
  }
  LoadFields(shown);
  std::string label;
  if (bounds_.HasExposure)
    label += "Exposure: " + Num(bounds_.ExposureMin) + " to " + Num(bounds_.ExposureMax) +
             " \xC2\xB5s\n";
  if (bounds_.HasGain)
    label += "Gain: " + Num(bounds_.GainMin) + " to " + Num(bounds_.GainMax) + " dB\n";
  if (bounds_.HasFrameRate)
    label += "Frame rate: " + Num(bounds_.FrameRateMin) + " to " + Num(bounds_.FrameRateMax) +
             " Hz\n";
  label += "Sensor: " + std::to_string(bounds_.SensorWidth) + " x " +
           std::to_string(bounds_.SensorHeight);
  Label_Bounds = label;
}

void Form_GenICamSetup::LoadFields(const GenICamSettings& v) {
  Text_Exposure = v.ExposureTime ? Num(*v.ExposureTime) : "";
  Text_Gain = v.Gain ? Num(*v.Gain) : "";
  Text_FrameRate = v.FrameRate ? Num(*v.FrameRate) : "";
  PixelFormatIndex = -1;
  for (size_t i = 0; i < Combo_PixelFormat.size(); ++i)
    if (Combo_PixelFormat[i] == v.PixelFormat) PixelFormatIndex = int(i);
  if (PixelFormatIndex < 0 && !Combo_PixelFormat.empty()) PixelFormatIndex = 0;
  Text_X = std::to_string(v.RegionX);
  Text_Y = std::to_string(v.RegionY);
  Text_Width = std::to_string(v.RegionWidth);
  Text_Height = std::to_string(v.RegionHeight);
}

bool GenICamCheck(const GenICamSettings& s, const GenICamBounds& b, std::string& message) {
  const struct {
    const std::optional<double>& value;
    bool has;
    double lo, hi;
    const char* what;
    const char* unit;
  } controls[] = {
      {s.ExposureTime, b.HasExposure, b.ExposureMin, b.ExposureMax, "exposure time", "\xC2\xB5s"},
      {s.Gain, b.HasGain, b.GainMin, b.GainMax, "gain", "dB"},
      {s.FrameRate, b.HasFrameRate, b.FrameRateMin, b.FrameRateMax, "frame rate", "Hz"},
  };
  for (const auto& c : controls) {
    if (!c.value) continue;
    if (!c.has) {
      message = std::string("This camera has no ") + c.what + " to set.";
      return false;
    }
    if (!(*c.value >= c.lo && *c.value <= c.hi)) {
      message = std::string("The ") + c.what + " must be between " + Num(c.lo) + " and " +
                Num(c.hi) + " " + c.unit + ".";
      return false;
    }
  }
  if (!s.PixelFormat.empty() &&
      std::find(b.PixelFormats.begin(), b.PixelFormats.end(), s.PixelFormat) ==
          b.PixelFormats.end()) {
    std::string offered;
    for (const std::string& f : b.PixelFormats) offered += (offered.empty() ? "" : ", ") + f;
    message = "This camera does not offer the pixel format " + s.PixelFormat +
              (offered.empty() ? std::string("; it offers none that is taken here.")
                               : "; it offers " + offered + ".");
    return false;
  }
  if (s.RegionX == 0 && s.RegionY == 0 && s.RegionWidth == 0 && s.RegionHeight == 0) return true;
  const long sw = b.SensorWidth, sh = b.SensorHeight;
  const struct {
    long value;
    const char* what;
  } edges[] = {{s.RegionX, "left edge (X)"}, {s.RegionY, "top edge (Y)"},
               {s.RegionWidth, "width"}, {s.RegionHeight, "height"}};
  for (const auto& e : edges)
    if (e.value < 0) {
      message = std::string("The region's ") + e.what + " must be a whole number of pixels, 0 or more.";
      return false;
    }
  // As the driver sets it: 0 runs to the sensor's edge.
  const long w = s.RegionWidth > 0 ? s.RegionWidth : sw - s.RegionX;
  const long h = s.RegionHeight > 0 ? s.RegionHeight : sh - s.RegionY;
  if (w < b.WidthMin || w > b.WidthMax) {
    message = "The region's width must be between " + std::to_string(b.WidthMin) + " and " +
              std::to_string(b.WidthMax) + " pixels.";
    return false;
  }
  if (h < b.HeightMin || h > b.HeightMax) {
    message = "The region's height must be between " + std::to_string(b.HeightMin) + " and " +
              std::to_string(b.HeightMax) + " pixels.";
    return false;
  }
  if ((sw > 0 && s.RegionX + w > sw) || (sh > 0 && s.RegionY + h > sh)) {
    message = "The region must lie inside the sensor of " + std::to_string(sw) + " x " +
              std::to_string(sh) + " pixels.";
    return false;
  }
  const struct {
    long value, step;
    const char* what;
  } steps[] = {{s.RegionX, b.XIncrement, "left edge (X)"},
               {s.RegionY, b.YIncrement, "top edge (Y)"},
               {w, b.WidthIncrement, "width"},
               {h, b.HeightIncrement, "height"}};
  for (const auto& st : steps)
    if (st.step > 1 && st.value % st.step != 0) {
      message = std::string("The region's ") + st.what + " must be a multiple of " +
                std::to_string(st.step) + ".";
      return false;
    }
  return true;
}

bool Form_GenICamSetup::Validate(GenICamSettings& out, std::string& message) const {
  if (CameraIndex < 0 || CameraIndex >= int(Cameras.size()) || !hasBounds_) {
    message = "Choose a camera first.";
    return false;
  }
  GenICamSettings s;
  s.Camera = Cameras[size_t(CameraIndex)].Id;
  const struct {
    const std::string& text;
    std::optional<double>& value;
    const char* what;
    const char* unit;
  } numbers[] = {
      {Text_Exposure, s.ExposureTime, "exposure time", "\xC2\xB5s"},
      {Text_Gain, s.Gain, "gain", "dB"},
      {Text_FrameRate, s.FrameRate, "frame rate", "Hz"},
  };
  for (const auto& n : numbers)
    if (!ParseDouble(n.text, n.value)) {
      message = std::string("The ") + n.what + " must be a number (" + n.unit + ").";
      return false;
    }
  if (PixelFormatIndex < 0 || PixelFormatIndex >= int(Combo_PixelFormat.size())) {
    message = "Choose a pixel format.";
    return false;
  }
  s.PixelFormat = Combo_PixelFormat[size_t(PixelFormatIndex)];
  const struct {
    const std::string& text;
    long& value;
    const char* what;
  } wholes[] = {{Text_X, s.RegionX, "left edge (X)"},
                {Text_Y, s.RegionY, "top edge (Y)"},
                {Text_Width, s.RegionWidth, "width"},
                {Text_Height, s.RegionHeight, "height"}};
  for (const auto& w : wholes)
    if (!ParseLong(w.text, w.value) || w.value < 0) {
      message = std::string("The region's ") + w.what + " must be a whole number of pixels, 0 or more.";
      return false;
    }
  if (!GenICamCheck(s, bounds_, message)) return false;
  out = s;
  return true;
}

bool Form_GenICamSetup::Command_Apply() {
  GenICamSettings values;
  std::string message;
  auto tell = [&](const std::string& text) {
    if (HasHost()) host().MsgBox(text, MsgButtons::OK, MsgIcon::Exclamation, kTitle);
    return false;
  };
  if (!Validate(values, message)) return tell(message);
  const GenICamSettings before = GenICamConfig();
  if (GB().GrabberDriver == kDriverGenICam && GB().Initialised && !InUseOn(values.Camera)) {
    // Another camera: the grabber opens that one, with these settings.
    GenICamConfig() = values;
    GrabberClose();
    if (!GrabberInit(CameraIndex)) {
      const std::string why = GenICamLastError();
      GenICamConfig() = before;
      G().GrabberOK = false;
      return tell(why.empty() ? "The camera did not come up." : why);
    }
    G().GrabberOK = true;
    return true;
  }
  if (!GenICamApply(values, message)) {
    // What the camera took stays in the settings that are shown again.
    GenICamBounds now;
    std::string ignored;
    if (GenICamQuery(values.Camera, now, ignored)) {
      bounds_ = now;
      LoadFields(now.Present);
    }
    return tell(message);
  }
  GenICamConfig() = values;
  return true;
}

bool Form_GenICamSetup::Command_OK() {
  if (!Command_Apply()) return false;
  Visible = false;
  return true;
}

void Form_GenICamSetup::Command_Cancel() { Visible = false; }

}  // namespace sv
