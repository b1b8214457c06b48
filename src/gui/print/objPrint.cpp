#include "objPrint.h"

#include "printLayout.h"

#include <QMessageBox>

namespace {
void showError(const QString &text) { QMessageBox::critical(nullptr, QStringLiteral("错误"), text, QMessageBox::Ok); }
} // namespace

objPrint::objPrint(const myDatabase &db, QObject *parent)
    : QObject(parent), m_db(db)
{
}

void objPrint::setPdfOutputForTests(const QString &path, int resolution)
{
    printerOutput::setPdfOutputForTests(path, resolution);
}

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
    return print(printLayout::load(), m_db, printLayout::numberCondition(m_number),
                 printerOutput::pdfFileName(m_number))
           != printerOutput::outcome::nothing;
}

printerOutput::outcome objPrint::print(const printLayout &layout, const myDatabase &db, const QString &condition,
                                       const QString &suggestedFileName, QString *savedPath)
{
    const QList<printBox> boxes = layout.boxes(db, condition);
    return printerOutput::printOrOfferPdf(
        layout.geometry(), [&](QPainter &painter, const printGeometry &g) { printPage::paint(painter, g, boxes); },
        suggestedFileName, savedPath);
}
