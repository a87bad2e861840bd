// The worksheet commands of svbatch.
#pragma once

#include <ostream>
#include <string>
#include <vector>

namespace sv::cli {

// svbatch sheet-info FILE: rows, columns (name, role tag, label) and plots
// (title, axis ranges, curves as X/Y column numbers).
int SheetInfo(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);
// svbatch sheet-export FILE OUT.dat [--all]
int SheetExport(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);
// svbatch sheet-import IN OUT.sht [--delimiter C|tab|space] [--header-lines N]
//   [--fixed WIDTH] [--as replace|columns|rows]
int SheetImport(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);
// svbatch sheet-convert IN.MOS OUT.sht
int SheetConvert(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);
// The lines these commands add to the usage text.
std::string SheetUsage();

}  // namespace sv::cli
