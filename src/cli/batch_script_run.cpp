#include "cli/batch_script_run.h"

#include <filesystem>

#include "acquisition/grabber.h"
#include "acquisition/grabber_environment.h"
#include "acquisition/live.h"
#include "analysis/form_particle.h"
#include "cli/batch_args.h"
#include "cli/batch_host.h"
#include "cli/batch_script.h"
#include "cli/batch_session.h"
#include "core/first_start.h"
#include "core/globals.h"
#include "core/mdi_main.h"
#include "core/settings.h"
#include "image/form_camera.h"
#include "image/image_files.h"
#include "script/form_script.h"
#include "script/script_compiler.h"
#include "script/script_runtime.h"
#include "worksheet/form_worksheet.h"
#include "worksheet/worksheet_documents.h"

namespace sv::cli {

namespace {

std::string Upper(std::string s) {
  for (char& c : s)
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  return s;
}

std::string BaseName(const std::string& path) {
  const size_t slash = path.find_last_of("/\\");
  return slash == std::string::npos ? path : path.substr(slash + 1);
}

// Closing a document with changes asks whether to save it: a script in
// svbatch never writes over its inputs, so the answer is No. Every other
// message goes as svbatch's messages go.
class ScriptBatchHost : public BatchHost {
 public:
  using BatchHost::BatchHost;
  MsgResult MsgBox(const std::string& text, MsgButtons buttons, MsgIcon icon,
                   const std::string& title) override {
    const MsgResult r = BatchHost::MsgBox(text, buttons, icon, title);
    if (buttons == MsgButtons::YesNoCancel &&
        (text.rfind("Save changes to ", 0) == 0 || text.rfind("Save Changes to Worksheet ", 0) == 0))
      return MsgResult::No;
    return r;
  }
};

}  // namespace

std::string ScriptRunUsage() {
  return "  script FILE.scr [INPUT ...] [--out DIR] [--filter N]\n"
         "              opens each INPUT (the last one in front), runs the script on\n"
         "              them and writes every image and sheet left open into DIR\n"
         "              (images in the filter they were read with, 6 for a new one,\n"
         "              or N); FILE.scr:N: message on an error; status 0 when the\n"
         "              run ends, 1 after an error, 130 after Ctrl-C\n";
}

std::string UniqueOutputName(const std::string& name, std::vector<std::string>& taken) {
  const size_t dot = name.find_last_of('.');
  const std::string stem = dot == std::string::npos || dot == 0 ? name : name.substr(0, dot);
  const std::string ext = dot == std::string::npos || dot == 0 ? "" : name.substr(dot);
  std::string candidate = name;
  for (int n = 2;; ++n) {
    bool clash = false;
    for (const std::string& t : taken)
      if (Upper(t) == Upper(candidate)) clash = true;
    if (!clash) break;
    candidate = stem + "-" + std::to_string(n) + ext;
  }
  taken.push_back(candidate);
  return candidate;
}

bool ScriptUsesCapture(const std::string& text) {
  size_t position = 0;
  while (position < text.size()) {
    std::string_view line = ScriptCompiler::GetCommandLine(text, position);
    size_t i = 0;
    while (i < line.size() && (line[i] == ' ' || line[i] == '\t')) ++i;
    size_t j = i;
    while (j < line.size() && line[j] != ' ' && line[j] != '\t' && line[j] != '(' && line[j] != '=')
      ++j;
    if (Upper(std::string(line.substr(i, j - i))) == "CAPTURE") return true;
  }
  return false;
}

int ScriptRunCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
  std::string file, outDir;
  std::vector<std::string> inputs;
  long filter = 0;
  for (size_t i = 1; i < args.size(); ++i) {
    const std::string& a = args[i];
    if (a == "--out" || a == "--filter") {
      if (i + 1 >= args.size()) return BadArgs(err, a + " needs a value");
      if (a == "--out") {
        outDir = args[++i];
      } else if (!ParseWhole(args[++i], filter) || filter < 1 || filter > kImageFilterCount) {
        return BadArgs(err, "--filter takes a number from 1 to " +
                                std::to_string(kImageFilterCount) + ", not " + args[i]);
      }
    } else if (a.rfind("--", 0) == 0) {
      return BadArgs(err, "unknown option " + a);
    } else if (file.empty()) {
      file = a;
    } else {
      inputs.push_back(a);
    }
  }
  if (file.empty()) return BadArgs(err, "script needs a FILE.scr");

  ScriptBatchHost batchHost(err);
  HostScope scope(&batchHost);
  ReadBatchSettings(batchHost);
  Globals& g = G();
  ChooseSimulatedDevices(StartKind::Batch, false, false);

  GrabberMainWindow window;
  MDIForm_Main& main = window.main;
  struct Unbind {
    ~Unbind() { ParticleForm().Bind(nullptr); }
  } unbind;
  RegisterWorksheetDocuments(main);

  Form_Script form;
  form.Load();
  int result = 0;
  form.OpenScript(file, result);
  if (!result || std::filesystem::is_directory(file)) {
    host().MsgBox("Error loading " + file, MsgButtons::OK, MsgIcon::Exclamation, "Open Script");
    return 1;
  }
  for (const std::string& input : inputs) {
    if (!main.OpenDocument(input)) {
      err << "svbatch: " << input << " could not be opened\n";
      return 1;
    }
  }
  // The configured grabber comes up only for a script that captures.
  if (ScriptUsesCapture(form.Text_Script)) {
    if (!StartGrabber(g.GrabberName))
      err << "svbatch: the grabber " << GrabberDisplayNameOf(g.GrabberName)
          << " did not come up\n";
  }

  ScriptRunTime run(form);
  run.Main = &main;
  InstallStopHandler();
  ClearStopRequest();
  TerminateScope terminate;
  run.Interrupted = [] { return StopRequested(); };
  run.RunScript(result);

  if (run.CompileFailed) {
    out << ScriptLocator(file, form.Compiler.ErrorLine, form.Compiler.ErrorMessage) << "\n";
    return 1;
  }
  int status = 0;
  if (run.WasInterrupted()) {
    status = 130;
  } else if (!result) {
    out << ScriptLocator(file, run.ErrorLine + 1, run.ErrorMessage) << "\n";
    status = 1;
  }
  ClearStopRequest();

  if (outDir.empty()) return status;
  std::error_code ec;
  std::filesystem::create_directories(outDir, ec);
  if (!std::filesystem::is_directory(outDir, ec)) {
    err << "svbatch: cannot make the folder " << outDir << "\n";
    return status ? status : 1;
  }
  std::vector<std::string> taken;
  bool written = true;
  for (long h : std::vector<long>(main.ImageList)) {
    if (h == g.BackgroundImageHandle && h != 0) continue;
    auto* image = dynamic_cast<Form_Camera*>(main.Child(h));
    if (!image || !image->ImagePtr()) continue;
    const int f = filter ? static_cast<int>(filter) : (image->FileFilter ? image->FileFilter : 6);
    std::string name = image->HasFilename() ? BaseName(image->Filename) : image->Title();
    if (!image->HasFilename() || filter) {
      // The filter's extension in place of any the name had.
      const size_t dot = name.find_last_of('.');
      if (image->HasFilename() && dot != std::string::npos && dot > 0) name.erase(dot);
      name += ImageFilterExtension(f);
    }
    name = UniqueOutputName(name, taken);
    const std::string path = (std::filesystem::path(outDir) / name).string();
    if (!ImageSaveDo(*image, path, f)) {
      err << "svbatch: " << path << " could not be written\n";
      written = false;
    } else {
      out << path << "\n";
    }
  }
  for (long h : std::vector<long>(main.SheetList)) {
    auto* sheet = dynamic_cast<Form_Worksheet*>(main.Child(h));
    if (!sheet) continue;
    std::string name = BaseName(sheet->Filename());
    if (name.empty()) name = sheet->Caption();
    name = UniqueOutputName(name, taken);
    const std::string path = (std::filesystem::path(outDir) / name).string();
    if (sheet->SaveWorksheet(path, true) != 0) {
      err << "svbatch: " << path << " could not be written\n";
      written = false;
    } else {
      out << path << "\n";
    }
  }
  if (!written && status == 0) status = 1;
  return status;
}

}  // namespace sv::cli
