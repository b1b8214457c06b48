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

    // Right after a bulk fill (or a restore) InnoDB is still busy in the
    // background: most of what was just written sits as dirty pages that the
    // page cleaner flushes over the next minutes, and the dropped tables'
    // undo is purged. Whatever is timed meanwhile shares the two cores with
    // that work, and which runs it hits is chance: the same search varied by
    // a third between runs. So the server is told to flush everything now,
    // and this returns once no dirty page and no purge backlog is left. The
    // statistics are taken first, so their own writes are flushed too.
    // Returns the milliseconds waited (-1 on a timeout). Runs on the default
    // connection.
    qint64 settle();

private:
    QString m_dir;
    bool m_up = false;
    bool m_removeData;
    QTemporaryDir m_settings;
};

} // namespace testSupport

#endif
