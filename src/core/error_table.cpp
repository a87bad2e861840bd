#include "core/error_table.h"

#include <cstring>
#include <map>

namespace sv {

namespace {

const std::map<int, const char*>& Table() {
  static const std::map<int, const char*> table = {
      // The general run-time codes.
      {3, "Return without GoSub"},
      {5, "Invalid procedure call or argument"},
      {6, "Overflow"},
      {7, "Out of memory"},
      {9, "Subscript out of range"},
      {10, "This array is fixed or temporarily locked"},
      {11, "Division by zero"},
      {13, "Type mismatch"},
      {14, "Out of string space"},
      {16, "Expression too complex"},
      {17, "Can't perform requested operation"},
      {18, "User interrupt occurred"},
      {20, "Resume without error"},
      {28, "Out of stack space"},
      {35, "Sub or Function not defined"},
      {47, "Too many DLL application clients"},
      {48, "Error in loading DLL"},
      {49, "Bad DLL calling convention"},
      {51, "Internal error"},
      {52, "Bad file name or number"},
      {53, "File not found"},
      {54, "Bad file mode"},
      {55, "File already open"},
      {57, "Device I/O error"},
      {58, "File already exists"},
      {59, "Bad record length"},
      {61, "Disk full"},
      {62, "Input past end of file"},
      {63, "Bad record number"},
      {67, "Too many files"},
      {68, "Device unavailable"},
      {70, "Permission denied"},
      {71, "Disk not ready"},
      {74, "Can't rename with different drive"},
      {75, "Path/File access error"},
      {76, "Path not found"},
      {91, "Object variable or With block variable not set"},
      {92, "For loop not initialized"},
      {93, "Invalid pattern string"},
      {94, "Invalid use of Null"},
      {321, "Invalid file format"},
      {322, "Can't create necessary temporary file"},
      {325, "Invalid format in resource file"},
      {380, "Invalid property value"},
      {381, "Invalid property array index"},
      {382, "Set not supported at runtime"},
      {383, "Set not supported (read-only property)"},
      {385, "Need property array index"},
      {387, "Set not permitted"},
      {393, "Get not supported at runtime"},
      {394, "Get not supported (write-only property)"},
      {422, "Property not found"},
      {423, "Property or method not found"},
      {424, "Object required"},
      {429, "ActiveX component can't create object"},
      {430, "Class doesn't support Automation"},
      {432, "File name or class name not found during Automation operation"},
      {438, "Object doesn't support this property or method"},
      {440, "Automation error"},
      {445, "Object doesn't support this action"},
      {446, "Object doesn't support named arguments"},
      {447, "Object doesn't support current locale setting"},
      {448, "Named argument not found"},
      {449, "Argument not optional"},
      {450, "Wrong number of arguments or invalid property assignment"},
      {451, "Object not a collection"},
      {452, "Invalid ordinal"},
      {453, "Specified DLL function not found"},
      {454, "Code resource not found"},
      {455, "Code resource lock error"},
      {457, "This key is already associated with an element of this collection"},
      {460, "Invalid clipboard format"},
      {481, "Invalid picture"},
      {482, "Printer error"},
      {735, "Can't save file to TEMP"},
      {744, "Search text not found"},
      {746, "Replacements too long"},
      // The program's own codes. 10005, 10009 to 10011, 11001, 11003, 11004 and
      // 11007 have no text: a reader of such a file sees the code and the
      // general text, nothing more.
      {kErrUnknownTag, "Unknown Tag"},
      {kErrCompression, "Compression not supported"},
      {kErrUserAbort, "User Abort"},
      {kErrNoMemory, "Cannot allocate memory"},
      {kErrEndOfClip, "End of video clip"},
      {kErrExperimentCanceled, "Experiment canceled by user"},
      {kErrNotAvailable, "Function not available"},
      {kErrEmptyVideo, "Empty video file (No frames)"},
      {kErrUnknownFormat, "Unknown fileformat"},
      {kErrImageFull, "Experiment stopped: Image full"},
      {kErrMaxRows, "Max. number of Sheet rows reached"},
      {kErrRdyTimeOut, "RDY TimeOut"},
      {kErrColumnNotDefined, "Column not defined"},
      {kErrBadColumnData, "Bad column data"},
      {kErrInvalidParameter, "Invalid parameter"},
  };
  return table;
}

// The platform's own text: the C library's description of an errno value it
// knows, else the general text for a code nobody defined.
std::string SystemText(int code) {
  if (const char* d = strerrordesc_np(code)) return d;
  return "Application-defined or object-defined error";
}

}  // namespace

std::string ErrorText(int code) {
  auto it = Table().find(code);
  if (it != Table().end()) return it->second;
  return std::to_string(code) + " (Code #" + SystemText(code) + ")";
}

}  // namespace sv
