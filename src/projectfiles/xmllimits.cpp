#include "projectfiles/xmllimits.h"

#include <cstring>

#include <QByteArray>
#include <QCoreApplication>
#include <QIODevice>
#include <QString>

namespace {

QString tr(const char* text)
{
    return QCoreApplication::translate("ProjectReader", text);
}

// A walk over the bytes that knows no more of XML than where tags, their quoted texts and comments
// begin and end.
class Scanner
{
public:
    // False when a limit is passed.
    bool take(char c);

private:
    enum class In { Text, Opening, Tag, Quoted, Instruction, Comment };

    bool begin(In in)
    {
        m_in = in;
        m_markup = m_all = 0;
        m_attributes = 0;
        m_last = 0;
        return true;
    }
    bool opening(char c);
    bool tag(char c);
    bool endTag();

    In m_in = In::Text;
    char m_quote = 0;
    char m_last = 0;       // the character before
    char m_beforeLast = 0; // and the one before that
    bool m_closing = false;
    int64_t m_markup = 0;
    int64_t m_all = 0;
    int m_attributes = 0;
    int64_t m_elements = 0;
    int64_t m_depth = 0;
};

bool Scanner::opening(char c)
{
    if (c == '?')
        return begin(In::Instruction);
    if (c == '!')
        return begin(In::Comment);
    m_in = In::Tag;
    m_closing = c == '/';
    return true;
}

bool Scanner::endTag()
{
    const bool isEmpty = m_last == '/';
    if (m_closing)
        --m_depth;
    else if (!isEmpty)
        ++m_depth;
    m_elements += !m_closing;
    begin(In::Text);
    return m_elements <= xmllimits::elements && m_depth <= xmllimits::depth;
}

bool Scanner::tag(char c)
{
    if (c == '>')
        return endTag();
    if (c == '"' || c == '\'') {
        m_in = In::Quoted;
        m_quote = c;
        return ++m_attributes <= xmllimits::attributes;
    }
    return true;
}

bool Scanner::take(char c)
{
    if (c == 0) // no text is UTF-8 with it
        return false;
    ++m_all;
    if (m_in != In::Quoted)
        ++m_markup;
    bool good = m_all <= xmllimits::tagBytes && m_markup <= xmllimits::markupBytes;
    switch (m_in) {
    case In::Text:
        if (c == '<')
            begin(In::Opening);
        break;
    case In::Opening:
        good = good && opening(c);
        break;
    case In::Tag:
        good = good && tag(c);
        break;
    case In::Quoted:
        if (c == m_quote)
            m_in = In::Tag;
        break;
    case In::Instruction:
        if (c == '>' && m_last == '?')
            begin(In::Text);
        break;
    case In::Comment: // "<!" that is not followed by "--" is a document type, or a form never written
        if (m_markup <= 2)
            good = good && c == '-';
        else if (c == '>' && m_last == '-' && m_beforeLast == '-' && m_markup > 4)
            begin(In::Text);
        break;
    }
    m_beforeLast = m_last;
    m_last = c;
    return good;
}

} // namespace

bool xmllimits::check(QIODevice& device, QString& words)
{
    constexpr int piece = 65536;
    if (device.size() > bytes) {
        words = tr("it is longer than %1 MB").arg(bytes >> 20);
        return false;
    }
    Scanner scanner;
    bool good = device.seek(0);
    for (QByteArray part = device.read(piece); good && !part.isEmpty(); part = device.read(piece))
        for (const char c : qAsConst(part))
            if (!scanner.take(c)) {
                good = false;
                break;
            }
    if (!good)
        words = tr("it holds what no manifest of this program holds");
    return good && device.seek(0);
}
