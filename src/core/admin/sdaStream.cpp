#include "sdaStream.h"

#include <QIODevice>
#include <QThread>
#include <QtEndian>
#include <algorithm>
#include <zlib.h>

namespace sdaStream {

namespace {

const int dictionarySize = 32768; // deflate's window
// The zlib header for "deflate, 32 KiB window, maximum compression", the
// same two bytes qCompress(…, 9) writes.
const char zlibHeader[2] = {'\x78', '\xda'};

// zlib's level 9 follows a hash chain up to 4096 entries deep for every
// position; office dumps gain almost nothing past a few hundred. Everything
// else stays as level 9 sets it (good 32, lazy 258, nice 258).
const int fastChain = 384;

QByteArray bigEndian32(quint32 value)
{
    QByteArray bytes(4, Qt::Uninitialized);
    qToBigEndian(value, bytes.data());
    return bytes;
}

} // namespace

struct writer::block {
    QByteArray input;
    QByteArray dictionary;
    QByteArray output;
    bool last = false;
    bool done = false;
    bool ok = true;
    unsigned long adler = 1;
};

writer::writer(QIODevice *out, int threads)
    : m_out(out)
    , m_threads(threads > 0 ? threads : std::max(1, QThread::idealThreadCount()))
{
}

writer::~writer()
{
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_stop = true;
        m_todo.clear();
    }
    m_wake.notify_all();
    for (std::thread &t : m_workers)
        t.join();
}

bool writer::fail(const QString &why)
{
    if (m_error.isEmpty())
        m_error = why;
    return false;
}

bool writer::begin()
{
    // The length is not known yet; finish() comes back for it.
    if (!writeAll(m_out, bigEndian32(0)) || !writeAll(m_out, zlibHeader, 2))
        return fail(m_out->errorString());
    m_current.reserve(blockSize);
    for (int i = 0; i < m_threads; ++i)
        m_workers.emplace_back([this] { work(); });
    return true;
}

bool writer::write(const char *data, qint64 size)
{
    while (size > 0 && m_error.isEmpty()) {
        const qint64 room = blockSize - m_current.size();
        const qint64 n = std::min(room, size);
        m_current.append(data, int(n));
        data += n;
        size -= n;
        m_plainSize += quint64(n);
        if (m_current.size() == blockSize) {
            submit(false);
            // Enough blocks in flight to keep every thread busy, no more:
            // the memory used stays the same whatever the dump's size.
            if (!drain(size_t(2 * m_threads + 1)))
                return false;
        }
    }
    return m_error.isEmpty();
}

void writer::submit(bool last)
{
    auto b = std::make_shared<block>();
    b->input = m_current;
    b->last = last;
    if (!m_previous.isEmpty())
        b->dictionary = m_previous.right(dictionarySize);
    m_previous = m_current;
    m_current = QByteArray();
    m_current.reserve(blockSize);
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_todo.push_back(b);
        m_inOrder.push_back(b);
    }
    m_wake.notify_one();
}

bool writer::drain(size_t keepInFlight)
{
    for (;;) {
        std::shared_ptr<block> b;
        {
            std::unique_lock<std::mutex> lock(m_mutex);
            if (m_inOrder.empty())
                return true;
            b = m_inOrder.front();
            if (!b->done && m_inOrder.size() <= keepInFlight)
                return true;
            m_doneCv.wait(lock, [&] { return b->done; });
            m_inOrder.pop_front();
        }
        if (!b->ok)
            return fail(QStringLiteral("压缩失败"));
        if (!writeAll(m_out, b->output))
            return fail(m_out->errorString());
        m_adler = adler32_combine64(m_adler, b->adler, b->input.size());
    }
}

void writer::work()
{
    z_stream zs{};
    const bool ready = deflateInit2(&zs, 9, Z_DEFLATED, -15, 8, Z_DEFAULT_STRATEGY) == Z_OK;
    for (;;) {
        std::shared_ptr<block> b;
        {
            std::unique_lock<std::mutex> lock(m_mutex);
            m_wake.wait(lock, [&] { return m_stop || !m_todo.empty(); });
            if (m_todo.empty())
                break;
            b = m_todo.front();
            m_todo.pop_front();
        }
        bool ok = ready && deflateReset(&zs) == Z_OK;
        // deflateReset restores the level's own search settings.
        if (ok && m_fastSearch)
            ok = deflateTune(&zs, 32, 258, 258, fastChain) == Z_OK;
        if (ok && !b->dictionary.isEmpty())
            ok = deflateSetDictionary(&zs, reinterpret_cast<const Bytef *>(b->dictionary.constData()),
                                      uInt(b->dictionary.size())) == Z_OK;
        if (ok) {
            b->adler = adler32(1, reinterpret_cast<const Bytef *>(b->input.constData()), uInt(b->input.size()));
            // Room for the worst case plus the sync flush's empty stored block.
            b->output.resize(int(deflateBound(&zs, uLong(b->input.size())) + 64));
            zs.next_in = reinterpret_cast<Bytef *>(b->input.data());
            zs.avail_in = uInt(b->input.size());
            zs.next_out = reinterpret_cast<Bytef *>(b->output.data());
            zs.avail_out = uInt(b->output.size());
            const int rc = deflate(&zs, b->last ? Z_FINISH : Z_SYNC_FLUSH);
            ok = (b->last ? rc == Z_STREAM_END : rc == Z_OK) && zs.avail_in == 0 && zs.avail_out > 0;
            b->output.resize(b->output.size() - int(zs.avail_out));
        }
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            b->ok = ok;
            b->done = true;
            b->dictionary.clear();
        }
        m_doneCv.notify_all();
    }
    if (ready)
        deflateEnd(&zs);
}

bool writer::finish()
{
    if (!m_error.isEmpty())
        return false;
    submit(true);
    if (!drain(0))
        return false;
    if (!writeAll(m_out, bigEndian32(quint32(m_adler))))
        return fail(m_out->errorString());
    const qint64 end = m_out->pos();
    if (!m_out->seek(0) || !writeAll(m_out, bigEndian32(quint32(m_plainSize & 0xffffffffu))) || !m_out->seek(end))
        return fail(m_out->errorString());
    return true;
}

readResult read(QIODevice *in, const std::function<bool(const char *, qint64)> &sink,
                const std::function<void(qint64)> &progress, quint64 *plainSize)
{
    char head[4];
    const qint64 got = in->read(head, 4);
    if (got < 0)
        return readResult::ReadFailed;
    if (got == 0)
        return readResult::Empty;
    if (got < 4)
        return readResult::Truncated;
    const quint32 lowBits = qFromBigEndian<quint32>(head);

    QByteArray input(256 * 1024, Qt::Uninitialized);
    QByteArray output(1024 * 1024, Qt::Uninitialized);
    qint64 consumed = 4;
    qint64 n = in->read(input.data(), input.size());
    if (n < 0)
        return readResult::ReadFailed;
    if (n < 2)
        return readResult::Truncated;
    // RFC 1950: deflate with a window of at most 32 KiB, and a header whose
    // two bytes are a multiple of 31. Anything else never was a .sda.
    const auto cmf = uchar(input.at(0)), flg = uchar(input.at(1));
    if ((cmf & 0x0f) != 8 || (cmf >> 4) > 7 || (cmf * 256 + flg) % 31 != 0)
        return readResult::NotCompressed;

    z_stream zs{};
    if (inflateInit(&zs) != Z_OK)
        return readResult::Damaged;
    zs.next_in = reinterpret_cast<Bytef *>(input.data());
    zs.avail_in = uInt(n);
    consumed += n;
    if (progress)
        progress(consumed);
    quint64 total = 0;
    readResult result = readResult::Complete;
    for (;;) {
        if (zs.avail_in == 0) {
            n = in->read(input.data(), input.size());
            if (n <= 0) {
                result = n < 0 ? readResult::ReadFailed : readResult::Truncated;
                break;
            }
            consumed += n;
            if (progress)
                progress(consumed);
            zs.next_in = reinterpret_cast<Bytef *>(input.data());
            zs.avail_in = uInt(n);
        }
        zs.next_out = reinterpret_cast<Bytef *>(output.data());
        zs.avail_out = uInt(output.size());
        const int rc = inflate(&zs, Z_NO_FLUSH);
        const qint64 produced = output.size() - qint64(zs.avail_out);
        if (produced > 0) {
            total += quint64(produced);
            if (!sink(output.constData(), produced)) {
                result = readResult::Stopped;
                break;
            }
        }
        if (rc == Z_STREAM_END)
            break;
        if (rc != Z_OK && rc != Z_BUF_ERROR) {
            result = readResult::Damaged;
            break;
        }
    }
    inflateEnd(&zs);
    if (result == readResult::Complete && quint32(total & 0xffffffffu) != lowBits)
        result = readResult::Damaged;
    if (plainSize)
        *plainSize = total;
    return result;
}

bool writeAll(QIODevice *out, const char *data, qint64 size)
{
    while (size > 0) {
        const qint64 n = out->write(data, size);
        if (n <= 0)
            return false;
        data += n;
        size -= n;
    }
    return true;
}

QString describe(readResult result)
{
    switch (result) {
    case readResult::Complete:
        return QString();
    case readResult::Empty:
        return QStringLiteral("文件是空的");
    case readResult::NotCompressed:
        return QStringLiteral("不是压缩格式的备份");
    case readResult::Truncated:
        return QStringLiteral("压缩数据没有结尾，文件不完整");
    case readResult::Damaged:
        return QStringLiteral("压缩数据已损坏");
    case readResult::ReadFailed:
        return QStringLiteral("文件读不出来");
    case readResult::Stopped:
        return QStringLiteral("读取中途停止");
    }
    return QString();
}

} // namespace sdaStream
