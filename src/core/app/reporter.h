#ifndef REPORTER_H
#define REPORTER_H

#include <QString>

// How code without a window tells the operator about a problem. The core
// never opens a box itself: the main window installs a reporter that shows
// the usual message boxes, tests install one that records what was said,
// and with none installed (a batch tool, a benchmark) the text goes to the
// log, so nothing ever waits for a click nobody can give.
class reporter
{
public:
    enum class kind { Information, Warning, Critical };

    virtual ~reporter() = default;
    virtual void report(kind severity, const QString &title, const QString &text) = 0;

    // The reporter in use from now on; nullptr goes back to the log. The
    // caller keeps ownership.
    static void install(reporter *r);
    static reporter *installed();

    static void information(const QString &title, const QString &text);
    static void warning(const QString &title, const QString &text);
    static void critical(const QString &title, const QString &text);
};

#endif
