#pragma once

#include <QRectF>
#include <QStringList>

#include <ostream>
#include <string>

// Readable GoogleTest failure messages for the Qt types the tests compare.
inline void PrintTo(const QString& text, std::ostream* os)
{
    *os << '"' << text.toStdString() << '"';
}
inline void PrintTo(const QStringList& list, std::ostream* os)
{
    *os << '{' << list.join(", ").toStdString() << '}';
}
inline void PrintTo(const QRectF& r, std::ostream* os)
{
    *os << r.x() << "," << r.y() << " " << r.width() << "x" << r.height();
}
inline void PrintTo(const QRect& r, std::ostream* os)
{
    PrintTo(QRectF(r), os);
}

// Collects the warnings and errors logged while it lives, as "category: message" lines,
// so tests can check what the user would find in the log.
class TestLog final
{
public:
    TestLog()
        : m_previous(qInstallMessageHandler(&TestLog::handle))
    {
        lines().clear();
    }
    ~TestLog() { qInstallMessageHandler(m_previous); }

    int count(const QString& containing) const { return int(lines().filter(containing).size()); }
    std::string text() const { return lines().join('\n').toStdString(); }

private:
    static QStringList& lines()
    {
        static QStringList captured;
        return captured;
    }
    static void handle(QtMsgType type, const QMessageLogContext& context, const QString& message)
    {
        if (type == QtWarningMsg || type == QtCriticalMsg)
            lines() << QString::fromLatin1(context.category ? context.category : "default") + ": " + message;
    }

    QtMessageHandler m_previous;
};
