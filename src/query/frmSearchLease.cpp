#include "frmSearchLease.h"
#include "mainWindow.h"

frmSearchLease::frmSearchLease(mainWindow *opener)
    : QWidget(opener), m_opener(opener)
{
    setWindowTitle(QStringLiteral("搜索查询"));
    setAttribute(Qt::WA_DeleteOnClose);
}
