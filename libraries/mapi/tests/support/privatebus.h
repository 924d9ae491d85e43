#pragma once

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QProcessEnvironment>
#include <QString>
#include <QTest>

// A session bus for one test, and on it what fakeportal.cpp stands for. Both end with the object.
class PrivateBus
{
public:
    // The bus and its files are in `directory`.
    explicit PrivateBus(QString directory) : m_directory(std::move(directory)) { }
    ~PrivateBus()
    {
        end(m_portal);
        end(m_daemon);
    }
    Q_DISABLE_COPY_MOVE(PrivateBus)

    [[nodiscard]] QString address() const
    {
        return QStringLiteral("unix:path=") + file(QStringLiteral("bus"));
    }
    // One JSON object per line.
    [[nodiscard]] QString record() const { return file(QStringLiteral("asked")); }

    // Whether both are there; `mode` and `version` are those of fakeportal, `more` goes into the settings of
    // the bus.
    [[nodiscard]] bool start(const QString &mode, unsigned version, const QByteArray &more = {})
    {
        const QByteArray settings = "<busconfig><type>session</type><listen>" + address().toUtf8()
            + "</listen><auth>EXTERNAL</auth><policy context=\"default\">"
              "<allow send_destination=\"*\" eavesdrop=\"true\"/><allow eavesdrop=\"true\"/><allow "
              "own=\"*\"/></policy>"
            + more + "</busconfig>";
        QFile written(file(QStringLiteral("bus.conf")));
        if (!written.open(QIODevice::WriteOnly) || written.write(settings) != settings.size())
            return false;
        written.close();
        m_daemon.start(QStringLiteral("dbus-daemon"),
                       {QStringLiteral("--nofork"), QStringLiteral("--print-address"),
                        QStringLiteral("--config-file=") + written.fileName()});
        if (!m_daemon.waitForReadyRead(patienceMs))
            return false;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), address());
        m_portal.setProcessEnvironment(environment);
        const QString ready = file(QStringLiteral("ready"));
        m_portal.start(QStringLiteral(OSTRELLE_FAKE_PORTAL),
                       {record(), ready, mode, QString::number(version)});
        return QTest::qWaitFor([&] { return QFile::exists(ready); }, patienceMs);
    }

    void endDaemon() { end(m_daemon); }

private:
    static constexpr int patienceMs = 60000;

    [[nodiscard]] QString file(const QString &name) const { return QDir(m_directory).filePath(name); }
    static void end(QProcess &process)
    {
        process.kill();
        process.waitForFinished(patienceMs);
    }

    QString m_directory;
    QProcess m_daemon;
    QProcess m_portal;
};
