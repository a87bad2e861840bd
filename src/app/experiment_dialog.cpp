#include "app/experiment_dialog.h"

#include <QButtonGroup>
#include <QCheckBox>
#include <QComboBox>
#include <QDialog>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMdiSubWindow>
#include <QPushButton>
#include <QRadioButton>
#include <QVBoxLayout>
#include <set>
#include <vector>

#include "acquisition/grabber_environment.h"
#include "analysis/form_window_setup.h"
#include "app/form_binding.h"
#include "app/main_window.h"
#include "core/mdi_main.h"
#include "experiment/film_source.h"
#include "experiment/form_experiment.h"
#include "plot/form_plot.h"
#include "worksheet/form_worksheet.h"

namespace sv::app {

namespace {

const char* const kPlotNames[] = {"(none)", "I.max", "I.total", "I.back", "I.max - I.back",
                                  "I.total - I.back"};

// A control inside a box that a run disables: its own state is compared, not
// the one it shows, so that what it holds comes back with the box.
void ApplyOwn(QWidget* w, const Form_Experiment::Control& c) {
  if (w->testAttribute(Qt::WA_ForceDisabled) == c.Enabled) w->setEnabled(c.Enabled);
  if (w->isVisibleTo(w->parentWidget()) != c.Visible) w->setVisible(c.Visible);
}

class ExperimentDialog : public QDialog, public Form_Experiment::View {
 public:
  explicit ExperimentDialog(QWidget* parent);
  ~ExperimentDialog() override {
    Form_Experiment& f = ExperimentForm();
    f.SetView(nullptr);
    f.Unload();
  }
  void Changed(const Form_Experiment&) override {
    LoadControls();
    ShowRunWindows();
  }
  // The place of the run's sheet window in the workbench, in pixels.
  bool ReadSheetPlace(ExperimentWindowPlace& place) override {
    auto* window = dynamic_cast<MainWindow*>(parentWidget());
    const Form_Worksheet* sheet = ExperimentForm().Worksheet();
    QMdiSubWindow* sub = window && sheet ? window->SubWindowFor(sheet->Handle()) : nullptr;
    if (!sub) return false;
    const QRect r = sub->geometry();
    place.Left = r.x();
    place.Top = r.y();
    place.Width = r.width();
    place.Height = r.height();
    return true;
  }

 protected:
  // A running measurement keeps its dialog: Stop ends it first.
  void reject() override {
    if (ExperimentForm().Running()) return;
    ExperimentForm().Unload();
    QDialog::reject();
  }

 private:
  void LoadControls();
  void ShowRunWindows();
  QLineEdit* Field(Form_Experiment::Field field, const char* name);
  QCheckBox* Check(const QString& name, const QString& caption);
  QPushButton* Button(const char* name, const QString& caption, void (Form_Experiment::*cmd)());

  bool loading_ = false;
  QButtonGroup* type_ = nullptr;
  std::vector<std::pair<Form_Experiment::Field, QLineEdit*>> fields_;
  QGroupBox *userSweep_, *sweepTime_, *sweepEnergy_;
  QCheckBox* checkUserSweep_;
  QLineEdit* file_;
  QListWidget* list_;
  QCheckBox *window_[kWindowCount], *line_[kLineCount], *lplot_[kLineCount];
  QComboBox* plot_[kWindowCount];
  QCheckBox *ad_[kADChannelMax], *adPlot_[kADChannelMax];
  QCheckBox *wscan_, *lscan_, *saveXY_, *autoSave_, *online_, *update_, *dde_, *shutter_;
  QRadioButton* shutterWindow_[kWindowCount];
  QLineEdit *ddeItem_, *ddeTopic_;
  QLabel *wscans_, *lscans_, *adscans_, *avmax_, *triggerStatus_, *u_;
  QPushButton* shutterLabel_;
  QComboBox *triggerMode_, *triggerSource_;
  QPushButton *accept_, *cancel_, *new_, *start_[3];
  // The run.
  QLabel *labelTStart_, *labelTStop_, *labelTStep_, *labelDwell_;
  QLineEdit *tStop_, *time_, *rate_;
  QPushButton *stop_, *close_, *move_, *windowSetup_;
  // What a run closes: the definition of what is scanned, and the channels.
  std::vector<QWidget*> frame_;
  QWidget* frameAD_ = nullptr;
  bool continueShown_ = false;
  std::set<long> shown_;  // the run's windows shown once already
};

// The run's sheet and plots come into sight once they exist, each in the
// place it had last when one is kept; after that they are the user's.
void ExperimentDialog::ShowRunWindows() {
  auto* window = dynamic_cast<MainWindow*>(parentWidget());
  MDIForm_Main* main = MainForm();
  if (!window || !main) return;
  const Form_Experiment& f = ExperimentForm();
  const ExperimentPlaces& places = ExperimentWindowPlaces();
  const std::pair<const ChildDocument*, const ExperimentWindowPlace*> docs[] = {
      {f.Worksheet(), &places.Sheet}, {f.IntensityPlot(), &places.IPlot}, {f.ADPlot(), &places.ADPlot}};
  for (const auto& [doc, place] : docs) {
    if (!doc || !doc->Handle() || !shown_.insert(doc->Handle()).second) continue;
    QMdiSubWindow* sub = window->SubWindowFor(doc->Handle());
    if (!sub) continue;
    if (place->Width > 0 && place->Height > 0)
      sub->setGeometry(place->Left, place->Top, place->Width, place->Height);
    if (!sub->isVisible()) main->ShowChild(doc->Handle());
  }
}

QLineEdit* ExperimentDialog::Field(Form_Experiment::Field field, const char* name) {
  auto* e = new QLineEdit(this);
  e->setObjectName(name);
  e->setMaximumWidth(80);
  connect(e, &QLineEdit::textEdited, this, [this, field, e] {
    if (loading_) return;
    Form_Experiment& f = ExperimentForm();
    f.Text(field) = e->text().toStdString();
    f.Text_Change();
  });
  connect(e, &QLineEdit::editingFinished, this, [this, field] {
    if (!loading_) ExperimentForm().Text_LostFocus(field);
  });
  fields_.emplace_back(field, e);
  return e;
}

QCheckBox* ExperimentDialog::Check(const QString& name, const QString& caption) {
  auto* b = new QCheckBox(caption, this);
  b->setObjectName(name);
  connect(b, &QCheckBox::clicked, this, [this] {
    if (!loading_) ExperimentForm().Control_Click();
  });
  return b;
}

QPushButton* ExperimentDialog::Button(const char* name, const QString& caption,
                                      void (Form_Experiment::*cmd)()) {
  auto* b = new QPushButton(caption, this);
  b->setObjectName(name);
  b->setAutoDefault(false);
  if (cmd) connect(b, &QPushButton::clicked, this, [cmd] { (ExperimentForm().*cmd)(); });
  return b;
}

ExperimentDialog::ExperimentDialog(QWidget* parent) : QDialog(parent) {
  setObjectName("Form_Experiment");
  Form_Experiment& form = ExperimentForm();

  // Type and limits.
  auto* typeBox = new QGroupBox("Experiment", this);
  type_ = new QButtonGroup(this);
  auto* typeLayout = new QHBoxLayout(typeBox);
  for (int i : {kExperimentIt, kExperimentIE}) {
    auto* r = new QRadioButton(i == kExperimentIt ? "I(t)" : "I(E)", typeBox);
    r->setObjectName(Indexed("Option_Experiment", i));
    type_->addButton(r, i);
    typeLayout->addWidget(r);
  }
  connect(type_, &QButtonGroup::idClicked, this, [this](int id) {
    if (!loading_) ExperimentForm().Option_Experiment_Click(id);
  });

  sweepTime_ = new QGroupBox("Time (s)", this);
  sweepTime_->setObjectName("Picture_SweepTime");
  auto* t = new QGridLayout(sweepTime_);
  labelTStart_ = WaitLabel("Label_tStart", "Start", sweepTime_);
  labelTStop_ = WaitLabel("Label_tStop", "Stop", sweepTime_);
  labelTStep_ = WaitLabel("Label_tStep", "Step", sweepTime_);
  t->addWidget(labelTStart_, 0, 0);
  t->addWidget(Field(Form_Experiment::tStart, "Text_tStart"), 0, 1);
  t->addWidget(labelTStop_, 1, 0);
  tStop_ = Field(Form_Experiment::tStop, "Text_tStop");
  t->addWidget(tStop_, 1, 1);
  t->addWidget(labelTStep_, 2, 0);
  t->addWidget(Field(Form_Experiment::tStep, "Text_tStep"), 2, 1);

  sweepEnergy_ = new QGroupBox("Energy (eV)", this);
  sweepEnergy_->setObjectName("Picture_SweepEnergy");
  auto* en = new QGridLayout(sweepEnergy_);
  en->addWidget(new QLabel("Start", sweepEnergy_), 0, 0);
  en->addWidget(Field(Form_Experiment::EStart, "Text_EStart"), 0, 1);
  en->addWidget(new QLabel("Stop", sweepEnergy_), 1, 0);
  en->addWidget(Field(Form_Experiment::EStop, "Text_EStop"), 1, 1);
  en->addWidget(new QLabel("Step", sweepEnergy_), 2, 0);
  en->addWidget(Field(Form_Experiment::EStep, "Text_EStep"), 2, 1);

  userSweep_ = new QGroupBox("User Sweep", this);
  userSweep_->setObjectName("Picture_UserSweep");
  auto* us = new QVBoxLayout(userSweep_);
  file_ = new QLineEdit(userSweep_);
  file_->setObjectName("Text_File");
  file_->setReadOnly(true);
  auto* open = Button("Command_OpenSweep", "Open...", &Form_Experiment::SweepFileOpen);
  list_ = new QListWidget(userSweep_);
  list_->setObjectName("List_Sweep");
  list_->setMaximumHeight(90);
  auto* fileRow = new QHBoxLayout;
  fileRow->addWidget(file_);
  fileRow->addWidget(open);
  us->addLayout(fileRow);
  us->addWidget(list_);

  checkUserSweep_ = new QCheckBox("User Sweep", this);
  checkUserSweep_->setObjectName("Check_UserSweep");
  connect(checkUserSweep_, &QCheckBox::clicked, this, [this](bool on) {
    if (loading_) return;
    Form_Experiment& f = ExperimentForm();
    f.Check_UserSweep = on;
    f.Check_UserSweep_Click();
  });
  auto* dwell = new QHBoxLayout;
  labelDwell_ = WaitLabel("Label_dwellTime", "Dwell Time (s)", this);
  dwell->addWidget(labelDwell_);
  dwell->addWidget(Field(Form_Experiment::DwellTime, "Text_DwellTime"));

  auto* left = new QVBoxLayout;
  left->addWidget(typeBox);
  left->addWidget(checkUserSweep_);
  left->addWidget(sweepTime_);
  left->addWidget(sweepEnergy_);
  left->addWidget(userSweep_);
  left->addLayout(dwell);
  left->addStretch();

  // Windows, lines, A/D channels.
  auto* windows = new QGroupBox("Windows", this);
  auto* wg = new QGridLayout(windows);
  for (int i = 0; i < kWindowCount; ++i) {
    window_[i] = Check(Indexed("Check_Window", i), QString("Window %1").arg(i + 1));
    plot_[i] = new QComboBox(windows);
    plot_[i]->setObjectName(Indexed("Combo_Plot", i));
    for (const char* name : kPlotNames) plot_[i]->addItem(name);
    connect(plot_[i], &QComboBox::activated, this, [this](int) {
      if (!loading_) ExperimentForm().Control_Click();
    });
    wg->addWidget(window_[i], i, 0);
    wg->addWidget(plot_[i], i, 1);
  }
  wscan_ = Check("Check_WScan", "Start at home");
  wscans_ = new QLabel(windows);
  wscans_->setObjectName("Label_WScans");
  wg->addWidget(wscan_, kWindowCount, 0);
  wg->addWidget(wscans_, kWindowCount, 1);

  auto* lines = new QGroupBox("Lines", this);
  auto* lg = new QGridLayout(lines);
  for (int i = 0; i < kLineCount; ++i) {
    line_[i] = Check(Indexed("Check_Line", i), QString("Line %1").arg(i + 1));
    lplot_[i] = Check(Indexed("Check_LPlot", i), "Plot");
    lg->addWidget(line_[i], i, 0);
    lg->addWidget(lplot_[i], i, 1);
  }
  lscan_ = Check("Check_LScan", "Start at home");
  lscans_ = new QLabel(lines);
  lscans_->setObjectName("Label_LScans");
  avmax_ = new QLabel(lines);
  avmax_->setObjectName("Label_avmax");
  lg->addWidget(lscan_, kLineCount, 0);
  lg->addWidget(lscans_, kLineCount, 1);
  lg->addWidget(new QLabel("Averaging", lines), kLineCount + 1, 0);
  lg->addWidget(avmax_, kLineCount + 1, 1);

  auto* channels = new QGroupBox("A/D Channels", this);
  channels->setObjectName("Frame_AD");
  auto* cg = new QGridLayout(channels);
  for (int c = 0; c < kADChannelMax; ++c) {
    ad_[c] = Check(Indexed("Check_AD", c), "");
    adPlot_[c] = Check(Indexed("Check_ADPlot", c), "Plot");
    cg->addWidget(ad_[c], c, 0);
    cg->addWidget(adPlot_[c], c, 1);
  }
  adscans_ = new QLabel(channels);
  adscans_->setObjectName("Label_ADScans");
  u_ = new QLabel(channels);
  u_->setObjectName("Label_U");
  cg->addWidget(adscans_, kADChannelMax, 0);
  cg->addWidget(u_, kADChannelMax, 1);

  // Output, trigger, shutter.
  auto* output = new QGroupBox("Output", this);
  auto* og = new QGridLayout(output);
  saveXY_ = Check("Check_SaveXY", "Save X.max, Y.max");
  autoSave_ = Check("Check_AutoSave", "Auto Save");
  online_ = Check("Check_OnlineExport", "Online Export");
  update_ = Check("Check_UpdateWorksheet", "Update Worksheet");
  dde_ = Check("Check_DDE", "DDE");
  ddeItem_ = new QLineEdit(output);
  ddeItem_->setObjectName("Text_DDE");
  ddeTopic_ = new QLineEdit(output);
  ddeTopic_->setObjectName("Text_DDELinkTopic");
  connect(ddeItem_, &QLineEdit::textEdited, this,
          [](const QString& s) { ExperimentForm().Text_DDE = s.toStdString(); });
  connect(ddeTopic_, &QLineEdit::textEdited, this,
          [](const QString& s) { ExperimentForm().Text_DDELinkTopic = s.toStdString(); });
  og->addWidget(saveXY_, 0, 0);
  og->addWidget(autoSave_, 0, 1);
  og->addWidget(online_, 1, 0);
  og->addWidget(update_, 1, 1);
  og->addWidget(dde_, 2, 0);
  og->addWidget(ddeTopic_, 2, 1);
  og->addWidget(ddeItem_, 3, 1);

  auto* trigger = new QGroupBox("Trigger", this);
  auto* tg = new QGridLayout(trigger);
  triggerMode_ = new QComboBox(trigger);
  triggerMode_->setObjectName("Combo_TriggerMode");
  triggerSource_ = new QComboBox(trigger);
  triggerSource_->setObjectName("Combo_TriggerSource");
  triggerStatus_ = new QLabel(trigger);
  triggerStatus_->setObjectName("Label_TriggerStatus");
  connect(triggerMode_, &QComboBox::activated, this, [this](int i) {
    if (loading_) return;
    ExperimentForm().Combo_TriggerMode = i;
    ExperimentForm().Combo_TriggerMode_Click();
  });
  connect(triggerSource_, &QComboBox::activated, this, [this](int i) {
    if (loading_) return;
    ExperimentForm().Combo_TriggerSource = i;
    ExperimentForm().Combo_TriggerSource_Click();
  });
  tg->addWidget(triggerMode_, 0, 0);
  tg->addWidget(triggerSource_, 1, 0);
  tg->addWidget(triggerStatus_, 0, 1);

  auto* shutterBox = new QGroupBox("Shutter", this);
  auto* sg = new QGridLayout(shutterBox);
  shutter_ = Check("Check_ShutterControl", "Shutter Control, Window:");
  sg->addWidget(shutter_, 0, 0, 1, 4);
  auto* shutterGroup = new QButtonGroup(this);
  for (int i = 0; i < kWindowCount; ++i) {
    shutterWindow_[i] = new QRadioButton(QString::number(i + 1), shutterBox);
    shutterWindow_[i]->setObjectName(Indexed("Option_ShutterControl", i));
    shutterGroup->addButton(shutterWindow_[i], i);
    sg->addWidget(shutterWindow_[i], 1 + i / 4, i % 4);
  }
  connect(shutterGroup, &QButtonGroup::idClicked, this, [this](int) {
    if (!loading_) ExperimentForm().Control_Click();
  });
  shutterLabel_ = Button("Label_Shutter", Q(form.Label_Shutter), &Form_Experiment::Label_Shutter_Click);
  sg->addWidget(shutterLabel_, 3, 0, 1, 4);

  // Buttons.
  accept_ = Button("Command_Accept", "&Accept", &Form_Experiment::Command_Accept);
  cancel_ = Button("Command_Cancel", "&Cancel", &Form_Experiment::Command_Cancel);
  new_ = Button("Command_New", "&New", &Form_Experiment::Command_New);
  const char* startNames[3] = {"Command_Start(0)", "Command_Start(1)", "Command_Start(2)"};
  const char* startCaptions[3] = {"&Start", "C&ontinue", "S&tep"};
  for (int i = 0; i < 3; ++i) {
    start_[i] = Button(startNames[i], startCaptions[i], nullptr);
    connect(start_[i], &QPushButton::clicked, this, [i] { ExperimentForm().Command_Start(i); });
  }
  stop_ = Button("Command_Stop", "Sto&p", &Form_Experiment::Command_Stop);
  close_ = Button("Command_Close", "C&lose", nullptr);
  // The windows of the run are moved and set up on the picture they are
  // scanned on: the film's frame in VTR mode, else the live picture.
  move_ = Button("Command_Move", "&Move...", nullptr);
  connect(move_, &QPushButton::clicked, this, [] {
    MoveWindowForm().Load(FilmMode() ? TheFilmSource()->Image() : PreviewImage());
  });
  windowSetup_ = Button("Command_WindowSetup", "&Window Setup...", nullptr);
  connect(windowSetup_, &QPushButton::clicked, this, [] {
    if (MDIForm_Main* main = MainForm()) main->Click("mnuWindowSetup");
  });
  connect(close_, &QPushButton::clicked, this, [this] { reject(); });
  time_ = DisplayField(this, "Text_Time", 110);
  rate_ = DisplayField(this, "Text_Rate", 110);
  auto* buttons = new QHBoxLayout;
  for (QPushButton* b : {accept_, cancel_, new_, start_[0], start_[1], start_[2], stop_})
    buttons->addWidget(b);
  buttons->addSpacing(12);
  buttons->addWidget(new QLabel("Time", this));
  buttons->addWidget(time_);
  buttons->addWidget(new QLabel("Rate", this));
  buttons->addWidget(rate_);
  buttons->addStretch();
  buttons->addWidget(move_);
  buttons->addWidget(windowSetup_);
  buttons->addWidget(close_);

  frame_ = {typeBox, checkUserSweep_, windows, lines, output, trigger, shutterBox};
  frameAD_ = channels;
  auto* middle = new QVBoxLayout;
  middle->addWidget(windows);
  middle->addWidget(lines);
  auto* right = new QVBoxLayout;
  right->addWidget(channels);
  right->addWidget(output);
  right->addWidget(trigger);
  right->addWidget(shutterBox);
  right->addStretch();
  auto* columns = new QHBoxLayout;
  columns->addLayout(left);
  columns->addLayout(middle);
  columns->addLayout(right);
  auto* box = new QVBoxLayout(this);
  box->addLayout(columns);
  box->addLayout(buttons);

  // The checks are read into the presenter as they change.
  auto bindChecks = [this] {
    Form_Experiment& f = ExperimentForm();
    for (int i = 0; i < kWindowCount; ++i) {
      f.Check_Window[size_t(i)] = window_[i]->isChecked();
      f.Combo_Plot[size_t(i)] = plot_[i]->currentIndex();
      f.Option_ShutterControl[size_t(i)] = shutterWindow_[i]->isChecked();
    }
    for (int i = 0; i < kLineCount; ++i) {
      f.Check_Line[size_t(i)] = line_[i]->isChecked();
      f.Check_LPlot[size_t(i)] = lplot_[i]->isChecked();
    }
    for (int c = 0; c < kADChannelMax; ++c) {
      f.Check_AD[size_t(c)] = ad_[c]->isChecked();
      f.Check_ADPlot[size_t(c)] = adPlot_[c]->isChecked();
    }
    f.Check_WScan = wscan_->isChecked();
    f.Check_LScan = lscan_->isChecked();
    f.Check_SaveXY = saveXY_->isChecked();
    f.Check_AutoSave = autoSave_->isChecked();
    f.Check_OnlineExport = online_->isChecked();
    f.Check_UpdateWorksheet = update_->isChecked();
    f.Check_DDE = dde_->isChecked();
    f.Check_ShutterControl = shutter_->isChecked();
  };
  for (QCheckBox* b : findChildren<QCheckBox*>())
    if (b != checkUserSweep_) connect(b, &QCheckBox::toggled, this, [this, bindChecks] {
        if (!loading_) bindChecks();
      });
  for (QComboBox* c : plot_)
    connect(c, &QComboBox::currentIndexChanged, this, [this, bindChecks] {
      if (!loading_) bindChecks();
    });
  for (QRadioButton* r : shutterWindow_)
    connect(r, &QRadioButton::toggled, this, [this, bindChecks] {
      if (!loading_) bindChecks();
    });
  // The checks' own click (Control_Click) comes after their toggled.

  form.SetView(this);
  LoadControls();
}

void ExperimentDialog::LoadControls() {
  loading_ = true;
  const Form_Experiment& f = ExperimentForm();
  setWindowTitle(Q(f.Caption));
  SetChecked(type_->button(f.Option_Experiment), true);
  for (auto& [field, edit] : fields_) SetText(edit, const_cast<Form_Experiment&>(f).Text(field));
  SetChecked(checkUserSweep_, f.Check_UserSweep);
  SetText(file_, f.Text_File);
  if (list_->count() != int(f.List_Sweep.size())) {
    list_->clear();
    for (const std::string& s : f.List_Sweep) list_->addItem(Q(s));
  }
  list_->setCurrentRow(f.List_SweepIndex);
  // The sweep list is part of what a run closes.
  ApplyOwn(userSweep_, Form_Experiment::Control{f.Picture_UserSweep.Enabled && f.Ctl_Frame.Enabled,
                                                f.Picture_UserSweep.Visible});
  ApplyOwn(sweepTime_, f.Picture_SweepTime);
  ApplyOwn(sweepEnergy_, f.Picture_SweepEnergy);
  for (int i = 0; i < kWindowCount; ++i) {
    SetChecked(window_[i], f.Check_Window[size_t(i)]);
    ApplyOwn(window_[i], f.Ctl_Check_Window[size_t(i)]);
    plot_[i]->setCurrentIndex(f.Combo_Plot[size_t(i)]);
    SetChecked(shutterWindow_[i], f.Option_ShutterControl[size_t(i)]);
  }
  for (int i = 0; i < kLineCount; ++i) {
    SetChecked(line_[i], f.Check_Line[size_t(i)]);
    SetChecked(lplot_[i], f.Check_LPlot[size_t(i)]);
  }
  for (int c = 0; c < kADChannelMax; ++c) {
    ad_[c]->setText(Q(f.Label_AD[size_t(c)].empty() ? "Channel " + std::to_string(c + 1)
                                                     : f.Label_AD[size_t(c)]));
    SetChecked(ad_[c], f.Check_AD[size_t(c)]);
    SetChecked(adPlot_[c], f.Check_ADPlot[size_t(c)]);
    ApplyOwn(ad_[c], f.Ctl_Check_AD[size_t(c)]);
    ApplyOwn(adPlot_[c], f.Ctl_Check_AD[size_t(c)]);
  }
  SetChecked(wscan_, f.Check_WScan);
  SetChecked(lscan_, f.Check_LScan);
  SetChecked(saveXY_, f.Check_SaveXY);
  SetChecked(autoSave_, f.Check_AutoSave);
  SetChecked(online_, f.Check_OnlineExport);
  SetChecked(update_, f.Check_UpdateWorksheet);
  SetChecked(dde_, f.Check_DDE);
  SetText(ddeItem_, f.Text_DDE);
  SetText(ddeTopic_, f.Text_DDELinkTopic);
  SetChecked(shutter_, f.Check_ShutterControl);
  wscans_->setText(Q(f.Label_WScans));
  lscans_->setText(Q(f.Label_LScans));
  adscans_->setText(Q(f.Label_ADScans));
  avmax_->setText(Q(f.Label_avmax));
  triggerStatus_->setText(Q(f.Label_TriggerStatus));
  u_->setText(Q(f.Label_U));
  shutterLabel_->setText(Q(f.Label_Shutter));
  Fill(triggerMode_, f.Combo_TriggerModeList, f.Combo_TriggerMode);
  Fill(triggerSource_, f.Combo_TriggerSourceList, f.Combo_TriggerSource);
  Apply(accept_, f.Ctl_Command_Accept);
  Apply(cancel_, f.Ctl_Command_Cancel);
  Apply(new_, f.Ctl_Command_New);
  // "Start" and "Continue" share their place: the one the form offers is
  // shown; while neither is offered (a run goes on) the last one stays.
  const auto& starts = f.Ctl_Command_Start;
  if (starts[0].Enabled || starts[1].Enabled) continueShown_ = starts[1].Enabled && !starts[0].Enabled;
  Apply(start_[0], Form_Experiment::Control{starts[0].Enabled, starts[0].Visible && !continueShown_});
  Apply(start_[1], Form_Experiment::Control{starts[1].Enabled, starts[1].Visible && continueShown_});
  Apply(start_[2], starts[2]);
  Apply(stop_, f.Ctl_Command_Stop);
  Apply(move_, f.Ctl_Command_Move);
  Apply(windowSetup_, f.Ctl_Command_WindowSetup);
  Apply(close_, f.Ctl_Command_Close);
  Apply(tStop_, f.Ctl_Text_tStop);
  for (QWidget* w : frame_)
    if (w->isEnabled() != f.Ctl_Frame.Enabled) w->setEnabled(f.Ctl_Frame.Enabled);
  if (frameAD_->isEnabled() != f.Ctl_Frame_AD.Enabled) frameAD_->setEnabled(f.Ctl_Frame_AD.Enabled);
  SetText(time_, f.Text_Time);
  SetText(rate_, f.Text_Rate);
  Mark(labelTStart_, f.Label_tStartMarked);
  Mark(labelTStep_, f.Label_tStepMarked);
  Mark(labelDwell_, f.Label_dwellTimeMarked);
  // The main window's caption while a run goes on.
  if (!f.MainCaption.empty() && parentWidget() && parentWidget()->windowTitle() != Q(f.MainCaption))
    parentWidget()->setWindowTitle(Q(f.MainCaption));
  loading_ = false;
}

}  // namespace

void InstallExperimentDialog(MDIForm_Main& main, QWidget* window) {
  auto* dialog = new ExperimentDialog(window);
  RegisterExperimentForm(main, [dialog] {
    dialog->show();
    dialog->raise();
    dialog->activateWindow();
  });
}

}  // namespace sv::app
