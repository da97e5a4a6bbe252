#include "FakeGlobalInput.h"

void FakeGlobalInput::pressLeft()
{
    m_leftDown = true;
    if (m_listening)
        Q_EMIT leftButtonDown();
}

void FakeGlobalInput::releaseLeft()
{
    m_leftDown = false;
    if (m_listening)
        Q_EMIT leftButtonUp();
}

void FakeGlobalInput::moveTo(const QPointF& location)
{
    m_location = location;
    if (m_listening && m_leftDown)
        Q_EMIT pointerMotion();
}

void FakeGlobalInput::pressRight()
{
    if (m_listening)
        Q_EMIT rightButtonDown();
}

void FakeGlobalInput::setModifiers(Qt::KeyboardModifiers modifiers)
{
    if (m_modifiers == modifiers)
        return;
    m_modifiers = modifiers;
    if (m_listening)
        Q_EMIT modifiersChanged(modifiers);
}
