#include "app/film_player_window.h"

#include <QAction>
#include <QCheckBox>
#include <QDialog>
#include <QFileDialog>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QListWidget>
#include <QMenu>
#include <QMenuBar>
#include <QMouseEvent>
#include <QPainter>
#include <QPointer>
#include <QPushButton>
#include <QSlider>
#include <QSpinBox>
#include <QStyle>
#include <QToolButton>
#include <QVBoxLayout>
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "app/film_dialogs.h"
#include "app/form_binding.h"
#include "core/globals.h"
#include "core/host.h"
#include "core/mdi_main.h"
#include "experiment/experiment_run.h"
#include "experiment/film_source.h"
#include "experiment/form_experiment.h"
#include "video/film_edit.h"
#include "video/film_files.h"
#include "video/form_soft_vtr.h"
#include "video/form_vtr_export.h"

namespace sv::app {

namespace {

// The tag bar: the film's frames from left to right, the tagged range
// filled, the frame on show marked. A click tags the first frame, a drag
// with the button held the last.
class TagBar : public QWidget {
 public:
  explicit TagBar(QWidget* parent) : QWidget(parent) {
    setObjectName("TagBar");
    setMinimumHeight(16);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    setToolTip("Click: first tagged frame; drag: last tagged frame");
  }
  std::function<void(long)> pressed, dragged;

  void Set(long frames, long current, long first, long last) {
    if (frames == frames_ && current == current_ && first == first_ && last == last_) return;
    frames_ = frames;
    current_ = current;
    first_ = first;
    last_ = last;
    update();
  }
  // The frame under x, within the film.
  long FrameAt(int x) const {
    if (frames_ < 2) return 0;
    const double span = std::max(1, width() - 1);
    return std::clamp(std::lround(double(x) * double(frames_ - 1) / span), 0L, frames_ - 1);
  }
  int XOf(long frame) const {
    if (frames_ < 2) return 0;
    return int(std::lround(double(frame) * double(std::max(1, width() - 1)) / double(frames_ - 1)));
  }
  QSize sizeHint() const override { return {240, 16}; }

 protected:
  void paintEvent(QPaintEvent*) override {
    QPainter p(this);
    const QPalette& pal = palette();
    p.fillRect(rect(), pal.color(isEnabled() ? QPalette::Base : QPalette::Window));
    if (frames_ > 0 && first_ >= 0) {
      const long last = last_ >= 0 ? last_ : first_;
      const int a = XOf(std::min(first_, last)), b = XOf(std::max(first_, last));
      p.fillRect(QRect(a, 2, std::max(2, b - a + 1), height() - 4), pal.color(QPalette::Highlight));
    }
    if (frames_ > 0 && current_ >= 0) {
      p.setPen(QPen(pal.color(QPalette::WindowText), 2));
      const int x = std::clamp(XOf(current_), 1, std::max(1, width() - 2));
      p.drawLine(x, 0, x, height());
    }
    p.setPen(pal.color(QPalette::Mid));
    p.drawRect(rect().adjusted(0, 0, -1, -1));
  }
  void mousePressEvent(QMouseEvent* e) override {
    if (e->button() != Qt::LeftButton || frames_ < 1) return;
    dragging_ = true;
    at_ = FrameAt(int(e->position().x()));
    if (pressed) pressed(at_);
  }
  void mouseMoveEvent(QMouseEvent* e) override {
    if (!dragging_ || !(e->buttons() & Qt::LeftButton)) return;
    const long f = FrameAt(int(e->position().x()));
    if (f == at_) return;
    at_ = f;
    if (dragged) dragged(f);
  }
  void mouseReleaseEvent(QMouseEvent* e) override {
    if (e->button() == Qt::LeftButton) dragging_ = false;
  }

 private:
  long frames_ = 0, current_ = -1, first_ = -1, last_ = -1, at_ = -1;
  bool dragging_ = false;
};

Form_SoftVTR& P() { return SoftVTRForm(); }

// The GrabMode a run had before the film became its camera.
int g_liveGrabMode = 0;

// --- Editing commands that need names first ----------------------------------------------

// The name of a new film beside the open one, confirmed in the save dialog.
bool NewFilmName(const std::string& title, std::string& target) {
  int filter = 1;
  target = FreeSiblingName(P().Filename(), ".vid");
  return SaveFilmDialog(title, target, filter, true);
}

void SortFilm() {
  if (!P().IsOpen()) return;
  const std::string source = P().Filename();
  std::string target;
  if (!NewFilmName("Sort Film", target)) return;
  if (P().SortVID(source, target)) P().OpenVideo(target);
}

void AppendFilm() {
  if (!P().IsOpen()) return;
  const std::string first = P().Filename();
  FileDialog dlg;
  dlg.title = "Append Film";
  dlg.filter = "SV4200 video files (*.vid)|*.vid|all files (*.*)|*.*|";
  dlg.folder = FolderOf(first);
  const FileDialogResult second = host().OpenFileDialog(dlg);
  if (second.path.empty()) return;
  std::string target;
  if (!NewFilmName("Append Film", target)) return;
  if (P().AppendVID(first, second.path, target)) P().OpenVideo(target);
}

// Asks for a number of pixels; false when cancelled. Asks again after a
// number out of range.
bool AskSize(const std::string& prompt, long& value) {
  for (;;) {
    const std::optional<std::string> s =
        host().InputBox(prompt + " (16 ... 8192)", "Resizing Film", std::to_string(value));
    if (!s) return false;
    char* end = nullptr;
    const long v = std::strtol(s->c_str(), &end, 10);
    if (end != s->c_str() && *end == '\0' && v >= 16 && v <= 8192) {
      value = v;
      return true;
    }
    host().MsgBox("Invalid size!", MsgButtons::OK, MsgIcon::Exclamation, "Resizing Film");
  }
}

void ResizeFilm() {
  VideoFile* film = P().Video();
  if (!film) return;
  long width = film->Width(), height = film->Height();
  if (!AskSize("Width (pixels)", width) || !AskSize("Height (pixels)", height)) return;
  P().Resize(width, height);
}

// --- The window ---------------------------------------------------------------------------

class FilmPlayerWindow : public QDialog, public Form_SoftVTR::View {
 public:
  explicit FilmPlayerWindow(QWidget* parent);
  ~FilmPlayerWindow() override { P().SetView(nullptr); }

  void Changed(const Form_SoftVTR&) override { LoadControls(); }
  // A run took the film or let it go: the transport follows.
  void RunChanged() {
    if (transportShown_ != P().TransportEnabled()) LoadControls();
  }
  void FrameShown(const Form_SoftVTR&) override { LoadControls(); }
  void Shown(const Form_SoftVTR&, bool on) override {
    if (on) {
      ShowBeside();
    } else if (isVisible()) {
      hide();
    }
  }
  // The first time at the right of the main window, below its toolbars,
  // where it covers the least of the pictures; later where the user left it.
  void ShowBeside() {
    if (!placed_ && parentWidget()) {
      placed_ = true;
      adjustSize();
      const QRect main = parentWidget()->frameGeometry();
      move(std::max(main.left(), main.right() - frameGeometry().width() - 24), main.top() + 140);
    }
    show();
    raise();
  }

 protected:
  // Closing the window closes the film; a playing film stops first, and a
  // run that takes its frames from the film keeps it.
  void reject() override {
    Form_SoftVTR& p = P();
    if (p.Playing()) {
      p.Stopp();
      return;
    }
    if (p.IsOpen() && !p.TransportEnabled()) return;
    p.Form_Unload();
    QDialog::reject();
  }

 private:
  QAction* Action(QMenu* menu, const char* name, const QString& caption,
                  std::function<void()> run);
  QToolButton* Transport(const char* name, QStyle::StandardPixmap icon, const QString& tip,
                         std::function<void()> run);
  void BuildMenus(QMenuBar* bar);
  void FillLastFiles();
  void LoadControls();

  bool loading_ = false;
  bool transportShown_ = false;
  bool placed_ = false;
  QMenu *file_ = nullptr, *lastFiles_ = nullptr;
  std::vector<QAction*> needFilm_;  // commands on the open film, off while playing
  std::vector<QAction*> idle_;      // off while playing and while a run holds the film
  std::vector<QToolButton*> transport_;
  QToolButton* stop_ = nullptr;
  QAction *subtract_ = nullptr, *reverseAction_ = nullptr, *replayAction_ = nullptr,
          *asCamera_ = nullptr, *selClear_ = nullptr, *deleteSel_ = nullptr;
  QSlider* slider_ = nullptr;
  TagBar* tags_ = nullptr;
  QLabel *status_, *frame_, *time_, *position_, *column_, *selection_;
  QCheckBox *reverse_, *replay_;
  QSpinBox* skip_;
  QListWidget* cols_;
};

QAction* FilmPlayerWindow::Action(QMenu* menu, const char* name, const QString& caption,
                                  std::function<void()> run) {
  QAction* a = menu->addAction(caption);
  a->setObjectName(name);
  connect(a, &QAction::triggered, this, [this, run] {
    if (!loading_) run();
  });
  return a;
}

QToolButton* FilmPlayerWindow::Transport(const char* name, QStyle::StandardPixmap icon,
                                         const QString& tip, std::function<void()> run) {
  auto* b = new QToolButton(this);
  b->setObjectName(name);
  b->setIcon(style()->standardIcon(icon));
  b->setToolTip(tip);
  b->setAutoRaise(false);
  b->setIconSize(QSize(20, 20));
  connect(b, &QToolButton::clicked, this, [run] { run(); });
  return b;
}

void FilmPlayerWindow::BuildMenus(QMenuBar* bar) {
  // File.
  file_ = bar->addMenu("&File");
  idle_.push_back(Action(file_, "mnuOpenFilm", "&Open...", [] { P().VideoFileOpen(); }));
  lastFiles_ = file_->addMenu("&Last Films");
  lastFiles_->setObjectName("mnuLastFilms");
  connect(file_, &QMenu::aboutToShow, this, [this] { FillLastFiles(); });
  file_->addSeparator();
  needFilm_.push_back(Action(file_, "mnuInfo", "&Info...", [] { P().mnuInfo(); }));
  needFilm_.push_back(Action(file_, "mnuFilmData", "Film &Data...", [] { ShowFilmData(); }));
  file_->addSeparator();
  needFilm_.push_back(Action(file_, "mnuExport", "&Export Frames...", [] { P().mnuExport(); }));
  needFilm_.push_back(
      Action(file_, "mnuCreateWorksheet", "Create &Worksheet", [] { P().CreateWorksheet(P().Filename()); }));
  needFilm_.push_back(Action(file_, "mnuSaveAs", "Save &As...", [] { P().VideoSaveAs(); }));
  needFilm_.push_back(Action(file_, "mnuResize", "Resi&ze...", [] { ResizeFilm(); }));
  file_->addSeparator();
  needFilm_.push_back(Action(file_, "mnuClose", "&Close Film", [] { P().CloseVideo(); }));

  // Edit.
  QMenu* edit = bar->addMenu("&Edit");
  needFilm_.push_back(Action(edit, "mnuDeleteFrame", "Delete &Frame", [] { P().mnuDeleteFrame(); }));
  deleteSel_ = Action(edit, "mnuDeleteSel", "Delete &Selection", [] { P().mnuDeleteSel(); });
  needFilm_.push_back(deleteSel_);
  needFilm_.push_back(
      Action(edit, "mnuDelete2ndFrame", "Delete Every &2nd Frame", [] { P().mnuDelete2ndFrame(); }));
  needFilm_.push_back(Action(edit, "mnuDeleteFramesFromFile", "Delete Frames from F&ile",
                             [] { P().mnuDeleteFramesFromFile(); }));
  edit->addSeparator();
  needFilm_.push_back(Action(edit, "mnuSortVID", "S&ort by Frame List...", [] { SortFilm(); }));
  needFilm_.push_back(Action(edit, "mnuAppendVID", "&Append Film...", [] { AppendFilm(); }));
  needFilm_.push_back(Action(edit, "mnuMergeVideo", "&Merge Film...", [] { P().mnuMergeVideo(); }));
  idle_.push_back(Action(edit, "mnuImport", "&Import Images...", [] { P().mnuImport(); }));
  edit->addSeparator();
  needFilm_.push_back(Action(edit, "mnuSelAll", "Select A&ll", [] { P().mnuSelAll(); }));
  selClear_ = Action(edit, "mnuSelClear", "&Clear Selection", [] { P().mnuSelClear(); });
  needFilm_.push_back(selClear_);

  // Play.
  QMenu* play = bar->addMenu("&Play");
  reverseAction_ = Action(play, "mnuReverse", "&Reverse", [this] {
    P().Check_Reverse = !P().Check_Reverse;
    LoadControls();
  });
  reverseAction_->setCheckable(true);
  replayAction_ = Action(play, "mnuReplay", "Re&play", [] { P().mnuReplay(); });
  replayAction_->setCheckable(true);
  QMenu* skip = play->addMenu("&Skip");
  skip->setObjectName("mnuSkip");
  for (int n : {1, 2, 5, 10, 20}) {
    QAction* a = skip->addAction(n == 1 ? QString("Every Frame") : QString("%1 Frames").arg(n));
    a->setObjectName(QString("mnuSkip(%1)").arg(n));
    connect(a, &QAction::triggered, this, [n] { P().mnuSkip(n); });
  }

  // Background.
  QMenu* bg = bar->addMenu("&Background");
  needFilm_.push_back(
      Action(bg, "mnuDefineBackground", "&Define Background", [] { P().mnuDefineBackground(); }));
  subtract_ = Action(bg, "mnuSubtractBackground", "&Subtract Background",
                     [] { P().mnuSubtractBackground(); });
  subtract_->setCheckable(true);
  bg->addSeparator();
  Action(bg, "mnuBackground", "&Background...", [] { P().mnuBackground(); });

  // Run: the film as the camera of the experiments.
  QMenu* run = bar->addMenu("&Run");
  asCamera_ = Action(run, "mnuFilmAsCamera", "Film as &Camera", [this] {
    if (GrabMode() == kGrabModeVTR) {
      GrabMode() = g_liveGrabMode;
    } else {
      g_liveGrabMode = GrabMode();
      GrabMode() = kGrabModeVTR;
    }
    LoadControls();
  });
  asCamera_->setCheckable(true);
  idle_.push_back(asCamera_);
  asCamera_->setToolTip("Experiments take their frames, energy and time from the film");
}

void FilmPlayerWindow::FillLastFiles() {
  lastFiles_->clear();
  int i = 0;
  for (const std::string& f : P().LastFiles) {
    QAction* a = lastFiles_->addAction(QString("&%1 %2").arg(++i).arg(Q(f)));
    a->setObjectName(QString("mnuLastFilm(%1)").arg(i - 1));
    connect(a, &QAction::triggered, this, [f] { P().OpenVideo(f); });
  }
}

FilmPlayerWindow::FilmPlayerWindow(QWidget* parent) : QDialog(parent) {
  setObjectName("Form_SoftVTR");
  setModal(false);
  setWindowFlag(Qt::Tool, true);
  auto* bar = new QMenuBar(this);
  BuildMenus(bar);

  // Frame, time and position over the slider.
  frame_ = new QLabel(this);
  frame_->setObjectName("Label_Frame");
  time_ = new QLabel(this);
  time_->setObjectName("Label_Time");
  position_ = new QLabel(this);
  position_->setObjectName("Label_Position");
  status_ = new QLabel(this);
  status_->setObjectName("Label_Status");
  status_->setFrameStyle(QFrame::Panel | QFrame::Sunken);
  status_->setMinimumWidth(56);
  status_->setAlignment(Qt::AlignCenter);
  auto* top = new QHBoxLayout;
  top->addWidget(status_);
  top->addWidget(frame_);
  top->addStretch();
  top->addWidget(position_);
  top->addWidget(time_);

  slider_ = new QSlider(Qt::Horizontal, this);
  slider_->setObjectName("Slider");
  slider_->setMinimumWidth(320);
  connect(slider_, &QSlider::valueChanged, this, [this](int v) {
    if (!loading_ && v != P().CurrentFrame) P().GotoFrame(v);
  });
  tags_ = new TagBar(this);
  tags_->pressed = [](long f) { P().TagDown(f); };
  tags_->dragged = [](long f) { P().TagDrag(f); };

  // The transport.
  auto* strip = new QHBoxLayout;
  strip->setSpacing(2);
  transport_ = {
      Transport("Command_First", QStyle::SP_MediaSkipBackward, "First frame", [] { P().VTR_First(); }),
      Transport("Command_Back", QStyle::SP_MediaSeekBackward, "Play backward", [] { P().Previous(); }),
      Transport("Command_StepBack", QStyle::SP_ArrowLeft, "Step back", [] { P().PreviousFrame(); }),
      Transport("Command_Play", QStyle::SP_MediaPlay, "Play", [] { P().Play(); }),
      Transport("Command_Step", QStyle::SP_ArrowRight, "Step", [] { P().NextFrame(); }),
      Transport("Command_Last", QStyle::SP_MediaSkipForward, "Last frame", [] { P().LastFrame(); }),
  };
  stop_ = Transport("Command_Stop", QStyle::SP_MediaStop, "Stop", [] { P().Stopp(); });
  for (QToolButton* b : transport_) {
    strip->addWidget(b);
    if (b->objectName() == "Command_StepBack") strip->addWidget(stop_);
  }
  strip->addSpacing(10);
  reverse_ = new QCheckBox("Reverse", this);
  reverse_->setObjectName("Check_Reverse");
  connect(reverse_, &QCheckBox::clicked, this, [this](bool on) {
    if (loading_) return;
    P().Check_Reverse = on;
    LoadControls();
  });
  replay_ = new QCheckBox("Replay", this);
  replay_->setObjectName("Check_Replay");
  connect(replay_, &QCheckBox::clicked, this, [this](bool on) {
    if (!loading_ && on != P().Replay) P().mnuReplay();
  });
  skip_ = new QSpinBox(this);
  skip_->setObjectName("Text_Skip");
  skip_->setRange(1, 1000);
  skip_->setPrefix("Skip ");
  connect(skip_, &QSpinBox::valueChanged, this, [this](int n) {
    if (!loading_) P().mnuSkip(n);
  });
  strip->addWidget(reverse_);
  strip->addWidget(replay_);
  strip->addWidget(skip_);
  strip->addStretch();

  // The selection and the frame's numbers.
  selection_ = new QLabel(this);
  selection_->setObjectName("Label_Selection");
  column_ = new QLabel(this);
  column_->setObjectName("Label_Col");
  cols_ = new QListWidget(this);
  cols_->setObjectName("List_ColInfo");
  cols_->setMaximumHeight(80);
  cols_->setToolTip("The frame's numbers; a click picks the column shown above");
  connect(cols_, &QListWidget::currentRowChanged, this, [this](int row) {
    // Row 0 is the frame; row i the i-th column.
    if (loading_ || row < 1 || row > P().Cols() || row - 1 == P().Col) return;
    P().Col = row - 1;
    if (P().IsOpen()) P().ShowFrame(P().CurrentFrame);
  });

  auto* all = new QVBoxLayout(this);
  all->setMenuBar(bar);
  all->addLayout(top);
  all->addWidget(slider_);
  all->addWidget(tags_);
  all->addLayout(strip);
  all->addWidget(selection_);
  all->addWidget(column_);
  all->addWidget(cols_);

  P().SetView(this);
  LoadControls();
}

void FilmPlayerWindow::LoadControls() {
  loading_ = true;
  Form_SoftVTR& p = P();
  if (windowTitle() != Q(p.Caption)) setWindowTitle(Q(p.Caption));
  const bool open = p.IsOpen();
  const bool transport = p.TransportEnabled();
  transportShown_ = transport;
  const bool playing = p.Playing();
  status_->setText(Q(p.Label_Status));
  frame_->setText(Q(p.Label_Frame));
  time_->setText(Q(p.Label_Time));
  position_->setText(Q(p.Label_Position));
  column_->setText(Q(p.Label_Col));
  selection_->setText(Q(p.SelectionStatus()));
  if (slider_->minimum() != int(p.SliderMin) || slider_->maximum() != int(p.SliderMax))
    slider_->setRange(int(p.SliderMin), int(std::max(p.SliderMin, p.SliderMax)));
  if (slider_->value() != int(p.SliderValue)) slider_->setValue(int(p.SliderValue));
  slider_->setEnabled(transport && !playing);
  tags_->Set(open ? p.Frames : 0, open ? p.CurrentFrame : -1, p.SelFirst, p.SelLast);
  tags_->setEnabled(open);
  for (QToolButton* b : transport_) b->setEnabled(transport && !playing);
  stop_->setEnabled(playing);
  reverse_->setChecked(p.Check_Reverse);
  reverse_->setEnabled(transport);
  replay_->setChecked(p.Replay);
  replay_->setEnabled(transport);
  if (skip_->value() != int(p.Skip)) skip_->setValue(int(std::clamp(p.Skip, 1L, 1000L)));
  reverseAction_->setChecked(p.Check_Reverse);
  replayAction_->setChecked(p.Replay);
  for (QAction* a : needFilm_) a->setEnabled(open && transport && !playing);
  deleteSel_->setEnabled(open && transport && !playing && p.HasSelection());
  // Another film may come in only when this one is free.
  const bool idle = !playing && (!open || transport);
  for (QAction* a : idle_) a->setEnabled(idle);
  lastFiles_->menuAction()->setEnabled(idle && !p.LastFiles.empty());
  subtract_->setChecked(G().SubtractBackground != 0);
  asCamera_->setChecked(GrabMode() == kGrabModeVTR);

  // The frame's numbers: "Frame n", then one line a column.
  QStringList lines;
  if (open) {
    QString info = Q(p.ColInfo());
    info.replace("\r\n", "\n");
    lines = info.split('\n', Qt::SkipEmptyParts);
  }
  bool same = cols_->count() == lines.size();
  for (int i = 0; same && i < lines.size(); ++i) same = cols_->item(i)->text() == lines[i];
  if (!same) {
    cols_->clear();
    cols_->addItems(lines);
  }
  const int colRow = open && p.Cols() > 0 ? int(p.Col) + 1 : -1;
  if (cols_->currentRow() != colRow) cols_->setCurrentRow(colRow);
  // The frame is read again for another column: not under a run.
  cols_->setEnabled(open && transport && !playing);
  loading_ = false;
}

QPointer<FilmPlayerWindow> g_player;
// The run's hooks as they were before the player chained itself in.
std::function<void(const RunRow&)> g_rowHook;
std::function<void(const RunEnd&)> g_endHook;

}  // namespace

void InstallFilmPlayer(MDIForm_Main& main, QWidget* window) {
  g_player = new FilmPlayerWindow(window);
  RegisterSoftVTRForm(main, [] {
    if (g_player) g_player->ShowBeside();
  });
  InstallFilmDialogs(window);
  // A run holds the film from its first row to its end.
  g_rowHook = RunRowHook();
  g_endHook = RunEndHook();
  RunRowHook() = [](const RunRow& row) {
    if (g_rowHook) g_rowHook(row);
    if (g_player) g_player->RunChanged();
  };
  RunEndHook() = [](const RunEnd& end) {
    if (g_endHook) g_endHook(end);
    if (g_player) g_player->RunChanged();
  };
}

void RemoveFilmPlayer() {
  RunRowHook() = g_rowHook;
  RunEndHook() = g_endHook;
  g_rowHook = nullptr;
  g_endHook = nullptr;
  RemoveFilmDialogs();
  g_player = nullptr;
}

}  // namespace sv::app
