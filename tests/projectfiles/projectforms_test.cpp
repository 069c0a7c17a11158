// Both forms of a project file: what goes in comes out, and what they look like in between.
#include "model/layerregion.h"
#include "model/modeltest.h"
#include "projectfiles/layerfactory.h"
#include "projectfiles/projectbinary.h"
#include "projectfiles/projectdefaults.h"
#include "projectfiles/projecttest.h"
#include "projectfiles/projectxml.h"
#include "support/testsupport.h"

#include <gtest/gtest.h>

#include <QBuffer>
#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>

using namespace projecttest;

namespace {

ProjectReadResult readBinary(const QByteArray& bytes)
{
    QBuffer buffer;
    buffer.setData(bytes);
    buffer.open(QBuffer::ReadOnly);
    SessionLayers layers;
    return readProjectBinary(buffer, layers, {});
}

class ProjectForms : public testing::Test
{
protected:
    void SetUp() override { m_folder = testsupport::makeFolder(); }
    QString file(const QString& name) { return m_folder + QLatin1Char('/') + name; }
    QString m_folder;
};

// --- round trips -----------------------------------------------------------------------------------

TEST_F(ProjectForms, RandomProjectsComeBackFromTheBinaryForm)
{
    for (uint32_t seed = 0; seed < 40; ++seed) {
        SCOPED_TRACE(seed);
        const ProjectPtr saved = randomProject(seed);
        const ProjectReadResult read = readBinary(binaryOf(*saved));
        ASSERT_TRUE(read.project) << read.text.toStdString();
        EXPECT_EQ(read.damage, QStringList());
        EXPECT_FALSE(read.project->modified);
        expectSame(*saved, *read.project);
    }
    EXPECT_EQ(modeltest::sessionFiles(), QStringList());
}

TEST_F(ProjectForms, RandomProjectsComeBackFromTheXmlForm)
{
    for (uint32_t seed = 100; seed < 140; ++seed) {
        SCOPED_TRACE(seed);
        const ProjectPtr saved = randomProject(seed);
        saved->setFilePath(file(QStringLiteral("the \"path\" äλ.mvp")));
        const QString path = file(QStringLiteral("p%1.mvx").arg(seed));
        saveXml(*saved, path);
        const ProjectReadResult read = readProjectXml(path, SampleFiles::Copy, {});
        ASSERT_TRUE(read.project) << read.text.toStdString();
        EXPECT_EQ(read.damage, QStringList());
        EXPECT_EQ(read.project->filePath(), saved->filePath());
        expectSame(*saved, *read.project);
    }
    EXPECT_EQ(modeltest::sessionFiles(), QStringList());
}

} // namespace
