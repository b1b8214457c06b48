#ifndef ADMINDRIVER_H
#define ADMINDRIVER_H

// Drives the maintenance dialogs the way a supervisor does, shared by the
// schema and operator tests and the office day.
#include <QString>
#include <QStringList>
#include <functional>

class QMainWindow;
class QTableWidget;
class QWidget;
class frmManageSelectedItem;
class frmManageUser;
class frmSetField;
class modalWatcher;

namespace adminDriver {

// The texts of one grid column, top to bottom; an empty cell reads "".
QStringList gridColumn(const QTableWidget *grid, int column);

// One step of an operator at the field grid: "+名|类型|允许空|缺省值" 增加 and
// fill, "^…" the same with 插入 at the current row, "~名|新名|类型|允许空|缺省值"
// edit a row (an empty or missing part keeps the cell), "-名" 删除, ">名|n"
// 移动 to row n.
void fieldStep(frmSetField *form, modalWatcher &watcher, const QString &step);

// One step at the choice grid: "+text" appends a row (typed into when the
// text is not empty), "-text" deletes the row holding it.
void choiceStep(frmManageSelectedItem *form, const QString &step);

// 增加(A), a name and a level, 确定增加(S) in 操作员管理.
void addOperator(frmManageUser *form, const QString &name, const QString &level);

// 操作员修改密码 opened from the menu: the old password, the new one and its
// confirmation typed (each field left as a clerk leaves it), then 确定.
// False when the entry is not there.
bool changePassword(QMainWindow *window, const QString &old, const QString &changed, const QString &confirmed,
                    const QString &retypedOld = QString());

// A modalWatcher handler that answers a file dialog with the path; a path
// ending in "/" keeps the proposed name. The name goes into the name field
// directly: selectFile() alone can lose a race with the dialog's own
// directory listing, which puts the proposed name back.
std::function<void(QWidget *)> fileDialogAnswer(const QString &path);

} // namespace adminDriver

#endif
