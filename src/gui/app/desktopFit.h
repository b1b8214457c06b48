#ifndef DESKTOPFIT_H
#define DESKTOPFIT_H

#include <QList>

class QCoreApplication;
class QMdiSubWindow;
class QTableView;

// What makes the program look at home on a Linux desktop: Qt's own dialogs
// in Chinese, sub-windows that open where they can be seen, and fixed column
// widths that still show their text in the font actually in use.
namespace desktopFit {

// Loads Qt's Chinese translation of its standard dialogs (buttons of message
// boxes, file dialogs) from Qt's translation folder. On a Chinese Windows
// desktop the system provides these texts; here Qt's own catalogue does.
// Returns false when the catalogue is not installed (English then shows).
bool installQtTranslations(QCoreApplication *app);

// Moves and, if need be, shrinks a sub-window so that it lies wholly inside
// the visible part of its MDI area.
void fitInside(QMdiSubWindow *sub);

// Sets the given column widths, widening any column whose header or shown
// contents need more in the view's font.
void setColumnWidths(QTableView *view, const QList<int> &widths);

} // namespace desktopFit

#endif
