// The certificate layout: what the layout editor writes to the settings file
// and reads back; registrations from the real database printed to a PDF at
// several desktop and printer resolutions, and through a real print queue
// with the printer's calibration; the preview over a scanned form; the page
// saved as a PDF when no printer answers.
#include "adminDriver.h"
#include "appSettings.h"
#include "calibrationPage.h"
#include "desktopFit.h"
#include "frmPrintCalibration.h"
#include "frmPrintPreview.h"
#include "frmSetPrintItem.h"
#include "gbText.h"
#include "mainWindow.h"
#include "objPrint.h"
#include "pdfText.h"
#include "printLayout.h"
#include "printSupport.h"
#include "recordFormDriver.h"
#include "testSupport.h"

#include <QPrinterInfo>
#include <QSqlQuery>
#include <QtTest>
#include <QtWidgets>

using adminDriver::gridColumn;
using printSupport::calibrated;
using printSupport::mm;
using recordForm::button;

namespace {

// Reads the settings file as another program would: QSettings keeps one
// parsed copy per path and process, so read a copy under another name.
void readStored(const std::function<void(QSettings &)> &read)
{
    const QString copy = QDir::tempPath() + QStringLiteral("/zelnor-layout-%1.ini").arg(qApp->applicationPid());
    QFile::remove(copy);
    QFile::copy(testSupport::settingsPath(), copy);
    {
        QSettings settings(copy, QSettings::IniFormat);
        settings.setIniCodec(gbText::codec());
        read(settings);
    }
    QFile::remove(copy);
}

// The stored items, then the page setup in one string.
QStringList storedLayout()
{
    QStringList items, page;
    readStored([&](QSettings &settings) {
        for (int n = 0; settings.contains(QStringLiteral("PrintItems/%1").arg(n)); ++n)
            items << settings.value(QStringLiteral("PrintItems/%1").arg(n)).toString();
        for (const char *key : {"size", "direction", "Left", "top"})
            page << settings.value(QStringLiteral("PageSetup/") + key).toString();
    });
    return items << page.join('|');
}

// The stored values of these keys, joined by "|".
QString storedValues(const QStringList &keys)
{
    QStringList values;
    readStored([&](QSettings &settings) {
        for (const QString &key : keys)
            values << settings.value(key).toString();
    });
    return values.join('|');
}

// Fills table rows given as "row|expression|font|position|size|alignment|conversion";
// empty parts leave their cells untouched.
void fill(QTableWidget *table, const QStringList &rows)
{
    for (const QString &row : rows) {
        const QStringList parts = row.split('|');
        for (int part = 1; part < parts.size(); ++part) {
            if (!parts[part].isEmpty())
                table->setItem(parts[0].toInt(), part - 1, new QTableWidgetItem(parts[part]));
        }
    }
}

const QString numberA = QStringLiteral("330102202600001");
const QString numberB = QStringLiteral("330102202600002");

QString item(const QString &expression, const QString &position, const QString &alignment = "居左",
             const QString &conversion = "无")
{
    return QStringList{expression, "WenQuanYi Zen Hei,16,-1,5,50,0,0,0,0,0", position, "300,40", alignment, conversion}
        .join('\t');
}

// Page setup as "paper|landscape|left|top".
void storeLayout(const QStringList &items, const QString &page = "A4|1|30|60")
{
    const auto settings = appSettings::open();
    settings->remove("PrintItems");
    settings->setValue("PageSetup/size", page.section('|', 0, 0));
    settings->setValue("PageSetup/direction", page.section('|', 1, 1) == "1");
    settings->setValue("PageSetup/Left", page.section('|', 2, 2));
    settings->setValue("PageSetup/top", page.section('|', 3, 3));
    for (int n = 0; n < items.size(); ++n)
        settings->setValue(QStringLiteral("PrintItems/%1").arg(n), items[n]);
}

// Layout units are 1/96 inch on every desktop and printer; the PDF speaks points.
const double k = 0.75;

// Registration B's certificate on A4 landscape with margins 30 and 60
// points: the lessee's box is the one measured 57 pt apart at 96 and 120 dpi
// when boxes followed the desktop. The texts share no character, so
// pdfText::find can put split words together.
const QStringList certificate{item("出方名称", "40,60"), item("承方名称", "380,60"), item("房屋坐落", "40,110", "居中"),
                              item("收费金额", "380,160", "居右", "金额大写")};
const QStringList certificateTexts{"张三丰", "李四", "解放路一号", "壹仟伍佰零伍元整"};
const QString certificatePage = QStringLiteral("A4|1|30|60");
const QSizeF a4Landscape(842, 595);

// Where a certificate item belongs, in points on the sheet: 96 units an inch
// from the corner inside the margins.
QRectF nominalBox(int n, double left = 30, double top = 60)
{
    const QStringList at = certificate[n].section('\t', 2, 2).split(',');
    return QRectF(left + at[0].toInt() * k, top + at[1].toInt() * k, 300 * k, 40 * k);
}

// Every item of the certificate stands in its box, as its alignment says.
void checkCertificate(const pdfText::page &page, const printCalibration &c = {})
{
    QCOMPARE(page.size.toSize(), a4Landscape.toSize());
    for (int n = 0; n < certificate.size(); ++n)
        pdfText::checkInBox(page, certificateTexts[n], calibrated(c, nominalBox(n)), certificate[n].section('\t', 4, 4));
}

// Statements the session has run, to see that a page is filled once.
qint64 selectsRun()
{
    return testSupport::scalar("SELECT VARIABLE_VALUE FROM information_schema.SESSION_STATUS "
                               "WHERE VARIABLE_NAME='COM_SELECT'").toLongLong();
}

// The scan's size as the preview shows it ("底图 297.0 × 210.0 毫米"), within
// half a millimetre, and whether it warns that the paper is another size.
void checkScanSize(const QString &label, const QSizeF &mm, const QString &warning = QString())
{
    const QRegularExpressionMatch read = QRegularExpression("^底图 ([\\d.]+) × ([\\d.]+) 毫米(.*)$").match(label);
    QVERIFY2(read.hasMatch(), qPrintable(label));
    QVERIFY2(qAbs(read.captured(1).toDouble() - mm.width()) < 0.5 && qAbs(read.captured(2).toDouble() - mm.height()) < 0.5,
             qPrintable(label));
    QCOMPARE(read.captured(3), warning);
}

} // namespace

class tst_print : public QObject
{
    Q_OBJECT
    QTemporaryDir m_dir;
    QString m_pdf;
    std::unique_ptr<mainWindow> m_window;

    frmSetPrintItem *openForm()
    {
        auto *form = new frmSetPrintItem(m_window.get());
        m_window->openForm(form);
        return form;
    }

    QList<pdfText::page> printNumber(const QString &number, bool &printed)
    {
        objPrint job{myDatabase()};
        job.setPrintNumber(number);
        printed = job.printRecord();
        return QFile::exists(m_pdf) ? pdfText::read(m_pdf) : QList<pdfText::page>();
    }

    // The layout editor holding the certificate, unsaved, with its fonts.
    frmSetPrintItem *editorWithCertificate()
    {
        frmSetPrintItem *form = openForm();
        for (int n = 0; n < certificate.size(); ++n) {
            const QStringList parts = certificate[n].split('\t');
            for (int column : {0, 2, 3, 4, 5})
                form->table()->setItem(n, column, new QTableWidgetItem(parts[column]));
            auto *fontCell = new QTableWidgetItem("字样");
            fontCell->setData(Qt::FontRole, QFont("WenQuanYi Zen Hei", 16));
            form->table()->setItem(n, 1, fontCell);
        }
        const QStringList page = certificatePage.split('|');
        form->paperEdit()->setText(page[0]);
        form->landscapeButton()->setChecked(page[1] == "1");
        form->leftEdit()->setText(page[2]);
        form->topEdit()->setText(page[3]);
        return form;
    }

    frmPrintPreview *openPreview(frmSetPrintItem *form)
    {
        button(form, "预览(&V)")->click();
        return qobject_cast<frmPrintPreview *>(form->preview());
    }

    frmPrintCalibration *openCalibration(frmSetPrintItem *form)
    {
        button(form, "打印机校准(&K)")->click();
        return qobject_cast<frmPrintCalibration *>(form->calibration());
    }

private slots:
    void initTestCase()
    {
        testSupport::initApplication();
        QVERIFY(desktopFit::installQtTranslations(qApp));
        QVERIFY(m_dir.isValid());
    }

    void init()
    {
        m_pdf = m_dir.filePath(QString::fromLatin1(QTest::currentTestFunction()) + ".pdf");
        QFile::remove(m_pdf);
        // Pages go to the PDF file, except beside the print queue, where they
        // go to the printer.
        objPrint::setPdfOutputForTests(printSupport::inPrintQueue() ? QString() : m_pdf);
        if (testSupport::isChild()) {
            // The parent set up the database and the settings file for this row.
            QVERIFY(testSupport::connectAsRoot("zelnor"));
            m_window.reset(new mainWindow);
            return;
        }
        testSupport::resetDatabase();
        testSupport::removeSettingsFile();
        // A is what a query without a number returns first; printing B must never show A's values.
        testSupport::insertLease({numberA, "2026-03-01", 120, "王五", "", "赵六", "", "中山路8号"});
        testSupport::insertLease({numberB, "2026-03-02", 1505, "张三丰", "13800001111", "李四", "", "解放路一号"});
        m_window.reset(new mainWindow);
    }

    void cleanup()
    {
        objPrint::setPdfOutputForTests(QString());
        m_window.reset();
    }

    void editedLayoutSavedAndReadBack()
    {
        frmSetPrintItem *form = openForm();
        fill(form->table(), {"0|出方名称|字样|1,1|2,2|居左|无", "1|   ||5,5|6,6|居右|金额大写",
                             "4| CONCAT(出方名称,'x') || 10,20 |200,30 | 居中 | 金额大写 ", "6|收费金额||1,2|3,4|居左|"});
        QFont font("WenQuanYi Zen Hei", -1, QFont::Bold, true);
        font.setPointSizeF(10.5);
        form->table()->item(0, 1)->setData(Qt::FontRole, font);
        form->paperEdit()->setText(" a3 ");
        form->portraitButton()->setChecked(true);
        form->leftEdit()->setText("abc");
        form->topEdit()->clear();
        form->saveButton()->click();

        // The blank expression is left out and the rest renumbered, cells trimmed,
        // an empty conversion stored as 无, the page setup kept exactly as typed.
        QCOMPARE(storedLayout(), (QStringList{"出方名称\tWenQuanYi Zen Hei,10.5,-1,5,75,1,0,0,0,0\t1,1\t2,2\t居左\t无",
                                              "CONCAT(出方名称,'x')\t\t10,20\t200,30\t居中\t金额大写",
                                              "收费金额\t\t1,2\t3,4\t居左\t无", " a3 |false|abc|"}));

        // Read back, the 10.5-point font is the 12 points earlier installations printed with.
        QTableWidget *table = openForm()->table();
        QCOMPARE(gridColumn(table, 0).mid(1, 3), (QStringList{"CONCAT(出方名称,'x')", "收费金额", ""}));
        const QFont read = table->item(0, 1)->data(Qt::FontRole).value<QFont>();
        QCOMPARE(QString("%1 %2").arg(read.family()).arg(read.pointSize()), QString("WenQuanYi Zen Hei 12"));
        QVERIFY(read.bold() && read.italic());
    }

    void elevenItemsKeepKeyOrderAndRenumber()
    {
        QStringList items;
        for (int n = 0; n < 12; ++n)
            items << QStringLiteral("项目%1\t\t%1,0\t10,10\t居左\t无").arg(n);
        storeLayout(items);
        frmSetPrintItem *form = openForm();
        // Earlier installations listed the items in the settings library's key order.
        const QStringList order{"0", "1", "10", "11", "2", "3", "4", "5", "6", "7", "8", "9"};
        const QStringList names = gridColumn(form->table(), 0), positions = gridColumn(form->table(), 2);
        for (int row = 0; row < order.size(); ++row)
            QCOMPARE(names[row] + positions[row], "项目" + order[row] + order[row] + ",0");
        QVERIFY(!form->table()->item(12, 0));

        // Saving renumbers in the order shown: the old item 10 becomes item 2.
        form->btSaveClicked();
        const QStringList stored = storedLayout();
        QCOMPARE(stored.size(), 13);
        for (int n = 0; n < 12; ++n)
            QCOMPARE(stored[n].section('\t', 0, 0), "项目" + order[n]);
    }

    void printing_data()
    {
        QTest::addColumn<QString>("number");
        QTest::addColumn<QStringList>("items"); // none: no settings file at all
        QTest::addColumn<QString>("page");      // paper|landscape|left|top
        QTest::addColumn<QSize>("paper");       // points; empty when nothing is printed
        QTest::addColumn<QString>("text");      // all of it
        QTest::addColumn<QRectF>("box");        // points: where the first item stands, if checked
        QTest::addColumn<QString>("message");   // of the one "错误" box, if any
        const QString a4 = "A4|1|30|60";
        const QSize a4Land(842, 595);
        const QStringList one{item("出方名称", "0,0")};
        auto box = [](double left, double top, int x, int y) {
            return QRectF(left + x * k, top + y * k, 300 * k, 40 * k);
        };
        const auto row = [](const char *name, const QString &number, const QStringList &items, const QSize &paper,
                            const QString &text, const QRectF &box = {}, const QString &page = "A4|1|30|60",
                            const QString &message = {}) {
            QTest::newRow(name) << number << items << page << paper << text << box << message;
        };
        // Left, centred, right and 金额大写 in their boxes: the office-day program
        // prints them; the conversions themselves are tst_helpers' numerals.
        row("unknown alignment is left, single coordinate is x", numberB, {item("出方电话", "250", "靠边")}, a4Land,
            "13800001111", box(30, 60, 250, 0));
        row("expression over two tables, empty conversion", numberB,
            {item("CONCAT(出方名称,'/',承方名称)", "100,50", "居右", "")}, a4Land, "张三丰/李四", box(30, 60, 100, 50));
        row(" a3  portrait", numberB, one, {842, 1191}, "张三丰", box(50, 50, 0, 0), " a3 |0|50|50");
        row("A5 landscape, margins trimmed", numberB, one, {595, 420}, "张三丰", box(20, 100, 0, 0), "A5|1| 20 |100");
        row("unknown paper is A4", numberB, one, {595, 842}, "张三丰", box(50, 50, 0, 0), "B5|0|50|50");
        row("margins not numbers give 0", numberB, one, a4Land, "张三丰", box(0, 0, 0, 0), "A4|1|abc|");
        row("empty number", "", one, {}, "", {}, a4, "没有指定需要打印的编号");
        row("14 digits", "33010220260000", one, {}, "", {}, a4, "需要打印的编号不正确");
        // Longer numbers are not refused; they match nothing.
        row("16 digits", "3301022026000021", one, a4Land, "");
        row("no items", numberB, {}, a4Land, "");
        // The same serial in another year or region is another registration.
        row("same serial, other year", "330102202700002", one, a4Land, "钱七");
        row("same serial, other region", "330103202600002", one, a4Land, "孙八");
        row("trailing blank matches as in the column", numberB + " ", one, a4Land, "张三丰");
        // Broken SQL and a number too long for Chinese numerals leave their boxes
        // empty; the rest of the certificate still prints.
        row("failed items print empty", numberB,
            {item("没有这个字段+", "0,0"), item("承方名称", "0,100"), item("出方名称)", "0,200"),
             item("leaseout.登记编号", "0,300", "居左", "中文数字")},
            a4Land, "李四", {}, a4, "数目太大，无法换算！");
    }

    void printing()
    {
        QFETCH(QString, number);
        QFETCH(QStringList, items);
        QFETCH(QSize, paper);
        QFETCH(QString, text);
        QFETCH(QRectF, box);
        QFETCH(QString, message);
        if (!items.isEmpty()) {
            QFETCH(QString, page);
            storeLayout(items, page);
        }
        // After A and B in key order, so nothing else here sees them first.
        testSupport::insertLease({"330102202700002", "2027-03-02", 120, "钱七", "", "", "", ""});
        testSupport::insertLease({"330103202600002", "2026-03-02", 120, "孙八", "", "", "", ""});
        // Rows the server read by scanning a table or an index rather than
        // looking one up by its key.
        auto scanned = [] {
            QSqlQuery query("SHOW SESSION STATUS WHERE Variable_name IN ('Handler_read_next','Handler_read_rnd_next')");
            qint64 rows = 0;
            while (query.next())
                rows += query.value(1).toLongLong();
            return rows;
        };
        const qint64 before = scanned();
        modalWatcher watcher;
        bool printed = false;
        const QList<pdfText::page> pages = printNumber(number, printed);
        // Each print item finds its registration through the keys.
        QCOMPARE(scanned() - before, 0);
        QCOMPARE(printed, !paper.isEmpty());
        QCOMPARE(watcher.take(), message.isEmpty() ? QStringList() : QStringList{"错误|" + message});
        QCOMPARE(pages.size(), printed ? 1 : 0);
        for (const pdfText::page &page : pages) {
            QCOMPARE(page.size.toSize(), paper);
            QCOMPARE(pdfText::allText(page), text); // and nothing of the other registration
        }
        if (!box.isNull())
            pdfText::checkInBox(pages.value(0), text, box, items[0].section('\t', 4, 4));
    }

    void testPrintUsesUnsavedTable()
    {
        // One registration only: the test page shows whichever the server returns.
        testSupport::exec(QStringLiteral("DELETE FROM leaseout WHERE 登记编号='%1'").arg(numberA));
        storeLayout({item("出方名称", "0,0")});
        frmSetPrintItem *form = openForm();
        fill(form->table(), {"0|承方名称||200,100|300,40|居右|无", "5|收费金额||0,300|400,40||金额大写"});
        form->table()->item(0, 1)->setData(Qt::FontRole, QFont("WenQuanYi Zen Hei", 24));
        form->paperEdit()->setText("A5");
        form->portraitButton()->setChecked(true);
        form->leftEdit()->clear(); // an emptied margin prints as the usual 50
        form->topEdit()->setText("10");

        modalWatcher watcher;
        form->btPrintClicked();
        QVERIFY(watcher.boxes.isEmpty());
        QCOMPARE(m_window->statusBar()->currentMessage(), QString("打印完成。"));
        const QList<pdfText::page> pages = pdfText::read(m_pdf);
        QCOMPARE(pages.size(), 1);
        QCOMPARE(pages[0].size.toSize(), QSize(420, 595));
        QCOMPARE(pdfText::allText(pages[0]), QString("李四壹仟伍佰零伍元整"));
        pdfText::checkInBox(pages[0], "李四", QRectF(50 + 200 * k, 10 + 100 * k, 300 * k, 40 * k), "居右");
        pdfText::checkInBox(pages[0], "壹仟伍佰零伍元整", QRectF(50, 10 + 300 * k, 400 * k, 40 * k), "居左");
        QVERIFY2(pdfText::find(pages[0], "李四").height() > 20, "not the 24-point font of the cell");
        QCOMPARE(printLayout::load().items.value(0).expression, QString("出方名称"));
    }

    // --- the same places whatever the resolution ------------------------------

    void samePlaceAtEveryResolution_data()
    {
        QTest::addColumn<int>("desktopDpi"); // 0: this process's desktop
        QTest::addColumn<int>("printerDpi"); // 0: the printer's own
        // Another desktop needs a process of its own (the resolution is read
        // when the application starts), with Qt Test's fixed 96 dpi turned off.
        for (int dpi : {96, 120, 192})
            QTest::addRow("desktop at %d dpi", dpi) << dpi << 0;
        QTest::newRow("desktop at the offscreen 100 dpi") << 100 << 0;
        for (int dpi : {96, 120, 192, 600, 1200})
            QTest::addRow("printer at %d dpi", dpi) << 0 << dpi;
    }

    void samePlaceAtEveryResolution()
    {
        QFETCH(int, desktopDpi);
        QFETCH(int, printerDpi);
        const bool otherDesktop = desktopDpi > 0 && desktopDpi != 100;
        if (testSupport::isChild()) {
            // Printing with the desktop's resolution would move every box here.
            QCoreApplication::setAttribute(Qt::AA_Use96Dpi, false);
            QCOMPARE(QPrinter(QPrinter::ScreenResolution).resolution(), desktopDpi);
            objPrint::setPdfOutputForTests(qEnvironmentVariable("ZELNOR_TEST_PDF"));
            bool printed = false;
            printNumber(numberB, printed);
            QVERIFY(printed);
            return;
        }
        storeLayout(certificate, certificatePage);
        bool printed = false;
        const pdfText::page reference = printNumber(numberB, printed).value(0);
        QVERIFY(printed);
        checkCertificate(reference);

        const QString pdf = m_dir.filePath("resolution.pdf");
        QFile::remove(pdf);
        if (otherDesktop) {
            qputenv("QT_FONT_DPI", QByteArray::number(desktopDpi));
            qputenv("ZELNOR_TEST_PDF", pdf.toLocal8Bit());
            QString output;
            const int code = testSupport::runInChild(
                {QString("samePlaceAtEveryResolution:") + QTest::currentDataTag()}, testSupport::socketPath(),
                testSupport::serverPort(), testSupport::serverDir(), &output);
            qunsetenv("QT_FONT_DPI");
            qunsetenv("ZELNOR_TEST_PDF");
            QVERIFY2(code == 0, qPrintable(output));
        } else {
            // The offscreen desktop's own 100 dpi, once Qt Test's 96 is off.
            QCoreApplication::setAttribute(Qt::AA_Use96Dpi, desktopDpi == 0);
            if (desktopDpi)
                QCOMPARE(QPrinter(QPrinter::ScreenResolution).resolution(), desktopDpi);
            objPrint::setPdfOutputForTests(pdf, printerDpi);
            printNumber(numberB, printed);
            QCoreApplication::setAttribute(Qt::AA_Use96Dpi, true);
            QVERIFY(printed);
        }
        const QList<pdfText::page> pages = pdfText::read(pdf);
        QCOMPARE(pages.size(), 1);
        checkCertificate(pages[0]);
        // All four edges: the font kept its point size too.
        printSupport::checkMoved(pages[0], reference, certificateTexts, 0.75);
    }

    // --- no printer ------------------------------------------------------------

    void noPrinterOffersPdf_data()
    {
        QTest::addColumn<QString>("entry");    // 打印 or 测试打印
        QTest::addColumn<bool>("accept");      // the offer
        QTest::addColumn<QString>("fileName"); // typed into the file dialog; empty: cancelled
        QTest::addColumn<QString>("proposed"); // the name the dialog proposed
        QTest::addColumn<QString>("saved");    // the file written; empty: none
        QTest::newRow("打印, saved, .pdf added") << "打印" << true << "证书" << "330102202600002.pdf" << "证书.pdf";
        QTest::newRow("打印, offer declined") << "打印" << false << "" << "" << "";
        QTest::newRow("打印, file dialog cancelled") << "打印" << true << "" << "330102202600002.pdf" << "";
        QTest::newRow("测试打印, saved") << "测试打印" << true << "test.PDF" << "测试打印.pdf" << "test.PDF";
    }

    void noPrinterOffersPdf()
    {
        QFETCH(QString, entry);
        QFETCH(bool, accept);
        QFETCH(QString, fileName);
        QFETCH(QString, proposed);
        QFETCH(QString, saved);
        if (!QPrinterInfo::availablePrinterNames().isEmpty())
            QSKIP("this machine has a printer; the no-printer path cannot be reached");
        objPrint::setPdfOutputForTests(QString());
        storeLayout(certificate, certificatePage);
        frmSetPrintItem *form = entry == "测试打印" ? editorWithCertificate() : nullptr;
        // The only registration left is B, which the test page shows too.
        testSupport::exec(QStringLiteral("DELETE FROM leaseout WHERE 登记编号='%1'").arg(numberA));

        QTemporaryDir folder;
        QString dialogProposed;
        modalWatcher watcher(accept ? QMessageBox::Yes : QMessageBox::No);
        watcher.handler = [&](QWidget *modal) {
            auto *dialog = qobject_cast<QFileDialog *>(modal);
            dialogProposed = QFileInfo(dialog->selectedFiles().value(0)).fileName();
            if (fileName.isEmpty())
                dialog->reject();
            else
                adminDriver::fileDialogAnswer(folder.filePath(fileName))(modal);
        };
        qint64 before = selectsRun();
        const qint64 counting = selectsRun() - before; // the count's own statement
        before = selectsRun();
        bool printed = false;
        if (form)
            form->btPrintClicked();
        else
            printNumber(numberB, printed);
        // One statement per item: the file shows the values fetched for the printer.
        QCOMPARE(selectsRun() - before - counting, qint64(certificate.size()));

        QCOMPARE(watcher.boxes.value(0).title, QString("错误"));
        QCOMPARE(watcher.boxes.value(0).text, QString("无法打印：没有可用的打印机。请先在系统中安装打印机并设为默认打印机。\n\n"
                                                       "要把这一页另存为 PDF 文件，到别处打印吗？"));
        QCOMPARE(watcher.boxes.value(0).buttons, (QStringList{"是(&Y)", "否(&N)"}));
        QCOMPARE(watcher.boxes.size(), accept ? 2 : 1);
        QCOMPARE(dialogProposed, proposed);
        QCOMPARE(QDir(folder.path()).entryList(QDir::Files), saved.isEmpty() ? QStringList() : QStringList{saved});
        if (form)
            QCOMPARE(m_window->statusBar()->currentMessage(),
                     saved.isEmpty() ? QString() : "已另存为 " + folder.filePath(saved));
        else
            QCOMPARE(printed, !saved.isEmpty());
        if (!saved.isEmpty()) {
            const QList<pdfText::page> pages = pdfText::read(folder.filePath(saved));
            QCOMPARE(pages.size(), 1);
            QCOMPARE(pdfText::allText(pages[0]), certificateTexts.join(""));
            checkCertificate(pages[0]);
        }
    }

    // --- the preview -----------------------------------------------------------

    void previewOverStationery_data()
    {
        QTest::addColumn<QString>("number");
        QTest::addColumn<int>("zoom");
        QTest::addColumn<QString>("format");
        QTest::addColumn<double>("scanDpi");     // the scan's real resolution
        QTest::addColumn<double>("recordedDpi"); // what its file says
        QTest::addColumn<int>("typedDpi");
        QTest::addColumn<QStringList>("texts");
        QTest::addColumn<QString>("record");
        QTest::addColumn<QSizeF>("scanMm"); // as the form shows it
        QTest::addColumn<bool>("warned");   // that the size is not the paper's
        QTest::addColumn<bool>("outlines"); // drawn for the screen, never as ink
        QTest::addColumn<bool>("calibrated"); // the default printer, a real queue, has a calibration
        const QSizeF a4(297, 210);
        const QString b = "登记：330102202600002";
        QTest::newRow("first registration, true size, PNG") << "" << 100 << "png" << 150.0 << 150.0 << 0
                                                           << QStringList{"王五", "赵六", "中山路8号", "壹佰贰拾元整"}
                                                           << "第一条登记：330102202600001" << a4 << false << false << false;
        QTest::newRow("typed number, zoomed, JPEG, outlines") << numberB << 200 << "jpg" << 300.0 << 300.0 << 0
                                                              << certificateTexts << b << a4 << false << true << false;
        QTest::newRow("resolution typed over the file's") << numberB << 75 << "png" << 200.0 << 72.0 << 200
                                                           << certificateTexts << b << a4 << false << false << false;
        // A scan that records 72 dpi but was made at 200 reads as 825 mm wide.
        QTest::newRow("wrong resolution shows in the size") << numberB << 100 << "png" << 200.0 << 72.0 << 0
                                                             << certificateTexts << b << QSizeF(825, 583.3) << true
                                                             << false << false;
        QTest::newRow("unknown number") << "330102209900001" << 100 << "png" << 150.0 << 150.0 << 0
                                        << QStringList{"", "", "", ""} << "没有这个登记编号，各项为空" << a4 << false
                                        << false << false;
        QTest::newRow("calibrated printer") << numberB << 100 << "png" << 150.0 << 150.0 << 0 << certificateTexts << b
                                            << a4 << false << false << true;
    }

    void previewOverStationery()
    {
        QFETCH(bool, calibrated);
        if (calibrated && printSupport::ranInPrintQueue())
            return;
        QFETCH(QString, number);
        QFETCH(int, zoom);
        QFETCH(QString, format);
        QFETCH(double, scanDpi);
        QFETCH(double, recordedDpi);
        QFETCH(int, typedDpi);
        QFETCH(QStringList, texts);
        QFETCH(QString, record);
        QFETCH(QSizeF, scanMm);
        QFETCH(bool, warned);
        QFETCH(bool, outlines);
        const printCalibration calibration{2.5, -1.0, 101, 99};
        if (calibrated)
            calibration.save(*appSettings::open(), printSupport::queueName());
        QList<QRectF> boxesPt;
        for (int n = 0; n < certificate.size(); ++n)
            boxesPt << nominalBox(n);
        const QString scan = printSupport::writeScan(m_dir.filePath("stationery." + format), a4Landscape, boxesPt,
                                                     scanDpi, recordedDpi);
        stationeryScan::remember(*appSettings::open(), scan, typedDpi);

        // The layout is the editor's, unsaved: nothing is stored.
        frmPrintPreview *preview = openPreview(editorWithCertificate());
        QVERIFY(preview);
        QCOMPARE(preview->scanEdit()->text(), scan);
        QCOMPARE(preview->scanDpiSpin()->value(), typedDpi);
        const QString printer = QPrinterInfo::defaultPrinterName();
        QCOMPARE(preview->printerLabel()->text(),
                 calibrated        ? "打印机：" + printer + "（校准：水平偏移 2.5 毫米，垂直偏移 -1 毫米，水平缩放 101%，垂直缩放 99%）"
                 : printer.isEmpty() ? QString("打印机：没有（打印时可以另存为 PDF 文件）")
                                     : "打印机：" + printer + "（未校准）");
        preview->numberEdit()->setText(number);
        preview->btRefreshClicked();
        preview->zoomChoice()->setCurrentIndex(preview->zoomChoice()->findData(zoom));
        preview->outlinesBox()->setChecked(outlines);
        QCOMPARE(preview->recordLabel()->text(), record);
        checkScanSize(preview->scanSizeLabel()->text(), scanMm,
                      warned ? QString("，纸张 297 × 210 毫米：请检查分辨率") : QString());
        QStringList shown;
        for (const printBox &box : preview->boxes())
            shown << box.text;
        QCOMPARE(shown, texts);

        // True size at 100%: the desktop's resolution times the zoom.
        QCOMPARE(preview->pixelsPerInch(), qRound(preview->logicalDpiX() * zoom / 100.0));
        const double px = preview->pixelsPerInch() / 72.0;
        QVERIFY(qAbs(preview->image().width() - a4Landscape.width() * px) < 1
                && qAbs(preview->image().height() - a4Landscape.height() * px) < 1);

        // Each value inside its box of the form, no ink anywhere else. By
        // default the page shows where the text lands on the paper, which is
        // where the scanned form has its boxes; as sent, where the
        // calibration sends it.
        auto ink = [&](const printCalibration &c, int *outside) {
            QList<QRect> boxesPx;
            for (const QRectF &box : boxesPt) {
                const QRectF r = printSupport::calibrated(c, box);
                boxesPx << QRectF(r.topLeft() * px, r.size() * px).toAlignedRect().adjusted(-1, -1, 1, 1);
            }
            return printSupport::inkInside(preview->image(), boxesPx, outside);
        };
        int outside = 0;
        QCOMPARE(preview->viewChoice()->currentIndex(), int(frmPrintPreview::view::onPaper));
        const QVector<int> inside = ink(printCalibration(), &outside);
        QCOMPARE(outside, 0);
        for (int n = 0; n < texts.size(); ++n)
            QVERIFY2((inside[n] > 10) == !texts[n].isEmpty(), qPrintable(QString("box %1: %2").arg(n).arg(inside[n])));
        // The scan lies under the page at its own scale, when its resolution
        // is right: the pale fill just inside each box's lower right corner,
        // white paper just outside it.
        for (const QRectF &box : warned ? QList<QRectF>() : boxesPt) {
            const QRgb fill = preview->image().pixel((box.bottomRight() * px - QPointF(3, 3)).toPoint());
            QVERIFY2(qBlue(fill) < 225 && qRed(fill) > 225, qPrintable(QString::number(fill, 16)));
            QCOMPARE(preview->image().pixel((box.bottomRight() * px + QPointF(3, 3)).toPoint()) | 0x0f0f0f,
                     qRgb(255, 255, 255));
        }
        QCOMPARE(storedLayout().size(), 1); // still no items stored
        if (!calibrated)
            return;
        preview->viewChoice()->setCurrentIndex(int(frmPrintPreview::view::asSent));
        QCOMPARE(preview->shownGeometry().calibration(), calibration);
        ink(calibration, &outside);
        QCOMPARE(outside, 0);
        ink(printCalibration(), &outside);
        QVERIFY2(outside > 100, qPrintable(QString::number(outside))); // moved out of the form's boxes
    }

    void previewFollowsTheEditorAndRemembersTheScan()
    {
        frmSetPrintItem *form = editorWithCertificate();
        frmPrintPreview *preview = openPreview(form);
        QVERIFY(preview);
        QCOMPARE(preview->boxes().size(), certificate.size());
        QVERIFY(preview->scanEdit()->text().isEmpty());
        QCOMPARE(preview->scanSizeLabel()->text(), QString());

        // Saved as a PDF: the page as printed, without the screen's outlines.
        preview->numberEdit()->setText(numberB);
        preview->btRefreshClicked();
        preview->outlinesBox()->setChecked(true);
        QTemporaryDir folder;
        modalWatcher watcher;
        QString proposed;
        watcher.handler = [&](QWidget *modal) {
            proposed = QFileInfo(qobject_cast<QFileDialog *>(modal)->selectedFiles().value(0)).fileName();
            adminDriver::fileDialogAnswer(folder.filePath("副本"))(modal);
        };
        button(preview, "另存为PDF(&S)")->click();
        QCOMPARE(watcher.take(), QStringList{"另存为 PDF"});
        QCOMPARE(proposed, numberB + ".pdf");
        QCOMPARE(m_window->statusBar()->currentMessage(), "已另存为 " + folder.filePath("副本.pdf"));
        const QList<pdfText::page> pages = pdfText::read(folder.filePath("副本.pdf"));
        QCOMPARE(pages.size(), 1);
        QCOMPARE(pdfText::allText(pages[0]), certificateTexts.join(""));
        checkCertificate(pages[0]);

        // Edits reach the open preview without another click.
        form->table()->item(1, 2)->setText("100,200");
        QTRY_COMPARE(preview->boxes().value(1).rect.topLeft(), QPoint(100, 200));
        form->paperEdit()->setText("A5");
        form->portraitButton()->setChecked(true);
        QTRY_COMPARE(preview->image().height(), qCeil(595 * preview->pixelsPerInch() / 72.0));
        // A second click shows the same preview again.
        QCOMPARE(openPreview(form), preview);
        QCOMPARE(m_window->findChildren<frmPrintPreview *>().size(), 1);

        // The scan chosen through the file dialog is remembered in a group
        // of its own, with the typed resolution.
        const QString scan = printSupport::writeScan(m_dir.filePath("空白证书.png"), QSizeF(420, 595), {}, 150, 150);
        watcher.handler = adminDriver::fileDialogAnswer(scan);
        button(preview, "选择底图...")->click();
        QCOMPARE(watcher.take(), QStringList{"选择空白证书的扫描图"});
        QCOMPARE(preview->scanEdit()->text(), scan);
        checkScanSize(preview->scanSizeLabel()->text(), QSizeF(148, 210));
        preview->scanDpiSpin()->setValue(300);
        checkScanSize(preview->scanSizeLabel()->text(), QSizeF(74, 105), "，纸张 148 × 210 毫米：请检查分辨率");
        QCOMPARE(storedValues({"Stationery/FileName", "Stationery/Dpi"}), scan + "|300");
        // Saving the layout clears its own groups; the scan and the printers'
        // corrections are not part of it.
        const printCalibration other{1.5, 2, 100, 100};
        other.save(*appSettings::open(), "收费窗口");
        form->btSaveClicked();
        QCOMPARE(storedValues({"Stationery/FileName", "Stationery/Dpi"}), scan + "|300");
        QCOMPARE(printCalibration::load(*appSettings::open(), "收费窗口"), other);

        button(preview, "退出(&E)")->click();
        QTRY_VERIFY(!form->preview());
        preview = openPreview(form);
        QCOMPARE(preview->scanEdit()->text(), scan);
        QCOMPARE(preview->scanDpiSpin()->value(), 300);
        button(preview, "不用底图")->click();
        QCOMPARE(storedValues({"Stationery/FileName", "Stationery/Dpi"}), QString("|300"));
        QCOMPARE(preview->scanSizeLabel()->text(), QString());

        // A file that is no picture says so and shows the page without it.
        QVERIFY(testSupport::writeFile(m_dir.filePath("notes.png"), "no picture here"));
        watcher.handler = adminDriver::fileDialogAnswer(m_dir.filePath("notes.png"));
        button(preview, "选择底图...")->click();
        QCOMPARE(preview->scanSizeLabel()->text(), QString("无法读取这个图片文件"));
        QVERIFY(!preview->image().isNull());
    }

    // --- calibration -----------------------------------------------------------

    // Crosses read off a 校准页 printed through the stored calibration by a
    // printer that moves the page as printerError says; the correction
    // computed from them puts every point of the sheet where it belongs.
    void calibrationForm_data()
    {
        QTest::addColumn<QString>("paper");                 // the editor's, as "size|landscape"
        QTest::addColumn<printCalibration>("printerError"); // how this printer moves the page
        QTest::addColumn<printCalibration>("stored");       // the calibration the page was printed with
        QTest::addColumn<QPointF>("misreadB"); // mm, with A read at 30,30; null: both read where they landed
        QTest::addColumn<QString>("note");     // what the form says after 计算
        const QString computed = "已算出校准值。保存后再打印一张校准页核对：十字应落在标出的位置上。";
        const QString misread = "量得的位置不合理：十字 B 应在十字 A 的右下方，两者相距与纸上的刻度相差不会太多。请重新量过。";
        const printCalibration none, earlier{1, -0.5, 100.5, 99.5};
        QTest::newRow("shifted printer, first page") << "A4|1" << printCalibration{3, -2, 100, 100} << none << QPointF()
                                                     << computed;
        QTest::newRow("stretching printer, portrait") << "A4|0" << printCalibration{0.5, 1, 101.2, 98.9} << none
                                                      << QPointF() << computed;
        QTest::newRow("checking an earlier calibration, A5") << "A5|0" << printCalibration{-2, 4, 99, 101} << earlier
                                                             << QPointF() << computed;
        QTest::newRow("perfect printer, A3") << "A3|0" << none << none << QPointF() << computed;
        const printCalibration error{2, -1.5, 100.8, 99.5};
        QTest::newRow("B measured before A") << "A4|1" << error << earlier << QPointF(20, 20) << misread;
        QTest::newRow("B where A is") << "A4|1" << error << earlier << QPointF(30, 30) << misread;
        QTest::newRow("stretched beyond any printer") << "A4|1" << error << earlier << QPointF(400, 180) << misread;
    }

    void calibrationForm()
    {
        QFETCH(QString, paper);
        QFETCH(printCalibration, printerError);
        QFETCH(printCalibration, stored);
        QFETCH(QPointF, misreadB);
        // A printer shared from another PC that is not connected now keeps
        // its calibration and can be chosen.
        stored.save(*appSettings::open(), "收费窗口");
        frmSetPrintItem *editor = editorWithCertificate();
        editor->paperEdit()->setText(paper.section('|', 0, 0));
        (paper.endsWith("|1") ? editor->landscapeButton() : editor->portraitButton())->setChecked(true);
        frmPrintCalibration *form = openCalibration(editor);
        QVERIFY(form);
        form->printerChoice()->setCurrentText("收费窗口");
        QCOMPARE(form->printerChoice()->currentText(), QString("收费窗口"));
        QCOMPARE(form->typed(), stored);
        {
            modalWatcher watcher;
            button(form, "校准页")->click();
            QCOMPARE(watcher.take(), QStringList{"错误|无法打印：打印机“收费窗口”无法使用。"});
        }
        // Where a point of the sheet lands, in mm, printed through c.
        auto landed = [&](const printCalibration &c, const QPointF &atMm) {
            return calibrated(printerError, calibrated(c, atMm * mm)) / mm;
        };
        const QSizeF sheet = QPageSize(printLayout::pageSizeOf(paper.section('|', 0, 0))).size(QPageSize::Point) / mm;
        const QList<calibrationPage::cross> crosses =
            calibrationPage::crosses(paper.endsWith("|1") ? sheet.transposed() : sheet);
        for (int c = 0; c < 2; ++c) {
            const QPointF at = misreadB.isNull() ? landed(stored, crosses[c].atMm) : c ? misreadB : QPointF(30, 30);
            form->measuredSpin(c, Qt::Horizontal)->setValue(at.x());
            form->measuredSpin(c, Qt::Vertical)->setValue(at.y());
        }
        button(form, "计算(&J)")->click();
        QTEST(form->noteLabel()->text(), "note");
        button(form, "保存(&S)")->click();
        QCOMPARE(m_window->statusBar()->currentMessage(), QString("数据保存OK."));
        const QString group = printCalibration::settingsGroup("收费窗口") + '/';
        if (!misreadB.isNull())
            QCOMPARE(printCalibration::load(*appSettings::open(), "收费窗口"), stored); // unchanged
        // Kept to hundredths of a millimetre and of a percent, as typed.
        for (const calibrationPage::cross &c : misreadB.isNull() ? crosses : QList<calibrationPage::cross>()) {
            const QPointF at = landed(form->typed(), c.atMm);
            QVERIFY2((at - c.atMm).manhattanLength() < 0.05,
                     qPrintable(QString("%1 lands at %2,%3").arg(c.name).arg(at.x()).arg(at.y())));
        }
        if (printerError.isIdentity() && stored.isIdentity())
            QVERIFY(form->typed().isIdentity());
        // 不校准 removes the printer's group.
        button(form, "不校准")->click();
        QCOMPARE(form->typed(), printCalibration());
        QCOMPARE(storedValues({group + "OffsetX"}), QString());
        QCOMPARE(m_window->statusBar()->currentMessage(), QString("打印机“收费窗口”不再校准。"));
    }

    // --- through a real print queue --------------------------------------------

    void calibrationAppliedOnThePrinter_data()
    {
        QTest::addColumn<QString>("entry");     // 打印 or 测试打印
        QTest::addColumn<QString>("storedFor"); // the printer the calibration is stored for; empty: this queue
        QTest::addColumn<bool>("typedInForm");  // typed into 打印机校准 rather than written to the file
        QTest::addColumn<printCalibration>("calibration");
        const printCalibration both{2.5, -1.0, 101, 99};
        QTest::newRow("打印") << "打印" << "" << false << both;
        QTest::newRow("测试打印, shift only") << "测试打印" << "" << false << printCalibration{-3, 4.5, 100, 100};
        QTest::newRow("打印, typed into the calibration form") << "打印" << "" << true << both;
        QTest::newRow("打印, stretch only") << "打印" << "" << false << printCalibration{0, 0, 97.5, 102};
        QTest::newRow("打印, another printer's calibration") << "打印" << "收费窗口" << false << both;
    }

    void calibrationAppliedOnThePrinter()
    {
        if (printSupport::ranInPrintQueue())
            return;
        QFETCH(QString, entry);
        QFETCH(QString, storedFor);
        QFETCH(bool, typedInForm);
        QFETCH(printCalibration, calibration);
        storeLayout(certificate, certificatePage);
        testSupport::exec(QStringLiteral("DELETE FROM leaseout WHERE 登记编号='%1'").arg(numberA));
        frmSetPrintItem *editor = editorWithCertificate();
        QCOMPARE(printerOutput::defaultPrinterName(), printSupport::queueName());
        modalWatcher watcher;
        auto print = [&] {
            if (entry == "测试打印") {
                editor->btPrintClicked();
                QCOMPARE(m_window->statusBar()->currentMessage(), QString("打印完成。"));
            } else {
                bool printed = false;
                printNumber(numberB, printed);
                QVERIFY(printed);
            }
        };
        print(); // as the printer is

        if (typedInForm) {
            frmPrintCalibration *form = openCalibration(editor);
            QCOMPARE(form->printerChoice()->currentText(), printSupport::queueName());
            form->offsetXSpin()->setValue(calibration.offsetXmm);
            form->offsetYSpin()->setValue(calibration.offsetYmm);
            form->scaleXSpin()->setValue(calibration.scaleXpercent);
            form->scaleYSpin()->setValue(calibration.scaleYpercent);
            button(form, "保存(&S)")->click();
        } else {
            calibration.save(*appSettings::open(), storedFor.isEmpty() ? printSupport::queueName() : storedFor);
        }
        print();
        QCOMPARE(watcher.take(), QStringList());

        const QList<pdfText::page> pages = printSupport::queuePages(2, a4Landscape);
        QCOMPARE(pages.size(), 2);
        // Full-page mode through the printer's filters: the boxes stand from
        // the paper's corner, not from the printer's unprintable rim.
        checkCertificate(pages[0]);
        const printCalibration applied = storedFor.isEmpty() ? calibration : printCalibration();
        printSupport::checkMoved(pages[1], pages[0], certificateTexts, 0.5, applied);
        checkCertificate(pages[1], applied);
        // A file goes to no printer: the default printer's calibration stays out of it.
        objPrint::setPdfOutputForTests(m_pdf);
        print();
        checkCertificate(pdfText::read(m_pdf).value(0));
    }

    void calibrationPageOnThePrinter()
    {
        if (printSupport::ranInPrintQueue())
            return;
        const printCalibration current{1, -0.5, 100.5, 99.5};
        current.save(*appSettings::open(), printSupport::queueName());
        frmSetPrintItem *editor = editorWithCertificate();
        frmPrintCalibration *form = openCalibration(editor);
        modalWatcher watcher;
        button(form, "校准页")->click();
        QCOMPARE(watcher.take(), QStringList());
        QVERIFY(form->noteLabel()->text().startsWith("校准页已送往打印机。"));
        const pdfText::page page = printSupport::queuePages(1, a4Landscape).value(0);
        QCOMPARE(page.size.toSize(), a4Landscape.toSize());
        const QString text = pdfText::allText(page);
        QVERIFY2(text.contains("打印机：" + printSupport::queueName()), qPrintable(text));
        QVERIFY(text.contains("水平偏移1毫米"));
        // Where the rulers and crosses stand for a calibration is
        // tst_printGeometry's; here the stored one reaches the page.
        // A printer calibrated earlier that is not connected now: the page
        // must not come out on the default printer instead.
        current.save(*appSettings::open(), "收费窗口");
        button(form, "退出(&E)")->click();
        QTRY_VERIFY(!editor->calibration());
        form = openCalibration(editor);
        form->printerChoice()->setCurrentText("收费窗口");
        button(form, "校准页")->click();
        QCOMPARE(watcher.take(), QStringList{"错误|无法打印：打印机“收费窗口”无法使用。"});
        QCOMPARE(printSupport::queueJobs(), 1);
    }
};

QTEST_MAIN(tst_print)
#include "tst_print.moc"
