// A disk that fills up, for tests with the label lab: mounting needs root.
#pragma once

#include "support/testsupport.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>

#include <sys/mount.h>
#include <sys/statvfs.h>

#include <QFile>

namespace testsupport {

// A disk of 96 MiB: above what session files leave free.
class SmallDisk
{
public:
    SmallDisk()
    {
        const QByteArray name = QFile::encodeName(path);
        if (mount("tmpfs", name, "tmpfs", 0, "size=96m") != 0)
            ADD_FAILURE() << "no disk could be mounted: " << std::strerror(errno);
    }
    ~SmallDisk() { umount2(QFile::encodeName(path), MNT_DETACH); }

    [[nodiscard]] int64_t freeBytes() const
    {
        struct statvfs status;
        EXPECT_EQ(statvfs(QFile::encodeName(path), &status), 0);
        return static_cast<int64_t>(status.f_bavail * status.f_frsize);
    }
    // Leaves `left` bytes.
    void fill(int64_t left) const
    {
        QFile file(path + QStringLiteral("/filler"));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        const QByteArray block(65536, 'f');
        while (freeBytes() > left)
            if (file.write(block) != block.size() || !file.flush())
                break;
    }
    const QString path = makeFolder(QStringLiteral("disk"));
};

} // namespace testsupport
