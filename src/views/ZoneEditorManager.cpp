#include "views/ZoneEditorManager.h"

#include "core/Logging.h"
#include "core/Settings.h"
#include "managers/LayoutManager.h"
#include "managers/ScreenManager.h"
#include "models/Layout.h"
#include "views/ZoneEditorViewModel.h"
#include "views/ZoneEditorWindow.h"

#include <QCoreApplication>
#include <QKeyEvent>
#include <QTimer>
#include <QWindow>

// An application-wide key filter: Escape closes the window it was installed for and is
// consumed, even when that window is already gone.
class ZoneEditorManager::EscapeMonitor final : public QObject
{
public:
    explicit EscapeMonitor(ZoneEditorWindow* window)
        : m_window(window)
    {
        QCoreApplication::instance()->installEventFilter(this);
    }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override
    {
        if (event->type() != QEvent::KeyPress || !qobject_cast<QWindow*>(watched))
            return false;
        if (static_cast<QKeyEvent*>(event)->key() != Qt::Key_Escape)
            return false;
        if (m_window) {
            // Closing removes this monitor: finish handling the event first.
            QPointer<ZoneEditorWindow> window = m_window;
            QTimer::singleShot(0, window, [window] {
                if (window)
                    window->close();
            });
            m_window = nullptr;
        }
        return true;
    }

private:
    QPointer<ZoneEditorWindow> m_window;
};

ZoneEditorManager::ZoneEditorManager(
    LayoutManager& layouts, ScreenManager& screens, Settings& settings, const DesktopEffects& effects, QObject* parent)
    : QObject(parent)
    , m_layouts(layouts)
    , m_screens(screens)
    , m_settings(settings)
    , m_effects(effects)
{
    connect(&m_screens, &ScreenManager::displayReconfiguration, this, &ZoneEditorManager::followDisplays);
}

ZoneEditorManager::~ZoneEditorManager()
{
    closeAll();
}

void ZoneEditorManager::showEditor(const Screen& screen, const std::shared_ptr<Layout>& layout)
{
    if (!layout)
        return;
    if (const auto it = m_instances.find(screen); it != m_instances.end()) {
        it->second.viewModel->setLayout(layout);
        it->second.window->present();
        registerCloseWindowMonitor(it->second.window.get());
        return;
    }
    auto viewModel = std::make_unique<ZoneEditorViewModel>(screen, layout, m_screens);
    std::unique_ptr<ZoneEditorWindow> window = ZoneEditorWindow::create(*viewModel, m_screens, m_settings, m_effects);
    if (!window) {
        qCInfo(lcEditor) << "No editor for screen" << screen.id() << "- its display is not connected";
        return;
    }
    ZoneEditorWindow* shown = window.get();
    connect(shown, &ZoneEditorWindow::closing, this, &ZoneEditorManager::windowWillClose);
    m_instances.emplace(screen, Instance {std::move(viewModel), std::move(window)});
    qCInfo(lcEditor).noquote() << "Editing layout" << layout->idText() << "on" << screen.name();
    shown->present();
    registerCloseWindowMonitor(shown);
}

void ZoneEditorManager::registerCloseWindowMonitor(ZoneEditorWindow* window)
{
    unregisterCloseWindowMonitor();
    if (window && QCoreApplication::instance())
        m_closeWindowMonitor = std::make_unique<EscapeMonitor>(window);
}

void ZoneEditorManager::unregisterCloseWindowMonitor()
{
    m_closeWindowMonitor.reset();
}

ZoneEditorWindow* ZoneEditorManager::editorFor(const Screen& screen) const
{
    const auto it = m_instances.find(screen);
    return it == m_instances.end() ? nullptr : it->second.window.get();
}

void ZoneEditorManager::windowWillClose(ZoneEditorWindow* window)
{
    unregisterCloseWindowMonitor();
    const auto it = std::find_if(m_instances.begin(), m_instances.end(),
        [window](const auto& entry) { return entry.second.window.get() == window; });
    if (it == m_instances.end())
        return;
    const Screen screen = it->first;
    Instance instance = std::move(it->second);
    m_instances.erase(it);
    const std::shared_ptr<Layout> layout = instance.viewModel->layout();
    m_layouts.save(layout);
    // Straight to disk: the edit must survive whatever happens next.
    if (!m_settings.sync())
        qCWarning(lcEditor) << "The edited layout could not be written to disk yet; it is kept and retried";
    qCInfo(lcEditor).noquote() << "Saved layout" << layout->idText() << "of" << screen.name() << "with"
                               << layout->zones().size() << "zone(s)";
    window->disconnect(this);
    // The window is in the middle of closing: it goes once that is done.
    m_retired.push_back(std::move(instance));
    QTimer::singleShot(0, this, [this] { m_retired.clear(); });
    Q_EMIT editorClosed(screen, layout);
}

void ZoneEditorManager::followDisplays()
{
    std::vector<ZoneEditorWindow*> gone;
    for (auto& [screen, instance] : m_instances) {
        const std::optional<QRectF> frame = m_screens.visibleFrameOf(screen);
        if (!frame || frame->isEmpty())
            gone.push_back(instance.window.get());
        else
            instance.window->place(*frame);
    }
    for (ZoneEditorWindow* window : gone) {
        qCInfo(lcEditor) << "The editor's display went away; closing it and saving";
        window->close();
    }
}

void ZoneEditorManager::closeAll()
{
    std::vector<ZoneEditorWindow*> open;
    for (auto& [screen, instance] : m_instances)
        open.push_back(instance.window.get());
    for (ZoneEditorWindow* window : open)
        window->close();
}
