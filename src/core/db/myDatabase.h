#ifndef MYDATABASE_H
#define MYDATABASE_H

#include <QDate>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QString>
#include <QStringList>
#include <QVariant>

// The one owner of the program's database connection. Forms and helpers
// reach the database only through it: it opens the connection for the
// login, reopens it, sets up each session, runs multi-statement saves as
// one transaction, and writes the log. Holding no QSqlDatabase handle of
// its own, it can be copied freely; every copy works on the same named
// connection (Qt's default one unless a name is given).
class myDatabase
{
public:
    // What a connection is opened with; also what the mysql tools are given.
    struct account {
        QString host;
        QString user;
        QString password;
        QString database;
    };

    explicit myDatabase(const QString &connectionName = QLatin1String(QSqlDatabase::defaultConnection));
    QString connectionName() const { return m_name; }

    // Registers a fresh connection with these credentials, dropping any
    // earlier one, so a failed login leaves nothing half open. Not opened yet.
    void setAccount(const account &a);
    account credentials() const;
    QString userName() const;
    QString hostName() const;
    QString password() const;
    QString databaseName() const;
    // Both take effect at the next open.
    void setPassword(const QString &password);
    void setDatabaseName(const QString &name);

    // Opens with the credentials held; false with *error set on failure.
    bool open(QSqlError *error = nullptr);
    // The same, telling the operator of a failure in the "Database Error" box.
    bool reopen();
    bool isOpen() const;
    void close();
    // A connection of its own with this one's account, for work on another
    // thread (a Qt connection serves the thread that opened it), on the given
    // database, opened and set up like every session; call it on the thread
    // that will use it. discard() removes it again.
    myDatabase copy(const QString &connectionName, const QString &database, QSqlError *error = nullptr) const;
    void discard();

    // Whether any server answers for these credentials, a refusal of the
    // account included (the server is up then). Uses a connection of its own
    // that is gone when it returns.
    bool serverAnswers() const;

    // A server restarted or a network cut leaves the program's connection
    // dead; the next statement fails with "server has gone away". The
    // statements below then open the connection again with the same account
    // (and set the session up again) and, where that is safe, run the
    // statement once more: a read always, a write only when it cannot have
    // reached the server. So the office goes on without restarting the
    // program once its server is back.

    // A query on the connection, for a caller that runs it itself; prefer
    // select() and exec(), which reconnect.
    QSqlQuery query() const;
    // For Qt classes that take the connection itself (QSqlQueryModel).
    QSqlDatabase handle() const;
    // Runs a statement that only reads and returns it, positioned before its
    // first row; not active, with *error set, when it failed.
    QSqlQuery select(const QString &sql, QSqlError *error = nullptr, bool forwardOnly = false) const;
    // Runs one statement; false with *error set on failure.
    bool exec(const QString &sql, QSqlError *error = nullptr) const;
    // Column 0 of the first row; an invalid QVariant when the statement
    // fails or returns no row.
    QVariant scalar(const QString &sql, QSqlError *error = nullptr) const;
    // Whether the server answers now, reconnecting if the connection had
    // died; false with *error set when no server can be reached.
    bool ensureConnected(QSqlError *error = nullptr) const;

    // Runs a multi-statement save as one transaction. Every statement is run
    // even after one failed, so the server judges the whole save; each
    // failure replaces the one before, so the last is the one reported.
    // The run stops, though, at a failure after which the server has already
    // rolled the transaction back or the connection is gone (endsTransaction):
    // with autocommit back on, every later statement would commit on its own
    // and leave half a save and a log row for a save that never happened.
    // Commits only when all succeeded; the result of transaction() and
    // commit() is checked too, because a connection lost before the commit
    // must never be reported as saved. Schema and account statements commit
    // on their own and are not undone by the rollback. True when committed;
    // otherwise *error holds the failure.
    bool runInTransaction(const QStringList &statements, QSqlError *error);

    // A deadlock or lock-wait victim, an interrupted statement, or a
    // connection gone: the server has ended the transaction, or no server
    // is left to finish it.
    static bool endsTransaction(const QSqlError &error);
    // The connection itself is gone (server restarted, network cut), or
    // opening it again found no server.
    static bool connectionLost(const QSqlError &error);
    // A failed commit whose connection was lost: the server may or may not
    // have made the transaction durable before it went.
    static bool commitUncertain(const QSqlError &error);

    // The server's date ("SELECT CURDATE();"), invalid when it cannot be read.
    QDate serverDate() const;
    QString serverVersion() const;

    // One row of the log table. A failure is not reported: a missing log row
    // does not undo the operation it records.
    void writeLog(const QString &operatorName, const QString &description) const;

private:
    QSqlDatabase connection() const;
    // What every session needs, run after each successful open.
    void startSession() const;
    // Opens the connection again after it died; true when that worked.
    bool reconnect() const;

    QString m_name;
};

#endif
