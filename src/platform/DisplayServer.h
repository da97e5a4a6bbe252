#pragma once

#include <QList>
#include <QObject>
#include <QPointF>
#include <QRectF>
#include <QString>

// One connected display as the windowing system reports it. Every rectangle is in
// desktop space: origin at the top-left of the primary display, y down.
struct DisplayInfo
{
    // Stable identity of the physical display, upper-case 8-4-4-4-12; empty when
    // none can be derived (the display then has no screen identifier).
    QString uuid;
    // The human-readable name (the output or monitor name on X11).
    QString name;
    // The whole display.
    QRectF frame;
    // The display without panels, docks and menu bars: where zones live.
    QRectF visibleFrame;
    // How visibleFrame was found, in words for the debug window ("the whole display: no
    // panel reserves space", "less 1 panel strut").
    QString visibleFrameSource;

    friend bool operator==(const DisplayInfo&, const DisplayInfo&) = default;
};

// The displays and the pointer. Implementations keep displays() in the platform's
// order with the primary display first.
class DisplayServer : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;
    ~DisplayServer() override;

    virtual QList<DisplayInfo> displays() const = 0;
    // The pointer location in desktop space.
    virtual QPointF pointerLocation() const = 0;

Q_SIGNALS:
    // Emitted for every change of the display configuration (added, removed, moved,
    // resized, panels changing the visible frames). flags is backend-specific detail.
    void displaysChanged(quint32 flags);
};
