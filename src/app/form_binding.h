// What the Qt dialogs share when they bind to a presenter: texts, enabled and
// visible states, and the key codes the presenters take.
#pragma once

#include <QAbstractButton>
#include <QComboBox>
#include <QDialog>
#include <QDialogButtonBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QString>
#include <QWidget>
#include <string>
#include <vector>

namespace sv::app {

inline QString Q(const std::string& s) { return QString::fromStdString(s); }

// Only a real change is written: the cursor stays where the user typed.
inline void SetText(QLineEdit* e, const std::string& text) {
  const QString t = Q(text);
  if (e->text() != t) e->setText(t);
}

// "Check_AD(3)": the object name of one control of an indexed set.
inline QString Indexed(const char* name, int i) { return QString("%1(%2)").arg(name).arg(i); }

// A combo box with the presenter's list and choice; the list is written only
// when it changed, so an open drop-down stays as it is.
inline void Fill(QComboBox* combo, const std::vector<std::string>& items, int current) {
  QStringList list;
  for (const std::string& s : items) list << Q(s);
  bool same = combo->count() == list.size();
  for (int i = 0; same && i < list.size(); ++i) same = combo->itemText(i) == list[i];
  if (!same) {
    combo->clear();
    combo->addItems(list);
  }
  if (combo->currentIndex() != current) combo->setCurrentIndex(current);
}

inline void SetChecked(QAbstractButton* b, bool on) {
  if (b->isChecked() != on) b->setChecked(on);
}

// A wait of a run shows on its label: highlighted while it lasts.
inline void Mark(QLabel* label, bool on) {
  if (label->property("marked").toBool() == on) return;
  label->setProperty("marked", on);
  QPalette p = label->parentWidget()->palette();
  if (on) {
    p.setColor(QPalette::Window, p.color(QPalette::Highlight));
    p.setColor(QPalette::WindowText, p.color(QPalette::HighlightedText));
  }
  label->setPalette(p);
}

// A label that a run marks (Mark) while it waits on its time.
inline QLabel* WaitLabel(const char* name, const QString& caption, QWidget* parent) {
  auto* l = new QLabel(caption, parent);
  l->setObjectName(name);
  l->setAutoFillBackground(true);
  return l;
}

// A field the user reads and does not type into.
inline QLineEdit* DisplayField(QWidget* parent, const char* name, int maxWidth) {
  auto* e = new QLineEdit(parent);
  e->setObjectName(name);
  e->setReadOnly(true);
  e->setFocusPolicy(Qt::NoFocus);
  e->setMaximumWidth(maxWidth);
  return e;
}

// A command button named after the presenter's command; Enter does not
// press it by itself.
inline QPushButton* CommandButton(QWidget* parent, const QString& caption, const char* name) {
  auto* b = new QPushButton(caption, parent);
  b->setObjectName(name);
  b->setAutoDefault(false);
  return b;
}

// The dialog's OK and Cancel row, named after the presenter's commands and
// wired to accept and reject.
inline QDialogButtonBox* OkCancelRow(QDialog* d) {
  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, d);
  buttons->button(QDialogButtonBox::Ok)->setObjectName("Command_OK");
  buttons->button(QDialogButtonBox::Cancel)->setObjectName("Command_Cancel");
  QObject::connect(buttons, &QDialogButtonBox::accepted, d, &QDialog::accept);
  QObject::connect(buttons, &QDialogButtonBox::rejected, d, &QDialog::reject);
  return buttons;
}

// A presenter's control state (Enabled, Visible) on its widget.
template <typename Control>
void Apply(QWidget* w, const Control& c) {
  if (w->isEnabled() != c.Enabled) w->setEnabled(c.Enabled);
  if (w->isVisibleTo(w->parentWidget()) != c.Visible) w->setVisible(c.Visible);
}

// The Windows key codes the presenters take (arrows, F5), 0 for others.
inline int KeyCode(int qtKey) {
  switch (qtKey) {
    case Qt::Key_Left: return 0x25;
    case Qt::Key_Up: return 0x26;
    case Qt::Key_Right: return 0x27;
    case Qt::Key_Down: return 0x28;
    case Qt::Key_F5: return 0x74;
    default: return 0;
  }
}

// The shift state as the presenters count it: Shift 1, Ctrl 2, Alt 4.
inline int ShiftState(Qt::KeyboardModifiers m) {
  int s = 0;
  if (m & Qt::ShiftModifier) s |= 1;
  if (m & Qt::ControlModifier) s |= 2;
  if (m & Qt::AltModifier) s |= 4;
  return s;
}

}  // namespace sv::app
