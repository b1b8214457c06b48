// A printer's calibration kept per printer in the settings file and read
// safely, and the calibration page's rulers and crosses, read back with
// pdftotext -bbox and rasterised with pdftoppm. Printing through the program,
// at every resolution and through a real print queue, is tst_print's.
#include "calibrationPage.h"
#include "gbText.h"
#include "pdfText.h"
#include "printGeometry.h"
#include "printLayout.h"
#include "printSupport.h"
#include "testSupport.h"

#include <QPainter>
#include <QPdfWriter>
#include <QtTest>

using printSupport::dark;
using printSupport::mm;

namespace {

// The page setup as "paper|landscape|left|top", margins in points.
printGeometry geometryOf(const QString &page, const printCalibration &calibration = {})
{
    const QStringList p = page.split('|');
    return printGeometry(printLayout::pageSizeOf(p[0]), p[1] == "1", p[2].toDouble(), p[3].toDouble(), calibration);
}

// Paints one page with draw on a PDF writer of this resolution.
bool printOn(int dpi, const QString &path, const printGeometry &g, const std::function<void(QPainter &)> &draw)
{
    QPdfWriter writer(path);
    writer.setResolution(dpi);
    writer.setPageLayout(g.pageLayout());
    QPainter painter;
    if (!painter.begin(&writer))
        return false;
    draw(painter);
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
        QVERIFY(printOn(dpi, pdf, g, [&](QPainter &p) { calibrationPage::paint(p, g, "收费窗口"); }));
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
