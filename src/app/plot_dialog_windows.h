// The plot dialogs bound to their presenters: new plot (the column lists
// with their Set and Reset buttons), curve details, layer, axis and grid
// lines, and the colour dialog they share.
#pragma once

#include <QDialog>

#include "plot/plot_dialogs.h"

class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QListWidget;
class QPushButton;

namespace sv::app {

class NewPlotWindow : public QDialog {
  Q_OBJECT
 public:
  explicit NewPlotWindow(Form_NewPlot& form, QWidget* parent = nullptr);
  // The three lists shown anew from the presenter.
  void LoadLists();

  QListWidget* ColumnsList() const { return columns_; }
  QListWidget* XList() const { return x_; }
  QListWidget* YList() const { return y_; }
  QLineEdit* TitleText() const { return title_; }
  QLineEdit* XLabelText() const { return xLabel_; }
  QLineEdit* YLabelText() const { return yLabel_; }
  QLineEdit* ZLabelText() const { return zLabel_; }
  QPushButton* SetXButton() const { return setX_; }
  QPushButton* SetYButton() const { return setY_; }
  QPushButton* ResetXButton() const { return resetX_; }
  QPushButton* ResetYButton() const { return resetY_; }
  QPushButton* OKButton() const { return ok_; }

  void accept() override;
  void reject() override;

 private:
  void StoreMarks();

  Form_NewPlot& form_;
  QListWidget* columns_;
  QListWidget* x_;
  QListWidget* y_;
  QLineEdit* title_;
  QLineEdit* xLabel_;
  QLineEdit* yLabel_;
  QLineEdit* zLabel_;
  QPushButton* setX_;
  QPushButton* setY_;
  QPushButton* resetX_;
  QPushButton* resetY_;
  QPushButton* ok_;
  bool loading_ = false;
};

class PlotDetailsWindow : public QDialog {
  Q_OBJECT
 public:
  explicit PlotDetailsWindow(Form_PlotDetails& form, QWidget* parent = nullptr);
  QComboBox* PlotTypeBox() const { return plotType_; }
  QComboBox* ColorBox() const { return color_; }
  QComboBox* LineTypeBox() const { return lineType_; }
  QComboBox* WidthBox() const { return width_; }
  QComboBox* ShapeBox() const { return shape_; }
  QComboBox* SizeBox() const { return size_; }
  QPushButton* RemoveButton() const { return remove_; }
  QPushButton* WorksheetButton() const { return worksheet_; }
  void reject() override;

 private:
  // The controls to the presenter, then the command that ends the dialog.
  void End(void (Form_PlotDetails::*command)());

  Form_PlotDetails& form_;
  QComboBox* plotType_;
  QComboBox* color_;
  QComboBox* lineType_;
  QComboBox* width_;
  QComboBox* shape_;
  QComboBox* size_;
  QPushButton* remove_;
  QPushButton* worksheet_;
};

class LayerWindow : public QDialog {
  Q_OBJECT
 public:
  explicit LayerWindow(Form_Layer& form, QWidget* parent = nullptr);
  QLineEdit* LeftText() const { return l_; }
  QLineEdit* TopText() const { return t_; }
  QLineEdit* WidthText() const { return w_; }
  QLineEdit* HeightText() const { return h_; }
  QComboBox* UnitBox() const { return unit_; }
  QCheckBox* ColorBox() const { return color_; }
  void accept() override;
  void reject() override;

 private:
  void LoadValues();
  void StoreValues();
  void ShowColor();

  Form_Layer& form_;
  QLineEdit* l_;
  QLineEdit* t_;
  QLineEdit* w_;
  QLineEdit* h_;
  QComboBox* unit_;
  QLineEdit* title_;
  QCheckBox* color_;
  QPushButton* colorButton_;
  QLabel* swatch_;
  QCheckBox* border_;
  QComboBox* borderStyle_;
  bool loading_ = false;
};

class AxisWindow : public QDialog {
  Q_OBJECT
 public:
  explicit AxisWindow(Form_Axis& form, QWidget* parent = nullptr);
  QLineEdit* FromText() const { return from_; }
  QLineEdit* ToText() const { return to_; }
  QLineEdit* IncText() const { return inc_; }
  QCheckBox* TypBox(int n) const { return typ_[n]; }
  QPushButton* AxisButton() const { return axis_; }
  QPushButton* GridButton() const { return grid_; }
  void reject() override;

 private:
  void End(void (Form_Axis::*command)());

  Form_Axis& form_;
  QLineEdit* from_;
  QLineEdit* to_;
  QLineEdit* inc_;
  QLineEdit* ticks_;
  QComboBox* thickness_;
  QLineEdit* title_;
  QCheckBox* typ_[12] = {};
  QPushButton* axis_;
  QPushButton* grid_;
};

class GridSetupWindow : public QDialog {
  Q_OBJECT
 public:
  explicit GridSetupWindow(Form_GridSetup& form, QWidget* parent = nullptr);
  QComboBox* MajorStyleBox() const { return major_; }
  QComboBox* MinorStyleBox() const { return minor_; }
  QCheckBox* ApplyToAllBox() const { return all_; }
  void accept() override;
  void reject() override;

 private:
  void ShowColors();

  Form_GridSetup& form_;
  QComboBox* major_;
  QComboBox* minor_;
  QLabel* majorSwatch_;
  QLabel* minorSwatch_;
  QCheckBox* all_;
};

// The dialogs of every plot are shown modally over `parent` from now on.
void InstallPlotDialogs(QWidget* parent);
void RemovePlotDialogs();

}  // namespace sv::app
