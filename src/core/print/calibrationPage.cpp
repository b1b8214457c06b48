#include "calibrationPage.h"

#include <QPageSize>
#include <QPainter>
#include <QtMath>

namespace {

const double pointsPerMm = printGeometry::pointsPerMm;

// Distances from the paper's edges, in millimetres. The ruler starts 6 mm in,
// beyond the unprintable rim of most printers.
const double rulerEdge = 6;
const double shortMark = 2;
const double longMark = 4;
const double numberGap = 1; // between a long mark's end and its number
const double gridStart = 20;
const double crossArm = 6;

QString calibrationText(const printCalibration &c)
{
    if (c.isIdentity())
        return QStringLiteral("本页未经校准打印：量得的位置就是这台打印机本身的偏差。");
    return QStringLiteral("本页已按当前校准打印（水平偏移 %1 毫米，垂直偏移 %2 毫米，水平缩放 %3%，垂直缩放 %4%）："
                          "量得的位置是校准之后剩下的偏差。")
        .arg(c.offsetXmm)
        .arg(c.offsetYmm)
        .arg(c.scaleXpercent)
        .arg(c.scaleYpercent);
}

} // namespace

namespace calibrationPage {

QList<cross> crosses(const QSizeF &sheetMm)
{
    // 30 mm in from the top-left, and the last whole centimetre at least
    // 20 mm in from the bottom-right: well inside any printer's reach and as
    // far apart as the sheet allows, so a small stretch shows.
    const double near = 30;
    const double farX = qFloor((sheetMm.width() - 20) / 10) * 10;
    const double farY = qFloor((sheetMm.height() - 20) / 10) * 10;
    return {{QStringLiteral("A"), QPointF(near, near)},
            {QStringLiteral("B"), QPointF(farX, farY)},
            {QStringLiteral("C"), QPointF(farX, near)},
            {QStringLiteral("D"), QPointF(near, farY)}};
}

void paint(QPainter &painter, const printGeometry &geometry, const QString &printerName)
{
    const QPaintDevice &device = *painter.device();
    const QSizeF sheet = geometry.sheetSizeMm();
    const QTransform calibration = geometry.calibrationTransform(device);
    const QTransform mmToDevice = QTransform::fromScale(pointsPerMm, pointsPerMm) * printGeometry::sheetToDevice(device);

    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    // Lines are drawn in millimetres; text is placed through the same map but
    // drawn at device scale, so its point size stays a point size.
    auto lines = [&] { painter.setWorldTransform(mmToDevice * calibration); };
    auto text = [&] { painter.setWorldTransform(calibration); };
    auto label = [&](const QRectF &mm, int flags, const QString &s) {
        painter.drawText(mmToDevice.mapRect(mm), flags, s);
    };
    auto fontOf = [&](double points, bool bold = false) {
        QFont font = painter.font();
        font.setPointSizeF(points);
        font.setBold(bold);
        return font;
    };

    lines();
    painter.setPen(QPen(QColor(190, 190, 190), 0.1));
    for (double x = gridStart; x <= sheet.width() - 10; x += 10)
        painter.drawLine(QPointF(x, gridStart), QPointF(x, sheet.height() - 10));
    for (double y = gridStart; y <= sheet.height() - 10; y += 10)
        painter.drawLine(QPointF(gridStart, y), QPointF(sheet.width() - 10, y));

    painter.setPen(QPen(Qt::black, 0.15));
    const int lastX = qFloor((sheet.width() - 5) / 5) * 5;
    const int lastY = qFloor((sheet.height() - 5) / 5) * 5;
    painter.drawLine(QPointF(firstMarkMm, rulerEdge), QPointF(lastX, rulerEdge));
    painter.drawLine(QPointF(rulerEdge, firstMarkMm), QPointF(rulerEdge, lastY));
    for (int x = firstMarkMm; x <= lastX; x += 5)
        painter.drawLine(QPointF(x, rulerEdge), QPointF(x, rulerEdge + (x % 10 ? shortMark : longMark)));
    for (int y = firstMarkMm; y <= lastY; y += 5)
        painter.drawLine(QPointF(rulerEdge, y), QPointF(rulerEdge + (y % 10 ? shortMark : longMark), y));

    painter.setPen(QPen(Qt::black, 0.2));
    const QList<cross> marks = crosses(sheet);
    for (const cross &c : marks) {
        const QPointF at = c.atMm;
        painter.drawLine(at - QPointF(crossArm, 0), at + QPointF(crossArm, 0));
        painter.drawLine(at - QPointF(0, crossArm), at + QPointF(0, crossArm));
        painter.drawEllipse(at, 2.0, 2.0);
    }

    text();
    painter.setPen(Qt::black);
    painter.setFont(fontOf(6));
    const double numberTop = rulerEdge + longMark + numberGap;
    for (int x = firstNumberMm; x <= lastX; x += 10)
        label(QRectF(x - 5, numberTop, 10, 4), Qt::AlignHCenter | Qt::AlignTop, QString::number(x));
    for (int y = firstNumberMm; y <= lastY; y += 10)
        label(QRectF(numberTop, y - 2, 10, 4), Qt::AlignLeft | Qt::AlignVCenter, QString::number(y));

    painter.setFont(fontOf(8));
    for (const cross &c : marks) {
        // Labels point inwards, so those near the right and bottom edges stay on the paper.
        const bool right = c.atMm.x() > sheet.width() / 2, low = c.atMm.y() > sheet.height() / 2;
        const QRectF box(right ? c.atMm.x() - 3 - 40 : c.atMm.x() + 3, low ? c.atMm.y() - 3 - 5 : c.atMm.y() + 3, 40,
                         5);
        label(box, (right ? Qt::AlignRight : Qt::AlignLeft) | (low ? Qt::AlignBottom : Qt::AlignTop),
              QStringLiteral("%1 (%2, %3)").arg(c.name).arg(c.atMm.x()).arg(c.atMm.y()));
    }

    const QString paper = geometry.paperText();
    const double textLeft = 45, textWidth = sheet.width() - textLeft - 30;
    const QRectF textBox(textLeft, 38, textWidth, marks[1].atMm.y() - 10 - 38);
    painter.setFont(fontOf(14, true));
    label(QRectF(textLeft, 38, textWidth, 8), Qt::AlignLeft | Qt::AlignTop, QStringLiteral("校准页"));
    painter.setFont(fontOf(9));
    const QString body =
        QStringLiteral("打印机：%1\n纸张：%2\n%3\n"
                       "上方刻度的数字是到纸张左边缘的毫米数，左侧刻度的数字是到纸张上边缘的毫米数，"
                       "每 5 毫米一个刻度。用直尺从纸张的左边缘和上边缘量出十字 A 与十字 B 中心的实际位置，"
                       "填入“打印机校准”，程序据此算出偏移和缩放。读数与刻度相符时不需要校准。")
            .arg(printerName.isEmpty() ? QStringLiteral("（文件）") : printerName, paper,
                 calibrationText(geometry.calibration()));
    label(textBox.adjusted(0, 10, 0, 0), Qt::AlignLeft | Qt::AlignTop | Qt::TextWordWrap, body);
    painter.restore();
}

} // namespace calibrationPage
