#include "views/AppIcon.h"

#include "views/DrawnIconEngine.h"

#include <QPainter>
#include <QPainterPath>
#include <QPixmap>
#include <QRegularExpression>

#include <cmath>
#include <iterator>

namespace AppIcon {

namespace {

const QColor kFrame(0x2b, 0x3a, 0x55);
const QColor kZone(0xdd, 0xe6, 0xf3);
const QColor kLit(0x3d, 0x8b, 0xfd);
const QColor kSymbolicGrey(0xbe, 0xbe, 0xbe);
// The sizes the tray and the window decorations ask for most.
constexpr int kIconSizes[] = {16, 22, 24, 32, 48, 64, 128, 256};

struct Drawing
{
    QPainterPath screen;
    QPainterPath left;
    QPainterPath topRight;
    QPainterPath bottomRight;
};

// On a raster every edge lands on a whole pixel, so a 16-pixel icon is as sharp as a
// 256-pixel one; the scalable documents keep the exact proportions.
Drawing drawing(qreal size, bool onPixels)
{
    const auto at = [onPixels](qreal v) { return onPixels ? std::round(v) : v; };
    const qreal margin = at(size * 0.08);
    const QRectF screen(margin, margin, size - 2 * margin, size - 2 * margin);
    const qreal radius = size * 0.12;
    const qreal gap = std::max<qreal>(1.0, at(size * 0.06));

    const QRectF inner = screen.adjusted(gap, gap, -gap, -gap);
    const qreal leftWidth = at((inner.width() - gap) * 0.6);
    const QRectF left(inner.left(), inner.top(), leftWidth, inner.height());
    const qreal rightX = left.right() + gap;
    const qreal halfHeight = at((inner.height() - gap) / 2);
    const QRectF topRight(rightX, inner.top(), inner.right() - rightX, halfHeight);
    const qreal bottomY = topRight.bottom() + gap;
    const QRectF bottomRight(rightX, bottomY, topRight.width(), inner.bottom() - bottomY);

    const auto rounded = [](const QRectF& rect, qreal r) {
        QPainterPath path;
        path.addRoundedRect(rect, r, r);
        return path;
    };
    const qreal zoneRadius = radius * 0.5;
    return Drawing {rounded(screen, radius), rounded(left, zoneRadius), rounded(topRight, zoneRadius),
        rounded(bottomRight, zoneRadius)};
}

// The screen with the unlit zones as holes; the lit zone stays part of the solid.
QPainterPath glyphPath(const Drawing& d)
{
    QPainterPath path = d.screen;
    path.addPath(d.left);
    path.addPath(d.bottomRight);
    path.setFillRule(Qt::OddEvenFill);
    return path;
}

QImage blank(int size)
{
    QImage image(size, size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    return image;
}

QString number(qreal v)
{
    return QString::number(v, 'f', 2).remove(QRegularExpression(QStringLiteral("\\.?0+$")));
}

QString pathData(const QPainterPath& path)
{
    QString data;
    for (int i = 0; i < path.elementCount(); ++i) {
        const QPainterPath::Element e = path.elementAt(i);
        switch (e.type) {
        case QPainterPath::MoveToElement:
            data += QStringLiteral("M%1 %2").arg(number(e.x), number(e.y));
            break;
        case QPainterPath::LineToElement:
            data += QStringLiteral("L%1 %2").arg(number(e.x), number(e.y));
            break;
        case QPainterPath::CurveToElement: {
            const QPainterPath::Element c2 = path.elementAt(i + 1);
            const QPainterPath::Element end = path.elementAt(i + 2);
            data += QStringLiteral("C%1 %2 %3 %4 %5 %6")
                        .arg(number(e.x), number(e.y), number(c2.x), number(c2.y), number(end.x), number(end.y));
            i += 2;
            break;
        }
        case QPainterPath::CurveToDataElement:
            break;
        }
    }
    return data + QLatin1Char('Z');
}

QByteArray document(int size, const QString& body)
{
    return QStringLiteral("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                          "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"%1\" height=\"%1\" "
                          "viewBox=\"0 0 %1 %1\">\n%2</svg>\n")
        .arg(size)
        .arg(body)
        .toUtf8();
}

QString svgPath(const QPainterPath& path, const QColor& fill, bool evenOdd = false)
{
    return QStringLiteral("  <path fill=\"%1\"%2 d=\"%3\"/>\n")
        .arg(fill.name(), evenOdd ? QStringLiteral(" fill-rule=\"evenodd\"") : QString(), pathData(path));
}

} // namespace

QImage image(int size)
{
    QImage image = blank(size);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    const Drawing d = drawing(size, true);
    painter.fillPath(d.screen, kFrame);
    painter.fillPath(d.left, kZone);
    painter.fillPath(d.topRight, kLit);
    painter.fillPath(d.bottomRight, kZone);
    return image;
}

QPixmap pixmap(int size)
{
    return QPixmap::fromImage(image(size));
}

QIcon icon()
{
    return QIcon(new DrawnIconEngine(&image, QList<int>(std::begin(kIconSizes), std::end(kIconSizes))));
}

QImage glyph(int size, const QColor& ink)
{
    QImage image = blank(size);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.fillPath(glyphPath(drawing(size, true)), ink);
    return image;
}

QIcon trayIcon(const QColor& ink)
{
    QIcon icon(new DrawnIconEngine(
        [ink](int size) { return glyph(size, ink); }, QList<int>(std::begin(kIconSizes), std::end(kIconSizes))));
    // A template image in the macOS menu bar, which recolours it for light and dark
    // menu bars and for the highlighted item; other trays ignore the mark.
    icon.setIsMask(true);
    return icon;
}

QByteArray svg()
{
    constexpr int size = 128;
    const Drawing d = drawing(size, false);
    return document(size,
        svgPath(d.screen, kFrame) + svgPath(d.left, kZone) + svgPath(d.topRight, kLit)
            + svgPath(d.bottomRight, kZone));
}

QByteArray symbolicSvg()
{
    constexpr int size = 16;
    return document(size, svgPath(glyphPath(drawing(size, false)), kSymbolicGrey, true));
}

} // namespace AppIcon
