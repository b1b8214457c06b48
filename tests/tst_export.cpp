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
    void apostrophe_data();
    void apostrophe();
    void fileBytes();
    void unwritablePathFails();
};

void tst_export::apostrophe_data()
{
    QTest::addColumn<QString>("cell");
    QTest::addColumn<bool>("quoted");
    QTest::newRow("6 digits") << "123456" << false;
    QTest::newRow("7 digits") << "1234567" << true;
    QTest::newRow("registration number") << "370102202600001" << true;
    QTest::newRow("decimal of 7") << "12.5000" << true;
    QTest::newRow("decimal of 6") << "12.500" << false;
    QTest::newRow("negative of 7") << "-123456" << true;
    QTest::newRow("negative of 6") << "-12345" << false;
    QTest::newRow("negative decimal") << "-1234.56" << true;
    QTest::newRow("point first") << ".123456" << true;
    QTest::newRow("letter inside") << "12a4567" << false;
    QTest::newRow("two points") << "1.2.3456" << false;
    QTest::newRow("minus inside") << "1234-567" << false;
    QTest::newRow("date") << "2026-01-05" << false;
    QTest::newRow("telephone with area code") << "0531-88123456" << false;
    QTest::newRow("leading blank") << " 1234567" << false;
    QTest::newRow("plus sign") << "+1234567" << false;
    QTest::newRow("empty") << "" << false;
}

void tst_export::apostrophe()
{
    QFETCH(QString, cell);
    QFETCH(bool, quoted);
    QCOMPARE(csvExport::needsApostrophe(cell), quoted);
}

void tst_export::fileBytes()
{
    // Cells typed as the query helper types them: text, numbers, dates.
    QTableWidget table(2, 4);
    table.setHorizontalHeaderLabels({"登记编号", "出方名称", "收费金额", "登记日期"});
    auto put = [&](int row, int column, const QVariant &value) {
        auto *item = new QTableWidgetItem;
        item->setData(Qt::DisplayRole, value);
        table.setItem(row, column, item);
    };
    put(0, 0, QStringLiteral("370102202600001"));
    put(0, 1, QStringLiteral("张伟,€"));
    put(0, 2, 1234567);
    put(0, 3, QDate(2026, 1, 5));
    put(1, 0, QStringLiteral("123456"));
    // (1,1) left without an item: an empty cell.
    put(1, 2, -12.5);
    put(1, 3, -1234.5);

    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("mydata.csv"));
    QVERIFY(csvExport::write(table.model(), path));
    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadOnly));
    // Header in GB18030: 登记编号 出方名称 收费金额 登记日期; 张伟 = D5C5 CEB0,
    // € = A2E3. The comma inside a cell stays as it is.
    const QByteArray expected =
        "\xb5\xc7\xbc\xc7\xb1\xe0\xba\xc5,\xb3\xf6\xb7\xbd\xc3\xfb\xb3\xc6,"
        "\xca\xd5\xb7\xd1\xbd\xf0\xb6\xee,\xb5\xc7\xbc\xc7\xc8\xd5\xc6\xda\n"
        "'370102202600001,\xd5\xc5\xce\xb0,\xa2\xe3,'1234567,2026-01-05\n"
        "123456,,-12.5,'-1234.5\n";
    QCOMPARE(file.readAll(), expected);
}

void tst_export::unwritablePathFails()
{
    QTableWidget table(0, 1);
    QString error;
    QVERIFY(!csvExport::write(table.model(), QStringLiteral("/nonexistent-dir/x.csv"), &error));
    QVERIFY(!error.isEmpty());
}

QTEST_MAIN(tst_export)
#include "tst_export.moc"
