#include "views/DebugWindow.h"

#include "views/AppIcon.h"

#include <QApplication>
#include <QClipboard>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLabel>
#include <QPushButton>
#include <QScrollBar>
#include <QSet>
#include <QSplitter>
#include <QTextBrowser>
#include <QTimer>
#include <QTreeWidget>
#include <QTreeWidgetItemIterator>
#include <QVBoxLayout>

namespace {
constexpr int kRefreshMs = 500;
constexpr int kPathRole = Qt::UserRole;
} // namespace

DebugWindow::DebugWindow(DebugViewModel::Sources sources, QWidget* parent)
    : QWidget(parent, Qt::Window)
    , m_model(std::move(sources))
    , m_tree(new QTreeWidget(this))
    , m_inspect(new QPushButton(tr("&Why won't this window snap?"), this))
    , m_hint(new QLabel(this))
    , m_diagnosis(new QTextBrowser(this))
    , m_timer(new QTimer(this))
{
    setWindowTitle(tr("Parqueta Debug"));
    setWindowIcon(AppIcon::icon());
    setObjectName(QStringLiteral("debugWindow"));

    m_tree->setColumnCount(2);
    m_tree->setHeaderLabels({tr("What"), tr("Value")});
    m_tree->header()->setSectionResizeMode(0, QHeaderView::ResizeToContents);
    m_tree->setUniformRowHeights(true);

    m_inspect->setObjectName(QStringLiteral("inspect"));
    connect(m_inspect, &QPushButton::clicked, this, &DebugWindow::startInspecting);
    auto* copy = new QPushButton(tr("&Copy all"), this);
    copy->setToolTip(tr("The state shown here and the last diagnosis, as text for a bug report"));
    connect(copy, &QPushButton::clicked, this, [this] {
        QString text = DebugViewModel::toText(m_model.snapshot());
        if (!m_diagnosis->isHidden())
            text += QLatin1Char('\n') + diagnosisText();
        QApplication::clipboard()->setText(text);
    });
    auto* close = new QPushButton(tr("Close"), this);
    connect(close, &QPushButton::clicked, this, &QWidget::close);

    m_hint->setForegroundRole(QPalette::PlaceholderText);
    m_hint->setWordWrap(true);
    m_diagnosis->setObjectName(QStringLiteral("diagnosis"));
    m_diagnosis->setOpenLinks(false);
    m_diagnosis->hide();

    auto* splitter = new QSplitter(Qt::Vertical, this);
    splitter->addWidget(m_tree);
    splitter->addWidget(m_diagnosis);
    splitter->setStretchFactor(0, 3);
    splitter->setStretchFactor(1, 2);

    auto* buttons = new QHBoxLayout;
    buttons->addWidget(m_inspect);
    buttons->addWidget(copy);
    buttons->addStretch(1);
    buttons->addWidget(close);

    auto* layout = new QVBoxLayout(this);
    layout->addWidget(splitter, 1);
    layout->addWidget(m_hint);
    layout->addLayout(buttons);
    resize(720, 640);

    m_timer->setInterval(kRefreshMs);
    connect(m_timer, &QTimer::timeout, this, &DebugWindow::refresh);
}

DebugWindow::~DebugWindow() = default;

void DebugWindow::present()
{
    refresh();
    show();
    raise();
    activateWindow();
}

void DebugWindow::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    m_timer->start();
}

void DebugWindow::hideEvent(QHideEvent* event)
{
    // Nothing reads the engine while nobody looks.
    m_timer->stop();
    stopInspecting();
    QWidget::hideEvent(event);
}

void DebugWindow::refresh()
{
    // Rows keep their expansion across refreshes; they are known by their labels' path.
    QSet<QString> expanded;
    for (QTreeWidgetItemIterator it(m_tree); *it; ++it) {
        if ((*it)->isExpanded())
            expanded.insert((*it)->data(0, kPathRole).toString());
    }
    const int scroll = m_tree->verticalScrollBar()->value();
    m_tree->setUpdatesEnabled(false);
    m_tree->clear();
    fill(nullptr, m_model.snapshot(), QString(), expanded);
    if (!m_filledOnce) {
        // The first look: every section open one level.
        for (int i = 0; i < m_tree->topLevelItemCount(); ++i)
            m_tree->topLevelItem(i)->setExpanded(true);
        m_filledOnce = true;
    }
    m_tree->setUpdatesEnabled(true);
    m_tree->verticalScrollBar()->setValue(scroll);
}

void DebugWindow::fill(
    QTreeWidgetItem* parent, const QList<DebugNode>& nodes, const QString& path, const QSet<QString>& expanded)
{
    for (const DebugNode& node : nodes) {
        auto* item = parent ? new QTreeWidgetItem(parent) : new QTreeWidgetItem(m_tree);
        item->setText(0, node.label);
        item->setText(1, node.value);
        item->setToolTip(1, node.value);
        const QString itemPath = path + QLatin1Char('/') + node.label;
        item->setData(0, kPathRole, itemPath);
        fill(item, node.children, itemPath, expanded);
        if (expanded.contains(itemPath))
            item->setExpanded(true);
    }
}

void DebugWindow::startInspecting()
{
    if (m_inspecting)
        return;
    m_inspecting = true;
    m_inspect->setEnabled(false);
    m_hint->setText(tr("Click the window to explain. Esc cancels."));
    // The click goes to Parqueta, not to the window clicked.
    grabMouse(Qt::CrossCursor);
    grabKeyboard();
}

void DebugWindow::stopInspecting()
{
    if (!m_inspecting)
        return;
    m_inspecting = false;
    releaseMouse();
    releaseKeyboard();
    m_inspect->setEnabled(true);
    m_hint->clear();
}

void DebugWindow::mousePressEvent(QMouseEvent* event)
{
    if (!m_inspecting) {
        QWidget::mousePressEvent(event);
        return;
    }
    event->accept();
    stopInspecting();
    if (event->button() == Qt::LeftButton)
        inspectUnderPointer();
}

void DebugWindow::keyPressEvent(QKeyEvent* event)
{
    if (m_inspecting && event->key() == Qt::Key_Escape) {
        stopInspecting();
        return;
    }
    QWidget::keyPressEvent(event);
}

void DebugWindow::inspectUnderPointer()
{
    const SnapDiagnosis::Report report = m_model.inspectWindowUnderPointer();
    QString html = QStringLiteral("<p><b>%1</b></p><ul>").arg(report.verdict.toHtmlEscaped());
    for (const QString& finding : report.findings)
        html += QStringLiteral("<li>%1</li>").arg(finding.toHtmlEscaped());
    html += QStringLiteral("</ul><table cellspacing=\"2\">");
    for (const auto& [label, value] : report.facts)
        html += QStringLiteral("<tr><td><i>%1</i></td><td>%2</td></tr>").arg(label.toHtmlEscaped(), value.toHtmlEscaped());
    html += QStringLiteral("</table>");
    m_diagnosis->setHtml(html);
    if (m_diagnosis->isHidden()) {
        m_diagnosis->show();
        // The answer is what was asked for: give it the larger part.
        if (auto* splitter = qobject_cast<QSplitter*>(m_diagnosis->parentWidget()))
            splitter->setSizes({splitter->height() * 2 / 5, splitter->height() * 3 / 5});
    }
    present();
}

QString DebugWindow::diagnosisText() const
{
    return m_diagnosis->toPlainText();
}
