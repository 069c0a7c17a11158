#include "app/commandline.h"

#include "ui/sessionrecords.h"

#include <algorithm>
#include <optional>

#include <QFileInfo>
#include <QRegularExpression>

namespace {

// The feature bits that each value of -cpu leaves.
struct CpuMask
{
    const char* name;
    uint64_t mask;
};
constexpr CpuMask cpuMasks[] = {
    {"sse4.2", 0x80cdf},
    {"avx", 0x86fdf},
    {"avx2", 0xfefff},
    {"avx512", 0x1fefff},
};

struct ModeWord
{
    const char* word;
    SessionHeader header;
};
constexpr ModeWord modeWords[] = {
    {"-edit", SessionHeader::Edit},
    {"-merge", SessionHeader::Merge},
    {"-replace", SessionHeader::Replace},
};

int valueCount(const OptionRow& row)
{
    return QString::fromLatin1(row.values).split(QLatin1Char(' '), Qt::SkipEmptyParts).size();
}

bool matches(const OptionRow& row, const QString& argument)
{
    return (row.anyCase ? argument.toLower() : argument) == QLatin1String(row.word);
}

const OptionRow& rowOf(const char* word)
{
    const auto& rows = CommandLine::options();
    const auto row = std::find_if(rows.begin(), rows.end(), [word](const OptionRow& candidate) {
        return qstrcmp(candidate.word, word) == 0;
    });
    Q_ASSERT(row != rows.end());
    return *row;
}

const OptionRow* rowFor(const QString& argument)
{
    for (const OptionRow& row : CommandLine::options())
        if (matches(row, argument))
            return &row;
    return nullptr;
}

// A start sample: digits only. An empty word is one too and reads as 0.
bool isStartSample(const QString& argument)
{
    static const QRegularExpression digits(QStringLiteral("^[0123456789]*$"));
    return digits.match(argument).hasMatch();
}

// Records hold sample points as doubles; beyond this they would not be exact.
qint64 samplePoint(const QString& text)
{
    constexpr qint64 limit = qint64{1} << 53;
    return std::clamp(text.toLongLong(), -limit, limit);
}

} // namespace

CommandLine::CommandLine(QStringList arguments) : m_arguments(std::move(arguments)) {}

const QList<OptionRow>& CommandLine::options()
{
    static const QList<OptionRow> rows = {
        {"-debug", "", OptionRow::Flag, false, "write debug lines to the log"},
        {"-cpu", "<sse4.2|avx|avx2|avx512>", OptionRow::Every, false,
         "use no newer vector instructions than these (our own code only: the Fourier transforms choose "
         "theirs by themselves)"},
        {"-threads", "<n>", OptionRow::Every, false, "compute on at most this many threads"},
        {"-parent", "<name>", OptionRow::Last, false, "display name of the program that sends the files"},
        {"-server", "<name>", OptionRow::Last, false, "local server to which results go back"},
        {"-edition", "<id>", OptionRow::First, false, "domain profile: mvp, cardio or radio"},
        {"-reset", "", OptionRow::Flag, false, "forget the user's settings"},
        {"-directx", "", OptionRow::Flag, false, "draw through DirectX (where the system has it)"},
        {"-opengl", "", OptionRow::Flag, false, "draw through OpenGL"},
        {"-language", "<code|file.qm>", OptionRow::Last, false, "language of the interface"},
        {"-resources", "<path>", OptionRow::Last, false,
         "folder with resources that go before the built-in ones"},
        {"-deviceapi", "<name>", OptionRow::First, false, "audio API to use"},
        {"-edit", "", OptionRow::Flag, true, "open the files that follow as projects of their own"},
        {"-merge", "", OptionRow::Flag, true, "add the files that follow to the project in front"},
        {"-replace", "", OptionRow::Flag, true, "put the files that follow in place of the project in front"},
        {"-timerange", "<start> <length>", OptionRow::Every, true, "show this range, in samples"},
        {"-freqrange", "<start> <height>", OptionRow::Every, true, "show this range, in Hz"},
        {"--picture", "<file.png>", OptionRow::Last, false,
         "open the files, save the window as a picture, print where, and end (1 if a file did not open)"},
        {"--version", "", OptionRow::Flag, false, "print the version and end"},
        {"--help", "", OptionRow::Flag, false, "print this and end"},
    };
    return rows;
}

QString CommandLine::help()
{
    QString text = QStringLiteral("usage: morvane [options] [file [start sample]]...\n");
    for (const OptionRow& row : options()) {
        const QString left = QString::fromLatin1(row.word) + QLatin1Char(' ') + QLatin1String(row.values);
        text += QStringLiteral("  %1 %2\n").arg(left, -31).arg(QLatin1String(row.help));
    }
    return text;
}

bool CommandLine::has(const char* word) const
{
    const OptionRow& row = rowOf(word);
    return std::any_of(m_arguments.begin(), m_arguments.end(),
                       [&row](const QString& argument) { return matches(row, argument); });
}

QStringList CommandLine::values(const char* word) const
{
    const OptionRow& row = rowOf(word);
    QStringList found;
    for (int i = 0; i + 1 < m_arguments.size(); ++i)
        if (matches(row, m_arguments[i]))
            found << m_arguments[i + 1];
    return found;
}

QString CommandLine::value(const char* word) const
{
    const QStringList found = values(word);
    if (found.isEmpty())
        return {};
    return rowOf(word).pick == OptionRow::First ? found.first() : found.last();
}

int CommandLine::threadCount(int ideal) const
{
    int count = std::max(ideal, 1);
    for (const QString& text : values("-threads"))
        count = std::clamp(text.toInt(), 1, count);
    return count;
}

uint64_t CommandLine::cpuFeatures(uint64_t detected) const
{
    for (const QString& name : values("-cpu"))
        for (const CpuMask& row : cpuMasks)
            if (name == QLatin1String(row.name))
                detected &= row.mask;
    return detected;
}

// Not the value of --picture, which may be there from last time; every other value may be a file too.
bool CommandLine::isFile(int index) const
{
    const QString& argument = m_arguments[index];
    return index > 0 && m_arguments[index - 1] != QLatin1String("--picture") &&
           !argument.endsWith(QLatin1String(".qm"), Qt::CaseInsensitive) && QFileInfo(argument).isFile();
}

QByteArray CommandLine::importQueue(const QString& parentName, const QString& serverName) const
{
    QByteArray bytes;
    SessionRecord record;
    const QString api = value("-deviceapi");
    if (!api.isNull()) {
        record.header = SessionHeader::AudioApi;
        record.api = api;
        bytes += toSessionBytes(record);
    }
    SessionHeader mode = SessionHeader::Edit;
    for (int i = 1; i < m_arguments.size(); ++i) {
        const QString& argument = m_arguments[i];
        const QString lower = argument.toLower();
        for (const ModeWord& row : modeWords)
            if (lower == QLatin1String(row.word))
                mode = row.header;
        record = {};
        if (isFile(i)) {
            const QFileInfo file(argument);
            const QString next = m_arguments.value(i + 1);
            record.header = mode;
            record.path = file.absoluteFilePath();
            record.startSample = isStartSample(next) ? next.toLongLong() : 0;
            record.source = parentName.isEmpty() ? file.fileName() : parentName;
            record.server = serverName;
            bytes += toSessionBytes(record);
        } else if (i + 2 < m_arguments.size() && lower == QLatin1String("-timerange")) {
            record.header = SessionHeader::TimeRange;
            record.start = double(samplePoint(m_arguments[i + 1]));
            record.length = double(samplePoint(m_arguments[i + 2]));
            bytes += toSessionBytes(record);
        } else if (i + 2 < m_arguments.size() && lower == QLatin1String("-freqrange")) {
            record.header = SessionHeader::FreqRange;
            record.start = m_arguments[i + 1].toDouble();
            record.length = m_arguments[i + 2].toDouble();
            bytes += toSessionBytes(record);
        }
    }
    return bytes;
}

QStringList CommandLine::missingFiles() const
{
    QStringList missing;
    for (int i = 1; i < m_arguments.size(); ++i) {
        const QString& argument = m_arguments[i];
        if (const OptionRow* row = rowFor(argument)) {
            i += valueCount(*row);
            continue;
        }
        const bool meantAsFile = !argument.startsWith(QLatin1Char('-')) && !argument.isEmpty();
        const bool startOfFile = i > 1 && isStartSample(argument) && !rowFor(m_arguments[i - 1]);
        if (meantAsFile && !startOfFile && !isFile(i))
            missing << argument;
    }
    return missing;
}
