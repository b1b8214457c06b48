#include "messageBoxReporter.h"

#include <QMessageBox>

void messageBoxReporter::report(kind severity, const QString &title, const QString &text)
{
    switch (severity) {
    case kind::Information:
        QMessageBox::information(nullptr, title, text, QMessageBox::Ok);
        break;
    case kind::Warning:
        QMessageBox::warning(nullptr, title, text, QMessageBox::Ok);
        break;
    case kind::Critical:
        QMessageBox::critical(nullptr, title, text, QMessageBox::Ok);
        break;
    }
}
