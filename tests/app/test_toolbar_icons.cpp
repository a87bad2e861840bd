// The faces of the toolbars and windows: every button of every toolbar has a
// drawn icon that shows at 16 and 24 pixels on light and dark themes, keeps
// its key as object name, and tells its human caption and shortcut in its
// tip; a key without a drawing still shows its caption.

#include <QAction>
#include <QApplication>
#include <QImage>
#include <QMdiSubWindow>
#include <QPalette>
#include <QRegularExpression>
#include <QTest>
#include <QToolBar>
#include <QToolButton>
#include <map>
#include <memory>

#include "acquisition/grabber.h"
#include "acquisition/grabber_environment.h"
#include "acquisition/live.h"
#include "app/app_environment.h"
#include "app/main_window.h"
#include "app/toolbar_icons.h"
#include "core/globals.h"
#include "core/mdi_main.h"
#include "core/settings.h"
#include "core/startup.h"
#include "image/form_camera.h"
#include "plot/form_plot.h"
#include "plot/plot_documents.h"
#include "dialog_steps.h"
#include "support/queue_host.h"
#include "worksheet/form_worksheet.h"
#include "worksheet/worksheet_documents.h"

using namespace sv;

namespace {

// Pixels an icon covers at `side`, and the mean lightness of their colour.
struct Coverage {
  int covered = 0;
  double lightness = 0;
};

Coverage Cover(const QIcon& icon, int side, QIcon::Mode mode = QIcon::Normal) {
  const QImage img = icon.pixmap(QSize(side, side), mode).toImage().convertToFormat(
      QImage::Format_ARGB32);
  Coverage c;
  if (img.size() != QSize(side, side)) return c;
  double sum = 0;
  for (int y = 0; y < side; ++y)
    for (int x = 0; x < side; ++x) {
      const QColor px = img.pixelColor(x, y);
      if (px.alpha() < 128) continue;
      ++c.covered;
      sum += px.lightnessF();
    }
  c.lightness = c.covered ? sum / c.covered : 0;
  return c;
}

QPalette Themed(bool dark) {
  QPalette p;
  const QColor text = dark ? QColor(235, 235, 235) : QColor(20, 20, 20);
  const QColor back = dark ? QColor(45, 45, 48) : QColor(240, 240, 240);
  for (auto group : {QPalette::Active, QPalette::Inactive}) {
    p.setColor(group, QPalette::ButtonText, text);
    p.setColor(group, QPalette::WindowText, text);
    p.setColor(group, QPalette::Button, back);
    p.setColor(group, QPalette::Window, back);
  }
  p.setColor(QPalette::Disabled, QPalette::ButtonText, QColor(128, 128, 128));
  return p;
}

const QRegularExpression kCamelCase("[a-z][A-Z]");

}  // namespace

class TestToolbarIcons : public QObject {
  Q_OBJECT

 private:
  std::unique_ptr<test::QueueHost> host_;
  std::unique_ptr<MDIForm_Main> main_;
  std::unique_ptr<app::MainWindow> window_;

 private slots:
  // One workbench with the dummy grabber up, so that the source buttons are
  // there as well.
  void initTestCase() {
    ResetGlobals();
    host_ = std::make_unique<test::QueueHost>();
    sv::test::BuildMainWindow(main_, window_, {.images = true, .hardware = false});
    QVERIFY(sv::Main(*main_, "/B"));
    InstallGrabberEnvironment();
    RegisterGrabberCommands(*main_);
    RegisterLiveCommands(*main_);
    QVERIFY(StartGrabber("DummyGrb"));
    main_->PrepareAllMenus();
    main_->UpdateToolbarState();
  }

  void cleanupTestCase() {
    GrabberClose();
    GrabberUnload();
    window_.reset();
    main_.reset();
    Environment() = StartupEnvironment();
    ClearSettingsSections();
    ResetGrabberGlobals();
    ResetLiveGlobals();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    host_.reset();
  }

  void toolbarsKeepTheirNamesAndKeys() {
    const std::map<QString, QStringList> expected = {
        {"Toolbar_File",
         {"NewImage", "NewWorksheet", "OpenImage", "OpenWorksheet", "SaveAs", "Print"}},
        {"Toolbar_Edit", {"Undo", "Cut", "Copy", "Paste"}},
        {"Toolbar_Grabber", {"Preview", "Overlay", "Grab", "TimerGrab", "Average"}},
        {"Toolbar_Scan", {"Line", "Frame"}},
        {"Toolbar_Image", {"LUT", "Histogram", "FullScreen"}},
        {"Toolbar_Plot",
         {"Cursor", "Zoom", "ScreenReader", "DataReader", "Marker", "PeakIntegrate", "Print",
          "Growthrate"}},
        {"Toolbar_eGun", {"eGun"}},
    };
    for (const auto& [name, keys] : expected) {
      QToolBar* bar = window_->ToolbarWidget(name.toStdString());
      QVERIFY2(bar, qPrintable(name));
      QStringList names;
      for (QAction* a : bar->actions()) names << a->objectName();
      QCOMPARE(names, keys);
    }
    QToolBar* sources = window_->ToolbarWidget("Toolbar_Sources");
    QVERIFY(sources && !sources->actions().isEmpty());
    QCOMPARE(sources->actions().front()->objectName(), QString("Source0"));
  }

  // Every button of every toolbar the presenter holds, the source buttons
  // included: a face, an icon that covers pixels at both sizes, and a button
  // that shows it.
  void everyButtonShowsADrawnIcon() {
    int buttons = 0;
    for (const Toolbar& t : main_->Toolbars()) {
      QToolBar* bar = window_->ToolbarWidget(t.name);
      QVERIFY2(bar, t.name.c_str());
      QCOMPARE(bar->actions().size(), qsizetype(t.buttons.size()));
      for (size_t j = 0; j < t.buttons.size(); ++j) {
        const ToolbarButton& b = t.buttons[j];
        const QString where = QString::fromStdString(t.name + "/" + b.key);
        QVERIFY2(app::FaceOf(b), qPrintable(where + ": no drawing for this key"));
        QAction* a = bar->actions()[qsizetype(j)];
        QCOMPARE(a->objectName(), QString::fromStdString(b.key));
        QVERIFY2(!a->icon().isNull(), qPrintable(where));
        for (int side : {16, 24}) {
          const Coverage c = Cover(a->icon(), side);
          // A drawing, not a blot: some pixels and far from all.
          QVERIFY2(c.covered >= side * side / 20, qPrintable(where + " empty"));
          QVERIFY2(c.covered <= side * side * 3 / 4, qPrintable(where + " a blot"));
        }
        auto* button = qobject_cast<QToolButton*>(bar->widgetForAction(a));
        QVERIFY(button);
        QCOMPARE(button->toolButtonStyle(), b.caption.empty() ? Qt::ToolButtonIconOnly
                                                              : Qt::ToolButtonTextBesideIcon);
        ++buttons;
      }
    }
    QVERIFY(buttons >= 30);
  }

  // The icons are inked from the palette: light lines on a dark theme, dark
  // lines on a light one, and grey when disabled.
  void iconsFollowThePalette() {
    const QPalette saved = QApplication::palette();
    for (const Toolbar& t : main_->Toolbars())
      for (const ToolbarButton& b : t.buttons) {
        const QIcon icon = app::ToolbarIcon(b);
        QApplication::setPalette(Themed(false));
        const Coverage light = Cover(icon, 24);
        QApplication::setPalette(Themed(true));
        const Coverage dark = Cover(icon, 24);
        const Coverage disabled = Cover(icon, 24, QIcon::Disabled);
        QVERIFY2(dark.lightness > light.lightness + 0.15, b.key.c_str());
        QVERIFY2(dark.lightness > 0.5, b.key.c_str());
        QVERIFY2(disabled.lightness < dark.lightness, b.key.c_str());
      }
    QApplication::setPalette(saved);
  }

  void tipsAreCaptionsWithTheMenuShortcut() {
    for (const Toolbar& t : main_->Toolbars()) {
      QToolBar* bar = window_->ToolbarWidget(t.name);
      for (size_t j = 0; j < t.buttons.size(); ++j) {
        const ToolbarButton& b = t.buttons[j];
        const QString tip = bar->actions()[qsizetype(j)]->toolTip();
        QVERIFY2(!tip.isEmpty(), b.key.c_str());
        QVERIFY2(!kCamelCase.match(tip).hasMatch(), qPrintable(tip));
        QVERIFY2(!tip.contains('&'), qPrintable(tip));
        const app::ButtonFace* face = app::FaceOf(b);
        QAction* menu = window_->MenuAction(b.menu.empty() ? face->menu : b.menu, b.menuIndex);
        if (!menu) menu = window_->MenuAction(face->menu);
        QVERIFY2(menu, face->menu);
        const QString shortcut = menu->shortcut().toString();
        if (shortcut.isEmpty())
          QVERIFY2(!tip.contains('('), qPrintable(tip));
        else
          QVERIFY2(tip.endsWith(" (" + shortcut + ")"), qPrintable(tip + " / " + shortcut));
      }
    }
    QCOMPARE(window_->ToolbarAction("NewImage")->toolTip(), QString("New image (Ctrl+N)"));
    QCOMPARE(window_->ToolbarAction("TimerGrab")->toolTip(), QString("Timer grab"));
    QCOMPARE(window_->ToolbarAction("Preview")->toolTip(), QString("Live preview (F5)"));
    QCOMPARE(window_->ToolbarAction("Source0")->toolTip(), QString("Video Source"));
    // Both Print buttons, not only the last one made.
    for (const char* bar : {"Toolbar_File", "Toolbar_Plot"}) {
      QAction* print = nullptr;
      for (QAction* a : window_->ToolbarWidget(bar)->actions())
        if (a->objectName() == "Print") print = a;
      QVERIFY(print);
      QCOMPARE(print->toolTip(), QString("Print (Ctrl+P)"));
      QCOMPARE(print->text(), QString("Print"));
    }
  }

  // The tip the presenter sets for the moment keeps the shortcut.
  void undoTipNamesTheOperation() {
    ToolbarButton* undo = main_->FindButton("Undo");
    QVERIFY(undo);
    undo->tip = "Undo: Binarize";
    window_->ToolbarsChanged();
    QCOMPARE(window_->ToolbarAction("Undo")->toolTip(), QString("Undo: Binarize (Ctrl+Z)"));
    undo->tip = "Undo";
    window_->ToolbarsChanged();
    QCOMPARE(window_->ToolbarAction("Undo")->toolTip(), QString("Undo (Ctrl+Z)"));
  }

  void keyWithoutDrawingShowsItsCaption() {
    Toolbar extra;
    extra.name = "Toolbar_Extra";
    ToolbarButton b;
    b.key = "Mystery";
    b.tip = "Mystery";
    extra.buttons.push_back(b);
    main_->Toolbars().push_back(extra);
    window_->ToolbarsChanged();
    QAction* a = window_->ToolbarAction("Mystery");
    QVERIFY(a);
    QVERIFY(a->icon().isNull());
    QCOMPARE(a->text(), QString("Mystery"));
    auto* button =
        qobject_cast<QToolButton*>(window_->ToolbarWidget("Toolbar_Extra")->widgetForAction(a));
    QVERIFY(button);
    QCOMPARE(button->toolButtonStyle(), Qt::ToolButtonTextOnly);
    main_->Toolbars().pop_back();
    window_->ToolbarsChanged();
    QVERIFY(!window_->ToolbarAction("Mystery"));
  }

  void windowsCarryTheirIcons() {
    for (const QIcon& icon : {app::AppIcon(), window_->windowIcon(),
                              app::DocumentIcon(app::DocumentKind::Film)}) {
      QVERIFY(!icon.isNull());
      QVERIFY(Cover(icon, 16).covered > 16);
      QVERIFY(Cover(icon, 48).covered > 48 * 4);
    }
    main_->PrepareAllMenus();
    std::map<std::string, app::DocumentKind> kinds = {
        {"mnuNewImage", app::DocumentKind::Image},
        {"mnuNewWorksheet", app::DocumentKind::Worksheet}};
    for (const auto& [menu, kind] : kinds) {
      main_->Click(menu);
      ChildDocument* doc = main_->ActiveChild();
      QVERIFY(doc);
      if (auto* sheet = dynamic_cast<Form_Worksheet*>(doc)) {
        // The sheet's plot as well.
        SheetPlot* made = nullptr;
        QVERIFY(sheet->NewPlot(made));
        auto* plot = dynamic_cast<Form_Plot*>(made);
        QVERIFY(plot);
        QMdiSubWindow* sub = window_->SubWindowFor(plot->Handle());
        QVERIFY(sub);
        QCOMPARE(sub->windowIcon().pixmap(16).toImage(),
                 app::DocumentIcon(app::DocumentKind::Plot).pixmap(16).toImage());
      }
      QMdiSubWindow* sub = window_->SubWindowFor(doc->Handle());
      QVERIFY(sub && sub->widget());
      const QImage expected = app::DocumentIcon(kind).pixmap(16).toImage();
      QCOMPARE(sub->widget()->windowIcon().pixmap(16).toImage(), expected);
      QCOMPARE(sub->windowIcon().pixmap(16).toImage(), expected);
    }
  }
};

QTEST_MAIN(TestToolbarIcons)
#include "test_toolbar_icons.moc"
