// The image menu's operations for svbatch image-op.
#include <filesystem>

#include "analysis/image_convert.h"
#include "cli/batch_args.h"
#include "cli/batch_image_op.h"
#include "core/mdi_main.h"
#include "image/form_binarize.h"
#include "image/form_camera.h"
#include "image/form_resize.h"
#include "image/image_files.h"
#include "image/image_operations.h"
#include "worksheet/form_worksheet.h"

namespace sv::cli {

namespace {

// 1 with the reason, for an operation that did not run.
int Refused(ImageOpContext& ctx, const std::string& why) {
  ctx.err << "svbatch: " << why << "\n";
  return 1;
}

// A whole-number option that must be there and within [lo, hi]; 0 when read,
// else the exit code of the bad command line.
int WholeOption(ImageOpContext& ctx, const std::string& option, long lo, long hi, long& value,
                bool required = true) {
  std::string text;
  bool missing = false;
  if (!TakeOption(ctx, option, text, missing)) {
    if (missing) return BadImageOpArgs(ctx, option + " needs a value");
    if (required) return BadImageOpArgs(ctx, "this operation needs " + option);
    return 0;
  }
  if (!ParseWhole(text, value) || value < lo || value > hi)
    return BadImageOpArgs(ctx, option + " takes a whole number from " + std::to_string(lo) +
                                   " to " + std::to_string(hi));
  return 0;
}

// The image kind an operation needs, told on refusal.
int NeedsGrey(ImageOpContext& ctx, const char* op) {
  return Refused(ctx, std::string(op) + " works on grey images only");
}
int NeedsColour(ImageOpContext& ctx, const char* op) {
  return Refused(ctx, std::string(op) + " works on colour images only");
}

// The common end: an operation that said no has shown why (10004) or
// applies to the other kind of image.
int Ran(ImageOpContext& ctx, bool done, const char* op) {
  if (done) return 0;
  return Refused(ctx, std::string(op) + " was not done");
}

int Morphology(ImageOpContext& ctx, bool (*fn)(Form_Camera&, int), const char* op) {
  long connectivity = 4;
  if (int rc = WholeOption(ctx, "--connectivity", 4, 8, connectivity, false)) return rc;
  if (connectivity != 4 && connectivity != 8)
    return BadImageOpArgs(ctx, "--connectivity takes 4 or 8");
  if (int rc = RejectLeftovers(ctx)) return rc;
  if (ctx.image.HasColors()) return NeedsGrey(ctx, op);
  return Ran(ctx, fn(ctx.image, int(connectivity)), op);
}

// An operation without arguments.
template <bool (*Fn)(Form_Camera&)>
int Plain(ImageOpContext& ctx, const char* op) {
  if (int rc = RejectLeftovers(ctx)) return rc;
  return Ran(ctx, Fn(ctx.image), op);
}

int BinarizeOp(ImageOpContext& ctx) {
  long threshold = 0;
  if (int rc = WholeOption(ctx, "--threshold", 0, 65535, threshold)) return rc;
  const bool newImage = TakeFlag(ctx, "--new");
  if (int rc = RejectLeftovers(ctx)) return rc;
  if (ctx.image.HasColors()) return NeedsGrey(ctx, "binarize");
  if (threshold > ctx.image.ImageDynamik() - 1)
    return Refused(ctx, "the threshold lies beyond the image's range 0 to " +
                            std::to_string(ctx.image.ImageDynamik() - 1));
  Form_Camera* result = BinarizeDo(ctx.image, threshold, newImage, &ctx.main);
  if (!result) return Refused(ctx, "binarize was not done");
  if (result != &ctx.image) ctx.newImages.push_back(result);
  return 0;
}

int DilatationOp(ImageOpContext& ctx) { return Morphology(ctx, Dilatation, "dilatation"); }
int ErosionOp(ImageOpContext& ctx) { return Morphology(ctx, Erosion, "erosion"); }
int OpenOp(ImageOpContext& ctx) { return Morphology(ctx, MorphOpen, "open"); }
int CloseOp(ImageOpContext& ctx) { return Morphology(ctx, MorphClose, "close"); }

int EdgeOp(ImageOpContext& ctx) {
  if (ctx.image.HasColors()) return NeedsGrey(ctx, "edge");
  return Plain<Edge>(ctx, "edge");
}
int NegativeOp(ImageOpContext& ctx) { return Plain<Negative>(ctx, "negative"); }
int FlipOp(ImageOpContext& ctx) { return Plain<Flip>(ctx, "flip"); }
int MirrorOp(ImageOpContext& ctx) { return Plain<Mirror>(ctx, "mirror"); }

int RotateOp(ImageOpContext& ctx) {
  long degrees = 0;
  if (int rc = WholeOption(ctx, "--degrees", 90, 270, degrees)) return rc;
  if (degrees != 90 && degrees != 270) return BadImageOpArgs(ctx, "--degrees takes 90 or 270");
  if (int rc = RejectLeftovers(ctx)) return rc;
  return Ran(ctx, Rotate(ctx.image, int(degrees)), "rotate");
}

int FieldOp(ImageOpContext& ctx) {
  long number = 0;
  if (int rc = WholeOption(ctx, "--field", 1, 2, number)) return rc;
  if (int rc = RejectLeftovers(ctx)) return rc;
  if (ctx.image.ImageHeight() < 2) return Refused(ctx, "a one-line image has no fields");
  return Ran(ctx, field(ctx.image, int(number)), "field");
}

int DynamicOp(ImageOpContext& ctx) {
  long bits = 0;
  if (int rc = WholeOption(ctx, "--bits", 8, 16, bits)) return rc;
  if (int rc = RejectLeftovers(ctx)) return rc;
  return Ran(ctx, ChangeImageDynamikTo(ctx.image, int(bits)), "dynamic");
}

int ResizeOp(ImageOpContext& ctx) {
  long w = 0, h = 0;
  if (int rc = WholeOption(ctx, "--width", 1, Form_Resize::kMaxSide, w)) return rc;
  if (int rc = WholeOption(ctx, "--height", 1, Form_Resize::kMaxSide, h)) return rc;
  if (int rc = RejectLeftovers(ctx)) return rc;
  return Ran(ctx, ResizeImage(ctx.image, w, h), "resize");
}

int GreyScaleOp(ImageOpContext& ctx) {
  if (!ctx.image.HasColors()) return NeedsColour(ctx, "greyscale");
  return Plain<GreyScale>(ctx, "greyscale");
}

int TrueColorOp(ImageOpContext& ctx) {
  if (ctx.image.HasColors()) return NeedsGrey(ctx, "truecolor");
  return Plain<TrueColor>(ctx, "truecolor");
}

int SplitOp(ImageOpContext& ctx) {
  if (int rc = RejectLeftovers(ctx)) return rc;
  if (!ctx.image.HasColors()) return NeedsColour(ctx, "split");
  const std::vector<Form_Camera*> made = SplitToRGB(ctx.image, ctx.main);
  if (made.size() != 3) return Refused(ctx, "split was not done");
  const std::filesystem::path out(ctx.output);
  const char* suffix[] = {"_red", "_green", "_blue"};
  for (size_t i = 0; i < 3; ++i) {
    std::filesystem::path p = out.parent_path() / (out.stem().string() + suffix[i] +
                                                   out.extension().string());
    if (!ImageSaveDo(*made[i], p.string(), ImageFilterForPath(p.string())))
      return Refused(ctx, "cannot write " + p.string());
    ctx.out << "Written: " << p.string() << "\n";
  }
  ctx.newImages = made;
  ctx.written = true;
  return 0;
}

int ColorCountOp(ImageOpContext& ctx) {
  if (int rc = RejectLeftovers(ctx)) return rc;
  // The count is the message; the image goes to OUT as it is.
  return ColorCount(ctx.image) < 0 ? Refused(ctx, "the image has no pixels") : 0;
}

int ConvertOp(ImageOpContext& ctx) {
  if (int rc = RejectLeftovers(ctx)) return rc;
  const std::string ext = std::filesystem::path(ctx.output).extension().string();
  if (ext != ".sht" && ext != ".SHT") return BadImageOpArgs(ctx, "convert writes a .sht file");
  Form_Worksheet* sheet = ConvertImageToWorksheet(ctx.image, ctx.main);
  if (!sheet) return Refused(ctx, "convert was not done");
  if (sheet->SaveWorksheet(ctx.output, true) != 0) return Refused(ctx, "cannot write " + ctx.output);
  ctx.out << "New worksheet: " << sheet->Caption() << " (" << sheet->Cols() - 1 << " columns, "
          << sheet->Rows() - 1 << " rows)\n";
  ctx.written = true;
  return 0;
}

int DuplicateOp(ImageOpContext& ctx) {
  if (int rc = RejectLeftovers(ctx)) return rc;
  Form_Camera* copy = Duplicate(ctx.image, ctx.main);
  if (!copy) return Refused(ctx, "duplicate was not done");
  ctx.newImages.push_back(copy);
  return 0;
}

}  // namespace

const std::vector<ImageOpEntry>& MenuImageOps() {
  static const std::vector<ImageOpEntry> ops = {
      {"binarize", BinarizeOp, "--threshold N [--new]"},
      {"dilatation", DilatationOp, "[--connectivity 4|8]"},
      {"erosion", ErosionOp, "[--connectivity 4|8]"},
      {"open", OpenOp, "[--connectivity 4|8]"},
      {"close", CloseOp, "[--connectivity 4|8]"},
      {"edge", EdgeOp, ""},
      {"negative", NegativeOp, ""},
      {"flip", FlipOp, ""},
      {"mirror", MirrorOp, ""},
      {"rotate", RotateOp, "--degrees 90|270"},
      {"field", FieldOp, "--field 1|2"},
      {"dynamic", DynamicOp, "--bits N (8 to 16)"},
      {"resize", ResizeOp, "--width W --height H"},
      {"greyscale", GreyScaleOp, ""},
      {"truecolor", TrueColorOp, ""},
      {"split", SplitOp, "(OUT's stem + _red, _green, _blue)"},
      {"colorcount", ColorCountOp, ""},
      {"convert", ConvertOp, "(OUT a .sht: one row an image line)"},
      {"duplicate", DuplicateOp, "(OUT is the copy)"},
  };
  return ops;
}

}  // namespace sv::cli
