// What lets a recovery take an action back that was in work when the program died.
#pragma once

#include "base/sessionfile.h"

#include <cstdint>
#include <list>
#include <memory>

#include <QFile>
#include <QHash>
#include <QString>
#include <QStringList>

// The session's manifest names sample files, and an edit changes samples where they lie. Before it does,
// the old samples are in another file of the session (the layer's before-image); the journal of the
// project, a text file beside the manifest, tells which part of which file stands where. An entry counts
// from the manifest of its generation on, which is the one that was there when the entry was made: applied
// last to first, all entries of that generation and later ones bring the files back to what that manifest
// names.
//
// Each line ends with a line feed and begins with a check sum, so what a death has cut off does not count;
// the samples of that line have not been changed then.
//
// One thread at a time.
class SessionJournal
{
public:
    explicit SessionJournal(const QString& manifest) : m_path(pathOf(manifest)) {}
    SessionJournal(const SessionJournal&) = delete;
    SessionJournal& operator=(const SessionJournal&) = delete;

    // False when the line could not be written; nothing is noted then.
    [[nodiscard]] bool add(uint64_t generation, const GuardedPart& part);
    // See ISessionFileKeeper.
    void imageMoved(const QString& from, const QString& to, int64_t by);
    // A manifest of that generation is safe on the disk: nobody goes back further.
    void forgetBefore(uint64_t generation);
    void remove();

    // Whether a file holds old samples that a recovery may need.
    [[nodiscard]] bool names(const QString& image) const { return m_images.contains(image); }
    [[nodiscard]] QStringList images() const { return m_images.keys(); }
    [[nodiscard]] const QString& path() const { return m_path; }
    [[nodiscard]] static QString pathOf(const QString& manifest) { return manifest + QLatin1String(".undo"); }

    // The generation that a manifest tells in its first element; 0 for none.
    [[nodiscard]] static uint64_t generationOf(const QString& manifest);
    struct RollBack
    {
        QStringList lost; // what can never be brought back, a line each
        QString notNow;   // words: the system has no memory, descriptor or space for it at the moment
    };
    // Brings the sample files in the manifest's folder, and on the disk, to what it names. May be done any
    // number of times, as long as nobody has changed them since; must be, before they are used, when it could
    // not be done now.
    [[nodiscard]] static RollBack rollBack(const QString& manifest);

private:
    // A file of old samples. A move changes this alone, however many entries there are.
    struct Image
    {
        QString name;
        int64_t moved = 0; // bytes; together, since the first entry
    };
    struct Entry
    {
        uint64_t generation;
        GuardedPart part;             // without the image's name; its place is that in an image never moved
        std::shared_ptr<Image> image; // null: none
    };

    void note(uint64_t generation, const GuardedPart& part);
    [[nodiscard]] bool noteMove(const QString& from, const QString& to, int64_t by);
    [[nodiscard]] static GuardedPart partNow(const Entry& entry);
    void collectImages();
    [[nodiscard]] bool append(const QByteArray& line);
    void rewrite();
    void load();
    bool parse(const QByteArray& line);

    QString m_path;
    std::unique_ptr<QFile> m_file; // open for writing from the first entry on
    int64_t m_bytes = 0;
    std::list<Entry> m_entries;                      // in order
    QHash<QString, std::shared_ptr<Image>> m_images; // by name
};
