// The record form on the real server: fields from the live schema, loading,
// the buttons of each mode, the checks before a save, the save of four tables
// and the log in one transaction, and what the operator reads on a refusal.
#include "appSettings.h"
#include "leaseSql.h"
#include "recordFormDriver.h"
#include "testSupport.h"

#include <QtSql>
#include <QtTest>
#include <QtWidgets>

using namespace recordForm;

static const QString thisYear = QString::number(QDate::currentDate().year());
static const QString lastYear = QString::number(QDate::currentDate().year() - 1);
static const QString numberA = QStringLiteral("000000202500012");
// What 增加 and 修改 open for editing besides the two buttons.
static const QStringList editable{"dateDJRQ", "dateYXQ", "dateYXZ", "spinFee", "leaseout", "leasein", "leasehouse"};

// Every value the form shows but the number, as it reads on screen and in
// form order: the three dates, the party fields, the fee.
static QString formValues(const QWidget *form)
{
    QStringList values;
    for (QWidget *w : form->findChildren<QWidget *>())
        if (w->objectName().contains(QRegularExpression(QStringLiteral("：$|^date|^spinFee$"))))
            values << shown(form, w->objectName());
    return values.join(QLatin1Char('|'));
}

// Registration A with every party column filled with values that differ from
// the fields' defaults, so a field that is not loaded shows.
static void insertFullRecordA()
{
    testSupport::exec("INSERT lease SET 地区='000000',年度=2025,编号=12,登记日期='2025-03-02',有效日起='2025-03-01',"
                      "有效日止='2026-02-28',收费金额=260");
    testSupport::exec("INSERT leaseout SET 登记编号='000000202500012',出方名称='张伟',出方类别='单位',出方证件类型='营业执照',"
                      "出方证件号码='110105198001011234',出方电话='13812345678',出方地址='北京市朝阳区建国路88号',"
                      "委托代理人='王芳'");
    testSupport::exec("INSERT leasein SET 登记编号='000000202500012',承方名称='李娜',承方类别='单位',承方证件类型='护照',"
                      "承方证件号码='E12345678',承方电话='0571-87654321',户籍地址='浙江省杭州市西湖区',居住人数=3");
    testSupport::exec("INSERT leasehouse SET 登记编号='000000202500012',房屋坐落='城关镇人民路12号3单元502室',"
                      "房产证号='房权证字第0012号',房屋用途='商业',房屋结构='钢混',建筑面积=88,出租间数=2,月租金=1500,"
                      "租金支付方式='季付',备注='朝南'");
}

class tst_recordForm : public QObject
{
    Q_OBJECT
    std::unique_ptr<mainWindow> m_window;

    frmRegisterLease *login() { return loginAndOpen(m_window); }

private slots:
    void initTestCase() { testSupport::initApplication(); }
    void init() { testSupport::resetDatabase(); }
    void cleanup() { m_window.reset(); }

    void followsSchemaChanges_data()
    {
        QTest::addColumn<QString>("alter");
        QTest::addColumn<QString>("name");   // expected field, empty when none
        QTest::addColumn<QString>("absent"); // no widget's name may contain it
        QTest::addColumn<QString>("detail"); // length and tooltip, choices, or number
        QTest::newRow("required text added") << "ALTER TABLE leaseout ADD 紧急联系人 varchar(20) NOT NULL"
                                             << "line紧急联系人：" << "" << "20 不允许空";
        QTest::newRow("choice added") << "ALTER TABLE leasein ADD 婚姻状况 enum('未婚','已婚') AFTER 承方名称"
                                      << "comb婚姻状况：" << "" << "未婚,已婚";
        QTest::newRow("text retyped to number") << "ALTER TABLE leasehouse MODIFY 房产证号 int(11) DEFAULT 7"
                                                << "spin房产证号：" << "line房产证号：" << "7";
        QTest::newRow("dropped") << "ALTER TABLE leaseout DROP 委托代理人" << "" << "委托代理人" << "";
        QTest::newRow("date added") << "ALTER TABLE leasehouse ADD 交房日期 date" << "" << "交房日期" << "";
    }

    void followsSchemaChanges()
    {
        QFETCH(QString, alter);
        QFETCH(QString, name);
        QFETCH(QString, absent);
        QFETCH(QString, detail);
        login();
        QVERIFY(testSupport::exec(alter));
        // Every form opened after the change follows it, not only the first.
        for (int i = 0; i < 2; ++i) {
            frmRegisterLease *form = open(m_window.get());
            for (QWidget *w : form->findChildren<QWidget *>())
                QVERIFY2(absent.isEmpty() || !w->objectName().contains(absent), qPrintable(w->objectName()));
            if (name.isEmpty())
                continue;
            QWidget *w = widget(form, name);
            QString actual = shown(form, name); // a number, or the first choice
            if (auto *line = qobject_cast<QLineEdit *>(w))
                actual = QString::number(line->maxLength()) + QLatin1Char(' ') + line->toolTip();
            if (auto *combo = qobject_cast<QComboBox *>(w))
                for (int k = 1; k < combo->count(); ++k)
                    actual += QLatin1Char(',') + combo->itemText(k);
            QCOMPARE(actual, detail);
        }
    }

    void loadShowsStoredValues_data()
    {
        QTest::addColumn<bool>("perField");
        QTest::addColumn<QString>("dropped"); // lessor column dropped while the form is open
        QTest::newRow("one statement per table") << false << "";
        QTest::newRow("one statement per field") << true << "";
        QTest::newRow("column dropped while open") << false << "出方地址";
    }

    void loadShowsStoredValues()
    {
        QFETCH(bool, perField);
        QFETCH(QString, dropped);
        insertFullRecordA();
        // B has a lessor row with NULLs and neither a lessee nor a house row.
        testSupport::insertLease({"000000202500013", "2025-04-01", 120, "赵强", "13900001111", "", "", ""});
        frmRegisterLease *form = login();
        form->setLoadStrategy(perField ? frmRegisterLease::loadStrategy::PerField
                                       : frmRegisterLease::loadStrategy::PerTable);
        // The operator picked 军官证 on this form earlier.
        widget<QComboBox>(form, "comb承方证件类型：")->setCurrentText("军官证");
        if (!dropped.isEmpty())
            QVERIFY(testSupport::exec("ALTER TABLE leaseout DROP " + dropped));

        show(form, numberA);
        // Each choice shows what is stored (单位, 护照, 商业 …), not what was
        // chosen on the form before (军官证) or the list's first entry.
        QString a = "2025-03-02|2025-03-01|2026-02-28|张伟|单位|营业执照|110105198001011234|13812345678|北京市朝阳区建国路88号|王芳|"
                    "李娜|单位|护照|E12345678|0571-87654321|浙江省杭州市西湖区|3|"
                    "城关镇人民路12号3单元502室|房权证字第0012号|商业|钢混|88|2|1500|季付|260";
        if (!dropped.isEmpty()) // a vanished column empties only its own field
            a.replace("北京市朝阳区建国路88号", "");
        QCOMPARE(formValues(form), a);
        QVERIFY(!form->loadRecord("000000202599999"));
        QCOMPARE(formValues(form), a);

        // Without a lessee or house row their choices show no choice at all.
        show(form, "000000202500013");
        QCOMPARE(formValues(form), "2025-04-01|2025-01-01|2025-12-31|赵强|个人|居民身份证||13900001111|||"
                                   "||||||1|||||1|1|1||120");
    }

    // A change of one field writes back every other field as it was stored:
    // choices included, a value the list shows differently (its letters
    // e, n, u, m dropped) and a choice never made (NULL).
    void editKeepsStoredChoices_data()
    {
        QTest::addColumn<QString>("stored"); // 房屋用途 as stored; empty for NULL
        QTest::addColumn<QString>("shown");
        QTest::newRow("not the first choice") << "仓储" << "仓储";
        QTest::newRow("a value the list cannot show") << "Penthouse" << "Penthouse";
        QTest::newRow("nothing chosen") << "" << "";
    }

    void editKeepsStoredChoices()
    {
        QFETCH(QString, stored);
        QFETCH(QString, shown);
        QVERIFY(testSupport::exec("ALTER TABLE leasehouse MODIFY 房屋用途 "
                                  "enum('住宅','商业','办公','厂房','仓储','其他','Penthouse') DEFAULT '住宅'"));
        insertFullRecordA();
        QVERIFY(testSupport::exec("UPDATE leasehouse SET 房屋用途=" + (stored.isEmpty() ? "NULL" : "'" + stored + "'")));
        frmRegisterLease *form = login();
        // Another record chosen before: its choice must not carry over.
        widget<QComboBox>(form, "comb房屋用途：")->setCurrentText("办公");
        show(form, numberA);
        QCOMPARE(recordForm::shown(form, "comb房屋用途："), shown);
        click(form, "修改");
        setLine(form, "出方电话", "13800000000");
        click(form, "确定");
        QCOMPARE(form->mode(), QString("正常"));
        QCOMPARE(testSupport::scalar("SELECT IFNULL(房屋用途,'') FROM leasehouse").toString(), stored);
        QCOMPARE(testSupport::scalar("SELECT 出方电话 FROM leaseout").toString(), QString("13800000000"));
        // The value shown for this record only: the next one offers the list.
        show(form, "000000202500099");
        click(form, "增加");
        auto *choices = widget<QComboBox>(form, "comb房屋用途：");
        QCOMPARE(choices->count(), 7);
    }

    // Lookups by number go through the unique key; what they find must stay
    // what the number expression alone finds, including nothing at all for
    // texts that are not a whole number.
    void loadFindsOnlyItsNumber_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("registered"); // 登记日期 shown; empty: not found
        QTest::newRow("stored number") << numberA << "2025-03-02";
        QTest::newRow("same year and serial, other region") << "110101202500012" << "2025-05-05";
        QTest::newRow("same region and serial, other year") << "000000202400012" << "2024-06-06";
        QTest::newRow("serial 120, not 12") << "000000202500120" << "2025-07-07";
        QTest::newRow("13 digits") << numberA.left(13) << "";
        QTest::newRow("14 digits") << numberA.left(14) << "";
        QTest::newRow("16 digits") << numberA + "0" << "";
        QTest::newRow("letter in it") << "00000020250001a" << "";
        // The column collation ignores trailing blanks, in the expression too.
        QTest::newRow("trailing blank") << numberA + " " << "2025-03-02";
        QTest::newRow("leading blank") << " " + numberA << "";
    }

    void loadFindsOnlyItsNumber()
    {
        QFETCH(QString, text);
        QFETCH(QString, registered);
        insertFullRecordA();
        testSupport::insertLease({"110101202500012", "2025-05-05", 120, "钱七", "", "", ""});
        testSupport::insertLease({"000000202400012", "2024-06-06", 120, "孙八", "", "", ""});
        testSupport::insertLease({"000000202500120", "2025-07-07", 120, "周九", "", "", ""});

        frmRegisterLease *form = login();
        QCOMPARE(form->loadRecord(text), !registered.isEmpty());
        if (!registered.isEmpty())
            QCOMPARE(shown(form, "dateDJRQ"), registered);

        // The plan: one row through the key, or nothing read at all.
        QSqlQuery plan;
        QVERIFY(plan.exec("EXPLAIN SELECT 登记日期 FROM lease WHERE " + leaseSql::numberIs(text)));
        QVERIFY(plan.next());
        const QString type = plan.value("type").toString(), extra = plan.value("Extra").toString();
        QVERIFY2(type == "const" || extra.startsWith("Impossible WHERE") || extra.contains("no matching row"),
                 qPrintable(type + " " + extra));
    }

    void buttonStates_data()
    {
        QTest::addColumn<QStringList>("steps"); // buttons to click, or numbers to show
        QTest::addColumn<QString>("mode");
        QTest::addColumn<QStringList>("enabled");
        QTest::addColumn<QString>("status");
        const QStringList normal = {"增加", "打印", "linDJBH"}, shown = {"增加", "修改", "删除", "打印", "linDJBH"};
        const QString badNumber = "当前登记编号错误!";
        QTest::newRow("正常, no number") << QStringList() << "正常" << normal << "";
        QTest::newRow("正常, record shown") << QStringList({numberA}) << "正常" << shown << "";
        QTest::newRow("增加") << QStringList({"增加"}) << "增加" << QStringList({"确定", "放弃", "linDJBH"}) + editable << "";
        QTest::newRow("修改") << QStringList({numberA, "修改"}) << "修改" << QStringList({"确定", "放弃"}) + editable << "";
        QTest::newRow("删除") << QStringList({numberA, "删除"}) << "删除" << QStringList({"确定", "放弃"}) << "";
        QTest::newRow("增加 given up") << QStringList({"增加", "放弃"}) << "正常" << normal << "";
        QTest::newRow("修改 given up") << QStringList({numberA, "修改", "放弃"}) << "正常" << shown << "";
        QTest::newRow("修改, 14 digits") << QStringList({numberA, numberA.left(14), "修改"}) << "正常" << shown << badNumber;
    }

    void buttonStates()
    {
        QFETCH(QStringList, steps);
        QFETCH(QString, mode);
        QFETCH(QStringList, enabled);
        QFETCH(QString, status);
        insertFullRecordA();
        frmRegisterLease *form = login();
        for (const QString &step : steps)
            step.at(0).isDigit() ? show(form, step) : click(form, step);
        QCOMPARE(form->mode(), mode);
        QStringList actual;
        for (const QString &name : QStringList{"增加", "修改", "删除", "确定", "放弃", "打印", "linDJBH"} + editable) {
            QWidget *w = form->findChild<QWidget *>(name);
            if ((w ? w : button(form, name))->isEnabled())
                actual << name;
        }
        QCOMPARE(actual, enabled);
        if (!status.isEmpty()) {
            QCOMPARE(m_window->statusBar()->currentMessage(), status);
            QCOMPARE(form->focusWidget(), form->numberEdit());
        }
    }

    void addProposesDatesAndFee()
    {
        insertFullRecordA();
        appSettings::open()->setValue("/ZELNOR/Price", 150);
        frmRegisterLease *form = login();
        show(form, numberA);
        widget<QSpinBox>(form, "spinFee")->setValue(999);
        click(form, "增加");
        appSettings::open()->remove("/ZELNOR/Price");
        // The working date, this year's validity and the default fee; texts
        // are cleared while choices and numbers keep what the shown record had.
        const QString workYear = QString::number(m_window->workDate().year());
        QCOMPARE(formValues(form), m_window->workDate().toString("yyyy-MM-dd") + "|" + workYear + "-01-01|" + workYear
                                       + "-12-31||单位|营业执照||||||单位|护照||||3|||商业|钢混|88|2|1500|季付|150");
    }

    // A save refused by the form's own checks (警告) or by the server (错误)
    // writes nothing and leaves the form as the operator left it; after the
    // server's refusal the corrected value saves.
    void refusedSave_data()
    {
        QTest::addColumn<QString>("mode");
        QTest::addColumn<QString>("number"); // empty: the proposed one
        QTest::addColumn<QString>("alter");
        QTest::addColumn<QString>("field"); // linDJBH: another form saves the same new number first
        QTest::addColumn<QString>("bad");
        QTest::addColumn<QString>("good");
        QTest::addColumn<QString>("box"); // title|text
        QTest::addColumn<bool>("focusNumber");
        const QString own = "000000" + thisYear, region = "警告|不是本地区登记编号，请检查";
        const auto row = [](const char *name, const QString &mode, const QString &number, const QString &box,
                            bool focusNumber, const QString &field = {}, const QString &bad = {},
                            const QString &good = {}, const QString &alter = {}) {
            QTest::newRow(name) << mode << number << alter << field << bad << good << box << focusNumber;
        };
        row("增加: 14 digits", "增加", own + "0001", "警告|登记编号错误，应为15位数字，请检查", true);
        row("增加: other region", "增加", "110101" + thisYear + "00001", region, true);
        row("增加: last year", "增加", "000000" + lastYear + "00009", "警告|不能跨年度办理登记业务，请检查", true);
        // While changing or deleting, the number field is disabled and cannot take the focus.
        row("修改: other region", "修改", "110101" + thisYear + "00002", region, false);
        row("删除: stored validity reversed", "删除", own + "00005", "警告|有效期错误，请检查", false);
        // The lessee insert is the third statement: lease and lessor went in before it.
        row("required column empty", "增加", "", "错误|“承方名称”不允许空，请修正后保存。", false, "line承方名称：", "", "李娜");
        row("number out of range", "增加", "", "错误|“建筑面积”超出允许范围，请修正后保存。", false, "spin建筑面积：", "70000",
            "120", "ALTER TABLE leasehouse MODIFY 建筑面积 smallint(6) DEFAULT 60");
        // Refused before anything is sent.
        row("valid for its first day only", "增加", "", "警告|有效期错误，请检查", false, "dateYXZ", thisYear + "-01-01",
            thisYear + "-01-02");
        row("a character the database cannot store", "增加", "",
            "错误|“出方名称”中有数据库不能保存的字符（扩展区的生僻字或表情符号），请改用常用字后保存。", false, "line出方名称：",
            QString::fromUcs4(U"陈\U00020000静"), "陈静");
        // Another workstation saved the proposed number in the meantime: the
        // next free one takes its place, everything typed stays, and one more
        // 确定 saves.
        row("number taken by another form", "增加", "",
            "错误|已有此登记编号（" + own + "00006），可能是另一台工作站刚刚保存了它。已改用下一个可用编号 " + own
                + "00007，所填内容不变，请核对后再按“确定”保存。",
            false, "linDJBH", own + "00006", own + "00007");
    }

    void refusedSave()
    {
        QFETCH(QString, mode);
        QFETCH(QString, number);
        QFETCH(QString, alter);
        QFETCH(QString, field);
        QFETCH(QString, bad);
        QFETCH(QString, good);
        QFETCH(QString, box);
        QFETCH(bool, focusNumber);
        for (const QString &stored : {"00000000003", "11010100002", "00000000005"}) // region and serial
            testSupport::insertLease({stored.left(6) + thisYear + stored.mid(6), thisYear + "-02-01", 120, "甲", "", "乙", "", "丙"});
        testSupport::exec("UPDATE lease SET 有效日起='2024-06-01',有效日止='2024-01-01' WHERE 编号=5");
        if (!alter.isEmpty())
            QVERIFY(testSupport::exec(alter));
        frmRegisterLease *form = login();
        if (mode == "增加") {
            click(form, "增加");
            fillRequired(form);
            if (!number.isEmpty())
                form->numberEdit()->setText(number);
        } else {
            show(form, number);
            click(form, mode);
        }
        if (field == "linDJBH") { // both forms were offered the same number; the other one saves first
            frmRegisterLease *first = open(m_window.get());
            click(first, "增加");
            QCOMPARE(first->numberEdit()->text(), bad);
            fillRequired(first);
            click(first, "确定");
        }
        const auto enter = [&](const QString &value) {
            if (auto *spin = form->findChild<QSpinBox *>(field))
                spin->setValue(value.toInt());
            else if (auto *date = form->findChild<QDateEdit *>(field))
                date->setDate(QDate::fromString(value, Qt::ISODate));
            else if (!field.isEmpty())
                widget<QLineEdit>(form, field)->setText(value);
        };
        enter(bad);
        const QString before = testSupport::tableCounts(), shownBefore = formValues(form);
        modalWatcher watcher;
        form->setFocus();
        click(form, "确定");
        QCOMPARE(watcher.take(), QStringList{box});
        QCOMPARE(testSupport::tableCounts(), before);
        QCOMPARE(form->mode(), mode);
        QCOMPARE(formValues(form), shownBefore);
        QCOMPARE(form->focusWidget() == form->numberEdit(), focusNumber);
        if (good.isEmpty())
            return;
        if (field == "linDJBH") // put there by the form, not typed
            QCOMPARE(form->numberEdit()->text(), good);
        enter(good);
        click(form, "确定");
        QCOMPARE(watcher.take(), QStringList());
        QCOMPARE(form->mode(), QString("正常"));
        QCOMPARE(testSupport::tableCounts(), QString(field == "linDJBH" ? "5/5/5/5/3" : "4/4/4/4/2"));
    }

    // Last year's record can still be changed and deleted, the last field of
    // each table is written, and a column without a field survives a change.
    void editDeleteWriteTheTables()
    {
        const QString old = "000000" + lastYear + "00008";
        testSupport::insertLease({old, lastYear + "-02-01", 120, "赵强", "", "钱敏", "", "人民路3号"});
        frmRegisterLease *form = login();
        modalWatcher watcher;
        testSupport::exec("UPDATE leasehouse SET 备注='朝南，带车位' WHERE 登记编号='" + old + "'");
        show(form, old);
        click(form, "修改");
        setLine(form, "出方电话", "13911112222");
        setLine(form, "委托代理人", "王芳"); // the last field of its table, as 居住人数 is
        widget<QSpinBox>(form, "spin居住人数：")->setValue(5);
        setLine(form, "房屋坐落", "人民路2号");
        widget<QSpinBox>(form, "spinFee")->setValue(300);
        widget<QDateEdit>(form, "dateYXZ")->setDate(QDate(2026, 3, 31));
        click(form, "确定");
        QCOMPARE(testSupport::registration(old, "有效日止,收费金额,出方名称,出方电话,委托代理人,承方名称,居住人数,房屋坐落,备注"),
                 QString("2026-03-31|300|赵强|13911112222|王芳|钱敏|5|人民路2号|朝南，带车位"));

        click(form, "删除");
        click(form, "确定");
        QCOMPARE(watcher.boxes.size(), 0);
        QCOMPARE(testSupport::tableCounts(), QString("0/0/0/0/3"));
        QCOMPARE(testSupport::logRows().mid(1), (QStringList{"root|修改" + old, "root|删除" + old}));
    }
};

QTEST_MAIN(tst_recordForm)
#include "tst_recordForm.moc"
