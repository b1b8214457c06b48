#ifndef FRMSETPRINTITEM_H
#define FRMSETPRINTITEM_H

#include <QWidget>

class mainWindow;

// Editor of the certificate's print layout (打印项目控制).
class frmSetPrintItem : public QWidget
{
    Q_OBJECT
public:
    explicit frmSetPrintItem(mainWindow *opener);

private:
    mainWindow *m_opener;
};

#endif
