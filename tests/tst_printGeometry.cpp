// Where printed boxes land: the same layout on every device and resolution,
// moved exactly by a printer's calibration; the calibration in the settings
// file, computed from measured crosses and printed as the calibration page.
// Pages are real PDFs read back with pdftotext -bbox and rasterised with
// pdftoppm. The print path through the program is tst_print's.
#include "calibrationPage.h"
#include "gbText.h"
#include "pdfText.h"
#include "printGeometry.h"
#include "printLayout.h"
#include "printSupport.h"
#include "printerOutput.h"
#include "testSupport.h"

#include <QPainter>
#include <QPdfWriter>
#include <QPrinter>
#include <QtTest>

using printSupport::dark;
using printSupport::mm;

Q_DECLARE_METATYPE(printCalibration)

char *toString(const printCalibration &c)
{
    return qstrdup(qPrintable(QString("offset %1,%2 mm, scale %3%,%4%")
                                  .arg(c.offsetXmm).arg(c.offsetYmm).arg(c.scaleXpercent).arg(c.scaleYpercent)));
}

namespace {

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
    return printSupport::calibrated(c, QRectF(margins.left() + units.x() * 0.75, margins.top() + units.y() * 0.75,
                                              units.width() * 0.75, units.height() * 0.75));
}

QStringList certificateTexts()
{
    QStringList texts;
    for (const printBox &box : certificate())
        texts << box.text;
    return texts;
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

    // Each device starts its painter where its page layout says and has its
    // own resolution; the boxes land where the layout puts them on all of
    // them, and a calibration moves every corner of every text exactly.
    void placedOnEveryDevice_data()
    {
        QTest::addColumn<int>("kind");
        QTest::addColumn<int>("dpi");
        QTest::addColumn<QString>("page");
        QTest::addColumn<printCalibration>("calibration");
        const printCalibration none, shifted{2.5, -1.0, 101, 99};
        QTest::newRow("PDF writer 72 dpi, A5") << int(device::pdfWriter) << 72 << "A5|1|50|50" << none;
        QTest::newRow("PDF writer 120 dpi, A3 without margins") << int(device::pdfWriter) << 120 << "A3|1|0|0" << none;
        QTest::newRow("printer 120 dpi, A4 portrait") << int(device::printer) << 120 << "A4|0|30|60" << none;
        // The desktop's resolution, which placed boxes by the screen before.
        QTest::newRow("printer at screen resolution") << int(device::printerScreen) << 0 << "A5|1|50|50" << none;
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

    void placedOnEveryDevice()
    {
        QFETCH(int, kind);
        QFETCH(int, dpi);
        QFETCH(QString, page);
        QFETCH(printCalibration, calibration);
        const printGeometry g = geometryOf(page);
        const QString reference = file("reference.pdf"), plainPdf = file("plain.pdf"), calibratedPdf = file("calibrated.pdf");
        QVERIFY(printPage::writePdf(reference, g, certificate()));
        QVERIFY(printOn(device(kind), dpi, plainPdf, g));
        const pdfText::page plain = pdfText::read(plainPdf).value(0);
        QCOMPARE(plain.size.toSize(), g.sheetSize().toSize());
        checkPlaced(plain, g);
        printSupport::checkMoved(plain, pdfText::read(reference).value(0), certificateTexts(), 0.75);
        if (calibration.isIdentity())
            return;
        QVERIFY(printOn(device(kind), dpi, calibratedPdf, geometryOf(page, calibration)));
        const pdfText::page moved = pdfText::read(calibratedPdf).value(0);
        printSupport::checkMoved(moved, plain, certificateTexts(), 0.5, calibration);
        checkPlaced(moved, g, calibration);
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
};

QTEST_MAIN(tst_printGeometry)
#include "tst_printGeometry.moc"
