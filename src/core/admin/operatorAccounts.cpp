#include "operatorAccounts.h"

#include "myDatabase.h"
#include "myTools.h"
#include "operationLog.h"
#include "operatorSql.h"
#include "sqlText.h"

#include <QMap>
#include <QSqlQuery>

namespace operatorAccounts {

namespace {

// The count of the first row, or -1 when the statement is refused.
int countOf(const myDatabase &db, const QString &sql, QSqlError *error)
{
    QSqlQuery query = db.query();
    if (query.exec(sql) && query.next())
        return query.value(0).toInt();
    *error = query.lastError();
    return -1;
}

// Runs the statements in order up to the first refusal; how many went through.
int runUntilRefused(const myDatabase &db, const QStringList &statements, QSqlError *error)
{
    int done = 0;
    while (done < statements.size() && db.exec(statements[done], error))
        ++done;
    return done;
}

void log(const myDatabase &db, const QString &actingOperator, const QString &description, outcome *result)
{
    QSqlError error;
    if (!db.exec(operationLog::insertSql(actingOperator, description), &error))
        result->error = error.text();
}

} // namespace

presence accountPresence(const myDatabase &db, const QString &account, QSqlError *error)
{
    // root (and a supervisor of an earlier installation, who holds the whole
    // mysql schema) reads the account table itself: every host.
    QSqlError ignored;
    const int accounts = countOf(db, QStringLiteral("SELECT COUNT(*) FROM mysql.user WHERE User=")
                                         + sqlText::quoted(account), &ignored);
    if (accounts >= 0)
        return accounts > 0 ? presence::Present : presence::Absent;

    // A 主管 reads mysql.db only. Every account this program made holds
    // rights on the business database, so it has a row there, on any host.
    const int rows = countOf(db, QStringLiteral("SELECT COUNT(*) FROM mysql.db WHERE User=")
                                     + sqlText::quoted(account), error);
    if (rows != 0)
        return rows > 0 ? presence::Present : presence::Unknown;

    // An account made by hand without database rights has no row there.
    // On host '%', the only one the grants would touch, the server itself
    // tells: revoking USAGE (which is no right at all) changes nothing on an
    // existing account, and is refused with 1141 for a missing one, whatever
    // the session's sql_mode. The statements that would say it plainly (SHOW
    // GRANTS FOR, SHOW CREATE USER) need the mysql schema and fail with 1044
    // for a 主管. A namesake on another host is another account, which the
    // grants leave alone.
    if (db.exec(QStringLiteral("REVOKE USAGE ON *.* FROM '") + account + QStringLiteral("'@'%'"), error))
        return presence::Present;
    if (error->nativeErrorCode() == QLatin1String("1141")) {
        *error = QSqlError();
        return presence::Absent;
    }
    return presence::Unknown;
}

outcome add(const myDatabase &db, const QString &name, const QString &levelText, const QString &actingOperator)
{
    outcome result;
    result.refusal = operatorSql::nameProblem(name);
    if (!result.refusal.isEmpty())
        return result;
    const QString account = myTools::accountName(name);
    QSqlError error;
    switch (accountPresence(db, account, &error)) {
    case presence::Present:
        // GRANT … IDENTIFIED BY on an existing account would quietly give it
        // the initial password and this level.
        result.refusal = QStringLiteral("操作员“%1”已经存在，不能重复增加。要改变其级别，请先删除再增加。").arg(name);
        return result;
    case presence::Unknown:
        result.error = error.text();
        return result;
    case presence::Absent:
        break;
    }
    const QStringList grants = operatorSql::grantStatements(account, levelText, db.databaseName());
    const int done = runUntilRefused(db, grants, &error);
    if (done < grants.size()) {
        // The account did not exist before: one that the first grant made
        // goes again, or the next attempt would be refused as existing.
        if (done > 0)
            db.exec(operatorSql::dropStatement(account));
        result.error = error.text();
        return result;
    }
    result.changed = true;
    log(db, actingOperator, QStringLiteral("增加用户：") + name, &result);
    return result;
}

outcome remove(const myDatabase &db, const QString &name, const QString &actingOperator)
{
    outcome result;
    const QString account = myTools::accountName(name);
    if (name.trimmed().isEmpty())
        result.refusal = QStringLiteral("请先在列表中选择或输入要删除的操作员姓名。");
    else if (name == QLatin1String("root"))
        result.refusal = QStringLiteral("“root”是数据库服务器的管理员账户，不能删除。");
    else if (account == db.userName())
        result.refusal = QStringLiteral("不能删除自己正在使用的账户“%1”：删除后可能再无人能管理操作员。"
                                        "如确需删除，请由root或另一位主管删除。")
                             .arg(name);
    if (!result.refusal.isEmpty())
        return result;
    QSqlError error;
    if (!db.exec(operatorSql::dropStatement(account), &error)) {
        result.error = error.text();
        return result;
    }
    result.changed = true;
    log(db, actingOperator, QStringLiteral("删除用户：") + name, &result);
    return result;
}

namespace {

struct right {
    QString scope; // global, schema, table, column, routine, role
    QString schema;
    QString object;
    QString privilege;
    bool grantable;
};

// Whether the level's grants include this right on database D.
bool needed(const right &r, int level, const QString &database)
{
    if (r.scope == QLatin1String("global"))
        return r.privilege == QLatin1String("USAGE") || (level == 1 && r.privilege == QLatin1String("CREATE USER"));
    if (r.scope == QLatin1String("role"))
        return false;
    if (r.scope == QLatin1String("table") && r.schema == QLatin1String("mysql") && r.object == QLatin1String("db"))
        return r.privilege == QLatin1String("SELECT");
    if (r.schema != database)
        return false;
    if (level <= 2) // all on the business database, its tables and routines
        return true;
    if (r.scope == QLatin1String("schema"))
        return r.privilege == QLatin1String("SELECT");
    return r.scope == QLatin1String("table") && r.object == QLatin1String("log")
        && r.privilege == QLatin1String("INSERT");
}

QString objectName(const right &r)
{
    if (r.scope == QLatin1String("global"))
        return QStringLiteral("全局");
    if (r.scope == QLatin1String("role"))
        return QStringLiteral("角色");
    if (r.scope == QLatin1String("schema"))
        return r.schema + QStringLiteral(".*");
    return r.schema + QLatin1Char('.') + r.object;
}

} // namespace

QStringList excessRights(const myDatabase &db, const QString &account, int level, const QString &database)
{
    const QString grantee = sqlText::quoted(QLatin1Char('\'') + account + QStringLiteral("'@'%'"));
    const QString user = sqlText::quoted(account);
    // Every kind of right an account can hold: global, database, table,
    // column and routine grants, and roles (whose rights it can take on).
    QSqlQuery query = db.query();
    query.exec(
        QStringLiteral("SELECT 'global','','',PRIVILEGE_TYPE,IS_GRANTABLE FROM information_schema.USER_PRIVILEGES "
                       "WHERE GRANTEE=%1 "
                       "UNION ALL SELECT 'schema',TABLE_SCHEMA,'',PRIVILEGE_TYPE,IS_GRANTABLE "
                       "FROM information_schema.SCHEMA_PRIVILEGES WHERE GRANTEE=%1 "
                       "UNION ALL SELECT 'table',TABLE_SCHEMA,TABLE_NAME,PRIVILEGE_TYPE,IS_GRANTABLE "
                       "FROM information_schema.TABLE_PRIVILEGES WHERE GRANTEE=%1 "
                       "UNION ALL SELECT 'column',TABLE_SCHEMA,CONCAT(TABLE_NAME,'.',COLUMN_NAME),PRIVILEGE_TYPE,"
                       "IS_GRANTABLE FROM information_schema.COLUMN_PRIVILEGES WHERE GRANTEE=%1 "
                       "UNION ALL SELECT 'routine',Db,Routine_name,Proc_priv,IF(FIND_IN_SET('Grant',Proc_priv),"
                       "'YES','NO') FROM mysql.procs_priv WHERE User=%2 AND Host='%' "
                       "UNION ALL SELECT 'role','',Role,Role,'NO' FROM mysql.roles_mapping WHERE User=%2 AND Host='%'")
            .arg(grantee, user));
    QMap<QString, QStringList> beyond; // object → rights, in the server's order
    QStringList order;
    auto note = [&](const QString &object, const QString &what) {
        if (!beyond.contains(object))
            order << object;
        if (!beyond[object].contains(what))
            beyond[object] << what;
    };
    while (query.next()) {
        const right r{query.value(0).toString(), query.value(1).toString(), query.value(2).toString(),
                      query.value(3).toString(), query.value(4).toString() == QLatin1String("YES")};
        if (!needed(r, level, database))
            note(objectName(r), r.privilege);
        // Only a 主管 passes rights on.
        if (r.grantable && level != 1)
            note(objectName(r), QStringLiteral("GRANT OPTION"));
    }
    QStringList lines;
    for (const QString &object : order)
        lines << object + QStringLiteral("：") + beyond[object].join(QStringLiteral(", "));
    return lines;
}

outcome narrow(const myDatabase &db, const QString &account, const QString &name, int level,
               const QString &actingOperator)
{
    outcome result;
    const QStringList statements =
        operatorSql::narrowStatements(account, operatorSql::levelText(level), db.databaseName());
    QSqlError error;
    const int done = runUntilRefused(db, statements, &error);
    if (done < statements.size()) {
        // After the REVOKE the account may hold less than its level: the
        // same list, run again, completes it.
        result.changed = done > 0;
        result.error = error.text();
        return result;
    }
    result.changed = true;
    log(db, actingOperator, QStringLiteral("收紧权限：") + name, &result);
    return result;
}

} // namespace operatorAccounts
