#include "platform/WindowEvents.h"

WindowEvents::~WindowEvents() = default;

bool WindowEvents::start()
{
    if (m_users == 0 && !startListening())
        return false;
    ++m_users;
    return true;
}

void WindowEvents::stop()
{
    if (m_users == 0)
        return;
    if (--m_users == 0)
        stopListening();
}
