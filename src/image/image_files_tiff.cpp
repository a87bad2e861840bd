// The TIFF reader and writer of the files written here: little-endian, one
// directory, uncompressed strips.
#include "image/image_files.h"

#include <cmath>
#include <cstdio>
#include <new>

#include "image/image_files_io.h"
#include "image/kernel/sv_kernel.h"

namespace sv {

using namespace image_io;

namespace {

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

void Entry(std::string& d, uint16_t tag, uint16_t type, uint32_t length, uint32_t value) {
  PutWord(d, tag);
  PutWord(d, type);
  PutLong(d, length);
  PutLong(d, value);
}

// What the walk of the first directory found.
struct TifLayout {
  uint64_t width = 0, height = 0, rowsPerStrip = 0, usedStrips = 0, channels = 1, lineBytes = 0;
  uint32_t bits = 0, photometric = 1;
  bool colour = false, wide = false;
  long xPels = 0, yPels = 0;
  std::string description;
  std::vector<uint64_t> strips;
  std::vector<uint16_t> colorMap;
};

enum class TifVerdict { Takes, Compressed, Refused };

// Walks the first directory and checks that it makes a picture this reader
// takes: little-endian, uncompressed, 8 or 9 to 16 bits, one or three
// samples, strips inside the file. With `tell` the entries go to the status
// line as they are met: their labels in debug mode, unknown tags always.
TifVerdict WalkTif(InFile& in, TifLayout& out, bool tell) {
  auto fail = [] { return TifVerdict::Refused; };
  uint8_t head[8];
  if (!in.ReadAt(0, head, 8) || head[0] != 'I' || head[1] != 'I' || Word(head + 2) != 42)
    return fail();
  const uint32_t dir = Long(head + 4);
  uint8_t countBytes[2];
  if (!in.ReadAt(dir, countBytes, 2)) return fail();
  const uint32_t entries = Word(countBytes);
  std::vector<uint8_t> table(size_t(entries) * 12);
  if (!in.ReadAt(uint64_t(dir) + 2, table.data(), table.size())) return fail();

  const bool debug = tell && G().DebugMode;
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
        if (scalar != 1) return TifVerdict::Compressed;
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
        if (tell && !label)
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

  out.width = width;
  out.height = height;
  out.rowsPerStrip = rowsPerStrip;
  out.usedStrips = usedStrips;
  out.channels = channels;
  out.lineBytes = lineBytes;
  out.bits = bits;
  out.photometric = photometric;
  out.colour = colour;
  out.wide = wide;
  out.xPels = xPels;
  out.yPels = yPels;
  out.description = std::move(description);
  out.strips = std::move(strips);
  out.colorMap = std::move(colorMap);
  return TifVerdict::Takes;
}

}  // namespace

bool TiffBuiltInTakes(const std::string& path) {
  InFile in;
  TifLayout layout;
  return in.Open(path) && WalkTif(in, layout, false) == TifVerdict::Takes;
}

bool LoadTIF(Form_Camera& image, const std::string& path) {
  G().LoadOK = true;
  auto fail = [] { return G().LoadOK = false; };
  InFile in;
  if (!in.Open(path)) return fail();
  TifLayout t;
  switch (WalkTif(in, t, true)) {
    case TifVerdict::Takes: break;
    case TifVerdict::Compressed:
      Message("Compressed files are not supported.", "Open Image");
      return fail();
    case TifVerdict::Refused: return fail();
  }
  const uint64_t width = t.width, height = t.height, rowsPerStrip = t.rowsPerStrip;
  const uint64_t usedStrips = t.usedStrips, channels = t.channels, lineBytes = t.lineBytes;
  const uint32_t bits = t.bits, photometric = t.photometric;
  const bool colour = t.colour, wide = t.wide;
  const std::vector<uint64_t>& strips = t.strips;
  const std::vector<uint16_t>& colorMap = t.colorMap;


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

  image.Header.bmiHeader.biXPelsPerMeter = int32_t(t.xPels);
  image.Header.bmiHeader.biYPelsPerMeter = int32_t(t.yPels);
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
  image.ImgDescription = t.description;
  Finish(image, wide ? long(bits) : 8);
  return G().LoadOK;
}

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

}  // namespace sv
