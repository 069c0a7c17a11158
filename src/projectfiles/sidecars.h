// The sample files beside a manifest that a user saves.
#pragma once

#include "model/worksteps.h"
#include "projectfiles/savedlayer.h"

#include <QString>

// The files that a manifest names have fixed names, so new ones cannot simply be written over the old:
// a death of the program in between would leave the old manifest with new samples. The way of a save:
//
// 1. write() puts all files into a new folder beside the target and brings them to the disk;
// 2. the caller saves a manifest that names them there: this is already the new project, whole;
// 3. settle() gives them their fixed names, as second names of the same files, or as copies where the
//    file system has no links; the old files of those names are named by no manifest any more;
// 4. the caller saves the manifest that names them by those names;
// 5. clean() removes the folder of step 1 and what earlier saves have left.
//
// In a folder of the base name that was there before, only files named layer<i>.pcm are touched.
class Sidecars
{
public:
    // For the manifest `path`, which is no link.
    explicit Sidecars(const QString& path);
    // Removes the folder of step 1, unless clean() has.
    ~Sidecars();
    Sidecars(const Sidecars&) = delete;
    Sidecars& operator=(const Sidecars&) = delete;

    // False for a name that gives no folder of its own ("", "." and ".."), and when something else
    // stands under its name.
    [[nodiscard]] bool check();
    [[nodiscard]] bool write(const QList<SavedLayer>& layers, WorkSteps& steps);
    [[nodiscard]] bool settle();
    void clean();
    // From now on a manifest names the folder of step 1: it is not removed but by clean().
    void keep() { m_kept = true; }

    // Relative paths of the files, one for each layer, empty for one without samples.
    [[nodiscard]] QStringList firstPaths() const { return paths(m_firstFolder); }
    [[nodiscard]] QStringList paths() const { return paths(m_base); }
    [[nodiscard]] bool cancelled() const { return m_cancelled; }
    [[nodiscard]] QString errorString() const { return m_error; }

private:
    [[nodiscard]] QStringList paths(const QString& folder) const;
    [[nodiscard]] QString fileName(int index) const;
    bool fail(const QString& path, const QString& cause);
    bool writeFile(const QString& path, const SavedLayer& layer, WorkSteps& steps);
    bool moveIn(const QString& from, const QString& to);
    static void removeFolder(const QString& path);

    QString m_parent;      // folder of the manifest
    QString m_base;        // name of the folder of the files
    QString m_firstFolder; // name of the one of step 1
    QList<bool> m_hasFile; // for each layer
    int m_files = 0;
    bool m_kept = false;
    bool m_cancelled = false;
    QString m_error;
};
