#include "projectfiles/channelmappingdialog.h"

#include "model/types/channellabels.h"
#include "projectfiles/formatlimits.h"
#include "ui/widgets/messages.h"

#include <QDialogButtonBox>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QVBoxLayout>

namespace {

constexpr QSize startSize(320, 420);

} // namespace

ChannelMappingDialog::ChannelMappingDialog(int32_t channelsType, uint64_t mask, QWidget* parent)
    : QDialog(parent),
      m_most(FormatLimits::current().channels)
{
    setWindowTitle(tr("Channel Mapping"));
    auto* caption = new QLabel(tr("&Channels of the new format:"), this);
    m_list = new QListWidget(this);
    m_list->setObjectName(QStringLiteral("channelmapping"));
    m_list->setAccessibleName(tr("Channels of the new format"));
    caption->setBuddy(m_list);
    m_count = new QLabel(this);
    m_count->setObjectName(QStringLiteral("secondary"));
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    m_accept = buttons->button(QDialogButtonBox::Ok);
    connect(buttons, &QDialogButtonBox::accepted, this, &ChannelMappingDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    fill(channelsType, mask);
    connect(m_list, &QListWidget::itemChanged, this, &ChannelMappingDialog::showCount);
    showCount();
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(caption);
    layout->addWidget(m_list, 1);
    layout->addWidget(m_count);
    layout->addSpacing(6);
    layout->addWidget(buttons);
    resize(startSize);
}

void ChannelMappingDialog::fill(int32_t channelsType, uint64_t mask)
{
    m_bits = channelBits(channelsType);
    // A position without a name of its own stays in the layout that has it.
    for (uint64_t rest = mask; rest; rest &= rest - 1)
        if (const uint64_t bit = rest & ~(rest - 1); !m_bits.contains(bit))
            m_bits << bit;
    std::sort(m_bits.begin(), m_bits.end());
    int first = -1;
    for (int row = 0; row < m_bits.size(); ++row) {
        auto* item = new QListWidgetItem(channelLabel(channelsType, m_bits[row], 0), m_list);
        item->setFlags(Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsUserCheckable);
        const bool isThere = mask & m_bits[row];
        item->setCheckState(isThere ? Qt::Checked : Qt::Unchecked);
        if (isThere && first < 0)
            first = row;
    }
    m_list->setCurrentRow(std::max(first, 0));
}

uint64_t ChannelMappingDialog::mask() const
{
    uint64_t mask = 0;
    for (int row = 0; row < m_bits.size(); ++row)
        if (m_list->item(row)->checkState() == Qt::Checked)
            mask |= m_bits[row];
    return mask;
}

void ChannelMappingDialog::showCount()
{
    const int count = channelCount(mask());
    m_count->setText(tr("%1 of at most %2").arg(count).arg(m_most));
    m_accept->setEnabled(count > 0);
}

void ChannelMappingDialog::accept()
{
    const int count = channelCount(mask());
    if (count > m_most) {
        messages::warning(this, tr("Incorrect Channel Count"),
                          tr("%1 channels requested, but %2 channels max supported.").arg(count).arg(m_most));
        return;
    }
    QDialog::accept();
}
