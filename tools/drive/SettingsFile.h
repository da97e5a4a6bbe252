#pragma once

#include <QString>

#include <functional>

class Settings;

// The settings file of the program under test. Edits go through the real settings store,
// so they are stored in exactly the form the program expects, and written atomically as
// a careful editor would: made while the program runs, they are what another program's
// edit is to it.
class SettingsFile final
{
public:
    // ParquetaProcess::settingsPath() unless told otherwise.
    explicit SettingsFile(QString path = {});

    const QString& path() const { return m_path; }
    bool exists() const;
    // Removes the file, its backup and the snapped windows' state beside it, so the next
    // start is a first run.
    void remove();
    // Opens the store on the file, lets edit change it and writes it out.
    bool edit(const std::function<void(Settings&)>& edit);
    // Makes the layout at that position of every stored screen's catalogue its active
    // layout (after a first run the catalogue holds the presets: 0 two columns, 1 a
    // column and two rows, 2 two columns and two rows). False when a catalogue is
    // shorter or the file holds none.
    bool activateLayout(int index);

private:
    QString m_path;
};
