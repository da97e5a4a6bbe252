#include "views/NumberOutlines.h"

#include <QFontMetricsF>
#include <QList>

#include <algorithm>
#include <cmath>
#include <limits>

NumberOutlines::NumberOutlines(QFont font)
    : m_font(std::move(font))
{ }

QPainterPath NumberOutlines::centredIn(const QString& text, const QRectF& frame)
{
    const bool digits = !text.isEmpty()
        && std::all_of(text.begin(), text.end(), [](QChar ch) { return ch >= u'0' && ch <= u'9'; });
    if (digits && !m_raw)
        m_raw = QRawFont::fromFont(m_font);
    const QList<quint32> glyphs = digits && m_raw->isValid() ? m_raw->glyphIndexesForString(text) : QList<quint32>();
    const bool mapped
        = glyphs.size() == text.size() && std::none_of(glyphs.begin(), glyphs.end(), [](quint32 g) { return g == 0; });
    if (!mapped) {
        const QRectF box = QFontMetricsF(m_font).tightBoundingRect(text);
        QPainterPath path;
        path.addText(frame.center().x() - box.width() / 2 - box.left(),
            frame.center().y() - box.height() / 2 - box.top(), m_font, text);
        return path;
    }

    // The ink's box as the text engine measures it: each glyph's box at the pen, the pen
    // moved on by the glyph's advance in whole pixels (the boxes are those of the
    // rasterised glyphs), while the outlines are set at their exact advances.
    const QList<QPointF> advances = m_raw->advancesForGlyphIndexes(glyphs);
    double boxPen = 0;
    double left = std::numeric_limits<double>::max();
    double top = std::numeric_limits<double>::max();
    double right = std::numeric_limits<double>::lowest();
    double bottom = std::numeric_limits<double>::lowest();
    for (qsizetype i = 0; i < glyphs.size(); ++i) {
        const QRectF ink = m_raw->boundingRect(glyphs[i]);
        left = std::min(left, boxPen + ink.left());
        top = std::min(top, ink.top());
        right = std::max(right, boxPen + ink.left() + ink.width());
        bottom = std::max(bottom, ink.top() + ink.height());
        boxPen += std::round(advances[i].x());
    }
    // The text engine places the first glyph in 1/64-pixel steps, cutting off the rest.
    const auto toFixed = [](double v) { return std::trunc(v * 64) / 64; };
    double pen = toFixed(frame.center().x() - (right - left) / 2 - left);
    const double baseline = toFixed(frame.center().y() - (bottom - top) / 2 - top);
    QPainterPath path;
    for (qsizetype i = 0; i < glyphs.size(); ++i) {
        auto outline = m_outlines.find(glyphs[i]);
        if (outline == m_outlines.end())
            outline = m_outlines.insert(glyphs[i], m_raw->pathForGlyph(glyphs[i]));
        path.addPath(outline->translated(pen, baseline));
        pen += advances[i].x();
    }
    return path;
}
