#pragma once

#include "core/ObserverList.h"

#include "managers/ApplicationEventMonitor.h"

// The modifier keys held after one of them went down or up.
struct KeyboardEvent
{
    Qt::KeyboardModifiers modifiers;
};

class KeyboardObserver
{
public:
    virtual ~KeyboardObserver() = default;
    virtual void keyboardFlagsChanged(const KeyboardEvent& event) = 0;
};

// Reports every press and release of a modifier key sent to Parqueta's own windows (the
// zone editor has the keyboard while it is open). Never consumes the event.
class KeyboardMonitor final : public ApplicationEventMonitor
{
    Q_OBJECT

public:
    explicit KeyboardMonitor(QObject* parent = nullptr);
    ~KeyboardMonitor() override;

    void addObserver(KeyboardObserver* observer) { m_observers.add(observer); }
    void removeObserver(KeyboardObserver* observer) { m_observers.remove(observer); }

    // The modifiers held once a key event is done: X11 reports the state from before
    // the event, so the key itself is added on a press and taken out on a release.
    static Qt::KeyboardModifiers modifiersAfter(int key, bool pressed, Qt::KeyboardModifiers before);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    ObserverList<KeyboardObserver> m_observers;
};
