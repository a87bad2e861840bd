#include "app/auger_dialog.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialog>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QPrintDialog>
#include <QPrinter>
#include <QPushButton>
#include <QTextDocument>
#include <QToolButton>
#include <QVBoxLayout>
#include <functional>
#include <vector>

#include "app/form_binding.h"
#include "experiment/form_auger.h"

namespace sv::app {

namespace {

class AugerDialog : public QDialog {
 public:
  explicit AugerDialog(QWidget* parent);
  ~AugerDialog() override { AugerForm().OnChanged = nullptr; }
  void LoadControls();

 protected:
  // A running scan keeps its dialog; a changed ramp asks first.
  void reject() override {
    if (!AugerForm().QueryUnload()) return;
    QDialog::reject();
  }

 private:
  QLineEdit* Field(const char* name, std::string Form_Auger::*member, QGridLayout* grid, int row,
                   const QString& caption);
  QCheckBox* Check(const char* name, const QString& caption, bool Form_Auger::*member);
  QPushButton* Button(const char* name, const QString& caption, std::function<void()> action);
  // An edit command: a paused scan asks first.
  void Edit(const std::function<void()>& action) {
    if (!AugerForm().MayEdit()) return;
    action();
    LoadControls();
    if (!AugerForm().Focus.empty())
      if (auto* w = findChild<QWidget*>(Q(AugerForm().Focus))) w->setFocus();
  }

  bool loading_ = false;
  std::vector<std::pair<std::string Form_Auger::*, QLineEdit*>> fields_;
  std::vector<std::pair<bool Form_Auger::*, QCheckBox*>> checks_;
  QListWidget* list_;
  QComboBox* profile_;
  QLabel* status_;
  QPushButton *start_, *stop_, *continue_, *abort_;
  std::vector<QWidget*> edit_;  // what a run closes
};

QLineEdit* AugerDialog::Field(const char* name, std::string Form_Auger::*member, QGridLayout* grid,
                              int row, const QString& caption) {
  auto* e = new QLineEdit(this);
  e->setObjectName(name);
  grid->addWidget(new QLabel(caption, this), row, 0);
  grid->addWidget(e, row, 1);
  connect(e, &QLineEdit::textEdited, this, [member, e] { AugerForm().*member = e->text().toStdString(); });
  fields_.emplace_back(member, e);
  edit_.push_back(e);
  return e;
}

QCheckBox* AugerDialog::Check(const char* name, const QString& caption, bool Form_Auger::*member) {
  auto* b = new QCheckBox(caption, this);
  b->setObjectName(name);
  connect(b, &QCheckBox::toggled, this, [this, member](bool on) {
    if (!loading_) AugerForm().*member = on;
  });
  checks_.emplace_back(member, b);
  edit_.push_back(b);
  return b;
}

QPushButton* AugerDialog::Button(const char* name, const QString& caption, std::function<void()> action) {
  QPushButton* b = CommandButton(this, caption, name);
  connect(b, &QPushButton::clicked, this, [this, action = std::move(action)] {
    action();
    LoadControls();
  });
  return b;
}

AugerDialog::AugerDialog(QWidget* parent) : QDialog(parent) {
  setObjectName("Form_Auger");
  Form_Auger& f = AugerForm();

  auto* sweepBox = new QGroupBox("Sweep", this);
  auto* sweepGrid = new QGridLayout(sweepBox);
  list_ = new QListWidget(sweepBox);
  list_->setObjectName("List_Sweep");
  connect(list_, &QListWidget::currentRowChanged, this, [this](int row) {
    if (loading_ || row < 0) return;
    AugerForm().SelectSweep(row);
    LoadControls();
  });
  edit_.push_back(list_);
  sweepGrid->addWidget(list_, 0, 0, 1, 2);
  Field("Text_Start", &Form_Auger::Text_Start, sweepGrid, 1, "Start (eV)");
  Field("Text_Stop", &Form_Auger::Text_Stop, sweepGrid, 2, "Stop (eV)");
  Field("Text_Step", &Form_Auger::Text_Step, sweepGrid, 3, "Step (eV)");
  Field("Text_IntTime", &Form_Auger::Text_IntTime, sweepGrid, 4, "Integration (s)");
  auto* sweepButtons = new QHBoxLayout;
  for (QPushButton* b :
       {Button("Command_New", "&Add", [this] { Edit([] { AugerForm().AddSweep(); }); }),
        Button("Command_Edit", "&Edit", [this] { Edit([] { AugerForm().EditSweep(AugerForm().List_Index); }); }),
        Button("mnuRemoveSweep", "&Remove",
               [this] { Edit([] { AugerForm().RemoveSweep(AugerForm().List_Index); }); })}) {
    sweepButtons->addWidget(b);
    edit_.push_back(b);
  }
  sweepGrid->addLayout(sweepButtons, 5, 0, 1, 2);

  auto* generalBox = new QGroupBox("General", this);
  auto* generalGrid = new QGridLayout(generalBox);
  Field("Text_Delay", &Form_Auger::Text_Delay, generalGrid, 0, "Delay (s)");
  Field("Text_Iterations", &Form_Auger::Text_Iterations, generalGrid, 1, "Iterations");
  profile_ = new QComboBox(generalBox);
  profile_->setObjectName("Combo_Profile");
  profile_->addItems({"Fast", "Normal", "Exact"});
  connect(profile_, &QComboBox::currentIndexChanged, this, [this](int i) {
    if (loading_) return;
    AugerForm().Combo_Profile = i;
  });
  edit_.push_back(profile_);
  generalGrid->addWidget(new QLabel("Profile", generalBox), 2, 0);
  generalGrid->addWidget(profile_, 2, 1);
  QPushButton* accept = Button("Command_Accept", "A&ccept", [this] { Edit([] { AugerForm().AcceptGeneral(); }); });
  QPushButton* cancel = Button("Command_Cancel", "Ca&ncel", [] { AugerForm().ClearRamp(); });
  generalGrid->addWidget(accept, 3, 0);
  generalGrid->addWidget(cancel, 3, 1);
  edit_.push_back(accept);
  edit_.push_back(cancel);
  generalGrid->addWidget(Check("Check_AutoSave", "Auto Save", &Form_Auger::Check_AutoSave), 4, 0, 1, 2);
  generalGrid->addWidget(Check("Check_AutoUpdate", "Auto Update", &Form_Auger::Check_AutoUpdate), 5, 0, 1, 2);
  generalGrid->addWidget(Check("Check_ReverseScaling", "Reverse Scaling", &Form_Auger::Check_ReverseScaling), 6,
                         0, 1, 2);
  generalGrid->addWidget(Check("Check_Derivative", "Derivative", &Form_Auger::Derivative), 7, 0, 1, 2);

  auto* files = new QHBoxLayout;
  QPushButton* open = Button("Command_Open", "&Open Ramp...", [this] {
    const std::string path = AugerForm().GetOpenRampFilename();
    if (!path.empty()) Edit([&] { AugerForm().LoadRamp(path); });
  });
  QPushButton* save = Button("Command_Save", "&Save Ramp...", [this] {
    const std::string path = AugerForm().GetSaveRampFilename();
    if (!path.empty()) AugerForm().SaveRamp(path);
  });
  QPushButton* defaults = Button("mnuDefaultRamp", "&Default Ramp", [this] {
    Edit([] { AugerForm().DefaultRamp(); });
  });
  QPushButton* print = Button("mnuPrintRamp", "&Print...", [] { AugerForm().PrintAugerRamp(); });
  // The last ramp files, newest first.
  auto* recent = new QToolButton(this);
  recent->setObjectName("mnuRecentRamps");
  recent->setText("Recent");
  recent->setPopupMode(QToolButton::InstantPopup);
  auto* recentMenu = new QMenu(recent);
  recent->setMenu(recentMenu);
  connect(recentMenu, &QMenu::aboutToShow, this, [this, recentMenu] {
    recentMenu->clear();
    for (const std::string& name : AugerForm().RecentFiles)
      recentMenu->addAction(Q(name), this, [this, name] { Edit([&] { AugerForm().LoadRamp(name); }); });
    if (recentMenu->isEmpty()) recentMenu->addAction("(none)")->setEnabled(false);
  });
  files->addWidget(open);
  files->addWidget(recent);
  files->addWidget(save);
  files->addWidget(defaults);
  files->addWidget(print);
  edit_.push_back(open);
  edit_.push_back(recent);
  edit_.push_back(defaults);

  auto* run = new QHBoxLayout;
  start_ = Button("Command_Start", "&Start", [] { AugerForm().StartScan(); });
  stop_ = Button("Command_Stop", "S&top", [] { AugerForm().StopScan(); });
  continue_ = Button("Command_Continue", "C&ontinue", [] { AugerForm().ContinueScan(); });
  abort_ = Button("Command_Abort", "A&bort", [] { AugerForm().AbortScan(); });
  for (QPushButton* b : {start_, stop_, continue_, abort_}) run->addWidget(b);
  status_ = new QLabel(this);
  status_->setObjectName("Label_Status");
  status_->setWordWrap(true);

  auto* all = new QVBoxLayout(this);
  all->addWidget(sweepBox);
  all->addWidget(generalBox);
  all->addLayout(files);
  all->addLayout(run);
  all->addWidget(status_);

  f.OnChanged = [this] { LoadControls(); };
  LoadControls();
}

void AugerDialog::LoadControls() {
  loading_ = true;
  Form_Auger& f = AugerForm();
  setWindowTitle(Q(f.Caption));
  for (auto& [member, edit] : fields_) SetText(edit, f.*member);
  for (auto& [member, box] : checks_) SetChecked(box, f.*member);
  QStringList items;
  for (const std::string& s : f.List_Sweep) items << Q(s);
  bool same = list_->count() == items.size();
  for (int i = 0; same && i < items.size(); ++i) same = list_->item(i)->text() == items[i];
  if (!same) {
    list_->clear();
    list_->addItems(items);
  }
  if (list_->currentRow() != f.List_Index) list_->setCurrentRow(f.List_Index);
  if (profile_->currentIndex() != f.Combo_Profile) profile_->setCurrentIndex(f.Combo_Profile);
  status_->setText(Q(f.Label_Status));
  start_->setEnabled(f.Command_Start);
  stop_->setEnabled(f.Command_Stop);
  continue_->setEnabled(f.Command_Continue);
  abort_->setEnabled(f.Command_Abort);
  // The checks and the ramp change only when no scan runs.
  const bool idle = !f.Running();
  for (QWidget* w : edit_)
    if (w->isEnabled() != idle) w->setEnabled(idle);
  loading_ = false;
}

}  // namespace

void InstallAugerDialog(MDIForm_Main& main, QWidget* window) {
  auto* dialog = new AugerDialog(window);
  // The ramp's page goes to the printer the user picks.
  AugerPrintHook() = [dialog](const std::string& title, const std::string& text) {
    QPrinter printer;
    printer.setDocName(Q(title));
    QPrintDialog choose(&printer, dialog);
    if (choose.exec() != QDialog::Accepted) return;
    QTextDocument page;
    page.setPlainText(Q(text));
    page.print(&printer);
  };
  RegisterAugerForm(main, [dialog] {
    dialog->LoadControls();
    dialog->show();
    dialog->raise();
    dialog->activateWindow();
  });
}

}  // namespace sv::app
