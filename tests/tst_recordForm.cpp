// The record form as built from the live schema: its fields, loading a
// registration, resetting for a new one and the buttons of each mode.
#include "appSettings.h"
#include "recordFormDriver.h"
#include "testSupport.h"

#include <QDateEdit>
#include <QLabel>
#include <QStatusBar>
#include <QtTest>
#include <memory>

using namespace recordForm;

class tst_recordForm : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase() { testSupport::initApplication(); }
    void init();
    void cleanup() { m_window.reset(); }

    void fieldsInTableOrder();
    void followsSchemaChanges_data();
    void followsSchemaChanges();
    void loadShowsStoredValues_data();
    void loadShowsStoredValues();
    void missingPartyRowLoadsEmpty_data();
    void missingPartyRowLoadsEmpty();
    void loadAfterColumnDropped();
    void partialNumberKeepsRecord();
    void buttonStates_data();
    void buttonStates();
    void armingNeedsFifteenDigits_data();
    void armingNeedsFifteenDigits();
    void addProposesNumberDatesAndFee();
    void requiredFieldCheck();

private:
    frmRegisterLease *login();
    std::unique_ptr<mainWindow> m_window;
};

static const QString numberA = QStringLiteral("000000202500012");
static const QString numberB = QStringLiteral("000000202500013");

// Registration A with every party column filled with values that differ from
// the fields' defaults, so a field that is not loaded shows.
static void insertFullRecordA()
{
    testSupport::exec(QStringLiteral(
        "INSERT lease SET 地区='000000',年度=2025,编号=12,登记日期='2025-03-02',有效日起='2025-03-01',"
        "有效日止='2026-02-28',收费金额=260"));
    testSupport::exec(QStringLiteral(
        "INSERT leaseout SET 登记编号='000000202500012',出方名称='张伟',出方类别='单位',出方证件类型='营业执照',"
        "出方证件号码='110105198001011234',出方电话='13812345678',出方地址='北京市朝阳区建国路88号',委托代理人='王芳'"));
    testSupport::exec(QStringLiteral(
        "INSERT leasein SET 登记编号='000000202500012',承方名称='李娜',承方类别='单位',承方证件类型='护照',"
        "承方证件号码='E12345678',承方电话='0571-87654321',户籍地址='浙江省杭州市西湖区',居住人数=3"));
    testSupport::exec(QStringLiteral(
        "INSERT leasehouse SET 登记编号='000000202500012',房屋坐落='城关镇人民路12号3单元502室',房产证号='房权证字第0012号',"
        "房屋用途='商业',房屋结构='钢混',建筑面积=88,出租间数=2,月租金=1500,租金支付方式='季付',备注='朝南'"));
}

void tst_recordForm::init()
{
    testSupport::resetDatabase();
}

frmRegisterLease *tst_recordForm::login()
{
    m_window.reset(testSupport::login());
    if (m_window->operatorName().isEmpty())
        qFatal("login failed");
    return open(m_window.get());
}

void tst_recordForm::fieldsInTableOrder()
{
    frmRegisterLease *form = login();
    // The number and the text column 备注 have no row; the rest in table order.
    // Each label is its field's buddy, and the field is named kind + label.
    QStringList fields;
    for (QLabel *l : widget<QGroupBox>(form, QStringLiteral("leasehouse"))->findChildren<QLabel *>())
        fields << (l->buddy() ? l->buddy()->objectName() : l->text());
    QCOMPARE(fields, QStringList({"line房屋坐落：", "line房产证号：", "comb房屋用途：", "comb房屋结构：", "spin建筑面积：",
                                  "spin出租间数：", "spin月租金：", "comb租金支付方式："}));
    QCOMPARE(widget<QLineEdit>(form, QStringLiteral("line房屋坐落："))->toolTip(), QStringLiteral("不允许空"));
    QCOMPARE(widget<QSpinBox>(form, QStringLiteral("spin月租金："))->value(), 500);
    QCOMPARE(form->windowTitle(), QStringLiteral("登记备案"));
    QCOMPARE(form->mode(), QStringLiteral("正常"));
}

void tst_recordForm::followsSchemaChanges_data()
{
    QTest::addColumn<QString>("alter");
    QTest::addColumn<QString>("name");    // expected widget, empty when none
    QTest::addColumn<QString>("absent");  // a name that must no longer exist
    QTest::addColumn<QString>("detail");  // kind-specific expectation
    QTest::newRow("required text added") << "ALTER TABLE leaseout ADD 紧急联系人 varchar(20) NOT NULL"
                                         << "line紧急联系人：" << "" << "20 不允许空";
    QTest::newRow("optional text added") << "ALTER TABLE leasein ADD 工作单位 char(8)" << "line工作单位：" << ""
                                         << "8 ";
    QTest::newRow("choice added") << "ALTER TABLE leasein ADD 婚姻状况 enum('未婚','已婚') AFTER 承方名称"
                                  << "comb婚姻状况：" << "" << "未婚,已婚";
    QTest::newRow("number without default") << "ALTER TABLE leasein ADD 年龄 int(11)" << "spin年龄：" << ""
                                            << "1";
    QTest::newRow("text retyped to number") << "ALTER TABLE leasehouse MODIFY 房产证号 int(11) DEFAULT 7"
                                            << "spin房产证号：" << "line房产证号：" << "7";
    QTest::newRow("choice values changed")
        << "ALTER TABLE leasehouse MODIFY 房屋结构 enum('框架','砖混')" << "comb房屋结构：" << "" << "框架,砖混";
    QTest::newRow("dropped") << "ALTER TABLE leaseout DROP 委托代理人" << "" << "line委托代理人：" << "";
    QTest::newRow("date added: no field") << "ALTER TABLE leasehouse ADD 交房日期 date" << ""
                                          << "line交房日期：" << "";
}

void tst_recordForm::followsSchemaChanges()
{
    QFETCH(QString, alter);
    QFETCH(QString, name);
    QFETCH(QString, absent);
    QFETCH(QString, detail);
    login();
    QVERIFY(testSupport::exec(alter));
    // Two forms opened after the change both follow it.
    for (int i = 0; i < 2; ++i) {
        frmRegisterLease *form = open(m_window.get());
        if (!absent.isEmpty())
            QVERIFY(!form->findChild<QWidget *>(absent));
        if (name.isEmpty()) {
            const QString column = absent.mid(4).chopped(1);
            for (QWidget *w : form->findChildren<QWidget *>())
                QVERIFY2(!w->objectName().contains(column), qPrintable(w->objectName()));
            continue;
        }
        QWidget *w = widget<QWidget>(form, name);
        if (auto *line = qobject_cast<QLineEdit *>(w))
            QCOMPARE(QString::number(line->maxLength()) + QLatin1Char(' ') + line->toolTip(), detail);
        else if (auto *combo = qobject_cast<QComboBox *>(w)) {
            QStringList items;
            for (int k = 0; k < combo->count(); ++k)
                items << combo->itemText(k);
            QCOMPARE(items.join(QLatin1Char(',')), detail);
        } else {
            QCOMPARE(QString::number(qobject_cast<QSpinBox *>(w)->value()), detail);
        }
    }
}

void tst_recordForm::loadShowsStoredValues_data()
{
    QTest::addColumn<bool>("perField");
    QTest::newRow("one statement per table") << false;
    QTest::newRow("one statement per field") << true;
}

void tst_recordForm::loadShowsStoredValues()
{
    QFETCH(bool, perField);
    insertFullRecordA();
    frmRegisterLease *form = login();
    form->setLoadStrategy(perField ? frmRegisterLease::loadStrategy::PerField
                                   : frmRegisterLease::loadStrategy::PerTable);
    // The operator picked 军官证 on this form earlier: loading keeps it.
    widget<QComboBox>(form, QStringLiteral("comb承方证件类型："))->setCurrentText(QStringLiteral("军官证"));

    QVERIFY(form->loadRecord(numberA));
    QCOMPARE(form->numberEdit()->text(), numberA);
    QCOMPARE(widget<QDateEdit>(form, QStringLiteral("dateDJRQ"))->date(), QDate(2025, 3, 2));
    QCOMPARE(widget<QDateEdit>(form, QStringLiteral("dateYXQ"))->date(), QDate(2025, 3, 1));
    QCOMPARE(widget<QDateEdit>(form, QStringLiteral("dateYXZ"))->date(), QDate(2026, 2, 28));
    QCOMPARE(widget<QSpinBox>(form, QStringLiteral("spinFee"))->value(), 260);

    const QList<QPair<QString, QString>> expected = {
        {"line出方名称：", "张伟"}, {"line出方证件号码：", "110105198001011234"}, {"line出方电话：", "13812345678"},
        {"line出方地址：", "北京市朝阳区建国路88号"}, {"line委托代理人：", "王芳"}, {"line承方名称：", "李娜"},
        {"line承方证件号码：", "E12345678"}, {"line承方电话：", "0571-87654321"}, {"line户籍地址：", "浙江省杭州市西湖区"},
        {"spin居住人数：", "3"}, {"line房屋坐落：", "城关镇人民路12号3单元502室"}, {"line房产证号：", "房权证字第0012号"},
        {"spin建筑面积：", "88"}, {"spin出租间数：", "2"}, {"spin月租金：", "1500"},
        // Choice boxes are not editable: they keep what the form showed
        // before, not the stored 单位, 营业执照, 商业 …
        {"comb出方类别：", "个人"}, {"comb出方证件类型：", "居民身份证"}, {"comb承方证件类型：", "军官证"},
        {"comb房屋用途：", "住宅"}, {"comb租金支付方式：", "月付"}};
    for (const auto &e : expected)
        QCOMPARE(shown(form, e.first), e.second);
    QCOMPARE(form->mode(), QStringLiteral("正常"));
    QVERIFY(!form->loadRecord(QStringLiteral("000000202599999")));
    QCOMPARE(line(form, QStringLiteral("出方名称")), QStringLiteral("张伟"));
}

void tst_recordForm::missingPartyRowLoadsEmpty_data() { loadShowsStoredValues_data(); }

void tst_recordForm::missingPartyRowLoadsEmpty()
{
    QFETCH(bool, perField);
    insertFullRecordA();
    testSupport::insertLease({numberB, "2025-04-01", 120, "赵强", "13900001111", "", "", ""});
    frmRegisterLease *form = login();
    form->setLoadStrategy(perField ? frmRegisterLease::loadStrategy::PerField
                                   : frmRegisterLease::loadStrategy::PerTable);
    show(form, numberA);
    show(form, numberB);
    QCOMPARE(form->numberEdit()->text(), numberB);
    QCOMPARE(line(form, QStringLiteral("出方名称")), QStringLiteral("赵强"));
    QCOMPARE(line(form, QStringLiteral("委托代理人")), QString()); // NULL in an existing row
    QCOMPARE(line(form, QStringLiteral("承方名称")), QString());
    QCOMPARE(line(form, QStringLiteral("户籍地址")), QString());
    QCOMPARE(line(form, QStringLiteral("房屋坐落")), QString());
    for (const char *spin : {"spin居住人数：", "spin建筑面积：", "spin出租间数：", "spin月租金："})
        QCOMPARE(shown(form, QString::fromUtf8(spin)), QStringLiteral("1"));
}

void tst_recordForm::loadAfterColumnDropped()
{
    insertFullRecordA();
    frmRegisterLease *form = login();
    // Another supervisor drops a column while this form is open: the rest of
    // the lessor still loads, only the vanished field is left empty.
    QVERIFY(testSupport::exec(QStringLiteral("ALTER TABLE leaseout DROP 出方地址")));
    show(form, numberA);
    QCOMPARE(line(form, QStringLiteral("出方名称")), QStringLiteral("张伟"));
    QCOMPARE(line(form, QStringLiteral("委托代理人")), QStringLiteral("王芳"));
    QCOMPARE(line(form, QStringLiteral("出方地址")), QString());
    QCOMPARE(line(form, QStringLiteral("承方名称")), QStringLiteral("李娜"));
}

void tst_recordForm::partialNumberKeepsRecord()
{
    insertFullRecordA();
    frmRegisterLease *form = login();
    show(form, numberA);
    QLineEdit *number = form->numberEdit();
    number->clear();
    QTest::keyClicks(number, QStringLiteral("0000002025"));
    QCOMPARE(line(form, QStringLiteral("出方名称")), QStringLiteral("张伟"));
    QVERIFY(button(form, QStringLiteral("修改(&M)"))->isEnabled());
    QTest::keyClicks(number, QStringLiteral("x00012"));
    QCOMPARE(number->text(), numberA); // digits only
    QCOMPARE(line(form, QStringLiteral("房屋坐落")), QStringLiteral("城关镇人民路12号3单元502室"));
    number->selectAll();
    QTest::keyClick(number, Qt::Key_Delete);
    QVERIFY(!button(form, QStringLiteral("修改(&M)"))->isEnabled());
    QVERIFY(!button(form, QStringLiteral("删除(&D)"))->isEnabled());
}

void tst_recordForm::buttonStates_data()
{
    QTest::addColumn<QStringList>("steps");
    QTest::addColumn<QString>("mode");
    QTest::addColumn<QStringList>("enabled");
    const QStringList fields = {"登记日期", "有效期", "金额", "出租人", "承租人", "房屋信息"};
    QTest::newRow("正常, no number") << QStringList() << "正常"
                                     << QStringList({"增加", "打印", "退出", "编号"});
    QTest::newRow("正常, record shown") << QStringList({"load"}) << "正常"
                                       << QStringList({"增加", "修改", "删除", "打印", "退出", "编号"});
    QTest::newRow("增加") << QStringList({"增加(&A)"}) << "增加"
                        << QStringList({"确定", "放弃", "退出", "编号"}) + fields;
    QTest::newRow("修改") << QStringList({"load", "修改(&M)"}) << "修改"
                        << QStringList({"确定", "放弃", "退出"}) + fields;
    QTest::newRow("删除") << QStringList({"load", "删除(&D)"}) << "删除" << QStringList({"确定", "放弃", "退出"});
    QTest::newRow("增加 given up") << QStringList({"增加(&A)", "放弃(&N)"}) << "正常"
                                 << QStringList({"增加", "打印", "退出", "编号"});
    QTest::newRow("修改 given up") << QStringList({"load", "修改(&M)", "放弃(&N)"}) << "正常"
                                 << QStringList({"增加", "修改", "删除", "打印", "退出", "编号"});
}

void tst_recordForm::buttonStates()
{
    QFETCH(QStringList, steps);
    QFETCH(QString, mode);
    QFETCH(QStringList, enabled);
    insertFullRecordA();
    frmRegisterLease *form = login();
    for (const QString &step : steps) {
        if (step == QLatin1String("load"))
            show(form, numberA);
        else
            click(form, step);
    }
    QCOMPARE(form->mode(), mode);
    const QList<QPair<QString, QWidget *>> widgets = {
        {"增加", button(form, "增加(&A)")}, {"修改", button(form, "修改(&M)")}, {"删除", button(form, "删除(&D)")},
        {"确定", button(form, "确定(&Y)")}, {"放弃", button(form, "放弃(&N)")}, {"打印", button(form, "打印(&P)")},
        {"退出", button(form, "退出(&E)")}, {"编号", form->numberEdit()},
        {"登记日期", widget<QWidget>(form, "dateDJRQ")}, {"有效期", widget<QWidget>(form, "dateYXZ")},
        {"金额", widget<QWidget>(form, "spinFee")}, {"出租人", widget<QWidget>(form, "leaseout")},
        {"承租人", widget<QWidget>(form, "leasein")}, {"房屋信息", widget<QWidget>(form, "leasehouse")}};
    QStringList actual;
    for (const auto &w : widgets)
        if (w.second->isEnabled())
            actual << w.first;
    QCOMPARE(actual, enabled);
    QCOMPARE(widget<QWidget>(form, "dateYXQ")->isEnabled(), enabled.contains("有效期"));
}

void tst_recordForm::armingNeedsFifteenDigits_data()
{
    QTest::addColumn<QString>("buttonText");
    QTest::newRow("修改") << "修改(&M)";
    QTest::newRow("删除") << "删除(&D)";
}

void tst_recordForm::armingNeedsFifteenDigits()
{
    QFETCH(QString, buttonText);
    insertFullRecordA();
    frmRegisterLease *form = login();
    show(form, numberA);
    form->numberEdit()->setText(numberA.left(14));
    form->slotEditLinDJBH(numberA.left(14));
    click(form, buttonText);
    QCOMPARE(form->mode(), QStringLiteral("正常"));
    QCOMPARE(m_window->statusBar()->currentMessage(), QStringLiteral("当前登记编号错误!"));
    QCOMPARE(form->focusWidget(), form->numberEdit());
}

void tst_recordForm::addProposesNumberDatesAndFee()
{
    insertFullRecordA();
    const int year = QDate::currentDate().year();
    const QString prefix = QStringLiteral("000000") + QString::number(year);
    // Highest serial 7; the deleted 3 is not reused.
    testSupport::insertLease({prefix + "00007", QString::number(year) + "-01-05", 120, "甲", "", "", "", ""});
    appSettings::open()->setValue(QStringLiteral("/ZELNOR/Price"), 150);
    frmRegisterLease *form = login();
    show(form, numberA);
    widget<QSpinBox>(form, QStringLiteral("spinFee"))->setValue(999);
    click(form, QStringLiteral("增加(&A)"));
    appSettings::open()->remove(QStringLiteral("/ZELNOR/Price"));

    const QDate today = m_window->workDate();
    QCOMPARE(form->numberEdit()->text(), prefix + QStringLiteral("00008"));
    QCOMPARE(widget<QDateEdit>(form, QStringLiteral("dateDJRQ"))->date(), today);
    QCOMPARE(widget<QDateEdit>(form, QStringLiteral("dateYXQ"))->date(), QDate(today.year(), 1, 1));
    QCOMPARE(widget<QDateEdit>(form, QStringLiteral("dateYXZ"))->date(), QDate(today.year(), 12, 31));
    QCOMPARE(widget<QSpinBox>(form, QStringLiteral("spinFee"))->value(), 150);
    // Texts are cleared; numbers keep what the shown record had.
    QCOMPARE(line(form, QStringLiteral("出方名称")), QString());
    QCOMPARE(line(form, QStringLiteral("户籍地址")), QString());
    QCOMPARE(shown(form, QStringLiteral("spin建筑面积：")), QStringLiteral("88"));
}

void tst_recordForm::requiredFieldCheck()
{
    frmRegisterLease *form = login();
    click(form, QStringLiteral("增加(&A)"));
    modalWatcher watcher;
    setLine(form, QStringLiteral("出方名称"), QStringLiteral("张伟"));
    setLine(form, QStringLiteral("承方名称"), QStringLiteral("   "));
    QVERIFY(form->hasEmptyRequiredField());
    QCOMPARE(watcher.boxes.size(), 1);
    QCOMPARE(watcher.lastTitle(), QStringLiteral("错误"));
    QCOMPARE(watcher.lastText(), QStringLiteral("“承方名称”出现空值，请检查。"));
    QCOMPARE(form->focusWidget()->objectName(), QStringLiteral("line承方名称："));
    fillRequired(form);
    QVERIFY(!form->hasEmptyRequiredField());
    QCOMPARE(watcher.boxes.size(), 1);
}

QTEST_MAIN(tst_recordForm)
#include "tst_recordForm.moc"
