#include "cli/batch_image_math.h"

#include <cstdlib>
#include <map>

#include "core/error_table.h"
#include "core/mdi_main.h"
#include "image/filter_library.h"
#include "image/form_camera.h"
#include "image/form_filter.h"
#include "image/form_image_math.h"
#include "image/image_files.h"

namespace sv::cli {

namespace {

// The kernel operation of an --operation word.
const std::map<std::string, int>& Operations() {
  static const std::map<std::string, int> ops{
      {"fade", kMathFade},         {"add", kMathAdd},           {"subtract", kMathSubtract},
      {"multiply", kMathMultiply}, {"divide", kMathDivide},     {"difference", kMathDifference},
      {"lightest", kMathLightest}, {"darkest", kMathDarkest},   {"and", kMathAnd},
      {"or", kMathOr},             {"xor", kMathXor},           {"compare", kMathCompare}};
  return ops;
}

// An option's value; 2 (with the message) when it stands last without one.
int Option(ImageOpContext& ctx, const std::string& name, std::string& value, bool& present) {
  bool missing = false;
  present = TakeOption(ctx, name, value, missing);
  if (missing) return BadImageOpArgs(ctx, name + " needs a value");
  return 0;
}

int Operation(ImageOpContext& ctx, int lowest, int highest, int& op) {
  std::string word;
  bool present = false;
  if (int rc = Option(ctx, "--operation", word, present)) return rc;
  if (!present) return BadImageOpArgs(ctx, "--operation is needed");
  auto it = Operations().find(word);
  if (it == Operations().end() || it->second < lowest || it->second > highest)
    return BadImageOpArgs(ctx, "unknown operation " + word);
  op = it->second;
  return 0;
}

// The result of a dialog's OK: refused (false) with its message already on
// the error stream, else done.
int Refused(ImageOpContext& ctx, const std::string& why) {
  if (!why.empty()) ctx.err << "svbatch: " << why << "\n";
  return 1;
}

}  // namespace

int ImageOpFilter(ImageOpContext& ctx) {
  std::string library, name, index;
  bool haveLibrary = false, haveName = false, haveIndex = false;
  if (int rc = Option(ctx, "--library", library, haveLibrary)) return rc;
  if (int rc = Option(ctx, "--name", name, haveName)) return rc;
  if (int rc = Option(ctx, "--index", index, haveIndex)) return rc;
  if (haveName && haveIndex) return BadImageOpArgs(ctx, "--name and --index exclude each other");
  long n = 1;
  if (haveIndex && (!ParseWhole(index, n) || n < 1))
    return BadImageOpArgs(ctx, "--index needs a filter number from 1");
  if (int rc = RejectLeftovers(ctx)) return rc;

  std::vector<FilterRecord> filters;
  const int code = haveLibrary ? ReadFilterLibraryFile(library, filters) : ReadFilterLibrary(filters);
  if (code < 0 && haveLibrary) return Refused(ctx, "cannot read " + library);
  if (code > 0) return Refused(ctx, std::string(Form_Filter::kTitle) + ": " + ErrorText(code));

  const FilterRecord* chosen = nullptr;
  if (haveName) {
    for (const FilterRecord& f : filters)
      if (FilterName(f) == name) {
        chosen = &f;
        break;
      }
    if (!chosen) return Refused(ctx, "no filter named " + name);
  } else {
    if (size_t(n) > filters.size())
      return Refused(ctx, "no filter " + std::to_string(n) + " in a library of " +
                              std::to_string(filters.size()));
    chosen = &filters[size_t(n - 1)];
  }
  const int applied = FilterImage(ctx.image, *chosen);
  if (applied != 0)
    return Refused(ctx, std::string(Form_Filter::kTitle) + ": " +
                            (applied == kErrInvalidParameter ? "Division factor cannot be 0"
                                                             : ErrorText(applied)));
  return 0;
}

int ImageOpMath1(ImageOpContext& ctx) {
  int op = 0;
  if (int rc = Operation(ctx, kMathAdd, kMathCompare, op)) return rc;
  std::string constant, rgb;
  bool haveConstant = false, haveRgb = false;
  if (int rc = Option(ctx, "--constant", constant, haveConstant)) return rc;
  if (int rc = Option(ctx, "--rgb", rgb, haveRgb)) return rc;
  const bool clip = TakeFlag(ctx, "--clip");
  if (haveConstant == haveRgb) return BadImageOpArgs(ctx, "math1 takes --constant or --rgb");
  if (int rc = RejectLeftovers(ctx)) return rc;

  Form_ImageMath1 form;
  form.Main = &ctx.main;
  form.Open({&ctx.image}, &ctx.image);
  form.Option_Operation = op - kMathAdd;
  form.Check_Clip = clip;
  if (haveRgb) {
    std::vector<std::string> parts;
    size_t at = 0;
    for (size_t comma; (comma = rgb.find(',', at)) != std::string::npos; at = comma + 1)
      parts.push_back(rgb.substr(at, comma - at));
    parts.push_back(rgb.substr(at));
    if (parts.size() != 3) return BadImageOpArgs(ctx, "--rgb needs R,G,B");
    if (!ctx.image.HasColors()) return BadImageOpArgs(ctx, "--rgb needs a colour image");
    form.Text_Red = parts[0];
    form.Text_Green = parts[1];
    form.Text_Blue = parts[2];
  } else {
    form.Text_Constant = form.Text_Red = form.Text_Green = form.Text_Blue = constant;
  }
  if (!form.Command_OK() || !form.Result) return Refused(ctx, "");
  return 0;
}

int ImageOpMath2(ImageOpContext& ctx) {
  std::string with, divisor = "1", bias = "0", fade = "50";
  bool haveWith = false, present = false;
  if (int rc = Option(ctx, "--with", with, haveWith)) return rc;
  if (!haveWith) return BadImageOpArgs(ctx, "math2 needs --with IMAGE");
  int op = 0;
  if (int rc = Operation(ctx, kMathFade, kMathXor, op)) return rc;
  if (int rc = Option(ctx, "--divisor", divisor, present)) return rc;
  if (int rc = Option(ctx, "--bias", bias, present)) return rc;
  if (int rc = Option(ctx, "--fade", fade, present)) return rc;
  long percent = 0;
  if (!ParseWhole(fade, percent) || percent < 0 || percent > 100)
    return BadImageOpArgs(ctx, "--fade needs a percentage from 0 to 100");
  const bool clip = TakeFlag(ctx, "--clip");
  if (int rc = RejectLeftovers(ctx)) return rc;

  Form_Camera* second = NewImage(ctx.main);
  if (!second) return Refused(ctx, "cannot make an image");
  if (!ImageOpenDo(*second, with) || !second->ImagePtr()) {
    ctx.main.CloseChild(second->Handle());
    return Refused(ctx, "cannot read " + with);
  }
  ctx.main.ShowChild(ctx.image.Handle());

  Form_ImageMath2 form;
  form.Main = &ctx.main;
  form.Open({&ctx.image, second}, &ctx.image);
  form.Option_Operation = op;
  form.Text_Divisor = divisor;
  form.Text_Bias = bias;
  form.HScroll_Fade = int(percent);
  form.HScroll_Fade_Change();
  form.Check_Clip = clip;
  const bool done = form.Command_OK() && form.Result;
  ctx.main.CloseChild(second->Handle());
  ctx.main.ShowChild(ctx.image.Handle());
  return done ? 0 : Refused(ctx, "");
}

}  // namespace sv::cli
