#include "SettingsFile.h"

#include "ParquetaProcess.h"
#include "core/FileSettingsBackend.h"
#include "core/Settings.h"
#include "models/LayoutBridge.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

SettingsFile::SettingsFile(QString path)
    : m_path(path.isEmpty() ? ParquetaProcess::settingsPath() : std::move(path))
{ }

bool SettingsFile::exists() const
{
    return QFileInfo::exists(m_path);
}

void SettingsFile::remove()
{
    QFile::remove(m_path);
    QFile::remove(FileSettingsBackend::backupPath(m_path));
    // The windows a previous run remembered in their zones go with it.
    QFile::remove(QFileInfo(m_path).absoluteDir().filePath(QStringLiteral("snapped-windows.json")));
}

bool SettingsFile::edit(const std::function<void(Settings&)>& edit)
{
    QDir().mkpath(QFileInfo(m_path).absolutePath());
    Settings settings(std::make_unique<FileSettingsBackend>(m_path));
    edit(settings);
    return settings.sync();
}

bool SettingsFile::activateLayout(int index)
{
    bool ok = true;
    const bool written = edit([&](Settings& settings) {
        const QMap<QString, QList<QByteArray>> catalogues = settings.blobLists(Keys::layouts);
        QMap<QString, QString> active = settings.strings(Keys::activeLayouts);
        ok = !catalogues.isEmpty();
        for (auto it = catalogues.constBegin(); it != catalogues.constEnd(); ++it) {
            const std::shared_ptr<Layout> layout
                = index < it.value().size() ? LayoutBridge::deserialize(it.value().at(index)) : nullptr;
            if (!layout) {
                ok = false;
                continue;
            }
            active.insert(it.key(), layout->idText());
        }
        settings.setStrings(Keys::activeLayouts, active);
    });
    return ok && written;
}
