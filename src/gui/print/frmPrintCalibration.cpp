#include "frmPrintCalibration.h"

#include "appSettings.h"
#include "calibrationPage.h"
#include "formHost.h"
#include "printerOutput.h"

#include <QApplication>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QMessageBox>
#include <QPrinterInfo>
#include <QPushButton>
#include <QVBoxLayout>

namespace {

QDoubleSpinBox *spin(double low, double high, double step, const QString &suffix)
{
    auto *box = new QDoubleSpinBox;
    box->setRange(low, high);
    box->setDecimals(2);
    box->setSingleStep(step);
    box->setSuffix(suffix);
    return box;
}

} // namespace

frmPrintCalibration::frmPrintCalibration(formHost *host, const printGeometry &page, QWidget *parent)
    : QWidget(parent), m_host(host), m_page(page)
{
    setWindowTitle(QStringLiteral("打印机校准"));
    setAttribute(Qt::WA_DeleteOnClose);

    m_printer = new QComboBox;
    m_printer->setToolTip(QStringLiteral("每台打印机有自己的校准，用于在它上面打印的每一页"));
    // The printers this PC can print on, and those calibrated earlier that
    // are not connected now (a printer shared from another PC comes and goes).
    QStringList names = QPrinterInfo::availablePrinterNames();
    for (const QString &name : printCalibration::printers(*appSettings::open()))
        if (!names.contains(name))
            names << name;
    names.sort();
    m_printer->addItems(names);
    m_printer->setCurrentText(printerOutput::defaultPrinterName());
    m_paper = new QLabel;

    auto *pagePrint = new QPushButton(QStringLiteral("校准页"));
    pagePrint->setToolTip(QStringLiteral("在这台打印机上打印带刻度和十字的校准页（按当前保存的校准打印）"));

    auto *measured = new QGroupBox(QStringLiteral("量得的位置（毫米，从纸张左边缘、上边缘量起）"));
    auto *measuredGrid = new QGridLayout(measured);
    measuredGrid->addWidget(new QLabel(QStringLiteral("横")), 0, 1);
    measuredGrid->addWidget(new QLabel(QStringLiteral("纵")), 0, 2);
    for (int c = 0; c < 2; ++c) {
        m_nominal[c] = new QLabel;
        measuredGrid->addWidget(m_nominal[c], c + 1, 0);
        for (int axis = 0; axis < 2; ++axis) {
            m_measured[c][axis] = spin(0, 500, 0.5, QStringLiteral(" 毫米"));
            measuredGrid->addWidget(m_measured[c][axis], c + 1, axis + 1);
        }
    }
    auto *compute = new QPushButton(QStringLiteral("计算(&J)"));
    compute->setToolTip(QStringLiteral("由十字 A、B 量得的位置算出校准值"));
    measuredGrid->addWidget(compute, 3, 2);

    m_offsetX = spin(-printCalibration::maxOffsetMm, printCalibration::maxOffsetMm, 0.1, QStringLiteral(" 毫米"));
    m_offsetY = spin(-printCalibration::maxOffsetMm, printCalibration::maxOffsetMm, 0.1, QStringLiteral(" 毫米"));
    m_scaleX = spin(printCalibration::minScalePercent, printCalibration::maxScalePercent, 0.1, QStringLiteral(" %"));
    m_scaleY = spin(printCalibration::minScalePercent, printCalibration::maxScalePercent, 0.1, QStringLiteral(" %"));
    auto *values = new QGroupBox(QStringLiteral("校准值"));
    values->setToolTip(QStringLiteral("纸上每一点移到：偏移 + 缩放 × 它到纸张左上角的距离"));
    auto *valueGrid = new QGridLayout(values);
    valueGrid->addWidget(new QLabel(QStringLiteral("水平偏移：")), 0, 0);
    valueGrid->addWidget(m_offsetX, 0, 1);
    valueGrid->addWidget(new QLabel(QStringLiteral("垂直偏移：")), 0, 2);
    valueGrid->addWidget(m_offsetY, 0, 3);
    valueGrid->addWidget(new QLabel(QStringLiteral("水平缩放：")), 1, 0);
    valueGrid->addWidget(m_scaleX, 1, 1);
    valueGrid->addWidget(new QLabel(QStringLiteral("垂直缩放：")), 1, 2);
    valueGrid->addWidget(m_scaleY, 1, 3);

    m_note = new QLabel;
    m_note->setWordWrap(true);

    auto *save = new QPushButton(QStringLiteral("保存(&S)"));
    auto *reset = new QPushButton(QStringLiteral("不校准"));
    reset->setToolTip(QStringLiteral("删除这台打印机的校准"));
    auto *exit = new QPushButton(QStringLiteral("退出(&E)"));
    m_printerButtons = {pagePrint, compute, save, reset};

    auto *top = new QGridLayout;
    top->addWidget(new QLabel(QStringLiteral("打印机：")), 0, 0);
    top->addWidget(m_printer, 0, 1);
    top->addWidget(pagePrint, 0, 2);
    top->addWidget(new QLabel(QStringLiteral("纸张：")), 1, 0);
    top->addWidget(m_paper, 1, 1, 1, 2);
    top->setColumnStretch(1, 1);
    auto *buttons = new QHBoxLayout;
    buttons->addStretch();
    for (QPushButton *button : {save, reset, exit})
        buttons->addWidget(button);
    auto *column = new QVBoxLayout(this);
    column->addLayout(top);
    column->addWidget(measured);
    column->addWidget(values);
    column->addWidget(m_note);
    column->addStretch();
    column->addLayout(buttons);

    showCrosses();
    printerChanged();

    connect(m_printer, &QComboBox::currentTextChanged, this, &frmPrintCalibration::printerChanged);
    connect(pagePrint, &QPushButton::clicked, this, &frmPrintCalibration::btPagePrintClicked);
    connect(compute, &QPushButton::clicked, this, &frmPrintCalibration::btComputeClicked);
    connect(save, &QPushButton::clicked, this, &frmPrintCalibration::btSaveClicked);
    connect(reset, &QPushButton::clicked, this, &frmPrintCalibration::btResetClicked);
    connect(exit, &QPushButton::clicked, this, &frmPrintCalibration::btExitClicked);
}

void frmPrintCalibration::setPage(const printGeometry &page)
{
    m_page = page;
    showCrosses();
}

QDoubleSpinBox *frmPrintCalibration::measuredSpin(int cross, Qt::Orientation axis) const
{
    return m_measured[cross][axis == Qt::Horizontal ? 0 : 1];
}

printCalibration frmPrintCalibration::typed() const
{
    return {m_offsetX->value(), m_offsetY->value(), m_scaleX->value(), m_scaleY->value()};
}

void frmPrintCalibration::showCalibration(const printCalibration &calibration)
{
    m_offsetX->setValue(calibration.offsetXmm);
    m_offsetY->setValue(calibration.offsetYmm);
    m_scaleX->setValue(calibration.scaleXpercent);
    m_scaleY->setValue(calibration.scaleYpercent);
}

void frmPrintCalibration::showCrosses()
{
    m_paper->setText(m_page.paperText());
    const QList<calibrationPage::cross> crosses = calibrationPage::crosses(m_page.sheetSizeMm());
    for (int c = 0; c < 2; ++c) {
        const QPointF at = crosses.at(c).atMm;
        m_nominal[c]->setText(QStringLiteral("十字 %1（应在 %2, %3）：").arg(crosses.at(c).name).arg(at.x()).arg(at.y()));
        // Until something is measured the crosses are where they belong,
        // which computes the calibration the page was printed with.
        m_measured[c][0]->setValue(at.x());
        m_measured[c][1]->setValue(at.y());
    }
}

void frmPrintCalibration::printerChanged()
{
    const QString name = m_printer->currentText();
    for (QPushButton *button : m_printerButtons)
        button->setEnabled(!name.isEmpty());
    showCalibration(printCalibration::load(*appSettings::open(), name));
    m_note->setText(name.isEmpty() ? QStringLiteral("没有可用的打印机。") : QString());
}

void frmPrintCalibration::btPagePrintClicked()
{
    const QString name = m_printer->currentText();
    const bool printed = printerOutput::print(
        m_page, [&](QPainter &painter, const printGeometry &g) { calibrationPage::paint(painter, g, name); }, name);
    if (!printed) {
        QMessageBox::critical(this, QStringLiteral("错误"), QStringLiteral("无法打印：打印机“%1”无法使用。").arg(name));
        return;
    }
    m_note->setText(QStringLiteral("校准页已送往打印机。用直尺从纸张的左边缘和上边缘量出十字 A 和十字 B "
                                   "中心的位置，填在上面，再按“计算”。"));
}

void frmPrintCalibration::btComputeClicked()
{
    const QList<calibrationPage::cross> crosses = calibrationPage::crosses(m_page.sheetSizeMm());
    auto measured = [this](int c) { return QPointF(m_measured[c][0]->value(), m_measured[c][1]->value()); };
    // The page was printed through the calibration stored then, which the
    // computation undoes before it corrects.
    const printCalibration printedWith = printCalibration::load(*appSettings::open(), m_printer->currentText());
    const std::optional<printCalibration> next =
        printedWith.corrected(crosses.at(0).atMm, measured(0), crosses.at(1).atMm, measured(1));
    if (!next) {
        QApplication::beep();
        m_note->setText(QStringLiteral("量得的位置不合理：十字 B 应在十字 A 的右下方，两者相距与纸上的刻度相差不会太多。"
                                       "请重新量过。"));
        return;
    }
    showCalibration(*next);
    m_note->setText(QStringLiteral("已算出校准值。保存后再打印一张校准页核对：十字应落在标出的位置上。"));
}

void frmPrintCalibration::btSaveClicked()
{
    const QString name = m_printer->currentText();
    if (name.isEmpty())
        return;
    typed().save(*appSettings::open(), name);
    m_host->showStatus(QStringLiteral("数据保存OK."), 3000);
}

void frmPrintCalibration::btResetClicked()
{
    const QString name = m_printer->currentText();
    if (name.isEmpty())
        return;
    printCalibration::remove(*appSettings::open(), name);
    showCalibration(printCalibration());
    m_host->showStatus(QStringLiteral("打印机“%1”不再校准。").arg(name), 3000);
}

void frmPrintCalibration::btExitClicked()
{
    m_host->closeForm(this);
}
