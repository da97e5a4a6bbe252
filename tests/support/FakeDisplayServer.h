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
    QPointF pointerLocation() const override
    {
        ++m_pointerReads;
        return m_pointer;
    }
    // How often pointerLocation() was asked (a round trip to the server on X11).
    int pointerReads() const { return m_pointerReads; }

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
    mutable int m_pointerReads = 0;
};
