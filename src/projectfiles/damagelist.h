// What a reader could not read, in words for the user.
#pragma once

#include <QString>
#include <QStringList>

// Keeps the first lines, each once, and counts the others, so that a file that is damaged everywhere
// gives a box that can be read.
class DamageList
{
public:
    void add(const QString& line)
    {
        if (m_lines.contains(line))
            return;
        if (m_lines.size() < most)
            m_lines << line;
        else
            ++m_more;
    }
    void add(const QStringList& lines)
    {
        for (const QString& line : lines)
            add(line);
    }
    [[nodiscard]] bool isEmpty() const { return m_lines.isEmpty(); }
    [[nodiscard]] QStringList lines() const;

private:
    static constexpr int most = 12;
    QStringList m_lines;
    int m_more = 0;
};
