// Scripts: compiling a script of every statement, listing included, beside
// reading the same file and splitting it into lines; at most 15 times that.
// A script ten times longer compiles in at most twelve times the time.
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>
#include <vector>

#include "cli/batch_host.h"
#include "harness.h"
#include "script/form_script.h"

namespace {

std::string Temp(const std::string& name) {
  static const std::string folder = [] {
    std::error_code ec;
    return std::filesystem::is_directory("/dev/shm", ec) ? std::string("/dev/shm/")
                                                         : std::string("/tmp/");
  }();
  return folder + "sv_script_bench_" + name;
}

// Every statement of the language in turn, with names, assignments,
// comments and empty lines between.
std::string ScriptText(int lines) {
  static const char* statements[] = {
      "OpenImage(\"/data/images/sample.tif\")",
      "Edge(\"sample.tif\")",
      "ResizeImage(\"sample.tif\", 640, 480)",
      "BinarizeImage(\"\", 100, 255)",
      "NegativeImage(\"sample.tif\")",
      "ParticleErosion(\"\", 8)",
      "ParticleDilatation(\"\", 4)",
      "ParticleDetect(\"sample.tif\")",
      "ParticleMinArea(2.5)",
      "ParticleWorksheet",
      "WorksheetSort(\"\", 1, 0)",
      "CloseImage(\"sample.tif\")",
      "Delay(100)",
      "Capture",
      "CloseImages",
      "CloseWorksheets",
      "// the next image of the series",
      "",
      "Stop",
      "End",
      "Exit",
  };
  std::string text;
  int n = 0, names = 0;
  while (n < lines) {
    for (const char* s : statements) {
      if (n >= lines) break;
      text += s;
      text += "\r\n";
      ++n;
    }
    if (n + 2 > lines) continue;
    const std::string name = "v" + std::to_string(names++);
    text += "Dim " + name + "\r\n" + name + " = 42\r\n";
    n += 2;
  }
  return text;
}

const std::string& ScriptFile(int lines) {
  static std::string small, large;
  std::string& path = lines == 10000 ? small : large;
  if (path.empty()) {
    path = Temp(std::to_string(lines) + ".scr");
    std::ofstream(path, std::ios::binary) << ScriptText(lines);
  }
  return path;
}

sv::cli::BatchHost& BenchHost() {
  static sv::cli::BatchHost host(std::cerr);
  return host;
}

void ReadAndSplit(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  const std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  std::vector<std::string> lines;
  size_t start = 0;
  for (size_t i = 0; i <= text.size(); ++i) {
    if (i < text.size() && text[i] != '\r' && text[i] != '\n') continue;
    if (i < text.size() || start < text.size()) lines.emplace_back(text, start, i - start);
    if (i + 1 < text.size() && text[i] == '\r' && text[i + 1] == '\n') ++i;
    start = i + 1;
  }
  svbench::Use(lines.data());
}

void OpenAndCompile(const std::string& path) {
  sv::cli::HostScope scope(&BenchHost());
  static sv::Form_Script form;
  int result = 0;
  form.OpenScript(path, result);
  form.Compile(result);
  if (!result || form.LineCount == 0) std::abort();
  svbench::Use(&form.Picture_Script);
}

}  // namespace

SVBENCH_ROWS(ScriptRows) {
  const std::string split = "read + split lines (10,000-line script)";
  const size_t bytes = ScriptText(10000).size();
  svbench::Kernel(split, bytes, [] { ReadAndSplit(ScriptFile(10000)); });
  const std::string small = "open + Compile (10,000-line script)";
  svbench::Kernel(small, bytes, [] { OpenAndCompile(ScriptFile(10000)); });
  svbench::TargetAgainst(small, split, 15.0);
  const std::string large = "open + Compile (100,000-line script)";
  svbench::Kernel(large, bytes * 10, [] { OpenAndCompile(ScriptFile(100000)); });
  svbench::TargetAgainst(large, small, 12.0);
}
