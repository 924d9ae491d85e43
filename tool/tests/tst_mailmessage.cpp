#include "mailmessage.h"

#include "logrecorder.h"
#include "submission.h"

#include <QLoggingCategory>
#include <QTest>

using namespace Qt::StringLiterals;

class TestMailMessage final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // Only the log recorder listens to the program's messages.
    void initTestCase() { QLoggingCategory::setFilterRules(u"*.debug=false"_s); }
    void kindNames();
    void emptyMail();
    void everyField();
    void recipientOrder_data();
    void recipientOrder();
    void sameAddressInTwoKinds();
    void emptyListRemovesAKind();
    void attachmentsGetBackslashes();
    void flags_data();
    void flags();
    void results_data();
    void results();
    void generalFailureWithoutMapiGivesTheLibraryError();
    void log();
    void manyRecipients();
    void hostileTexts();
};

void TestMailMessage::kindNames()
{
    QCOMPARE(recipientKindName(0), u"ORIG"_s);
    QCOMPARE(recipientKindName(1), u"TO"_s);
    QCOMPARE(recipientKindName(2), u"CC"_s);
    QCOMPARE(recipientKindName(3), u"BCC"_s);
    QCOMPARE(recipientKindName(4), QString());
    QCOMPARE(recipientKindName(0xFFFFFFFF), QString());
}

void TestMailMessage::emptyMail()
{
    Submission submission;
    QString error;
    MailMessage().send(false, false, error, std::ref(submission));
    QVERIFY(error.isEmpty());
    QCOMPARE(submission.calls, 1);
    QCOMPARE(submission.session, LHANDLE(0));
    QCOMPARE(submission.uiParam, ULONG_PTR(0));
    QCOMPARE(submission.reserved, ULONG(0));
    QVERIFY(!submission.subjectIsNull);
    QVERIFY(!submission.noteTextIsNull);
    QVERIFY(submission.subject.isEmpty());
    QVERIFY(submission.noteText.isEmpty());
    QVERIFY(submission.unusedFieldsAreNull);
    QVERIFY(submission.recipients.isEmpty());
    QVERIFY(submission.recipientsAreNull);
    QVERIFY(submission.files.isEmpty());
    QVERIFY(submission.filesAreNull);
}

void TestMailMessage::everyField()
{
    MailMessage message;
    message.setSubject(u"Grüße 😀"_s);
    message.setBody(u"a\nb"_s);
    message.setTo({u"to@x"_s});
    message.setAttachments({u"C:/dir/file.pdf"_s});
    Submission submission;
    QString error;
    message.send(true, true, error, std::ref(submission));

    QCOMPARE(submission.subject, u"Grüße 😀"_s);
    QCOMPARE(submission.noteText, u"a\nb"_s);
    QVERIFY(submission.unusedFieldsAreNull);
    QCOMPARE(submission.recipients.size(), 1);
    QCOMPARE(submission.recipients[0].kind, quint32(MAPI_TO));
    QCOMPARE(submission.recipients[0].address, u"to@x"_s);
    QVERIFY(submission.recipients[0].samePointer);
    QVERIFY(submission.recipients[0].othersZero);
    QCOMPARE(submission.files.size(), 1);
    QCOMPARE(submission.files[0].path, u"C:\\dir\\file.pdf"_s);
    QCOMPARE(submission.files[0].position, 0xFFFFFFFF);
    QVERIFY(submission.files[0].othersZero);
}

void TestMailMessage::recipientOrder_data()
{
    QTest::addColumn<QList<int>>("order");
    QTest::newRow("to, cc, bcc") << QList<int>{1, 2, 3};
    QTest::newRow("bcc, cc, to") << QList<int>{3, 2, 1};
    QTest::newRow("cc, bcc, to") << QList<int>{2, 3, 1};
}

void TestMailMessage::recipientOrder()
{
    QFETCH(QList<int>, order);
    MailMessage message;
    for (const int kind : order)
        message.setRecipients(quint32(kind), {u"%1a"_s.arg(kind), u"%1b"_s.arg(kind)});
    Submission submission;
    QString error;
    message.send(true, false, error, std::ref(submission));
    QStringList got;
    for (const Submission::Recipient &recipient : submission.recipients)
        got += QString::number(recipient.kind) + u":"_s + recipient.name;
    QCOMPARE(got, (QStringList{u"1:1a"_s, u"1:1b"_s, u"2:2a"_s, u"2:2b"_s, u"3:3a"_s, u"3:3b"_s}));
}

void TestMailMessage::sameAddressInTwoKinds()
{
    MailMessage message;
    message.setTo({u"a@x"_s});
    message.setBcc({u"a@x"_s});
    Submission submission;
    QString error;
    message.send(true, false, error, std::ref(submission));
    QCOMPARE(submission.recipients.size(), 2);
    QCOMPARE(submission.recipients[0].kind, quint32(MAPI_TO));
    QCOMPARE(submission.recipients[1].kind, quint32(MAPI_BCC));
}

void TestMailMessage::emptyListRemovesAKind()
{
    MailMessage message;
    message.setTo({u"a@x"_s});
    message.setCc({u"b@x"_s});
    message.setTo({});
    Submission submission;
    QString error;
    message.send(true, false, error, std::ref(submission));
    QCOMPARE(submission.recipients.size(), 1);
    QCOMPARE(submission.recipients[0].kind, quint32(MAPI_CC));
}

void TestMailMessage::attachmentsGetBackslashes()
{
    MailMessage message;
    message.setAttachments({u"old"_s});
    message.setAttachments({u"/a/b c.txt"_s, u"//server/x"_s, u"C:\\y"_s});
    Submission submission;
    QString error;
    message.send(true, false, error, std::ref(submission));
    QStringList paths;
    for (const Submission::File &file : submission.files)
        paths += file.path;
    QCOMPARE(paths, (QStringList{u"\\a\\b c.txt"_s, u"\\\\server\\x"_s, u"C:\\y"_s}));
}

void TestMailMessage::flags_data()
{
    QTest::addColumn<bool>("sendDirectly");
    QTest::addColumn<bool>("readReceipt");
    QTest::addColumn<quint32>("flags");
    QTest::addColumn<quint32>("messageFlags");
    QTest::newRow("displayed") << false << false << 9u << 0u;
    QTest::newRow("displayed, receipt") << false << true << 9u << 2u;
    QTest::newRow("sent") << true << false << 1u << 0u;
    QTest::newRow("sent, receipt") << true << true << 1u << 2u;
}

void TestMailMessage::flags()
{
    QFETCH(bool, sendDirectly);
    QFETCH(bool, readReceipt);
    Submission submission;
    QString error;
    MailMessage().send(sendDirectly, readReceipt, error, std::ref(submission));
    QTEST(quint32(submission.flags), "flags");
    QTEST(quint32(submission.messageFlags), "messageFlags");
}

void TestMailMessage::results_data()
{
    QTest::addColumn<quint32>("code");
    QTest::addColumn<QString>("expected");
    QTest::newRow("success") << 0u << QString();
    QTest::newRow("closed compose window") << 1u << u"User abort [1]"_s;
    QTest::newRow("login failure") << 3u << u"MAPI login failure [3]"_s;
    QTest::newRow("no word") << 7u << u"MAPI error [7]"_s;
    QTest::newRow("unknown") << 0xFFFFFFFF << u"MAPI error [-1]"_s;
}

void TestMailMessage::results()
{
    QFETCH(quint32, code);
    Submission submission;
    submission.answer = code;
    QString error = u"of an earlier mail"_s;
    MailMessage().send(true, false, error, std::ref(submission));
    QTEST(error, "expected");
    QCOMPARE(submission.calls, 1);
}

// A suite's executable has no library search path of its own, so on a system without Simple MAPI the
// probe finds nothing; where the system has one, the general words are right.
void TestMailMessage::generalFailureWithoutMapiGivesTheLibraryError()
{
    Submission submission;
    submission.answer = MAPI_E_FAILURE;
    QString error;
    MailMessage().send(true, false, error, std::ref(submission));
    QVERIFY(!error.isEmpty());
    QVERIFY2(error == u"General MAPI failure [2]"_s || error.contains(u"mapi32"_s, Qt::CaseInsensitive),
             qPrintable(error));
}

void TestMailMessage::log()
{
    MailMessage message;
    message.setSubject(u"S %1"_s);
    message.setBody(u"B\n\"%2\""_s);
    message.setBcc({u"b@x"_s});
    message.setCc({u"c@x"_s});
    message.setTo({u"t@x"_s, u"%2 <u@x>"_s});
    message.setAttachments({u"/d/f.txt"_s});
    const QStringList common = {
        u"*** New Mail ***"_s,       u"Add TO Recipient [t@x]"_s,  u"Add TO Recipient [%2 <u@x>]"_s,
        u"Add CC Recipient [c@x]"_s, u"Add BCC Recipient [b@x]"_s, u"Attach [\\d\\f.txt]"_s,
        u"Set Subject [S %1]"_s,     u"Set Body [B\n\"%2\"]"_s,
    };
    Submission submission;
    QString error;
    {
        const LogRecorder log;
        message.send(true, false, error, std::ref(submission));
        QCOMPARE(LogRecorder::lines(), common + QStringList{u"Send Mail"_s});
    }
    {
        const LogRecorder log;
        message.send(false, false, error, std::ref(submission));
        QCOMPARE(LogRecorder::lines(), common + QStringList{u"Display Mail"_s});
    }
}

void TestMailMessage::manyRecipients()
{
    QStringList addresses;
    for (int i = 0; i < 100000; ++i)
        addresses += u"user%1@example.org"_s.arg(i);
    MailMessage message;
    message.setBcc(addresses);
    Submission submission;
    QString error;
    message.send(true, false, error, std::ref(submission));
    QCOMPARE(submission.recipients.size(), addresses.size());
    QCOMPARE(submission.recipients.last().address, addresses.last());
}

void TestMailMessage::hostileTexts()
{
    MailMessage message;
    const QString loneSurrogate(1, QChar(0xD800));
    message.setSubject(loneSurrogate + u"\r\nBcc: x@y"_s);
    message.setBody(QString(1 << 20, u'x'));
    message.setTo({QString(), loneSurrogate});
    Submission submission;
    QString error;
    message.send(true, false, error, std::ref(submission));
    QCOMPARE(submission.subject, loneSurrogate + u"\r\nBcc: x@y"_s);
    QCOMPARE(submission.noteText.size(), 1 << 20);
    QCOMPARE(submission.recipients.size(), 2);
    QCOMPARE(submission.recipients[1].name, loneSurrogate);
}

QTEST_GUILESS_MAIN(TestMailMessage)
#include "tst_mailmessage.moc"
