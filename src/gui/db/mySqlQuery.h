#ifndef MYSQLQUERY_H
#define MYSQLQUERY_H

#include "myDatabase.h"

#include <QMap>
#include <QObject>
#include <QVariant>

class QTableWidget;

// Runs one statement and pours its result into a table widget with typed
// cells, so sorting is numeric for numbers and chronological for dates.
// Rows appear in the reverse of the statement's order (the last row returned
// is shown first): the forms order their statements with that in mind.
class mySqlQuery : public QObject
{
    Q_OBJECT
public:
    explicit mySqlQuery(const myDatabase &db);

    void setStatement(const QString &sql) { m_statement = sql; }
    QString statement() const { return m_statement; }

    // Replaces the table's columns and puts the result's rows above the rows
    // the table already holds. A failing statement leaves zero columns.
    void fillTable(QTableWidget *table);

    // Sets the row count to 0. A year's result is 800 000 cells, and freeing
    // them took a tenth of a second of every new browse; they are taken out
    // of the table here and freed on a worker thread instead.
    static void emptyTable(QTableWidget *table);

private:
    myDatabase m_db;
    QString m_statement;
    QMap<int, QVariant::Type> m_types;
    QMap<int, QString> m_names;
};

#endif
