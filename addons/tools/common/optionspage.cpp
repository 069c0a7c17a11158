#include "optionspage.h"

#include "model/iselection.h"
#include "plugins/plugincontext.h"

#include <algorithm>
#include <utility>

#include <QDoubleSpinBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>

namespace {

constexpr int spacing = 6;
constexpr int groupSpacing = 14;
constexpr int fieldLetters = 11;     // "0:00:00.000"
constexpr int leastFieldLetters = 7; // where there is no room for more
constexpr int fadeLetters = 8;       // "1000 ms"
constexpr double mostFadeSeconds = 100;
constexpr double mostFadeHz = 1e9;

// Without the zeros behind the point, so that the usual numbers are short.
class Number : public QDoubleSpinBox
{
public:
    using QDoubleSpinBox::QDoubleSpinBox;

    [[nodiscard]] QString textFromValue(double value) const override
    {
        QString text = QDoubleSpinBox::textFromValue(value);
        const QChar point = locale().decimalPoint();
        if (!text.contains(point))
            return text;
        while (text.endsWith(locale().zeroDigit()))
            text.chop(1);
        return text.endsWith(point) ? text.chopped(1) : text;
    }
};

int lettersWide(const QWidget& widget, int letters)
{
    widget.ensurePolished(); // the sheet gives the font
    return widget.fontMetrics().averageCharWidth() * letters + 2 * spacing;
}

// The range of a fade would ask for a field twice as wide.
void narrow(QDoubleSpinBox& box)
{
    constexpr int arrows = 22;
    box.setFixedWidth(lettersWide(box, fadeLetters) + arrows);
}

bool isTime(SelectionField f)
{
    return f <= SelectionField::Length;
}

double end(const Area& area)
{
    return area.x + area.width;
}

double high(const Area& area)
{
    return area.y + area.height;
}

// The area with one number replaced; a length keeps the start.
Area withNumber(Area area, SelectionField field, double value)
{
    switch (field) {
    case SelectionField::Start:
        area.width = end(area) - value;
        area.x = value;
        break;
    case SelectionField::End:
        area.width = value - area.x;
        break;
    case SelectionField::Length:
        area.width = value;
        break;
    case SelectionField::Low:
        area.height = high(area) - value;
        area.y = value;
        break;
    case SelectionField::High:
        area.height = value - area.y;
        break;
    }
    return area;
}

} // namespace

OptionsPage::OptionsPage(QWidget* parent)
    : QWidget(parent),
      m_row(new QHBoxLayout(this)),
      m_own(new QHBoxLayout)
{
    m_row->setContentsMargins(spacing, 0, spacing, 0);
    m_row->setSpacing(spacing);
    m_own->setSpacing(spacing);
    m_row->addLayout(m_own);
    m_fadeTime = addNumber(tr("Fade:"), 0, mostFadeSeconds * 1000, 1, 0, tr(" ms"));
    m_fadeTime->setDecimals(3);
    narrow(*m_fadeTime);
    m_fadeTime->setObjectName(QStringLiteral("fadetime"));
    m_fadeTime->setAccessibleName(tr("Fade in time"));
    m_fadeTime->setToolTip(tr("Fade in time: from the border inwards to full strength"));
    m_fadeFrequency = addNumber({}, 0, mostFadeHz, 10, 0, tr(" Hz"));
    narrow(*m_fadeFrequency);
    m_fadeFrequency->setObjectName(QStringLiteral("fadefrequency"));
    m_fadeFrequency->setAccessibleName(tr("Fade in frequency"));
    m_fadeFrequency->setToolTip(tr("Fade in frequency: from the border inwards to full strength"));
    m_row->addSpacing(groupSpacing);
    addField(SelectionField::Start, tr("Start:"), tr("Where the selection begins"));
    addField(SelectionField::End, tr("End:"), tr("Where the selection ends"));
    addField(SelectionField::Length, tr("Length:"), tr("How long the selection is"));
    addField(SelectionField::Low, tr("Low:"), tr("The lowest frequency of the selection"));
    addField(SelectionField::High, tr("High:"), tr("The highest frequency of the selection"));
    m_row->addStretch();
    // From here on the tool's own numbers stand before the fade.
    m_own = new QHBoxLayout;
    m_own->setSpacing(spacing);
    m_row->insertLayout(0, m_own);
}

QDoubleSpinBox* OptionsPage::addNumber(const QString& label, double least, double most, double step,
                                       double value, const QString& suffix)
{
    auto* const box = new Number(this);
    box->setRange(least, most);
    box->setSingleStep(step);
    box->setDecimals(step < 1 ? 2 : 0);
    box->setValue(value);
    box->setSuffix(suffix);
    box->setKeyboardTracking(false);
    if (!label.isEmpty()) {
        auto* const text = new QLabel(label, this);
        text->setBuddy(box);
        m_own->addWidget(text);
        box->setAccessibleName(label);
    }
    m_own->addWidget(box);
    connect(box, QOverload<double>::of(&QDoubleSpinBox::valueChanged), this, &OptionsPage::changed);
    return box;
}

void OptionsPage::addField(SelectionField f, const QString& label, const QString& hint)
{
    static const char* const names[] = {"start", "end", "length", "low", "high"};
    Field& made = field(f);
    made.label = new QLabel(label, this);
    made.edit = new QLineEdit(this);
    made.suffix = new QLabel(this);
    made.suffix->hide(); // until it has a text
    made.edit->setObjectName(QLatin1String(names[size_t(f)]));
    made.edit->setToolTip(hint);
    made.edit->setAccessibleName(hint);
    made.edit->setMinimumWidth(lettersWide(*made.edit, leastFieldLetters));
    made.edit->setMaximumWidth(lettersWide(*made.edit, fieldLetters));
    made.label->setBuddy(made.edit);
    m_row->addWidget(made.label);
    m_row->addWidget(made.edit);
    m_row->addWidget(made.suffix);
    connect(made.edit, &QLineEdit::editingFinished, this, [this, f] {
        QLineEdit* const edit = field(f).edit;
        if (!edit->isModified())
            return;
        edit->setModified(false);
        m_typedField = f;
        m_typedText = edit->text();
        Q_EMIT typed();
    });
}

double OptionsPage::fadeSeconds() const
{
    return m_fadeTime->value() / 1000;
}

double OptionsPage::fadeHz() const
{
    return m_fadeFrequency->value();
}

void OptionsPage::reset()
{
    for (Field& f : m_fields)
        f.edit->setModified(false);
    m_typedField.reset();
    m_collected = Area();
}

void OptionsPage::show(SelectionField f, const QString& text)
{
    QLineEdit* const edit = field(f).edit;
    if (!edit->isModified() && edit->text() != text)
        edit->setText(text);
}

void OptionsPage::follow(const PluginContext& context)
{
    const bool known = context.selection && context.convert;
    const bool selected = known && !context.selection->isEmpty();
    const Area area = selected ? context.selection->bounds() : m_collected;
    const auto time = [&](double samples) { return context.convert->timeToString(samples); };
    const auto frequency = [&](double hz) { return context.convert->freqToString(hz); };
    for (int i = 0; i < selectionFields; ++i) {
        Field& f = m_fields[size_t(i)];
        f.edit->setEnabled(known);
        if (known)
            f.suffix->setText(isTime(SelectionField(i)) ? context.convert->timeSuffix()
                                                        : context.convert->freqSuffix());
        f.suffix->setVisible(!f.suffix->text().isEmpty());
    }
    const bool shown = known && (selected || area != Area());
    show(SelectionField::Start, shown ? time(area.x) : QString());
    show(SelectionField::End, shown ? time(end(area)) : QString());
    show(SelectionField::Length, shown ? time(area.width) : QString());
    show(SelectionField::Low, shown ? frequency(area.y) : QString());
    show(SelectionField::High, shown ? frequency(high(area)) : QString());
}

std::optional<Area> OptionsPage::takeTyped(const PluginContext& context)
{
    const auto typedField = std::exchange(m_typedField, std::nullopt);
    if (!typedField || !context.selection || !context.convert ||
        std::none_of(m_typedText.begin(), m_typedText.end(), [](QChar c) { return c.isDigit(); }))
        return {};
    const double value = isTime(*typedField) ? double(context.convert->stringToTime(m_typedText))
                                             : context.convert->stringToFreq(m_typedText);
    const bool selected = !context.selection->isEmpty();
    const Area band = fullBandArea(context.format, {});
    Area area = selected ? context.selection->bounds() : m_collected;
    if (!selected && !(area.height > 0)) {
        area.y = band.y;
        area.height = band.height;
    }
    const bool beginsAnew = !selected && area.width <= 0 && *typedField == SelectionField::Start;
    area = beginsAnew ? Area{value, area.y, 0, area.height} : withNumber(area, *typedField, value);
    // Nothing is selected before time 0 or outside the band.
    const double top = std::min(high(area), band.y + band.height);
    area.y = std::max(area.y, band.y);
    area.height = top - area.y;
    if (area.x < 0) {
        area.width += area.x;
        area.x = 0;
    }
    const bool usable = area.width > 0 && area.height > 0;
    if (!selected)
        m_collected = usable || area.width < 0 || area.height <= 0 ? Area() : area;
    return usable ? std::optional(area) : std::nullopt;
}
