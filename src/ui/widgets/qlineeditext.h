// A line for a number: typed, stepped by keys and wheel, shown in whatever unit its owner likes.
#pragma once

#include <QLineEdit>

#include <functional>
#include <optional>
#include <vector>

// Holds a value in the owner's base unit (samples, Hz, decibels ...). Return or leaving the line takes
// the text; what does not parse, and Escape, brings the old text back. Up, Down and the wheel (while the
// line has the focus) step, with Ctrl by a tenth, Page Up and Page Down by ten. GUI thread.
class QLineEditExt : public QLineEdit
{
    Q_OBJECT

public:
    // How a value reads, and what a text means; nothing for a text that means no number.
    struct Words
    {
        std::function<QString(double)> toText;
        std::function<std::optional<double>(const QString&)> toValue;
    };

    explicit QLineEditExt(QWidget* parent = nullptr);

    // A plain number of so many decimals in the user's locale, with a suffix that may be left out.
    [[nodiscard]] static Words plainNumber(int decimals, const QString& suffix = {});

    void setWords(Words words);
    void setRange(double lowest, double highest);
    void setStep(double step) { m_step = step; }
    // Only these values, rising, are taken; a step goes to the next of them.
    void setChoices(std::vector<double> choices);

    [[nodiscard]] double value() const { return m_value; }
    // Cut to the range, or the nearest choice. Tells nothing; a value that is not finite is ignored.
    void setValue(double value);
    // As a key does: tells the new value, if it is one.
    void stepBy(double steps);
    // Takes the text as it stands now.
    void applyText();

Q_SIGNALS:
    // The user has changed the value.
    void valueEdited(double value);

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;

private:
    [[nodiscard]] double nearest(double value) const;
    void edit(double value);
    void showValue();

    Words m_words;
    double m_value = 0;
    double m_lowest;
    double m_highest;
    double m_step = 1;
    std::vector<double> m_choices;
};
