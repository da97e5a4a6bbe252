#include "FakeDesktopEffects.h"

void FakeDesktopEffects::setTranslucent(bool translucent)
{
    if (translucent == m_translucent)
        return;
    m_translucent = translucent;
    Q_EMIT overlaysCanBeTranslucentChanged(translucent);
}
