// The formats of a plain header and the samples: B16, ITEX, raw, FITS and the
// ASCII matrices.
#include "image/image_files.h"

#include <cstdio>

#include "image/image_files_io.h"
#include "image/kernel/sv_kernel.h"

namespace sv {

using namespace image_io;

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

}  // namespace sv
