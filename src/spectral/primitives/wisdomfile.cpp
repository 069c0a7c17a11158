#include "spectral/primitives/wisdomfile.h"

#include "base/safefile.h"
#include "spectral/primitives/cpu.h"

#include <fftw3.h>

#include <algorithm>
#include <optional>

#include <QCryptographicHash>
#include <QDebug>
#include <QFile>
#include <QFileInfo>

namespace {

constexpr int64_t largestFile = 8 << 20;
constexpr char head[] = "morvane plans 1";
constexpr char settledWord[] = "settled ";
constexpr char textWord[] = "wisdom";

// Plans of another version, or found on another processor, are valid but not the fastest.
QByteArray machine()
{
    return QByteArray(fftwf_version) + ' ' + QByteArray::number(qulonglong(cpu::detectedFeatures()), 16);
}

QByteArray checksum(const QByteArray& body)
{
    return QCryptographicHash::hash(body, QCryptographicHash::Sha256).toHex();
}

// Takes the text up to the next line feed off `rest`.
QByteArray takeLine(QByteArray& rest)
{
    const int end = rest.indexOf('\n');
    const QByteArray line = rest.left(end);
    rest = end < 0 ? QByteArray() : rest.mid(end + 1);
    return line;
}

// "#x" and a hexadecimal number of at most 32 bits.
std::optional<uint32_t> readHex(const QByteArray& word)
{
    bool good = false;
    const uint32_t value = word.mid(2).toUInt(&good, 16);
    return good && word.startsWith("#x") ? std::optional(value) : std::nullopt;
}

// One entry: a solver's name and number, three words of flags, four of a checksum.
bool isEntry(QByteArray line)
{
    line = line.trimmed();
    if (!line.startsWith('(') || !line.endsWith(')'))
        return false;
    const QList<QByteArray> words = line.mid(1, line.size() - 2).split(' ');
    if (words.size() != 9 || words[0].size() > 64)
        return false;
    bool good = false;
    words[1].toUInt(&good);
    for (int i = 2; good && i < words.size(); ++i)
        good = readHex(words[i]).has_value();
    if (!good)
        return false;
    // What FFTW's own bit fields hold; it ends the process when a number does not fit.
    const uint32_t least = *readHex(words[2]), most = *readHex(words[3]);
    return least < 1u << 20 && most < 1u << 20 && *readHex(words[4]) < 1u << 9 && (least & most) == least;
}

} // namespace

bool isWisdomText(const QByteArray& text)
{
    if (text.contains('\0'))
        return false;
    QList<QByteArray> lines = text.trimmed().split('\n');
    if (lines.size() < 2 || lines.takeLast().trimmed() != ")")
        return false;
    const QList<QByteArray> words = lines.takeFirst().split(' ');
    // "(fftw-3.3.10"; the version goes on with the instruction sets.
    if (words.size() != 6 || !words[0].startsWith("(fftw-") ||
        !QByteArray(fftwf_version).startsWith(words[0].mid(1)) || words[1] != "fftwf_wisdom")
        return false;
    return std::all_of(words.begin() + 2, words.end(),
                       [](const QByteArray& word) { return readHex(word); }) &&
           std::all_of(lines.begin(), lines.end(), isEntry);
}

Wisdom readWisdom(const QString& path)
{
    // Asked of the name before opening: to open a FIFO would wait for a writer.
    const QFileInfo info(path);
    if (!info.isFile() || info.size() > largestFile)
        return {};
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    QByteArray rest = file.read(largestFile);
    if (takeLine(rest) != head)
        return {};
    const QByteArray sum = takeLine(rest);
    if (sum != checksum(rest) || takeLine(rest) != machine())
        return {};
    Wisdom wisdom;
    while (!rest.isEmpty()) {
        const QByteArray line = takeLine(rest);
        if (line == textWord) {
            wisdom.text = rest;
            break;
        }
        if (!line.startsWith(settledWord))
            return {};
        wisdom.settled << QString::fromLatin1(line.mid(int(sizeof settledWord) - 1));
    }
    return wisdom.text.isEmpty() || isWisdomText(wisdom.text) ? wisdom : Wisdom();
}

bool writeWisdom(const QString& path, const Wisdom& wisdom)
{
    QByteArray body = machine() + '\n';
    for (const QString& name : wisdom.settled)
        body += settledWord + name.toLatin1() + '\n';
    body += textWord + QByteArray("\n") + wisdom.text;
    SafeFile file(path);
    const bool done = file.open() && file.write(head + QByteArray("\n") + checksum(body) + '\n') &&
                      file.write(body) && file.commit();
    if (!done)
        qWarning().noquote() << "measured plans could not be kept:" << file.errorString();
    return done;
}
