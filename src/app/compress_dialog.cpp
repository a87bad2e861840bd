#include "app/compress_dialog.h"

#include <QComboBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QPointer>
#include <QPushButton>
#include <QVBoxLayout>

#include "app/form_binding.h"

namespace sv::app {

CompressDialog::CompressDialog(Form_CompressOptions& form, QWidget* parent)
    : QDialog(parent), form_(form) {
  setObjectName("Form_CompressOptions");
  setWindowTitle(Form_CompressOptions::kTitle);
  setModal(true);
  codec_ = new QComboBox(this);
  codec_->setObjectName("List_Codec");
  for (const std::string& c : Form_CompressOptions::Codecs()) codec_->addItem(Q(c));
  keyFrames_ = new QLineEdit(this);
  keyFrames_->setObjectName("Text_KeyFrames");
  quality_ = new QLineEdit(this);
  quality_->setObjectName("Text_Quality");
  ok_ = new QPushButton("OK", this);
  ok_->setObjectName("Command_OK");
  ok_->setDefault(true);
  cancel_ = CommandButton(this, "Cancel", "Command_Cancel");

  auto* fields = new QFormLayout;
  fields->addRow("Compressor:", codec_);
  fields->addRow("Key frame every (frames):", keyFrames_);
  fields->addRow("Quality (0 to 100):", quality_);
  auto* buttons = new QHBoxLayout;
  buttons->addStretch();
  buttons->addWidget(ok_);
  buttons->addWidget(cancel_);
  auto* box = new QVBoxLayout(this);
  box->addLayout(fields);
  box->addLayout(buttons);

  LoadFields();
  connect(codec_, &QComboBox::activated, this, [this](int index) {
    form_.SelectCodec(index);
    LoadFields();
  });
  connect(ok_, &QPushButton::clicked, this, &CompressDialog::accept);
  connect(cancel_, &QPushButton::clicked, this, &CompressDialog::reject);
}

void CompressDialog::LoadFields() {
  codec_->setCurrentIndex(form_.List_Codec);
  SetText(keyFrames_, form_.Text_KeyFrames);
  SetText(quality_, form_.Text_Quality);
}

void CompressDialog::accept() {
  form_.List_Codec = codec_->currentIndex();
  form_.Text_KeyFrames = keyFrames_->text().toStdString();
  form_.Text_Quality = quality_->text().toStdString();
  if (form_.Command_OK()) QDialog::accept();
}

void CompressDialog::reject() {
  form_.Command_Cancel();
  QDialog::reject();
}

void InstallCompressDialog(QWidget* parent) {
  QPointer<QWidget> owner(parent);
  CompressOptionsDialog() = [owner](Form_CompressOptions& form) {
    CompressDialog dialog(form, owner);
    return dialog.exec() == QDialog::Accepted;
  };
}

void RemoveCompressDialog() { CompressOptionsDialog() = nullptr; }

}  // namespace sv::app
