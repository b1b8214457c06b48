#include "schemaSql.h"

#include "myDatabase.h"
#include "serverMessage.h"
#include "sqlText.h"

namespace schemaSql {

namespace {

// " NOT NULL"/" NULL" and the DEFAULT clause of a column, as loaded or as
// edited. The default goes in as typed: an apostrophe in it is a character
// of the default, not the end of the literal.
QString attributes(const fieldRow &row)
{
    QString text = row.nullable.toUpper().contains(QLatin1String("NO")) ? QStringLiteral(" NOT NULL")
                                                                       : QStringLiteral(" NULL");
    if (row.defaultText == QLatin1String("NULL"))
        text += QStringLiteral(" DEFAULT NULL");
    else if (!row.defaultText.isEmpty())
        text += QStringLiteral(" DEFAULT ") + sqlText::quoted(row.defaultText);
    return text;
}

// "<name> <type> <attributes>" appended to a statement's start, with the
// offsets a refusal is read against.
fieldStatement columnStatement(fieldStatement::passKind pass, int row, const QString &start, const fieldRow &column)
{
    fieldStatement s;
    s.pass = pass;
    s.row = row;
    s.sql = start;
    s.nameAt = s.sql.size();
    s.sql += identifier(column.name.trimmed()) + QLatin1Char(' ');
    s.typeAt = s.sql.size();
    s.sql += column.type.trimmed() + QLatin1Char(' ');
    // The attributes start with a blank: the first word after the type.
    s.afterTypeAt = s.sql.size() + 1;
    s.sql += attributes(column);
    return s;
}

// Where in a statement the server stopped reading, given its "near '…'"
// text: the rest of the statement from there, cut after 80 characters
// with "..." by MariaDB.
int nearOffset(const QString &sql, const QString &near)
{
    int at = sql.lastIndexOf(near);
    if (at < 0 && near.endsWith(QLatin1String("...")))
        at = sql.lastIndexOf(near.chopped(3));
    return at;
}

QString columnName(const QString &serverText)
{
    return serverMessage::captured(serverText, QStringLiteral("Data (?:truncated|too long) for column '(.*)' at row \\d+"));
}

// What the first refusal means for the column it concerns, and what to do.
QString refusal(const QSqlError &error, const fieldStatement &statement, const fieldRow &row)
{
    const QString code = error.nativeErrorCode();
    const QString text = error.databaseText();
    const bool drop = statement.pass == fieldStatement::drop;
    const QString name = drop ? statement.column : row.name.trimmed();
    const QString type = row.type.trimmed();
    const QString quotedName = QStringLiteral("“") + name + QStringLiteral("”");
    const QString near = serverMessage::syntaxNear(text);
    const int nearAt = near.isNull() ? -1 : nearOffset(statement.sql, near);

    if (!drop && name.isEmpty())
        return QStringLiteral("第%1行没有填字段名，请填写字段名或删除这一行。").arg(statement.row + 1);
    if (code == QLatin1String("1265") || code == QLatin1String("1406")) {
        const QString column = columnName(text);
        QString message = QStringLiteral("失败：“") + (column.isNull() ? name : column)
            + QStringLiteral("”列已存在数据，不能对此同步修改或删除。");
        if (!drop)
            message += QStringLiteral("\n已登记的内容放不进类型“") + type
                + QStringLiteral("”，请改回原来的类型，或把它放宽后再保存。");
        return message;
    }
    // An unknown type word, an unknown character set, or a type the server
    // could not read to its end (a missing length, an open parenthesis).
    if (code == QLatin1String("4161") || code == QLatin1String("1115")
        || (code == QLatin1String("1064") && nearAt >= statement.typeAt && nearAt <= statement.afterTypeAt)) {
        if (type.isEmpty())
            return quotedName + QStringLiteral("列没有填类型，请照右边的类型参考填写，例如 varchar(20)。");
        return quotedName + QStringLiteral("列的类型“") + type
            + QStringLiteral("”不对，请照右边的类型参考改正，例如 varchar(20)、int(11)。");
    }
    if (code == QLatin1String("1074"))
        return quotedName + QStringLiteral("列的类型“") + type
            + QStringLiteral("”字数太多，请改小，或改用 text。");
    if (code == QLatin1String("1067")) {
        if (row.defaultText == QLatin1String("NULL"))
            return quotedName + QStringLiteral("列不允许空，缺省值就不能是 NULL：请清空缺省值，或把允许空改为 YES。");
        return quotedName + QStringLiteral("列的缺省值“") + row.defaultText + QStringLiteral("”不适合类型“") + type
            + QStringLiteral("”，请改正缺省值，或把它清空（不填表示没有缺省值）。");
    }
    if (code == QLatin1String("1060"))
        return QStringLiteral("字段名“")
            + serverMessage::captured(text, QStringLiteral("Duplicate column name '(.*)'"))
            + QStringLiteral("”已经有了，请换一个名字。要重建同名的字段，请先删除原来的并保存，再增加。");
    if (code == QLatin1String("1054"))
        return QStringLiteral("表里已经没有“")
            + serverMessage::captured(text, QStringLiteral("Unknown column '(.*)' in '.*'"))
            + QStringLiteral("”列（也许刚在别处改名或删除了），请退出本窗口，重新打开后再修改。");
    if (code == QLatin1String("1064") && nearAt == statement.nameAt)
        return QStringLiteral("字段名") + quotedName + QStringLiteral("是数据库的保留字，不能使用，请换一个名字。");
    if (!near.isNull())
        return serverMessage::syntaxSentence(near);
    const QString said = text.isEmpty() ? error.text() : text;
    if (name.isEmpty())
        return QStringLiteral("保存没有完成，数据库的说明：\n") + said;
    return (drop ? QStringLiteral("删除") : QStringLiteral("修改")) + quotedName
        + QStringLiteral("列没有完成，数据库的说明：\n") + said;
}

} // namespace

QString identifier(const QString &name)
{
    bool plain = !name.isEmpty();
    bool digitsOnly = true;
    for (const QChar c : name) {
        plain = plain && (c.isLetterOrNumber() || c == QLatin1Char('_'));
        digitsOnly = digitsOnly && c.isDigit();
    }
    // A name of digits alone would read as a number.
    if (name.isEmpty() || (plain && !digitsOnly))
        return name;
    QString inner = name;
    inner.replace(QLatin1Char('`'), QLatin1String("``"));
    return QLatin1Char('`') + inner + QLatin1Char('`');
}

QList<fieldStatement> fieldSavePlan(const QString &table, const QList<fieldRow> &rows, bool moved,
                                    const QStringList &currentColumns)
{
    const QString alter = QStringLiteral("ALTER TABLE ") + table;
    QList<fieldStatement> plan;
    for (int i = 0; i < rows.size(); ++i) {
        const fieldRow &row = rows.at(i);
        if (row.modified != QLatin1String("Y"))
            continue;
        fieldStatement s = columnStatement(fieldStatement::change, i,
                                           alter + QStringLiteral(" CHANGE ") + identifier(row.originalName.trimmed())
                                               + QLatin1Char(' '),
                                           row);
        s.sql += QLatin1Char(';');
        plan << s;
    }

    for (int i = 0; i < rows.size(); ++i) {
        const fieldRow &row = rows.at(i);
        if (!row.originalName.isEmpty())
            continue;
        const QString above = i == 0 ? QString() : rows.at(i - 1).name.trimmed();
        fieldStatement s = columnStatement(fieldStatement::add, i, alter + QStringLiteral(" ADD "), row);
        s.sql += above.isEmpty() ? QStringLiteral(" FIRST;") : QStringLiteral(" AFTER ") + identifier(above) + QLatin1Char(';');
        plan << s;
    }

    // The first row gets no FIRST: the chain of AFTERs behind it puts it
    // first anyway.
    if (moved) {
        QString above;
        for (int i = 0; i < rows.size(); ++i) {
            fieldStatement s = columnStatement(fieldStatement::reorder, i, alter + QStringLiteral(" MODIFY "), rows.at(i));
            s.sql += (above.isEmpty() ? QString() : QStringLiteral(" AFTER ") + identifier(above)) + QLatin1Char(';');
            plan << s;
            above = rows.at(i).name.trimmed();
        }
    }

    QStringList kept;
    for (const fieldRow &row : rows)
        kept << row.name.trimmed() << row.originalName.trimmed();
    for (const QString &column : currentColumns)
        if (!kept.contains(column, Qt::CaseInsensitive)) {
            fieldStatement s;
            s.pass = fieldStatement::drop;
            s.column = column;
            s.sql = alter + QStringLiteral(" DROP ") + identifier(column) + QLatin1Char(';');
            plan << s;
        }
    return plan;
}

fieldSaveOutcome runFieldSave(myDatabase &database, const QList<fieldStatement> &plan)
{
    fieldSaveOutcome outcome;
    for (int i = 0; i < plan.size(); ++i)
        outcome.applied << false;
    QSqlDatabase connection = database.handle();
    if (!connection.transaction()) {
        outcome.error = connection.lastError();
        return outcome;
    }
    bool renamesAndAdditionsDone = true;
    for (int i = 0; i < plan.size(); ++i) {
        const fieldStatement &s = plan.at(i);
        // The reorder names every column by its new name. A rename or an
        // addition that was refused leaves that name missing or, worse, the
        // name of another column, which the reorder would then retype: it
        // waits for the next save.
        if (s.pass == fieldStatement::reorder && !renamesAndAdditionsDone)
            continue;
        QSqlError error;
        outcome.applied[i] = database.exec(s.sql, &error);
        if (outcome.applied.at(i))
            continue;
        if (s.pass == fieldStatement::change || s.pass == fieldStatement::add)
            renamesAndAdditionsDone = false;
        // The first refusal is the one reported: later ones are mostly its
        // consequences (an addition placed after a column whose rename failed).
        if (outcome.firstFailure < 0) {
            outcome.firstFailure = i;
            outcome.error = error;
        }
        if (myDatabase::endsTransaction(error))
            break;
    }
    if (outcome.complete()) {
        if (connection.commit())
            return outcome;
        outcome.error = connection.lastError();
    }
    connection.rollback();
    return outcome;
}

void markApplied(QList<fieldRow> *rows, bool *moved, const QList<fieldStatement> &plan, const QList<bool> &applied)
{
    bool reordered = true;
    for (int i = 0; i < plan.size(); ++i) {
        const fieldStatement &s = plan.at(i);
        if (s.pass == fieldStatement::reorder)
            reordered = reordered && applied.value(i);
        if (!applied.value(i) || s.row < 0 || s.row >= rows->size())
            continue;
        fieldRow &row = (*rows)[s.row];
        if (s.pass == fieldStatement::change || s.pass == fieldStatement::add) {
            row.originalName = row.name.trimmed();
            row.modified.clear();
        }
    }
    if (reordered)
        *moved = false;
}

QString fieldSaveMessage(const fieldSaveOutcome &outcome, const QList<fieldStatement> &plan,
                         const QList<fieldRow> &rows)
{
    if (outcome.firstFailure < 0) {
        const QString said = outcome.error.databaseText().isEmpty() ? outcome.error.text() : outcome.error.databaseText();
        return QStringLiteral("保存没有完成，数据库的说明：\n") + said;
    }
    const fieldStatement &statement = plan.at(outcome.firstFailure);
    const fieldRow row = statement.row >= 0 ? rows.value(statement.row) : fieldRow();
    const bool someApplied = outcome.applied.contains(true);
    return refusal(outcome.error, statement, row) + QStringLiteral("\n")
        + (someApplied ? QStringLiteral("其他修改已经生效；") : QString())
        + QStringLiteral("没有完成的修改仍在表格中，改正后请再按“保存”。");
}

QString choiceType(const QStringList &values)
{
    QString type = QStringLiteral("enum(");
    for (const QString &value : values)
        type += sqlText::quoted(value.trimmed()) + QLatin1Char(',');
    type.chop(1); // with no values this leaves "enum)", which the server rejects
    return type + QLatin1Char(')');
}

QString choiceSaveMessage(const QSqlError &error, const QString &column, const QStringList &values)
{
    const QString code = error.nativeErrorCode();
    const QString text = error.databaseText();
    const QString quotedColumn = QStringLiteral("“") + column + QStringLiteral("”");
    if (code == QLatin1String("1265") || code == QLatin1String("1406")) {
        const QString named = columnName(text);
        return QStringLiteral("“") + (named.isNull() ? column : named)
            + QStringLiteral("”列已存在原数据，不能对此同步修改或删除。\n"
                             "有登记用到了要删去或改动的值：请保留这个值，或先修改用到它的登记。");
    }
    if (values.isEmpty())
        return quotedColumn + QStringLiteral("列至少要有一个可选择值，请增加后再保存。");
    if (code == QLatin1String("1291"))
        return quotedColumn + QStringLiteral("列的可选择值“")
            + serverMessage::captured(text, QStringLiteral("Column '.*' has duplicated value '(.*)' in ENUM"))
            + QStringLiteral("”重复了，请删去重复的一行。");
    return quotedColumn + QStringLiteral("列的可选择值没有保存，数据库的说明：\n")
        + (text.isEmpty() ? error.text() : text);
}

} // namespace schemaSql
