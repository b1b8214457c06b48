// Keyword search over the real data model: where each form of keyword is
// looked for, the date range, what the operator is told, and opening a hit
// in the record form.
#include "frmRegisterLease.h"
#include "frmSearchLease.h"
#include "mainWindow.h"
#include "testSupport.h"
#include "tst_queryFixture.h"

#include <QDateEdit>
#include <QLineEdit>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QPointer>
#include <QPushButton>
#include <QStatusBar>
#include <QTableWidget>
#include <QtTest>

using testSupport::leaseRow;

class tst_search : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void init();
    void cleanup();
    void cleanupTestCase() { delete m_window; }

    void keyword_data();
    void keyword();
    void dateRangeIsInclusive();
    void initialRangeIsWorkingYear();
    void missingPartyRowsLeaveColumnsEmpty();
    void emptyKeywordClearsTable();
    void detailRefusals();
    void detailOpensRecordForm();
    void exitClosesWindow();

private:
    frmSearchLease *openForm();
    QStringList search(frmSearchLease *form, const QString &keyword);

    mainWindow *m_window = nullptr;
};

void tst_search::initTestCase()
{
    m_window = queryFixture::start();
    QVERIFY(m_window->workDate().isValid());
}

void tst_search::init()
{
    queryFixture::clearLeases();

    // Telephones are chosen to contain the other keywords: "00001" sits in
    // C's lessor telephone, "123456" in three telephones.
    testSupport::insertLease(leaseRow{"370102202600001", "2026-01-05", 120, "张伟", "13800138000", "李娜",
                                      "13912345678", "和平路12号"});
    testSupport::insertLease(leaseRow{"370102202600023", "2026-02-10", 150, "王芳", "053188123456", "刘洋",
                                      "13700001111", "解放路3号"});
    testSupport::insertLease(leaseRow{"370102202600123", "2026-03-15", 80, "陈静", "13512300001", "张小明",
                                      "", "人民路12a号"});
    // No lessee, no house row: found, with those columns empty.
    testSupport::insertLease(leaseRow{"370102202612345", "2026-04-01", 200, "赵磊", "18600123456", "", "", ""});
    // No lessor row: invisible to search although it matches several keywords.
    testSupport::insertLease(leaseRow{"370102202600002", "2026-05-01", 300, "", "", "张三", "13800138000",
                                      "和平路99号"});
    // Last year's registration, outside the range the tests search.
    testSupport::insertLease(leaseRow{"370102202500001", "2025-12-30", 90, "张伟", "13800138000", "", "", ""});
}

void tst_search::cleanup()
{
    queryFixture::closeForms(m_window);
}

frmSearchLease *tst_search::openForm()
{
    auto *form = new frmSearchLease(m_window);
    m_window->openForm(form);
    form->fromDateEdit()->setDate(QDate(2026, 1, 1));
    form->toDateEdit()->setDate(QDate(2026, 12, 31));
    return form;
}

// The numbers in column 0, top to bottom.
QStringList tst_search::search(frmSearchLease *form, const QString &keyword)
{
    form->keywordEdit()->setText(keyword);
    form->searchButton()->click();
    QStringList numbers;
    QTableWidget *table = form->resultTable();
    for (int r = 0; r < table->rowCount(); ++r)
        numbers << table->item(r, 0)->text();
    return numbers;
}

void tst_search::keyword_data()
{
    QTest::addColumn<QString>("keyword");
    QTest::addColumn<QStringList>("numbers");

    QTest::newRow("5 digits: number suffix, never telephones")
        << "00001" << QStringList{"370102202600001"};
    QTest::newRow("2 digits: every number ending so")
        << "23" << QStringList{"370102202600023", "370102202600123"};
    QTest::newRow("digits inside a number do not match") << "0012" << QStringList{};
    QTest::newRow("6 digits: telephones anywhere")
        << "123456" << QStringList{"370102202600001", "370102202600023", "370102202612345"};
    QTest::newRow("6+ digits: number suffix") << "202612345" << QStringList{"370102202612345"};
    QTest::newRow("6+ digits: lessee telephone") << "00001111" << QStringList{"370102202600023"};
    QTest::newRow("whole telephone, lease without lessor skipped")
        << "13800138000" << QStringList{"370102202600001"};
    QTest::newRow("lessor or lessee name")
        << "张" << QStringList{"370102202600001", "370102202600123"};
    QTest::newRow("location, lease without lessor skipped") << "和平" << QStringList{"370102202600001"};
    QTest::newRow("digits and letters: names and location") << "12a" << QStringList{"370102202600123"};
    QTest::newRow("trimmed") << "  王芳 " << QStringList{"370102202600023"};
    QTest::newRow("no hit") << "无此人" << QStringList{};
}

void tst_search::keyword()
{
    QFETCH(QString, keyword);
    QFETCH(QStringList, numbers);
    frmSearchLease *form = openForm();
    QCOMPARE(search(form, keyword), numbers);
    QCOMPARE(m_window->statusBar()->currentMessage(),
             QStringLiteral("信息：共搜索到 %1条记录.").arg(numbers.size()));
}

void tst_search::dateRangeIsInclusive()
{
    frmSearchLease *form = openForm();
    form->fromDateEdit()->setDate(QDate(2025, 12, 30));
    form->toDateEdit()->setDate(QDate(2026, 1, 5));
    QCOMPARE(search(form, QStringLiteral("张伟")), (QStringList{"370102202500001", "370102202600001"}));
    form->fromDateEdit()->setDate(QDate(2025, 12, 31));
    form->toDateEdit()->setDate(QDate(2026, 1, 4));
    QCOMPARE(search(form, QStringLiteral("张伟")), QStringList{});
}

void tst_search::initialRangeIsWorkingYear()
{
    auto *form = new frmSearchLease(m_window);
    m_window->openForm(form);
    const QDate today = m_window->workDate();
    QCOMPARE(form->fromDateEdit()->date(), QDate(today.year(), 1, 1));
    QCOMPARE(form->toDateEdit()->date(), today);
    QCOMPARE(form->fromDateEdit()->text(), QStringLiteral("%1-01-01").arg(today.year()));
}

void tst_search::missingPartyRowsLeaveColumnsEmpty()
{
    frmSearchLease *form = openForm();
    QCOMPARE(search(form, QStringLiteral("赵磊")), QStringList{"370102202612345"});
    QTableWidget *table = form->resultTable();
    QStringList headers, cells;
    for (int c = 0; c < table->columnCount(); ++c) {
        headers << table->horizontalHeaderItem(c)->text();
        cells << (table->item(0, c) ? table->item(0, c)->text() : QString());
    }
    QCOMPARE(headers, (QStringList{"登记编号", "登记日期", "出方名称", "出方电话", "承方名称", "承方电话", "房屋坐落"}));
    QCOMPARE(cells, (QStringList{"370102202612345", "2026-04-01", "赵磊", "18600123456", "", "", ""}));
}

void tst_search::emptyKeywordClearsTable()
{
    frmSearchLease *form = openForm();
    QCOMPARE(search(form, QStringLiteral("张")).size(), 2);
    QCOMPARE(search(form, QStringLiteral("   ")), QStringList{});
}

void tst_search::detailRefusals()
{
    frmSearchLease *form = openForm();
    const int windows = m_window->mdiArea()->subWindowList().size();
    modalWatcher watcher;

    form->detailButton()->click();
    QCOMPARE(m_window->statusBar()->currentMessage(), QStringLiteral("没有可以查看的记录"));
    QVERIFY(watcher.boxes.isEmpty());

    search(form, QStringLiteral("张"));
    QCOMPARE(form->resultTable()->currentRow(), -1);
    form->detailButton()->click();
    QCOMPARE(watcher.boxes.size(), 1);
    QCOMPARE(watcher.lastTitle(), QStringLiteral("提示"));
    QCOMPARE(watcher.lastText(), QStringLiteral("请选择需要查看的记录"));
    QCOMPARE(m_window->mdiArea()->subWindowList().size(), windows);
}

void tst_search::detailOpensRecordForm()
{
    // Two record forms already open: both give way to the new one.
    m_window->slotRegisterLease();
    m_window->slotRegisterLease();
    QList<QPointer<QMdiSubWindow>> older;
    for (QMdiSubWindow *sub : m_window->mdiArea()->subWindowList())
        older << sub;
    QCOMPARE(older.size(), 2);

    frmSearchLease *form = openForm();
    search(form, QStringLiteral("23"));
    form->resultTable()->setCurrentCell(1, 3);
    form->detailButton()->click();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);

    for (const QPointer<QMdiSubWindow> &sub : older)
        QVERIFY(sub.isNull());
    QList<frmRegisterLease *> records;
    for (QMdiSubWindow *sub : m_window->mdiArea()->subWindowList()) {
        if (auto *record = qobject_cast<frmRegisterLease *>(sub->widget()))
            records << record;
    }
    QCOMPARE(records.size(), 1);
    QCOMPARE(records.first()->numberEdit()->text(), QStringLiteral("370102202600123"));
    // The form loaded that registration, not only its number.
    QCOMPARE(records.first()->findChild<QLineEdit *>(QStringLiteral("line出方名称："))->text(), QStringLiteral("陈静"));
    QCOMPARE(m_window->mdiArea()->activeSubWindow()->widget(), records.first());
}

void tst_search::exitClosesWindow()
{
    QPointer<frmSearchLease> form = openForm();
    const int windows = m_window->mdiArea()->subWindowList().size();
    for (QPushButton *button : form->findChildren<QPushButton *>()) {
        if (button->text() == QStringLiteral("退出(&E)"))
            button->click();
    }
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QVERIFY(form.isNull());
    QCOMPARE(m_window->mdiArea()->subWindowList().size(), windows - 1);
}

QTEST_MAIN(tst_search)
#include "tst_search.moc"
