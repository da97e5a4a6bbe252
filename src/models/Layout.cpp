#include "models/Layout.h"

#include <QJsonValue>

Layout::Layout(Passkey, SplitNode::Ptr root, QUuid id, std::optional<Screen> screen)
    : m_id(id)
    , m_root(std::move(root))
    , m_screen(std::move(screen))
{ }

Layout::~Layout() = default;

std::shared_ptr<Layout> Layout::create(SplitNode::Ptr root, QUuid id, std::optional<Screen> screen)
{
    auto layout = std::make_shared<Layout>(Passkey {}, std::move(root), id, std::move(screen));
    layout->recomputeZones();
    // The tree may outlive the layout (the editor holds nodes), so the layout is held weakly.
    const std::weak_ptr<Layout> weakLayout = layout;
    layout->m_rootSubscription = layout->m_root->subscribe([weakLayout](const SplitNode::Ptr&) {
        if (const std::shared_ptr<Layout> self = weakLayout.lock()) {
            self->recomputeZones();
            Q_EMIT self->willChange();
        }
    });
    return layout;
}

std::shared_ptr<Layout> Layout::defaultFor(const Screen& screen, const ScreenGeometry& screens)
{
    const QRectF frame = screens.visibleFrameOf(screen).value_or(QRectF());
    return create(SplitNode::create(0, 0, frame.width(), frame.height()), QUuid::createUuid(), screen);
}

QString Layout::uuidText(const QUuid& id)
{
    return id.toString(QUuid::WithoutBraces).toUpper();
}

void Layout::setScreen(std::optional<Screen> screen)
{
    m_screen = std::move(screen);
    recomputeZones();
}

void Layout::recomputeZones()
{
    m_nodesByID.clear();
    std::vector<std::shared_ptr<Zone>> zones;
    const std::vector<SplitNode::Ptr> leaves = m_root->getNodes();
    zones.reserve(leaves.size());
    for (size_t i = 0; i < leaves.size(); ++i) {
        const QString id = QString::number(i + 1);
        m_nodesByID.insert(id, leaves[i]);
        zones.push_back(std::make_shared<Zone>(id, leaves[i]->rect(), m_screen));
    }
    m_zones = std::move(zones);
    m_borders = m_root->getResizeBorders();
}

void Layout::reset(const Screen& screen, const ScreenGeometry& screens)
{
    m_root->setChildren({});
    if (const std::optional<QRectF> frame = screens.visibleFrameOf(screen)) {
        m_root->setWidth(frame->width());
        m_root->setHeight(frame->height());
    }
}

std::optional<QJsonObject> Layout::toJson() const
{
    const std::optional<QJsonObject> root = m_root->toJson();
    if (!root)
        return std::nullopt;
    QJsonObject object;
    object.insert(QStringLiteral("id"), idText());
    object.insert(QStringLiteral("root"), *root);
    return object;
}

std::shared_ptr<Layout> Layout::fromJson(const QJsonObject& object)
{
    QUuid id = QUuid::createUuid();
    const QJsonValue rawId = object.value(QStringLiteral("id"));
    if (!rawId.isUndefined() && !rawId.isNull()) {
        // Only the bare 8-4-4-4-12 form, in either case; no braces or URN prefix.
        const QString text = rawId.toString();
        static const QString nilText = QStringLiteral("00000000-0000-0000-0000-000000000000");
        if (!rawId.isString() || text.size() != 36)
            return nullptr;
        id = QUuid::fromString(text);
        if (id.isNull() && text != nilText)
            return nullptr;
    }
    const QJsonValue rawRoot = object.value(QStringLiteral("root"));
    if (!rawRoot.isObject())
        return nullptr;
    SplitNode::Ptr root = SplitNode::fromJson(rawRoot.toObject());
    if (!root)
        return nullptr;
    return create(std::move(root), id);
}

bool sameLayout(const std::shared_ptr<Layout>& a, const std::shared_ptr<Layout>& b)
{
    if (!a || !b)
        return !a && !b;
    return *a == *b;
}
