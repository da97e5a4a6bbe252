#pragma once

#include <QFont>
#include <QHash>
#include <QPainterPath>
#include <QRawFont>
#include <QRectF>
#include <QString>

#include <optional>

// Zone numbers as glyph outlines, centred in a frame by the ink they cover.
//
// A zone's number is digits, one glyph each in the font's character map: there is
// nothing to shape. Laying the glyphs out here rather than through
// QPainterPath::addText puts the same outlines at the same places (to the last bit of a
// coordinate; antialiasing may differ by a level or so) without waking the text shaper,
// whose code and tables would otherwise stay resident from the first gesture on (0.9 MB),
// and each digit's outline is read from the font once for all zones. Text that is not
// plain digits, or that the font lacks, goes through the text engine.
class NumberOutlines
{
public:
    explicit NumberOutlines(QFont font = {});

    QPainterPath centredIn(const QString& text, const QRectF& frame);

private:
    QFont m_font;
    std::optional<QRawFont> m_raw; // made by the first number
    QHash<quint32, QPainterPath> m_outlines; // by glyph, at the origin
};
