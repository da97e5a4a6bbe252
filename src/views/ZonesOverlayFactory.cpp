#include "views/ZonesOverlayFactory.h"

#include "core/Logging.h"
#include "managers/ScreenManager.h"
#include "platform/DesktopEffects.h"
#include "views/ZonesViewModel.h"
#include "views/ZonesWindow.h"

#include <algorithm>

namespace {

// The engine's handle on one ZonesWindow.
class ZonesOverlay final : public OverlayWindow
{
public:
    ZonesOverlay(ZonesWindow* window, ZonesOverlayFactory& factory)
        : m_window(window)
        , m_factory(factory)
    { }

    // The engine drops its overlays from inside its own gesture-end callback, and the
    // view model, a later observer of the same notification, is still to be told about
    // that end (it snaps then). So the window only leaves the screen now (parked); the
    // factory keeps it for the next gesture or deletes it later, never here.
    ~ZonesOverlay() override
    {
        if (m_window) {
            m_window->disappear();
            m_factory.keep(m_window);
        }
    }

    void show() override
    {
        if (m_window)
            m_window->appear();
    }

    void hide() override
    {
        if (m_window)
            m_window->disappear();
    }

private:
    QPointer<ZonesWindow> m_window;
    ZonesOverlayFactory& m_factory;
};

} // namespace

ZonesOverlayFactory::ZonesOverlayFactory(
    ScreenManager& screens, const Settings& settings, const DesktopEffects& effects, int keepHiddenMs)
    : m_screens(screens)
    , m_settings(settings)
    , m_effects(effects)
{
    m_dropTimer.setSingleShot(true);
    m_dropTimer.setInterval(keepHiddenMs);
    QObject::connect(&m_dropTimer, &QTimer::timeout, [this] { dropKept(); });
}

ZonesOverlayFactory::~ZonesOverlayFactory()
{
    m_dropTimer.stop();
    for (const QPointer<ZonesWindow>& window : std::exchange(m_kept, {}))
        delete window.data();
}

void ZonesOverlayFactory::setEngine(ZoneOverlayEngine* engine)
{
    if (engine == m_engine)
        return;
    // Synchronously: the old engine may be destroyed right after this call.
    m_dropTimer.stop();
    for (const QPointer<ZonesWindow>& window : std::exchange(m_kept, {}))
        delete window.data();
    m_engine = engine;
}

std::optional<QRect> ZonesOverlayFactory::overlayFrame(const Screen& screen) const
{
    if (!m_engine) {
        qCCritical(lcOverlay) << "Zone overlay requested before the overlays were bound to the engine";
        return std::nullopt;
    }
    const std::optional<QRectF> frame = m_screens.visibleFrameOf(screen);
    if (!frame) {
        qCDebug(lcOverlay) << "No zone overlay for" << screen.id() << ": its display is not connected";
        return std::nullopt;
    }
    return frame->toAlignedRect();
}

ZonesWindow* ZonesOverlayFactory::makeWindow(const Screen& screen, std::shared_ptr<Layout> layout, const QRect& frame)
{
    auto viewModel = std::make_unique<ZonesViewModel>(screen, std::move(layout), *m_engine, m_settings, m_screens);
    return new ZonesWindow(std::move(viewModel), frame, m_settings, m_effects);
}

std::unique_ptr<OverlayWindow> ZonesOverlayFactory::createOverlay(const Screen& screen, std::shared_ptr<Layout> layout)
{
    const std::optional<QRect> frame = overlayFrame(screen);
    if (!frame)
        return nullptr;
    if (ZonesWindow* kept = takeKept(screen, layout, *frame))
        return std::make_unique<ZonesOverlay>(kept, *this);
    return std::make_unique<ZonesOverlay>(makeWindow(screen, std::move(layout), *frame), *this);
}

void ZonesOverlayFactory::prepareOverlay(const Screen& screen, std::shared_ptr<Layout> layout)
{
    const std::optional<QRect> frame = overlayFrame(screen);
    if (!frame)
        return;
    // Taken and kept again: a drag counts as asking for it, and windows that no longer
    // fit go now rather than when the timer runs out.
    ZonesWindow* window = takeKept(screen, layout, *frame);
    if (!window) {
        qCDebug(lcOverlay) << "Preparing the zone overlay of" << screen.name();
        window = makeWindow(screen, std::move(layout), *frame);
        window->prepare();
    }
    keep(window);
}

int ZonesOverlayFactory::keptCount() const
{
    return int(std::count_if(m_kept.begin(), m_kept.end(), [](const auto& window) { return !window.isNull(); }));
}

void ZonesOverlayFactory::keep(ZonesWindow* window)
{
    if (!window)
        return;
    if (!m_engine) {
        // On the way out: nothing will ask for it again.
        window->deleteLater();
        return;
    }
    m_kept.emplace_back(window);
    m_dropTimer.start();
}

ZonesWindow* ZonesOverlayFactory::takeKept(
    const Screen& screen, const std::shared_ptr<Layout>& layout, const QRect& frame)
{
    ZonesWindow* found = nullptr;
    std::vector<QPointer<ZonesWindow>> others;
    for (const QPointer<ZonesWindow>& window : std::exchange(m_kept, {})) {
        if (!window)
            continue;
        if (!(window->screen() == screen)) {
            others.push_back(window);
            continue;
        }
        // The visual (with or without alpha) was fixed when the window was made, so a
        // compositor that came or went since calls for a new one, as do a moved panel
        // and another active layout. A window that no longer fits is of no further use.
        const bool fits = !found && window->layout() == layout && window->desktopFrame() == frame
            && window->testAttribute(Qt::WA_TranslucentBackground) == m_effects.overlaysCanBeTranslucent();
        if (fits)
            found = window;
        else
            window->deleteLater();
    }
    m_kept = std::move(others);
    if (m_kept.empty())
        m_dropTimer.stop();
    return found;
}

void ZonesOverlayFactory::dropKept()
{
    qCDebug(lcOverlay) << "Releasing" << keptCount() << "parked zone overlay(s)";
    for (const QPointer<ZonesWindow>& window : std::exchange(m_kept, {})) {
        if (window)
            window->deleteLater();
    }
}
