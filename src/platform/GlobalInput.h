#pragma once

#include <QObject>
#include <QPointF>

// Mouse buttons, pointer motion and modifier keys anywhere on the desktop, including
// while another program (the window manager moving a window) holds the pointer. The
// program only watches: nothing is ever consumed.
//
// Several monitors share one source: start() and stop() are counted, and the backend
// listens while at least one user has started it.
class GlobalInput : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;
    ~GlobalInput() override;

    // Returns false (after logging why) when the platform cannot deliver global input.
    bool start();
    void stop();
    bool isRunning() const { return m_users > 0; }

    // The modifier keys held right now.
    virtual Qt::KeyboardModifiers currentModifiers() const = 0;
    // The pointer in desktop space.
    virtual QPointF pointerLocation() const = 0;

Q_SIGNALS:
    void leftButtonDown();
    void leftButtonUp();
    // The pointer moved while the left button is held: one drag step.
    void pointerMotion();
    void rightButtonDown();
    void modifiersChanged(Qt::KeyboardModifiers modifiers);

protected:
    virtual bool startListening() = 0;
    virtual void stopListening() = 0;

private:
    int m_users = 0;
};
