#pragma once

#include <QMetaType>
#include <QVariant>

// Whether a stored value is a number of any width. The JSON reader hands numbers over as
// doubles, the defaults store of macOS as integers or doubles, and a hand-edited file may
// hold either; a string that looks like a number is deliberately not one.
inline bool isNumericVariant(const QVariant& value)
{
    switch (value.typeId()) {
    case QMetaType::Double:
    case QMetaType::Float:
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
        return true;
    default:
        return false;
    }
}
