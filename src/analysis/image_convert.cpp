#include "analysis/image_convert.h"

#include <string>
#include <vector>

#include "core/host.h"
#include "core/mdi_main.h"
#include "image/form_camera.h"
#include "image/kernel/convert.h"
#include "worksheet/form_worksheet.h"

namespace sv {

namespace {

constexpr const char* kTitle = "Convert to Worksheet";
// Columns a sheet file can count (a 16-bit number), the index column included.
constexpr long kMaxColumns = 32767;
// Cells a sheet holds at most.
constexpr long long kMaxCells = 65520LL * 1024;

}  // namespace

Form_Worksheet* ConvertImageToWorksheet(Form_Camera& image, MDIForm_Main& main) {
  const uint16_t* p = image.ImagePtr();
  const long w = image.ImageWidth(), h = image.ImageHeight();
  if (!p || w <= 0 || h <= 0) return nullptr;
  if (w + 1 > kMaxColumns || h + 1 > kMaxSheetRows ||
      static_cast<long long>(w + 1) * (h + 1) > kMaxCells) {
    if (HasHost())
      host().MsgBox("The image is too large for a worksheet: at most " +
                        std::to_string(kMaxColumns - 1) + " columns and " +
                        std::to_string(kMaxSheetRows - 1) + " lines.",
                    MsgButtons::OK, MsgIcon::Exclamation, kTitle);
    return nullptr;
  }
  auto* sheet = dynamic_cast<Form_Worksheet*>(main.CreateWorksheet());
  if (!sheet) return nullptr;
  sheet->Redraw(false);
  sheet->IsMatrix(true);
  sheet->Cols(w + 1);
  sheet->Rows(h + 1);
  for (long c = 1; c <= w; ++c) sheet->ColName(c, std::to_string(c));
  const bool colour = image.HasColors();
  for (long y = 0; y < h; ++y) {
    const uint16_t* line = p + size_t(y) * size_t(w) * (colour ? 3 : 1);
    for (long x = 0; x < w; ++x) {
      const float v = colour ? float(GreyOf(line[3 * x], line[3 * x + 1], line[3 * x + 2]))
                             : float(line[x]);
      sheet->TextMatrix(y + 1, x + 1, Cell(v));
    }
  }
  sheet->Redraw(true);
  main.ShowChild(sheet->Handle());
  return sheet;
}

void RegisterImageConvert() {
  ImageOperationTable()["Convert"] = {nullptr, [](Form_Camera& image, int) {
                                        if (MDIForm_Main* m = MainForm())
                                          ConvertImageToWorksheet(image, *m);
                                      }};
}

}  // namespace sv
