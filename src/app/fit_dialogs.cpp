#include "app/fit_dialogs.h"

#include <QButtonGroup>
#include <QCheckBox>
#include <QComboBox>
#include <QFormLayout>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QPushButton>
#include <QRadioButton>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextEdit>
#include <QTreeWidget>
#include <QVBoxLayout>

#include "app/form_binding.h"
#include "core/mdi_main.h"
#include "plot/form_plot.h"

namespace sv::app {

// ---------------------------------------------------------------- Form_Fit

FitDialog::FitDialog(Form_Fit& form, QWidget* parent) : QDialog(parent), form_(form) {
  setObjectName("Form_Fit");
  setWindowTitle("Peak Fit");
  setModal(true);

  lines_ = new QComboBox(this);
  lines_->setObjectName("Combo_Lines");
  list_ = new QTreeWidget(this);
  list_->setObjectName("List_Parameter");
  list_->setColumnCount(2);
  list_->setHeaderHidden(true);
  list_->setRootIsDecorated(false);
  list_->header()->setSectionResizeMode(0, QHeaderView::ResizeToContents);
  list_->setMinimumWidth(300);
  iniLabel_ = new QLabel(this);
  iniLabel_->setObjectName("Label_ini");
  iniLabel_->setMinimumWidth(60);
  ini_ = new QLineEdit(this);
  ini_->setObjectName("Text_ini");
  shape_ = new QComboBox(this);
  shape_->setObjectName("Combo_ini");
  fsw_ = new QComboBox(this);
  fsw_->setObjectName("Combo_fsw");

  QPushButton* autoInput = CommandButton(this, "&Auto Input", "Command_AutoInput");
  QPushButton* setup = CommandButton(this, "&Setup...", "Command_Setup");
  QPushButton* accept = CommandButton(this, "A&ccept", "Command_Accept");
  QPushButton* calculate = CommandButton(this, "Ca&lculate", "Command_Calculate");
  QPushButton* result = CommandButton(this, "Show &Result", "Command_ShowResult");
  QPushButton* close = CommandButton(this, "Cl&ose", "Command_Close");

  report_ = new QTextEdit(this);
  report_->setObjectName("RichTextBox1");
  report_->setReadOnly(true);
  report_->setLineWrapMode(QTextEdit::NoWrap);
  report_->setFont(QFont("Arial", 10));
  report_->setMinimumSize(600, 320);
  run_ = new QLabel(this);
  run_->setObjectName("Label_Result");

  auto* editing = new QHBoxLayout;
  editing->addWidget(iniLabel_);
  editing->addWidget(ini_, 1);
  editing->addWidget(shape_, 1);
  editing->addWidget(fsw_, 1);
  auto* left = new QVBoxLayout;
  left->addWidget(lines_);
  left->addWidget(list_, 1);
  left->addLayout(editing);
  auto* commands = new QVBoxLayout;
  for (QPushButton* b : {autoInput, setup, accept, calculate, result}) commands->addWidget(b);
  commands->addStretch();
  commands->addWidget(close);
  auto* top = new QHBoxLayout;
  top->addLayout(left, 1);
  top->addLayout(commands);
  auto* box = new QVBoxLayout(this);
  box->addLayout(top);
  box->addWidget(report_, 1);
  box->addWidget(run_);

  connect(lines_, &QComboBox::activated, this, [this](int index) {
    form_.Combo_LinesIndex = index;
    form_.Combo_Lines_Click();
    LoadControls();
  });
  connect(list_, &QTreeWidget::currentItemChanged, this, [this](QTreeWidgetItem* item) {
    if (loading_ || !item) return;
    form_.List_ParameterIndex = list_->indexOfTopLevelItem(item);
    form_.List_Parameter_Click();
    LoadControls();
  });
  connect(ini_, &QLineEdit::textEdited, this,
          [this](const QString& t) { form_.Text_ini = t.toStdString(); });
  connect(shape_, &QComboBox::activated, this, [this](int i) { form_.Combo_iniIndex = i; });
  connect(fsw_, &QComboBox::activated, this, [this](int i) { form_.Combo_fswIndex = i; });
  connect(autoInput, &QPushButton::clicked, this, [this] {
    form_.Command_AutoInput();
    LoadControls();
  });
  connect(setup, &QPushButton::clicked, this, [this] { form_.Command_Setup(); });
  connect(accept, &QPushButton::clicked, this, [this] {
    StoreEditing();
    form_.Command_Accept();
    LoadControls();
  });
  connect(calculate, &QPushButton::clicked, this, [this] {
    form_.Command_Calculate();
    LoadControls();
    ShowReport();
    run_->setText(Q(form_.LastRunText()));
  });
  connect(result, &QPushButton::clicked, this, [this] {
    form_.Command_ShowResult();
    ShowReport();
  });
  // Closing erases the arrays; whoever showed the dialog does that.
  connect(close, &QPushButton::clicked, this, &QDialog::accept);

  LoadControls();
  if (!form_.RichTextBox1.empty()) ShowReport();
  // The data and the fit stay in view while the dialog is up.
  if (form_.Plot() && MainForm()) MainForm()->ShowChild(form_.Plot()->Handle());
}

void FitDialog::StoreEditing() {
  form_.Text_ini = ini_->text().toStdString();
  form_.Combo_iniIndex = shape_->currentIndex();
  form_.Combo_fswIndex = fsw_->currentIndex();
}

void FitDialog::LoadControls() {
  loading_ = true;
  Fill(lines_, form_.Combo_Lines, form_.Combo_LinesIndex);
  // The list: name and description in two columns (the presenter's tab).
  const auto& lines = form_.List_Parameter;
  while (list_->topLevelItemCount() > int(lines.size())) delete list_->takeTopLevelItem(list_->topLevelItemCount() - 1);
  for (size_t i = 0; i < lines.size(); ++i) {
    const std::string& line = lines[i];
    const size_t tab = line.find('\t');
    const QString name = Q(line.substr(0, tab));
    const QString text = tab == std::string::npos ? QString() : Q(line.substr(tab + 1));
    QTreeWidgetItem* item = list_->topLevelItem(int(i));
    if (!item) item = new QTreeWidgetItem(list_);
    if (item->text(0) != name) item->setText(0, name);
    if (item->text(1) != text) item->setText(1, text);
  }
  const int row = form_.List_ParameterIndex;
  list_->setCurrentItem(row >= 0 && row < list_->topLevelItemCount() ? list_->topLevelItem(row)
                                                                     : nullptr);
  iniLabel_->setText(Q(form_.Label_ini));
  SetText(ini_, form_.Text_ini);
  Fill(shape_, form_.Combo_ini, form_.Combo_iniIndex);
  Fill(fsw_, form_.Combo_fsw, form_.Combo_fswIndex);
  // A shape entry is chosen from the shapes; a value is typed.
  shape_->setVisible(form_.Combo_iniVisible);
  ini_->setVisible(!form_.Combo_iniVisible);
  fsw_->setEnabled(form_.Combo_fswEnabled);
  loading_ = false;
}

// The report's lines as blocks, the head underlined, the tab stops set.
void FitDialog::ShowReport() {
  QTextDocument* doc = report_->document();
  doc->clear();
  doc->setDefaultFont(QFont("Arial", 10));
  QList<QTextOption::Tab> tabs;
  for (int i = 0; i < 24; ++i) tabs << QTextOption::Tab(kReportFirstTabPx + i * kReportTabPx, QTextOption::LeftTab);
  QTextOption option = doc->defaultTextOption();
  option.setTabs(tabs);
  option.setWrapMode(QTextOption::NoWrap);
  doc->setDefaultTextOption(option);
  QTextCursor cursor(doc);
  const QStringList lines = Q(form_.RichTextBox1).split('\n');
  int count = lines.size();
  if (count > 0 && lines.back().isEmpty()) --count;
  for (int i = 0; i < count; ++i) {
    if (i > 0) cursor.insertBlock();
    QTextCharFormat format;
    format.setFontUnderline(i == kFitReportHeadLine);
    cursor.insertText(lines[i], format);
  }
  report_->moveCursor(QTextCursor::Start);
}

// ------------------------------------------------------------ Form_FitSetup

namespace {

QLineEdit* NamedField(QWidget* parent, const char* name) {
  auto* e = new QLineEdit(parent);
  e->setObjectName(name);
  return e;
}

}  // namespace

FitSetupDialog::FitSetupDialog(Form_FitSetup& form, QWidget* parent)
    : QDialog(parent), form_(form) {
  setObjectName("Form_FitSetup");
  setWindowTitle("Fit Setup");
  setModal(true);
  dmax_ = NamedField(this, "Text_Dmax");
  sosSlope_ = NamedField(this, "Text_SosSlope");
  diffStep_ = NamedField(this, "Text_DiffStep");
  minSos_ = NamedField(this, "Text_MinSos");
  maxDmpg_ = NamedField(this, "Text_MaxDmpg");
  maxFun_ = NamedField(this, "Text_MaxFun");
  minIntensity_ = NamedField(this, "Text_MinIntensity");
  contrast_ = NamedField(this, "Text_Contrast");
  width_ = NamedField(this, "Text_PeakWidth");
  peakWidth_ = new QCheckBox("Peak width:", this);
  peakWidth_->setObjectName("Check_PeakWidth");
  beep_ = new QCheckBox("Beep on failure", this);
  beep_->setObjectName("Check_Beep");

  auto* engine = new QGroupBox("Fit", this);
  auto* ef = new QFormLayout(engine);
  ef->addRow("Convergence radius:", dmax_);
  ef->addRow("SOS slope:", sosSlope_);
  ef->addRow("Differential step:", diffStep_);
  ef->addRow("Minimum SOS:", minSos_);
  ef->addRow("Maximum damping:", maxDmpg_);
  ef->addRow("Maximum function calls:", maxFun_);
  auto* weights = new QGroupBox("Weight", this);
  auto* wl = new QHBoxLayout(weights);
  auto* weightGroup = new QButtonGroup(this);
  const char* weightCaptions[2] = {"keep", "SQRT"};
  for (int i = 0; i < 2; ++i) {
    weight_[i] = new QRadioButton(weightCaptions[i], weights);
    weight_[i]->setObjectName(Indexed("Option_Weight", i + 1));
    weightGroup->addButton(weight_[i], i + 1);
    wl->addWidget(weight_[i]);
  }
  ef->addRow(weights);

  auto* peaks = new QGroupBox("Auto input", this);
  auto* pf = new QFormLayout(peaks);
  pf->addRow("Minimum intensity (%):", minIntensity_);
  pf->addRow("Contrast (%):", contrast_);
  pf->addRow(peakWidth_, width_);
  auto* shapes = new QGroupBox("Peak shape", this);
  auto* sl = new QHBoxLayout(shapes);
  auto* shapeGroup = new QButtonGroup(this);
  const char* shapeCaptions[3] = {"none", "Lorenzian", "Gaussian"};
  for (int i = 0; i < 3; ++i) {
    shape_[i] = new QRadioButton(shapeCaptions[i], shapes);
    shape_[i]->setObjectName(Indexed("Option_Shape", i));
    shapeGroup->addButton(shape_[i], i);
    sl->addWidget(shape_[i]);
  }
  pf->addRow(shapes);
  pf->addRow(beep_);

  QPushButton* defaults = CommandButton(this, "&Default", "Command_Default");
  auto* ok = new QPushButton("OK", this);
  ok->setObjectName("Command_OK");
  ok->setDefault(true);
  QPushButton* cancel = CommandButton(this, "Cancel", "Command_Cancel");
  auto* buttons = new QHBoxLayout;
  buttons->addWidget(defaults);
  buttons->addStretch();
  buttons->addWidget(ok);
  buttons->addWidget(cancel);
  auto* columns = new QHBoxLayout;
  columns->addWidget(engine);
  columns->addWidget(peaks);
  auto* box = new QVBoxLayout(this);
  box->addLayout(columns);
  box->addLayout(buttons);

  // What was typed stays: the controls go to the presenter before it shows them anew.
  connect(peakWidth_, &QCheckBox::clicked, this, [this](bool on) {
    StoreControls();
    form_.Check_PeakWidth = on;
    form_.Check_PeakWidth_Click();
    LoadControls();
  });
  connect(defaults, &QPushButton::clicked, this, [this] {
    form_.Command_Default();
    LoadControls();
  });
  connect(ok, &QPushButton::clicked, this, &FitSetupDialog::accept);
  connect(cancel, &QPushButton::clicked, this, &FitSetupDialog::reject);
  LoadControls();
}

QLineEdit* FitSetupDialog::Field(const char* name) const { return findChild<QLineEdit*>(name); }

void FitSetupDialog::LoadControls() {
  SetText(dmax_, form_.Text_Dmax);
  SetText(sosSlope_, form_.Text_SosSlope);
  SetText(diffStep_, form_.Text_DiffStep);
  SetText(minSos_, form_.Text_MinSos);
  SetText(maxDmpg_, form_.Text_MaxDmpg);
  SetText(maxFun_, form_.Text_MaxFun);
  SetText(minIntensity_, form_.Text_MinIntensity);
  SetText(contrast_, form_.Text_Contrast);
  SetText(width_, form_.Text_PeakWidth);
  width_->setEnabled(form_.Text_PeakWidth_Enabled);
  SetChecked(peakWidth_, form_.Check_PeakWidth);
  SetChecked(beep_, form_.Check_Beep);
  if (form_.Option_Weight == 1 || form_.Option_Weight == 2)
    SetChecked(weight_[form_.Option_Weight - 1], true);
  if (form_.Option_Shape >= 0 && form_.Option_Shape <= 2) SetChecked(shape_[form_.Option_Shape], true);
}

void FitSetupDialog::StoreControls() {
  form_.Text_Dmax = dmax_->text().toStdString();
  form_.Text_SosSlope = sosSlope_->text().toStdString();
  form_.Text_DiffStep = diffStep_->text().toStdString();
  form_.Text_MinSos = minSos_->text().toStdString();
  form_.Text_MaxDmpg = maxDmpg_->text().toStdString();
  form_.Text_MaxFun = maxFun_->text().toStdString();
  form_.Text_MinIntensity = minIntensity_->text().toStdString();
  form_.Text_Contrast = contrast_->text().toStdString();
  form_.Text_PeakWidth = width_->text().toStdString();
  form_.Check_PeakWidth = peakWidth_->isChecked();
  form_.Check_Beep = beep_->isChecked();
  form_.Option_Weight = weight_[1]->isChecked() ? 2 : 1;
  form_.Option_Shape = shape_[2]->isChecked() ? 2 : shape_[1]->isChecked() ? 1 : 0;
}

// What the controls show goes to the presenter; whoever showed the dialog
// stores it.
void FitSetupDialog::accept() {
  StoreControls();
  QDialog::accept();
}

// ----------------------------------------------------------- Form_FitStatus

FitStatusDialog::FitStatusDialog(Form_FitStatus& form, QWidget* parent)
    : QDialog(parent), form_(form) {
  setObjectName("Form_FitStatus");
  setWindowTitle("Fit Status");
  setModal(true);
  const char* names[7] = {"Label_Iterations", "Label_Calls",      "Label_SOS", "Label_Damping",
                          "Label_Status",     "Label_Parameters", "Label_Data"};
  auto* box = new QVBoxLayout(this);
  for (int i = 0; i < 7; ++i) {
    labels_[i] = new QLabel(this);
    labels_[i]->setObjectName(names[i]);
    labels_[i]->setMinimumWidth(320);
    box->addWidget(labels_[i]);
  }
  cancel_ = CommandButton(this, "Cancel", "Command_Cancel");
  auto* buttons = new QHBoxLayout;
  buttons->addStretch();
  buttons->addWidget(cancel_);
  box->addLayout(buttons);
  connect(cancel_, &QPushButton::clicked, this, &FitStatusDialog::reject);
  form_.BindView([this] { LoadLabels(); }, [this] { Ended(); });
  LoadLabels();
}

FitStatusDialog::~FitStatusDialog() { form_.BindView({}, {}); }

void FitStatusDialog::LoadLabels() {
  const std::string* texts[7] = {&form_.Label_Iterations, &form_.Label_Calls,
                                 &form_.Label_SOS,        &form_.Label_Damping,
                                 &form_.Label_Status,     &form_.Label_Parameters,
                                 &form_.Label_Data};
  for (int i = 0; i < 7; ++i)
    if (labels_[i]->text() != Q(*texts[i])) labels_[i]->setText(Q(*texts[i]));
}

void FitStatusDialog::Ended() {
  LoadLabels();
  QDialog::done(form_.Failed() ? QDialog::Rejected : QDialog::Accepted);
}

// Cancel and the window's close button stop the fit.
void FitStatusDialog::reject() {
  form_.Command_Cancel_Click();
  QDialog::reject();
}

// ------------------------------------------------------------------ install

void InstallFitDialogs(QWidget* parent) {
  QPointer<QWidget> owner(parent);
  FitDialogs& d = FitWindows();
  d.showFit = [owner](Form_Fit& form) {
    FitDialog dialog(form, owner);
    dialog.exec();
  };
  d.showStatus = [owner](Form_FitStatus& form) {
    if (form.Finished()) return;
    FitStatusDialog dialog(form, owner);
    dialog.exec();
  };
  d.showSetup = [owner](Form_FitSetup& form) {
    FitSetupDialog dialog(form, owner);
    return dialog.exec() == QDialog::Accepted;
  };
}

void RemoveFitDialogs() { FitWindows() = FitDialogs(); }

}  // namespace sv::app
