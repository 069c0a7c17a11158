// Projects of an ECG and of a radio signal, written by the script beside this file.
#include "model/modeltest.h"
#include "model/types/channellabels.h"
#include "projectfiles/projectbinary.h"
#include "projectfiles/projecttest.h"
#include "projectfiles/projectxml.h"
#include "support/testsupport.h"

#include <gtest/gtest.h>

#include <QProcess>

namespace {

class RecordingProjects : public testing::Test
{
protected:
    void SetUp() override
    {
        if (testsupport::recordingsFolder().isEmpty())
            GTEST_SKIP() << "MORVANE_RECORDINGS names no folder";
        m_folder = testsupport::makeFolder();
        ASSERT_EQ(QProcess::execute(QStringLiteral(MORVANE_MAKE_PROJECTS),
                                    {testsupport::recordingsFolder(), m_folder}),
                  0);
    }
    ProjectPtr open(const QString& name)
    {
        const ProjectReadResult read = readProjectBinary(m_folder + '/' + name, {});
        EXPECT_EQ(read.damage, QStringList());
        return read.project;
    }
    // What was opened is saved in both forms and comes back.
    void expectRoundTrip(const Project& project)
    {
        const QString binary = m_folder + QStringLiteral("/again.mvp");
        const QString xml = m_folder + QStringLiteral("/again.mvx");
        ASSERT_TRUE(writeProjectBinary(project, binary, {}).done);
        projecttest::saveXml(project, xml);
        for (const ProjectReadResult& read :
             {readProjectBinary(binary, {}), readProjectXml(xml, SampleFiles::Copy, {})}) {
            ASSERT_TRUE(read.project);
            projecttest::expectSame(project, *read.project);
        }
    }

    QString m_folder;
};

TEST_F(RecordingProjects, TheEcgOpensWithItsLeads)
{
    const ProjectPtr project = open(QStringLiteral("ecg.mvp"));
    ASSERT_TRUE(project);
    const SamplingFormat expected{SampleTypeReal, 360, ChannelsTypeEcg, 2, 2 | 1024};
    EXPECT_EQ(project->format(), expected);
    EXPECT_EQ(channelLabel(ChannelsTypeEcg, project->format().channelsMask, 0), QStringLiteral("Lead II"));
    EXPECT_EQ(channelLabel(ChannelsTypeEcg, project->format().channelsMask, 1), QStringLiteral("Lead V5"));
    const QList<QByteArray> lines =
        projecttest::contentOf(testsupport::recordingsFolder() + "/ecg-mitdb-100-10s.csv").split('\n');
    std::vector<float> expectedSamples;
    for (int i = 1; i < lines.size(); ++i)
        for (const QByteArray& field : lines[i].split(';').mid(1))
            expectedSamples.push_back(field.toFloat());
    EXPECT_EQ(project->layers()->range(), (Range{0, 3600}));
    EXPECT_EQ(modeltest::samplesOf(*project->layers(), {0, 3600}), expectedSamples);
    EXPECT_EQ(project->units.frameRate, UnitSettings().frameRate); // the file tells no settings
    project->units.frameRate = project->units.bpm;                 // what a saved project has for it
    expectRoundTrip(*project);
}

TEST_F(RecordingProjects, TheRadioSignalOpensAsComplex)
{
    const ProjectPtr project = open(QStringLiteral("iq.mvp"));
    ASSERT_TRUE(project);
    const SamplingFormat expected{SampleTypeComplex, 1.6e6, ChannelsTypeGeneric, 1, 1};
    EXPECT_EQ(project->format(), expected);
    const QByteArray bytes =
        projecttest::contentOf(testsupport::recordingsFolder() + "/iq-wmbus-868M95.sigmf-data");
    const int64_t frames = bytes.size() / 2;
    ASSERT_EQ(project->layers()->range(), (Range{0, frames}));
    const std::vector<float> samples = modeltest::samplesOf(*project->layers(), {0, frames});
    for (int64_t i = 0; i < 2 * frames; ++i)
        ASSERT_EQ(samples[std::size_t(i)], (float(quint8(bytes[int(i)])) - 127.5f) / 128) << i;
    const Area whole = project->displayArea();
    EXPECT_EQ(whole.y, -8e5);
    EXPECT_EQ(whole.height, 1.6e6);
    expectRoundTrip(*project);
}

} // namespace
