#include "image/filter_library.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>
#include <memory>
#include <new>

#include "core/error_table.h"
#include "core/host.h"
#include "image/form_camera.h"
#include "image/kernel/sv_kernel.h"

namespace sv {

namespace {

constexpr char kMagic[] = "JASC_FILT\r\n0150\r\n";  // the 17 bytes before the count
constexpr size_t kMagicBytes = 17;
static_assert(sizeof(kMagic) - 1 == kMagicBytes);

// Larger libraries than this are not read: 65535 records need 15 MB.
constexpr size_t kMaxFileBytes = kFilterHeaderBytes + kMaxFilters * kFilterRecordBytes;

void Put32(uint8_t* p, int32_t v) {
  const uint32_t u = static_cast<uint32_t>(v);
  p[0] = uint8_t(u);
  p[1] = uint8_t(u >> 8);
  p[2] = uint8_t(u >> 16);
  p[3] = uint8_t(u >> 24);
}

int32_t Get32(const uint8_t* p) {
  return static_cast<int32_t>(uint32_t(p[0]) | uint32_t(p[1]) << 8 | uint32_t(p[2]) << 16 |
                              uint32_t(p[3]) << 24);
}

void EncodeRecord(const FilterRecord& f, uint8_t* p) {
  std::memcpy(p, f.Name, kFilterNameLength);
  Put32(p + 24, f.Reserved);
  Put32(p + 28, f.Factor);
  Put32(p + 32, f.Bias);
  for (int i = 0; i < 49; ++i) Put32(p + 36 + 4 * i, f.Coefficients[i]);
}

FilterRecord DecodeRecord(const uint8_t* p) {
  FilterRecord f{};
  std::memcpy(f.Name, p, kFilterNameLength);
  f.Reserved = Get32(p + 24);
  f.Factor = Get32(p + 28);
  f.Bias = Get32(p + 32);
  for (int i = 0; i < 49; ++i) f.Coefficients[i] = Get32(p + 36 + 4 * i);
  return f;
}

bool FileExists(const std::string& path) { return ::access(path.c_str(), F_OK) == 0; }

std::string Folder(const std::string& folder) { return folder + "/" + kFilterLibraryFile; }

// A work buffer of n samples, not cleared (the filter writes every one);
// empty when the memory is not there.
std::unique_ptr<uint16_t[]> WorkBuffer(size_t n) {
  try {
    return std::unique_ptr<uint16_t[]>(new uint16_t[n]);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

}  // namespace

std::string FilterName(const FilterRecord& filter) {
  std::string name(filter.Name, kFilterNameLength);
  const size_t nul = name.find('\0');
  if (nul != std::string::npos) name.erase(nul);
  while (!name.empty() && name.back() == ' ') name.pop_back();
  return name;
}

void SetFilterName(FilterRecord& filter, const std::string& name) {
  std::memset(filter.Name, ' ', kFilterNameLength);
  std::memcpy(filter.Name, name.data(), std::min(name.size(), kFilterNameLength));
}

FilterRecord SampleBlur() {
  FilterRecord f{};
  SetFilterName(f, "Sample Blur");
  f.Factor = 9;
  f.Bias = 0;
  for (int r = 2; r <= 4; ++r)
    for (int c = 2; c <= 4; ++c) f.Coefficients[r * 7 + c] = 1;
  return f;
}

FilterRecord EmptyFilter() {
  FilterRecord f{};
  SetFilterName(f, "Untitled");
  f.Factor = 1;
  return f;
}

std::vector<uint8_t> EncodeFilterLibrary(const std::vector<FilterRecord>& filters) {
  const size_t count = std::min(filters.size(), kMaxFilters);
  std::vector<uint8_t> bytes(kFilterHeaderBytes + count * kFilterRecordBytes);
  std::memcpy(bytes.data(), kMagic, kMagicBytes);
  bytes[17] = uint8_t(count);
  bytes[18] = uint8_t(count >> 8);
  for (size_t i = 0; i < count; ++i)
    EncodeRecord(filters[i], bytes.data() + kFilterHeaderBytes + i * kFilterRecordBytes);
  return bytes;
}

int DecodeFilterLibrary(const uint8_t* bytes, size_t size, std::vector<FilterRecord>& filters) {
  if (!bytes || size < kFilterHeaderBytes || std::memcmp(bytes, kMagic, kMagicBytes) != 0)
    return kErrUnknownFormat;
  const size_t count = size_t(bytes[17]) | size_t(bytes[18]) << 8;
  if (size < kFilterHeaderBytes + count * kFilterRecordBytes) return kErrUnknownFormat;
  std::vector<FilterRecord> read;
  read.reserve(count);
  for (size_t i = 0; i < count; ++i)
    read.push_back(DecodeRecord(bytes + kFilterHeaderBytes + i * kFilterRecordBytes));
  filters = std::move(read);
  return 0;
}

std::string FilterLibraryPath() {
  const std::string program = host().ProgramFolder();
  if (!program.empty() && ::access(program.c_str(), W_OK) == 0) return Folder(program);
  return Folder(host().ConfigFolder());
}

int ReadFilterLibraryFile(const std::string& path, std::vector<FilterRecord>& filters) {
  std::ifstream in(path, std::ios::binary);
  if (!in) return -1;
  std::vector<uint8_t> bytes;
  char chunk[65536];
  while (in && bytes.size() <= kMaxFileBytes) {
    in.read(chunk, sizeof chunk);
    bytes.insert(bytes.end(), chunk, chunk + in.gcount());
  }
  return DecodeFilterLibrary(bytes.data(), bytes.size(), filters);
}

int ReadFilterLibrary(std::vector<FilterRecord>& filters, std::string* readFrom) {
  const std::string first = FilterLibraryPath();
  std::vector<std::string> places{first};
  for (const std::string& other :
       {Folder(host().ProgramFolder()), Folder(host().ConfigFolder())})
    if (other != first) places.push_back(other);
  for (const std::string& path : places) {
    if (!FileExists(path)) continue;
    if (readFrom) *readFrom = path;
    return ReadFilterLibraryFile(path, filters);
  }
  if (readFrom) readFrom->clear();
  filters = {SampleBlur()};
  return -1;
}

bool WriteFilterLibrary(const std::string& path, const std::vector<FilterRecord>& filters) {
  if (filters.size() > kMaxFilters) return false;
  const std::vector<uint8_t> bytes = EncodeFilterLibrary(filters);
  const std::string folder = path.substr(0, path.find_last_of('/') + 1);
  if (!folder.empty()) {
    // A folder that does not exist yet (the user's configuration) is made.
    for (size_t at = 1; (at = folder.find('/', at)) != std::string::npos; ++at)
      ::mkdir(folder.substr(0, at).c_str(), 0755);
  }
  const std::string temp = path + ".new";
  FILE* f = std::fopen(temp.c_str(), "wb");
  if (!f) return false;
  const bool written = std::fwrite(bytes.data(), 1, bytes.size(), f) == bytes.size();
  if (std::fclose(f) != 0 || !written) {
    std::remove(temp.c_str());
    return false;
  }
  if (std::rename(temp.c_str(), path.c_str()) != 0) {
    std::remove(temp.c_str());
    return false;
  }
  return true;
}

int ApplyFilter(Form_Camera& image, const FilterRecord& filter) {
  if (!image.ImagePtr() || filter.Factor == 0) return kErrInvalidParameter;
  const FrameSize size{image.ImageWidth(), image.ImageHeight()};
  const int channels = image.HasColors() ? 3 : 1;
  const size_t samples = size.Samples(channels);
  if (samples == 0) return kErrInvalidParameter;
  std::unique_ptr<uint16_t[]> work = WorkBuffer(samples);
  if (!work) return kErrNoMemory;
  const int bits = int(image.ImageBitsPerPixel());
  ConstSamples16 source(image.ImagePtr(), samples);
  Samples16 dest(work.get(), samples);
  bool done = false;
  switch (FilterKernelSize(filter)) {
    case 7:
      done = channels == 3 ? SV_RGB_filter_7x7(size, source, dest, filter, bits)
                           : SV_filter_7x7(size, source, dest, filter, bits);
      break;
    case 5:
      done = channels == 3 ? SV_RGB_filter_5x5(size, source, dest, filter, bits)
                           : SV_filter_5x5(size, source, dest, filter, bits);
      break;
    default:
      done = channels == 3 ? SV_RGB_filter_3x3(size, source, dest, filter, bits)
                           : SV_filter_3x3(size, source, dest, filter, bits);
      break;
  }
  if (!done) return kErrInvalidParameter;
  SV_memcpy(image.ImagePtr(), work.get(), samples * sizeof(uint16_t));
  image.Update8BitImage();
  image.SetChanged(true);
  return 0;
}

int FilterImage(Form_Camera& image, const FilterRecord& filter) {
  image.RegisterUndo("Filter");
  return ApplyFilter(image, filter);
}

}  // namespace sv
