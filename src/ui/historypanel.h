// The dock panel with the states of the project in front.
#pragma once

#include "model/history.h"

#include <QWidget>

#include <functional>

class QListWidget;
class QListWidgetItem;
class QToolButton;

// Owns the history that undoes and redoes, and shows it: a row for each state, the current one selected,
// those that a redo would bring back in grey. Choosing a row goes there.
//
// What finds no room on the disk is told in a box with folder and cause, once the event that led to it
// has reached everybody. GUI thread.
class HistoryPanel : public QWidget, public IEvent
{
    Q_OBJECT

public:
    explicit HistoryPanel(QWidget* parent = nullptr);

    [[nodiscard]] const History& history() const { return m_history; }

    void samplingFormatEvent(EventId id, const SamplingFormat& format) override;

public Q_SLOTS:
    void undo();
    void redo();
    // Goes to the state of the row `current`.
    void setActiveHistory(QListWidgetItem* current, QListWidgetItem* previous);
    // The current state is undone first. The only state stays, with a box.
    void deleteCurrentAndAfter();

Q_SIGNALS:
    void undoEnabled(bool enabled);
    void redoEnabled(bool enabled);
    // A new project from the current state.
    void duplicateProjectRequested();

private:
    QToolButton* addButton(const char* icon, const QString& name);
    void showStates();
    void showRow();
    void step(const std::function<History::Result()>& move);
    void tellStorageFailure(const QString& words);

    History m_history;
    bool m_stepping = false; // a step is being made; otherwise an action is being recorded
    // Children.
    QListWidget* m_list;
    QWidget* m_buttons;
};
