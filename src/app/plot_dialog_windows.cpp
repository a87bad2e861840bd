#include "app/plot_dialog_windows.h"

#include <algorithm>

#include <QCheckBox>
#include <QColorDialog>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPointer>
#include <QPushButton>
#include <QVBoxLayout>

#include "app/page_setup_dialog.h"

namespace sv::app {

namespace {

QString Q(const std::string& s) { return QString::fromStdString(s); }
std::string S(const QString& s) { return s.toStdString(); }

// Colours are 0x00BBGGRR.
QColor ColorOf(int32_t bgr) {
  return QColor(bgr & 0xFF, (bgr >> 8) & 0xFF, (bgr >> 16) & 0xFF);
}
int32_t BgrOf(const QColor& c) { return c.red() | (c.green() << 8) | (c.blue() << 16); }

QLineEdit* NamedLine(const char* name, const std::string& text, QWidget* parent) {
  auto* e = new QLineEdit(Q(text), parent);
  e->setObjectName(name);
  return e;
}

template <size_t N>
QComboBox* NamedCombo(const char* name, const char* const (&items)[N], QWidget* parent) {
  auto* c = new QComboBox(parent);
  c->setObjectName(name);
  for (const char* item : items) c->addItem(item);
  return c;
}

// A combo box of numbers that also takes any number typed in.
QComboBox* NumberCombo(const char* name, const QStringList& values, const std::string& text,
                       QWidget* parent) {
  auto* c = new QComboBox(parent);
  c->setObjectName(name);
  c->setEditable(true);
  c->addItems(values);
  c->setCurrentText(Q(text));
  return c;
}

QPushButton* NamedButton(QDialogButtonBox* box, const char* name, const QString& caption,
                         QDialogButtonBox::ButtonRole role) {
  QPushButton* b = box->addButton(caption, role);
  b->setObjectName(name);
  return b;
}

QLabel* Swatch(const char* name, QWidget* parent) {
  auto* l = new QLabel(parent);
  l->setObjectName(name);
  l->setFixedSize(40, 18);
  l->setFrameStyle(QFrame::Box | QFrame::Plain);
  l->setAutoFillBackground(true);
  return l;
}

void Paint(QLabel* swatch, int32_t bgr) {
  QPalette p = swatch->palette();
  p.setColor(QPalette::Window, ColorOf(bgr));
  swatch->setPalette(p);
}

int IndexIn(int value, int count) { return value >= 0 && value < count ? value : -1; }

// The classic dialogs of every plot, shown over the main window.
class QtPlotDialogs : public PlotDialogs {
 public:
  QPointer<QWidget> parent;
  void ShowNewPlot(Form_NewPlot& f) override {
    NewPlotWindow w(f, parent);
    w.exec();
  }
  void ShowPlotDetails(Form_PlotDetails& f) override {
    PlotDetailsWindow w(f, parent);
    w.exec();
  }
  void ShowLayer(Form_Layer& f) override {
    LayerWindow w(f, parent);
    w.exec();
  }
  void ShowAxis(Form_Axis& f) override {
    AxisWindow w(f, parent);
    w.exec();
  }
  void ShowGridSetup(Form_GridSetup& f) override {
    GridSetupWindow w(f, parent);
    w.exec();
  }
  void ShowPageSetup(Form_PageSetup& f) override {
    PageSetupWindow w(f, parent);
    w.exec();
  }
  std::optional<int32_t> ChooseColor(const std::string& title, int32_t initial) override {
    const QColor c = QColorDialog::getColor(ColorOf(initial), parent, Q(title));
    if (!c.isValid()) return std::nullopt;
    return BgrOf(c);
  }
};

QtPlotDialogs& TheDialogs() {
  static QtPlotDialogs dialogs;
  return dialogs;
}

}  // namespace

// --- New plot ------------------------------------------------------------------------------

NewPlotWindow::NewPlotWindow(Form_NewPlot& form, QWidget* parent) : QDialog(parent), form_(form) {
  setObjectName("Form_NewPlot");
  setWindowTitle(Q(form.Caption));
  setModal(true);

  columns_ = new QListWidget(this);
  columns_->setObjectName("List_Columns");
  columns_->setSelectionMode(QAbstractItemView::ExtendedSelection);
  x_ = new QListWidget(this);
  x_->setObjectName("List_XColumn");
  x_->setMaximumHeight(fontMetrics().lineSpacing() * 2 + 8);
  y_ = new QListWidget(this);
  y_->setObjectName("List_YColumns");
  y_->setSelectionMode(QAbstractItemView::ExtendedSelection);
  setX_ = new QPushButton("Set &X ->", this);
  setX_->setObjectName("Command_SetX");
  resetX_ = new QPushButton("<- Reset X", this);
  resetX_->setObjectName("Command_ResetX");
  setY_ = new QPushButton("Set &Y ->", this);
  setY_->setObjectName("Command_SetY");
  resetY_ = new QPushButton("<- Reset Y", this);
  resetY_->setObjectName("Command_ResetY");

  auto* lists = new QGridLayout;
  lists->addWidget(new QLabel("Columns:", this), 0, 0);
  lists->addWidget(columns_, 1, 0, 4, 1);
  lists->addWidget(setX_, 1, 1);
  lists->addWidget(resetX_, 2, 1);
  lists->addWidget(new QLabel("X column:", this), 0, 2);
  lists->addWidget(x_, 1, 2, 2, 1);
  lists->addWidget(setY_, 3, 1);
  lists->addWidget(resetY_, 4, 1);
  lists->addWidget(new QLabel("Y columns:", this), 3, 2, Qt::AlignBottom);
  lists->addWidget(y_, 4, 2);

  title_ = NamedLine("Text_Title", form.Text_Title, this);
  xLabel_ = NamedLine("Text_XLabel", form.Text_XLabel, this);
  yLabel_ = NamedLine("Text_YLabel", form.Text_YLabel, this);
  zLabel_ = NamedLine("Text_ZLabel", form.Text_ZLabel, this);
  auto* texts = new QFormLayout;
  texts->addRow("&Title:", title_);
  texts->addRow("X &label:", xLabel_);
  texts->addRow("Y l&abel:", yLabel_);
  texts->addRow("Z la&bel:", zLabel_);
  // The third axis's label only for a plot that has one.
  zLabel_->setVisible(form.HasZAxis);
  if (QWidget* l = texts->labelForField(zLabel_)) l->setVisible(form.HasZAxis);

  auto* buttons = new QDialogButtonBox(this);
  ok_ = NamedButton(buttons, "Command_OK", "OK", QDialogButtonBox::AcceptRole);
  ok_->setDefault(true);
  NamedButton(buttons, "Command_Cancel", "Cancel", QDialogButtonBox::RejectRole);
  connect(buttons, &QDialogButtonBox::accepted, this, &NewPlotWindow::accept);
  connect(buttons, &QDialogButtonBox::rejected, this, &NewPlotWindow::reject);

  auto* box = new QVBoxLayout(this);
  box->addLayout(lists, 1);
  box->addLayout(texts);
  box->addWidget(buttons);

  connect(columns_, &QListWidget::itemSelectionChanged, this, [this] { StoreMarks(); });
  connect(y_, &QListWidget::itemSelectionChanged, this, [this] { StoreMarks(); });
  // Each button moves columns in the presenter; the lists show the result.
  connect(setX_, &QPushButton::clicked, this, [this] {
    StoreMarks();
    form_.Command_SetX();
    LoadLists();
  });
  connect(setY_, &QPushButton::clicked, this, [this] {
    StoreMarks();
    form_.Command_SetY();
    LoadLists();
  });
  connect(resetX_, &QPushButton::clicked, this, [this] {
    StoreMarks();
    form_.Command_ResetX();
    LoadLists();
  });
  connect(resetY_, &QPushButton::clicked, this, [this] {
    StoreMarks();
    form_.Command_ResetY();
    LoadLists();
  });
  connect(columns_, &QListWidget::itemDoubleClicked, setY_, &QPushButton::click);

  LoadLists();
}

void NewPlotWindow::LoadLists() {
  loading_ = true;
  auto fill = [](QListWidget* list, const std::vector<ColumnItem>& items,
                 const std::set<size_t>& marks) {
    list->clear();
    for (size_t i = 0; i < items.size(); ++i) {
      auto* item = new QListWidgetItem(Q(items[i].text), list);
      item->setSelected(marks.count(i) > 0);
    }
  };
  fill(columns_, form_.List_Columns, form_.ColumnsSelected);
  fill(x_, form_.List_XColumn, {});
  fill(y_, form_.List_YColumns, form_.YSelected);
  loading_ = false;
}

void NewPlotWindow::StoreMarks() {
  if (loading_) return;
  form_.ColumnsSelected.clear();
  for (int i = 0; i < columns_->count(); ++i)
    if (columns_->item(i)->isSelected()) form_.ColumnsSelected.insert(size_t(i));
  form_.YSelected.clear();
  for (int i = 0; i < y_->count(); ++i)
    if (y_->item(i)->isSelected()) form_.YSelected.insert(size_t(i));
}

void NewPlotWindow::accept() {
  form_.Text_Title = S(title_->text());
  form_.Text_XLabel = S(xLabel_->text());
  form_.Text_YLabel = S(yLabel_->text());
  form_.Text_ZLabel = S(zLabel_->text());
  form_.Command_OK();
  QDialog::accept();
}

void NewPlotWindow::reject() {
  form_.Command_Cancel();
  QDialog::reject();
}

// --- Curve details --------------------------------------------------------------------------

PlotDetailsWindow::PlotDetailsWindow(Form_PlotDetails& form, QWidget* parent)
    : QDialog(parent), form_(form) {
  setObjectName("Form_PlotDetails");
  setWindowTitle(Q(form.Caption));
  setModal(true);

  auto label = [this](const char* name, const std::string& text) {
    auto* l = new QLabel(Q(text), this);
    l->setObjectName(name);
    l->setTextInteractionFlags(Qt::TextSelectableByMouse);
    return l;
  };
  plotType_ = NamedCombo("Combo_PlotType", kPlotTypeNames, this);
  plotType_->setCurrentIndex(IndexIn(form.Combo_PlotType, 3));
  color_ = new QComboBox(this);
  color_->setObjectName("Combo_Color");
  for (const NamedColor& c : kDetailsColors) {
    QPixmap chip(12, 12);
    chip.fill(ColorOf(c.color));
    color_->addItem(QIcon(chip), c.name);
  }
  color_->setCurrentIndex(IndexIn(form.Combo_Color, 15));
  lineType_ = NamedCombo("Combo_Type", kLineTypeNames, this);
  lineType_->setCurrentIndex(IndexIn(form.Combo_Type, 5));
  width_ = NumberCombo("Combo_Width", {"0.5", "1", "1.5", "2", "3", "4", "5"}, form.Combo_Width,
                       this);
  shape_ = NamedCombo("Combo_Shape", kShapeNames, this);
  shape_->setCurrentIndex(IndexIn(form.Combo_Shape, 11));
  size_ = NumberCombo("Combo_Size", {"1", "2", "3", "4", "5", "6", "8", "10", "12"},
                      form.Combo_Size, this);

  auto* fields = new QFormLayout;
  fields->addRow("Worksheet:", label("Label_Worksheet", form.Label_Worksheet));
  fields->addRow("Column:", label("Label_Column", form.Label_Column));
  fields->addRow("Legend:", label("Label_Legend", form.Label_Legend));
  fields->addRow("Plot &type:", plotType_);
  fields->addRow("&Colour:", color_);
  fields->addRow("&Line:", lineType_);
  fields->addRow("Line &width:", width_);
  fields->addRow("&Symbol:", shape_);
  fields->addRow("Symbol si&ze:", size_);

  auto* buttons = new QDialogButtonBox(this);
  QPushButton* ok = NamedButton(buttons, "Command_OK", "OK", QDialogButtonBox::AcceptRole);
  ok->setDefault(true);
  remove_ = NamedButton(buttons, "Command_Remove", "&Remove", QDialogButtonBox::ActionRole);
  worksheet_ = NamedButton(buttons, "Command_Worksheet", "W&orksheet", QDialogButtonBox::ActionRole);
  NamedButton(buttons, "Command_Cancel", "Cancel", QDialogButtonBox::RejectRole);
  connect(ok, &QPushButton::clicked, this, [this] { End(&Form_PlotDetails::Command_OK); });
  connect(remove_, &QPushButton::clicked, this, [this] { End(&Form_PlotDetails::Command_Remove); });
  connect(worksheet_, &QPushButton::clicked, this,
          [this] { End(&Form_PlotDetails::Command_Worksheet); });
  connect(buttons, &QDialogButtonBox::rejected, this, &PlotDetailsWindow::reject);

  auto* box = new QVBoxLayout(this);
  box->addLayout(fields);
  box->addWidget(buttons);
}

void PlotDetailsWindow::End(void (Form_PlotDetails::*command)()) {
  form_.Combo_PlotType = plotType_->currentIndex();
  form_.Combo_Color = color_->currentIndex();
  form_.Combo_Type = lineType_->currentIndex();
  form_.Combo_Width = S(width_->currentText());
  form_.Combo_Shape = shape_->currentIndex();
  form_.Combo_Size = S(size_->currentText());
  (form_.*command)();
  QDialog::accept();
}

void PlotDetailsWindow::reject() {
  form_.Command_Cancel();
  QDialog::reject();
}

// --- Layer ------------------------------------------------------------------------------------

LayerWindow::LayerWindow(Form_Layer& form, QWidget* parent) : QDialog(parent), form_(form) {
  setObjectName("Form_Layer");
  setWindowTitle(Q(form.Caption));
  setModal(true);
  l_ = NamedLine("Text_l", "", this);
  t_ = NamedLine("Text_t", "", this);
  w_ = NamedLine("Text_w", "", this);
  h_ = NamedLine("Text_h", "", this);
  unit_ = NamedCombo("Combo_Unit", Form_Layer::kUnits, this);
  title_ = NamedLine("Text_Title", form.Text_Title, this);
  color_ = new QCheckBox("&Fill the background", this);
  color_->setObjectName("Check_Color");
  color_->setChecked(form.Check_Color);
  colorButton_ = new QPushButton("&Colour...", this);
  colorButton_->setObjectName("Command_Color");
  swatch_ = Swatch("Picture_Color", this);
  border_ = new QCheckBox("&Border:", this);
  border_->setObjectName("Check_Border");
  border_->setChecked(form.Check_Border);
  borderStyle_ = NamedCombo("Combo_Border", Form_Layer::kBorders, this);
  borderStyle_->setCurrentIndex(IndexIn(form.Combo_Border, 2));

  auto* place = new QGroupBox("Position and size", this);
  auto* grid = new QGridLayout(place);
  grid->addWidget(new QLabel("&Left:", place), 0, 0);
  grid->addWidget(l_, 0, 1);
  grid->addWidget(new QLabel("&Top:", place), 0, 2);
  grid->addWidget(t_, 0, 3);
  grid->addWidget(new QLabel("&Width:", place), 1, 0);
  grid->addWidget(w_, 1, 1);
  grid->addWidget(new QLabel("&Height:", place), 1, 2);
  grid->addWidget(h_, 1, 3);
  grid->addWidget(new QLabel("&Unit:", place), 2, 0);
  grid->addWidget(unit_, 2, 1, 1, 3);

  auto* look = new QFormLayout;
  look->addRow("T&itle:", title_);
  auto* colorRow = new QHBoxLayout;
  colorRow->addWidget(color_);
  colorRow->addWidget(colorButton_);
  colorRow->addWidget(swatch_);
  colorRow->addStretch(1);
  look->addRow(colorRow);
  auto* borderRow = new QHBoxLayout;
  borderRow->addWidget(border_);
  borderRow->addWidget(borderStyle_);
  borderRow->addStretch(1);
  look->addRow(borderRow);

  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
  connect(buttons, &QDialogButtonBox::accepted, this, &LayerWindow::accept);
  connect(buttons, &QDialogButtonBox::rejected, this, &LayerWindow::reject);
  auto* box = new QVBoxLayout(this);
  box->addWidget(place);
  box->addLayout(look);
  box->addWidget(buttons);

  connect(unit_, &QComboBox::currentIndexChanged, this, [this](int unit) {
    if (loading_) return;
    StoreValues();
    form_.Combo_Unit_Click(unit);
    LoadValues();
  });
  connect(colorButton_, &QPushButton::clicked, this, [this] {
    if (form_.Command_Color()) ShowColor();
  });
  LoadValues();
  ShowColor();
}

void LayerWindow::LoadValues() {
  loading_ = true;
  l_->setText(Q(form_.Text_l));
  t_->setText(Q(form_.Text_t));
  w_->setText(Q(form_.Text_w));
  h_->setText(Q(form_.Text_h));
  unit_->setCurrentIndex(std::clamp(form_.Combo_Unit, 0, 3));
  loading_ = false;
}

void LayerWindow::StoreValues() {
  form_.Text_l = S(l_->text());
  form_.Text_t = S(t_->text());
  form_.Text_w = S(w_->text());
  form_.Text_h = S(h_->text());
}

void LayerWindow::ShowColor() { Paint(swatch_, form_.BackColor); }

void LayerWindow::accept() {
  StoreValues();
  form_.Text_Title = S(title_->text());
  form_.Check_Color = color_->isChecked();
  form_.Check_Border = border_->isChecked();
  form_.Combo_Border = borderStyle_->currentIndex();
  form_.Command_OK();
  QDialog::accept();
}

void LayerWindow::reject() {
  form_.Command_Cancel();
  QDialog::reject();
}

// --- Axis --------------------------------------------------------------------------------------

AxisWindow::AxisWindow(Form_Axis& form, QWidget* parent) : QDialog(parent), form_(form) {
  setObjectName("Form_Axis");
  setWindowTitle(Q(form.Caption));
  setModal(true);
  from_ = NamedLine("Text_From", form.Text_From, this);
  to_ = NamedLine("Text_To", form.Text_To, this);
  inc_ = NamedLine("Text_Inc", form.Text_Inc, this);
  ticks_ = NamedLine("Text_ticks", form.Text_ticks, this);
  thickness_ = NumberCombo("Combo_Thickness", {"0.5", "1", "1.5", "2", "3", "4"},
                           form.Combo_Thickness, this);
  title_ = NamedLine("Text_Title", form.Text_Title, this);

  auto* scale = new QFormLayout;
  scale->addRow("&From:", from_);
  scale->addRow("&To:", to_);
  scale->addRow("&Increment:", inc_);
  scale->addRow("Minor tic&ks:", ticks_);
  scale->addRow("T&hickness:", thickness_);
  scale->addRow("Tit&le:", title_);

  // The boxes of the display bits, in the columns of the two sides.
  const char* captions[12] = {"",      "",      "",      "",      "",
                              "major", "minor", "major", "minor", "m&ajor ticks",
                              "m&inor ticks", ""};
  for (int n = 1; n <= 11; ++n) {
    typ_[n] = new QCheckBox(n == 11 ? Q(form.Check_typ11_Caption) : QString(captions[n]), this);
    typ_[n]->setObjectName(QString("Check_typ%1").arg(n));
    typ_[n]->setChecked(form.Check_typ[n]);
  }
  auto* flags = new QGroupBox("Display", this);
  auto* grid = new QGridLayout(flags);
  auto* low = new QLabel(Q(form.Label_Left_Bottom), flags);
  low->setObjectName("Label_Left_Bottom");
  auto* high = new QLabel(Q(form.Label_Right_Top), flags);
  high->setObjectName("Label_Right_Top");
  auto* lines = new QLabel(Q(form.Label_HV_Lines), flags);
  lines->setObjectName("Label_HV_Lines");
  grid->addWidget(low, 0, 1, 1, 2);
  grid->addWidget(high, 0, 3, 1, 2);
  grid->addWidget(new QLabel("Axis:", flags), 1, 0);
  grid->addWidget(typ_[1], 1, 1);
  grid->addWidget(typ_[2], 1, 3);
  grid->addWidget(new QLabel("Tick Labels:", flags), 2, 0);
  grid->addWidget(typ_[3], 2, 1);
  grid->addWidget(typ_[4], 2, 3);
  grid->addWidget(new QLabel("Ticks:", flags), 3, 0);
  grid->addWidget(typ_[5], 3, 1);
  grid->addWidget(typ_[6], 3, 2);
  grid->addWidget(typ_[7], 3, 3);
  grid->addWidget(typ_[8], 3, 4);
  grid->addWidget(lines, 4, 0);
  grid->addWidget(typ_[9], 4, 1, 1, 2);
  grid->addWidget(typ_[10], 4, 3, 1, 2);
  grid->addWidget(typ_[11], 5, 1, 1, 2);

  auto* buttons = new QDialogButtonBox(this);
  QPushButton* ok = NamedButton(buttons, "Command_OK", "OK", QDialogButtonBox::AcceptRole);
  ok->setDefault(true);
  axis_ = NamedButton(buttons, "Command_Axis", Q(form.Command_Axis_Caption),
                      QDialogButtonBox::ActionRole);
  grid_ = NamedButton(buttons, "Command_Grid", "&Grid...", QDialogButtonBox::ActionRole);
  NamedButton(buttons, "Command_Cancel", "Cancel", QDialogButtonBox::RejectRole);
  connect(ok, &QPushButton::clicked, this, [this] { End(&Form_Axis::Command_OK); });
  connect(axis_, &QPushButton::clicked, this, [this] { End(&Form_Axis::Command_Axis); });
  connect(grid_, &QPushButton::clicked, this, [this] { End(&Form_Axis::Command_Grid); });
  connect(buttons, &QDialogButtonBox::rejected, this, &AxisWindow::reject);

  auto* box = new QVBoxLayout(this);
  box->addLayout(scale);
  box->addWidget(flags);
  box->addWidget(buttons);
}

void AxisWindow::End(void (Form_Axis::*command)()) {
  form_.Text_From = S(from_->text());
  form_.Text_To = S(to_->text());
  form_.Text_Inc = S(inc_->text());
  form_.Text_ticks = S(ticks_->text());
  form_.Combo_Thickness = S(thickness_->currentText());
  form_.Text_Title = S(title_->text());
  for (int n = 1; n <= 11; ++n) form_.Check_typ[n] = typ_[n]->isChecked();
  (form_.*command)();
  QDialog::accept();
}

void AxisWindow::reject() {
  form_.Command_Cancel();
  QDialog::reject();
}

// --- Grid lines --------------------------------------------------------------------------------

GridSetupWindow::GridSetupWindow(Form_GridSetup& form, QWidget* parent)
    : QDialog(parent), form_(form) {
  setObjectName("Form_GridSetup");
  setWindowTitle(Q(form.Caption));
  setModal(true);
  major_ = NamedCombo("Combo_MajorGridStyle", kLineTypeNames, this);
  major_->setCurrentIndex(IndexIn(form.Combo_MajorGridStyle, 5));
  minor_ = NamedCombo("Combo_MinorGridStyle", kLineTypeNames, this);
  minor_->setCurrentIndex(IndexIn(form.Combo_MinorGridStyle, 5));
  auto* majorColor = new QPushButton("Colour...", this);
  majorColor->setObjectName("Command_MajorGridColor");
  auto* minorColor = new QPushButton("Colour...", this);
  minorColor->setObjectName("Command_MinorGridColor");
  majorSwatch_ = Swatch("Picture_MajorGrid", this);
  minorSwatch_ = Swatch("Picture_MinorGrid", this);
  all_ = new QCheckBox("Apply to &both axes", this);
  all_->setObjectName("Check_ApplyToAll");
  all_->setChecked(form.Check_ApplyToAll);

  auto* grid = new QGridLayout;
  grid->addWidget(new QLabel("Major grid:", this), 0, 0);
  grid->addWidget(major_, 0, 1);
  grid->addWidget(majorColor, 0, 2);
  grid->addWidget(majorSwatch_, 0, 3);
  grid->addWidget(new QLabel("Minor grid:", this), 1, 0);
  grid->addWidget(minor_, 1, 1);
  grid->addWidget(minorColor, 1, 2);
  grid->addWidget(minorSwatch_, 1, 3);
  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
  connect(buttons, &QDialogButtonBox::accepted, this, &GridSetupWindow::accept);
  connect(buttons, &QDialogButtonBox::rejected, this, &GridSetupWindow::reject);
  auto* box = new QVBoxLayout(this);
  box->addLayout(grid);
  box->addWidget(all_);
  box->addWidget(buttons);

  connect(majorColor, &QPushButton::clicked, this, [this] {
    if (form_.Command_MajorGridColor()) ShowColors();
  });
  connect(minorColor, &QPushButton::clicked, this, [this] {
    if (form_.Command_MinorGridColor()) ShowColors();
  });
  ShowColors();
}

void GridSetupWindow::ShowColors() {
  Paint(majorSwatch_, form_.MajorGridColor);
  Paint(minorSwatch_, form_.MinorGridColor);
}

void GridSetupWindow::accept() {
  form_.Combo_MajorGridStyle = std::max(0, major_->currentIndex());
  form_.Combo_MinorGridStyle = std::max(0, minor_->currentIndex());
  form_.Check_ApplyToAll = all_->isChecked();
  form_.Command_OK();
  QDialog::accept();
}

void GridSetupWindow::reject() {
  form_.Command_Cancel();
  QDialog::reject();
}

// --- Installation ----------------------------------------------------------------------------

void InstallPlotDialogs(QWidget* parent) {
  TheDialogs().parent = parent;
  SetPlotDialogs(&TheDialogs());
}

void RemovePlotDialogs() {
  if (&plotDialogs() == &TheDialogs()) SetPlotDialogs(nullptr);
  TheDialogs().parent = nullptr;
}

}  // namespace sv::app
