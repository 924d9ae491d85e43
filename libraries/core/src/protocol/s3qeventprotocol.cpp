#include "protocol/s3qeventprotocol.h"

#include "processobjects.h"
#include "protocol/eventnames.h"
#include "protocol/s3assert.h"
#include "protocol/s3iformattable.h"
#include "protocol/s3qeventprotocol_p.h"
#include "s3string.h"

#include <QCoreApplication>
#include <QHash>
#include <QThread>

using namespace Qt::StringLiterals;

namespace
{

constexpr unsigned wmUser = 0x0400;
constexpr unsigned wmApp = 0x8000;

QString pointerText(const void *pointer)
{
    return s3String::fromHex(reinterpret_cast<quintptr>(pointer));
}

QString eventTypeText(int type)
{
    return u"{type=%1, typeName=%2}"_s.arg(QString::number(type), eventNames().value(type, u"Unknown"_s));
}

QString threadText(const QThread *thread)
{
    const QCoreApplication *application = QCoreApplication::instance();
    const bool isMain = application != nullptr && thread == application->thread();
    return (isMain ? u"main"_s : pointerText(thread)).leftJustified(10);
}

QString objectText(const QObject *object)
{
    if (object == nullptr)
        return QString();
    return u"%1(this=%2, thread=%3, name=%4)"_s.arg(
        QString::fromUtf8(object->metaObject()->className()).leftJustified(35), pointerText(object),
        threadText(object->thread()), object->objectName());
}

QString customArguments(const QEvent *event)
{
    if (event->type() < QEvent::User || event->type() > QEvent::MaxUser)
        return QString();
    const auto *formattable = dynamic_cast<const s3IFormattable *>(event);
    return formattable != nullptr ? formattable->argumentsText() : QString();
}

}

QHash<int, QString> makeEventNames()
{
    QHash<int, QString> names;
    for (const s3EventName &row : s3EventNames)
        names.insert(row.type, QStringView(row.name).toString());
    return names;
}

void s3QEventProtocol::addCustomQEventName(int type, const QString &name)
{
    s3Assert(type >= QEvent::User && type <= QEvent::MaxUser,
             "type >= QEvent::User && type <= QEvent::MaxUser",
             "libraries/core/src/protocol/s3qeventprotocol", "s3QEventProtocol::addCustomQEventName");
    eventNames()[type] = name;
}

void s3QEventProtocol::ignoreQEventType(int type)
{
    ignoredEventTypes().insert(type);
}

QString s3QEventProtocol::describeEvent(const QObject *object, const QEvent *event)
{
    const QMutexLocker lock(&m_mutex);
    if (ignoredEventTypes().contains(event->type()))
        return QString();
    static const QString dashLine(120, u'-');
    QString text = u"QEVENT : "_s + eventTypeText(event->type()) + u'\n';
    text += u"QOBJECT: "_s + objectText(object) + u'\n';
    const QString arguments = customArguments(event);
    if (!arguments.isEmpty())
        text += u"ARGS   : "_s + arguments + u'\n';
    return text + dashLine;
}

QString s3QEventProtocol::windowMessageName(unsigned message)
{
    static const QHash<unsigned, QString> names = [] {
        QHash<unsigned, QString> table;
        for (const s3WindowMessageName &row : s3WindowMessageNames)
            table.insert(row.message, QStringView(row.name).toString());
        return table;
    }();
    const auto found = names.constFind(message);
    if (found != names.constEnd())
        return *found;
    if (message > wmUser && message < wmApp)
        return u"WM_USER + "_s + QString::number(message - wmUser);
    return u"%1 (%2)"_s.arg(QString::number(message), s3String::fromHex(message));
}
