#include "objPrint.h"

#include "leaseSql.h"
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
    // Every print item is a statement of its own over the joined view; the
    // key conditions let each one find the lease row without reading them all.
    return printLayout::load().print(QStringLiteral(" AND leaseout.登记编号='") + m_number
                                     + QStringLiteral("' AND ") + leaseSql::numberKey(m_number));
}
