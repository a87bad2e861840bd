// A small append-only text log that stops at its size limit.
#pragma once

#include <cstdint>
#include <string>

namespace sv {

class Class_ErrorLog {
 public:
  // Clears the file at once; the log is on only when that worked.
  explicit Class_ErrorLog(std::string filename = DefaultFilename());
  ~Class_ErrorLog();
  Class_ErrorLog(const Class_ErrorLog&) = delete;
  Class_ErrorLog& operator=(const Class_ErrorLog&) = delete;

  // Program folder, "/", program name, ".log".
  static std::string DefaultFilename();

  bool AddItem(const std::string& text);
  bool Clear();
  void IncSpace();
  void DecSpace();
  // Opens the log in a text viewer.
  void Show();

  const std::string& Filename() const { return filename_; }
  int32_t MaxSize() const { return MaxSize_; }
  void SetMaxSize(int32_t v) { MaxSize_ = v; }
  int32_t size() const { return Size_; }
  bool enabled() const { return Enabled_; }
  void setEnabled(bool v) { Enabled_ = v; }
  int16_t Indent() const { return Indent_; }

 private:
  bool Enabled_ = false;
  int16_t Indent_ = 0;
  int32_t Size_ = 0;
  int32_t MaxSize_ = 4096;
  std::string filename_;
};

}  // namespace sv
