// Text in the program is UTF-8; text stored in its binary files (labels,
// names, titles) is Windows-1252. These convert at the file boundary. Every
// byte has its character (the five holes of the code page keep their own
// value, as Windows maps them), so a file read and written again is the
// same to the byte.
#pragma once

#include <string>
#include <string_view>

namespace sv {

std::string Utf8FromWindows1252(std::string_view bytes);
// Characters the code page lacks, and broken UTF-8, become "?".
std::string Windows1252FromUtf8(std::string_view text);

}  // namespace sv
