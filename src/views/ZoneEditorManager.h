#pragma once

#include "models/Screen.h"

#include <QObject>
#include <QPointer>

#include <memory>
#include <unordered_map>
#include <vector>

class DesktopEffects;
class Layout;
class LayoutManager;
class ScreenManager;
class Settings;
class ZoneEditorViewModel;
class ZoneEditorWindow;

// Owns the open zone editors, at most one per screen. Escape closes the editor shown
// last; every close, however it comes about, saves the edited layout at once (and to
// disk: a kill right after Escape must not lose the edit).
class ZoneEditorManager final : public QObject
{
    Q_OBJECT

public:
    ZoneEditorManager(LayoutManager& layouts, ScreenManager& screens, Settings& settings, const DesktopEffects& effects,
        QObject* parent = nullptr);
    ~ZoneEditorManager() override;

    // Opens the editor for the screen, or shows the open one again with this layout.
    void showEditor(const Screen& screen, const std::shared_ptr<Layout>& layout);

    // The Escape monitor belongs to one window at a time: the one shown last.
    void registerCloseWindowMonitor(ZoneEditorWindow* window);
    void unregisterCloseWindowMonitor();
    bool hasCloseWindowMonitor() const { return m_closeWindowMonitor != nullptr; }

    ZoneEditorWindow* editorFor(const Screen& screen) const;
    int openCount() const { return static_cast<int>(m_instances.size()); }
    // Closes (and saves) every open editor: on quit.
    void closeAll();

Q_SIGNALS:
    // After an editor closed and its layout was saved.
    void editorClosed(const Screen& screen, std::shared_ptr<Layout> layout);

private:
    class EscapeMonitor;
    struct Instance
    {
        std::unique_ptr<ZoneEditorViewModel> viewModel;
        std::unique_ptr<ZoneEditorWindow> window;
    };

    void windowWillClose(ZoneEditorWindow* window);
    void followDisplays();

    LayoutManager& m_layouts;
    ScreenManager& m_screens;
    Settings& m_settings;
    const DesktopEffects& m_effects;
    std::unordered_map<Screen, Instance> m_instances;
    std::unique_ptr<EscapeMonitor> m_closeWindowMonitor;
    // Closed editors, deleted once their close has been handled.
    std::vector<Instance> m_retired;
};
