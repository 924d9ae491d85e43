#include "sendmail.h"

#include "logrecorder.h"
#include "mailparameters.h"
#include "submission.h"
#include "zmlfile.h"

#include <QLoggingCategory>
#include <QTest>

using namespace Qt::StringLiterals;

class TestSendMail final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // Only the log recorder listens to the program's messages.
    void initTestCase() { QLoggingCategory::setFilterRules(u"*.debug=false"_s); }
    void emptyMailReachesMapi();
    void everyKeywordReachesItsPlace();
    void keywordsWithoutEffect();
    void bodyFileFailureStopsBeforeMapi();
    void failureGetsThePrefix();
    void successIsLogged();
};

void TestSendMail::emptyMailReachesMapi()
{
    const ZmlFile zml("");
    Submission submission;
    QString error;
    QCOMPARE(sendMail(MailParameters(zml.path()), error, std::ref(submission)), 0);
    QVERIFY(error.isEmpty());
    QCOMPARE(submission.calls, 1);
    QCOMPARE(submission.subject, u"(no subject)"_s);
    QCOMPARE(submission.noteText, QString());
    QCOMPARE(submission.flags, FLAGS(9));
    QVERIFY(submission.recipientsAreNull);
}

void TestSendMail::everyKeywordReachesItsPlace()
{
    const ZmlFile zml("");
    zml.writeBeside(u"a.txt"_s, "a");
    zml.writeBeside(u"text.txt"_s, "file\n");
    zml.writeRaw("[ZERKMAIL]\nSEND=1\nREADRECEIPT=J\nSUBJECT=Rechnung\nTO1=to@x\nCC1=cc@x\nBCC1=bcc@x\n"
                 "ATTACHMENT1=a.txt\nBODY=one;two\nBODYZ1=three\nBODYFILE=text.txt\n");
    Submission submission;
    QString error;
    QCOMPARE(sendMail(MailParameters(zml.path()), error, std::ref(submission)), 0);
    QCOMPARE(submission.subject, u"Rechnung"_s);
    QCOMPARE(submission.noteText, u"one\ntwo\nthree\nfile"_s);
    QCOMPARE(submission.flags, FLAGS(1));
    QCOMPARE(submission.messageFlags, FLAGS(2));
    QCOMPARE(submission.recipients.size(), 3);
    QCOMPARE(submission.recipients[0].address, u"to@x"_s);
    QCOMPARE(submission.recipients[1].address, u"cc@x"_s);
    QCOMPARE(submission.recipients[2].address, u"bcc@x"_s);
    QCOMPARE(submission.files.size(), 1);
    QVERIFY(submission.files[0].path.endsWith(u"\\a.txt"_s));
    QVERIFY(!submission.files[0].path.contains(u'/'));
}

void TestSendMail::keywordsWithoutEffect()
{
    const ZmlFile zml("USESIGNATURE=1\nDELIVERYRECEIPT=1\nPRIORITY=1\nFROMADDRESS=me@x\nREPLY-TO1=r@x\n");
    Submission submission;
    QString error;
    QCOMPARE(sendMail(MailParameters(zml.path()), error, std::ref(submission)), 0);
    QCOMPARE(submission.messageFlags, FLAGS(0));
    QVERIFY(submission.unusedFieldsAreNull);
    QVERIFY(submission.recipientsAreNull);
}

void TestSendMail::bodyFileFailureStopsBeforeMapi()
{
    const ZmlFile zml("BODYFILE=missing.txt\n");
    const LogRecorder log;
    Submission submission;
    QString error;
    QCOMPARE(sendMail(MailParameters(zml.path()), error, std::ref(submission)), -1);
    QCOMPARE(error, u"Couldn't find body file "_s + zml.directory() + u"/missing.txt"_s);
    QCOMPARE(submission.calls, 0);
    QVERIFY(LogRecorder::lines().isEmpty());
}

void TestSendMail::failureGetsThePrefix()
{
    const ZmlFile zml("");
    const LogRecorder log;
    Submission submission;
    submission.answer = MAPI_USER_ABORT;
    QString error;
    QCOMPARE(sendMail(MailParameters(zml.path()), error, std::ref(submission)), -1);
    QCOMPARE(error, u"Couldn't send email: User abort [1]"_s);
    QCOMPARE(LogRecorder::lines().last(), error);
    QCOMPARE(submission.calls, 1);
}

void TestSendMail::successIsLogged()
{
    const ZmlFile zml("");
    const LogRecorder log;
    Submission submission;
    QString error;
    QCOMPARE(sendMail(MailParameters(zml.path()), error, std::ref(submission)), 0);
    QCOMPARE(LogRecorder::lines().last(), u"Sending email OK"_s);
}

QTEST_GUILESS_MAIN(TestSendMail)
#include "tst_sendmail.moc"
