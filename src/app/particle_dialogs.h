// The Binarize dialog (modal, on the image in front) and the particle
// analysis window (Image > Particles...), bound to Form_Binarize and to the
// process-wide Form_Particle.
#pragma once

#include <QDialog>
#include <QWidget>

#include "analysis/form_particle.h"
#include "image/form_binarize.h"

class QCheckBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QScrollBar;

namespace sv {
class MDIForm_Main;
}

namespace sv::app {

class BinarizeWindow : public QDialog {
  Q_OBJECT
 public:
  BinarizeWindow(Form_Binarize& form, QWidget* parent = nullptr);
  void accept() override;

  QLineEdit* ThresholdText() const { return text_; }
  QScrollBar* ThresholdScroll() const { return scroll_; }
  QCheckBox* NewImageBox() const { return newImage_; }
  QPushButton* OkButton() const { return ok_; }

 private:
  void Load();
  Form_Binarize& form_;
  QLineEdit* text_;
  QScrollBar* scroll_;
  QLabel* range_;
  QCheckBox* newImage_;
  QPushButton* ok_;
  bool loading_ = false;
};

// The contour of the current particle on its grid.
class ParticleResultPicture : public QWidget {
  Q_OBJECT
 public:
  explicit ParticleResultPicture(QWidget* parent = nullptr);
  QSize sizeHint() const override { return {180, 180}; }

 protected:
  void paintEvent(QPaintEvent*) override;
};

class ParticleWindow : public QDialog, public Form_Particle::View {
  Q_OBJECT
 public:
  explicit ParticleWindow(QWidget* parent = nullptr);
  ~ParticleWindow() override;

  // Binds the analysis to an image (keeping its particles when it is the
  // one already bound) and shows the window.
  void ShowFor(Form_Camera& image);
  void LoadControls();
  void Changed(const Form_Particle&) override { LoadControls(); }

  QLineEdit* ParticleText() const { return particle_; }
  QLineEdit* MinSizeText() const { return minSize_; }
  QLabel* Info() const { return info_; }
  QLabel* CutOutPicture() const { return cutOut_; }
  ParticleResultPicture* ResultPicture() const { return result_; }
  QPushButton* Button(const char* name) const;

 private:
  void UpdateCutOut();
  QLineEdit* particle_;
  QLineEdit* minSize_;
  QLabel* info_;
  QLabel* cutOut_;
  ParticleResultPicture* result_;
  bool loading_ = false;
};

// Installs the Binarize dialog behind the image menu's Binarize and the
// particle window behind "mnuParticles" (offered for an image in front).
void InstallParticleDialogs(MDIForm_Main& main, QWidget* window);
void RemoveParticleDialogs();
// The particle window once it has been made, else nullptr.
ParticleWindow* ParticleDialog();

}  // namespace sv::app
