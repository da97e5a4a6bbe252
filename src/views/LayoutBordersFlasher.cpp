#include "views/LayoutBordersFlasher.h"

#include "managers/ScreenManager.h"
#include "models/Layout.h"
#include "platform/DesktopEffects.h"
#include "views/LayoutBordersWindow.h"

#include <algorithm>

LayoutBordersFlasher::LayoutBordersFlasher(
    ScreenManager& screens, const Settings& settings, const DesktopEffects& effects, int keepMs)
    : m_screens(screens)
    , m_settings(settings)
    , m_effects(effects)
{
    m_dropTimer.setSingleShot(true);
    m_dropTimer.setInterval(keepMs);
    connect(&m_dropTimer, &QTimer::timeout, this, &LayoutBordersFlasher::dropIdle);
}

LayoutBordersFlasher::~LayoutBordersFlasher() = default;

LayoutBordersWindow* LayoutBordersFlasher::flash(const std::shared_ptr<Layout>& layout)
{
    if (!layout || !layout->screen())
        return nullptr;
    const std::optional<QRectF> frame = m_screens.visibleFrameOf(*layout->screen());
    LayoutBordersWindow* window = nullptr;
    if (frame) {
        const bool translucent = m_effects.overlaysCanBeTranslucent();
        // The visual was fixed when the window was made: a compositor that came or went
        // since calls for a new one.
        const auto reusable = std::find_if(m_windows.begin(), m_windows.end(), [&](const auto& kept) {
            return !kept->isFlashing() && kept->desktopFrame() == *frame
                && kept->testAttribute(Qt::WA_TranslucentBackground) == translucent;
        });
        if (reusable != m_windows.end()) {
            window = reusable->get();
            window->setLayout(layout);
        }
    }
    if (!window) {
        std::unique_ptr<LayoutBordersWindow> made
            = LayoutBordersWindow::create(layout, m_screens, m_settings, m_effects);
        if (!made)
            return nullptr;
        window = made.get();
        m_windows.push_back(std::move(made));
    }
    window->flash();
    m_dropTimer.start();
    return window;
}

int LayoutBordersFlasher::windowCount() const
{
    return static_cast<int>(m_windows.size());
}

void LayoutBordersFlasher::dropIdle()
{
    const auto idle = [](const auto& window) { return !window->isFlashing(); };
    m_windows.erase(std::remove_if(m_windows.begin(), m_windows.end(), idle), m_windows.end());
    if (!m_windows.empty())
        m_dropTimer.start();
}
