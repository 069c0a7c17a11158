// A button that shows a colour and offers others.
#pragma once

#include <cstdint>
#include <vector>

#include <QToolButton>

// A press opens a menu with the colours of a palette, any other one, and none. GUI thread.
class QColorPicker : public QToolButton
{
    Q_OBJECT

public:
    // No colour of its own.
    static constexpr uint32_t unset = 0xffffffff;

    explicit QColorPicker(const std::vector<uint32_t>& palette, QWidget* parent = nullptr);

    [[nodiscard]] uint32_t color() const { return m_color; }
    // RGB, or unset. Tells nothing.
    void setColor(uint32_t color);

Q_SIGNALS:
    void colorPicked(uint32_t color);

private:
    void pick(uint32_t color);
    void pickOther();

    uint32_t m_color = unset;
};
