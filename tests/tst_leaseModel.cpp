// Registration numbers, column classification and the field list, on the
// real data model.
#include "myTools.h"
#include "testSupport.h"

#include <QDate>
#include <QtTest>

class tst_leaseModel : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase() { testSupport::initApplication(); }
    void init() { testSupport::resetDatabase(); }

    void classification_data();
    void classification();
    void nextNumber_data();
    void nextNumber();
    void fieldList();
    void deletingLeaseRemovesPartyRows();
};

void tst_leaseModel::classification_data()
{
    QTest::addColumn<QString>("type");
    QTest::addColumn<int>("kind");
    QTest::addColumn<int>("length");          // for text lines
    QTest::addColumn<QStringList>("values");  // for choice lists
    const int text = int(columnKind::Text), choice = int(columnKind::Choice), number = int(columnKind::Number),
              none = int(columnKind::None);
    QTest::newRow("varchar") << "varchar(40)" << text << 40 << QStringList();
    QTest::newRow("char") << "char(8)" << text << 8 << QStringList();
    QTest::newRow("unreadable length") << "varchar(40) binary" << text << 0 << QStringList();
    QTest::newRow("enum, declared order") << "enum('乙','甲','丙')" << choice << 0 << QStringList{"乙", "甲", "丙"};
    // A character-class removal: every e, n, u, m, (, ), ' goes, wherever it is.
    QTest::newRow("enum loses latin letters") << "enum('menu','sun','甲(乙)')" << choice << 0
                                              << QStringList{"", "s", "甲乙"};
    QTest::newRow("int") << "int(11)" << number << 0 << QStringList();
    QTest::newRow("bigint") << "bigint(20)" << number << 0 << QStringList();
    QTest::newRow("date") << "date" << none << 0 << QStringList();
    QTest::newRow("decimal") << "decimal(10,2)" << none << 0 << QStringList();
    // First match wins: an enum whose values spell "char" is a text line.
    QTest::newRow("enum spelling char") << "enum('char','b')" << text << 0 << QStringList();
}

void tst_leaseModel::classification()
{
    QFETCH(QString, type);
    QFETCH(int, kind);
    QFETCH(int, length);
    QFETCH(QStringList, values);
    QCOMPARE(int(myTools::kindOf(type)), kind);
    if (kind == int(columnKind::Text) && values.isEmpty())
        QCOMPARE(myTools::charLength(type), length);
    if (kind == int(columnKind::Choice))
        QCOMPARE(myTools::enumValues(type), values);
}

void tst_leaseModel::nextNumber_data()
{
    QTest::addColumn<QStringList>("existing");   // "region,Y|P,serial": this or the previous year
    QTest::addColumn<int>("yearOffset");         // registration date's year relative to today
    QTest::addColumn<QString>("expectedSerial"); // the 5 digits after today's year

    QTest::newRow("first of the year") << QStringList{} << 0 << "00001";
    QTest::newRow("after highest, gap not refilled")
        << QStringList{"330102,Y,1", "330102,Y,2", "330102,Y,7"} << 0 << "00008";
    QTest::newRow("other region or year does not count") << QStringList{"330103,Y,41", "330102,P,12"} << 0 << "00001";
    // The lookup uses the registration date's year, the prefix today's year.
    QTest::newRow("previous year's sequence, today's prefix")
        << QStringList{"330102,P,12", "330102,Y,3"} << -1 << "00013";
}

void tst_leaseModel::nextNumber()
{
    QFETCH(QStringList, existing);
    QFETCH(int, yearOffset);
    QFETCH(QString, expectedSerial);

    const QDate today = QDate::currentDate();
    for (const QString &row : existing) {
        const QStringList p = row.split(',');
        const int year = p[1] == "Y" ? today.year() : today.year() - 1;
        QVERIFY(testSupport::exec(QString("INSERT lease SET 地区='%1',年度=%2,编号=%3,登记日期='%2-03-01'")
                                      .arg(p[0]).arg(year).arg(p[2])));
    }
    QCOMPARE(myTools().nextRegisterNumber("330102", today.addYears(yearOffset)),
             "330102" + today.toString("yyyy") + expectedSerial);
}

void tst_leaseModel::fieldList()
{
    QVERIFY(testSupport::exec("ALTER TABLE leasein ADD 工作单位 varchar(60) AFTER 承方名称"));
    const QStringList fields = myTools().fieldList().split(',');
    // leaseout first with its 登记编号, then the other party tables without it,
    // then lease without its number parts.
    QCOMPARE(fields.first(), QString("登记编号"));
    QCOMPARE(fields.count("登记编号"), 1);
    for (const char *hidden : {"编号", "地区", "年度"})
        QVERIFY2(!fields.contains(QString::fromUtf8(hidden)), hidden);
    const int lessee = fields.indexOf("承方名称");
    QVERIFY(fields.indexOf("出方名称") < lessee && lessee < fields.indexOf("房屋坐落"));
    QCOMPARE(fields.indexOf("工作单位"), lessee + 1);
    QCOMPARE(fields.mid(fields.size() - 4), (QStringList{"登记日期", "有效日起", "有效日止", "收费金额"}));

    testSupport::connectAsRoot("no_such_database");
    QCOMPARE(myTools().fieldList(), QString());
}

void tst_leaseModel::deletingLeaseRemovesPartyRows()
{
    // Clearing old data deletes from lease only; the party rows must follow,
    // or a number reused later collides with the orphans.
    testSupport::insertLease({"330102202000001", "2020-05-01", 120, "张三", "", "李四", "", "解放路1号"});
    QVERIFY(testSupport::exec("DELETE FROM lease WHERE 登记日期<'2021-01-01'"));
    for (const char *table : {"leaseout", "leasein", "leasehouse"})
        QCOMPARE(testSupport::count(QString::fromLatin1(table)), 0);
    testSupport::insertLease({"330102202000001", "2020-06-01", 120, "王五", "", "", "", ""});
    QCOMPARE(testSupport::count("leaseout"), 1);
}

QTEST_MAIN(tst_leaseModel)
#include "tst_leaseModel.moc"
