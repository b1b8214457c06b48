#include "dumpScanner.h"
#include "dataBackup.h"

#include <algorithm>
#include <cstring>

namespace {

const QByteArray completedLine("-- Dump completed");
// Enough of a line's start to tell what it is.
const int headSize = completedLine.size();
// Trigger headers and USE lines are short; a line this long is data and is
// passed on as it is rather than held.
const int holdLimit = 1 << 20;

bool isBlank(const QByteArray &text)
{
    return std::all_of(text.begin(), text.end(), [](char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; });
}

// USE `name`; or USE name;
QString useTarget(const QByteArray &line)
{
    QByteArray rest = line.mid(4).trimmed();
    if (rest.startsWith('`')) {
        const int close = rest.indexOf('`', 1);
        return QString::fromUtf8(rest.mid(1, close > 0 ? close - 1 : -1));
    }
    const int stop = rest.indexOf(';');
    return QString::fromUtf8((stop >= 0 ? rest.left(stop) : rest).trimmed());
}

} // namespace

dumpScanner::dumpScanner(sink output)
    : m_output(std::move(output))
{
}

bool dumpScanner::pass(const char *data, qint64 size)
{
    return !m_output || size == 0 || m_output(data, size);
}

bool dumpScanner::classify()
{
    if (m_line.startsWith("/*!") || m_line.startsWith("USE ") || m_line.startsWith("use ")) {
        m_complete = false;
        m_mode = mode::Hold;
        return true;
    }
    // A blank line after the closing line leaves the dump complete.
    if (!isBlank(m_line))
        m_complete = m_line.startsWith(completedLine);
    m_mode = mode::PassThrough;
    const bool ok = pass(m_line.constData(), m_line.size());
    m_line.clear();
    return ok;
}

bool dumpScanner::endHeldLine()
{
    if (m_line.startsWith("USE ") || m_line.startsWith("use ")) {
        const QString name = useTarget(m_line);
        if (!m_databases.contains(name))
            m_databases << name;
    }
    const bool ok = m_line.contains("DEFINER=") ? pass(dataBackup::withoutDefiners(m_line))
                                                : pass(m_line.constData(), m_line.size());
    m_line.clear();
    m_mode = mode::LineStart;
    return ok;
}

bool dumpScanner::pass(const QByteArray &text)
{
    return pass(text.constData(), text.size());
}

bool dumpScanner::feed(const char *data, qint64 size)
{
    m_seen += size;
    const char *p = data;
    const char *const end = data + size;
    while (p < end) {
        const char *newline = static_cast<const char *>(std::memchr(p, '\n', size_t(end - p)));
        const char *lineEnd = newline ? newline + 1 : end;
        switch (m_mode) {
        case mode::LineStart: {
            const qint64 take = std::min<qint64>(headSize - m_line.size(), lineEnd - p);
            m_line.append(p, int(take));
            p += take;
            const bool ended = m_line.endsWith('\n');
            if (!ended && m_line.size() < headSize)
                break; // the chunk ended inside the line's start
            if (!classify())
                return false;
            if (ended && m_mode == mode::Hold && !endHeldLine())
                return false;
            if (ended)
                m_mode = mode::LineStart;
            break;
        }
        case mode::PassThrough:
            if (!pass(p, lineEnd - p))
                return false;
            p = lineEnd;
            if (newline)
                m_mode = mode::LineStart;
            break;
        case mode::Hold:
            m_line.append(p, int(lineEnd - p));
            p = lineEnd;
            if (newline) {
                if (!endHeldLine())
                    return false;
            } else if (m_line.size() > holdLimit) {
                const bool ok = pass(m_line.constData(), m_line.size());
                m_line.clear();
                m_mode = mode::PassThrough;
                if (!ok)
                    return false;
            }
            break;
        }
    }
    return true;
}

bool dumpScanner::finish()
{
    bool ok = true;
    if (m_mode == mode::LineStart && !m_line.isEmpty())
        ok = classify();
    if (ok && m_mode == mode::Hold)
        ok = endHeldLine();
    m_mode = mode::LineStart;
    m_line.clear();
    return ok;
}
