#include "views/SettingsBinder.h"

#include "core/Settings.h"

#include <QAbstractButton>
#include <QPointer>
#include <QWidget>

SettingsBinder::SettingsBinder(Settings& settings, QObject* parent)
    : QObject(parent)
    , m_settings(settings)
{
    connect(&m_settings, &Settings::changed, this, [this](const QString& name) {
        for (const auto& [key, refresh] : m_refreshers) {
            if (key == name)
                refresh();
        }
    });
}

void SettingsBinder::follow(const char* name, std::function<void()> refresh)
{
    refresh();
    m_refreshers.emplace_back(QString::fromLatin1(name), std::move(refresh));
}

void SettingsBinder::bind(QAbstractButton* toggle, const BoolKey& key)
{
    toggle->setCheckable(true);
    toggle->setObjectName(QString::fromLatin1(key.name));
    const BoolKey* stored = &key;
    connect(toggle, &QAbstractButton::toggled, this, [this, stored](bool on) {
        if (m_settings.value(*stored) != on)
            m_settings.setValue(*stored, on);
    });
    QPointer<QAbstractButton> guarded(toggle);
    follow(key.name, [this, guarded, stored] {
        if (guarded)
            guarded->setChecked(m_settings.value(*stored));
    });
}

void SettingsBinder::showWhile(QWidget* widget, const BoolKey& key)
{
    QPointer<QWidget> guarded(widget);
    const BoolKey* stored = &key;
    follow(key.name, [this, guarded, stored] {
        if (guarded)
            guarded->setVisible(m_settings.value(*stored));
    });
}
