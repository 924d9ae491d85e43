// The hand-over to a mail client: a program that calls our library, against xdg-email, with the same client
// in the user's settings and the same mail. The client only writes down its arguments. Ours hands over two
// attachments as well, which xdg-email does not carry to that client.

#include "childusage.h"
#include "ratio.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QStandardPaths>
#include <QTemporaryDir>

using namespace Qt::StringLiterals;

namespace
{

bool write(const QString &path, const QByteArray &content)
{
    QFile file(path);
    return QDir().mkpath(QFileInfo(path).path()) && file.open(QIODevice::WriteOnly)
        && file.write(content) == content.size()
        && file.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
}

}

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    const int runs = argc > 1 ? atoi(argv[1]) : 20;
    const QString peer = QStandardPaths::findExecutable(u"xdg-email"_s);
    if (peer.isEmpty()) {
        std::fprintf(stderr, "xdg-email is missing (Debian: xdg-utils)\n");
        return EXIT_FAILURE;
    }
    const QTemporaryDir directory;
    const auto path = [&directory](const QString &name) {
        return directory.filePath(name);
    };
    const QByteArray entry = "[Desktop Entry]\nType=Application\nName=Recorder\nExec=geary %U\n"
                             "MimeType=x-scheme-handler/mailto;\n";
    const QJsonObject mail{{u"subject"_s, u"Rechnung 4711"_s},
                           {u"text"_s, u"Guten Tag,\nanbei.\n"_s},
                           {u"to"_s, QJsonArray{u"a@example.org"_s, u"b@example.org"_s}},
                           {u"cc"_s, QJsonArray{u"c@example.org"_s}},
                           {u"files"_s, QJsonArray{path(u"a, b.txt"_s), path(u"c.pdf"_s)}}};
    if (!write(path(u"bin/geary"_s), "#!/bin/sh\nprintf '%s\\n' \"$@\" > \"$RECORD\"\n")
        || !write(path(u"data/applications/geary.desktop"_s), entry)
        || !write(path(u"config/mimeapps.list"_s),
                  "[Default Applications]\nx-scheme-handler/mailto=geary.desktop\n")
        || !write(path(u"a, b.txt"_s), QByteArray(20000, 'x'))
        || !write(path(u"c.pdf"_s), QByteArray(200000, 'y'))
        || !write(path(u"mail.json"_s), QJsonDocument(mail).toJson()))
        return EXIT_FAILURE;
    qputenv("HOME", QFile::encodeName(directory.path()));
    qputenv("XDG_DATA_HOME", QFile::encodeName(path(u"data"_s)));
    qputenv("XDG_CONFIG_HOME", QFile::encodeName(path(u"config"_s)));
    qputenv("PATH", QFile::encodeName(path(u"bin"_s)) + ':' + qgetenv("PATH"));
    qputenv("RECORD", QFile::encodeName(path(u"record"_s)));
    qputenv("OSTRELLE_CLIENT_WATCH_TIME", "60");
    for (const char *name : {"XDG_CURRENT_DESKTOP", "DESKTOP_SESSION", "MAILER", "SNAP"})
        qunsetenv(name);

    const QDir here(QCoreApplication::applicationDirPath());
    const QString ours = here.filePath(QStringLiteral(OSTRELLE_MAPI_CALL));
    const auto handOver = [&](const QString &program, const QStringList &arguments, const QByteArray &part) {
        QFile::remove(path(u"record"_s));
        const ChildUsage usage = runChild(program, arguments);
        QFile record(path(u"record"_s));
        const bool arrived = record.open(QIODevice::ReadOnly) && record.readAll().contains(part);
        if (usage.exitCode != 0 || !arrived) {
            std::fprintf(stderr, "%s ended with %d, the client %s\n", qPrintable(program), usage.exitCode,
                         arrived ? "has the mail" : "does not have the mail");
            std::exit(EXIT_FAILURE);
        }
    };
    RatioReport report;
    report.compare(
        "hand-over with 2 attachments / xdg-email without",
        [&] { handOver(ours, {path(u"mail.json"_s)}, "&attach="); },
        [&] {
            handOver(peer,
                     {u"--utf8"_s, u"--subject"_s, u"Rechnung 4711"_s, u"--body"_s, u"Guten Tag,\nanbei.\n"_s,
                      u"--cc"_s, u"c@example.org"_s, u"a@example.org"_s, u"b@example.org"_s},
                     "mailto:");
        },
        {.bound = 0.5, .runs = runs});
    return report.exitCode();
}
