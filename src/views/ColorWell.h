#pragma once

#include <QToolButton>

#include <functional>

class Settings;
struct ColorKey;

// A colour well: a swatch of a colour key's colour (over a checkerboard, so its alpha
// shows) that opens the colour dialog with alpha. Cancelling the dialog changes nothing.
class ColorWell final : public QToolButton
{
    Q_OBJECT

public:
    ColorWell(Settings& settings, const ColorKey& key, const QString& title, QWidget* parent = nullptr);

    // Redraws the swatch from the stored colour.
    void refresh();

    // What asks the user for a colour: the colour dialog unless replaced (tests answer
    // instead of a user). An invalid colour means cancelled.
    using Picker = std::function<QColor(const QColor& current)>;
    void setPicker(Picker picker) { m_picker = std::move(picker); }

private:
    void choose();

    Picker m_picker;
    Settings& m_settings;
    const ColorKey& m_key;
    QString m_title;
};
