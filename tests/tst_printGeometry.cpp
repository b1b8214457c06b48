// Where printed boxes land: the same layout at every device resolution, the
// per-printer calibration on paper and in the settings file, the calibration
// page's rulers and the preview over a scanned form. Pages are real PDFs read
// back with pdftotext -bbox and rasterised with pdftoppm.
//
// ZELNOR_KEEP_PICTURES=<folder> keeps the PDFs and images made here, for
// looking at them by eye.
#include "appSettings.h"
#include "calibrationPage.h"
#include "gbText.h"
#include "pdfText.h"
#include "printGeometry.h"
#include "printLayout.h"
#include "printPreview.h"
#include "printSupport.h"
#include "printerOutput.h"
#include "testSupport.h"

#include <QPainter>
#include <QPdfWriter>
#include <QPrinter>
#include <QPrinterInfo>
#include <QtTest>

using printSupport::dark;
using printSupport::writeScan;

Q_DECLARE_METATYPE(printCalibration)

char *toString(const printCalibration &c)
{
    return qstrdup(qPrintable(QString("offset %1,%2 mm, scale %3%,%4%")
                                  .arg(c.offsetXmm).arg(c.offsetYmm).arg(c.scaleXpercent).arg(c.scaleYpercent)));
}

namespace {

const double mm = 72.0 / 25.4; // points

// The page setup as "paper|landscape|left|top", margins in points.
printGeometry geometryOf(const QString &page, const printCalibration &calibration = {})
{
    const QStringList p = page.split('|');
    return printGeometry(printLayout::pageSizeOf(p[0]), p[1] == "1", p[2].toDouble(), p[3].toDouble(), calibration);
}

// The texts share no character, so pdfText::find can put split words together.
QList<printBox> certificate()
{
    const QFont body("WenQuanYi Zen Hei", 11);
    return {{QRect(40, 60, 260, 40), body, Qt::AlignLeft, "张三丰"},
            // The box measured 57 pt apart at 96 and 120 dpi.
            {QRect(380, 60, 260, 40), body, Qt::AlignLeft, "李四"},
            {QRect(40, 110, 600, 40), QFont("WenQuanYi Zen Hei", 16, QFont::Bold), Qt::AlignHCenter, "解放路号"},
            {QRect(380, 160, 260, 40), body, Qt::AlignRight, "壹仟伍佰零元整"},
            // Far from the origin, where a stretch shows most.
            {QRect(520, 300, 120, 40), body, Qt::AlignLeft, "远角"}};
}

// Where a box should be, in points on the sheet: 96 layout units an inch,
// from the corner inside the left and top margins, then the calibration.
QRectF expectedBox(const QRect &units, const printGeometry &g, const printCalibration &c = {})
{
    const QMarginsF margins = g.pageLayout().margins(QPageLayout::Point);
    const QRectF plain(margins.left() + units.x() * 0.75, margins.top() + units.y() * 0.75, units.width() * 0.75,
                       units.height() * 0.75);
    const double sx = c.scaleXpercent / 100, sy = c.scaleYpercent / 100;
    return QRectF(c.offsetXmm * mm + sx * plain.x(), c.offsetYmm * mm + sy * plain.y(), sx * plain.width(),
                  sy * plain.height());
}

// The edge of the text that its alignment fixes, and its top.
QPointF anchorOf(const QRectF &r, Qt::Alignment a)
{
    const double x = a & Qt::AlignRight ? r.right() : a & Qt::AlignHCenter ? r.center().x() : r.left();
    return QPointF(x, r.top());
}

// Each box's text stands where the layout (and calibration) put it, by the
// edge its alignment fixes and by its top, within 0.75 pt.
void checkPlaced(const pdfText::page &p, const printGeometry &g, const printCalibration &c = {})
{
    for (const printBox &box : certificate()) {
        const QPointF at = anchorOf(pdfText::find(p, box.text), box.alignment);
        const QPointF nominal = anchorOf(expectedBox(box.rect, g, c), box.alignment);
        QVERIFY2(qAbs(at.x() - nominal.x()) <= 0.75 && qAbs(at.y() - nominal.y()) <= 0.75,
                 qPrintable(QString("%1 at %2,%3 instead of %4,%5")
                                .arg(box.text).arg(at.x()).arg(at.y()).arg(nominal.x()).arg(nominal.y())));
    }
}

QString keepFolder() { return qEnvironmentVariable("ZELNOR_KEEP_PICTURES"); }

void keep(const QString &path, const QString &name)
{
    if (keepFolder().isEmpty())
        return;
    QDir().mkpath(keepFolder());
    QFile::remove(keepFolder() + '/' + name);
    QFile::copy(path, keepFolder() + '/' + name);
}

// The devices a page is printed on; each starts its painter wherever its page
// layout says.
enum class device { pdfWriter, printer, printerStandardMode, printerScreen };

// Prints one page (the certificate unless draw says otherwise) to a PDF file.
bool printOn(device kind, int dpi, const QString &path, const printGeometry &g,
             std::function<void(QPainter &)> draw = {})
{
    std::unique_ptr<QPagedPaintDevice> target;
    if (kind == device::pdfWriter) {
        auto *writer = new QPdfWriter(path);
        writer->setResolution(dpi);
        target.reset(writer);
    } else {
        auto *printer = new QPrinter(kind == device::printerScreen ? QPrinter::ScreenResolution : QPrinter::HighResolution);
        printer->setOutputFormat(QPrinter::PdfFormat);
        printer->setOutputFileName(path);
        if (kind != device::printerScreen)
            printer->setResolution(dpi);
        target.reset(printer);
    }
    QPageLayout page = g.pageLayout();
    if (kind == device::printerStandardMode)
        page.setMode(QPageLayout::StandardMode); // the painter starts at the margins instead
    target->setPageLayout(page);
    QPainter painter;
    if (!painter.begin(target.get()))
        return false;
    if (draw)
        draw(painter);
    else
        printPage::paint(painter, g, certificate());
    return painter.end();
}

// A page image from a PDF, at pixelsPerMm resolution.
QImage rasterOf(const QString &pdf, int pixelsPerMm)
{
    const QString base = pdf + "-raster";
    QProcess::execute("pdftoppm", {"-r", QString::number(pixelsPerMm * 25.4), "-png", "-singlefile", pdf, base});
    return QImage(base + ".png").convertToFormat(QImage::Format_RGB32);
}

} // namespace

class tst_printGeometry : public QObject
{
    Q_OBJECT
    QTemporaryDir m_dir;

    QString file(const QString &name) const { return m_dir.filePath(name); }

private slots:
    void initTestCase()
    {
        testSupport::initApplication();
        QVERIFY(m_dir.isValid());
    }

    void samePlaceAtEveryResolution_data()
    {
        QTest::addColumn<int>("kind");
        QTest::addColumn<int>("dpi");
        QTest::addColumn<QString>("page");
        const QStringList pages{"A5|1|50|50", "A4|0|30|60", "A3|1|0|0"};
        for (const QString &page : pages) {
            for (int dpi : {72, 96, 100, 120, 192, 300, 1200})
                QTest::addRow("PDF writer %d dpi, %s", dpi, qPrintable(page)) << int(device::pdfWriter) << dpi << page;
            for (int dpi : {96, 120, 600})
                QTest::addRow("printer %d dpi, %s", dpi, qPrintable(page)) << int(device::printer) << dpi << page;
            QTest::addRow("printer, margins as paint rectangle, %s", qPrintable(page))
                << int(device::printerStandardMode) << 120 << page;
            // The desktop's resolution, which placed boxes by the screen before.
            QTest::addRow("printer at screen resolution, %s", qPrintable(page))
                << int(device::printerScreen) << 0 << page;
        }
    }

    void samePlaceAtEveryResolution()
    {
        QFETCH(int, kind);
        QFETCH(int, dpi);
        QFETCH(QString, page);
        const printGeometry g = geometryOf(page);
        const QString pdf = file("resolution.pdf"), reference = file("reference.pdf");
        QVERIFY(printPage::writePdf(reference, g, certificate()));
        QVERIFY(printOn(device(kind), dpi, pdf, g));
        if (page.startsWith("A5"))
            keep(pdf, QString("resolution-%1-%2.pdf").arg(kind).arg(dpi));

        const QList<pdfText::page> pages = pdfText::read(pdf), referencePages = pdfText::read(reference);
        QCOMPARE(pages.size(), 1);
        QCOMPARE(pages[0].size.toSize(), g.sheetSize().toSize());
        checkPlaced(pages[0], g);
        for (const printBox &box : certificate()) {
            const QRectF found = pdfText::find(pages[0], box.text), same = pdfText::find(referencePages[0], box.text);
            // All four edges: the font kept its point size too.
            for (double d : {found.left() - same.left(), found.top() - same.top(), found.right() - same.right(),
                             found.bottom() - same.bottom()})
                QVERIFY2(qAbs(d) <= 0.75, qPrintable(box.text + QString(" differs by %1 pt").arg(d)));
        }
    }

    void calibrationMovesEveryBox_data()
    {
        QTest::addColumn<int>("kind");
        QTest::addColumn<int>("dpi");
        QTest::addColumn<QString>("page");
        QTest::addColumn<printCalibration>("calibration");
        const printCalibration shifted{2.5, -1.0, 101, 99};
        QTest::newRow("shift and stretch, PDF writer 96 dpi") << int(device::pdfWriter) << 96 << "A4|1|30|60" << shifted;
        QTest::newRow("shift and stretch, PDF writer 1200 dpi") << int(device::pdfWriter) << 1200 << "A5|1|20|10"
                                                                << shifted;
        QTest::newRow("shift and stretch, printer 600 dpi") << int(device::printer) << 600 << "A4|1|30|60" << shifted;
        QTest::newRow("shift and stretch, printer with margins as origin")
            << int(device::printerStandardMode) << 300 << "A4|1|30|60" << shifted;
        QTest::newRow("shift only") << int(device::pdfWriter) << 300 << "A4|1|50|50" << printCalibration{-3, 4.5, 100, 100};
        QTest::newRow("stretch only, no margins") << int(device::pdfWriter) << 300 << "A4|1|0|0"
                                                  << printCalibration{0, 0, 97.5, 102};
    }

    void calibrationMovesEveryBox()
    {
        QFETCH(int, kind);
        QFETCH(int, dpi);
        QFETCH(QString, page);
        QFETCH(printCalibration, calibration);
        const QString plainPdf = file("plain.pdf"), calibratedPdf = file("calibrated.pdf");
        QVERIFY(printOn(device(kind), dpi, plainPdf, geometryOf(page)));
        QVERIFY(printOn(device(kind), dpi, calibratedPdf, geometryOf(page, calibration)));
        const pdfText::page plain = pdfText::read(plainPdf).value(0), calibrated = pdfText::read(calibratedPdf).value(0);
        // Each corner of the text moves as a point of the sheet does: offset +
        // scale × its distance from the paper's corner.
        auto moved = [&](QPointF p) {
            return QPointF(calibration.offsetXmm * mm + calibration.scaleXpercent / 100 * p.x(),
                           calibration.offsetYmm * mm + calibration.scaleYpercent / 100 * p.y());
        };
        for (const printBox &box : certificate()) {
            const QRectF was = pdfText::find(plain, box.text), is = pdfText::find(calibrated, box.text);
            for (const QPointF &d : {is.topLeft() - moved(was.topLeft()), is.bottomRight() - moved(was.bottomRight())})
                QVERIFY2(qAbs(d.x()) <= 0.5 && qAbs(d.y()) <= 0.5,
                         qPrintable(QString("%1 off by %2,%3 pt").arg(box.text).arg(d.x()).arg(d.y())));
        }
        checkPlaced(calibrated, geometryOf(page), calibration);
    }

    void fileOutputIsNeverCalibrated_data()
    {
        QTest::addColumn<bool>("throughPrinter"); // else printPage::writePdf
        QTest::addColumn<int>("dpi");
        QTest::addColumn<QString>("page");
        QTest::newRow("PDF file") << false << 1200 << "A4|1|30|60";
        QTest::newRow("printer to file, 96 dpi") << true << 96 << "A5|1|50|50";
        QTest::newRow("printer to file, 600 dpi") << true << 600 << "A3|0|20|30";
    }

    void fileOutputIsNeverCalibrated()
    {
        // A file goes to no printer, so no printer's calibration belongs in
        // it: neither the one the geometry carries nor the default printer's.
        QFETCH(bool, throughPrinter);
        QFETCH(int, dpi);
        QFETCH(QString, page);
        const QString pdf = file("file.pdf");
        const printGeometry g = geometryOf(page, printCalibration{5, 5, 110, 90});
        if (throughPrinter) {
            QPrinter printer(QPrinter::HighResolution);
            QSettings settings(file("printer.ini"), QSettings::IniFormat);
            printCalibration{5, 5, 110, 110}.save(settings, printer.printerName());
            printer.setOutputFormat(QPrinter::PdfFormat);
            printer.setOutputFileName(pdf);
            printer.setResolution(dpi);
            QVERIFY(printerOutput::printOne(printer, g, settings, [&](QPainter &painter, const printGeometry &used) {
                printPage::paint(painter, used, certificate());
            }));
        } else {
            QVERIFY(printPage::writePdf(pdf, g, certificate(), dpi));
            QTest::ignoreMessage(QtWarningMsg, "QPainter::begin(): Returned false");
            QVERIFY(!printPage::writePdf(file("no such folder/saved.pdf"), g, certificate()));
        }
        const pdfText::page p = pdfText::read(pdf).value(0);
        QCOMPARE(p.size.toSize(), g.sheetSize().toSize()); // the page setup reached the printer
        checkPlaced(p, g);
    }

    void printerOutputWithoutPrinter()
    {
        if (!QPrinterInfo::availablePrinterNames().isEmpty())
            QSKIP("this machine has a printer; the no-printer path cannot be reached");
        QPrinter printer(QPrinter::HighResolution);
        QSettings settings(file("none.ini"), QSettings::IniFormat);
        bool drawn = false;
        QTest::ignoreMessage(QtWarningMsg, "QPainter::begin(): Returned false");
        QVERIFY(!printerOutput::printOne(printer, printGeometry(), settings,
                                         [&](QPainter &, const printGeometry &) { drawn = true; }));
        QVERIFY(!drawn);
    }

    void calibrationStoredPerPrinter_data()
    {
        QTest::addColumn<QString>("printer");
        QTest::addColumn<QString>("neighbour"); // a name an unescaped key would confuse with it
        QTest::newRow("plain name") << "HP LaserJet 1020" << "HP LaserJet 1020 ";
        QTest::newRow("Chinese name") << "财务室打印机" << "财务室打印机2";
        QTest::newRow("slash") << "a/b" << "a";
        QTest::newRow("slash against backslash") << "a/b" << "a\\b";
        QTest::newRow("Windows share") << "\\\\server\\收费窗口" << "server/收费窗口";
        QTest::newRow("doubled slash") << "a//b" << "a/b";
        QTest::newRow("escape spelled out") << "a%2Fb" << "a/b";
        QTest::newRow("trailing slash") << "lp/" << "lp";
    }

    void calibrationStoredPerPrinter()
    {
        QFETCH(QString, printer);
        QFETCH(QString, neighbour);
        const QString path = file("calibration.ini");
        QFile::remove(path);
        const printCalibration mine{2.5, -1, 101, 99.5}, theirs{-4, 3.25, 98, 100.5};
        {
            QSettings settings(path, QSettings::IniFormat);
            settings.setIniCodec(gbText::codec());
            mine.save(settings, printer);
            theirs.save(settings, neighbour);
        }
        // QSettings keeps one parsed copy per path: read a copy under another
        // name, as another run of the program would.
        const QString copy = file(QString("calibration-%1.ini").arg(QTest::currentDataTag()));
        QFile::remove(copy);
        QVERIFY(QFile::copy(path, copy));
        QSettings settings(copy, QSettings::IniFormat);
        settings.setIniCodec(gbText::codec());
        QCOMPARE(printCalibration::load(settings, printer), mine);
        QCOMPARE(printCalibration::load(settings, neighbour), theirs);
        QStringList listed = printCalibration::printers(settings);
        listed.sort();
        QStringList both{printer, neighbour};
        both.sort();
        QCOMPARE(listed, both);
        QCOMPARE(settings.childGroups(), QStringList{"Calibration"});

        printCalibration::remove(settings, printer);
        QCOMPARE(printCalibration::load(settings, printer), printCalibration());
        QCOMPARE(printCalibration::load(settings, neighbour), theirs);
    }

    void calibrationReadsSafely_data()
    {
        QTest::addColumn<QString>("stored");   // OffsetX|OffsetY|ScaleX|ScaleY as the file holds them
        QTest::addColumn<QString>("expected"); // as read
        QTest::newRow("numbers") << "2.5|-1|101|99" << "2.5|-1|101|99";
        QTest::newRow("blanks around") << " 1.25 | -0.5 | 100.5 | 99.75 " << "1.25|-0.5|100.5|99.75";
        QTest::newRow("missing") << "|||" << "0|0|100|100";
        QTest::newRow("not numbers") << "abc|2,5|x|%" << "0|0|100|100";
        QTest::newRow("zero scale would erase the page") << "0|0|0|0" << "0|0|100|100";
        QTest::newRow("beyond the limits") << "50.5|-51|79|121" << "0|0|100|100";
        QTest::newRow("at the limits") << "50|-50|80|120" << "50|-50|80|120";
    }

    void calibrationReadsSafely()
    {
        QFETCH(QString, stored);
        QFETCH(QString, expected);
        const QString path = file(QString("read-%1.ini").arg(QTest::currentDataTag()));
        QSettings settings(path, QSettings::IniFormat);
        settings.setIniCodec(gbText::codec());
        const QStringList keys{"OffsetX", "OffsetY", "ScaleX", "ScaleY"};
        const QStringList values = stored.split('|');
        for (int i = 0; i < keys.size(); ++i) {
            if (!values[i].isEmpty())
                settings.setValue(printCalibration::settingsGroup("lp") + '/' + keys[i], values[i]);
        }
        const printCalibration c = printCalibration::load(settings, "lp");
        QCOMPARE(QString("%1|%2|%3|%4").arg(c.offsetXmm).arg(c.offsetYmm).arg(c.scaleXpercent).arg(c.scaleYpercent),
                 expected);
    }

    void noPrinterNoCalibration()
    {
        // A page that goes to a file, not a printer, is never corrected.
        QSettings settings(file("none.ini"), QSettings::IniFormat);
        printCalibration{1, 1, 101, 101}.save(settings, QString());
        QCOMPARE(printCalibration::load(settings, QString()), printCalibration());
        QCOMPARE(settings.allKeys(), QStringList());
        QCOMPARE(printCalibration::printers(settings), QStringList());
    }

    void layoutSaveKeepsCalibrationAndScan()
    {
        // Saving the layout clears its own groups; the printers' corrections
        // and the chosen scan are not part of it.
        testSupport::removeSettingsFile();
        {
            const auto settings = appSettings::open();
            printCalibration{1.5, 2, 100, 100}.save(*settings, "收费窗口");
            stationeryScan::remember(*settings, "/home/办公室/空白证书.png", 300);
        }
        printLayout layout;
        layout.items.append(printItem::fromSettingsValue("出方名称\t\t0,0\t10,10\t居左\t无"));
        layout.save();
        const auto settings = appSettings::open();
        QCOMPARE(printCalibration::load(*settings, "收费窗口"), (printCalibration{1.5, 2, 100, 100}));
        QCOMPARE(stationeryScan::fileName(*settings), QString("/home/办公室/空白证书.png"));
        QCOMPARE(stationeryScan::typedDpi(*settings), 300.0);
        QCOMPARE(printLayout::load().items.size(), 1);
        testSupport::removeSettingsFile();
    }

    void correctedFromMeasuredCrosses_data()
    {
        QTest::addColumn<QSizeF>("sheetMm");
        QTest::addColumn<printCalibration>("printerError"); // how this printer moves the page
        QTest::addColumn<printCalibration>("current");      // the calibration the page was printed with
        QTest::newRow("shifted printer, first page") << QSizeF(297, 210) << printCalibration{3, -2, 100, 100}
                                                     << printCalibration();
        QTest::newRow("stretching printer") << QSizeF(210, 297) << printCalibration{0.5, 1, 101.2, 98.9}
                                            << printCalibration();
        QTest::newRow("checking an earlier calibration") << QSizeF(148, 210) << printCalibration{-2, 4, 99, 101}
                                                         << printCalibration{1, -3, 100.5, 99.5};
        QTest::newRow("perfect printer") << QSizeF(297, 420) << printCalibration() << printCalibration();
    }

    void correctedFromMeasuredCrosses()
    {
        QFETCH(QSizeF, sheetMm);
        QFETCH(printCalibration, printerError);
        QFETCH(printCalibration, current);
        const QList<calibrationPage::cross> crosses = calibrationPage::crosses(sheetMm);
        QCOMPARE(crosses.size(), 4);
        // What the operator reads off with a ruler, in millimetres.
        auto onPaper = [&](QPointF nominalMm, const printCalibration &c) {
            const QTransform t = c.sheetTransform() * printerError.sheetTransform();
            return t.map(nominalMm * mm) / mm;
        };
        const QPointF a = crosses[0].atMm, b = crosses[1].atMm;
        const std::optional<printCalibration> computed = current.corrected(a, onPaper(a, current), b, onPaper(b, current));
        QVERIFY(computed);
        const printCalibration next = *computed;
        // Kept to hundredths of a millimetre and of a percent, as typed.
        for (const calibrationPage::cross &c : crosses) {
            const QPointF miss = onPaper(c.atMm, next) - c.atMm;
            QVERIFY2(miss.manhattanLength() < 0.03, qPrintable(c.name));
        }
        if (printerError.isIdentity() && current.isIdentity())
            QVERIFY(next.isIdentity());
    }

    void correctionRefusesNonsense_data()
    {
        QTest::addColumn<QPointF>("measuredB");
        QTest::newRow("same place as A") << QPointF(30, 30);
        QTest::newRow("B before A") << QPointF(20, 170);
        QTest::newRow("stretched beyond any printer") << QPointF(400, 180);
    }

    void correctionRefusesNonsense()
    {
        QFETCH(QPointF, measuredB);
        const printCalibration current{1, 1, 100, 100};
        QVERIFY(!current.corrected({30, 30}, {30, 30}, {270, 180}, measuredB));
        QVERIFY(!current.corrected({30, 30}, {30, 30}, {30, 180}, {31, 180}));
    }

    void calibrationPageMarks_data()
    {
        QTest::addColumn<QString>("page");
        QTest::addColumn<int>("dpi");
        QTest::addColumn<printCalibration>("calibration");
        QTest::newRow("A4 portrait") << "A4|0|50|50" << 600 << printCalibration();
        QTest::newRow("A4 landscape, 96 dpi") << "A4|1|50|50" << 96 << printCalibration();
        QTest::newRow("A5 landscape") << "A5|1|20|20" << 300 << printCalibration();
        QTest::newRow("A3 portrait") << "A3|0|50|50" << 1200 << printCalibration();
        QTest::newRow("A4 landscape, checking a calibration") << "A4|1|50|50" << 600
                                                              << printCalibration{2.5, -1, 101, 99};
    }

    void calibrationPageMarks()
    {
        QFETCH(QString, page);
        QFETCH(int, dpi);
        QFETCH(printCalibration, calibration);
        const printGeometry g = geometryOf(page, calibration);
        const QString pdf = file("calibration.pdf");
        QVERIFY(printOn(device::pdfWriter, dpi, pdf, g, [&](QPainter &p) { calibrationPage::paint(p, g, "收费窗口"); }));
        keep(pdf, QString("calibration-%1.pdf").arg(QTest::currentDataTag()));
        const pdfText::page text = pdfText::read(pdf).value(0);
        QCOMPARE(text.size.toSize(), g.sheetSize().toSize());
        QVERIFY(pdfText::allText(text).contains("校准页"));
        QVERIFY(pdfText::allText(text).contains("打印机：收费窗口"));
        const QSizeF sheetMm = g.sheetSize() / mm;
        const QTransform c = calibration.sheetTransform(); // points to points

        // Every number of both rulers, centred on its mark: N mm from the left
        // edge along the top, from the top edge down the left side. (The
        // explanation further in has numbers of its own.)
        int numbers = 0;
        for (const pdfText::word &w : text.words) {
            bool isNumber = false;
            const int n = w.text.toInt(&isNumber);
            const QPointF at = c.inverted().map(w.box.center()) / mm; // where it was meant to be, in mm
            if (!isNumber || (at.x() > 16 && at.y() > 16))
                continue;
            if (at.y() < 16)
                QVERIFY2(qAbs(w.box.center().x() - c.map(QPointF(n * mm, 0)).x()) <= 0.5, qPrintable(w.text));
            else
                QVERIFY2(qAbs(w.box.center().y() - c.map(QPointF(0, n * mm)).y()) <= 0.5, qPrintable(w.text));
            ++numbers;
        }
        const int lastX = qFloor((sheetMm.width() - 5) / 5) * 5, lastY = qFloor((sheetMm.height() - 5) / 5) * 5;
        QCOMPARE(numbers, (lastX - calibrationPage::firstNumberMm) / 10 + 1 + (lastY - calibrationPage::firstNumberMm) / 10 + 1);

        // The marks and crosses, on the page as rasterised at 10 px a mm.
        const int pxPerMm = 10;
        const QImage raster = rasterOf(pdf, pxPerMm);
        QVERIFY(!raster.isNull());
        auto inkAt = [&](QPointF nominalMm) {
            const QPointF p = c.map(nominalMm * mm) / mm * pxPerMm;
            // Lines are 0.15-0.2 mm wide: look one pixel around.
            for (int dx = -1; dx <= 1; ++dx)
                for (int dy = -1; dy <= 1; ++dy)
                    if (dark(raster.pixel(qRound(p.x()) + dx, qRound(p.y()) + dy)))
                        return true;
            return false;
        };
        for (int x = calibrationPage::firstMarkMm; x <= lastX; x += 5) {
            // A mark every 5 mm; the centimetre marks are the longer ones.
            QVERIFY2(inkAt({double(x), 7.5}), qPrintable(QString("mark at %1 mm").arg(x)));
            QCOMPARE(inkAt({double(x), 9.5}), x % 10 == 0);
            if (x < lastX)
                QVERIFY2(!inkAt({x + 2.5, 7.5}), qPrintable(QString("ink between marks at %1 mm").arg(x + 2.5)));
        }
        for (int y = calibrationPage::firstMarkMm; y <= lastY; y += 5) {
            QVERIFY2(inkAt({7.5, double(y)}), qPrintable(QString("mark at %1 mm").arg(y)));
            QCOMPARE(inkAt({9.5, double(y)}), y % 10 == 0);
        }
        for (const calibrationPage::cross &cross : calibrationPage::crosses(sheetMm)) {
            for (const QPointF &arm : {QPointF(0, 0), QPointF(5, 0), QPointF(-5, 0), QPointF(0, 5), QPointF(0, -5)})
                QVERIFY2(inkAt(cross.atMm + arm), qPrintable(cross.name));
            for (const QPointF &between : {QPointF(2.5, 2.5), QPointF(-2.5, 2.5), QPointF(2.5, -2.5), QPointF(-2.5, -2.5)})
                QVERIFY2(!inkAt(cross.atMm + between), qPrintable(cross.name));
            QVERIFY(pdfText::allText(text).contains(
                QString("%1(%2,%3)").arg(cross.name).arg(cross.atMm.x()).arg(cross.atMm.y())));
        }
    }

    void previewOverStationery_data()
    {
        QTest::addColumn<QString>("page");
        QTest::addColumn<int>("pixelsPerInch");
        QTest::addColumn<QString>("format");
        QTest::addColumn<double>("scanDpi");     // the scan's real resolution
        QTest::addColumn<double>("recordedDpi"); // what its file says
        QTest::addColumn<double>("typedDpi");
        QTest::addColumn<printCalibration>("calibration");
        QTest::addColumn<bool>("outlines");
        const printCalibration none;
        QTest::newRow("true size, PNG at 150 dpi") << "A4|1|30|60" << 96 << "png" << 150.0 << 150.0 << 0.0 << none
                                                   << false;
        QTest::newRow("zoomed, JPEG at 300 dpi") << "A4|1|30|60" << 192 << "jpg" << 300.0 << 300.0 << 0.0 << none
                                                 << false;
        QTest::newRow("file records no useful resolution, typed") << "A5|1|50|10" << 144 << "png" << 200.0 << 72.0
                                                                  << 200.0 << none << true;
        QTest::newRow("calibrated printer") << "A4|1|30|60" << 120 << "png" << 150.0 << 150.0 << 0.0
                                            << printCalibration{2.5, -1, 101, 99} << false;
        QTest::newRow("small zoom, outlines") << "A4|1|30|60" << 72 << "png" << 100.0 << 100.0 << 0.0 << none << true;
    }

    void previewOverStationery()
    {
        QFETCH(QString, page);
        QFETCH(int, pixelsPerInch);
        QFETCH(QString, format);
        QFETCH(double, scanDpi);
        QFETCH(double, recordedDpi);
        QFETCH(double, typedDpi);
        QFETCH(printCalibration, calibration);
        QFETCH(bool, outlines);
        const printGeometry g = geometryOf(page, calibration);
        const QList<printBox> boxes = certificate();
        // The form's boxes are where the values will land on paper.
        QList<QRectF> boxesPt;
        for (const printBox &box : boxes)
            boxesPt << expectedBox(box.rect, g, calibration);
        const QString scanPath = writeScan(file("scan." + format), g.sheetSize(), boxesPt, scanDpi, recordedDpi);
        const stationeryScan scan = stationeryScan::load(scanPath, typedDpi);
        QVERIFY(!scan.isNull());
        QVERIFY(qAbs(scan.sizeMm().width() - g.sheetSize().width() / mm) < 1);

        printPreview::options how;
        how.pixelsPerInch = pixelsPerInch;
        how.outlines = outlines;
        const QImage preview = printPreview::render(g, boxes, how, scan);
        keep(scanPath, "scan." + format);
        if (!keepFolder().isEmpty())
            preview.save(keepFolder() + QString("/preview-%1.png").arg(QTest::currentDataTag()));
        const double k = pixelsPerInch / 72.0;
        QVERIFY(qAbs(preview.width() - g.sheetSize().width() * k) < 1);
        QVERIFY(qAbs(preview.height() - g.sheetSize().height() * k) < 1);

        // Every dark pixel is text, inside its box of the form, and each box has its text.
        QList<QRect> boxesPx;
        for (const QRectF &box : boxesPt)
            boxesPx << QRectF(box.topLeft() * k, box.size() * k).toAlignedRect().adjusted(-1, -1, 1, 1);
        int outside = 0;
        const QVector<int> inBox = printSupport::inkInside(preview, boxesPx, &outside);
        QCOMPARE(outside, 0);
        for (int box = 0; box < boxes.size(); ++box)
            QVERIFY2(inBox[box] > 10, qPrintable(boxes[box].text));

        // The scan lies under the page at its own scale: the pale fill just
        // inside each box's lower right corner, white paper just outside it.
        for (const QRectF &box : boxesPt) {
            const QPoint inside = (box.bottomRight() * k - QPointF(3, 3)).toPoint();
            const QPoint outside = (box.bottomRight() * k + QPointF(3, 3)).toPoint();
            QVERIFY2(qBlue(preview.pixel(inside)) < 225 && qRed(preview.pixel(inside)) > 225,
                     qPrintable(QString("no scan at %1,%2").arg(inside.x()).arg(inside.y())));
            QCOMPARE(preview.pixel(outside) | 0x0f0f0f, qRgb(255, 255, 255));
        }
    }

    void stationeryFromFile_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<double>("typedDpi");
        QTest::addColumn<QSizeF>("sizeMm"); // empty: not an image
        QTest::newRow("PNG, its own resolution") << "空白证书.png" << 0.0 << QSizeF(210, 297);
        QTest::newRow("JPEG, its own resolution") << "scan.jpg" << 0.0 << QSizeF(210, 297);
        QTest::newRow("typed resolution wins") << "scan.png" << 600.0 << QSizeF(105, 148.5);
        QTest::newRow("not an image") << "notes.png" << 0.0 << QSizeF();
        QTest::newRow("missing") << "missing.png" << 300.0 << QSizeF();
    }

    void stationeryFromFile()
    {
        QFETCH(QString, name);
        QFETCH(double, typedDpi);
        QFETCH(QSizeF, sizeMm);
        const QString path = file(name);
        if (name.startsWith("notes")) {
            QFile f(path);
            QVERIFY(f.open(QIODevice::WriteOnly));
            f.write("no picture here");
        } else if (!name.startsWith("missing")) {
            writeScan(path, QSizeF(210 * mm, 297 * mm), {}, 300, 300);
        }
        const stationeryScan scan = stationeryScan::load(path, typedDpi);
        QCOMPARE(scan.isNull(), sizeMm.isEmpty());
        QVERIFY2(qAbs(scan.sizeMm().width() - sizeMm.width()) < 0.2
                     && qAbs(scan.sizeMm().height() - sizeMm.height()) < 0.2,
                 qPrintable(QString("%1 x %2 mm").arg(scan.sizeMm().width()).arg(scan.sizeMm().height())));
    }
};

QTEST_MAIN(tst_printGeometry)
#include "tst_printGeometry.moc"
