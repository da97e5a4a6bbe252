#include "views/MoreSettingsView.h"

#include "core/Settings.h"
#include "views/SettingsBinder.h"
#include "views/SettingsText.h"

#include <QApplication>
#include <QCheckBox>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

MoreSettingsView::MoreSettingsView(SettingsBinder& binder, const QString& versionText, QWidget* parent)
    : QWidget(parent)
    , m_updates(new QWidget(this))
    , m_note(new QLabel(this))
{
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(SettingsText::heading(tr("Updates"), this));

    auto* updates = new QVBoxLayout(m_updates);
    updates->setContentsMargins(0, 0, 0, 0);
    auto* check = new QPushButton(tr("Check for updates…"), m_updates);
    check->setObjectName(QStringLiteral("checkForUpdates"));
    check->setSizePolicy(QSizePolicy::Maximum, QSizePolicy::Fixed);
    connect(check, &QPushButton::clicked, this, &MoreSettingsView::checkForUpdatesRequested);
    updates->addWidget(check);
    auto* automatic = new QCheckBox(tr("Automatically &check for updates"), m_updates);
    binder.bind(automatic, Keys::automaticUpdates);
    updates->addWidget(automatic);
    auto* beta = new QCheckBox(tr("Receive &beta updates"), m_updates);
    binder.bind(beta, Keys::betaUpdates);
    updates->addWidget(beta);
    layout->addWidget(m_updates);

    m_note->setWordWrap(true);
    m_note->setForegroundRole(QPalette::PlaceholderText);
    m_note->hide();
    layout->addWidget(m_note);

    layout->addStretch(1);
    auto* version = new QLabel(tr("%1 %2").arg(QApplication::applicationName(), versionText), this);
    version->setObjectName(QStringLiteral("version"));
    version->setTextInteractionFlags(Qt::TextSelectableByMouse);
    version->setForegroundRole(QPalette::PlaceholderText);
    version->setAlignment(Qt::AlignCenter);
    layout->addWidget(version);
}

void MoreSettingsView::setUpdatesAvailable(bool available, const QString& note)
{
    m_updates->setVisible(available);
    m_note->setText(note);
    m_note->setVisible(!note.isEmpty());
}
