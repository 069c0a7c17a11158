// The judgement whether a library may be loaded into this process.
#pragma once

#include <QHash>
#include <QString>

// An abort or a wild pointer in a plug-in takes the whole process with it, and no `try` helps. So a
// library that is not known is first loaded, instanced and initialised by a helper process; only
// what survives that within the time limit is loaded here. The verdict is kept in a file, by path,
// size and time of the library and by the helper's own size and time, so that a start costs no
// helper as long as nothing changes. GUI thread.
class PluginProbe
{
public:
    static constexpr int defaultLimit = 10000; // ms

    // `program` is the helper, called as `program <library>`, exit status 0 for a library that is
    // safe; verdicts are kept below `cacheFolder`, which is made when missing. Without a program, or
    // when it cannot be started, every library counts as safe: a program without plug-ins would be
    // of no use.
    PluginProbe(const QString& program, const QString& cacheFolder, int limit = defaultLimit);

    // Runs the helper when there is no verdict yet.
    [[nodiscard]] bool isSafe(const QString& library);
    // Why the last isSafe() answered false: "crashed", "did not answer within 10 s".
    [[nodiscard]] QString cause() const { return m_cause; }
    // How often the helper was run.
    [[nodiscard]] int runs() const { return m_runs; }

private:
    struct Verdict
    {
        QString stamp; // size and time of library and helper
        QString cause; // empty: safe
    };
    [[nodiscard]] QString stampOf(const QString& library) const;
    bool run(const QString& library, QString& cause);
    void read();
    void write() const;

    QString m_program;
    QString m_cacheFile;
    int m_limit;
    int m_runs = 0;
    QString m_cause;
    QHash<QString, Verdict> m_verdicts;
};
