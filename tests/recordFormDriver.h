#ifndef RECORDFORMDRIVER_H
#define RECORDFORMDRIVER_H

// Drives a record form the way an operator does: through its named widgets
// and its buttons. Shared by the record-form and registration tests.
#include "frmRegisterLease.h"
#include "mainWindow.h"

#include <QComboBox>
#include <QGroupBox>
#include <QLineEdit>
#include <QPushButton>
#include <QSpinBox>
#include <QtTest>

namespace recordForm {

// Opens a new record form through the main window's 登记备案 command.
inline frmRegisterLease *open(mainWindow *window)
{
    window->slotRegisterLease();
    const QList<frmRegisterLease *> forms = window->findChildren<frmRegisterLease *>();
    return forms.isEmpty() ? nullptr : forms.last();
}

template <typename T>
T *widget(const frmRegisterLease *form, const QString &name)
{
    T *w = form->findChild<T *>(name);
    if (!w)
        qFatal("no widget %s", qPrintable(name));
    return w;
}

inline QPushButton *button(const frmRegisterLease *form, const QString &text)
{
    for (QPushButton *b : form->findChildren<QPushButton *>())
        if (b->text() == text)
            return b;
    qFatal("no button %s", qPrintable(text));
}

inline void click(const frmRegisterLease *form, const QString &text) { button(form, text)->click(); }

// What browse and search do to show a registration.
inline void show(frmRegisterLease *form, const QString &number)
{
    form->numberEdit()->setText(number);
    form->slotEditLinDJBH(number);
}

inline void setLine(const frmRegisterLease *form, const QString &column, const QString &text)
{
    widget<QLineEdit>(form, QStringLiteral("line") + column + QStringLiteral("："))->setText(text);
}

inline QString line(const frmRegisterLease *form, const QString &column)
{
    return widget<QLineEdit>(form, QStringLiteral("line") + column + QStringLiteral("："))->text();
}

// The value a field shows, whatever its kind: text, current choice or number.
inline QString shown(const frmRegisterLease *form, const QString &objectName)
{
    QWidget *w = widget<QWidget>(form, objectName);
    if (auto *l = qobject_cast<QLineEdit *>(w))
        return l->text();
    if (auto *c = qobject_cast<QComboBox *>(w))
        return c->currentText();
    if (auto *s = qobject_cast<QSpinBox *>(w))
        return s->text(); // what is on screen, not only the value behind it
    return QString();
}

// Fills the three required columns so a save can succeed.
inline void fillRequired(const frmRegisterLease *form)
{
    setLine(form, QStringLiteral("出方名称"), QStringLiteral("张伟"));
    setLine(form, QStringLiteral("承方名称"), QStringLiteral("李娜"));
    setLine(form, QStringLiteral("房屋坐落"), QStringLiteral("城关镇人民路12号3单元502室"));
}

} // namespace recordForm

#endif
