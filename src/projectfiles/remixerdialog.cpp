#include "projectfiles/remixerdialog.h"

#include "model/types/channellabels.h"
#include "ui/widgets/numberfield.h"

#include <QDialogButtonBox>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QStyledItemDelegate>
#include <QTableView>
#include <QVBoxLayout>

#include <algorithm>
#include <cmath>

namespace {

constexpr QSize aroundTable(48, 138); // margins, captions and buttons
constexpr QSize largest(1100, 640);
constexpr QSize smallest(420, 220);

class PercentDelegate : public QStyledItemDelegate
{
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    QWidget* createEditor(QWidget* parent, const QStyleOptionViewItem&, const QModelIndex&) const override
    {
        auto* field = new NumberField(parent);
        field->setRange(0, RemixModel::mostPercent);
        field->setDecimals(3);
        field->setFrame(false);
        return field;
    }
};

QStringList labels(const RemixerDialog::Layout& layout)
{
    QStringList list;
    for (int i = 0; i < channelCount(layout.mask); ++i)
        list << channelLabel(layout.channelsType, layout.mask, i);
    return list;
}

QSize wantedSize(const QTableView& table)
{
    const QHeaderView* rows = table.verticalHeader();
    const QHeaderView* columns = table.horizontalHeader();
    return QSize(rows->sizeHint().width() + columns->length(),
                 columns->sizeHint().height() + rows->length()) +
           aroundTable;
}

} // namespace

RemixModel::RemixModel(const QStringList& inputs, const QStringList& outputs, const Matrix& matrix,
                       QObject* parent)
    : QAbstractTableModel(parent),
      m_inputs(inputs),
      m_outputs(outputs),
      m_matrix(matrix)
{
}

void RemixModel::setMatrix(const Matrix& matrix)
{
    beginResetModel();
    m_matrix = matrix;
    endResetModel();
}

bool RemixModel::isAudible() const
{
    return std::any_of(m_matrix.data.begin(), m_matrix.data.end(), [](float gain) { return gain != 0; });
}

int RemixModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : m_matrix.inputs;
}

int RemixModel::columnCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : m_matrix.outputs;
}

float& RemixModel::cell(const QModelIndex& index)
{
    return m_matrix.data[int64_t(index.row()) * m_matrix.outputs + index.column()];
}

float RemixModel::cell(const QModelIndex& index) const
{
    return m_matrix.data[int64_t(index.row()) * m_matrix.outputs + index.column()];
}

QVariant RemixModel::data(const QModelIndex& index, int role) const
{
    if (!index.isValid())
        return {};
    const float gain = cell(index);
    const double percent = std::abs(double(gain)) * 100;
    switch (role) {
    case Qt::DisplayRole:
        return QLocale().toString(percent, 'g', 5);
    case Qt::EditRole:
        return percent;
    case Qt::CheckStateRole:
        return std::signbit(gain) ? Qt::Checked : Qt::Unchecked;
    case Qt::TextAlignmentRole:
        return int(Qt::AlignRight | Qt::AlignVCenter);
    case Qt::ToolTipRole:
    case Qt::AccessibleTextRole:
        return (std::signbit(gain) ? tr("%1 to %2: %3 %, phase inverted") : tr("%1 to %2: %3 %"))
            .arg(m_inputs.value(index.row()), m_outputs.value(index.column()),
                 QLocale().toString(percent, 'g', 5));
    default:
        return {};
    }
}

bool RemixModel::setData(const QModelIndex& index, const QVariant& value, int role)
{
    if (!index.isValid())
        return false;
    float& gain = cell(index);
    if (role == Qt::CheckStateRole) {
        gain = std::copysign(gain, value.toInt() == Qt::Checked ? -1.0f : 1.0f);
    } else if (role == Qt::EditRole) {
        bool isNumber = false;
        const double percent = value.toDouble(&isNumber);
        if (!isNumber || !std::isfinite(percent) || percent < 0)
            return false;
        // An editor that was only opened hands back what it shows, which is rounded.
        if (std::abs(percent - std::abs(double(gain)) * 100) > 0.0005)
            gain = std::copysign(float(std::min(percent, mostPercent) / 100), gain);
    } else {
        return false;
    }
    Q_EMIT dataChanged(index, index);
    return true;
}

QVariant RemixModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (role != Qt::DisplayRole)
        return {};
    return orientation == Qt::Horizontal ? m_outputs.value(section) + QStringLiteral(" (%)")
                                         : m_inputs.value(section);
}

Qt::ItemFlags RemixModel::flags(const QModelIndex& index) const
{
    return index.isValid()
               ? Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsEditable | Qt::ItemIsUserCheckable
               : Qt::NoItemFlags;
}

RemixerDialog::RemixerDialog(const Layout& input, const Layout& output, const Matrix& proposed,
                             QWidget* parent)
    : QDialog(parent),
      m_model(new RemixModel(labels(input), labels(output), proposed, this))
{
    setWindowTitle(tr("Channel Remixer"));
    auto* caption = new QLabel(tr("&How much of each channel (row) goes into each new one (column):"), this);
    auto* table = new QTableView(this);
    table->setObjectName(QStringLiteral("remixer"));
    table->setAccessibleName(tr("Gains from the old channels to the new ones, in percent"));
    table->setModel(m_model);
    table->setItemDelegate(new PercentDelegate(table));
    table->setEditTriggers(QAbstractItemView::DoubleClicked | QAbstractItemView::EditKeyPressed |
                           QAbstractItemView::AnyKeyPressed);
    table->setSelectionMode(QAbstractItemView::SingleSelection);
    table->setTabKeyNavigation(false);
    table->setCornerButtonEnabled(false);
    table->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    table->resizeColumnsToContents();
    table->setCurrentIndex(m_model->index(0, 0));
    caption->setBuddy(table);
    auto* phase = new QLabel(tr("\u00f8 inverts the phase of a cell (space bar)."), this);
    phase->setObjectName(QStringLiteral("secondary"));
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    QPushButton* reset = buttons->addButton(tr("&Reset"), QDialogButtonBox::ResetRole);
    reset->setToolTip(tr("Back to the usual gains between these layouts"));
    connect(reset, &QPushButton::clicked, this, [this, proposed] { m_model->setMatrix(proposed); });
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    // A table of zeros stands for the usual gains everywhere: it is no way to silence.
    QPushButton* accept = buttons->button(QDialogButtonBox::Ok);
    const auto enable = [this, accept] { accept->setEnabled(m_model->isAudible()); };
    connect(m_model, &QAbstractItemModel::dataChanged, this, enable);
    connect(m_model, &QAbstractItemModel::modelReset, this, enable);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(caption);
    layout->addWidget(table, 1);
    layout->addWidget(phase);
    layout->addSpacing(6);
    layout->addWidget(buttons);
    ensurePolished();
    resize(wantedSize(*table).boundedTo(largest).expandedTo(smallest));
    table->setFocus();
}
