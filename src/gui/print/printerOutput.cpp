#include "printerOutput.h"

#include "appSettings.h"

#include <QDir>
#include <QFileDialog>
#include <QMessageBox>
#include <QPainter>
#include <QPrinter>
#include <QPrinterInfo>
#include <QRegularExpression>

namespace {

QString s_pdfOutputForTests;
int s_resolutionForTests = 0;

} // namespace

namespace printerOutput {

void setPdfOutputForTests(const QString &path, int resolution)
{
    s_pdfOutputForTests = path;
    s_resolutionForTests = resolution;
}

QString calibrationName(const QPrinter &printer)
{
    return printer.outputFormat() == QPrinter::NativeFormat ? printer.printerName() : QString();
}

QString defaultPrinterName()
{
    return QPrinterInfo::defaultPrinterName();
}

bool printOne(QPrinter &printer, printGeometry geometry, QSettings &settings, const printPage::drawFunction &draw)
{
    geometry.setCalibration(printCalibration::load(settings, calibrationName(printer)));
    printer.setPageLayout(geometry.pageLayout());
    QPainter painter;
    if (!painter.begin(&printer))
        return false;
    draw(painter, geometry);
    return painter.end();
}

bool print(const printGeometry &geometry, const printPage::drawFunction &draw, const QString &printerName)
{
    QPrinter printer(QPrinter::HighResolution);
    if (!printerName.isEmpty()) {
        printer.setPrinterName(printerName);
        // A name the system does not know leaves the default printer in
        // place: the page would come out there, through that printer's
        // calibration, under another printer's name.
        if (printer.printerName() != printerName)
            return false;
    }
    if (!s_pdfOutputForTests.isEmpty()) {
        printer.setOutputFormat(QPrinter::PdfFormat);
        printer.setOutputFileName(s_pdfOutputForTests);
        if (s_resolutionForTests > 0)
            printer.setResolution(s_resolutionForTests);
    }
    return printOne(printer, geometry, *appSettings::open(), draw);
}

outcome printOrOfferPdf(const printGeometry &geometry, const printPage::drawFunction &draw,
                        const QString &suggestedName, QString *savedPath)
{
    if (print(geometry, draw))
        return outcome::printed;
    const auto answer = QMessageBox::critical(
        nullptr, QStringLiteral("错误"),
        QStringLiteral("无法打印：没有可用的打印机。请先在系统中安装打印机并设为默认打印机。\n\n"
                       "要把这一页另存为 PDF 文件，到别处打印吗？"),
        QMessageBox::Yes | QMessageBox::No, QMessageBox::Yes);
    if (answer != QMessageBox::Yes)
        return outcome::nothing;
    const QString path = savePdf(nullptr, geometry, draw, suggestedName);
    if (path.isEmpty())
        return outcome::nothing;
    if (savedPath)
        *savedPath = path;
    return outcome::savedAsPdf;
}

QString savePdf(QWidget *parent, const printGeometry &geometry, const printPage::drawFunction &draw,
                const QString &suggestedName)
{
    // A bare name would open the dialog in the program's working folder,
    // which is no place for a clerk's files.
    QString path = QFileDialog::getSaveFileName(parent, QStringLiteral("另存为 PDF"),
                                                QDir::home().filePath(suggestedName),
                                                QStringLiteral("PDF 文件 (*.pdf)"));
    if (path.isEmpty())
        return QString();
    if (!path.endsWith(QLatin1String(".pdf"), Qt::CaseInsensitive))
        path += QLatin1String(".pdf");
    if (!printPage::writePdf(path, geometry, draw)) {
        QMessageBox::critical(parent, QStringLiteral("错误"), QStringLiteral("无法写入文件：") + path);
        return QString();
    }
    return path;
}

QString pdfFileName(const QString &text)
{
    QString name = text.trimmed();
    name.replace(QRegularExpression(QStringLiteral("[\\\\/:*?\"<>|]")), QStringLiteral("_"));
    return name + QStringLiteral(".pdf");
}

} // namespace printerOutput
