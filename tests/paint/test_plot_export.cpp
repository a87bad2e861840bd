#include <gtest/gtest.h>
#include <sys/resource.h>

#include <csignal>

#include <QImage>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "image/kernel/plot_draw.h"
#include "paint/plot_export.h"
#include "paint_fixture.h"
#include "plot/form_plot.h"
#include "support/recording_surface.h"
#include "support/scripted_host.h"
#include "worksheet/form_worksheet.h"

namespace sv {
namespace {

namespace fs = std::filesystem;
using test::IsWhite;
using test::Picture;
using test::Rgb;

constexpr int32_t kCurveColor = 0x00FF00FF;  // magenta: nothing else is drawn in it
constexpr int32_t kFrameColor = 0x00008000;

// The plot window's picture is a QImage without antialiasing.
struct ImageView : PlotView {
  test::Picture image;
  ImageView(int w, int h) : image(w, h) {}
  DrawSurface* Picture() override { return &image.Surface(); }
};

// A sheet with X in column 1 and Y in column 2; an empty Y makes a gap.
struct PlotOnSheet {
  test::ScriptedHost host;
  Form_Worksheet sheet;
  Form_Plot plot;
  PlotOnSheet(const std::vector<double>& xs, const std::vector<double>& ys) {
    sheet.Cols(3);
    sheet.Rows(long(xs.size()) + 1);
    for (size_t i = 0; i < xs.size(); ++i) {
      sheet.TextMatrix(long(i) + 1, 1, Cell(float(xs[i])));
      if (std::isfinite(ys[i])) sheet.TextMatrix(long(i) + 1, 2, Cell(float(ys[i])));
    }
    sheet.Record(1).Typ = kTypX;
    plot.SetWorksheet(&sheet);
    plot.Curves(1);
    plot.CurveRecord(0).XCol = 1;
    plot.CurveRecord(0).YCol = 2;
    plot.CurveRecord(0).Color = kCurveColor;
    plot.CurveRecord(0).Width = 0;  // the thinnest line
    plot.Layer.FrameColor = kFrameColor;
    plot.Legend(false);
    plot.SetXRange(0, 10);
    plot.SetYRange(0, 10);
  }
  // Draws on a picture of w x h pixels, as the window would.
  QImage Draw(int w, int h) {
    ImageView view(w, h);
    plot.SetView(&view);
    plot.ClearPlot();
    plot.Plot();
    plot.SetView(nullptr);
    return view.image.Image();
  }
};

double SegmentDistance(double px, double py, double ax, double ay, double bx, double by) {
  const double dx = bx - ax, dy = by - ay, len = dx * dx + dy * dy;
  double t = len > 0 ? ((px - ax) * dx + (py - ay) * dy) / len : 0;
  t = std::clamp(t, 0.0, 1.0);
  return std::hypot(px - (ax + t * dx), py - (ay + t * dy));
}

bool InkNear(const QImage& img, double x, double y, QRgb color, int reach = 1) {
  for (int dy = -reach; dy <= reach; ++dy)
    for (int dx = -reach; dx <= reach; ++dx) {
      const int px = int(std::floor(x)) + dx, py = int(std::floor(y)) + dy;
      if (img.valid(px, py) && (img.pixel(px, py) & 0xFFFFFF) == (color & 0xFFFFFF)) return true;
    }
  return false;
}

TEST(PlotPicture, PointsAndAxesLieWhereTheScreenMappingPutsThem) {
  const std::vector<double> xs = {1, 2, 3, 4.5, 6, 7, 8.5, 9}, ys = {2, 7, 3, 8, 5, 1.5, 9, 4};
  PlotOnSheet s(xs, ys);
  const QImage img = s.Draw(1200, 850);
  const QRgb curve = Rgb(kCurveColor), frame = Rgb(kFrameColor);
  // Each point is inked, and every ink of the curve lies on its line.
  for (size_t i = 0; i < xs.size(); ++i)
    EXPECT_TRUE(InkNear(img, s.plot.ScreenX(xs[i]), s.plot.ScreenY(ys[i]), curve)) << i;
  long ink = 0;
  for (int y = 0; y < img.height(); ++y)
    for (int x = 0; x < img.width(); ++x) {
      if ((img.pixel(x, y) & 0xFFFFFF) != (curve & 0xFFFFFF)) continue;
      ++ink;
      double best = 1e9;
      for (size_t i = 1; i < xs.size(); ++i)
        best = std::min(best, SegmentDistance(x + 0.5, y + 0.5, s.plot.ScreenX(xs[i - 1]),
                                              s.plot.ScreenY(ys[i - 1]), s.plot.ScreenX(xs[i]),
                                              s.plot.ScreenY(ys[i])));
      EXPECT_LE(best, 1.5) << x << "," << y;
    }
  EXPECT_GT(ink, 500);
  // The left and bottom axis lines run along From of the other axis.
  const double left = s.plot.ScreenX(0), bottom = s.plot.ScreenY(0);
  const double right = s.plot.ScreenX(10), top = s.plot.ScreenY(10);
  ASSERT_LT(left, right);
  ASSERT_LT(top, bottom);
  for (double f : {0.1, 0.3, 0.5, 0.7, 0.9}) {
    EXPECT_TRUE(InkNear(img, left, top + f * (bottom - top), frame)) << f;
    EXPECT_TRUE(InkNear(img, left + f * (right - left), bottom, frame)) << f;
  }
  // Nothing of the frame's colour inside the layer, away from its edges and
  // the ticks.
  for (double f : {0.2, 0.5, 0.8})
    EXPECT_FALSE(InkNear(img, left + f * (right - left), top + 0.5 * (bottom - top), frame, 3));
}

TEST(PlotPicture, AGapLeavesNoInkBetweenTheRuns) {
  const double nan = std::nan("");
  const std::vector<double> xs = {1, 2, 3, 4, 5, 6, 7, 8, 9}, ys = {5, 6, 5, 6, nan, 6, 5, 6, 5};
  PlotOnSheet s(xs, ys);
  const QImage img = s.Draw(1000, 700);
  const QRgb curve = Rgb(kCurveColor);
  auto inkInColumns = [&](double from, double to) {
    long n = 0;
    for (int x = int(std::ceil(from)); x <= int(std::floor(to)); ++x)
      for (int y = 0; y < img.height(); ++y) n += (img.pixel(x, y) & 0xFFFFFF) == (curve & 0xFFFFFF);
    return n;
  };
  EXPECT_EQ(inkInColumns(s.plot.ScreenX(4) + 2, s.plot.ScreenX(6) - 2), 0);
  EXPECT_GT(inkInColumns(s.plot.ScreenX(1), s.plot.ScreenX(4)), 50);
  EXPECT_GT(inkInColumns(s.plot.ScreenX(6), s.plot.ScreenX(9)), 50);
}

// 65,520 points across a picture, drawn thinned (raster) and whole.
void CompareThinning(const std::vector<float>& y, const char* what) {
  const int32_t n = int32_t(y.size());
  std::vector<float> x(y.size());
  for (int32_t i = 0; i < n; ++i) x[size_t(i)] = float(i);
  const int w = 1400, h = 900;
  const double sx = (w - 40.0) / n, sy = -1.0, ox = 20, oy = h / 2.0;
  Picture thinned(w, h, true), whole(w, h, false);
  for (Picture* p : {&thinned, &whole})
    kernel::SV_plot_polyline(p->Surface(), n, x.data(), y.data(), ox, oy, sx, sy, 0xFF0000, 0);
  const QImage a = thinned.Image(), b = whole.Image();
  const long ink = test::CountColor(b, qRgb(0, 0, 0xFF));
  ASSERT_GT(ink, 1000) << what;
  EXPECT_LE(test::CountDifferent(a, b), long(0.002 * w * h)) << what << ", ink " << ink;
}

TEST(PlotPicture, ThinningAFullSheetChangesAlmostNoPixel) {
  std::vector<float> smooth(65520), noisy(65520);
  std::mt19937 rng(7);
  std::normal_distribution<float> noise(0, 40);
  for (size_t i = 0; i < smooth.size(); ++i) {
    smooth[i] = float(300 * std::sin(double(i) * 2e-4));
    noisy[i] = float(150 * std::sin(double(i) * 5e-4)) + noise(rng);
  }
  CompareThinning(smooth, "smooth");
  CompareThinning(noisy, "noisy");
}

// --- Files ---------------------------------------------------------------------

class PlotFiles : public ::testing::Test {
 protected:
  void SetUp() override {
    std::string base = fs::temp_directory_path().string() + "/sv4200-test-paintXXXXXX";
    std::vector<char> buf(base.begin(), base.end());
    buf.push_back('\0');
    ASSERT_NE(mkdtemp(buf.data()), nullptr);
    dir = buf.data();
  }
  void TearDown() override {
    std::error_code ec;
    fs::remove_all(dir, ec);
  }
  std::vector<std::string> Files() const {
    std::vector<std::string> names;
    for (const auto& e : fs::directory_iterator(dir)) names.push_back(e.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
  }
  static std::string Read(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream s;
    s << in.rdbuf();
    return s.str();
  }
  std::string dir;
  PlotOnSheet s{{1, 2, 3, 4}, {3, 1, 4, 1.5}};
};

TEST_F(PlotFiles, PngHasTheAskedSizeOrThePrinterPage) {
  std::string error;
  ASSERT_TRUE(paint::ExportPlot(s.plot, dir + "/a.png", {640, 480}, error)) << error;
  QImage img(QString::fromStdString(dir + "/a.png"));
  EXPECT_EQ(img.size(), QSize(640, 480));
  long magenta = 0;  // the curve is there, antialiased
  for (int y = 0; y < img.height(); ++y)
    for (int x = 0; x < img.width(); ++x) {
      const QRgb c = img.pixel(x, y);
      magenta += qRed(c) > 200 && qBlue(c) > 200 && qGreen(c) < 120;
    }
  EXPECT_GT(magenta, 50);
  // The printer page is A4 in landscape here, at the resolution asked.
  ASSERT_TRUE(paint::ExportPlot(s.plot, dir + "/b.PNG", {0, 0, 50}, error)) << error;
  EXPECT_EQ(QImage(QString::fromStdString(dir + "/b.PNG")).size(),
            QSize(int(std::lround(297 / 25.4 * 50)), int(std::lround(210 / 25.4 * 50))));
  EXPECT_EQ(Files(), (std::vector<std::string>{"a.png", "b.PNG"}));
}

TEST_F(PlotFiles, SvgKeepsItsText) {
  s.plot.TitleText("Ag(111) \xC3\x85");
  std::string error;
  ASSERT_TRUE(paint::ExportPlot(s.plot, dir + "/a.svg", {800, 600}, error)) << error;
  const std::string svg = Read(dir + "/a.svg");
  EXPECT_NE(svg.find("<svg"), std::string::npos);
  EXPECT_NE(svg.find("<text"), std::string::npos);
  EXPECT_NE(svg.find("Ag(111) \xC3\x85"), std::string::npos);  // UTF-8
  EXPECT_NE(svg.find("viewBox=\"0 0 800 600\""), std::string::npos);
  EXPECT_EQ(svg.find("<image"), std::string::npos);
}

// The page box of a PDF file, in points.
bool MediaBox(const std::string& pdf, double& width, double& height) {
  const size_t box = pdf.find("/MediaBox [");
  if (box == std::string::npos) return false;
  double x0 = -1, y0 = -1;
  std::istringstream(pdf.substr(box + 11, 60)) >> x0 >> y0 >> width >> height;
  return x0 == 0 && y0 == 0;
}

TEST_F(PlotFiles, PdfIsAVectorPageOfTheAskedSize) {
  std::string error;
  ASSERT_TRUE(paint::ExportPlot(s.plot, dir + "/a.pdf", {640, 480}, error)) << error;
  const std::string pdf = Read(dir + "/a.pdf");
  EXPECT_EQ(pdf.rfind("%PDF", 0), 0u);
  // The page in points, 72 to the 96 pixels of an inch.
  double w = 0, h = 0;
  ASSERT_TRUE(MediaBox(pdf, w, h));
  EXPECT_EQ(w, 480);
  EXPECT_EQ(h, 360);
  // Text as text in an embedded font, and no picture of the page.
  EXPECT_NE(pdf.find("/FontFile2"), std::string::npos);
  EXPECT_EQ(pdf.find("/Subtype /Image"), std::string::npos);
  // Other sizes come to the nearest whole point; the printer page is A4.
  ASSERT_TRUE(paint::ExportPlot(s.plot, dir + "/b.pdf", {641, 97}, error)) << error;
  ASSERT_TRUE(MediaBox(Read(dir + "/b.pdf"), w, h));
  EXPECT_NEAR(w, 641 * 0.75, 0.5);
  EXPECT_NEAR(h, 97 * 0.75, 0.5);
  ASSERT_TRUE(paint::ExportPlot(s.plot, dir + "/c.pdf", {0, 0, 300}, error)) << error;
  ASSERT_TRUE(MediaBox(Read(dir + "/c.pdf"), w, h));
  EXPECT_NEAR(w, 297 / 25.4 * 72, 0.5);
  EXPECT_NEAR(h, 210 / 25.4 * 72, 0.5);
}

TEST_F(PlotFiles, TheWindowKeepsItsMappingAndPicture) {
  struct Window : PlotView {
    test::RecordingSurface picture{900, 600};
    int calls = 0;
    DrawSurface* Picture() override { return &picture; }
    void ShowPicture() override { ++calls; }
    void Plot(Form_Plot&) override { ++calls; }
  } window;
  s.plot.SetView(&window);
  s.plot.Plot();
  window.picture.Clear();
  window.calls = 0;
  const PlotLayerRecord layer = s.plot.Layer;
  const auto kept = s.plot.Kept;
  ASSERT_FALSE(kept.empty());
  // An unscaled plot is scaled first.
  s.plot.YAxis.From = s.plot.YAxis.To = 0;
  std::string error;
  ASSERT_TRUE(paint::ExportPlot(s.plot, dir + "/a.png", {300, 200}, error)) << error;
  EXPECT_LE(s.plot.YAxis.From, 1);
  EXPECT_GE(s.plot.YAxis.To, 4);
  EXPECT_EQ(&s.plot.View(), &window);
  EXPECT_EQ(s.plot.Layer.OriginX, layer.OriginX);
  EXPECT_EQ(s.plot.Layer.OriginY, layer.OriginY);
  EXPECT_EQ(s.plot.Layer.ScaleX, layer.ScaleX);
  EXPECT_EQ(s.plot.Layer.ScaleY, layer.ScaleY);
  ASSERT_EQ(s.plot.Kept.size(), kept.size());
  EXPECT_EQ(s.plot.Kept[0].x, kept[0].x);
  EXPECT_TRUE(window.picture.calls.empty());
  EXPECT_EQ(window.calls, 0);
  s.plot.SetView(nullptr);
}

TEST_F(PlotFiles, FailuresLeaveNoFile) {
  std::string error;
  // A folder that is a file, a target that is a folder, an unknown kind.
  std::ofstream(dir + "/plain") << "x";
  EXPECT_FALSE(paint::ExportPlot(s.plot, dir + "/plain/a.png", {100, 100}, error));
  EXPECT_NE(error.find(dir + "/plain/a.png"), std::string::npos) << error;
  fs::create_directories(dir + "/taken.png/inside");
  EXPECT_FALSE(paint::ExportPlot(s.plot, dir + "/taken.png", {100, 100}, error));
  EXPECT_FALSE(paint::ExportPlot(s.plot, dir + "/a.gif", {100, 100}, error));
  EXPECT_NE(error.find(".png, .svg or .pdf"), std::string::npos) << error;
  // Sizes that make no picture.
  for (PlotExportSize bad : std::vector<PlotExportSize>{
           {100, 0, 150}, {-5, 100, 150}, {0, 0, 0}, {40000, 10, 150}, {20000, 20000, 150}}) {
    error.clear();
    EXPECT_FALSE(paint::ExportPlot(s.plot, dir + "/a.png", bad, error)) << bad.width;
    EXPECT_FALSE(error.empty());
  }
  // The disk takes no more than 1000 bytes of a file: writing stops half way.
  rlimit was{};
  ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &was), 0);
  rlimit small = was;
  small.rlim_cur = 1000;
  const auto previous = std::signal(SIGXFSZ, SIG_IGN);
  ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
  for (const char* name : {"/big.png", "/big.svg", "/big.pdf"})
    EXPECT_FALSE(paint::ExportPlot(s.plot, dir + name, {800, 600}, error)) << name;
  setrlimit(RLIMIT_FSIZE, &was);
  std::signal(SIGXFSZ, previous);
  EXPECT_EQ(Files(), (std::vector<std::string>{"plain", "taken.png"}));
}

TEST_F(PlotFiles, TheExporterIsInstalledForTheWorkbench) {
  paint::InstallPlotExport();
  ASSERT_TRUE(PlotExportSource());
  std::string error;
  EXPECT_TRUE(PlotExportSource()(s.plot, dir + "/a.svg", {100, 80}, error)) << error;
  PlotExportSource() = nullptr;
  EXPECT_EQ(paint::ExportKind("x/a.b/Plot.SVG"), "svg");
  EXPECT_EQ(paint::ExportKind("x/a.pdf/Plot"), "");
}

}  // namespace
}  // namespace sv
