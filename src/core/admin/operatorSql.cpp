#include "operatorSql.h"

#include "myTools.h"
#include "sqlText.h"

#include <QRegularExpression>

namespace operatorSql {

QStringList levelTexts()
{
    return {QStringLiteral("浏览"), QStringLiteral("操作"), QStringLiteral("主管")};
}

QString levelText(int level) { return levelTexts().value(3 - level); }

QString initialPassword() { return QStringLiteral("580213"); }

// withPassword: the first grant creates the account with the initial
// password; without it the grants only add rights to an existing account.
static QStringList levelGrants(const QString &account, const QString &levelText, const QString &database,
                               bool withPassword)
{
    const bool supervisor = levelText == QStringLiteral("主管");
    const QString backticked = QLatin1Char('`') + account + QStringLiteral("`@`%`");
    const QString quoted = QLatin1Char('\'') + account + QStringLiteral("'@'%'");

    // The level is read back from mysql.db with the operator's own account.
    QString onMysql = QStringLiteral("GRANT SELECT ON mysql.db TO ") + backticked;
    if (database == QLatin1String("zelnor")) {
        if (withPassword)
            onMysql += QStringLiteral(" Identified By ") + sqlText::quoted(initialPassword());
        // A 主管 passes the right to read levels on to the operators he adds.
        if (supervisor)
            onMysql += QStringLiteral(" WITH GRANT OPTION");
    }

    if (supervisor)
        return {onMysql,
                QStringLiteral("GRANT ALL ON ") + database + QStringLiteral(".* TO ") + backticked
                    + QStringLiteral(" WITH GRANT OPTION"),
                QStringLiteral("GRANT CREATE USER ON *.* TO ") + backticked + QStringLiteral(" WITH GRANT OPTION")};
    if (levelText == QStringLiteral("操作"))
        return {onMysql, QStringLiteral("Grant All On ") + database + QStringLiteral(".* To ") + quoted};
    // 浏览 reads, and writes only the log rows of his own login and exit.
    return {onMysql, QStringLiteral("Grant Select On ") + database + QStringLiteral(".* To ") + quoted,
            QStringLiteral("Grant Insert On ") + database + QStringLiteral(".log To ") + quoted};
}

QStringList grantStatements(const QString &account, const QString &levelText, const QString &database)
{
    return levelGrants(account, levelText, database, true);
}

QStringList narrowStatements(const QString &account, const QString &levelText, const QString &database)
{
    return QStringList{QStringLiteral("REVOKE ALL PRIVILEGES, GRANT OPTION FROM '") + account
                       + QStringLiteral("'@'%'")}
        + levelGrants(account, levelText, database, false);
}

QString dropStatement(const QString &account)
{
    return QStringLiteral("DROP USER '") + account + QStringLiteral("'@'%'");
}

QString setPasswordSql(const QString &userName, const QString &hostName, const QString &password)
{
    const QString literal = QStringLiteral("PASSWORD(") + sqlText::quoted(password) + QStringLiteral(");");
    if (userName.toUpper() == QLatin1String("ROOT") && hostName.toUpper() == QLatin1String("LOCALHOST"))
        return QStringLiteral("SET PASSWORD FOR root@'localhost' = ") + literal;
    // Operator account names are hexadecimal digits and stand unquoted, but
    // the server reads a name of digits alone ("3132" for the name 12), or
    // digits, an e and a digit ("8e50"), as a number: those are quoted.
    static const QRegularExpression number(QStringLiteral("^[0-9]+(e[0-9].*)?$"));
    const QString user = number.match(userName).hasMatch() ? QLatin1Char('\'') + userName + QLatin1Char('\'')
                                                           : userName;
    return QStringLiteral("SET PASSWORD FOR ") + user + QStringLiteral("@'%' = ") + literal;
}

QString nameProblem(const QString &displayName)
{
    if (displayName.trimmed().isEmpty())
        return QStringLiteral("操作员姓名不能为空，请输入姓名。");
    if (displayName == QLatin1String("root"))
        return QStringLiteral("“root”是数据库服务器的管理员账户，不能作为操作员增加。");
    // The log row names the operator, and the connection cannot carry these.
    if (!sqlText::fitsConnection(displayName))
        return QStringLiteral("操作员姓名中有数据库无法保存的字（生僻字或表情符号），请换一种写法。");
    // A byte below 16 is written as one hex digit, so the account would
    // read back as another name, and the operator could never be listed.
    const QString account = myTools::accountName(displayName);
    if (myTools::displayName(account) != displayName)
        return QStringLiteral("操作员姓名中有制表符等不能用作账户名的字符，请修改。");
    if (account.size() > maxAccountLength)
        return QStringLiteral("操作员姓名太长：账户名最多%1个字符，即%2个字节（约%3个汉字），请缩短。")
            .arg(maxAccountLength)
            .arg(maxAccountLength / 2)
            .arg(maxAccountLength / 4);
    return QString();
}

} // namespace operatorSql
