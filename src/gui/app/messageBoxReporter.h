#ifndef MESSAGEBOXREPORTER_H
#define MESSAGEBOXREPORTER_H

#include "reporter.h"

// Shows what the core reports in the message boxes operators know: modal,
// without a parent, a single OK button.
class messageBoxReporter : public reporter
{
public:
    void report(kind severity, const QString &title, const QString &text) override;
};

#endif
