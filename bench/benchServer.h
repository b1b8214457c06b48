#ifndef BENCHSERVER_H
#define BENCHSERVER_H

#include <QString>
#include <QTemporaryDir>

namespace testSupport {

// A benchmark's own private server in /tmp/zelnor-bench-<name>: started by
// the constructor, which points this process's clients at it and keeps the
// settings file in a scratch folder; stopped by the destructor. One benchmark
// then never drops a database another one filled, and none writes into the
// build tree. With removeData the server's folder goes too (a large data set
// should not outlive its run).
class benchServer
{
public:
    explicit benchServer(const QString &name, bool removeData = false);
    ~benchServer();
    bool isUp() const { return m_up; }
    QString folder() const { return m_dir; }

private:
    QString m_dir;
    bool m_up = false;
    bool m_removeData;
    QTemporaryDir m_settings;
};

} // namespace testSupport

#endif
