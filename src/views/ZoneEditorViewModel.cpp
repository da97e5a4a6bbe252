#include "views/ZoneEditorViewModel.h"

#include "core/Logging.h"
#include "managers/ScreenCoordinates.h"
#include "managers/ScreenManager.h"
#include "models/Layout.h"
#include "models/SplitNode.h"
#include "models/Zone.h"

#include <algorithm>
#include <cmath>

namespace {

// An undo history longer than this is of no use to anyone and only holds memory.
constexpr size_t kMaxUndoSteps = 200;

double extentAlong(const SplitNode& node, SplitType type)
{
    return type == SplitType::horizontal ? node.height() : node.width();
}

} // namespace

ZoneEditorViewModel::ZoneEditorViewModel(
    Screen screen, std::shared_ptr<Layout> layout, ScreenManager& screens, QObject* parent)
    : QObject(parent)
    , m_screen(std::move(screen))
    , m_layout(std::move(layout))
    , m_screens(screens)
    , m_mousePosMonitor(screens)
{
    subscribeToLayout();
}

ZoneEditorViewModel::~ZoneEditorViewModel()
{
    stopMonitoring();
}

void ZoneEditorViewModel::subscribeToLayout()
{
    disconnect(m_layoutConnection);
    if (!m_layout)
        return;
    // Any change of the tree redraws the canvas, whoever made it.
    m_layoutConnection = connect(m_layout.get(), &Layout::willChange, this, [this] {
        clampFocus();
        Q_EMIT changed();
    });
}

void ZoneEditorViewModel::setLayout(std::shared_ptr<Layout> layout)
{
    if (layout == m_layout)
        return;
    m_layout = std::move(layout);
    m_undo.clear();
    m_redo.clear();
    m_isResizing = false;
    m_resizingParent.reset();
    m_resizingBorderId.reset();
    subscribeToLayout();
    clampFocus();
    Q_EMIT changed();
}

QSizeF ZoneEditorViewModel::canvasSize() const
{
    if (const std::optional<QRectF> frame = m_screens.visibleFrameOf(m_screen))
        return frame->size();
    if (m_layout)
        return QSizeF(m_layout->root()->width(), m_layout->root()->height());
    return {};
}

void ZoneEditorViewModel::startMonitoring()
{
    m_mousePosMonitor.startMonitoring();
    m_mousePosMonitor.addObserver(this);
    m_keyboardMonitor.startMonitoring();
    m_keyboardMonitor.addObserver(this);
}

void ZoneEditorViewModel::stopMonitoring()
{
    m_mousePosMonitor.stopMonitoring();
    m_mousePosMonitor.removeObserver(this);
    m_keyboardMonitor.stopMonitoring();
    m_keyboardMonitor.removeObserver(this);
}

bool ZoneEditorViewModel::isMonitoring() const
{
    return m_mousePosMonitor.isMonitoring() && m_keyboardMonitor.isMonitoring();
}

void ZoneEditorViewModel::mousePositionChanged(const MousePositionEvent& event)
{
    m_mousePosition = event.position;
    recomputeSplitLine();
}

void ZoneEditorViewModel::keyboardFlagsChanged(const KeyboardEvent& event)
{
    // Each key flips the orientation while it is held, so exactly one of them held means
    // horizontal and both cancel out. A key already down when the editor opened was never
    // seen going down: its release changes nothing.
    bool flipped = false;
    const auto follow = [&](bool down, bool& held) {
        if (down != held) {
            held = down;
            m_splitHorizontal = !m_splitHorizontal;
            flipped = true;
        }
    };
    const bool alt = event.modifiers.testFlag(Qt::AltModifier);
    const bool shift = event.modifiers.testFlag(Qt::ShiftModifier);
    if (alt || m_optionHeld)
        follow(alt, m_optionHeld);
    if (shift || m_shiftHeld)
        follow(shift, m_shiftHeld);
    if (flipped)
        recomputeSplitLine();
}

std::shared_ptr<Zone> ZoneEditorViewModel::zoneAt(QPointF point) const
{
    if (!m_layout)
        return nullptr;
    for (const std::shared_ptr<Zone>& zone : m_layout->zones()) {
        if (ScreenCoordinates::frameContains(zone->rect(), point))
            return zone;
    }
    return nullptr;
}

void ZoneEditorViewModel::recomputeSplitLine()
{
    const std::shared_ptr<Zone> zone = zoneAt(m_mousePosition);
    if (!zone)
        return;
    const QRectF r = zone->rect();
    // The line's x and y are its centre: that is how the canvas places it.
    if (!m_splitHorizontal)
        m_splitLine.rect = QRectF(m_mousePosition.x(), r.top() + r.height() * 0.5, 2.0, r.height());
    else
        m_splitLine.rect = QRectF(r.left() + r.width() * 0.5, m_mousePosition.y(), r.width(), 2.0);
    // Only the line moved: the canvas repaints where it was and where it is.
    Q_EMIT splitLineChanged();
}

void ZoneEditorViewModel::handleTap(QPointF point)
{
    if (!m_layout || m_layout->zones().empty())
        return;
    const std::shared_ptr<Zone> zone = zoneAt(point);
    if (!zone)
        return;
    const SplitNode::Ptr node = m_layout->nodesByID().value(zone->id());
    if (!node)
        return;
    recordStep();
    if (!m_splitHorizontal)
        node->splitAtOffset(SplitType::vertical, point.x() - zone->rect().left());
    else
        node->splitAtOffset(SplitType::horizontal, point.y() - zone->rect().top());
}

void ZoneEditorViewModel::resetZones()
{
    if (!m_layout)
        return;
    recordStep();
    m_layout->reset(m_screen, m_screens);
    // The reset sizes the root without announcing it; the canvas must show the new size.
    m_layout->recomputeZones();
    Q_EMIT changed();
}

void ZoneEditorViewModel::handleDeleteBorderTapped(const SplitBorder& border)
{
    if (!border.parent)
        return;
    recordStep();
    // The parent becomes a leaf again, and the zones on both sides become one.
    border.parent->setChildren({});
}

// --- Canvas interaction -------------------------------------------------------------------

std::optional<SplitBorder> ZoneEditorViewModel::borderWithId(int id) const
{
    if (!m_layout)
        return std::nullopt;
    for (const SplitBorder& border : m_layout->borders()) {
        if (border.id == id)
            return border;
    }
    return std::nullopt;
}

std::optional<SplitBorder> ZoneEditorViewModel::resizingBorder() const
{
    if (!m_resizingParent || !m_layout)
        return std::nullopt;
    for (const SplitBorder& border : m_layout->borders()) {
        if (border.parent == m_resizingParent)
            return border;
    }
    return std::nullopt;
}

void ZoneEditorViewModel::setHandleHovered(int borderId, bool hovering)
{
    m_hoveringHandle = hovering;
    m_hoveredBorderId = hovering ? std::optional<int>(borderId) : std::nullopt;
    m_showLine = m_isResizing ? false : !hovering;
    Q_EMIT changed();
}

void ZoneEditorViewModel::setDeleteHovered(bool hovering)
{
    if (m_hoveringDelete == hovering)
        return;
    m_hoveringDelete = hovering;
    Q_EMIT changed();
}

void ZoneEditorViewModel::setButtonHovered(bool hovering)
{
    if (m_isResizing)
        return;
    m_showLine = !hovering;
    Q_EMIT changed();
}

void ZoneEditorViewModel::beginBorderDrag(int borderId)
{
    const std::optional<SplitBorder> border = borderWithId(borderId);
    if (!border || !border->parent || border->parent->children().size() < 2)
        return;
    m_resizingParent = border->parent;
    m_resizingBorderId = borderId;
    m_isResizing = false;
}

void ZoneEditorViewModel::dragBorder(double translation)
{
    if (!m_resizingParent || m_resizingParent->children().size() < 2)
        return;
    const std::optional<SplitBorder> border = resizingBorder();
    const SplitType type = border ? border->splitType : SplitType::vertical;
    if (!m_isResizing) {
        m_startingSize = extentAlong(*m_resizingParent->children().front(), type);
        m_isResizing = true;
        m_showLine = false;
        recordStep();
    }
    if (!std::isfinite(translation))
        return;
    m_resizingParent->resizeFirstChild(m_startingSize + translation);
}

void ZoneEditorViewModel::endBorderDrag()
{
    const bool wasResizing = m_isResizing;
    m_isResizing = false;
    if (!m_hoveringHandle)
        m_showLine = true;
    m_startingSize = 0;
    m_resizingParent.reset();
    m_resizingBorderId.reset();
    // A press on a handle without motion changed nothing and is no undo step.
    if (wasResizing && !m_undo.empty() && snapshot() == m_undo.back())
        m_undo.pop_back();
    Q_EMIT changed();
}

void ZoneEditorViewModel::deleteBorder(int borderId)
{
    if (const std::optional<SplitBorder> border = borderWithId(borderId))
        handleDeleteBorderTapped(*border);
    m_resizingParent.reset();
    m_resizingBorderId.reset();
    m_isResizing = false;
    m_hoveringHandle = false;
    m_hoveringDelete = false;
    m_hoveredBorderId.reset();
    m_showLine = true;
    Q_EMIT changed();
}

QString ZoneEditorViewModel::sizeLabel(double size)
{
    return QString::asprintf("%0.fpx", size);
}

std::vector<QString> ZoneEditorViewModel::sizeLabels() const
{
    const std::optional<SplitBorder> border = resizingBorder();
    if (!m_isResizing || !border || border->parent->children().size() < 2)
        return {};
    const auto& children = border->parent->children();
    return {sizeLabel(extentAlong(*children[0], border->splitType)),
        sizeLabel(extentAlong(*children[1], border->splitType))};
}

// --- Undo ---------------------------------------------------------------------------------

std::optional<QJsonObject> ZoneEditorViewModel::snapshot() const
{
    if (!m_layout)
        return std::nullopt;
    return m_layout->root()->toJson();
}

void ZoneEditorViewModel::recordStep()
{
    const std::optional<QJsonObject> tree = snapshot();
    if (!tree)
        return;
    m_undo.push_back(*tree);
    if (m_undo.size() > kMaxUndoSteps)
        m_undo.erase(m_undo.begin());
    m_redo.clear();
}

void ZoneEditorViewModel::restore(const QJsonObject& tree)
{
    const SplitNode::Ptr shape = SplitNode::fromJson(tree);
    if (!shape || !m_layout) {
        qCWarning(lcEditor) << "An undo step could not be read back; the layout stays as it is";
        return;
    }
    m_layout->root()->takeShapeOf(shape);
}

void ZoneEditorViewModel::undo()
{
    travel(m_undo, m_redo);
}

void ZoneEditorViewModel::redo()
{
    travel(m_redo, m_undo);
}

void ZoneEditorViewModel::travel(std::vector<QJsonObject>& from, std::vector<QJsonObject>& to)
{
    // Not in the middle of a border drag: the drag's own step would be lost.
    if (from.empty() || m_isResizing)
        return;
    if (const std::optional<QJsonObject> now = snapshot())
        to.push_back(*now);
    const QJsonObject tree = from.back();
    from.pop_back();
    restore(tree);
}

// --- Keyboard editing ---------------------------------------------------------------------

void ZoneEditorViewModel::clampFocus()
{
    if (!m_layout || m_focus.kind == FocusItem::Kind::none)
        return;
    const int zones = static_cast<int>(m_layout->zones().size());
    const int borders = static_cast<int>(m_layout->borders().size());
    const int count = m_focus.kind == FocusItem::Kind::zone ? zones : borders;
    if (m_focus.index >= count)
        m_focus = count > 0 ? FocusItem {m_focus.kind, count - 1}
                            : (zones > 0 ? FocusItem {FocusItem::Kind::zone, zones - 1} : FocusItem {});
}

void ZoneEditorViewModel::focusNext()
{
    moveFocus(1);
}

void ZoneEditorViewModel::focusPrevious()
{
    moveFocus(-1);
}

void ZoneEditorViewModel::moveFocus(int step)
{
    if (!m_layout)
        return;
    // One ring: the zones in order, then the borders; from nothing, forward starts at the
    // first zone and backward at the last border.
    const int zones = static_cast<int>(m_layout->zones().size());
    const int total = zones + static_cast<int>(m_layout->borders().size());
    if (total == 0)
        return;
    int position = m_focus.kind == FocusItem::Kind::none ? (step > 0 ? -1 : total)
        : m_focus.kind == FocusItem::Kind::zone          ? m_focus.index
                                                         : zones + m_focus.index;
    position = ((position + step) % total + total) % total;
    m_focus = position < zones ? FocusItem {FocusItem::Kind::zone, position}
                               : FocusItem {FocusItem::Kind::border, position - zones};
    Q_EMIT changed();
}

void ZoneEditorViewModel::splitFocusedZone(SplitType type)
{
    if (!m_layout || m_focus.kind != FocusItem::Kind::zone)
        return;
    const auto& zones = m_layout->zones();
    if (m_focus.index < 0 || m_focus.index >= static_cast<int>(zones.size()))
        return;
    const SplitNode::Ptr node = m_layout->nodesByID().value(zones[static_cast<size_t>(m_focus.index)]->id());
    if (!node)
        return;
    recordStep();
    node->splitAtRatio(type, 0.5);
}

void ZoneEditorViewModel::moveFocusedBorder(double delta)
{
    if (m_focus.kind != FocusItem::Kind::border)
        return;
    const std::optional<SplitBorder> border = borderWithId(m_focus.index);
    if (!border || !border->parent || border->parent->children().size() < 2)
        return;
    recordStep();
    const double size = extentAlong(*border->parent->children().front(), border->splitType);
    border->parent->resizeFirstChild(size + delta);
    if (snapshot() == m_undo.back())
        m_undo.pop_back(); // at a limit already: nothing moved
}

void ZoneEditorViewModel::deleteFocusedBorder()
{
    if (m_focus.kind != FocusItem::Kind::border)
        return;
    if (const std::optional<SplitBorder> border = borderWithId(m_focus.index))
        handleDeleteBorderTapped(*border);
}
