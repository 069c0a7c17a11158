#include "projectfiles/progressbox.h"

#include "support/testsupport.h"
#include "ui/guienvironment.h"

#include <QProgressDialog>
#include <QPushButton>
#include <QWidget>

namespace {

[[maybe_unused]] const auto* environment = testing::AddGlobalTestEnvironment(new GuiEnvironment);

QProgressDialog* shown(QWidget& parent)
{
    return parent.findChild<QProgressDialog*>();
}

} // namespace

TEST(ProgressBoxTest, IsThereAtOnceAndBlocksItsWindowOnly)
{
    QWidget window;
    window.show();
    ProgressBox box(&window, QStringLiteral("Opening x..."));
    ASSERT_NE(shown(window), nullptr);
    EXPECT_TRUE(shown(window)->isVisible());
    EXPECT_EQ(shown(window)->windowModality(), Qt::WindowModal);
    EXPECT_EQ(shown(window)->labelText(), QStringLiteral("Opening x..."));
}

TEST(ProgressBoxTest, ShowsThePartThatIsDoneAndStaysUntilTheEnd)
{
    QWidget window;
    ProgressBox box(&window, QStringLiteral("x"));
    QProgressDialog* dialog = shown(window);
    EXPECT_TRUE(testsupport::waitFor([&] {
        box(int64_t(1) << 40, int64_t(1) << 42); // far beyond the bar's own numbers
        return dialog->value() * 4 == dialog->maximum();
    }));
    EXPECT_TRUE(testsupport::waitFor([&] {
        box(7, 7);
        return dialog->value() == dialog->maximum();
    }));
    EXPECT_TRUE(dialog->isVisible());
    EXPECT_TRUE(box(3, 0)); // no total: nothing to show
}

TEST(ProgressBoxTest, TheButtonCancels)
{
    QWidget window;
    ProgressBox box(&window, QStringLiteral("x"));
    EXPECT_TRUE(box(1, 10));
    shown(window)->findChild<QPushButton*>()->click();
    EXPECT_FALSE(box(2, 10));
    EXPECT_FALSE(box(3, 10));
}
