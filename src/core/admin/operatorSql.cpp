#include "operatorSql.h"

namespace operatorSql {

QStringList levelTexts()
{
    return {QStringLiteral("浏览"), QStringLiteral("操作"), QStringLiteral("主管")};
}

QString initialPassword() { return QStringLiteral("580213"); }

QStringList grantStatements(const QString &account, const QString &levelText, const QString &database)
{
    const bool supervisor = levelText == QStringLiteral("主管");
    // Every operator reads mysql.db with its own account to learn its level
    // and needs the mysql schema to change its password.
    QString onMysql = QStringLiteral("GRANT ALL ON mysql.* TO `") + account + QStringLiteral("`@`%` ");
    if (database == QLatin1String("zelnor")) {
        onMysql += QStringLiteral("Identified By '") + initialPassword() + QLatin1Char('\'');
        if (supervisor)
            onMysql += QStringLiteral(" WITH GRANT OPTION");
    }

    QString onData;
    if (supervisor)
        onData = QStringLiteral("GRANT ALL ON ") + database + QStringLiteral(".* TO `") + account
            + QStringLiteral("`@`%` WITH GRANT OPTION");
    else if (levelText == QStringLiteral("操作"))
        onData = QStringLiteral("Grant All On ") + database + QStringLiteral(".* To '") + account
            + QStringLiteral("'@'%'");
    else if (levelText == QStringLiteral("浏览"))
        onData = QStringLiteral("Grant Select,Insert,Update,Delete,Lock Tables,Create,Create Temporary "
                                "Tables,Show View,Create View,Alter,Index,Drop On ")
            + database + QStringLiteral(".* To '") + account + QStringLiteral("'@'%'");
    else
        onData = QStringLiteral("Grant Select,Lock tables,Create Temporary Tables,Create View On ")
            + database + QStringLiteral(".* To '") + account + QStringLiteral("'@'%'");
    return {onMysql, onData};
}

QString dropStatement(const QString &account)
{
    return QStringLiteral("DROP USER '") + account + QStringLiteral("'@'%'");
}

QString setPasswordSql(const QString &userName, const QString &hostName, const QString &password)
{
    if (userName.toUpper() == QLatin1String("ROOT") && hostName.toUpper() == QLatin1String("LOCALHOST"))
        return QStringLiteral("SET PASSWORD FOR root@'localhost' = PASSWORD('") + password
            + QStringLiteral("');");
    // Unquoted: operator account names are hexadecimal digits only.
    return QStringLiteral("SET PASSWORD FOR ") + userName + QStringLiteral("@'%' = PASSWORD('")
        + password + QStringLiteral("');");
}

} // namespace operatorSql
