#include "mailparameters.h"

#include "../zmlfile.h"

#include <QTest>

#include <sys/resource.h>
#include <sys/stat.h>

#include <thread>

using namespace Qt::StringLiterals;

// Body files that are more or less than a file with text.
class TestBodyFileLinux final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void noFileDescriptorLeft();
    void nullDevice();
    void pipe();
};

// A failure of the system that is none of the file's leaves the body without it, quietly.
void TestBodyFileLinux::noFileDescriptorLeft()
{
#ifdef __SANITIZE_ADDRESS__
    QSKIP("the sanitizers look at memory through descriptors of their own");
#endif
    const ZmlFile zml("BODY=a\nBODYZ1=b\nBODYFILE=text.txt\n");
    zml.writeBeside(u"text.txt"_s, "c\n");
    const MailParameters parameters(zml.path());
    rlimit limit{};
    QCOMPARE(getrlimit(RLIMIT_NOFILE, &limit), 0);
    const rlimit none{0, limit.rlim_max};
    QCOMPARE(setrlimit(RLIMIT_NOFILE, &none), 0);
    QString error;
    const QString body = parameters.body(error);
    QCOMPARE(setrlimit(RLIMIT_NOFILE, &limit), 0);
    QCOMPARE(body, u"a\nb"_s);
    QCOMPARE(error, QString());
    QCOMPARE(parameters.body(error), u"a\nb\nc"_s);
}

void TestBodyFileLinux::nullDevice()
{
    const ZmlFile zml("BODY=a\nBODYFILE=/dev/null\n");
    QString error;
    QCOMPARE(MailParameters(zml.path()).body(error), u"a"_s);
    QCOMPARE(error, QString());
}

// It can be read once only.
void TestBodyFileLinux::pipe()
{
    const ZmlFile zml("BODY=a\nBODYFILE=pipe\n");
    const QByteArray path = QFile::encodeName(zml.directory() + u"/pipe"_s);
    QCOMPARE(mkfifo(path.constData(), 0600), 0);
    const QByteArray text = QByteArray(100'000, 'x') + "\r\n\xC3\xA4\n";
    std::thread writer([&] {
        QFile file(QFile::decodeName(path));
        if (file.open(QIODevice::WriteOnly))
            file.write(text);
    });
    QString error;
    const QString body = MailParameters(zml.path()).body(error);
    writer.join();
    QCOMPARE(error, QString());
    QCOMPARE(body, u"a\n"_s + QString(100'000, u'x') + u"\nä"_s);
}

QTEST_APPLESS_MAIN(TestBodyFileLinux)
#include "tst_bodyfile_linux.moc"
