#ifndef OPERATORSQL_H
#define OPERATORSQL_H

#include <QString>
#include <QStringList>

// The account statements of operator management, in one place so that the
// test harness creates operators exactly as the dialog does. The grant sets
// are a contract with myTools::operatorLevel, which reads them back from
// mysql.db: only 主管 holds the grant option on the business database, only
// 操作 and 主管 hold Drop and Execute there.
//
// Each level gets what its work needs and nothing more. Every operator reads
// mysql.db (his level comes from it), and nothing else of the server's own
// schema: with more, an operator could set root's password or raise his own
// level by writing mysql.db. A 主管 also creates and drops accounts, so he
// holds CREATE USER and may pass on what he grants; a 浏览 operator only
// reads the business data and writes the log rows of his own login and exit.
namespace operatorSql {

// Items of the level combo box, in its order. The operator list labels an
// account with the item at (level number - 1), so 主管 accounts show as 浏览
// and 浏览 accounts as 主管; that pairing is long-standing behaviour.
QStringList levelTexts();
// The level text of a level number (1 主管, 2 操作, 3 浏览).
QString levelText(int level);
QString initialPassword();

// The GRANTs that create account A with the rights of levelText on database
// D. The first names the initial password and so creates the account; the
// password (and the grant option on mysql.db) is only given on the business
// database "zelnor": elsewhere the server's strict mode refuses to create the
// account, which the caller reports. An unknown level text gets the least
// set, 浏览's.
QStringList grantStatements(const QString &account, const QString &levelText, const QString &database);
// Brings an existing account to exactly its level's rights, its password
// kept: everything revoked, then the level's grants without the password.
QStringList narrowStatements(const QString &account, const QString &levelText, const QString &database);
QString dropStatement(const QString &account);

// SET PASSWORD for the account of a connection: root through "localhost"
// has its own account row; every operator account lives on host '%'. The
// password is typed text and arrives as typed.
QString setPasswordSql(const QString &userName, const QString &hostName, const QString &password);

// The longest account name the program creates. MariaDB 10.0 to 10.3 keep
// user names to 80 characters (10.4 and later to 128), so an office can move
// its server between them and keep every operator.
constexpr int maxAccountLength = 80;

// Why a display name cannot become an operator's account, in words for the
// person adding it; empty when it can.
QString nameProblem(const QString &displayName);

} // namespace operatorSql

#endif
