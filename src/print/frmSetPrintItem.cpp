#include "frmSetPrintItem.h"
#include "mainWindow.h"

frmSetPrintItem::frmSetPrintItem(mainWindow *opener)
    : QWidget(opener), m_opener(opener)
{
    setWindowTitle(QStringLiteral("打印项目控制"));
    setAttribute(Qt::WA_DeleteOnClose);
}
