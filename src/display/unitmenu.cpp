#include "display/unitmenu.h"

#include <QAction>
#include <QActionGroup>
#include <QCoreApplication>

namespace {

struct Kind
{
    EventId event;
    int32_t last; // highest value
    int32_t (*current)(const Convert& convert);
    QString (*word)(int32_t value);
    // The lock that stands below, where there is one.
    const char* lockLabel;
    EventId lock;
};

template<class Enum, QString (*toWord)(Enum)>
QString wordOf(int32_t value)
{
    return toWord(Enum(value));
}

const Kind& rowOf(UnitKind kind)
{
    static const Kind rows[] = {
        {EventId::TimeUnitChange, int32_t(TimeUnit::Pixels),
         [](const Convert& convert) { return int32_t(convert.timeUnit); }, wordOf<TimeUnit, timeUnitToString>,
         nullptr, EventId()},
        {EventId::PowerUnitChange, int32_t(PowerUnit::Normalized),
         [](const Convert& convert) { return int32_t(convert.powerUnit); },
         wordOf<PowerUnit, powerUnitToString>, QT_TRANSLATE_NOOP("UnitMenu", "Always Center Waveform"),
         EventId::DisplayLockCenterTo0Enable},
        {EventId::FreqUnitChange, int32_t(FreqUnit::Normalized),
         [](const Convert& convert) { return int32_t(convert.freqUnit); }, wordOf<FreqUnit, freqUnitToString>,
         QT_TRANSLATE_NOOP("UnitMenu", "Lock Spectrogram to 0Hz"), EventId::DisplayLockBottomTo0Enable},
        {EventId::FreqScaleChange, int32_t(FreqScale::MidiLogarithmic),
         [](const Convert& convert) { return int32_t(convert.freqScale); },
         wordOf<FreqScale, freqScaleToString>, nullptr, EventId()},
        {EventId::FilteringChange, int32_t(Filtering::Cubic),
         [](const Convert& convert) { return int32_t(convert.filtering); },
         wordOf<Filtering, filteringToString>, nullptr, EventId()},
    };
    return rows[int(kind)];
}

QString translated(const char* text)
{
    return QCoreApplication::translate("UnitMenu", text);
}

bool isLocked(const ViewState& state, EventId lock)
{
    return lock == EventId::DisplayLockCenterTo0Enable ? state.lockCenterTo0() : state.lockBottomTo0();
}

// The value of a unit, or -1 for the lock below them.
int32_t valueOf(const QAction& action)
{
    return action.data().toInt();
}

} // namespace

void addUnitEntries(QMenu& menu, ViewState& state, UnitKind kind)
{
    const Kind& row = rowOf(kind);
    auto* group = new QActionGroup(&menu);
    for (int32_t value = 0; value <= row.last; ++value) {
        QAction* action = group->addAction(translated(row.word(value).toUtf8().constData()));
        action->setCheckable(true);
        action->setChecked(row.current(state.convert()) == value);
        action->setData(value);
        QObject::connect(action, &QAction::triggered, &menu,
                         [&state, &row, value] { state.setUnit(row.event, value); });
        menu.addAction(action);
    }
    if (!row.lockLabel)
        return;
    menu.addSeparator();
    QAction* lock = menu.addAction(translated(row.lockLabel));
    lock->setCheckable(true);
    lock->setChecked(isLocked(state, row.lock));
    lock->setData(-1);
    QObject::connect(lock, &QAction::triggered, &menu,
                     [&state, &row](bool on) { state.setLock(row.lock, on); });
}

UnitMenu::UnitMenu(UnitKind kind, const QString& title, QWidget* parent)
    : QMenu(title, parent),
      ViewState(QStringLiteral("UnitMenu")),
      m_kind(kind)
{
    addUnitEntries(*this, *this, kind);
    for (QAction* action : actions())
        action->setEnabled(false);
}

void UnitMenu::viewStateChanged()
{
    const Kind& row = rowOf(m_kind);
    for (QAction* action : actions()) {
        if (action->isSeparator())
            continue;
        const int32_t value = valueOf(*action);
        action->setEnabled(hasProject());
        action->setChecked(value < 0 ? isLocked(*this, row.lock) : row.current(convert()) == value);
    }
}
