#include "ui/widgets/qlineeditext.h"

#include <QKeyEvent>
#include <QLocale>
#include <QWheelEvent>

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

constexpr double notch = 120; // of wheel angle

} // namespace

QLineEditExt::QLineEditExt(QWidget* parent)
    : QLineEdit(parent),
      m_lowest(std::numeric_limits<double>::lowest()),
      m_highest(std::numeric_limits<double>::max())
{
    setWords(plainNumber(2));
    setFocusPolicy(Qt::StrongFocus);
    connect(this, &QLineEdit::returnPressed, this, &QLineEditExt::applyText);
}

QLineEditExt::Words QLineEditExt::plainNumber(int decimals, const QString& suffix)
{
    const auto toText = [=](double value) {
        QLocale locale;
        locale.setNumberOptions(QLocale::OmitGroupSeparator);
        return locale.toString(value, 'f', decimals) + suffix;
    };
    const auto toValue = [=](const QString& text) -> std::optional<double> {
        QString number = text.trimmed();
        if (!suffix.trimmed().isEmpty() && number.endsWith(suffix.trimmed(), Qt::CaseInsensitive))
            number.chop(suffix.trimmed().size());
        bool ok = false;
        double value = QLocale().toDouble(number.trimmed(), &ok);
        if (!ok) // a point is understood everywhere
            value = QLocale::c().toDouble(number.trimmed(), &ok);
        return ok && std::isfinite(value) ? std::optional(value) : std::nullopt;
    };
    return {toText, toValue};
}

void QLineEditExt::setWords(Words words)
{
    m_words = std::move(words);
    showValue();
}

void QLineEditExt::setRange(double lowest, double highest)
{
    m_lowest = lowest;
    m_highest = std::max(lowest, highest);
    setValue(m_value);
}

void QLineEditExt::setChoices(std::vector<double> choices)
{
    m_choices = std::move(choices);
    setValue(m_value);
}

double QLineEditExt::nearest(double value) const
{
    if (m_choices.empty())
        return std::clamp(value, m_lowest, m_highest);
    const auto above = std::lower_bound(m_choices.begin(), m_choices.end(), value);
    if (above == m_choices.begin())
        return *above;
    if (above == m_choices.end() || value - *(above - 1) <= *above - value)
        return *(above - 1);
    return *above;
}

void QLineEditExt::showValue()
{
    setText(m_words.toText(m_value));
    setCursorPosition(0);
}

void QLineEditExt::setValue(double value)
{
    if (!std::isfinite(value))
        return;
    m_value = nearest(value);
    showValue();
}

void QLineEditExt::edit(double value)
{
    const double before = m_value;
    setValue(value);
    if (m_value != before)
        Q_EMIT valueEdited(m_value);
}

void QLineEditExt::applyText()
{
    // The text shown may have fewer digits than the value.
    if (text() == m_words.toText(m_value))
        return;
    if (const std::optional<double> value = m_words.toValue(text()))
        edit(*value);
    else
        showValue();
}

void QLineEditExt::stepBy(double steps)
{
    applyText();
    if (m_choices.empty())
        return edit(m_value + steps * m_step);
    const auto here = std::lower_bound(m_choices.begin(), m_choices.end(), m_value);
    const auto target = double(here - m_choices.begin()) + (steps < 0 ? std::floor(steps) : std::ceil(steps));
    edit(m_choices[std::size_t(std::clamp(target, 0.0, double(m_choices.size() - 1)))]);
}

void QLineEditExt::keyPressEvent(QKeyEvent* event)
{
    const double size = event->modifiers() & Qt::ControlModifier ? 0.1 : 1;
    switch (event->key()) {
    case Qt::Key_Up:
        return stepBy(size);
    case Qt::Key_Down:
        return stepBy(-size);
    case Qt::Key_PageUp:
        return stepBy(10);
    case Qt::Key_PageDown:
        return stepBy(-10);
    case Qt::Key_Escape:
        if (text() == m_words.toText(m_value))
            break; // belongs to the dialog
        return showValue();
    default:
        break;
    }
    QLineEdit::keyPressEvent(event);
}

void QLineEditExt::wheelEvent(QWheelEvent* event)
{
    if (!hasFocus())
        return event->ignore(); // scrolls whatever the line stands in
    const double size = event->modifiers() & Qt::ControlModifier ? 0.1 : 1;
    stepBy(size * event->angleDelta().y() / notch);
    event->accept();
}

void QLineEditExt::focusOutEvent(QFocusEvent* event)
{
    applyText();
    QLineEdit::focusOutEvent(event);
}
