#include "protocol/reportfilename.h"

#include "erp/s3session.h"
#include "s3file.h"
#include "s3fileinfo.h"
#include "s3tempdir.h"

#include <QtGlobal>

using namespace Qt::StringLiterals;

namespace
{

// Ten below the 260 characters that a path of Windows may have with its closing null.
constexpr qsizetype longestPath = 250;

// `name`, or a form of it that has at most `room` characters: a checksum, its beginning and its end.
QString fittingName(const QString &name, qsizetype room)
{
    if (name.size() <= room)
        return name;
    const QString checksum = QString::number(qChecksum(name.toUtf8(), Qt::ChecksumIso3309));
    const qsizetype left = qMax<qsizetype>(0, room - checksum.size() - 2);
    return u"%1-%2-%3"_s.arg(checksum, name.left(left / 2), name.right((left + 1) / 2));
}

}

QString reportFileName(bool forWriting)
{
    const QString dir = glob_file_localSettingsDir + u"/errorReports/"_s;
    QString plainName = dir + u"SYS.FEHL"_s;
    if (!forWriting && s3FileInfo(plainName).isFile())
        return plainName;
    const s3Session *session = s3SessionInstance();
    if (forWriting && !session->hasClientName())
        return plainName;
    if (session->serverName().isEmpty() || session->serverDirectory().isEmpty())
        return QString();
    QString name = session->serverName() + session->serverDirectory();
    name.replace(u'/', u'_').replace(u'.', u'_');
    return dir + fittingName(name, longestPath - dir.size());
}

bool reportExists()
{
    const QString name = reportFileName(false);
    return !name.isEmpty() && s3FileInfo(name).isFile();
}

bool removeReport()
{
    const QString name = reportFileName(false);
    return name.isEmpty() || s3File(name).remove(false);
}
