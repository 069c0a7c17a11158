// Plans that are found beside the work and kept between starts.
#include "spectral/primitives/planning.h"

#include "spectral/primitives/dftplan.h"
#include "spectral/primitives/transform.h"
#include "spectral/primitives/wisdomfile.h"
#include "support/testsupport.h"

#include <fftw3.h>
#include <gtest/gtest.h>

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>

#include <atomic>
#include <cmath>
#include <random>
#include <thread>

#include <sys/stat.h>

namespace {

const QString realPlanner = QStringLiteral(MORVANE_PLANNER);

// One transform of ones: its first value is the length.
void runOnce(const DftPlan& plan)
{
    ArrayTemplate<float> source(plan.length());
    for (float& value : source)
        value = 1;
    ArrayTemplate<Complex> spectrum(plan.length() / 2 + 1);
    plan.forward(source.data(), spectrum.data());
    ASSERT_NEAR(spectrum[0].re / float(plan.length()), 1, 1e-5);
    ASSERT_NEAR(spectrum[1].re / float(plan.length()), 0, 1e-5);
}

bool measured(const DftPlan& plan)
{
    return planInForce(plan, DftDirection::Forward) == PlanKind::Measured;
}

QString script(const QByteArray& text)
{
    const QString path = testsupport::makeFolder() + QStringLiteral("/planner");
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("#!/bin/sh\n" + text + '\n');
    file.close();
    EXPECT_TRUE(file.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
    return path;
}

bool searchEnds()
{
    return testsupport::waitFor([] { return planSearchIdle(); }, 60000);
}

class PlanningTest : public testing::Test
{
protected:
    void SetUp() override { setPlanning(Planning::Upgrade); }
    void TearDown() override
    {
        EXPECT_TRUE(searchEnds());
        setPlanning(Planning::Estimate);
        setWisdomFile(QString());
    }
};

// Runs one of the tests below that are off by default, in a process of its own.
int runChild(const char* test, const QString& file)
{
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("MORVANE_WISDOM"), file);
    process.setProcessEnvironment(environment);
    process.setProcessChannelMode(QProcess::ForwardedChannels);
    process.start(QFile::symLinkTarget(QStringLiteral("/proc/self/exe")),
                  {QStringLiteral("--gtest_also_run_disabled_tests"),
                   QStringLiteral("--gtest_filter=PlanningChild.DISABLED_") + QLatin1String(test)});
    return process.waitForFinished(testsupport::patient(120000)) &&
                   process.exitStatus() == QProcess::NormalExit
               ? process.exitCode()
               : -1;
}

QString wisdomOfParent()
{
    return qEnvironmentVariable("MORVANE_WISDOM");
}

// Long enough that a measured plan is twice as fast as the estimated one on any machine seen so far.
constexpr int worthwhile = 65536;

} // namespace

TEST_F(PlanningTest, ARepeatedSizeCostsNoPlanning)
{
    setPlanning(Planning::Estimate);
    const Transform first(1, WindowType::Hann, 352, 8, 2);
    const int64_t before = planningCount();
    for (int i = 0; i < 10; ++i) {
        const Transform again(1, WindowType::Blackman, 352, 4, 2);
        const Transform twice(1, WindowType::Hann, 704, 4, 1); // the same length of the DFT
        const Transform copied(again);
    }
    EXPECT_EQ(planningCount(), before);
}

TEST_F(PlanningTest, InitializingAgainAndLateDoesNoHarm)
{
    initializePrimitives();
    const DftPlan plan(96, DftKind::Real);
    initializePrimitives();
    runOnce(plan);
}

TEST_F(PlanningTest, StartsEstimatedAndTakesTheMeasuredPlanOver)
{
    setPlannerProgram(realPlanner);
    const DftPlan plan(worthwhile, DftKind::Real);
    EXPECT_FALSE(measured(plan));
    // Threads go on transforming while the plan changes under them.
    std::atomic<bool> ending{false};
    std::vector<std::thread> threads;
    for (int t = 0; t < 2; ++t)
        threads.emplace_back([&] {
            while (!ending) {
                runOnce(plan);
                std::this_thread::sleep_for(std::chrono::milliseconds(5)); // leaves the machine to others
            }
        });
    EXPECT_TRUE(testsupport::waitFor([&] { return measured(plan); }, 60000));
    ending = true;
    for (std::thread& thread : threads)
        thread.join();
    runOnce(plan);
    // Nobody asked for the other direction, so nobody measured it.
    EXPECT_TRUE(searchEnds());
    EXPECT_EQ(planInForce(plan, DftDirection::Inverse), PlanKind::Estimated);
}

TEST_F(PlanningTest, APlanThatNeverRanIsNotMeasured)
{
    setPlannerProgram(script("echo ran > " + QDir::tempPath().toLocal8Bit() + "/unwanted"));
    const DftPlan plan(416, DftKind::Real);
    EXPECT_TRUE(planSearchIdle());
    EXPECT_FALSE(QFile::exists(QDir::tempPath() + QStringLiteral("/unwanted")));
}

TEST_F(PlanningTest, EstimateAndMeasuredStartNoSearch)
{
    for (const Planning planning : {Planning::Estimate, Planning::Measured}) {
        setPlanning(planning);
        const DftPlan plan(104, DftKind::Real);
        runOnce(plan);
        EXPECT_TRUE(planSearchIdle());
        EXPECT_EQ(measured(plan), planning == Planning::Measured);
    }
}

TEST_F(PlanningTest, AHelperThatFailsLeavesTheEstimatedPlan)
{
    const QString file = testsupport::makeFolder() + QStringLiteral("/plans");
    setWisdomFile(file);
    int length = 544;
    for (const QString& program :
         {QStringLiteral("/nonexistent/planner"), script("exit 1"), script("kill -9 $$"),
          script("head -c 9000000 /dev/zero | tr '\\\\0' x"), QStringLiteral("/")}) {
        setPlannerProgram(program);
        const DftPlan plan(length += 8, DftKind::Real);
        runOnce(plan);
        EXPECT_TRUE(searchEnds());
        EXPECT_FALSE(measured(plan)) << program.toStdString();
        runOnce(plan);
    }
    EXPECT_FALSE(QFile::exists(file)) << "an unanswered question was kept as answered";
}

TEST_F(PlanningTest, AHelperThatFindsNothingSettlesThePlan)
{
    const QString file = testsupport::makeFolder() + QStringLiteral("/plans");
    setWisdomFile(file);
    setPlannerProgram(script("exit 0"));
    const DftPlan plan(656, DftKind::Real);
    runOnce(plan);
    EXPECT_TRUE(searchEnds());
    EXPECT_FALSE(measured(plan));
    EXPECT_TRUE(readWisdom(file).settled.contains(QStringLiteral("complex forward 328")));
}

TEST_F(PlanningTest, AHelperThatTalksNonsenseChangesNothing)
{
    setPlannerProgram(script("echo '(fftw-3.3.10 fftwf_wisdom #x1 #x2 #x3 #x4 (nonsense'"));
    const DftPlan plan(672, DftKind::Real);
    runOnce(plan);
    EXPECT_TRUE(searchEnds());
    EXPECT_FALSE(measured(plan));
    runOnce(plan);
}

TEST_F(PlanningTest, MeasuredPlansAreKeptBetweenStarts)
{
    const QString file = testsupport::makeFolder() + QStringLiteral("/plans");
    ASSERT_EQ(runChild("FindsAPlan", file), 0);
    ASSERT_TRUE(QFile::exists(file));
    EXPECT_EQ(runChild("HasThePlanAtOnce", file), 0);
}

TEST(PlanningChild, DISABLED_FindsAPlan)
{
    setWisdomFile(wisdomOfParent());
    setPlannerProgram(realPlanner);
    setPlanning(Planning::Upgrade);
    const DftPlan plan(worthwhile, DftKind::Real);
    runOnce(plan);
    EXPECT_TRUE(testsupport::waitFor([&] { return planSearchIdle() && measured(plan); }, 60000));
}

TEST(PlanningChild, DISABLED_HasThePlanAtOnce)
{
    setWisdomFile(wisdomOfParent());
    setPlanning(Planning::Upgrade);
    const DftPlan plan(worthwhile, DftKind::Real);
    EXPECT_TRUE(measured(plan));
    runOnce(plan);
    EXPECT_TRUE(planSearchIdle());
}

TEST_F(PlanningTest, TheEndOfTheProcessDoesNotWaitForAMeasurement)
{
    QElapsedTimer timer;
    timer.start();
    EXPECT_EQ(runChild("EndsInTheMiddle", testsupport::makeFolder() + QStringLiteral("/started")), 0);
    EXPECT_LT(timer.elapsed(), 30000); // the helper sleeps for 50 s
}

TEST(PlanningChild, DISABLED_EndsInTheMiddle)
{
    const QString started = wisdomOfParent();
    setPlannerProgram(script("echo > " + started.toLocal8Bit() + "; exec sleep 50"));
    setPlanning(Planning::Upgrade);
    static const DftPlan plan(1088, DftKind::Real);
    runOnce(plan);
    EXPECT_TRUE(testsupport::waitFor([&] { return QFile::exists(started); }));
}

TEST_F(PlanningTest, AfterShutdownPlansWorkAndNoSearchBegins)
{
    EXPECT_EQ(runChild("ShutsDown", QStringLiteral("-")), 0);
}

TEST(PlanningChild, DISABLED_ShutsDown)
{
    setPlannerProgram(realPlanner);
    setPlanning(Planning::Upgrade);
    const DftPlan before(1120, DftKind::Real);
    runOnce(before);
    EXPECT_FALSE(planSearchIdle());
    shutdownPrimitives();
    shutdownPrimitives();
    const DftPlan after(1152, DftKind::Real);
    runOnce(after);
    EXPECT_TRUE(planSearchIdle());
}

namespace {

QByteArray contents(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void write(const QString& path, const QByteArray& text)
{
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    file.write(text);
}

// What FFTW writes about the measured plan behind a forward transform of so many reals, an even number, and
// of no other: it is a complex one of half the length. A plan of FFTW's own for reals need not hold that.
QByteArray wisdomFor(int length)
{
    ArrayTemplate<Complex> source(length / 2), spectrum(length / 2);
    fftwf_forget_wisdom();
    fftwf_destroy_plan(fftwf_plan_dft_1d(length / 2, reinterpret_cast<fftwf_complex*>(source.data()),
                                         reinterpret_cast<fftwf_complex*>(spectrum.data()), FFTW_FORWARD,
                                         FFTW_MEASURE | FFTW_PRESERVE_INPUT));
    char* text = fftwf_export_wisdom_to_string();
    const QByteArray copy(text);
    std::free(text);
    fftwf_forget_wisdom();
    return copy;
}

QByteArray damaged(QByteArray text, std::mt19937& generator)
{
    const int at = int(generator() % unsigned(text.size()));
    switch (generator() % 4) {
    case 0:
        return text.left(at);
    case 1:
        return text.left(at) + QByteArray(1000, '9') + text.mid(at);
    case 2:
        return text.left(at) + text.mid(at / 2);
    default:
        text[at] = char(33 + generator() % 90);
        return text;
    }
}

} // namespace

TEST(WisdomFileTest, ComesBackAsWritten)
{
    const QString path = testsupport::makeFolder() + QStringLiteral("/plans");
    const Wisdom wisdom{{QStringLiteral("real forward 64"), QStringLiteral("complex inverse 8")},
                        wisdomFor(64)};
    ASSERT_TRUE(writeWisdom(path, wisdom));
    EXPECT_EQ(readWisdom(path).settled, wisdom.settled);
    EXPECT_EQ(readWisdom(path).text, wisdom.text);
}

TEST(WisdomFileTest, ADamagedFileIsPassedOver)
{
    const QString path = testsupport::makeFolder() + QStringLiteral("/plans");
    ASSERT_TRUE(writeWisdom(path, {{QStringLiteral("real forward 64")}, wisdomFor(64)}));
    const QByteArray whole = contents(path);
    for (int i = 0; i < whole.size(); ++i) {
        write(path, whole.left(i));
        EXPECT_TRUE(readWisdom(path).text.isEmpty()) << "cut at " << i;
        QByteArray flipped = whole;
        flipped[i] = char(flipped[i] ^ 4);
        write(path, flipped);
        EXPECT_TRUE(readWisdom(path).text.isEmpty()) << "flipped at " << i;
    }
    write(path, whole);
    EXPECT_FALSE(readWisdom(path).text.isEmpty());
}

TEST(WisdomFileTest, WhatIsNoSmallRegularFileIsPassedOver)
{
    const QString folder = testsupport::makeFolder();
    const QString fifo = folder + QStringLiteral("/fifo");
    ASSERT_EQ(mkfifo(fifo.toLocal8Bit().constData(), 0600), 0);
    const QString large = folder + QStringLiteral("/large");
    write(large, QByteArray((8 << 20) + 1, 'x'));
    for (const QString& path :
         {folder, fifo, large, folder + QStringLiteral("/none"), QString(), QStringLiteral("/dev/zero")}) {
        const Wisdom wisdom = readWisdom(path);
        EXPECT_TRUE(wisdom.text.isEmpty() && wisdom.settled.isEmpty()) << path.toStdString();
        setWisdomFile(path);
    }
    setWisdomFile(QString());
}

TEST(WisdomFileTest, AnUnwritableFolderIsToldInTheLog)
{
    testsupport::expectWarning(QStringLiteral("measured plans could not be kept"));
    EXPECT_FALSE(writeWisdom(QStringLiteral("/proc/plans"), {}));
}

// The checksum holds, but the text is not what FFTW wrote.
TEST(WisdomFileTest, HostileTextNeitherCrashesNorSpoilsTransforms)
{
    const QString path = testsupport::makeFolder() + QStringLiteral("/plans");
    std::mt19937 generator(1);
    setPlanning(Planning::Upgrade);
    setPlannerProgram(QStringLiteral("/nonexistent/planner"));
    for (int round = 0; round < 8; ++round) {
        const int length = 512 + 32 * round;
        const QByteArray text = wisdomFor(length);
        ASSERT_FALSE(text.isEmpty());
        for (int i = 0; i < 12; ++i) {
            ASSERT_TRUE(writeWisdom(path, {{}, damaged(text, generator)}));
            setWisdomFile(path);
        }
        runOnce(DftPlan(length, DftKind::Real));
    }
    EXPECT_TRUE(searchEnds());
    setPlanning(Planning::Estimate);
    setWisdomFile(QString());
}

// What is told of a measured plan is what makes it: the damage above is not refused by chance.
TEST(WisdomFileTest, UndamagedTextGivesTheMeasuredPlan)
{
    const QString path = testsupport::makeFolder() + QStringLiteral("/plans");
    setPlanning(Planning::Upgrade);
    ASSERT_TRUE(writeWisdom(path, {{}, wisdomFor(1984)}));
    setWisdomFile(path);
    EXPECT_TRUE(measured(DftPlan(1984, DftKind::Real)));
    setPlanning(Planning::Estimate);
    setWisdomFile(QString());
}

TEST(PlannerProgram, RefusesWhatIsNoJob)
{
    const QStringList jobs[] = {
        {},
        {QStringLiteral("real"), QStringLiteral("forward")},
        {QStringLiteral("real"), QStringLiteral("forward"), QStringLiteral("0")},
        {QStringLiteral("real"), QStringLiteral("forward"), QStringLiteral("64x")},
        {QStringLiteral("real"), QStringLiteral("forward"), QStringLiteral("99999999999")},
        {QStringLiteral("real"), QStringLiteral("up"), QStringLiteral("64")},
        {QStringLiteral("rational"), QStringLiteral("forward"), QStringLiteral("64")}};
    for (const QStringList& job : jobs) {
        QProcess process;
        process.start(realPlanner, job);
        ASSERT_TRUE(process.waitForFinished());
        EXPECT_EQ(process.exitCode(), 2) << job.join(QLatin1Char(' ')).toStdString();
        EXPECT_TRUE(process.readAllStandardOutput().isEmpty());
    }
}
