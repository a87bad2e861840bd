// The image document: full-depth pixels, the 8-bit display copy and the
// look-up table between them, one level of undo, the zoom, the measuring
// polygon and the overlay list. The window that shows it binds through
// CameraView.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "core/document.h"
#include "image/bitmap_info.h"
#include "image/overlay.h"

namespace sv {

class Form_Camera;
class Form_LUT;
class MDIForm_Main;

// What the image window is told.
class CameraView {
 public:
  virtual ~CameraView() = default;
  // Show ImagePtr8 through the palette of Header, with the overlay, at the zoom
  // and offsets. Called by DrawCameraImage.
  virtual void Present(const Form_Camera&) {}
  virtual void CaptionChanged(const Form_Camera&) {}
  virtual void ScrollBarsChanged(const Form_Camera&) {}
  // Outer size of the picture area wanted after a zoom or fit.
  virtual void ResizeTo(const Form_Camera&, int /*clientWidth*/, int /*clientHeight*/) {}
  virtual bool Maximised() const { return false; }
  virtual void CommentChanged(const Form_Camera&) {}
  virtual void Close(const Form_Camera&) {}
};

struct LutCacheRecord {
  float min = -2.0f, max = -2.0f;
  long inverse = -2;
};

class Form_Camera : public ChildDocument {
 public:
  explicit Form_Camera(MDIForm_Main* main = nullptr);
  ~Form_Camera() override;

  // ChildDocument.
  DocKind Kind() const override { return DocKind::Image; }
  bool Invoke(const std::string& operation) override;
  bool InvokeAt(const std::string& operation, int index) override;
  bool Offers(const std::string& operation) const override;
  std::string Caption() const override;
  bool Changed() const override { return changed_; }
  bool Locked() const override { return Locked_; }
  long mode() const override { return mode_; }
  std::string UndoName() const override { return UndoBuffer.empty() ? "" : UndoName_; }
  bool Visible() const override { return visible_; }
  // Asks about unsaved changes: "Save changes to " + title + "?", titled
  // "Close", Yes / No / Cancel. No closes, Cancel keeps the image; Yes saves
  // first where saving is offered and keeps the image when it is not saved.
  bool QueryUnload() override;

  void SetView(CameraView* view) { view_ = view ? view : &nullView_; }
  CameraView& View() const { return *view_; }
  // A new document is hidden until the main window shows it.
  void SetVisible(bool v) override { visible_ = v; }
  void SetTitle(const std::string& title) override;  // "Image" + number, without the "*"
  const std::string& Title() const { return title_; }

  // Sizing. SizeImage(width, height) reallocates only when the size or the
  // colour mode changed since the last allocation.
  void SizeImage(long width, long height);
  void SizeImage();  // lays out the window only
  void CreateImage(long width, long height, long bits, const void* source);
  void ImageClose();
  bool DIB_Create();
  void DIB_ClearUp();
  long ImageWidth() const { return Header.bmiHeader.biWidth; }
  long ImageHeight() const { return Header.bmiHeader.biHeight; }
  void SetImageHeight(long h);  // can only shrink
  long ImageByteWidth() const { return ImageByteWidth_; }
  long ImageBytes() const { return ImageBytes_; }
  long ImageBitsPerPixel() const { return ImageBitsPerPixel_; }
  void SetImageBitsPerPixel(long bits);
  long ImageDynamik() const { return ImageDynamik_; }
  // raw through the intensity calibration for this image's grey levels.
  float CalIntensity(float raw) const;
  bool HasColors() const { return HasColors_; }
  void SetHasColors(bool colour);
  // Takes `pixels` as the image, of the new shape, without copying them; the
  // old pixels come back in `pixels`. `pixels` holds width x height samples,
  // three a pixel for colour. The display and grab buffers follow the shape;
  // the bit depth stays. False, with nothing changed, for a wrong count.
  bool AdoptImage(long width, long height, bool colour, std::vector<uint16_t>& pixels);
  uint16_t* ImagePtr() { return ImagePtr_.empty() ? nullptr : ImagePtr_.data(); }
  const uint16_t* ImagePtr() const { return ImagePtr_.empty() ? nullptr : ImagePtr_.data(); }
  // The display copy: the samples through the table, made when it is first
  // looked at after a change, so frames nobody sees cost nothing.
  uint8_t* ImagePtr8() {
    RefreshDisplay();
    return ImagePtr8_.empty() ? nullptr : ImagePtr8_.data();
  }
  const uint8_t* ImagePtr8() const {
    RefreshDisplay();
    return ImagePtr8_.empty() ? nullptr : ImagePtr8_.data();
  }
  bool DisplayStale() const { return displayStale_; }
  bool HasDisplayBuffer() const { return !ImagePtr8_.empty(); }
  // After AdoptImage changed the number of samples the grab buffer is made
  // again when first asked for.
  uint16_t* GrabPtr();
  long GetMaxWidth() const;
  long GetMaxHeight() const;

  // Display pipeline.
  void SetLUT(bool force = false);
  void Update8BitImage();
  void DrawCameraImage();
  void RealizeLUT();
  int LUTtype() const { return LUTtype_; }
  void SetLUTtype(int type);
  float LUTmin = 0.0f, LUTmax = 1.0f;
  bool LUTinverse = false;
  const uint8_t* LutTable() const { return LutTable_.data(); }
  LutCacheRecord LutCache;
  long LutBuilds() const { return lutBuilds_; }  // how often the table was built

  // Zoom. Index 0..14: 16 - index : 1; above 14: 1 : (index - 14); -1 keeps
  // the index and only recomputes positions.
  static float ZoomFactorForIndex(long index);
  void SetZoom(long index);
  void Updatescrollbars();
  long ZoomIndex = 15;
  float ZoomFactor() const { return ZoomFactor_; }
  long ZoomOffsetX() const { return ZoomOffsetX_; }
  long ZoomOffsetY() const { return ZoomOffsetY_; }
  void SetZoomOffsets(long x, long y);  // from the scroll bars; clamped
  // The picture's client area, set by the view when it changes.
  int ClientWidth = 384, ClientHeight = 288;
  // The largest client area a window may have (the main window's), for fits.
  int MaxClientWidth = 1024, MaxClientHeight = 768;
  bool HScrollVisible = false, VScrollVisible = false;
  long HScrollMax = 0, VScrollMax = 0;
  void OptimizeFormSize();
  // Screen point in the picture to image point; false when outside the image.
  bool ScreenToImage(int sx, int sy, long& ix, long& iy) const;

  // Undo.
  void RegisterUndo(const std::string& name);
  void Undo();
  void ClearUndo();

  // Changed mark.
  void SetChanged(bool changed);

  // Measuring polygon.
  long AddPoint(long x, long y);
  long SetPoint(long x, long y);
  long ClearPoints();
  long DeletePoint();
  long UnDeletePoint();
  void LoopPoint();
  void PlotPolygon();
  void PolygonInfo();
  long CurrPolygon() const { return CurrPolygon_; }
  void SetCurrPolygon(long n);
  long PointCount() const { return PointCount_; }
  struct Point { long x, y; };
  const std::vector<Point>& PointList() const { return PointList_; }
  double PolygonLength = 0.0;  // as last summed by PolygonInfo
  double PolygonAngle = 0.0;   // of the last leg, degrees

  // Mouse.
  void PointScan(int sx, int sy);  // value under the mouse into the status bar
  void set_mode(long m) { mode_ = m; }
  void SetLocked(bool l) { Locked_ = l; }

  // Overlay.
  Class_Overlay Overlay;
  void Overlay_Clear();
  void OVERLAY_TEXT(long x, long y, const std::string& text, long colour);

  // Fields.
  BitmapInfo Header;
  BitmapInfo UndoHeader;
  std::vector<uint16_t> UndoBuffer;
  std::string UndoName_;
  long UndoBitsPerPixel = 8;  // the depth at the time of RegisterUndo
  std::string Filename;
  bool HasFilename() const { return !Filename.empty(); }
  std::string ImgDescription;
  // The save filter of the file the image came from or went to (1 to 12), 0
  // for none: a plain Save writes it again.
  int FileFilter = 0;
  std::string StatusLine;
  bool GrabEnabled = false;
  bool HasParticle = false;
  long ImageXPelsPerMeter() const { return Header.bmiHeader.biXPelsPerMeter; }
  long ImageYPelsPerMeter() const { return Header.bmiHeader.biYPelsPerMeter; }

  // Fills the image with the test picture of "New Image": 16 bits, three
  // bands (a horizontal ramp over 0..65535, rings and spots, a vertical
  // ramp), unchanged.
  void MakeTestImage(long width = 640, long height = 480);

  // The LUT dialog bound to this image, told when the bit depth changes;
  // cleared by the dialog, and by the image when it goes first.
  Form_LUT* LutForm() const { return lutForm_; }
  void SetLutForm(Form_LUT* form) { lutForm_ = form; }

  // Operations this document runs through Invoke.
  void FileClose();
  void EditClear();
  void Lut();

 private:
  MDIForm_Main* Main() const;
  bool IsActive() const;
  void UndoControls(bool enabled, const std::string& name);
  void FitWindow(long width, long height);
  long BytesPerPixel() const { return HasColors_ ? 6 : 2; }

  MDIForm_Main* main_;
  Form_LUT* lutForm_ = nullptr;
  CameraView nullView_;
  CameraView* view_ = &nullView_;
  std::string title_;
  bool visible_ = false;
  bool changed_ = false;
  bool Locked_ = false;
  long mode_ = 0;
  bool HasColors_ = false;
  long ImageByteWidth_ = 0;
  long ImageBitsPerPixel_ = 8;
  bool bitsSet_ = false;  // false until the bit depth is set the first time
  long ImageDynamik_ = 256;
  long ImageBytes_ = 0;
  std::vector<uint16_t> ImagePtr_;
  // A cache of ImagePtr_ through LutTable_; stale until RefreshDisplay.
  mutable std::vector<uint8_t> ImagePtr8_;
  mutable bool displayStale_ = false;
  void RefreshDisplay() const;
  bool DisplayMatches() const;
  std::vector<uint16_t> GrabPtr_;
  // The shape the buffers were allocated for.
  long sizedWidth_ = 0, sizedHeight_ = 0;
  bool sizedColour_ = false;
  std::vector<uint8_t> LutTable_ = std::vector<uint8_t>(65536);
  long lutBuilds_ = 0;
  int LUTtype_ = 0;
  float ZoomFactor_ = 1.0f;
  long ZoomOffsetX_ = 0, ZoomOffsetY_ = 0;
  long PointCount_ = 0;
  long CurrPolygon_ = -1;
  std::vector<Point> PointList_;
};

// Told by SetLUT when the table was rebuilt on an image whose mode is 4: the
// line tool's profile window follows the LUT limits. Empty: nobody.
std::function<void(float lutMin, float lutMax)>& LineScanPlotRange();

// The operations of the image menu beyond the document's own, offered by
// every image for which `offered` (when set) says yes; `run` gets the menu
// array's index, -1 for a single entry.
struct ImageOperation {
  std::function<bool(const Form_Camera&)> offered;
  std::function<void(Form_Camera&, int index)> run;
};
std::map<std::string, ImageOperation>& ImageOperationTable();

// Makes a new image document through the main window.
Form_Camera* NewImage(MDIForm_Main& main);
// Wires the image documents into the main window: the factory and the image
// commands ("mnuNewImage", the zoom menus).
void RegisterImageDocuments(MDIForm_Main& main);

}  // namespace sv
