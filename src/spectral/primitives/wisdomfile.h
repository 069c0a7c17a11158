// The file that keeps measured plans between starts.
#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

// Lines of text: a head, a checksum of what follows, library and processor that it holds for, the
// plans that are settled, and FFTW's own text.
struct Wisdom
{
    // Names of plans for which the search is over, also where it found nothing better.
    QStringList settled;
    QByteArray text;
};

// True for a text that FFTW can be given: it trusts what it reads, and ends the process when a number
// is out of its range.
[[nodiscard]] bool isWisdomText(const QByteArray& text);
// Empty for a file that cannot be read whole, is no regular file, is larger than 8 MiB, is not of this
// library and processor, or holds a text that FFTW cannot be given.
[[nodiscard]] Wisdom readWisdom(const QString& path);
// False with a warning in the log.
bool writeWisdom(const QString& path, const Wisdom& wisdom);
