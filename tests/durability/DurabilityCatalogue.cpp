#include "DurabilityCatalogue.h"

#include "models/Layout.h"
#include "models/LayoutBridge.h"
#include "models/SplitNode.h"

#include <QJsonArray>
#include <QUuid>

namespace DurabilityCatalogue {
namespace {

constexpr int kScreens = 3;
constexpr int kLayoutsPerScreen = 40;
constexpr int kSplitDepth = 3;

QString screenId(int index)
{
    return QStringLiteral("DURABILITY-SCREEN-%1-1920x1080").arg(index);
}

QUuid layoutId(Variant variant, int screen, int index)
{
    static const QUuid kNamespace(QStringLiteral("{6f1c2a8e-51d7-4c1e-9a0b-3d54e2f1a7c9}"));
    return QUuid::createUuidV5(kNamespace, QStringLiteral("%1-%2-%3").arg(nameOf(variant)).arg(screen).arg(index));
}

// Cuts every leaf again down to kSplitDepth, alternating the axis and varying the ratio
// with the layout's index, so the trees differ from layout to layout.
void cut(const SplitNode::Ptr& node, SplitType type, int depth, int seed)
{
    if (depth == kSplitDepth)
        return;
    node->splitAtRatio(type, 0.3 + 0.05 * ((seed + depth) % 9));
    const SplitType next = type == SplitType::vertical ? SplitType::horizontal : SplitType::vertical;
    for (const SplitNode::Ptr& child : node->children())
        cut(child, next, depth + 1, seed + 1);
}

QMap<QString, QList<QByteArray>> buildLayouts(Variant variant)
{
    QMap<QString, QList<QByteArray>> catalogue;
    for (int screen = 0; screen < kScreens; ++screen) {
        QList<QByteArray>& blobs = catalogue[screenId(screen)];
        for (int index = 0; index < kLayoutsPerScreen; ++index) {
            SplitNode::Ptr root = SplitNode::create(0, 0, 1920, 1080);
            cut(root, variant == Variant::A ? SplitType::vertical : SplitType::horizontal, 0, index);
            const std::optional<QByteArray> blob
                = LayoutBridge::serialize(Layout::create(root, layoutId(variant, screen, index)));
            if (blob)
                blobs.append(*blob);
        }
    }
    return catalogue;
}

} // namespace

Variant other(Variant variant)
{
    return variant == Variant::A ? Variant::B : Variant::A;
}

QString nameOf(Variant variant)
{
    return variant == Variant::A ? QStringLiteral("A") : QStringLiteral("B");
}

QMap<QString, QList<QByteArray>> layouts(Variant variant)
{
    static const QMap<QString, QList<QByteArray>> a = buildLayouts(Variant::A);
    static const QMap<QString, QList<QByteArray>> b = buildLayouts(Variant::B);
    return variant == Variant::A ? a : b;
}

QMap<QString, QString> activeLayouts(Variant variant)
{
    QMap<QString, QString> active;
    for (int screen = 0; screen < kScreens; ++screen)
        active.insert(screenId(screen), Layout::uuidText(layoutId(variant, screen, screen)));
    return active;
}

double gapSize(Variant variant)
{
    return variant == Variant::A ? 8 : 12;
}

void write(Settings& settings, Variant variant)
{
    settings.setBlobLists(Keys::layouts, layouts(variant));
    settings.setStrings(Keys::activeLayouts, activeLayouts(variant));
    settings.setValue(Keys::gapSize, gapSize(variant));
}

QString identify(const Settings& settings)
{
    const QMap<QString, QList<QByteArray>> stored = settings.blobLists(Keys::layouts);
    const QMap<QString, QString> active = settings.strings(Keys::activeLayouts);
    const double gap = settings.value(Keys::gapSize);
    if (stored.isEmpty() && active.isEmpty() && gap == Keys::gapSize.defaultValue)
        return QStringLiteral("none");
    for (Variant variant : {Variant::A, Variant::B}) {
        if (stored == layouts(variant) && active == activeLayouts(variant) && gap == gapSize(variant))
            return nameOf(variant);
    }
    int layoutCount = 0;
    for (const QList<QByteArray>& blobs : stored)
        layoutCount += int(blobs.size());
    return QStringLiteral("neither variant: %1 screen(s), %2 layout(s), %3 active, gap %4")
        .arg(stored.size())
        .arg(layoutCount)
        .arg(active.size())
        .arg(gap);
}

QJsonObject fileEntries(Variant variant)
{
    QJsonObject catalogue;
    const QMap<QString, QList<QByteArray>> blobs = layouts(variant);
    for (auto it = blobs.cbegin(); it != blobs.cend(); ++it) {
        QJsonArray texts;
        for (const QByteArray& blob : it.value())
            texts.append(QString::fromUtf8(blob));
        catalogue.insert(it.key(), texts);
    }
    QJsonObject active;
    const QMap<QString, QString> ids = activeLayouts(variant);
    for (auto it = ids.cbegin(); it != ids.cend(); ++it)
        active.insert(it.key(), it.value());

    QJsonObject entries;
    entries.insert(QLatin1String(Keys::layouts.storedKey), catalogue);
    entries.insert(QLatin1String(Keys::activeLayouts.storedKey), active);
    entries.insert(QLatin1String(Keys::gapSize.storedKey), gapSize(variant));
    return entries;
}

} // namespace DurabilityCatalogue
