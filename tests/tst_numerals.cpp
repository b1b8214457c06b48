// Chinese numerals and capital amounts. The expected texts are what
// certificates have always shown, quirks included; the rows with every unit
// catch a shifted unit index, the zero rows a changed replacement order.
#include "myTools.h"
#include "testSupport.h"

#include <QProcess>
#include <QtTest>

class tst_numerals : public QObject
{
    Q_OBJECT
private slots:
    void number_data();
    void number();
    void amount_data();
    void amount();
    void overflowShowsBox_data();
    void overflowShowsBox();
    void overflowWithoutWidgetsLogs();
};

void tst_numerals::number_data()
{
    QTest::addColumn<QString>("digits");
    QTest::addColumn<QString>("chinese");
    QTest::newRow("empty") << "" << "";
    QTest::newRow("0") << "0" << "○";
    QTest::newRow("10 keeps trailing zero") << "10" << "十○";
    QTest::newRow("11 drops leading one") << "11" << "十一";
    QTest::newRow("20 keeps its two") << "20" << "二十○";
    QTest::newRow("111 not shortened") << "111" << "一百一十一";
    QTest::newRow("1005 zeros collapse") << "1005" << "一千○五";
    QTest::newRow("100000") << "100000" << "一十万○";
    QTest::newRow("123456789 every unit") << "123456789" << "一亿二千三百四十五万六千七百八十九";
    QTest::newRow("ten digits") << "1234567890" << "一十二亿三千四百五十六万七千八百九十○";
    QTest::newRow("zero before 万 dropped") << "100000000" << "一亿万○";
    QTest::newRow("zero after 亿 kept") << "100010000" << "一亿○一万○";
    QTest::newRow("zero before 亿 kept") << "1000000001" << "一十○亿万○一";
}

void tst_numerals::number()
{
    QFETCH(QString, digits);
    modalWatcher watcher;
    QTEST(myTools().toChineseNumber(digits), "chinese");
    QVERIFY(watcher.boxes.isEmpty());
}

void tst_numerals::amount_data()
{
    QTest::addColumn<double>("value");
    QTest::addColumn<QString>("capital");
    QTest::newRow("0 is empty") << 0.0 << "";
    QTest::newRow("0.5") << 0.5 << "伍角";
    QTest::newRow("0.05") << 0.05 << "伍分";
    QTest::newRow("1") << 1.0 << "壹元整";
    QTest::newRow("1.05 no zero before 分") << 1.05 << "壹元伍分";
    QTest::newRow("10") << 10.0 << "拾元整";
    QTest::newRow("15.5") << 15.5 << "拾伍元伍角";
    QTest::newRow("100.5 zero before 元 vanishes") << 100.5 << "壹佰元伍角";
    QTest::newRow("101.01") << 101.01 << "壹佰零壹元壹分";
    QTest::newRow("12345.67 every unit") << 12345.67 << "壹万贰仟叁佰肆拾伍元陆角柒分";
    QTest::newRow("150000.75") << 150000.75 << "壹拾伍万元柒角伍分";
    QTest::newRow("100000000") << 100000000.0 << "壹亿万元整";
    QTest::newRow("1e16 at the limit") << 1e16 << "壹万零亿万元整";
    QTest::newRow("-5") << -5.0 << "-拾伍元整";
}

void tst_numerals::amount()
{
    QFETCH(double, value);
    modalWatcher watcher;
    QTEST(myTools().toChineseAmount(value), "capital");
    QVERIFY(watcher.boxes.isEmpty());
}

void tst_numerals::overflowShowsBox_data()
{
    QTest::addColumn<bool>("isAmount");
    QTest::addColumn<QString>("input");
    QTest::newRow("11 digits") << false << "12345678901";
    QTest::newRow("just above the single-precision 1e16") << true << "10000000300000000";
}

void tst_numerals::overflowShowsBox()
{
    QFETCH(bool, isAmount);
    QFETCH(QString, input);
    modalWatcher watcher;
    const QString result = isAmount ? myTools().toChineseAmount(input.toDouble())
                                    : myTools().toChineseNumber(input);
    QCOMPARE(result, QString());
    QCOMPARE(watcher.boxes.size(), 1);
    QCOMPARE(watcher.lastTitle(), QString("错误"));
    QCOMPARE(watcher.lastText(), QString("数目太大，无法换算！"));
}

void tst_numerals::overflowWithoutWidgetsLogs()
{
    // The same program without a QApplication (see main below) must not wait
    // for a box nobody can answer: it logs and returns empty results.
    QProcess child;
    child.start(QCoreApplication::applicationFilePath(), {"--core-only"});
    QVERIFY(child.waitForFinished(10000));
    QCOMPARE(child.exitCode(), 0);
    QCOMPARE(QString::fromUtf8(child.readAllStandardOutput()), QString("number=[]\namount=[]\nsmall=[拾伍元整]\n"));
    QCOMPARE(QString::fromUtf8(child.readAllStandardError()).count("数目太大，无法换算！"), 2);
}

int main(int argc, char **argv)
{
    if (argc > 1 && qstrcmp(argv[1], "--core-only") == 0) {
        QCoreApplication app(argc, argv);
        QTextStream out(stdout);
        out.setCodec("UTF-8");
        out << "number=[" << myTools().toChineseNumber("12345678901") << "]\n";
        out << "amount=[" << myTools().toChineseAmount(1e18) << "]\n";
        out << "small=[" << myTools().toChineseAmount(15) << "]\n";
        return 0;
    }
    QApplication app(argc, argv);
    testSupport::initApplication();
    tst_numerals test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_numerals.moc"
