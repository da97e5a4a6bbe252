#pragma once

#include "platform/KeyCombination.h"

#include <QObject>
#include <QString>

// System-wide hot keys: a combination grabbed here reaches Parqueta whichever window
// has the keyboard focus.
class HotkeyBackend : public QObject
{
    Q_OBJECT

public:
    using Token = quint64;

    struct GrabResult
    {
        // Non-zero when the combination is ours now.
        Token token = 0;
        // Why not, for the log and the settings window.
        QString error;
        // Another program holds the combination (as opposed to a key this keyboard lacks).
        bool heldElsewhere = false;

        bool ok() const { return token != 0; }
    };

    using QObject::QObject;
    ~HotkeyBackend() override;

    virtual GrabResult grab(KeyCombination combination) = 0;
    // Unknown or already released tokens are ignored.
    virtual void release(Token token) = 0;

    // The modifiers the default shortcuts are built on: the keys that the
    // platform's desktops leave free for a utility like this one.
    virtual Qt::KeyboardModifiers primaryModifiers() const = 0;

Q_SIGNALS:
    // The combination behind token was pressed.
    void activated(HotkeyBackend::Token token);
};
