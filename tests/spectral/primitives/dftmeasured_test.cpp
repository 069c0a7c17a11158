// Every length of the FFT size field on plans that were measured.
#include "dftsupport.h"

#include <QString>

using namespace dfttest;

// Measuring all these plans takes minutes. They are kept in the build folder, so that only the first
// run after a fresh configuration pays for it.
class DftMeasured : public testing::Test
{
protected:
    void SetUp() override
    {
        setWisdomFile(QStringLiteral(MORVANE_MEASURED_PLANS));
        usePlans(Planning::Measured);
    }
    void TearDown() override
    {
        keepMeasuredPlans();
        setWisdomFile(QString());
        usePlans(Planning::Estimate);
    }
};

TEST_F(DftMeasured, EveryLengthReal)
{
    for (const int length : dftLengths()) {
        checkReal(length);
        if (length % 2048 == 0)
            keepMeasuredPlans(); // for the next run, should this one be cut short
    }
}

TEST_F(DftMeasured, EveryLengthComplex)
{
    for (const int length : dftLengths()) {
        checkComplex(length);
        if (length % 2048 == 0)
            keepMeasuredPlans(); // for the next run, should this one be cut short
    }
}
