#include "protocol/reportsections.h"

#include "coreutil.h"
#include "coreutil_p.h"
#include "erp/s3session.h"
#include "erp/s3version.h"
#include "error/modulelists.h"
#include "platform/runguarded.h"
#include "s3tempdir.h"
#include "s3terminalsession.h"

#include <QCoreApplication>

#include <array>

using namespace Qt::StringLiterals;

namespace
{

constexpr qsizetype ruleWidth = 90;
constexpr qsizetype moduleWidth = 25;
constexpr qsizetype nameLength = 40;
constexpr qsizetype hostLength = 80;

// The record's own version, by which readers know its layout.
constexpr auto recordVersion = "v2.6"_L1;

constexpr std::array graphicsVariables{
    "QT_OPENGL",
    "QT_OPENGL_DLL",
    "QT_QUICK_BACKEND",
    "QMLSCENE_DEVICE",
    "QSG_RHI_BACKEND",
    "QSG_RHI_PREFER_SOFTWARE_RENDERER",
    "QTWEBENGINE_CHROMIUM_FLAGS",
};

// The name of the program; Qt warns whoever asks for it without an application.
QString programName()
{
    return QCoreApplication::instance() != nullptr ? qAppName() : QString();
}

void appendModule(QString &text, const QString &path)
{
    QString line;
    if (s3RunGuarded([&] { line = reportModule(path); }))
        text += line;
}

}

QString reportRule()
{
    return QString(ruleWidth, u'-') + u'\n';
}

QString reportHead(const QDateTime &now)
{
    return reportRule()
        + u"%1 # %2 # %3 # %4 # %5\n"_s.arg(
            now.toString(u"dd.MM.yyyy"_s), now.toString(u"hh:mm:ss"_s), programName() + u".exe"_s,
            QString::number(QCoreApplication::applicationPid()), QString(recordVersion));
}

QString reportVersions()
{
    return u"Server Version: %1\nClient Version: %2\n"_s.arg(s3SessionInstance()->serverVersion(),
                                                             s3ClientVersion());
}

QString reportArguments(const QStringList &arguments)
{
    return s3MaskPasswords(arguments).join(u' ') + u'\n';
}

QString reportDirectory()
{
    if (glob_file_guiDir.isEmpty())
        return QString();
    return u"guidir=%1 %2\n"_s.arg(glob_file_guiDir, s3IsLocalInstall() ? u"(local install)"_s : QString());
}

QString reportOperatingSystem(const QString &name, const QString &additional, const QString &edition)
{
    QString text = name;
    if (!additional.isEmpty())
        text += u", "_s + additional;
    text += u'\n';
    if (!edition.isEmpty())
        text += u"        Edition: "_s + edition + u'\n';
    return text;
}

QString reportMemoryUsage()
{
    QString text;
    return s3MemoryReport(text) ? QString(text + u'\n') : QString();
}

QString reportGpus(const QVariant &gpus)
{
    QString text;
    if (gpus.typeId() == QMetaType::QVariantList) {
        const QVariantList list = gpus.toList();
        for (qsizetype i = 0; i < list.size(); ++i) {
            const QString printable = list.at(i).toMap().value(u"printable"_s).toString();
            if (!printable.isEmpty())
                text += u"\nGPU #%1:\n%2\n"_s.arg(QString::number(i + 1), printable);
        }
    }
    return text + u'\n';
}

QString reportEnvironment()
{
    QString text;
    for (const char *name : graphicsVariables) {
        const QString value = qEnvironmentVariable(name);
        if (!value.isEmpty())
            text += u"%1=%2\n"_s.arg(QLatin1StringView(name), value);
    }
    if (!text.isEmpty())
        text += u'\n';
    return text;
}

QString reportServer()
{
    const s3Session *session = s3SessionInstance();
    return u"Server: %1\n%2\n%3\n\n"_s.arg(session->serverName().left(nameLength), session->serverBuildInfo(),
                                           session->serverInfo3());
}

QString reportIdentity()
{
    const s3Session *session = s3SessionInstance();
    const QString host = session->hostName().left(hostLength);
    const QString sessionId = s3SessionIdText();
    return u"M=%1 # Z=%2 # GUI:%3 # S=%4\n"_s.arg(
        session->clientName().left(nameLength), session->zoneName().left(nameLength),
        sessionId.isEmpty() ? host : QString(host + u':' + sessionId), host);
}

QString reportHistory(const QStringList &lines)
{
    QString text;
    for (const QString &line : lines)
        text += line + u'\n';
    return text + reportRule();
}

QString reportModules(const QStringList &loaded)
{
    std::array<QStringList, 3> groups;
    (void)s3RunGuarded([&] {
        groups[0] = ownModules();
        groups[1] = systemModules();
        for (const QString &path : loaded) {
            if (!isKnownModule(path, false))
                groups[2].append(path);
        }
    });
    QString text;
    for (const QStringList &group : groups) {
        for (const QString &path : group)
            appendModule(text, path);
        text += u'\n';
    }
    return text;
}

QString reportModule(const QString &path)
{
    QString version;
    QString product;
    if (const auto info = platform::readVersionInfo(path)) {
        version = s3VersionText(*info, u"FileVersion"_s);
        const QString productVersion = s3VersionText(*info, u"ProductVersion"_s);
        if (!productVersion.isEmpty() && productVersion != version)
            version += u" (%1)"_s.arg(productVersion);
        product = s3VersionText(*info, u"ProductName"_s);
    }
    return u"%1 = %2 %3\n"_s.arg(moduleFileName(path).leftJustified(moduleWidth), version, product);
}
