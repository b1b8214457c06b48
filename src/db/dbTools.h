#ifndef DBTOOLS_H
#define DBTOOLS_H

#include <QSqlDatabase>
#include <QSqlError>
#include <QString>
#include <QStringList>

class QLabel;
class QProcess;

namespace dbTools {

// Opens the connection; on failure shows the "Database Error" box with the
// driver's text and returns false.
bool reopen(QSqlDatabase &db);

// Starts one of the mysql command-line tools on a QProcess the caller has
// prepared (input, output, working folder) and waits for its end, at most
// timeoutMs (-1: as long as it takes; a tool still running then is killed).
// True when it ran to its end without error; otherwise *problem says why in
// words for the operator, naming the tool as toolName.
bool runTool(QProcess &tool, const QString &program, const QStringList &args, const QString &toolName,
             int timeoutMs, QString *problem);

// Feeds a SQL script to the mysql command-line client with the connection's
// credentials. True when the client ran to the end without error; otherwise
// *problem says why (missing file, client not found, time-out, its message).
bool runScript(const QSqlDatabase &db, const QString &scriptPath, QString *problem = nullptr,
               int timeoutMs = 30000);

// First-login check, run while the connection is still opened on "mysql":
// creates the business database from its template when it does not exist
// yet, then closes the connection. Progress goes to messageLabel.
enum class firstRun { Existing, Created, Failed };
firstRun ensureDatabase(QSqlDatabase &db, const QString &databaseName, const QString &scriptPath,
                        const QString &operatorName, QLabel *messageLabel);

// Runs a multi-statement save as one transaction. Every statement is run even
// after one failed, so the server judges the whole save; each failure
// replaces the one before, so the last is the one reported. Commits only when all succeeded; the result of
// transaction() and commit() is checked too, because a connection lost before
// the commit must never be reported as saved. Schema and account statements
// commit on their own and are not undone by the rollback.
// Returns true when committed; otherwise *error holds the last failure.
bool runInTransaction(QSqlDatabase &db, const QStringList &statements, QSqlError *error);

} // namespace dbTools

#endif
