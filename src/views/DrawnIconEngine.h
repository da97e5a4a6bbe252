#pragma once

#include <QIconEngine>
#include <QImage>
#include <QList>

#include <functional>

// An icon drawn at whatever size it is asked for, holding no pixels of its own.
//
// A QIcon built from pixmaps keeps every size it was given for as long as it lives: the
// tray's icon alone held 360 KB of images from sizes 16 to 256 that are drawn in a
// fraction of a millisecond when needed. availableSizes() still names the usual sizes,
// for the trays and window managers that want a choice.
class DrawnIconEngine final : public QIconEngine
{
public:
    using Draw = std::function<QImage(int size)>;

    DrawnIconEngine(Draw draw, QList<int> sizes);

    void paint(QPainter* painter, const QRect& rect, QIcon::Mode mode, QIcon::State state) override;
    QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State state) override;
    QPixmap scaledPixmap(const QSize& size, QIcon::Mode mode, QIcon::State state, qreal scale) override;
    QList<QSize> availableSizes(QIcon::Mode mode, QIcon::State state) override;
    QIconEngine* clone() const override;
    QString key() const override;

private:
    Draw m_draw;
    QList<int> m_sizes;
};
