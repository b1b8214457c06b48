#ifndef RECORDFORMDRIVER_H
#define RECORDFORMDRIVER_H

// Drives a record form the way an operator does: through its named widgets
// and its buttons. Shared by the record-form test and the statement benchmark.
#include "frmRegisterLease.h"
#include "mainWindow.h"
#include "testSupport.h"

#include <QComboBox>
#include <QLineEdit>
#include <QPushButton>
#include <QSpinBox>
#include <memory>

namespace recordForm {

// Opens a new record form through the main window's 登记备案 command.
inline frmRegisterLease *open(mainWindow *window)
{
    window->slotRegisterLease();
    const QList<frmRegisterLease *> forms = window->findChildren<frmRegisterLease *>();
    return forms.isEmpty() ? nullptr : forms.last();
}

// Logs in as root through the login form into a window the caller keeps,
// then opens a record form.
inline frmRegisterLease *loginAndOpen(std::unique_ptr<mainWindow> &window)
{
    window.reset(testSupport::login());
    if (window->operatorName().isEmpty())
        qFatal("login failed");
    return open(window.get());
}

// A missing widget stops the program: the test cannot go on without it.
template <typename T = QWidget>
T *widget(const QWidget *form, const QString &name)
{
    if (T *w = form->findChild<T *>(name))
        return w;
    qFatal("no widget %s", qPrintable(name));
}

// The button whose text starts with the given words: "增加" finds "增加(&A)".
inline QPushButton *button(const QWidget *form, const QString &text)
{
    for (QPushButton *b : form->findChildren<QPushButton *>())
        if (b->text().startsWith(text))
            return b;
    qFatal("no button %s", qPrintable(text));
}

inline void click(const QWidget *form, const QString &text) { button(form, text)->click(); }

// What browse and search do to show a registration.
inline void show(frmRegisterLease *form, const QString &number)
{
    form->numberEdit()->setText(number);
    form->slotEditLinDJBH(number);
}

inline void setLine(const QWidget *form, const QString &column, const QString &text)
{
    widget<QLineEdit>(form, QStringLiteral("line") + column + QStringLiteral("："))->setText(text);
}

// The value a field shows, whatever its kind; a number or date as it reads on screen.
inline QString shown(const QWidget *form, const QString &objectName)
{
    QWidget *w = widget(form, objectName);
    if (auto *l = qobject_cast<QLineEdit *>(w))
        return l->text();
    if (auto *c = qobject_cast<QComboBox *>(w))
        return c->currentText();
    return widget<QAbstractSpinBox>(form, objectName)->text();
}

// Fills the three required columns so a save can succeed.
inline void fillRequired(const QWidget *form)
{
    setLine(form, QStringLiteral("出方名称"), QStringLiteral("张伟"));
    setLine(form, QStringLiteral("承方名称"), QStringLiteral("李娜"));
    setLine(form, QStringLiteral("房屋坐落"), QStringLiteral("城关镇人民路12号3单元502室"));
}

} // namespace recordForm

#endif
