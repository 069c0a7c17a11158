#include "ui/guienvironment.h"
#include "ui/objectproperties.h"
#include "ui/stylesheet.h"

#include <gtest/gtest.h>

#include <QAction>
#include <QCheckBox>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QObject>
#include <QVBoxLayout>

namespace {

const auto* const environment = testing::AddGlobalTestEnvironment(new GuiEnvironment);

TEST(StyleSheet, NameThatBeginsALongerOneIsNotReplacedInsideIt)
{
    QObject store;
    store.setProperty("colortext", QStringLiteral("#e0e0e0"));
    store.setProperty("colortextdisabled", QStringLiteral("#959595"));
    EXPECT_EQ(expandStyleSheet(QStringLiteral("a{color:@colortextdisabled;background:@colortext;}"), store),
              QStringLiteral("a{color:#959595;background:#e0e0e0;}"));
    EXPECT_EQ(expandStyleSheet(QStringLiteral("@colortext2;"), store), QStringLiteral("@colortext2;"));
}

TEST(StyleSheet, CharacterBehindTheNameIsKept)
{
    QObject store;
    store.setProperty("size", 12);
    EXPECT_EQ(expandStyleSheet(QStringLiteral("@size}@size @size-@size_@size\n"), store),
              QStringLiteral("12}12 12-12_12\n"));
}

TEST(StyleSheet, NameAtTheVeryEndAndUnknownNamesStay)
{
    QObject store;
    store.setProperty("size", 12);
    EXPECT_EQ(expandStyleSheet(QStringLiteral("x: @other; @size"), store),
              QStringLiteral("x: @other; @size"));
}

TEST(StyleSheet, ValueWithABackslashIsTakenAsItStands)
{
    QObject store;
    store.setProperty("path", QStringLiteral("C:\\1\\x"));
    EXPECT_EQ(expandStyleSheet(QStringLiteral("@path;"), store), QStringLiteral("C:\\1\\x;"));
}

class ObjectProperties : public testing::Test
{
protected:
    void TearDown() override
    {
        for (const char* name :
             {"show@Edit", "show@hint", "show@save", "default@lockfreq", "default@unlocked", "default@title"})
            qApp->setProperty(name, QVariant());
    }
};

TEST_F(ObjectProperties, ReachWidgetsAndActionsAtAnyDepth)
{
    QWidget window;
    auto* group = new QGroupBox(&window);
    group->setObjectName(QStringLiteral("Edit"));
    auto* hint = new QLabel(group);
    hint->setObjectName(QStringLiteral("hint"));
    hint->hide();
    auto* save = new QAction(group);
    save->setObjectName(QStringLiteral("save"));
    auto* lock = new QCheckBox(group);
    lock->setObjectName(QStringLiteral("lockfreq"));
    auto* unlocked = new QCheckBox(group);
    unlocked->setObjectName(QStringLiteral("unlocked"));
    unlocked->setChecked(true);
    auto* title = new QLineEdit(group);
    title->setObjectName(QStringLiteral("title"));

    qApp->setProperty("show@Edit", QStringLiteral("false"));
    qApp->setProperty("show@hint", QStringLiteral("true"));
    qApp->setProperty("show@save", QStringLiteral("false"));
    qApp->setProperty("default@lockfreq", QStringLiteral("true"));
    qApp->setProperty("default@unlocked", QStringLiteral("false"));
    qApp->setProperty("default@title", QStringLiteral("Hello"));
    applyObjectProperties(window);

    EXPECT_TRUE(group->isHidden());
    EXPECT_FALSE(hint->isHidden());
    EXPECT_FALSE(save->isVisible());
    EXPECT_TRUE(lock->isChecked());
    EXPECT_FALSE(unlocked->isChecked());
    EXPECT_EQ(title->text(), QStringLiteral("Hello"));
}

TEST_F(ObjectProperties, ObjectsWithoutAPropertyStayAsTheyAre)
{
    QWidget window;
    auto* box = new QCheckBox(&window);
    box->setObjectName(QStringLiteral("other"));
    box->setChecked(true);
    qApp->setProperty("show@Edit", QStringLiteral("false"));
    qApp->setProperty("default@lockfreq", QStringLiteral("false"));
    applyObjectProperties(window);
    EXPECT_TRUE(box->isChecked());
    EXPECT_FALSE(box->isHidden());
}

} // namespace
