// How long one certificate takes: opening the layout editor, printing a
// registration whose layout has many items (one query per item), and the
// preview over a scanned form (the same queries, then the page drawn at true
// size over a 300-dpi scan). Pages go to a PDF, never to a printer. With an
// output folder as argument it also leaves pictures there, for looking at
// them by eye: the editor (frmSetPrintItem.png), the preview form over a
// synthetic scan (frmPrintPreview.png) and its page alone (preview-page.png),
// the calibration form (frmPrintCalibration.png), the calibration page
// (calibration-page.png, 150 dpi) and the printed page (page.pdf).
//
//   QT_QPA_PLATFORM=offscreen build/bench/bench_printPage [folder]
// (on a server of its own in /tmp/zelnor-bench-printPage)
#include "appSettings.h"
#include "calibrationPage.h"
#include "frmPrintPreview.h"
#include "frmSetPrintItem.h"
#include "mainWindow.h"
#include "myDatabase.h"
#include "objPrint.h"
#include "printLayout.h"
#include "benchServer.h"
#include "printSupport.h"
#include "testSupport.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QLineEdit>
#include <QPainter>
#include <QPushButton>
#include <QTableWidget>
#include <QTemporaryDir>

namespace {

printLayout certificate(int extraItems)
{
    printLayout layout;
    layout.paper = QStringLiteral("A5");
    layout.landscape = true;
    const QFont title(QStringLiteral("WenQuanYi Zen Hei"), 16, QFont::Bold);
    const QFont body(QStringLiteral("WenQuanYi Zen Hei"), 11);
    auto add = [&](const QString &expression, const QFont &font, const QString &at, const QString &size,
                   const QString &alignment, const QString &conversion) {
        printItem item;
        item.expression = expression;
        item.font = font;
        item.hasFont = true;
        item.position = at;
        item.size = size;
        item.alignment = alignment;
        item.conversion = conversion;
        layout.items.append(item);
    };
    add(QStringLiteral("leaseout.登记编号"), title, QStringLiteral("0,0"), QStringLiteral("680,30"),
        QStringLiteral("居中"), QStringLiteral("无"));
    add(QStringLiteral("出方名称"), body, QStringLiteral("40,60"), QStringLiteral("260,24"), QStringLiteral("居左"),
        QStringLiteral("无"));
    add(QStringLiteral("承方名称"), body, QStringLiteral("380,60"), QStringLiteral("260,24"), QStringLiteral("居左"),
        QStringLiteral("无"));
    add(QStringLiteral("房屋坐落"), body, QStringLiteral("40,110"), QStringLiteral("600,24"), QStringLiteral("居中"),
        QStringLiteral("无"));
    add(QStringLiteral("年度"), body, QStringLiteral("40,160"), QStringLiteral("200,24"), QStringLiteral("居左"),
        QStringLiteral("中文数字"));
    add(QStringLiteral("收费金额"), body, QStringLiteral("380,160"), QStringLiteral("260,24"), QStringLiteral("居右"),
        QStringLiteral("金额大写"));
    for (int i = 0; i < extraItems; ++i)
        add(QStringLiteral("出方电话"), body, QStringLiteral("%1,%2").arg(40 + (i % 4) * 150).arg(220 + (i / 4) * 26),
            QStringLiteral("140,24"), QStringLiteral("居左"), QStringLiteral("无"));
    return layout;
}

} // namespace

int main(int argc, char **argv)
{
    QApplication app(argc, argv);
    testSupport::benchServer server(QStringLiteral("printPage"));
    if (!server.isUp())
        return 1;
    QTemporaryDir scratch;
    const QString out = argc > 1 ? QString::fromLocal8Bit(argv[1]) : scratch.path();
    QDir().mkpath(out);
    testSupport::removeSettingsFile();
    testSupport::resetDatabase();

    testSupport::leaseRow row;
    row.number = QStringLiteral("330102202600001");
    row.date = QStringLiteral("2026-03-02");
    row.fee = 1505;
    row.lessor = QStringLiteral("张三丰");
    row.lessorPhone = QStringLiteral("13800001111");
    row.lessee = QStringLiteral("李四");
    row.location = QStringLiteral("解放路1号");
    testSupport::insertLease(row);

    certificate(14).save();
    objPrint::setPdfOutputForTests(out + QStringLiteral("/page.pdf"));

    const int runs = 20;
    QElapsedTimer timer;
    timer.start();
    for (int i = 0; i < runs; ++i) {
        objPrint job{myDatabase()};
        job.setPrintNumber(row.number);
        job.printRecord();
    }
    printf("print one registration, 20 items: %.1f ms\n", double(timer.elapsed()) / runs);

    mainWindow window;
    window.resize(1280, 800);
    window.show();
    timer.restart();
    auto *form = new frmSetPrintItem(&window);
    printf("open the layout editor (1000 rows): %lld ms\n", timer.elapsed());
    window.openForm(form);
    form->parentWidget()->resize(1000, 620);
    form->table()->setCurrentCell(1, 0);
    app.processEvents();
    form->parentWidget()->grab().save(out + QStringLiteral("/frmSetPrintItem.png"));

    // The stationery: a pale box with a green frame where each of the six
    // main items belongs, scanned at 300 dpi.
    // (The layout as made: loaded, its items come in key order, 0, 1, 10, ….)
    const printLayout layout = certificate(14);
    const printGeometry page = layout.geometry();
    QList<QRectF> boxes;
    for (int i = 0; i < 6; ++i) {
        const QPoint at = printLayout::pairOf(layout.items[i].position);
        const QPoint size = printLayout::pairOf(layout.items[i].size);
        boxes << page.layoutToSheet().mapRect(QRectF(at, QSizeF(size.x(), size.y())));
    }
    stationeryScan::remember(*appSettings::open(),
                             printSupport::writeScan(scratch.filePath(QStringLiteral("scan.png")), page.sheetSize(),
                                                     boxes, 300, 300),
                             0);
    form->btPreviewClicked();
    auto *preview = qobject_cast<frmPrintPreview *>(form->preview());
    preview->numberEdit()->setText(row.number);
    timer.restart();
    for (int i = 0; i < runs; ++i)
        preview->btRefreshClicked();
    printf("preview at true size over a 300-dpi scan, 20 items: %.1f ms\n", double(timer.elapsed()) / runs);
    preview->parentWidget()->resize(1000, 700);
    app.processEvents();
    preview->parentWidget()->grab().save(out + QStringLiteral("/frmPrintPreview.png"));
    preview->image().save(out + QStringLiteral("/preview-page.png"));

    form->btCalibrateClicked();
    form->calibration()->parentWidget()->adjustSize();
    app.processEvents();
    form->calibration()->parentWidget()->grab().save(out + QStringLiteral("/frmPrintCalibration.png"));
    QImage sheet((page.sheetSize() * 150 / 72).toSize(), QImage::Format_RGB32);
    sheet.setDotsPerMeterX(qRound(150 / 0.0254));
    sheet.setDotsPerMeterY(qRound(150 / 0.0254));
    sheet.fill(Qt::white);
    {
        QPainter painter(&sheet);
        calibrationPage::paint(painter, page, QStringLiteral("收费窗口"));
    }
    sheet.save(out + QStringLiteral("/calibration-page.png"));
    printf("pictures in %s (font %s)\n", qPrintable(out), qPrintable(form->table()->font().toString()));
    return 0;
}
