#pragma once

#include "models/Screen.h"
#include "models/ScreenGeometry.h"
#include "models/SplitBorder.h"
#include "models/SplitNode.h"
#include "models/Zone.h"

#include <QHash>
#include <QJsonObject>
#include <QObject>
#include <QUuid>

#include <memory>
#include <optional>
#include <vector>

// One split tree bound to a screen, with the zones and borders derived from it. The tree
// is edited in place (by the zone editor); every change that reaches the root rebuilds
// the zones and then emits willChange(). Always held by std::shared_ptr, never parented.
class Layout final : public QObject, public std::enable_shared_from_this<Layout>
{
    Q_OBJECT

    struct Passkey
    {
        explicit Passkey() = default;
    };

public:
    static std::shared_ptr<Layout> create(
        SplitNode::Ptr root, QUuid id = QUuid::createUuid(), std::optional<Screen> screen = std::nullopt);
    Layout(Passkey, SplitNode::Ptr root, QUuid id, std::optional<Screen> screen);
    ~Layout() override;

    // A layout covering the screen's visible frame with a single zone (0 × 0 when the
    // screen is not connected), under a fresh id.
    static std::shared_ptr<Layout> defaultFor(const Screen& screen, const ScreenGeometry& screens);

    // The upper-case 8-4-4-4-12 text that is stored and names the layout's shortcut.
    static QString uuidText(const QUuid& id);

    const QUuid& id() const { return m_id; }
    QString idText() const { return uuidText(m_id); }
    const SplitNode::Ptr& root() const { return m_root; }

    const std::optional<Screen>& screen() const { return m_screen; }
    // Rebuilds the zones so they carry the new screen; does not emit willChange().
    void setScreen(std::optional<Screen> screen);

    // One zone per leaf, in leaf order.
    const std::vector<std::shared_ptr<Zone>>& zones() const { return m_zones; }
    const std::vector<SplitBorder>& borders() const { return m_borders; }
    // The leaf behind each zone id.
    const QHash<QString, SplitNode::Ptr>& nodesByID() const { return m_nodesByID; }

    void recomputeZones();

    // Collapses the tree into one zone (announced, zones rebuilt at the old size), then
    // sizes the root to the screen's visible frame if it is connected; the zones follow
    // that size at the next change.
    void reset(const Screen& screen, const ScreenGeometry& screens);

    // {"id": upper-case UUID text, "root": node}; nothing when the tree cannot be encoded.
    std::optional<QJsonObject> toJson() const;
    // Null when "root" is missing or does not decode, or "id" is not UUID text. A missing
    // "id" gives a fresh one. The screen is left empty.
    static std::shared_ptr<Layout> fromJson(const QJsonObject& object);

    // Layouts are the same layout when their ids are equal, whatever their trees.
    friend bool operator==(const Layout& a, const Layout& b) { return a.m_id == b.m_id; }

Q_SIGNALS:
    void willChange();

private:
    const QUuid m_id;
    const SplitNode::Ptr m_root;
    std::optional<Screen> m_screen;
    std::vector<std::shared_ptr<Zone>> m_zones;
    std::vector<SplitBorder> m_borders;
    QHash<QString, SplitNode::Ptr> m_nodesByID;
    SplitNode::Subscription m_rootSubscription;
};

// For the shared handles everyone passes around: equal when both are null or both name
// the same layout id.
bool sameLayout(const std::shared_ptr<Layout>& a, const std::shared_ptr<Layout>& b);
