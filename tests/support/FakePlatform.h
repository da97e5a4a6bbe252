#pragma once

#include "platform/DesktopEffects.h"
#include "platform/DisplayServer.h"
#include "platform/GlobalInput.h"
#include "platform/HotkeyBackend.h"
#include "platform/WindowEvents.h"

#include <map>

// Displays and a pointer that tests set by hand. changeDisplays() behaves like a
// reconfiguration: the new list, then displaysChanged(flags).
class FakeDisplayServer final : public DisplayServer
{
    Q_OBJECT

public:
    using DisplayServer::DisplayServer;

    QList<DisplayInfo> displays() const override { return m_displays; }
    QPointF pointerLocation() const override { return m_pointer; }
    void setDisplays(const QList<DisplayInfo>& displays) { m_displays = displays; } // silent, for setting up
    void changeDisplays(const QList<DisplayInfo>& displays, quint32 flags = 0)
    {
        m_displays = displays;
        Q_EMIT displaysChanged(flags);
    }
    void setPointer(QPointF desktopPoint) { m_pointer = desktopPoint; }
    // A display whose visible frame is the whole frame unless given.
    static DisplayInfo display(const QString& uuid, const QString& name, const QRectF& frame, const QRectF& visible = {})
    {
        return DisplayInfo {uuid, name, frame, visible.isNull() ? frame : visible, {}};
    }

private:
    QList<DisplayInfo> m_displays;
    QPointF m_pointer;
};

// Global input driven by the test. Like a real source it only reports while started,
// and a motion counts as a drag step only while the left button is held.
class FakeGlobalInput final : public GlobalInput
{
    Q_OBJECT

public:
    using GlobalInput::GlobalInput;

    void pressLeft()
    {
        m_leftDown = true;
        report(&GlobalInput::leftButtonDown);
    }
    void releaseLeft()
    {
        m_leftDown = false;
        report(&GlobalInput::leftButtonUp);
    }
    void pressRight() { report(&GlobalInput::rightButtonDown); }
    void moveTo(const QPointF& location)
    {
        m_location = location;
        if (m_leftDown)
            report(&GlobalInput::pointerMotion);
    }
    void moveBy(qreal dx, qreal dy) { moveTo(m_location + QPointF(dx, dy)); }
    void setModifiers(Qt::KeyboardModifiers modifiers)
    {
        if (std::exchange(m_modifiers, modifiers) != modifiers && m_listening)
            Q_EMIT modifiersChanged(modifiers);
    }
    Qt::KeyboardModifiers currentModifiers() const override { return m_modifiers; }
    QPointF pointerLocation() const override { return m_location; }

protected:
    bool startListening() override { return m_listening = true; }
    void stopListening() override { m_listening = false; }

private:
    void report(void (GlobalInput::*signal)())
    {
        if (m_listening)
            Q_EMIT(this->*signal)();
    }

    bool m_listening = false;
    bool m_leftDown = false;
    QPointF m_location;
    Qt::KeyboardModifiers m_modifiers;
};

// System-wide hot keys of a desktop where other programs may hold some combinations.
class FakeHotkeyBackend final : public HotkeyBackend
{
    Q_OBJECT

public:
    using HotkeyBackend::HotkeyBackend;

    void holdElsewhere(KeyCombination combination) { m_heldElsewhere.append(combination); }
    void releaseElsewhere(KeyCombination combination) { m_heldElsewhere.removeAll(combination); }
    // The user presses combination; whether anything of ours was grabbed on it. Like an
    // X server, the last grab of a combination by one client wins.
    bool press(KeyCombination combination)
    {
        for (auto it = m_grabs.rbegin(); it != m_grabs.rend(); ++it) {
            if (it->second == combination) {
                Q_EMIT activated(it->first);
                return true;
            }
        }
        return false;
    }
    bool isGrabbed(KeyCombination combination) const { return grabbed().contains(combination); }
    QList<KeyCombination> grabbed() const
    {
        QList<KeyCombination> result;
        for (const auto& [token, combination] : m_grabs)
            result.append(combination);
        return result;
    }
    GrabResult grab(KeyCombination combination) override
    {
        GrabResult result;
        if (m_heldElsewhere.contains(combination)) {
            result.heldElsewhere = true;
            result.error = KeyCombinations::toText(combination) + QStringLiteral(" is held by another program");
        } else {
            result.token = m_nextToken++;
            m_grabs.emplace(result.token, combination);
        }
        return result;
    }
    void release(Token token) override { m_grabs.erase(token); }
    Qt::KeyboardModifiers primaryModifiers() const override { return Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier; }

private:
    QList<KeyCombination> m_heldElsewhere;
    std::map<Token, KeyCombination> m_grabs;
    Token m_nextToken = 1;
};

// A compositor that tests start and stop by hand, announced like the backend does.
class FakeDesktopEffects final : public DesktopEffects
{
    Q_OBJECT

public:
    using DesktopEffects::DesktopEffects;

    bool overlaysCanBeTranslucent() const override { return m_translucent; }
    void setTranslucent(bool translucent)
    {
        if (std::exchange(m_translucent, translucent) != translucent)
            Q_EMIT overlaysCanBeTranslucentChanged(translucent);
    }

private:
    bool m_translucent = true;
};

// Windows that appear when the test says so, reported only while started.
class FakeWindowEvents final : public WindowEvents
{
    Q_OBJECT

public:
    using WindowEvents::WindowEvents;

    void appear(const WindowControl::Handle& window)
    {
        if (isRunning())
            Q_EMIT windowAppeared(window);
    }
};
