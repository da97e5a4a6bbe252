#pragma once

#include <QList>
#include <QString>
#include <QtGlobal>

// Collects every log message while it lives, so tests can check the fixed texts.
class LogCapture final
{
public:
    LogCapture()
    {
        s_messages.clear();
        m_previous = qInstallMessageHandler(&LogCapture::handle);
    }
    ~LogCapture() { qInstallMessageHandler(m_previous); }

    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    int count(const QString& text) const
    {
        int n = 0;
        for (const auto& [type, message] : s_messages)
            n += message == text ? 1 : 0;
        return n;
    }
    bool contains(QtMsgType type, const QString& text) const
    {
        for (const auto& [t, message] : s_messages) {
            if (t == type && message.contains(text))
                return true;
        }
        return false;
    }

private:
    static void handle(QtMsgType type, const QMessageLogContext&, const QString& message)
    {
        s_messages.append({type, message});
    }

    QtMessageHandler m_previous = nullptr;
    static inline QList<std::pair<QtMsgType, QString>> s_messages;
};
