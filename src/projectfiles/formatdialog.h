// Asks for a sampling format.
#pragma once

#include "model/types/samplingformat.h"
#include "projectfiles/formatlimits.h"

#include <cstdint>
#include <vector>

#include <QDialog>
#include <QString>

class QComboBox;
class QDialogButtonBox;
class QDoubleSpinBox;
class QFormLayout;
class QSpinBox;

// Rate up to `maxsamplerate`, a named channel configuration, a channel count up to `maxchannels`, and
// what one purpose adds: a length for a new document, resample or reinterpret for a change. Sample type
// and channels type stay those of the format it starts with. Configuration and count follow each other:
// a name sets its count; a count takes the usual layout, unless the user has chosen "Custom". A layout
// beyond the limits, which the present format of a document may have, is shown and can be kept.
class FormatDialog : public QDialog
{
    Q_OBJECT

public:
    // Convert: a change for a plug-in, which has samples to convert and nothing to reinterpret.
    enum class Purpose { NewProject, ChangeFormat, Convert };

    // `seconds`: the length that is proposed to a new document.
    FormatDialog(Purpose purpose, const SamplingFormat& format, double seconds, QWidget* parent);

    [[nodiscard]] SamplingFormat format() const;
    // Of a new document: at least one sample point.
    [[nodiscard]] int64_t length() const;
    // The samples stay and only their rate is called another one.
    [[nodiscard]] bool isReinterpret() const;
    // A change of the channel count is refused with a box where samples are reinterpreted.
    void accept() override;

    // The user has chosen "Custom": the channels themselves are still to be named.
    [[nodiscard]] bool isCustom() const { return m_customChosen; }

private:
    struct Choice
    {
        QString name;
        uint64_t mask; // 0 for "Custom"
    };

    void addExtra(QFormLayout& form, double seconds);
    void addFields(QFormLayout& form);
    void fillChoices();
    void configurationChosen(int index);
    void countChanged(int count);
    void showChoiceOf(uint64_t mask);

    Purpose m_purpose;
    FormatLimits m_limits;
    SamplingFormat m_format; // its mask is the chosen one
    int m_present;           // channel count of the format it started with
    std::vector<Choice> m_choices;
    bool m_customChosen = false;
    QDoubleSpinBox* m_length = nullptr; // seconds; a new document only
    QComboBox* m_mode = nullptr;        // a change only
    QDoubleSpinBox* m_rate = nullptr;
    QComboBox* m_configuration = nullptr;
    QSpinBox* m_channels = nullptr;
};
