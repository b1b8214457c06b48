#ifndef SDASTREAM_H
#define SDASTREAM_H

#include <QByteArray>
#include <QString>
#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

class QIODevice;

// The compressed backup format (.sda), as qCompress writes it: the length of
// the plain dump as 4 bytes big-endian, then one zlib stream (RFC 1950) of it.
// Earlier installations wrote and read these files whole in memory; here both
// directions stream, so a dump of any size passes through a few megabytes.
//
// Files over 4 GiB: the length field holds only the low 32 bits of the plain
// size. qUncompress would trust it and fail; the reader below ignores it for
// sizing, decompresses to the zlib stream's own end (which the stream marks
// and its Adler-32 checksum confirms) and then only checks that the low 32
// bits agree.
namespace sdaStream {

// Writes a .sda into a seekable device. The plain size is known only at the
// end, so a placeholder is written first and filled in by finish().
//
// The compression runs on several threads the way `pigz -z` does it: the
// input is cut into blocks, each compressed as raw deflate primed with the
// previous block's last 32 KiB as dictionary and ended with a sync flush
// (the last one finishes the stream), and the blocks' Adler-32 sums are
// combined. The result is one ordinary zlib stream; nothing in it says it
// was made in pieces.
class writer
{
public:
    explicit writer(QIODevice *out, int threads = 0);
    ~writer();
    writer(const writer &) = delete;
    writer &operator=(const writer &) = delete;

    // Level 9 of zlib with a shorter match search than zlib's own level 9,
    // measured on office dumps to stay within 2 % of its size at about half
    // its time (see bench/bench_maintenance.cpp). Set before begin(); false
    // gives zlib's plain level 9, the reference the benchmark compares with.
    void setFastSearch(bool fast) { m_fastSearch = fast; }

    bool begin();
    bool write(const char *data, qint64 size);
    bool write(const QByteArray &data) { return write(data.constData(), data.size()); }
    // Ends the stream and fills in the length. The device stays open.
    bool finish();

    quint64 plainSize() const { return m_plainSize; }
    QString errorString() const { return m_error; }

    static constexpr int blockSize = 1 << 20;

private:
    struct block;
    void submit(bool last);
    bool drain(size_t keepInFlight);
    void work();
    bool fail(const QString &why);

    QIODevice *m_out;
    int m_threads;
    bool m_fastSearch = true;
    QByteArray m_current;
    QByteArray m_previous; // the last block handed out, for the next one's dictionary
    quint64 m_plainSize = 0;
    unsigned long m_adler = 1;
    QString m_error;

    std::mutex m_mutex;
    std::condition_variable m_wake;    // workers: a block is waiting
    std::condition_variable m_doneCv;  // writer: a block is done
    std::deque<std::shared_ptr<block>> m_todo;
    std::deque<std::shared_ptr<block>> m_inOrder;
    std::vector<std::thread> m_workers;
    bool m_stop = false;
};

enum class readResult {
    Complete,       // the stream ended, its checksum and the length field agree
    Empty,          // no bytes at all
    NotCompressed,  // no zlib stream after the length (plain SQL named .sda, say)
    Truncated,      // the file ends before the stream does
    Damaged,        // the data or its checksum is wrong, or the length disagrees
    ReadFailed,     // the device could not be read
    Stopped         // the sink asked to stop
};

// Streams the plain content of a .sda to sink, which returns false to stop.
// progress, when given, hears the compressed bytes read so far. Bytes after
// the end of the zlib stream are ignored: earlier installations wrote .sda
// files over longer old ones without truncating, so a good stream may be
// followed by the stale tail of an older file.
readResult read(QIODevice *in, const std::function<bool(const char *, qint64)> &sink,
                const std::function<void(qint64)> &progress = {}, quint64 *plainSize = nullptr);

// Words for the operator: what is wrong with the file.
QString describe(readResult result);

// Writes all of data, going on after a short write: a file system that fills
// up takes part of a write first and says why only on the next one.
bool writeAll(QIODevice *out, const char *data, qint64 size);
inline bool writeAll(QIODevice *out, const QByteArray &data) { return writeAll(out, data.constData(), data.size()); }

} // namespace sdaStream

#endif
