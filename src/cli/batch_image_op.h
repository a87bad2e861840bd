// svbatch image-op IN OUT --op NAME [args] [--undo]: one image operation on
// one image file, as the workbench's menus and dialogs run it.
//
// Every operation is a handler in the table of batch_image_op.cpp
// (ImageOpTable). A handler reads its own arguments, runs the operation on
// the loaded image and tells what it made; the command does the rest: it
// prints "Undo: " + the undo name the operation registered, undoes before
// writing when --undo was given, writes OUT (or the one new image the
// operation made) and prints the titles of new images.
#pragma once

#include <ostream>
#include <string>
#include <vector>

namespace sv {
class Form_Camera;
class MDIForm_Main;
}  // namespace sv

namespace sv::cli {

struct ImageOpContext {
  MDIForm_Main& main;                 // new images are made through it (NewImage)
  Form_Camera& image;                 // IN, loaded, the active image
  std::vector<std::string> args;      // the arguments after --op NAME, --undo taken out
  std::string output;                 // OUT
  std::ostream& out;                  // what the operation reports
  std::ostream& err;                  // why it refused, why the line is bad
  // Images the operation made. With exactly one and `written` false, that
  // image is written to OUT instead of IN's.
  std::vector<Form_Camera*> newImages;
  // The handler wrote its own output (split, convert): the command writes
  // nothing more.
  bool written = false;
};

// Returns 0 when done, 1 when refused (the reason on ctx.err, nothing to be
// written), 2 for a bad argument (use BadImageOpArgs).
using ImageOpHandler = int (*)(ImageOpContext&);

struct ImageOpEntry {
  const char* name;        // the word after --op
  ImageOpHandler handler;
  const char* usage;       // its arguments for the usage text, "" when none
};

// Every operation image-op knows, in the order of the usage text.
const std::vector<ImageOpEntry>& ImageOpTable();
// The image menu's operations (batch_image_op_menu.cpp), at the table's end.
const std::vector<ImageOpEntry>& MenuImageOps();

// Helpers for the handlers. "svbatch: WHY" on err, returns 2.
int BadImageOpArgs(ImageOpContext& ctx, const std::string& why);
// The value after `option` in ctx.args, taken out of them; false when the
// option is not there. `missing` is set when the option stands last without
// a value.
bool TakeOption(ImageOpContext& ctx, const std::string& option, std::string& value,
                bool& missing);
// A flag in ctx.args, taken out of them.
bool TakeFlag(ImageOpContext& ctx, const std::string& flag);
// The arguments left over after a handler took its own: a bad command line
// when there are any (returns 2 with the message), else 0.
int RejectLeftovers(ImageOpContext& ctx);

int ImageOpCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);
std::string ImageOpUsage();

}  // namespace sv::cli
