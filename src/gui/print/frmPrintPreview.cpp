#include "frmPrintPreview.h"

#include "appSettings.h"
#include "formHost.h"
#include "leaseSql.h"
#include "myDatabase.h"
#include "printerOutput.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFileDialog>
#include <QFileInfo>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScrollArea>
#include <QSpinBox>
#include <QVBoxLayout>

namespace {

// A scan whose size differs from the paper's by more than this is almost
// certainly read at the wrong resolution (a file that records none reads as
// 96 or 72 dpi); a cropped or slightly skewed scan stays well within it.
const double scanSizeTolerance = 0.05;

QString calibrationText(const printCalibration &c)
{
    if (c.isIdentity())
        return QStringLiteral("未校准");
    return QStringLiteral("校准：水平偏移 %1 毫米，垂直偏移 %2 毫米，水平缩放 %3%，垂直缩放 %4%")
        .arg(c.offsetXmm)
        .arg(c.offsetYmm)
        .arg(c.scaleXpercent)
        .arg(c.scaleYpercent);
}

QString millimetres(double mm) { return QString::number(mm, 'f', 1); }

} // namespace

frmPrintPreview::frmPrintPreview(formHost *host, const printLayout &layout, QWidget *parent)
    : QWidget(parent), m_host(host), m_layout(layout)
{
    setWindowTitle(QStringLiteral("打印预览"));
    setAttribute(Qt::WA_DeleteOnClose);

    m_number = new QLineEdit;
    m_number->setPlaceholderText(QStringLiteral("空：第一条登记"));
    m_number->setToolTip(QStringLiteral("用哪一条登记的内容预览；不填时与测试打印一样取第一条"));
    m_number->setMaxLength(20);
    m_record = new QLabel;

    m_view = new QComboBox;
    m_view->addItem(QStringLiteral("纸上应有的位置"));
    m_view->addItem(QStringLiteral("送往打印机的位置（含校准）"));
    m_view->setToolTip(QStringLiteral("纸上应有的位置：文字应落在证书上的地方，与扫描的空白证书对照。\n"
                                      "送往打印机的位置：程序按这台打印机的校准实际送出的位置。"));
    m_zoom = new QComboBox;
    for (int percent : {50, 75, 100, 125, 150, 200, 300})
        m_zoom->addItem(QStringLiteral("%1%").arg(percent), percent);
    m_zoom->setCurrentIndex(m_zoom->findData(100));
    m_zoom->setToolTip(QStringLiteral("100% 时屏幕上的尺寸与纸上相同"));
    m_outlines = new QCheckBox(QStringLiteral("框线"));
    m_outlines->setToolTip(QStringLiteral("用虚线标出每个打印项目的框和页边距（只在预览中显示）"));

    m_scanFile = new QLineEdit;
    m_scanFile->setReadOnly(true);
    m_scanFile->setPlaceholderText(QStringLiteral("没有底图"));
    auto *chooseScan = new QPushButton(QStringLiteral("选择底图..."));
    chooseScan->setToolTip(QStringLiteral("空白证书的扫描图（PNG 或 JPEG），只在预览中显示，不会打印"));
    auto *noScan = new QPushButton(QStringLiteral("不用底图"));
    m_scanDpi = new QSpinBox;
    m_scanDpi->setRange(0, 2400);
    m_scanDpi->setSpecialValueText(QStringLiteral("按文件"));
    m_scanDpi->setSuffix(QStringLiteral(" dpi"));
    m_scanDpi->setToolTip(QStringLiteral("扫描时的分辨率；“按文件”用图片文件里记录的分辨率"));
    m_scanSize = new QLabel;
    m_printer = new QLabel;
    m_printer->setWordWrap(true);

    auto *refresh = new QPushButton(QStringLiteral("刷新(&R)"));
    auto *savePdf = new QPushButton(QStringLiteral("另存为PDF(&S)"));
    savePdf->setToolTip(QStringLiteral("把这一页存为 PDF 文件（不含底图和框线，也不含任何打印机的校准）"));
    auto *exit = new QPushButton(QStringLiteral("退出(&E)"));

    auto *controls = new QGridLayout;
    controls->addWidget(new QLabel(QStringLiteral("登记编号：")), 0, 0);
    controls->addWidget(m_number, 0, 1);
    controls->addWidget(m_record, 0, 2, 1, 3);
    controls->addWidget(new QLabel(QStringLiteral("显示：")), 1, 0);
    controls->addWidget(m_view, 1, 1);
    auto *zoomRow = new QHBoxLayout;
    zoomRow->addWidget(new QLabel(QStringLiteral("缩放：")));
    zoomRow->addWidget(m_zoom);
    zoomRow->addWidget(m_outlines);
    zoomRow->addStretch();
    controls->addLayout(zoomRow, 1, 2, 1, 3);
    controls->addWidget(new QLabel(QStringLiteral("底图：")), 2, 0);
    controls->addWidget(m_scanFile, 2, 1);
    auto *scanRow = new QHBoxLayout;
    scanRow->addWidget(chooseScan);
    scanRow->addWidget(noScan);
    scanRow->addWidget(new QLabel(QStringLiteral("分辨率：")));
    scanRow->addWidget(m_scanDpi);
    scanRow->addWidget(m_scanSize, 1);
    controls->addLayout(scanRow, 2, 2, 1, 3);
    controls->addWidget(m_printer, 3, 0, 1, 5);
    controls->setColumnStretch(4, 1);

    auto *buttons = new QHBoxLayout;
    buttons->addStretch();
    for (QPushButton *button : {refresh, savePdf, exit})
        buttons->addWidget(button);

    m_page = new QLabel;
    m_page->setAlignment(Qt::AlignLeft | Qt::AlignTop);
    m_scroll = new QScrollArea;
    m_scroll->setBackgroundRole(QPalette::Dark);
    m_scroll->setWidget(m_page);
    m_scroll->setAlignment(Qt::AlignHCenter | Qt::AlignTop);

    auto *layoutBox = new QVBoxLayout(this);
    layoutBox->addLayout(controls);
    layoutBox->addWidget(m_scroll, 1);
    layoutBox->addLayout(buttons);

    {
        const auto settings = appSettings::open();
        m_scanFile->setText(stationeryScan::fileName(*settings));
        m_scanDpi->setValue(qRound(stationeryScan::typedDpi(*settings)));
    }
    loadScan();
    btRefreshClicked();

    connect(m_number, &QLineEdit::editingFinished, this, &frmPrintPreview::btRefreshClicked);
    connect(refresh, &QPushButton::clicked, this, &frmPrintPreview::btRefreshClicked);
    connect(m_view, QOverload<int>::of(&QComboBox::currentIndexChanged), this, &frmPrintPreview::render);
    connect(m_zoom, QOverload<int>::of(&QComboBox::currentIndexChanged), this, &frmPrintPreview::render);
    connect(m_outlines, &QCheckBox::toggled, this, &frmPrintPreview::render);
    connect(chooseScan, &QPushButton::clicked, this, &frmPrintPreview::btScanClicked);
    connect(noScan, &QPushButton::clicked, this, &frmPrintPreview::btNoScanClicked);
    connect(m_scanDpi, QOverload<int>::of(&QSpinBox::valueChanged), this, [this] {
        loadScan();
        rememberScan();
        render();
    });
    connect(savePdf, &QPushButton::clicked, this, &frmPrintPreview::btSavePdfClicked);
    connect(exit, &QPushButton::clicked, this, &frmPrintPreview::btExitClicked);
}

QSize frmPrintPreview::sizeHint() const
{
    // Room for the controls and a good part of an A4 page at true size.
    return QSize(1000, 700);
}

void frmPrintPreview::setPrintLayout(const printLayout &layout)
{
    m_layout = layout;
    loadScan(); // its size is compared with the paper's
    btRefreshClicked();
}

int frmPrintPreview::pixelsPerInch() const
{
    // The desktop's logical resolution is what it draws a point at; times
    // the zoom, 100% shows the page at its size on paper.
    return qMax(1, qRound(logicalDpiX() * m_zoom->currentData().toInt() / 100.0));
}

printGeometry frmPrintPreview::shownGeometry() const
{
    printGeometry geometry = m_layout.geometry();
    if (m_view->currentIndex() == int(view::asSent))
        geometry.setCalibration(m_calibration);
    return geometry;
}

void frmPrintPreview::btRefreshClicked()
{
    const myDatabase &db = m_host->database();
    const QString number = m_number->text();
    // Without a number, the registration the server returns first, as on the
    // test page; every item is then fetched by its number, so they all come
    // from that one registration and none reads the whole table.
    const QString shown =
        db.scalar(QStringLiteral("SELECT leaseout.登记编号 ") + leaseSql::joinedView()
                  + (number.isEmpty() ? QStringLiteral(" LIMIT 1") : printLayout::numberCondition(number)))
            .toString();
    m_boxes = m_layout.boxes(db, printLayout::numberCondition(shown.isEmpty() ? number : shown));
    if (shown.isEmpty())
        m_record->setText(number.isEmpty() ? QStringLiteral("还没有登记，各项为空")
                                           : QStringLiteral("没有这个登记编号，各项为空"));
    else
        m_record->setText((number.isEmpty() ? QStringLiteral("第一条登记：") : QStringLiteral("登记：")) + shown);

    m_printerName = printerOutput::defaultPrinterName();
    m_calibration = printCalibration::load(*appSettings::open(), m_printerName);
    m_printer->setText(m_printerName.isEmpty()
                           ? QStringLiteral("打印机：没有（打印时可以另存为 PDF 文件）")
                           : QStringLiteral("打印机：%1（%2）").arg(m_printerName, calibrationText(m_calibration)));
    render();
}

void frmPrintPreview::btScanClicked()
{
    const QString current = m_scanFile->text();
    const QString name = QFileDialog::getOpenFileName(
        this, QStringLiteral("选择空白证书的扫描图"), current.isEmpty() ? QDir::homePath() : current,
        QStringLiteral("图片文件 (*.png *.jpg *.jpeg)"));
    if (name.isEmpty())
        return;
    m_scanFile->setText(name);
    loadScan();
    rememberScan();
    render();
}

void frmPrintPreview::btNoScanClicked()
{
    m_scanFile->clear();
    loadScan();
    rememberScan();
    render();
}

void frmPrintPreview::loadScan()
{
    const QString path = m_scanFile->text();
    m_scan = path.isEmpty() ? stationeryScan() : stationeryScan::load(path, m_scanDpi->value());
    if (path.isEmpty()) {
        m_scanSize->clear();
        return;
    }
    if (m_scan.isNull()) {
        m_scanSize->setText(QStringLiteral("无法读取这个图片文件"));
        return;
    }
    // The size on paper shows at once whether the resolution is right.
    const QSizeF scan = m_scan.sizeMm();
    const QSizeF sheet = m_layout.geometry().sheetSizeMm();
    QString text = QStringLiteral("底图 %1 × %2 毫米").arg(millimetres(scan.width()), millimetres(scan.height()));
    if (qAbs(scan.width() - sheet.width()) > scanSizeTolerance * sheet.width()
        || qAbs(scan.height() - sheet.height()) > scanSizeTolerance * sheet.height())
        text += QStringLiteral("，纸张 %1 × %2 毫米：请检查分辨率")
                    .arg(qRound(sheet.width()))
                    .arg(qRound(sheet.height()));
    m_scanSize->setText(text);
}

void frmPrintPreview::rememberScan()
{
    stationeryScan::remember(*appSettings::open(), m_scanFile->text(), m_scanDpi->value());
}

void frmPrintPreview::render()
{
    printPreview::options how;
    how.pixelsPerInch = pixelsPerInch();
    how.outlines = m_outlines->isChecked();
    m_image = printPreview::render(shownGeometry(), m_boxes, how, m_scan);
    m_page->setPixmap(QPixmap::fromImage(m_image));
    m_page->resize(m_image.size());
}

QString frmPrintPreview::suggestedFileName() const
{
    return printerOutput::pdfFileName(m_number->text().isEmpty() ? QStringLiteral("预览") : m_number->text());
}

void frmPrintPreview::btSavePdfClicked()
{
    const QList<printBox> boxes = m_boxes;
    const QString path = printerOutput::savePdf(
        this, m_layout.geometry(), [&](QPainter &painter, const printGeometry &g) { printPage::paint(painter, g, boxes); },
        suggestedFileName());
    if (!path.isEmpty())
        m_host->showStatus(QStringLiteral("已另存为 ") + QDir::toNativeSeparators(path), 3000);
}

void frmPrintPreview::btExitClicked()
{
    m_host->closeForm(this);
}
