#include "views/ZoneEditorView.h"

#include "core/Settings.h"
#include "models/Layout.h"
#include "platform/KeyCombination.h"
#include "views/BorderView.h"
#include "views/HandleView.h"
#include "views/LineView.h"
#include "views/PixelLabel.h"
#include "views/ZoneColors.h"
#include "views/ZoneEditorViewModel.h"

#include <QHelpEvent>
#include <QKeyEvent>
#include <QKeySequence>
#include <QMouseEvent>
#include <QPaintEvent>
#include <QPainter>
#include <QPainterPath>
#include <QToolTip>

namespace {

constexpr double kOutlineWidth = 2;
constexpr double kDeleteDiameter = 22;
constexpr double kDeleteDistance = 40;
constexpr double kButtonDiameter = 34;
constexpr double kButtonSpacing = 12;
constexpr double kButtonMargin = 24;
constexpr double kLabelOffset = 82;
constexpr double kHandleSlop = 6;
constexpr double kBackdropOpacity = 0.55;

QPointF centreOf(const QRectF& rect)
{
    return rect.center();
}

} // namespace

ZoneEditorView::ZoneEditorView(ZoneEditorViewModel& viewModel, const Settings& settings, QWidget* parent)
    : QWidget(parent)
    , m_viewModel(viewModel)
    , m_settings(settings)
{
    setMouseTracking(true);
    setFocusPolicy(Qt::StrongFocus);
    // Every pixel is painted (the backdrop with Source composition): nothing to clear first.
    setAttribute(Qt::WA_OpaquePaintEvent);
    connect(&m_viewModel, &ZoneEditorViewModel::changed, this, [this] {
        update();
        updateCursor();
    });
    connect(&m_viewModel, &ZoneEditorViewModel::splitLineChanged, this, &ZoneEditorView::splitLineMoved);
    connect(&m_settings, &Settings::changed, this, [this] {
        m_sprites.clear();
        update();
    });
}

ZoneEditorView::~ZoneEditorView() = default;

void ZoneEditorView::setOpaque(bool opaque)
{
    m_opaque = opaque;
    update();
}

QRectF ZoneEditorView::toCanvas(const QRectF& layoutRect) const
{
    const QSizeF canvas = m_viewModel.canvasSize();
    if (canvas.width() <= 0 || canvas.height() <= 0)
        return layoutRect;
    const double sx = width() / canvas.width();
    const double sy = height() / canvas.height();
    return QRectF(layoutRect.x() * sx, layoutRect.y() * sy, layoutRect.width() * sx, layoutRect.height() * sy);
}

QPointF ZoneEditorView::toCanvas(QPointF layoutPoint) const
{
    return toCanvas(QRectF(layoutPoint, QSizeF(0, 0))).topLeft();
}

QPointF ZoneEditorView::toLayout(QPointF canvasPoint) const
{
    const QSizeF canvas = m_viewModel.canvasSize();
    if (width() <= 0 || height() <= 0 || canvas.width() <= 0 || canvas.height() <= 0)
        return canvasPoint;
    return QPointF(canvasPoint.x() * canvas.width() / width(), canvasPoint.y() * canvas.height() / height());
}

QRect ZoneEditorView::lineArea() const
{
    if (!m_viewModel.showLine() || m_viewModel.splitLine().rect.isNull())
        return {};
    return toCanvas(LineView::placed(m_viewModel.splitLine())).toAlignedRect().adjusted(-3, -3, 3, 3);
}

void ZoneEditorView::splitLineMoved()
{
    const QRect now = lineArea();
    update(QRegion(m_lineArea) + QRegion(now));
    m_lineArea = now;
}

const QPixmap& ZoneEditorView::sprite(
    const QString& key, QSize size, const std::function<void(QPainter&, const QRectF&)>& draw) const
{
    const double ratio = devicePixelRatioF();
    const QString full = key + QLatin1Char('@') + QString::number(ratio);
    auto it = m_sprites.find(full);
    if (it == m_sprites.end()) {
        QPixmap pixmap(size * ratio);
        pixmap.setDevicePixelRatio(ratio);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        painter.setRenderHint(QPainter::Antialiasing);
        draw(painter, QRectF(QPointF(0, 0), QSizeF(size)));
        painter.end();
        it = m_sprites.insert(full, pixmap);
    }
    return *it;
}

QRectF ZoneEditorView::handleRect(const SplitBorder& border) const
{
    return HandleView::rectAt(centreOf(toCanvas(border.rect)), border.splitType);
}

QRectF ZoneEditorView::deleteRect(const SplitBorder& border) const
{
    // Beside the handle along the border, where the pointer passes on its way to it.
    const QPointF c = centreOf(toCanvas(border.rect));
    const QPointF at = border.splitType == SplitType::vertical ? QPointF(c.x(), c.y() + kDeleteDistance)
                                                               : QPointF(c.x() + kDeleteDistance, c.y());
    return QRectF(at.x() - kDeleteDiameter / 2, at.y() - kDeleteDiameter / 2, kDeleteDiameter, kDeleteDiameter);
}

QRectF ZoneEditorView::closeButtonRect() const
{
    const double x = width() - kButtonMargin - kButtonDiameter;
    const double y = height() / 2.0 - kButtonDiameter - kButtonSpacing / 2;
    return QRectF(x, y, kButtonDiameter, kButtonDiameter);
}

QRectF ZoneEditorView::resetButtonRect() const
{
    return closeButtonRect().translated(0, kButtonDiameter + kButtonSpacing);
}

QString ZoneEditorView::hintText()
{
    // The desktop's own name for the key: "Alt" here, the Option symbol on a Mac.
    return tr("Hold %1 for horizontal split").arg(KeyCombinations::modifiersDisplayText(Qt::AltModifier));
}

QRectF ZoneEditorView::hintRect() const
{
    const QFontMetricsF metrics(font());
    const QString keys = tr("Tab selects · S splits · arrows move a border · Delete removes · %1 undoes")
                             .arg(QKeySequence(QKeySequence::Undo).toString(QKeySequence::NativeText));
    const double w = std::max(metrics.horizontalAdvance(hintText()), metrics.horizontalAdvance(keys)) + 32;
    const double h = metrics.height() * 2 + 16;
    return QRectF((width() - w) / 2, 24, w, h);
}

ZoneEditorView::Hit ZoneEditorView::hitAt(QPointF p) const
{
    if (closeButtonRect().contains(p))
        return {Target::closeButton, -1};
    if (resetButtonRect().contains(p))
        return {Target::resetButton, -1};
    const std::shared_ptr<Layout>& layout = m_viewModel.layout();
    if (!layout)
        return {};
    for (const SplitBorder& border : layout->borders()) {
        if (deleteRect(border).contains(p))
            return {Target::deleteControl, border.id};
    }
    for (const SplitBorder& border : layout->borders()) {
        if (handleRect(border).adjusted(-kHandleSlop, -kHandleSlop, kHandleSlop, kHandleSlop).contains(p))
            return {Target::handle, border.id};
    }
    return {Target::zone, -1};
}

void ZoneEditorView::updateHover(QPointF p)
{
    const Hit hit = hitAt(p);
    const bool wasHandle = m_hover.target == Target::handle;
    const bool isHandle = hit.target == Target::handle;
    const bool wasButton = m_hover.target == Target::closeButton || m_hover.target == Target::resetButton;
    const bool isButton = hit.target == Target::closeButton || hit.target == Target::resetButton;
    const Hit before = m_hover;
    m_hover = hit;
    if (wasHandle && (!isHandle || before.borderId != hit.borderId))
        m_viewModel.setHandleHovered(before.borderId, false);
    if (isHandle && (!wasHandle || before.borderId != hit.borderId))
        m_viewModel.setHandleHovered(hit.borderId, true);
    m_viewModel.setDeleteHovered(hit.target == Target::deleteControl);
    if (wasButton != isButton)
        m_viewModel.setButtonHovered(isButton);
    updateCursor();
}

void ZoneEditorView::updateCursor()
{
    std::optional<SplitType> resizing;
    if (m_viewModel.isResizing()) {
        if (const std::optional<SplitBorder> border = m_viewModel.resizingBorder())
            resizing = border->splitType;
    } else if (m_hover.target == Target::handle && m_viewModel.layout()) {
        for (const SplitBorder& border : m_viewModel.layout()->borders()) {
            if (border.id == m_hover.borderId)
                resizing = border.splitType;
        }
    }
    if (resizing)
        setCursor(*resizing == SplitType::horizontal ? Qt::SizeVerCursor : Qt::SizeHorCursor);
    else if (m_hover.target == Target::zone)
        setCursor(Qt::CrossCursor);
    else
        setCursor(Qt::PointingHandCursor);
}

void ZoneEditorView::mousePressEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton)
        return;
    m_pressPosition = event->position();
    m_pressed = hitAt(event->position());
    if (m_pressed.target == Target::handle)
        m_viewModel.beginBorderDrag(m_pressed.borderId);
}

void ZoneEditorView::mouseMoveEvent(QMouseEvent* event)
{
    if (m_pressed.target == Target::handle && (event->buttons() & Qt::LeftButton)) {
        const std::optional<SplitBorder> border = m_viewModel.resizingBorder();
        if (border) {
            const QPointF translation = toLayout(event->position()) - toLayout(m_pressPosition);
            m_viewModel.dragBorder(border->splitType == SplitType::horizontal ? translation.y() : translation.x());
        }
        return;
    }
    updateHover(event->position());
}

void ZoneEditorView::mouseReleaseEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton)
        return;
    const Hit pressed = m_pressed;
    m_pressed = {};
    const Hit released = hitAt(event->position());
    switch (pressed.target) {
    case Target::handle:
        m_viewModel.endBorderDrag();
        updateHover(event->position());
        break;
    case Target::deleteControl:
        if (released.target == Target::deleteControl && released.borderId == pressed.borderId) {
            m_viewModel.deleteBorder(pressed.borderId);
            m_hover = {};
            updateHover(event->position());
        }
        break;
    case Target::closeButton:
        if (released.target == Target::closeButton)
            Q_EMIT closeRequested();
        break;
    case Target::resetButton:
        if (released.target == Target::resetButton)
            m_viewModel.resetZones();
        break;
    case Target::zone:
        if (released.target == Target::zone)
            m_viewModel.handleTap(toLayout(event->position()));
        break;
    case Target::none:
        break;
    }
}

void ZoneEditorView::leaveEvent(QEvent* event)
{
    QWidget::leaveEvent(event);
    if (m_pressed.target == Target::none)
        updateHover(QPointF(-1, -1));
}

bool ZoneEditorView::focusNextPrevChild(bool)
{
    // Tab walks the zones and borders, not the widgets.
    return false;
}

void ZoneEditorView::keyPressEvent(QKeyEvent* event)
{
    using Kind = ZoneEditorViewModel::FocusItem::Kind;
    const ZoneEditorViewModel::FocusItem focus = m_viewModel.focus();
    const Qt::KeyboardModifiers mods = event->modifiers();
    if (event->matches(QKeySequence::Undo)) {
        m_viewModel.undo();
    } else if (event->matches(QKeySequence::Redo)
        || (event->key() == Qt::Key_Z && mods == (Qt::ControlModifier | Qt::ShiftModifier))
        || (event->key() == Qt::Key_Y && mods == Qt::ControlModifier)) {
        m_viewModel.redo();
    } else if (event->key() == Qt::Key_Tab) {
        m_viewModel.focusNext();
    } else if (event->key() == Qt::Key_Backtab) {
        m_viewModel.focusPrevious();
    } else if (event->key() == Qt::Key_S && focus.kind == Kind::zone && !(mods & Qt::ControlModifier)) {
        m_viewModel.splitFocusedZone(mods & Qt::ShiftModifier ? SplitType::horizontal : SplitType::vertical);
    } else if ((event->key() == Qt::Key_Delete || event->key() == Qt::Key_Backspace) && focus.kind == Kind::border) {
        m_viewModel.deleteFocusedBorder();
    } else if (focus.kind == Kind::border
        && (event->key() == Qt::Key_Left || event->key() == Qt::Key_Right || event->key() == Qt::Key_Up
            || event->key() == Qt::Key_Down)) {
        const double step = mods & Qt::AltModifier ? 1 : 10;
        const bool forward = event->key() == Qt::Key_Right || event->key() == Qt::Key_Down;
        const bool horizontalKey = event->key() == Qt::Key_Left || event->key() == Qt::Key_Right;
        // A vertical border moves with the left and right keys, a horizontal one with up and down.
        const auto& borders = m_viewModel.layout()->borders();
        if (focus.index >= 0 && focus.index < static_cast<int>(borders.size())) {
            const bool vertical = borders[static_cast<size_t>(focus.index)].splitType == SplitType::vertical;
            if (vertical == horizontalKey)
                m_viewModel.moveFocusedBorder(forward ? step : -step);
        }
    } else {
        QWidget::keyPressEvent(event);
        return;
    }
    event->accept();
}

bool ZoneEditorView::event(QEvent* event)
{
    if (event->type() == QEvent::PaletteChange)
        m_sprites.clear();
    if (event->type() == QEvent::ToolTip) {
        const auto* help = static_cast<QHelpEvent*>(event);
        const Hit hit = hitAt(help->pos());
        if (hit.target == Target::closeButton)
            QToolTip::showText(help->globalPos(), tr("Close window"), this);
        else if (hit.target == Target::resetButton)
            QToolTip::showText(help->globalPos(), tr("Reset zones"), this);
        else
            QToolTip::hideText();
        return true;
    }
    return QWidget::event(event);
}

void ZoneEditorView::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    m_viewModel.startMonitoring();
}

void ZoneEditorView::hideEvent(QHideEvent* event)
{
    m_viewModel.stopMonitoring();
    QWidget::hideEvent(event);
}

void ZoneEditorView::paintEvent(QPaintEvent* event)
{
    const QRect dirty = event->rect();
    QPainter painter(this);
    const QColor accent = ZoneColors::borderAccent(m_settings);
    const std::shared_ptr<Layout>& layout = m_viewModel.layout();

    // 1. Backdrop and outline.
    QColor backdrop = palette().color(QPalette::Window);
    backdrop.setAlphaF(m_opaque ? 1.0 : kBackdropOpacity);
    painter.setCompositionMode(QPainter::CompositionMode_Source);
    painter.fillRect(rect(), backdrop);
    painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
    painter.setPen(QPen(accent, kOutlineWidth));
    painter.setBrush(Qt::NoBrush);
    painter.drawRect(
        QRectF(rect()).adjusted(kOutlineWidth / 2, kOutlineWidth / 2, -kOutlineWidth / 2, -kOutlineWidth / 2));
    if (!layout)
        return;

    // Keyboard focus on a zone: a dashed ring inside it.
    const ZoneEditorViewModel::FocusItem focus = m_viewModel.focus();
    if (focus.kind == ZoneEditorViewModel::FocusItem::Kind::zone && focus.index >= 0
        && focus.index < static_cast<int>(layout->zones().size())) {
        painter.setPen(QPen(accent, 2, Qt::DashLine));
        painter.drawRect(toCanvas(layout->zones()[static_cast<size_t>(focus.index)]->rect()).adjusted(6, 6, -6, -6));
    }

    // 2. Borders.
    for (const SplitBorder& border : layout->borders())
        BorderView {border, accent}.paint(painter, toCanvas(border.rect));

    // 3. Preview line.
    m_lineArea = lineArea();
    if (m_viewModel.showLine() && !m_viewModel.splitLine().rect.isNull()) {
        QColor lineColor = accent;
        lineColor.setAlphaF(0.6f);
        QRectF line = toCanvas(LineView::placed(m_viewModel.splitLine()));
        if (line.width() < 2)
            line.adjust(-(2 - line.width()) / 2, 0, (2 - line.width()) / 2, 0);
        if (line.height() < 2)
            line.adjust(0, -(2 - line.height()) / 2, 0, (2 - line.height()) / 2);
        LineView {m_viewModel.splitLine(), lineColor}.paint(painter, line);
    }

    // 4. Handles and delete controls, each drawn once per look and then copied.
    painter.setRenderHint(QPainter::Antialiasing);
    constexpr int kRing = 6; // room for the focus ring around a handle
    for (const SplitBorder& border : layout->borders()) {
        const QRectF handleAt = handleRect(border);
        if (dirty.intersects(handleAt.toAlignedRect().adjusted(-kRing, -kRing, kRing, kRing))) {
            HandleView handle;
            handle.direction = border.splitType;
            handle.highlighted = m_viewModel.hoveredBorderId() == border.id;
            handle.focused = focus.kind == ZoneEditorViewModel::FocusItem::Kind::border && focus.index == border.id;
            handle.color = accent;
            const QString key = QStringLiteral("handle-%1-%2-%3")
                                    .arg(int(handle.direction))
                                    .arg(int(handle.highlighted))
                                    .arg(int(handle.focused));
            const QSize size = handleAt.size().toSize() + QSize(2 * kRing, 2 * kRing);
            painter.drawPixmap(handleAt.topLeft() - QPointF(kRing, kRing),
                sprite(key, size,
                    [&](QPainter& p, const QRectF& r) { handle.paint(p, r.adjusted(kRing, kRing, -kRing, -kRing)); }));
        }
        const QRectF del = deleteRect(border);
        if (dirty.intersects(del.toAlignedRect().adjusted(-2, -2, 2, 2))) {
            const bool hot = m_viewModel.hoveringDelete() && m_hover.target == Target::deleteControl
                && m_hover.borderId == border.id;
            painter.drawPixmap(del.topLeft() - QPointF(2, 2),
                sprite(QStringLiteral("delete-%1").arg(int(hot)), del.size().toSize() + QSize(4, 4),
                    [&](QPainter& p, const QRectF& r) { paintDeleteControl(p, r.adjusted(2, 2, -2, -2), hot); }));
        }
    }

    // 5. Size labels of the dragged border.
    paintLabels(painter);

    // 6. The hint.
    const QRectF hint = hintRect();
    QColor capsule = palette().color(QPalette::Window);
    capsule.setAlphaF(0.9f);
    painter.setPen(Qt::NoPen);
    painter.setBrush(capsule);
    painter.drawRoundedRect(hint, 14, 14);
    painter.setPen(palette().color(QPalette::WindowText));
    const QFontMetricsF metrics(font());
    painter.drawText(QRectF(hint.left(), hint.top() + 8, hint.width(), metrics.height()), Qt::AlignCenter, hintText());
    painter.setPen(palette().color(QPalette::PlaceholderText));
    painter.drawText(QRectF(hint.left(), hint.top() + 8 + metrics.height(), hint.width(), metrics.height()),
        Qt::AlignCenter,
        tr("Tab selects · S splits · arrows move a border · Delete removes · %1 undoes")
            .arg(QKeySequence(QKeySequence::Undo).toString(QKeySequence::NativeText)));

    // 7. The buttons.
    paintButton(painter, closeButtonRect(), true);
    paintButton(painter, resetButtonRect(), false);
}

void ZoneEditorView::paintDeleteControl(QPainter& painter, const QRectF& del, bool hot) const
{
    const QColor accent = ZoneColors::borderAccent(m_settings);
    painter.setPen(QPen(hot ? QColor(Qt::white) : accent, 1.5));
    painter.setBrush(hot ? QColor(220, 53, 69) : palette().color(QPalette::Base));
    painter.drawEllipse(del);
    const double arm = del.width() * 0.2;
    painter.setPen(QPen(hot ? QColor(Qt::white) : palette().color(QPalette::Text), 2, Qt::SolidLine, Qt::RoundCap));
    painter.drawLine(del.center() + QPointF(-arm, -arm), del.center() + QPointF(arm, arm));
    painter.drawLine(del.center() + QPointF(-arm, arm), del.center() + QPointF(arm, -arm));
}

void ZoneEditorView::paintLabels(QPainter& painter) const
{
    const std::vector<QString> sizes = m_viewModel.sizeLabels();
    const std::optional<SplitBorder> border = m_viewModel.resizingBorder();
    if (sizes.size() != 2 || !border)
        return;
    const QPointF c = centreOf(toCanvas(border->rect));
    const bool vertical = border->splitType == SplitType::vertical;
    const QString symbol = vertical ? QStringLiteral("↔") : QStringLiteral("↕");
    const QPointF first = vertical ? QPointF(c.x() - kLabelOffset, c.y()) : QPointF(c.x(), c.y() - kLabelOffset);
    const QPointF second = vertical ? QPointF(c.x() + kLabelOffset, c.y()) : QPointF(c.x(), c.y() + kLabelOffset);
    PixelLabel {sizes[0], symbol}.paint(painter, first, palette());
    PixelLabel {sizes[1], symbol}.paint(painter, second, palette());
}

void ZoneEditorView::paintButton(QPainter& painter, const QRectF& rect, bool close) const
{
    const bool hot = m_hover.target == (close ? Target::closeButton : Target::resetButton);
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    QColor fill = palette().color(QPalette::WindowText);
    fill.setAlphaF(hot ? 0.85f : 0.65f);
    painter.setBrush(fill);
    painter.drawEllipse(rect);
    const QColor symbol = palette().color(QPalette::Window);
    painter.setPen(QPen(symbol, 2.5, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.setBrush(Qt::NoBrush);
    const QPointF c = rect.center();
    const double r = rect.width() * 0.22;
    if (close) {
        painter.drawLine(c + QPointF(-r, -r), c + QPointF(r, r));
        painter.drawLine(c + QPointF(-r, r), c + QPointF(r, -r));
    } else {
        const QRectF arc(c.x() - r, c.y() - r, 2 * r, 2 * r);
        painter.drawArc(arc, 90 * 16, -300 * 16);
        // The arrow head at the arc's open end, pointing clockwise.
        QPainterPath head;
        const QPointF tip(c.x(), c.y() - r);
        head.moveTo(tip + QPointF(-4, -4));
        head.lineTo(tip);
        head.lineTo(tip + QPointF(-4, 4));
        painter.drawPath(head);
    }
    painter.restore();
}
