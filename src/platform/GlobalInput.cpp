#include "platform/GlobalInput.h"

GlobalInput::~GlobalInput() = default;

bool GlobalInput::start()
{
    if (m_users == 0 && !startListening())
        return false;
    ++m_users;
    return true;
}

void GlobalInput::stop()
{
    if (m_users == 0)
        return;
    if (--m_users == 0)
        stopListening();
}
