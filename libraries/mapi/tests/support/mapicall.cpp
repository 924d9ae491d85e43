// Calls the library as a program of its own would: GLib reads much of the environment once per process, so
// each test row needs a fresh one. The argument is a JSON file with the mail; the result code is the exit
// status.

#include "mapicaller.h"

#include <QCoreApplication>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

using namespace Qt::StringLiterals;

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    const MapiLibrary library;
    QFile file(QCoreApplication::arguments().value(1));
    if (library.wide() == nullptr || !file.open(QIODevice::ReadOnly))
        return 250;
    const QJsonObject json = QJsonDocument::fromJson(file.readAll()).object();
    TestMail mail{.subject = json[u"subject"_s].toString(), .noteText = json[u"text"_s].toString()};
    for (const auto &[key, kind] : {std::pair(u"to"_s, MAPI_TO), {u"cc"_s, MAPI_CC}, {u"bcc"_s, MAPI_BCC}}) {
        const QJsonArray addresses = json[key].toArray();
        for (const auto &address : addresses)
            mail.add(kind, address.toString());
    }
    const QJsonArray files = json[u"files"_s].toArray();
    for (const auto &path : files)
        mail.attach(path.toString());
    if (json[u"receipt"_s].toBool())
        mail.flags = MAPI_RECEIPT_REQUESTED;
    return int(mail.sendWide(library, json[u"dialog"_s].toBool(true)));
}
