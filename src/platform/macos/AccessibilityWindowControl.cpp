#include "platform/macos/AccessibilityWindowControl.h"

#include "core/Logging.h"

#include <QCoreApplication>
#include <QRegularExpression>

#include <algorithm>
#include <cstdio>

namespace {

const QString kFocusedApplication = QStringLiteral("AXFocusedApplication");
const QString kFocusedWindow = QStringLiteral("AXFocusedWindow");
const QString kWindows = QStringLiteral("AXWindows");
const QString kMain = QStringLiteral("AXMain");
const QString kRole = QStringLiteral("AXRole");
const QString kSubrole = QStringLiteral("AXSubrole");
const QString kParent = QStringLiteral("AXParent");
const QString kPosition = QStringLiteral("AXPosition");
const QString kSize = QStringLiteral("AXSize");
const QString kTitle = QStringLiteral("AXTitle");
const QString kMinimized = QStringLiteral("AXMinimized");
const QString kFullScreen = QStringLiteral("AXFullScreen");
const QString kEnhancedUserInterface = QStringLiteral("AXEnhancedUserInterface");
const QString kRaise = QStringLiteral("AXRaise");
const QString kWindowRole = QStringLiteral("AXWindow");
const QString kStandardWindow = QStringLiteral("AXStandardWindow");

// kCGWindowListOptionOnScreenOnly | kCGWindowListExcludeDesktopElements.
constexpr quint32 kOnScreenWithoutDesktop = 1 | 16;

// A parent chain longer than this is an application answering in circles.
constexpr int kMaxAncestors = 64;

// The value of a successful reading, when it has the expected type.
template <typename T> std::optional<T> valueOf(const AxReading& reading)
{
    const T* value = std::get_if<T>(&reading.value);
    if (reading.error != AxError::Success || !value)
        return std::nullopt;
    return *value;
}

template <> std::optional<AxElementRef> valueOf(const AxReading& reading)
{
    const AxElementRef* value = std::get_if<AxElementRef>(&reading.value);
    if (reading.error != AxError::Success || !value || !*value)
        return std::nullopt;
    return *value;
}

// The element a reading holds, whatever its error code says.
AxElementRef elementIn(const AxReading& reading)
{
    const AxElementRef* value = std::get_if<AxElementRef>(&reading.value);
    return value ? *value : nullptr;
}

// CGRectContainsPoint: the minimum edges belong to the rectangle, the maximum ones do not.
bool containsPoint(const QRectF& rect, const QPointF& point)
{
    const QRectF r = rect.normalized();
    return point.x() >= r.left() && point.x() < r.right() && point.y() >= r.top() && point.y() < r.bottom();
}

// "AXFloatingWindow" as "floating window".
QString kindInWords(QString subrole)
{
    if (subrole.startsWith(QLatin1String("AX")))
        subrole.remove(0, 2);
    static const QRegularExpression wordStart(QStringLiteral("(?<=[a-z])(?=[A-Z])"));
    return subrole.replace(wordStart, QStringLiteral(" ")).toLower();
}

QString tr(const char* text)
{
    return QCoreApplication::translate("AccessibilityWindowControl", text);
}

} // namespace

AccessibilityWindowControl::AccessibilityWindowControl(AccessibilityApi& api)
    : m_api(api)
{ }

const AxElement* AccessibilityWindowControl::elementOf(const WindowHandle& handle)
{
    const auto* own = dynamic_cast<const AccessibilityWindowHandle*>(&handle);
    return own ? own->element.get() : nullptr;
}

WindowControl::Handle AccessibilityWindowControl::handleFor(AxElementRef element)
{
    if (!element)
        return nullptr;
    return std::make_shared<AccessibilityWindowHandle>(std::move(element));
}

// ---------------------------------------------------------------------------------------
// Finding windows

AxElementRef AccessibilityWindowControl::windowContaining(AxElementRef element)
{
    // Hit-testing and focus give the innermost element (a text field, a button); the
    // window is the first ancestor that says it is one.
    for (int depth = 0; element && depth < kMaxAncestors; ++depth) {
        if (valueOf<QString>(m_api.copyAttribute(*element, kRole)) == kWindowRole)
            return element;
        element = valueOf<AxElementRef>(m_api.copyAttribute(*element, kParent)).value_or(nullptr);
    }
    return nullptr;
}

WindowControl::Handle AccessibilityWindowControl::focusedWindow()
{
    const AxElementRef systemWide = m_api.systemWide();
    if (!systemWide)
        return nullptr;
    const AxReading appReading = m_api.copyAttribute(*systemWide, kFocusedApplication);
    const AxElementRef app = elementIn(appReading);
    if (!app)
        return nullptr;
    if (appReading.error == AxError::Success) {
        const AxReading windowReading = m_api.copyAttribute(*app, kFocusedWindow);
        if (const std::optional<AxElementRef> focused = valueOf<AxElementRef>(windowReading))
            return handleFor(windowContaining(*focused));
        qCDebug(lcWindows) << "Error retrieving focused window:" << static_cast<int>(windowReading.error);
        return nullptr;
    }
    // The system can answer "no value" and still name the application; its main
    // window is then the best guess at what the user is looking at.
    if (appReading.error != AxError::NoValue)
        return nullptr;
    qCDebug(lcWindows) << "appResult == .noValue, trying to get main window instead";
    return handleFor(windowContaining(mainWindowOf(*app)));
}

AxElementRef AccessibilityWindowControl::mainWindowOf(const AxElement& application)
{
    const AxReading reading = m_api.copyAttribute(application, kWindows);
    const auto* windows = std::get_if<std::vector<AxElementRef>>(&reading.value);
    if ((reading.error != AxError::Success && reading.error != AxError::NoValue) || !windows)
        return nullptr;
    // One pass in the application's order: a main window, or one with a readable frame,
    // whichever comes first. A window without a frame is a leftover the application keeps
    // for itself.
    for (const AxElementRef& window : *windows) {
        if (!window)
            continue;
        if (valueOf<bool>(m_api.copyAttribute(*window, kMain)) == true)
            return window;
        if (readPosition(*window) && readSize(*window))
            return window;
    }
    return nullptr;
}

WindowControl::Handle AccessibilityWindowControl::windowAtCursor()
{
    const std::optional<QPointF> point = m_api.pointerLocation();
    if (!point)
        return nullptr;
    const AxElementRef systemWide = m_api.systemWide();
    const AxElementRef hit = systemWide ? m_api.elementAtPosition(*systemWide, *point) : nullptr;
    if (AxElementRef window = windowContaining(hit))
        return handleFor(std::move(window));
    // Over the menu bar, the desktop or an application whose elements do not lead up to
    // a window, the window server still knows what is drawn there.
    return handleFor(firstWindowOfOwnerAt(*point));
}

AxElementRef AccessibilityWindowControl::firstWindowOfOwnerAt(const QPointF& point)
{
    std::optional<std::vector<WindowListEntry>> entries = m_api.windowList(kOnScreenWithoutDesktop);
    if (!entries)
        return nullptr;
    // Stable: within a layer the list stays front to back.
    std::stable_sort(entries->begin(), entries->end(),
        [](const WindowListEntry& a, const WindowListEntry& b) { return a.layer.value_or(0) < b.layer.value_or(0); });
    for (const WindowListEntry& entry : *entries) {
        if (!entry.bounds || !containsPoint(*entry.bounds, point) || !entry.ownerPid)
            continue;
        const AxElementRef app = m_api.application(*entry.ownerPid);
        if (!app)
            continue;
        // The list does not say which accessibility element its entry is, so the
        // owner's frontmost window stands for it.
        const std::optional<std::vector<AxElementRef>> windows
            = valueOf<std::vector<AxElementRef>>(m_api.copyAttribute(*app, kWindows));
        if (windows && !windows->empty() && windows->front())
            return windows->front();
    }
    return nullptr;
}

// ---------------------------------------------------------------------------------------
// Reading

std::optional<quint32> AccessibilityWindowControl::windowId(const WindowHandle& handle)
{
    const AxElement* window = elementOf(handle);
    if (!window)
        return std::nullopt;
    const AxWindowNumber number = m_api.windowNumber(*window);
    return number.error == AxError::Success ? std::optional<quint32>(number.number) : std::nullopt;
}

std::optional<WindowApplication> AccessibilityWindowControl::application(const WindowHandle& handle)
{
    const AxElement* window = elementOf(handle);
    const std::optional<qint64> pid = window ? m_api.pid(*window) : std::nullopt;
    if (!pid)
        return std::nullopt;
    const std::optional<RunningApplication> app = m_api.runningApplication(*pid);
    if (!app) {
        std::printf("Error: Unable to find running application for PID %lld\n", static_cast<long long>(*pid));
        std::fflush(stdout);
        return std::nullopt;
    }
    return WindowApplication {*pid, app->localizedName, app->bundleIdentifier, app->localizedName};
}

std::optional<QPointF> AccessibilityWindowControl::readPosition(const AxElement& window)
{
    return valueOf<QPointF>(m_api.copyAttribute(window, kPosition));
}

std::optional<QSizeF> AccessibilityWindowControl::readSize(const AxElement& window)
{
    return valueOf<QSizeF>(m_api.copyAttribute(window, kSize));
}

std::optional<QPointF> AccessibilityWindowControl::position(const WindowHandle& handle)
{
    const AxElement* window = elementOf(handle);
    return window ? readPosition(*window) : std::nullopt;
}

std::optional<QSizeF> AccessibilityWindowControl::size(const WindowHandle& handle)
{
    const AxElement* window = elementOf(handle);
    return window ? readSize(*window) : std::nullopt;
}

std::optional<QRectF> AccessibilityWindowControl::frame(const WindowHandle& handle)
{
    const std::optional<QPointF> topLeft = position(handle);
    const std::optional<QSizeF> extent = topLeft ? size(handle) : std::nullopt;
    return extent ? std::optional<QRectF>(QRectF(*topLeft, *extent)) : std::nullopt;
}

// ---------------------------------------------------------------------------------------
// Writing

std::optional<bool> AccessibilityWindowControl::enhancedUserInterface(const AxElement& window)
{
    // The switch belongs to the application, not to the window.
    const std::optional<qint64> pid = m_api.pid(window);
    const AxElementRef app = pid ? m_api.application(*pid) : nullptr;
    return app ? valueOf<bool>(m_api.copyAttribute(*app, kEnhancedUserInterface)) : std::nullopt;
}

void AccessibilityWindowControl::setEnhancedUserInterface(const AxElement& window, bool on)
{
    const std::optional<qint64> pid = m_api.pid(window);
    if (const AxElementRef app = pid ? m_api.application(*pid) : nullptr)
        m_api.setAttribute(*app, kEnhancedUserInterface, on);
}

void AccessibilityWindowControl::withEnhancedUserInterfaceOff(
    const AxElement& window, const std::function<void()>& change)
{
    // With the enhanced user interface on (assistive tools switch it on), applications
    // animate frame changes and drop writes that arrive during the animation. It is
    // switched off only when it was on, so applications without it are never told of it.
    const bool wasOn = enhancedUserInterface(window) == true;
    if (wasOn)
        setEnhancedUserInterface(window, false);
    change();
    if (wasOn)
        setEnhancedUserInterface(window, true);
}

void AccessibilityWindowControl::setFrame(const WindowHandle& handle, const QRectF& rect)
{
    const AxElement* window = elementOf(handle);
    if (!window)
        return;
    withEnhancedUserInterfaceOff(*window, [&] {
        // A window has to fit on its display where it stands: a large window moved
        // first could be pushed back from the edge, so one that shrinks gets its new
        // size before the move. The size is written again after the move, since the
        // new size may not have fitted at the old place.
        const QSizeF current = readSize(*window).value_or(QSizeF(0, 0));
        if (current.width() > rect.width() || current.height() > rect.height())
            m_api.setAttribute(*window, kSize, rect.size());
        m_api.setAttribute(*window, kPosition, rect.topLeft());
        m_api.setAttribute(*window, kSize, rect.size());
    });
}

void AccessibilityWindowControl::setSize(const WindowHandle& handle, const QSizeF& size)
{
    const AxElement* window = elementOf(handle);
    if (!window)
        return;
    withEnhancedUserInterfaceOff(*window, [&] { m_api.setAttribute(*window, kSize, size); });
}

bool AccessibilityWindowControl::focus(const WindowHandle& handle)
{
    const AxElement* window = elementOf(handle);
    if (!window)
        return false;
    const bool raised = m_api.performAction(*window, kRaise) == AxError::Success;
    // Raising orders the window within its application; activating brings the
    // application (and so the window) to the front.
    if (const std::optional<qint64> pid = m_api.pid(*window))
        m_api.activate(*pid);
    return raised;
}

// ---------------------------------------------------------------------------------------
// Describing

QString AccessibilityWindowControl::notNormalReason(const AxElement& window)
{
    const std::optional<QString> role = valueOf<QString>(m_api.copyAttribute(window, kRole));
    if (!role)
        return tr("it is gone, or its application does not answer");
    if (*role != kWindowRole)
        return tr("it is no window but a %1").arg(kindInWords(*role));
    if (m_api.pid(window) == QCoreApplication::applicationPid())
        return tr("it is one of Parqueta's own windows");
    // Palettes, system alerts and pop-overs carry other subroles; a window that names
    // none is left alone too, since nothing says it is an ordinary one.
    const std::optional<QString> subrole = valueOf<QString>(m_api.copyAttribute(window, kSubrole));
    if (!subrole)
        return tr("it does not say which kind of window it is");
    // Dialogs go where their application wants them; in a zone one would cover the
    // window it serves.
    if (*subrole != kStandardWindow)
        return tr("it says it is a %1, and Parqueta snaps only standard windows")
            .arg(kindInWords(*subrole));
    return {};
}

bool AccessibilityWindowControl::isNormal(const WindowHandle& handle)
{
    const AxElement* window = elementOf(handle);
    return window && notNormalReason(*window).isEmpty();
}

std::optional<WindowFacts> AccessibilityWindowControl::facts(const WindowHandle& handle)
{
    const AxElement* window = elementOf(handle);
    if (!window || !valueOf<QString>(m_api.copyAttribute(*window, kRole)))
        return std::nullopt;
    WindowFacts facts;
    facts.title = valueOf<QString>(m_api.copyAttribute(*window, kTitle)).value_or(QString());
    // Asked directly rather than through application(): the debug window reads twice a
    // second and would repeat the missing-application line each time.
    const std::optional<qint64> pid = m_api.pid(*window);
    if (const std::optional<RunningApplication> app = pid ? m_api.runningApplication(*pid) : std::nullopt) {
        facts.className = app->bundleIdentifier;
        facts.instanceName = app->localizedName;
    }
    if (const std::optional<QString> subrole = valueOf<QString>(m_api.copyAttribute(*window, kSubrole)))
        facts.types << kindInWords(*subrole);
    if (valueOf<bool>(m_api.copyAttribute(*window, kMinimized)) == true)
        facts.states << QStringLiteral("minimized");
    if (valueOf<bool>(m_api.copyAttribute(*window, kFullScreen)) == true)
        facts.states << QStringLiteral("full screen");
    facts.frame = frame(handle);
    facts.notNormalBecause = notNormalReason(*window);
    return facts;
}

std::optional<WindowIdentity> AccessibilityWindowControl::identity(const WindowHandle& handle)
{
    const AxElement* window = elementOf(handle);
    const std::optional<qint64> pid = window ? m_api.pid(*window) : std::nullopt;
    const std::optional<RunningApplication> app = pid ? m_api.runningApplication(*pid) : std::nullopt;
    if (!app || app->bundleIdentifier.isEmpty())
        return std::nullopt;
    WindowIdentity identity;
    identity.className = app->bundleIdentifier;
    identity.instance = app->localizedName;
    identity.role = valueOf<QString>(m_api.copyAttribute(*window, kSubrole)).value_or(QString());
    identity.title = valueOf<QString>(m_api.copyAttribute(*window, kTitle)).value_or(QString());
    return identity;
}

std::vector<WindowControl::Handle> AccessibilityWindowControl::normalWindows()
{
    std::vector<Handle> result;
    const std::optional<std::vector<WindowListEntry>> entries = m_api.windowList(kOnScreenWithoutDesktop);
    std::vector<qint64> owners;
    for (const WindowListEntry& entry : entries.value_or(std::vector<WindowListEntry>())) {
        // Layer 0 holds applications' ordinary windows; menus, the Dock and panels sit above.
        if (entry.layer.value_or(0) == 0 && entry.ownerPid
            && std::find(owners.begin(), owners.end(), *entry.ownerPid) == owners.end())
            owners.push_back(*entry.ownerPid);
    }
    for (const qint64 pid : owners) {
        const AxElementRef app = m_api.application(pid);
        const std::optional<std::vector<AxElementRef>> windows
            = app ? valueOf<std::vector<AxElementRef>>(m_api.copyAttribute(*app, kWindows)) : std::nullopt;
        for (const AxElementRef& window : windows.value_or(std::vector<AxElementRef>())) {
            if (window && notNormalReason(*window).isEmpty())
                result.push_back(handleFor(window));
        }
    }
    return result;
}
