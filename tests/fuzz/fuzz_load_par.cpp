// Any bytes as a ".par" window file: reading must give eight windows that
// keep the reading rules, and what is written must read back the same.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "analysis/scan_windows.h"
#include "core/globals.h"
#include "core/ini_profile.h"

namespace {

void Check(bool ok, const char* what) {
  if (!ok) {
    std::fprintf(stderr, "fuzz_load_par: %s\n", what);
    std::abort();
  }
}

bool SameRecord(const sv::ScanWindow& a, const sv::ScanWindow& b) {
  return a.X1 == b.X1 && a.Y1 == b.Y1 && a.W == b.W && a.H == b.H && a.Shape == b.Shape &&
         a.DynamicSize == b.DynamicSize && a.RGBColor == b.RGBColor &&
         a.Averaging == b.Averaging && a.Mode == b.Mode && a.Threshold == b.Threshold &&
         a.Select == b.Select && a.Plot == b.Plot && a.Locked == b.Locked && a.W0 == b.W0 &&
         a.H0 == b.H0 && a.Sum.N == b.Sum.N && a.Sum.X == b.Sum.X && a.Sum.EX == b.Sum.EX &&
         a.Sum.Y == b.Sum.Y && a.Sum.EY == b.Sum.EY && a.Sum.E == b.Sum.E &&
         a.Sum.E2 == b.Sum.E2 && a.Sum.Energy1 == b.Sum.Energy1 &&
         a.Sum.Energy2 == b.Sum.Energy2;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  // The first byte switches the extended shapes.
  sv::G().ExtendedShapes = data[0] & 1;
  const std::string text(reinterpret_cast<const char*>(data) + 1, size - 1);
  sv::ResetWindowGlobals();
  sv::WindowsRead(sv::Profile::Parse(text));

  const sv::WindowGlobals& g = sv::WG();
  Check(g.CurrentWindow >= -1 && g.CurrentWindow < sv::kWindowCount, "selected window");
  for (const sv::ScanWindow& w : g.ScanWindows) {
    Check(w.DynamicSize == 0 || w.DynamicSize == 1, "DynamicSize");
    Check(w.Select == 0 || w.Select == 1, "Select");
    Check(w.Locked == 0 || w.Locked == 1, "Locked");
    Check(w.Plot >= 0 && w.Plot <= 5, "Plot");
    Check(w.Shape >= 0 && w.Shape <= 3 && (sv::G().ExtendedShapes || w.Shape == 0), "Shape");
    Check(w.Sum.N > 0 || (w.Sum.X == 0 && w.Sum.E2 == 0 && w.Sum.Energy2 == 0), "sums");
    Check(w.BufferBytes == 0 && w.Buffer.empty(), "buffer");
    // What a scan and a step do with such a record stays in bounds.
    sv::ScanWindow copy = w;
    long x = 0, y = 0;
    (void)sv::SumPosition(copy.Sum, 100, x, y);
    (void)sv::WindowIsInvalid(copy, 640, 480);
    copy.CenterX = copy.X1;
    copy.CenterY = copy.Y1;
    (void)sv::WindowPrepareStep(copy, {true, 150, 100, 1}, 640, 480);
    sv::AnalysisResult r;
    (void)sv::WindowReportText(copy, r, {});
  }

  // Written and read again, every record comes back as it was.
  const sv::WindowGlobals first = g;
  sv::Profile out;
  sv::WindowsWrite(out);
  sv::ResetWindowGlobals();
  sv::WindowsRead(sv::Profile::Parse(out.Text()));
  Check(sv::WG().CurrentWindow == first.CurrentWindow, "selected window lost");
  for (size_t n = 0; n < first.ScanWindows.size(); ++n)
    Check(SameRecord(first.ScanWindows[n], sv::WG().ScanWindows[n]), "record lost");
  return 0;
}
