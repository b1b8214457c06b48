// The comma-separated export: which cells get the apostrophe, and the exact
// GB18030 bytes written for a table with typed cells.
#include "csvExport.h"

#include <QDate>
#include <QTableWidget>
#include <QTemporaryDir>
#include <QtTest>

class tst_export : public QObject
{
    Q_OBJECT
private slots:
    void apostrophe_data()
    {
        QTest::addColumn<QString>("cell");
        QTest::addColumn<bool>("marked");
        QTest::newRow("6 digits") << "123456" << false;
        QTest::newRow("7 digits") << "1234567" << true;
        QTest::newRow("negative of 7") << "-123456" << true;
        QTest::newRow("decimal of 7") << "12.5000" << true;
        QTest::newRow("letter inside, 7") << "12a4567" << false;
        QTest::newRow("two points") << "1.2.3456" << false;
    }

    void apostrophe()
    {
        QFETCH(QString, cell);
        QFETCH(bool, marked);
        QCOMPARE(csvExport::needsApostrophe(cell), marked);
    }

    void csvBytes()
    {
        // Cells typed as the query helper types them: text, numbers, dates.
        QTableWidget table(2, 4);
        table.setHorizontalHeaderLabels({"登记编号", "出方名称", "收费金额", "登记日期"});
        // (1,1) stays without an item: an empty cell.
        const QVariantList cells{"370102202600001", "张伟,€", 1234567, QDate(2026, 1, 5),
                                 "123456", QVariant(), -12.5, -1234.5};
        for (int i = 0; i < cells.size(); ++i) {
            if (cells[i].isValid()) {
                auto *item = new QTableWidgetItem;
                item->setData(Qt::DisplayRole, cells[i]);
                table.setItem(i / 4, i % 4, item);
            }
        }
        QTemporaryDir dir;
        const QString path = dir.filePath(QStringLiteral("mydata.csv"));
        QVERIFY(csvExport::write(table.model(), path));
        QFile file(path);
        QVERIFY(file.open(QIODevice::ReadOnly));
        // Header in GB18030: 登记编号 出方名称 收费金额 登记日期; 张伟 = D5C5 CEB0,
        // € = A2E3. The comma inside a cell stays as it is, unquoted.
        QCOMPARE(file.readAll(), QByteArray("\xb5\xc7\xbc\xc7\xb1\xe0\xba\xc5,\xb3\xf6\xb7\xbd\xc3\xfb\xb3\xc6,"
                                            "\xca\xd5\xb7\xd1\xbd\xf0\xb6\xee,\xb5\xc7\xbc\xc7\xc8\xd5\xc6\xda\n"
                                            "'370102202600001,\xd5\xc5\xce\xb0,\xa2\xe3,'1234567,2026-01-05\n"
                                            "123456,,-12.5,'-1234.5\n"));
        QString error;
        QVERIFY(!csvExport::write(table.model(), QStringLiteral("/nonexistent-dir/x.csv"), &error));
        QVERIFY(!error.isEmpty());
    }
};

QTEST_MAIN(tst_export)
#include "tst_export.moc"
