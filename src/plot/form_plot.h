// The plot document: one layer on a page with an X and a Y axis, a title, a
// legend and curves that each name two columns of the owning worksheet. The
// plot holds no numbers of its own. Drawing goes to a PlotView; without one
// the plot runs headless and draws nothing.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "image/kernel/draw_surface.h"
#include "plot/plot_dialogs.h"
#include "plot/plot_print.h"
#include "plot/plot_records.h"
#include "worksheet/sheet_plot.h"

namespace sv {

class Form_Plot;
class Form_Worksheet;
class MDIForm_Main;

// What the plot window is told and asked. The defaults have no picture, so
// the plot draws nothing, and keep the window where it is.
class PlotView {
 public:
  virtual ~PlotView() = default;
  // The kept picture (Picture1) the plot draws on; null without one.
  virtual DrawSurface* Picture() { return nullptr; }
  // The picture changed: all of it, or one rectangle (device units).
  virtual void ShowPicture() {}
  virtual void ShowPicture(const DrawRect& /*changed*/) { ShowPicture(); }
  // Told after the plot drew everything, and after it cleared the picture.
  virtual void Plot(Form_Plot&) {}
  virtual void ClearPlot(Form_Plot&) {}
  virtual void CaptionChanged(Form_Plot&) {}
  // Label_Info: its text and whether it shows.
  virtual void SetInfo(const std::string& /*text*/, bool /*visible*/) {}
  // The tool changed: the pointer and the pressed toolbar button follow.
  virtual void ToolChanged(long /*tool*/) {}
  // A text result in its own window ("Arial", 10 points).
  virtual void ShowResult(const std::string& /*title*/, const std::string& /*text*/) {}
  // The window's position and size (rounded to whole units) and state, read
  // into the record before a save.
  virtual void ReadPlacement(PlotWindowRecord&) {}
  virtual void SetWindowState(int /*state*/) {}
  virtual void MoveWindow(int /*left*/, int /*top*/, int /*width*/, int /*height*/) {}
  virtual void Close(Form_Plot&) {}
};

// The page a layer lies on, millimetres. Without a printer it is an A4 page
// in landscape; the workbench may put the printer's page in.
struct PlotPage {
  double widthMm = 297;
  double heightMm = 210;
};
std::function<PlotPage()>& PlotPageSource();
PlotPage CurrentPlotPage();
// The picture area keeps the page's proportions: the width or the height is
// cut back, and of the two the smaller result wins.
void FitToPage(long& width, long& height, const PlotPage& page);

// The colour of scan window n (1..8), for curves named after a window. Until
// the scan windows are there, the defaults are the basic palette's 5, 13, 12,
// 11, 10, 9, 8 and 2.
std::function<int32_t(int window)>& ScanWindowColorSource();
int32_t ScanWindowColor(int window);

// The rescale flag shared by all plots.
bool RescaleFlag();
void SetRescaleFlag(bool flag);

class Form_Plot : public SheetPlot {
 public:
  explicit Form_Plot(MDIForm_Main* main = nullptr, bool threeD = false);
  ~Form_Plot() override;
  Form_Plot(const Form_Plot&) = delete;
  Form_Plot& operator=(const Form_Plot&) = delete;

  // Operations beyond this class plug in by name (the growth rate); a null
  // operation takes the name off again.
  using Operation = std::function<void(Form_Plot&)>;
  static void RegisterOperation(const std::string& name, Operation op);

  // ChildDocument.
  bool Invoke(const std::string& operation) override;
  bool Offers(const std::string& operation) const override;
  std::string Caption() const override { return caption_; }
  bool Locked() const override { return Locked_; }
  bool Visible() const override { return visible_; }
  void SetVisible(bool v) override { visible_ = v; }
  // Closing the window alone takes the plot off its sheet's list.
  bool QueryUnload() override;
  // The plot toolbar's button of the tool in force.
  std::string PressedToolKey() const override;

  void SetView(PlotView* view) { view_ = view ? view : &nullView_; }
  PlotView& View() const { return *view_; }
  MDIForm_Main* Main() const { return main_; }
  bool ThreeD() const { return threeD_; }

  // SheetPlot.
  void SetWorksheet(Form_Worksheet* sheet) override;
  Form_Worksheet* Worksheet() const { return sheet_; }
  void RemoveCurve(long column) override;
  void ColsAdded(long first, long count) override;
  long Curves() const override { return long(Curve_.size()); }
  void ClearPlot() override;
  void Update() override;
  std::string PlotName() const override { return PlotName_; }
  void SetPlotName(const std::string& name) override;
  long SavePlot(BinaryOut& file) override;
  long OpenPlot(BinaryIn& file) override;
  void Unload() override;

  // Records.
  PlotLayerRecord Layer;
  PlotAxisRecord XAxis, YAxis;
  const std::vector<PlotCurveRecord>& CurveRecords() const { return Curve_; }
  PlotCurveRecord& CurveRecord(long index) { return Curve_.at(size_t(index)); }
  // The label of the third axis of a 3-D plot (not kept in the file).
  std::string ZLabelText;

  // The curve array: the setter keeps what stands and gives new entries the
  // defaults.
  void Curves(long count);
  // A new curve on the sheet's current column, made current; its index.
  long AddCurve();
  // Current curve (0-based). The property group below works on it; with an
  // index outside the array the getters give 0 and the setters do nothing.
  long Curve() const { return current_; }
  void Curve(long index) { current_ = index; }
  long CurveXCol() const;
  void CurveXCol(long col);
  long CurveCol() const;  // YCol
  long CurveColor() const;
  void CurveColor(long color);
  long CurveType() const;  // LineType
  void CurveType(long type);
  long CurveShape() const;
  void CurveShape(long shape);
  long CurveSize() const;  // rounded
  void CurveSize(double size);
  void SetPlotType(long type);

  bool IsCurve(long column) const;
  // Markers of the current curve; a missing marker gives the X axis From,
  // for the right end too.
  void GetMarkerRange(float& from, float& to) const;
  void GetYRange(float& from, float& to) const;
  // Store the range and run the tick computation with flags 7.
  void SetXRange(float from, float to);
  void SetYRange(float from, float to);

  bool Legend() const { return Legend_; }
  void Legend(bool on);
  void Locked(bool locked) { Locked_ = locked; }
  long Tool() const { return Tool_; }
  // The zoom tool's rectangle: Left, Top, Right, Bottom, device units.
  float ZoomRect[4] = {0, 0, 0, 0};

  std::string TitleText() const { return Layer.Title.Text; }
  void TitleText(const std::string& t) { Layer.Title.Text = t; }
  std::string XLabelText() const { return XAxis.Title.Text; }
  void XLabelText(const std::string& t) { XAxis.Title.Text = t; }
  std::string YLabelText() const { return YAxis.Title.Text; }
  void YLabelText(const std::string& t) { YAxis.Title.Text = t; }

  // Device and user values through the origin and scale of the last drawing.
  double ScreenX(double user) const;
  double ScreenY(double user) const;
  double UserX(double device) const;
  double UserY(double device) const;

  // Drawing on the view's picture: the automatic scaling, then the layer,
  // curves and legend. Ends at once when the X range is empty and there are
  // no curves. A tool's rubber band is finished first.
  void Plot();
  void PlotCurve(long curve);
  // One more point during a run: only the new segment and symbol.
  void PlotPoint(long curve, float x, float y);
  void PlotLegend();
  // Each curve's last drawn point, where PlotPoint goes on from.
  struct KeptPoint {
    bool valid = false;
    float x = 0, y = 0;
  };
  std::vector<KeptPoint> Kept;
  // Sets the rescale flag, clears, plots, clears the flag.
  void Rescale();
  // The scaling step of Plot; false when there is nothing to draw.
  bool AutoScale();

  // Dialogs.
  void GraphAddCurve(long plotType);
  void PlotDetails(long curve);
  bool DefineLayer();
  void DefineAxis(bool startAtY);
  // One pass of the axis dialog on axis 1 (X) or 2 (Y): 0 cancelled, 1 "OK",
  // 2 "AXIS", 3 "GRID".
  int AxisDefinition(int axis);
  // Reads the axis dialog's values into `record` with the repairs, in order.
  static void ReadAxisDialog(const Form_Axis& form, int axis, PlotAxisRecord& record);
  void Edit() {}
  // Closes the plot window.
  void FileClose();

  // Tools: 1 cursor, 2 Zoom, 3 Screen Reader, 4 Data Reader, 5 Marker,
  // 6 Peak Integrate.
  void SetTool(long code);
  std::string LabelInfo() const { return labelInfo_; }
  bool LabelInfoVisible() const { return labelInfoVisible_; }
  // The mouse on the picture, device units; button 1 is the left one.
  void MouseDown(int button, double x, double y);
  void MouseMove(int button, double x, double y);
  void MouseUp(int button, double x, double y);
  void DoubleClick(double x, double y);
  void ScreenReader(double x, double y);
  void DataReader(double x, double y);
  void GetDataColumn(double x, double y);
  // 0 the left marker of the current curve, 1 the right one.
  void DrawMarker(long index);
  // mode 0 button down, 1 move, 2 button up.
  void PeakIntegrate(double x, double y, int mode);
  // The zoom rectangle in inverted colours; drawn twice it is gone.
  void DrawInverseRect();

  // Printing: the question, then the page (PrintDo); the page setup then
  // the print (PrintSetup); the printer dialog (PrinterSetup).
  void PrintDo();
  void PrintSetup();
  void PrinterSetup();
  // The layer for the printer's page, through the page setup.
  PlotLayerRecord GetPrinterLayer(const DrawSurface& printer) const;
  void PrintLayer(DrawSurface& dev);
  void PrintCurve(DrawSurface& dev, long curve);
  void PrintLegend(DrawSurface& dev);
  void PrintRectangle(DrawSurface& dev);
  // File -> Export: a PNG, SVG or PDF file of the plot.
  void FileExport();

 private:
  PlotCurveRecord* Current();
  const PlotCurveRecord* Current() const;
  void UpdateCaption();
  void GridSetup(int axis);

  MDIForm_Main* main_;
  bool threeD_;
  Form_Worksheet* sheet_ = nullptr;
  void SetLabelInfo(const std::string& text, bool visible);
  // Tool state.
  std::string labelInfo_;
  bool labelInfoVisible_ = false;
  bool rubberBand_ = false;   // a zoom rectangle is drawn
  bool buttonDown_ = false;
  long markerDragging_ = -1;  // 0 left, 1 right, -1 none
  long peakStartRow_ = 0, peakRow_ = 0;
  float peakX_ = 0, peakY_ = 0;
  // Some tool drawing other than the zoom rectangle (the peak line, the data
  // reader's cross, the markers) lies on the picture; a redraw clears it,
  // and with it what toolInk_ says.
  bool peakLine_ = false;
  struct ToolInk {
    bool line = false;  // the peak line from lineFrom to lineTo
    DrawPoint lineFrom, lineTo;
    bool cross = false;  // the data reader's cross
    DrawPoint crossAt;
    bool marker[2] = {false, false};  // the markers' lines at markerX
    double markerX[2] = {0, 0};
  } toolInk_;
  // Forgets the tool drawing after a redraw; erases it otherwise.
  void SyncToolInk();
  void EraseToolInk();
  void DrawPeakLine();
  void DrawCross();
  // The release of the peak tool: analysis, the "Area" column, the result.
  void IntegratePeak(long startRow, long endRow, long ycol);
  PlotView nullView_;
  PlotView* view_ = &nullView_;
  std::vector<PlotCurveRecord> Curve_;
  long current_ = 0;
  long Tool_ = 1;
  std::string PlotName_;
  std::string caption_;
  bool Legend_ = true;
  bool Locked_ = false;
  bool visible_ = false;
};

// The plot side of the sheet's AddNewPlot (threeD false) and AddNew3DPlot:
// the column dialog, then the plot with its curves. True when a plot was made.
bool AddNewPlot(Form_Worksheet& sheet, bool threeD);

// What File -> Export and svbatch use to write a plot: PNG, SVG or PDF by
// the extension. The Qt drawing library puts it in; false with `error` set
// when the file could not be written.
struct PlotExportSize {
  int width = 0, height = 0;  // pixels; 0: the printer page at dpi
  int dpi = 150;
};
using PlotExporter = std::function<bool(Form_Plot&, const std::string& path,
                                        const PlotExportSize&, std::string& error)>;
PlotExporter& PlotExportSource();

// The error number of a plot block that cannot be read.
inline constexpr long kErrBadPlotBlock = 321;

}  // namespace sv
