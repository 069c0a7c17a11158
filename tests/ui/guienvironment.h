// A QApplication for tests of the user interface, with the properties that the program starts with.
#pragma once

#include <gtest/gtest.h>

#include <QApplication>

#include <memory>

class GuiEnvironment : public testing::Environment
{
public:
    void SetUp() override
    {
        static int argc = 1;
        static char name[] = "test";
        static char* argv[] = {name, nullptr};
        m_application = std::make_unique<QApplication>(argc, argv);
        QApplication::setOrganizationName(QStringLiteral("Morvane tests"));
        m_application->setProperty("name", QStringLiteral("Test"));
        m_application->setProperty("major", 6);
        m_application->setProperty("minor", 0);
    }
    void TearDown() override { m_application.reset(); }

private:
    std::unique_ptr<QApplication> m_application;
};
