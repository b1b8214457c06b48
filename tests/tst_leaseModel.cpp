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

    void kind_data();
    void kind();
    void charLength_data();
    void charLength();
    void enumValues_data();
    void enumValues();
    void nextNumber_data();
    void nextNumber();
    void duplicateNumberRefused();
    void fieldListOrder();
    void fieldListFollowsSchema();
    void showColumnsReadsMetadata();
    void deletingLeaseRemovesPartyRows();
};

void tst_leaseModel::kind_data()
{
    QTest::addColumn<QString>("type");
    QTest::addColumn<int>("kind");
    QTest::newRow("varchar") << "varchar(40)" << int(columnKind::Text);
    QTest::newRow("char") << "char(15)" << int(columnKind::Text);
    QTest::newRow("enum") << "enum('出租','转租')" << int(columnKind::Choice);
    QTest::newRow("int") << "int(11)" << int(columnKind::Number);
    QTest::newRow("bigint") << "bigint(20)" << int(columnKind::Number);
    QTest::newRow("date") << "date" << int(columnKind::None);
    QTest::newRow("text") << "text" << int(columnKind::None);
    QTest::newRow("decimal") << "decimal(10,2)" << int(columnKind::None);
    // First match wins: an enum whose values spell "char" is a text line.
    QTest::newRow("enum with char inside") << "enum('char','b')" << int(columnKind::Text);
    QTest::newRow("enum with int inside") << "enum('print','b')" << int(columnKind::Choice);
}

void tst_leaseModel::kind()
{
    QFETCH(QString, type);
    QFETCH(int, kind);
    QCOMPARE(int(myTools::kindOf(type)), kind);
}

void tst_leaseModel::charLength_data()
{
    QTest::addColumn<QString>("type");
    QTest::addColumn<int>("length");
    QTest::newRow("varchar(40)") << "varchar(40)" << 40;
    QTest::newRow("char(8)") << "char(8)" << 8;
    QTest::newRow("char(255)") << "char(255)" << 255;
    QTest::newRow("unreadable") << "varchar(40) binary" << 0;
    QTest::newRow("no digits") << "char" << 0;
}

void tst_leaseModel::charLength()
{
    QFETCH(QString, type);
    QFETCH(int, length);
    QCOMPARE(myTools::charLength(type), length);
}

void tst_leaseModel::enumValues_data()
{
    QTest::addColumn<QString>("type");
    QTest::addColumn<QStringList>("values");
    QTest::newRow("chinese") << "enum('出租','转租')" << QStringList{"出租", "转租"};
    QTest::newRow("declared order") << "enum('乙','甲','丙')" << QStringList{"乙", "甲", "丙"};
    // A character-class removal: every e, n, u, m, (, ), ' goes, wherever it is.
    QTest::newRow("latin letters lost") << "enum('menu','sun','ok')" << QStringList{"", "s", "ok"};
    QTest::newRow("parenthesis in value") << "enum('甲(乙)')" << QStringList{"甲乙"};
}

void tst_leaseModel::enumValues()
{
    QFETCH(QString, type);
    QFETCH(QStringList, values);
    QCOMPARE(myTools::enumValues(type), values);
}

void tst_leaseModel::nextNumber_data()
{
    QTest::addColumn<QStringList>("existing"); // "region,year,serial"
    QTest::addColumn<QString>("region");
    QTest::addColumn<int>("yearOffset");       // registration date's year relative to today
    QTest::addColumn<QString>("expectedSerial"); // 5 digits after today's year

    QTest::newRow("first of the year") << QStringList{} << "330102" << 0 << "00001";
    QTest::newRow("after highest, gap not refilled")
        << QStringList{"330102,Y,1", "330102,Y,2", "330102,Y,7"} << "330102" << 0 << "00008";
    QTest::newRow("other region does not count")
        << QStringList{"330103,Y,41"} << "330102" << 0 << "00001";
    QTest::newRow("other year does not count")
        << QStringList{"330102,P,12"} << "330102" << 0 << "00001";
    // The lookup uses the registration date's year, the prefix today's year.
    QTest::newRow("previous year's sequence, today's prefix")
        << QStringList{"330102,P,12", "330102,Y,3"} << "330102" << -1 << "00013";
}

void tst_leaseModel::nextNumber()
{
    QFETCH(QStringList, existing);
    QFETCH(QString, region);
    QFETCH(int, yearOffset);
    QFETCH(QString, expectedSerial);

    const QDate today = QDate::currentDate();
    for (const QString &row : existing) {
        const QStringList p = row.split(',');
        const int year = p[1] == "Y" ? today.year() : today.year() - 1;
        QVERIFY(testSupport::exec(QString("INSERT lease SET 地区='%1',年度=%2,编号=%3,登记日期='%2-03-01',收费金额=100")
                                      .arg(p[0]).arg(year).arg(p[2])));
    }
    const QString number = myTools().nextRegisterNumber(region, today.addYears(yearOffset));
    QCOMPARE(number, region + today.toString("yyyy") + expectedSerial);
    QCOMPARE(number.size(), 15);
}

void tst_leaseModel::duplicateNumberRefused()
{
    QVERIFY(testSupport::exec("INSERT lease SET 地区='330102',年度=2026,编号=5,登记日期='2026-01-02'"));
    QString error;
    QVERIFY(!testSupport::exec("INSERT lease SET 地区='330102',年度=2026,编号=5,登记日期='2026-01-03'", &error));
    QVERIFY2(error.startsWith("Duplicate entry '"), qPrintable(error));
}

void tst_leaseModel::fieldListOrder()
{
    const QStringList fields = myTools().fieldList().split(',');
    // leaseout first with its 登记编号, then the other party tables without it,
    // then lease without its number parts.
    QCOMPARE(fields.first(), QString("登记编号"));
    QCOMPARE(fields.count("登记编号"), 1);
    for (const char *hidden : {"编号", "地区", "年度"})
        QVERIFY2(!fields.contains(QString::fromUtf8(hidden)), hidden);
    const int lessor = fields.indexOf("出方名称");
    const int lessee = fields.indexOf("承方名称");
    const int house = fields.indexOf("房屋坐落");
    const int date = fields.indexOf("登记日期");
    QVERIFY(lessor > 0 && lessor < lessee && lessee < house && house < date);
    QCOMPARE(fields.mid(fields.size() - 4), (QStringList{"登记日期", "有效日起", "有效日止", "收费金额"}));
}

void tst_leaseModel::fieldListFollowsSchema()
{
    QVERIFY(testSupport::exec("ALTER TABLE leasein ADD 工作单位 varchar(60) AFTER 承方名称"));
    const QStringList fields = myTools().fieldList().split(',');
    QCOMPARE(fields.indexOf("工作单位"), fields.indexOf("承方名称") + 1);

    testSupport::connectAsRoot("no_such_database");
    QCOMPARE(myTools().fieldList(), QString());
}

void tst_leaseModel::showColumnsReadsMetadata()
{
    QVERIFY(testSupport::exec("ALTER TABLE leasehouse ADD 楼层 int(11) DEFAULT 3, ADD 朝向 varchar(8) NOT NULL DEFAULT '南'"));
    const QList<columnInfo> columns = myTools().showColumns("leasehouse");
    QVERIFY(!columns.isEmpty());
    QCOMPARE(columns.first().field, QString("登记编号"));
    auto find = [&](const QString &name) {
        for (const columnInfo &c : columns)
            if (c.field == name)
                return c;
        return columnInfo();
    };
    QCOMPARE(find("楼层").type, QString("int(11)"));
    QCOMPARE(find("楼层").defaultValue.toInt(), 3);
    QVERIFY(!find("楼层").required);
    QVERIFY(find("朝向").required);
    QVERIFY(find("房产证号").defaultValue.isNull());
    QCOMPARE(find("房屋用途").defaultValue.toString(), QString("住宅"));
    QVERIFY(myTools().showColumns("no_such_table").isEmpty());
}

void tst_leaseModel::deletingLeaseRemovesPartyRows()
{
    // Clearing old data deletes from lease only; the party rows must follow,
    // or a number reused later collides with the orphans.
    QVERIFY(testSupport::exec("INSERT lease SET 地区='330102',年度=2020,编号=1,登记日期='2020-05-01'"));
    QVERIFY(testSupport::exec("INSERT leaseout SET 登记编号='330102202000001',出方名称='张三'"));
    QVERIFY(testSupport::exec("INSERT leasein SET 登记编号='330102202000001',承方名称='李四'"));
    QVERIFY(testSupport::exec("INSERT leasehouse SET 登记编号='330102202000001',房屋坐落='解放路1号'"));
    QVERIFY(testSupport::exec("DELETE FROM lease WHERE 登记日期<'2021-01-01'"));
    for (const char *table : {"leaseout", "leasein", "leasehouse"})
        QCOMPARE(testSupport::count(QString::fromLatin1(table)), 0);
    QVERIFY(testSupport::exec("INSERT lease SET 地区='330102',年度=2020,编号=1,登记日期='2020-06-01'"));
    QVERIFY(testSupport::exec("INSERT leaseout SET 登记编号='330102202000001',出方名称='王五'"));
}

QTEST_MAIN(tst_leaseModel)
#include "tst_leaseModel.moc"
