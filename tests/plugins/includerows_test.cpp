#include "plugins/includerows.h"

#include <gtest/gtest.h>

#include <QObject>
#include <QVariant>

namespace {

QVariantHash row(const char* path, const char* content)
{
    return {{QStringLiteral("path"), QString::fromLatin1(path)},
            {QStringLiteral("content"), QString::fromLatin1(content)},
            {QStringLiteral("source"), QStringLiteral("somewhere")}};
}

} // namespace

TEST(IncludeRows, KeepTheOrderInWhichThePropertiesWereMade)
{
    QObject application;
    application.setProperty("include@files", row("Plugins/Files", "ffmpeg txtreader"));
    application.setProperty("name", QStringLiteral("other"));
    application.setProperty("include@devices", row("Plugins/Devices", "rtaudio"));
    const QList<IncludeRow> rows = includeRows(application);
    ASSERT_EQ(rows.size(), 2);
    EXPECT_EQ(rows[0], (IncludeRow{QStringLiteral("files"), QStringLiteral("Plugins/Files"),
                                   QStringLiteral("ffmpeg txtreader")}));
    EXPECT_EQ(rows[1].id, QStringLiteral("devices"));
}

TEST(IncludeRows, WithoutContentOrPathAreSkipped)
{
    QObject application;
    application.setProperty("include@empty", row("Plugins/Files", ""));
    application.setProperty("include@blank", row("Plugins/Files", " \n "));
    application.setProperty("include@nopath", row("", "ffmpeg"));
    application.setProperty("include@wrong", QStringLiteral("no hash"));
    EXPECT_TRUE(includeRows(application).isEmpty());
}
