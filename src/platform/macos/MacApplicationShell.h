#pragma once

#include "platform/ApplicationShell.h"

#include <memory>

// The application as macOS sees it: the launch is complete when AppKit posts
// NSApplicationDidFinishLaunchingNotification, whose open-application Apple event says
// whether the session started it at login; Dock presence is the activation policy; and
// reopen Apple events (a click on the Dock icon, a second open from Finder) reach
// reopenRequested(), where Qt's own application delegate would only reactivate the
// application.
class MacApplicationShell final : public ApplicationShell
{
    Q_OBJECT

public:
    explicit MacApplicationShell(QObject* parent = nullptr);
    ~MacApplicationShell() override;

    void whenLaunched(std::function<void(bool launchedAsLoginItem)> then) override;
    // Only a change is passed on to AppKit.
    void setRegularApplication(bool regular) override;
    // The Accessibility list under Privacy & Security in System Settings.
    QUrl windowControlPermissionPage() const override;

private:
    // The Apple event handler, the launch observers and the callbacks waiting for them
    // (Objective-C, so defined in the .mm).
    struct Native;
    std::unique_ptr<Native> m_native;
};
