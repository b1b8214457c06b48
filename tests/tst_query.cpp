// Browse and keyword search over the real data model: rows, columns, the fee
// total, the export, and opening a result in the record form.
#include "csvExport.h"
#include "desktopFit.h"
#include "frmRegisterLease.h"
#include "frmSearchLease.h"
#include "frmViewLease.h"
#include "mainWindow.h"
#include "mySqlQuery.h"
#include "testSupport.h"

#include <QtTest>
#include <QtWidgets>

using testSupport::leaseRow;

// Ticks the named fields and groups only. Fields are ticked in reverse, to
// show the column order comes from the tree.
static void tickOnly(frmViewLease *form, const QStringList &names)
{
    QTreeWidget *tree = form->fieldTree();
    for (int t = 0; t < tree->topLevelItemCount(); ++t) {
        QTreeWidgetItem *top = tree->topLevelItem(t);
        for (int c = top->childCount() - 1; c >= 0; --c)
            top->child(c)->setCheckState(0, names.contains(top->child(c)->text(0)) ? Qt::Checked : Qt::Unchecked);
        top->setCheckState(0, names.contains(top->text(0)) ? Qt::Checked : Qt::Unchecked);
    }
}

static QStringList search(frmSearchLease *form, const QString &keyword)
{
    form->keywordEdit()->setText(keyword);
    form->searchButton()->click();
    QStringList numbers;
    for (int r = 0; r < form->resultTable()->rowCount(); ++r)
        numbers << form->resultTable()->item(r, 0)->text();
    return numbers;
}

class tst_query : public QObject
{
    Q_OBJECT

    mainWindow *m_window = nullptr;

    template <typename Form>
    Form *openForm(const QDate &from = QDate(2026, 1, 1), const QDate &to = QDate(2026, 12, 31))
    {
        auto *form = new Form(m_window);
        m_window->openForm(form);
        form->fromDateEdit()->setDate(from);
        form->toDateEdit()->setDate(to);
        return form;
    }

private slots:
    void initTestCase()
    {
        testSupport::initApplication();
        QVERIFY(desktopFit::installQtTranslations(qApp));
        testSupport::resetDatabase();
        m_window = testSupport::login();
        // A column added by field maintenance while the program runs can be
        // browsed in the next form, in its place in the table.
        QVERIFY(testSupport::exec(QStringLiteral("ALTER TABLE leasehouse ADD 楼层 int(11) DEFAULT 1 AFTER 房屋坐落")));
    }
    void cleanupTestCase() { delete m_window; }

    void init()
    {
        for (const char *table : {"lease", "leaseout", "leasein", "leasehouse"})
            testSupport::exec(QStringLiteral("DELETE FROM ") + QLatin1String(table));
        // Inserted out of number order, so the order shown comes from the
        // query. The telephones hold other keywords: "00001" sits in 陈静's,
        // "123456" in a lessor's and a lessee's.
        testSupport::insertLease(leaseRow{"370102202600023", "2026-02-10", 150, "王芳", "053188123456", "刘洋",
                                          "13700001111", "解放路3号"});
        testSupport::insertLease(leaseRow{"370102202600001", "2026-01-05", 120, "张伟", "13800138000", "李娜",
                                          "13912345678", "和平路12号"});
        testSupport::insertLease(leaseRow{"370102202600123", "2026-03-15", 80, "陈静", "13512300001", "张小明", "",
                                          "人民路12a号"});
        // Lessor only: the lessee and house columns stay empty.
        testSupport::insertLease(leaseRow{"370102202612345", "2026-04-01", 200, "赵磊", "18600123456", "", "", ""});
        // No lessor row: neither browse nor search lists it, but its fee counts.
        testSupport::insertLease(leaseRow{"370102202600002", "2026-01-20", 300, "", "", "张三", "13800138000",
                                          "和平路99号"});
        // Last year's, on the day before the range most tests use.
        testSupport::insertLease(leaseRow{"370102202500001", "2025-12-31", 90, "张伟", "13800138000", "", "", ""});
    }

    void cleanup()
    {
        m_window->mdiArea()->closeAllSubWindows();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }

    void browse_data()
    {
        QTest::addColumn<QStringList>("ticked");
        QTest::addColumn<QDate>("from");
        QTest::addColumn<QDate>("to");
        QTest::addColumn<QStringList>("lines");
        QTest::addColumn<QString>("fees");
        QTest::newRow("tree order, oldest first, empty cells, lease without lessor left out but paid")
            << QStringList{"楼层", "承方电话", "房屋坐落", "出方名称", "登记编号"} << QDate(2026, 1, 1) << QDate(2026, 12, 31)
            << QStringList{"登记编号|出方名称|承方电话|房屋坐落|楼层", "370102202600001|张伟|13912345678|和平路12号|1",
                           "370102202600023|王芳|13700001111|解放路3号|1", "370102202600123|陈静||人民路12a号|1",
                           "370102202612345|赵磊|||"}
            << "当前收费金额合计：850元";
        QTest::newRow("a group ticks its fields; range bounds included")
            << QStringList{"基础信息"} << QDate(2025, 12, 31) << QDate(2026, 1, 5)
            << QStringList{"登记编号|登记日期|有效日起|有效日止|收费金额",
                           "370102202500001|2025-12-31|2025-01-01|2025-12-31|90",
                           "370102202600001|2026-01-05|2026-01-01|2026-12-31|120"}
            << "当前收费金额合计：210元";
        QTest::newRow("no lease: no rows, empty amount") << QStringList{"登记编号"} << QDate(2026, 6, 1)
                                                         << QDate(2026, 12, 31) << QStringList{"登记编号"}
                                                         << "当前收费金额合计：元";
    }

    void browse()
    {
        QFETCH(QStringList, ticked);
        QFETCH(QDate, from);
        QFETCH(QDate, to);
        auto *form = openForm<frmViewLease>(from, to);
        QVERIFY(!form->exportButton()->isEnabled());
        tickOnly(form, ticked);
        // A second view replaces the rows of the first.
        form->viewButton()->click();
        form->viewButton()->click();
        QTEST(testSupport::tableLines(form->resultTable()), "lines");
        QVERIFY(form->exportButton()->isEnabled());
        modalWatcher watcher;
        form->sumButton()->click();
        QFETCH(QString, fees);
        QCOMPARE(watcher.take(), QStringList{"信息|" + fees});

        // The export dialog opens in the home folder (its title and proposed
        // name are the office day's); cancelled, it writes and says nothing.
        m_window->statusBar()->clearMessage();
        QTemporaryDir dir;
        QString folder;
        watcher.handler = [&](QWidget *modal) {
            auto *dialog = qobject_cast<QFileDialog *>(modal);
            folder = dialog->directory().absolutePath();
            dialog->setDirectory(dir.path());
            dialog->reject();
        };
        form->exportButton()->click();
        QCOMPARE(watcher.boxes.size(), 1);
        QCOMPARE(folder, QDir::homePath());
        QCOMPARE(m_window->statusBar()->currentMessage(), QString());
        QVERIFY(QDir(dir.path()).isEmpty());
    }

    void csvBytes()
    {
        // Cells typed as the query helper types them: text, numbers, dates.
        // Seven characters or more of an optional minus, digits and one
        // point get an apostrophe; six, a letter or a second point do not.
        QTableWidget table(3, 4);
        table.setHorizontalHeaderLabels({"登记编号", "出方名称", "收费金额", "登记日期"});
        // (1,1) holds nothing and the end of the last row has no items: empty cells.
        const QVariantList cells{"370102202600001", "张伟,€", 1234567, QDate(2026, 1, 5),
                                 "123456", QVariant(), -12.5, -1234.5, "12a4567", "1.2.3456"};
        for (int i = 0; i < cells.size(); ++i) {
            auto *item = new QTableWidgetItem;
            item->setData(Qt::DisplayRole, cells[i]);
            table.setItem(i / 4, i % 4, item);
        }
        QTemporaryDir dir;
        const QString path = dir.filePath(QStringLiteral("mydata.csv"));
        QVERIFY(csvExport::write(table.model(), path));
        QFile file(path);
        QVERIFY(file.open(QIODevice::ReadOnly));
        // Header in GB18030: 登记编号 出方名称 收费金额 登记日期; 张伟 = D5C5 CEB0,
        // € = A2E3. The comma inside a cell stays as it is, unquoted.
        QCOMPARE(file.readAll(), QByteArray("\xb5\xc7\xbc\xc7\xb1\xe0\xba\xc5,\xb3\xf6\xb7\xbd\xc3\xfb\xb3\xc6,"
                                            "\xca\xd5\xb7\xd1\xbd\xf0\xb6\xee,\xb5\xc7\xbc\xc7\xc8\xd5\xc6\xda\n"
                                            "'370102202600001,\xd5\xc5\xce\xb0,\xa2\xe3,'1234567,2026-01-05\n"
                                            "123456,,-12.5,'-1234.5\n12a4567,1.2.3456,,\n"));
        QString error;
        QVERIFY(!csvExport::write(table.model(), QStringLiteral("/nonexistent-dir/x.csv"), &error));
        QVERIFY(!error.isEmpty());
    }

    // Over more than a year the matching numbers are found table by table
    // before the join; over up to a year, only in the stretches of numbers
    // the range's leases hold. Extra leases (region, year, serial, date,
    // lessor) are odd shapes the stretches must still enclose.
    void keyword_data()
    {
        QTest::addColumn<QString>("keyword");
        QTest::addColumn<QStringList>("numbers");
        QTest::addColumn<QDate>("from");
        QTest::addColumn<QDate>("to");
        QTest::addColumn<QStringList>("extra");
        const QDate decade(2017, 1, 1), thisYear(2026, 1, 1), yearEnd(2026, 12, 31);
        const auto row = [](const char *name, const QString &keyword, const QStringList &numbers,
                            const QDate &from = QDate(2026, 1, 1), const QDate &to = QDate(2026, 12, 31),
                            const QStringList &extra = {}) {
            QTest::newRow(name) << keyword << numbers << from << to << extra;
        };
        row("5 digits: number suffix, never telephones", "00001", {"370102202600001"});
        row("2 digits: every number ending so", "23", {"370102202600023", "370102202600123"});
        row("digits inside a number do not match", "0012", {});
        row("6 digits: either telephone, anywhere", "123456",
            {"370102202600001", "370102202600023", "370102202612345"});
        row("6+ digits: number suffix", "202612345", {"370102202612345"});
        row("either name; other year and lease without lessor skipped", "张", {"370102202600001", "370102202600123"});
        row("digits and letters: names and location", "12a", {"370102202600123"});
        row("trimmed", "  王芳 ", {"370102202600023"});
        row("blank: table emptied, nothing said", "   ", {});
        // The connection cannot carry it: refused before any statement, the earlier hits gone.
        row("a character from outside the connection's range", QString::fromUcs4(U"张\U00020000"), {});
        row("years: name of either party", "张", {"370102202500001", "370102202600001", "370102202600123"}, decade,
            yearEnd);
        row("years: range end honoured", "张", {"370102202500001"}, decade, QDate(2025, 12, 31));
        row("years: location only; lease without lessor skipped", "和平路", {"370102202600001"}, decade, yearEnd);
        row("years: number suffix", "00001", {"370102202500001", "370102202600001"}, decade, yearEnd);
        row("years: either telephone", "123456", {"370102202600001", "370102202600023", "370102202612345"}, decade,
            yearEnd);
        row("years: a quote breaks it like the one-year statement", "张'", {}, decade, yearEnd);
        row("one year: last year's number registered this year, another region", "张",
            {"370102202500077", "370102202600001", "370102202600123", "370103202600005"}, thisYear, yearEnd,
            {"370102|2025|77|2026-03-01|张甲", "370103|2026|5|2026-05-01|张乙", "370103|2025|9|2025-06-01|张丙"});
        // Numbers of other widths (not written by the program) in the range
        // must not narrow the stretches so that regular numbers fall out.
        row("one year: numbers of unequal width in the range", "张", {"370102202600001", "370102202600123"}, thisYear,
            yearEnd, {"370102|999|1|2026-02-01|李丁", "3701|2026|3|2026-02-02|李戊"});
        row("one year: suffix", "00001", {"370102202600001", "370103202600001"}, thisYear, yearEnd,
            {"370103|2026|1|2026-07-01|李己"});
        row("one day: a lease outside it is not found", "张", {"370102202600001"}, QDate(2026, 1, 5), QDate(2026, 1, 5));
        row("one year without leases", "张", {}, QDate(2027, 1, 1), QDate(2027, 12, 31));
    }

    void keyword()
    {
        QFETCH(QString, keyword);
        QFETCH(QStringList, numbers);
        QFETCH(QDate, from);
        QFETCH(QDate, to);
        QFETCH(QStringList, extra);
        for (const QString &lease : extra) {
            const QStringList f = lease.split(QLatin1Char('|'));
            QVERIFY(testSupport::exec(QStringLiteral("INSERT lease SET 地区='%1',年度=%2,编号=%3,登记日期='%4'")
                                          .arg(f[0], f[1], f[2], f[3])));
            QVERIFY(testSupport::exec(QStringLiteral("INSERT leaseout SET 登记编号=CONCAT('%1',%2*100000+%3),"
                                                     "出方名称='%4'")
                                          .arg(f[0], f[1], f[2], f[4])));
        }
        auto *form = openForm<frmSearchLease>(from, to);
        // Each search starts from the hits of an earlier one, which must go.
        search(form, QStringLiteral("2"));
        m_window->statusBar()->clearMessage();
        QCOMPARE(search(form, keyword), numbers);
        const bool carried = keyword.toUcs4().size() == keyword.size();
        QCOMPARE(m_window->statusBar()->currentMessage(),
                 keyword.trimmed().isEmpty() ? QString()
                 : carried ? QStringLiteral("信息：共搜索到 %1条记录.").arg(numbers.size())
                           : QStringLiteral("关键字中有数据库不能查找的字符（扩展区的生僻字或表情符号），请改用常用字。"));
    }

    void searchColumnsAndDates()
    {
        auto *form = openForm<frmSearchLease>();
        search(form, QStringLiteral("赵磊"));
        QTableWidget *table = form->resultTable();
        QCOMPARE(testSupport::tableLines(table), (QStringList{"登记编号|登记日期|出方名称|出方电话|承方名称|承方电话|房屋坐落",
                                            "370102202612345|2026-04-01|赵磊|18600123456|||"}));
        // Dates are shown the way operators write them, whatever the locale.
        auto *delegate = qobject_cast<QStyledItemDelegate *>(table->itemDelegate());
        QCOMPARE(delegate->displayText(table->item(0, 1)->data(Qt::DisplayRole), QLocale(QLocale::English)),
                 QStringLiteral("2026-04-01"));
    }

    // Large results are read in batches whose items are made on pool
    // threads; every row must still land once, reversed, typed, with the
    // rows already shown moved below.
    void largeResult_data()
    {
        QTest::addColumn<int>("rows");
        QTest::addColumn<int>("kept");
        QTest::addColumn<bool>("poolBusy");
        QTest::newRow("empty result below kept rows") << 0 << 4 << false;
        QTest::newRow("one row") << 1 << 0 << false;
        QTest::newRow("exactly one batch") << 1024 << 0 << false;
        QTest::newRow("a batch and a row, above kept rows") << 1025 << 3 << false;
        QTest::newRow("many batches, many kept rows") << 5000 << 1500 << false;
        QTest::newRow("pool busy: items made on this thread") << 3000 << 2 << true;
    }

    void largeResult()
    {
        QFETCH(int, rows);
        QFETCH(int, kept);
        QFETCH(bool, poolBusy);
        // n ascending after the reversal; every seventh value NULL.
        const auto statement = [](int count, int offset) {
            return QStringLiteral("SELECT seq + %2 AS n, IF(seq % 7 = 0, NULL, seq * 2) AS twice, "
                                  "CONCAT('第', seq) AS label, MAKEDATE(2026, 1) + INTERVAL seq % 365 DAY AS day "
                                  "FROM seq_0_to_%1 WHERE seq > 0 ORDER BY seq DESC")
                .arg(count).arg(offset);
        };
        QTableWidget table;
        mySqlQuery helper{myDatabase()};
        helper.setStatement(statement(kept, 100000));
        helper.fillTable(&table);
        QCOMPARE(table.rowCount(), kept);

        QSemaphore release;
        if (poolBusy) {
            for (int t = 0; t < QThreadPool::globalInstance()->maxThreadCount(); ++t)
                QThreadPool::globalInstance()->start([&release] { release.acquire(); });
        }
        helper.setStatement(statement(rows, 0));
        helper.fillTable(&table);
        release.release(QThreadPool::globalInstance()->maxThreadCount());
        QThreadPool::globalInstance()->waitForDone();

        QCOMPARE(table.rowCount(), rows + kept);
        QCOMPARE(table.columnCount(), 4);
        QCOMPARE(table.horizontalHeaderItem(3)->text(), QStringLiteral("day"));
        for (int r = 0; r < rows + kept; ++r) {
            const bool old = r >= rows;
            const int seq = old ? r - rows + 1 : r + 1;
            QTableWidgetItem *n = table.item(r, 0), *twice = table.item(r, 1), *day = table.item(r, 3);
            QVERIFY2(n && twice && table.item(r, 2) && day, qPrintable(QString::number(r)));
            QCOMPARE(n->data(Qt::DisplayRole).toLongLong(), qlonglong(seq + (old ? 100000 : 0)));
            QCOMPARE(twice->text(), seq % 7 ? QString::number(seq * 2) : QString());
            QCOMPARE(table.item(r, 2)->text(), QStringLiteral("第") + QString::number(seq));
            QCOMPARE(day->data(Qt::DisplayRole), QVariant(QDate(2026, 1, 1).addDays(seq % 365)));
        }
    }

    void detail_data()
    {
        QTest::addColumn<bool>("browse");
        QTest::addColumn<int>("row"); // -2: nothing listed, -1: no current row
        QTest::addColumn<QString>("told");
        QTest::addColumn<QStringList>("records"); // number|lessor of each record form after
        const QStringList untouched{"|", "|"};
        // Both forms share what happens without a row to open.
        QTest::newRow("browse: no rows") << true << -2 << "没有可以查看的记录" << untouched;
        QTest::newRow("search: no current row") << false << -1 << "提示|请选择需要查看的记录" << untouched;
        // Browse lists 600001, 600023, ...; searching "23" lists 600023, 600123.
        QTest::newRow("browse: row opens") << true << 1 << "" << QStringList{"370102202600023|王芳"};
        QTest::newRow("search: row opens") << false << 1 << "" << QStringList{"370102202600123|陈静"};
    }

    void detail()
    {
        QFETCH(bool, browse);
        QFETCH(int, row);
        // Two empty record forms are open before; a registration opened from
        // a result replaces both.
        m_window->slotRegisterLease();
        m_window->slotRegisterLease();
        modalWatcher watcher;
        auto *view = browse ? openForm<frmViewLease>() : nullptr;
        auto *find = browse ? nullptr : openForm<frmSearchLease>();
        if (row > -2)
            view ? view->viewButton()->click() : void(search(find, QStringLiteral("23")));
        QTableWidget *table = view ? view->resultTable() : find->resultTable();
        if (row >= 0)
            table->setCurrentCell(row, 1);
        m_window->statusBar()->clearMessage();
        (view ? view->detailButton() : find->detailButton())->click();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);

        QString seen = m_window->statusBar()->currentMessage();
        for (const modalWatcher::seen &box : watcher.boxes)
            seen += box.title + QLatin1Char('|') + box.text;
        QTEST(seen, "told");
        // The record form loaded the registration, not only its number.
        QStringList open;
        for (QMdiSubWindow *sub : m_window->mdiArea()->subWindowList()) {
            if (auto *record = qobject_cast<frmRegisterLease *>(sub->widget()))
                open << record->numberEdit()->text() + QLatin1Char('|')
                        + record->findChild<QLineEdit *>(QStringLiteral("line出方名称："))->text();
        }
        QTEST(open, "records");
    }
};

QTEST_MAIN(tst_query)
#include "tst_query.moc"
