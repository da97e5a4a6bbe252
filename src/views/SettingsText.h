#pragma once

class QLabel;
class QString;
class QWidget;

// The two kinds of text every tab of the settings window uses besides its controls.
namespace SettingsText {

// A section's title, bold, with room above it.
QLabel* heading(const QString& text, QWidget* parent);
// What a control is for: smaller, secondary colour, wrapped.
QLabel* caption(const QString& text, QWidget* parent);

} // namespace SettingsText
