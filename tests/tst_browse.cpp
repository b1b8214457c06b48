// Browsing by registration date with chosen fields over the real data model:
// the field tree, the rows and columns shown, the fee total, export through
// the file dialog, and opening a row in the record form.
#include "frmRegisterLease.h"
#include "frmViewLease.h"
#include "mainWindow.h"
#include "testSupport.h"
#include "tst_queryFixture.h"

#include <QDateEdit>
#include <QFileDialog>
#include <QLineEdit>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QPushButton>
#include <QStyledItemDelegate>
#include <QStatusBar>
#include <QTableWidget>
#include <QTemporaryDir>
#include <QTreeWidget>
#include <QtTest>

using testSupport::leaseRow;

class tst_browse : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void init();
    void cleanup();
    void cleanupTestCase() { delete m_window; }

    void fieldTreeFollowsSchema();
    void checkPropagation();
    void browse_data();
    void browse();
    void browseReplacesRows();
    void datesAreTypedAndShownIso();
    void feeTotal_data();
    void feeTotal();
    void exportThroughDialog();
    void exportCancelled();
    void detailOpensTickedNumber();

private:
    frmViewLease *openForm(const QDate &from = QDate(2026, 1, 1), const QDate &to = QDate(2026, 12, 31));
    void tickOnly(frmViewLease *form, const QStringList &fields);
    // Header line, then one line per row, cells joined by "|".
    QStringList shown(frmViewLease *form);

    mainWindow *m_window = nullptr;
};

void tst_browse::initTestCase()
{
    m_window = queryFixture::start();
    QVERIFY(m_window->workDate().isValid());
}

void tst_browse::init()
{
    queryFixture::clearLeases();
    // Inserted out of number order, so the order shown comes from the query.
    testSupport::insertLease(leaseRow{"370102202600023", "2026-02-10", 150, "王芳", "053188123456", "刘洋",
                                      "13700001111", "解放路3号"});
    testSupport::insertLease(leaseRow{"370102202600001", "2026-01-05", 120, "张伟", "13800138000", "李娜",
                                      "13912345678", "和平路12号"});
    // Lessor only: the lessee and house columns stay empty.
    testSupport::insertLease(leaseRow{"370102202600007", "2026-03-01", 80, "赵磊", "18600123456", "", "", ""});
    // No lessor row: never listed, but its fee counts.
    testSupport::insertLease(leaseRow{"370102202600002", "2026-01-20", 300, "", "", "张三", "", "和平路99号"});
    testSupport::insertLease(leaseRow{"370102202500001", "2025-12-31", 90, "钱六", "", "", "", ""});
}

void tst_browse::cleanup()
{
    queryFixture::closeForms(m_window);
}

frmViewLease *tst_browse::openForm(const QDate &from, const QDate &to)
{
    auto *form = new frmViewLease(m_window);
    m_window->openForm(form);
    form->fromDateEdit()->setDate(from);
    form->toDateEdit()->setDate(to);
    return form;
}

void tst_browse::tickOnly(frmViewLease *form, const QStringList &fields)
{
    QTreeWidget *tree = form->fieldTree();
    for (int t = 0; t < tree->topLevelItemCount(); ++t) {
        QTreeWidgetItem *top = tree->topLevelItem(t);
        top->setCheckState(0, Qt::Unchecked);
        // Ticked in reverse, to show the order comes from the tree.
        for (int c = top->childCount() - 1; c >= 0; --c) {
            QTreeWidgetItem *child = top->child(c);
            child->setCheckState(0, fields.contains(child->text(0)) ? Qt::Checked : Qt::Unchecked);
        }
    }
}

QStringList tst_browse::shown(frmViewLease *form)
{
    QTableWidget *table = form->resultTable();
    QStringList lines, cells;
    for (int c = 0; c < table->columnCount(); ++c)
        cells << table->horizontalHeaderItem(c)->text();
    lines << cells.join(QLatin1Char('|'));
    for (int r = 0; r < table->rowCount(); ++r) {
        cells.clear();
        for (int c = 0; c < table->columnCount(); ++c)
            cells << (table->item(r, c) ? table->item(r, c)->text() : QString());
        lines << cells.join(QLatin1Char('|'));
    }
    return lines;
}

static QStringList childTexts(QTreeWidgetItem *top)
{
    QStringList names;
    for (int c = 0; c < top->childCount(); ++c)
        names << top->child(c)->text(0);
    return names;
}

void tst_browse::fieldTreeFollowsSchema()
{
    // A column added by field maintenance shows up in the next form opened.
    QVERIFY(testSupport::exec(QStringLiteral("ALTER TABLE leasehouse ADD 楼层 int(11) DEFAULT 1 AFTER 房屋坐落")));
    frmViewLease *form = openForm();
    testSupport::exec(QStringLiteral("ALTER TABLE leasehouse DROP 楼层"));

    QTreeWidget *tree = form->fieldTree();
    QCOMPARE(tree->topLevelItemCount(), 4);
    QStringList tops;
    for (int t = 0; t < 4; ++t)
        tops << tree->topLevelItem(t)->text(0);
    QCOMPARE(tops, (QStringList{"基础信息", "出租方信息", "承租方信息", "房屋信息"}));
    QCOMPARE(childTexts(tree->topLevelItem(0)), (QStringList{"登记编号", "登记日期", "有效日起", "有效日止", "收费金额"}));
    QCOMPARE(childTexts(tree->topLevelItem(1)),
             (QStringList{"出方名称", "出方类别", "出方证件类型", "出方证件号码", "出方电话", "出方地址", "委托代理人"}));
    QCOMPARE(childTexts(tree->topLevelItem(2)),
             (QStringList{"承方名称", "承方类别", "承方证件类型", "承方证件号码", "承方电话", "户籍地址", "居住人数"}));
    QCOMPARE(childTexts(tree->topLevelItem(3)),
             (QStringList{"房屋坐落", "楼层", "房产证号", "房屋用途", "房屋结构", "建筑面积", "出租间数", "月租金",
                          "租金支付方式", "备注"}));
    QTreeWidgetItem *field = tree->topLevelItem(3)->child(1);
    QVERIFY(field->flags() & Qt::ItemIsUserCheckable);
    QVERIFY(field->flags() & Qt::ItemIsSelectable);
}

void tst_browse::checkPropagation()
{
    frmViewLease *form = openForm();
    tickOnly(form, {});
    QTreeWidgetItem *basic = form->fieldTree()->topLevelItem(0);
    QTreeWidgetItem *lessor = form->fieldTree()->topLevelItem(1);

    lessor->setCheckState(0, Qt::Checked);
    QCOMPARE(form->checkedFields(),
             (QStringList{"出方名称", "出方类别", "出方证件类型", "出方证件号码", "出方电话", "出方地址", "委托代理人"}));

    // A field's own change leaves its group alone.
    lessor->child(0)->setCheckState(0, Qt::Unchecked);
    QCOMPARE(lessor->checkState(0), Qt::Checked);
    QCOMPARE(form->checkedFields().size(), 6);

    basic->setCheckState(0, Qt::Checked);
    QCOMPARE(form->checkedFields().first(), QStringLiteral("登记编号"));
    basic->setCheckState(0, Qt::Unchecked);
    QVERIFY(!form->checkedFields().contains(QStringLiteral("登记编号")));
    QCOMPARE(form->checkedFields().size(), 6);
}

void tst_browse::browse_data()
{
    QTest::addColumn<QStringList>("fields");
    QTest::addColumn<QDate>("from");
    QTest::addColumn<QDate>("to");
    QTest::addColumn<QStringList>("lines");

    const QDate jan1(2026, 1, 1), dec31(2026, 12, 31);
    QTest::newRow("number and lessor, oldest first, lease without lessor left out")
        << QStringList{"出方名称", "登记编号"} << jan1 << dec31
        << QStringList{"登记编号|出方名称", "370102202600001|张伟", "370102202600007|赵磊",
                       "370102202600023|王芳"};
    QTest::newRow("missing lessee and house rows give empty cells")
        << QStringList{"房屋坐落", "收费金额", "承方电话", "登记日期"} << jan1 << dec31
        << QStringList{"登记日期|收费金额|承方电话|房屋坐落", "2026-01-05|120|13912345678|和平路12号",
                       "2026-03-01|80||", "2026-02-10|150|13700001111|解放路3号"};
    QTest::newRow("range bounds included")
        << QStringList{"登记编号"} << QDate(2025, 12, 31) << QDate(2026, 1, 5)
        << QStringList{"登记编号", "370102202500001", "370102202600001"};
    QTest::newRow("range without leases") << QStringList{"登记编号"} << QDate(2026, 6, 1) << dec31
                                          << QStringList{"登记编号"};
    QTest::newRow("nothing ticked: empty table") << QStringList{} << jan1 << dec31 << QStringList{""};
}

void tst_browse::browse()
{
    QFETCH(QStringList, fields);
    QFETCH(QDate, from);
    QFETCH(QDate, to);
    QFETCH(QStringList, lines);
    frmViewLease *form = openForm(from, to);
    QVERIFY(!form->exportButton()->isEnabled());
    tickOnly(form, fields);
    form->viewButton()->click();
    QCOMPARE(shown(form), lines);
    QVERIFY(form->exportButton()->isEnabled());
}

void tst_browse::browseReplacesRows()
{
    frmViewLease *form = openForm();
    tickOnly(form, {"登记编号"});
    form->viewButton()->click();
    form->viewButton()->click();
    QCOMPARE(form->resultTable()->rowCount(), 3);
}

void tst_browse::datesAreTypedAndShownIso()
{
    frmViewLease *form = openForm();
    tickOnly(form, {"登记日期", "收费金额"});
    form->viewButton()->click();
    QTableWidget *table = form->resultTable();
    const QVariant date = table->item(0, 0)->data(Qt::DisplayRole);
    const QVariant fee = table->item(0, 1)->data(Qt::DisplayRole);
    // Typed cells sort chronologically and numerically...
    QCOMPARE(date.userType(), int(QMetaType::QDate));
    QCOMPARE(fee.userType(), int(QMetaType::Int));
    // ...and are shown the way operators write dates, whatever the locale.
    auto *delegate = qobject_cast<QStyledItemDelegate *>(table->itemDelegate());
    QVERIFY(delegate);
    QCOMPARE(delegate->displayText(date, QLocale(QLocale::English)), QStringLiteral("2026-01-05"));
    QCOMPARE(delegate->displayText(fee, QLocale(QLocale::English)), QStringLiteral("120"));
}

void tst_browse::feeTotal_data()
{
    QTest::addColumn<QDate>("from");
    QTest::addColumn<QDate>("to");
    QTest::addColumn<QString>("text");
    QTest::newRow("whole year, lease without lessor included")
        << QDate(2026, 1, 1) << QDate(2026, 12, 31) << QStringLiteral("当前收费金额合计：650元");
    QTest::newRow("bounds included") << QDate(2025, 12, 31) << QDate(2026, 1, 5)
                                     << QStringLiteral("当前收费金额合计：210元");
    QTest::newRow("no lease: empty sum") << QDate(2026, 6, 1) << QDate(2026, 12, 31)
                                         << QStringLiteral("当前收费金额合计：元");
}

void tst_browse::feeTotal()
{
    QFETCH(QDate, from);
    QFETCH(QDate, to);
    QFETCH(QString, text);
    frmViewLease *form = openForm(from, to);
    modalWatcher watcher;
    form->sumButton()->click();
    QCOMPARE(watcher.boxes.size(), 1);
    QCOMPARE(watcher.lastTitle(), QStringLiteral("信息"));
    QCOMPARE(watcher.lastText(), text);
}

void tst_browse::exportThroughDialog()
{
    frmViewLease *form = openForm();
    tickOnly(form, {"登记编号", "出方名称", "收费金额"});
    form->viewButton()->click();

    // The dialog's own proposal is kept and only the folder changed: a file
    // name typed in before the dialog has listed its folder gets replaced by
    // the proposal once the listing arrives.
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("mydata.csv"));
    modalWatcher watcher;
    QStringList filters, proposed;
    watcher.handler = [&](QWidget *modal) {
        auto *dialog = qobject_cast<QFileDialog *>(modal);
        QVERIFY(dialog);
        filters = dialog->nameFilters();
        proposed = dialog->selectedFiles();
        dialog->setDirectory(dir.path());
        // QFileDialog makes accept() protected; it is QDialog's public slot.
        static_cast<QDialog *>(dialog)->accept();
    };
    form->exportButton()->click();

    QCOMPARE(watcher.lastTitle(), QStringLiteral("导出数据"));
    QCOMPARE(filters, (QStringList{"CSV(逗号分隔)(*.csv)", "文本文件 (*.txt)"}));
    QCOMPARE(proposed.size(), 1);
    QVERIFY(proposed.first().endsWith(QLatin1String("/mydata.csv")));
    QCOMPARE(m_window->statusBar()->currentMessage(), QStringLiteral("导出数据成功."));
    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadOnly));
    // GB18030, columns in tree order: 登记编号 收费金额 出方名称; 张伟, 赵磊, 王芳.
    QCOMPARE(file.readAll(),
             QByteArray("\xb5\xc7\xbc\xc7\xb1\xe0\xba\xc5,\xca\xd5\xb7\xd1\xbd\xf0\xb6\xee,"
                        "\xb3\xf6\xb7\xbd\xc3\xfb\xb3\xc6\n"
                        "'370102202600001,120,\xd5\xc5\xce\xb0\n"
                        "'370102202600007,80,\xd5\xd4\xc0\xda\n"
                        "'370102202600023,150,\xcd\xf5\xb7\xbc\n"));
}

void tst_browse::exportCancelled()
{
    frmViewLease *form = openForm();
    form->viewButton()->click();
    QTemporaryDir dir;
    m_window->statusBar()->clearMessage();
    modalWatcher watcher;
    watcher.handler = [&](QWidget *modal) {
        auto *dialog = qobject_cast<QFileDialog *>(modal);
        QVERIFY(dialog);
        dialog->setDirectory(dir.path());
        dialog->reject();
    };
    form->exportButton()->click();
    QCOMPARE(watcher.boxes.size(), 1);
    QVERIFY(QDir(dir.path()).isEmpty());
    QCOMPARE(m_window->statusBar()->currentMessage(), QString());
}

void tst_browse::detailOpensTickedNumber()
{
    m_window->slotRegisterLease();
    frmViewLease *form = openForm();
    tickOnly(form, {"登记编号", "出方名称"});
    form->viewButton()->click();
    form->resultTable()->setCurrentCell(2, 1);
    form->detailButton()->click();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);

    QList<frmRegisterLease *> records;
    for (QMdiSubWindow *sub : m_window->mdiArea()->subWindowList()) {
        if (auto *record = qobject_cast<frmRegisterLease *>(sub->widget()))
            records << record;
    }
    QCOMPARE(records.size(), 1);
    QCOMPARE(records.first()->numberEdit()->text(), QStringLiteral("370102202600023"));
    // The form loaded that registration, not only its number.
    QCOMPARE(records.first()->findChild<QLineEdit *>(QStringLiteral("line出方名称："))->text(), QStringLiteral("王芳"));
}

QTEST_MAIN(tst_browse)
#include "tst_browse.moc"
