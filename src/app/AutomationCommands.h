#pragma once

#include "core/AutomationRequest.h"
#include "models/Window.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

class Application;

// Carries out the commands a later launch sends (parqueta --snap-focused 2, --list, …)
// with the running program's managers, the way the tray, the shortcuts and a layout's
// own shortcut would, and words the answer: the exit status the launch ends with and a
// line (or the JSON of --list) for it to print.
class AutomationCommands final
{
public:
    explicit AutomationCommands(Application& application);

    // The whole answer to one request line as a later launch sent it; a malformed one
    // is logged and answered with AutomationRequest::kMalformed.
    QByteArray answer(const QByteArray& request);
    AutomationAnswer run(const AutomationRequest& request);

private:
    AutomationAnswer snapFocused(int firstZone, int lastZone);
    AutomationAnswer moveOrSpanFocused(bool span, bool right);
    AutomationAnswer cycle(bool next);
    AutomationAnswer activateLayout(const AutomationRequest& request);
    AutomationAnswer list();
    // The focused window when it is one Parqueta snaps; else nothing, and why.
    WindowPtr focusedNormalWindow(QString& why);
    // The ids of the zones the window stands in, in number order.
    QStringList snappedZones(const Window& window) const;
    static QString describe(const Window& window);

    Application& m_app;
};
