#include "app/screenshot_scenes.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <QLineEdit>
#include <QPainter>
#include <QPixmap>
#include <QPushButton>
#include <QScreen>
#include <QTimer>
#include <QWidget>

#include <cmath>
#include <functional>
#include <utility>
#include <memory>
#include <vector>

#include "acquisition/grabber.h"
#include "acquisition/grabber_environment.h"
#include "acquisition/live.h"
#include "analysis/scan_windows.h"
#include "app/main_window.h"
#include "core/globals.h"
#include "core/mdi_main.h"
#include "image/form_binarize.h"
#include "image/form_camera.h"
#include "image/kernel/numbers.h"
#include "image/kernel/test_image.h"
#include "plot/form_plot.h"
#include "script/form_script.h"
#include "video/form_image_vtr.h"
#include "video/form_soft_vtr.h"
#include "video/video_file.h"
#include "worksheet/form_worksheet.h"

namespace sv::app {

namespace {

constexpr const char* kDummyGrabber = "DummyGrb";

// A new sheet of `rows` points y(x) in columns 1 and 2 under the labels
// given, its plot beside it under `title`; the plot, or nullptr.
SheetPlot* DemoSheetWithPlot(MDIForm_Main& main, long rows, const char* xLabel, const char* yLabel,
                             const char* title, const std::function<std::pair<double, double>(long)>& point) {
  main.Click("mnuNewWorksheet");
  auto* sheet = dynamic_cast<Form_Worksheet*>(main.ActiveChild());
  if (!sheet) return nullptr;
  sheet->Redraw(false);
  sheet->Rows(rows + 1);
  for (long r = 1; r < sheet->Rows(); ++r) {
    const auto [x, y] = point(r - 1);
    sheet->TextMatrix(r, 1, Cell(float(x)));
    sheet->TextMatrix(r, 2, Cell(float(std::round(y))));
  }
  sheet->Col(1);
  sheet->ColLabel(xLabel);
  sheet->Col(2);
  sheet->ColLabel(yLabel);
  sheet->Redraw(true);
  sheet->SetSelection(0, 2, sheet->Rows() - 1, 2);
  SheetPlot* made = nullptr;
  if (!sheet->NewPlot(made)) return nullptr;
  if (auto* plot = dynamic_cast<Form_Plot*>(made)) {
    plot->AddCurve();
    plot->CurveXCol(1);
    plot->TitleText(title);
    plot->Plot();
  }
  main.ShowChild(made->Handle());
  main.Click("mnuArrange", 2);
  return made;
}

// An I(E) curve with three Bragg peaks, and its plot beside it.
void ShowDemoSheet(MDIForm_Main& main) {
  DemoSheetWithPlot(main, 96, "E (eV)", "I (counts)", "I(E)", [](long k) {
    const double e = 20.0 + 5.0 * double(k);
    double i = 400.0 * std::exp(-e / 250.0);
    for (double peak : {95.0, 180.0, 310.0}) i += 900.0 * std::exp(-std::pow((e - peak) / 12.0, 2));
    return std::pair{e, i};
  });
}

// A line scan with two peaks on a slope, fitted: the fit dialog with its
// report beside the "Peak Fit" plot.
void ShowPeakFit(MDIForm_Main& main, MainWindow& window) {
  // The sheet and its plot alone: no live picture beside them.
  if (PreviewRunning()) StopPreview();
  if (Form_Camera* live = PreviewImage()) main.CloseChild(live->Handle());
  main.Click("mnuNewWorksheet");
  auto* sheet = dynamic_cast<Form_Worksheet*>(main.ActiveChild());
  if (!sheet) return;
  sheet->Redraw(false);
  sheet->Rows(162);
  for (long r = 1; r < sheet->Rows(); ++r) {
    const double x = double(r - 1);
    auto lorentz = [x](double xc, double h, double w) {
      const double d = 2.0 * (x - xc);
      return h * w * w / (d * d + w * w);
    };
    const double noise = 8.0 * std::sin(x * 12.9898) * std::cos(x * 78.233);
    const double y = 40.0 + 0.4 * x + lorentz(62.0, 900.0, 14.0) + lorentz(92.0, 520.0, 20.0);
    sheet->TextMatrix(r, 1, Cell(float(x)));
    sheet->TextMatrix(r, 2, Cell(float(std::round(y + noise))));
  }
  sheet->Redraw(true);
  sheet->SetSelection(0, 2, sheet->Rows() - 1, 2);
  // The fit dialog is modal: it is worked from the event loop it runs.
  QTimer::singleShot(300, &window, [&main, &window] {
    for (QWidget* w : QApplication::topLevelWidgets())
      if (w->isVisible() && w->objectName() == "Form_Fit") {
        main.Click("mnuArrange", 2);
        w->move(8, 100);  // over the sheet, the plot beside it
        if (auto* calculate = w->findChild<QPushButton*>("Command_Calculate")) calculate->click();
      }
  });
  QTimer::singleShot(100, &window, [&main] {
    main.PrepareAllMenus();
    main.Click("mnuPeakFit");
  });
}

// Growth oscillations of a film's specular spot, the plot in front and the
// growth-rate window over it after a min/max analysis.
void ShowGrowthRate(MDIForm_Main& main, MainWindow& window) {
  if (PreviewRunning()) StopPreview();
  if (Form_Camera* live = PreviewImage()) main.CloseChild(live->Handle());
  SheetPlot* made = DemoSheetWithPlot(
      main, 400, "time (s)", "specular (counts)", "RHEED oscillations", [](long k) {
        const double t = 0.25 * double(k);
        const double damp = std::exp(-t / 60.0);
        const double y = 600.0 + 300.0 * damp * std::cos(2.0 * M_PI * t / 12.5) + 120.0 * (1 - damp);
        return std::pair{t, y + 6.0 * std::sin(t * 7.31)};
      });
  if (!made) return;
  main.SetActiveChild(made->Handle());
  // The window is modal: it is worked from the event loop it runs.
  QTimer::singleShot(300, &window, [] {
    for (QWidget* w : QApplication::topLevelWidgets())
      if (w->isVisible() && w->objectName() == "Form_GrowthRate") {
        w->move(560, 40);
        if (auto* delta = w->findChild<QLineEdit*>("Text_Delta")) delta->setText("100");
        if (auto* calculate = w->findChild<QPushButton*>("Command_Calculate")) calculate->click();
      }
  });
  QTimer::singleShot(100, &window, [&main] {
    main.PrepareAllMenus();
    main.Click("mnuGrowthRate");
  });
}

QWidget* VisibleTopLevel(const char* objectName);

void ClickIn(QWidget* parent, const char* button) {
  if (auto* b = parent ? parent->findChild<QPushButton*>(button) : nullptr) b->click();
}

bool EnsureGrabber();

// A still of the simulated screen, binarized at a quarter of its grey levels,
// its spots traced in the particle window, the first one analysed.
void ShowParticles(MDIForm_Main& main, MainWindow& window) {
  if (!EnsureGrabber()) return;
  if (!PreviewRunning()) main.Click("mnuPreview");
  QTimer::singleShot(500, &window, [&main, &window] {
    StopPreview();
    Form_Camera* live = PreviewImage();
    if (!live) return;
    // The live picture stays the grabber's; its copy is an image like any.
    const auto& ops = ImageOperationTable();
    if (auto op = ops.find("Duplicate"); op != ops.end() && op->second.run) op->second.run(*live, -1);
    auto* still = dynamic_cast<Form_Camera*>(main.ActiveChild());
    if (!still || still == live) return;
    main.CloseChild(live->Handle());
    BinarizeDo(*still, still->ImageDynamik() / 8, false, &main);
    main.Click("mnuParticles");
    QTimer::singleShot(200, &window, [] {
      QWidget* w = VisibleTopLevel("Form_Particle");
      if (!w) return;
      w->move(392, 480);
      ClickIn(w, "Command_Detect");
      ClickIn(w, "Command_Analyze");
    });
  });
}

// A script that grabs a frame and counts its spots, running in the script
// window: its listing and the result sheet.
void ShowScript(MDIForm_Main& main, MainWindow& window) {
  if (!EnsureGrabber()) return;
  if (PreviewRunning()) StopPreview();
  const QString path = QDir::temp().filePath("spots.scr");
  QFile file(path);
  if (!file.open(QIODevice::WriteOnly)) return;
  file.write("// The spots of one frame of the screen\r\n"
             "Dim frames\r\n"
             "frames = 1\r\n"
             "Capture\r\n"
             "BinarizeImage(\"\", 512, 0)\r\n"
             "ParticleDetect(\"\")\r\n"
             "ParticleWorksheet\r\n"
             "Delay(10000)\r\n"
             "End\r\n");
  file.close();
  if (!main.OpenDocument(path.toStdString())) return;
  QTimer::singleShot(200, &window, [&main] {
    main.Click("mnuArrange", 2);
    ScriptForm().Click("mnuStart");
  });
}

bool EnsureGrabber() { return G().GrabberOK || StartGrabber(kDummyGrabber); }

// The live picture with four windows on the first-order spots, the window
// setup open on it.
void ShowLiveWithWindows(MDIForm_Main& main) {
  if (!EnsureGrabber()) return;
  if (!PreviewRunning()) main.Click("mnuPreview");  // a first start runs it already
  const FrameSize size{kDummyWidth, kDummyHeight};
  const int orders[4][2] = {{1, 0}, {0, 1}, {-1, 0}, {0, -1}};
  for (int i = 0; i < 4; ++i) {
    ScanWindow& w = WG().ScanWindows[size_t(i)];
    const SpotPlace at = SpotPosition(orders[i][0], orders[i][1], G().ElectronEnergy, size);
    w.W = w.H = 30;
    w.X1 = int32_t(std::lround(at.x)) - 15;
    w.Y1 = int32_t(std::lround(at.y)) - 15;
    w.Mode = kModeFollow;
  }
  main.Click("mnuWindowSetup");
}

// The recorder after a short I(E) sweep of the simulated screen into a film
// in the temp folder.
void RecordDemoFilm(MDIForm_Main& main, MainWindow& window) {
  if (!EnsureGrabber()) return;
  if (!PreviewRunning()) main.Click("mnuPreview");
  main.Click("mnuImageVTR");
  const QString film = QDir::temp().filePath("sv4200-demo.vid");
  QFile::remove(film);
  Form_ImageVTR& f = ImageVTRForm();
  f.Option_Experiment_Click(kExperimentIE);
  f.Text_EStart = "50";
  f.Text_EStop = "70";
  f.Text_EStep = "2";
  f.Text_File = film.toStdString();
  f.Text_File_Change();
  f.Command_Accept();
  QTimer::singleShot(300, &window, [] { ImageVTRForm().Command_Start(); });
}

// The film player on a short sweep of the simulated screen: a frame in the
// middle on show, a range around it tagged.
void ShowFilmPlayer(MDIForm_Main& main) {
  // The film alone: no live picture beside it.
  if (PreviewRunning()) StopPreview();
  if (Form_Camera* live = PreviewImage()) main.CloseChild(live->Handle());
  const QString film = QDir::temp().filePath("sv4200-player.vid");
  QFile::remove(film);
  if (!WriteSimulatedFilm(film.toStdString(), 21, 80.0, 2.0)) return;
  if (!main.OpenDocument(film.toStdString())) return;
  Form_SoftVTR& p = SoftVTRForm();
  p.GotoFrame(10);  // 100 eV
  p.TagDown(4);
  p.TagDrag(15);
}

QWidget* VisibleTopLevel(const char* objectName) {
  for (QWidget* w : QApplication::topLevelWidgets())
    if (w->isVisible() && w->objectName() == objectName) return w;
  return nullptr;
}

// What the screen shows of the main window and the tool windows over it;
// the window's own picture where there is no screen to read.
QPixmap ScreenPicture(MainWindow& window) {
  QRect area = window.frameGeometry();
  for (QWidget* w : QApplication::topLevelWidgets())
    if (w->isVisible() && w != &window && w->isWindow()) area = area.united(w->frameGeometry());
  QScreen* screen = QGuiApplication::primaryScreen();
  const bool realScreen = QGuiApplication::platformName() != "offscreen";
  if (screen && realScreen) {
    const QPixmap shot = screen->grabWindow(0, area.x(), area.y(), area.width(), area.height());
    if (!shot.isNull()) return shot;
  }
  return window.grab();
}

}  // namespace

bool WriteSimulatedFilm(const std::string& path, int frames, double eStart, double eStep) {
  std::unique_ptr<VideoFile> film = NewVideoFile(false);
  std::string name = path;
  long width = kDummyWidth, height = kDummyHeight, bits = 12;
  float rate = 2.0f;
  if (!film->FileOpen(name, kFilmOpenCreateWrite, &width, &height, &bits, &rate, false) ||
      !film->NumericData({"energy (eV)", "time (s)"}))
    return false;
  std::vector<uint16_t> pixels(size_t(width) * size_t(height));
  bool ok = true;
  for (int i = 0; ok && i < frames; ++i) {
    TestImageParams p;
    p.Energy = eStart + eStep * i;
    p.Time = 0.5 * i;
    p.Seed = uint32_t(i);
    p.Bits = int(bits);
    // The cycle, then the columns, from the frame's first byte.
    const float cells[3] = {0.0f, float(p.Energy), float(p.Time)};
    ok = SV_test_image({width, height}, pixels, p) &&
         SV_code(Samples8(reinterpret_cast<uint8_t*>(pixels.data()), pixels.size() * 2), cells) &&
         film->WriteFrame(uint32_t(i), pixels.data());
  }
  return film->FileClose() && ok;
}

bool IsScreenshotScene(const std::string& scene) {
  return scene == "live" || scene == "sheet" || scene == "grabber" || scene == "image" ||
         scene == "recorder" || scene == "player" || scene == "fit" || scene == "growth" ||
         scene == "particles" || scene == "script";
}

void TakeScreenshot(MDIForm_Main& main, MainWindow& window, const std::string& scene,
                    const QString& file, std::function<void(bool)> done) {
  // The same place and size every time, so that pictures compare.
  window.move(0, 0);
  window.resize(1200, 800);
  int settle = 400;
  if (scene == "sheet") {
    ShowDemoSheet(main);
  } else if (scene == "live") {
    ShowLiveWithWindows(main);
    settle = 1500;
  } else if (scene == "grabber") {
    main.Click("mnuGrabberSetup");
    settle = 600;
  } else if (scene == "player") {
    ShowFilmPlayer(main);
    settle = 800;
  } else if (scene == "fit") {
    ShowPeakFit(main, window);
    settle = 2500;
  } else if (scene == "particles") {
    ShowParticles(main, window);
    settle = 1500;
  } else if (scene == "script") {
    ShowScript(main, window);
    settle = 2500;
  } else if (scene == "growth") {
    ShowGrowthRate(main, window);
    settle = 2000;
  } else if (scene == "recorder") {
    RecordDemoFilm(main, window);
    settle = 3000;
  } else {
    // With a grabber up the live picture runs; otherwise a new image.
    if (!PreviewRunning()) main.Click(G().GrabberOK ? "mnuPreview" : "mnuNewImage");
    if (G().GrabberOK) settle = 1500;
  }
  auto finish = std::make_shared<std::function<void(bool)>>(std::move(done));
  // The tool windows side by side right of the documents, none over another.
  if (scene == "live" || scene == "recorder" || scene == "player")
    QTimer::singleShot(settle / 2, &window, [&window, scene] {
      // The player right of its film's picture.
      int x = scene == "player" ? 430 : 400;
      for (QWidget* w : QApplication::topLevelWidgets()) {
        if (!w->isVisible() || w == &window || !w->isWindow()) continue;
        w->move(x, 110);
        x += w->frameGeometry().width() + 8;
      }
    });
  QTimer::singleShot(settle, &window, [&window, scene, file, finish] {
    QPixmap picture;
    if (scene == "grabber") {
      if (QWidget* dialog = VisibleTopLevel("Form_GrabberInterface")) picture = dialog->grab();
    } else {
      picture = ScreenPicture(window);
    }
    (*finish)(!picture.isNull() && picture.save(file, "PNG"));
  });
}

}  // namespace sv::app
