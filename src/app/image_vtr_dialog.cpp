#include "app/image_vtr_dialog.h"

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
#include <QPushButton>
#include <QRadioButton>
#include <QVBoxLayout>
#include <vector>

#include "app/form_binding.h"
#include "video/form_image_vtr.h"

namespace sv::app {

namespace {

const char* const kSourceCaptions[kVideoSourceModes] = {
    "Current input", "Inputs 0 and 1", "Inputs 0 and 2", "Inputs 1 and 2", "Inputs 0, 1 and 2"};

class ImageVTRDialog : public QDialog, public Form_ImageVTR::View {
 public:
  explicit ImageVTRDialog(QWidget* parent);
  ~ImageVTRDialog() override {
    Form_ImageVTR& f = ImageVTRForm();
    f.SetView(nullptr);
    f.Unload();
  }
  void Changed(const Form_ImageVTR&) override { LoadControls(); }

 protected:
  // A recording keeps its dialog: Stop ends it first.
  void reject() override {
    if (ImageVTRForm().Running()) return;
    ImageVTRForm().Unload();
    QDialog::reject();
  }

 private:
  void LoadControls();
  QLineEdit* Field(Form_ImageVTR::Field field, const char* name);
  QCheckBox* Check(const QString& name, const QString& caption, bool Form_ImageVTR::*member);
  QPushButton* Button(const char* name, const QString& caption, void (Form_ImageVTR::*cmd)());

  bool loading_ = false;
  QButtonGroup *type_ = nullptr, *sources_ = nullptr;
  std::vector<std::pair<Form_ImageVTR::Field, QLineEdit*>> fields_;
  std::vector<std::pair<bool Form_ImageVTR::*, QCheckBox*>> checks_;
  QGroupBox *sweepTime_, *sweepEnergy_, *userSweep_;
  QCheckBox* checkUserSweep_;
  QLabel *sweepFile_, *labelTStart_, *labelTStep_, *labelDwell_;
  QListWidget* list_;
  QComboBox *average_, *triggerMode_, *triggerSource_, *sheet_;
  QCheckBox *ad_[kADChannelMax], *adPlot_[kADChannelMax];
  QLabel *adScans_, *sourceLabel_, *filmFrames_, *filmFormat_, *vidName_, *fileSize_;
  QLineEdit *file_, *time_, *rate_, *records_;
  QPushButton *accept_, *cancel_, *start_, *stop_, *close_, *browse_;
  std::vector<QWidget*> setup_;  // what a recording closes
};

QLineEdit* ImageVTRDialog::Field(Form_ImageVTR::Field field, const char* name) {
  auto* e = new QLineEdit(this);
  e->setObjectName(name);
  e->setMaximumWidth(80);
  connect(e, &QLineEdit::textEdited, this, [this, field, e] {
    if (loading_) return;
    Form_ImageVTR& f = ImageVTRForm();
    f.Text(field) = e->text().toStdString();
    f.Text_Change();
  });
  connect(e, &QLineEdit::editingFinished, this, [this, field] {
    if (!loading_) ImageVTRForm().Text_LostFocus(field);
  });
  fields_.emplace_back(field, e);
  return e;
}

QCheckBox* ImageVTRDialog::Check(const QString& name, const QString& caption,
                                 bool Form_ImageVTR::*member) {
  auto* b = new QCheckBox(caption, this);
  b->setObjectName(name);
  connect(b, &QCheckBox::clicked, this, [this, member](bool on) {
    if (loading_) return;
    Form_ImageVTR& f = ImageVTRForm();
    f.*member = on;
    f.Control_Click();
  });
  checks_.emplace_back(member, b);
  return b;
}

QPushButton* ImageVTRDialog::Button(const char* name, const QString& caption,
                                    void (Form_ImageVTR::*cmd)()) {
  QPushButton* b = CommandButton(this, caption, name);
  if (cmd) connect(b, &QPushButton::clicked, this, [cmd] { (ImageVTRForm().*cmd)(); });
  return b;
}

ImageVTRDialog::ImageVTRDialog(QWidget* parent) : QDialog(parent) {
  setObjectName("Form_ImageVTR");
  Form_ImageVTR& form = ImageVTRForm();

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
    if (!loading_) ImageVTRForm().Option_Experiment_Click(id);
  });

  sweepTime_ = new QGroupBox("Time (s)", this);
  auto* t = new QGridLayout(sweepTime_);
  labelTStart_ = WaitLabel("Label_tStart", "Start", sweepTime_);
  labelTStep_ = WaitLabel("Label_tStep", "Step", sweepTime_);
  t->addWidget(labelTStart_, 0, 0);
  t->addWidget(Field(Form_ImageVTR::tStart, "Text_tStart"), 0, 1);
  t->addWidget(new QLabel("Stop", sweepTime_), 1, 0);
  t->addWidget(Field(Form_ImageVTR::tStop, "Text_tStop"), 1, 1);
  t->addWidget(labelTStep_, 2, 0);
  t->addWidget(Field(Form_ImageVTR::tStep, "Text_tStep"), 2, 1);

  sweepEnergy_ = new QGroupBox("Energy (eV)", this);
  auto* en = new QGridLayout(sweepEnergy_);
  en->addWidget(new QLabel("Start", sweepEnergy_), 0, 0);
  en->addWidget(Field(Form_ImageVTR::EStart, "Text_EStart"), 0, 1);
  en->addWidget(new QLabel("Stop", sweepEnergy_), 1, 0);
  en->addWidget(Field(Form_ImageVTR::EStop, "Text_EStop"), 1, 1);
  en->addWidget(new QLabel("Step", sweepEnergy_), 2, 0);
  en->addWidget(Field(Form_ImageVTR::EStep, "Text_EStep"), 2, 1);
  labelDwell_ = WaitLabel("Label_DwellTime", "Dwell (s)", sweepEnergy_);
  en->addWidget(labelDwell_, 3, 0);
  en->addWidget(Field(Form_ImageVTR::DwellTime, "Text_DwellTime"), 3, 1);

  userSweep_ = new QGroupBox("User Sweep", this);
  auto* us = new QVBoxLayout(userSweep_);
  checkUserSweep_ = new QCheckBox("Use sweep file", userSweep_);
  checkUserSweep_->setObjectName("Check_UserSweep");
  connect(checkUserSweep_, &QCheckBox::clicked, this, [this](bool on) {
    if (loading_) return;
    Form_ImageVTR& f = ImageVTRForm();
    f.Check_UserSweep = on;
    f.Check_UserSweep_Click();
  });
  auto* openSweep = Button("OpenSweepFile", "Open...", &Form_ImageVTR::OpenSweepFile);
  sweepFile_ = new QLabel(userSweep_);
  list_ = new QListWidget(userSweep_);
  list_->setObjectName("List_Sweep");
  list_->setMaximumHeight(90);
  auto* usTop = new QHBoxLayout;
  usTop->addWidget(checkUserSweep_);
  usTop->addWidget(openSweep);
  us->addLayout(usTop);
  us->addWidget(sweepFile_);
  us->addWidget(list_);

  // Averaging and the trigger.
  auto* grabBox = new QGroupBox("Frames", this);
  auto* g = new QGridLayout(grabBox);
  average_ = new QComboBox(grabBox);
  average_->setObjectName("Combo_Average");
  connect(average_, &QComboBox::activated, this, [this](int i) {
    if (loading_) return;
    Form_ImageVTR& f = ImageVTRForm();
    f.Combo_Average = i;
    f.Combo_Average_Click();
  });
  triggerMode_ = new QComboBox(grabBox);
  triggerMode_->setObjectName("Combo_TriggerMode");
  connect(triggerMode_, &QComboBox::activated, this, [this](int i) {
    if (loading_) return;
    Form_ImageVTR& f = ImageVTRForm();
    f.Combo_TriggerMode = i;
    f.Combo_TriggerMode_Click();
  });
  triggerSource_ = new QComboBox(grabBox);
  triggerSource_->setObjectName("Combo_TriggerSource");
  connect(triggerSource_, &QComboBox::activated, this, [this](int i) {
    if (loading_) return;
    Form_ImageVTR& f = ImageVTRForm();
    f.Combo_TriggerSource = i;
    f.Combo_TriggerSource_Click();
  });
  g->addWidget(new QLabel("Average", grabBox), 0, 0);
  g->addWidget(average_, 0, 1);
  g->addWidget(new QLabel("Trigger", grabBox), 1, 0);
  g->addWidget(triggerMode_, 1, 1);
  g->addWidget(new QLabel("Source", grabBox), 2, 0);
  g->addWidget(triggerSource_, 2, 1);

  // A/D channels.
  auto* adBox = new QGroupBox("A/D", this);
  auto* a = new QGridLayout(adBox);
  for (int c = 0; c < kADChannelMax; ++c) {
    ad_[c] = new QCheckBox(adBox);
    ad_[c]->setObjectName(Indexed("Check_AD", c));
    adPlot_[c] = new QCheckBox("plot", adBox);
    adPlot_[c]->setObjectName(Indexed("Check_ADPlot", c));
    for (auto [box, member] : {std::pair{ad_[c], &Form_ImageVTR::Check_AD},
                               std::pair{adPlot_[c], &Form_ImageVTR::Check_ADPlot}})
      connect(box, &QCheckBox::clicked, this, [this, c, member](bool on) {
        if (loading_) return;
        Form_ImageVTR& f = ImageVTRForm();
        (f.*member)[size_t(c)] = on;
        f.Control_Click();
      });
    a->addWidget(ad_[c], c % 4, (c / 4) * 2);
    a->addWidget(adPlot_[c], c % 4, (c / 4) * 2 + 1);
  }
  adScans_ = new QLabel(adBox);
  a->addWidget(Check("Check_ADScan", "Scan", &Form_ImageVTR::Check_ADScan), 4, 0);
  a->addWidget(adScans_, 4, 1, 1, 3);

  // The films.
  auto* filmBox = new QGroupBox("Film", this);
  auto* fl = new QGridLayout(filmBox);
  file_ = new QLineEdit(filmBox);
  file_->setObjectName("Text_File");
  connect(file_, &QLineEdit::textEdited, this, [this](const QString& s) {
    if (loading_) return;
    Form_ImageVTR& f = ImageVTRForm();
    f.Text_File = s.toStdString();
    f.Text_File_Change();
  });
  browse_ = Button("Command_File", "...", &Form_ImageVTR::Command_File);
  vidName_ = new QLabel(filmBox);
  vidName_->setObjectName("Label_VIDFilename");
  filmFrames_ = new QLabel(filmBox);
  filmFormat_ = new QLabel(filmBox);
  fileSize_ = new QLabel(filmBox);
  fl->addWidget(file_, 0, 0, 1, 3);
  fl->addWidget(browse_, 0, 3);
  fl->addWidget(vidName_, 1, 0, 1, 4);
  fl->addWidget(filmFrames_, 2, 0, 1, 2);
  fl->addWidget(fileSize_, 2, 2, 1, 2);
  fl->addWidget(filmFormat_, 3, 0, 1, 4);
  sources_ = new QButtonGroup(this);
  for (int m = 0; m < kVideoSourceModes; ++m) {
    auto* r = new QRadioButton(kSourceCaptions[m], filmBox);
    r->setObjectName(Indexed("Option_VideoSource", m));
    sources_->addButton(r, m);
    fl->addWidget(r, 4 + m / 2, (m % 2) * 2, 1, 2);
  }
  connect(sources_, &QButtonGroup::idClicked, this, [this](int id) {
    if (!loading_) ImageVTRForm().Option_VideoSource_Click(id);
  });
  sourceLabel_ = new QLabel(filmBox);
  sourceLabel_->setObjectName("Label_Sources");
  fl->addWidget(sourceLabel_, 6, 2, 1, 2);

  // The sheet and the options.
  auto* sheetBox = new QGroupBox("Worksheet", this);
  auto* sl = new QGridLayout(sheetBox);
  sheet_ = new QComboBox(sheetBox);
  sheet_->setObjectName("Combo_MySHT");
  connect(sheet_, &QComboBox::activated, this, [this](int i) {
    if (loading_) return;
    Form_ImageVTR& f = ImageVTRForm();
    f.Combo_MySHT = i;
    f.Combo_MySHT_Click();
  });
  sl->addWidget(sheet_, 0, 0, 1, 3);
  sl->addWidget(Check("Check_AutoSave", "Auto Save", &Form_ImageVTR::Check_AutoSave), 1, 0);
  sl->addWidget(Check("Check_UpdateWorksheet", "Update Worksheet",
                      &Form_ImageVTR::Check_UpdateWorksheet), 1, 1);
  sl->addWidget(Check("Check_FlushBuffer", "Flush each frame", &Form_ImageVTR::Check_FlushBuffer),
                1, 2);

  // The run.
  auto* runBox = new QGroupBox("Recording", this);
  auto* rl = new QGridLayout(runBox);
  time_ = DisplayField(this, "Text_Time", 120);
  rate_ = DisplayField(this, "Text_Rate", 120);
  records_ = DisplayField(this, "Text_Records", 120);
  rl->addWidget(new QLabel("Time", runBox), 0, 0);
  rl->addWidget(time_, 0, 1);
  rl->addWidget(new QLabel("Rate", runBox), 0, 2);
  rl->addWidget(rate_, 0, 3);
  rl->addWidget(records_, 0, 4);

  accept_ = Button("Command_Accept", "Accept", &Form_ImageVTR::Command_Accept);
  cancel_ = Button("Command_Cancel", "Cancel", &Form_ImageVTR::Command_Cancel);
  start_ = Button("Command_Start", "Start", &Form_ImageVTR::Command_Start);
  stop_ = Button("Command_Stop", "Stop", &Form_ImageVTR::Command_Stop);
  close_ = Button("Command_Close", "Close", nullptr);
  connect(close_, &QPushButton::clicked, this, [this] { reject(); });
  auto* buttons = new QHBoxLayout;
  for (QPushButton* b : {accept_, cancel_, start_, stop_}) buttons->addWidget(b);
  buttons->addStretch();
  buttons->addWidget(close_);

  auto* left = new QVBoxLayout;
  left->addWidget(typeBox);
  auto* limits = new QHBoxLayout;
  limits->addWidget(sweepTime_);
  limits->addWidget(sweepEnergy_);
  left->addLayout(limits);
  left->addWidget(userSweep_);
  left->addWidget(grabBox);
  auto* right = new QVBoxLayout;
  right->addWidget(filmBox);
  right->addWidget(sheetBox);
  right->addWidget(adBox);
  auto* columns = new QHBoxLayout;
  columns->addLayout(left);
  columns->addLayout(right);
  auto* all = new QVBoxLayout(this);
  all->addLayout(columns);
  all->addWidget(runBox);
  all->addLayout(buttons);
  setup_ = {typeBox, sweepTime_, sweepEnergy_, userSweep_, grabBox, adBox, filmBox, sheetBox};

  form.SetView(this);
  LoadControls();
}

void ImageVTRDialog::LoadControls() {
  loading_ = true;
  Form_ImageVTR& f = ImageVTRForm();
  setWindowTitle(Q(f.Caption));
  SetChecked(type_->button(f.Option_Experiment), true);
  for (auto& [field, edit] : fields_) SetText(edit, f.Text(field));
  for (auto& [member, box] : checks_) SetChecked(box, f.*member);
  SetChecked(checkUserSweep_, f.Check_UserSweep);
  sweepFile_->setText(Q(f.Label_SweepFile));
  if (list_->count() != int(f.List_Sweep.size())) {
    list_->clear();
    for (const std::string& s : f.List_Sweep) list_->addItem(Q(s));
  }
  list_->setCurrentRow(f.List_SweepIndex);
  const bool ie = f.Option_Experiment == kExperimentIE;
  sweepEnergy_->setEnabled(ie && !f.Check_UserSweep);
  list_->setEnabled(f.Check_UserSweep);
  Fill(average_, f.Combo_AverageList, f.Combo_Average);
  Fill(triggerMode_, f.Combo_TriggerModeList, f.Combo_TriggerMode);
  Fill(triggerSource_, f.Combo_TriggerSourceList, f.Combo_TriggerSource);
  for (int c = 0; c < kADChannelMax; ++c) {
    const std::string& name = f.Label_AD[size_t(c)];
    ad_[c]->setText(Q(name.empty() ? "Channel " + std::to_string(c + 1) : name));
    SetChecked(ad_[c], f.Check_AD[size_t(c)]);
    SetChecked(adPlot_[c], f.Check_ADPlot[size_t(c)]);
    Apply(ad_[c], f.Ctl_Check_AD[size_t(c)]);
    Apply(adPlot_[c], f.Ctl_Check_AD[size_t(c)]);
  }
  adScans_->setText(Q(f.Label_ADScans));
  SetText(file_, f.Text_File);
  vidName_->setText(Q(f.Label_VIDFilename));
  filmFrames_->setText(Q(f.Label_FilmFrames));
  filmFormat_->setText(Q(f.Label_FilmFormat));
  fileSize_->setText(Q(f.Label_FileSize));
  if (QAbstractButton* b = sources_->button(f.Option_VideoSource)) SetChecked(b, true);
  for (int m = 0; m < kVideoSourceModes; ++m)
    Apply(sources_->button(m), f.Ctl_Option_VideoSource[size_t(m)]);
  sourceLabel_->setText(Q(f.Label_Sources));
  Fill(sheet_, f.Combo_MySHTList, f.Combo_MySHT);
  SetText(time_, f.Text_Time);
  SetText(rate_, f.Text_Rate);
  SetText(records_, f.Text_Records);
  Mark(labelTStart_, f.Label_tStartMarked);
  Mark(labelTStep_, f.Label_tStepMarked);
  Mark(labelDwell_, f.Label_dwellTimeMarked);
  Apply(accept_, f.Ctl_Command_Accept);
  Apply(cancel_, f.Ctl_Command_Cancel);
  Apply(start_, f.Ctl_Command_Start);
  Apply(stop_, f.Ctl_Command_Stop);
  Apply(close_, f.Ctl_Command_Close);
  for (QWidget* w : setup_)
    if (w->isEnabled() == f.Running()) w->setEnabled(!f.Running());
  if (!f.Running()) sweepEnergy_->setEnabled(ie && !f.Check_UserSweep);
  if (!f.MainCaption.empty() && parentWidget() && parentWidget()->windowTitle() != Q(f.MainCaption))
    parentWidget()->setWindowTitle(Q(f.MainCaption));
  loading_ = false;
}

}  // namespace

void InstallImageVTRDialog(MDIForm_Main& main, QWidget* window) {
  auto* dialog = new ImageVTRDialog(window);
  RegisterImageVTRForm(main, [dialog] {
    dialog->show();
    dialog->raise();
    dialog->activateWindow();
  });
}

}  // namespace sv::app
