#include "objPrint.h"

#include "printLayout.h"

objPrint::objPrint(QObject *parent)
    : QObject(parent)
{
}

bool objPrint::printRecord()
{
    if (m_number.isEmpty()) {
        printLayout::showError(QStringLiteral("没有指定需要打印的编号"));
        return false;
    }
    // Only short numbers are refused: a longer one simply matches no row and
    // prints the empty certificate, as it always has.
    if (m_number.size() < 15) {
        printLayout::showError(QStringLiteral("需要打印的编号不正确"));
        return false;
    }
    return printLayout::load().print(QStringLiteral(" AND leaseout.登记编号='") + m_number + QLatin1Char('\''));
}
