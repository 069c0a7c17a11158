#include "projectfiles/formatdialog.h"

#include "model/types/channelconfigurations.h"
#include "model/types/channellabels.h"
#include "ui/widgets/messages.h"
#include "ui/widgets/numberfield.h"

#include <QComboBox>
#include <QCoreApplication>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLabel>
#include <QPushButton>
#include <QSpinBox>
#include <QVBoxLayout>

#include <algorithm>
#include <cmath>

namespace {

constexpr int fieldWidth = 180;
constexpr int spacing = 16;
constexpr double longest = 7 * 24 * 3600;         // seconds
constexpr double mostSamples = double(1LL << 50); // positions beyond are refused everywhere
enum Mode { Resample, Reinterpret };

QString text(const char* source)
{
    return QCoreApplication::translate("FormatDialog", source);
}

// A row with a label whose mnemonic reaches the field, and a name for those who do not see it.
void addRow(QFormLayout& form, const QString& label, QWidget* field, const char* name)
{
    field->setObjectName(QString::fromLatin1(name));
    field->setMinimumWidth(fieldWidth);
    form.addRow(label, field);
    QString plain = label;
    field->setAccessibleName(plain.remove(QLatin1Char('&')).remove(QLatin1Char(':')));
}

} // namespace

FormatDialog::FormatDialog(Purpose purpose, const SamplingFormat& format, double seconds, QWidget* parent)
    : QDialog(parent),
      m_purpose(purpose),
      m_limits(FormatLimits::current()),
      m_format(format),
      m_present(format.channels)
{
    const bool isNew = purpose == Purpose::NewProject;
    setWindowTitle(isNew ? tr("New Project") : tr("Change Format"));
    auto* form = new QFormLayout;
    form->setHorizontalSpacing(12);
    form->setVerticalSpacing(8);
    form->setLabelAlignment(Qt::AlignRight | Qt::AlignVCenter);
    addExtra(*form, seconds);
    addFields(*form);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Cancel, this);
    QPushButton* accept =
        buttons->addButton(isNew ? tr("Create") : tr("Format"), QDialogButtonBox::AcceptRole);
    accept->setDefault(true);
    connect(buttons, &QDialogButtonBox::accepted, this, &FormatDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    auto* layout = new QVBoxLayout(this);
    layout->setSpacing(spacing);
    layout->addLayout(form);
    layout->addWidget(buttons);
    layout->setSizeConstraint(QLayout::SetFixedSize);
}

void FormatDialog::addExtra(QFormLayout& form, double seconds)
{
    if (m_purpose == Purpose::NewProject) {
        m_length = new NumberField(this);
        m_length->setDecimals(3);
        m_length->setRange(0.001, longest);
        m_length->setSuffix(tr(" s"));
        m_length->setValue(seconds);
        m_length->selectAll(); // the first key replaces it
        addRow(form, tr("&Length:"), m_length, "formatlength");
    }
    if (m_purpose != Purpose::ChangeFormat)
        return;
    m_mode = new QComboBox(this);
    m_mode->addItem(tr("Resample"));
    m_mode->addItem(tr("Reinterpret"));
    m_mode->setItemData(Resample, tr("The signal sounds as before"), Qt::ToolTipRole);
    m_mode->setItemData(Reinterpret, tr("The samples stay, and play faster or slower"), Qt::ToolTipRole);
    addRow(form, tr("&Mode:"), m_mode, "formatmode");
}

void FormatDialog::addFields(QFormLayout& form)
{
    m_rate = new NumberField(this);
    m_rate->setDecimals(3);
    m_rate->setRange(std::min(1.0, m_format.sampleRate), std::max(m_limits.sampleRate, m_format.sampleRate));
    m_rate->setSuffix(tr(" Hz"));
    m_rate->setValue(m_format.sampleRate);
    addRow(form, tr("&Sample Rate:"), m_rate, "formatrate");

    m_configuration = new QComboBox(this);
    fillChoices();
    addRow(form, tr("C&onfiguration:"), m_configuration, "formatconfiguration");
    connect(m_configuration, QOverload<int>::of(&QComboBox::activated), this,
            &FormatDialog::configurationChosen);

    m_channels = new QSpinBox(this);
    m_channels->setRange(1, std::max(m_limits.channels, m_format.channels));
    m_channels->setValue(m_format.channels);
    addRow(form, tr("C&hannels:"), m_channels, "formatchannels");
    connect(m_channels, QOverload<int>::of(&QSpinBox::valueChanged), this, &FormatDialog::countChanged);
    showChoiceOf(m_format.channelsMask);
}

void FormatDialog::fillChoices()
{
    const int most = std::max(m_limits.channels, m_format.channels);
    const int32_t type = m_format.channelsType;
    for (const ChannelConfiguration& row : channelConfigurations(type))
        if (channelCount(row.mask) <= most)
            m_choices.push_back({text(row.name), row.mask});
    if (type != ChannelsTypeAudio && type != ChannelsTypeEcg)
        for (int count = 1; count <= most; ++count)
            m_choices.push_back({QString::asprintf("%i Channels", count), defaultChannelsMask(type, count)});
    m_choices.push_back({tr("Custom"), 0});
    for (const Choice& choice : m_choices)
        m_configuration->addItem(choice.name);
}

void FormatDialog::configurationChosen(int index)
{
    const Choice& choice = m_choices[std::size_t(index)];
    m_customChosen = choice.mask == 0;
    if (m_customChosen)
        return;
    m_format.channelsMask = choice.mask;
    m_channels->setValue(channelCount(choice.mask));
}

void FormatDialog::countChanged(int count)
{
    m_format.channels = count;
    if (channelCount(m_format.channelsMask) == count)
        return;
    m_format.channelsMask = defaultChannelsMask(m_format.channelsType, count);
    if (!m_customChosen)
        showChoiceOf(m_format.channelsMask);
}

void FormatDialog::showChoiceOf(uint64_t mask)
{
    const auto found = std::find_if(m_choices.begin(), m_choices.end(),
                                    [mask](const Choice& choice) { return choice.mask == mask; });
    m_configuration->setCurrentIndex(found == m_choices.end() ? int(m_choices.size()) - 1
                                                              : int(found - m_choices.begin()));
}

SamplingFormat FormatDialog::format() const
{
    SamplingFormat format = m_format;
    // What the field shows is rounded; a rate that was not touched stays to the last bit.
    if (std::abs(m_rate->value() - format.sampleRate) > 0.0005)
        format.sampleRate = m_rate->value();
    return format;
}

int64_t FormatDialog::length() const
{
    const double samples = m_length ? std::round(m_length->value() * m_rate->value()) : 0;
    return int64_t(std::clamp(samples, 1.0, mostSamples));
}

bool FormatDialog::isReinterpret() const
{
    return m_mode && m_mode->currentIndex() == Reinterpret;
}

void FormatDialog::accept()
{
    if (isReinterpret() && m_format.channels != m_present) {
        messages::warning(this, tr("Incorrect Channel Count"),
                          tr("You cannot change the number of channels in reinterpret mode."));
        return;
    }
    QDialog::accept();
}
