#pragma once

#include "platform/macos/CocoaScreenApi.h"

#include <functional>

// CocoaScreenApi over NSScreen, ColorSync's display UUIDs and NSEvent's pointer location.
// It also listens to Quartz's display reconfiguration callback for as long as it lives
// and passes every call's flags on, unfiltered, to the handler the platform sets.
class MacScreenApi final : public CocoaScreenApi
{
public:
    MacScreenApi();
    ~MacScreenApi() override;
    MacScreenApi(const MacScreenApi&) = delete;
    MacScreenApi& operator=(const MacScreenApi&) = delete;

    // CGDisplayChangeSummaryFlags of each call, the begin-configuration ones included.
    void setReconfiguredHandler(std::function<void(quint32 flags)> handler);

    std::vector<CocoaScreenFacts> screens() override;
    std::optional<QString> displayUuid(quint32 displayId) override;
    QPointF mouseLocation() override;

private:
    // Its address is the callback's user data, so this object must not move.
    std::function<void(quint32 flags)> m_reconfigured;
    bool m_registered = false;
};
