#include "views/ZonesOverlayFactory.h"

#include "core/Logging.h"
#include "managers/ScreenManager.h"
#include "views/ZonesViewModel.h"
#include "views/ZonesWindow.h"

#include <QPointer>

namespace {

// The engine's handle on one ZonesWindow.
class ZonesOverlay final : public OverlayWindow
{
public:
    explicit ZonesOverlay(ZonesWindow* window)
        : m_window(window)
    { }

    // The engine drops its overlays from inside its own gesture-end callback, and the
    // view model, a later observer of the same notification, is still to be told about
    // that end (it snaps then). So the window leaves the screen now and is deleted once
    // the notification is over.
    ~ZonesOverlay() override
    {
        if (m_window) {
            m_window->hide();
            m_window->deleteLater();
        }
    }

    void show() override
    {
        if (m_window)
            m_window->show();
    }

    void hide() override
    {
        if (m_window)
            m_window->hide();
    }

private:
    QPointer<ZonesWindow> m_window;
};

} // namespace

ZonesOverlayFactory::ZonesOverlayFactory(
    ScreenManager& screens, const Settings& settings, const DesktopEffects& effects)
    : m_screens(screens)
    , m_settings(settings)
    , m_effects(effects)
{ }

std::unique_ptr<OverlayWindow> ZonesOverlayFactory::createOverlay(const Screen& screen, std::shared_ptr<Layout> layout)
{
    if (!m_engine) {
        qCCritical(lcOverlay) << "Zone overlay requested before the overlays were bound to the engine";
        return nullptr;
    }
    const std::optional<QRectF> frame = m_screens.visibleFrameOf(screen);
    if (!frame) {
        qCDebug(lcOverlay) << "No zone overlay for" << screen.id() << ": its display is not connected";
        return nullptr;
    }
    auto viewModel = std::make_unique<ZonesViewModel>(screen, std::move(layout), *m_engine, m_settings, m_screens);
    return std::make_unique<ZonesOverlay>(
        new ZonesWindow(std::move(viewModel), frame->toAlignedRect(), m_settings, m_effects));
}
