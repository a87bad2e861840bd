#include "app/film_dialogs.h"

#include <QButtonGroup>
#include <QCheckBox>
#include <QComboBox>
#include <QDialog>
#include <QFileDialog>
#include <QFormLayout>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPointer>
#include <QPushButton>
#include <QRadioButton>
#include <QVBoxLayout>
#include <string>
#include <vector>

#include "app/form_binding.h"
#include "video/form_soft_vtr.h"
#include "video/form_vtr_data.h"
#include "video/form_vtr_export.h"

namespace sv::app {

namespace {

QPointer<QWidget> g_window;

QLineEdit* Edit(QWidget* parent, const char* name, const std::string& text) {
  auto* e = new QLineEdit(Q(text), parent);
  e->setObjectName(name);
  return e;
}

// Form_VTR_Export: which frames, the names, the format and the log. The
// fields go to the presenter on OK; a refusal keeps the dialog open.
class ExportDialog : public QDialog {
 public:
  ExportDialog(Form_VTR_Export& form, QWidget* parent) : QDialog(parent), form_(form) {
    setObjectName("Form_VTR_Export");
    setWindowTitle(Form_VTR_Export::kTitle);

    auto* frames = new QGroupBox("Frames", this);
    auto* fl = new QGridLayout(frames);
    which_ = new QButtonGroup(this);
    const char* captions[3] = {"All frames", "Selected frames", "From"};
    for (int i = 0; i < 3; ++i) {
      auto* r = new QRadioButton(captions[i], frames);
      r->setObjectName(QString("Option_Selection(%1)").arg(i));
      which_->addButton(r, i);
      fl->addWidget(r, i, 0);
    }
    which_->button(Form_VTR_Export::kSelection)->setEnabled(form.SelectionEnabled());
    from_ = Edit(frames, "Text_From", form.Text_From);
    to_ = Edit(frames, "Text_To", form.Text_To);
    auto* range = new QHBoxLayout;
    range->addWidget(from_);
    range->addWidget(new QLabel("to", frames));
    range->addWidget(to_);
    fl->addLayout(range, 2, 1);
    which_->button(form.Option_Selection)->setChecked(true);

    auto* names = new QGroupBox("File Names", this);
    auto* nl = new QGridLayout(names);
    naming_ = new QButtonGroup(this);
    auto* filmName = new QRadioButton("Film name", names);
    filmName->setObjectName("Option_Filename(0)");
    auto* ownName = new QRadioButton("Name", names);
    ownName->setObjectName("Option_Filename(1)");
    naming_->addButton(filmName, 0);
    naming_->addButton(ownName, 1);
    naming_->button(form.Option_Filename == 1 ? 1 : 0)->setChecked(true);
    filename_ = Edit(names, "Text_Filename", form.Text_Filename);
    folder_ = Edit(names, "Text_Folder", form.Text_Folder);
    format_ = new QComboBox(names);
    format_->setObjectName("Combo_Filter");
    for (const std::string& f : Form_VTR_Export::Filters()) format_->addItem(Q(f));
    format_->setCurrentIndex(Form_VTR_Export::FilterIndex - 1);
    nl->addWidget(filmName, 0, 0);
    nl->addWidget(ownName, 1, 0);
    nl->addWidget(filename_, 1, 1);
    nl->addWidget(new QLabel("Folder", names), 2, 0);
    nl->addWidget(folder_, 2, 1);
    nl->addWidget(new QLabel("Format", names), 3, 0);
    nl->addWidget(format_, 3, 1);
    nl->addWidget(new QLabel("Names: base_000000 and the format's extension", names), 4, 0, 1, 2);

    log_ = new QCheckBox("Log", this);
    log_->setObjectName("Check_Log");
    log_->setChecked(form.Check_Log);
    logName_ = Edit(this, "Text_Log", form.Text_Log);
    auto* logRow = new QHBoxLayout;
    logRow->addWidget(log_);
    logRow->addWidget(logName_);

    QPushButton* ok = CommandButton(this, "OK", "Command_OK");
    ok->setDefault(true);
    QPushButton* cancel = CommandButton(this, "Cancel", "Command_Cancel");
    connect(ok, &QPushButton::clicked, this, [this] { Accept(); });
    connect(cancel, &QPushButton::clicked, this, [this] { reject(); });
    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(ok);
    buttons->addWidget(cancel);

    auto* all = new QVBoxLayout(this);
    all->addWidget(frames);
    all->addWidget(names);
    all->addLayout(logRow);
    all->addLayout(buttons);
    for (QButtonGroup* g : {which_, naming_})
      connect(g, &QButtonGroup::idClicked, this, [this] { Enable(); });
    connect(log_, &QCheckBox::toggled, this, [this] { Enable(); });
    Enable();
  }

 protected:
  void reject() override {
    form_.Command_Cancel();
    QDialog::reject();
  }

 private:
  void Enable() {
    const bool range = which_->checkedId() == Form_VTR_Export::kRange;
    from_->setEnabled(range);
    to_->setEnabled(range);
    filename_->setEnabled(naming_->checkedId() == 1);
    logName_->setEnabled(log_->isChecked());
  }
  void Accept() {
    form_.Option_Selection = which_->checkedId();
    form_.Text_From = from_->text().toStdString();
    form_.Text_To = to_->text().toStdString();
    form_.Option_Filename = naming_->checkedId();
    form_.Text_Filename = filename_->text().toStdString();
    std::string folder = folder_->text().toStdString();
    if (!folder.empty() && folder.back() != '/') folder += '/';
    form_.Text_Folder = folder;
    form_.Check_Log = log_->isChecked();
    form_.Text_Log = logName_->text().toStdString();
    Form_VTR_Export::FilterIndex = format_->currentIndex() + 1;
    if (form_.Command_OK()) accept();
  }

  Form_VTR_Export& form_;
  QButtonGroup *which_, *naming_;
  QLineEdit *from_, *to_, *filename_, *folder_, *logName_;
  QComboBox* format_;
  QCheckBox* log_;
};

// Form_VTR_Data: the film's properties and "Create".
class FilmDataDialog : public QDialog {
 public:
  explicit FilmDataDialog(QWidget* parent) : QDialog(parent) {
    setObjectName("Form_VTR_Data");
    setAttribute(Qt::WA_DeleteOnClose);
    Form_VTR_Data& f = VTRDataForm();
    setWindowTitle(Q(f.Caption));
    auto* grid = new QFormLayout;
    auto row = [&](const char* caption, const char* name, const std::string& text) {
      auto* l = new QLabel(Q(text), this);
      l->setObjectName(name);
      l->setTextInteractionFlags(Qt::TextSelectableByMouse);
      grid->addRow(caption, l);
    };
    row("File", "Label_Filename", f.Label_Filename);
    row("Length", "Label_FileLength", f.Label_FileLength);
    row("Frames", "Label_Frames", f.Label_Frames);
    row("Compression", "Label_Compression", f.Label_Compression);
    row("Bits per pixel", "Label_BitsPerPixel", f.Label_BitsPerPixel);
    row("Width", "Label_Width", f.Label_Width);
    row("Height", "Label_Height", f.Label_Height);
    row("Columns", "Label_Cols", f.Label_Cols);
    auto* list = new QListWidget(this);
    list->setObjectName("List_Column");
    for (const std::string& c : f.List_Column) list->addItem(Q(c));
    list->setMaximumHeight(120);
    QPushButton* create = CommandButton(this, Q(f.Command_CreateWorksheetCaption),
                                        "Command_CreateWorksheet");
    connect(create, &QPushButton::clicked, this, [] { VTRDataForm().Command_CreateWorksheet(); });
    QPushButton* closer = CommandButton(this, "Close", "Command_Close");
    connect(closer, &QPushButton::clicked, this, [this] { close(); });
    auto* buttons = new QHBoxLayout;
    buttons->addWidget(create);
    buttons->addStretch();
    buttons->addWidget(closer);
    auto* all = new QVBoxLayout(this);
    all->addLayout(grid);
    all->addWidget(list);
    all->addLayout(buttons);
  }
};

QPointer<FilmDataDialog> g_data;

}  // namespace

void ShowFilmData() {
  if (!VTRDataForm().Load(SoftVTRForm())) return;
  if (g_data) g_data->close();
  g_data = new FilmDataDialog(g_window);
  g_data->show();
  g_data->raise();
}

void InstallFilmDialogs(QWidget* window) {
  g_window = window;
  VTRExportDialog() = [](Form_VTR_Export& form) {
    ExportDialog dialog(form, g_window);
    return dialog.exec() == QDialog::Accepted && form.Accepted;
  };
  ImportNamesDialog() = [](const std::string& folder) {
    const QStringList picked = QFileDialog::getOpenFileNames(
        g_window, "Import Film", Q(folder),
        "Images (*.tif *.tiff *.t16 *.bmp *.b16 *.jpg *.jpeg *.img *.i16);;all files (*)");
    std::vector<std::string> names;
    for (const QString& n : picked) names.push_back(n.toStdString());
    return names;
  };
}

void RemoveFilmDialogs() {
  VTRExportDialog() = nullptr;
  ImportNamesDialog() = nullptr;
  if (g_data) g_data->close();
  g_window = nullptr;
}

}  // namespace sv::app
