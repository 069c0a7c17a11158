#include "projectfiles/sessionjournal.h"

#include "base/platform.h"
#include "projectfiles/sessionfolder.h"

#include <algorithm>
#include <cstdlib>
#include <map>
#include <set>

#include <QCoreApplication>
#include <QDebug>
#include <QFileInfo>
#include <QXmlStreamReader>

namespace {

constexpr int64_t maxBytes = 64 << 20;     // of a journal that is read
constexpr int64_t rewriteBytes = 1 << 20;  // below this it may hold what does not count any more
constexpr int64_t maxPosition = 1LL << 60; // no sum of four of them overflows
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

bool isPart(int64_t offset, int64_t bytes, int64_t size)
{
    return offset >= 0 && bytes >= 0 && bytes <= size && offset <= size - bytes;
}

// A new file in place of what may stand there. Null: `cause` (may be null) tells why.
std::unique_ptr<QFile> create(const QString& path, QString* cause)
{
    QFile::remove(path);
    auto file = std::make_unique<QFile>(path);
    const bool isNew = platform::createPrivateFile(path);
    if (!isNew && cause)
        *cause = platform::lastSystemError();
    if (isNew && file->open(QFile::WriteOnly | QFile::Append | QFile::Unbuffered))
        return file;
    if (isNew && cause)
        *cause = file->errorString();
    return nullptr;
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
    void noteChange(SessionFile* file) { m_changed.insert(file); }
    // Once that is done, nobody needs the journal any more. On false lastError() tells why.
    [[nodiscard]] bool sync() const
    {
        for (const SessionFile* file : m_changed)
            if (!file->sync()) {
                SessionFile::setLastError(file->path(), platform::lastSystemError());
                return false;
            }
        return true;
    }

private:
    QString m_folder;
    std::set<SessionFile*> m_changed;
    std::map<QString, std::unique_ptr<SessionFile>> m_files;
};

Outcome bringBack(Files& files, const GuardedPart& p)
{
    Outcome outcome = Outcome::Done;
    SessionFile* const file = files.open(p.file, outcome);
    if (!file)
        return outcome;
    files.noteChange(file);
    if (file->size() < p.fileBytes && !file->resize(p.fileBytes))
        return SessionFile::exceedsDisk(file->path(), p.fileBytes) ? Outcome::Lost : Outcome::NotNow;
    if (p.image.isEmpty())
        return outcome;
    SessionFile* const image = files.open(p.image, outcome);
    if (!image)
        return outcome;
    if (!isPart(p.imageOffset, p.bytes, image->size()) || !isPart(p.offset, p.bytes, file->size())) {
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

void SessionJournal::note(uint64_t generation, const GuardedPart& part)
{
    Entry entry{generation, part, nullptr};
    if (!part.image.isEmpty()) {
        std::shared_ptr<Image>& image = m_images[part.image];
        if (!image)
            image = std::make_shared<Image>(Image{part.image});
        entry.image = image;
        entry.part.imageOffset -= image->moved;
        entry.part.image.clear();
    }
    GuardedPart& p = entry.part;
    if (!m_entries.empty()) {
        Entry& last = m_entries.back();
        GuardedPart& q = last.part;
        const bool isNext = last.generation == generation && q.file == p.file && last.image == entry.image &&
                            entry.image && p.offset == q.offset + q.bytes &&
                            p.imageOffset == q.imageOffset + q.bytes;
        if (isNext) {
            q.bytes += p.bytes;
            q.fileBytes = std::max(q.fileBytes, p.fileBytes);
            return;
        }
    }
    m_entries.push_back(std::move(entry));
}

// False for what this program does not do: a new image is a new file, and none is larger than a disk.
bool SessionJournal::noteMove(const QString& from, const QString& to, int64_t by)
{
    const auto found = m_images.find(from);
    if (found == m_images.end())
        return true;
    const std::shared_ptr<Image> image = *found;
    if (std::abs(image->moved + by) > maxPosition || m_images.contains(to))
        return false;
    m_images.erase(found);
    image->name = to;
    image->moved += by;
    m_images.insert(to, image);
    return true;
}

// May be negative while a write that was refused has made its image shorter again.
GuardedPart SessionJournal::partNow(const Entry& entry)
{
    GuardedPart part = entry.part;
    if (entry.image) {
        part.image = entry.image->name;
        part.imageOffset += entry.image->moved;
    }
    return part;
}

void SessionJournal::collectImages()
{
    m_images.clear();
    for (const Entry& entry : m_entries)
        if (entry.image)
            m_images.insert(entry.image->name, entry.image);
}

bool SessionJournal::add(uint64_t generation, const GuardedPart& part)
{
    if (!append(lineOf(generation, part)))
        return false;
    note(generation, part);
    return true;
}

void SessionJournal::imageMoved(const QString& from, const QString& to, int64_t by)
{
    if (!names(from))
        return;
    // Without the line the former image is still needed, and is kept.
    if (append(sealed(move + ' ' + from.toLatin1() + ' ' + to.toLatin1() + ' ' +
                      QByteArray::number(qlonglong(by)))))
        static_cast<void>(noteMove(from, to, by));
}

void SessionJournal::forgetBefore(uint64_t generation)
{
    m_entries.remove_if([generation](const Entry& entry) { return entry.generation < generation; });
    collectImages();
    if (m_entries.empty() && m_bytes > 0) {
        if (m_file && m_file->resize(0))
            m_bytes = 0;
    } else if (m_bytes > rewriteBytes) {
        rewrite();
    }
}

void SessionJournal::remove()
{
    m_file.reset();
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
    if (!m_file) {
        QString cause;
        m_file = create(m_path, &cause);
        if (!m_file)
            return fail(cause);
        m_bytes = 0;
    }
    if (m_file->write(line) == line.size()) {
        m_bytes += line.size();
        return true;
    }
    const QString cause = m_file->errorString();
    // A line that is cut off would take the next one with it.
    if (!m_file->resize(m_bytes))
        qWarning().noquote() << m_path << "cannot be cut:" << m_file->errorString();
    return fail(cause);
}

// What does not count any more is left out. On a failure the file stays as it is.
void SessionJournal::rewrite()
{
    QByteArray all;
    for (const Entry& entry : m_entries)
        all += lineOf(entry.generation, partNow(entry));
    if (all.size() * 2 > m_bytes)
        return;
    const QString fresh = m_path + QLatin1String(".new");
    std::unique_ptr<QFile> file = create(fresh, nullptr);
    if (!file || file->write(all) != all.size() || !platform::syncFile(file->handle()) ||
        std::rename(QFile::encodeName(fresh).constData(), QFile::encodeName(m_path).constData()) != 0) {
        QFile::remove(fresh);
        return;
    }
    m_file = std::move(file); // it was open before the old one went: there is always one to append to
    m_bytes = all.size();
}

bool SessionJournal::parse(const QByteArray& line)
{
    const int space = line.indexOf(' ');
    if (space != 4 || sealed(line.mid(space + 1)) != line + '\n')
        return false;
    const QList<QByteArray> words = line.mid(space + 1).split(' ');
    bool good = true;
    const auto number = [&](int index, int64_t least = 0) {
        bool isNumber = false;
        const qlonglong value = words[index].toLongLong(&isNumber);
        good = good && isNumber && value >= least && value <= maxPosition;
        return int64_t(value);
    };
    if (words[0] == move && words.size() == 4) {
        const int64_t by = number(3, -maxPosition);
        return good && isSamples(words[1]) && isSamples(words[2]) &&
               noteMove(QString::fromLatin1(words[1]), QString::fromLatin1(words[2]), by);
    }
    if (words[0] != part || words.size() != 8)
        return false;
    const auto generation = uint64_t(number(1));
    GuardedPart p;
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
    note(generation, p);
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
    if (!xml.isStartElement())
        return 0;
    const uint64_t generation = xml.attributes().value(QLatin1String("generation")).toULongLong();
    return generation <= uint64_t(maxPosition) ? generation : 0;
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
    const auto inWords = [] {
        return tr("The action in work could not be taken back: %1").arg(SessionFile::lastError());
    };
    for (auto entry = journal.m_entries.rbegin(); entry != journal.m_entries.rend(); ++entry) {
        if (entry->generation < generation)
            continue;
        const Outcome outcome = bringBack(files, partNow(*entry));
        if (outcome == Outcome::Done || failed.contains(entry->part.file))
            continue;
        if (outcome == Outcome::NotNow) {
            result.notNow = inWords();
            return result;
        }
        failed << entry->part.file;
        result.lost << inWords();
    }
    // Who adopts the files removes the journal, and a power cut may keep that alone.
    if (!files.sync())
        result.notNow = inWords();
    return result;
}
