#include "protocol/s3logfilestream.h"

#include <QHash>

#include <memory>

using namespace Qt::StringLiterals;

namespace
{

// Never destroyed: the streams stay usable until the process is gone.
QHash<QString, s3LogFileStream *> &registry()
{
    static auto &streams = *new QHash<QString, s3LogFileStream *>;
    return streams;
}

}

s3LogFileStream::s3LogFileStream(const QString &fileName) : m_file(fileName) { }

s3LogFileStream::~s3LogFileStream()
{
    // The file is a member and goes before the base that writes to it.
    setDevice(nullptr);
}

bool s3LogFileStream::open(const QString &key, const QString &fileName, QStringConverter::Encoding encoding)
{
    if (isOpen(key))
        return true;
    std::unique_ptr<s3LogFileStream> stream(
        new s3LogFileStream(fileName.isEmpty() ? u"log_"_s + key + u".txt"_s : fileName));
    if (!stream->m_file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        return false;
    stream->setDevice(&stream->m_file);
    stream->setEncoding(encoding);
    if (encoding == QStringConverter::Utf16LE || encoding == QStringConverter::Utf16BE)
        stream->setGenerateByteOrderMark(true);
    registry().insert(key, stream.release());
    return true;
}

bool s3LogFileStream::isOpen(const QString &key)
{
    return registry().value(key) != nullptr;
}

QTextStream *s3LogFileStream::stream(const QString &key)
{
    if (s3LogFileStream *const open = registry().value(key))
        return open;
    static auto &buffer = *new QString;
    static auto &nullStream = *new s3LogFileStream(QString());
    if (nullStream.string() == nullptr)
        nullStream.setString(&buffer, QIODevice::ReadWrite);
    buffer.clear();
    return &nullStream;
}

bool s3LogFileStream::close(const QString &key)
{
    if (!registry().contains(key))
        return false;
    delete registry().value(key);
    return registry().remove(key);
}

void s3LogFileStream::closeAll()
{
    qDeleteAll(registry());
    registry().clear();
}

QString s3LogFileStream::list()
{
    QString result;
    for (auto it = registry().cbegin(); it != registry().cend(); ++it) {
        result += it.key();
        if (it.value() != nullptr)
            result += u' ' + it.value()->m_file.fileName();
        result += u'\n';
    }
    return result;
}
