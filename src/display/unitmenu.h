// Menus of the units and scales in which numbers and axes read.
#pragma once

#include "display/viewstate.h"

#include <vector>

#include <QMenu>

// Time: units. Power: units and the lock of the waveforms' centre. Frequency: units and the lock of
// the spectrogram's bottom. Scale: frequency scales. Filtering: how pixels between bins are made.
enum class UnitKind { Time, Power, Frequency, Scale, Filtering };

// Appends the entries of a kind, those in force checked. An entry changes `state`, which must outlive the
// menu, and so posts its event to everybody.
void addUnitEntries(QMenu& menu, ViewState& state, UnitKind kind);

// A menu of one kind that stands for good, as in the menu bar; its checks follow the project in front.
class UnitMenu : public QMenu, public ViewState
{
    Q_OBJECT

public:
    UnitMenu(UnitKind kind, const QString& title, QWidget* parent = nullptr);

protected:
    void viewStateChanged() override;

private:
    UnitKind m_kind;
};
