#include "myTools.h"
#include "gbText.h"
#include "myDatabase.h"
#include "reporter.h"

#include <QSqlQuery>

QString myTools::accountName(const QString &displayName)
{
    if (displayName == QLatin1String("root"))
        return displayName;
    // Each GB18030 byte as lower-case hex without padding: a byte below 16
    // gives a single digit. Accounts created by earlier installations follow
    // this rule, so it must not be "fixed".
    QString account;
    for (const char byte : gbText::encode(displayName))
        account += QString::number(static_cast<uchar>(byte), 16);
    return account;
}

QString myTools::displayName(const QString &accountName)
{
    if (accountName == QLatin1String("root"))
        return accountName;
    // Two digits a byte, and an unreadable pair ends the name. Not
    // QByteArray::fromHex: it skips a stray character and would shift every
    // byte after it into another name.
    QByteArray bytes(accountName.size() / 2, '\0');
    for (int i = 0; i < bytes.size(); ++i) {
        bool ok = false;
        const uint value = accountName.mid(2 * i, 2).toUInt(&ok, 16);
        bytes[i] = ok ? static_cast<char>(value) : '\0';
    }
    const int end = bytes.indexOf('\0');
    return gbText::decode(end < 0 ? bytes : bytes.left(end));
}

int myTools::operatorLevel(const myDatabase &db, const QString &accountName, const QString &databaseName)
{
    if (accountName == QLatin1String("root"))
        return 0;
    QSqlQuery query = db.query();
    query.exec(QStringLiteral("SELECT Grant_priv, Drop_priv, Execute_priv, Create_priv FROM mysql.db WHERE user='")
               + accountName + QStringLiteral("' AND Db='") + databaseName + QLatin1Char('\''));
    if (!query.next())
        return 3;
    const QString yes = QStringLiteral("Y");
    const bool grant = query.value(0).toString() == yes;
    const bool drop = query.value(1).toString() == yes;
    const bool execute = query.value(2).toString() == yes;
    const bool create = query.value(3).toString() == yes;
    Q_UNUSED(create) // read like the others; it has never been part of the rule
    if (grant)
        return 1;
    if (drop && execute)
        return 2;
    return 3;
}

QString myTools::levelName(int level)
{
    static const QStringList names = {QStringLiteral("超级用户"), QStringLiteral("主管"),
                                      QStringLiteral("操作"), QStringLiteral("浏览")};
    return names.value(level);
}

void myTools::showCharacterSets(const myDatabase &db)
{
    QSqlQuery query = db.query();
    query.exec(QStringLiteral("SHOW variables like 'character_set_%'"));
    QString text;
    while (query.next())
        text += query.value(0).toString() + QStringLiteral(" -- ") + query.value(1).toString()
            + QStringLiteral("\t\n");
    reporter::information(QStringLiteral("Mysql字符集"), text);
}
