#pragma once

#include <QObject>
#include <QString>

#include <functional>
#include <optional>

// One numeric setting as the settings window edits it: a slider over a recommended range
// for coarse changes, then a popover with a text field and a stepper for the exact value.
// The slider only produces values inside its range; the popover may go beyond either end
// unless that end is clamped, so a user who wants a wider gap than the slider offers can
// still have it.
//
// The value lives elsewhere (a settings key). It is read through `read` at every use and
// written through `write`, so nothing is cached here and a change made elsewhere shows
// as soon as the view refreshes.
class CrispValueAdjusterModel final : public QObject
{
    Q_OBJECT

public:
    // The width of the slider's track in the view; the popover is placed along it.
    static constexpr double stepperWidth = 150.0;
    // The text field shows and accepts this many fraction digits at most.
    static constexpr int maximumFractionDigits = 10;

    // Without a step the slider has ten of them over its range.
    CrispValueAdjusterModel(QString title, std::optional<QString> description, std::function<double()> read,
        std::function<void(double)> write, double lower, double upper, std::optional<QString> postscript = std::nullopt,
        std::optional<double> step = std::nullopt, bool lowerClamp = false, bool upperClamp = false,
        QObject* parent = nullptr);

    const QString& title() const { return m_title; }
    const std::optional<QString>& description() const { return m_description; }
    const std::optional<QString>& postscript() const { return m_postscript; }
    double lower() const { return m_lower; }
    double upper() const { return m_upper; }
    double step() const { return m_step; }
    double totalRange() const { return m_upper - m_lower; }
    bool lowerClamp() const { return m_lowerClamp; }
    bool upperClamp() const { return m_upperClamp; }

    double value() const;
    // The value as the text field shows it.
    QString valueText() const;
    // The range ends as written beside the slider, the unit right after the number: "0px".
    QString minText() const;
    QString maxText() const;

    // --- The popover: every write goes through the clamps ------------------------------
    // What storing n through the popover keeps: n itself, or the clamped end of the range.
    double clamped(double n) const;
    void setValueClamped(double n);
    // The stepper: steps of `step` up (positive) or down from the current value.
    void stepBy(int steps);
    // Typed text; false, and nothing written, when it is not a number. The unit may be
    // typed after the number ("12px").
    bool submitText(const QString& text);

    // --- The slider: whole ticks of one step from the lower bound ---------------------
    // The last tick is the upper bound even when the range is not a whole number of steps.
    int tickCount() const;
    // Where the thumb stands for the current value; values outside the range sit at an end.
    int currentTick() const;
    double valueForTick(int tick) const;
    void setTick(int tick);

    // Where the popover points along the track: from 4 at the lower end to 146 at the
    // upper end, following the thumb.
    double popoverXOffset() const;
    bool isPopoverShown() const { return m_popoverShown; }
    // The popover gets out of the way while the thumb is dragged and comes up when it is
    // let go: it is for fine adjustment after a coarse drag.
    void setSliderEditing(bool editing);
    void closePopover();

    // Up to ten fraction digits, no trailing zeros, in the user's locale.
    static QString formatNumber(double value);
    // Absent for anything but a finite number in the user's locale (or with a point).
    static std::optional<double> parseNumber(const QString& text);

public Q_SLOTS:
    // The setting may have changed elsewhere: the view reads it again.
    void refresh();

Q_SIGNALS:
    void valueChanged(double value);
    void popoverShownChanged(bool shown);

private:
    void write(double value);
    void setPopoverShown(bool shown);

    QString m_title;
    std::optional<QString> m_description;
    std::function<double()> m_read;
    std::function<void(double)> m_write;
    double m_lower;
    double m_upper;
    std::optional<QString> m_postscript;
    double m_step;
    bool m_lowerClamp;
    bool m_upperClamp;
    bool m_popoverShown = false;
};
