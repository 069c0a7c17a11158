#include "ui/widgets/messages.h"

#include <gtest/gtest.h>

namespace {

TEST(Messages, ScriptAnswersInPlaceOfTheUser)
{
    messages::Box seen;
    messages::setAnswerer([&seen](const messages::Box& box) {
        seen = box;
        return QMessageBox::No;
    });
    EXPECT_FALSE(messages::question(nullptr, QStringLiteral("Title"), QStringLiteral("Text ?")));
    EXPECT_EQ(seen.title, QStringLiteral("Title"));
    EXPECT_EQ(seen.text, QStringLiteral("Text ?"));
    EXPECT_EQ(seen.buttons, QMessageBox::Yes | QMessageBox::No);
    EXPECT_EQ(seen.defaultButton, QMessageBox::Yes);

    messages::critical(nullptr, QStringLiteral("Error"), QStringLiteral("Broken"),
                       QStringLiteral("/a/b: gone"));
    EXPECT_EQ(seen.icon, QMessageBox::Critical);
    EXPECT_EQ(seen.informative, QStringLiteral("/a/b: gone"));
    messages::setAnswerer({});
}

} // namespace
