#include "printPreview.h"

#include "appSettings.h"

#include <QImageReader>
#include <QPainter>
#include <QSettings>
#include <QtMath>

namespace {

const double inchesPerMeter = 1 / 0.0254;

} // namespace

QSizeF stationeryScan::sizeMm() const
{
    if (isNull())
        return QSizeF();
    return QSizeF(image.width() / dpiX * 25.4, image.height() / dpiY * 25.4);
}

stationeryScan stationeryScan::load(const QString &path, double typedDpi)
{
    stationeryScan scan;
    QImageReader reader(path);
    // A scan taken sideways is stored upright by its EXIF orientation; show
    // it as the operator sees it in any image viewer.
    reader.setAutoTransform(true);
    if (!reader.read(&scan.image))
        return stationeryScan();
    if (typedDpi > 0) {
        scan.dpiX = scan.dpiY = typedDpi;
    } else {
        scan.dpiX = scan.image.dotsPerMeterX() / inchesPerMeter;
        scan.dpiY = scan.image.dotsPerMeterY() / inchesPerMeter;
    }
    return scan;
}

QString stationeryScan::fileName(QSettings &settings)
{
    return appSettings::value(settings, appSettings::key::stationeryFile).toString();
}

double stationeryScan::typedDpi(QSettings &settings)
{
    bool ok = false;
    const double dpi = appSettings::value(settings, appSettings::key::stationeryDpi).toString().toDouble(&ok);
    return ok && dpi > 0 ? dpi : 0;
}

void stationeryScan::remember(QSettings &settings, const QString &fileName, double typedDpi)
{
    appSettings::setValue(settings, appSettings::key::stationeryFile, fileName);
    appSettings::setValue(settings, appSettings::key::stationeryDpi, QString::number(typedDpi > 0 ? typedDpi : 0));
}

namespace printPreview {

QImage render(const printGeometry &geometry, const QList<printBox> &boxes, const options &how,
              const stationeryScan &scan)
{
    const double pixelsPerPoint = how.pixelsPerInch / 72.0;
    const QSizeF sheet = geometry.sheetSize();
    QImage page(qCeil(sheet.width() * pixelsPerPoint), qCeil(sheet.height() * pixelsPerPoint),
                QImage::Format_RGB32);
    // The image's resolution is what the painter sizes fonts by and what the
    // geometry maps layout units with.
    const int dotsPerMeter = qRound(how.pixelsPerInch * inchesPerMeter);
    page.setDotsPerMeterX(dotsPerMeter);
    page.setDotsPerMeterY(dotsPerMeter);
    page.fill(Qt::white);

    QPainter painter(&page);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    if (!scan.isNull())
        painter.drawImage(QRectF(0, 0, scan.image.width() / scan.dpiX * how.pixelsPerInch,
                                 scan.image.height() / scan.dpiY * how.pixelsPerInch),
                          scan.image);
    if (how.outlines) {
        painter.save();
        painter.setWorldTransform(geometry.calibrationTransform(page));
        painter.setPen(QPen(QColor(0, 120, 215), 0, Qt::DashLine));
        for (const printBox &box : boxes)
            painter.drawRect(geometry.toDevice(box.rect, page));
        painter.setPen(QPen(Qt::gray, 0, Qt::DotLine));
        painter.drawRect(printGeometry::sheetToDevice(page).mapRect(geometry.marginRect()));
        painter.restore();
    }
    printPage::paint(painter, geometry, boxes);
    return page;
}

} // namespace printPreview
