#ifndef SCHEMASQL_H
#define SCHEMASQL_H

#include <QList>
#include <QSqlError>
#include <QString>
#include <QStringList>

class myDatabase;

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

// One statement of a field-maintenance save, with what it came from: the
// save marks a row done only when the server took that row's statements,
// and reads a refusal against the part of the statement it points at.
struct fieldStatement {
    enum passKind { change, add, reorder, drop };
    passKind pass;
    int row = -1;       // the grid row; -1 for a drop
    QString column;     // the column a drop removes
    QString sql;
    // Offsets in sql of the new column name, of its type, and of what
    // follows the type; -1 for a drop.
    int nameAt = -1, typeAt = -1, afterTypeAt = -1;
};

// A column name as it goes into a statement. Names of letters (Chinese ones
// included), digits and underscores go as typed, so every statement for an
// ordinary name stays exactly as it always was; any other name is quoted
// between backticks (a backtick in it doubled), since the server would
// otherwise read its blank, quote or dash as the end of the name.
QString identifier(const QString &name);

// Every statement of one field-maintenance save in the order they must run:
// renames and retypes, additions (each placed after the row above it, so an
// addition below another one finds it), the reorder when rows were moved,
// the drops. currentColumns is what SHOW COLUMNS reports just before the save.
//
// Every statement that names a column's type also names its NULL/NOT NULL
// and DEFAULT, the reorder's MODIFY included: MODIFY rebuilds the column
// from what it is given, so without them one move would leave every column
// optional with no default.
//
// A table column is dropped only when the operator removed its row: a column
// that is still some row's original name is kept even if that row's rename
// fails, because dropping it then would lose the column's data for a typo in
// the new type.
QList<fieldStatement> fieldSavePlan(const QString &table, const QList<fieldRow> &rows, bool moved,
                                    const QStringList &currentColumns);

// What the server made of a save, statement by statement.
struct fieldSaveOutcome {
    QList<bool> applied;   // one per statement of the plan
    int firstFailure = -1; // the plan index of the first refused statement
    QSqlError error;       // why it (or the transaction) failed
    bool complete() const { return error.type() == QSqlError::NoError; }
};

// Runs a plan in one transaction, going on past a refused statement as
// every multi-statement save does, but stopping where the server has ended
// the transaction or the connection is gone. Each statement's outcome is
// kept: the server commits every ALTER TABLE on its own, so a refusal in the
// middle leaves those before and after it applied.
fieldSaveOutcome runFieldSave(myDatabase &database, const QList<fieldStatement> &plan);

// The grid after a save: rows whose statements the server took no longer
// wait for anything (the original name becomes the new one, the change mark
// goes, an added row becomes a loaded one), and the moved flag is cleared
// once the whole reorder went through. What was refused stays pending, so
// the next save issues exactly that and nothing twice.
void markApplied(QList<fieldRow> *rows, bool *moved, const QList<fieldStatement> &plan, const QList<bool> &applied);

// The box text for a save that did not complete: what the first refusal
// means for the column it concerns and what to do about it, then whether
// the other changes took effect. It reads the server's own text and error
// number, never the driver's words, which change with Qt's translation.
QString fieldSaveMessage(const fieldSaveOutcome &outcome, const QList<fieldStatement> &plan,
                         const QList<fieldRow> &rows);

// The enum type for a choice column's values, in order, each trimmed and
// escaped: a value holds any character an operator types.
QString choiceType(const QStringList &values);

// The box text for a refused choice-list save of a column.
QString choiceSaveMessage(const QSqlError &error, const QString &column, const QStringList &values);

} // namespace schemaSql

#endif
