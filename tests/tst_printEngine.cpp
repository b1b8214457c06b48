// Printing registrations from the real database into a PDF, read back with
// poppler's pdftotext -bbox: which text lands where, on which paper.
#include "appSettings.h"
#include "frmSetPrintItem.h"
#include "mainWindow.h"
#include "objPrint.h"
#include "printLayout.h"
#include "testSupport.h"

#include <QLineEdit>
#include <QPrinter>
#include <QPrinterInfo>
#include <QProcess>
#include <QRadioButton>
#include <QRegularExpression>
#include <QStatusBar>
#include <QTableWidget>
#include <QTemporaryDir>
#include <QTextDocumentFragment>
#include <QtTest>

namespace {

struct pdfWord {
    QString text;
    QRectF box; // points, origin at the page's top-left
};

struct pdfPage {
    QSizeF size;
    QList<pdfWord> words;
};

QList<pdfPage> readPdf(const QString &path)
{
    QProcess tool;
    tool.start(QStringLiteral("pdftotext"), {QStringLiteral("-bbox"), path, QStringLiteral("-")});
    if (!tool.waitForFinished(20000) || tool.exitCode() != 0) {
        qWarning("pdftotext failed on %s: %s", qPrintable(path), tool.readAllStandardError().constData());
        return {};
    }
    const QString html = QString::fromUtf8(tool.readAllStandardOutput());
    QList<pdfPage> pages;
    static const QRegularExpression tag(
        QStringLiteral("<page width=\"([\\d.]+)\" height=\"([\\d.]+)\">|"
                       "<word xMin=\"([\\d.]+)\" yMin=\"([\\d.]+)\" xMax=\"([\\d.]+)\" yMax=\"([\\d.]+)\">(.*?)</word>"));
    auto it = tag.globalMatch(html);
    while (it.hasNext()) {
        const QRegularExpressionMatch m = it.next();
        if (!m.captured(1).isEmpty()) {
            pages.append(pdfPage{QSizeF(m.captured(1).toDouble(), m.captured(2).toDouble()), {}});
        } else if (!pages.isEmpty()) {
            const QPointF topLeft(m.captured(3).toDouble(), m.captured(4).toDouble());
            const QPointF bottomRight(m.captured(5).toDouble(), m.captured(6).toDouble());
            pages.last().words.append(
                pdfWord{QTextDocumentFragment::fromHtml(m.captured(7)).toPlainText(), QRectF(topLeft, bottomRight)});
        }
    }
    return pages;
}

// The page's text as one string, for "is it there at all" checks.
QString allText(const pdfPage &page)
{
    QString text;
    for (const pdfWord &w : page.words)
        text += w.text;
    return text;
}

// Where a text stands on the page. pdftotext may cut a line of Chinese into
// several words, so neighbours on one line are joined until they match.
QRectF find(const pdfPage &page, const QString &text)
{
    for (int i = 0; i < page.words.size(); ++i) {
        QString joined;
        QRectF box;
        for (int j = i; j < page.words.size(); ++j) {
            const pdfWord &w = page.words[j];
            if (j > i && qAbs(w.box.top() - box.top()) > 2)
                break;
            joined += w.text;
            box = box.isNull() ? w.box : box.united(w.box);
            if (joined == text)
                return box;
            if (!text.startsWith(joined))
                break;
        }
    }
    return QRectF();
}

void insertRegistration(const QString &number, int fee, const QString &lessor, const QString &lessorPhone,
                        const QString &lessee, const QString &location)
{
    testSupport::leaseRow row;
    row.number = number;
    row.date = "2026-03-0" + number.right(1);
    row.fee = fee;
    row.lessor = lessor;
    row.lessorPhone = lessorPhone;
    row.lessee = lessee;
    row.location = location;
    testSupport::insertLease(row);
}

const QString font16 = QStringLiteral("WenQuanYi Zen Hei,16,-1,5,50,0,0,0,0,0");

} // namespace

class tst_printEngine : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void init();
    void cleanup();

    void itemLandsInItsBox_data();
    void itemLandsInItsBox();
    void paperAndOrientation_data();
    void paperAndOrientation();
    void badExpressionPrintsEmpty();
    void overflowPrintsEmptyAfterMessage();
    void noItemsPrintsBlankPage();
    void numberChecks_data();
    void numberChecks();
    void testPrintUsesUnsavedTable();
    void noPrinterIsReported();

private:
    void storeLayout(const QStringList &items, const QString &paper = "A4", bool landscape = true,
                     const QString &left = "30", const QString &top = "60");
    QList<pdfPage> printNumber(const QString &number, bool *printed = nullptr);

    QTemporaryDir m_dir;
    QString m_pdf;
    double m_pointsPerUnit = 0;
};

static const char *const numberA = "330102202600001";
static const char *const numberB = "330102202600002";

void tst_printEngine::initTestCase()
{
    testSupport::initApplication();
    QVERIFY(m_dir.isValid());
    // Boxes are measured in screen pixels; the PDF speaks points.
    m_pointsPerUnit = 72.0 / QPrinter(QPrinter::ScreenResolution).resolution();
}

void tst_printEngine::init()
{
    testSupport::resetDatabase();
    testSupport::removeSettingsFile();
    // The first registration is what a query without a number returns first;
    // printing B must never show A's values.
    insertRegistration(numberA, 120, "王五", "", "赵六", "中山路8号");
    insertRegistration(numberB, 1505, "张三丰", "13800001111", "李四", "解放路1号");
    m_pdf = m_dir.filePath(QString::fromLatin1(QTest::currentTestFunction()) + ".pdf");
    QFile::remove(m_pdf);
    printLayout::setPdfOutputForTests(m_pdf);
}

void tst_printEngine::cleanup() { printLayout::setPdfOutputForTests(QString()); }

void tst_printEngine::storeLayout(const QStringList &items, const QString &paper, bool landscape,
                                  const QString &left, const QString &top)
{
    const auto settings = appSettings::open();
    settings->remove("PrintItems");
    settings->setValue("PageSetup/size", paper);
    settings->setValue("PageSetup/direction", landscape);
    settings->setValue("PageSetup/Left", left);
    settings->setValue("PageSetup/top", top);
    for (int n = 0; n < items.size(); ++n)
        settings->setValue(QStringLiteral("PrintItems/%1").arg(n), items[n]);
}

QList<pdfPage> tst_printEngine::printNumber(const QString &number, bool *printed)
{
    objPrint job;
    job.setPrintNumber(number);
    const bool ok = job.printRecord();
    if (printed)
        *printed = ok;
    return QFile::exists(m_pdf) ? readPdf(m_pdf) : QList<pdfPage>();
}

void tst_printEngine::itemLandsInItsBox_data()
{
    QTest::addColumn<QString>("expression");
    QTest::addColumn<QString>("position");
    QTest::addColumn<QString>("size");
    QTest::addColumn<QString>("alignment");
    QTest::addColumn<QString>("conversion");
    QTest::addColumn<QRect>("box"); // device units, as the operator measured
    QTest::addColumn<QString>("text");

    const QRect box(100, 50, 300, 40);
    QTest::newRow("left") << "出方名称" << "100,50" << "300,40" << "居左" << "无" << box << "张三丰";
    QTest::newRow("centred") << "承方名称" << "100,50" << "300,40" << "居中" << "无" << box << "李四";
    QTest::newRow("right") << "房屋坐落" << "100,50" << "300,40" << "居右" << "无" << box << "解放路1号";
    QTest::newRow("unknown alignment is left") << "出方电话" << "100,50" << "300,40" << "靠边" << "无" << box
                                               << "13800001111";
    QTest::newRow("expression over two tables")
        << "CONCAT(出方名称,'/',承方名称)" << "100,50" << "300,40" << "居右" << "无" << box << "张三丰/李四";
    QTest::newRow("中文数字") << "收费金额" << "100,50" << "300,40" << "居左" << "中文数字" << box
                          << "一千五百○五";
    QTest::newRow("金额大写") << "收费金额" << "100,50" << "300,40" << "居中" << "金额大写" << box
                          << "壹仟伍佰零伍元整";
    QTest::newRow("empty conversion prints as is") << "收费金额" << "100,50" << "300,40" << "居左" << ""
                                                   << box << "1505";
    QTest::newRow("single coordinate is x, y 0") << "承方名称" << "250" << "200,40" << "居左" << "无"
                                                 << QRect(250, 0, 200, 40) << "李四";
    QTest::newRow("far box") << "出方名称" << "600,400" << "200,40" << "居右" << "无"
                             << QRect(600, 400, 200, 40) << "张三丰";
}

void tst_printEngine::itemLandsInItsBox()
{
    QFETCH(QString, expression);
    QFETCH(QString, position);
    QFETCH(QString, size);
    QFETCH(QString, alignment);
    QFETCH(QString, conversion);
    QFETCH(QRect, box);
    QFETCH(QString, text);

    storeLayout({QStringList{expression, font16, position, size, alignment, conversion}.join('\t')});
    modalWatcher watcher;
    bool printed = false;
    const QList<pdfPage> pages = printNumber(numberB, &printed);
    QVERIFY(printed);
    QVERIFY(watcher.boxes.isEmpty());
    QCOMPARE(pages.size(), 1);
    QVERIFY2(!allText(pages[0]).contains("王五"), "printed the other registration");

    const QRectF found = find(pages[0], text);
    QVERIFY2(!found.isNull(), qPrintable("not printed: " + text + " in " + allText(pages[0])));
    const double k = m_pointsPerUnit;
    const QRectF expected(30 + box.x() * k, 60 + box.y() * k, box.width() * k, box.height() * k);
    const QString where = QString("found (%1,%2)-(%3,%4), box (%5,%6)-(%7,%8)")
                              .arg(found.left()).arg(found.top()).arg(found.right()).arg(found.bottom())
                              .arg(expected.left()).arg(expected.top()).arg(expected.right()).arg(expected.bottom());
    QVERIFY2(expected.adjusted(-1, -1, 1, 1).contains(found), qPrintable(where));
    // Top of the box, not centred vertically.
    QVERIFY2(found.top() - expected.top() < 6, qPrintable(where));
    if (alignment == "居中")
        QVERIFY2(qAbs(found.center().x() - expected.center().x()) < 2, qPrintable(where));
    else if (alignment == "居右")
        QVERIFY2(qAbs(found.right() - expected.right()) < 2, qPrintable(where));
    else
        QVERIFY2(qAbs(found.left() - expected.left()) < 2, qPrintable(where));
}

void tst_printEngine::paperAndOrientation_data()
{
    QTest::addColumn<QString>("paper");
    QTest::addColumn<bool>("landscape");
    QTest::addColumn<QString>("left");
    QTest::addColumn<QString>("top");
    QTest::addColumn<QSize>("points");
    QTest::addColumn<QPointF>("origin"); // where the item at 0,0 starts, points
    QTest::newRow("A4 landscape") << "A4" << true << "50" << "50" << QSize(842, 595) << QPointF(50, 50);
    QTest::newRow("a4 portrait") << "a4" << false << "50" << "50" << QSize(595, 842) << QPointF(50, 50);
    QTest::newRow(" A3  padded") << " A3 " << true << "50" << "50" << QSize(1191, 842) << QPointF(50, 50);
    QTest::newRow("a3 portrait") << "a3" << false << "50" << "50" << QSize(842, 1191) << QPointF(50, 50);
    QTest::newRow("A5 portrait") << "A5" << false << "50" << "50" << QSize(420, 595) << QPointF(50, 50);
    QTest::newRow("unknown paper is A4") << "B5" << true << "50" << "50" << QSize(842, 595) << QPointF(50, 50);
    QTest::newRow("empty paper is A4") << "" << false << "50" << "50" << QSize(595, 842) << QPointF(50, 50);
    QTest::newRow("margins trimmed") << "A4" << true << " 20 " << "100" << QSize(842, 595) << QPointF(20, 100);
    QTest::newRow("margins not numbers give 0") << "A4" << true << "abc" << "" << QSize(842, 595) << QPointF(0, 0);
}

void tst_printEngine::paperAndOrientation()
{
    QFETCH(QString, paper);
    QFETCH(bool, landscape);
    QFETCH(QString, left);
    QFETCH(QString, top);
    QFETCH(QSize, points);
    QFETCH(QPointF, origin);
    storeLayout({"出方名称\t" + font16 + "\t0,0\t200,40\t居左\t无"}, paper, landscape, left, top);
    const QList<pdfPage> pages = printNumber(numberB);
    QCOMPARE(pages.size(), 1);
    QCOMPARE(pages[0].size.toSize(), points);
    const QRectF found = find(pages[0], "张三丰");
    QVERIFY(!found.isNull());
    QVERIFY2(qAbs(found.left() - origin.x()) < 2, qPrintable(QString::number(found.left())));
    QVERIFY2(found.top() >= origin.y() - 1 && found.top() - origin.y() < 6, qPrintable(QString::number(found.top())));
}

void tst_printEngine::badExpressionPrintsEmpty()
{
    storeLayout({"没有这个字段+\t" + font16 + "\t0,0\t300,40\t居左\t无",
                 "承方名称\t" + font16 + "\t0,100\t300,40\t居左\t无",
                 "出方名称)\t" + font16 + "\t0,200\t300,40\t居左\t中文数字"});
    modalWatcher watcher;
    bool printed = false;
    const QList<pdfPage> pages = printNumber(numberB, &printed);
    QVERIFY(printed);
    QCOMPARE(pages.size(), 1);
    QCOMPARE(allText(pages[0]), QString("李四"));
    QVERIFY(watcher.boxes.isEmpty());
}

void tst_printEngine::overflowPrintsEmptyAfterMessage()
{
    // The 15-digit number is too long for Chinese numerals.
    storeLayout({"leaseout.登记编号\t" + font16 + "\t0,0\t300,40\t居左\t中文数字",
                 "承方名称\t" + font16 + "\t0,100\t300,40\t居左\t无"});
    modalWatcher watcher;
    const QList<pdfPage> pages = printNumber(numberB);
    QCOMPARE(pages.size(), 1);
    QCOMPARE(allText(pages[0]), QString("李四"));
    QCOMPARE(watcher.boxes.size(), 1);
    QCOMPARE(watcher.lastTitle(), QString("错误"));
    QCOMPARE(watcher.lastText(), QString("数目太大，无法换算！"));
}

void tst_printEngine::noItemsPrintsBlankPage()
{
    storeLayout({}, "A5", false);
    bool printed = false;
    const QList<pdfPage> pages = printNumber(numberB, &printed);
    QVERIFY(printed);
    QCOMPARE(pages.size(), 1);
    QVERIFY(pages[0].words.isEmpty());
    QCOMPARE(pages[0].size.toSize(), QSize(420, 595));
}

void tst_printEngine::numberChecks_data()
{
    QTest::addColumn<QString>("number");
    QTest::addColumn<bool>("accepted");
    QTest::addColumn<QString>("message");
    QTest::newRow("empty") << "" << false << "没有指定需要打印的编号";
    QTest::newRow("14 digits") << "33010220260000" << false << "需要打印的编号不正确";
    QTest::newRow("one character") << "3" << false << "需要打印的编号不正确";
    // Longer numbers are not refused; they match nothing and print empty.
    QTest::newRow("16 digits") << "3301022026000021" << true << "";
    QTest::newRow("15 digits") << numberB << true << "";
}

void tst_printEngine::numberChecks()
{
    QFETCH(QString, number);
    QFETCH(bool, accepted);
    QFETCH(QString, message);
    storeLayout({"出方名称\t" + font16 + "\t0,0\t300,40\t居左\t无"});
    modalWatcher watcher;
    bool printed = !accepted;
    const QList<pdfPage> pages = printNumber(number, &printed);
    QCOMPARE(printed, accepted);
    if (accepted) {
        QVERIFY(watcher.boxes.isEmpty());
        QCOMPARE(pages.size(), 1);
        QCOMPARE(allText(pages[0]), QString(number == numberB ? "张三丰" : ""));
    } else {
        QCOMPARE(watcher.boxes.size(), 1);
        QCOMPARE(watcher.lastTitle(), QString("错误"));
        QCOMPARE(watcher.lastText(), message);
        QVERIFY(!QFile::exists(m_pdf));
    }
}

void tst_printEngine::testPrintUsesUnsavedTable()
{
    // One registration only: the test page shows whichever the server returns.
    testSupport::exec(QStringLiteral("DELETE FROM leaseout WHERE 登记编号='%1'").arg(numberA));
    storeLayout({"出方名称\t" + font16 + "\t0,0\t300,40\t居左\t无"}, "A4", true, "30", "60");
    mainWindow window;
    auto *form = new frmSetPrintItem(&window);
    window.openForm(form);
    QTableWidget *table = form->table();
    table->item(0, 0)->setText("承方名称");
    auto *fontCell = new QTableWidgetItem("字样");
    fontCell->setData(Qt::FontRole, QFont("WenQuanYi Zen Hei", 24));
    table->setItem(0, 1, fontCell);
    table->item(0, 2)->setText("200,100");
    table->item(0, 4)->setText("居右");
    table->setItem(5, 0, new QTableWidgetItem("收费金额"));
    table->setItem(5, 2, new QTableWidgetItem("0,300"));
    table->setItem(5, 3, new QTableWidgetItem("400,40"));
    table->setItem(5, 5, new QTableWidgetItem("金额大写"));
    table->setItem(3, 2, new QTableWidgetItem("0,200")); // no expression: not printed
    form->paperEdit()->setText(" a5 ");
    form->portraitButton()->setChecked(true);
    form->leftEdit()->clear();
    form->topEdit()->setText("10");

    modalWatcher watcher;
    form->btPrintClicked();
    QVERIFY(watcher.boxes.isEmpty());
    QCOMPARE(window.statusBar()->currentMessage(), QString("打印完成。"));

    const QList<pdfPage> pages = readPdf(m_pdf);
    QCOMPARE(pages.size(), 1);
    QCOMPARE(pages[0].size.toSize(), QSize(420, 595));
    const double k = m_pointsPerUnit;
    const QRectF lessee = find(pages[0], "李四");
    QVERIFY2(!lessee.isNull(), qPrintable(allText(pages[0])));
    QVERIFY2(qAbs(lessee.right() - (50 + (200 + 300) * k)) < 2, qPrintable(QString::number(lessee.right())));
    QVERIFY(lessee.top() >= 10 + 100 * k - 1);
    QVERIFY2(lessee.height() > 20, qPrintable(QString::number(lessee.height()))); // the 24-point cell font
    const QRectF fee = find(pages[0], "壹仟伍佰零伍元整");
    QVERIFY2(!fee.isNull(), qPrintable(allText(pages[0])));
    QVERIFY(qAbs(fee.left() - 50) < 2);
    QVERIFY(!allText(pages[0]).contains("张三丰"));

    // The stored layout is untouched by a test print.
    QCOMPARE(printLayout::load().items.value(0).expression, QString("出方名称"));
}

void tst_printEngine::noPrinterIsReported()
{
    if (!QPrinterInfo::availablePrinterNames().isEmpty())
        QSKIP("this machine has a printer; the no-printer path cannot be reached");
    printLayout::setPdfOutputForTests(QString());
    storeLayout({"出方名称\t" + font16 + "\t0,0\t300,40\t居左\t无"});

    modalWatcher watcher;
    bool printed = true;
    printNumber(numberB, &printed);
    QVERIFY(!printed);
    QCOMPARE(watcher.boxes.size(), 1);
    QCOMPARE(watcher.lastTitle(), QString("错误"));
    QVERIFY2(watcher.lastText().contains("打印机"), qPrintable(watcher.lastText()));

    mainWindow window;
    auto *form = new frmSetPrintItem(&window);
    window.openForm(form);
    window.statusBar()->clearMessage();
    form->btPrintClicked();
    QCOMPARE(watcher.boxes.size(), 2);
    QVERIFY(window.statusBar()->currentMessage() != "打印完成。");
}

QTEST_MAIN(tst_printEngine)
#include "tst_printEngine.moc"
