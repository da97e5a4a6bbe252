#include "views/OnboardingWindow.h"

#include "models/Layout.h"
#include "platform/KeyCombination.h"
#include "views/AppIcon.h"
#include "views/LayoutsSettingsView.h"
#include "views/SettingsText.h"

#include <QApplication>
#include <QButtonGroup>
#include <QCloseEvent>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QPushButton>
#include <QShortcut>
#include <QStackedWidget>
#include <QToolButton>
#include <QVBoxLayout>

namespace {

const QSize kPicture(176, 110);

QLabel* title(const QString& text, QWidget* parent)
{
    auto* label = new QLabel(text, parent);
    QFont font = label->font();
    font.setPointSizeF(font.pointSizeF() * 1.45);
    font.setBold(true);
    label->setFont(font);
    label->setWordWrap(true);
    label->setAlignment(Qt::AlignCenter);
    return label;
}

QLabel* paragraph(const QString& text, QWidget* parent)
{
    auto* label = new QLabel(text, parent);
    label->setWordWrap(true);
    return label;
}

} // namespace

OnboardingWindow::OnboardingWindow(
    LayoutManager& layouts, ScreenManager& screens, GlobalShortcuts& shortcuts, bool trayReachable, QWidget* parent)
    : QWidget(parent, Qt::Window)
    , m_model(layouts, screens, shortcuts, trayReachable)
    , m_pages(new QStackedWidget(this))
    , m_progress(new QLabel(this))
    , m_back(new QPushButton(tr("&Back"), this))
    , m_next(new QPushButton(this))
    , m_choices(new QButtonGroup(this))
{
    setWindowTitle(tr("Welcome to %1").arg(QApplication::applicationName()));
    setWindowIcon(AppIcon::icon());
    setObjectName(QStringLiteral("onboarding"));
    setAttribute(Qt::WA_DeleteOnClose, false);

    m_pages->addWidget(welcomePage());
    m_pages->addWidget(choicePage());
    m_pages->addWidget(donePage());

    m_progress->setForegroundRole(QPalette::PlaceholderText);
    m_back->setObjectName(QStringLiteral("back"));
    m_next->setObjectName(QStringLiteral("next"));
    m_next->setDefault(true);
    m_next->setAutoDefault(true);
    connect(m_back, &QPushButton::clicked, &m_model, &OnboardingViewModel::back);
    connect(m_next, &QPushButton::clicked, &m_model, &OnboardingViewModel::next);
    connect(&m_model, &OnboardingViewModel::stepChanged, this, &OnboardingWindow::showStep);
    connect(&m_model, &OnboardingViewModel::finished, this, &QWidget::close);
    // Enter continues wherever the focus is (a layout button takes Space), unless it is
    // on Back.
    for (const QKeySequence& key : {QKeySequence(Qt::Key_Return), QKeySequence(Qt::Key_Enter)})
        connect(new QShortcut(key, this), &QShortcut::activated, this,
            [this] { (focusWidget() == m_back ? m_back : m_next)->click(); });
    connect(new QShortcut(QKeySequence(Qt::Key_Escape), this), &QShortcut::activated, this, &QWidget::close);

    auto* buttons = new QHBoxLayout;
    buttons->addWidget(m_progress);
    buttons->addStretch(1);
    buttons->addWidget(m_back);
    buttons->addWidget(m_next);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(28, 24, 28, 20);
    layout->addWidget(m_pages, 1);
    layout->addLayout(buttons);
    setMinimumWidth(640);
    showStep(m_model.step());
}

QWidget* OnboardingWindow::welcomePage()
{
    auto* page = new QWidget(this);
    auto* icon = new QLabel(page);
    icon->setPixmap(AppIcon::pixmap(88));
    icon->setAlignment(Qt::AlignCenter);
    auto* layout = new QVBoxLayout(page);
    layout->addWidget(icon);
    layout->addWidget(title(tr("Get to know Parqueta and get started creating your own layouts."), page));
    layout->addSpacing(8);
    layout->addWidget(paragraph(tr("<b>Zones.</b> Every screen has a layout: a set of zones that tile it. A window "
                                   "dropped on a zone fills it exactly."),
        page));
    layout->addWidget(paragraph(tr("<b>Snapping.</b> Drag a window by its title bar and hold <b>Shift</b>, or click "
                                   "the <b>right</b> mouse button while dragging: the zones appear. Drop the window "
                                   "on one. Hold <b>%1</b> as well to span several zones.")
                                    .arg(KeyCombinations::modifiersDisplayText(Qt::AltModifier)),
        page));
    auto* tray = paragraph(tr("<b>Finding Parqueta.</b> %1").arg(m_model.trayText()), page);
    tray->setObjectName(QStringLiteral("trayText"));
    layout->addWidget(tray);
    layout->addStretch(1);
    return page;
}

QWidget* OnboardingWindow::choicePage()
{
    auto* page = new QWidget(this);
    auto* layout = new QVBoxLayout(page);
    layout->addWidget(title(tr("Pick a layout to start with"), page));
    layout->addWidget(SettingsText::caption(tr("It becomes the layout of every screen. Change it any time from the "
                                                "tray, in Settings, or reshape it in the layout editor."),
        page));
    layout->addSpacing(8);
    auto* row = new QHBoxLayout;
    m_choices->setExclusive(true);
    for (DefaultLayoutType type : OnboardingViewModel::choices()) {
        auto* button = new QToolButton(page);
        button->setObjectName(QStringLiteral("choice%1").arg(int(type)));
        button->setText(OnboardingViewModel::choiceName(type));
        button->setAccessibleName(button->text());
        button->setToolButtonStyle(Qt::ToolButtonTextUnderIcon);
        button->setIconSize(kPicture);
        button->setCheckable(true);
        button->setAutoRaise(true);
        button->setFocusPolicy(Qt::StrongFocus);
        button->installEventFilter(this);
        m_choices->addButton(button, int(type));
        m_choiceButtons << button;
        row->addWidget(button);
    }
    connect(m_choices, &QButtonGroup::idClicked, this,
        [this](int id) { m_model.choose(static_cast<DefaultLayoutType>(id)); });
    connect(&m_model, &OnboardingViewModel::chosenChanged, this, &OnboardingWindow::paintChoices);
    layout->addLayout(row);
    layout->addStretch(1);
    paintChoices();
    return page;
}

QWidget* OnboardingWindow::donePage()
{
    auto* page = new QWidget(this);
    auto* layout = new QVBoxLayout(page);
    layout->addWidget(title(tr("Great! You're all set to start using Parqueta."), page));
    layout->addWidget(SettingsText::caption(tr("These keys act on the focused window from anywhere. Choose others in "
                                                "Settings, under Shortcuts."),
        page));
    layout->addSpacing(8);
    auto* keys = new QFormLayout;
    keys->setLabelAlignment(Qt::AlignRight);
    for (const auto& [name, combination] : m_model.shortcutRows()) {
        auto* value = new QLabel(QStringLiteral("<b>%1</b>").arg(combination.toHtmlEscaped()), page);
        value->setObjectName(QStringLiteral("keys"));
        keys->addRow(name + QLatin1Char(':'), value);
    }
    layout->addLayout(keys);
    layout->addStretch(1);
    return page;
}

void OnboardingWindow::showStep(OnboardingViewModel::Step step)
{
    m_pages->setCurrentIndex(int(step));
    m_progress->setText(tr("Step %1 of %2").arg(int(step) + 1).arg(m_pages->count()));
    m_back->setEnabled(m_model.canGoBack());
    m_next->setText(m_model.isLastStep() ? tr("&Done") : tr("&Continue"));
    if (step == OnboardingViewModel::Step::ChooseLayout) {
        const std::optional<DefaultLayoutType> chosen = m_model.chosen();
        m_choiceButtons.value(chosen ? int(*chosen) : 0)->setFocus();
    } else {
        m_next->setFocus();
    }
}

void OnboardingWindow::paintChoices()
{
    const std::optional<DefaultLayoutType> chosen = m_model.chosen();
    for (DefaultLayoutType type : OnboardingViewModel::choices()) {
        QAbstractButton* button = m_choices->button(int(type));
        const bool isChosen = chosen == type;
        button->setChecked(isChosen);
        if (const std::shared_ptr<Layout> layout = m_model.preview(type))
            button->setIcon(QIcon(LayoutsSettingsView::picture(*layout, kPicture, palette(), isChosen)));
    }
}

bool OnboardingWindow::eventFilter(QObject* watched, QEvent* event)
{
    // Left and right walk the layouts and choose as they go, like a radio group.
    if (event->type() == QEvent::KeyPress) {
        const int key = static_cast<QKeyEvent*>(event)->key();
        const int at = int(m_choiceButtons.indexOf(qobject_cast<QToolButton*>(watched)));
        if (at >= 0 && (key == Qt::Key_Left || key == Qt::Key_Right)) {
            const int to = std::clamp(at + (key == Qt::Key_Right ? 1 : -1), 0, int(m_choiceButtons.size()) - 1);
            m_choiceButtons[to]->setFocus();
            m_choiceButtons[to]->click();
            return true;
        }
    }
    return QWidget::eventFilter(watched, event);
}

void OnboardingWindow::changeEvent(QEvent* event)
{
    if (event->type() == QEvent::PaletteChange)
        paintChoices();
    QWidget::changeEvent(event);
}

void OnboardingWindow::present()
{
    show();
    raise();
    activateWindow();
}

void OnboardingWindow::closeEvent(QCloseEvent* event)
{
    QWidget::closeEvent(event);
    Q_EMIT closed();
}
