#include "image/kernel/jpeg.h"

#include <csetjmp>
#include <cstdio>
#include <memory>
#include <new>

#include <jpeglib.h>

namespace sv {

namespace {

// libjpeg reports faults by calling error_exit; we jump back to the caller.
struct ErrorManager {
  jpeg_error_mgr pub;
  std::jmp_buf jump;
  char message[JMSG_LENGTH_MAX];
};

void ErrorExit(j_common_ptr cinfo) {
  auto* err = reinterpret_cast<ErrorManager*>(cinfo->err);
  (*cinfo->err->format_message)(cinfo, err->message);
  std::longjmp(err->jump, 1);
}

// A warning (a file that ends early, bad data) counts as a fault: a picture
// made up by the library is not the file's.
void EmitMessage(j_common_ptr cinfo, int level) {
  if (level < 0) {
    auto* err = reinterpret_cast<ErrorManager*>(cinfo->err);
    (*cinfo->err->format_message)(cinfo, err->message);
    std::longjmp(err->jump, 1);
  }
}

void OutputMessage(j_common_ptr) {}

// A progressive file may hold any number of scans; past this many it is
// hostile rather than a picture.
constexpr int kMaxScans = 256;

void ProgressMonitor(j_common_ptr cinfo) {
  if (!cinfo->is_decompressor) return;
  auto* d = reinterpret_cast<j_decompress_ptr>(cinfo);
  if (d->input_scan_number > kMaxScans) {
    auto* err = reinterpret_cast<ErrorManager*>(cinfo->err);
    std::snprintf(err->message, sizeof err->message, "too many scans");
    std::longjmp(err->jump, 1);
  }
}

void InitErrors(ErrorManager& em) {
  jpeg_std_error(&em.pub);
  em.pub.error_exit = ErrorExit;
  em.pub.emit_message = EmitMessage;
  em.pub.output_message = OutputMessage;
  em.message[0] = 0;
}

struct FileCloser {
  std::FILE* f = nullptr;
  ~FileCloser() {
    if (f) std::fclose(f);
  }
};

// Everything the jump may skip lives outside the function that sets it.
struct DecodeState {
  jpeg_decompress_struct cinfo;
  ErrorManager em;
  jpeg_progress_mgr progress;
  FileCloser file;
  bool created = false;
};

bool Decode(DecodeState& s, JpegPicture& picture, bool forceRgb,
            size_t maxBytes) {
  if (setjmp(s.em.jump)) return false;
  jpeg_create_decompress(&s.cinfo);
  s.created = true;
  s.progress.progress_monitor = ProgressMonitor;
  s.cinfo.progress = &s.progress;
  jpeg_stdio_src(&s.cinfo, s.file.f);
  jpeg_read_header(&s.cinfo, TRUE);
  const bool grey = s.cinfo.jpeg_color_space == JCS_GRAYSCALE && !forceRgb;
  s.cinfo.out_color_space = grey ? JCS_GRAYSCALE : JCS_RGB;
  const size_t w = s.cinfo.image_width, h = s.cinfo.image_height;
  const size_t channels = grey ? 1 : 3;
  if (w == 0 || h == 0 || w > maxBytes / channels / h) {
    std::snprintf(s.em.message, sizeof s.em.message, "picture too large");
    return false;
  }
  jpeg_start_decompress(&s.cinfo);
  if (size_t(s.cinfo.output_components) != channels || s.cinfo.output_width != w ||
      s.cinfo.output_height != h)
    return false;
  try {
    picture.pixels.assign(w * h * channels, 0);
  } catch (const std::bad_alloc&) {
    std::snprintf(s.em.message, sizeof s.em.message, "out of memory");
    return false;
  }
  while (s.cinfo.output_scanline < h) {
    JSAMPROW row = picture.pixels.data() + size_t(s.cinfo.output_scanline) * w * channels;
    if (jpeg_read_scanlines(&s.cinfo, &row, 1) != 1) return false;
  }
  jpeg_finish_decompress(&s.cinfo);
  picture.width = long(w);
  picture.height = long(h);
  picture.channels = int(channels);
  if (s.cinfo.saw_JFIF_marker && s.cinfo.density_unit == 1) {
    picture.xDensity = s.cinfo.X_density;
    picture.yDensity = s.cinfo.Y_density;
  }
  return true;
}

bool Load(const std::string& path, JpegPicture& picture, std::string* error, size_t maxBytes,
          bool forceRgb) {
  picture = JpegPicture{};
  auto s = std::make_unique<DecodeState>();
  InitErrors(s->em);
  s->cinfo.err = &s->em.pub;
  s->file.f = std::fopen(path.c_str(), "rb");
  if (!s->file.f) {
    if (error) *error = "cannot open " + path;
    return false;
  }
  const bool ok = Decode(*s, picture, forceRgb, maxBytes);
  if (s->created) jpeg_destroy_decompress(&s->cinfo);
  if (!ok) {
    picture = JpegPicture{};
    if (error) *error = s->em.message[0] ? s->em.message : "not a JPEG file";
  }
  return ok;
}

struct EncodeState {
  jpeg_compress_struct cinfo;
  ErrorManager em;
  FileCloser file;
  bool created = false;
};

bool Encode(EncodeState& s, long width, long height, const uint8_t* pixels, int channels,
            int quality) {
  if (setjmp(s.em.jump)) return false;
  jpeg_create_compress(&s.cinfo);
  s.created = true;
  jpeg_stdio_dest(&s.cinfo, s.file.f);
  s.cinfo.image_width = JDIMENSION(width);
  s.cinfo.image_height = JDIMENSION(height);
  s.cinfo.input_components = channels;
  s.cinfo.in_color_space = channels == 1 ? JCS_GRAYSCALE : JCS_RGB;
  jpeg_set_defaults(&s.cinfo);
  jpeg_set_quality(&s.cinfo, quality < 1 ? 1 : quality > 100 ? 100 : quality, TRUE);
  jpeg_start_compress(&s.cinfo, TRUE);
  const size_t stride = size_t(width) * size_t(channels);
  while (s.cinfo.next_scanline < s.cinfo.image_height) {
    JSAMPROW row = const_cast<uint8_t*>(pixels) + size_t(s.cinfo.next_scanline) * stride;
    jpeg_write_scanlines(&s.cinfo, &row, 1);
  }
  jpeg_finish_compress(&s.cinfo);
  return true;
}

bool Save(const std::string& path, long width, long height, const uint8_t* pixels, int channels,
          int quality, std::string* error) {
  if (width <= 0 || height <= 0 || width > 65500 || height > 65500 || !pixels) {
    if (error) *error = "bad picture size";
    return false;
  }
  auto s = std::make_unique<EncodeState>();
  InitErrors(s->em);
  s->cinfo.err = &s->em.pub;
  s->file.f = std::fopen(path.c_str(), "wb");
  if (!s->file.f) {
    if (error) *error = "cannot create " + path;
    return false;
  }
  bool ok = Encode(*s, width, height, pixels, channels, quality);
  if (s->created) jpeg_destroy_compress(&s->cinfo);
  if (std::fflush(s->file.f) != 0 || std::ferror(s->file.f)) ok = false;
  if (std::fclose(s->file.f) != 0) ok = false;
  s->file.f = nullptr;
  if (!ok && error) *error = s->em.message[0] ? s->em.message : "write error";
  return ok;
}

}  // namespace

bool SV_LoadJPG(const std::string& path, JpegPicture& picture, std::string* error,
                size_t maxBytes) {
  return Load(path, picture, error, maxBytes, false);
}

bool SV_RGB_LoadJPG(const std::string& path, JpegPicture& picture, std::string* error,
                    size_t maxBytes) {
  return Load(path, picture, error, maxBytes, true);
}

bool SV_SaveJPG(const std::string& path, long width, long height, const uint8_t* grey,
                int quality, std::string* error) {
  return Save(path, width, height, grey, 1, quality, error);
}

bool SV_RGB_SaveJPG(const std::string& path, long width, long height, const uint8_t* rgb,
                    int quality, std::string* error) {
  return Save(path, width, height, rgb, 3, quality, error);
}

}  // namespace sv
