#include "platform/modules.h"

#include <QFile>

using namespace Qt::StringLiterals;

namespace platform
{

// dl_iterate_phdr would tell the same, but waits for whoever is loading a library, for ever if that is the
// thread that failed.
QStringList loadedModules()
{
    QFile file(u"/proc/self/maps"_s);
    if (!file.open(QIODevice::ReadOnly))
        return QStringList();
    QStringList paths;
    for (const QByteArray &line : file.readAll().split('\n')) {
        // "start-end perms offset device inode   path": blanks fill up in front of the path.
        const QByteArrayView view(line);
        const qsizetype permissions = view.indexOf(' ') + 1;
        const qsizetype start = view.indexOf('/');
        if (start < 0 || permissions + 2 >= start || view[permissions + 2] != 'x')
            continue;
        QString path = QFile::decodeName(line.mid(start));
        if (!paths.contains(path))
            paths.append(std::move(path));
    }
    return paths;
}

}
