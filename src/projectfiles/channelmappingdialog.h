// Asks which channels a layout has.
#pragma once

#include <cstdint>

#include <QDialog>
#include <QList>

class QLabel;
class QListWidget;
class QPushButton;

// All channel positions of a type with their names, those of a layout ticked. More of them than
// `maxchannels` are refused with a box, and the dialog stays; none cannot be confirmed.
class ChannelMappingDialog : public QDialog
{
    Q_OBJECT

public:
    ChannelMappingDialog(int32_t channelsType, uint64_t mask, QWidget* parent);

    [[nodiscard]] uint64_t mask() const;

    void accept() override;

private:
    void fill(int32_t channelsType, uint64_t mask);
    void showCount();

    int m_most;
    QList<uint64_t> m_bits; // by row
    QListWidget* m_list = nullptr;
    QLabel* m_count = nullptr;
    QPushButton* m_accept = nullptr;
};
