// The query helper's typed cells and row order, and block copy from the
// result view.
#include "dbTools.h"
#include "myTableView.h"
#include "mySqlQuery.h"
#include "testSupport.h"

#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QStandardItemModel>
#include <QTableWidget>
#include <QtTest>

class tst_queryHelper : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase()
    {
        testSupport::initApplication();
        testSupport::resetDatabase();
        testSupport::exec("CREATE TABLE typed (i int, b bigint, u int unsigned, d double, "
                          "m decimal(10,2), dt date, ts datetime, s varchar(20))");
        testSupport::exec("INSERT typed VALUES (9,9000000000,7,1.5,12.50,'2026-03-01','2026-03-01 08:30:00','甲'),"
                          "(10,1,8,-2.25,0.10,'2025-12-31','2025-12-31 23:59:59','乙'),"
                          "(NULL,NULL,NULL,NULL,NULL,NULL,NULL,NULL)");
    }

    void typedCells_data();
    void typedCells();
    void reverseOrderAndRefill();
    void sortsByValue();
    void copyBlock_data();
    void copyBlock();
    void reopenReportsFailure();
};

void tst_queryHelper::reopenReportsFailure()
{
    modalWatcher boxes;
    QSqlDatabase db = QSqlDatabase::addDatabase("QMYSQL", "wrong");
    db.setHostName("localhost");
    db.setUserName("root");
    db.setPassword("not-the-password");
    QVERIFY(!dbTools::reopen(db));
    QCOMPARE(boxes.boxes.size(), 1);
    QCOMPARE(boxes.lastTitle(), QString("Database Error"));
    QVERIFY2(boxes.lastText().startsWith("Access denied for user 'root'"), qPrintable(boxes.lastText()));

    QSqlDatabase root = QSqlDatabase::database();
    QVERIFY(dbTools::reopen(root));
    QCOMPARE(boxes.boxes.size(), 1);
}

static QStringList column(QTableWidget &t, int c)
{
    QStringList values;
    for (int r = 0; r < t.rowCount(); ++r)
        values << (t.item(r, c) ? t.item(r, c)->data(Qt::DisplayRole).toString() : QString("<none>"));
    return values;
}

void tst_queryHelper::typedCells_data()
{
    QTest::addColumn<QString>("column");
    QTest::addColumn<int>("type");
    QTest::addColumn<QVariant>("value");
    QTest::newRow("int") << "i" << int(QVariant::Int) << QVariant(9);
    QTest::newRow("bigint") << "b" << int(QVariant::LongLong) << QVariant(Q_INT64_C(9000000000));
    QTest::newRow("unsigned") << "u" << int(QVariant::UInt) << QVariant(7u);
    QTest::newRow("double") << "d" << int(QVariant::Double) << QVariant(1.5);
    QTest::newRow("decimal") << "m" << int(QVariant::Double) << QVariant(12.5);
    QTest::newRow("date") << "dt" << int(QVariant::Date) << QVariant(QDate(2026, 3, 1));
    QTest::newRow("datetime") << "ts" << int(QVariant::DateTime) << QVariant(QDateTime(QDate(2026, 3, 1), QTime(8, 30)));
    QTest::newRow("text") << "s" << int(QVariant::String) << QVariant(QString("甲"));
}

void tst_queryHelper::typedCells()
{
    QFETCH(QString, column);
    QFETCH(int, type);
    QFETCH(QVariant, value);
    QTableWidget table;
    mySqlQuery helper;
    helper.setStatement("SELECT " + column + " FROM typed WHERE i=9");
    helper.fillTable(&table);
    QCOMPARE(table.columnCount(), 1);
    QCOMPARE(table.horizontalHeaderItem(0)->text(), column);
    const QVariant cell = table.item(0, 0)->data(Qt::DisplayRole);
    QCOMPARE(int(cell.type()), type);
    QCOMPARE(cell, value);

    // A missing value stays empty rather than reading as 0.
    helper.setStatement("SELECT " + column + " FROM typed WHERE i IS NULL");
    table.setRowCount(0);
    helper.fillTable(&table);
    QCOMPARE(table.item(0, 0)->data(Qt::DisplayRole).toString(), QString());
}

void tst_queryHelper::reverseOrderAndRefill()
{
    QTableWidget table;
    mySqlQuery helper;
    helper.setStatement("SELECT 1 AS first, 'a' AS two UNION ALL SELECT 2, 'b' UNION ALL SELECT 3, 'c'");
    helper.fillTable(&table);
    QCOMPARE(column(table, 1), (QStringList{"c", "b", "a"})); // last row returned is shown first
    // A second fill goes above what is there and replaces the headers.
    helper.setStatement("SELECT 4 AS renamed, 'd' AS other");
    helper.fillTable(&table);
    QCOMPARE(column(table, 0), (QStringList{"4", "3", "2", "1"}));
    QCOMPARE(column(table, 1), (QStringList{"d", "c", "b", "a"}));
    QCOMPARE(table.horizontalHeaderItem(0)->text(), QString("renamed"));
    // An empty field list, as browse builds it with nothing ticked.
    helper.setStatement("SELECT  FROM lease");
    helper.fillTable(&table);
    QCOMPARE(table.columnCount(), 0);
}

void tst_queryHelper::sortsByValue()
{
    QTableWidget table;
    table.setSortingEnabled(true);
    mySqlQuery helper;
    helper.setStatement("SELECT i, dt FROM typed WHERE i IS NOT NULL UNION ALL SELECT 100, '2024-01-01'");
    helper.fillTable(&table);
    table.sortItems(0, Qt::AscendingOrder);
    QCOMPARE(column(table, 0), (QStringList{"9", "10", "100"})); // numbers, not text
    table.sortItems(1, Qt::AscendingOrder);
    QCOMPARE(column(table, 1), (QStringList{"2024-01-01", "2025-12-31", "2026-03-01"}));
    QVERIFY(table.isSortingEnabled());
}

void tst_queryHelper::copyBlock_data()
{
    QTest::addColumn<QList<QRect>>("selection"); // (column,row,width,height)
    QTest::addColumn<QString>("copied");
    QTest::newRow("2x3 block") << QList<QRect>{QRect(1, 1, 3, 2)} << "b1\tc1\td1\nb2\tc2\td2";
    QTest::newRow("one cell") << QList<QRect>{QRect(0, 0, 1, 1)} << "a0";
    QTest::newRow("whole table") << QList<QRect>{QRect(0, 0, 4, 3)}
                                 << "a0\tb0\tc0\td0\na1\tb1\tc1\td1\na2\tb2\tc2\td2";
    // Two selections: the block spans from the first to the last, gaps included.
    QTest::newRow("two selections") << QList<QRect>{QRect(0, 0, 1, 1), QRect(2, 1, 1, 1)} << "a0\tb0\tc0\na1\tb1\tc1";
    QTest::newRow("nothing selected") << QList<QRect>{} << "untouched";
}

void tst_queryHelper::copyBlock()
{
    QFETCH(QList<QRect>, selection);
    QFETCH(QString, copied);
    QStandardItemModel model(3, 4);
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 4; ++c)
            model.setItem(r, c, new QStandardItem(QString(QChar('a' + c)) + QString::number(r)));
    myTableView view;
    view.setModel(&model);
    for (const QRect &rect : selection)
        view.selectionModel()->select(QItemSelection(model.index(rect.top(), rect.left()),
                                                     model.index(rect.bottom(), rect.right())),
                                      QItemSelectionModel::Select);
    QApplication::clipboard()->setText("untouched");
    view.myCopyDataToClipoard();
    QCOMPARE(QApplication::clipboard()->text(), copied);

}

QTEST_MAIN(tst_queryHelper)
#include "tst_queryHelper.moc"
