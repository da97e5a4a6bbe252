#include "app/AutomationCommands.h"

#include "app/Application.h"
#include "core/Logging.h"
#include "managers/LayoutManager.h"
#include "managers/ScreenManager.h"
#include "managers/WindowManager.h"
#include "managers/ZoneManager.h"
#include "models/Layout.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTimer>

#include <algorithm>

namespace {

AutomationAnswer done(const QString& line)
{
    return {AutomationRequest::kSucceeded, line + QLatin1Char('\n')};
}

AutomationAnswer notNow(const QString& reason)
{
    return {AutomationRequest::kNotPossibleNow, reason + QLatin1Char('\n')};
}

AutomationAnswer malformed(const QString& reason)
{
    qCInfo(lcApp).noquote() << "Refused a command from a later launch:" << reason;
    return {AutomationRequest::kMalformed, reason + QLatin1Char('\n')};
}

bool byNumber(const QString& a, const QString& b)
{
    return a.toInt() < b.toInt();
}

// The layout's zones in the order of their numbers, which is what "1-2" counts in.
std::vector<std::shared_ptr<Zone>> zonesInNumberOrder(const Layout& layout)
{
    std::vector<std::shared_ptr<Zone>> zones = layout.zones();
    std::stable_sort(zones.begin(), zones.end(), [](const auto& a, const auto& b) { return byNumber(a->id(), b->id()); });
    return zones;
}

QJsonObject rectJson(const QRectF& rect)
{
    return QJsonObject {{QStringLiteral("x"), rect.x()}, {QStringLiteral("y"), rect.y()},
        {QStringLiteral("width"), rect.width()}, {QStringLiteral("height"), rect.height()}};
}

QJsonValue optionalRect(const std::optional<QRectF>& rect)
{
    return rect ? QJsonValue(rectJson(*rect)) : QJsonValue(QJsonValue::Null);
}

} // namespace

AutomationCommands::AutomationCommands(Application& application)
    : m_app(application)
{ }

QByteArray AutomationCommands::answer(const QByteArray& request)
{
    const AutomationRequest::Parsed parsed = AutomationRequest::parse(request);
    if (!parsed.request) {
        qCWarning(lcApp).noquote() << "Refused a malformed request from a later launch:" << parsed.error;
        return AutomationRequest::encodeAnswer({AutomationRequest::kMalformed, parsed.error + QLatin1Char('\n')});
    }
    const AutomationRequest& command = *parsed.request;
    if (command.isWindowRequest()) {
        // Answered first, the way earlier versions did: opening a window can take longer
        // than an earlier version's launch waits.
        QTimer::singleShot(0, &m_app, [app = &m_app, which = command.command()] {
            if (which == AutomationRequest::Command::editLayout)
                app->openEditorUnderPointer();
            else if (which == AutomationRequest::Command::debugWindow)
                app->openDebugWindow();
            else
                app->reopen();
        });
        return QByteArrayLiteral("ok\n");
    }
    const AutomationAnswer answer = run(command);
    qCInfo(lcApp).noquote() << "Command from a later launch:" << command.toLine().trimmed() << "- status"
                            << answer.status;
    return AutomationRequest::encodeAnswer(answer);
}

AutomationAnswer AutomationCommands::run(const AutomationRequest& request)
{
    switch (request.command()) {
    case AutomationRequest::Command::snapFocused:
        return snapFocused(request.firstZone(), request.lastZone());
    case AutomationRequest::Command::moveFocused:
        return moveOrSpanFocused(false, request.forward());
    case AutomationRequest::Command::spanFocused:
        return moveOrSpanFocused(true, request.forward());
    case AutomationRequest::Command::cycle:
        return cycle(request.forward());
    case AutomationRequest::Command::layout:
        return activateLayout(request);
    case AutomationRequest::Command::list:
        return list();
    case AutomationRequest::Command::reopen:
    case AutomationRequest::Command::editLayout:
    case AutomationRequest::Command::debugWindow:
        break;
    }
    return malformed(QStringLiteral("That request opens a window; it has no answer of its own"));
}

WindowPtr AutomationCommands::focusedNormalWindow(QString& why)
{
    WindowManager& windows = m_app.windowManager();
    const WindowPtr window = windows.getFocusedWindow();
    if (!window) {
        why = QStringLiteral("No window has the focus");
        return nullptr;
    }
    if (!windows.isNormal(*window)) {
        why = QStringLiteral("The focused window, %1, is not a normal window (a panel, a menu, a desktop or one of "
                             "Parqueta's own): Parqueta does not snap it")
                  .arg(describe(*window));
        return nullptr;
    }
    return window;
}

AutomationAnswer AutomationCommands::snapFocused(int firstZone, int lastZone)
{
    QString why;
    const WindowPtr window = focusedNormalWindow(why);
    if (!window)
        return notNow(why);
    const std::optional<Screen> screen = m_app.windowManager().screen(*window);
    if (!screen)
        return notNow(QStringLiteral("The focused window, %1, lies on no screen").arg(describe(*window)));
    const std::shared_ptr<Layout> layout = m_app.layoutManager().activeFor(*screen);
    const std::vector<std::shared_ptr<Zone>> all = layout ? zonesInNumberOrder(*layout) : decltype(all) {};
    std::vector<std::shared_ptr<Zone>> chosen;
    for (int number = firstZone; number <= lastZone; ++number) {
        const auto found = std::find_if(
            all.begin(), all.end(), [&](const auto& zone) { return zone->id() == QString::number(number); });
        if (found == all.end())
            return malformed(QStringLiteral("There is no zone %1 on %2: its active layout has zones 1 to %3")
                                 .arg(number)
                                 .arg(screen->name())
                                 .arg(all.size()));
        chosen.push_back(*found);
    }
    m_app.zoneManager().snap(window, chosen);
    if (!m_app.zoneManager().isWindowSnapped(*window))
        return notNow(QStringLiteral("%1 could not be snapped there (see the log)").arg(describe(*window)));
    return done(QStringLiteral("Snapped %1 into zone %2 of %3")
                    .arg(describe(*window), snappedZones(*window).join(QLatin1Char('+')), screen->name()));
}

AutomationAnswer AutomationCommands::moveOrSpanFocused(bool span, bool right)
{
    QString why;
    const WindowPtr window = focusedNormalWindow(why);
    if (!window)
        return notNow(why);
    WindowManager& windows = m_app.windowManager();
    ZoneManager& zones = m_app.zoneManager();
    const QStringList zonesBefore = snappedZones(*window);
    const std::optional<QRectF> frameBefore = windows.getFrame(*window);
    const ZoneCycleDirection direction = right ? ZoneCycleDirection::right : ZoneCycleDirection::left;
    // The very calls the move and span shortcuts make.
    if (span)
        zones.onSpanWindow(direction);
    else
        zones.handleCycleMove(direction);
    const QStringList zonesAfter = snappedZones(*window);
    if (zonesAfter.isEmpty() || (zonesAfter == zonesBefore && windows.getFrame(*window) == frameBefore))
        return notNow(QStringLiteral("%1 stays where it is: it stands in no zone of its screen's active layout, or "
                                     "no zone lies further %2")
                          .arg(describe(*window), right ? QStringLiteral("right") : QStringLiteral("left")));
    return done(QStringLiteral("%1 %2 into zone %3")
                    .arg(span ? QStringLiteral("Spanned") : QStringLiteral("Moved"), describe(*window),
                        zonesAfter.join(QLatin1Char('+'))));
}

AutomationAnswer AutomationCommands::cycle(bool next)
{
    QString why;
    const WindowPtr window = focusedNormalWindow(why);
    if (!window)
        return notNow(why);
    const std::optional<QString> zone = m_app.zoneManager().zoneId(*window);
    if (!zone)
        return notNow(QStringLiteral("%1 stands in no zone: there is nothing to cycle through").arg(describe(*window)));
    m_app.zoneManager().handleCycleSwap(next ? ZoneCycleDirection::up : ZoneCycleDirection::down);
    return done(QStringLiteral("Brought the %1 window of zone %2 forward")
                    .arg(next ? QStringLiteral("next") : QStringLiteral("previous"), *zone));
}

AutomationAnswer AutomationCommands::activateLayout(const AutomationRequest& request)
{
    const std::optional<Screen> screen = m_app.screenManager().screenWithMouse();
    if (!screen)
        return notNow(QStringLiteral("No screen lies under the pointer"));
    LayoutManager& layouts = m_app.layoutManager();
    const LayoutList catalogue = layouts.layouts(*screen);
    std::shared_ptr<Layout> chosen;
    int position = request.layoutNumber();
    if (request.layoutId().isEmpty()) {
        if (position > static_cast<int>(catalogue.size()))
            return malformed(QStringLiteral("There is no layout %1 on %2: it has %3")
                                 .arg(position)
                                 .arg(screen->name())
                                 .arg(catalogue.size()));
        chosen = catalogue[static_cast<size_t>(position - 1)];
    } else {
        const auto found = std::find_if(catalogue.begin(), catalogue.end(),
            [&](const std::shared_ptr<Layout>& layout) { return layout->idText() == request.layoutId(); });
        if (found == catalogue.end())
            return malformed(QStringLiteral("%1 has no layout %2").arg(screen->name(), request.layoutId()));
        chosen = *found;
        position = static_cast<int>(found - catalogue.begin()) + 1;
    }
    layouts.activate(*screen, chosen);
    return done(QStringLiteral("Layout %1 is active on %2").arg(position).arg(screen->name()));
}

AutomationAnswer AutomationCommands::list()
{
    ScreenManager& screens = m_app.screenManager();
    LayoutManager& layouts = m_app.layoutManager();
    QJsonArray screenList;
    for (const Screen& screen : screens.screens()) {
        const std::optional<DisplayInfo> display = screens.displayFor(screen);
        const std::shared_ptr<Layout> active = layouts.activeFor(screen);
        QJsonArray layoutList;
        int position = 0;
        for (const std::shared_ptr<Layout>& layout : layouts.layouts(screen)) {
            QJsonArray zoneList;
            for (const std::shared_ptr<Zone>& zone : zonesInNumberOrder(*layout)) {
                zoneList.append(QJsonObject {{QStringLiteral("id"), zone->id()},
                    {QStringLiteral("frame"), optionalRect(screens.layoutToDesktop(screen, zone->rect()))}});
            }
            layoutList.append(QJsonObject {{QStringLiteral("id"), layout->idText()},
                {QStringLiteral("position"), ++position}, {QStringLiteral("active"), sameLayout(layout, active)},
                {QStringLiteral("zones"), zoneList}});
        }
        screenList.append(QJsonObject {{QStringLiteral("id"), screen.id()}, {QStringLiteral("name"), screen.name()},
            {QStringLiteral("frame"), optionalRect(display ? std::optional<QRectF>(display->frame) : std::nullopt)},
            {QStringLiteral("visibleFrame"), optionalRect(screens.visibleFrameOf(screen))},
            {QStringLiteral("layouts"), layoutList}});
    }

    ZoneManager& zones = m_app.zoneManager();
    std::vector<WindowPtr> snapped(zones.snappedWindows().cbegin(), zones.snappedWindows().cend());
    std::sort(snapped.begin(), snapped.end(), [](const WindowPtr& a, const WindowPtr& b) { return a->id() < b->id(); });
    QJsonArray windowList;
    for (const WindowPtr& window : snapped) {
        // A window closed since it was snapped is forgotten only when a shortcut next
        // touches its zone; it is no longer there to list.
        const std::optional<QRectF> frame = m_app.windowManager().getFrame(*window);
        if (!frame)
            continue;
        windowList.append(QJsonObject {{QStringLiteral("id"), static_cast<qint64>(window->id())},
            {QStringLiteral("application"), window->appName()}, {QStringLiteral("class"), window->appIdentifier()},
            {QStringLiteral("screen"), zones.snappedScreenId(*window).value_or(QString())},
            {QStringLiteral("zones"), QJsonArray::fromStringList(snappedZones(*window))},
            {QStringLiteral("frame"), rectJson(*frame)}});
    }
    const QJsonObject root {{QStringLiteral("screens"), screenList}, {QStringLiteral("windows"), windowList}};
    return {AutomationRequest::kSucceeded, QString::fromUtf8(QJsonDocument(root).toJson(QJsonDocument::Indented))};
}

QStringList AutomationCommands::snappedZones(const Window& window) const
{
    QStringList ids;
    const auto& byZone = m_app.zoneManager().snappedWindowsByZone();
    for (auto it = byZone.cbegin(); it != byZone.cend(); ++it) {
        if (std::any_of(it.value().begin(), it.value().end(), [&](const WindowPtr& w) { return w && *w == window; }))
            ids.append(it.key());
    }
    std::sort(ids.begin(), ids.end(), byNumber);
    return ids;
}

QString AutomationCommands::describe(const Window& window)
{
    return QStringLiteral("%1 (window %2)").arg(window.appName()).arg(window.id());
}
