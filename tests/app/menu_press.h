// Qt tests: a menu entry pressed as a user would, after the main window has
// prepared its menus; an entry that is missing or closed fails the test.
#pragma once

#include <QAction>
#include <QtTest>

#include "app/main_window.h"
#include "core/mdi_main.h"

namespace sv::test {

inline void PressMenu(MDIForm_Main& main, app::MainWindow& window, const char* name) {
  main.PrepareAllMenus();
  QAction* a = window.MenuAction(name);
  QVERIFY2(a && a->isEnabled(), name);
  a->trigger();
}

}  // namespace sv::test
