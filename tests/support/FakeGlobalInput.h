#pragma once

#include "platform/GlobalInput.h"

// Global input driven by the test. Like a real source it only reports while started,
// and a motion counts as a drag step only while the left button is held.
class FakeGlobalInput final : public GlobalInput
{
    Q_OBJECT

public:
    using GlobalInput::GlobalInput;

    void pressLeft();
    void releaseLeft();
    // Moves the pointer; a drag step when the left button is down.
    void moveTo(const QPointF& location);
    void moveBy(qreal dx, qreal dy) { moveTo(m_location + QPointF(dx, dy)); }
    void pressRight();
    void setModifiers(Qt::KeyboardModifiers modifiers);

    Qt::KeyboardModifiers currentModifiers() const override { return m_modifiers; }
    QPointF pointerLocation() const override { return m_location; }

protected:
    bool startListening() override { return m_listening = true; }
    void stopListening() override { m_listening = false; }

private:
    bool m_listening = false;
    bool m_leftDown = false;
    QPointF m_location;
    Qt::KeyboardModifiers m_modifiers;
};
