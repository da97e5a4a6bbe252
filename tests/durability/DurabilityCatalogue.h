#pragma once

#include "core/Settings.h"

#include <QByteArray>
#include <QJsonObject>
#include <QList>
#include <QMap>
#include <QString>

// Two recognisably different, deterministic sets of settings for the kill -9 test: a
// layout catalogue of many layouts on several screens (large enough that writing it
// takes a moment), the active layout of each screen and the gap size. Every write puts
// one whole variant in place; any mixture of the two means a torn file.
namespace DurabilityCatalogue {

enum class Variant { A, B };

Variant other(Variant variant);
QString nameOf(Variant variant);

QMap<QString, QList<QByteArray>> layouts(Variant variant);
QMap<QString, QString> activeLayouts(Variant variant);
double gapSize(Variant variant);

// Stores the whole variant; the caller syncs.
void write(Settings& settings, Variant variant);

// What the store holds: "A" or "B" when exactly one variant is there, "none" when
// nothing was ever written, otherwise a description of what is wrong.
QString identify(const Settings& settings);

// The stored entries of a variant as the settings file holds them at the top level
// (layout blobs are JSON text kept as JSON strings).
QJsonObject fileEntries(Variant variant);

} // namespace DurabilityCatalogue
