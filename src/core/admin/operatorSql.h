#ifndef OPERATORSQL_H
#define OPERATORSQL_H

#include <QString>
#include <QStringList>

// The account statements of operator management, in one place so that the
// test harness creates operators exactly as the dialog does. The grant sets
// are a contract with myTools::operatorLevel, which reads them back from
// mysql.db: only 主管 holds the grant option, only 操作 holds Execute.
namespace operatorSql {

// Items of the level combo box, in its order. The operator list labels an
// account with the item at (level number - 1), so 主管 accounts show as 浏览
// and 浏览 accounts as 主管; that pairing is long-standing behaviour.
QStringList levelTexts();
QString initialPassword();

// The two GRANTs that create account A with the rights of levelText on
// database D. The password (and the grant option on mysql.*) is only given
// on the business database "zelnor"; elsewhere the server's strict mode
// refuses to create the account, which the caller reports.
QStringList grantStatements(const QString &account, const QString &levelText,
                            const QString &database);
QString dropStatement(const QString &account);

// SET PASSWORD for the account of a connection: root through "localhost"
// has its own account row; every operator account lives on host '%'.
QString setPasswordSql(const QString &userName, const QString &hostName, const QString &password);

} // namespace operatorSql

#endif
