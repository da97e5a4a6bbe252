#pragma once

#include <QString>
#include <QStringList>

#include <ostream>

// Readable GoogleTest failure messages for Qt strings (found by argument lookup).
inline void PrintTo(const QString& text, std::ostream* os)
{
    *os << '"' << text.toStdString() << '"';
}

inline void PrintTo(const QStringList& list, std::ostream* os)
{
    *os << '{' << list.join(QStringLiteral(", ")).toStdString() << '}';
}
