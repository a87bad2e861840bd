#include "app/growth_rate_dialog.h"

#include <QCheckBox>
#include <QComboBox>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QPushButton>
#include <QRadioButton>
#include <QTableWidget>
#include <QVBoxLayout>

#include "app/form_binding.h"
#include "app/plot_window.h"
#include "worksheet/form_worksheet.h"

namespace sv::app {

namespace {

QLineEdit* Edit(QWidget* parent, const char* name, bool readOnly = false) {
  auto* e = new QLineEdit(parent);
  e->setObjectName(name);
  e->setReadOnly(readOnly);
  return e;
}

}  // namespace

GrowthRateDialog::GrowthRateDialog(Form_GrowthRate& form, QWidget* parent)
    : QDialog(parent), form_(form) {
  setObjectName("Form_GrowthRate");
  setWindowTitle("Growth Rate");
  setModal(true);

  curve_ = new QComboBox(this);
  curve_->setObjectName("Combo_Curve");
  t1_ = Edit(this, "Text_t1");
  t2_ = Edit(this, "Text_t2");
  minmax_ = new QRadioButton("&Min/Max", this);
  minmax_->setObjectName("Option_Analysis(0)");
  fft_ = new QRadioButton("&FFT", this);
  fft_->setObjectName("Option_Analysis(1)");
  delta_ = Edit(this, "Text_Delta");
  fit_ = new QCheckBox("Polynomial &fit", this);
  fit_->setObjectName("Check_Fit");
  autoScale_ = new QCheckBox("X auto scale", this);
  autoScale_->setObjectName("Check_AutoScale");
  yAutoScale_ = new QCheckBox("Y auto scale", this);
  yAutoScale_->setObjectName("Check_YAutoScale");
  xto_ = Edit(this, "Text_Xto");
  rate_ = Edit(this, "Text_GrowthRate", true);
  tau_ = Edit(this, "Text_Tau", true);
  material_ = new QComboBox(this);
  material_->setObjectName("Combo_Material");
  thickness_ = Edit(this, "Text_MonolayerThickness");
  unit_ = new QLabel(this);
  unit_->setObjectName("Label_Unit");
  growth_ = new QLabel(this);
  growth_->setObjectName("Label_Growth");
  status_ = new QLabel(this);
  status_->setObjectName("Label_Status");
  QPushButton* add = CommandButton(this, "&Add", "Command_Add");
  QPushButton* del = CommandButton(this, "&Delete", "Command_Delete");
  QPushButton* calc = CommandButton(this, "&Calculate", "Command_Calculate");
  showSht_ = CommandButton(this, "Show &SHT", "Command_ShowSht");
  QPushButton* close = CommandButton(this, "Cl&ose", "Command_Close");
  table_ = new QTableWidget(this);
  table_->setObjectName("Sheet");
  table_->setVisible(false);

  auto* grid = new QGridLayout;
  int row = 0;
  grid->addWidget(new QLabel("Curve:", this), row, 0);
  grid->addWidget(curve_, row++, 1, 1, 3);
  grid->addWidget(new QLabel("t1 (s):", this), row, 0);
  grid->addWidget(t1_, row, 1);
  grid->addWidget(new QLabel("t2 (s):", this), row, 2);
  grid->addWidget(t2_, row++, 3);
  grid->addWidget(minmax_, row, 0);
  grid->addWidget(fft_, row, 1);
  grid->addWidget(new QLabel("Ampl. Threshold:", this), row, 2);
  grid->addWidget(delta_, row++, 3);
  grid->addWidget(fit_, row, 0);
  grid->addWidget(autoScale_, row, 1);
  grid->addWidget(yAutoScale_, row, 2);
  grid->addWidget(xto_, row++, 3);
  grid->addWidget(new QLabel("Growth rate (1/s):", this), row, 0);
  grid->addWidget(rate_, row, 1);
  grid->addWidget(new QLabel("Tau (s):", this), row, 2);
  grid->addWidget(tau_, row++, 3);
  grid->addWidget(new QLabel("Material:", this), row, 0);
  grid->addWidget(material_, row, 1);
  grid->addWidget(add, row, 2);
  grid->addWidget(del, row++, 3);
  grid->addWidget(new QLabel("Monolayer (\xC3\x85):", this), row, 0);
  grid->addWidget(thickness_, row, 1);
  grid->addWidget(growth_, row, 2);
  grid->addWidget(unit_, row++, 3);
  auto* buttons = new QHBoxLayout;
  buttons->addWidget(calc);
  buttons->addWidget(showSht_);
  buttons->addStretch();
  buttons->addWidget(close);
  layout_ = new QVBoxLayout(this);
  layout_->addLayout(grid);
  layout_->addWidget(status_);
  layout_->addLayout(buttons);
  layout_->addWidget(table_);

  connect(curve_, qOverload<int>(&QComboBox::activated), this, [this](int i) {
    Store();
    form_.SelectCurve(i);
    LoadControls();
  });
  connect(material_, qOverload<int>(&QComboBox::activated), this, [this](int i) {
    Store();
    form_.SelectMaterial(i);
    LoadControls();
  });
  connect(add, &QPushButton::clicked, this, [this] {
    Store();
    form_.Command_Add();
    LoadControls();
  });
  connect(del, &QPushButton::clicked, this, [this] {
    Store();
    form_.Command_Delete();
    LoadControls();
  });
  connect(calc, &QPushButton::clicked, this, &GrowthRateDialog::Calculate);
  connect(showSht_, &QPushButton::clicked, this, &GrowthRateDialog::ShowSheet);
  connect(close, &QPushButton::clicked, this, &QDialog::accept);
  LoadControls();
}

void GrowthRateDialog::LoadControls() {
  Fill(curve_, form_.Combo_Curve, form_.CurveIndex);
  Fill(material_, form_.Combo_Material(), form_.Materials.Index);
  SetText(t1_, form_.Text_t1);
  SetText(t2_, form_.Text_t2);
  SetChecked(minmax_, form_.Option_Analysis == 0);
  SetChecked(fft_, form_.Option_Analysis == 1);
  SetText(delta_, form_.Text_Delta);
  SetChecked(fit_, form_.Check_Fit);
  SetChecked(autoScale_, form_.Check_AutoScale);
  SetChecked(yAutoScale_, form_.Check_YAutoScale);
  SetText(xto_, form_.Text_Xto);
  SetText(rate_, form_.Text_GrowthRate);
  SetText(tau_, form_.Text_Tau);
  SetText(thickness_, form_.Text_MonolayerThickness);
  unit_->setText(Q(form_.Label_Unit));
  growth_->setText(Q(form_.Label_Growth));
  status_->setText(Q(form_.Status));
  showSht_->setText(Q(form_.ShowShtCaption()));
  // The analysis draws its result plot below the buttons; the window lets
  // go of the plot before the presenter's sheet ends it.
  if (Form_Plot* p = form_.ResultPlot()) {
    if (!plot_ || plot_->Plot() != p) {
      delete plot_;
      plot_ = new PlotWindow(*p, this);
      plot_->setObjectName("ResultPlot");
      plot_->setMinimumSize(360, 250);
      layout_->insertWidget(layout_->indexOf(table_), plot_, 1);
    }
    p->Plot();
  }
  table_->setVisible(form_.SheetShown());
  if (!form_.SheetShown() || !form_.Sheet()) return;
  const Form_Worksheet& s = *form_.Sheet();
  table_->setColumnCount(int(s.Cols() - 1));
  table_->setRowCount(int(s.Rows() - 1));
  QStringList headers;
  for (long c = 1; c < s.Cols(); ++c) headers << Q(s.ColName(c));
  table_->setHorizontalHeaderLabels(headers);
  for (long r = 1; r < s.Rows(); ++r)
    for (long c = 1; c < s.Cols(); ++c)
      table_->setItem(int(r - 1), int(c - 1), new QTableWidgetItem(Q(s.CellAt(r, c).Text())));
}

PlotWindow* GrowthRateDialog::ResultPlot() const { return plot_; }

void GrowthRateDialog::Store() {
  form_.Text_t1 = t1_->text().toStdString();
  form_.Text_t2 = t2_->text().toStdString();
  form_.Option_Analysis = fft_->isChecked() ? 1 : 0;
  form_.Text_Delta = delta_->text().toStdString();
  form_.Check_Fit = fit_->isChecked();
  form_.Check_AutoScale = autoScale_->isChecked();
  form_.Check_YAutoScale = yAutoScale_->isChecked();
  form_.Text_Xto = xto_->text().toStdString();
  form_.Text_MonolayerThickness = thickness_->text().toStdString();
}

void GrowthRateDialog::Calculate() {
  Store();
  form_.FocusedControl.clear();
  form_.Command_Calculate();
  LoadControls();
  if (auto* w = findChild<QWidget*>(Q(form_.FocusedControl)); w && !form_.FocusedControl.empty())
    w->setFocus();
}

void GrowthRateDialog::ShowSheet() {
  form_.Command_ShowSht();
  LoadControls();
}

void InstallGrowthRateDialog(QWidget* parent) {
  QPointer<QWidget> owner(parent);
  GrowthWindows().show = [owner](Form_GrowthRate& form) {
    GrowthRateDialog dialog(form, owner);
    dialog.exec();
  };
  RegisterGrowthRate();
}

}  // namespace sv::app
