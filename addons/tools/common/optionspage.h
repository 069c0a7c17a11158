// The options of a selection tool in the options bar.
#pragma once

#include "model/types/area.h"

#include <array>
#include <optional>

#include <QWidget>

class QComboBox;
class QDoubleSpinBox;
class QHBoxLayout;
class QLabel;
class QLineEdit;
struct PluginContext;

// Numbers of the selection that can be typed.
enum class SelectionField { Start, End, Length, Low, High };
constexpr int selectionFields = 5;

// One row: what the tool itself adds, the fade, and the selection in numbers, in the units of the window.
class OptionsPage : public QWidget
{
    Q_OBJECT

public:
    explicit OptionsPage(QWidget* parent = nullptr);

    // Options of the tool itself, in the order of the calls. The suffix stands behind the number.
    QDoubleSpinBox* addNumber(const QString& label, double least, double most, double step, double value,
                              const QString& suffix);

    [[nodiscard]] double fadeSeconds() const;
    [[nodiscard]] double fadeHz() const;

    // Forgets what was being typed.
    void reset();
    // Shows the selection of the context; what is being typed stays.
    void follow(const PluginContext& context);
    // What was typed since the last call, and where the edges of the selection lie by it; nothing when
    // nothing was, when there are no digits in it, or when the edges would change places. Without a selection
    // the band is full unless typed, and the edges of time are collected until they make a span.
    [[nodiscard]] std::optional<Area> takeTyped(const PluginContext& context);

Q_SIGNALS:
    // The user has typed a number of the selection.
    void typed();
    // An option has changed.
    void changed();

private:
    struct Field
    {
        QLabel* label = nullptr;
        QLineEdit* edit = nullptr;
        QLabel* suffix = nullptr;
    };

    void addField(SelectionField field, const QString& label, const QString& hint);
    [[nodiscard]] Field& field(SelectionField f) { return m_fields[size_t(f)]; }
    void show(SelectionField f, const QString& text);

    QHBoxLayout* m_row;
    QHBoxLayout* m_own;
    QDoubleSpinBox* m_fadeTime;
    QDoubleSpinBox* m_fadeFrequency;
    std::array<Field, selectionFields> m_fields;
    std::optional<SelectionField> m_typedField;
    QString m_typedText;
    Area m_collected; // without a selection
};
