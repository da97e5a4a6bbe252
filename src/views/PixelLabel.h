#pragma once

#include <QColor>
#include <QString>

class QPainter;
class QPalette;
class QPointF;
class QRectF;

// A size label shown beside a dragged border: an arrow symbol and the size ("640px")
// in a 12-point medium font, in the secondary text colour, on a capsule.
struct PixelLabel
{
    QString text;
    // The arrow drawn before the text: along the dimension the label measures.
    QString symbol;
    double opacity = 1.0;

    QRectF rectCentredAt(const QPointF& centre) const;
    void paint(QPainter& painter, const QPointF& centre, const QPalette& palette) const;
};
