// What support wants to know of a machine.
#pragma once

#include <QStringList>

// "OS: ...", "CPU: ...", "RAM: ...", "HDD: ...", then "SCR<index>: ..." for each screen.
[[nodiscard]] QStringList systemReport(int threadCount, const QString& instructionSet);
