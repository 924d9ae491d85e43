#include "platform/nativebox.h"

#include "ostrelletest/scopedenvironment.h"
#include "ostrelletest/scopedtestflag.h"
#include "s3basicbox.h"
#include "s3basicboxwin.h"
#include "standarderrorcapture.h"

#include <QCoreApplication>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>
#include <QTextDocumentFragment>

#include <csignal>
#include <thread>

using namespace Qt::StringLiterals;
using namespace platform;

namespace
{

// A directory that is the whole PATH, with programs that note how they were called.
class FakeHelpers
{
public:
    FakeHelpers()
        : m_path("PATH", QFile::encodeName(m_directory.path()))
        , m_display("DISPLAY", ":4711")
        , m_wayland("WAYLAND_DISPLAY", QByteArray())
        , m_platform("QT_QPA_PLATFORM", "offscreen")
    {
    }

    // Adds a program that notes its arguments, environment and input, runs `commands` and ends.
    void add(const QString &name, const QByteArray &commands) const
    {
        QFile file(m_directory.filePath(name));
        if (!file.open(QIODevice::WriteOnly))
            qFatal("no fake helper");
        const QByteArray record = QFile::encodeName(m_directory.filePath(name + u".record"_s));
        file.write("#!/bin/sh\nfor a in \"$@\"; do printf '%s\\0' \"$a\"; done > '" + record
                   + ".arguments'\n/usr/bin/env > '" + record + ".environment'\n/bin/cat > '" + record
                   + ".input'\n" + commands + "\n");
        file.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    }

    [[nodiscard]] QString filePath(const QString &name) const { return m_directory.filePath(name); }
    [[nodiscard]] bool called(const QString &name) const
    {
        return QFile::exists(recordOf(name, u"arguments"_s));
    }
    [[nodiscard]] QStringList arguments(const QString &name) const
    {
        QStringList result = QString::fromUtf8(read(name, u"arguments"_s)).split(QChar(QChar::Null));
        result.removeLast();
        return result;
    }
    [[nodiscard]] QList<QByteArray> environment(const QString &name) const
    {
        return read(name, u"environment"_s).split('\n');
    }
    [[nodiscard]] QByteArray input(const QString &name) const { return read(name, u"input"_s); }

private:
    [[nodiscard]] QString recordOf(const QString &name, const QString &what) const
    {
        return m_directory.filePath(name + u".record."_s + what);
    }
    [[nodiscard]] QByteArray read(const QString &name, const QString &what) const
    {
        QFile file(recordOf(name, what));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : "(not called)\0"_ba;
    }

    QTemporaryDir m_directory;
    ScopedEnvironment m_path;
    ScopedEnvironment m_display;
    ScopedEnvironment m_wayland;
    ScopedEnvironment m_platform;
};

// The argument behind `prefix`.
QString valueOf(const QStringList &arguments, const QString &prefix)
{
    for (const QString &argument : arguments) {
        if (argument.startsWith(prefix))
            return argument.mid(prefix.size());
    }
    return u"(missing)"_s;
}

constexpr int noHelper = -1;

}

class TestNativeBox final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void zenityForm_data();
    void zenityForm();
    void kdialogForm_data();
    void kdialogForm();
    void xmessageForm_data();
    void xmessageForm();
    void answers_data();
    void answers();

    void textIsNeverAnOptionOrMarkup_data();
    void textIsNeverAnOptionOrMarkup();
    void hugeTextIsCutInTheBoxOnly_data();
    void hugeTextIsCutInTheBoxOnly();
    void longTitleIsCut();
    void rightToLeftReading();
    void helperStartsOnTheScreen();
    void shellIsNotInvolved();

    void orderOfHelpers();
    void failingHelperIsFollowedByTheNext_data();
    void failingHelperIsFollowedByTheNext();
    void waylandAlone();
    void nobodyToShow_data();
    void nobodyToShow();

    void fatalBox();
    void fatalQuestionAnswers();
    void flag335AsksForTheNativeBox();
    void otherThread();
    void blockedSignalsAreNotPassedOn();
};

void TestNativeBox::zenityForm_data()
{
    QTest::addColumn<unsigned int>("style");
    QTest::addColumn<QStringList>("arguments");
    const QStringList yesNo{u"--question"_s, u"--ok-label=Yes"_s, u"--cancel-label=No"_s};
    const QStringList yesNoCancel{u"--question"_s, u"--ok-label=Yes"_s, u"--cancel-label=Cancel"_s,
                                  u"--extra-button=No"_s};
    const QStringList okCancel{u"--question"_s, u"--ok-label=OK"_s, u"--cancel-label=Cancel"_s};
    const QString preset = u"--default-cancel"_s;

    QTest::newRow("error") << unsigned(BoxIconHand) << QStringList{u"--error"_s};
    QTest::newRow("warning") << unsigned(BoxIconExclamation) << QStringList{u"--warning"_s};
    QTest::newRow("information") << unsigned(BoxIconAsterisk) << QStringList{u"--info"_s};
    QTest::newRow("question with ok") << unsigned(BoxIconQuestion) << QStringList{u"--info"_s};
    QTest::newRow("no icon") << 0U << QStringList{u"--info"_s};
    QTest::newRow("topmost") << (BoxIconHand | 0x40000U) << QStringList{u"--error"_s};
    QTest::newRow("unknown buttons") << 0xFU << QStringList{u"--info"_s};
    QTest::newRow("ok, cancel") << (BoxOkCancel | 0U) << okCancel;
    QTest::newRow("ok, preset cancel") << (BoxOkCancel | 0x100U) << okCancel + QStringList{preset};
    QTest::newRow("yes, no") << (BoxYesNo | 0x10U) << yesNo;
    QTest::newRow("yes, preset no") << (BoxYesNo | 0x100U) << yesNo + QStringList{preset};
    QTest::newRow("yes, no, cancel") << (BoxYesNoCancel | 0U) << yesNoCancel;
    QTest::newRow("yes, no, preset cancel") << (BoxYesNoCancel | 0x200U) << yesNoCancel + QStringList{preset};
    QTest::newRow("yes, preset no, cancel") << (BoxYesNoCancel | 0x100U) << yesNoCancel;
}

void TestNativeBox::zenityForm()
{
    QFETCH(const unsigned int, style);
    QFETCH(const QStringList, arguments);
    const FakeHelpers helpers;
    helpers.add(u"zenity"_s, "exit 101");
    QVERIFY(showNativeBox(u"Text"_s, u"Titel"_s, style) != 0);
    QCOMPARE(helpers.arguments(u"zenity"_s),
             arguments + (QStringList{u"--no-markup"_s, u"--title=Titel"_s, u"--text=Text"_s}));
}

void TestNativeBox::kdialogForm_data()
{
    QTest::addColumn<unsigned int>("style");
    QTest::addColumn<QStringList>("arguments");
    const QString title = u"--title=Titel"_s;
    const QString text = u"<p>Text</p>"_s;

    QTest::newRow("error") << unsigned(BoxIconHand) << QStringList{title, u"--error="_s + text};
    QTest::newRow("warning") << unsigned(BoxIconExclamation) << QStringList{title, u"--sorry="_s + text};
    QTest::newRow("information") << unsigned(BoxIconAsterisk) << QStringList{title, u"--msgbox="_s + text};
    QTest::newRow("ok, cancel") << unsigned(
        BoxOkCancel) << QStringList{u"--continue-label=OK"_s, title, u"--warningcontinuecancel="_s + text};
    QTest::newRow("yes, no") << (BoxYesNo | 0x20U) << QStringList{title, u"--yesno="_s + text};
    QTest::newRow("yes, no, error") << (BoxYesNo | 0x10U) << QStringList{title, u"--warningyesno="_s + text};
    QTest::newRow("yes, no, cancel") << (BoxYesNoCancel | 0x40U)
                                     << QStringList{title, u"--yesnocancel="_s + text};
    QTest::newRow("yes, no, cancel, warning")
        << (BoxYesNoCancel | 0x30U) << QStringList{title, u"--warningyesnocancel="_s + text};
}

void TestNativeBox::kdialogForm()
{
    QFETCH(const unsigned int, style);
    QFETCH(const QStringList, arguments);
    const FakeHelpers helpers;
    helpers.add(u"kdialog"_s, "exit 0");
    QVERIFY(showNativeBox(u"Text"_s, u"Titel"_s, style) != 0);
    QCOMPARE(helpers.arguments(u"kdialog"_s), arguments);
}

void TestNativeBox::xmessageForm_data()
{
    QTest::addColumn<unsigned int>("style");
    QTest::addColumn<QString>("buttons");
    QTest::addColumn<QString>("preset");
    QTest::newRow("ok") << 0U << u"OK:101"_s << u"OK"_s;
    QTest::newRow("ok, cancel") << 1U << u"OK:101,Cancel:102"_s << u"OK"_s;
    QTest::newRow("ok, preset cancel") << 0x101U << u"OK:101,Cancel:102"_s << u"Cancel"_s;
    QTest::newRow("yes, no") << 4U << u"Yes:106,No:107"_s << u"Yes"_s;
    QTest::newRow("yes, preset no") << 0x104U << u"Yes:106,No:107"_s << u"No"_s;
    QTest::newRow("yes, no, cancel") << 3U << u"Yes:106,No:107,Cancel:102"_s << u"Yes"_s;
    QTest::newRow("yes, preset no, cancel") << 0x103U << u"Yes:106,No:107,Cancel:102"_s << u"No"_s;
    QTest::newRow("yes, no, preset cancel") << 0x203U << u"Yes:106,No:107,Cancel:102"_s << u"Cancel"_s;
}

void TestNativeBox::xmessageForm()
{
    QFETCH(const unsigned int, style);
    QFETCH(const QString, buttons);
    QFETCH(const QString, preset);
    const FakeHelpers helpers;
    helpers.add(u"xmessage"_s, "exit 0");
    QVERIFY(showNativeBox(u"-Text"_s, u"-Titel"_s, style) != 0);
    QCOMPARE(helpers.arguments(u"xmessage"_s),
             (QStringList{u"-center"_s, u"-title"_s, u"-Titel"_s, u"-buttons"_s, buttons, u"-default"_s,
                          preset, u"-file"_s, u"-"_s}));
    QCOMPARE(helpers.input(u"xmessage"_s), "-Text"_ba);
}

void TestNativeBox::answers_data()
{
    QTest::addColumn<QString>("helper");
    QTest::addColumn<unsigned int>("style");
    QTest::addColumn<QByteArray>("commands");
    QTest::addColumn<int>("result"); // noHelper: taken for a failure of the helper

    struct Row {
        const char *helper;
        unsigned int style;
        const char *commands;
        int result;
    };
    constexpr Row rows[] = {
        {"zenity", BoxOk, "exit 101", BoxResultOk},
        {"zenity", BoxOk, "exit 103", BoxResultOk},
        {"zenity", BoxOk, "exit 1", noHelper},
        {"zenity", BoxOkCancel, "exit 101", BoxResultOk},
        {"zenity", BoxOkCancel, "exit 102", BoxResultCancel},
        {"zenity", BoxOkCancel, "exit 103", BoxResultCancel},
        {"zenity", BoxOkCancel, "echo No; exit 103", BoxResultCancel},
        {"zenity", BoxYesNo, "exit 101", BoxResultYes},
        {"zenity", BoxYesNo, "exit 102", BoxResultNo},
        {"zenity", BoxYesNo, "exit 103", BoxResultNo},
        {"zenity", BoxYesNoCancel, "exit 101", BoxResultYes},
        {"zenity", BoxYesNoCancel, "exit 102", BoxResultCancel},
        {"zenity", BoxYesNoCancel, "exit 103", BoxResultCancel},
        {"zenity", BoxYesNoCancel, "echo No; exit 103", BoxResultNo},
        {"zenity", BoxYesNoCancel, "echo No; exit 104", BoxResultNo},
        {"zenity", BoxYesNoCancel, "exit 1", noHelper},
        {"zenity", BoxYesNoCancel, "exit 255", noHelper},
        {"zenity", BoxYesNoCancel, "exit 5", noHelper},
        {"kdialog", BoxOk, "exit 0", BoxResultOk},
        {"kdialog", BoxOk, "exit 2", BoxResultOk},
        {"kdialog", BoxOk, "exit 1", noHelper},
        {"kdialog", BoxOkCancel, "exit 0", BoxResultOk},
        {"kdialog", BoxOkCancel, "exit 2", BoxResultCancel},
        {"kdialog", BoxOkCancel, "exit 1", noHelper},
        {"kdialog", BoxYesNo, "exit 0", BoxResultYes},
        {"kdialog", BoxYesNo, "exit 1", BoxResultNo},
        {"kdialog", BoxYesNo, "exit 2", BoxResultNo},
        {"kdialog", BoxYesNoCancel, "exit 0", BoxResultYes},
        {"kdialog", BoxYesNoCancel, "exit 1", BoxResultNo},
        {"kdialog", BoxYesNoCancel, "exit 2", BoxResultCancel},
        {"kdialog", BoxYesNoCancel, "exit 3", noHelper},
        {"xmessage", BoxOk, "exit 101", BoxResultOk},
        {"xmessage", BoxOk, "exit 0", BoxResultOk},
        {"xmessage", BoxOk, "exit 1", BoxResultOk},
        {"xmessage", BoxOk, "echo 'Error: Can'\\''t open display: :4711' >&2; exit 1", noHelper},
        {"xmessage", BoxOk, "echo 'Warning: Missing charsets' >&2; exit 1", BoxResultOk},
        {"xmessage", BoxOkCancel, "exit 101", BoxResultOk},
        {"xmessage", BoxOkCancel, "exit 102", BoxResultCancel},
        {"xmessage", BoxOkCancel, "exit 0", BoxResultCancel},
        {"xmessage", BoxOkCancel, "exit 106", noHelper},
        {"xmessage", BoxYesNo, "exit 106", BoxResultYes},
        {"xmessage", BoxYesNo, "exit 107", BoxResultNo},
        {"xmessage", BoxYesNo, "exit 0", BoxResultNo},
        {"xmessage", BoxYesNo, "exit 100", noHelper},
        {"xmessage", BoxYesNoCancel, "exit 106", BoxResultYes},
        {"xmessage", BoxYesNoCancel, "exit 107", BoxResultNo},
        {"xmessage", BoxYesNoCancel, "exit 102", BoxResultCancel},
        {"xmessage", BoxYesNoCancel, "exit 1", BoxResultCancel},
        {"zenity", BoxOk, "kill -9 $$", noHelper},
    };
    for (const Row &row : rows)
        QTest::addRow("%s, style %u, %s", row.helper, row.style, row.commands)
            << QString::fromLatin1(row.helper) << row.style << QByteArray(row.commands) << row.result;
}

void TestNativeBox::answers()
{
    QFETCH(const QString, helper);
    QFETCH(const unsigned int, style);
    QFETCH(const QByteArray, commands);
    QFETCH(const int, result);
    const FakeHelpers helpers;
    helpers.add(helper, commands);
    StandardErrorCapture capture;
    const int answer = showNativeBox(u"Text"_s, u"Titel"_s, style);
    const QByteArray written = capture.take();
    QVERIFY(helpers.called(helper));
    // After a failure the text is not lost, and the answer is that of the preset button, here the first.
    const int presetButton = (style & BoxButtonMask) < BoxYesNoCancel ? BoxResultOk : BoxResultYes;
    QCOMPARE(answer, result == noHelper ? presetButton : result);
    QCOMPARE(written, result == noHelper ? "Titel: Text\n"_ba : ""_ba);
}

void TestNativeBox::textIsNeverAnOptionOrMarkup_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("shown");
    for (const QString &text : {u"--version"_s, u"-h"_s, u"--"_s, QString(), u"<b>fett</b> & <i>schräg"_s,
                                u"a\nb"_s, u"C:\\neu\\temp"_s, u"$(touch x) `id` ; | & \" '"_s,
                                u"%s %n ${HOME}"_s, u"Grüße \U0001F4E7 البريد"_s, u"=x"_s})
        QTest::newRow(text.isEmpty() ? "empty" : qPrintable(text)) << text << text;
    QTest::newRow("null character") << u"a"_s + QChar(QChar::Null) + u"b"_s << u"a\uFFFDb"_s;
    QTest::newRow("control characters") << u"a\x07\x1b[2Jb"_s << u"a\uFFFD\uFFFD[2Jb"_s;
    QTest::newRow("half a surrogate pair") << u"a"_s + QChar(0xD83D) << u"a\uFFFD"_s;
}

void TestNativeBox::textIsNeverAnOptionOrMarkup()
{
    QFETCH(const QString, text);
    QFETCH(const QString, shown);
    const QString title = shown.simplified();
    for (const QString &name : {u"zenity"_s, u"kdialog"_s, u"xmessage"_s}) {
        const FakeHelpers helpers;
        helpers.add(name, name == u"zenity"_s ? "exit 101" : "exit 0");
        QCOMPARE(showNativeBox(text, text, BoxIconHand), int(BoxResultOk));
        const QStringList arguments = helpers.arguments(name);
        if (name == u"xmessage"_s) {
            QCOMPARE(arguments.at(2), title);
            QCOMPARE(QString::fromUtf8(helpers.input(name)), shown);
            continue;
        }
        for (const QString &argument : arguments)
            QVERIFY2(argument.startsWith(u"--"_s) && !argument.startsWith(u"--version"_s),
                     qPrintable(argument));
        QCOMPARE(valueOf(arguments, u"--title="_s), title);
        if (name == u"zenity"_s) {
            QVERIFY(arguments.contains(u"--no-markup"_s));
            QCOMPARE(valueOf(arguments, u"--text="_s), shown);
        } else {
            const QString html = valueOf(arguments, u"--error="_s);
            QVERIFY(!html.contains(u'\\'));
            QCOMPARE(QTextDocumentFragment::fromHtml(html).toPlainText(), shown);
        }
    }
}

void TestNativeBox::hugeTextIsCutInTheBoxOnly_data()
{
    QTest::addColumn<QString>("helper");
    QTest::addColumn<QString>("text");
    for (const QString &helper : {u"zenity"_s, u"kdialog"_s, u"xmessage"_s}) {
        const QByteArray name = helper.toLatin1();
        QTest::addRow("%s, letters", name.constData()) << helper << QString(3000000, u'x');
        QTest::addRow("%s, quotes", name.constData()) << helper << QString(200000, u'"');
        QTest::addRow("%s, empty lines", name.constData()) << helper << QString(200000, u'\n');
        QTest::addRow("%s, three bytes each", name.constData()) << helper << QString(200000, u'語');
        QString pairs = u"x"_s;
        while (pairs.size() < 100000)
            pairs += u"\U0001F4E7"_s;
        QTest::addRow("%s, pairs across the limit", name.constData()) << helper << pairs;
        QTest::addRow("%s, one too many", name.constData()) << helper << QString(20001, u'x');
    }
}

void TestNativeBox::hugeTextIsCutInTheBoxOnly()
{
    QFETCH(const QString, helper);
    QFETCH(const QString, text);
    const FakeHelpers helpers;
    helpers.add(helper, helper == u"zenity"_s ? "exit 101" : "exit 0");
    StandardErrorCapture capture;
    const int answer = showNativeBox(text, u"Titel"_s, BoxIconHand);
    const QByteArray written = capture.take();
    QCOMPARE(answer, int(BoxResultOk));
    QVERIFY(helpers.called(helper));
    QVERIFY(written == text.toUtf8() + '\n');
    if (helper != u"kdialog"_s) {
        const QString shown = helper == u"xmessage"_s ? QString::fromUtf8(helpers.input(helper))
                                                      : valueOf(helpers.arguments(helper), u"--text="_s);
        QVERIFY(shown.endsWith(u'…'));
        QVERIFY(text.startsWith(shown.chopped(1)));
        QVERIFY(shown.size() >= 20000 && shown.size() <= 20001);
        QVERIFY(!shown.contains(QChar::ReplacementCharacter));
    }
}

void TestNativeBox::longTitleIsCut()
{
    const FakeHelpers helpers;
    helpers.add(u"zenity"_s, "exit 101");
    (void)showNativeBox(u"Text"_s, QString(500, u'x') + u"\nzweite Zeile"_s, 0);
    QCOMPARE(valueOf(helpers.arguments(u"zenity"_s), u"--title="_s), QString(200, u'x') + u'…');
}

void TestNativeBox::rightToLeftReading()
{
    const FakeHelpers helpers;
    helpers.add(u"kdialog"_s, "exit 0");
    (void)showNativeBox(u"بريد"_s, u"Titel"_s, BoxIconHand | BoxRtlReading);
    QCOMPARE(valueOf(helpers.arguments(u"kdialog"_s), u"--error="_s),
             u"<div dir=\"rtl\"><p>بريد</p></div>"_s);
}

// A platform chosen for this program must not take the helper's box off the screen.
void TestNativeBox::helperStartsOnTheScreen()
{
    const ScopedEnvironment stale("ZENITY_OK", "7");
    const FakeHelpers helpers;
    helpers.add(u"zenity"_s, "exit 101");
    QCOMPARE(showNativeBox(u"Text"_s, u"Titel"_s, 0), int(BoxResultOk));
    const QList<QByteArray> environment = helpers.environment(u"zenity"_s);
    QVERIFY(environment.contains("DISPLAY=:4711"));
    QVERIFY(environment.contains("ZENITY_OK=101"));
    QVERIFY(environment.contains("ZENITY_CANCEL=102"));
    QVERIFY(environment.contains("ZENITY_ESC=103"));
    QVERIFY(environment.contains("ZENITY_EXTRA=104"));
    QVERIFY(!environment.contains("ZENITY_OK=7"));
    QVERIFY(!environment.contains("QT_QPA_PLATFORM=offscreen"));
    QCOMPARE(helpers.input(u"zenity"_s), QByteArray());
}

void TestNativeBox::shellIsNotInvolved()
{
    const FakeHelpers helpers;
    helpers.add(u"zenity"_s, "exit 101");
    const QString target = helpers.filePath(u"hit"_s);
    (void)showNativeBox(u"';echo > %1;'"_s.arg(target), u"$(echo > %1)"_s.arg(target), 0);
    QVERIFY(helpers.called(u"zenity"_s));
    QVERIFY(!QFile::exists(target));
}

void TestNativeBox::orderOfHelpers()
{
    const FakeHelpers helpers;
    helpers.add(u"xmessage"_s, "exit 102");
    QCOMPARE(showNativeBox(u"1"_s, u"Titel"_s, BoxOkCancel), int(BoxResultCancel));
    QCOMPARE(helpers.input(u"xmessage"_s), "1"_ba);
    helpers.add(u"kdialog"_s, "exit 2");
    QCOMPARE(showNativeBox(u"2"_s, u"Titel"_s, BoxOkCancel), int(BoxResultCancel));
    QVERIFY(helpers.called(u"kdialog"_s));
    QCOMPARE(helpers.input(u"xmessage"_s), "1"_ba);
    helpers.add(u"zenity"_s, "exit 102");
    QCOMPARE(showNativeBox(u"3"_s, u"Titel"_s, BoxOkCancel), int(BoxResultCancel));
    QCOMPARE(valueOf(helpers.arguments(u"zenity"_s), u"--text="_s), u"3"_s);
    QVERIFY(valueOf(helpers.arguments(u"kdialog"_s), u"--warningcontinuecancel="_s).contains(u'2'));
}

void TestNativeBox::failingHelperIsFollowedByTheNext_data()
{
    QTest::addColumn<QByteArray>("commands");
    QTest::newRow("no display") << "exit 1"_ba;
    QTest::newRow("unknown option") << "exit 255"_ba;
    QTest::newRow("crash") << "kill -6 $$"_ba;
}

void TestNativeBox::failingHelperIsFollowedByTheNext()
{
    QFETCH(const QByteArray, commands);
    const FakeHelpers helpers;
    helpers.add(u"zenity"_s, commands);
    helpers.add(u"kdialog"_s, "exit 2");
    StandardErrorCapture capture;
    const int answer = showNativeBox(u"Text"_s, u"Titel"_s, BoxOkCancel);
    QCOMPARE(capture.take(), QByteArray());
    QCOMPARE(answer, int(BoxResultCancel));
    QVERIFY(helpers.called(u"zenity"_s));
}

void TestNativeBox::waylandAlone()
{
    const FakeHelpers helpers;
    helpers.add(u"xmessage"_s, "exit 102");
    helpers.add(u"kdialog"_s, "exit 2");
    const ScopedEnvironment noX("DISPLAY", QByteArray());
    const ScopedEnvironment wayland("WAYLAND_DISPLAY", "wayland-0");
    QCOMPARE(showNativeBox(u"Text"_s, u"Titel"_s, BoxOkCancel), int(BoxResultCancel));
    QVERIFY(helpers.called(u"kdialog"_s));
    QVERIFY(QFile::remove(helpers.filePath(u"kdialog"_s)));
    StandardErrorCapture capture;
    (void)showNativeBox(u"Text"_s, u"Titel"_s, BoxOkCancel);
    QCOMPARE(capture.take(), "Titel: Text\n"_ba);
    QVERIFY(!helpers.called(u"xmessage"_s));
}

void TestNativeBox::nobodyToShow_data()
{
    QTest::addColumn<unsigned int>("style");
    QTest::addColumn<int>("answer");
    QTest::newRow("ok") << 0U << int(BoxResultOk);
    QTest::newRow("ok, cancel") << 1U << int(BoxResultOk);
    QTest::newRow("ok, preset cancel") << 0x101U << int(BoxResultCancel);
    QTest::newRow("yes, no") << 4U << int(BoxResultYes);
    QTest::newRow("yes, preset no") << 0x104U << int(BoxResultNo);
    QTest::newRow("yes, no, cancel") << 3U << int(BoxResultYes);
    QTest::newRow("yes, preset no, cancel") << 0x103U << int(BoxResultNo);
    QTest::newRow("yes, no, preset cancel") << 0x40213U << int(BoxResultCancel);
}

void TestNativeBox::nobodyToShow()
{
    QFETCH(const unsigned int, style);
    for (const bool display : {false, true}) {
        const FakeHelpers helpers;
        if (!display)
            helpers.add(u"zenity"_s, "exit 101");
        const ScopedEnvironment x11("DISPLAY", display ? ":4711" : "");
        StandardErrorCapture capture;
        const int answer = showNativeBox(u"Text"_s, u"Titel"_s, style);
        QCOMPARE(capture.take(), "Titel: Text\n"_ba);
        QTEST(answer, "answer");
        QVERIFY(!helpers.called(u"zenity"_s));
    }
}

void TestNativeBox::fatalBox()
{
    const FakeHelpers helpers;
    helpers.add(u"zenity"_s, "exit 101");
    QCOMPARE(s3BasicBox::fatal(u"<b>Ende</b>"_s), int(QMessageBox::Ok));
    const QStringList arguments = helpers.arguments(u"zenity"_s);
    QVERIFY(arguments.contains(u"--error"_s));
    QCOMPARE(valueOf(arguments, u"--text="_s), u"<b>Ende</b>"_s);
    QVERIFY(!valueOf(arguments, u"--title="_s).isEmpty());
}

void TestNativeBox::fatalQuestionAnswers()
{
    const FakeHelpers helpers;
    helpers.add(u"zenity"_s, "echo No; exit 103");
    QCOMPARE(s3BasicBox::fatalQuestion(u"?"_s, QMessageBox::Yes | QMessageBox::No | QMessageBox::Cancel,
                                       QMessageBox::Cancel),
             int(QMessageBox::No));
    QVERIFY(helpers.arguments(u"zenity"_s).contains(u"--default-cancel"_s));
}

void TestNativeBox::flag335AsksForTheNativeBox()
{
    const ScopedTestFlag flag(335);
    const FakeHelpers helpers;
    helpers.add(u"zenity"_s, "exit 101");
    QCOMPARE(s3BasicBox::warning(u"Text"_s), int(QMessageBox::Ok));
    QVERIFY(helpers.arguments(u"zenity"_s).contains(u"--warning"_s));
}

void TestNativeBox::otherThread()
{
    const FakeHelpers helpers;
    helpers.add(u"zenity"_s, "exit 102");
    int answer = 0;
    std::thread worker([&answer] {
        answer = s3BasicBox::fatalQuestion(u"?"_s, QMessageBox::Ok | QMessageBox::Cancel, QMessageBox::Ok);
    });
    worker.join();
    QCOMPARE(answer, int(QMessageBox::Cancel));
}

void TestNativeBox::blockedSignalsAreNotPassedOn()
{
    const FakeHelpers helpers;
    helpers.add(u"zenity"_s, "kill -TERM $$\nexit 101");
    sigset_t blocked;
    sigset_t saved;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &blocked, &saved);
    StandardErrorCapture capture;
    (void)showNativeBox(u"Text"_s, u"Titel"_s, 0);
    pthread_sigmask(SIG_SETMASK, &saved, nullptr);
    QCOMPARE(capture.take(), "Titel: Text\n"_ba);
}

QTEST_GUILESS_MAIN(TestNativeBox)
#include "tst_nativebox.moc"
