#include "projectfiles/sessionjournal.h"

#include "base/platform.h"
#include "projectfiles/sessionfolder.h"

#include <algorithm>
#include <map>

#include <QCoreApplication>
#include <QDebug>
#include <QFileInfo>
#include <QStorageInfo>
#include <QXmlStreamReader>

namespace {

constexpr int64_t maxBytes = 64 << 20;     // of a journal that is read
constexpr int64_t rewriteBytes = 1 << 20;  // below this it may hold what does not count any more
constexpr int64_t maxPosition = 1LL << 60; // no sum of two of them overflows
constexpr int64_t headBytes = 64 << 10;
constexpr int64_t piece = 1 << 20;

const QByteArray noImage = QByteArrayLiteral("-");
const QByteArray part = QByteArrayLiteral("part");
const QByteArray move = QByteArrayLiteral("move");

QString tr(const char* text)
{
    return QCoreApplication::translate("SessionJournal", text);
}

QByteArray sealed(const QByteArray& text)
{
    const auto sum = qChecksum(text.constData(), uint(text.size()));
    return QByteArray::number(sum, 16).rightJustified(4, '0') + ' ' + text + '\n';
}

QByteArray lineOf(uint64_t generation, const GuardedPart& p)
{
    const QByteArray image = p.image.isEmpty() ? noImage : p.image.toLatin1();
    QByteArray text = part;
    text += ' ' + QByteArray::number(qulonglong(generation)) + ' ' + p.file.toLatin1() + ' ' +
            QByteArray::number(qlonglong(p.fileBytes)) + ' ' + QByteArray::number(qlonglong(p.offset)) + ' ' +
            image + ' ' + QByteArray::number(qlonglong(p.imageOffset)) + ' ' +
            QByteArray::number(qlonglong(p.bytes));
    return sealed(text);
}

bool isSamples(const QByteArray& name)
{
    return SessionFolder::kindOf(QString::fromLatin1(name)) == SessionFolder::Kind::Samples;
}

bool isPosition(int64_t number)
{
    return number >= 0 && number <= maxPosition;
}

enum class Outcome { Done, Lost, NotNow };

// Sample files of a dead session, opened as whoever adopts them would, and left where they are.
class Files
{
public:
    explicit Files(QString folder) : m_folder(std::move(folder)) {}
    // Null when it cannot be had; lastError() tells why, and `outcome` whether for good.
    SessionFile* open(const QString& name, Outcome& outcome)
    {
        bool refused = false;
        std::unique_ptr<SessionFile>& file = m_files[name];
        if (!file)
            file = SessionFile::adopt(m_folder, m_folder + QLatin1Char('/') + name, &refused);
        if (file)
            file->keep();
        else
            outcome = refused ? Outcome::Lost : Outcome::NotNow;
        return file.get();
    }

private:
    QString m_folder;
    std::map<QString, std::unique_ptr<SessionFile>> m_files;
};

Outcome bringBack(Files& files, const GuardedPart& p)
{
    Outcome outcome = Outcome::Done;
    SessionFile* const file = files.open(p.file, outcome);
    if (!file)
        return outcome;
    if (file->size() < p.fileBytes && !file->resize(p.fileBytes))
        return p.fileBytes > QStorageInfo(file->path()).bytesTotal() ? Outcome::Lost : Outcome::NotNow;
    if (p.image.isEmpty())
        return outcome;
    SessionFile* const image = files.open(p.image, outcome);
    if (!image)
        return outcome;
    if (p.imageOffset + p.bytes > image->size() || p.offset + p.bytes > file->size()) {
        SessionFile::setLastError(image->path(), tr("the file is too short"));
        return Outcome::Lost;
    }
    for (int64_t done = 0; done < p.bytes; done += piece)
        if (!file->write(p.offset + done, image->data() + p.imageOffset + done,
                         std::min(piece, p.bytes - done)))
            return Outcome::NotNow;
    return outcome;
}

} // namespace

// --- what is noted ---------------------------------------------------------------------------------

void SessionJournal::note(const Entry& entry)
{
    const GuardedPart& p = entry.part;
    if (!p.image.isEmpty())
        m_images.insert(p.image);
    if (!m_entries.empty()) {
        Entry& last = m_entries.back();
        GuardedPart& q = last.part;
        const bool isNext = last.generation == entry.generation && q.file == p.file && q.image == p.image &&
                            !p.image.isEmpty() && p.offset == q.offset + q.bytes &&
                            p.imageOffset == q.imageOffset + q.bytes;
        if (isNext) {
            q.bytes += p.bytes;
            q.fileBytes = std::max(q.fileBytes, p.fileBytes);
            return;
        }
    }
    m_entries.push_back(entry);
}

void SessionJournal::noteMove(const QString& from, const QString& to, int64_t by)
{
    for (Entry& entry : m_entries)
        if (entry.part.image == from) {
            entry.part.image = to;
            entry.part.imageOffset += by;
        }
    collectImages();
}

void SessionJournal::collectImages()
{
    m_images.clear();
    for (const Entry& entry : m_entries)
        if (!entry.part.image.isEmpty())
            m_images.insert(entry.part.image);
}

bool SessionJournal::add(uint64_t generation, const GuardedPart& part)
{
    if (!append(lineOf(generation, part)))
        return false;
    note({generation, part});
    return true;
}

void SessionJournal::imageMoved(const QString& from, const QString& to, int64_t by)
{
    if (!names(from))
        return;
    // Without the line the former image is still needed, and is kept.
    if (append(sealed(move + ' ' + from.toLatin1() + ' ' + to.toLatin1() + ' ' +
                      QByteArray::number(qlonglong(by)))))
        noteMove(from, to, by);
}

void SessionJournal::forgetBefore(uint64_t generation)
{
    m_entries.remove_if([generation](const Entry& entry) { return entry.generation < generation; });
    collectImages();
    if (m_entries.empty() && m_bytes > 0) {
        if (m_file.resize(0))
            m_bytes = 0;
    } else if (m_bytes > rewriteBytes) {
        rewrite();
    }
}

void SessionJournal::remove()
{
    m_file.close();
    QFile::remove(m_path);
    m_entries.clear();
    m_images.clear();
    m_bytes = 0;
}

// --- the file --------------------------------------------------------------------------------------

bool SessionJournal::append(const QByteArray& line)
{
    const auto fail = [this](const QString& cause) {
        SessionFile::setLastError(m_path, cause);
        return false;
    };
    if (!m_file.isOpen()) {
        QFile::remove(m_path);
        if (!platform::createPrivateFile(m_path))
            return fail(platform::lastSystemError());
        m_file.setFileName(m_path);
        if (!m_file.open(QFile::WriteOnly | QFile::Append | QFile::Unbuffered))
            return fail(m_file.errorString());
        m_bytes = 0;
    }
    if (m_file.write(line) == line.size()) {
        m_bytes += line.size();
        return true;
    }
    const QString cause = m_file.errorString();
    // A line that is cut off would take the next one with it.
    if (!m_file.resize(m_bytes))
        qWarning().noquote() << m_path << "cannot be cut:" << m_file.errorString();
    return fail(cause);
}

// What does not count any more is left out. On a failure the file stays as it is.
void SessionJournal::rewrite()
{
    QByteArray all;
    for (const Entry& entry : m_entries)
        all += lineOf(entry.generation, entry.part);
    if (all.size() * 2 > m_bytes)
        return;
    const QString fresh = m_path + QLatin1String(".new");
    QFile::remove(fresh);
    QFile file(fresh);
    if (!platform::createPrivateFile(fresh) || !file.open(QFile::WriteOnly | QFile::Unbuffered) ||
        file.write(all) != all.size() || !platform::syncFile(file.handle()) ||
        std::rename(QFile::encodeName(fresh).constData(), QFile::encodeName(m_path).constData()) != 0) {
        QFile::remove(fresh);
        return;
    }
    m_file.close();
    if (m_file.open(QFile::WriteOnly | QFile::Append | QFile::Unbuffered))
        m_bytes = all.size();
}

bool SessionJournal::parse(const QByteArray& line)
{
    const int space = line.indexOf(' ');
    if (space != 4 || sealed(line.mid(space + 1)) != line + '\n')
        return false;
    const QList<QByteArray> words = line.mid(space + 1).split(' ');
    bool good = true;
    const auto number = [&](int index) {
        bool isNumber = false;
        const qlonglong value = words[index].toLongLong(&isNumber);
        good = good && isNumber && isPosition(value);
        return int64_t(value);
    };
    if (words[0] == move && words.size() == 4) {
        const int64_t by = number(3);
        if (!good || !isSamples(words[1]) || !isSamples(words[2]))
            return false;
        noteMove(QString::fromLatin1(words[1]), QString::fromLatin1(words[2]), by);
        return true;
    }
    if (words[0] != part || words.size() != 8)
        return false;
    Entry entry{uint64_t(number(1)), {}};
    GuardedPart& p = entry.part;
    p.file = QString::fromLatin1(words[2]);
    p.fileBytes = number(3);
    p.offset = number(4);
    if (words[5] != noImage)
        p.image = QString::fromLatin1(words[5]);
    p.imageOffset = number(6);
    p.bytes = number(7);
    if (!good || !isSamples(words[2]) || (words[5] != noImage && !isSamples(words[5])) ||
        p.offset + p.bytes > p.fileBytes)
        return false;
    note(entry);
    return true;
}

void SessionJournal::load()
{
    QFile file;
    const int descriptor = platform::openRegular(m_path);
    if (descriptor < 0 || !file.open(descriptor, QFile::ReadOnly, QFile::AutoCloseHandle))
        return;
    const QByteArray all = file.read(maxBytes);
    for (int at = 0; at < all.size();) {
        const int end = all.indexOf('\n', at);
        if (end < 0 || !parse(all.mid(at, end - at)))
            return;
        at = end + 1;
    }
}

// --- after a death ---------------------------------------------------------------------------------

uint64_t SessionJournal::generationOf(const QString& manifest)
{
    QFile file;
    const int descriptor = platform::openRegular(manifest);
    if (descriptor < 0 || !file.open(descriptor, QFile::ReadOnly, QFile::AutoCloseHandle))
        return 0;
    QXmlStreamReader xml(file.read(headBytes));
    while (!xml.atEnd() && !xml.isStartElement())
        if (xml.readNext() == QXmlStreamReader::DTD)
            return 0;
    return xml.isStartElement() ? xml.attributes().value(QLatin1String("generation")).toULongLong() : 0;
}

SessionJournal::RollBack SessionJournal::rollBack(const QString& manifest)
{
    const uint64_t generation = generationOf(manifest);
    SessionJournal journal(manifest);
    if (generation > 0)
        journal.load();
    Files files(QFileInfo(manifest).absolutePath());
    QSet<QString> failed;
    RollBack result;
    for (auto entry = journal.m_entries.rbegin(); entry != journal.m_entries.rend(); ++entry) {
        if (entry->generation < generation)
            continue;
        const Outcome outcome = bringBack(files, entry->part);
        if (outcome == Outcome::Done || failed.contains(entry->part.file))
            continue;
        const QString words =
            tr("The action in work could not be taken back: %1").arg(SessionFile::lastError());
        if (outcome == Outcome::NotNow) {
            result.notNow = words;
            break;
        }
        failed << entry->part.file;
        result.lost << words;
    }
    return result;
}
