// Saving a file so that whoever looks finds the old one or the new one, whole, at any moment.
#pragma once

#include <memory>

#include <QSaveFile>
#include <QString>

// Writes beside the target, syncs, and renames over it. Use: open(), write through write() or
// device(), commit(). Anything that fails, or an object that dies without commit(), leaves the old
// file as it was. One thread at a time.
class SafeFile
{
public:
    // Symbolic links are followed, so the file that a link names is replaced and not the link.
    explicit SafeFile(const QString& path);
    ~SafeFile();
    SafeFile(const SafeFile&) = delete;
    SafeFile& operator=(const SafeFile&) = delete;

    // False when the target is there but no regular file (directory, device, FIFO, socket), a link
    // leads in a circle, or the folder cannot be written.
    [[nodiscard]] bool open();
    // False on the first write that failed, and from then on.
    [[nodiscard]] bool write(const char* data, int64_t bytes);
    [[nodiscard]] bool write(const QByteArray& data) { return write(data.constData(), data.size()); }
    // For QDataStream and QXmlStreamWriter. A write that failed there is found by commit() as well.
    [[nodiscard]] QIODevice* device() { return m_file.get(); }
    // True once the new file is on the disk under its name. False with the old file in place; or, if
    // only the folder could not be synced, with the new one in place and not yet known to be safe.
    [[nodiscard]] bool commit();
    // Whether the new file stands under its name; what it names must then stay, whatever commit() told.
    [[nodiscard]] bool isReplaced() const { return m_replaced; }

    // The path at the end of a chain of links, also when nothing stands there yet. Empty for a circle.
    [[nodiscard]] static QString followLinks(QString path);
    // The file that is replaced, links followed.
    [[nodiscard]] QString path() const { return m_path; }
    // File and cause of the failure, for the informative text of a box.
    [[nodiscard]] QString errorString() const { return m_error; }

private:
    bool fail(const QString& cause);

    QString m_path;
    QString m_error;
    bool m_replaced = false;
    std::unique_ptr<QSaveFile> m_file;
};
