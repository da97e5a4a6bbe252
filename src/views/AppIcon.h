#pragma once

#include <QByteArray>
#include <QColor>
#include <QIcon>
#include <QImage>

// Parqueta's icon, drawn rather than shipped: a screen split into three zones, one of
// them lit. The icon files a package installs are written from the same drawing, so the
// menu, the About window and the tray cannot drift apart.
namespace AppIcon {

QIcon icon();
QPixmap pixmap(int size);
// The colour icon without a QGuiApplication (what the icon files are made of).
QImage image(int size);

// The monochrome glyph for panels: the screen in `ink` with the two unlit zones cut out.
// A tray icon in the panel's own foreground colour reads on a light panel and a dark one.
QImage glyph(int size, const QColor& ink);
QIcon trayIcon(const QColor& ink);

// The same drawings as scalable documents: the colour icon, and the symbolic glyph in
// the neutral grey that themes recolour.
QByteArray svg();
QByteArray symbolicSvg();

} // namespace AppIcon
