#include "bytestreams.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <unistd.h>

namespace mapi
{

namespace
{

constexpr std::size_t sinkBuffer = std::size_t(64) * 1024;

struct ByteStream {
    GMimeStream parent;
    ByteSource *source;
    FileSink *sink;
};

struct ByteStreamClass {
    GMimeStreamClass parent;
};

ByteStream *self(GMimeStream *stream)
{
    return reinterpret_cast<ByteStream *>(stream);
}

ssize_t streamRead(GMimeStream *stream, char *data, size_t size)
{
    ByteSource *source = self(stream)->source;
    const ssize_t got = source != nullptr ? source->read(data, size) : -1;
    if (got > 0)
        stream->position += got;
    return got;
}

ssize_t streamWrite(GMimeStream *stream, const char *data, size_t size)
{
    FileSink *sink = self(stream)->sink;
    if (sink == nullptr || !sink->write(data, size))
        return -1;
    stream->position += static_cast<gint64>(size);
    return static_cast<ssize_t>(size);
}

// GMime flushes after each part; the sink's owner does it once at the end.
int streamFlush(GMimeStream *)
{
    return 0;
}

int streamClose(GMimeStream *)
{
    return 0;
}

gboolean streamEos(GMimeStream *stream)
{
    const ByteSource *source = self(stream)->source;
    return source == nullptr || source->atEnd() ? TRUE : FALSE;
}

// Asked before the first byte is read, and never in the middle.
int streamReset(GMimeStream *stream)
{
    return stream->position == 0 ? 0 : -1;
}

gint64 streamSeek(GMimeStream *, gint64, GMimeSeekWhence)
{
    return -1;
}

gint64 streamTell(GMimeStream *stream)
{
    return stream->position;
}

gint64 streamLength(GMimeStream *)
{
    return -1;
}

GMimeStream *streamSubstream(GMimeStream *, gint64, gint64)
{
    return nullptr;
}

void initialiseClass(gpointer type, gpointer)
{
    GMimeStreamClass &stream = static_cast<ByteStreamClass *>(type)->parent;
    stream.read = streamRead;
    stream.write = streamWrite;
    stream.flush = streamFlush;
    stream.close = streamClose;
    stream.eos = streamEos;
    stream.reset = streamReset;
    stream.seek = streamSeek;
    stream.tell = streamTell;
    stream.length = streamLength;
    stream.substream = streamSubstream;
}

GType byteStreamType()
{
    static const GType type
        = g_type_register_static_simple(GMIME_TYPE_STREAM, "OstrelleMapiByteStream", sizeof(ByteStreamClass),
                                        initialiseClass, sizeof(ByteStream), nullptr, G_TYPE_FLAG_NONE);
    return type;
}

GObjectPtr<GMimeStream> makeStream(ByteSource *source, FileSink *sink)
{
    initialiseGMime();
    auto *stream = static_cast<ByteStream *>(g_object_new(byteStreamType(), nullptr));
    g_mime_stream_construct(&stream->parent, 0, -1);
    stream->source = source;
    stream->sink = sink;
    return GObjectPtr<GMimeStream>(&stream->parent);
}

}

ssize_t TextSource::read(char *data, std::size_t size) noexcept
{
    const std::size_t length = std::min(size, m_rest.size());
    std::memcpy(data, m_rest.data(), length);
    m_rest.remove_prefix(length);
    return static_cast<ssize_t>(length);
}

FileSink::FileSink(int descriptor) : m_descriptor(descriptor)
{
    m_buffer.reserve(sinkBuffer);
}

bool FileSink::write(const char *data, std::size_t size) noexcept
{
    while (size > 0 && m_error == 0) {
        const std::size_t length = std::min(size, sinkBuffer - m_buffer.size());
        m_buffer.append(data, length);
        data += length;
        size -= length;
        if (m_buffer.size() == sinkBuffer)
            flush();
    }
    return m_error == 0;
}

bool FileSink::flush() noexcept
{
    const char *data = m_buffer.data();
    std::size_t left = m_buffer.size();
    while (left > 0 && m_error == 0) {
        const ssize_t written = ::write(m_descriptor, data, left);
        if (written >= 0) {
            data += written;
            left -= static_cast<std::size_t>(written);
        } else if (errno != EINTR) {
            m_error = errno;
        }
    }
    m_buffer.clear();
    return m_error == 0;
}

GObjectPtr<GMimeStream> streamFrom(ByteSource &source)
{
    return makeStream(&source, nullptr);
}

GObjectPtr<GMimeStream> streamInto(FileSink &sink)
{
    return makeStream(nullptr, &sink);
}

}
