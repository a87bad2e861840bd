// The GenICam driver: one camera through Aravis, its stream of a few buffers
// that go straight back to the stream, and the "Aravis" settings.
//
// Aravis fills the buffers on a thread of its own; this side stays on the
// caller's thread and only pops and pushes buffers inside the wrapper calls.

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <optional>

#include "acquisition/genicam.h"
#include "core/ini_profile.h"

#if SV_HAVE_ARAVIS
#include <arv.h>
#endif

namespace sv {

namespace {

bool g_fakeOnly = false;
GenICamSettings g_settings;
std::string g_lastError;

enum class Packing { Mono8, Mono16, Packed10, Packed12, Rgb8 };

struct FormatInfo {
  const char* name;
  uint32_t code;  // the GenICam pixel format number
  long bits;      // significant bits
  bool color;
  Packing packing;
};

// The formats this driver takes. Mono10 and Mono12 unpacked come as 16-bit
// words holding the value in their low bits, as Mono16 does.
constexpr FormatInfo kFormats[] = {
    {"Mono8", 0x01080001u, 8, false, Packing::Mono8},
    {"Mono10", 0x01100003u, 10, false, Packing::Mono16},
    {"Mono10Packed", 0x010c0004u, 10, false, Packing::Packed10},
    {"Mono12", 0x01100005u, 12, false, Packing::Mono16},
    {"Mono12Packed", 0x010c0006u, 12, false, Packing::Packed12},
    {"Mono16", 0x01100007u, 16, false, Packing::Mono16},
    {"RGB8", 0x02180014u, 8, true, Packing::Rgb8},
};

const FormatInfo* FormatByName(const std::string& name) {
  for (const auto& f : kFormats)
    if (name == f.name) return &f;
  return nullptr;
}

[[maybe_unused]] const FormatInfo* FormatByCode(uint32_t code) {
  for (const auto& f : kFormats)
    if (code == f.code) return &f;
  return nullptr;
}

// Bytes of a frame of w x h pixels.
size_t FrameBytes(const FormatInfo& f, size_t w, size_t h) {
  const size_t n = w * h;
  switch (f.packing) {
    case Packing::Mono8: return n;
    case Packing::Mono16: return 2 * n;
    case Packing::Packed10:
    case Packing::Packed12: return (3 * n + 1) / 2;
    case Packing::Rgb8: return 3 * n;
  }
  return n;
}

// The one conversion a frame gets, from the camera's bytes into the samples.
bool Convert(const FormatInfo& f, const uint8_t* d, size_t size, long width, long height,
             Samples16 dest) {
  if (width <= 0 || height <= 0) return false;
  const size_t n = size_t(width) * size_t(height);
  if (size < FrameBytes(f, size_t(width), size_t(height))) return false;
  if (dest.size() < n * (f.color ? 3 : 1)) return false;
  uint16_t* out = dest.data();
  switch (f.packing) {
    case Packing::Mono8:
    case Packing::Rgb8: {
      const size_t samples = f.color ? 3 * n : n;
      for (size_t i = 0; i < samples; ++i) out[i] = d[i];
      break;
    }
    case Packing::Mono16:
      if constexpr (std::endian::native == std::endian::little) {
        std::memcpy(out, d, 2 * n);
      } else {
        for (size_t i = 0; i < n; ++i) out[i] = uint16_t(d[2 * i] | (d[2 * i + 1] << 8));
      }
      break;
    case Packing::Packed12:
    case Packing::Packed10: {
      // Two pixels in three bytes: the high bits of each in bytes 0 and 2,
      // their low bits in byte 1 (nibbles for 12 bits, bit pairs 0-1 and 4-5
      // for 10).
      const bool twelve = f.packing == Packing::Packed12;
      size_t i = 0;
      for (; i + 1 < n; i += 2, d += 3) {
        if (twelve) {
          out[i] = uint16_t((d[0] << 4) | (d[1] & 0x0F));
          out[i + 1] = uint16_t((d[2] << 4) | (d[1] >> 4));
        } else {
          out[i] = uint16_t((d[0] << 2) | (d[1] & 0x03));
          out[i + 1] = uint16_t((d[2] << 2) | ((d[1] >> 4) & 0x03));
        }
      }
      if (i < n) out[i] = twelve ? uint16_t((d[0] << 4) | (d[1] & 0x0F))
                                 : uint16_t((d[0] << 2) | (d[1] & 0x03));
      break;
    }
  }
  return true;
}

std::optional<double> ParseNumber(const std::optional<std::string>& text) {
  if (!text) return std::nullopt;
  std::string t = *text;
  std::replace(t.begin(), t.end(), ',', '.');
  char* end = nullptr;
  const double v = std::strtod(t.c_str(), &end);
  if (t.empty() || end == t.c_str() || *end != '\0' || !std::isfinite(v)) return std::nullopt;
  return v;
}

std::string NumberText(double v) {
  char buf[64];
  std::snprintf(buf, sizeof buf, "%.10g", v);
  return buf;
}

}  // namespace

// --- Switch, settings ---------------------------------------------------------------

void SetGenICamFakeOnly(bool on) { g_fakeOnly = on; }

bool GenICamFakeOnly() {
  if (g_fakeOnly) return true;
  const char* v = std::getenv("SV_GENICAM_FAKE");
  return v != nullptr && std::strcmp(v, "1") == 0;
}

GenICamSettings& GenICamConfig() { return g_settings; }
std::string GenICamLastError() { return g_lastError; }

void ReadGenICamSettings(const Profile& ini) {
  GenICamSettings s;
  s.Camera = ini.GetString(kGenICamSection, "Camera", "");
  s.ExposureTime = ParseNumber(ini.Get(kGenICamSection, "ExposureTime"));
  s.Gain = ParseNumber(ini.Get(kGenICamSection, "Gain"));
  s.FrameRate = ParseNumber(ini.Get(kGenICamSection, "FrameRate"));
  s.PixelFormat = ini.GetString(kGenICamSection, "PixelFormat", "");
  if (!s.PixelFormat.empty() && !FormatByName(s.PixelFormat)) s.PixelFormat.clear();
  s.RegionX = std::max(0, ini.GetInt(kGenICamSection, "RegionX", 0));
  s.RegionY = std::max(0, ini.GetInt(kGenICamSection, "RegionY", 0));
  s.RegionWidth = std::max(0, ini.GetInt(kGenICamSection, "RegionWidth", 0));
  s.RegionHeight = std::max(0, ini.GetInt(kGenICamSection, "RegionHeight", 0));
  g_settings = s;
}

void WriteGenICamSettings(Profile& ini) {
  const GenICamSettings& s = g_settings;
  ini.Set(kGenICamSection, "Camera", s.Camera);
  auto number = [&ini](const char* key, const std::optional<double>& v) {
    if (v)
      ini.Set(kGenICamSection, key, NumberText(*v));
    else
      ini.RemoveKey(kGenICamSection, key);
  };
  number("ExposureTime", s.ExposureTime);
  number("Gain", s.Gain);
  number("FrameRate", s.FrameRate);
  ini.Set(kGenICamSection, "PixelFormat", s.PixelFormat);
  ini.SetInt(kGenICamSection, "RegionX", s.RegionX);
  ini.SetInt(kGenICamSection, "RegionY", s.RegionY);
  ini.SetInt(kGenICamSection, "RegionWidth", s.RegionWidth);
  ini.SetInt(kGenICamSection, "RegionHeight", s.RegionHeight);
}

bool GenICamFormatShape(const std::string& format, long& bits, bool& color) {
  const FormatInfo* f = FormatByName(format);
  if (!f) return false;
  bits = f->bits;
  color = f->color;
  return true;
}

bool GenICamConvert(const std::string& format, const uint8_t* data, size_t size, long width,
                    long height, Samples16 dest) {
  const FormatInfo* f = FormatByName(format);
  return f && data && Convert(*f, data, size, width, height, dest);
}

#if SV_HAVE_ARAVIS

namespace {

constexpr int kStreamBuffers = 4;
constexpr guint64 kLongestWaitUs = 1000000;

// The text of a GLib error, which is freed here.
std::string Take(GError*& e) {
  std::string text = e && e->message ? e->message : "unknown error";
  g_clear_error(&e);
  return text;
}

// Before anything looks for a camera: in fake-only mode only the in-process
// fake interface is left on, so nothing goes out on the network or the bus.
void PrepareInterfaces() {
  if (GenICamFakeOnly()) {
    arv_disable_interface("GigEVision");
    arv_disable_interface("USB3Vision");
    arv_enable_interface("Fake");
  } else {
    arv_disable_interface("Fake");
    arv_enable_interface("GigEVision");
    arv_enable_interface("USB3Vision");
  }
}

std::string Caption(const char* vendor, const char* model, const char* serial) {
  auto text = [](const char* s) { return std::string(s ? s : ""); };
  std::string c = text(vendor);
  if (model && *model) c += (c.empty() ? "" : " ") + text(model);
  c += " (" + text(serial) + ")";
  return c;
}

void FillBounds(ArvCamera* cam, const std::string& id, GenICamBounds& b) {
  GError* e = nullptr;
  b = GenICamBounds();
  b.Present.Camera = id;
  b.HasExposure = arv_camera_is_exposure_time_available(cam, &e);
  g_clear_error(&e);
  if (b.HasExposure) {
    arv_camera_get_exposure_time_bounds(cam, &b.ExposureMin, &b.ExposureMax, &e);
    g_clear_error(&e);
    b.Present.ExposureTime = arv_camera_get_exposure_time(cam, &e);
    g_clear_error(&e);
  }
  b.HasGain = arv_camera_is_gain_available(cam, &e);
  g_clear_error(&e);
  if (b.HasGain) {
    arv_camera_get_gain_bounds(cam, &b.GainMin, &b.GainMax, &e);
    g_clear_error(&e);
    b.Present.Gain = arv_camera_get_gain(cam, &e);
    g_clear_error(&e);
  }
  b.HasFrameRate = arv_camera_is_frame_rate_available(cam, &e);
  g_clear_error(&e);
  if (b.HasFrameRate) {
    arv_camera_get_frame_rate_bounds(cam, &b.FrameRateMin, &b.FrameRateMax, &e);
    g_clear_error(&e);
    b.Present.FrameRate = arv_camera_get_frame_rate(cam, &e);
    g_clear_error(&e);
  }
  gint sw = 0, sh = 0, lo = 0, hi = 0;
  arv_camera_get_sensor_size(cam, &sw, &sh, &e);
  g_clear_error(&e);
  b.SensorWidth = sw;
  b.SensorHeight = sh;
  arv_camera_get_width_bounds(cam, &lo, &hi, &e);
  g_clear_error(&e);
  b.WidthMin = std::max(1, lo);
  b.WidthMax = sw > 0 ? sw : hi;
  arv_camera_get_height_bounds(cam, &lo, &hi, &e);
  g_clear_error(&e);
  b.HeightMin = std::max(1, lo);
  b.HeightMax = sh > 0 ? sh : hi;
  auto increment = [&e](gint v) {
    g_clear_error(&e);
    return long(std::max(1, v));
  };
  b.WidthIncrement = increment(arv_camera_get_width_increment(cam, &e));
  b.HeightIncrement = increment(arv_camera_get_height_increment(cam, &e));
  if (arv_camera_is_region_offset_available(cam, &e)) {
    g_clear_error(&e);
    b.XIncrement = increment(arv_camera_get_x_offset_increment(cam, &e));
    b.YIncrement = increment(arv_camera_get_y_offset_increment(cam, &e));
  }
  g_clear_error(&e);
  guint n = 0;
  gint64* codes = arv_camera_dup_available_pixel_formats(cam, &n, &e);
  g_clear_error(&e);
  for (const auto& f : kFormats)
    for (guint i = 0; codes && i < n; ++i)
      if (uint32_t(codes[i]) == f.code) {
        b.PixelFormats.push_back(f.name);
        break;
      }
  g_free(codes);
  const FormatInfo* now = FormatByCode(uint32_t(arv_camera_get_pixel_format(cam, &e)));
  g_clear_error(&e);
  b.Present.PixelFormat = now ? now->name : "";
  gint x = 0, y = 0, w = 0, h = 0;
  arv_camera_get_region(cam, &x, &y, &w, &h, &e);
  g_clear_error(&e);
  b.Present.RegionX = x;
  b.Present.RegionY = y;
  b.Present.RegionWidth = w;
  b.Present.RegionHeight = h;
}

// Settings onto a camera that is not streaming. With `strict` the first
// value refused ends it with its message; else the refused ones are passed
// over and the camera keeps its own.
bool ApplyTo(ArvCamera* cam, const GenICamSettings& s, bool strict, std::string& error) {
  GError* e = nullptr;
  auto refused = [&](const std::string& what) {
    const std::string why = Take(e);
    if (strict && error.empty()) error = "The camera refused the " + what + ": " + why;
    return !strict;
  };
  if (!s.PixelFormat.empty()) {
    if (const FormatInfo* f = FormatByName(s.PixelFormat)) {
      arv_camera_set_pixel_format(cam, ArvPixelFormat(f->code), &e);
      if (e && !refused("pixel format " + s.PixelFormat)) return false;
    }
  }
  if (s.RegionWidth > 0 || s.RegionHeight > 0 || s.RegionX > 0 || s.RegionY > 0) {
    gint sw = 0, sh = 0;
    arv_camera_get_sensor_size(cam, &sw, &sh, &e);
    g_clear_error(&e);
    const long w = s.RegionWidth > 0 ? s.RegionWidth : sw - s.RegionX;
    const long h = s.RegionHeight > 0 ? s.RegionHeight : sh - s.RegionY;
    arv_camera_set_region(cam, gint(s.RegionX), gint(s.RegionY), gint(w), gint(h), &e);
    if (e && !refused("region " + std::to_string(s.RegionX) + ", " + std::to_string(s.RegionY) +
                      ", " + std::to_string(w) + " x " + std::to_string(h)))
      return false;
  }
  if (s.ExposureTime) {
    arv_camera_set_exposure_time(cam, *s.ExposureTime, &e);
    if (e && !refused("exposure time " + NumberText(*s.ExposureTime) + " \xC2\xB5s")) return false;
  }
  if (s.Gain) {
    arv_camera_set_gain(cam, *s.Gain, &e);
    if (e && !refused("gain " + NumberText(*s.Gain) + " dB")) return false;
  }
  if (s.FrameRate) {
    arv_camera_set_frame_rate(cam, *s.FrameRate, &e);
    if (e && !refused("frame rate " + NumberText(*s.FrameRate) + " Hz")) return false;
  }
  return error.empty();
}

class GenICamDriver;
GenICamDriver* g_active = nullptr;

class GenICamDriver : public CameraDriver {
 public:
  GenICamDriver() { g_active = this; }
  ~GenICamDriver() override {
    Close();
    if (g_active == this) g_active = nullptr;
  }

  std::string InterfaceName() override { return kGenICamDisplayName; }
  std::string Version() override { return std::string("Aravis ") + ARAVIS_VERSION; }

  long Inputs() override {
    Discover();
    return long(cameras_.size());
  }
  std::string InputName(long input) override {
    Discover();
    if (input < 0 || input >= long(cameras_.size())) return "";
    return cameras_[size_t(input)].Caption;
  }

  bool Open(long input) override {
    Close();
    g_lastError.clear();
    Discover();
    if (input < 0 || input >= long(cameras_.size())) {
      g_lastError = cameras_.empty() ? "No GenICam camera was found."
                                     : "There is no GenICam camera " + std::to_string(input) + ".";
      return false;
    }
    const std::string& id = cameras_[size_t(input)].Id;
    GError* e = nullptr;
    camera_ = arv_camera_new(id.c_str(), &e);
    if (!camera_) {
      g_lastError = "Cannot open the camera " + id + ": " + Take(e);
      return false;
    }
    id_ = id;
    // Values out of the camera's bounds are refused here, not clamped.
    arv_camera_set_range_check_policy(camera_, ARV_RANGE_CHECK_POLICY_ENABLE);
    std::string ignored;
    ApplyTo(camera_, g_settings, false, ignored);
    if (!TakeShape() || !StartStream()) {
      const std::string why = g_lastError;
      Close();
      g_lastError = why;
      return false;
    }
    return true;
  }

  void Close() override {
    StopStream();
    if (camera_) g_object_unref(camera_);
    camera_ = nullptr;
    id_.clear();
    format_ = nullptr;
    width_ = height_ = 0;
    base_ = GenICamStreamStats();
  }

  bool IsOpen() const override { return camera_ != nullptr; }
  long Width() override { return width_; }
  long Height() override { return height_; }
  long Bits() override { return format_ ? format_->bits : 8; }
  bool IsColor() override { return format_ && format_->color; }

  bool Start() override { return camera_ && (stream_ || StartStream()); }

  long ReadImage(Samples16 dest) override {
    if (!camera_ || !format_ || (!stream_ && !StartStream())) {
      ++base_.Timeouts;
      return -2;
    }
    const size_t samples = size_t(width_) * size_t(height_) * (format_->color ? 3 : 1);
    if (dest.size() < samples) return -1;
    ArvBuffer* best = nullptr;
    auto take = [&](ArvBuffer* b) {
      if (arv_buffer_get_status(b) == ARV_BUFFER_STATUS_SUCCESS && Fits(b)) {
        if (best) {
          arv_stream_push_buffer(stream_, best);
          ++base_.Skipped;
        }
        best = b;
      } else {
        ++misfits_;
        arv_stream_push_buffer(stream_, b);
      }
    };
    // Wait for a complete frame, then take whatever newer ones are there.
    const gint64 deadline = g_get_monotonic_time() + gint64(timeoutUs_);
    while (!best) {
      const gint64 left = deadline - g_get_monotonic_time();
      if (left <= 0) break;
      ArvBuffer* b = arv_stream_timeout_pop_buffer(stream_, guint64(left));
      if (!b) break;
      take(b);
    }
    if (best)
      while (ArvBuffer* b = arv_stream_try_pop_buffer(stream_)) take(b);
    if (!best) {
      ++base_.Timeouts;
      return -2;
    }
    size_t size = 0;
    const void* data = arv_buffer_get_image_data(best, &size);
    const bool ok = Convert(*format_, static_cast<const uint8_t*>(data), size, width_, height_, dest);
    arv_stream_push_buffer(stream_, best);
    if (!ok) {
      ++misfits_;
      return -2;
    }
    ++base_.Delivered;
    return 0;
  }

  // Stop, set, buffers anew at the new size, start again.
  bool Apply(const GenICamSettings& s, std::string& error) {
    if (!camera_) return true;
    StopStream();
    const bool applied = ApplyTo(camera_, s, true, error);
    // Whatever the camera took, the stream goes on in its present shape.
    if (!TakeShape() || !StartStream()) {
      if (error.empty()) error = g_lastError;
      return false;
    }
    return applied;
  }

  bool SetFeature(const std::string& feature, const std::string& value, std::string& error) {
    if (!camera_) {
      error = "No GenICam camera is open.";
      return false;
    }
    GError* e = nullptr;
    const std::string text = feature + "=" + value;
    if (!arv_device_set_features_from_string(arv_camera_get_device(camera_), text.c_str(), &e)) {
      error = "The camera refused " + text + ": " + Take(e);
      return false;
    }
    return true;
  }

  const std::string& CameraId() const { return id_; }
  std::string InputId(long input) {
    Discover();
    return input >= 0 && input < long(cameras_.size()) ? cameras_[size_t(input)].Id : "";
  }
  ArvCamera* Camera() const { return camera_; }

  GenICamStreamStats Stats() const {
    GenICamStreamStats s = base_;
    s.Failed += misfits_;
    if (stream_) {
      guint64 completed = 0, failures = 0, underruns = 0;
      arv_stream_get_statistics(stream_, &completed, &failures, &underruns);
      s.Completed += completed;
      s.Failed += failures;
      s.Underruns += underruns;
    }
    return s;
  }

 private:
  // The cameras, looked for once in the life of the driver.
  void Discover() {
    if (discovered_) return;
    discovered_ = true;
    cameras_ = GenICamDiscover();
  }

  // Shape and timing of the frames as the camera is set now.
  bool TakeShape() {
    GError* e = nullptr;
    const uint32_t code = uint32_t(arv_camera_get_pixel_format(camera_, &e));
    if (e) {
      g_lastError = "Cannot read the camera's pixel format: " + Take(e);
      return false;
    }
    format_ = FormatByCode(code);
    if (!format_) {
      // A format this driver does not take: the first the camera offers that it does.
      guint n = 0;
      gint64* codes = arv_camera_dup_available_pixel_formats(camera_, &n, &e);
      g_clear_error(&e);
      for (const auto& f : kFormats) {
        for (guint i = 0; codes && i < n && !format_; ++i)
          if (uint32_t(codes[i]) == f.code) {
            arv_camera_set_pixel_format(camera_, ArvPixelFormat(f.code), &e);
            if (!e) format_ = &f;
            g_clear_error(&e);
          }
        if (format_) break;
      }
      g_free(codes);
      if (!format_) {
        const char* name = arv_camera_get_pixel_format_as_string(camera_, &e);
        g_clear_error(&e);
        g_lastError = std::string("The camera's pixel format ") + (name ? name : "?") +
                      " is not taken; it offers none of Mono8, Mono10, Mono12 (packed or "
                      "not), Mono16, RGB8.";
        return false;
      }
    }
    gint x = 0, y = 0, w = 0, h = 0;
    arv_camera_get_region(camera_, &x, &y, &w, &h, &e);
    if (e || w <= 0 || h <= 0) {
      g_lastError = "Cannot read the camera's region" + (e ? ": " + Take(e) : std::string("."));
      return false;
    }
    width_ = w;
    height_ = h;
    payload_ = arv_camera_get_payload(camera_, &e);
    g_clear_error(&e);
    payload_ = std::max(payload_, FrameBytes(*format_, size_t(w), size_t(h)));
    double fps = 0;
    if (arv_camera_is_frame_rate_available(camera_, &e)) fps = arv_camera_get_frame_rate(camera_, &e);
    g_clear_error(&e);
    timeoutUs_ = kLongestWaitUs;
    if (fps > 0 && std::isfinite(fps))
      timeoutUs_ = std::min<guint64>(kLongestWaitUs, guint64(2e6 / fps) + 100000);
    return true;
  }

  bool StartStream() {
    if (stream_) return true;
    GError* e = nullptr;
    stream_ = arv_camera_create_stream(camera_, nullptr, nullptr, &e);
    if (!stream_) {
      g_lastError = "Cannot open the camera's stream: " + Take(e);
      return false;
    }
    for (int i = 0; i < kStreamBuffers; ++i)
      arv_stream_push_buffer(stream_, arv_buffer_new_allocate(payload_));
    arv_camera_set_acquisition_mode(camera_, ARV_ACQUISITION_MODE_CONTINUOUS, &e);
    g_clear_error(&e);
    arv_camera_start_acquisition(camera_, &e);
    if (e) {
      g_lastError = "The camera does not start: " + Take(e);
      StopStream();
      return false;
    }
    return true;
  }

  void StopStream() {
    if (!stream_) return;
    if (camera_) {
      GError* e = nullptr;
      arv_camera_stop_acquisition(camera_, &e);
      g_clear_error(&e);
    }
    guint64 completed = 0, failures = 0, underruns = 0;
    arv_stream_get_statistics(stream_, &completed, &failures, &underruns);
    base_.Completed += completed;
    base_.Failed += failures;
    base_.Underruns += underruns;
    g_object_unref(stream_);
    stream_ = nullptr;
  }

  // A buffer of the frames as they are set now.
  bool Fits(ArvBuffer* b) const {
    return arv_buffer_get_image_width(b) == width_ && arv_buffer_get_image_height(b) == height_ &&
           uint32_t(arv_buffer_get_image_pixel_format(b)) == format_->code;
  }

  bool discovered_ = false;
  std::vector<GenICamCameraInfo> cameras_;
  ArvCamera* camera_ = nullptr;
  ArvStream* stream_ = nullptr;
  std::string id_;
  const FormatInfo* format_ = nullptr;
  long width_ = 0, height_ = 0;
  size_t payload_ = 0;
  guint64 timeoutUs_ = kLongestWaitUs;
  GenICamStreamStats base_;
  uint64_t misfits_ = 0;
};

}  // namespace

std::vector<GenICamCameraInfo> GenICamDiscover() {
  PrepareInterfaces();
  arv_update_device_list();
  std::vector<GenICamCameraInfo> out;
  const unsigned n = arv_get_n_devices();
  for (unsigned i = 0; i < n; ++i) {
    const char* id = arv_get_device_id(i);
    if (!id) continue;
    out.push_back({id, Caption(arv_get_device_vendor(i), arv_get_device_model(i),
                               arv_get_device_serial_nbr(i))});
  }
  return out;
}

bool GenICamQuery(const std::string& id, GenICamBounds& bounds, std::string& error) {
  if (g_active && g_active->Camera() && (id.empty() || id == g_active->CameraId())) {
    FillBounds(g_active->Camera(), g_active->CameraId(), bounds);
    return true;
  }
  if (id.empty()) {
    error = "No GenICam camera is chosen.";
    return false;
  }
  PrepareInterfaces();
  GError* e = nullptr;
  ArvCamera* cam = arv_camera_new(id.c_str(), &e);
  if (!cam) {
    error = "Cannot open the camera " + id + ": " + Take(e);
    return false;
  }
  FillBounds(cam, id, bounds);
  g_object_unref(cam);
  return true;
}

bool GenICamApply(const GenICamSettings& settings, std::string& error) {
  error.clear();
  if (!g_active || !g_active->IsOpen()) return true;
  if (!settings.Camera.empty() && settings.Camera != g_active->CameraId()) return true;
  const bool ok = g_active->Apply(settings, error);
  g_lastError = ok ? "" : error;
  return ok;
}

std::string GenICamInputId(long input) { return g_active ? g_active->InputId(input) : ""; }

GenICamStreamStats GenICamStatistics() {
  return g_active ? g_active->Stats() : GenICamStreamStats();
}

bool GenICamSetFeature(const std::string& feature, const std::string& value, std::string& error) {
  if (!g_active) {
    error = "No GenICam camera is open.";
    return false;
  }
  return g_active->SetFeature(feature, value, error);
}

std::unique_ptr<CameraDriver> MakeGenICamDriver() { return std::make_unique<GenICamDriver>(); }
bool GenICamSupported() { return true; }

#else  // no Aravis

std::vector<GenICamCameraInfo> GenICamDiscover() { return {}; }
std::string GenICamInputId(long) { return ""; }

bool GenICamQuery(const std::string&, GenICamBounds&, std::string& error) {
  error = "GenICam cameras are not supported in this build.";
  return false;
}

bool GenICamApply(const GenICamSettings&, std::string&) { return true; }
GenICamStreamStats GenICamStatistics() { return {}; }

bool GenICamSetFeature(const std::string&, const std::string&, std::string& error) {
  error = "GenICam cameras are not supported in this build.";
  return false;
}

std::unique_ptr<CameraDriver> MakeGenICamDriver() { return nullptr; }
bool GenICamSupported() { return false; }

#endif

}  // namespace sv
