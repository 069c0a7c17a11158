// A file that somebody else writes by name, moved into place when it is complete.
#pragma once

#include <memory>

#include <QFile>
#include <QString>

// As SafeFile, for writers that open a path of their own (encoders of plug-ins): they write
// temporaryPath(), which lies in the folder of the target; commit() brings it to the disk and renames
// it over the target. An object that dies without a commit() that succeeded leaves the old file as it
// was and nothing beside it. One thread at a time.
class ReplacingFile
{
public:
    // Symbolic links are followed, so the file that a link names is replaced and not the link.
    explicit ReplacingFile(const QString& path);
    ~ReplacingFile();
    ReplacingFile(const ReplacingFile&) = delete;
    ReplacingFile& operator=(const ReplacingFile&) = delete;

    // Makes the temporary file, empty. False when the target is there but no regular file, or the
    // folder cannot be written.
    [[nodiscard]] bool open();
    [[nodiscard]] QString temporaryPath() const;
    // True once the new file is on the disk under its name, with the permissions of the old one, if
    // there was one. False with the old file in place; or, if only the folder could not be synced, with
    // the new one in place.
    [[nodiscard]] bool commit();
    // File and cause of the failure.
    [[nodiscard]] QString errorString() const { return m_error; }

private:
    bool fail(const QString& cause);

    QString m_path;
    QString m_error;
    std::unique_ptr<QFile> m_file;
};
