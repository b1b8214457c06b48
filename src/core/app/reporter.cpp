#include "reporter.h"

#include <QtGlobal>

namespace {
reporter *s_installed = nullptr;

void send(reporter::kind severity, const QString &title, const QString &text)
{
    if (s_installed) {
        s_installed->report(severity, title, text);
        return;
    }
    qWarning("%s: %s", qUtf8Printable(title), qUtf8Printable(text));
}
} // namespace

void reporter::install(reporter *r) { s_installed = r; }
reporter *reporter::installed() { return s_installed; }

void reporter::information(const QString &title, const QString &text) { send(kind::Information, title, text); }
void reporter::warning(const QString &title, const QString &text) { send(kind::Warning, title, text); }
void reporter::critical(const QString &title, const QString &text) { send(kind::Critical, title, text); }
