#include "views/ShortcutRecorder.h"

#include "managers/GlobalShortcuts.h"

#include <QAction>
#include <QFocusEvent>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QPushButton>
#include <QToolButton>
#include <QVBoxLayout>

namespace {

// Readable as an error on the light and the dark palette alike.
const QColor errorColor(0xd0, 0x2c, 0x2c);

} // namespace

ShortcutRecorder::ShortcutRecorder(GlobalShortcuts& shortcuts, const QString& name, QWidget* parent)
    : QWidget(parent)
    , m_model(shortcuts, name)
{
    m_button = new QPushButton(this);
    m_button->setObjectName(QStringLiteral("recordButton"));
    m_button->setAccessibleName(GlobalShortcuts::displayName(name));
    m_button->setCheckable(true);
    // Wide enough for a long combination, so the row does not jump as keys are pressed.
    const auto longest = KeyCombination(
        Qt::ControlModifier | Qt::AltModifier | Qt::ShiftModifier | Qt::MetaModifier, Qt::Key_PageDown);
    m_button->setMinimumWidth(m_button->fontMetrics().horizontalAdvance(KeyCombinations::toDisplayText(longest)) + 24);
    m_button->setContextMenuPolicy(Qt::ActionsContextMenu);
    auto* clearAction = new QAction(tr("Clear Shortcut"), m_button);
    auto* resetAction = new QAction(tr("Reset to Default"), m_button);
    m_button->addAction(clearAction);
    m_button->addAction(resetAction);

    m_reset = new QToolButton(this);
    m_reset->setObjectName(QStringLiteral("resetButton"));
    m_reset->setText(QStringLiteral("↺"));
    m_reset->setToolTip(tr("Reset to Default"));
    m_reset->setAccessibleName(tr("Reset to Default"));
    m_reset->setAutoRaise(true);

    m_error = new QLabel(this);
    m_error->setObjectName(QStringLiteral("error"));
    m_error->setWordWrap(true);
    QFont small = m_error->font();
    small.setPointSizeF(small.pointSizeF() * 0.85);
    m_error->setFont(small);
    QPalette palette = m_error->palette();
    palette.setColor(QPalette::WindowText, errorColor);
    m_error->setPalette(palette);

    auto* row = new QHBoxLayout;
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(4);
    row->addWidget(m_button);
    row->addWidget(m_reset);
    row->addStretch(1);
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(2);
    column->addLayout(row);
    column->addWidget(m_error);

    connect(m_button, &QPushButton::clicked, this, [this] {
        if (m_model.isListening()) {
            m_model.cancel();
            return;
        }
        m_model.startListening();
        m_button->setFocus(Qt::MouseFocusReason);
    });
    connect(m_reset, &QToolButton::clicked, &m_model, &ShortcutRecorderModel::resetToDefault);
    connect(resetAction, &QAction::triggered, &m_model, &ShortcutRecorderModel::resetToDefault);
    connect(clearAction, &QAction::triggered, &m_model, &ShortcutRecorderModel::clear);
    connect(&m_model, &ShortcutRecorderModel::changed, this, &ShortcutRecorder::showState);
    m_button->installEventFilter(this);
    // A label's buddy shortcut, and Tab, land on the button.
    setFocusProxy(m_button);
    showState();
}

ShortcutRecorder::~ShortcutRecorder()
{
    // The button loses its focus as it goes, after the model is gone.
    m_button->removeEventFilter(this);
}

bool ShortcutRecorder::eventFilter(QObject* watched, QEvent* event)
{
    if (watched != m_button || !m_model.isListening())
        return QWidget::eventFilter(watched, event);
    switch (event->type()) {
    case QEvent::ShortcutOverride:
        // Keys pressed for the recorder are not the window's shortcuts.
        event->accept();
        return true;
    case QEvent::KeyPress:
    case QEvent::KeyRelease:
        // Seen here before the button, so Tab and Space are recorded too.
        return m_model.handleKeyEvent(*static_cast<QKeyEvent*>(event));
    case QEvent::FocusOut:
        m_model.cancel();
        break;
    default:
        break;
    }
    return QWidget::eventFilter(watched, event);
}

void ShortcutRecorder::showState()
{
    m_button->setText(m_model.text());
    m_button->setChecked(m_model.isListening());
    m_reset->setEnabled(m_model.canResetToDefault());
    m_error->setText(m_model.error());
    m_error->setVisible(!m_model.error().isEmpty());
}
