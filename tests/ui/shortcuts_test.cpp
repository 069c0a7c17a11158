// Keys and mnemonics of the whole window.
#include "ui/plugintest.h"

#include "ui/toolbars.h"

#include <QMenu>
#include <QMenuBar>
#include <QShortcutEvent>
#include <QTest>

namespace {

const auto* const environment = testing::AddGlobalTestEnvironment(new WindowEnvironment);

// Notes that an action was fired by a key, in place of the action.
class Catch : public QObject
{
public:
    bool eventFilter(QObject* object, QEvent* event) override
    {
        if (event->type() != QEvent::Shortcut)
            return false;
        (static_cast<QShortcutEvent*>(event)->isAmbiguous() ? ambiguous : fired) << object->objectName();
        return true;
    }
    QStringList fired;
    QStringList ambiguous;
};

class ShortcutsTest : public PluginTest
{
protected:
    QList<QAction*> rows()
    {
        QList<QAction*> found;
        for (QAction* action : m_window->actions())
            if (!action->objectName().isEmpty() &&
                m_window->actionTable().action(action->objectName()) == action)
                found << action;
        return found;
    }
};

QChar mnemonicOf(const QString& text)
{
    for (int i = 0; i + 1 < text.size(); ++i) {
        if (text[i] != QLatin1Char('&'))
            continue;
        if (text[i + 1] != QLatin1Char('&'))
            return text[i + 1].toLower();
        ++i;
    }
    return {};
}

// "Edit: Cut to Ne&w Layer / Copy to Ne&w Layer" for each two visible entries of a menu.
void collect(const QString& title, const QList<QAction*>& entries, QStringList& collisions)
{
    QHash<QChar, QString> first;
    for (const QAction* entry : entries) {
        if (!entry->isVisible() || entry->isSeparator())
            continue;
        if (entry->menu())
            collect(QString(entry->text()).remove(QLatin1Char('&')), entry->menu()->actions(), collisions);
        const QChar key = mnemonicOf(entry->text());
        if (key.isNull())
            continue;
        if (first.contains(key))
            collisions << QStringLiteral("%1: %2 / %3").arg(title, first[key], entry->text());
        else
            first[key] = entry->text();
    }
}

} // namespace

TEST_F(ShortcutsTest, EveryCommandOfTheTableFiresOnEachOfItsKeys)
{
    showWith({QStringLiteral("minimaltool"), QStringLiteral("minimalprocess")});
    ASSERT_TRUE(tabs().parse(makeTone("tone.wav", 0.5)));
    m_window->setFocus();
    Catch pressed;
    for (QAction* action : rows()) {
        action->setEnabled(true);
        action->installEventFilter(&pressed);
    }
    int keys = 0;
    for (const QAction* action : rows())
        for (const QKeySequence& sequence : action->shortcuts()) {
            ASSERT_EQ(sequence.count(), 1) << action->objectName().toStdString();
            pressed.fired.clear();
            QTest::sendKeyEvent(QTest::Click, m_window.get(),
                                Qt::Key(sequence[0] & ~int(Qt::KeyboardModifierMask)), QString(),
                                Qt::KeyboardModifiers(sequence[0] & int(Qt::KeyboardModifierMask)));
            EXPECT_EQ(pressed.fired, QStringList(action->objectName()))
                << sequence.toString().toStdString() << " "
                << pressed.ambiguous.join(QLatin1Char(' ')).toStdString();
            ++keys;
        }
    EXPECT_GT(keys, 60);
    EXPECT_TRUE(pressed.ambiguous.isEmpty());
    for (QAction* action : rows())
        action->removeEventFilter(&pressed);
}

TEST_F(ShortcutsTest, NoTwoVisibleEntriesOfAMenuShareAMnemonicButThoseWhoseTextsAreFixed)
{
    showWith({QStringLiteral("minimaltool"), QStringLiteral("minimalprocess")});
    ASSERT_TRUE(tabs().parse(makeTone("tone.wav", 0.5)));
    QStringList collisions;
    collect(QStringLiteral("Menus"), m_window->menuBar()->actions(), collisions);
    collisions.sort();
    EXPECT_EQ(collisions, QStringList({
                              QStringLiteral("Edit: Cut to Ne&w Layer / Copy to Ne&w Layer"),
                              QStringLiteral("File: Open &Recent / &Replace Project Audio"),
                              QStringLiteral("Layer: New &Group / &Group"),
                              QStringLiteral("View: &Frequency Unit / &Fullscreen"),
                          }))
        << collisions.join(QLatin1Char('\n')).toStdString();
}

TEST_F(ShortcutsTest, TheKeysOfTheToolsAndOfTheBrushAreThoseOfTheTable)
{
    showWith({QStringLiteral("minimaltool")});
    const struct
    {
        const char* id;
        const char* keys;
    } table[] = {
        {"toolsplayback", "P"},
        {"toolshand", "H"},
        {"toolszoom", "Z"},
        {"tools3d", "D"},
        {"toolsminimalselection", ""},
        {"toolsincreasebrushsize", "]"},
        {"toolsdecreasebrushsize", "["},
        {"toolsincreasebrushaspectratio", "}"},
        {"toolsdecreasebrushaspectratio", "{"},
        {"toolsincreasebrushhardness", "Alt+]"},
        {"toolsdecreasebrushhardness", "Alt+["},
    };
    for (const auto& row : table)
        EXPECT_EQ(QKeySequence::listToString(action(row.id).shortcuts()), QLatin1String(row.keys)) << row.id;
}
