// Tests that run once for every vector target of the machine.
#pragma once

#include "spectral/primitives/cpu.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

class EveryTarget : public testing::TestWithParam<std::string>
{
protected:
    void SetUp() override { ASSERT_TRUE(cpu::forceVectorTarget(QString::fromStdString(GetParam()))); }
    void TearDown() override { cpu::forceVectorTarget(QString()); }
};

inline std::vector<std::string> everyTarget()
{
    std::vector<std::string> names;
    for (const QString& name : cpu::vectorTargets())
        names.push_back(name.toStdString());
    return names;
}

inline std::string targetName(const testing::TestParamInfo<std::string>& info)
{
    return info.param;
}
