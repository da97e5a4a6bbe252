#include "views/ExcludedApplicationsView.h"

#include "core/Settings.h"
#include "views/ExcludedApplicationsModel.h"
#include "views/SettingsBinder.h"

#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QVBoxLayout>

#include <algorithm>

ExcludedApplicationsView::ExcludedApplicationsView(SettingsBinder& binder, WindowManager& windows, QWidget* parent)
    : QWidget(parent)
    , m_model(new ExcludedApplicationsModel(binder.settings(), windows, this))
    , m_list(new QListWidget(this))
    , m_name(new QLineEdit(this))
    , m_add(new QPushButton(tr("Add"), this))
    , m_remove(new QPushButton(tr("Rem&ove"), this))
    , m_pick(new QPushButton(this))
{
    m_list->setObjectName(QString::fromLatin1(Keys::excludedApplications.name));
    m_list->setAccessibleName(tr("Applications Parqueta never snaps"));
    m_list->setMaximumHeight(110);
    m_name->setObjectName(QStringLiteral("excludedApplicationName"));
    m_name->setPlaceholderText(tr("Class name, for example xterm"));
    m_name->setAccessibleName(tr("Application to add"));
    m_add->setObjectName(QStringLiteral("addExcludedApplication"));
    m_remove->setObjectName(QStringLiteral("removeExcludedApplication"));
    m_pick->setObjectName(QStringLiteral("pickWindow"));

    connect(m_name, &QLineEdit::returnPressed, this, &ExcludedApplicationsView::addTyped);
    connect(m_name, &QLineEdit::textChanged, this,
        [this](const QString& text) { m_add->setEnabled(!text.trimmed().isEmpty()); });
    connect(m_add, &QPushButton::clicked, this, &ExcludedApplicationsView::addTyped);
    connect(m_remove, &QPushButton::clicked, this, &ExcludedApplicationsView::removeSelected);
    m_list->installEventFilter(this);
    connect(m_list, &QListWidget::currentRowChanged, this, [this](int row) { m_remove->setEnabled(row >= 0); });
    connect(m_pick, &QPushButton::clicked, m_model, &ExcludedApplicationsModel::startPicking);
    connect(m_model, &ExcludedApplicationsModel::pickingChanged, this, &ExcludedApplicationsView::showPicking);

    auto* entry = new QHBoxLayout();
    entry->addWidget(m_name, 1);
    entry->addWidget(m_add);
    auto* buttons = new QHBoxLayout();
    buttons->addWidget(m_pick);
    buttons->addStretch(1);
    buttons->addWidget(m_remove);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_list);
    layout->addLayout(entry);
    layout->addLayout(buttons);

    m_add->setEnabled(false);
    showPicking(false);
    binder.follow(Keys::excludedApplications.name, [this] { refresh(); });
}

void ExcludedApplicationsView::refresh()
{
    const int row = m_list->currentRow();
    m_list->clear();
    m_list->addItems(m_model->names());
    m_list->setCurrentRow(std::min(row, m_list->count() - 1));
    m_remove->setEnabled(m_list->currentRow() >= 0);
}

void ExcludedApplicationsView::addTyped()
{
    if (m_model->add(m_name->text()))
        m_name->clear();
}

void ExcludedApplicationsView::removeSelected()
{
    m_model->remove(m_list->currentRow());
}

void ExcludedApplicationsView::showPicking(bool picking)
{
    m_pick->setText(m_model->pickButtonText());
    if (picking) {
        // The click goes to Parqueta, not to the window clicked.
        grabMouse(Qt::CrossCursor);
        grabKeyboard();
    } else {
        if (QWidget::mouseGrabber() == this)
            releaseMouse();
        if (QWidget::keyboardGrabber() == this)
            releaseKeyboard();
    }
}

bool ExcludedApplicationsView::eventFilter(QObject* watched, QEvent* event)
{
    // Delete in the list removes the selected name, as the button does.
    if (watched == m_list && event->type() == QEvent::KeyPress
        && static_cast<QKeyEvent*>(event)->matches(QKeySequence::Delete) && m_list->currentRow() >= 0) {
        removeSelected();
        return true;
    }
    return QWidget::eventFilter(watched, event);
}

void ExcludedApplicationsView::mousePressEvent(QMouseEvent* event)
{
    if (!m_model->isPicking()) {
        QWidget::mousePressEvent(event);
        return;
    }
    event->accept();
    if (event->button() == Qt::LeftButton)
        m_model->pickUnderPointer();
    else
        m_model->cancelPicking();
}

void ExcludedApplicationsView::keyPressEvent(QKeyEvent* event)
{
    if (m_model->isPicking() && event->key() == Qt::Key_Escape) {
        m_model->cancelPicking();
        return;
    }
    QWidget::keyPressEvent(event);
}

void ExcludedApplicationsView::hideEvent(QHideEvent* event)
{
    m_model->cancelPicking();
    QWidget::hideEvent(event);
}
