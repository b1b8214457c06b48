#include "objPrint.h"

#include "leaseSql.h"
#include "printLayout.h"

#include <QMessageBox>
#include <QPainter>
#include <QPrinter>

namespace {
QString s_pdfOutputForTests;

void showError(const QString &text) { QMessageBox::critical(nullptr, QStringLiteral("错误"), text, QMessageBox::Ok); }
} // namespace

objPrint::objPrint(const myDatabase &db, QObject *parent)
    : QObject(parent), m_db(db)
{
}

void objPrint::setPdfOutputForTests(const QString &path) { s_pdfOutputForTests = path; }

bool objPrint::printRecord()
{
    if (m_number.isEmpty()) {
        showError(QStringLiteral("没有指定需要打印的编号"));
        return false;
    }
    // Only short numbers are refused: a longer one simply matches no row and
    // prints the empty certificate, as it always has.
    if (m_number.size() < 15) {
        showError(QStringLiteral("需要打印的编号不正确"));
        return false;
    }
    // Every print item is a statement of its own over the joined view; the
    // key conditions let each one find the lease row without reading them all.
    return print(printLayout::load(), m_db,
                 QStringLiteral(" AND leaseout.登记编号='") + m_number + QStringLiteral("' AND ")
                     + leaseSql::numberKey(m_number));
}

bool objPrint::print(const printLayout &layout, const myDatabase &db, const QString &condition)
{
    // Screen resolution: the operator measured the boxes in screen pixels,
    // and one device unit must stay one of those on every printer.
    QPrinter printer(QPrinter::ScreenResolution);
    if (!s_pdfOutputForTests.isEmpty()) {
        printer.setOutputFormat(QPrinter::PdfFormat);
        printer.setOutputFileName(s_pdfOutputForTests);
    }
    layout.setUpPage(printer);

    QPainter painter;
    if (!painter.begin(&printer)) {
        showError(QStringLiteral("无法打印：没有可用的打印机。请先在系统中安装打印机并设为默认打印机。"));
        return false;
    }
    layout.paint(painter, db, condition);
    return painter.end();
}
