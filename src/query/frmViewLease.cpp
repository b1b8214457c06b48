#include "frmViewLease.h"
#include "mainWindow.h"

frmViewLease::frmViewLease(mainWindow *opener)
    : QWidget(opener), m_opener(opener)
{
    setWindowTitle(QStringLiteral("浏览查询"));
    setAttribute(Qt::WA_DeleteOnClose);
}
