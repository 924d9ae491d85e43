#include "platform/process.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <array>
#include <cerrno>

#include <fcntl.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace platform
{

namespace
{

// The whole text of a file below /proc; empty, with errno set, when it cannot be read.
QByteArray readProcFile(const QString &path)
{
    QFile file(path);
    errno = 0;
    if (!file.open(QIODevice::ReadOnly)) {
        if (errno == 0)
            errno = ENOENT;
        return QByteArray();
    }
    return file.readAll();
}

// The value in bytes of a line "Name:   123 kB"; 0 when there is none.
quint64 kibibyteLine(const QByteArray &text, const QByteArray &name)
{
    const QByteArray start = name + ':';
    for (const QByteArray &line : text.split('\n')) {
        if (line.startsWith(start))
            return line.mid(start.size()).trimmed().split(' ').first().toULongLong() << 10;
    }
    return 0;
}

QString processDirectory(quint32 id)
{
    return u"/proc/"_s + QString::number(id);
}

quint32 parentOf(quint32 id)
{
    // "pid (name) state parent ...": the name may hold anything, brackets and blanks too.
    const QByteArray stat = readProcFile(processDirectory(id) + u"/stat"_s);
    const QList<QByteArray> fields = stat.mid(stat.lastIndexOf(')') + 1).simplified().split(' ');
    return fields.size() > 1 ? fields.at(1).toUInt() : 0;
}

QString executableOf(quint32 id)
{
    const QString target = QFile::symLinkTarget(processDirectory(id) + u"/exe"_s);
    if (!target.isEmpty())
        return QFileInfo(target).fileName();
    // Another user's process: the short name is what everybody may see.
    return QString::fromLocal8Bit(readProcFile(processDirectory(id) + u"/comm"_s).trimmed());
}

class ProcSnapshot final : public ProcessSnapshot
{
public:
    explicit ProcSnapshot(QStringList ids) : m_ids(std::move(ids)) { }

    bool first(ProcessEntry &entry) override
    {
        m_position = 0;
        return next(entry);
    }

    bool next(ProcessEntry &entry) override
    {
        while (m_position < m_ids.size()) {
            const quint32 id = m_ids.at(m_position++).toUInt();
            const quint32 parent = parentOf(id);
            if (id == 0 || (parent == 0 && !QFileInfo::exists(processDirectory(id))))
                continue; // not a process, or gone since
            entry = {id, parent, executableOf(id)};
            return true;
        }
        return false;
    }

private:
    QStringList m_ids;
    qsizetype m_position = 0;
};

class ProcProcesses final : public Processes
{
public:
    SystemMemory systemMemory() override
    {
        const QByteArray text = readProcFile(u"/proc/meminfo"_s);
        SystemMemory memory;
        memory.totalPhysical = kibibyteLine(text, "MemTotal"_ba);
        memory.availablePhysical = kibibyteLine(text, "MemAvailable"_ba);
        memory.totalPageFile = memory.totalPhysical + kibibyteLine(text, "SwapTotal"_ba);
        memory.availablePageFile = memory.availablePhysical + kibibyteLine(text, "SwapFree"_ba);
        return memory;
    }

    quint32 ownId() override { return static_cast<quint32>(getpid()); }

    ProcessHandle ownHandle() override { return handleOf(ownId()); }

    QString programFileName(const QString &name) override { return name; }

    std::unique_ptr<ProcessSnapshot> snapshot() override
    {
        if (access("/proc/self/stat", R_OK) != 0)
            return nullptr;
        return std::make_unique<ProcSnapshot>(QDir(u"/proc"_s).entryList({u"[1-9]*"_s}, QDir::Dirs));
    }

    ProcessHandle open(quint32 id) override
    {
        return readProcFile(processDirectory(id) + u"/status"_s).isEmpty() ? nullptr : handleOf(id);
    }

    void close(ProcessHandle) override { }

    bool memory(ProcessHandle process, ProcessMemory &memory) override
    {
        const auto id = static_cast<quint32>(reinterpret_cast<quintptr>(process));
        const QByteArray text = readProcFile(processDirectory(id) + u"/status"_s);
        if (text.isEmpty())
            return false;
        memory.workingSet = kibibyteLine(text, "VmRSS"_ba);
        memory.privateUsage = kibibyteLine(text, "RssAnon"_ba) + kibibyteLine(text, "VmSwap"_ba);
        return true;
    }

private:
    static ProcessHandle handleOf(quint32 id) { return reinterpret_cast<ProcessHandle>(quintptr(id)); }
};

}

Processes &processes()
{
    static ProcProcesses real;
    return real;
}

bool isDebuggerAttached()
{
    // Without QFile: every process asks this once while it makes its temporary directory.
    const int file = ::open("/proc/self/status", O_RDONLY | O_CLOEXEC);
    if (file < 0)
        return false;
    // "TracerPid:\t0" stands for none; it is among the first ten lines.
    std::array<char, 1024> buffer = {};
    const ssize_t size = ::read(file, buffer.data(), buffer.size());
    ::close(file);
    const QByteArray status(buffer.data(), size > 0 ? qsizetype(size) : 0);
    const QByteArray start = "\nTracerPid:"_ba;
    const qsizetype position = status.indexOf(start);
    if (position < 0)
        return false;
    const qsizetype value = position + start.size();
    return status.mid(value, status.indexOf('\n', value) - value).trimmed().toUInt() != 0;
}

}
