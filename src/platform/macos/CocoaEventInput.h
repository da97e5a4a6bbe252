#pragma once

#include "platform/GlobalInput.h"
#include "platform/macos/CocoaEventApi.h"
#include "platform/macos/CocoaScreenApi.h"

#include <vector>

// Global input on macOS from NSEvent monitors: left-mouse up and dragged (mask 68) both
// global and local, so drags of Parqueta's own windows count too; right-mouse down
// (mask 8) and modifier changes (mask 4096) global. Monitors see events after the
// system has delivered them and never consume one.
//
// The pointer comes from NSEvent.mouseLocation, flipped into desktop space about the
// primary display.
class CocoaEventInput final : public GlobalInput
{
    Q_OBJECT

public:
    static constexpr quint64 kLeftMouseMask = 68;
    static constexpr quint64 kRightMouseDownMask = 8;
    static constexpr quint64 kFlagsChangedMask = 4096;

    CocoaEventInput(CocoaEventApi& events, CocoaScreenApi& screens, QObject* parent = nullptr);
    ~CocoaEventInput() override;

    Qt::KeyboardModifiers currentModifiers() const override;
    QPointF pointerLocation() const override;

protected:
    bool startListening() override;
    void stopListening() override;

private:
    void handle(const CocoaEvent& event);

    CocoaEventApi& m_events;
    CocoaScreenApi& m_screens;
    std::vector<CocoaEventApi::Token> m_monitors;
    Qt::KeyboardModifiers m_modifiers;
};
