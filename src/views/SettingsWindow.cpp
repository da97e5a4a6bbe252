#include "views/SettingsWindow.h"

#include "views/AppIcon.h"
#include "views/GeneralSettingsView.h"
#include "views/LayoutsSettingsView.h"
#include "views/LayoutsViewModel.h"
#include "views/MoreSettingsView.h"
#include "views/SettingsBinder.h"
#include "views/ShortcutsSettingsView.h"

#include <QApplication>
#include <QHBoxLayout>
#include <QPushButton>
#include <QScrollArea>
#include <QShortcut>
#include <QTabWidget>
#include <QVBoxLayout>

SettingsWindow::SettingsWindow(const Services& services, QWidget* parent)
    : QWidget(parent, Qt::Window)
    , m_binder(std::make_unique<SettingsBinder>(services.settings))
    , m_layoutsModel(new LayoutsViewModel(services.layouts, services.screens, this))
    , m_tabs(new QTabWidget(this))
    , m_more(new MoreSettingsView(*m_binder, services.versionText, this))
    , m_quit(new QPushButton(tr("&Quit %1").arg(QApplication::applicationName()), this))
{
    setObjectName(QStringLiteral("settingsWindow"));
    setWindowTitle(tr("%1 Settings").arg(QApplication::applicationName()));
    setWindowIcon(AppIcon::icon());

    // The General tab is the longest: it scrolls rather than making the window tall.
    auto* general = new QScrollArea(this);
    general->setWidget(new GeneralSettingsView(*m_binder, services.windows, services.reopenPlace, general));
    general->setWidgetResizable(true);
    general->setFrameShape(QFrame::NoFrame);
    m_tabs->addTab(general, tr("General"));
    m_tabs->addTab(new LayoutsSettingsView(*m_layoutsModel, services.recorderFor, this), tr("Layouts"));
    m_tabs->addTab(new ShortcutsSettingsView(*m_binder, services.recorderFor, this), tr("Shortcuts"));
    m_tabs->addTab(m_more, tr("More"));
    connect(m_layoutsModel, &LayoutsViewModel::editRequested, this, &SettingsWindow::editRequested);
    // Ctrl+1 to Ctrl+4 (Command on a Mac) go straight to a tab, whatever has the focus.
    for (int index = 0; index < m_tabs->count(); ++index) {
        auto* shortcut = new QShortcut(QKeySequence(Qt::CTRL | Qt::Key(Qt::Key_1 + index)), this);
        connect(shortcut, &QShortcut::activated, this, [this, index] { m_tabs->setCurrentIndex(index); });
        m_tabs->setTabToolTip(index, shortcut->key().toString(QKeySequence::NativeText));
    }

    m_quit->setObjectName(QStringLiteral("quit"));
    m_quit->hide();
    connect(m_quit, &QPushButton::clicked, this, &SettingsWindow::quitRequested);

    auto* layout = new QVBoxLayout(this);
    layout->addWidget(m_tabs, 1);
    auto* bottom = new QHBoxLayout();
    bottom->addStretch(1);
    bottom->addWidget(m_quit);
    layout->addLayout(bottom);
    resize(560, 660);
}

SettingsWindow::~SettingsWindow() = default;

void SettingsWindow::showTab(Tab tab)
{
    m_tabs->setCurrentIndex(static_cast<int>(tab));
}

SettingsWindow::Tab SettingsWindow::currentTab() const
{
    return static_cast<Tab>(m_tabs->currentIndex());
}

void SettingsWindow::present(const QRect& area)
{
    if (!isVisible() && area.isValid())
        move(area.center() - rect().center());
    show();
    setWindowState((windowState() & ~Qt::WindowMinimized) | Qt::WindowActive);
    raise();
    activateWindow();
}

void SettingsWindow::setQuitButtonVisible(bool visible)
{
    m_quit->setVisible(visible);
}

void SettingsWindow::closeEvent(QCloseEvent* event)
{
    QWidget::closeEvent(event);
    Q_EMIT closed();
}
