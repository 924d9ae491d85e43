#include "protocol/messagelog.h"

#include "s3dir.h"

#include <QFile>
#include <QLoggingCategory>
#include <QMutex>
#include <QTextStream>

using namespace Qt::StringLiterals;

namespace
{

QFile logFile;
QtMessageHandler previousHandler = nullptr;
const char *categoryName = nullptr;

void messageHandler(QtMsgType type, const QMessageLogContext &context, const QString &message)
{
    if (message.isEmpty())
        return;
    static QMutex logMutex;
    const QMutexLocker lock(&logMutex);
    if (logFile.open(QIODevice::WriteOnly | QIODevice::Text | QIODevice::Append)) {
        QTextStream stream(&logFile);
        stream.setEncoding(QStringConverter::Utf8);
        stream << qFormatLogMessage(type, context, message + u'\n');
        stream.flush();
        logFile.close();
    }
    previousHandler(type, context, message);
}

}

void initLogFile(const QString &dir, const QString &fileName, bool truncate)
{
    if (fileName.isEmpty())
        return;
    logFile.setFileName(s3Dir(dir).filePath(fileName));
    if (truncate && logFile.exists())
        logFile.resize(0);
    if (previousHandler == nullptr)
        previousHandler = qInstallMessageHandler(messageHandler);
}

void setLogCategory(const char *name)
{
    categoryName = name;
}

void clearLogCategory()
{
    categoryName = nullptr;
}

const char *logCategory()
{
    return categoryName;
}

void setDebugEnabled(bool on)
{
    if (categoryName == nullptr)
        return;
    QLoggingCategory::setFilterRules(
        u"%1.debug=%2"_s.arg(QString::fromUtf8(categoryName), on ? u"true"_s : u"false"_s));
}

QDebug logDebug()
{
    const QLoggingCategory category(categoryName);
    if (!category.isDebugEnabled())
        return QMessageLogger(nullptr, 0, nullptr).debug(category).noquote();
    return QMessageLogger(nullptr, 0, nullptr).debug(category).noquote();
}
