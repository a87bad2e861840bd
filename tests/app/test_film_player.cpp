// The film player from its window on the offscreen platform: a film of the
// simulated screen opened through File/Open, its frames in an image window,
// play, stop, reverse and step on the scripted clock, a range tagged on the
// tag bar and deleted into a new film, frames exported through the export
// dialog; sort, append, resize and a copy to AVI from the menus, each result
// opened in the player; then an I(E) experiment on the film with two
// windows, the film as its camera, its sheet and plot growing frame by frame.

#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDialog>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMdiSubWindow>
#include <QMouseEvent>
#include <QPushButton>
#include <QRadioButton>
#include <QSlider>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <QToolButton>
#include <memory>
#include <vector>

#include "acquisition/grabber.h"
#include "acquisition/grabber_environment.h"
#include "acquisition/live.h"
#include "analysis/scan_windows.h"
#include "app/app_environment.h"
#include "app/experiment_dialog.h"
#include "app/film_player_window.h"
#include "app/image_window.h"
#include "app/main_window.h"
#include "app/plot_window.h"
#include "app/screenshot_scenes.h"
#include "core/globals.h"
#include "core/mdi_main.h"
#include "core/settings.h"
#include "core/startup.h"
#include "experiment/experiment_settings.h"
#include "experiment/film_source.h"
#include "experiment/form_experiment.h"
#include "hardware/hardware.h"
#include "image/form_camera.h"
#include "image/kernel/test_image.h"
#include "dialog_steps.h"
#include "menu_press.h"
#include "plot/form_plot.h"
#include "plot/plot_documents.h"
#include "support/queue_host.h"
#include "video/compress_options.h"
#include "video/form_soft_vtr.h"
#include "video/form_vtr_export.h"
#include "video/video_file.h"
#include "worksheet/form_worksheet.h"
#include "worksheet/worksheet_documents.h"

using namespace sv;
using sv::test::QueueHost;

namespace {

// The host whose event pump lets the test look at the windows while a
// loop of the player or of a run goes on.
class PumpHost : public QueueHost {
 public:
  std::function<void()> onEvents;
  void DoEvents() override {
    ++doEvents;
    if (onEvents) onEvents();
  }
};

// A mouse event with the left button held, as a drag gives it.
void SendMouse(QWidget* w, QEvent::Type type, int x, Qt::MouseButtons held) {
  const QPointF at(x, w->height() / 2);
  QMouseEvent e(type, at, w->mapToGlobal(at), Qt::LeftButton, held, Qt::NoModifier);
  QApplication::sendEvent(w, &e);
}

}  // namespace

class TestFilmPlayer : public QObject {
  Q_OBJECT

 private:
  std::unique_ptr<PumpHost> host_;
  std::unique_ptr<MDIForm_Main> main_;
  std::unique_ptr<app::MainWindow> window_;
  QTemporaryDir dir_;

  void Press(const char* name) { sv::test::PressMenu(*main_, *window_, name); }
  QDialog* Player() { return window_->findChild<QDialog*>("Form_SoftVTR"); }
  template <typename T>
  T* Child(const char* name) {
    return sv::test::DialogChild<T>(*window_, "Form_SoftVTR", name);
  }
  QString Text(const char* label) { return Child<QLabel>(label)->text(); }
  void Click(const char* button) {
    QToolButton* b = Child<QToolButton>(button);
    QVERIFY2(b && b->isEnabled(), button);
    QTest::mouseClick(b, Qt::LeftButton);
  }
  QAction* PlayerAction(const char* name) { return Player()->findChild<QAction*>(name); }
  QDialog* Experiment() { return window_->findChild<QDialog*>("Form_Experiment"); }
  template <typename T>
  T* ExpChild(const char* name) {
    return sv::test::DialogChild<T>(*window_, "Form_Experiment", name);
  }
  void Type(QLineEdit* e, const QString& text) {
    QVERIFY(e);
    e->selectAll();
    QTest::keyClicks(e, text);
    emit e->editingFinished();
  }
  std::string Path(const char* name) const { return dir_.filePath(name).toStdString(); }
  static long FramesIn(const std::string& path) {
    std::unique_ptr<VideoFile> f = NewVideoFile(false);
    std::string name = path;
    if (!f->FileOpen(name, kFilmOpenRead, nullptr, nullptr, nullptr, nullptr, false)) return -1;
    return f->Samples();
  }

  void SetUp() {
    ResetGlobals();
    ResetHardware();
    ResetWindowGlobals();
    ResetExperimentSettings();
    host_ = std::make_unique<PumpHost>();
    sv::test::BuildMainWindow(main_, window_, {.images = true});
    app::InstallExperimentDialog(*main_, window_.get());
    app::InstallFilmPlayer(*main_, window_.get());
    QVERIFY(sv::Main(*main_, ""));
    sv::test::StartDummyGrabber(*main_);
    if (QTest::currentTestFailed()) return;
    main_->PrepareAllMenus();
  }

  // File/Open/Film with the film's name given to the dialog.
  void OpenFilm(const std::string& path) {
    host_->AnswerFile(path);
    Press("mnuOpenFilm");
    QVERIFY(SoftVTRForm().IsOpen());
    QCOMPARE(SoftVTRForm().Filename(), path);
    QVERIFY(Player() && Player()->isVisible());
  }

 private slots:
  void cleanup() {
    SoftVTRForm().Form_Unload();
    ClearCompressOptions();
    if (ExperimentForm().Visible()) ExperimentForm().Unload();
    GrabMode() = 0;
    GrabberClose();
    GrabberUnload();
    app::RemoveFilmPlayer();
    sv::test::DropGrabberWorkbench(window_, main_, host_);
  }

  void playStepTagDeleteAndExport() {
    QVERIFY(dir_.isValid());
    SetUp();
    if (QTest::currentTestFailed()) return;
    const std::string film = Path("leed.vid");
    QVERIFY(app::WriteSimulatedFilm(film, 12, 50.0, 2.0));  // 50 .. 72 eV
    OpenFilm(film);
    if (QTest::currentTestFailed()) return;

    // Frame 0 in an image window of its own, pixel for pixel.
    Form_SoftVTR& p = SoftVTRForm();
    Form_Camera* image = p.ImageIf();
    QVERIFY(image && image->ImagePtr());
    QVERIFY(window_->ImageWindowFor(image->Handle()));
    QCOMPARE(QString::fromStdString(image->Title()), QString("Film - leed.vid"));
    QCOMPARE(image->ImageWidth(), kDummyWidth);
    std::vector<uint16_t> expected(size_t(kDummyWidth * kDummyHeight));
    TestImageParams tp;
    tp.Energy = 50.0;
    QVERIFY(SV_test_image({kDummyWidth, kDummyHeight}, expected, tp));
    // The numbers fill the first three cells (48 samples); the rest is the picture.
    QVERIFY(std::equal(expected.begin() + 48, expected.end(), image->ImagePtr() + 48));
    QSlider* slider = Child<QSlider>("Slider");
    QCOMPARE(slider->maximum(), 11);
    QCOMPARE(Text("Label_Position"), QString("(50 eV)"));
    QCOMPARE(Child<QListWidget>("List_ColInfo")->count(), 3);  // "Frame 0" and two columns
    // A click on a column's line shows that column.
    QListWidget* cols = Child<QListWidget>("List_ColInfo");
    QTest::mouseClick(cols->viewport(), Qt::LeftButton, {}, cols->visualItemRect(cols->item(2)).center());
    QCOMPARE(p.Col, 1L);
    QVERIFY2(Text("Label_Col").startsWith("time (s)"), qPrintable(Text("Label_Col")));

    // Stepping, the ends, and the slider.
    Click("Command_Step");
    Click("Command_Step");
    QCOMPARE(p.CurrentFrame, 2L);
    QCOMPARE(slider->value(), 2);
    QCOMPARE(Text("Label_Position"), QString("(54 eV)"));
    QCOMPARE(Text("Label_Status"), QString("Step"));
    Click("Command_StepBack");
    QCOMPARE(p.CurrentFrame, 1L);
    Click("Command_Last");
    QCOMPARE(p.CurrentFrame, 11L);
    Click("Command_First");
    QCOMPARE(p.CurrentFrame, 0L);
    slider->setValue(7);
    QCOMPARE(p.CurrentFrame, 7L);
    QCOMPARE(Text("Label_Position"), QString("(64 eV)"));
    QCOMPARE(Text("Label_Time"), QString::fromStdString(FormatTime(3500)));

    // Play on the scripted clock: frame by frame to the end, the transport
    // closed meanwhile and Stop open; then Stop half way; then backward.
    Click("Command_First");
    std::vector<long> shown;
    bool transportOpen = false, stopClosed = false;
    host_->onEvents = [&] {
      if (shown.empty() || shown.back() != p.CurrentFrame) shown.push_back(p.CurrentFrame);
      transportOpen = transportOpen || Child<QToolButton>("Command_Step")->isEnabled() ||
                      PlayerAction("mnuOpenFilm")->isEnabled() ||
                      PlayerAction("mnuDeleteFrame")->isEnabled();
      stopClosed = stopClosed || !Child<QToolButton>("Command_Stop")->isEnabled();
    };
    Click("Command_Play");
    QCOMPARE(p.CurrentFrame, 11L);
    QCOMPARE(Text("Label_Status"), QString("Still"));
    QCOMPARE(shown.front(), 0L);
    QCOMPARE(long(shown.size()), 12L);
    QVERIFY(std::is_sorted(shown.begin(), shown.end()));
    QVERIFY(!transportOpen && !stopClosed);
    QVERIFY(Child<QToolButton>("Command_Step")->isEnabled());
    QVERIFY(!Child<QToolButton>("Command_Stop")->isEnabled());

    Click("Command_First");
    host_->onEvents = [&] {
      if (p.CurrentFrame == 4) QTest::mouseClick(Child<QToolButton>("Command_Stop"), Qt::LeftButton);
    };
    Click("Command_Play");
    QCOMPARE(p.CurrentFrame, 4L);
    QCOMPARE(Text("Label_Status"), QString("Pause"));
    QTest::mouseClick(Child<QCheckBox>("Check_Reverse"), Qt::LeftButton);
    QVERIFY(p.Check_Reverse);
    host_->onEvents = nullptr;
    Click("Command_Play");
    QCOMPARE(p.CurrentFrame, 0L);
    QCOMPARE(Text("Label_Status"), QString("First"));
    QTest::mouseClick(Child<QCheckBox>("Check_Reverse"), Qt::LeftButton);
    QVERIFY(!p.Check_Reverse);

    // Tags: a click tags the first frame, a drag the last.
    QWidget* tags = Child<QWidget>("TagBar");
    QVERIFY(tags && tags->isEnabled());
    const auto xOf = [tags](long frame) { return int(frame * (tags->width() - 1) / 11); };
    QVERIFY(!PlayerAction("mnuDeleteSel")->isEnabled());
    SendMouse(tags, QEvent::MouseButtonPress, xOf(3), Qt::LeftButton);
    SendMouse(tags, QEvent::MouseMove, xOf(5), Qt::LeftButton);
    SendMouse(tags, QEvent::MouseMove, xOf(6), Qt::LeftButton);
    SendMouse(tags, QEvent::MouseButtonRelease, xOf(6), Qt::NoButton);
    QCOMPARE(p.SelLow(), 3L);
    QCOMPARE(p.SelHigh(), 6L);
    QCOMPARE(Text("Label_Selection"), QString("Selected Frames: [3] ... [6]"));
    QVERIFY(PlayerAction("mnuDeleteSel")->isEnabled());

    // Delete the selection: the question, the new film's name; the new film
    // opens, the old one keeps its frames.
    const std::string cut = Path("leed(1).vid");
    host_->queue.push_back(MsgResult::Yes);
    host_->AnswerFile(cut);
    PlayerAction("mnuDeleteSel")->trigger();
    QVERIFY(!host_->messages.empty());
    QCOMPARE(QString::fromStdString(host_->messages.back().text),
             QString("Are you sure to delete 4 Frames?"));
    QVERIFY(host_->unscripted.empty());
    QCOMPARE(p.Filename(), cut);
    QCOMPARE(p.Frames, 8L);
    QCOMPARE(FramesIn(film), 12L);
    QCOMPARE(Child<QSlider>("Slider")->maximum(), 7);
    slider->setValue(3);
    QCOMPARE(Text("Label_Position"), QString("(64 eV)"));  // 56 .. 62 went
    QVERIFY(Player()->windowTitle().contains("leed(1).vid"));
    QCOMPARE(QString::fromStdString(p.ImageIf()->Title()), Player()->windowTitle());

    // Export frames 1 and 2 with a log; a range beyond the film is refused
    // first and the dialog stays.
    const QString out = dir_.filePath("frames");
    bool refusedAndStayed = false;
    QTimer::singleShot(0, this, [&] {
      auto* d = window_->findChild<QDialog*>("Form_VTR_Export");
      if (!d) return;
      d->findChild<QRadioButton*>("Option_Selection(2)")->click();
      Type(d->findChild<QLineEdit*>("Text_From"), "1");
      Type(d->findChild<QLineEdit*>("Text_To"), "99");
      Type(d->findChild<QLineEdit*>("Text_Folder"), out);
      d->findChild<QComboBox*>("Combo_Filter")->setCurrentIndex(0);
      QCheckBox* log = d->findChild<QCheckBox*>("Check_Log");
      if (!log->isChecked()) log->click();
      QTest::mouseClick(d->findChild<QPushButton*>("Command_OK"), Qt::LeftButton);
      refusedAndStayed = d->isVisible() && host_->unscripted.size() == 1;
      Type(d->findChild<QLineEdit*>("Text_To"), "2");
      QTest::mouseClick(d->findChild<QPushButton*>("Command_OK"), Qt::LeftButton);
    });
    PlayerAction("mnuExport")->trigger();
    QVERIFY(refusedAndStayed);
    QVERIFY(QString::fromStdString(host_->unscripted.front()).startsWith("To: "));
    const QString ext = QString::fromStdString(Form_VTR_Export::Filters()[0]);
    for (const char* n : {"_000001", "_000002"})
      QVERIFY2(QFile::exists(out + "/leed(1)" + n + ext), n);
    QVERIFY(!QFile::exists(out + "/leed(1)_000003" + ext));
    QFile log(dir_.filePath("leed(1).txt"));
    QVERIFY(log.open(QIODevice::ReadOnly));
    const QStringList lines = QString(log.readAll()).split("\r\n", Qt::SkipEmptyParts);
    QCOMPARE(lines.size(), 2);
    QVERIFY2(lines[0].startsWith("[1]\t52\t"), qPrintable(lines[0]));
    QVERIFY2(lines[1].startsWith("[2]\t54\t"), qPrintable(lines[1]));
    QCOMPARE(p.CurrentFrame, 3L);  // the frame on show stays
  }

  // The edits that ask the window for names and sizes: sort by the frame
  // list, append a second film, resize; each result opens in the player.
  void sortAppendAndResizeFromTheMenus() {
    QVERIFY(dir_.isValid());
    SetUp();
    if (QTest::currentTestFailed()) return;
    const std::string a = Path("a.vid"), b = Path("b.vid");
    QVERIFY(app::WriteSimulatedFilm(a, 6, 50.0, 2.0));  // 50 .. 60 eV
    QVERIFY(app::WriteSimulatedFilm(b, 4, 70.0, 2.0));  // 70 .. 76 eV
    OpenFilm(a);
    if (QTest::currentTestFailed()) return;
    Form_SoftVTR& p = SoftVTRForm();
    const auto energyAt = [&p](long frame) {
      return p.GotoFrame(frame) ? double(p.Energy()) : -1.0;
    };

    // Saved as AVI and opened from the workbench: the same pictures.
    host_->AnswerFile(Path("a.avi"), 2);
    SetCompressOptions(DefaultCompressOptions(FilmCodec::Lossless));
    PlayerAction("mnuSaveAs")->trigger();
    ClearCompressOptions();
    QVERIFY(main_->OpenDocument(Path("a.avi")));
    QVERIFY(p.IsAVI());
    QCOMPARE(p.Frames, 6L);
    QVERIFY(p.GotoFrame(2));
    std::vector<uint16_t> expected(size_t(kDummyWidth * kDummyHeight));
    TestImageParams tp;
    tp.Energy = 54.0;
    tp.Time = 1.0;
    tp.Seed = 2;
    QVERIFY(SV_test_image({kDummyWidth, kDummyHeight}, expected, tp));
    QVERIFY(std::equal(expected.begin() + 48, expected.end(), p.ImageIf()->ImagePtr() + 48));
    QVERIFY(main_->OpenDocument(a));

    {
      QFile list(dir_.filePath("FrameList.txt"));
      QVERIFY(list.open(QIODevice::WriteOnly));
      list.write("5\r\n0 ; the first\r\n3\r\n");
    }
    host_->AnswerFile(Path("sorted.vid"));
    PlayerAction("mnuSortVID")->trigger();
    QCOMPARE(p.Filename(), Path("sorted.vid"));
    QCOMPARE(p.Frames, 3L);
    QCOMPARE(energyAt(0), 60.0);
    QCOMPARE(energyAt(1), 50.0);
    QCOMPARE(energyAt(2), 56.0);

    QVERIFY(main_->OpenDocument(a));
    host_->AnswerFile(b);                   // the second film
    host_->AnswerFile(Path("both.vid"));    // the target
    PlayerAction("mnuAppendVID")->trigger();
    QCOMPARE(p.Filename(), Path("both.vid"));
    QCOMPARE(p.Frames, 10L);
    QCOMPARE(energyAt(5), 60.0);
    QCOMPARE(energyAt(6), 70.0);
    QCOMPARE(FramesIn(a), 6L);
    QCOMPARE(FramesIn(b), 4L);

    // A size out of range is refused and asked again; the copy keeps its
    // own name when the rename is declined.
    host_->AnswerInput("5");
    host_->queue.push_back(MsgResult::OK);  // "Invalid size!"
    host_->AnswerInput("192");
    host_->AnswerInput("144");
    host_->AnswerFile(Path("small.vid"));
    host_->queue.push_back(MsgResult::No);  // no rename
    PlayerAction("mnuResize")->trigger();
    QCOMPARE(p.Filename(), Path("small.vid"));
    QCOMPARE(p.Video()->Width(), 192L);
    QCOMPARE(p.Video()->Height(), 144L);
    QCOMPARE(p.Frames, 10L);
    QCOMPARE(energyAt(9), 76.0);
    QCOMPARE(FramesIn(Path("both.vid")), 10L);
    QVERIFY(host_->unscripted.empty());
  }

  void filmAsCameraOfAnIERun() {
    QVERIFY(dir_.isValid());
    SetUp();
    if (QTest::currentTestFailed()) return;
    const std::string film = Path("sweep.vid");
    QVERIFY(app::WriteSimulatedFilm(film, 21, 40.0, 2.0));  // 40 .. 80 eV
    OpenFilm(film);
    if (QTest::currentTestFailed()) return;
    // Closed and opened again from the workbench's last files.
    PlayerAction("mnuClose")->trigger();
    QVERIFY(!SoftVTRForm().IsOpen());
    QVERIFY(!Child<QToolButton>("Command_Play")->isEnabled());
    main_->PrepareAllMenus();
    QAction* last = window_->MenuAction("mnuLastFile", 0);
    QVERIFY(last && last->isEnabled());
    last->trigger();
    QVERIFY(SoftVTRForm().IsOpen());
    QCOMPARE(SoftVTRForm().Filename(), film);

    // The film's data, and a worksheet of its numbers from there.
    PlayerAction("mnuFilmData")->trigger();
    QDialog* data = window_->findChild<QDialog*>("Form_VTR_Data");
    QVERIFY(data && data->isVisible());
    QCOMPARE(data->findChild<QLabel*>("Label_Frames")->text(), QString("21"));
    QCOMPARE(data->findChild<QLabel*>("Label_Cols")->text(), QString("2"));
    QListWidget* columns = data->findChild<QListWidget*>("List_Column");
    QCOMPARE(columns->count(), 2);
    QCOMPARE(columns->item(1)->text(), QString("B: time (s)"));
    const size_t docs = main_->Documents().size();
    QTest::mouseClick(data->findChild<QPushButton*>("Command_CreateWorksheet"), Qt::LeftButton);
    QCOMPARE(main_->Documents().size(), docs + 1);
    auto* made = dynamic_cast<Form_Worksheet*>(main_->Documents().back());
    QVERIFY(made);
    QCOMPARE(made->Rows() - 1, 21L);
    QCOMPARE(made->ColName(3), std::string("time (s)"));
    double t = 0;
    QVERIFY(made->NumberAt(21, 3, t));
    QCOMPARE(t, 10.0);
    QTest::mouseClick(data->findChild<QPushButton*>("Command_Close"), Qt::LeftButton);

    // The film becomes the experiments' camera.
    QVERIFY(!FilmMode());
    PlayerAction("mnuFilmAsCamera")->trigger();
    QVERIFY(FilmMode());
    QVERIFY(PlayerAction("mnuFilmAsCamera")->isChecked());

    // Two windows on spots of the simulated screen, an I(E) sweep from 60
    // down to 50 eV: the frames of 50 .. 60 eV, in the film's order.
    for (int i = 0; i < 2; ++i) {
      ScanWindow& w = WG().ScanWindows[size_t(i)];
      w.X1 = i == 0 ? 180 : 60;
      w.Y1 = i == 0 ? 132 : 40;
      w.W = 24;
      w.H = 24;
      w.Plot = 1;
    }
    Press("mnuExperiment");
    QVERIFY(Experiment() && Experiment()->isVisible());
    QRadioButton* ie = ExpChild<QRadioButton>("Option_Experiment(1)");
    QTest::mouseClick(ie, Qt::LeftButton, {}, QPoint(6, ie->height() / 2));
    QVERIFY(ie->isChecked());
    Type(ExpChild<QLineEdit>("Text_EStart"), "60");
    Type(ExpChild<QLineEdit>("Text_EStop"), "50");
    Type(ExpChild<QLineEdit>("Text_EStep"), "-2");
    Type(ExpChild<QLineEdit>("Text_DwellTime"), "0");
    for (const char* c : {"Check_Window(0)", "Check_Window(1)"}) {
      QCheckBox* box = ExpChild<QCheckBox>(c);
      QVERIFY2(box && box->isEnabled(), c);
      if (!box->isChecked()) QTest::mouseClick(box, Qt::LeftButton);
    }
    QTest::mouseClick(ExpChild<QPushButton>("Command_Accept"), Qt::LeftButton);
    QCOMPARE(ES().SelectedWindows, (std::vector<int16_t>{0, 1}));
    QVERIFY(host_->unscripted.empty());
    QPushButton* start = ExpChild<QPushButton>("Command_Start(0)");
    QVERIFY(start && start->isEnabled());

    // The run: rows one frame at a time, the plot drawn as they come, the
    // player's transport closed while the run holds the film.
    Form_Worksheet* sheet = ExperimentForm().Worksheet();
    QVERIFY(sheet);
    std::vector<long> rows;
    bool transportOpen = false;
    host_->onEvents = [&] {
      if (!ExperimentForm().Running()) return;
      const long r = sheet->Rows() - 1;
      if (rows.empty() || rows.back() != r) rows.push_back(r);
      // From the first row on the run holds the film.
      if (r >= 1)
        transportOpen = transportOpen || Child<QToolButton>("Command_Step")->isEnabled() ||
                        Child<QSlider>("Slider")->isEnabled() ||
                        PlayerAction("mnuOpenFilm")->isEnabled() ||
                        PlayerAction("mnuFilmAsCamera")->isEnabled();
    };
    QTest::mouseClick(start, Qt::LeftButton);
    host_->onEvents = nullptr;
    QVERIFY(!ExperimentForm().Running());
    QVERIFY2(host_->unscripted.empty(), host_->unscripted.empty() ? "" : host_->unscripted[0].c_str());
    QCOMPARE(sheet->Rows() - 1, 6L);
    QVERIFY(rows.size() >= 5);  // seen growing, not only at the end
    QVERIFY(std::is_sorted(rows.begin(), rows.end()));
    QVERIFY(!transportOpen);
    for (long r = 1; r <= 6; ++r) {
      double e = 0;
      QVERIFY(sheet->NumberAt(r, 1, e));
      QCOMPARE(e, 50.0 + 2.0 * double(r - 1));
    }
    Form_Plot* plot = ExperimentForm().IntensityPlot();
    QVERIFY(plot);
    QCOMPARE(plot->Curves(), 2L);
    app::PlotWindow* pw = window_->PlotWindowFor(plot->Handle());
    QVERIFY(pw && pw->PartShows() + pw->Draws() >= 6);
    // The run has let the film go: the transport is back.
    QVERIFY(Child<QToolButton>("Command_Step")->isEnabled());
    QVERIFY(PlayerAction("mnuOpenFilm")->isEnabled());
  }
};

QTEST_MAIN(TestFilmPlayer)
#include "test_film_player.moc"
