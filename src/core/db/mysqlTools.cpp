#include "mysqlTools.h"
#include "toolFolder.h"

#include "serverMessage.h"

#include <QFileInfo>
#include <QProcess>
#include <QRegularExpression>

namespace mysqlTools {

namespace {

// Lines kept, and their width in columns (a CJK character takes two): about
// 560 pixels in the usual 12-pixel fonts, well inside any screen.
const int shownLines = 3;
const int lineColumns = 72;

// Characters that would print as boxes or break the box's lines: control
// characters and what the decoder put in for bytes that are not UTF-8 (a
// restored file that is not text sends its bytes back in the error).
QString printable(const QString &line)
{
    QString out;
    for (const QChar c : line) {
        if (c.category() == QChar::Other_Control)
            out += QLatin1Char(' ');
        else if (c != QChar::ReplacementCharacter)
            out += c;
    }
    return out.simplified();
}

QString cutToWidth(const QString &line)
{
    int columns = 0;
    for (int i = 0; i < line.size(); ++i) {
        // East Asian wide characters take two columns; surrogate pairs are
        // rare here and counted by their halves.
        columns += line.at(i).unicode() >= 0x1100 ? 2 : 1;
        // The ellipsis is as wide as a CJK character in a CJK font.
        if (columns > lineColumns - 2)
            return line.left(i) + QStringLiteral("…");
    }
    return line;
}

// "ERROR 1064 (42000) at line 3: text" reads "第3行：text（ERROR 1064）".
QString readable(const QString &line)
{
    static const QRegularExpression error(QStringLiteral("^ERROR (\\d+) \\(\\w+\\)(?: at line (\\d+))?: (.*)$"));
    const QRegularExpressionMatch m = error.match(line);
    if (!m.hasMatch())
        return line;
    QString text = m.captured(3);
    const QString near = serverMessage::syntaxNear(text);
    if (!near.isNull())
        text = serverMessage::syntaxSentence(near);
    const QString where = m.captured(2).isEmpty() ? QString() : QStringLiteral("第%1行：").arg(m.captured(2));
    return where + text + QStringLiteral("（ERROR %1）").arg(m.captured(1));
}

} // namespace

QString toolMessage(const QByteArray &stderrOutput)
{
    QString text = QString::fromUtf8(stderrOutput);
    // The statement quoted in a syntax error keeps its own line breaks; the
    // quotation is one line of the message.
    static const QRegularExpression nearQuote(QStringLiteral("near '.*?' at line \\d+"),
                                              QRegularExpression::DotMatchesEverythingOption);
    for (auto it = nearQuote.globalMatch(text); it.hasNext();) {
        const QRegularExpressionMatch m = it.next();
        text.replace(m.capturedStart(), m.capturedLength(),
                     m.captured().replace(QLatin1Char('\n'), QLatin1Char(' ')));
    }
    QStringList meaningful, warnings;
    bool echo = false;
    for (const QString &raw : text.split(QLatin1Char('\n'))) {
        const QString line = printable(raw);
        // Before its error the client repeats the failing statement between
        // two lines of dashes; the error line quotes the part that matters.
        if (!line.isEmpty() && line.count(QLatin1Char('-')) == line.size()) {
            echo = !echo;
            continue;
        }
        if (line.isEmpty() || echo)
            continue;
        // A warning ("Using a password on the command line…") is not why a tool failed.
        (line.contains(QLatin1String("[Warning]")) || line.startsWith(QLatin1String("Warning:")) ? warnings
                                                                                                 : meaningful)
            << line;
    }
    const QStringList &lines = meaningful.isEmpty() ? warnings : meaningful;
    QStringList shown;
    for (const QString &line : lines.mid(0, shownLines))
        shown << cutToWidth(readable(line));
    if (lines.size() > shownLines)
        shown << QStringLiteral("（另有%1行未显示）").arg(lines.size() - shownLines);
    return shown.join(QLatin1Char('\n'));
}

bool runScript(const myDatabase::account &account, const QString &scriptPath, QString *problem, int timeoutMs)
{
    if (!QFileInfo(scriptPath).isReadable()) {
        if (problem)
            *problem = QStringLiteral("找不到脚本文件“%1”").arg(scriptPath);
        return false;
    }

    // The password goes through a private option file, never the command
    // line, which every user of the machine can read.
    const toolFolder tools(account);
    if (!tools.isValid()) {
        if (problem)
            *problem = tools.errorString();
        return false;
    }
    const QStringList args = tools.arguments() + QStringList{QStringLiteral("--database"), account.database};

    QProcess client;
    client.setStandardInputFile(scriptPath);
    return runTool(client, toolProgram(QStringLiteral("mysql")), args, QStringLiteral("mysql客户端程序"), timeoutMs, problem);
}

bool runTool(QProcess &tool, const QString &program, const QStringList &args, const QString &toolName,
             int timeoutMs, QString *problem)
{
    QString why;
    tool.start(program, args);
    if (!tool.waitForStarted()) {
        why = QStringLiteral("无法运行%1：%2").arg(toolName, tool.errorString());
    } else if (!tool.waitForFinished(timeoutMs)) {
        tool.kill();
        tool.waitForFinished(2000);
        why = QStringLiteral("%1在%2秒内没有完成").arg(toolName).arg(timeoutMs / 1000);
    } else if (tool.exitStatus() != QProcess::NormalExit || tool.exitCode() != 0) {
        const QString said = toolMessage(tool.readAllStandardError());
        why = said.isEmpty() ? QStringLiteral("%1报告错误（退出码%2）。").arg(toolName).arg(tool.exitCode())
                             : QStringLiteral("%1报告错误：\n%2").arg(toolName, said);
    }
    if (problem && !why.isEmpty())
        *problem = why;
    return why.isEmpty();
}

} // namespace mysqlTools
