#include "platform/ApplicationShell.h"

ApplicationShell::~ApplicationShell() = default;

void ApplicationShell::whenLaunched(std::function<void(bool launchedAsLoginItem)> then)
{
    then(false);
}

void ApplicationShell::setRegularApplication(bool)
{ }

QUrl ApplicationShell::windowControlPermissionPage() const
{
    return {};
}
