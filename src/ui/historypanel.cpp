#include "ui/historypanel.h"

#include "ui/panelbuttons.h"
#include "ui/widgets/messages.h"

#include <QColor>
#include <QCoreApplication>
#include <QHBoxLayout>
#include <QListWidget>
#include <QScopedValueRollback>
#include <QSignalBlocker>
#include <QToolButton>
#include <QVBoxLayout>

namespace {

constexpr int leastHeight = 30; // pixels of the list: a state, so that the buttons below keep their room

} // namespace

HistoryPanel::HistoryPanel(QWidget* parent)
    : QWidget(parent),
      IEvent(QStringLiteral("HistoryPanel")),
      m_list(new QListWidget(this)),
      m_buttons(new QWidget(this))
{
    setObjectName(QStringLiteral("historypanel"));
    m_list->setObjectName(QStringLiteral("states"));
    m_list->setAccessibleName(tr("States"));
    m_list->setToolTip(tr("Go back or forth to a state"));
    m_list->setIconSize(QSize(16, 16));
    m_list->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_list->setTextElideMode(Qt::ElideRight);
    m_list->setUniformItemSizes(true);
    m_list->setMinimumHeight(leastHeight);

    auto* bar = new QHBoxLayout(m_buttons);
    bar->setContentsMargins(4, 2, 4, 2);
    bar->addStretch(1);
    QToolButton* undoButton = addButton("undo", tr("Undo"));
    QToolButton* redoButton = addButton("redo", tr("Redo"));
    QToolButton* duplicate = addButton("copy", tr("Duplicate Project From Current State"));
    QToolButton* remove = addButton("trash", tr("Delete Current State And After"));
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins({});
    layout->setSpacing(0);
    layout->addWidget(m_list, 1);
    layout->addWidget(m_buttons);

    connect(undoButton, &QToolButton::clicked, this, &HistoryPanel::undo);
    connect(redoButton, &QToolButton::clicked, this, &HistoryPanel::redo);
    connect(duplicate, &QToolButton::clicked, this, &HistoryPanel::duplicateProjectRequested);
    connect(remove, &QToolButton::clicked, this, &HistoryPanel::deleteCurrentAndAfter);
    connect(this, &HistoryPanel::undoEnabled, undoButton, &QWidget::setEnabled);
    connect(this, &HistoryPanel::redoEnabled, redoButton, &QWidget::setEnabled);
    connect(m_list, &QListWidget::currentItemChanged, this, &HistoryPanel::setActiveHistory);
    connect(&m_history, &History::statesChanged, this, &HistoryPanel::showStates);
    connect(&m_history, &History::currentRowChanged, this, &HistoryPanel::showRow);
    connect(&m_history, &History::undoEnabled, this, &HistoryPanel::undoEnabled);
    connect(&m_history, &History::redoEnabled, this, &HistoryPanel::redoEnabled);
    connect(&m_history, &History::storageFailed, this, &HistoryPanel::tellStorageFailure);
    undoButton->setEnabled(false);
    redoButton->setEnabled(false);
    setEnabled(false); // until there is a project
}

QToolButton* HistoryPanel::addButton(const char* icon, const QString& name)
{
    QToolButton* button = makeIconButton(m_buttons, icon, name);
    m_buttons->layout()->addWidget(button);
    return button;
}

void HistoryPanel::samplingFormatEvent(EventId, const SamplingFormat& format)
{
    setEnabled(format.channels > 0);
}

// --- what the user does -----------------------------------------------------------------------------

void HistoryPanel::step(const std::function<History::Result()>& move)
{
    const QScopedValueRollback<bool> stepping(m_stepping, true);
    move();
}

void HistoryPanel::undo()
{
    step([this] { return m_history.undo(); });
}

void HistoryPanel::redo()
{
    step([this] { return m_history.redo(); });
}

void HistoryPanel::setActiveHistory(QListWidgetItem* current, QListWidgetItem*)
{
    if (!current)
        return;
    const int row = m_list->row(current);
    step([this, row] { return m_history.moveTo(row); });
    // Where the step was not made. Later: the list still has to select the row that was clicked.
    if (m_history.currentRow() != row)
        QMetaObject::invokeMethod(this, &HistoryPanel::showRow, Qt::QueuedConnection);
}

void HistoryPanel::deleteCurrentAndAfter()
{
    History::Result result = History::Result::Nothing;
    step([&] { return result = m_history.deleteCurrentAndAfter(); });
    if (result == History::Result::FirstState)
        messages::warning(window(), tr("Cannot Delete First State"), tr("Cannot delete the first state."));
}

// --- what the history tells -------------------------------------------------------------------------

void HistoryPanel::showStates()
{
    const QSignalBlocker blocker(m_list);
    m_list->clear();
    for (const HistoryEntry& state : m_history.states())
        m_list->addItem(new QListWidgetItem(rowIcon(state.icon), state.name));
}

void HistoryPanel::showRow()
{
    const QSignalBlocker blocker(m_list);
    const QColor text(QCoreApplication::instance()->property("colortext").toString());
    const QColor undone(QCoreApplication::instance()->property("colortextdisabled").toString());
    const int row = m_history.currentRow();
    for (int i = 0; i < m_list->count(); ++i)
        m_list->item(i)->setForeground(i > row ? undone : text);
    m_list->setCurrentRow(row);
    if (row >= 0)
        m_list->scrollToItem(m_list->item(row));
}

void HistoryPanel::tellStorageFailure(const QString& words)
{
    const QString what = m_stepping ? tr("The state could not be restored.")
                                    : tr("The last action could not be stored and was taken back.");
    const auto tell = [this, what, words] { messages::critical(window(), tr("History"), what, words); };
    QMetaObject::invokeMethod(this, tell, Qt::QueuedConnection);
}
