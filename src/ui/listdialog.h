// A table to read and search in: the keys of the program, its plug-ins.
#pragma once

#include <QDialog>
#include <QStringList>

class QTableWidget;

class ListDialog : public QDialog
{
    Q_OBJECT

public:
    // One row of texts for each entry, as many as there are headers.
    ListDialog(const QString& title, const QStringList& headers, const QList<QStringList>& rows,
               QWidget* parent);

private:
    // Leaves the rows that hold `text` in one of their cells, without case.
    void filter(const QString& text);

    QTableWidget* m_table; // child
};
