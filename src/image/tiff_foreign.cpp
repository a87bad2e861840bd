#include "image/tiff_foreign.h"

#include <tiffio.h>

#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <memory>
#include <new>
#include <vector>

#include "image/image_files_io.h"

namespace sv {

using namespace image_io;

namespace {

// The name libtiff gives the open file in its messages.
constexpr const char* kHandleName = "TIFF";
// At most this many samples a pixel (colour plus extra channels).
constexpr uint16_t kMaxSamples = 16;

// The bytes libtiff reads: a file through pread, or a block in memory.
struct Source {
  int fd = -1;
  const uint8_t* data = nullptr;
  uint64_t size = 0;
  uint64_t pos = 0;
  std::string error;  // libtiff's first error
};

tmsize_t ReadProc(thandle_t h, void* buf, tmsize_t n) {
  auto* s = static_cast<Source*>(h);
  if (n <= 0 || s->pos >= s->size) return 0;
  uint64_t want = std::min<uint64_t>(uint64_t(n), s->size - s->pos);
  auto* out = static_cast<uint8_t*>(buf);
  if (s->data) {
    std::memcpy(out, s->data + s->pos, size_t(want));
    s->pos += want;
    return tmsize_t(want);
  }
  uint64_t got = 0;
  while (got < want) {
    const ssize_t r = ::pread(s->fd, out + got, size_t(want - got), off_t(s->pos + got));
    if (r < 0 && errno == EINTR) continue;
    if (r <= 0) break;
    got += uint64_t(r);
  }
  s->pos += got;
  return tmsize_t(got);
}

tmsize_t WriteProc(thandle_t, void*, tmsize_t) { return -1; }

toff_t SeekProc(thandle_t h, toff_t off, int whence) {
  auto* s = static_cast<Source*>(h);
  uint64_t base = 0;
  if (whence == SEEK_CUR) base = s->pos;
  if (whence == SEEK_END) base = s->size;
  // Past the end is allowed; reads there give nothing.
  if (off > UINT64_MAX / 2 || base > UINT64_MAX / 2) return toff_t(-1);
  s->pos = base + off;
  return s->pos;
}

int CloseProc(thandle_t) { return 0; }
toff_t SizeProc(thandle_t h) { return static_cast<Source*>(h)->size; }
int MapProc(thandle_t, void**, toff_t*) { return 0; }
void UnmapProc(thandle_t, void*, toff_t) {}

// libtiff's complaints stay out of the terminal: the first error is kept as
// the reason, warnings (unknown private tags, mostly) are dropped.
int OnError(TIFF*, void* user, const char* module, const char* fmt, va_list ap) {
  auto* s = static_cast<Source*>(user);
  if (s->error.empty()) {
    char text[512];
    std::vsnprintf(text, sizeof text, fmt, ap);
    s->error = text;
    // The handle's own name says nothing; libtiff's function names stay.
    if (module && *module && std::strcmp(module, kHandleName) != 0 &&
        s->error.find(module) == std::string::npos)
      s->error = std::string(module) + ": " + s->error;
  }
  return 1;
}
int OnWarning(TIFF*, void*, const char*, const char*, va_list) { return 1; }

struct TiffCloser {
  void operator()(TIFF* t) const { TIFFClose(t); }
};
using TiffHandle = std::unique_ptr<TIFF, TiffCloser>;

TiffHandle Open(Source& src, uint64_t maxAlloc) {
  TIFFOpenOptions* opts = TIFFOpenOptionsAlloc();
  if (!opts) return nullptr;
  TIFFOpenOptionsSetErrorHandlerExtR(opts, OnError, &src);
  TIFFOpenOptionsSetWarningHandlerExtR(opts, OnWarning, &src);
  TIFFOpenOptionsSetMaxSingleMemAlloc(opts, tmsize_t(maxAlloc));
  TIFF* t = TIFFClientOpenExt(kHandleName, "r", &src, ReadProc, WriteProc, SeekProc, CloseProc,
                              SizeProc, MapProc, UnmapProc, opts);
  TIFFOpenOptionsFree(opts);
  return TiffHandle(t);
}

// A file opened for libtiff; closed with the object.
class FileSource {
 public:
  ~FileSource() {
    if (src.fd >= 0) ::close(src.fd);
  }
  bool Open(const std::string& path) {
    src.fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (src.fd < 0) return false;
    struct stat st {};
    if (::fstat(src.fd, &st) != 0 || !S_ISREG(st.st_mode)) return false;
    src.size = uint64_t(st.st_size);
    return true;
  }
  Source src;
};

// Sample `index` of a row of `bits`-bit samples, packed from the top bit
// (8 and 16 bits come as bytes and as words in this machine's order).
uint32_t SampleAt(const uint8_t* row, uint64_t index, uint32_t bits) {
  if (bits == 8) return row[index];
  if (bits == 16) {
    uint16_t v;
    std::memcpy(&v, row + index * 2, 2);
    return v;
  }
  const uint64_t bit = index * bits;
  const uint8_t* p = row + bit / 8;
  const uint32_t shift = uint32_t(bit % 8);
  // Up to 16 bits from the shift on span at most three bytes.
  uint32_t v = uint32_t(p[0]) << 16;
  if (shift + bits > 8) v |= uint32_t(p[1]) << 8;
  if (shift + bits > 16) v |= p[2];
  return (v >> (24 - shift - bits)) & ((1u << bits) - 1);
}

std::string Plural(long n, const char* word) {
  return std::to_string(n) + " " + word + (n == 1 ? "" : "s");
}

// Pels per metre from a resolution and its unit (2 inch, 3 centimetre; no
// unit gives none).
long PelsPerMeterOf(float value, uint16_t unit) {
  double v = 0;
  if (unit == RESUNIT_INCH) v = double(value) / 0.0254;
  if (unit == RESUNIT_CENTIMETER) v = double(value) * 100.0;
  return v >= 0 && v < 2e9 ? long(std::lrint(v)) : 0;
}

// The picture of the first directory into the image.
class PageReader {
 public:
  PageReader(TIFF* t, Source& src, Form_Camera& image, const std::string& name,
             uint64_t maxPixelBytes, ForeignTiffRead& read)
      : t_(t), src_(src), image_(image), name_(name), max_(maxPixelBytes), read_(read) {}

  bool Read() {
    uint32_t w = 0, h = 0;
    if (!TIFFGetField(t_, TIFFTAG_IMAGEWIDTH, &w) || !TIFFGetField(t_, TIFFTAG_IMAGELENGTH, &h))
      return Fail("the picture has no size");
    width_ = w;
    height_ = h;
    uint16_t format = SAMPLEFORMAT_UINT;
    TIFFGetFieldDefaulted(t_, TIFFTAG_BITSPERSAMPLE, &bits_);
    TIFFGetFieldDefaulted(t_, TIFFTAG_SAMPLESPERPIXEL, &spp_);
    TIFFGetFieldDefaulted(t_, TIFFTAG_SAMPLEFORMAT, &format);
    TIFFGetFieldDefaulted(t_, TIFFTAG_PLANARCONFIG, &planar_);
    if (!TIFFGetField(t_, TIFFTAG_PHOTOMETRIC, &photometric_))
      photometric_ = spp_ >= 3 ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISBLACK;
    if (spp_ == 0 || spp_ > kMaxSamples) return Fail(Plural(spp_, "sample") + " a pixel");
    if (format == SAMPLEFORMAT_IEEEFP || format == SAMPLEFORMAT_COMPLEXIEEEFP)
      return Fail("floating-point samples are not supported");
    if (format != SAMPLEFORMAT_UINT && format != SAMPLEFORMAT_VOID)
      return Fail("signed samples are not supported");
    if (bits_ > 16) return Fail(std::to_string(bits_) + "-bit samples are not supported");
    if (bits_ == 0) return Fail("0-bit samples");

    if ((photometric_ == PHOTOMETRIC_MINISBLACK || photometric_ == PHOTOMETRIC_MINISWHITE)) {
      channels_ = 1;
    } else if (photometric_ == PHOTOMETRIC_PALETTE && bits_ <= 8) {
      channels_ = 1;
    } else if (photometric_ == PHOTOMETRIC_RGB && spp_ >= 3) {
      channels_ = 3;
    } else {
      return ReadRGBA();
    }
    if (!SizeOk(width_, height_, channels_ * 2) || width_ * height_ * channels_ * 2 > max_)
      return Fail("the picture is too large");
    return ReadBlocks();
  }

  long Depth() const { return depth_; }

 private:
  bool Fail(const std::string& why) {
    if (read_.error.empty()) read_.error = src_.error.empty() ? why : src_.error;
    return G().LoadOK = false;
  }

  // Strips or tiles, samples together or in planes, decoded one at a time
  // and spread into the image.
  bool ReadBlocks() {
    const bool tiled = TIFFIsTiled(t_);
    uint32_t bw = uint32_t(width_), bh = 0;
    if (tiled) {
      if (!TIFFGetField(t_, TIFFTAG_TILEWIDTH, &bw) || !TIFFGetField(t_, TIFFTAG_TILELENGTH, &bh) ||
          bw == 0 || bh == 0)
        return Fail("the tiles have no size");
    } else {
      TIFFGetFieldDefaulted(t_, TIFFTAG_ROWSPERSTRIP, &bh);
      if (bh == 0 || bh > height_) bh = uint32_t(height_);
    }
    const bool separate = planar_ == PLANARCONFIG_SEPARATE && spp_ > 1;
    const uint64_t rowSamples = uint64_t(bw) * (separate ? 1 : spp_);
    const uint64_t rowBytes = (rowSamples * bits_ + 7) / 8;
    const uint64_t blockBytes = rowBytes * bh;
    if (blockBytes == 0 || blockBytes > max_) return Fail("the strips or tiles are too large");
    std::vector<uint8_t> block;
    try {
      block.resize(size_t(blockBytes));
    } catch (const std::bad_alloc&) {
      return Fail("not enough memory");
    }
    // A palette or grey of fewer than 8 bits is spread to 8 bits; a palette
    // keeps its indices.
    const bool palette = photometric_ == PHOTOMETRIC_PALETTE;
    const uint32_t top = (1u << bits_) - 1;
    const bool stretch = bits_ < 8 && !palette;
    depth_ = bits_ <= 8 ? 8 : bits_;

    if (!Shape(image_, long(width_), long(height_), channels_ == 3)) return Fail("not enough memory");
    uint16_t* dest = image_.ImagePtr();
    const uint64_t across = (width_ + bw - 1) / bw, down = (height_ + bh - 1) / bh;
    const uint32_t planes = separate ? channels_ : 1;
    const uint64_t total = across * down * planes;
    uint64_t done = 0;
    Progress progress("Loading " + name_);
    for (uint32_t plane = 0; plane < planes; ++plane) {
      for (uint64_t by = 0; by < down; ++by) {
        for (uint64_t bx = 0; bx < across; ++bx) {
          const uint32_t x0 = uint32_t(bx * bw), y0 = uint32_t(by * bh);
          const tmsize_t got =
              tiled ? TIFFReadEncodedTile(t_, TIFFComputeTile(t_, x0, y0, 0, uint16_t(plane)),
                                          block.data(), tmsize_t(blockBytes))
                    : TIFFReadEncodedStrip(t_, TIFFComputeStrip(t_, y0, uint16_t(plane)),
                                           block.data(), tmsize_t(blockBytes));
          const uint64_t rows = std::min<uint64_t>(bh, height_ - y0);
          const uint64_t cols = std::min<uint64_t>(bw, width_ - x0);
          if (got < 0 || uint64_t(got) < (rows - 1) * rowBytes + (cols * (separate ? 1 : spp_) * bits_ + 7) / 8)
            return Fail("a strip or tile cannot be read");
          for (uint64_t r = 0; r < rows; ++r) {
            const uint8_t* row = block.data() + r * rowBytes;
            uint16_t* out = dest + ((y0 + r) * width_ + x0) * channels_;
            for (uint64_t x = 0; x < cols; ++x) {
              for (uint32_t c = 0; c < (separate ? 1 : channels_); ++c) {
                const uint64_t index = separate ? x : x * spp_ + c;
                uint32_t v = SampleAt(row, index, bits_);
                if (stretch) v = v * 255 / top;
                out[x * channels_ + (separate ? plane : c)] = uint16_t(v);
              }
            }
          }
          if (!progress.Step(++done, total)) return false;
        }
      }
    }
    if (channels_ == 1) {
      uint16_t* map[3] = {nullptr, nullptr, nullptr};
      if (palette && TIFFGetField(t_, TIFFTAG_COLORMAP, &map[0], &map[1], &map[2])) {
        const uint32_t entries = 1u << bits_;
        for (uint32_t k = 0; k < 256; ++k) {
          const uint32_t j = std::min(k, entries - 1);
          image_.Header.bmiColors[k] =
              RGBQuad{uint8_t(map[2][j] >> 8), uint8_t(map[1][j] >> 8), uint8_t(map[0][j] >> 8), 0};
        }
      } else {
        GreyRamp(image_.Header.bmiColors, photometric_ == PHOTOMETRIC_MINISWHITE);
      }
    }
    return true;
  }

  // What the file holds, for a refusal of its colours.
  std::string Layout() const {
    return " (colour model " + std::to_string(photometric_) + ", " + Plural(spp_, "sample") +
           " of " + std::to_string(bits_) + " bits)";
  }

  // Colour models other than grey, palette and RGB (YCbCr, CMYK, CIE Lab,
  // ...) through libtiff's conversion to 8-bit RGBA.
  bool ReadRGBA() {
    char why[1024] = "";
    if (!TIFFRGBAImageOK(t_, why)) {
      // libtiff's words, and what the file holds.
      read_.error = why + Layout();
      return Fail(why);
    }
    if (!SizeOk(width_, height_, 6) || width_ * height_ * 6 > max_)
      return Fail("the picture is too large");
    std::vector<uint32_t> raster;
    try {
      raster.resize(size_t(width_ * height_));
    } catch (const std::bad_alloc&) {
      return Fail("not enough memory");
    }
    if (!TIFFReadRGBAImageOriented(t_, uint32_t(width_), uint32_t(height_), raster.data(),
                                   ORIENTATION_TOPLEFT, 0)) {
      read_.error = (src_.error.empty() ? "the colours cannot be converted" : src_.error) + Layout();
      return Fail("");
    }
    if (!Shape(image_, long(width_), long(height_), true)) return Fail("not enough memory");
    uint16_t* dest = image_.ImagePtr();
    for (size_t i = 0; i < raster.size(); ++i) {
      dest[3 * i] = uint16_t(TIFFGetR(raster[i]));
      dest[3 * i + 1] = uint16_t(TIFFGetG(raster[i]));
      dest[3 * i + 2] = uint16_t(TIFFGetB(raster[i]));
    }
    channels_ = 3;
    depth_ = 8;
    read_.note = "colours converted to 8-bit RGB";
    return true;
  }

  TIFF* t_;
  Source& src_;
  Form_Camera& image_;
  std::string name_;
  uint64_t max_;
  ForeignTiffRead& read_;
  uint64_t width_ = 0, height_ = 0;
  uint16_t bits_ = 1, spp_ = 1, planar_ = PLANARCONFIG_CONTIG, photometric_ = 0;
  uint32_t channels_ = 1;
  long depth_ = 8;
};

bool LoadFrom(Form_Camera& image, Source& src, const std::string& name, ForeignTiffRead& read,
              uint64_t maxPixelBytes, long page = 0) {
  G().LoadOK = true;
  read = ForeignTiffRead{};
  // libtiff's own buffers (directories, strips) stay under the same limit,
  // but never so low that a small file's directory does not fit.
  TiffHandle t = Open(src, std::max<uint64_t>(maxPixelBytes, uint64_t(1) << 20));
  if (!t) {
    read.error = src.error.empty() ? "not a TIFF file" : src.error;
    return G().LoadOK = false;
  }
  if (page != 0 && (page < 0 || page > 0xFFFF || !TIFFSetDirectory(t.get(), tdir_t(page)))) {
    read.error = "the file has no page " + std::to_string(page + 1);
    return G().LoadOK = false;
  }
  PageReader reader(t.get(), src, image, name, maxPixelBytes, read);
  if (!reader.Read()) return false;

  float xres = 0, yres = 0;
  uint16_t unit = RESUNIT_INCH;
  TIFFGetFieldDefaulted(t.get(), TIFFTAG_RESOLUTIONUNIT, &unit);
  const bool hasX = TIFFGetField(t.get(), TIFFTAG_XRESOLUTION, &xres);
  const bool hasY = TIFFGetField(t.get(), TIFFTAG_YRESOLUTION, &yres);
  image.Header.bmiHeader.biXPelsPerMeter = int32_t(hasX ? PelsPerMeterOf(xres, unit) : 0);
  image.Header.bmiHeader.biYPelsPerMeter = int32_t(hasY ? PelsPerMeterOf(yres, unit) : 0);
  char* description = nullptr;
  image.ImgDescription.clear();
  if (TIFFGetField(t.get(), TIFFTAG_IMAGEDESCRIPTION, &description) && description)
    image.ImgDescription = description;
  Finish(image, reader.Depth());
  return G().LoadOK;
}

}  // namespace

bool HasTiffMark(const uint8_t* head, size_t size) {
  if (size < 4) return false;
  const bool little = head[0] == 'I' && head[1] == 'I' && head[3] == 0 &&
                      (head[2] == 42 || head[2] == 43);
  const bool big = head[0] == 'M' && head[1] == 'M' && head[2] == 0 &&
                   (head[3] == 42 || head[3] == 43);
  return little || big;
}

bool IsTiffFile(const std::string& path) {
  InFile in;
  uint8_t head[4];
  return in.Open(path) && in.ReadAt(0, head, 4) && HasTiffMark(head, 4);
}

long TiffPageCount(const std::string& path) {
  FileSource file;
  if (!file.Open(path)) return 0;
  TiffHandle t = Open(file.src, kMaxPixelBytes);
  return t ? long(TIFFNumberOfDirectories(t.get())) : 0;
}

std::string TiffPagesNote(const std::string& path, long pages) {
  if (pages <= 1) return "";
  return FileName(path) + " has " + Plural(pages, "page") + "; page 1 is open";
}

bool LoadForeignTIF(Form_Camera& image, const std::string& path, ForeignTiffRead& read) {
  FileSource file;
  if (!file.Open(path)) {
    read = ForeignTiffRead{};
    read.error = "the file cannot be opened";
    return G().LoadOK = false;
  }
  return LoadFrom(image, file.src, FileName(path), read, kMaxPixelBytes);
}

bool LoadForeignTIFBytes(Form_Camera& image, const uint8_t* data, size_t size,
                         ForeignTiffRead& read, uint64_t maxPixelBytes) {
  return LoadForeignTIFPageBytes(image, data, size, 0, read, maxPixelBytes);
}

bool LoadForeignTIFPage(Form_Camera& image, const std::string& path, long page,
                        ForeignTiffRead& read) {
  FileSource file;
  if (!file.Open(path)) {
    read = ForeignTiffRead{};
    read.error = "the file cannot be opened";
    return G().LoadOK = false;
  }
  return LoadFrom(image, file.src, FileName(path), read, kMaxPixelBytes, page);
}

bool LoadForeignTIFPageBytes(Form_Camera& image, const uint8_t* data, size_t size, long page,
                             ForeignTiffRead& read, uint64_t maxPixelBytes) {
  Source src;
  src.data = data;
  src.size = size;
  return LoadFrom(image, src, "memory", read, std::min(maxPixelBytes, kMaxPixelBytes), page);
}

}  // namespace sv
