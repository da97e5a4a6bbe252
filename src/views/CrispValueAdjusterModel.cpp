#include "views/CrispValueAdjusterModel.h"

#include <QLocale>

#include <algorithm>
#include <climits>
#include <cmath>

namespace {

// Sums of steps such as 0.1 × 3 land next to the number people mean; what is stored
// should be the number the text field will show.
double roundedToShownDigits(double value)
{
    constexpr double scale = 1e10;
    if (!std::isfinite(value) || std::abs(value) >= 1e8)
        return value;
    return std::round(value * scale) / scale;
}

QLocale userLocale()
{
    QLocale locale;
    locale.setNumberOptions(QLocale::OmitGroupSeparator);
    return locale;
}

} // namespace

CrispValueAdjusterModel::CrispValueAdjusterModel(QString title, std::optional<QString> description,
    std::function<double()> read, std::function<void(double)> write, double lower, double upper,
    std::optional<QString> postscript, std::optional<double> step, bool lowerClamp, bool upperClamp, QObject* parent)
    : QObject(parent)
    , m_title(std::move(title))
    , m_description(std::move(description))
    , m_read(std::move(read))
    , m_write(std::move(write))
    , m_lower(std::min(lower, upper))
    , m_upper(std::max(lower, upper))
    , m_postscript(std::move(postscript))
    , m_step(step && *step > 0 ? *step : (m_upper - m_lower) / 10)
    , m_lowerClamp(lowerClamp)
    , m_upperClamp(upperClamp)
{ }

double CrispValueAdjusterModel::value() const
{
    return m_read ? m_read() : m_lower;
}

QString CrispValueAdjusterModel::valueText() const
{
    return formatNumber(value());
}

QString CrispValueAdjusterModel::minText() const
{
    return formatNumber(m_lower) + m_postscript.value_or(QString());
}

QString CrispValueAdjusterModel::maxText() const
{
    return formatNumber(m_upper) + m_postscript.value_or(QString());
}

double CrispValueAdjusterModel::clamped(double n) const
{
    if (m_lowerClamp)
        n = std::max(n, m_lower);
    if (m_upperClamp)
        n = std::min(n, m_upper);
    return n;
}

void CrispValueAdjusterModel::setValueClamped(double n)
{
    write(clamped(n));
}

void CrispValueAdjusterModel::stepBy(int steps)
{
    setValueClamped(roundedToShownDigits(value() + steps * m_step));
}

bool CrispValueAdjusterModel::submitText(const QString& text)
{
    QString typed = text.trimmed();
    if (m_postscript && !m_postscript->isEmpty() && typed.endsWith(*m_postscript))
        typed = typed.chopped(m_postscript->size()).trimmed();
    const std::optional<double> number = parseNumber(typed);
    if (!number)
        return false;
    setValueClamped(*number);
    return true;
}

int CrispValueAdjusterModel::tickCount() const
{
    if (m_step <= 0 || totalRange() <= 0)
        return 0;
    // A hair of tolerance, so 0…1 in steps of 0.1 has ten ticks and not eleven.
    const double ticks = std::ceil(totalRange() / m_step - 1e-9);
    return int(std::min(ticks, double(INT_MAX / 2)));
}

int CrispValueAdjusterModel::currentTick() const
{
    if (tickCount() == 0)
        return 0;
    const double inRange = std::clamp(value(), m_lower, m_upper);
    if (inRange >= m_upper)
        return tickCount();
    return std::clamp(int(std::lround((inRange - m_lower) / m_step)), 0, tickCount());
}

double CrispValueAdjusterModel::valueForTick(int tick) const
{
    if (tick <= 0)
        return m_lower;
    if (tick >= tickCount())
        return m_upper;
    return roundedToShownDigits(m_lower + tick * m_step);
}

void CrispValueAdjusterModel::setTick(int tick)
{
    // The slider may report the end where an out-of-range value's thumb already sits;
    // that is no reason to pull the value in.
    const double target = valueForTick(tick);
    if (value() != target)
        write(target);
}

double CrispValueAdjusterModel::popoverXOffset() const
{
    if (totalRange() <= 0)
        return 4.0;
    const double inRange = std::clamp(value(), m_lower, m_upper);
    return (stepperWidth - 8.0) * ((inRange - m_lower) / totalRange()) + 4.0;
}

void CrispValueAdjusterModel::setSliderEditing(bool editing)
{
    setPopoverShown(!editing);
}

void CrispValueAdjusterModel::closePopover()
{
    setPopoverShown(false);
}

QString CrispValueAdjusterModel::formatNumber(double value)
{
    const QLocale locale = userLocale();
    QString text = locale.toString(value, 'f', maximumFractionDigits);
    const QString point = locale.decimalPoint();
    const QString zero = locale.zeroDigit();
    if (text.contains(point)) {
        while (text.endsWith(zero))
            text.chop(zero.size());
        if (text.endsWith(point))
            text.chop(point.size());
    }
    // A tiny negative value rounds to "-0", which is no number anyone typed.
    if (text == locale.negativeSign() + zero)
        text = zero;
    return text;
}

std::optional<double> CrispValueAdjusterModel::parseNumber(const QString& text)
{
    bool ok = false;
    double number = userLocale().toDouble(text.trimmed(), &ok);
    if (!ok)
        number = QLocale::c().toDouble(text.trimmed(), &ok);
    if (!ok || !std::isfinite(number))
        return std::nullopt;
    return number;
}

void CrispValueAdjusterModel::refresh()
{
    Q_EMIT valueChanged(value());
}

void CrispValueAdjusterModel::write(double value)
{
    if (m_write)
        m_write(value);
    // Read back: the store has the last word on what was kept.
    Q_EMIT valueChanged(this->value());
}

void CrispValueAdjusterModel::setPopoverShown(bool shown)
{
    if (m_popoverShown == shown)
        return;
    m_popoverShown = shown;
    Q_EMIT popoverShownChanged(shown);
}
