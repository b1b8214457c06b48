#ifndef MYTOOLS_H
#define MYTOOLS_H

#include <QFont>
#include <QList>
#include <QString>
#include <QStringList>
#include <QVariant>

class QDate;
class QSqlError;
class myDatabase;

// One row of SHOW COLUMNS, as far as the program uses it.
struct columnInfo {
    QString field;         // column name
    QString type;          // MySQL type text, e.g. varchar(40), enum('a','b'), int(11)
    bool required = false; // Null is "NO"
    QVariant defaultValue; // null QVariant when the column has no default
};

// How a column is edited on the record form, decided from its type text.
enum class columnKind { Text, Choice, Number, None };

// Stateless helpers shared by several subsystems; those that read the
// database are given its owner. The implementation is split by subsystem:
// core/lease/myTools.cpp (columns, field list, numbers), core/db/myToolsDb.cpp
// (account names, operator level, character sets), core/print/myToolsNumerals.cpp
// (Chinese numerals, amounts, fonts).
class myTools
{
public:
    // --- lease data model -------------------------------------------------
    // Columns of a table in table order; empty, with *error set, when the
    // query fails.
    static QList<columnInfo> showColumns(const myDatabase &db, const QString &table, QSqlError *error = nullptr);
    static columnKind kindOf(const QString &type);
    // Widget-name prefix of a kind: "line", "comb", "spin"; empty for None.
    static QString kindPrefix(columnKind kind);
    // Maximum length of a char/varchar type: the type text with every
    // character of "[varchar()]" removed, read as a decimal (0 if unreadable).
    static int charLength(const QString &type);
    // Values of an enum type: every character of "[enum(')]" removed, then
    // split at ",". A character-class removal, kept on purpose.
    static QStringList enumValues(const QString &type);
    // The comma-separated list of the lease tables' columns offered for
    // browsing and print layouts; empty when the database is unreachable.
    static QString fieldList(const myDatabase &db);
    // Next registration number for region and the year of registerDate;
    // empty, with *error set, when the highest number cannot be read.
    static QString nextRegisterNumber(const myDatabase &db, const QString &region, const QDate &registerDate,
                                      QSqlError *error = nullptr);

    // --- operators --------------------------------------------------------
    static QString accountName(const QString &displayName);
    static QString displayName(const QString &accountName);
    // 0 超级用户, 1 主管, 2 操作, 3 浏览.
    static int operatorLevel(const myDatabase &db, const QString &accountName, const QString &databaseName);
    static QString levelName(int level);
    // A diagnostic for support calls: the connection's character sets, told
    // through the reporter under "Mysql字符集"; no menu offers it.
    static void showCharacterSets(const myDatabase &db);

    // --- printing ---------------------------------------------------------
    QString toChineseNumber(const QString &text) const;
    QString toChineseAmount(double amount) const;
    QFont fontFromString(const QString &description) const;
};

#endif
