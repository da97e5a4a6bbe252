#pragma once

#include "models/SplitBorder.h"
#include "models/SplitType.h"

#include <QJsonObject>
#include <QRectF>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

// One rectangle of a layout's binary split tree, in layout space. An inner node has two
// children that tile it; a leaf is a zone. Nodes are shared between the layout and the
// zone editor and are always held by std::shared_ptr (see create()).
//
// Change notification: a node announces itself whenever its shape or the shape of a
// descendant changes. A parent listens to each child it was given, holding itself only
// weakly in that subscription, so a change anywhere reaches the root synchronously and
// the layout listening there can rebuild its zones.
class SplitNode final : public std::enable_shared_from_this<SplitNode>
{
    struct Passkey
    {
        explicit Passkey() = default;
    };

public:
    using Ptr = std::shared_ptr<SplitNode>;
    using ChangeListener = std::function<void(const Ptr& emitter)>;
    enum class Coordinate { x, y };

    // Keeps one listener registered on a node; dropping it unregisters the listener.
    // Holds the node weakly, so a subscription never keeps a node alive.
    class Subscription final
    {
    public:
        Subscription() = default;
        Subscription(std::weak_ptr<SplitNode> source, std::uint64_t listenerId);
        Subscription(Subscription&& other) noexcept;
        Subscription& operator=(Subscription&& other) noexcept;
        Subscription(const Subscription&) = delete;
        Subscription& operator=(const Subscription&) = delete;
        ~Subscription();

        bool expired() const { return m_source.expired(); }

    private:
        void release();

        std::weak_ptr<SplitNode> m_source;
        std::uint64_t m_listenerId = 0;
    };

    // Stores the fields as given: the children are neither re-parented nor listened to.
    static Ptr create(double x, double y, double width, double height, std::optional<SplitType> splitType = {},
        const Ptr& parent = {}, std::vector<Ptr> children = {});
    SplitNode(Passkey, double x, double y, double width, double height, std::optional<SplitType> splitType,
        const Ptr& parent, std::vector<Ptr> children);

    double x() const { return m_x; }
    double y() const { return m_y; }
    double width() const { return m_width; }
    double height() const { return m_height; }
    QRectF rect() const { return QRectF(m_x, m_y, m_width, m_height); }
    // Direct geometry assignments announce nothing.
    void setX(double x) { m_x = x; }
    void setY(double y) { m_y = y; }
    void setWidth(double width) { m_width = width; }
    void setHeight(double height) { m_height = height; }

    std::optional<SplitType> splitType() const { return m_splitType; }
    Ptr parent() const { return m_parent.lock(); }
    const std::vector<Ptr>& children() const { return m_children; }
    bool isLeaf() const { return m_children.empty(); }

    // Replaces the children, listens to the new ones and announces the change.
    // Assigning an empty list collapses the node into a single zone.
    void setChildren(std::vector<Ptr> children);
    // Becomes a copy of another tree in place (geometry, split type, children, which are
    // moved over and re-parented), announced once: the editor's undo puts a tree back
    // without replacing the root the layout and everyone else hold.
    void takeShapeOf(const Ptr& source);

    // Replaces the children by two leaves cut at a fraction of the node's extent along
    // the split axis (presets) or at an offset from the node's origin (editor clicks).
    void splitAtRatio(SplitType type, double ratio);
    void splitAtOffset(SplitType type, double offset);

    // Moves the border between this node's children so the first child gets `size`
    // points along the split axis, within the limits that keep every zone at least
    // 100 points wide where the tree structure allows it.
    void resizeFirstChild(double size);

    // Re-tiles the subtree of a node whose far edge (index 0) or near edge (index 1)
    // moved, so the whole change lands on the innermost zones along that edge.
    static void adjustDescendants(const Ptr& node, int resizeParentIdx);

    bool recursivelyHasChild(SplitType type) const;
    static double recursivelyGetMinCoordinate(const Ptr& node, SplitType type, Coordinate coordinate);
    static double recursivelyGetMaxCoordinate(const Ptr& node, SplitType type, Coordinate coordinate);

    // Every border of the subtree in pre-order, ids numbered from 0.
    std::vector<SplitBorder> getResizeBorders();
    // The leaves in order; this order defines zone ids.
    std::vector<Ptr> getNodes();

    [[nodiscard]] Subscription subscribe(ChangeListener listener);

    // {"x", "y", "width", "height", "splitType" (only when present), "children"}.
    // Returns nothing when a coordinate is not a finite number, which JSON cannot hold.
    std::optional<QJsonObject> toJson() const;
    // Null when a coordinate is missing or not a finite number, the split type is not 0
    // or 1, or a child does not decode. The number of children is not checked.
    static Ptr fromJson(const QJsonObject& object);

private:
    // Two children are what every inner-node operation indexes; a decoded node may have
    // any number, and fewer than two are treated as no split rather than read past the end.
    bool hasSplit() const { return m_children.size() >= 2; }
    void splitAt(SplitType type, double size);
    std::vector<SplitBorder> generateResizeBorders();
    void setupChildrenSubscriptions();
    void emitChange();
    void removeListener(std::uint64_t listenerId);

    double m_x;
    double m_y;
    double m_width;
    double m_height;
    std::optional<SplitType> m_splitType;
    std::weak_ptr<SplitNode> m_parent;
    std::vector<Ptr> m_children;

    std::vector<std::pair<std::uint64_t, ChangeListener>> m_listeners;
    std::uint64_t m_nextListenerId = 1;
    // Subscriptions to children, current and former: a node that got new children keeps
    // listening to the old ones, which only matters while someone else still holds them.
    std::vector<Subscription> m_cancellables;
};
