#include "image/image_files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <memory>
#include <new>
#include <vector>

#include "core/globals.h"
#include "core/host.h"
#include "core/mdi_main.h"
#include "image/form_camera.h"
#include "image/kernel/jpeg.h"
#include "image/kernel/sv_kernel.h"

namespace sv {

namespace {

// Larger pictures are refused before anything is allocated.
constexpr uint64_t kMaxPixelBytes = uint64_t(1) << 30;
constexpr long kMaxSide = 1L << 20;
// Progress goes to the status line this often.
constexpr uint32_t kProgressMs = 250;

struct FilterRow {
  const char* text;
  const char* ext;
};
constexpr FilterRow kFilters[kImageFilterCount] = {
    {"TIFF - 8 Bit", ".tif"},           {"Windows Bitmap - 8 Bit", ".bmp"},
    {"JPEG - 8 Bit", ".jpg"},           {"ITEX - 8 Bit", ".img"},
    {"Raw File Format - 8 Bit", ".raw"}, {"TIFF - 16 Bit", ".t16"},
    {"Windows Bitmap - 16 Bit", ".b16"}, {"ITEX - 16 Bit", ".i16"},
    {"Raw File Format - 16 Bit", ".r16"}, {"FTS - 16 Bit", ".fts"},
    {"ASCII: Z(X,Y)-Matrix", ".dat"},   {"ASCII: X(), Y(), Z()", ".dat"},
};

std::string Lower(std::string s) {
  for (char& c : s) c = char(std::tolower(static_cast<unsigned char>(c)));
  return s;
}

uint16_t Word(const uint8_t* p) { return uint16_t(p[0] | (p[1] << 8)); }
uint32_t Long(const uint8_t* p) {
  return uint32_t(p[0]) | uint32_t(p[1]) << 8 | uint32_t(p[2]) << 16 | uint32_t(p[3]) << 24;
}
void PutWord(std::string& s, uint32_t v) {
  s += char(v & 0xFF);
  s += char((v >> 8) & 0xFF);
}
void PutLong(std::string& s, uint32_t v) {
  PutWord(s, v & 0xFFFF);
  PutWord(s, v >> 16);
}

void Message(const std::string& text, const std::string& title) {
  if (HasHost()) host().MsgBox(text, MsgButtons::OK, MsgIcon::Exclamation, title);
}

// A file opened for reading; every read is checked against its size. The
// first block is kept in memory, so the many small reads of a header or a
// directory cost no system call; the pixels are read straight into place.
class InFile {
 public:
  ~InFile() {
    if (fd_ >= 0) ::close(fd_);
  }
  bool Open(const std::string& path) {
    fd_ = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd_ < 0) return false;
    struct stat st {};
    if (::fstat(fd_, &st) != 0 || !S_ISREG(st.st_mode)) return false;
    size_ = uint64_t(st.st_size);
    head_.resize(size_t(std::min<uint64_t>(size_, kHeadBytes)));
    return Read(0, head_.data(), head_.size());
  }
  uint64_t Size() const { return size_; }
  bool Fits(uint64_t offset, uint64_t bytes) const {
    return offset <= size_ && bytes <= size_ - offset;
  }
  bool ReadAt(uint64_t offset, void* dest, uint64_t bytes) {
    if (!Fits(offset, bytes)) return false;
    auto* out = static_cast<uint8_t*>(dest);
    if (offset < head_.size()) {
      const uint64_t n = std::min<uint64_t>(bytes, head_.size() - offset);
      std::memcpy(out, head_.data() + offset, size_t(n));
      offset += n;
      out += n;
      bytes -= n;
    }
    return Read(offset, out, bytes);
  }

 private:
  static constexpr uint64_t kHeadBytes = 16 << 10;
  bool Read(uint64_t offset, uint8_t* out, uint64_t bytes) {
    while (bytes > 0) {
      const ssize_t n = ::pread(fd_, out, size_t(std::min<uint64_t>(bytes, 1u << 30)), off_t(offset));
      if (n < 0 && errno == EINTR) continue;
      if (n <= 0) return false;  // the file shrank under us
      offset += uint64_t(n);
      out += n;
      bytes -= uint64_t(n);
    }
    return true;
  }
  int fd_ = -1;
  uint64_t size_ = 0;
  std::vector<uint8_t> head_;
};

// A file created for writing; the first failure sticks. Small pieces (a
// header, a line of text) gather in memory and go out with the next large
// block in one system call; large blocks are written from where they lie.
class OutFile {
 public:
  ~OutFile() {
    if (fd_ >= 0) ::close(fd_);
  }
  bool Create(const std::string& path) {
    fd_ = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    ok_ = fd_ >= 0;
    return ok_;
  }
  void Write(const void* data, size_t bytes) {
    if (!ok_ || bytes == 0) return;
    if (pending_.size() + bytes <= kGather) {
      pending_.append(static_cast<const char*>(data), bytes);
      return;
    }
    Put(data, bytes);
  }
  void Write(const std::string& s) { Write(s.data(), s.size()); }
  bool Close() {
    if (fd_ < 0) return false;
    if (!pending_.empty()) Put(nullptr, 0);
    if (::close(fd_) != 0) ok_ = false;
    fd_ = -1;
    return ok_;
  }
  bool ok() const { return ok_; }

 private:
  static constexpr size_t kGather = 64 << 10;
  // The gathered bytes, then `bytes` from `data`, to the end.
  void Put(const void* data, size_t bytes) {
    iovec parts[2] = {{pending_.data(), pending_.size()}, {const_cast<void*>(data), bytes}};
    int first = pending_.empty() ? 1 : 0;
    while (ok_ && first < 2) {
      const ssize_t n = ::writev(fd_, parts + first, 2 - first);
      if (n < 0 && errno == EINTR) continue;
      if (n <= 0) {
        ok_ = false;  // a full disk, or the medium gone
        break;
      }
      size_t left = size_t(n);
      while (first < 2 && left >= parts[first].iov_len) left -= parts[first++].iov_len;
      if (first < 2) {
        parts[first].iov_base = static_cast<char*>(parts[first].iov_base) + left;
        parts[first].iov_len -= left;
      }
      while (first < 2 && parts[first].iov_len == 0) ++first;
    }
    pending_.clear();
  }
  int fd_ = -1;
  bool ok_ = false;
  std::string pending_;
};

// Progress in the status line every 250 ms, with the event pump; false once
// the cancel flag is down.
class Progress {
 public:
  explicit Progress(std::string text) : text_(std::move(text)) {
    if (HasHost()) last_ = host().TimeGetTime();
  }
  bool Step(uint64_t done, uint64_t total) {
    if (!HasHost()) return G().LoadOK;
    const uint32_t now = host().TimeGetTime();
    if (uint32_t(now - last_) >= kProgressMs) {
      last_ = now;
      const int percent = total ? int(std::min<uint64_t>(100, done * 100 / total)) : 0;
      host().ShowStatus(text_, percent);
      host().DoEvents();
    }
    return G().LoadOK;
  }

 private:
  std::string text_;
  uint32_t last_ = 0;
};

// Samples of the depth scan between looks at the top bit.
constexpr size_t kScanBlock = 8192;

// Rows per step of the big reads and writes: about 1 MB, at least one line.
uint64_t RowsPerStep(uint64_t lineBytes) {
  return std::max<uint64_t>(1, (uint64_t(1) << 20) / std::max<uint64_t>(1, lineBytes));
}

bool SizeOk(uint64_t width, uint64_t height, uint64_t bytesPerPixel) {
  return width > 0 && height > 0 && width <= uint64_t(kMaxSide) && height <= uint64_t(kMaxSide) &&
         width * height * bytesPerPixel <= kMaxPixelBytes;
}

// The smallest depth from 8 to 16 bits that holds every sample, from the
// bits used by any of them.
long FittedBits(uint16_t any) {
  long bits = 8;
  while (bits < 16 && any >= (1u << bits)) ++bits;
  return bits;
}

// Gives the image its new shape; false when the memory is not there.
bool Shape(Form_Camera& image, long width, long height, bool colour) {
  image.SetHasColors(colour);
  image.SizeImage(width, height);
  return image.ImagePtr() != nullptr && image.HasDisplayBuffer();
}

// The last step of every reader: depth, limits, the display copy.
void Finish(Form_Camera& image, long bits) {
  image.LUTmin = 0.0f;
  image.LUTmax = 1.0f;
  if (bits != image.ImageBitsPerPixel()) {
    image.SetImageBitsPerPixel(bits);  // forces the table and the display copy
  } else {
    // The same depth: the table is built again only when the limits moved.
    const long builds = image.LutBuilds();
    image.SetLUT();
    if (image.LutBuilds() == builds) image.Update8BitImage();
  }
  image.View().CommentChanged(image);
}

void GreyRamp(RGBQuad* colors, bool falling) {
  for (int i = 0; i < 256; ++i) {
    const uint8_t v = uint8_t(falling ? 255 - i : i);
    colors[i] = RGBQuad{v, v, v, 0};
  }
}

std::string FileName(const std::string& path) {
  const size_t slash = path.find_last_of('/');
  return slash == std::string::npos ? path : path.substr(slash + 1);
}

std::string Hex(uint32_t v) {
  char b[16];
  std::snprintf(b, sizeof b, "%X", v);
  return b;
}

// --- TIFF ---------------------------------------------------------------------

const char* TiffLabel(uint32_t tag) {
  switch (tag) {
    case 254: return "NewSubFile";
    case 255: return "SubFile";
    case 256: return "ImageWidth";
    case 257: return "ImageLength";
    case 258: return "BitsPerSample";
    case 259: return "Compression";
    case 262: return "Photometric Interpretation";
    case 270: return "ImageDescription";
    case 273: return "StripOffset";
    case 277: return "SamplesPerPixel";
    case 278: return "RowsPerStrip";
    case 279: return "StripByteCount";
    case 282: return "XResolution";
    case 283: return "YResolution";
    case 284: return "PlanarConfiguration";
    case 286: return "XPosition";
    case 287: return "YPosition";
    case 290: return "GreyResponseUnit";
    case 291: return "GreyResponseCurve";
    case 296: return "ResolutionUnit";
    case 320: return "ColorMap";
    case 34377: return "Photo Shop 4.0";
    default: return tag >= 32768 ? "ACD See" : nullptr;
  }
}

// Pels per metre from a rational of dots per inch.
long PelsPerMeter(uint32_t num, uint32_t den) {
  if (den == 0) return 0;
  const double v = double(num) / double(den) / 0.0254;
  return v >= 0 && v < 2e9 ? long(std::lrint(v)) : 0;
}

// A table of strip offsets or byte counts: short or long values.
bool ReadTable(InFile& in, uint16_t type, uint32_t count, uint32_t value, const uint8_t* raw,
               std::vector<uint64_t>& out) {
  if (type != 3 && type != 4) return false;
  const uint32_t size = type == 3 ? 2 : 4;
  if (count == 0 || count > (1u << 22)) return false;
  if (uint64_t(count) * size > 4 && !in.Fits(value, uint64_t(count) * size)) return false;
  std::vector<uint8_t> bytes(size_t(count) * size);
  if (uint64_t(count) * size <= 4)
    std::memcpy(bytes.data(), raw, bytes.size());
  else if (!in.ReadAt(value, bytes.data(), bytes.size()))
    return false;
  out.resize(count);
  for (uint32_t i = 0; i < count; ++i)
    out[i] = size == 2 ? Word(&bytes[i * 2]) : Long(&bytes[i * 4]);
  return true;
}

}  // namespace

int GetImageFileType(const std::string& path) {
  InFile in;
  if (!in.Open(path)) return 0;
  uint8_t b[4] = {0, 0, 0, 0};
  const uint64_t n = std::min<uint64_t>(4, in.Size());
  if (!in.ReadAt(0, b, n)) return 0;
  if (n >= 4 && b[0] == 'I' && b[1] == 'I' && Word(b + 2) == 42) return 1;
  if (n >= 2 && b[0] == 'B' && b[1] == 'M') return 2;
  if (n >= 4 && std::memcmp(b, "PCO-", 4) == 0) return 7;
  if (n >= 2 && b[0] == 'I' && b[1] == 'M') return 4;
  return 3;
}

bool LoadTIF(Form_Camera& image, const std::string& path) {
  G().LoadOK = true;
  auto fail = [] { return G().LoadOK = false; };
  InFile in;
  if (!in.Open(path)) return fail();
  uint8_t head[8];
  if (!in.ReadAt(0, head, 8) || head[0] != 'I' || head[1] != 'I' || Word(head + 2) != 42)
    return fail();
  const uint32_t dir = Long(head + 4);
  uint8_t countBytes[2];
  if (!in.ReadAt(dir, countBytes, 2)) return fail();
  const uint32_t entries = Word(countBytes);
  std::vector<uint8_t> table(size_t(entries) * 12);
  if (!in.ReadAt(uint64_t(dir) + 2, table.data(), table.size())) return fail();

  const bool debug = G().DebugMode;
  uint64_t width = 0, height = 0, rowsPerStrip = 0;
  uint32_t bits = 0, samples = 1, photometric = 1;
  bool colourBits = false;
  long xPels = 0, yPels = 0;
  std::string description;
  std::vector<uint64_t> strips, stripBytes;
  std::vector<uint16_t> colorMap;
  for (uint32_t i = 0; i < entries; ++i) {
    const uint8_t* e = &table[size_t(i) * 12];
    const uint16_t tag = Word(e), type = Word(e + 2);
    const uint32_t length = Long(e + 4), value = Long(e + 8);
    // A single short sits in the low half of the value field.
    const uint32_t scalar = type == 3 ? Word(e + 8) : value;
    const bool single = (type == 3 || type == 4) && length == 1;
    const char* label = TiffLabel(tag);
    if (debug && label)
      ShowStatus(std::string(label) + ": Type = " + std::to_string(type) +
                 ", Length = " + std::to_string(length) + ", Value = " + std::to_string(scalar));
    switch (tag) {
      case 254:
      case 255:
        break;  // one picture a file: the first directory is read
      case 256:
        if (!single) return fail();
        width = scalar;
        break;
      case 257:
        if (!single) return fail();
        height = scalar;
        break;
      case 258:
        if (type != 3 && type != 4) return fail();
        if (length == 1) {
          bits = scalar;
          colourBits = bits == 24;
        } else if (length == 3) {
          std::vector<uint64_t> per;
          if (ReadTable(in, type, 3, value, e + 8, per) && per[0] == per[1] && per[1] == per[2]) {
            bits = uint32_t(per[0]);
          } else if (value == 24 || value == 44) {
            bits = 8;  // older files stored the sum, or the offset, here
          } else {
            return fail();
          }
          if (bits == 24) bits = 8;
          colourBits = true;
        } else {
          return fail();
        }
        break;
      case 259:
        if (!single) return fail();
        if (scalar != 1) {
          Message("Compressed files are not supported.", "Open Image");
          return fail();
        }
        break;
      case 262:
        if (!single || scalar > 3) return fail();
        photometric = scalar;
        break;
      case 270: {
        if (type != 2 || length > (1u << 20) || (length > 4 && !in.Fits(value, length)))
          return fail();
        std::string text(length, '\0');
        if (length <= 4)
          std::memcpy(text.data(), e + 8, length);
        else if (!in.ReadAt(value, text.data(), length))
          return fail();
        description = text.substr(0, text.find('\0'));
        break;
      }
      case 273:
        if (!ReadTable(in, type, length, value, e + 8, strips)) return fail();
        break;
      case 277:
        if (!single || (scalar != 1 && scalar != 3)) return fail();
        samples = scalar;
        break;
      case 278:
        if (!single) return fail();
        rowsPerStrip = scalar;
        break;
      case 279:
        if (!ReadTable(in, type, length, value, e + 8, stripBytes)) return fail();
        break;
      case 282:
      case 283: {
        uint8_t r[8];
        if (type != 5 || length != 1 || !in.ReadAt(value, r, 8)) return fail();
        (tag == 282 ? xPels : yPels) = PelsPerMeter(Long(r), Long(r + 4));
        break;
      }
      case 284:
        if (!single || scalar != 1) return fail();
        break;
      case 286:
      case 287: {
        uint8_t r[8];
        if (type != 5 || !in.ReadAt(value, r, 8)) return fail();
        break;  // the position is noted, not used
      }
      case 290:
        if (type != 3 || length != 1 || scalar < 1 || scalar > 5) return fail();
        break;
      case 291:
      case 296:
        break;
      case 320: {
        if (type != 3 || length > 768 || length % 3 != 0 || length == 0) return fail();
        std::vector<uint8_t> raw(size_t(length) * 2);
        if (!in.ReadAt(value, raw.data(), raw.size())) return fail();
        colorMap.resize(length);
        for (uint32_t k = 0; k < length; ++k) colorMap[k] = Word(&raw[k * 2]);
        break;
      }
      default:
        if (!label)
          ShowStatus("Unknown Tag: ID = " + std::to_string(tag) + ", Type = " +
                     std::to_string(type) + ", Length = " + std::to_string(length) +
                     ", Value = 0x" + Hex(value));
        break;
    }
  }

  // What the walk found must make a picture this reader can take.
  const bool colour = samples == 3 || colourBits;
  if (colour && samples != 3 && !(colourBits && samples == 1 && bits == 8)) return fail();
  const bool wide = bits >= 9 && bits <= 16;
  if (!wide && bits != 8) return fail();
  if (colour && photometric != 2) return fail();
  if (!colour && photometric == 2) return fail();
  const uint64_t channels = colour ? 3 : 1;
  const uint64_t sampleBytes = wide ? 2 : 1;
  const uint64_t lineBytes = width * channels * sampleBytes;
  if (!SizeOk(width, height, channels * 2) || strips.empty()) return fail();
  if (rowsPerStrip == 0 || rowsPerStrip > height) rowsPerStrip = height;
  const uint64_t stripCount = (height + rowsPerStrip - 1) / rowsPerStrip;
  if (strips.size() < stripCount) {
    // One offset for all: the strips follow each other.
    if (strips.size() != 1) return fail();
    rowsPerStrip = height;
  }
  const uint64_t usedStrips = (height + rowsPerStrip - 1) / rowsPerStrip;
  for (uint64_t s = 0; s < usedStrips; ++s) {
    const uint64_t rows = std::min(rowsPerStrip, height - s * rowsPerStrip);
    if (!in.Fits(strips[s], rows * lineBytes)) return fail();
  }

  // The old ".t16" repair is offered before a 16-bit file is read.
  bool swapBytes = false;
  if (wide && HasHost() && G().CommandLine.find("/T16 ") != std::string::npos) {
    swapBytes = host().MsgBox("Activate Bug Fix in old T16-Files?\r\n\r\n(Note: This function will "
                              "be removed in the next update of SV4200",
                              MsgButtons::YesNo, MsgIcon::Question,
                              "Open T16 Files") == MsgResult::Yes;
  }

  if (!Shape(image, long(width), long(height), colour)) return fail();
  uint16_t* dest = image.ImagePtr();
  const uint64_t pixels = width * height;
  std::vector<uint8_t> bytes;
  if (!wide) {
    try {
      bytes.resize(size_t(height * lineBytes));
    } catch (const std::bad_alloc&) {
      return fail();
    }
  }
  uint8_t* bytesOut = bytes.data();
  Progress progress("Loading " + FileName(path));
  const uint64_t step = RowsPerStep(lineBytes);
  for (uint64_t s = 0; s < usedStrips; ++s) {
    const uint64_t first = s * rowsPerStrip;
    const uint64_t rows = std::min(rowsPerStrip, height - first);
    for (uint64_t r = 0; r < rows; r += step) {
      const uint64_t n = std::min(step, rows - r);
      const uint64_t at = strips[s] + r * lineBytes;
      void* to = wide ? static_cast<void*>(dest + (first + r) * width * channels)
                      : static_cast<void*>(bytesOut + (first + r) * lineBytes);
      if (!in.ReadAt(at, to, n * lineBytes)) return fail();
      if (!progress.Step(first + r + n, height)) return false;
    }
  }
  if (!wide) {
    if (colour)
      SV_RGB_convert_8_to_16(size_t(pixels), bytes, {dest, size_t(pixels * 3)});
    else
      SV_convert_8_to_16(bytes.data(), dest, size_t(pixels));
  } else if (swapBytes) {
    SV_swap_lo_hi_byte(size_t(pixels * channels), {dest, size_t(pixels * channels)});
  }

  image.Header.bmiHeader.biXPelsPerMeter = int32_t(xPels);
  image.Header.bmiHeader.biYPelsPerMeter = int32_t(yPels);
  if (!colour) {
    if (photometric == 3 && !colorMap.empty()) {
      const size_t n = colorMap.size() / 3;
      for (size_t k = 0; k < 256; ++k) {
        const size_t j = std::min(k, n - 1);
        image.Header.bmiColors[k] = RGBQuad{uint8_t(colorMap[2 * n + j] >> 8),
                                            uint8_t(colorMap[n + j] >> 8),
                                            uint8_t(colorMap[j] >> 8), 0};
      }
    } else {
      GreyRamp(image.Header.bmiColors, photometric == 0);
    }
  }
  image.ImgDescription = description;
  Finish(image, wide ? long(bits) : 8);
  return G().LoadOK;
}

// --- BMP ----------------------------------------------------------------------

namespace {
// Run-length coded 8-bit lines, bottom-up, into one index a pixel. Runs past
// the end of a line or of the picture are cut; a file that ends early leaves
// the rest 0. False only for a file that is not run-length data at all.
bool DecodeRle8(const std::vector<uint8_t>& in, uint64_t width, uint64_t height,
                std::vector<uint8_t>& out) {
  out.assign(size_t(width * height), 0);
  uint64_t x = 0, y = 0;  // y counts file lines, from the bottom
  size_t i = 0;
  auto put = [&](uint8_t v) {
    if (x < width && y < height) out[size_t(y * width + x)] = v;
    ++x;
  };
  while (i + 1 < in.size() && y < height) {
    const uint8_t count = in[i], value = in[i + 1];
    i += 2;
    if (count > 0) {
      for (int k = 0; k < count; ++k) put(value);
    } else if (value == 0) {
      x = 0;
      ++y;
    } else if (value == 1) {
      break;
    } else if (value == 2) {
      if (i + 1 >= in.size()) break;
      x += in[i];
      y += in[i + 1];
      i += 2;
    } else {
      for (int k = 0; k < value && i < in.size(); ++k) put(in[i++]);
      if (value & 1) ++i;  // literal runs keep to whole words
    }
  }
  return true;
}
}  // namespace

bool LoadBMP(Form_Camera& image, const std::string& path) {
  G().LoadOK = true;
  auto fail = [] { return G().LoadOK = false; };
  InFile in;
  if (!in.Open(path)) return fail();
  uint8_t h[54];
  if (!in.ReadAt(0, h, 54) || h[0] != 'B' || h[1] != 'M') return fail();
  const uint32_t offBits = Long(h + 10), infoSize = Long(h + 14);
  const int32_t w = int32_t(Long(h + 18)), hh = int32_t(Long(h + 22));
  const uint16_t planes = Word(h + 26), bitCount = Word(h + 28);
  const uint32_t compression = Long(h + 30), clrUsed = Long(h + 46);
  const long xPels = long(int32_t(Long(h + 38))), yPels = long(int32_t(Long(h + 42)));
  // Uncompressed, or 8-bit run-length coding as some tools write palette files.
  const bool rle8 = compression == 1 && bitCount == 8;
  if (infoSize < 40 || infoSize > 4096 || planes != 1 || (compression != 0 && !rle8))
    return fail();
  // Palette files of 1, 4 or 8 bits a pixel (other tools write the small
  // ones for images of few colours), or 24-bit colour.
  if (bitCount != 1 && bitCount != 4 && bitCount != 8 && bitCount != 24) return fail();
  if (w <= 0 || hh == 0 || hh == INT32_MIN) return fail();
  const bool topDown = hh < 0;
  const uint64_t width = uint64_t(w), height = uint64_t(topDown ? -int64_t(hh) : hh);
  const bool colour = bitCount == 24;
  if (!SizeOk(width, height, colour ? 6 : 2)) return fail();
  const uint64_t stride = ((width * bitCount + 31) / 32) * 4;
  if (!rle8 && !in.Fits(offBits, stride * height)) return fail();
  if (rle8 && (topDown || offBits > in.Size())) return fail();

  // The palette of an 8-bit file: a grey one gives the samples their grey.
  RGBQuad palette[256];
  bool grey = true;
  if (!colour) {
    const uint32_t most = 1u << bitCount;
    const uint32_t entries = clrUsed == 0 || clrUsed > most ? most : clrUsed;
    std::vector<uint8_t> raw(size_t(entries) * 4);
    if (!in.ReadAt(14 + uint64_t(infoSize), raw.data(), raw.size())) return fail();
    for (uint32_t i = 0; i < 256; ++i) {
      const uint32_t j = std::min(i, entries - 1);
      palette[i] = RGBQuad{raw[j * 4], raw[j * 4 + 1], raw[j * 4 + 2], 0};
      if (palette[i].rgbBlue != palette[i].rgbGreen || palette[i].rgbGreen != palette[i].rgbRed)
        grey = false;
    }
  }
  const bool asColour = colour || !grey;
  if (!Shape(image, long(width), long(height), asColour)) return fail();
  uint16_t* dest = image.ImagePtr();
  // Wide enough for the packed file line and for its indices one a byte.
  std::vector<uint8_t> line(static_cast<size_t>(std::max(stride, width)));
  std::vector<uint8_t> wide(bitCount < 8 ? static_cast<size_t>(width) : 0);
  std::vector<uint8_t> indices;
  if (rle8) {
    std::vector<uint8_t> packed(size_t(in.Size() - offBits));
    if (!in.ReadAt(offBits, packed.data(), packed.size()) ||
        !DecodeRle8(packed, width, height, indices))
      return fail();
  }
  Progress progress("Loading " + FileName(path));
  for (uint64_t y = 0; y < height; ++y) {
    // Bottom-up unless the height is negative.
    const uint64_t fileLine = topDown ? y : height - 1 - y;
    if (rle8)
      std::copy_n(indices.begin() + ptrdiff_t(fileLine * width), size_t(width), line.begin());
    else if (!in.ReadAt(offBits + fileLine * stride, line.data(), stride))
      return fail();
    if (bitCount < 8) {
      if (!SV_convert_n_to_8(size_t(width), {line.data(), size_t(stride)}, wide, bitCount))
        return fail();
      std::copy(wide.begin(), wide.end(), line.begin());
    }
    uint16_t* out = dest + y * width * (asColour ? 3 : 1);
    if (colour) {
      SV_RGB_convert_inverse_8_to_16(size_t(width), {line.data(), size_t(width * 3)},
                                     {out, size_t(width * 3)});
    } else if (asColour) {
      for (uint64_t x = 0; x < width; ++x) {
        const RGBQuad& c = palette[line[x]];
        out[3 * x] = c.rgbRed;
        out[3 * x + 1] = c.rgbGreen;
        out[3 * x + 2] = c.rgbBlue;
      }
    } else {
      for (uint64_t x = 0; x < width; ++x) out[x] = palette[line[x]].rgbRed;
    }
    if (!progress.Step(y + 1, height)) return false;
  }
  image.Header.bmiHeader.biXPelsPerMeter = int32_t(xPels);
  image.Header.bmiHeader.biYPelsPerMeter = int32_t(yPels);
  image.ImgDescription.clear();
  Finish(image, 8);
  return G().LoadOK;
}

// --- B16 ----------------------------------------------------------------------

bool LoadB16(Form_Camera& image, const std::string& path) {
  G().LoadOK = true;
  auto fail = [] { return G().LoadOK = false; };
  InFile in;
  if (!in.Open(path)) return fail();
  uint8_t h[20];
  if (!in.ReadAt(0, h, 20) || std::memcmp(h, "PCO-", 4) != 0) return fail();
  const uint32_t headerLength = Long(h + 8);
  const uint64_t width = Long(h + 12), height = Long(h + 16);
  if (headerLength < 20 || !SizeOk(width, height, 2)) return fail();
  if (!in.Fits(headerLength, width * height * 2)) return fail();
  std::string comment(headerLength - 20, '\0');
  if (!in.ReadAt(20, comment.data(), comment.size())) return fail();
  comment = comment.substr(0, comment.find_first_of(std::string("\0\n\r", 3)));
  if (!Shape(image, long(width), long(height), false)) return fail();
  uint16_t* dest = image.ImagePtr();
  Progress progress("Loading " + FileName(path));
  const uint64_t step = RowsPerStep(width * 2);
  uint16_t used = 0;
  for (uint64_t y = 0; y < height; y += step) {
    const uint64_t n = std::min(step, height - y);
    uint16_t* block = dest + y * width;
    if (!in.ReadAt(headerLength + y * width * 2, block, n * width * 2)) return fail();
    // Once the top bit is in, the depth is settled and the rest needs no look.
    const size_t samples = size_t(n * width);
    for (size_t at = 0; at < samples && used < 0x8000; at += kScanBlock)
      used = uint16_t(used | SV_bits_used(block + at, std::min(kScanBlock, samples - at)));
    if (!progress.Step(y + n, height)) return false;
  }
  image.ImgDescription = comment;
  Finish(image, FittedBits(used));
  return G().LoadOK;
}

// --- ITEX ---------------------------------------------------------------------

namespace {
// The type word of the 16-bit flavour, at offset 12 of the header.
constexpr uint16_t kItex16Type = 2;
}  // namespace

bool LoadIMG(Form_Camera& image, const std::string& path) {
  G().LoadOK = true;
  auto fail = [] { return G().LoadOK = false; };
  InFile in;
  if (!in.Open(path)) return fail();
  uint8_t h[64];
  if (!in.ReadAt(0, h, 64) || h[0] != 'I' || h[1] != 'M') return fail();
  const uint32_t commentLength = Word(h + 2);
  const uint64_t width = Word(h + 4), height = Word(h + 6);
  const bool wide = Word(h + 12) == kItex16Type;
  if (!SizeOk(width, height, 2)) return fail();
  const uint64_t start = 64 + uint64_t(commentLength);
  const uint64_t lineBytes = width * (wide ? 2 : 1);
  if (!in.Fits(start, lineBytes * height)) return fail();
  std::string comment(commentLength, '\0');
  if (!in.ReadAt(64, comment.data(), commentLength)) return fail();
  comment = comment.substr(0, comment.find('\0'));
  std::vector<uint8_t> bytes;
  if (!wide) bytes.resize(size_t(lineBytes * height));
  if (!Shape(image, long(width), long(height), false)) return fail();
  uint16_t* dest = image.ImagePtr();
  Progress progress("Loading " + FileName(path));
  const uint64_t step = RowsPerStep(lineBytes);
  for (uint64_t y = 0; y < height; y += step) {
    const uint64_t n = std::min(step, height - y);
    void* to = wide ? static_cast<void*>(dest + y * width)
                    : static_cast<void*>(bytes.data() + y * lineBytes);
    if (!in.ReadAt(start + y * lineBytes, to, n * lineBytes)) return fail();
    if (!progress.Step(y + n, height)) return false;
  }
  if (!wide) SV_convert_8_to_16(bytes.data(), dest, size_t(width * height));
  image.ImgDescription = comment;
  Finish(image, wide ? FittedBits(SV_bits_used(dest, size_t(width * height))) : 8);
  return G().LoadOK;
}

// --- JPEG ---------------------------------------------------------------------

bool LoadJPG(Form_Camera& image, const std::string& path) {
  G().LoadOK = true;
  JpegPicture picture;
  if (!SV_LoadJPG(path, picture, nullptr, size_t(kMaxPixelBytes / 2)) ||
      !SizeOk(uint64_t(picture.width), uint64_t(picture.height), 6)) {
    Message("Error loading" + path, "Open Image");
    return G().LoadOK = false;
  }
  const bool colour = picture.channels == 3;
  if (!Shape(image, picture.width, picture.height, colour)) return G().LoadOK = false;
  const size_t samples = size_t(picture.width) * size_t(picture.height) * (colour ? 3 : 1);
  SV_convert_8_to_16(picture.pixels.data(), image.ImagePtr(), samples);
  if (!colour) GreyRamp(image.Header.bmiColors, false);
  image.Header.bmiHeader.biXPelsPerMeter = int32_t(std::lrint(picture.xDensity / 0.0254));
  image.Header.bmiHeader.biYPelsPerMeter = int32_t(std::lrint(picture.yDensity / 0.0254));
  image.ImgDescription.clear();
  Finish(image, 8);
  return G().LoadOK;
}

// --- Writers ------------------------------------------------------------------

namespace {

// The samples of a mono image, or the grey of a colour one, top line first.
std::vector<uint16_t> MonoSamples(const Form_Camera& image) {
  const size_t pixels = size_t(image.ImageWidth()) * size_t(image.ImageHeight());
  const uint16_t* p = image.ImagePtr();
  if (!image.HasColors()) return std::vector<uint16_t>(p, p + pixels);
  std::vector<uint16_t> grey(pixels);
  for (size_t i = 0; i < pixels; ++i) grey[i] = uint16_t(GreyOf(p[3 * i], p[3 * i + 1], p[3 * i + 2]));
  return grey;
}

// The 8-bit picture of the 8-bit filters, top line first, unpadded: grey
// bytes, or R, G, B. An image of 8 bits or fewer gives its samples; a deeper
// one what the display shows.
std::vector<uint8_t> Bytes8(const Form_Camera& image) {
  const size_t w = size_t(image.ImageWidth()), h = size_t(image.ImageHeight());
  const size_t channels = image.HasColors() ? 3 : 1;
  std::vector<uint8_t> out(w * h * channels);
  const long bits = image.ImageBitsPerPixel();
  if (bits <= 8) {
    const uint16_t* p = image.ImagePtr();
    const int shift = int(8 - bits);
    for (size_t i = 0; i < out.size(); ++i) out[i] = uint8_t(std::min<uint32_t>(255, p[i] << shift));
    return out;
  }
  const uint8_t* dib = image.ImagePtr8();
  const size_t stride = size_t(image.ImageByteWidth());
  for (size_t y = 0; y < h; ++y) {
    const uint8_t* line = dib + (h - 1 - y) * stride;  // the bitmap runs bottom-up
    uint8_t* o = out.data() + y * w * channels;
    if (channels == 1) {
      std::memcpy(o, line, w);
    } else {
      for (size_t x = 0; x < w; ++x) {
        o[3 * x] = line[3 * x + 2];
        o[3 * x + 1] = line[3 * x + 1];
        o[3 * x + 2] = line[3 * x];
      }
    }
  }
  return out;
}

bool Writable(const Form_Camera& image) {
  return image.ImagePtr() && image.HasDisplayBuffer() && image.ImageWidth() > 0 &&
         image.ImageHeight() > 0;
}

// Writes a block of lines with progress; false on a write error.
bool WriteLines(OutFile& out, const void* data, uint64_t lineBytes, uint64_t lines,
                const std::string& path) {
  Progress progress("Saving " + FileName(path));
  const bool was = G().LoadOK;
  G().LoadOK = true;  // a save is not stopped by the read's flag
  const uint64_t step = RowsPerStep(lineBytes);
  const auto* p = static_cast<const uint8_t*>(data);
  for (uint64_t y = 0; y < lines && out.ok(); y += step) {
    const uint64_t n = std::min(step, lines - y);
    out.Write(p + y * lineBytes, size_t(n * lineBytes));
    progress.Step(y + n, lines);
  }
  G().LoadOK = was;
  return out.ok();
}

void Entry(std::string& d, uint16_t tag, uint16_t type, uint32_t length, uint32_t value) {
  PutWord(d, tag);
  PutWord(d, type);
  PutLong(d, length);
  PutLong(d, value);
}

}  // namespace

bool SaveTIF(Form_Camera& image, const std::string& path, int filter) {
  if (!Writable(image)) return false;
  const bool wide = filter == 6;
  const bool colour = image.HasColors();
  const uint32_t w = uint32_t(image.ImageWidth()), h = uint32_t(image.ImageHeight());
  const std::string& comment = image.ImgDescription;
  // The directory of the list, with RowsPerStrip and StripByteCounts beside it:
  // other readers need them to take the pixels as one strip without a warning.
  const uint16_t entries = uint16_t(14 + (comment.empty() ? 0 : 1));
  // Behind the directory: the next-directory link, the bits of a colour
  // image, the two rationals, the comment, the pixels.
  const uint32_t dirEnd = 8 + 2 + entries * 12 + 4;
  const uint32_t bitsAt = dirEnd;
  const uint32_t xResAt = bitsAt + (colour ? 6 : 0);
  const uint32_t yResAt = xResAt + 8;
  const uint32_t commentAt = yResAt + 8;
  const uint32_t pixelsAt = commentAt + (comment.empty() ? 0 : uint32_t(comment.size()) + 1);
  const uint16_t bits = wide ? 16 : 8;

  std::string d = "II";
  PutWord(d, 42);
  PutLong(d, 8);
  PutWord(d, entries);
  Entry(d, 254, 4, 1, 0);
  Entry(d, 256, 3, 1, w);
  Entry(d, 257, 3, 1, h);
  Entry(d, 258, 3, colour ? 3 : 1, colour ? bitsAt : bits);
  Entry(d, 259, 3, 1, 1);
  Entry(d, 262, 3, 1, colour ? 2 : 1);
  if (!comment.empty()) Entry(d, 270, 2, uint32_t(comment.size()) + 1, commentAt);
  Entry(d, 273, 4, 1, pixelsAt);
  Entry(d, 277, 3, 1, colour ? 3 : 1);
  Entry(d, 278, 4, 1, h);
  Entry(d, 279, 4, 1, uint32_t(uint64_t(w) * h * (colour ? 3 : 1) * (wide ? 2 : 1)));
  Entry(d, 282, 5, 1, xResAt);
  Entry(d, 283, 5, 1, yResAt);
  Entry(d, 284, 3, 1, 1);
  Entry(d, 296, 3, 1, 2);
  PutLong(d, 0);
  if (colour)
    for (int i = 0; i < 3; ++i) PutWord(d, bits);
  // Dots per inch as pels per metre x 254 / 10000.
  PutLong(d, uint32_t(std::max<int64_t>(0, int64_t(image.ImageXPelsPerMeter()) * 254)));
  PutLong(d, 10000);
  PutLong(d, uint32_t(std::max<int64_t>(0, int64_t(image.ImageYPelsPerMeter()) * 254)));
  PutLong(d, 10000);
  if (!comment.empty()) {
    d += comment;
    d += '\0';
  }
  OutFile out;
  if (!out.Create(path)) return false;
  out.Write(d);
  const uint64_t channels = colour ? 3 : 1;
  if (wide)
    WriteLines(out, image.ImagePtr(), uint64_t(w) * channels * 2, h, path);
  else
    WriteLines(out, Bytes8(image).data(), uint64_t(w) * channels, h, path);
  return out.Close();
}

bool SaveBMP(Form_Camera& image, const std::string& path) {
  if (!Writable(image)) return false;
  const bool colour = image.HasColors();
  const uint32_t w = uint32_t(image.ImageWidth()), h = uint32_t(image.ImageHeight());
  const uint32_t channels = colour ? 3 : 1;
  const uint32_t stride = DisplayByteWidth(long(w), colour);
  const uint32_t paletteBytes = colour ? 0 : 1024;
  const uint32_t offBits = 14 + 40 + paletteBytes;
  const uint32_t imageBytes = stride * h;
  std::string d = "BM";
  PutLong(d, offBits + imageBytes);
  PutLong(d, 0);
  PutLong(d, offBits);
  PutLong(d, 40);
  PutLong(d, w);
  PutLong(d, h);
  PutWord(d, 1);
  PutWord(d, colour ? 24 : 8);
  PutLong(d, 0);
  PutLong(d, imageBytes);
  PutLong(d, uint32_t(image.ImageXPelsPerMeter()));
  PutLong(d, uint32_t(image.ImageYPelsPerMeter()));
  PutLong(d, colour ? 0 : 256);
  PutLong(d, 0);
  for (uint32_t i = 0; i < paletteBytes / 4; ++i) {
    d += char(i);
    d += char(i);
    d += char(i);
    d += '\0';
  }
  // The lines bottom-up, B, G, R, padded to four bytes.
  const std::vector<uint8_t> top = Bytes8(image);
  std::vector<uint8_t> dib(size_t(imageBytes), 0);
  for (uint32_t y = 0; y < h; ++y) {
    const uint8_t* s = top.data() + size_t(y) * w * channels;
    uint8_t* o = dib.data() + size_t(h - 1 - y) * stride;
    if (colour)
      for (uint32_t x = 0; x < w; ++x) {
        o[3 * x] = s[3 * x + 2];
        o[3 * x + 1] = s[3 * x + 1];
        o[3 * x + 2] = s[3 * x];
      }
    else
      std::memcpy(o, s, w);
  }
  OutFile out;
  if (!out.Create(path)) return false;
  out.Write(d);
  WriteLines(out, dib.data(), stride, h, path);
  return out.Close();
}

bool SaveJPG(Form_Camera& image, const std::string& path) {
  if (!Writable(image)) return false;
  const std::vector<uint8_t> top = Bytes8(image);
  return image.HasColors()
             ? SV_RGB_SaveJPG(path, image.ImageWidth(), image.ImageHeight(), top.data(), 90)
             : SV_SaveJPG(path, image.ImageWidth(), image.ImageHeight(), top.data(), 90);
}

bool SaveIMG(Form_Camera& image, const std::string& path, int filter) {
  if (!Writable(image)) return false;
  const bool wide = filter == 8;
  const uint32_t w = uint32_t(image.ImageWidth()), h = uint32_t(image.ImageHeight());
  if (w > 0xFFFF || h > 0xFFFF) return false;
  const std::string comment = image.ImgDescription.substr(0, 0xFFFF);
  std::string d = "IM";
  PutWord(d, uint32_t(comment.size()));
  PutWord(d, w);
  PutWord(d, h);
  d.append(56, '\0');
  if (wide) d[12] = char(kItex16Type);
  d += comment;
  OutFile out;
  if (!out.Create(path)) return false;
  out.Write(d);
  if (wide) {
    const std::vector<uint16_t> s = MonoSamples(image);
    WriteLines(out, s.data(), uint64_t(w) * 2, h, path);
  } else {
    std::vector<uint8_t> b = Bytes8(image);
    if (image.HasColors()) {
      for (size_t i = 0; i < size_t(w) * h; ++i)
        b[i] = uint8_t(GreyOf(b[3 * i], b[3 * i + 1], b[3 * i + 2]));
      b.resize(size_t(w) * h);
    }
    WriteLines(out, b.data(), w, h, path);
  }
  return out.Close();
}

bool SaveRAW(Form_Camera& image, const std::string& path, int filter) {
  if (!Writable(image)) return false;
  const uint64_t w = uint64_t(image.ImageWidth()), h = uint64_t(image.ImageHeight());
  OutFile out;
  if (!out.Create(path)) return false;
  if (filter == 9) {
    const std::vector<uint16_t> s = MonoSamples(image);
    WriteLines(out, s.data(), w * 2, h, path);
  } else {
    const std::vector<uint8_t> b = Bytes8(image);
    WriteLines(out, b.data(), w * (image.HasColors() ? 3 : 1), h, path);
  }
  return out.Close();
}

bool SaveB16(Form_Camera& image, const std::string& path) {
  if (!Writable(image)) return false;
  const uint32_t w = uint32_t(image.ImageWidth()), h = uint32_t(image.ImageHeight());
  const std::string& comment = image.ImgDescription;
  const uint64_t headerLength = 20 + uint64_t(comment.size());
  const uint64_t total = headerLength + uint64_t(w) * h * 2;
  if (total > 0xFFFFFFFFull) return false;
  std::string d = "PCO-";
  PutLong(d, uint32_t(total));
  PutLong(d, uint32_t(headerLength));
  PutLong(d, w);
  PutLong(d, h);
  d += comment;
  OutFile out;
  if (!out.Create(path)) return false;
  out.Write(d);
  if (image.HasColors()) {
    const std::vector<uint16_t> s = MonoSamples(image);
    WriteLines(out, s.data(), uint64_t(w) * 2, h, path);
  } else {
    WriteLines(out, image.ImagePtr(), uint64_t(w) * 2, h, path);
  }
  return out.Close();
}

namespace {
std::string Card(const std::string& key, const std::string& value) {
  char c[81];
  std::snprintf(c, sizeof c, "%-8.8s= %20.20s", key.c_str(), value.c_str());
  std::string s = c;
  s.resize(80, ' ');
  return s;
}
std::string TextCard(const std::string& text) {
  std::string s = text.substr(0, 80);
  s.resize(80, ' ');
  return s;
}
}  // namespace

bool SaveFTS(Form_Camera& image, const std::string& path) {
  if (!Writable(image)) return false;
  const uint64_t w = uint64_t(image.ImageWidth()), h = uint64_t(image.ImageHeight());
  const std::string& app = G().AppTitle;
  std::string d;
  d += Card("SIMPLE", "T");
  d += Card("BITPIX", "16");
  d += Card("NAXIS", "2");
  d += Card("NAXIS1", std::to_string(w));
  d += Card("NAXIS2", std::to_string(h));
  d += Card("ORIGIN", "'SV4200'");
  d += TextCard("COMMENT '" + app + "'");
  d += TextCard("COMMENT 'Written by the SV4200 image workbench'");
  d += TextCard("END");
  d.resize(2880, '\0');
  std::vector<uint16_t> s = MonoSamples(image);
  SV_swap_lo_hi_byte(s.size(), Samples16{s});
  OutFile out;
  if (!out.Create(path)) return false;
  out.Write(d);
  WriteLines(out, s.data(), w * 2, h, path);
  const std::string tail(1920, '\0');
  out.Write(tail);
  return out.Close();
}

bool SaveASC(Form_Camera& image, const std::string& path, int filter) {
  if (!Writable(image)) return false;
  const long w = image.ImageWidth(), h = image.ImageHeight();
  const std::vector<uint16_t> s = MonoSamples(image);
  OutFile out;
  if (!out.Create(path)) return false;
  Progress progress("Saving " + FileName(path));
  const bool was = G().LoadOK;
  G().LoadOK = true;
  std::string text;
  for (long y = 0; y < h && out.ok(); ++y) {
    text.clear();
    for (long x = 0; x < w; ++x) {
      const std::string z = std::to_string(SV_short_of(s.data(), size_t(y) * size_t(w) + size_t(x)));
      if (filter == 12)
        text += std::to_string(x) + "\t" + std::to_string(y) + "\t" + z + "\r\n";
      else
        text += z + (x + 1 < w ? "\t" : "\r\n");
    }
    out.Write(text);
    progress.Step(uint64_t(y + 1), uint64_t(h));
  }
  G().LoadOK = was;
  return out.Close();
}

// --- Filters and commands -------------------------------------------------------

std::string ImageFilterText(int filter) {
  return filter >= 1 && filter <= kImageFilterCount ? kFilters[filter - 1].text : "(unknown)";
}

std::string ImageFilterExtension(int filter) {
  return filter >= 1 && filter <= kImageFilterCount ? kFilters[filter - 1].ext : "";
}

int ImageFilterForPath(const std::string& path) {
  const size_t dot = path.find_last_of('.');
  const size_t slash = path.find_last_of('/');
  if (dot == std::string::npos || (slash != std::string::npos && dot < slash)) return 0;
  const std::string ext = Lower(path.substr(dot));
  for (int i = 1; i <= kImageFilterCount; ++i)
    if (ext == kFilters[i - 1].ext) return i;
  return 0;
}

std::string ImageOpenDialogFilter() {
  std::string f = "Picture Files (.tif;.bmp;.jpg;.img;.t16;.b16)|*.tif;*.bmp;*.jpg;*.img;*.t16;*.b16";
  for (const char* ext : {".tif", ".bmp", ".jpg", ".img", ".t16", ".b16"})
    f += std::string("|") + ext + "|*" + ext;
  return f;
}

std::string ImageSaveDialogFilter() {
  std::string f;
  for (int i = 1; i <= kImageFilterCount; ++i) {
    if (i > 1) f += "|";
    f += std::string(kFilters[i - 1].text) + " (*" + kFilters[i - 1].ext + ")|*" +
         kFilters[i - 1].ext;
  }
  return f;
}

bool ImageOpenDo(Form_Camera& image, const std::string& path) {
  image.ImageClose();
  const int type = GetImageFileType(path);
  ShowStatus("Loading " + FileName(path));
  G().LoadOK = false;
  switch (type) {
    case 1: LoadTIF(image, path); break;
    case 2: LoadBMP(image, path); break;
    case 4: LoadIMG(image, path); break;
    case 7: LoadB16(image, path); break;
    case 3: LoadJPG(image, path); break;
    default: break;
  }
  image.ClearUndo();
  image.SetChanged(false);
  image.Filename = path;
  if (MDIForm_Main* m = MainForm()) m->UpdateLastFiles(path);
  ShowStatus("");
  if (!G().LoadOK) {
    image.ImageClose();
    return false;
  }
  // The filter a plain Save writes it back with.
  const bool wide = image.ImageBitsPerPixel() > 8;
  switch (type) {
    case 1: image.FileFilter = wide ? 6 : 1; break;
    case 2: image.FileFilter = 2; break;
    case 3: image.FileFilter = 3; break;
    case 4: image.FileFilter = wide ? 8 : 4; break;
    case 7: image.FileFilter = 7; break;
    default: break;
  }
  return true;
}

bool ImageSaveDo(Form_Camera& image, const std::string& path, int filter) {
  if (!image.ImagePtr()) return false;
  ShowStatus("Saving " + FileName(path));
  bool ok = false;
  switch (filter) {
    case 1:
    case 6: ok = SaveTIF(image, path, filter); break;
    case 2: ok = SaveBMP(image, path); break;
    case 3: ok = SaveJPG(image, path); break;
    case 4:
    case 8: ok = SaveIMG(image, path, filter); break;
    case 5:
    case 9: ok = SaveRAW(image, path, filter); break;
    case 7: ok = SaveB16(image, path); break;
    case 10: ok = SaveFTS(image, path); break;
    case 11:
    case 12: ok = SaveASC(image, path, filter); break;
    default: return false;
  }
  ShowStatus("");
  if (!ok) {
    Message("Error writing " + path, "Save Image");
    return false;
  }
  image.Filename = path;
  image.FileFilter = filter;
  image.SetChanged(false);
  if (MDIForm_Main* m = MainForm()) m->UpdateLastFiles(path);
  return true;
}

bool FileSave(Form_Camera& image) {
  if (!image.HasFilename() || image.FileFilter < 1 || image.FileFilter > kImageFilterCount)
    return FileSaveAs(image);
  return ImageSaveDo(image, image.Filename, image.FileFilter);
}

bool FileSaveAs(Form_Camera& image) {
  if (!image.ImagePtr() || !HasHost()) return false;
  Globals& g = G();
  FileDialog dlg;
  dlg.title = "Save Image";
  dlg.filter = ImageSaveDialogFilter();
  dlg.filterIndex = std::clamp(g.ImagesFilterIndex, 1, kImageFilterCount);
  dlg.folder = g.ImagesDialogPath.empty() ? g.ImagesPath : g.ImagesDialogPath;
  dlg.fileName = image.HasFilename() ? FileName(image.Filename) : image.Title();
  const FileDialogResult r = host().SaveFileDialog(dlg);
  if (r.path.empty()) return false;
  const int filter = std::clamp(r.filterIndex, 1, kImageFilterCount);
  g.ImagesFilterIndex = filter;
  std::string path = r.path;
  if (ImageFilterForPath(path) == 0) path += ImageFilterExtension(filter);
  const size_t slash = path.find_last_of('/');
  if (slash != std::string::npos) g.ImagesDialogPath = path.substr(0, slash + 1);
  return ImageSaveDo(image, path, filter);
}

bool FileOpen(MDIForm_Main& main) {
  if (!HasHost()) return false;
  Globals& g = G();
  FileDialog dlg;
  dlg.title = "Open Image";
  dlg.filter = ImageOpenDialogFilter();
  dlg.filterIndex = 1;
  dlg.folder = g.ImagesDialogPath.empty() ? g.ImagesPath : g.ImagesDialogPath;
  const FileDialogResult r = host().OpenFileDialog(dlg);
  if (r.path.empty()) return false;
  const size_t slash = r.path.find_last_of('/');
  if (slash != std::string::npos) g.ImagesDialogPath = r.path.substr(0, slash + 1);
  auto* image = dynamic_cast<Form_Camera*>(main.CreateImage());
  if (!image) return false;
  if (!ImageOpenDo(*image, r.path)) {
    // The JPEG reader has told it already.
    if (GetImageFileType(r.path) != 3) Message("Error loading" + r.path, "Open Image");
    main.CloseChild(image->Handle());
    return false;
  }
  main.ShowChild(image->Handle());
  return true;
}

bool ReadImageFileInfo(const std::string& path, ImageFileInfo& info) {
  info = ImageFileInfo{};
  info.type = GetImageFileType(path);
  if (info.type == 0) return false;
  Form_Camera image(nullptr);
  bool ok = false;
  switch (info.type) {
    case 1: ok = LoadTIF(image, path); break;
    case 2: ok = LoadBMP(image, path); break;
    case 3: ok = LoadJPG(image, path); break;
    case 4: ok = LoadIMG(image, path); break;
    case 7: ok = LoadB16(image, path); break;
    default: break;
  }
  if (!ok) return false;
  info.width = image.ImageWidth();
  info.height = image.ImageHeight();
  info.bits = image.ImageBitsPerPixel();
  info.colour = image.HasColors();
  info.comment = image.ImgDescription;
  info.xPelsPerMeter = image.ImageXPelsPerMeter();
  info.yPelsPerMeter = image.ImageYPelsPerMeter();
  return true;
}

void RegisterImageFiles(MDIForm_Main& main) {
  MDIForm_Main* m = &main;
  main.SetCommand("mnuOpenImage", [m](int) { FileOpen(*m); });
  main.ImageOpenDo = [](ChildDocument& doc, const std::string& path) {
    auto* image = dynamic_cast<Form_Camera*>(&doc);
    return image && ImageOpenDo(*image, path);
  };
}

}  // namespace sv
