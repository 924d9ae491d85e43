#include "testdesktop.h"

using namespace Qt::StringLiterals;

bool TestDesktop::setUp()
{
    m_mail = {{u"subject"_s, u"Rechnung, 'x' & 100% + 1"_s},
              {u"text"_s, u"Guten Tag,\n'Grüße' & mehr\n"_s},
              {u"to"_s, QJsonArray{u"Max Müller <max@example.org>"_s, u"eva@example.org"_s}},
              {u"cc"_s, QJsonArray{u"c+c@example.org"_s}},
              {u"bcc"_s, QJsonArray{u"b@example.org"_s}}};
    m_inCaller = {};
    m_dir = std::make_unique<QTemporaryDir>();
    if (!m_dir->isValid() || !QDir().mkpath(path(u"home"_s)) || !QDir().mkpath(path(u"system"_s))
        || !QDir().mkpath(path(u"run"_s))
        || ::chmod(QFile::encodeName(path(u"run"_s)).constData(), 0700) != 0
        // Types come from the system, applications do not.
        || !QFile::link(u"/usr/share/mime"_s, path(u"system/mime"_s)))
        return false;
    write(u"files/"_s + awkward, "first");
    write(u"files/second.txt"_s, "second");
    m_environment = QProcessEnvironment();
    const QProcessEnvironment own = QProcessEnvironment::systemEnvironment();
    for (const QString &name : {u"ASAN_OPTIONS"_s, u"LSAN_OPTIONS"_s, u"UBSAN_OPTIONS"_s}) {
        if (own.contains(name))
            m_environment.insert(name, own.value(name));
    }
    const auto set = [this](const QString &name, const QString &value) {
        m_environment.insert(name, value);
    };
    set(u"HOME"_s, path(u"home"_s));
    set(u"PATH"_s, path(u"bin"_s));
    set(u"LC_ALL"_s, u"C.UTF-8"_s);
    set(u"DISPLAY"_s, u":no-display"_s);
    set(u"XDG_CONFIG_HOME"_s, path(u"config"_s));
    set(u"XDG_CONFIG_DIRS"_s, path(u"etc"_s));
    set(u"XDG_DATA_HOME"_s, path(u"data"_s));
    set(u"XDG_DATA_DIRS"_s, path(u"system"_s));
    set(u"XDG_CACHE_HOME"_s, path(u"cache"_s));
    set(u"XDG_RUNTIME_DIR"_s, path(u"run"_s));
    set(u"DBUS_SESSION_BUS_ADDRESS"_s, u"unix:path="_s + path(u"bus"_s));
    set(u"OSTRELLE_OUTBOX"_s, path(u"outbox"_s));
    set(u"OSTRELLE_SENDMAIL"_s, QString());
    set(u"OSTRELLE_CLIENT_WATCH_TIME"_s, u"300"_s);
    set(u"OSTRELLE_MAPI_LOG"_s, path(u"log"_s));
    set(u"RECORD"_s, path(u"record"_s));
    return true;
}

void TestDesktop::tearDown()
{
    m_bus.reset();
    if (QTest::currentTestFailed())
        qWarning("%s", readFile(path(u"log"_s)).constData());
    m_dir.reset();
}

void TestDesktop::write(const QString &name, const QByteArray &content) const
{
    QVERIFY(QDir().mkpath(QFileInfo(path(name)).path()));
    QVERIFY(writeFile(path(name), content));
}

void TestDesktop::installProgram(const QString &name, const QByteArray &end,
                                 const QByteArray &interpreter) const
{
    // Arguments may have line breaks, so zero bytes stand between them.
    write(u"bin/"_s + name,
          "#!" + interpreter + "\nprintf '%s\\0' \"${0##*/}\" \"$@\" > \"$RECORD\"\n" + end + "\n");
    QCOMPARE(::chmod(QFile::encodeName(path(u"bin/"_s + name)).constData(), 0755), 0);
}

void TestDesktop::installEntry(const Entry &entry, const QByteArray &types) const
{
    write(u"data/applications/"_s + entry.id,
          "[Desktop Entry]\nType=Application\nName=" + entry.id.toUtf8() + "\n"
              + (entry.exec.isEmpty() ? QByteArray() : "Exec=" + entry.exec.toUtf8() + "\n")
              + "MimeType=" + types + "\n" + entry.more);
}

void TestDesktop::makeDefault(const QByteArray &type, const QString &id) const
{
    QFile file(path(u"config/mimeapps.list"_s));
    QVERIFY(QDir().mkpath(path(u"config"_s)));
    QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Append));
    if (file.size() == 0)
        file.write("[Default Applications]\n");
    file.write(type + "=" + id.toUtf8() + "\n");
}

void TestDesktop::installDefault(const Entry &entry) const
{
    installEntry(entry);
    makeDefault("x-scheme-handler/mailto", entry.id);
}

void TestDesktop::installHandler(const QString &exec) const
{
    installEntry({u"handler.desktop"_s, exec}, "message/rfc822;");
    makeDefault("message/rfc822", u"handler.desktop"_s);
}

void TestDesktop::startBus(const QString &mode, unsigned version)
{
    m_bus = std::make_unique<PrivateBus>(m_dir->path());
    QVERIFY(m_bus->start(mode, version));
}

bool TestDesktop::startCall(QProcess &process, const QJsonObject &mail) const
{
    if (!writeFile(path(u"mail.json"_s), QJsonDocument(mail).toJson()))
        return false;
    process.setProcessEnvironment(m_environment);
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    if (m_inCaller)
        process.setChildProcessModifier(m_inCaller);
    process.start(QStringLiteral(OSTRELLE_MAPI_CALL), {path(u"mail.json"_s)});
    return process.waitForStarted(60000);
}

int TestDesktop::resultOf(QProcess &process)
{
    const bool ended = process.state() == QProcess::NotRunning || process.waitForFinished(240000);
    return ended && process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
}

int TestDesktop::call(const QJsonObject &mail)
{
    QProcess process;
    return startCall(process, mail) ? resultOf(process) : -1;
}

QStringList TestDesktop::recorded() const
{
    QStringList words = QString::fromUtf8(readFile(path(u"record"_s))).split(QChar(0));
    words.removeLast();
    return words;
}

std::vector<std::string> TestDesktop::recordedArguments() const
{
    std::vector<std::string> words;
    for (const QString &word : recorded().mid(1))
        words.push_back(word.toStdString());
    return words;
}

QList<QJsonObject> TestDesktop::asked() const
{
    QList<QJsonObject> calls;
    for (const QByteArray &line : readFile(path(u"asked"_s)).split('\n')) {
        if (!line.isEmpty())
            calls.append(QJsonDocument::fromJson(line).object());
    }
    return calls;
}

QStringList TestDesktop::outbox(const QString &name) const
{
    return QDir(path(name)).entryList(QDir::Files | QDir::Hidden, QDir::Name);
}

QStringList TestDesktop::staged() const
{
    return QDir(path(u"home/ostrelle-mail"_s)).entryList(QDir::AllEntries | QDir::NoDotAndDotDot);
}

QJsonObject TestDesktop::mailWithFiles() const
{
    QJsonObject mail = m_mail;
    mail[u"files"_s] = QJsonArray{path(u"files/"_s + awkward), path(u"files/second.txt"_s)};
    return mail;
}

std::optional<receiving::Fields> TestDesktop::readByClient(const QString &client,
                                                           const std::vector<std::string> &arguments)
{
    if (client == u"kmail")
        return receiving::readKMail(arguments);
    if (client == u"claws-mail" || client == u"sylpheed")
        return receiving::readComposeOption(arguments);
    if (client == u"balsa")
        return receiving::readBalsa(arguments);
    if (arguments.size() == 2 && arguments[0] == "-compose")
        return receiving::readMozilla(arguments[1]);
    return arguments.size() == 1 ? receiving::readMailto(arguments[0]) : std::nullopt;
}

QString TestDesktop::textOf(const receiving::Fields &fields, const char *key)
{
    QStringList all;
    for (const std::string &value : receiving::valuesOf(fields, key))
        all.append(QString::fromStdString(value));
    return all.join(u", "_s);
}
