#include "ui/listdialog.h"

#include <QDialogButtonBox>
#include <QHeaderView>
#include <QLineEdit>
#include <QTableWidget>
#include <QVBoxLayout>

ListDialog::ListDialog(const QString& title, const QStringList& headers, const QList<QStringList>& rows,
                       QWidget* parent)
    : QDialog(parent),
      m_table(new QTableWidget(rows.size(), headers.size(), this))
{
    setWindowTitle(title);
    auto* search = new QLineEdit(this);
    search->setPlaceholderText(tr("Search"));
    search->setAccessibleName(tr("Search"));
    search->setClearButtonEnabled(true);
    connect(search, &QLineEdit::textChanged, this, &ListDialog::filter);

    m_table->setAccessibleName(title);
    m_table->setHorizontalHeaderLabels(headers);
    m_table->verticalHeader()->hide();
    m_table->horizontalHeader()->setSectionResizeMode(0, QHeaderView::Stretch);
    m_table->horizontalHeader()->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    m_table->horizontalHeader()->setHighlightSections(false);
    m_table->setShowGrid(false);
    m_table->setAlternatingRowColors(true);
    m_table->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_table->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_table->setTabKeyNavigation(false); // Tab leaves the table
    for (int row = 0; row < rows.size(); ++row)
        for (int column = 0; column < headers.size(); ++column)
            m_table->setItem(row, column, new QTableWidgetItem(rows[row].value(column)));
    for (int column = 1; column < headers.size(); ++column)
        m_table->resizeColumnToContents(column);

    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close, this);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(search);
    layout->addWidget(m_table);
    layout->addWidget(buttons);
    setTabOrder(search, m_table); // the table was there first
    search->setFocus();
    resize(560, 520);
}

void ListDialog::filter(const QString& text)
{
    for (int row = 0; row < m_table->rowCount(); ++row) {
        bool found = false;
        for (int column = 0; column < m_table->columnCount(); ++column)
            found = found || m_table->item(row, column)->text().contains(text, Qt::CaseInsensitive);
        m_table->setRowHidden(row, !found);
    }
}
