// Chinese numerals and capital amounts. The expected texts are what
// certificates have always shown, quirks included; the rows with every unit
// catch a shifted unit index, the zero rows a changed replacement order.
#include "myTools.h"
#include "printLayout.h"
#include "testSupport.h"

#include <QProcess>
#include <QtTest>

class tst_numerals : public QObject
{
    Q_OBJECT
private slots:
    void convert_data();
    void convert();
    void overflowWithoutWidgetsLogs();
};

void tst_numerals::convert_data()
{
    // Through the layout's conversion names, as printing calls them.
    QTest::addColumn<QString>("conversion");
    QTest::addColumn<QString>("input");
    QTest::addColumn<QString>("output");
    QTest::addColumn<bool>("tooLarge");
    const QString number = "中文数字", amount = "金额大写";
    QTest::newRow("empty") << number << "" << "" << false;
    QTest::newRow("0") << number << "0" << "○" << false;
    QTest::newRow("10 keeps trailing zero") << number << "10" << "十○" << false;
    QTest::newRow("11 drops leading one") << number << "11" << "十一" << false;
    QTest::newRow("20 keeps its two") << number << "20" << "二十○" << false;
    QTest::newRow("111 not shortened") << number << "111" << "一百一十一" << false;
    QTest::newRow("1005 zeros collapse") << number << "1005" << "一千○五" << false;
    QTest::newRow("123456789 every unit") << number << "123456789" << "一亿二千三百四十五万六千七百八十九" << false;
    QTest::newRow("ten digits") << number << "1234567890" << "一十二亿三千四百五十六万七千八百九十○" << false;
    QTest::newRow("zero before 万 dropped") << number << "100000000" << "一亿万○" << false;
    QTest::newRow("zero after 亿 kept") << number << "100010000" << "一亿○一万○" << false;
    QTest::newRow("zero before 亿 kept") << number << "1000000001" << "一十○亿万○一" << false;
    QTest::newRow("11 digits too large") << number << "12345678901" << "" << true;
    QTest::newRow("0 yuan is empty") << amount << "0" << "" << false;
    QTest::newRow("0.5") << amount << "0.5" << "伍角" << false;
    QTest::newRow("1") << amount << "1" << "壹元整" << false;
    QTest::newRow("1.05 no zero before 分") << amount << "1.05" << "壹元伍分" << false;
    QTest::newRow("10") << amount << "10" << "拾元整" << false;
    QTest::newRow("100.5 zero before 元 vanishes") << amount << "100.5" << "壹佰元伍角" << false;
    QTest::newRow("101.01") << amount << "101.01" << "壹佰零壹元壹分" << false;
    QTest::newRow("12345.67 every unit") << amount << "12345.67" << "壹万贰仟叁佰肆拾伍元陆角柒分" << false;
    QTest::newRow("150000.75") << amount << "150000.75" << "壹拾伍万元柒角伍分" << false;
    QTest::newRow("100000000") << amount << "100000000" << "壹亿万元整" << false;
    QTest::newRow("1e16 at the limit") << amount << "1e16" << "壹万零亿万元整" << false;
    QTest::newRow("just above the single-precision 1e16") << amount << "10000000300000000" << "" << true;
    QTest::newRow("-5") << amount << "-5" << "-拾伍元整" << false;
}

void tst_numerals::convert()
{
    QFETCH(QString, conversion);
    QFETCH(QString, input);
    QFETCH(bool, tooLarge);
    modalWatcher watcher;
    QTEST(printLayout::converted(input, conversion), "output");
    QCOMPARE(watcher.boxes.size(), tooLarge ? 1 : 0);
    QCOMPARE(watcher.lastTitle() + watcher.lastText(), QString(tooLarge ? "错误数目太大，无法换算！" : ""));
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
