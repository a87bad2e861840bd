// Mouse drags on an image's picture, for the Qt tests.
#pragma once

#include <QCoreApplication>
#include <QMouseEvent>
#include <QPoint>
#include <QWidget>

#include "app/image_window.h"
#include "app/main_window.h"
#include "image/form_camera.h"

namespace sv::test {

// Presses at image pixel (x1, y1), drags to (x2, y2) and lets go on the
// picture of `f`.
inline void DragOnPicture(app::MainWindow& window, Form_Camera* f, long x1, long y1, long x2,
                          long y2) {
  QWidget* picture = window.ImageWindowFor(f->Handle())->Picture();
  auto screen = [f](long x, long y) {
    return QPoint(int(x * f->ZoomFactor() + f->ZoomOffsetX()),
                  int(y * f->ZoomFactor() + f->ZoomOffsetY()));
  };
  auto send = [picture](QEvent::Type type, QPoint at, Qt::MouseButton button,
                        Qt::MouseButtons buttons) {
    QMouseEvent e(type, QPointF(at), QPointF(picture->mapToGlobal(at)), button, buttons,
                  Qt::NoModifier);
    QCoreApplication::sendEvent(picture, &e);
  };
  send(QEvent::MouseButtonPress, screen(x1, y1), Qt::LeftButton, Qt::LeftButton);
  send(QEvent::MouseMove, screen((x1 + x2) / 2, (y1 + y2) / 2), Qt::NoButton, Qt::LeftButton);
  send(QEvent::MouseMove, screen(x2, y2), Qt::NoButton, Qt::LeftButton);
  send(QEvent::MouseButtonRelease, screen(x2, y2), Qt::LeftButton, Qt::NoButton);
}

}  // namespace sv::test
