#ifndef OPERATORACCOUNTS_H
#define OPERATORACCOUNTS_H

#include <QSqlError>
#include <QString>
#include <QStringList>

class myDatabase;

// Operator management on the server: adding, dropping and narrowing the
// operators' accounts with the statements of operatorSql, and the checks
// that keep a name from resetting somebody else's account. The dialog only
// shows what comes back.
//
// Account statements commit on their own, one by one, so a transaction
// cannot hold them together: each run stops at the first refusal, and the
// log row is written only for what the server did.
namespace operatorAccounts {

// What came of a change.
struct outcome {
    bool changed = false; // the server made, dropped or narrowed the account
    QString refusal;      // why nothing was sent, in words for the operator
    QString error;        // the server's text of a failure, or of a log row it refused
};

enum class presence { Absent, Present, Unknown };
// Whether the server knows an account of this name; Unknown with *error set
// when the acting account cannot tell.
presence accountPresence(const myDatabase &db, const QString &account, QSqlError *error);

// Creates the operator at the level (a level text) on the connection's
// database, with the initial password, and logs it as actingOperator. A name
// that cannot be an account, or whose account exists, is refused first.
outcome add(const myDatabase &db, const QString &name, const QString &levelText, const QString &actingOperator);
// Drops the operator's account, then logs it. root and the acting account
// itself are refused: the office would lose its administrator, or its only
// supervisor the means to manage operators.
outcome remove(const myDatabase &db, const QString &name, const QString &actingOperator);

// What account@'%' holds beyond what its level (1 主管, 2 操作, 3 浏览) needs
// on the database, one line per object ("mysql.*：SELECT, INSERT"), for the
// operator to read; empty when nothing. Only root reads every account's
// rights: for anyone else the answer says nothing.
QStringList excessRights(const myDatabase &db, const QString &account, int level, const QString &database);
// Brings the operator's account@'%' to exactly its level's rights (password
// kept) and logs it under the operator's name.
outcome narrow(const myDatabase &db, const QString &account, const QString &name, int level,
               const QString &actingOperator);

} // namespace operatorAccounts

#endif
