#include "adminDriver.h"

#include "../recordFormDriver.h"
#include "frmManageSelectedItem.h"
#include "frmManageUser.h"
#include "frmSetField.h"
#include "frmUserChangePWD.h"
#include "testSupport.h"

#include <QFileDialog>
#include <QFileInfo>
#include <QInputDialog>
#include <QTableWidget>

namespace adminDriver {

QStringList gridColumn(const QTableWidget *grid, int column)
{
    QStringList texts;
    for (int r = 0; r < grid->rowCount(); ++r)
        texts << (grid->item(r, column) ? grid->item(r, column)->text() : QString());
    return texts;
}

void fieldStep(frmSetField *form, modalWatcher &watcher, const QString &step)
{
    QStringList p = step.mid(1).split(QLatin1Char('|'));
    QTableWidget *grid = form->grid();
    const int row = gridColumn(grid, frmSetField::colName).indexOf(p[0]);
    grid->selectRow(row);
    if (step[0] == QLatin1Char('+') || step[0] == QLatin1Char('^')) {
        recordForm::click(form, step[0] == QLatin1Char('+') ? QStringLiteral("增加") : QStringLiteral("插入"));
        p.insert(frmSetField::colKey, QString()); // 主键 is never typed
        for (int c = 0; c < p.size(); ++c)
            grid->item(grid->currentRow(), c)->setText(p[c]);
    } else if (step[0] == QLatin1Char('~')) {
        static const int cells[] = {frmSetField::colName, frmSetField::colType, frmSetField::colNull,
                                    frmSetField::colDefault};
        for (int c = 1; c < p.size() && c <= 4; ++c)
            if (!p[c].isEmpty())
                grid->item(row, cells[c - 1])->setText(p[c]);
    } else if (step[0] == QLatin1Char('-')) {
        recordForm::click(form, QStringLiteral("删除"));
    } else {
        watcher.handler = [to = p[1].toInt()](QWidget *modal) {
            qobject_cast<QInputDialog *>(modal)->setIntValue(to);
            qobject_cast<QInputDialog *>(modal)->accept();
        };
        recordForm::click(form, QStringLiteral("移动"));
    }
}

void choiceStep(frmManageSelectedItem *form, const QString &step)
{
    const QString text = step.mid(1);
    QTableWidget *grid = form->grid();
    if (step[0] == QLatin1Char('+')) {
        recordForm::click(form, QStringLiteral("增加"));
        if (!text.isEmpty())
            grid->setItem(grid->rowCount() - 1, 0, new QTableWidgetItem(text));
    } else {
        grid->setCurrentCell(gridColumn(grid, 0).indexOf(text), 0);
        recordForm::click(form, QStringLiteral("删除"));
    }
}

void addOperator(frmManageUser *form, const QString &name, const QString &level)
{
    form->addButton()->click();
    form->nameEdit()->setText(name);
    form->levelBox()->setCurrentText(level);
    form->saveButton()->click();
}

bool changePassword(QMainWindow *window, const QString &old, const QString &changed, const QString &confirmed,
                    const QString &retypedOld)
{
    auto *form = testSupport::openThrough<frmUserChangePWD>(window, QStringLiteral("操作员修改密码"));
    if (!form)
        return false;
    form->oldPasswordEdit()->setText(old);
    emit form->oldPasswordEdit()->editingFinished();
    // A clerk cannot type into the fields a wrong old password keeps closed.
    if (form->newPasswordEdit()->isEnabled()) {
        form->newPasswordEdit()->setText(changed);
        emit form->newPasswordEdit()->editingFinished();
        form->confirmEdit()->setText(confirmed);
        emit form->confirmEdit()->editingFinished();
    }
    if (!retypedOld.isNull()) {
        form->oldPasswordEdit()->setText(retypedOld);
        emit form->oldPasswordEdit()->editingFinished();
    }
    form->yesButton()->click();
    return true;
}

std::function<void(QWidget *)> fileDialogAnswer(const QString &path)
{
    return [path](QWidget *w) {
        auto *dialog = qobject_cast<QFileDialog *>(w);
        if (!dialog) {
            if (auto *other = qobject_cast<QDialog *>(w))
                other->reject();
            return;
        }
        dialog->setDirectory(QFileInfo(path).absolutePath());
        if (!QFileInfo(path).fileName().isEmpty())
            dialog->findChild<QLineEdit *>(QStringLiteral("fileNameEdit"))->setText(QFileInfo(path).fileName());
        static_cast<QDialog *>(dialog)->accept();
    };
}

} // namespace adminDriver
