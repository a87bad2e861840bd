// What the main window knows of a child window: its kind, its state and the
// named operations it offers.
#pragma once

#include <string>

namespace sv {

enum class DocKind { None, Image, Worksheet, Plot };

class ChildDocument {
 public:
  virtual ~ChildDocument() = default;
  virtual DocKind Kind() const = 0;
  long Handle() const { return handle_; }
  void SetHandle(long h) { handle_ = h; }

  // Runs the named operation ("FileClose", "Undo", "EditCopy", ...); false
  // when this class does not offer it, in which case nothing happens.
  virtual bool Invoke(const std::string& operation) = 0;
  virtual bool Offers(const std::string& operation) const = 0;
  // The same for an entry of a menu array: `index` is the entry's element
  // (-1 for a single entry). Documents whose operations do not look at it
  // run Invoke.
  virtual bool InvokeAt(const std::string& operation, int /*index*/) { return Invoke(operation); }

  virtual std::string Caption() const = 0;
  virtual bool Changed() const { return false; }
  virtual bool Locked() const { return false; }
  virtual long mode() const { return 0; }
  virtual bool Visible() const { return true; }
  virtual void SetVisible(bool) {}
  // The window title without the changed mark ("Image3", "Data2.sht").
  virtual void SetTitle(const std::string&) {}
  // The name of the operation that can be undone, "" when none.
  virtual std::string UndoName() const { return ""; }
  // Asked before the window closes; false keeps it open.
  virtual bool QueryUnload() { return true; }
  // The key of the toolbar button that shows this document's active tool
  // ("Zoom"), "" when none is held down.
  virtual std::string PressedToolKey() const { return ""; }

 private:
  long handle_ = 0;
};

}  // namespace sv
