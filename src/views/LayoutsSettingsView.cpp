#include "views/LayoutsSettingsView.h"

#include "models/Zone.h"
#include "views/LayoutsViewModel.h"
#include "views/SettingsText.h"

#include <QComboBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QListWidget>
#include <QMenu>
#include <QMessageBox>
#include <QPainter>
#include <QPushButton>
#include <QVBoxLayout>

namespace {

constexpr QSize kPicture(112, 70);

} // namespace

LayoutsSettingsView::LayoutsSettingsView(LayoutsViewModel& model, RecorderFactory recorderFor, QWidget* parent)
    : QWidget(parent)
    , m_model(model)
    , m_recorderFor(std::move(recorderFor))
    , m_screens(new QComboBox(this))
    , m_list(new QListWidget(this))
    , m_edit(new QPushButton(tr("Edit"), this))
    , m_remove(new QPushButton(tr("Remove"), this))
    , m_shortcutBox(new QVBoxLayout())
{
    m_confirm = [this](const QString& question) {
        return QMessageBox::question(this, windowTitle(), question) == QMessageBox::Yes;
    };
    m_screens->setObjectName(QStringLiteral("screens"));
    m_list->setObjectName(QStringLiteral("layouts"));
    m_list->setViewMode(QListView::IconMode);
    m_list->setIconSize(kPicture);
    m_list->setMovement(QListView::Static);
    m_list->setResizeMode(QListView::Adjust);
    m_list->setSpacing(8);
    m_list->setSelectionMode(QAbstractItemView::SingleSelection);
    m_edit->setObjectName(QStringLiteral("edit"));
    m_remove->setObjectName(QStringLiteral("remove"));
    auto* add = new QPushButton(tr("Add"), this);
    add->setObjectName(QStringLiteral("add"));
    auto* presets = new QMenu(add);
    presets->addAction(tr("Two columns"), this, [this] { m_model.add(DefaultLayoutType::vertical); });
    presets->addAction(tr("Column and two rows"), this, [this] { m_model.add(DefaultLayoutType::rightT); });
    presets->addAction(tr("Two columns of two rows"), this, [this] { m_model.add(DefaultLayoutType::doubleRightT); });
    presets->addAction(tr("Single zone"), this, [this] { m_model.add(std::nullopt); });
    add->setMenu(presets);

    auto* layout = new QVBoxLayout(this);
    auto* top = new QHBoxLayout();
    top->addWidget(new QLabel(tr("Screen"), this));
    top->addWidget(m_screens, 1);
    layout->addLayout(top);
    layout->addWidget(m_list, 1);
    auto* buttons = new QHBoxLayout();
    buttons->addWidget(m_edit);
    buttons->addWidget(m_remove);
    buttons->addStretch(1);
    buttons->addWidget(add);
    layout->addLayout(buttons);
    layout->addWidget(SettingsText::caption(tr("Press a key combination to set a shortcut for this layout."), this));
    layout->addLayout(m_shortcutBox);

    connect(m_screens, &QComboBox::currentIndexChanged, this, [this](int index) {
        if (!m_reloading)
            m_model.selectScreen(index);
    });
    // One click on a layout makes it the active one.
    connect(m_list, &QListWidget::itemClicked, this,
        [this](QListWidgetItem* item) { m_model.activate(m_list->row(item)); });
    connect(m_list, &QListWidget::itemDoubleClicked, this,
        [this](QListWidgetItem* item) { m_model.edit(m_list->row(item)); });
    connect(m_list, &QListWidget::currentRowChanged, this, [this](int row) {
        if (!m_reloading)
            showShortcutOf(row);
    });
    connect(m_edit, &QPushButton::clicked, this, [this] { m_model.edit(pickedIndex()); });
    connect(m_remove, &QPushButton::clicked, this, [this] {
        const int index = pickedIndex();
        if (index >= 0 && m_confirm(tr("Are you sure you want to remove this layout?")))
            m_model.remove(index);
    });
    connect(&m_model, &LayoutsViewModel::changed, this, &LayoutsSettingsView::reload);
    reload();
}

int LayoutsSettingsView::pickedIndex() const
{
    const int row = m_list->currentRow();
    return row >= 0 ? row : m_model.activeIndex();
}

QPixmap LayoutsSettingsView::picture(const Layout& layout, QSize size, const QPalette& palette, bool active)
{
    const qreal ratio = 2; // crisp on HiDPI panels too
    QPixmap pixmap(size * ratio);
    pixmap.setDevicePixelRatio(ratio);
    pixmap.fill(Qt::transparent);
    QRectF bounds;
    for (const std::shared_ptr<Zone>& zone : layout.zones())
        bounds |= zone->rect();
    if (bounds.isEmpty())
        return pixmap;
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    const qreal scale = std::min((size.width() - 4) / bounds.width(), (size.height() - 4) / bounds.height());
    const QPointF origin((size.width() - bounds.width() * scale) / 2, (size.height() - bounds.height() * scale) / 2);
    const QColor accent = palette.color(QPalette::Highlight);
    for (const std::shared_ptr<Zone>& zone : layout.zones()) {
        const QRectF r = zone->rect().translated(-bounds.topLeft());
        const QRectF drawn(origin + r.topLeft() * scale, r.size() * scale);
        painter.setPen(QPen(active ? accent : palette.color(QPalette::Text), active ? 2 : 1));
        QColor fill = active ? accent : palette.color(QPalette::Mid);
        fill.setAlphaF(0.25);
        painter.setBrush(fill);
        painter.drawRoundedRect(drawn.adjusted(1.5, 1.5, -1.5, -1.5), 3, 3);
    }
    return pixmap;
}

void LayoutsSettingsView::reload()
{
    m_reloading = true;
    m_screens->clear();
    for (const Screen& screen : m_model.screens())
        m_screens->addItem(screen.name());
    m_screens->setCurrentIndex(m_model.screenIndex());

    const int previous = m_list->currentRow();
    m_list->clear();
    const LayoutList layouts = m_model.layouts();
    const int active = m_model.activeIndex();
    for (size_t i = 0; i < layouts.size(); ++i) {
        const bool isActive = int(i) == active;
        auto* item = new QListWidgetItem(QIcon(picture(*layouts[i], kPicture, palette(), isActive)),
            isActive ? tr("Layout %1 (active)").arg(i + 1) : tr("Layout %1").arg(i + 1), m_list);
        item->setToolTip(layouts[i]->idText());
    }
    const int row = previous >= 0 && previous < m_list->count() ? previous : active;
    m_list->setCurrentRow(row);
    m_edit->setEnabled(!layouts.empty());
    m_remove->setEnabled(!layouts.empty());
    m_reloading = false;
    showShortcutOf(row);
}

void LayoutsSettingsView::showShortcutOf(int index)
{
    delete m_recorder;
    m_recorder = nullptr;
    const LayoutList layouts = m_model.layouts();
    if (index < 0 || size_t(index) >= layouts.size() || !m_recorderFor)
        return;
    m_recorder = m_recorderFor(layouts[size_t(index)]->idText(), this);
    if (m_recorder)
        m_shortcutBox->addWidget(m_recorder);
}
