#include "myDatabase.h"

#include "operationLog.h"
#include "reporter.h"

#include <QMutex>
#include <QObject>
#include <QSet>

namespace {
const QString driver = QStringLiteral("QMYSQL");

// Connections whose server went away and could not be reached again yet:
// they are closed, but not on purpose, so the next statement tries again.
QSet<QString> s_lost;
QMutex s_lostLock;

bool isLost(const QString &name)
{
    QMutexLocker guard(&s_lostLock);
    return s_lost.contains(name);
}
} // namespace

myDatabase::myDatabase(const QString &connectionName)
    : m_name(connectionName)
{
}

QSqlDatabase myDatabase::connection() const { return QSqlDatabase::database(m_name, false); }

void myDatabase::setAccount(const account &a)
{
    {
        QMutexLocker guard(&s_lostLock);
        s_lost.remove(m_name);
    }
    {
        QSqlDatabase old = connection();
        if (old.isValid())
            old.close();
    }
    QSqlDatabase::removeDatabase(m_name);
    QSqlDatabase db = QSqlDatabase::addDatabase(driver, m_name);
    db.setHostName(a.host);
    db.setUserName(a.user);
    db.setPassword(a.password);
    db.setDatabaseName(a.database);
}

myDatabase::account myDatabase::credentials() const
{
    const QSqlDatabase db = connection();
    return {db.hostName(), db.userName(), db.password(), db.databaseName()};
}

QString myDatabase::userName() const { return connection().userName(); }
QString myDatabase::hostName() const { return connection().hostName(); }
QString myDatabase::password() const { return connection().password(); }
QString myDatabase::databaseName() const { return connection().databaseName(); }

void myDatabase::setPassword(const QString &password)
{
    QSqlDatabase db = connection();
    db.setPassword(password);
}

void myDatabase::setDatabaseName(const QString &name)
{
    QSqlDatabase db = connection();
    db.setDatabaseName(name);
}

bool myDatabase::open(QSqlError *error)
{
    QSqlDatabase db = connection();
    if (db.open()) {
        startSession();
        return true;
    }
    if (error)
        *error = db.lastError();
    return false;
}

bool myDatabase::reconnect() const
{
    // Only a connection that was open, or lost: one closed on purpose
    // (before the login, or between the first-run check and the business
    // database) stays closed.
    QSqlDatabase db = connection();
    if (!db.isOpen() && !isLost(m_name))
        return false;
    db.close();
    const bool opened = db.open();
    {
        QMutexLocker guard(&s_lostLock);
        if (opened)
            s_lost.remove(m_name);
        else
            s_lost.insert(m_name);
    }
    if (opened)
        startSession();
    return opened;
}

void myDatabase::startSession() const
{
    // Strict on every table, whatever the server was configured with: a
    // server left at MySQL 5.5's sql_mode='' cuts a value that does not fit
    // (an address longer than its column, a number out of range) without a
    // word, where strict mode refuses it and the operator is told. Naming
    // the mode in full also keeps NO_BACKSLASH_ESCAPES out, which the
    // escaping of typed text (sqlText) relies on.
    exec(QStringLiteral("SET SESSION sql_mode='STRICT_TRANS_TABLES,STRICT_ALL_TABLES,ERROR_FOR_DIVISION_BY_ZERO,"
                        "NO_AUTO_CREATE_USER,NO_ENGINE_SUBSTITUTION'"));
}

bool myDatabase::reopen()
{
    QSqlError error;
    if (open(&error))
        return true;
    reporter::critical(QObject::tr("Database Error"), error.text());
    return false;
}

myDatabase myDatabase::copy(const QString &connectionName, const QString &database, QSqlError *error) const
{
    QSqlDatabase db = QSqlDatabase::cloneDatabase(m_name, connectionName);
    db.setDatabaseName(database);
    myDatabase copied(connectionName);
    copied.open(error);
    return copied;
}

void myDatabase::discard()
{
    {
        QSqlDatabase db = connection();
        if (db.isValid())
            db.close();
    }
    QSqlDatabase::removeDatabase(m_name);
}

bool myDatabase::isOpen() const { return connection().isOpen(); }

void myDatabase::close()
{
    {
        QMutexLocker guard(&s_lostLock);
        s_lost.remove(m_name);
    }
    QSqlDatabase db = connection();
    db.close();
}

bool myDatabase::serverAnswers() const
{
    const QString probeName = m_name + QStringLiteral("-probe");
    bool answered = false;
    {
        const account a = credentials();
        QSqlDatabase probe = QSqlDatabase::addDatabase(driver, probeName);
        probe.setHostName(a.host);
        probe.setDatabaseName(a.database);
        probe.setUserName(a.user);
        probe.setPassword(a.password);
        // On Linux the client says 2002 both for a missing socket and for a
        // TCP host with nothing listening; 2003 is the same on other systems.
        const QString code = probe.open() ? QString() : probe.lastError().nativeErrorCode();
        answered = code != QLatin1String("2002") && code != QLatin1String("2003");
        probe.close();
    }
    QSqlDatabase::removeDatabase(probeName);
    return answered;
}

QSqlQuery myDatabase::query() const { return QSqlQuery(connection()); }

QSqlDatabase myDatabase::handle() const { return connection(); }

namespace {
// The statement cannot have reached a live server: the client found the
// connection dead when it sent it (a restarted server, a closed socket).
bool neverArrived(const QSqlError &error) { return error.nativeErrorCode() == QLatin1String("2006"); }
} // namespace

QSqlQuery myDatabase::select(const QString &sql, QSqlError *error, bool forwardOnly) const
{
    if (isLost(m_name))
        reconnect();
    QSqlQuery q = query();
    q.setForwardOnly(forwardOnly);
    if (q.exec(sql))
        return q;
    QSqlError failure = q.lastError();
    if (connectionLost(failure) && reconnect()) {
        q = query();
        q.setForwardOnly(forwardOnly);
        if (q.exec(sql))
            return q;
        failure = q.lastError();
    }
    if (error)
        *error = failure;
    return q;
}

bool myDatabase::exec(const QString &sql, QSqlError *error) const
{
    if (isLost(m_name))
        reconnect();
    QSqlQuery q = query();
    if (q.exec(sql))
        return true;
    QSqlError failure = q.lastError();
    // A write that was lost on its way back (2013) may have been done: it
    // is reported, not repeated.
    if (neverArrived(failure) && reconnect()) {
        if (q.exec(sql))
            return true;
        failure = q.lastError();
    } else if (connectionLost(failure)) {
        reconnect();
    }
    if (error)
        *error = failure;
    return false;
}

QVariant myDatabase::scalar(const QString &sql, QSqlError *error) const
{
    QSqlQuery q = select(sql, error);
    if (q.isActive() && q.next())
        return q.value(0);
    return QVariant();
}

bool myDatabase::ensureConnected(QSqlError *error) const
{
    if (!isOpen() && !isLost(m_name)) {
        if (error)
            *error = QSqlError(QString(), QObject::tr("Driver not loaded"), QSqlError::ConnectionError);
        return false;
    }
    return select(QStringLiteral("DO 0"), error).isActive();
}

bool myDatabase::runInTransaction(const QStringList &statements, QSqlError *error)
{
    if (isLost(m_name))
        reconnect();
    QSqlDatabase db = connection();
    // Nothing of the save has run when its start fails: after a restart of
    // the server the save goes through on the new connection.
    if (!db.transaction() && !(connectionLost(db.lastError()) && reconnect() && db.transaction())) {
        *error = db.lastError();
        return false;
    }
    QSqlError failure;
    for (const QString &sql : statements) {
        QSqlQuery q(db);
        if (!q.exec(sql)) {
            failure = q.lastError();
            if (endsTransaction(failure))
                break;
        }
    }
    if (failure.type() == QSqlError::NoError) {
        if (db.commit())
            return true;
        // The driver files a refused commit as a statement error; marked as
        // the transaction's own, a caller can tell that the save may have
        // been made durable before the connection went (commitUncertain).
        const QSqlError refused = db.lastError();
        failure = QSqlError(refused.driverText(), refused.databaseText(), QSqlError::TransactionError,
                            refused.nativeErrorCode());
    }
    db.rollback();
    // Ready for the operator's next try.
    if (connectionLost(failure))
        reconnect();
    *error = failure;
    return false;
}

bool myDatabase::commitUncertain(const QSqlError &error)
{
    return error.type() == QSqlError::TransactionError && connectionLost(error);
}

bool myDatabase::connectionLost(const QSqlError &error)
{
    // 2006 server has gone away, 2013 lost during a query, 4031 closed by
    // the server for inactivity; 2002/2003 when a reconnect finds no server.
    static const QStringList codes{QStringLiteral("2006"), QStringLiteral("2013"), QStringLiteral("4031"),
                                   QStringLiteral("2002"), QStringLiteral("2003")};
    return codes.contains(error.nativeErrorCode());
}

bool myDatabase::endsTransaction(const QSqlError &error)
{
    // 1213 deadlock (also a cluster's certification conflict), 1205 lock wait
    // timeout, 1317 statement interrupted (KILL QUERY).
    static const QStringList codes{QStringLiteral("1213"), QStringLiteral("1205"), QStringLiteral("1317")};
    return codes.contains(error.nativeErrorCode()) || connectionLost(error);
}

QDate myDatabase::serverDate() const { return scalar(QStringLiteral("SELECT CURDATE();")).toDate(); }

QString myDatabase::serverVersion() const { return scalar(QStringLiteral("SELECT VERSION();")).toString(); }

void myDatabase::writeLog(const QString &operatorName, const QString &description) const
{
    exec(operationLog::insertSql(operatorName, description));
}
