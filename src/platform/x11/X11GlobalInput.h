#pragma once

#include "platform/GlobalInput.h"
#include "platform/x11/X11Connection.h"
#include "platform/x11/X11KeyMapping.h"

#include <optional>
#include <vector>

// Global input through XInput 2.2 raw events on the root window. Raw events reach us
// even while the window manager holds the pointer grab of a window move (XI 2.0 raw
// events do not), but they carry neither a position nor the modifier state: those come
// from the server when asked, and the answer is kept until the next event.
class X11GlobalInput final : public GlobalInput, private X11EventHandler
{
    Q_OBJECT

public:
    explicit X11GlobalInput(X11Connection& connection, QObject* parent = nullptr);
    ~X11GlobalInput() override;

    Qt::KeyboardModifiers currentModifiers() const override;
    QPointF pointerLocation() const override;

protected:
    bool startListening() override;
    void stopListening() override;

private:
    struct PointerState
    {
        QPointF location;
        uint16_t mask = 0;
    };

    bool handleX11Event(xcb_generic_event_t* event) override;
    bool isRawMotion(const xcb_generic_event_t* event) const;
    bool selectRawEvents(uint32_t mask);
    std::optional<PointerState> queryPointer() const;
    void readButtonMapping();
    int logicalButton(uint32_t physical) const;
    void updateModifiers();

    X11Connection& m_connection;
    X11KeyMapping m_keys;
    uint8_t m_opcode = 0;
    bool m_listening = false;
    bool m_leftDown = false;
    Qt::KeyboardModifiers m_modifiers;
    // Physical button -> logical button (left-handed setups swap 1 and 3).
    std::vector<uint8_t> m_buttonMap;
};
