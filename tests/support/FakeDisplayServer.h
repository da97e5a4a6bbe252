#pragma once

#include "platform/DisplayServer.h"

#include <QList>
#include <QPointF>

// Displays and a pointer that tests set by hand. changeDisplays() behaves like a
// reconfiguration: the new list, then displaysChanged(flags).
class FakeDisplayServer final : public DisplayServer
{
    Q_OBJECT

public:
    using DisplayServer::DisplayServer;

    QList<DisplayInfo> displays() const override { return m_displays; }
    QPointF pointerLocation() const override { return m_pointer; }

    // Silent: for setting up a test.
    void setDisplays(const QList<DisplayInfo>& displays) { m_displays = displays; }
    void changeDisplays(const QList<DisplayInfo>& displays, quint32 flags = 0);
    void setPointer(QPointF desktopPoint) { m_pointer = desktopPoint; }

    // A display whose visible frame is the whole frame unless given.
    static DisplayInfo display(
        const QString& uuid, const QString& name, const QRectF& frame, const QRectF& visibleFrame = QRectF());

private:
    QList<DisplayInfo> m_displays;
    QPointF m_pointer;
};
