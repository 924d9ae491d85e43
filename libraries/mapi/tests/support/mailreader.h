#pragma once

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QStringList>

// Reads message files back with Python's e-mail parser (readmail.py says what an object holds). An empty
// array means that the parser itself failed; `error` then has its words.
inline QJsonArray readMails(const QStringList &paths, QString *error = nullptr)
{
    QProcess python;
    python.start(QStringLiteral("python3"), QStringList(QStringLiteral(OSTRELLE_READMAIL)) + paths);
    python.waitForFinished(240000);
    if (python.exitStatus() != QProcess::NormalExit || python.exitCode() != 0) {
        if (error != nullptr)
            *error = python.errorString() + QString::fromUtf8(python.readAllStandardError());
        return {};
    }
    return QJsonDocument::fromJson(python.readAllStandardOutput()).array();
}

// The recipients of one kind, each as "name|address".
inline QStringList addressesOf(const QJsonValue &list)
{
    QStringList result;
    const QJsonArray addresses = list.toArray();
    for (const QJsonValue &address : addresses)
        result += address[QStringLiteral("name")].toString() + u'|'
            + address[QStringLiteral("address")].toString();
    return result;
}
