#include "views/ColorWell.h"

#include "core/Settings.h"

#include <QColorDialog>
#include <QPainter>

ColorWell::ColorWell(Settings& settings, const ColorKey& key, const QString& title, QWidget* parent)
    : QToolButton(parent)
    , m_settings(settings)
    , m_key(key)
    , m_title(title)
{
    setObjectName(QString::fromLatin1(key.name));
    setToolTip(title);
    setAccessibleName(title);
    setIconSize(QSize(36, 18));
    connect(this, &QToolButton::clicked, this, &ColorWell::choose);
    refresh();
}

void ColorWell::refresh()
{
    const QColor color = m_settings.value(m_key);
    QPixmap swatch(iconSize() * devicePixelRatioF());
    swatch.setDevicePixelRatio(devicePixelRatioF());
    QPainter painter(&swatch);
    const QRect area(QPoint(), iconSize());
    // A checkerboard under the colour shows how transparent it is.
    const int cell = 6;
    for (int y = 0; y < area.height(); y += cell) {
        for (int x = 0; x < area.width(); x += cell)
            painter.fillRect(x, y, cell, cell, ((x + y) / cell) % 2 ? QColor(0xcc, 0xcc, 0xcc) : Qt::white);
    }
    painter.fillRect(area, color);
    painter.setPen(palette().color(QPalette::Mid));
    painter.drawRect(area.adjusted(0, 0, -1, -1));
    painter.end();
    setIcon(QIcon(swatch));
}

void ColorWell::choose()
{
    const QColor current = m_settings.value(m_key);
    const QColor chosen = m_picker ? m_picker(current)
                                   : QColorDialog::getColor(current, window(), m_title, QColorDialog::ShowAlphaChannel);
    if (!chosen.isValid())
        return; // cancelled
    m_settings.setValue(m_key, chosen);
}
