#include "app/toolbar_icons.h"

#include <QApplication>
#include <QFile>
#include <QHash>
#include <QIconEngine>
#include <QImage>
#include <QPainter>
#include <QPalette>
#include <QPixmap>
#include <QSvgRenderer>

// The icons live in a static library: their resources are registered by hand
// before the first look-up, outside any namespace as Qt asks.
static void RegisterIconResources() {
  static const bool done = [] {
    Q_INIT_RESOURCE(sv4200_icons);
    return true;
  }();
  (void)done;
}

namespace sv::app {

namespace {

// The accent colours of the drawings. They are mid-tones that stand out on
// white and on dark grey; a disabled icon turns them to the disabled ink.
const char* const kAccents[] = {"#3b8eea", "#2ea44f", "#e5534b", "#e3a008"};

QColor InkFor(QIcon::Mode mode) {
  const QPalette pal = QApplication::palette();
  switch (mode) {
    case QIcon::Disabled: return pal.color(QPalette::Disabled, QPalette::ButtonText);
    case QIcon::Selected: return pal.color(QPalette::Active, QPalette::HighlightedText);
    default: return pal.color(QPalette::Active, QPalette::ButtonText);
  }
}

// Paints one SVG drawing at any size, with "currentColor" replaced by the
// palette's ink of the moment. Pixmaps are kept per size, mode and ink.
class PaletteIconEngine : public QIconEngine {
 public:
  explicit PaletteIconEngine(QByteArray svg) : svg_(std::move(svg)) {}

  QIconEngine* clone() const override { return new PaletteIconEngine(*this); }
  bool isNull() override { return svg_.isEmpty(); }
  QString key() const override { return QStringLiteral("sv4200-palette"); }
  QSize actualSize(const QSize& size, QIcon::Mode, QIcon::State) override {
    const int side = std::min(size.width(), size.height());
    return {side, side};
  }
  QList<QSize> availableSizes(QIcon::Mode, QIcon::State) override {
    return {{16, 16}, {24, 24}, {32, 32}, {48, 48}, {64, 64}};
  }

  void paint(QPainter* painter, const QRect& rect, QIcon::Mode mode, QIcon::State state) override {
    const qreal dpr = painter->device() ? painter->device()->devicePixelRatioF() : 1.0;
    const QPixmap pm = scaledPixmap(rect.size(), mode, state, dpr);
    const QSize logical = pm.deviceIndependentSize().toSize();
    const QPoint at(rect.x() + (rect.width() - logical.width()) / 2,
                    rect.y() + (rect.height() - logical.height()) / 2);
    painter->drawPixmap(at, pm);
  }

  QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State state) override {
    return scaledPixmap(size, mode, state, 1.0);
  }

  QPixmap scaledPixmap(const QSize& size, QIcon::Mode mode, QIcon::State, qreal scale) override {
    const QSize side = actualSize(size, mode, QIcon::Off);
    if (side.isEmpty() || svg_.isEmpty()) return {};
    const QColor ink = InkFor(mode);
    const QString cacheKey = QStringLiteral("%1/%2/%3/%4")
                                 .arg(side.width())
                                 .arg(scale)
                                 .arg(int(mode))
                                 .arg(ink.name(QColor::HexArgb));
    if (auto it = cache_.constFind(cacheKey); it != cache_.constEnd()) return *it;

    QByteArray svg = svg_;
    // The renderer takes "currentColor" from an attribute it does not get
    // here, so the ink goes in as text; the opacity stays its own attribute.
    svg.replace("currentColor", ink.name(QColor::HexRgb).toLatin1());
    if (mode == QIcon::Disabled)
      for (const char* accent : kAccents) svg.replace(accent, ink.name(QColor::HexRgb).toLatin1());
    QSvgRenderer renderer(svg);
    QImage image(side * scale, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    if (renderer.isValid()) {
      QPainter p(&image);
      p.setRenderHint(QPainter::Antialiasing);
      if (mode == QIcon::Disabled && ink.alpha() == 255) p.setOpacity(0.75);
      renderer.render(&p, QRectF(QPointF(0, 0), QSizeF(image.size())));
    }
    QPixmap pm = QPixmap::fromImage(image);
    pm.setDevicePixelRatio(scale);
    cache_.insert(cacheKey, pm);
    return pm;
  }

 private:
  QByteArray svg_;
  QHash<QString, QPixmap> cache_;
};

// Every toolbar key, in the order of the toolbars.
const ButtonFace kFaces[] = {
    {"NewImage", "New image", "mnuNewImage", "new-image"},
    {"NewWorksheet", "New worksheet", "mnuNewWorksheet", "new-worksheet"},
    {"OpenImage", "Open image", "mnuOpenImage", "open-image"},
    {"OpenWorksheet", "Open worksheet", "mnuOpenWorksheet", "open-worksheet"},
    {"SaveAs", "Save as", "mnuSaveAs", "save-as"},
    {"Print", "Print", "mnuPrint", "print"},
    {"Undo", "Undo", "mnuUndo", "undo"},
    {"Cut", "Cut", "mnuCut", "cut"},
    {"Copy", "Copy", "mnuCopy", "copy"},
    {"Paste", "Paste", "mnuPaste", "paste"},
    {"Preview", "Live preview", "mnuPreview", "preview"},
    {"Overlay", "Overlay", "mnuOverlay", "overlay"},
    {"Grab", "Grab", "mnuGrab", "grab"},
    {"TimerGrab", "Timer grab", "mnuTimerGrab", "timer-grab"},
    {"Average", "Average", "mnuAverage", "average"},
    {"Line", "Line scan", "mnuLineSetup", "line"},
    {"Frame", "Scan windows", "mnuWindowSetup", "frame"},
    {"LUT", "Look-up table", "mnuVGALut", "lut"},
    {"Histogram", "Histogram", "mnuHistogram", "histogram"},
    {"FullScreen", "Full screen", "mnuFullScreen", "full-screen"},
    {"Cursor", "Cursor", "mnuToolCursor", "cursor"},
    {"Zoom", "Zoom", "mnuToolZoom", "zoom"},
    {"ScreenReader", "Screen reader", "mnuToolScreenReader", "screen-reader"},
    {"DataReader", "Data reader", "mnuToolDataReader", "data-reader"},
    {"Marker", "Marker", "mnuToolMarker", "marker"},
    {"PeakIntegrate", "Peak integrate", "mnuPeakIntegrate", "peak-integrate"},
    {"Growthrate", "Growth rate", "mnuGrowthRate", "growth-rate"},
    {"eGun", "Electron gun", "mnuGunParameter", "egun"},
    // One button per video input, made when the grabber comes up.
    {"", "Video source", "mnuSource", "source"},
};

QString StripAccelerator(const std::string& caption) {
  QString s = QString::fromStdString(caption);
  s.replace(QStringLiteral("&&"), QStringLiteral("\x01"));
  s.remove(QLatin1Char('&'));
  s.replace(QLatin1Char('\x01'), QLatin1Char('&'));
  return s;
}

}  // namespace

QIcon PaletteIcon(const QString& name) {
  RegisterIconResources();
  QFile file(QStringLiteral(":/icons/") + name + QStringLiteral(".svg"));
  if (!file.open(QIODevice::ReadOnly)) return {};
  return QIcon(new PaletteIconEngine(file.readAll()));
}

QIcon AppIcon() {
  // Drawn in its own colours: it carries its dark screen with it.
  RegisterIconResources();
  return QIcon(QStringLiteral(":/icons/sv4200.svg"));
}

QIcon DocumentIcon(DocumentKind kind) {
  switch (kind) {
    case DocumentKind::Image: return PaletteIcon(QStringLiteral("doc-image"));
    case DocumentKind::Worksheet: return PaletteIcon(QStringLiteral("doc-sheet"));
    case DocumentKind::Plot: return PaletteIcon(QStringLiteral("doc-plot"));
    case DocumentKind::Film: return PaletteIcon(QStringLiteral("doc-film"));
  }
  return {};
}

const ButtonFace* FaceOf(const ToolbarButton& button) {
  for (const ButtonFace& f : kFaces)
    if (*f.key && button.key == f.key) return &f;
  if (!button.menu.empty())
    for (const ButtonFace& f : kFaces)
      if (!*f.key && button.menu == f.menu) return &f;
  return nullptr;
}

QIcon ToolbarIcon(const ToolbarButton& button) {
  const ButtonFace* face = FaceOf(button);
  return face ? PaletteIcon(QString::fromLatin1(face->icon)) : QIcon();
}

QString ToolbarText(const ToolbarButton& button) {
  if (!button.caption.empty()) return QString::fromStdString(button.caption);
  if (const ButtonFace* face = FaceOf(button)) return QString::fromUtf8(face->caption);
  return QString::fromStdString(button.key);
}

QString ToolbarTip(const ToolbarButton& button, MDIForm_Main& main) {
  const ButtonFace* face = FaceOf(button);
  QString tip;
  if (!button.caption.empty())
    tip = StripAccelerator(button.caption);  // "Source 1: Composite"
  else if (!button.tip.empty() && button.tip != button.key)
    tip = QString::fromStdString(button.tip);  // "Undo: Binarize"
  else
    tip = ToolbarText(button);
  // The key's menu entry, or the one the presenter named for the button.
  const std::string menu = !button.menu.empty() ? button.menu : face ? face->menu : "";
  const MenuEntry* entry = menu.empty() ? nullptr : main.FindMenu(menu, button.menuIndex);
  if (!entry && !menu.empty()) entry = main.FindMenu(menu);
  if (entry && !entry->shortcut.empty())
    tip += QStringLiteral(" (") + QString::fromStdString(entry->shortcut) + QLatin1Char(')');
  return tip;
}

}  // namespace sv::app
