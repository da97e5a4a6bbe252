#pragma once

#include "views/CrispValueAdjusterModel.h"

#include <QWidget>

class QFrame;
class QLabel;
class QLineEdit;
class QSlider;
class QToolButton;

// A settings row for one number: the title (and a description under it), then a slider
// with the range's ends written beside it. Letting go of the slider opens a small popup
// under the thumb with a text field and a stepper for the exact value; see
// CrispValueAdjusterModel for what is stored.
//
// Children carry object names for tests and style sheets: "slider", "minText",
// "maxText", "popover", "valueField", "stepUp" and "stepDown".
class CrispValueAdjuster final : public QWidget
{
    Q_OBJECT

public:
    CrispValueAdjuster(QString title, std::optional<QString> description, std::function<double()> read,
        std::function<void(double)> write, double lower, double upper, std::optional<QString> postscript = std::nullopt,
        std::optional<double> step = std::nullopt, bool lowerClamp = false, bool upperClamp = false,
        QWidget* parent = nullptr);
    ~CrispValueAdjuster() override;

    CrispValueAdjusterModel& model() { return m_model; }
    QWidget* popover() const;

public Q_SLOTS:
    // Shows the setting as it is now, after a change made elsewhere.
    void refresh();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    QWidget* buildSliderRow();
    void buildPopover();
    void showValue();
    void showPopover(bool shown);
    void placePopover();
    // Takes what was typed; text that is no number is replaced by the stored value.
    void commitField();

    CrispValueAdjusterModel m_model;
    QSlider* m_slider = nullptr;
    QLabel* m_minText = nullptr;
    QLabel* m_maxText = nullptr;
    QFrame* m_popover = nullptr;
    QLineEdit* m_field = nullptr;
    QToolButton* m_stepUp = nullptr;
    QToolButton* m_stepDown = nullptr;
    // Set while the slider is moved to show the value, so that move writes nothing.
    bool m_showingValue = false;
};
