#pragma once

#include "models/Screen.h"
#include "models/ScreenGeometry.h"
#include "platform/DisplayServer.h"

#include <QList>
#include <QObject>
#include <QPointF>
#include <QRectF>
#include <QString>

#include <optional>

class Settings;

// Gives every connected display a stable identity, a Screen, under which layouts are
// stored. The known screens live in the `screens` setting (id -> Screen JSON); a screen
// is created and stored the first time its display is seen and is never removed, so a
// display that comes back at the same size finds its layouts again. The manager keeps
// no state of its own: displays are asked afresh and the setting is read at each use.
class ScreenManager final : public QObject, public ScreenGeometry
{
    Q_OBJECT

public:
    explicit ScreenManager(DisplayServer& displays, Settings& settings, QObject* parent = nullptr);

    // One screen per connected display that has an identifier, in the platform's order
    // (primary first); displays seen for the first time are added.
    QList<Screen> screens();

    // Creates the Screen for a display (its current name), stores it (replacing an
    // entry with the same id) and returns it; nothing when the display has no identifier.
    std::optional<Screen> add(const DisplayInfo& display);
    // Stores the screen under its id, replacing an existing entry.
    void add(const Screen& screen);

    // The stored screen of a display, else add(display).
    std::optional<Screen> screenFor(const DisplayInfo& display);
    // The stored screen with that id (connected or not).
    std::optional<Screen> screen(const QString& id) const;
    // The screen of the first display, in platform order, whose frame contains the
    // desktop point (ScreenCoordinates::frameContains: left/top edges inclusive,
    // right/bottom exclusive).
    std::optional<Screen> screenWithPoint(QPointF desktopPoint);
    // The id of the screen screenWithPoint() finds, without reading or adding to the
    // stored screens: for questions asked many times per pointer motion.
    std::optional<QString> screenIdWithPoint(QPointF desktopPoint) const;
    std::optional<Screen> screenWithMouse();
    // The pointer in desktop space.
    QPointF pointerLocation() const { return m_displays.pointerLocation(); }

    // The connected display whose identifier equals the screen's id: absent when the
    // display is unplugged or now runs at another size.
    std::optional<DisplayInfo> displayFor(const Screen& screen) const;
    std::optional<QRectF> visibleFrameOf(const Screen& screen) const override;
    std::optional<QString> displayUuidOf(const Screen& screen) const;

    // A layout rectangle of the screen in desktop space, and a desktop point in the
    // screen's layout space; nothing when the screen is not connected.
    std::optional<QRectF> layoutToDesktop(const Screen& screen, const QRectF& layoutRect) const;
    std::optional<QPointF> positionInVisibleFrame(const Screen& screen, QPointF desktopPoint) const;

    // "<display UUID>-<W>x<H>" (frame size truncated); nothing for a display without a
    // UUID or with a frame size that is not a finite integer-range number.
    static std::optional<QString> identifierOf(const DisplayInfo& display);
    // The first display whose frame contains the point, see screenWithPoint().
    static std::optional<DisplayInfo> displayWithPoint(const QList<DisplayInfo>& displays, QPointF desktopPoint);

Q_SIGNALS:
    // Every display reconfiguration, unfiltered, with the backend's change flags.
    // Listeners re-read screens().
    void displayReconfiguration(quint32 flags);

private:
    DisplayServer& m_displays;
    Settings& m_settings;
};
