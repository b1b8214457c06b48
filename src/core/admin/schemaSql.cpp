#include "schemaSql.h"

#include <QRegularExpression>

namespace schemaSql {

namespace {

// " NOT NULL"/" NULL" and the DEFAULT clause of an added or changed column.
QString attributes(const fieldRow &row)
{
    QString text = row.nullable.toUpper().contains(QLatin1String("NO")) ? QStringLiteral(" NOT NULL")
                                                                       : QStringLiteral(" NULL");
    // The default goes between apostrophes as typed: an apostrophe inside it
    // makes the statement a syntax error, which the operator is told about.
    if (row.defaultText == QLatin1String("NULL"))
        text += QStringLiteral(" DEFAULT NULL");
    else if (!row.defaultText.isEmpty())
        text += QStringLiteral(" DEFAULT '") + row.defaultText + QLatin1Char('\'');
    return text;
}

// The column name of a "Data truncated for column '…' at row 1" text: what
// is left when the ASCII letters, the apostrophe, blank, "1" and ":" are gone
// (the range A-z also takes [ \ ] ^ _ `). Empty when the text is another error.
QString truncatedColumn(const QString &errorText)
{
    if (!errorText.startsWith(QLatin1String("Data truncated for column '")))
        return QString();
    QString rest = errorText;
    return rest.remove(QRegularExpression(QStringLiteral("[a-zA-z' 1:]")));
}

} // namespace

QStringList fieldSaveStatements(const QString &table, const QList<fieldRow> &rows, bool moved,
                                const QStringList &currentColumns)
{
    const QString alter = QStringLiteral("ALTER TABLE ") + table;
    QStringList sql;
    for (const fieldRow &row : rows)
        if (row.modified == QLatin1String("Y"))
            sql << alter + QStringLiteral(" CHANGE ") + row.originalName.trimmed() + QLatin1Char(' ')
                    + row.name.trimmed() + QLatin1Char(' ') + row.type.trimmed() + QLatin1Char(' ')
                    + attributes(row) + QLatin1Char(';');

    for (int i = 0; i < rows.size(); ++i) {
        const fieldRow &row = rows.at(i);
        if (!row.originalName.isEmpty())
            continue;
        const QString above = i == 0 ? QString() : rows.at(i - 1).name.trimmed();
        sql << alter + QStringLiteral(" ADD ") + row.name.trimmed() + QLatin1Char(' ') + row.type.trimmed()
                + QLatin1Char(' ') + attributes(row)
                + (above.isEmpty() ? QStringLiteral(" FIRST;") : QStringLiteral(" AFTER ") + above + QLatin1Char(';'));
    }

    // MODIFY without attributes resets every column to nullable with no
    // default, and the first row gets no FIRST: the chain of AFTERs behind it
    // puts it first anyway.
    if (moved) {
        QString above;
        for (const fieldRow &row : rows) {
            const QString name = row.name.trimmed();
            sql << alter + QStringLiteral(" MODIFY ") + name + QLatin1Char(' ') + row.type.trimmed()
                    + (above.isEmpty() ? QString() : QStringLiteral(" AFTER ") + above) + QLatin1Char(';');
            above = name;
        }
    }

    QStringList kept;
    for (const fieldRow &row : rows)
        kept << row.name.trimmed() << row.originalName.trimmed();
    for (const QString &column : currentColumns)
        if (!kept.contains(column, Qt::CaseInsensitive))
            sql << alter + QStringLiteral(" DROP ") + column + QLatin1Char(';');
    return sql;
}

QString fieldSaveMessage(const QString &errorText)
{
    const QString column = truncatedColumn(errorText);
    if (!column.isNull())
        return QStringLiteral("失败：“") + column + QStringLiteral("”列已存在数据，不能对此同步修改或删除。");

    // MySQL and MariaDB name themselves in the same sentence; both are cut.
    static const QRegularExpression syntax(QStringLiteral(
        "^You have an error in your SQL syntax; check the manual that corresponds to your "
        "(MySQL|MariaDB) server version for the right syntax to use near '"));
    if (errorText.startsWith(QLatin1String("You have an error in your SQL syntax;"))) {
        QString near = errorText;
        near.remove(syntax);
        // The driver's own words follow the server's, in the language of the
        // Qt translation loaded at start-up ("Unable to execute query" or
        // "无法执行查询"), so everything after the driver's name goes.
        static const QRegularExpression tail(QStringLiteral("' at line 1 QMYSQL: [^']*$"));
        near.remove(tail);
        return QStringLiteral("句法错误，请检查“") + near + QStringLiteral("”。");
    }
    return errorText;
}

QString choiceType(const QStringList &values)
{
    QString type = QStringLiteral("enum(");
    for (const QString &value : values)
        type += QLatin1Char('\'') + value.trimmed() + QStringLiteral("',");
    type.chop(1); // with no values this leaves "enum)", which the server rejects
    return type + QLatin1Char(')');
}

QString choiceSaveMessage(const QString &errorText)
{
    const QString column = truncatedColumn(errorText);
    if (!column.isNull())
        return QStringLiteral("“") + column + QStringLiteral("”列已存在原数据，不能对此同步修改或删除。");
    return errorText;
}

} // namespace schemaSql
