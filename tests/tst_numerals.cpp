// Chinese numerals, capital amounts and layout font strings. The expected
// texts are what certificates have always shown, quirks included.
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
    void font_data();
    void font();
};

void tst_numerals::number_data()
{
    QTest::addColumn<QString>("digits");
    QTest::addColumn<QString>("chinese");
    QTest::newRow("0") << "0" << "○";
    QTest::newRow("5") << "5" << "五";
    QTest::newRow("10 keeps trailing zero") << "10" << "十○";
    QTest::newRow("11 drops leading one") << "11" << "十一";
    QTest::newRow("12") << "12" << "十二";
    QTest::newRow("20 keeps its two") << "20" << "二十○";
    QTest::newRow("07 leading zero") << "07" << "○七";
    QTest::newRow("100") << "100" << "一百○";
    QTest::newRow("101") << "101" << "一百○一";
    QTest::newRow("110") << "110" << "一百一十○";
    QTest::newRow("111 not shortened") << "111" << "一百一十一";
    QTest::newRow("1005 zeros collapse") << "1005" << "一千○五";
    QTest::newRow("2012") << "2012" << "二千○一十二";
    QTest::newRow("2345 every unit") << "2345" << "二千三百四十五";
    QTest::newRow("10000") << "10000" << "一万○";
    QTest::newRow("50000") << "50000" << "五万○";
    QTest::newRow("100000") << "100000" << "一十万○";
    QTest::newRow("100005") << "100005" << "一十万○五";
    QTest::newRow("123456789 every unit to 亿")
        << "123456789" << "一亿二千三百四十五万六千七百八十九";
    QTest::newRow("1234567890 ten digits")
        << "1234567890" << "一十二亿三千四百五十六万七千八百九十○";
    QTest::newRow("120000000") << "120000000" << "一亿二千万○";
    QTest::newRow("100000000 zero before 万 dropped") << "100000000" << "一亿万○";
    QTest::newRow("100010000 zero after 亿 kept") << "100010000" << "一亿○一万○";
    QTest::newRow("1000000001 zero before 亿 kept") << "1000000001" << "一十○亿万○一";
    QTest::newRow("empty") << "" << "";
    QTest::newRow("non-digits pass through") << "a5" << "a十五";
}

void tst_numerals::number()
{
    QFETCH(QString, digits);
    QFETCH(QString, chinese);
    modalWatcher watcher;
    QCOMPARE(myTools().toChineseNumber(digits), chinese);
    QVERIFY(watcher.boxes.isEmpty());
}

void tst_numerals::amount_data()
{
    QTest::addColumn<double>("value");
    QTest::addColumn<QString>("capital");
    QTest::newRow("0 is empty") << 0.0 << "";
    QTest::newRow("0.5") << 0.5 << "伍角";
    QTest::newRow("0.05") << 0.05 << "伍分";
    QTest::newRow("0.01") << 0.01 << "壹分";
    QTest::newRow("1") << 1.0 << "壹元整";
    QTest::newRow("1.05 no zero before 分") << 1.05 << "壹元伍分";
    QTest::newRow("9.99") << 9.99 << "玖元玖角玖分";
    QTest::newRow("10") << 10.0 << "拾元整";
    QTest::newRow("10.05") << 10.05 << "拾元伍分";
    QTest::newRow("15.5") << 15.5 << "拾伍元伍角";
    QTest::newRow("20") << 20.0 << "贰拾元整";
    QTest::newRow("100.5 zero before 元 vanishes") << 100.5 << "壹佰元伍角";
    QTest::newRow("101.01") << 101.01 << "壹佰零壹元壹分";
    QTest::newRow("110") << 110.0 << "壹佰壹拾元整";
    QTest::newRow("1000.1") << 1000.1 << "壹仟元壹角";
    QTest::newRow("10005") << 10005.0 << "壹万零伍元整";
    QTest::newRow("12345.67 every unit") << 12345.67 << "壹万贰仟叁佰肆拾伍元陆角柒分";
    QTest::newRow("100000") << 100000.0 << "壹拾万元整";
    QTest::newRow("150000.75") << 150000.75 << "壹拾伍万元柒角伍分";
    QTest::newRow("100000000") << 100000000.0 << "壹亿万元整";
    QTest::newRow("1000000000.5") << 1000000000.5 << "壹拾零亿万元伍角";
    QTest::newRow("1e16 at the limit") << 1e16 << "壹万零亿万元整";
    QTest::newRow("-5") << -5.0 << "-拾伍元整";
    QTest::newRow("-0.5") << -0.5 << "-拾元伍角";
}

void tst_numerals::amount()
{
    QFETCH(double, value);
    QFETCH(QString, capital);
    modalWatcher watcher;
    QCOMPARE(myTools().toChineseAmount(value), capital);
    QVERIFY(watcher.boxes.isEmpty());
}

void tst_numerals::overflowShowsBox_data()
{
    QTest::addColumn<bool>("isAmount");
    QTest::addColumn<QString>("input");
    QTest::newRow("11 digits") << false << "12345678901";
    QTest::newRow("11 zeros") << false << "00000000000";
    QTest::newRow("just above the single-precision 1e16") << true << "10000000300000000";
    QTest::newRow("1e17") << true << "1e17";
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
    QCOMPARE(watcher.boxes.first().className, QString("QMessageBox"));
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
    const QString out = QString::fromUtf8(child.readAllStandardOutput());
    const QString err = QString::fromUtf8(child.readAllStandardError());
    QCOMPARE(out, QString("number=[]\namount=[]\nsmall=[拾伍元整]\n"));
    QCOMPARE(err.count("数目太大，无法换算！"), 2);
}

void tst_numerals::font_data()
{
    QTest::addColumn<QString>("description");
    QTest::addColumn<QString>("family");
    QTest::addColumn<int>("points");
    QTest::addColumn<int>("weight");
    QTest::addColumn<bool>("italic");
    QTest::addColumn<bool>("underline");
    QTest::addColumn<bool>("strikeOut");
    QTest::newRow("plain") << "WenQuanYi Zen Hei,14,-1,5,50,0,0,0,0,0" << "WenQuanYi Zen Hei" << 14 << 50
                           << false << false << false;
    QTest::newRow("bold italic underlined struck") << "Serif,9,-1,5,75,1,1,1,0,0" << "Serif" << 9 << 75
                                                   << true << true << true;
    QTest::newRow("10.5 points fall back to 12") << "WenQuanYi Zen Hei,10.5,-1,5,50,0,0,0,0,0"
                                                 << "WenQuanYi Zen Hei" << 12 << 50 << false << false << false;
    QTest::newRow("only the underline flag") << "Sans,20,-1,5,50,0,1,0,0,0" << "Sans" << 20 << 50
                                             << false << true << false;
    QTest::newRow("with style name") << "Sans,16,-1,5,63,0,0,0,0,0,DemiBold" << "Sans" << 16 << 63
                                     << false << false << false;
}

void tst_numerals::font()
{
    QFETCH(QString, description);
    const QFont f = myTools().fontFromString(description);
    QTEST(f.family(), "family");
    QTEST(f.pointSize(), "points");
    QTEST(f.weight(), "weight");
    QTEST(f.italic(), "italic");
    QTEST(f.underline(), "underline");
    QTEST(f.strikeOut(), "strikeOut");
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
