#include "cli/batch_image_op.h"

#include <algorithm>

#include "analysis/image_convert.h"
#include "cli/batch_host.h"
#include "cli/batch_image_math.h"
#include "cli/batch_session.h"
#include "core/globals.h"
#include "core/mdi_main.h"
#include "image/form_camera.h"
#include "image/image_files.h"
#include "worksheet/worksheet_documents.h"

namespace sv::cli {

namespace {

// Information goes to the output with the operation's report; warnings and
// errors to the error stream.
class ImageOpHost : public BatchHost {
 public:
  ImageOpHost(std::ostream& out, std::ostream& err) : BatchHost(err), out_(out) {}
  MsgResult MsgBox(const std::string& text, MsgButtons buttons, MsgIcon icon,
                   const std::string& title) override {
    if (icon != MsgIcon::Information) return BatchHost::MsgBox(text, buttons, icon, title);
    out_ << title << ": " << text << "\n";
    return DefaultAnswer(buttons);
  }

 private:
  std::ostream& out_;
};

int Bad(std::ostream& err, const std::string& why) {
  err << "svbatch: " << why << "\n";
  return 2;
}

}  // namespace

const std::vector<ImageOpEntry>& ImageOpTable() {
  static const std::vector<ImageOpEntry> table = [] {
    // The filter and arithmetic operations first, one row each.
    std::vector<ImageOpEntry> t = {
        {"filter", ImageOpFilter, kImageOpFilterUsage},
        {"math1", ImageOpMath1, kImageOpMath1Usage},
        {"math2", ImageOpMath2, kImageOpMath2Usage},
    };
    t.insert(t.end(), MenuImageOps().begin(), MenuImageOps().end());
    return t;
  }();
  return table;
}

int BadImageOpArgs(ImageOpContext& ctx, const std::string& why) { return Bad(ctx.err, why); }

bool TakeOption(ImageOpContext& ctx, const std::string& option, std::string& value,
                bool& missing) {
  auto& a = ctx.args;
  auto it = std::find(a.begin(), a.end(), option);
  if (it == a.end()) return false;
  if (it + 1 == a.end()) {
    missing = true;
    a.erase(it);
    return false;
  }
  value = *(it + 1);
  a.erase(it, it + 2);
  return true;
}

bool TakeFlag(ImageOpContext& ctx, const std::string& flag) {
  auto& a = ctx.args;
  auto it = std::find(a.begin(), a.end(), flag);
  if (it == a.end()) return false;
  a.erase(it);
  return true;
}

int RejectLeftovers(ImageOpContext& ctx) {
  if (ctx.args.empty()) return 0;
  return Bad(ctx.err, "unknown argument " + ctx.args.front() + " for this operation");
}

std::string ImageOpUsage() {
  std::string text =
      "  image-op IN OUT --op NAME [args] [--undo]\n"
      "              one image operation on IN, written to OUT (or the new image\n"
      "              it makes); prints \"Undo: \" and the undo name registered,\n"
      "              messages and new images' titles; --undo undoes before\n"
      "              writing. NAME and its arguments:\n";
  for (const auto& e : ImageOpTable()) {
    text += std::string("                ") + e.name;
    if (e.usage && *e.usage) text += std::string(" ") + e.usage;
    text += "\n";
  }
  return text;
}

int ImageOpCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
  std::vector<std::string> files, rest;
  std::string op;
  bool undo = false;
  for (size_t i = 1; i < args.size(); ++i) {
    const std::string& a = args[i];
    if (a == "--op") {
      if (i + 1 >= args.size()) return Bad(err, "--op needs a name");
      op = args[++i];
    } else if (a == "--undo") {
      undo = true;
    } else if (a.rfind("--", 0) == 0 || !op.empty() || files.size() == 2) {
      rest.push_back(a);
    } else {
      files.push_back(a);
    }
  }
  if (files.size() != 2) return Bad(err, "image-op takes IN and OUT");
  if (op.empty()) return Bad(err, "image-op needs --op NAME");
  const ImageOpEntry* entry = nullptr;
  for (const auto& e : ImageOpTable())
    if (op == e.name) entry = &e;
  if (!entry) return Bad(err, "unknown operation " + op);

  ImageOpHost batchHost(out, err);
  HostScope scope(&batchHost);
  BatchMainWindow window;
  MDIForm_Main& main = window.main;
  RegisterImageConvert();

  Form_Camera* image = nullptr;
  if (int rc = OpenBatchImage(main, files[0], err, image)) return rc;

  ImageOpContext ctx{main, *image, rest, files[1], out, err, {}, false};
  const int rc = entry->handler(ctx);
  if (rc != 0) return rc;
  const std::string undoName = image->UndoName();
  if (!undoName.empty()) out << "Undo: " << undoName << "\n";
  if (undo) image->Undo();
  for (Form_Camera* made : ctx.newImages) out << "New image: " << made->Title() << "\n";
  if (ctx.written) return 0;
  Form_Camera* target = ctx.newImages.size() == 1 ? ctx.newImages.front() : image;
  if (!ImageSaveDo(*target, ctx.output, ImageFilterForPath(ctx.output))) {
    err << "svbatch: cannot write " << ctx.output << "\n";
    return 1;
  }
  return 0;
}

}  // namespace sv::cli
