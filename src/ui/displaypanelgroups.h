// Pieces of the display panel.
#pragma once

#include <QComboBox>
#include <QVariant>

// The list of colour maps; it shows the map itself with its name in it.
class ColormapCombo : public QComboBox
{
    Q_OBJECT

public:
    explicit ColormapCombo(QWidget* parent = nullptr);

protected:
    void paintEvent(QPaintEvent* event) override;
};

// What the settings say before the user changed anything (property `defaultsettings`).
[[nodiscard]] QVariant defaultSetting(const char* key, const QVariant& fallback);
