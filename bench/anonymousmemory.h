// The memory that a benchmark's work really costs.
#pragma once

#include <QFile>

// MiB of anonymous memory of this process; mapped files, which are the disk's, do not count.
inline double anonymousMemory()
{
    QFile file(QStringLiteral("/proc/self/status"));
    if (!file.open(QFile::ReadOnly))
        return 0;
    for (const QByteArray& line : file.readAll().split('\n'))
        if (line.startsWith("RssAnon:"))
            return line.mid(8).simplified().split(' ').value(0).toDouble() / 1024;
    return 0;
}
