#include "frmRegisterLease.h"
#include "mainWindow.h"

#include <QLineEdit>
#include <QVBoxLayout>

frmRegisterLease::frmRegisterLease(mainWindow *opener)
    : QWidget(opener), m_opener(opener)
{
    setWindowTitle(QStringLiteral("登记备案"));
    setAttribute(Qt::WA_DeleteOnClose);
    linDJBH = new QLineEdit;
    auto *layout = new QVBoxLayout(this);
    layout->addWidget(linDJBH);
}

void frmRegisterLease::slotEditLinDJBH(const QString &)
{
}
