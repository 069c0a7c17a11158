// Lets the user say how much of each old channel goes into each new one.
#pragma once

#include "model/types/matrix.h"

#include <cstdint>

#include <QAbstractTableModel>
#include <QDialog>
#include <QStringList>

// A remix table as percentages: a row for each input channel, a column for each output channel. The
// amount of a cell is its display text; the tick of a cell inverts its phase. A gain that is not
// touched keeps every bit.
class RemixModel : public QAbstractTableModel
{
    Q_OBJECT

public:
    static constexpr double mostPercent = 1000;

    RemixModel(const QStringList& inputs, const QStringList& outputs, const Matrix& matrix, QObject* parent);

    [[nodiscard]] const Matrix& matrix() const { return m_matrix; }
    void setMatrix(const Matrix& matrix);
    // Whether anything goes anywhere.
    [[nodiscard]] bool isAudible() const;

    [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] int columnCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override;
    bool setData(const QModelIndex& index, const QVariant& value, int role) override;
    [[nodiscard]] QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    [[nodiscard]] Qt::ItemFlags flags(const QModelIndex& index) const override;

private:
    [[nodiscard]] float& cell(const QModelIndex& index);
    [[nodiscard]] float cell(const QModelIndex& index) const;

    QStringList m_inputs;
    QStringList m_outputs;
    Matrix m_matrix; // -0 is a silent cell with its phase inverted
};

// "Channel Remixer": the table over the channels of two layouts.
class RemixerDialog : public QDialog
{
    Q_OBJECT

public:
    struct Layout
    {
        int32_t channelsType;
        uint64_t mask;
    };
    // `proposed` has one row for each input channel and one column for each output channel; "Reset"
    // brings it back.
    RemixerDialog(const Layout& input, const Layout& output, const Matrix& proposed, QWidget* parent);

    [[nodiscard]] const Matrix& matrix() const { return m_model->matrix(); }

private:
    RemixModel* m_model;
};
