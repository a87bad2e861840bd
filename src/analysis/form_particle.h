// Particle analysis of a binarized image: the closed contours of its bright
// regions, each held as a Class_Particle, filtered by area, stepped through
// one by one and written to a worksheet. The dialog's window binds to this
// presenter; scripts and svbatch call the same operations.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "analysis/particle.h"

namespace sv {

class DrawSurface;
class Form_Camera;
class Form_Worksheet;
class MDIForm_Main;

class Form_Particle {
 public:
  static constexpr const char* kTitle = "Particle Analysis";
  // The colour of the contours in the image's overlay (0x00BBGGRR).
  static constexpr int32_t kOverlayColour = 0x0000FF00;

  // What the dialog's window is told.
  class View {
   public:
    virtual ~View() = default;
    // The controls or the current particle changed: redraw the pictures.
    virtual void Changed(const Form_Particle&) {}
    // A line for the result window, when it is open.
    virtual void ResultLine(const std::string&) {}
  };

  Form_Particle() = default;
  Form_Particle(const Form_Particle&) = delete;
  Form_Particle& operator=(const Form_Particle&) = delete;
  void SetView(View* view) { view_ = view; }

  // The image worked on; the caption follows it: name, " - ", width, " x ",
  // height, " Pixel". Binding another image drops the particles.
  void Bind(Form_Camera* image);
  // The bound image while it is still open, else nullptr.
  Form_Camera* Image() const;
  std::string Caption;

  // --- Operations ---
  std::vector<Class_Particle> Particles;
  long Count() const { return long(Particles.size()); }
  // Empties the list; the image no longer has particles.
  void DeleteParticles();
  // Traces the bright regions of the image (samples at or above half its
  // grey levels) and makes it the bound image. False, with "Can't analyze
  // Particles", when the image has no pixels to read.
  bool DetectParticles(Form_Camera& image);
  // Keeps the particles whose Area is at least `minArea`, in their order.
  // Returns the line for the result window (told to the view as well):
  //   ParticleMinArea(<min>): <kept> Particles (<removed> Particles removed).
  // followed by a line break.
  std::string ParticleMinArea(double minArea, long* removed = nullptr);
  // A new sheet of the main window (MainForm() when nullptr) with one row a
  // particle: "#", "Area [Pixel²]", "Xc [Pixel]", "Yc [Pixel]",
  // "Perim. [Pixel]", "FormFactor". Area, centre and perimeter are texts in
  // the format "0.0". nullptr without a main window that makes sheets.
  Form_Worksheet* Worksheet(MDIForm_Main* main = nullptr);
  // Every contour on the image's overlay (cleared first), in kOverlayColour.
  void ParticleDraw();
  // The scale grid of the result picture (width x height device units) for
  // the current particle.
  void PlotGrid(DrawSurface& device, double width, double height) const;

  // --- The dialog ---
  std::string Text_Particle = "1";  // the current particle, from 1
  std::string Text_MinSize = "0";
  std::string Label_Info;
  long CurrentParticle() const { return current_; }
  const Class_Particle* Current() const;

  void Command_Detect();
  // Shows the particle of Text_Particle: "Area = " area " Pixel² (" point
  // count " Pixel)" in Label_Info. Out of range: "Invalid Particle Number";
  // false.
  bool Command_Analyze();
  void Command_Next();
  void Command_Back();
  // Counts the other particles whose points all lie inside the current one;
  // Label_Info: count + " Particles are inside of Particle #" + number.
  long Command_Inside();
  // Removes the particles smaller than Text_MinSize; Label_Info: the count
  // removed + " partciles removed.".
  long Command_Remove();
  // Writes the current contour, one "x<TAB>y" line a point, to "qqq.txt" in
  // the data root. False, with a message, when it cannot be written.
  bool Command_Save();
  static std::string SavePath();

  // The pictures. The cut-out: the current particle's box in image pixels
  // (inclusive); false without a current particle.
  bool CutOut(long& left, long& top, long& right, long& bottom) const;
  // The result picture: the grid and the current contour, scaled so that
  // the box with one pixel around it fills the picture.
  void DrawResult(DrawSurface& device, double width, double height) const;

  // How many traces DetectParticles gave up as endless (none, unless the
  // image changed under it).
  long BrokenTraces = 0;

 private:
  void Notify();
  bool ParseParticle(long& n) const;
  // Scale and offsets of the result picture for the current particle.
  bool ResultFrame(double width, double height, double& scale, double& dx, double& dy,
                   long box[4]) const;

  View* view_ = nullptr;
  Form_Camera* image_ = nullptr;
  long imageHandle_ = 0;
  long current_ = 0;  // 1-based, 0 for none
  std::vector<uint8_t> matrix_;
};

// The one particle analysis of the process, as scripts and the dialog use it.
Form_Particle& ParticleForm();

}  // namespace sv
