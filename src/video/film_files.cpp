#include "video/film_files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstring>

#include "core/globals.h"
#include "core/host.h"
#include "core/platform/platform.h"
#include "video/class_sv2vid.h"

namespace sv {

namespace {

// The whole of `count` bytes from `offset`, or false.
bool ReadAll(int fd, void* buffer, size_t count, off_t offset) {
  size_t done = 0;
  while (done < count) {
    const ssize_t n = ::pread(fd, static_cast<char*>(buffer) + done, count - done,
                              offset + off_t(done));
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return false;
    done += size_t(n);
  }
  return true;
}

std::string BaseName(const std::string& path) {
  const size_t slash = path.find_last_of('/');
  return slash == std::string::npos ? path : path.substr(slash + 1);
}

std::string Lower(std::string s) {
  for (char& c : s) c = char(std::tolower(static_cast<unsigned char>(c)));
  return s;
}

bool EndsWithNoCase(const std::string& s, const std::string& tail) {
  return s.size() >= tail.size() && Lower(s.substr(s.size() - tail.size())) == tail;
}

}  // namespace

int ReadVideoHeader(const std::string& filename, VideoHeader& header, uint32_t& sizeLow,
                    uint32_t& sizeHigh) {
  sizeLow = sizeHigh = 0;
  const int fd = ::open(filename.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return 0;
  struct stat st {};
  if (::fstat(fd, &st) != 0 || !S_ISREG(st.st_mode)) {
    ::close(fd);
    return 0;
  }
  sizeLow = uint32_t(uint64_t(st.st_size));
  sizeHigh = uint32_t(uint64_t(st.st_size) >> 32);
  char magic[kFilmMagicBytes];
  uint8_t bytes[kFilmHeaderBytes];
  int result = 1;
  if (ReadAll(fd, magic, sizeof magic, 0) && std::memcmp(magic, kFilmMagic, sizeof magic) == 0 &&
      ReadAll(fd, bytes, sizeof bytes, off_t(kFilmMagicBytes))) {
    header = DecodeVideoHeader(bytes);
    result = 2;
  }
  ::close(fd);
  return result;
}

int IsVideoFile(const std::string& filename) {
  struct stat st {};
  if (filename.empty() || ::stat(filename.c_str(), &st) != 0 || S_ISDIR(st.st_mode)) {
    if (HasHost())
      host().MsgBox("File \"" + filename + "\" not found", MsgButtons::OK, MsgIcon::Critical,
                    BaseName(filename));
    return 0;
  }
  const int fd = ::open(filename.c_str(), O_RDONLY | O_CLOEXEC);
  char magic[kFilmMagicBytes];
  const bool vid = fd >= 0 && ReadAll(fd, magic, sizeof magic, 0) &&
                   std::memcmp(magic, kFilmMagic, sizeof magic) == 0;
  if (fd >= 0) ::close(fd);
  return vid ? 1 : 2;
}

bool SameVideoFormat(const VideoFile& video, long width, long height, long bits, bool colors) {
  return video.Width() == width && video.Height() == height && video.BitsPerPixel() == bits &&
         video.HasColors() == colors;
}

bool SaveFilmDialog(const std::string& title, std::string& filename, int& filterIndex,
                    bool overwriteCheck) {
  if (!HasHost()) return false;
  FileDialog dlg;
  dlg.title = title.empty() ? "Save Film" : title;
  dlg.filter = kFilmSaveFilter;
  dlg.filterIndex = filterIndex == 2 ? 2 : 1;
  if (EndsWithNoCase(filename, ".avi")) dlg.filterIndex = 2;
  if (EndsWithNoCase(filename, ".vid")) dlg.filterIndex = 1;
  const size_t slash = filename.find_last_of('/');
  if (slash != std::string::npos) {
    dlg.folder = filename.substr(0, slash + 1);
    dlg.fileName = filename.substr(slash + 1);
  } else {
    dlg.folder = G().FilmsPath;
    dlg.fileName = filename;
  }
  if (dlg.fileName.empty()) dlg.fileName = "*.vid";
  const FileDialogResult r = host().SaveFileDialog(dlg);
  if (r.path.empty()) return false;
  const int index = r.filterIndex == 2 ? 2 : 1;
  const std::string ext = index == 2 ? ".avi" : ".vid";
  std::string path = r.path;
  // The chosen filter's extension replaces a film extension or is added.
  if (EndsWithNoCase(path, ".vid") || EndsWithNoCase(path, ".avi")) path.resize(path.size() - 4);
  path += ext;
  if (overwriteCheck && path != r.path && platform::FileExists(path) &&
      host().MsgBox(path + " already exists.\r\nDo you want to replace it?", MsgButtons::YesNo,
                    MsgIcon::Exclamation, dlg.title) != MsgResult::Yes)
    return false;
  filename = path;
  filterIndex = index;
  return true;
}

}  // namespace sv
