#include "platform/x11/X11Platform.h"

#include "core/Logging.h"
#include "platform/x11/X11Connection.h"
#include "platform/x11/X11DesktopEffects.h"
#include "platform/x11/X11DisplayServer.h"
#include "platform/x11/X11GlobalInput.h"
#include "platform/x11/X11HotkeyBackend.h"
#include "platform/x11/X11WindowControl.h"
#include "platform/x11/X11WindowEvents.h"
#include "platform/x11/XdgAutostartLoginItem.h"

#include <QCoreApplication>
#include <QFile>


#include <cstdlib>
#include <memory>

#include <xcb/xcb.h>

X11Platform::X11Platform(std::unique_ptr<X11Connection> connection)
    : m_connection(std::move(connection))
    , m_displays(std::make_unique<X11DisplayServer>(*m_connection))
    , m_windows(std::make_unique<X11WindowControl>(*m_connection))
    , m_input(std::make_unique<X11GlobalInput>(*m_connection))
    , m_windowEvents(std::make_unique<X11WindowEvents>(*m_connection))
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

WindowEvents& X11Platform::windowEvents()
{
    return *m_windowEvents;
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

QString X11Platform::clientName(xcb_window_t window)
{
    const QString name = QString::fromUtf8(m_connection->propertyText(window, m_connection->ewmh()->_NET_WM_NAME));
    if (!name.isEmpty())
        return name;
    const std::optional<X11Connection::WindowClass> wmClass = m_connection->windowClass(window);
    return wmClass ? wmClass->className : QString();
}

QString X11Platform::processName(xcb_window_t window)
{
    // Selection owners (a tray host's manager window) often carry neither name nor class
    // but do say which process they belong to.
    const auto pid = m_connection->property32(window, m_connection->ewmh()->_NET_WM_PID);
    if (!pid || pid->empty())
        return {};
    QFile comm(QStringLiteral("/proc/%1/comm").arg(pid->front()));
    return comm.open(QIODevice::ReadOnly) ? QString::fromLocal8Bit(comm.readAll().trimmed()) : QString();
}

QString X11Platform::selectionOwnerName(const QByteArray& selection, bool& owned)
{
    const QByteArray name = selection + QByteArray::number(m_connection->screenNumber());
    xcb_connection_t* c = m_connection->connection();
    const std::unique_ptr<xcb_get_selection_owner_reply_t, decltype(&std::free)> reply(
        xcb_get_selection_owner_reply(c, xcb_get_selection_owner(c, m_connection->atom(name.constData())), nullptr),
        &std::free);
    owned = reply && reply->owner != XCB_WINDOW_NONE;
    if (!owned)
        return {};
    const QString owner = clientName(reply->owner);
    return owner.isEmpty() ? processName(reply->owner) : owner;
}

DesktopFacts X11Platform::desktopFacts()
{
    const auto tr = [](const char* text) { return QCoreApplication::translate("X11Platform", text); };
    DesktopFacts facts;
    if (!m_connection->isValid()) {
        facts.append({tr("X server"), tr("gone")});
        return facts;
    }
    const xcb_setup_t* setup = xcb_get_setup(m_connection->connection());
    facts.append({tr("X server"),
        QStringLiteral("%1 %2")
            .arg(QString::fromLatin1(xcb_setup_vendor(setup), xcb_setup_vendor_length(setup)))
            .arg(setup->release_number)});
    const QString session = qEnvironmentVariable("XDG_CURRENT_DESKTOP");
    facts.append({tr("Desktop session"), session.isEmpty() ? tr("not named (XDG_CURRENT_DESKTOP is unset)") : session});

    const auto check = m_connection->property32(m_connection->root(), m_connection->ewmh()->_NET_SUPPORTING_WM_CHECK);
    const QString windowManager = check && !check->empty() ? clientName(check->front()) : QString();
    facts.append({tr("Window manager"),
        check && !check->empty() ? (windowManager.isEmpty() ? tr("running, unnamed") : windowManager)
                                 : tr("none that follows EWMH: windows cannot be moved reliably")});

    bool owned = false;
    const QString compositor = selectionOwnerName(QByteArrayLiteral("_NET_WM_CM_S"), owned);
    facts.append({tr("Compositor"),
        owned ? (compositor.isEmpty() ? tr("running, unnamed") : compositor) + tr(": translucent overlays")
              : tr("none: overlays are drawn opaque, with holes for the zones")});
    const QString tray = selectionOwnerName(QByteArrayLiteral("_NET_SYSTEM_TRAY_S"), owned);
    facts.append({tr("Tray host"),
        owned ? (tray.isEmpty() ? tr("running, unnamed") : tray) : tr("none: Parqueta is reached by launching it again")});

    // Xft.dpi is how desktops ask applications to scale; Qt derives its ratio from it.
    const QByteArray resources = m_connection->propertyText(m_connection->root(), XCB_ATOM_RESOURCE_MANAGER);
    QString dpi = tr("not set (96)");
    for (const QByteArray& line : resources.split('\n')) {
        if (line.startsWith("Xft.dpi:"))
            dpi = QString::fromLatin1(line.mid(8).trimmed());
    }
    facts.append({tr("Xft.dpi"), dpi});
    return facts;
}
