#include "serverMessage.h"

#include <QRegularExpression>

namespace serverMessage {

namespace {
// A match with an empty capture must still read as a match.
QString matched(const QRegularExpressionMatch &m, int group)
{
    if (!m.hasMatch())
        return QString();
    const QString text = m.captured(group);
    return text.isNull() ? QString(QLatin1String("")) : text;
}
} // namespace

QString syntaxNear(const QString &serverText)
{
    // MySQL and MariaDB name themselves in the same sentence; the text near
    // the error may run over several lines of the statement.
    static const QRegularExpression syntax(
        QStringLiteral("^You have an error in your SQL syntax; check the manual that corresponds to your "
                       "(?:MySQL|MariaDB) server version for the right syntax to use near '(.*)' at line \\d+$"),
        QRegularExpression::DotMatchesEverythingOption);
    return matched(syntax.match(serverText), 1);
}

QString syntaxSentence(const QString &near)
{
    return QStringLiteral("句法错误，请检查“") + near + QStringLiteral("”。");
}

QString captured(const QString &serverText, const QString &pattern, int group)
{
    const QRegularExpression re(QLatin1Char('^') + pattern + QLatin1Char('$'),
                                QRegularExpression::DotMatchesEverythingOption);
    return matched(re.match(serverText), group);
}

} // namespace serverMessage
