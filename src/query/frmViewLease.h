#ifndef FRMVIEWLEASE_H
#define FRMVIEWLEASE_H

#include <QWidget>

class mainWindow;

class frmViewLease : public QWidget
{
    Q_OBJECT
public:
    explicit frmViewLease(mainWindow *opener);

private:
    mainWindow *m_opener;
};

#endif
