#include "views/CrispValueAdjuster.h"

#include <QEvent>
#include <QFrame>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QScreen>
#include <QSlider>
#include <QToolButton>
#include <QVBoxLayout>

#include <algorithm>

namespace {

QFont captionFont(QFont font)
{
    font.setPointSizeF(font.pointSizeF() * 0.85);
    return font;
}

QLabel* secondaryLabel(const QString& text, QWidget* parent)
{
    auto* label = new QLabel(text, parent);
    label->setForegroundRole(QPalette::PlaceholderText);
    return label;
}

QToolButton* stepButton(Qt::ArrowType arrow, const QString& name, QWidget* parent)
{
    auto* button = new QToolButton(parent);
    button->setObjectName(name);
    button->setArrowType(arrow);
    button->setAutoRepeat(true);
    button->setFocusPolicy(Qt::NoFocus);
    button->setFixedSize(18, 12);
    return button;
}

} // namespace

CrispValueAdjuster::CrispValueAdjuster(QString title, std::optional<QString> description, std::function<double()> read,
    std::function<void(double)> write, double lower, double upper, std::optional<QString> postscript,
    std::optional<double> step, bool lowerClamp, bool upperClamp, QWidget* parent)
    : QWidget(parent)
    , m_model(std::move(title), std::move(description), std::move(read), std::move(write), lower, upper,
          std::move(postscript), step, lowerClamp, upperClamp)
{
    auto* titleLabel = new QLabel(m_model.title(), this);

    auto* row = new QHBoxLayout;
    row->setContentsMargins(0, 0, 0, 0);
    row->addWidget(titleLabel);
    row->addStretch(1);
    row->addWidget(buildSliderRow());

    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(2);
    column->addLayout(row);
    if (m_model.description()) {
        auto* descriptionLabel = secondaryLabel(*m_model.description(), this);
        descriptionLabel->setFont(captionFont(font()));
        descriptionLabel->setWordWrap(true);
        column->addWidget(descriptionLabel);
    }

    buildPopover();

    connect(m_slider, &QSlider::sliderPressed, this, [this] { m_model.setSliderEditing(true); });
    connect(m_slider, &QSlider::sliderReleased, this, [this] { m_model.setSliderEditing(false); });
    connect(m_slider, &QSlider::valueChanged, this, [this](int tick) {
        if (!m_showingValue)
            m_model.setTick(tick);
    });
    connect(&m_model, &CrispValueAdjusterModel::valueChanged, this, &CrispValueAdjuster::showValue);
    connect(&m_model, &CrispValueAdjusterModel::popoverShownChanged, this, &CrispValueAdjuster::showPopover);
    showValue();
}

CrispValueAdjuster::~CrispValueAdjuster()
{
    // The popup and its field report their hiding and focus loss to this object, whose
    // model is gone by the time Qt deletes the children.
    m_popover->removeEventFilter(this);
    m_field->disconnect(this);
    delete m_popover;
}

QWidget* CrispValueAdjuster::popover() const
{
    return m_popover;
}

void CrispValueAdjuster::refresh()
{
    m_model.refresh();
}

QWidget* CrispValueAdjuster::buildSliderRow()
{
    auto* sliderRow = new QWidget(this);
    m_minText = secondaryLabel(m_model.minText(), sliderRow);
    m_minText->setObjectName(QStringLiteral("minText"));
    m_maxText = secondaryLabel(m_model.maxText(), sliderRow);
    m_maxText->setObjectName(QStringLiteral("maxText"));

    m_slider = new QSlider(Qt::Horizontal, sliderRow);
    m_slider->setObjectName(QStringLiteral("slider"));
    m_slider->setAccessibleName(m_model.title());
    m_slider->setRange(0, m_model.tickCount());
    m_slider->setSingleStep(1);
    m_slider->setPageStep(1);
    // The popover's place along the track is computed for exactly this width.
    m_slider->setFixedWidth(int(CrispValueAdjusterModel::stepperWidth));

    auto* layout = new QHBoxLayout(sliderRow);
    layout->setContentsMargins(0, 0, 0, 0);
    // Tight, so the range ends read as the slider's own labels.
    layout->setSpacing(4);
    layout->addWidget(m_minText);
    layout->addWidget(m_slider);
    layout->addWidget(m_maxText);
    sliderRow->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    return sliderRow;
}

void CrispValueAdjuster::buildPopover()
{
    m_popover = new QFrame(this, Qt::Popup);
    m_popover->setObjectName(QStringLiteral("popover"));
    m_popover->setFrameShape(QFrame::StyledPanel);

    m_field = new QLineEdit(m_popover);
    m_field->setObjectName(QStringLiteral("valueField"));
    m_field->setAccessibleName(m_model.title());
    m_field->setFixedWidth(m_field->fontMetrics().horizontalAdvance(QStringLiteral("0000.0000")) + 12);
    m_stepUp = stepButton(Qt::UpArrow, QStringLiteral("stepUp"), m_popover);
    m_stepDown = stepButton(Qt::DownArrow, QStringLiteral("stepDown"), m_popover);

    auto* stepper = new QVBoxLayout;
    stepper->setContentsMargins(0, 0, 0, 0);
    stepper->setSpacing(0);
    stepper->addWidget(m_stepUp);
    stepper->addWidget(m_stepDown);

    auto* layout = new QHBoxLayout(m_popover);
    layout->setContentsMargins(8, 6, 8, 6);
    layout->setSpacing(4);
    layout->setSizeConstraint(QLayout::SetFixedSize);
    layout->addWidget(m_field);
    layout->addLayout(stepper);

    connect(m_field, &QLineEdit::editingFinished, this, &CrispValueAdjuster::commitField);
    for (const auto& [button, step] : {std::pair {m_stepUp, 1}, std::pair {m_stepDown, -1}}) {
        // A structured binding is captured by copy into a variable of its own: older
        // clang (Apple's included) cannot capture the binding itself.
        const int steps = step;
        connect(button, &QToolButton::clicked, this, [this, steps] {
            commitField();
            m_model.stepBy(steps);
        });
    }
    m_popover->installEventFilter(this);
    m_field->installEventFilter(this);
}

bool CrispValueAdjuster::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == m_popover && event->type() == QEvent::Hide) {
        // Clicking elsewhere closes the popup; what was typed by then counts.
        commitField();
        m_model.closePopover();
    } else if (watched == m_field && event->type() == QEvent::KeyPress) {
        const int key = static_cast<QKeyEvent*>(event)->key();
        if (key == Qt::Key_Up || key == Qt::Key_Down) {
            commitField();
            m_model.stepBy(key == Qt::Key_Up ? 1 : -1);
            return true;
        }
    }
    return QWidget::eventFilter(watched, event);
}

void CrispValueAdjuster::showValue()
{
    m_showingValue = true;
    m_slider->setValue(m_model.currentTick());
    m_showingValue = false;
    const QString text = m_model.valueText();
    m_field->setText(text);
    m_slider->setToolTip(text + m_model.postscript().value_or(QString()));
    if (m_popover->isVisible())
        placePopover();
}

void CrispValueAdjuster::showPopover(bool shown)
{
    if (!shown) {
        m_popover->hide();
        return;
    }
    m_field->setText(m_model.valueText());
    placePopover();
    m_popover->show();
    m_field->setFocus(Qt::PopupFocusReason);
    m_field->selectAll();
}

void CrispValueAdjuster::placePopover()
{
    m_popover->adjustSize();
    const QPoint anchor = m_slider->mapToGlobal(QPoint(qRound(m_model.popoverXOffset()), m_slider->height()));
    QPoint topLeft(anchor.x() - m_popover->width() / 2, anchor.y() + 2);
    if (const QScreen* screen = m_slider->screen()) {
        const QRect available = screen->availableGeometry();
        topLeft.setX(std::clamp(
            topLeft.x(), available.left(), std::max(available.left(), available.right() - m_popover->width() + 1)));
    }
    m_popover->move(topLeft);
}

void CrispValueAdjuster::commitField()
{
    const QString text = m_field->text();
    if (text == m_model.valueText())
        return;
    if (!m_model.submitText(text))
        m_field->setText(m_model.valueText());
}
