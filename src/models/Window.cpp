#include "models/Window.h"

Window::Window(quint32 id, std::shared_ptr<const WindowHandle> handle, WindowApplication app, QSizeF initialSize)
    : m_id(id)
    , m_handle(std::move(handle))
    , m_app(std::move(app))
    , m_initialSize(initialSize)
{ }

QString Window::appName() const
{
    return m_app.name.isEmpty() ? unknownAppName() : m_app.name;
}

QString Window::appIdentifier() const
{
    return m_app.identifier.isEmpty() ? unknownAppIdentifier() : m_app.identifier;
}

const QString& Window::unknownAppName()
{
    static const QString text = QStringLiteral("Unknown Application");
    return text;
}

const QString& Window::unknownAppIdentifier()
{
    static const QString text = QStringLiteral("unknown.application");
    return text;
}
