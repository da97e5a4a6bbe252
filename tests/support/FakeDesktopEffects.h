#pragma once

#include "platform/DesktopEffects.h"

// A compositor that tests start and stop by hand; setTranslucent() announces the change
// like the backend does.
class FakeDesktopEffects final : public DesktopEffects
{
    Q_OBJECT

public:
    explicit FakeDesktopEffects(bool translucent = true, QObject* parent = nullptr)
        : DesktopEffects(parent)
        , m_translucent(translucent)
    { }

    bool overlaysCanBeTranslucent() const override { return m_translucent; }

    void setTranslucent(bool translucent);

private:
    bool m_translucent;
};
