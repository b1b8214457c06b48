#ifndef DUMPSCANNER_H
#define DUMPSCANNER_H

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <functional>

// Reads a mysqldump text as it streams past, line by line, without holding
// more than one short line: whether it ends with mysqldump's closing line
// (a dump cut off anywhere lacks it), which databases its USE lines switch
// to, and, when an output is given, the text to feed to the mysql client
// with the triggers' DEFINER clauses taken out (see dataBackup::withoutDefiners).
//
// Lines of data pass through untouched and are never copied: only lines that
// start like a version comment or a USE are held until their end.
class dumpScanner
{
public:
    using sink = std::function<bool(const char *, qint64)>;

    explicit dumpScanner(sink output = sink());

    // False when the output refused the text.
    bool feed(const char *data, qint64 size);
    bool feed(const QByteArray &data) { return feed(data.constData(), data.size()); }
    // Flushes a last line that has no line end.
    bool finish();

    // The last line that is not blank starts with "-- Dump completed".
    bool isComplete() const { return m_complete; }
    // The databases named by USE lines, in order, each once.
    QStringList databases() const { return m_databases; }
    qint64 bytesSeen() const { return m_seen; }

private:
    enum class mode { LineStart, PassThrough, Hold };
    bool classify();
    bool endHeldLine();
    bool pass(const char *data, qint64 size);
    bool pass(const QByteArray &text);

    sink m_output;
    mode m_mode = mode::LineStart;
    QByteArray m_line; // the start of the current line, or all of a held one
    bool m_complete = false;
    QStringList m_databases;
    qint64 m_seen = 0;
};

#endif
