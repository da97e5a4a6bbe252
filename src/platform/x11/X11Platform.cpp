#include "platform/x11/X11Platform.h"

#include "core/Logging.h"
#include "platform/x11/X11Connection.h"
#include "platform/x11/X11DesktopEffects.h"
#include "platform/x11/X11DisplayServer.h"
#include "platform/x11/X11GlobalInput.h"
#include "platform/x11/X11HotkeyBackend.h"
#include "platform/x11/X11WindowControl.h"
#include "platform/x11/XdgAutostartLoginItem.h"

#include <QCoreApplication>

#include <xcb/xcb.h>

X11Platform::X11Platform(std::unique_ptr<X11Connection> connection)
    : m_connection(std::move(connection))
    , m_displays(std::make_unique<X11DisplayServer>(*m_connection))
    , m_windows(std::make_unique<X11WindowControl>(*m_connection))
    , m_input(std::make_unique<X11GlobalInput>(*m_connection))
    , m_hotkeys(std::make_unique<X11HotkeyBackend>(*m_connection))
    , m_desktopEffects(std::make_unique<X11DesktopEffects>(*m_connection))
    , m_loginItems(std::make_unique<XdgAutostartLoginItem>(QCoreApplication::applicationFilePath()))
{ }

X11Platform::~X11Platform() = default;

DisplayServer& X11Platform::displays()
{
    return *m_displays;
}

WindowControl& X11Platform::windows()
{
    return *m_windows;
}

GlobalInput& X11Platform::input()
{
    return *m_input;
}

HotkeyBackend& X11Platform::hotkeys()
{
    return *m_hotkeys;
}

DesktopEffects& X11Platform::desktopEffects()
{
    return *m_desktopEffects;
}

LoginItemService& X11Platform::loginItems()
{
    return *m_loginItems;
}

QString X11Platform::reopenPlace() const
{
    return QCoreApplication::translate("X11Platform", "the application menu");
}

std::unique_ptr<Platform> createPlatform()
{
    auto connection = std::make_unique<X11Connection>();
    if (!connection->isValid()) {
        qCCritical(lcX11) << "No X server to work with: Parqueta needs an X11 session (is DISPLAY set?)";
        return nullptr;
    }
    return std::make_unique<X11Platform>(std::move(connection));
}

bool windowingSystemAvailable(QString& reason)
{
    // Another Qt platform (offscreen, for instance) needs no X server.
    const QString platform = qEnvironmentVariable("QT_QPA_PLATFORM");
    if (!platform.isEmpty() && !platform.startsWith(QLatin1String("xcb")))
        return true;
    const QString display = qEnvironmentVariable("DISPLAY");
    xcb_connection_t* connection = xcb_connect(nullptr, nullptr);
    const bool reachable = connection && !xcb_connection_has_error(connection);
    if (connection)
        xcb_disconnect(connection);
    if (reachable)
        return true;
    reason = display.isEmpty()
        ? QStringLiteral("No X display: DISPLAY is not set. Parqueta runs in an X11 desktop session.")
        : QStringLiteral("Cannot open the X display \"%1\": is an X server running there, and may this user "
                         "connect to it?")
              .arg(display);
    return false;
}

void X11Platform::setConnectionLostHandler(std::function<void()> handler)
{
    QObject::disconnect(m_connection.get(), &X11Connection::connectionLost, nullptr, nullptr);
    QObject::connect(m_connection.get(), &X11Connection::connectionLost, m_connection.get(), std::move(handler));
}
