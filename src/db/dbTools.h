#ifndef DBTOOLS_H
#define DBTOOLS_H

#include <QSqlDatabase>
#include <QString>

class QLabel;

namespace dbTools {

// Opens the connection; on failure shows the "Database Error" box with the
// driver's text and returns false.
bool reopen(QSqlDatabase &db);

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

} // namespace dbTools

#endif
