// The registration workflow on the real server: the checks before a save,
// the save of all four tables and the log row in one transaction, what the
// operator reads when the server refuses, and two operators taking one number.
#include "recordFormDriver.h"
#include "testSupport.h"

#include <QDateEdit>
#include <QSqlError>
#include <QSqlQuery>
#include <QStatusBar>
#include <QtTest>
#include <memory>

using namespace recordForm;

class tst_registration : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase() { testSupport::initApplication(); }
    void init() { testSupport::resetDatabase(); }
    void cleanup() { m_window.reset(); }

    void checksBeforeSave_data();
    void checksBeforeSave();
    void addWritesEveryTable();
    void editKeepsColumnsWithoutField();
    void deleteRemovesRegistration();
    void refusedSaveWritesNothing_data();
    void refusedSaveWritesNothing();
    void sameNumberSavedOnce_data();
    void sameNumberSavedOnce();
    void abandonKeepsScreen();
    void refusedPrintFocusesNumber();

private:
    frmRegisterLease *login();
    // Rows of the four tables and the log, as one comparable text.
    static QString tableCounts();
    std::unique_ptr<mainWindow> m_window;
};

static const QString thisYear = QString::number(QDate::currentDate().year());
static const QString lastYear = QString::number(QDate::currentDate().year() - 1);

frmRegisterLease *tst_registration::login()
{
    m_window.reset(testSupport::login());
    if (m_window->operatorName().isEmpty())
        qFatal("login failed");
    return open(m_window.get());
}

QString tst_registration::tableCounts()
{
    QStringList counts;
    for (const char *table : {"lease", "leaseout", "leasein", "leasehouse", "log"})
        counts << QString::number(testSupport::count(QString::fromLatin1(table)));
    return counts.join(QLatin1Char('/'));
}

static void setDates(const frmRegisterLease *form, const QDate &from, const QDate &until)
{
    widget<QDateEdit>(form, QStringLiteral("dateYXQ"))->setDate(from);
    widget<QDateEdit>(form, QStringLiteral("dateYXZ"))->setDate(until);
}

void tst_registration::checksBeforeSave_data()
{
    QTest::addColumn<QString>("mode");
    QTest::addColumn<QString>("number");
    QTest::addColumn<QDate>("validFrom"); // null: keep what the form shows
    QTest::addColumn<QDate>("validUntil");
    QTest::addColumn<QString>("warning"); // empty: the save goes through
    QTest::addColumn<bool>("focusNumber");

    const QString own = QStringLiteral("000000") + thisYear;
    const QDate d1(2024, 5, 1), d2(2024, 5, 2);
    const QString dates = QStringLiteral("有效期错误，请检查");
    const QString digits = QStringLiteral("登记编号错误，应为15位数字，请检查");
    const QString region = QStringLiteral("不是本地区登记编号，请检查");
    const QString crossYear = QStringLiteral("不能跨年度办理登记业务，请检查");

    QTest::newRow("增加: validity ends on its first day") << "增加" << own + "00001" << d1 << d1 << dates << false;
    QTest::newRow("增加: validity reversed") << "增加" << own + "00001" << d2 << d1 << dates << false;
    QTest::newRow("增加: 14 digits") << "增加" << own + "0001" << QDate() << QDate() << digits << true;
    QTest::newRow("增加: other region") << "增加" << "110101" + thisYear + "00001" << QDate() << QDate() << region
                                      << true;
    QTest::newRow("增加: last year's number") << "增加" << "000000" + lastYear + "00009" << QDate() << QDate()
                                           << crossYear << true;
    QTest::newRow("增加: accepted") << "增加" << own + "00001" << QDate() << QDate() << "" << false;
    QTest::newRow("修改: validity reversed") << "修改" << own + "00003" << d2 << d1 << dates << false;
    // While changing or deleting, the number field is disabled and cannot take the focus.
    QTest::newRow("修改: other region") << "修改" << "110101" + thisYear + "00002" << QDate() << QDate() << region
                                      << false;
    QTest::newRow("修改: last year's record") << "修改" << "000000" + lastYear + "00004" << QDate() << QDate() << ""
                                           << false;
    QTest::newRow("删除: stored validity reversed") << "删除" << own + "00005" << QDate() << QDate() << dates << false;
    QTest::newRow("删除: other region") << "删除" << "110101" + thisYear + "00002" << QDate() << QDate() << region
                                      << false;
    QTest::newRow("删除: last year's record") << "删除" << "000000" + lastYear + "00004" << QDate() << QDate() << ""
                                           << false;
}

void tst_registration::checksBeforeSave()
{
    QFETCH(QString, mode);
    QFETCH(QString, number);
    QFETCH(QDate, validFrom);
    QFETCH(QDate, validUntil);
    QFETCH(QString, warning);
    QFETCH(bool, focusNumber);

    testSupport::insertLease({"000000" + thisYear + "00003", thisYear + "-02-01", 120, "甲", "", "乙", "", "丙"});
    testSupport::insertLease({"000000" + lastYear + "00004", lastYear + "-12-30", 120, "甲", "", "乙", "", "丙"});
    testSupport::insertLease({"110101" + thisYear + "00002", thisYear + "-02-01", 120, "甲", "", "乙", "", "丙"});
    testSupport::insertLease({"000000" + thisYear + "00005", thisYear + "-02-01", 120, "甲", "", "乙", "", "丙"});
    testSupport::exec("UPDATE lease SET 有效日起='2024-06-01',有效日止='2024-01-01' WHERE 编号=5");

    frmRegisterLease *form = login();
    if (mode == QStringLiteral("增加")) {
        click(form, QStringLiteral("增加(&A)"));
        fillRequired(form);
        form->numberEdit()->setText(number);
    } else {
        show(form, number);
        QCOMPARE(form->numberEdit()->text(), number);
        click(form, mode == QStringLiteral("修改") ? QStringLiteral("修改(&M)") : QStringLiteral("删除(&D)"));
    }
    QCOMPARE(form->mode(), mode);
    if (validFrom.isValid())
        setDates(form, validFrom, validUntil);
    form->setFocus();

    const QString before = tableCounts();
    modalWatcher watcher;
    click(form, QStringLiteral("确定(&Y)"));
    if (warning.isEmpty()) {
        QCOMPARE(watcher.boxes.size(), 0);
        QCOMPARE(form->mode(), QStringLiteral("正常"));
        QCOMPARE(m_window->statusBar()->currentMessage(), QStringLiteral("数据保存OK."));
        QCOMPARE(testSupport::count("log WHERE 描述='" + mode + number + "'"), 1);
        return;
    }
    QCOMPARE(watcher.boxes.size(), 1);
    QCOMPARE(watcher.lastTitle(), QStringLiteral("警告"));
    QCOMPARE(watcher.lastText(), warning);
    QCOMPARE(form->mode(), mode);
    QCOMPARE(tableCounts(), before);
    QCOMPARE(form->focusWidget() == form->numberEdit(), focusNumber);
}

void tst_registration::addWritesEveryTable()
{
    frmRegisterLease *form = login();
    click(form, QStringLiteral("增加(&A)"));
    const QString number = form->numberEdit()->text();
    QCOMPARE(number, "000000" + thisYear + "00001");
    setLine(form, "出方名称", "张伟");
    setLine(form, "出方电话", "13812345678");
    setLine(form, "出方地址", "北京市朝阳区建国路88号");
    widget<QComboBox>(form, "comb出方类别：")->setCurrentText("单位");
    setLine(form, "承方名称", "李娜");
    widget<QSpinBox>(form, "spin居住人数：")->setValue(4);
    setLine(form, "房屋坐落", "城关镇人民路12号3单元502室");
    widget<QComboBox>(form, "comb租金支付方式：")->setCurrentText("季付");
    widget<QSpinBox>(form, "spin月租金：")->setValue(1800);
    widget<QSpinBox>(form, "spinFee")->setValue(200);
    setDates(form, QDate(2025, 3, 1), QDate(2026, 2, 28));
    modalWatcher watcher;
    click(form, QStringLiteral("确定(&Y)"));
    QCOMPARE(watcher.boxes.size(), 0);
    QCOMPARE(form->mode(), QStringLiteral("正常"));
    QCOMPARE(m_window->statusBar()->currentMessage(), QStringLiteral("数据保存OK."));

    const QString where = " WHERE 登记编号='" + number + "'";
    QCOMPARE(testSupport::scalar("SELECT CONCAT_WS('|',登记日期,有效日起,有效日止,收费金额) FROM lease WHERE "
                                 "CONCAT(地区,年度*100000+编号)='" + number + "'").toString(),
             m_window->workDate().toString("yyyy-MM-dd") + "|2025-03-01|2026-02-28|200");
    QCOMPARE(testSupport::scalar("SELECT CONCAT_WS('|',出方名称,出方类别,出方证件类型,出方电话,出方地址,"
                                 "IFNULL(出方证件号码,'NULL')) FROM leaseout" + where).toString(),
             QString("张伟|单位|居民身份证|13812345678|北京市朝阳区建国路88号|NULL"));
    QCOMPARE(testSupport::scalar("SELECT CONCAT_WS('|',承方名称,居住人数,IFNULL(承方电话,'NULL')) FROM leasein" + where)
                 .toString(),
             QString("李娜|4|NULL"));
    QCOMPARE(testSupport::scalar("SELECT CONCAT_WS('|',房屋坐落,建筑面积,月租金,租金支付方式) FROM leasehouse" + where)
                 .toString(),
             QString("城关镇人民路12号3单元502室|60|1800|季付"));
    QCOMPARE(testSupport::count("log WHERE 用户='root' AND 描述='增加" + number + "'"), 1);
}

void tst_registration::editKeepsColumnsWithoutField()
{
    const QString number = "000000" + thisYear + "00006";
    testSupport::insertLease({number, thisYear + "-02-01", 120, "张伟", "13800000000", "", "", "人民路1号"});
    testSupport::exec("ALTER TABLE leaseout ADD 签约日期 date");
    testSupport::exec("UPDATE leaseout SET 签约日期='2025-01-15'");
    testSupport::exec("UPDATE leasehouse SET 备注='朝南，带车位'");
    frmRegisterLease *form = login();
    QVERIFY(!form->findChild<QWidget *>("line签约日期："));
    show(form, number);
    click(form, QStringLiteral("修改(&M)"));
    setLine(form, "出方电话", "13911112222");
    setLine(form, "房屋坐落", "人民路2号");
    modalWatcher watcher;
    click(form, QStringLiteral("确定(&Y)"));
    QCOMPARE(watcher.boxes.size(), 0);
    QCOMPARE(form->mode(), QStringLiteral("正常"));

    const QString where = " WHERE 登记编号='" + number + "'";
    QCOMPARE(testSupport::scalar("SELECT CONCAT_WS('|',出方电话,签约日期) FROM leaseout" + where).toString(),
             QString("13911112222|2025-01-15"));
    QCOMPARE(testSupport::scalar("SELECT CONCAT_WS('|',房屋坐落,备注) FROM leasehouse" + where).toString(),
             QString("人民路2号|朝南，带车位"));
    // An update does not create the missing lessee row.
    QCOMPARE(testSupport::count("leasein"), 0);
    QCOMPARE(testSupport::count("log WHERE 描述='修改" + number + "'"), 1);
    // Loading again shows the saved values and leaves the unshown ones alone.
    show(form, number);
    QCOMPARE(line(form, "出方电话"), QString("13911112222"));
    QCOMPARE(testSupport::scalar("SELECT 签约日期 FROM leaseout").toDate(), QDate(2025, 1, 15));
}

void tst_registration::deleteRemovesRegistration()
{
    const QString number = "000000" + thisYear + "00007";
    const QString other = "000000" + thisYear + "00008";
    testSupport::insertLease({number, thisYear + "-02-01", 120, "张伟", "", "李娜", "", "人民路1号"});
    testSupport::insertLease({other, thisYear + "-02-01", 120, "赵强", "", "钱敏", "", "人民路3号"});
    frmRegisterLease *form = login();
    show(form, number);
    click(form, QStringLiteral("删除(&D)"));
    QCOMPARE(line(form, "出方名称"), QString("张伟")); // still visible while armed
    click(form, QStringLiteral("确定(&Y)"));
    QCOMPARE(form->mode(), QStringLiteral("正常"));
    QCOMPARE(line(form, "出方名称"), QString());
    QCOMPARE(tableCounts(), QString("1/1/1/1/2")); // the other registration and login + 删除
    QCOMPARE(testSupport::count("leaseout WHERE 登记编号='" + other + "'"), 1);
    QCOMPARE(testSupport::count("log WHERE 描述='删除" + number + "'"), 1);
}

void tst_registration::refusedSaveWritesNothing_data()
{
    QTest::addColumn<QString>("alter");
    QTest::addColumn<QString>("field");
    QTest::addColumn<QString>("bad");
    QTest::addColumn<QString>("good");
    QTest::addColumn<QString>("message");

    // The lessee insert is the third statement: lease and lessor went in before it.
    QTest::newRow("required column empty") << "" << "line承方名称：" << "" << "李娜"
                                           << "“承方名称”不允许空，请修正后保存。";
    QTest::newRow("number out of range") << "ALTER TABLE leasehouse MODIFY 建筑面积 smallint(6) DEFAULT 60"
                                         << "spin建筑面积：" << "70000" << "120"
                                         << "“建筑面积”超出允许范围，请修正后保存。";
    QTest::newRow("quote in a text") << "" << "line出方地址：" << "王府井'大街" << "王府井大街"
                                     << "You have an error in your SQL syntax; check the manual that corresponds to "
                                        "your MariaDB server version for the right syntax to use near '大街',"
                                        "委托代理人=NULL' at line 1";
}

void tst_registration::refusedSaveWritesNothing()
{
    QFETCH(QString, alter);
    QFETCH(QString, field);
    QFETCH(QString, bad);
    QFETCH(QString, good);
    QFETCH(QString, message);
    if (!alter.isEmpty())
        QVERIFY(testSupport::exec(alter));
    frmRegisterLease *form = login();
    click(form, QStringLiteral("增加(&A)"));
    fillRequired(form);
    const auto enter = [&](const QString &value) {
        if (auto *spin = form->findChild<QSpinBox *>(field))
            spin->setValue(value.toInt());
        else
            widget<QLineEdit>(form, field)->setText(value);
    };
    enter(bad);
    const QString before = tableCounts();
    QCOMPARE(before, QString("0/0/0/0/1"));

    modalWatcher watcher;
    click(form, QStringLiteral("确定(&Y)"));
    QCOMPARE(watcher.boxes.size(), 1);
    QCOMPARE(watcher.lastTitle(), QStringLiteral("错误"));
    QCOMPARE(watcher.lastText(), message);
    QCOMPARE(tableCounts(), before);
    // The form is as the operator left it, ready for a correction.
    QCOMPARE(form->mode(), QStringLiteral("增加"));
    QCOMPARE(shown(form, field), bad);
    QCOMPARE(line(form, "出方名称"), QString("张伟"));

    enter(good);
    click(form, QStringLiteral("确定(&Y)"));
    QCOMPARE(watcher.boxes.size(), 1);
    QCOMPARE(form->mode(), QStringLiteral("正常"));
    QCOMPARE(tableCounts(), QString("1/1/1/1/2"));
}

void tst_registration::sameNumberSavedOnce_data()
{
    QTest::addColumn<bool>("otherConnection");
    QTest::newRow("two forms") << false;
    QTest::newRow("another operator's connection") << true;
}

void tst_registration::sameNumberSavedOnce()
{
    QFETCH(bool, otherConnection);
    frmRegisterLease *second = login();
    click(second, QStringLiteral("增加(&A)"));
    const QString number = second->numberEdit()->text();
    fillRequired(second);
    setLine(second, "出方名称", "后来者");

    if (otherConnection) {
        // The other workstation allocated the same number and saved first.
        {
            QSqlDatabase other = QSqlDatabase::addDatabase("QMYSQL", "other");
            other.setHostName("localhost");
            other.setUserName("root");
            other.setDatabaseName("zelnor");
            QVERIFY(other.open());
            QVERIFY(other.transaction());
            QSqlQuery q(other);
            QVERIFY(q.exec("INSERT lease SET 地区='000000',年度=" + thisYear + ",编号=1,登记日期=CURDATE(),收费金额=120"));
            QVERIFY(q.exec("INSERT leaseout SET 登记编号='" + number + "',出方名称='先到者'"));
            QVERIFY(other.commit());
        }
        QSqlDatabase::removeDatabase("other");
    } else {
        frmRegisterLease *first = open(m_window.get());
        click(first, QStringLiteral("增加(&A)"));
        QCOMPARE(first->numberEdit()->text(), number);
        fillRequired(first);
        setLine(first, "出方名称", "先到者");
        click(first, QStringLiteral("确定(&Y)"));
        QCOMPARE(first->mode(), QStringLiteral("正常"));
    }

    modalWatcher watcher;
    second->setFocus();
    click(second, QStringLiteral("确定(&Y)"));
    QCOMPARE(watcher.boxes.size(), 1);
    QCOMPARE(watcher.lastTitle(), QStringLiteral("错误"));
    QCOMPARE(watcher.lastText(), QStringLiteral("已有此登记编号，请修正后再试保存。"));
    QCOMPARE(second->mode(), QStringLiteral("增加"));
    QCOMPARE(second->focusWidget(), second->numberEdit());
    QCOMPARE(testSupport::count("lease"), 1);
    QCOMPARE(testSupport::scalar("SELECT 出方名称 FROM leaseout WHERE 登记编号='" + number + "'").toString(),
             QString("先到者"));
    QCOMPARE(testSupport::count("log WHERE 描述 LIKE '增加%'"), otherConnection ? 0 : 1);
}

void tst_registration::abandonKeepsScreen()
{
    const QString number = "000000" + thisYear + "00009";
    testSupport::insertLease({number, thisYear + "-02-01", 120, "张伟", "", "李娜", "", "人民路1号"});
    frmRegisterLease *form = login();
    show(form, number);
    click(form, QStringLiteral("修改(&M)"));
    setLine(form, "出方名称", "改过的名字");
    click(form, QStringLiteral("放弃(&N)"));
    QCOMPARE(form->mode(), QStringLiteral("正常"));
    // Nothing is reloaded and nothing written.
    QCOMPARE(line(form, "出方名称"), QString("改过的名字"));
    QCOMPARE(form->numberEdit()->text(), number);
    QCOMPARE(testSupport::scalar("SELECT 出方名称 FROM leaseout").toString(), QString("张伟"));

    click(form, QStringLiteral("增加(&A)"));
    setLine(form, "出方名称", "新的");
    click(form, QStringLiteral("放弃(&N)"));
    QCOMPARE(form->numberEdit()->text(), QString());
    QCOMPARE(line(form, "出方名称"), QString("新的"));
    QCOMPARE(tableCounts(), QString("1/1/1/1/1"));
}

void tst_registration::refusedPrintFocusesNumber()
{
    frmRegisterLease *form = login();
    modalWatcher watcher; // the print engine explains its refusal in a box
    button(form, QStringLiteral("退出(&E)"))->setFocus();
    click(form, QStringLiteral("打印(&P)"));
    QCOMPARE(form->focusWidget(), form->numberEdit());
}

QTEST_MAIN(tst_registration)
#include "tst_registration.moc"
