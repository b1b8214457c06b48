#include "printSupport.h"

#include "testSupport.h"

#include <QDir>
#include <QElapsedTimer>
#include <QPainter>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QtMath>
#include <QtTest>

char *toString(const printCalibration &c)
{
    return qstrdup(qPrintable(QString("offset %1,%2 mm, scale %3%,%4%")
                                  .arg(c.offsetXmm).arg(c.offsetYmm).arg(c.scaleXpercent).arg(c.scaleYpercent)));
}

namespace printSupport {

QString writeScan(const QString &path, const QSizeF &sheetPt, const QList<QRectF> &boxesPt, double dpi,
                  double recordedDpi)
{
    const double k = dpi / 72;
    QImage scan(qCeil(sheetPt.width() * k), qCeil(sheetPt.height() * k), QImage::Format_RGB32);
    scan.fill(Qt::white);
    const int dpm = qRound(recordedDpi / 0.0254);
    scan.setDotsPerMeterX(dpm);
    scan.setDotsPerMeterY(dpm);
    QPainter painter(&scan);
    painter.setPen(QPen(QColor(0, 160, 0), 1));
    painter.setBrush(QColor(255, 250, 190));
    for (const QRectF &box : boxesPt)
        painter.drawRect(QRectF(box.topLeft() * k, box.size() * k));
    painter.end();
    scan.save(path);
    return path;
}

QPointF calibrated(const printCalibration &c, const QPointF &p)
{
    return QPointF(c.offsetXmm * mm + c.scaleXpercent / 100 * p.x(), c.offsetYmm * mm + c.scaleYpercent / 100 * p.y());
}

QRectF calibrated(const printCalibration &c, const QRectF &r)
{
    return QRectF(calibrated(c, r.topLeft()), calibrated(c, r.bottomRight()));
}

void checkMoved(const pdfText::page &page, const pdfText::page &reference, const QStringList &texts,
                double tolerance, const printCalibration &c)
{
    for (const QString &text : texts) {
        const QRectF is = pdfText::find(page, text), was = calibrated(c, pdfText::find(reference, text));
        QVERIFY2(!is.isNull() && !was.isNull(), qPrintable(text + " missing"));
        for (double d : {is.left() - was.left(), is.top() - was.top(), is.right() - was.right(),
                         is.bottom() - was.bottom()})
            QVERIFY2(qAbs(d) <= tolerance, qPrintable(QString("%1 is %2 pt off").arg(text).arg(d)));
    }
}

bool dark(QRgb p) { return qRed(p) < 110 && qGreen(p) < 110 && qBlue(p) < 110; }

QVector<int> inkInside(const QImage &image, const QList<QRect> &boxes, int *outside)
{
    QVector<int> inside(boxes.size());
    *outside = 0;
    const QImage rgb = image.convertToFormat(QImage::Format_RGB32);
    for (int y = 0; y < rgb.height(); ++y) {
        const QRgb *line = reinterpret_cast<const QRgb *>(rgb.constScanLine(y));
        for (int x = 0; x < rgb.width(); ++x) {
            if (!dark(line[x]))
                continue;
            int box = 0;
            while (box < boxes.size() && !boxes[box].contains(x, y))
                ++box;
            if (box < boxes.size())
                ++inside[box];
            else
                ++*outside;
        }
    }
    return inside;
}

bool inPrintQueue() { return qEnvironmentVariableIsSet("ZELNOR_PRINT_QUEUE"); }

QString queueName() { return qEnvironmentVariable("ZELNOR_PRINT_QUEUE"); }

bool ranInPrintQueue()
{
    if (inPrintQueue())
        return false;
    const QString row = QString::fromLatin1(QTest::currentTestFunction()) + QLatin1Char(':')
                        + QString::fromUtf8(QTest::currentDataTag());
    QTemporaryDir folder(QStringLiteral("/tmp/zelnor-print-queue-XXXXXX"));
    const QString script = QStringLiteral(ZELNOR_SOURCE_DIR "/tests/support/print-queue");
    std::unique_ptr<QProcess> child(testSupport::startChild({row}, testSupport::socketPath(), testSupport::serverPort(),
                                                            testSupport::serverDir(), {script, folder.path()}));
    if (!child->waitForFinished(180000)) {
        child->kill();
        child->waitForFinished();
    }
    const QString output = QString::fromLocal8Bit(child->readAll());
    if (child->exitStatus() == QProcess::NormalExit && child->exitCode() == 77)
        QTest::qSkip(qPrintable("no print queue on this machine: " + output.trimmed()), __FILE__, __LINE__);
    else if (child->exitStatus() != QProcess::NormalExit || child->exitCode() != 0)
        QTest::qFail(qPrintable("child process beside the print queue failed:\n" + output), __FILE__, __LINE__);
    return true;
}

QList<pdfText::page> queuePages(int count, const QSizeF &sheet)
{
    const QDir out(qEnvironmentVariable("ZELNOR_PRINT_QUEUE_OUT"));
    // cups-pdf names a file after the job's title and number ("…-job_7.pdf").
    static const QRegularExpression jobNumber(QStringLiteral("job_(\\d+)\\.pdf$"));
    auto files = [&] {
        QStringList names = out.entryList({QStringLiteral("*.pdf")}, QDir::Files);
        std::sort(names.begin(), names.end(), [](const QString &a, const QString &b) {
            return jobNumber.match(a).captured(1).toInt() < jobNumber.match(b).captured(1).toInt();
        });
        return names;
    };
    auto queueEmpty = [] {
        QProcess lpstat;
        lpstat.start(QStringLiteral("lpstat"), {QStringLiteral("-o")});
        lpstat.waitForFinished(10000);
        return lpstat.readAllStandardOutput().trimmed().isEmpty();
    };
    QElapsedTimer waited;
    waited.start();
    while (!(files().size() >= count && queueEmpty()) && waited.elapsed() < 60000)
        QTest::qWait(100);

    QList<pdfText::page> pages;
    for (const QString &name : files().mid(0, count)) {
        for (pdfText::page p : pdfText::read(out.filePath(name))) {
            if (qAbs(p.size.width() - sheet.height()) < 1 && qAbs(p.size.height() - sheet.width()) < 1
                && qAbs(sheet.width() - sheet.height()) >= 1) {
                // Turned a quarter counterclockwise onto the paper: the
                // sheet's x runs up the paper, its y to the right.
                const double paperHeight = p.size.height();
                for (pdfText::word &w : p.words)
                    w.box = QRectF(QPointF(paperHeight - w.box.bottom(), w.box.left()),
                                   QPointF(paperHeight - w.box.top(), w.box.right()));
                p.size = sheet;
            }
            pages << p;
        }
    }
    return pages;
}

int queueJobs()
{
    QProcess lpstat;
    lpstat.start(QStringLiteral("lpstat"), {QStringLiteral("-W"), QStringLiteral("all"), QStringLiteral("-o")});
    lpstat.waitForFinished(10000);
    return QString::fromLocal8Bit(lpstat.readAllStandardOutput()).split(QLatin1Char('\n'), Qt::SkipEmptyParts).size();
}

} // namespace printSupport
