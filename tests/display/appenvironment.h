// An application without windows, with a session folder, for tests of texture threads.
#pragma once

#include "support/testsupport.h"

#include <gtest/gtest.h>

#include <QGuiApplication>
#include <QVariant>

#include <memory>

class AppEnvironment : public testing::Environment
{
public:
    void SetUp() override
    {
        static int argc = 1;
        static char name[] = "test";
        static char* argv[] = {name, nullptr};
        m_application = std::make_unique<QGuiApplication>(argc, argv);
        m_application->setProperty("sessionpath",
                                   QVariant(testsupport::makeFolder(QStringLiteral("session"))));
    }
    void TearDown() override { m_application.reset(); }

private:
    std::unique_ptr<QGuiApplication> m_application;
};
inline testing::Environment* const appEnvironment = testing::AddGlobalTestEnvironment(new AppEnvironment);
