#include "schemaRepair.h"
#include "leaseSql.h"

#include <QFile>
#include <QRegularExpression>
#include <QSqlError>
#include <QSqlQuery>

namespace schemaRepair {

namespace {

// The template's statements without its comments, each on one line.
QStringList statementsOf(const QByteArray &sql)
{
    QStringList lines;
    for (const QString &line : QString::fromUtf8(sql).split(QLatin1Char('\n'))) {
        const int comment = line.indexOf(QStringLiteral("--"));
        lines << (comment >= 0 ? line.left(comment) : line);
    }
    QStringList statements;
    for (const QString &statement : lines.join(QLatin1Char('\n')).split(QLatin1Char(';'))) {
        if (!statement.trimmed().isEmpty())
            statements << statement.trimmed();
    }
    return statements;
}

// The text between a CREATE TABLE's outer parentheses, one definition a line.
QStringList tableLines(const QStringList &statements, const QString &table)
{
    const QRegularExpression create(QStringLiteral("^CREATE TABLE ") + table + QStringLiteral("\\s*\\((.*)\\)[^)]*$"),
                                    QRegularExpression::DotMatchesEverythingOption);
    for (const QString &statement : statements) {
        const QRegularExpressionMatch match = create.match(statement);
        if (match.hasMatch()) {
            QStringList lines;
            for (QString line : match.captured(1).split(QLatin1Char('\n'))) {
                line = line.trimmed();
                if (line.endsWith(QLatin1Char(',')))
                    line.chop(1);
                if (!line.isEmpty())
                    lines << line;
            }
            return lines;
        }
    }
    return {};
}

QString quoted(const QString &text)
{
    return QLatin1Char('\'') + text + QLatin1Char('\'');
}

QString serverText(const QSqlError &error) { return error.databaseText().isEmpty() ? error.text() : error.databaseText(); }

// The unique key: present with these columns under any name, or added.
// Duplicate numbers make the server refuse it, so they are looked for first
// and listed, the way an operator can find and correct them.
QString ensureKey(const myDatabase &db, const templateParts &parts, QStringList *added)
{
    QSqlError error;
    QSqlQuery query = db.select(QStringLiteral("SELECT INDEX_NAME, MIN(NON_UNIQUE), GROUP_CONCAT(COLUMN_NAME ORDER BY SEQ_IN_INDEX) "
                                               "FROM information_schema.STATISTICS WHERE TABLE_SCHEMA=DATABASE() "
                                               "AND TABLE_NAME='lease' GROUP BY INDEX_NAME"),
                                &error);
    if (!query.isActive())
        return QStringLiteral("无法读取lease表的索引：") + serverText(error);
    bool present = false, nameTaken = false;
    while (query.next()) {
        present = present || (query.value(1).toInt() == 0 && query.value(2).toString() == parts.keyColumns);
        nameTaken = nameTaken || query.value(0).toString() == parts.keyName;
    }
    if (present)
        return QString();

    query = db.select(QStringLiteral("SELECT ") + leaseSql::numberExpr() + QStringLiteral(", COUNT(*) FROM lease GROUP BY ")
                          + parts.keyColumns + QStringLiteral(" HAVING COUNT(*)>1 ORDER BY 1"),
                      &error);
    if (!query.isActive())
        return QStringLiteral("无法检查登记编号是否重复：") + serverText(error);
    const int listed = 10;
    QStringList duplicates;
    int count = 0;
    while (query.next()) {
        if (++count <= listed)
            duplicates << QStringLiteral("%1（%2条）").arg(query.value(0).toString()).arg(query.value(1).toInt());
    }
    if (count > 0) {
        QString text = QStringLiteral("登记编号有重复，无法建立唯一索引“%1”：%2").arg(parts.keyName, duplicates.join(QStringLiteral("、")));
        if (count > listed)
            text += QStringLiteral("等%1个编号").arg(count);
        return text + QStringLiteral("。重复的编号改正或删除之前，同一编号仍可能再次登记。");
    }

    const QString add = QStringLiteral("ADD UNIQUE KEY ") + parts.keyName + QStringLiteral(" (") + parts.keyColumns
        + QLatin1Char(')');
    // An older template's plain index of the same name gives way to the key.
    if (!db.exec(QStringLiteral("ALTER TABLE lease ")
                     + (nameTaken ? QStringLiteral("DROP KEY ") + parts.keyName + QStringLiteral(", ") : QString()) + add,
                 &error))
        return QStringLiteral("无法建立唯一索引“%1”：%2").arg(parts.keyName, serverText(error));
    *added << QStringLiteral("唯一索引“%1”").arg(parts.keyName);
    return QString();
}

// A trigger of the template's name that does something else is replaced:
// the program relies on what the template's does.
QString ensureTrigger(const myDatabase &db, const trigger &t, QStringList *added)
{
    QSqlError error;
    QSqlQuery query = db.select(QStringLiteral("SELECT EVENT_OBJECT_TABLE, ACTION_TIMING, EVENT_MANIPULATION, ACTION_STATEMENT "
                                               "FROM information_schema.TRIGGERS WHERE TRIGGER_SCHEMA=DATABASE() AND TRIGGER_NAME=")
                                    + quoted(t.name),
                                &error);
    if (!query.isActive())
        return QStringLiteral("无法读取触发器“%1”：%2").arg(t.name, serverText(error));
    const bool exists = query.next();
    if (exists && query.value(0).toString() == t.table && query.value(1).toString() == t.timing
        && query.value(2).toString() == t.event && query.value(3).toString().simplified() == t.body)
        return QString();
    if (exists && !db.exec(QStringLiteral("DROP TRIGGER ") + t.name, &error))
        return QStringLiteral("无法替换触发器“%1”：%2").arg(t.name, serverText(error));
    if (!db.exec(t.statement, &error))
        return QStringLiteral("无法建立触发器“%1”：%2").arg(t.name, serverText(error));
    *added << QStringLiteral("触发器“%1”").arg(t.name);
    return QString();
}

// The log's key: any primary key will do; without one the template's
// column is added, which numbers the existing rows in their stored order.
QString ensureLogKey(const myDatabase &db, const templateParts &parts, QStringList *added)
{
    QSqlError error;
    const QVariant keys = db.scalar(QStringLiteral("SELECT COUNT(*) FROM information_schema.STATISTICS WHERE "
                                                   "TABLE_SCHEMA=DATABASE() AND TABLE_NAME='log' AND INDEX_NAME='PRIMARY'"),
                                    &error);
    if (!keys.isValid())
        return QStringLiteral("无法读取log表的索引：") + serverText(error);
    if (keys.toInt() > 0)
        return QString();
    if (!db.exec(QStringLiteral("ALTER TABLE log ADD ") + parts.logKeyDefinition, &error))
        return QStringLiteral("无法给log表加上“%1”列：%2").arg(parts.logKeyColumn, serverText(error));
    *added << QStringLiteral("log表的“%1”列").arg(parts.logKeyColumn);
    return QString();
}

} // namespace

bool parseTemplate(const QByteArray &sql, templateParts *parts, QString *problem)
{
    const QStringList statements = statementsOf(sql);
    const QRegularExpression uniqueKey(QStringLiteral("^UNIQUE KEY\\s+(\\S+)\\s*\\(([^)]*)\\)$"));
    for (const QString &line : tableLines(statements, QStringLiteral("lease"))) {
        const QRegularExpressionMatch match = uniqueKey.match(line);
        if (match.hasMatch()) {
            parts->keyName = match.captured(1);
            parts->keyColumns = match.captured(2).remove(QLatin1Char(' '));
            break;
        }
    }
    for (const QString &line : tableLines(statements, QStringLiteral("log"))) {
        if (line.contains(QStringLiteral("AUTO_INCREMENT"))) {
            parts->logKeyColumn = line.section(QLatin1Char(' '), 0, 0);
            parts->logKeyDefinition = line.simplified();
        }
    }
    const QRegularExpression createTrigger(
        QStringLiteral("^CREATE TRIGGER\\s+(\\S+)\\s+(BEFORE|AFTER)\\s+(INSERT|UPDATE|DELETE)\\s+ON\\s+(\\S+)\\s+"
                       "FOR EACH ROW\\s+(.*)$"),
        QRegularExpression::DotMatchesEverythingOption);
    parts->triggers.clear();
    for (const QString &statement : statements) {
        const QRegularExpressionMatch match = createTrigger.match(statement);
        if (match.hasMatch())
            parts->triggers << trigger{match.captured(1), match.captured(2), match.captured(3),
                                       match.captured(4), match.captured(5).simplified(), statement};
    }
    QString missing;
    if (parts->keyName.isEmpty())
        missing = QStringLiteral("lease表的唯一索引");
    else if (parts->logKeyColumn.isEmpty())
        missing = QStringLiteral("log表的自增列");
    else if (parts->triggers.isEmpty())
        missing = QStringLiteral("触发器");
    if (!missing.isEmpty() && problem)
        *problem = QStringLiteral("数据库模板里找不到%1").arg(missing);
    return missing.isEmpty();
}

QString ensure(const myDatabase &db, const QString &templatePath, QStringList *added)
{
    QFile file(templatePath);
    if (!file.open(QIODevice::ReadOnly))
        return QStringLiteral("找不到数据库模板文件“%1”，无法检查唯一索引和触发器。").arg(templatePath);
    templateParts parts;
    QString problem;
    if (!parseTemplate(file.readAll(), &parts, &problem))
        return problem + QStringLiteral("，无法检查唯一索引和触发器。");

    QStringList done;
    QStringList problems;
    problems << ensureKey(db, parts, &done);
    for (const trigger &t : parts.triggers)
        problems << ensureTrigger(db, t, &done);
    problems << ensureLogKey(db, parts, &done);
    problems.removeAll(QString());
    if (added)
        *added = done;
    return problems.join(QLatin1Char('\n'));
}

} // namespace schemaRepair
