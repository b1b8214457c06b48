// The small shared pieces: settings bytes, numerals, column kinds, numbers, cells.
#include "appSettings.h"
#include "myDatabase.h"
#include "sqlText.h"
#include "gbText.h"
#include "myTableView.h"
#include "myTools.h"
#include "mySqlQuery.h"
#include "operationLog.h"
#include "printLayout.h"
#include "registrationSql.h"
#include "testSupport.h"

#include <QtTest>
#include <QtWidgets>

class tst_helpers : public QObject
{
    Q_OBJECT
private slots:
    void settingsFile()
    {
        // Raw bytes, as another program or an earlier installation reads them;
        // Chinese key names are %U-escaped, a leading slash names the same key.
        testSupport::removeSettingsFile();
        {
            auto settings = appSettings::open();
            settings->setValue("Register/Company", QString("城关区房屋租赁管理所"));
            settings->setValue("/LoginUser/李四", 1);
        }
        QCOMPARE(appSettings::path(), QCoreApplication::applicationDirPath() + "/ZELNOR.ini");
        QFile file(appSettings::path());
        QVERIFY(file.open(QIODevice::ReadWrite));
        const QByteArray bytes = file.readAll();
        QVERIFY2(bytes.contains("Company=" + gbText::encode("城关区房屋租赁管理所")), bytes.constData());
        QVERIFY2(bytes.contains("[LoginUser]\n%U674E%U56DB=1"), bytes.constData());
        QCOMPARE(appSettings::open()->value("LoginUser/李四").toInt(), 1);

        file.resize(0);
        file.write("[Register]\r\nCompany=" + gbText::encode("东城房管所") + "\r\n[LoginUser]\n%U5F20%U4E09=1\n"
                   "[Server]\nBinDir=\"\\\"/opt/my sql/bin/mysqld\\\" --x\"\n");
        file.close();
        auto settings = appSettings::open();
        QCOMPARE(settings->value("/Register/Company").toString(), QString("东城房管所"));
        QCOMPARE(settings->value("LoginUser/张三").toInt(), 1);
        QCOMPARE(settings->value("Server/BinDir").toString(), QString("\"/opt/my sql/bin/mysqld\" --x"));
    }

    // The expected texts are what certificates have always shown, quirks
    // included; the rows with every unit catch a shifted unit index, the zero
    // rows a changed replacement order.
    void numerals_data()
    {
        QTest::addColumn<QString>("conversion"); // the layout's conversion names, as printing calls them
        QTest::addColumn<QString>("input");
        QTest::addColumn<QString>("output");
        const QString number = "中文数字", amount = "金额大写";
        QTest::newRow("empty") << number << "" << "";
        QTest::newRow("0") << number << "0" << "○";
        QTest::newRow("10 keeps trailing zero") << number << "10" << "十○";
        QTest::newRow("11 drops leading one") << number << "11" << "十一";
        QTest::newRow("20 keeps its two") << number << "20" << "二十○";
        QTest::newRow("111 not shortened") << number << "111" << "一百一十一";
        QTest::newRow("1005 zeros collapse") << number << "1005" << "一千○五";
        QTest::newRow("123456789 every unit") << number << "123456789" << "一亿二千三百四十五万六千七百八十九";
        QTest::newRow("ten digits") << number << "1234567890" << "一十二亿三千四百五十六万七千八百九十○";
        QTest::newRow("zero before 万 dropped") << number << "100000000" << "一亿万○";
        QTest::newRow("zero after 亿 kept") << number << "100010000" << "一亿○一万○";
        QTest::newRow("zero before 亿 kept") << number << "1000000001" << "一十○亿万○一";
        QTest::newRow("11 digits too large") << number << "12345678901" << "!";
        QTest::newRow("0 yuan is empty") << amount << "0" << "";
        QTest::newRow("0.5") << amount << "0.5" << "伍角";
        QTest::newRow("1.05 no zero before 分") << amount << "1.05" << "壹元伍分";
        QTest::newRow("10") << amount << "10" << "拾元整";
        QTest::newRow("100.5 zero before 元 vanishes") << amount << "100.5" << "壹佰元伍角";
        QTest::newRow("101.01") << amount << "101.01" << "壹佰零壹元壹分";
        QTest::newRow("12345.67 every unit") << amount << "12345.67" << "壹万贰仟叁佰肆拾伍元陆角柒分";
        QTest::newRow("150000.75") << amount << "150000.75" << "壹拾伍万元柒角伍分";
        QTest::newRow("1e16 at the limit") << amount << "1e16" << "壹万零亿万元整";
        QTest::newRow("just above the single-precision 1e16") << amount << "10000000300000000" << "!";
        QTest::newRow("-5") << amount << "-5" << "-拾伍元整";
    }

    void numerals()
    {
        QFETCH(QString, conversion);
        QFETCH(QString, input);
        QFETCH(QString, output);
        const bool tooLarge = output == "!"; // empty result and the message
        {
            recordingReporter reports;
            QCOMPARE(printLayout::converted(input, conversion), tooLarge ? QString() : output);
            QCOMPARE(reports.take(), tooLarge ? QStringList{"错误|数目太大，无法换算！"} : QStringList());
        }
        // A batch tool installs no reporter: nothing may wait for a box nobody
        // can answer, so the message goes to the log.
        QCOMPARE(reporter::installed(), nullptr);
        if (tooLarge)
            QTest::ignoreMessage(QtWarningMsg, "错误: 数目太大，无法换算！");
        QCOMPARE(printLayout::converted(input, conversion), tooLarge ? QString() : output);
    }

    void classification_data()
    {
        QTest::addColumn<QString>("type");
        QTest::addColumn<QString>("shownAs"); // a text line and its length, a choice list, a number or nothing
        QTest::newRow("varchar") << "varchar(40)" << "text 40";
        QTest::newRow("unreadable length") << "varchar(40) binary" << "text 0";
        QTest::newRow("enum, declared order") << "enum('乙','甲','丙')" << "choice 乙,甲,丙";
        // A character-class removal: every e, n, u, m, (, ), ' goes, wherever it is.
        QTest::newRow("enum loses latin letters") << "enum('menu','sun','甲(乙)')" << "choice ,s,甲乙";
        QTest::newRow("bigint") << "bigint(20)" << "number";
        QTest::newRow("date") << "date" << "none";
        QTest::newRow("decimal") << "decimal(10,2)" << "none";
        // First match wins: an enum whose values spell "char" is a text line.
        QTest::newRow("enum spelling char") << "enum('char','b')" << "text 0";
    }

    void classification()
    {
        QFETCH(QString, type);
        const columnKind kind = myTools::kindOf(type);
        QTEST(kind == columnKind::Text     ? "text " + QString::number(myTools::charLength(type))
              : kind == columnKind::Choice ? "choice " + myTools::enumValues(type).join(',')
              : kind == columnKind::Number ? "number" : "none", "shownAs");
    }

    void nextNumber_data()
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

    void nextNumber()
    {
        QFETCH(QStringList, existing);
        QFETCH(int, yearOffset);
        QFETCH(QString, expectedSerial);
        testSupport::resetDatabase();
        const QDate today = QDate::currentDate();
        for (const QString &row : existing) {
            const QStringList p = row.split(',');
            const int year = p[1] == "Y" ? today.year() : today.year() - 1;
            QVERIFY(testSupport::exec(QString("INSERT lease SET 地区='%1',年度=%2,编号=%3,登记日期='%2-03-01'")
                                          .arg(p[0]).arg(year).arg(p[2])));
        }
        QCOMPARE(myTools::nextRegisterNumber(myDatabase(), "330102", today.addYears(yearOffset)),
                 "330102" + today.toString("yyyy") + expectedSerial);
    }

    void fieldList()
    {
        testSupport::resetDatabase();
        QVERIFY(testSupport::exec("ALTER TABLE leasein ADD 工作单位 varchar(60) AFTER 承方名称"));
        const QStringList fields = myTools::fieldList(myDatabase()).split(',');
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
        QCOMPARE(myTools::fieldList(myDatabase()), QString());
        testSupport::connectAsRoot();
    }

    // Typed text reaches the server as typed, also on a session whose server
    // was configured to read backslashes literally, and a LIKE pattern
    // matches its text literally. Text the connection cannot carry (outside
    // the Basic Multilingual Plane) is recognised: a utf8 column refuses it.
    void typedText_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("unchanged"); // ordinary text keeps the statement as it was
        QTest::addColumn<bool>("fits");
        QTest::newRow("plain Chinese") << "城关镇人民路12号" << true << true;
        QTest::newRow("apostrophe") << "O'Brien" << false << true;
        QTest::newRow("statement-like") << "整改' WHERE 1=1 -- " << false << true;
        QTest::newRow("backslashes") << "C:\\new\\table\\01" << false << true;
        QTest::newRow("trailing backslash") << "ab\\" << false << true;
        QTest::newRow("backslash before quote") << "\\'" << false << true;
        QTest::newRow("wildcards") << "50%_off" << true << true;
        QTest::newRow("blanks only") << "   " << true << true;
        QTest::newRow("empty") << "" << true << true;
        QTest::newRow("extension B character") << QString::fromUcs4(U"\U00020BB7") << true << false;
        QTest::newRow("emoji inside") << QString::fromUcs4(U"房\U0001F3E0屋") << true << false;
    }

    void typedText()
    {
        QFETCH(QString, text);
        QFETCH(bool, unchanged);
        QFETCH(bool, fits);
        QVERIFY(testSupport::connectAsRoot());
        myDatabase db;
        QCOMPARE(sqlText::escaped(text) == text, unchanged);
        QCOMPARE(sqlText::fitsConnection(text), fits);
        QVERIFY(db.exec("CREATE OR REPLACE TEMPORARY TABLE fits (v varchar(40)) CHARSET utf8"));
        QSqlError error;
        QCOMPARE(db.exec("INSERT fits SET v=" + sqlText::quoted(text), &error), fits);
        if (!fits)
            return;
        // A server whose own mode reads backslashes literally: the session
        // set-up of every connection must put them back.
        QVERIFY(db.exec("SET GLOBAL sql_mode='NO_BACKSLASH_ESCAPES'"));
        QVERIFY(db.reopen());
        QVERIFY(db.exec("SET GLOBAL sql_mode=DEFAULT"));
        QCOMPARE(db.scalar("SELECT " + sqlText::quoted(text)).toString(), text);
        // Found literally inside a longer text, and only there.
        const QString around = "甲" + text + "乙";
        auto likes = [&](const QString &subject) {
            return db.scalar("SELECT " + sqlText::quoted(subject) + " LIKE '%" + sqlText::likeEscaped(text) + "%'")
                .toInt();
        };
        QCOMPARE(likes(around), 1);
        QCOMPARE(likes(QString(around).replace('%', 'x').replace('_', 'y')), text.contains('%') || text.contains('_') ? 0 : 1);
    }

    // Ordinary text (no quote, backslash or wildcard) gives the registration
    // and log statements letter for letter as offices' servers have always
    // received them; escaping may only change text that needs it.
    void ordinaryStatements_data()
    {
        QTest::addColumn<QString>("statement");
        QTest::addColumn<QString>("expected");
        const QString number = "330102202600001";
        const registrationSql::numberParts n = registrationSql::split(number);
        const registrationSql::leaseValues v{QDate(2026, 3, 1), QDate(2026, 3, 1), QDate(2027, 2, 28), 120};
        const QStringList lessor{"出方名称=" + registrationSql::textValue("张伟"), "出方电话=NULL"};
        QTest::newRow("new lease") << registrationSql::insertLease(n, v)
                                   << "INSERT lease SET 地区='330102',年度='2026',编号='00001',登记日期='2026-03-01',"
                                      "有效日起='2026-03-01',有效日止='2027-02-28',收费金额=120";
        QTest::newRow("changed lease") << registrationSql::updateLease(n, v)
                                       << "UPDATE lease SET 登记日期='2026-03-01',有效日起='2026-03-01',有效日止='2027-02-28',"
                                          "收费金额=120 WHERE 地区='330102' AND 年度='2026' AND 编号='00001'";
        QTest::newRow("new party row") << registrationSql::insertParty("leaseout", number, lessor)
                                       << "INSERT leaseout SET 登记编号='330102202600001',出方名称='张伟',出方电话=NULL";
        QTest::newRow("changed party row") << registrationSql::updateParty("leaseout", number, lessor)
                                           << "UPDATE leaseout SET 出方名称='张伟',出方电话=NULL WHERE 登记编号='330102202600001'";
        QTest::newRow("deletion") << registrationSql::deleteRegistration(n, number).join(';')
                                  << "DELETE FROM lease WHERE 地区='330102' AND 年度='2026' AND 编号='00001';"
                                     "DELETE FROM leaseout WHERE 登记编号='330102202600001';"
                                     "DELETE FROM leasein WHERE 登记编号='330102202600001';"
                                     "DELETE FROM leasehouse WHERE 登记编号='330102202600001'";
        QTest::newRow("log row") << operationLog::insertSql("张三", "增加" + number)
                                 << "INSERT INTO log SET 日期=NOW(),用户='张三',描述='增加330102202600001'";
        QTest::newRow("log row with a wildcard") << operationLog::insertSql("张三", "清理50%_之前业务数据")
                                                 << "INSERT INTO log SET 日期=NOW(),用户='张三',描述='清理50%_之前业务数据'";
    }
    void ordinaryStatements()
    {
        QFETCH(QString, statement);
        QFETCH(QString, expected);
        QCOMPARE(statement, expected);
    }

    void typedCells()
    {
        testSupport::resetDatabase();
        QVERIFY(testSupport::exec("CREATE TABLE typed (i int, b bigint, u int unsigned, d double, "
                                  "m decimal(10,2), dt date, ts datetime, s varchar(20))"));
        QVERIFY(testSupport::exec("INSERT typed VALUES (9,9000000000,7,1.5,12.50,'2026-03-01','2026-03-01 08:30:00','甲'),"
                                  "(NULL,NULL,NULL,NULL,NULL,NULL,NULL,NULL)"));
        QTableWidget table;
        mySqlQuery helper{myDatabase()};
        helper.setStatement("SELECT * FROM typed ORDER BY i"); // NULL row first
        helper.fillTable(&table);
        const QVariantList expected{9, Q_INT64_C(9000000000), 7u, 1.5, 12.5, QDate(2026, 3, 1),
                                    QDateTime(QDate(2026, 3, 1), QTime(8, 30)), QString("甲")};
        QCOMPARE(table.columnCount(), expected.size());
        for (int c = 0; c < expected.size(); ++c) {
            const QVariant cell = table.item(0, c)->data(Qt::DisplayRole); // the last row returned is shown first
            QVERIFY2(cell.type() == expected[c].type() && cell == expected[c], qPrintable(cell.toString()));
            // A missing value stays empty rather than reading as 0.
            QCOMPARE(table.item(1, c)->data(Qt::DisplayRole).toString(), QString());
        }
        QCOMPARE(table.horizontalHeaderItem(7)->text(), QString("s"));

        // A second fill goes above what is there and replaces the headers.
        helper.setStatement("SELECT 4 AS renamed, 'd' AS other");
        helper.fillTable(&table);
        QCOMPARE(table.rowCount(), 3);
        QCOMPARE(table.item(0, 0)->text() + table.item(1, 0)->text(), QString("49"));
        QCOMPARE(table.horizontalHeaderItem(0)->text(), QString("renamed"));
        // An empty field list, as browse builds it with nothing ticked.
        helper.setStatement("SELECT  FROM lease");
        helper.fillTable(&table);
        QCOMPARE(table.columnCount(), 0);
    }

    void copyBlock_data()
    {
        QTest::addColumn<QList<QRect>>("selection"); // (column,row,width,height)
        QTest::addColumn<QString>("copied");
        // The last cell holds a time, as the log viewer's first column does: a
        // copy pastes what the view shows, not its ISO form with "T" and milliseconds.
        const QString shownTime = "2026-11-23 12:48:52";
        QTest::newRow("2x3 block") << QList<QRect>{QRect(1, 1, 3, 2)} << "b1\tc1\td1\nb2\tc2\t" + shownTime;
        QTest::newRow("whole table") << QList<QRect>{QRect(0, 0, 4, 3)}
                                     << "a0\tb0\tc0\td0\na1\tb1\tc1\td1\na2\tb2\tc2\t" + shownTime;
        // Two selections: the block spans from the first to the last, gaps included.
        QTest::newRow("two selections") << QList<QRect>{QRect(0, 0, 1, 1), QRect(2, 1, 1, 1)} << "a0\tb0\tc0\na1\tb1\tc1";
        QTest::newRow("nothing selected") << QList<QRect>{} << "untouched";
    }

    void copyBlock()
    {
        QFETCH(QList<QRect>, selection);
        QStandardItemModel model(3, 4);
        for (int r = 0; r < 3; ++r)
            for (int c = 0; c < 4; ++c)
                model.setItem(r, c, new QStandardItem(QString(QChar('a' + c)) + QString::number(r)));
        model.item(2, 3)->setData(QDateTime(QDate(2026, 11, 23), QTime(12, 48, 52, 123)), Qt::DisplayRole);
        myTableView view;
        view.setModel(&model);
        for (const QRect &rect : selection)
            view.selectionModel()->select(QItemSelection(model.index(rect.top(), rect.left()),
                                                         model.index(rect.bottom(), rect.right())),
                                          QItemSelectionModel::Select);
        QApplication::clipboard()->setText("untouched");
        view.myCopyDataToClipoard();
        QTEST(QApplication::clipboard()->text(), "copied");
    }

    void reopenReportsFailure()
    {
        recordingReporter reports;
        myDatabase wrong("wrong");
        wrong.setAccount({"localhost", "root", "not-the-password", "mysql"});
        QVERIFY(!wrong.reopen());
        const QStringList seen = reports.take();
        QCOMPARE(seen.size(), 1);
        QVERIFY2(seen.first().startsWith("Database Error|Access denied for user 'root'"), qPrintable(seen.first()));
        QVERIFY(myDatabase().reopen());
        QCOMPARE(reports.take(), QStringList());
    }
};

int main(int argc, char **argv)
{
    QApplication app(argc, argv);
    testSupport::initApplication();
    tst_helpers test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_helpers.moc"
