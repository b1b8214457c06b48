#include "frmSetPrintItem.h"

#include "desktopFit.h"
#include "formHost.h"
#include "myDelegate.h"
#include "myTools.h"
#include "objPrint.h"

#include <QButtonGroup>
#include <QDir>
#include <QGridLayout>
#include <QGroupBox>
#include <QHeaderView>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QPushButton>
#include <QRadioButton>
#include <QTableWidget>
#include <QVBoxLayout>

namespace {
const int tableRows = 1000;

// Brings a form this editor opened earlier back to the front.
void bringForward(QWidget *form)
{
    if (auto *sub = qobject_cast<QMdiSubWindow *>(form->parentWidget()); sub && sub->mdiArea())
        sub->mdiArea()->setActiveSubWindow(sub);
    form->setFocus();
}
} // namespace

frmSetPrintItem::frmSetPrintItem(formHost *host, QWidget *parent)
    : QWidget(parent), m_host(host)
{
    setWindowTitle(QStringLiteral("打印项目控制"));
    setAttribute(Qt::WA_DeleteOnClose);

    lstField = new QListWidget;
    lstField->setToolTip(QStringLiteral("可以拖放到表格中"));
    lstField->setDragEnabled(true);
    lstField->setDragDropMode(QAbstractItemView::DragOnly);
    lstField->setDefaultDropAction(Qt::CopyAction);
    const QString fields = myTools::fieldList(m_host->database());
    if (!fields.isEmpty())
        lstField->addItems(fields.split(QLatin1Char(',')));
    auto *fieldLabel = new QLabel(QStringLiteral("字段列表："));
    fieldLabel->setBuddy(lstField);

    tableWid = new QTableWidget(tableRows, 6);
    tableWid->setToolTip(QStringLiteral("可以从列表中拖入"));
    tableWid->setHorizontalHeaderLabels({QStringLiteral("字段表达式"), QStringLiteral("字体"),
                                         QStringLiteral("坐标(x,y)"), QStringLiteral("宽,高"),
                                         QStringLiteral("左中右"), QStringLiteral("中文转换")});
    desktopFit::setColumnWidths(tableWid, {265, 50, 70, 60, 50, 70});
    // A field dropped on a cell replaces its text instead of inserting rows.
    tableWid->setAcceptDrops(true);
    tableWid->setDragDropMode(QAbstractItemView::DropOnly);
    tableWid->setDragDropOverwriteMode(true);
    tableWid->setDefaultDropAction(Qt::CopyAction);
    // Compact rows show more of the certificate at once; a large sample font
    // is elided and named by the cell's tooltip instead.
    tableWid->verticalHeader()->setDefaultSectionSize(tableWid->fontMetrics().height() + 8);

    m_paper = new QLineEdit;
    m_landscape = new QRadioButton(QStringLiteral("横"));
    m_portrait = new QRadioButton(QStringLiteral("纵"));
    auto *direction = new QButtonGroup(this);
    direction->addButton(m_landscape);
    direction->addButton(m_portrait);
    m_left = new QLineEdit;
    m_top = new QLineEdit;
    for (QLineEdit *edit : {m_paper, m_left, m_top})
        edit->setMaximumWidth(60);

    auto *page = new QGroupBox(QStringLiteral("页面设置"));
    auto *pageGrid = new QGridLayout(page);
    pageGrid->addWidget(new QLabel(QStringLiteral("纸型：")), 0, 0);
    pageGrid->addWidget(m_paper, 0, 1);
    pageGrid->addWidget(new QLabel(QStringLiteral("方向：")), 1, 0);
    auto *directionRow = new QHBoxLayout;
    directionRow->addWidget(m_landscape);
    directionRow->addWidget(m_portrait);
    pageGrid->addLayout(directionRow, 1, 1);
    pageGrid->addWidget(new QLabel(QStringLiteral("左边距：")), 2, 0);
    pageGrid->addWidget(m_left, 2, 1);
    pageGrid->addWidget(new QLabel(QStringLiteral("上边距：")), 3, 0);
    pageGrid->addWidget(m_top, 3, 1);

    m_save = new QPushButton(QStringLiteral("保存(&S)"));
    auto *clear = new QPushButton(QStringLiteral("清空(&C)"));
    auto *print = new QPushButton(QStringLiteral("测试打印(&P)"));
    print->setToolTip(QStringLiteral("根据表格中的设置进行测试打印，请注意保存。"));
    auto *preview = new QPushButton(QStringLiteral("预览(&V)"));
    preview->setToolTip(QStringLiteral("按表格中的设置显示打印效果（不必先保存），可以叠在空白证书的扫描图上，也可以另存为 PDF。"));
    auto *calibrate = new QPushButton(QStringLiteral("打印机校准(&K)"));
    calibrate->setToolTip(QStringLiteral("打印校准页，按量得的偏差校正这台打印机打印的位置和大小。"));
    auto *read = new QPushButton(QStringLiteral("刷新"));
    read->setToolTip(QStringLiteral("重新读取当前设置"));
    auto *exit = new QPushButton(QStringLiteral("退出(&E)"));

    auto *side = new QVBoxLayout;
    side->addWidget(fieldLabel);
    side->addWidget(lstField, 1);
    side->addWidget(page);
    side->addSpacing(8);
    // Two buttons a row leave the field list its room.
    auto *buttons = new QGridLayout;
    const QList<QPushButton *> order{m_save, clear, print, preview, calibrate, read, exit};
    for (int i = 0; i < order.size(); ++i)
        buttons->addWidget(order[i], i / 2, i % 2);
    side->addLayout(buttons);

    auto *layout = new QHBoxLayout(this);
    layout->addLayout(side);
    layout->addWidget(tableWid, 1);

    btReadClicked();

    connect(m_save, &QPushButton::clicked, this, &frmSetPrintItem::btSaveClicked);
    connect(clear, &QPushButton::clicked, this, &frmSetPrintItem::btClearClicked);
    connect(print, &QPushButton::clicked, this, &frmSetPrintItem::btPrintClicked);
    connect(preview, &QPushButton::clicked, this, &frmSetPrintItem::btPreviewClicked);
    connect(calibrate, &QPushButton::clicked, this, &frmSetPrintItem::btCalibrateClicked);
    connect(read, &QPushButton::clicked, this, &frmSetPrintItem::btReadClicked);
    connect(exit, &QPushButton::clicked, this, &frmSetPrintItem::btExitClicked);
    connect(tableWid, &QTableWidget::itemChanged, this, &frmSetPrintItem::tableWidEdited);
    connect(this, &frmSetPrintItem::myEditingSignal, this, &frmSetPrintItem::myEditingChanged);
    m_save->setEnabled(false);
    // A burst of edits (a typed margin, a pasted row) redraws the preview once.
    m_editsShown.setSingleShot(true);
    m_editsShown.setInterval(300);
    connect(&m_editsShown, &QTimer::timeout, this, &frmSetPrintItem::showEdits);
    connect(tableWid, &QTableWidget::itemChanged, this, &frmSetPrintItem::layoutEdited);
    for (QLineEdit *edit : {m_paper, m_left, m_top})
        connect(edit, &QLineEdit::textChanged, this, &frmSetPrintItem::layoutEdited);
    connect(m_landscape, &QRadioButton::toggled, this, &frmSetPrintItem::layoutEdited);

    m_delegate = new myDelegate(tableWid, this);
    tableWid->setItemDelegate(m_delegate);
}

QSize frmSetPrintItem::sizeHint() const
{
    // Room for all six columns of the item table beside the field list.
    return QSize(960, 600);
}

printLayout frmSetPrintItem::currentLayout() const
{
    printLayout layout;
    layout.paper = m_paper->text();
    layout.landscape = m_landscape->isChecked();
    layout.leftMargin = m_left->text();
    layout.topMargin = m_top->text();
    auto text = [this](int row, int column) {
        const QTableWidgetItem *item = tableWid->item(row, column);
        return item ? item->text() : QString();
    };
    for (int row = 0; row < tableWid->rowCount(); ++row) {
        if (text(row, myDelegate::Expression).trimmed().isEmpty())
            continue;
        printItem item;
        item.expression = text(row, myDelegate::Expression);
        if (const QTableWidgetItem *fontCell = tableWid->item(row, myDelegate::Font)) {
            item.hasFont = true;
            item.font = fontCell->data(Qt::FontRole).value<QFont>();
        }
        item.position = text(row, myDelegate::Position);
        item.size = text(row, myDelegate::Size);
        item.alignment = text(row, myDelegate::Alignment);
        item.conversion = text(row, myDelegate::Conversion);
        layout.items.append(item);
    }
    return layout;
}

void frmSetPrintItem::btSaveClicked()
{
    currentLayout().save();
    emit myEditingSignal(false);
    m_host->showStatus(QStringLiteral("数据保存OK."), 3000);
}

void frmSetPrintItem::btClearClicked()
{
    tableWid->setRowCount(0);
    tableWid->setRowCount(tableRows);
}

printLayout frmSetPrintItem::printedLayout() const
{
    printLayout layout = currentLayout();
    for (QString *margin : {&layout.leftMargin, &layout.topMargin}) {
        if (margin->isEmpty())
            *margin = printLayout::defaultMargin();
    }
    return layout;
}

void frmSetPrintItem::btPrintClicked()
{
    QString saved;
    switch (objPrint::print(printedLayout(), m_host->database(), QString(),
                            printerOutput::pdfFileName(QStringLiteral("测试打印")), &saved)) {
    case printerOutput::outcome::printed:
        m_host->showStatus(QStringLiteral("打印完成。"), 2000);
        break;
    case printerOutput::outcome::savedAsPdf:
        m_host->showStatus(QStringLiteral("已另存为 ") + QDir::toNativeSeparators(saved), 3000);
        break;
    case printerOutput::outcome::nothing:
        break;
    }
}

void frmSetPrintItem::btPreviewClicked()
{
    if (!m_preview) {
        emit previewRequested();
        return;
    }
    emit printedLayoutChanged(printedLayout());
    bringForward(m_preview);
}

void frmSetPrintItem::btCalibrateClicked()
{
    if (!m_calibration) {
        emit calibrationRequested();
        return;
    }
    emit printedLayoutChanged(printedLayout());
    bringForward(m_calibration);
}

void frmSetPrintItem::layoutEdited()
{
    if (m_preview || m_calibration)
        m_editsShown.start();
}

void frmSetPrintItem::showEdits()
{
    if (m_preview || m_calibration)
        emit printedLayoutChanged(printedLayout());
}

void frmSetPrintItem::btReadClicked()
{
    btClearClicked();
    const printLayout layout = printLayout::load();
    if (layout.items.size() > tableWid->rowCount())
        tableWid->setRowCount(layout.items.size());
    for (int row = 0; row < layout.items.size(); ++row) {
        const printItem &item = layout.items.at(row);
        tableWid->setItem(row, myDelegate::Expression, new QTableWidgetItem(item.expression));
        if (item.hasFont) {
            auto *fontCell = new QTableWidgetItem(myDelegate::fontSample());
            fontCell->setData(Qt::FontRole, item.font);
            tableWid->setItem(row, myDelegate::Font, fontCell);
        }
        tableWid->setItem(row, myDelegate::Position, new QTableWidgetItem(item.position));
        tableWid->setItem(row, myDelegate::Size, new QTableWidgetItem(item.size));
        tableWid->setItem(row, myDelegate::Alignment, new QTableWidgetItem(item.alignment));
        tableWid->setItem(row, myDelegate::Conversion, new QTableWidgetItem(item.conversion));
    }
    m_paper->setText(layout.paper);
    m_landscape->setChecked(layout.landscape);
    m_portrait->setChecked(!layout.landscape);
    m_left->setText(layout.leftMargin);
    m_top->setText(layout.topMargin);
    emit myEditingSignal(false);
}

void frmSetPrintItem::btExitClicked()
{
    m_host->closeForm(this);
}

void frmSetPrintItem::tableWidEdited() { emit myEditingSignal(true); }

void frmSetPrintItem::myEditingChanged(bool editing) { m_save->setEnabled(editing); }
