#ifndef FRMSEARCHLEASE_H
#define FRMSEARCHLEASE_H

#include <QWidget>

class mainWindow;

class frmSearchLease : public QWidget
{
    Q_OBJECT
public:
    explicit frmSearchLease(mainWindow *opener);

private:
    mainWindow *m_opener;
};

#endif
