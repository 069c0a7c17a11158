// A QApplication with an OpenGL 3.3 core default format, for tests that draw.
#pragma once

#include <gtest/gtest.h>

#include <QApplication>
#include <QSurfaceFormat>

#include <memory>

class GlEnvironment : public testing::Environment
{
public:
    void SetUp() override
    {
        QSurfaceFormat format;
        format.setVersion(3, 3);
        format.setProfile(QSurfaceFormat::CoreProfile);
        QSurfaceFormat::setDefaultFormat(format);
        static int argc = 1;
        static char name[] = "test";
        static char* argv[] = {name, nullptr};
        m_application = std::make_unique<QApplication>(argc, argv);
        m_application->setProperty("maxtexsize", 8192);
    }
    void TearDown() override { m_application.reset(); }

private:
    std::unique_ptr<QApplication> m_application;
};

inline testing::Environment* const glEnvironment = testing::AddGlobalTestEnvironment(new GlEnvironment);
