// An office's day, end to end, through the real main window on a server of
// its own that starts without the business database; the program's
// auto-start starts it at each login and its exit stops it. The steps run in
// order on one window; once one fails, the rest are skipped. The client
// library reads where the server is once per process: the day runs in a child.
#include "adminDriver.h"
#include "appSettings.h"
#include "frmClearData.h"
#include "frmLogin.h"
#include "frmManageSelectedItem.h"
#include "frmManageUser.h"
#include "frmSetField.h"
#include "frmSetPrintItem.h"
#include "frmViewLease.h"
#include "myTableView.h"
#include "myTools.h"
#include "objPrint.h"
#include "pdfText.h"
#include "recordFormDriver.h"
#include "testSupport.h"

#include <QtTest>
#include <QtWidgets>

using namespace recordForm;

namespace {

const QString region = QStringLiteral("330102"); // written into the settings file by the installer
const QString supervisor = QStringLiteral("钱主管");
const QString initialPassword = QStringLiteral("580213");
const QString deedColumn = QStringLiteral("产权证号");
const QString deedNumber = QStringLiteral("杭房权证字第0012号");
// The print layout, cell by cell; the font cell is set through its dialog.
const QStringList layoutRows{"出方名称||100,50|300,40|居左|无", "房屋用途||100,100|300,40|居中|无",
                             "收费金额||100,150|300,40|居右|金额大写", "leaseout.登记编号||500,50|200,40|居右|无"};
// How browse lists the registrations the day keeps, by serial, after the number and date.
const QStringList listed{"", "180|张伟|李娜|城关镇人民路12号", "200|王芳|刘洋|解放路3号", "150|孙丽|周强|延安路8号",
                         "150|吴刚|郑敏|中山路66号"};
// What the day reads back of a registration from its four tables; a text
// left empty must be stored as NULL.
const QString storedColumns = QStringLiteral("登记日期,有效日起,有效日止,收费金额,出方名称,IFNULL(出方电话,'NULL'),"
                                             "承方名称,IFNULL(承方电话,'NULL'),房屋坐落,房屋用途");

// Types one cell as an operator does: its editor (a line, a choice box, or
// the font button whose dialog the watcher answers) opens, takes the value and is committed.
void typeCell(QTableWidget *table, int row, int column, const QString &value)
{
    const QModelIndex index = table->model()->index(row, column);
    table->setCurrentIndex(index);
    table->edit(index);
    QWidget *editor = table->indexWidget(index);
    QVERIFY2(editor, qPrintable(QStringLiteral("no editor in row %1 column %2").arg(row).arg(column)));
    if (auto *line = qobject_cast<QLineEdit *>(editor)) {
        line->setText(value);
    } else if (auto *combo = qobject_cast<QComboBox *>(editor)) {
        QVERIFY2(combo->findText(value) >= 0, qPrintable(value));
        combo->setCurrentText(value);
    } else if (auto *button = qobject_cast<QPushButton *>(editor)) {
        QCOMPARE(button->text(), QStringLiteral("设置"));
        button->click();
    }
    emit table->itemDelegate()->commitData(editor);
    emit table->itemDelegate()->closeEditor(editor);
}

} // namespace

class tst_officeDay : public QObject
{
    Q_OBJECT

    std::unique_ptr<mainWindow> m_window;
    std::unique_ptr<modalWatcher> m_boxes;
    QTemporaryDir m_dir;
    const QString m_server = qEnvironmentVariable("MYSQL_HOME"); // the day's own server
    QString m_failedStep;
    int m_year = 0;
    QStringList m_log; // every row the day has written so far, in order

    bool choose(const QString &text)
    {
        QAction *action = testSupport::menuAction(m_window.get(), text);
        if (!action || !action->isEnabled())
            return false;
        action->trigger();
        return true;
    }

    template <typename Form>
    Form *open(const QString &text) { return testSupport::openThrough<Form>(m_window.get(), text); }

    frmRegisterLease *openRegistration(int serial)
    {
        auto *form = open<frmRegisterLease>("登记备案");
        if (form)
            QTest::keyClicks(form->numberEdit(), number(serial)); // each key loads, the fifteenth finds it
        return form;
    }

    frmRegisterLease *startAdding(int serial, const QString &lessor, const QString &lessee, const QString &location)
    {
        auto *form = open<frmRegisterLease>("登记备案");
        if (!form)
            return nullptr;
        click(form, "增加");
        setLine(form, "出方名称", lessor);
        setLine(form, "承方名称", lessee);
        setLine(form, "房屋坐落", location);
        const QString offered = form->numberEdit()->text();
        return QTest::qCompare(offered, number(serial), "offered", "number(serial)", __FILE__, __LINE__) ? form : nullptr;
    }

    // 确定 saves without a box, the form is back in 正常 and the log row is due.
    void saves(frmRegisterLease *form, const QString &action)
    {
        const QString saved = form->numberEdit()->text();
        click(form, "确定");
        QCOMPARE(m_boxes->take(), QStringList());
        QCOMPARE(m_window->statusBar()->currentMessage(), QString("数据保存OK."));
        QCOMPARE(form->mode(), QString("正常"));
        expectLog(action + saved);
    }

    // Logs in through the open login form: refused when level is empty, else
    // in at that level. Starting the server, where the login had to, must not
    // take the whole ceiling.
    void login(const QString &name, const QString &password, const QString &level)
    {
        QElapsedTimer timer;
        timer.start();
        testSupport::submitLogin(m_window.get(), name, password);
        QVERIFY2(timer.elapsed() < frmLogin::serverStartWaitMs / 2, qPrintable(QString::number(timer.elapsed())));
        QCOMPARE(m_boxes->take(), QStringList());
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QCOMPARE(m_window->findChild<frmLogin *>() != nullptr, level.isEmpty()); // there for another try
        if (level.isEmpty())
            return;
        QCOMPARE(statusLabels().mid(3), (QStringList{"操作员：" + name, "权限：" + level}));
        expectLog("登录系统");
        QCOMPARE(testSupport::logRows(), m_log);
        // The maximised size arrives from the platform a little later; forms
        // opened before it would be placed in the smaller window.
        const QSize screen = m_window->screen()->availableGeometry().size();
        QVERIFY2(QTest::qWaitFor([&] { return m_window->frameGeometry().size() == screen; }, 2000),
                 qPrintable(QStringLiteral("%1x%2").arg(m_window->width()).arg(m_window->height())));
    }

    // 退    出: its log row is written and the server this run started stops.
    // With again, the program is started anew and shows its login form.
    void exitProgram(bool again)
    {
        QProcess *started = m_window->serverProcess(); // never deleted: the program keeps it for the exit
        QVERIFY(started && started->state() == QProcess::Running);
        QVERIFY(choose("退    出"));
        QVERIFY(!m_window->isVisible());
        expectLog("退出系统");
        QVERIFY(QTest::qWaitFor([&] { return started->state() == QProcess::NotRunning; }, 10000));
        QVERIFY(!QFile::exists(m_server + "/mysqld.pid"));
        if (!again)
            return;
        m_window.reset(new mainWindow);
        m_window->show();
    }

    QStringList statusLabels() const
    {
        QStringList labels;
        for (const QLabel *label : m_window->statusBar()->findChildren<QLabel *>())
            labels << label->text();
        return labels;
    }

    // Registrations as browse lists them from the first of the year.
    QStringList browsed()
    {
        auto *form = open<frmViewLease>("浏览查询");
        if (!form)
            return {QStringLiteral("浏览查询 not usable")};
        form->viewButton()->click();
        return testSupport::tableLines(form->resultTable());
    }

    QString number(int serial) const
    {
        return region + QString::number(m_year) + QString::number(serial).rightJustified(5, '0');
    }

    QString day(int offset = 0) const { return m_window->workDate().addDays(offset).toString("yyyy-MM-dd"); }

    QString browseLine(int serial) const { return number(serial) + "|" + day() + "|" + listed[serial]; }

    QString stored(int serial, const QString &columns = storedColumns) const
    {
        return testSupport::registration(number(serial), columns);
    }

    QString counts(int n) const { return QStringLiteral("%1/%1/%1/%1/%2").arg(n).arg(m_log.size()); }

    void expectLog(const QString &description) { m_log << m_window->operatorName() + "|" + description; }

private slots:
    void initTestCase()
    {
        testSupport::initApplication();
        QVERIFY(m_dir.isValid());
        testSupport::removeSettingsFile();
        auto settings = appSettings::open();
        settings->setValue("Register/Region", region);
        settings->setValue("Server/Address", "localhost");
        settings->setValue("Server/AutoStart", true);
        settings->setValue("Server/AutoStop", true);
        settings->setValue("Server/BinDir", QString("\"%1\" run \"%2\"").arg(testSupport::serverScript(), m_server));
        objPrint::setPdfOutputForTests(m_dir.filePath("certificate.pdf"));
    }

    void init()
    {
        if (!m_failedStep.isEmpty())
            QSKIP(qPrintable("the day stopped at " + m_failedStep));
        m_boxes.reset(new modalWatcher);
    }

    // The operator closes what the step opened, so the next step finds only its own.
    void cleanup()
    {
        if (QTest::currentTestFailed())
            m_failedStep = QString::fromLatin1(QTest::currentTestFunction());
        m_boxes.reset();
        if (m_window)
            m_window->mdiArea()->closeAllSubWindows();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }

    void firstLoginCreatesTheDatabase()
    {
        m_window.reset(new mainWindow);
        m_window->show();
        QCOMPARE(testSupport::enabledActions(m_window.get()), (QStringList{"关于", "帮助说明", "设置背景图片", "退    出"}));
        QVERIFY(!QFile::exists(m_server + "/mysqld.pid")); // nothing runs until the login starts it
        login("root", QString(), "超级用户");
        m_year = m_window->workDate().year();
        // The working date is the server's.
        QCOMPARE(statusLabels().value(2), testSupport::scalar("SELECT CURDATE()").toDate().toString("yyyy-MM-dd"));
        QCOMPARE(testSupport::tableCounts(), counts(0)); // every table there, only the log written
    }

    void supervisorIsCreatedAndLogsIn()
    {
        auto *form = open<frmManageUser>("操作员管理");
        QVERIFY(form);
        adminDriver::addOperator(form, supervisor, "主管");
        QCOMPARE(m_boxes->take(), QStringList());
        expectLog("增加用户：" + supervisor);
        // The whole day from here on runs without root, on an account whose
        // grants make it a 主管 and whose name is hex-encoded.
        exitProgram(true);
        login(supervisor, initialPassword, "主管");
        QCOMPARE(m_window->database().userName(), myTools::accountName(supervisor));
    }

    void defaultFeeAndPrintLayoutAreSet()
    {
        QString asked;
        m_boxes->handler = [&](QWidget *modal) {
            auto *dialog = qobject_cast<QInputDialog *>(modal);
            asked = QString("%1|%2-%3|%4").arg(dialog->labelText()).arg(dialog->intMinimum())
                        .arg(dialog->intMaximum()).arg(dialog->intValue());
            dialog->setIntValue(150);
            dialog->accept();
        };
        QVERIFY(choose("默认收费金额"));
        QCOMPARE(m_boxes->take(), QStringList{"对话框|"});
        // The next registration proposes the fee set here (150, stored below).
        QCOMPARE(asked, QString("请输入默认收费金额（单位：元）　　|1-99999|120"));

        m_boxes->handler = [](QWidget *modal) {
            qobject_cast<QFontDialog *>(modal)->setCurrentFont(QFont(QStringLiteral("WenQuanYi Zen Hei"), 16));
            qobject_cast<QFontDialog *>(modal)->accept();
        };
        auto *form = open<frmSetPrintItem>("打印控制");
        QVERIFY(form);
        // A new office has no layout yet: an empty table and the usual page.
        QVERIFY(!form->table()->item(0, 0));
        QCOMPARE(form->paperEdit()->text() + form->leftEdit()->text() + form->topEdit()->text(), QString("A45050"));
        QVERIFY(form->landscapeButton()->isChecked() && !form->saveButton()->isEnabled());
        for (const char *field : {"出方名称", "房屋用途", "收费金额", "登记编号"})
            QVERIFY2(!form->fieldList()->findItems(field, Qt::MatchExactly).isEmpty(), field);
        for (int r = 0; r < layoutRows.size(); ++r)
            for (int c = 0; c < 6; ++c)
                typeCell(form->table(), r, c, layoutRows[r].section('|', c, c));
        form->leftEdit()->setText("30");
        form->topEdit()->setText("60");
        QVERIFY(form->saveButton()->isEnabled());
        QCOMPARE(form->table()->item(0, 1)->text(), QString("字样"));
        form->saveButton()->click();
        QCOMPARE(m_window->statusBar()->currentMessage(), QString("数据保存OK."));
        QVERIFY(!form->saveButton()->isEnabled());
        QCOMPARE(m_boxes->boxes.size(), layoutRows.size()); // one font dialog per row
        // The certificate shows where each item went; the font is read back here.
        for (const printItem &item : printLayout::load().items)
            QCOMPARE(item.font.family(), QString("WenQuanYi Zen Hei"));
    }

    void threeRegistrationsAreAdded()
    {
        frmRegisterLease *form = startAdding(1, "张伟", "李娜", "城关镇人民路12号");
        QVERIFY(form);
        setLine(form, "出方电话", "13805710001");
        widget<QComboBox>(form, "comb房屋用途：")->setCurrentText("商业");
        saves(form, "增加");
        const QString year = QString::number(m_year);
        QCOMPARE(stored(1), day() + "|" + year + "-01-01|" + year + "-12-31|150|张伟|13805710001|李娜|NULL|城关镇人民路12号|商业");

        form = startAdding(2, "王芳", "刘洋", "解放路3号");
        QVERIFY(form);
        setLine(form, "承方电话", "13912345678");
        widget<QSpinBox>(form, "spinFee")->setValue(200);
        widget<QDateEdit>(form, "dateYXQ")->setDate(m_window->workDate());
        widget<QDateEdit>(form, "dateYXZ")->setDate(m_window->workDate().addDays(1));
        saves(form, "增加");
        QCOMPARE(stored(2), day() + "|" + day() + "|" + day(1) + "|200|王芳|NULL|刘洋|13912345678|解放路3号|住宅");

        // An apostrophe is an ordinary character and is stored as typed.
        form = startAdding(3, "陈静", "赵'磊", "和平路99号");
        QVERIFY(form);
        saves(form, "增加");
        QCOMPARE(stored(3, "出方名称,承方名称"), QString("陈静|赵'磊"));
    }

    void oneIsChangedOneDeleted()
    {
        frmRegisterLease *form = openRegistration(1);
        QVERIFY(form);
        // Choice boxes show the form's own selection (住宅), not the stored 商业,
        // and a change saves what they show: the operator picks 商业 again.
        click(form, "修改");
        widget<QComboBox>(form, "comb房屋用途：")->setCurrentText("商业");
        setLine(form, "出方电话", "13805710002");
        widget<QSpinBox>(form, "spinFee")->setValue(180);
        saves(form, "修改");
        QCOMPARE(stored(1, "收费金额,出方名称,出方电话,房屋用途"), QString("180|张伟|13805710002|商业"));

        form = openRegistration(3);
        QVERIFY(form);
        click(form, "删除");
        saves(form, "删除");
        QCOMPARE(shown(form, "line出方名称："), QString()); // ready for the next one
        QCOMPARE(testSupport::tableCounts(), counts(2));
    }

    void registrationIsPrinted()
    {
        frmRegisterLease *form = openRegistration(1);
        QVERIFY(form);
        click(form, "打印");
        QCOMPARE(m_boxes->take(), QStringList());
        const QList<pdfText::page> pages = pdfText::read(m_dir.filePath("certificate.pdf"));
        QCOMPARE(pages.size(), 1);
        QCOMPARE(pages[0].size.toSize(), QSize(842, 595)); // A4 landscape
        QCOMPARE(pdfText::allText(pages[0]), "张伟" + number(1) + "商业壹佰捌拾元整");
        // Boxes are set in 1/96 inch from the margins on every desktop; the PDF speaks points.
        const double k = 0.75;
        const auto box = [&](int x, int y, int w) { return QRectF(QPointF(30 + x * k, 60 + y * k), QSizeF(w * k, 40 * k)); };
        pdfText::checkInBox(pages[0], "张伟", box(100, 50, 300), "居左");
        pdfText::checkInBox(pages[0], "商业", box(100, 100, 300), "居中");
        pdfText::checkInBox(pages[0], "壹佰捌拾元整", box(100, 150, 300), "居右");
        pdfText::checkInBox(pages[0], number(1), box(500, 50, 200), "居右");
    }

    void browseTotalsAndExports()
    {
        auto *form = open<frmViewLease>("浏览查询");
        QVERIFY(form);
        QCOMPARE(form->fromDateEdit()->date(), QDate(m_year, 1, 1));
        QCOMPARE(form->toDateEdit()->date(), m_window->workDate());
        form->viewButton()->click();
        const QStringList rows{"登记编号|登记日期|收费金额|出方名称|承方名称|房屋坐落", browseLine(1), browseLine(2)};
        QCOMPARE(testSupport::tableLines(form->resultTable()), rows);
        form->sumButton()->click();
        QCOMPARE(m_boxes->take(), QStringList{"信息|当前收费金额合计：380元"});

        QTemporaryDir dir;
        m_boxes->handler = adminDriver::fileDialogAnswer(dir.path() + "/"); // the proposed name mydata.csv stays
        form->exportButton()->click();
        QCOMPARE(m_boxes->take(), QStringList{"导出数据"});
        QCOMPARE(m_window->statusBar()->currentMessage(), QString("导出数据成功."));
        QFile file(dir.filePath("mydata.csv"));
        QVERIFY(file.open(QIODevice::ReadOnly));
        // GB18030, commas between cells, the long numbers kept as text by the apostrophe.
        QString csv = rows.join('\n').replace('|', ',') + '\n';
        csv.replace(number(1), "'" + number(1)).replace(number(2), "'" + number(2));
        QCOMPARE(file.readAll(), QTextCodec::codecForName("GB18030")->fromUnicode(csv));
    }

    void houseColumnAndPurposeChoiceAreAddedAndUsed()
    {
        auto *fields = open<frmSetField>("数据字段维护");
        QVERIFY(fields);
        fields->tableBox()->setCurrentIndex(fields->tableBox()->findData("leasehouse"));
        const QStringList before = adminDriver::gridColumn(fields->grid(), frmSetField::colName);
        adminDriver::fieldStep(fields, *m_boxes, "+" + deedColumn + "|varchar(30)|YES|");
        click(fields, "保存");
        QCOMPARE(m_boxes->take(), QStringList());
        QCOMPARE(m_window->statusBar()->currentMessage(), QString("保存OK."));
        QCOMPARE(adminDriver::gridColumn(fields->grid(), frmSetField::colName), before + QStringList{deedColumn});
        expectLog("维护数据字段");

        frmRegisterLease *record = startAdding(3, "孙丽", "周强", "延安路8号"); // the deleted one's number is free again
        QVERIFY(record);
        setLine(record, deedColumn, deedNumber);
        saves(record, "增加");
        QCOMPARE(stored(3, "房屋坐落," + deedColumn), "延安路8号|" + deedNumber);

        auto *items = open<frmManageSelectedItem>("选择项目维护");
        QVERIFY(items);
        items->fieldBox()->setCurrentText("房屋用途");
        adminDriver::choiceStep(items, "+商铺");
        click(items, "保存");
        QCOMPARE(m_boxes->take(), QStringList());
        QCOMPARE(m_window->statusBar()->currentMessage(), QString("保存OK"));

        record = startAdding(4, "吴刚", "郑敏", "中山路66号");
        QVERIFY(record);
        auto *purpose = widget<QComboBox>(record, "comb房屋用途：");
        QCOMPARE(purpose->itemText(purpose->count() - 1), QString("商铺"));
        purpose->setCurrentText("商铺");
        saves(record, "增加");
        QCOMPARE(stored(4, "房屋用途"), QString("商铺"));
    }

    void backupClearRestore()
    {
        const QStringList backedUp = browsed();
        QCOMPARE(backedUp.mid(1), (QStringList{browseLine(1), browseLine(2), browseLine(3), browseLine(4)}));
        // Named without an extension: the compressed kind, .sda, is added.
        m_boxes->handler = adminDriver::fileDialogAnswer(m_dir.filePath("zelnor-day"));
        QVERIFY(choose("备份业务数据"));
        QVERIFY(QTest::qWaitFor([&] { return !m_window->maintenanceRunning(); }, 60000));
        QCOMPARE(m_boxes->take(), QStringList{"备份业务数据"});
        QCOMPARE(m_window->statusBar()->currentMessage(), QString(" 信息：数据备份完成！"));
        QVERIFY(QFile::exists(m_dir.filePath("zelnor-day.sda")));
        const QStringList logAtBackup = m_log;

        auto *clear = open<frmClearData>("清理业务数据");
        QVERIFY(clear);
        clear->dateEdit()->setDate(m_window->workDate().addDays(1)); // everything registered before it
        QVERIFY(QTest::qWaitFor([&] { return clear->countLabel()->text().startsWith("将删除 4 条登记"); }));
        clear->yesButton()->click();
        QVERIFY(QTest::qWaitFor([&] { return !m_window->maintenanceRunning(); }, 60000));
        // The clearing says where the data it removed was kept.
        const QStringList told = m_boxes->take();
        QCOMPARE(told.size(), 1);
        QVERIFY2(told.first().startsWith("信息|数据清理OK。清理前的数据已自动备份到“") && told.first().endsWith("清理前.sda”，用它恢复即可撤销这次清理。"),
                 qPrintable(told.first()));
        QCOMPARE(m_window->statusBar()->currentMessage(), QString("数据清理OK"));
        expectLog("清理" + day(1) + "之前业务数据");
        QCOMPARE(testSupport::tableCounts(), counts(0));
        QCOMPARE(browsed(), backedUp.mid(0, 1)); // the header alone

        m_boxes->handler = adminDriver::fileDialogAnswer(m_dir.filePath("zelnor-day.sda"));
        QVERIFY(choose("恢复业务数据"));
        QVERIFY(QTest::qWaitFor([&] { return !m_window->maintenanceRunning(); }, 60000));
        const QStringList restored = m_boxes->take();
        QCOMPARE(restored.value(0), QString("打开备份数据文件："));
        // The completion names the automatic backup of what it replaced.
        QVERIFY2(restored.value(1).startsWith("信息|数据恢复完成，请重新登录！") && restored.value(1).contains("恢复前.sda")
                     && restored.size() == 2,
                 qPrintable(restored.join('\n')));
        QCOMPARE(m_window->statusBar()->currentMessage(), QString(" 信息：数据恢复完成，请重新登录！"));
        QCOMPARE(browsed(), backedUp);
        // The new column and its value, and the new choice, are back too.
        frmRegisterLease *form = openRegistration(3);
        QVERIFY(form);
        QCOMPARE(shown(form, "line" + deedColumn + "："), deedNumber);
        QCOMPARE(stored(4, "房屋用途"), QString("商铺"));
        // The log is part of the business data: the clearing's row went with it.
        m_log = logAtBackup;
        expectLog("恢复数据");
        QCOMPARE(testSupport::logRows(), m_log);
        QCOMPARE(testSupport::tableCounts(), counts(4));
    }

    void passwordIsChangedThenUsed()
    {
        QVERIFY(adminDriver::changePassword(m_window.get(), initialPassword, "day-one", "day-one"));
        QCOMPARE(m_boxes->take(), QStringList());
        QCOMPARE(m_window->statusBar()->currentMessage(), QString(" 密码修改成功！"));

        exitProgram(true);
        login(supervisor, initialPassword, QString()); // the server starts, then refuses it
        QCOMPARE(m_window->statusBar()->currentMessage(), QString("登录失败，姓名或密码错误"));
        login(supervisor, "day-one", "主管");
        QCOMPARE(m_window->statusBar()->currentMessage(), QString()); // the refusal is over
    }

    void logShowsEveryStepExitWritesItsRow()
    {
        auto *view = open<myTableView>("浏览日志");
        QVERIFY(view);
        QCOMPARE(view->windowTitle(), QString("浏览业务日志"));
        QStringList rows;
        for (int r = 0; r < view->model()->rowCount(); ++r)
            rows << view->model()->index(r, 1).data().toString() + "|" + view->model()->index(r, 2).data().toString();
        QCOMPARE(rows, m_log);
        // Every entry reads whole: when, who and what, without scrolling sideways.
        const QAbstractItemView *asView = view; // sizeHintForColumn is public there
        for (int c = 0; c < 3; ++c)
            QVERIFY2(view->columnWidth(c) >= asView->sizeHintForColumn(c), qPrintable(QString::number(c)));
        QVERIFY(QTest::qWaitFor([&] {
            return view->horizontalHeader()->length() <= view->viewport()->width()
                && !view->horizontalScrollBar()->isVisible();
        }, 2000));

        exitProgram(false);
        QCOMPARE(m_boxes->take(), QStringList());
        // The program has ended; its row is read with the server started again by hand.
        m_window.reset();
        QCOMPARE(QProcess::execute(testSupport::serverScript(), {"start", m_server}), 0);
        const bool reached = testSupport::connectAsRoot("zelnor");
        const QStringList stored = testSupport::logRows();
        QSqlDatabase::database().close();
        QProcess::execute(testSupport::serverScript(), {"stop", m_server});
        QVERIFY(reached);
        QCOMPARE(stored, m_log);
    }
};

int main(int argc, char *argv[])
{
    QApplication app(argc, argv);
    app.setAttribute(Qt::AA_Use96Dpi, true);
    if (!testSupport::isChild()) {
        QString output;
        const int code = testSupport::runOnPrivateServer(app.arguments().mid(1), "init", &output);
        fputs(output.toLocal8Bit().constData(), stdout);
        return code;
    }
    tst_officeDay day;
    QTEST_SET_MAIN_SOURCE_PATH
    return QTest::qExec(&day, argc, argv);
}
#include "tst_officeDay.moc"
