// Any bytes as a script, compiled and run on a headless main window with two
// images and a sheet, under a clock that leaps at every wait, so that Delay
// costs nothing. The run ends in design or break, with no message but the
// compiler's, the run time's or those of the operations it calls.
#include <cstdint>
#include <string>
#include <vector>

#include "fuzz_host.h"
#include "analysis/form_particle.h"
#include "core/globals.h"
#include "core/mdi_main.h"
#include "image/form_camera.h"
#include "image/image_operations.h"
#include "script/form_script.h"
#include "script/script_compiler.h"
#include "script/script_runtime.h"
#include "worksheet/form_worksheet.h"
#include "worksheet/worksheet_documents.h"

namespace {

using svfuzz::Check;
using svfuzz::EndsWith;
using svfuzz::StartsWith;

// The run time's own messages.
bool KnownRunMessage(const std::string& m) {
  if (m == "Invalid parameter" || m == "No video capture card installed") return true;
  for (const char* head : {"Image \"", "Worksheet \""})
    if (StartsWith(m, head) && EndsWith(m, "\" not found")) return true;
  for (const char* head : {"Error loading \"", "Can't resize image \"", "Can't binarize image \"",
                           "Can't negative image \"", "Can't detect particles in \"",
                           "Erosion failed in \"", "Dilatation failed in \"",
                           "Can't sort worksheet \""})
    if (StartsWith(m, head) && EndsWith(m, "\"")) return true;
  return false;
}

// The clock leaps a million milliseconds at each wait.
class RunHost : public svfuzz::FuzzHost {
 public:
  RunHost() : FuzzHost("sv_fuzz_script_run") {}
  void WaitForEvents(int) override { clock += 1u << 20; }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static RunHost fuzzHost;
  sv::SetHost(&fuzzHost);
  fuzzHost.Clear();
  sv::ResetGlobals();
  // No image grows past a few megabytes.
  sv::WorkBufferLimit() = size_t(4) << 20;
  {
    sv::MDIForm_Main main;
    sv::SetMainForm(&main);
    sv::RegisterImageDocuments(main);
    sv::RegisterWorksheetDocuments(main);
    for (int n = 0; n < 2; ++n) {
      auto* image = dynamic_cast<sv::Form_Camera*>(main.CreateImage());
      std::vector<uint16_t> px(24 * 16);
      for (size_t i = 0; i < px.size(); ++i) px[i] = uint16_t((i * 37 + n * 11) % 256);
      image->CreateImage(24, 16, 8, px.data());
      main.ShowChild(image->Handle());
    }
    auto* sheet = dynamic_cast<sv::Form_Worksheet*>(main.CreateWorksheet());
    sheet->Cols(3);
    sheet->Rows(5);
    for (long r = 1; r < 5; ++r) sheet->TextMatrix(r, 1, sv::Cell(double(7 - r)));

    sv::Form_Script form;
    form.Load();
    sv::ScriptRunTime run(form);
    run.Main = &main;
    run.BaseFolder = fuzzHost.folder;
    form.SetEditorText(std::string(reinterpret_cast<const char*>(data), size));
    int result = -1;
    run.RunScript(result);
    // A Stop or a failed statement leaves a break: go on a few times.
    for (int k = 0; k < 3 && form.Loaded() && form.Caption.find(" [break]") != std::string::npos;
         ++k)
      run.RunScript(result);
    Check(result == 0 || result == 1, "the result is 0 or 1");
    Check(form.ProgramCounter >= -1 && form.ProgramCounter < form.LineCount,
          "the counter stands on a line");
    for (size_t i = 0; i < fuzzHost.messages.size(); ++i) {
      const std::string& m = fuzzHost.messages[i];
      if (fuzzHost.titles[i] != sv::kScriptTitle) continue;  // an operation's own
      if (StartsWith(m, "Compile error:\r\n\r\n")) continue;
      Check(StartsWith(m, "Run time error:\r\n\r\n"), "a run-time message's head");
      Check(KnownRunMessage(m.substr(19)), "a message of the run time");
    }
    sv::ParticleForm().Bind(nullptr);
    sv::SetMainForm(nullptr);
  }
  sv::SetHost(nullptr);
  return 0;
}
