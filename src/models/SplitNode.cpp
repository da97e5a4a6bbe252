#include "models/SplitNode.h"

#include "core/Logging.h"

#include <QJsonArray>
#include <QJsonValue>

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

// The smallest extent a zone keeps along a split, where the tree structure allows it.
constexpr double kMinExtent = 100;

double extentOf(const SplitNode& node, SplitType type)
{
    return type == SplitType::vertical ? node.width() : node.height();
}

void setExtentOf(SplitNode& node, SplitType type, double extent)
{
    if (type == SplitType::vertical)
        node.setWidth(extent);
    else
        node.setHeight(extent);
}

double originOf(const SplitNode& node, SplitType type)
{
    return type == SplitType::vertical ? node.x() : node.y();
}

void setOriginOf(SplitNode& node, SplitType type, double origin)
{
    if (type == SplitType::vertical)
        node.setX(origin);
    else
        node.setY(origin);
}

double coordinateOf(const SplitNode& node, SplitNode::Coordinate coordinate)
{
    return coordinate == SplitNode::Coordinate::x ? node.x() : node.y();
}

SplitNode::Coordinate axisOf(SplitType type)
{
    return type == SplitType::vertical ? SplitNode::Coordinate::x : SplitNode::Coordinate::y;
}

std::optional<double> finiteNumber(const QJsonObject& object, const QString& key)
{
    const QJsonValue value = object.value(key);
    if (!value.isDouble() || !std::isfinite(value.toDouble()))
        return std::nullopt;
    return value.toDouble();
}

} // namespace

// --- Subscription ---------------------------------------------------------------------

SplitNode::Subscription::Subscription(std::weak_ptr<SplitNode> source, std::uint64_t listenerId)
    : m_source(std::move(source))
    , m_listenerId(listenerId)
{ }

SplitNode::Subscription::Subscription(Subscription&& other) noexcept
    : m_source(std::move(other.m_source))
    , m_listenerId(std::exchange(other.m_listenerId, 0))
{ }

SplitNode::Subscription& SplitNode::Subscription::operator=(Subscription&& other) noexcept
{
    if (this != &other) {
        release();
        m_source = std::move(other.m_source);
        m_listenerId = std::exchange(other.m_listenerId, 0);
    }
    return *this;
}

SplitNode::Subscription::~Subscription()
{
    release();
}

void SplitNode::Subscription::release()
{
    if (const Ptr source = m_source.lock())
        source->removeListener(m_listenerId);
    m_source.reset();
    m_listenerId = 0;
}

// --- Construction and children ----------------------------------------------------------

SplitNode::Ptr SplitNode::create(double x, double y, double width, double height, std::optional<SplitType> splitType,
    const Ptr& parent, std::vector<Ptr> children)
{
    return std::make_shared<SplitNode>(Passkey {}, x, y, width, height, splitType, parent, std::move(children));
}

SplitNode::SplitNode(Passkey, double x, double y, double width, double height, std::optional<SplitType> splitType,
    const Ptr& parent, std::vector<Ptr> children)
    : m_x(x)
    , m_y(y)
    , m_width(width)
    , m_height(height)
    , m_splitType(splitType)
    , m_parent(parent)
    , m_children(std::move(children))
{ }

void SplitNode::setChildren(std::vector<Ptr> children)
{
    m_children = std::move(children);
    setupChildrenSubscriptions();
    emitChange();
}

void SplitNode::takeShapeOf(const Ptr& source)
{
    if (!source || source.get() == this)
        return;
    m_x = source->m_x;
    m_y = source->m_y;
    m_width = source->m_width;
    m_height = source->m_height;
    m_splitType = source->m_splitType;
    std::vector<Ptr> children = std::move(source->m_children);
    source->m_children.clear();
    const Ptr self = shared_from_this();
    for (const Ptr& child : children)
        child->m_parent = self;
    setChildren(std::move(children));
}

SplitNode::Subscription SplitNode::subscribe(ChangeListener listener)
{
    const std::uint64_t id = m_nextListenerId++;
    m_listeners.emplace_back(id, std::move(listener));
    return Subscription(weak_from_this(), id);
}

void SplitNode::removeListener(std::uint64_t listenerId)
{
    std::erase_if(m_listeners, [listenerId](const auto& entry) { return entry.first == listenerId; });
}

void SplitNode::setupChildrenSubscriptions()
{
    // Subscriptions to children that no longer exist can never fire again.
    std::erase_if(m_cancellables, [](const Subscription& s) { return s.expired(); });
    const std::weak_ptr<SplitNode> weakSelf = weak_from_this();
    for (const Ptr& child : m_children) {
        m_cancellables.push_back(child->subscribe([weakSelf](const Ptr&) {
            if (const Ptr self = weakSelf.lock())
                self->emitChange();
        }));
    }
}

void SplitNode::emitChange()
{
    // A listener may add or drop subscriptions while it runs; those take effect next time.
    std::vector<ChangeListener> snapshot;
    snapshot.reserve(m_listeners.size());
    for (const auto& entry : m_listeners)
        snapshot.push_back(entry.second);
    const Ptr self = shared_from_this();
    for (const ChangeListener& listener : snapshot)
        listener(self);
}

// --- Split ----------------------------------------------------------------------------

void SplitNode::splitAtRatio(SplitType type, double ratio)
{
    const double extent = extentOf(*this, type);
    // The lower bound is applied last: a node under 200 points gives its first child
    // 100 and leaves the second with the rest, even when that is less than 100.
    const double size = std::round(std::max(std::min(extent - kMinExtent, extent * ratio), kMinExtent));
    splitAt(type, size);
}

void SplitNode::splitAtOffset(SplitType type, double offset)
{
    const double extent = extentOf(*this, type);
    // Rounded before the clamp, so a fractional extent can give a fractional size.
    splitAt(type, std::max(std::min(extent - kMinExtent, std::round(offset)), kMinExtent));
}

void SplitNode::splitAt(SplitType type, double size)
{
    const Ptr self = shared_from_this();
    Ptr first;
    Ptr second;
    if (type == SplitType::vertical) {
        first = create(m_x, m_y, size, m_height, type, self);
        second = create(m_x + size, m_y, m_width - size, m_height, type, self);
    } else {
        first = create(m_x, m_y, m_width, size, type, self);
        second = create(m_x, m_y + size, m_width, m_height - size, type, self);
    }
    setChildren({first, second});
}

// --- Resize -----------------------------------------------------------------------------

void SplitNode::resizeFirstChild(double size)
{
    if (m_children.empty()) {
        qCCritical(lcModel) << "Attempted to resize a child of a leaf node";
        return;
    }
    if (!hasSplit()) {
        qCCritical(lcModel) << "Attempted to resize a node with a single child";
        return;
    }
    const Ptr first = m_children[0];
    const Ptr second = m_children[1];
    const std::optional<SplitType> type = first->splitType();

    if (type) {
        const SplitType t = *type;
        const Coordinate axis = axisOf(t);

        const double lower = first->isLeaf()
            ? kMinExtent
            : recursivelyGetMaxCoordinate(first, t, axis) - originOf(*first, t) + kMinExtent;

        double upperBase = extentOf(*this, t);
        if (second->isLeaf()) {
            upperBase = extentOf(*first, t) + extentOf(*second, t);
        } else if (second->children()[0]->splitType() == first->splitType()) {
            // The vertical case compares an absolute x with a size; it is exact while this
            // node starts at x = 0, and the second child's own 100-point check below
            // catches the rest.
            upperBase = t == SplitType::vertical
                ? recursivelyGetMaxCoordinate(second, SplitType::vertical, Coordinate::x)
                : recursivelyGetMaxCoordinate(second, SplitType::horizontal, Coordinate::y) - m_y;
        } else if (second->recursivelyHasChild(t)) {
            upperBase = recursivelyGetMinCoordinate(second, t, axis) - originOf(*this, t);
        }

        // When the limits cross, the lower one wins.
        const double clamped = std::max(lower, std::min(upperBase - kMinExtent, std::round(size)));
        const double delta = clamped - extentOf(*first, t);
        if (extentOf(*second, t) - delta < kMinExtent)
            return;
        setExtentOf(*first, t, clamped);
        setExtentOf(*second, t, extentOf(*second, t) - delta);
        setOriginOf(*second, t, originOf(*second, t) + delta);
    } else {
        qCCritical(lcModel) << "Invalid split type";
    }

    adjustDescendants(first, 0);
    adjustDescendants(second, 1);
    emitChange();
}

void SplitNode::adjustDescendants(const Ptr& node, int resizeParentIdx)
{
    if (!node->hasSplit() || !node->splitType())
        return;
    const Ptr& first = node->m_children[0];
    const Ptr& second = node->m_children[1];
    first->m_x = node->m_x;
    if (first->splitType() == SplitType::horizontal) {
        first->m_width = node->m_width;
        second->m_x = node->m_x;
        second->m_width = node->m_width;
        first->m_y = node->m_y;
        const double d = node->m_height - (first->m_height + second->m_height);
        if (resizeParentIdx != 0)
            first->m_height += d;
        else
            second->m_height += d;
    } else if (first->splitType() == SplitType::vertical) {
        first->m_y = node->m_y;
        first->m_height = node->m_height;
        second->m_y = node->m_y;
        second->m_height = node->m_height;
        const double d = node->m_width - (first->m_width + second->m_width);
        if (resizeParentIdx != 0)
            first->m_width += d;
        else
            second->m_width += d;
    }
    adjustDescendants(first, resizeParentIdx);
    adjustDescendants(second, resizeParentIdx);
}

// --- Tree searches ------------------------------------------------------------------------

bool SplitNode::recursivelyHasChild(SplitType type) const
{
    if (!hasSplit())
        return false;
    const Ptr& first = m_children[0];
    const Ptr& second = m_children[1];
    if (first->splitType() == type || second->splitType() == type)
        return true;
    if (!first->isLeaf() && first->recursivelyHasChild(type))
        return true;
    if (!second->isLeaf() && second->recursivelyHasChild(type))
        return true;
    return false;
}

double SplitNode::recursivelyGetMinCoordinate(const Ptr& node, SplitType type, Coordinate coordinate)
{
    constexpr double none = std::numeric_limits<double>::infinity();
    if (node->hasSplit()) {
        const Ptr& first = node->m_children[0];
        const double a = recursivelyGetMinCoordinate(first, type, coordinate);
        const double b = recursivelyGetMinCoordinate(node->m_children[1], type, coordinate);
        const double m = first->splitType() == type ? std::max(a, b) : std::min(a, b);
        if (m != none)
            return m;
    }
    return node->splitType() == type ? coordinateOf(*node, coordinate) : none;
}

double SplitNode::recursivelyGetMaxCoordinate(const Ptr& node, SplitType type, Coordinate coordinate)
{
    // Not the mirror image of the minimum search: 0 means "nothing found" here, and the
    // children are combined by which of them holds a split of the type at all.
    constexpr double none = 0;
    if (node->hasSplit()) {
        const Ptr& first = node->m_children[0];
        const Ptr& second = node->m_children[1];
        const bool inFirst = first->recursivelyHasChild(type);
        const bool inSecond = second->recursivelyHasChild(type);
        double r = none;
        if (inFirst != inSecond)
            r = recursivelyGetMaxCoordinate(inFirst ? first : second, type, coordinate);
        else if (inFirst)
            r = std::min(recursivelyGetMaxCoordinate(first, type, coordinate),
                recursivelyGetMaxCoordinate(second, type, coordinate));
        else
            r = std::max(recursivelyGetMaxCoordinate(first, type, coordinate),
                recursivelyGetMaxCoordinate(second, type, coordinate));
        if (r != none)
            return r;
    }
    return node->splitType() == type ? coordinateOf(*node, coordinate) : none;
}

// --- Borders and leaves -----------------------------------------------------------------------

std::vector<SplitBorder> SplitNode::generateResizeBorders()
{
    std::vector<SplitBorder> borders;
    if (isLeaf())
        return borders;
    if (!hasSplit()) {
        qCCritical(lcModel) << "Split node has a single child; its border is left out";
    } else {
        const Ptr& second = m_children[1];
        const std::optional<SplitType> type = m_children[0]->splitType();
        if (!type) {
            qCCritical(lcModel) << "Invalid split type";
        } else if (*type == SplitType::horizontal) {
            borders.push_back({0, QRectF(m_x, second->m_y - 1, m_width, 2), shared_from_this(), *type});
        } else {
            borders.push_back({0, QRectF(second->m_x - 1, m_y, 2, m_height), shared_from_this(), *type});
        }
    }
    for (const Ptr& child : m_children) {
        std::vector<SplitBorder> inner = child->getResizeBorders();
        borders.insert(borders.end(), std::make_move_iterator(inner.begin()), std::make_move_iterator(inner.end()));
    }
    return borders;
}

std::vector<SplitBorder> SplitNode::getResizeBorders()
{
    std::vector<SplitBorder> borders = generateResizeBorders();
    for (size_t i = 0; i < borders.size(); ++i)
        borders[i].id = static_cast<int>(i);
    return borders;
}

std::vector<SplitNode::Ptr> SplitNode::getNodes()
{
    if (isLeaf())
        return {shared_from_this()};
    std::vector<Ptr> leaves;
    for (const Ptr& child : m_children) {
        std::vector<Ptr> inner = child->getNodes();
        leaves.insert(leaves.end(), inner.begin(), inner.end());
    }
    return leaves;
}

// --- JSON -------------------------------------------------------------------------------------

std::optional<QJsonObject> SplitNode::toJson() const
{
    if (!std::isfinite(m_x) || !std::isfinite(m_y) || !std::isfinite(m_width) || !std::isfinite(m_height))
        return std::nullopt;
    QJsonObject object;
    object.insert(QStringLiteral("x"), m_x);
    object.insert(QStringLiteral("y"), m_y);
    object.insert(QStringLiteral("width"), m_width);
    object.insert(QStringLiteral("height"), m_height);
    if (m_splitType)
        object.insert(QStringLiteral("splitType"), splitTypeToRaw(*m_splitType));
    QJsonArray children;
    for (const Ptr& child : m_children) {
        const std::optional<QJsonObject> encoded = child->toJson();
        if (!encoded)
            return std::nullopt;
        children.append(*encoded);
    }
    object.insert(QStringLiteral("children"), children);
    return object;
}

SplitNode::Ptr SplitNode::fromJson(const QJsonObject& object)
{
    const std::optional<double> x = finiteNumber(object, QStringLiteral("x"));
    const std::optional<double> y = finiteNumber(object, QStringLiteral("y"));
    const std::optional<double> width = finiteNumber(object, QStringLiteral("width"));
    const std::optional<double> height = finiteNumber(object, QStringLiteral("height"));
    if (!x || !y || !width || !height)
        return nullptr;

    // An optional key that is absent or null decodes as "not there".
    std::optional<SplitType> splitType;
    const QJsonValue rawType = object.value(QStringLiteral("splitType"));
    if (!rawType.isUndefined() && !rawType.isNull()) {
        if (!rawType.isDouble())
            return nullptr;
        splitType = splitTypeFromRaw(rawType.toDouble());
        if (!splitType)
            return nullptr;
    }

    const Ptr node = create(*x, *y, *width, *height, splitType);
    const QJsonValue rawChildren = object.value(QStringLiteral("children"));
    if (rawChildren.isUndefined() || rawChildren.isNull())
        return node;
    if (!rawChildren.isArray())
        return nullptr;
    const QJsonArray array = rawChildren.toArray();
    if (array.isEmpty())
        return node;
    std::vector<Ptr> children;
    children.reserve(static_cast<size_t>(array.size()));
    for (const QJsonValue& value : array) {
        if (!value.isObject())
            return nullptr;
        Ptr child = fromJson(value.toObject());
        if (!child)
            return nullptr;
        child->m_parent = node;
        children.push_back(std::move(child));
    }
    node->m_children = std::move(children);
    node->setupChildrenSubscriptions();
    return node;
}
