// The codec chooser of AVI films, bound to Form_CompressOptions through its
// dialog hook.
#pragma once

#include <QDialog>

#include "video/compress_options.h"

class QComboBox;
class QLineEdit;
class QPushButton;

namespace sv::app {

class CompressDialog : public QDialog {
  Q_OBJECT
 public:
  explicit CompressDialog(Form_CompressOptions& form, QWidget* parent = nullptr);

  QComboBox* CodecList() const { return codec_; }
  QLineEdit* KeyFramesField() const { return keyFrames_; }
  QLineEdit* QualityField() const { return quality_; }
  QPushButton* OKButton() const { return ok_; }
  QPushButton* CancelButton() const { return cancel_; }

  void accept() override;
  void reject() override;

 private:
  void LoadFields();

  Form_CompressOptions& form_;
  QComboBox* codec_;
  QLineEdit* keyFrames_;
  QLineEdit* quality_;
  QPushButton* ok_;
  QPushButton* cancel_;
};

// The chooser is shown modally over `parent` from now on; Remove returns
// it to its headless default (cancelled).
void InstallCompressDialog(QWidget* parent);
void RemoveCompressDialog();

}  // namespace sv::app
