#include "protocol/messagelog.h"

#include "processobjects.h"
#include "protocol/messagelog_p.h"
#include "s3dir.h"

#include <QFile>
#include <QMutex>
#include <QMutexLocker>
#include <QStringEncoder>

#include <atomic>
#include <vector>

using namespace Qt::StringLiterals;

namespace
{

// Null until the handler is installed. Like the next one guarded by logMutex().
constinit QtMessageHandler previousHandler = nullptr;
constinit bool logFileIsGone = false;

// The category of the log... functions, or null for the default one.
constinit std::atomic<const QLoggingCategory *> currentCategory = nullptr;

// Never destroyed, since messages may still come when static objects go.
QMutex &logMutex()
{
    static auto *const mutex = new QMutex;
    return *mutex;
}

void messageHandler(QtMsgType type, const QMessageLogContext &context, const QString &message)
{
    if (message.isEmpty())
        return;
    // Held around the former handler too. A message that comes up meanwhile on this thread does not wait
    // here for ever: Qt sends what a handler logs past all handlers.
    const QMutexLocker lock(&logMutex());
    if (!logFileIsGone && messageLogFile().open(QIODevice::WriteOnly | QIODevice::Text | QIODevice::Append)) {
        // Not QString::toUtf8, which makes a question mark of a lone surrogate.
        QStringEncoder utf8(QStringConverter::Utf8);
        messageLogFile().write(utf8.encode(qFormatLogMessage(type, context, message + u'\n')));
        messageLogFile().close();
    }
    previousHandler(type, context, message);
}

// The registered category of that name. Made once for each name and kept: to register one is expensive,
// and a stream refers to its category's name until it is written.
const QLoggingCategory &registeredCategory(const char *name)
{
    static auto &mutex = *new QMutex;
    static auto &categories = *new std::vector<const QLoggingCategory *>;
    const QMutexLocker lock(&mutex);
    for (const QLoggingCategory *category : categories) {
        if (qstrcmp(category->categoryName(), name) == 0)
            return *category;
    }
    categories.push_back(new QLoggingCategory(name));
    return *categories.back();
}

const QLoggingCategory &logCategoryObject()
{
    if (const QLoggingCategory *const category = currentCategory.load(std::memory_order_acquire))
        return *category;
    // Not QLoggingCategory::defaultCategory(), which is null once Qt's static objects are gone.
    static const QLoggingCategory &defaultCategory = registeredCategory("default");
    return defaultCategory;
}

QMessageLogger withoutPosition()
{
    return QMessageLogger(nullptr, 0, nullptr);
}

}

void detachLogFile()
{
    const QMutexLocker lock(&logMutex());
    logFileIsGone = true;
}

void initLogFile(const QString &dir, const QString &fileName, bool truncate)
{
    if (fileName.isEmpty())
        return;
    const QString path = s3Dir(dir).filePath(fileName);
    {
        const QMutexLocker lock(&logMutex());
        messageLogFile().setFileName(path);
    }
    // Without the lock, and so not on the log's own file: Qt may warn about the name.
    QFile file(path);
    if (truncate && file.exists())
        file.resize(0);
    const QMutexLocker lock(&logMutex());
    if (previousHandler == nullptr)
        previousHandler = qInstallMessageHandler(messageHandler);
}

void setLogCategory(const char *name)
{
    currentCategory.store(name != nullptr ? &registeredCategory(name) : nullptr, std::memory_order_release);
}

void clearLogCategory()
{
    setLogCategory(nullptr);
}

const char *logCategory()
{
    const QLoggingCategory *const category = currentCategory.load(std::memory_order_acquire);
    return category != nullptr ? category->categoryName() : nullptr;
}

void setDebugEnabled(bool on)
{
    const char *const name = logCategory();
    if (name == nullptr)
        return;
    QLoggingCategory::setFilterRules(
        u"%1.debug=%2"_s.arg(QString::fromUtf8(name), on ? u"true"_s : u"false"_s));
}

bool isDebugEnabled()
{
    return logCategoryObject().isDebugEnabled();
}

QDebug logDebug()
{
    return logDebug(logCategoryObject());
}

QDebug logInfo()
{
    return logInfo(logCategoryObject());
}

QDebug logWarning()
{
    return logWarning(logCategoryObject());
}

QDebug logCritical()
{
    return logCritical(logCategoryObject());
}

QDebug logDebug(const QLoggingCategory &category)
{
    return withoutPosition().debug(category).noquote();
}

QDebug logInfo(const QLoggingCategory &category)
{
    return withoutPosition().info(category).noquote();
}

QDebug logWarning(const QLoggingCategory &category)
{
    return withoutPosition().warning(category).noquote();
}

QDebug logCritical(const QLoggingCategory &category)
{
    return withoutPosition().critical(category).noquote();
}

QDebug logFor(QtMsgType type)
{
    switch (type) {
    case QtDebugMsg:
        return logDebug();
    case QtWarningMsg:
        return logWarning();
    case QtInfoMsg:
        return logInfo();
    default:
        return logCritical();
    }
}

void logList(const QStringList &list, const QString &text)
{
    for (const QString &item : list)
        logDebug() << u"%1 [%2]"_s.arg(text, item);
}
