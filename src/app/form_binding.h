// What the Qt dialogs share when they bind to a presenter: texts, enabled and
// visible states, and the key codes the presenters take.
#pragma once

#include <QLineEdit>
#include <QPushButton>
#include <QString>
#include <QWidget>
#include <string>

namespace sv::app {

inline QString Q(const std::string& s) { return QString::fromStdString(s); }

// Only a real change is written: the cursor stays where the user typed.
inline void SetText(QLineEdit* e, const std::string& text) {
  const QString t = Q(text);
  if (e->text() != t) e->setText(t);
}

// A command button named after the presenter's command; Enter does not
// press it by itself.
inline QPushButton* CommandButton(QWidget* parent, const QString& caption, const char* name) {
  auto* b = new QPushButton(caption, parent);
  b->setObjectName(name);
  b->setAutoDefault(false);
  return b;
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
