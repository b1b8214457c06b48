#ifndef SCHEMASQL_H
#define SCHEMASQL_H

#include <QList>
#include <QString>
#include <QStringList>

// Turns the working copy of a table's column list into ALTER TABLE statements
// and the server's refusals into messages an office supervisor can act on.
// Kept free of widgets so the composition can be read and tested on its own.
namespace schemaSql {

// One grid row of field maintenance, texts as the operator left them.
struct fieldRow {
    QString name;         // 字段名
    QString type;         // 类型
    QString nullable;     // 允许空
    QString defaultText;  // 缺省值
    QString originalName; // 原字段名: empty for a row added in the dialog
    QString modified;     // 修改标志: "Y" once a loaded row was edited
};

// Every statement of one field-maintenance save in the order they must run:
// renames and retypes, additions (each placed after the row above it, so an
// addition below another one finds it), the reorder when rows were moved,
// the drops. currentColumns is what SHOW COLUMNS reports just before the save.
//
// A table column is dropped only when the operator removed its row: a column
// that is still some row's original name is kept even if that row's rename
// fails, because dropping it then would lose the column's data for a typo in
// the new type.
QStringList fieldSaveStatements(const QString &table, const QList<fieldRow> &rows, bool moved,
                                const QStringList &currentColumns);

// The message for a failed field-maintenance save (the error's text()).
QString fieldSaveMessage(const QString &errorText);

// The enum type for a choice column's values, in order, each trimmed.
QString choiceType(const QStringList &values);

// The message for a failed choice-list save.
QString choiceSaveMessage(const QString &errorText);

} // namespace schemaSql

#endif
