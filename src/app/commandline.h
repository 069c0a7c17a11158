// The words that the program is started with.
#pragma once

#include <cstdint>

#include <QByteArray>
#include <QString>
#include <QStringList>

// One row for each option; the same table reads the command line and writes the help.
struct OptionRow
{
    enum Pick {
        Flag,  // stands there or not
        First, // the value of the first occurrence counts, none when that stands last
        Last,  // the value of the last occurrence that has one
        Every, // all occurrences in order
    };
    const char* word;
    const char* values; // words for the help; their number is the number of values
    Pick pick;
    bool anyCase; // compared in lower case
    const char* help;
};

// Reads options out of a list of arguments, the program's own name first. A value is whatever follows
// the option, be it an option itself, which then counts as one too.
class CommandLine
{
public:
    explicit CommandLine(QStringList arguments);

    [[nodiscard]] static const QList<OptionRow>& options();
    // One line for each option, as `morvane --help` prints it.
    [[nodiscard]] static QString help();

    [[nodiscard]] const QStringList& arguments() const { return m_arguments; }
    // `word` must stand in options(), with the fitting Pick.
    [[nodiscard]] bool has(const char* word) const;
    [[nodiscard]] QString value(const char* word) const; // First or Last; null when there is none
    [[nodiscard]] QStringList values(const char* word) const;

    // The thread count: `ideal` is what the machine has. Each -threads can only lower it, to 1 at least.
    [[nodiscard]] int threadCount(int ideal) const;
    // The CPU features left of `detected` after each -cpu.
    [[nodiscard]] uint64_t cpuFeatures(uint64_t detected) const;

    // Session records of this command line in its order: audio API, files, ranges. Paths are made
    // absolute, since another process in another folder may read them.
    [[nodiscard]] QByteArray importQueue(const QString& parentName, const QString& serverName) const;
    // Words that can only be meant as files, and name none.
    [[nodiscard]] QStringList missingFiles() const;

private:
    [[nodiscard]] bool isFile(int index) const;

    QStringList m_arguments;
};
