#include "s3basicbox.h"

#include "ostrelletest/scopedtestflag.h"
#include "ostrelletest/tracerecorder.h"
#include "protocol/s3logfilestream.h"
#include "s3basicbox_p.h"
#include "s3whitelabel.h"
#include "test/s3tracetext.h"

#include <QApplication>
#include <QFontMetrics>
#include <QLabel>
#include <QPushButton>
#include <QRegularExpression>
#include <QResizeEvent>
#include <QScreen>
#include <QStyle>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include <array>
#include <optional>

using namespace Qt::StringLiterals;

namespace
{

// Waits for the next modal box, notes what it shows and presses a button.
class BoxVisitor
{
public:
    explicit BoxVisitor(QMessageBox::StandardButton press)
    {
        QObject::connect(&m_timer, &QTimer::timeout, &m_timer, [this, press] {
            auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
            if (box == nullptr)
                return;
            m_timer.stop();
            m_seen = true;
            m_className = QString::fromLatin1(box->metaObject()->className());
            m_title = box->windowTitle();
            m_text = box->text();
            m_icon = box->icon();
            m_buttons = box->standardButtons();
            m_defaultButton = box->standardButton(box->defaultButton());
            m_flags = box->windowFlags();
            m_parent = box->parent();
            box->button(press)->click();
        });
        m_timer.start(5);
    }

    [[nodiscard]] bool seen() const { return m_seen; }
    [[nodiscard]] QString className() const { return m_className; }
    [[nodiscard]] QString title() const { return m_title; }
    [[nodiscard]] QString text() const { return m_text; }
    [[nodiscard]] QMessageBox::Icon icon() const { return m_icon; }
    [[nodiscard]] QMessageBox::StandardButtons buttons() const { return m_buttons; }
    [[nodiscard]] QMessageBox::StandardButton defaultButton() const { return m_defaultButton; }
    [[nodiscard]] Qt::WindowFlags flags() const { return m_flags; }
    [[nodiscard]] QObject *parent() const { return m_parent; }

private:
    QTimer m_timer;
    bool m_seen = false;
    QString m_className;
    QString m_title;
    QString m_text;
    QMessageBox::Icon m_icon = QMessageBox::NoIcon;
    QMessageBox::StandardButtons m_buttons;
    QMessageBox::StandardButton m_defaultButton = QMessageBox::NoButton;
    Qt::WindowFlags m_flags;
    QObject *m_parent = nullptr;
};

class ScopedLayoutDirection
{
public:
    explicit ScopedLayoutDirection(Qt::LayoutDirection direction)
    {
        QGuiApplication::setLayoutDirection(direction);
    }
    ~ScopedLayoutDirection() { QGuiApplication::setLayoutDirection(Qt::LeftToRight); }
    Q_DISABLE_COPY_MOVE(ScopedLayoutDirection)
};

// Opens what is protected for direct calls.
class OpenBox final : public s3BasicBox
{
public:
    using s3BasicBox::resizeEvent;
    using s3BasicBox::s3BasicBox;
};

// A log stream for the scope.
class ErrorStream
{
public:
    explicit ErrorStream(const QString &key = u"error"_s) : m_key(key)
    {
        m_opened = s3LogFileStream::open(m_key, m_directory.filePath(u"error.txt"_s), QStringConverter::Utf8);
    }
    ~ErrorStream() { s3LogFileStream::close(m_key); }
    Q_DISABLE_COPY_MOVE(ErrorStream)

    [[nodiscard]] bool opened() const { return m_opened; }
    [[nodiscard]] QString content() const
    {
        QFile file(m_directory.filePath(u"error.txt"_s));
        return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : u"(no file)"_s;
    }

private:
    QTemporaryDir m_directory;
    QString m_key;
    bool m_opened = false;
};

constexpr auto directions = {Qt::LeftToRight, Qt::RightToLeft};

QString sentence()
{
    return u"Das Mailprogramm hat die Nachricht mit den Anhängen nicht übernommen, weil keines eingerichtet ist."_s;
}

// The rest of a trace line behind the function's name, of the lines that begin with it.
QStringList linesOf(const QStringList &lines, const QString &function)
{
    return lines.filter(QRegularExpression(u'^' + QRegularExpression::escape(function)));
}

}

class TestBasicBox final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void emptyBoxHasNothing();
    void constructorTakesEverything();
    void parentLendsFontAndModality();
    void parentInAWindowLendsTheWindowsFont();
    void labelIsAlignedToTheReadingSide_data();
    void labelIsAlignedToTheReadingSide();

    void defaultTitle_data();
    void defaultTitle();
    void brandIsAskedBeforeTheDictionary();
    void givenTitleIsKept();

    void frontsShowTheirKind_data();
    void frontsShowTheirKind();
    void showGivesTheButtonPressed();
    void flag336AvoidsTheNativeBox();
    void openErrorStreamTakesCriticalTexts_data();
    void openErrorStreamTakesCriticalTexts();
    void otherStreamsTakeNothing();
    void traceOfShow();
    void noTraceWithoutFlag();

    void plainLines();
    void richLines();

    void textLabelIsQtsLabel();
    void widthRule_data();
    void widthRule();
    void widthRuleWithoutAWindow();
    void widthRuleWithoutALabel();
    void widthRuleUsesTheLabelsFont();
    void showingAppliesTheWidthRule();
    void screenGeometryOfAShownBox();
    void traceOfWidthAndGeometry();

    void resizeWidensTheBox();
    void resizeLeavesAWideBoxAlone();
    void resizeIgnoresHiddenBoxesAndNull();
    void resizeWithoutALabel();
    void brandGivesTheTitle(); // the last one: a brand stays in force
};

void TestBasicBox::emptyBoxHasNothing()
{
    const s3BasicBox box;
    QCOMPARE(box.icon(), QMessageBox::NoIcon);
    QVERIFY(box.windowTitle().isEmpty());
    QVERIFY(box.text().isEmpty());
    QCOMPARE(box.standardButtons(), QMessageBox::NoButton);
    QVERIFY(box.parent() == nullptr);
}

void TestBasicBox::constructorTakesEverything()
{
    const s3BasicBox box(QMessageBox::Warning, u"Titel"_s, u"Text"_s, QMessageBox::Yes | QMessageBox::No);
    QCOMPARE(box.icon(), QMessageBox::Warning);
    QCOMPARE(box.windowTitle(), u"Titel"_s);
    QCOMPARE(box.text(), u"Text"_s);
    QCOMPARE(box.standardButtons(), QMessageBox::Yes | QMessageBox::No);
    QCOMPARE(box.windowType(), Qt::Dialog);
    QVERIFY(box.windowFlags().testFlag(Qt::MSWindowsFixedSizeDialogHint));
    QVERIFY(box.windowModality() != Qt::WindowModal);
}

void TestBasicBox::parentLendsFontAndModality()
{
    QWidget parent;
    QFont font = parent.font();
    font.setPointSize(font.pointSize() + 7);
    parent.setFont(font);
    const s3BasicBox box(QMessageBox::Warning, QString(), u"Text"_s, QMessageBox::Ok, &parent);
    QCOMPARE(box.font().pointSize(), font.pointSize());
    QCOMPARE(box.windowModality(), Qt::WindowModal);
    QVERIFY(box.parent() == &parent);
}

void TestBasicBox::parentInAWindowLendsTheWindowsFont()
{
    QWidget window;
    auto *child = new QWidget(&window);
    QFont font = window.font();
    font.setPointSize(font.pointSize() + 5);
    window.setFont(font);
    QFont childFont = window.font();
    childFont.setPointSize(font.pointSize() + 9);
    child->setFont(childFont);
    const s3BasicBox box(QMessageBox::Warning, QString(), u"Text"_s, QMessageBox::Ok, child);
    QCOMPARE(box.font().pointSize(), font.pointSize());
}

void TestBasicBox::labelIsAlignedToTheReadingSide_data()
{
    QTest::addColumn<Qt::LayoutDirection>("direction");
    QTest::newRow("left to right") << Qt::LeftToRight;
    QTest::newRow("right to left") << Qt::RightToLeft;
}

void TestBasicBox::labelIsAlignedToTheReadingSide()
{
    QFETCH(const Qt::LayoutDirection, direction);
    const Qt::Alignment qtsOwn = s3BasicBox(nullptr).textLabel()->alignment();
    QVERIFY(qtsOwn.testFlag(Qt::AlignLeft));

    const ScopedLayoutDirection scope(direction);
    const s3BasicBox box(QMessageBox::Warning, QString(), u"Text"_s, QMessageBox::Ok);
    const bool rightToLeft = direction == Qt::RightToLeft;
    QCOMPARE(box.textLabel()->alignment(), rightToLeft ? QStyle::visualAlignment(direction, qtsOwn) : qtsOwn);
    QCOMPARE(box.textLabel()->alignment().testFlag(Qt::AlignRight), rightToLeft);
}

void TestBasicBox::defaultTitle_data()
{
    QTest::addColumn<bool>("brandActive");
    QTest::addColumn<QString>("brandTitle");
    QTest::addColumn<QString>("translation");
    QTest::addColumn<QString>("title");

    QTest::newRow("brand") << true << u"Vantoske"_s << u"Zerk ERP"_s << u"Vantoske"_s;
    QTest::newRow("brand without a title") << true << QString() << u"Zerk ERP"_s << QString();
    QTest::newRow("brand with the mark") << true << u"*** x ***"_s << QString() << u"*** x ***"_s;
    QTest::newRow("inactive brand") << false << u"Vantoske"_s << u"Zerk ERP"_s << u"Zerk ERP"_s;
    QTest::newRow("translation") << false << QString() << u"Zerk"_s << u"Zerk"_s;
    QTest::newRow("unknown text") << false << QString() << u"*** Zerk ***"_s << qAppName();
    QTest::newRow("the mark alone") << false << QString() << u"*** "_s << qAppName();
    QTest::newRow("stars without a blank") << false << QString() << u"***Zerk"_s << u"***Zerk"_s;
    QTest::newRow("mark inside") << false << QString() << u"Zerk *** "_s << u"Zerk *** "_s;
    QTest::newRow("empty translation") << false << QString() << QString() << QString();
}

void TestBasicBox::defaultTitle()
{
    QFETCH(const bool, brandActive);
    QFETCH(const QString, brandTitle);
    QFETCH(const QString, translation);
    QString asked;
    const auto translate = [&](const QString &text) {
        asked = text;
        return translation;
    };
    QTEST(s3DefaultBoxTitle(brandActive, brandTitle, translate), "title");
    QCOMPARE(asked, brandActive ? QString() : u"Zerk"_s);
    QVERIFY(!qAppName().isEmpty());
}

// In this program no brand is active and no dictionary is open: the title is the product's name.
void TestBasicBox::brandIsAskedBeforeTheDictionary()
{
    QVERIFY(!s3WhiteLabelInstance()->isActive());
    const BoxVisitor visitor(QMessageBox::Ok);
    s3BasicBox::information(u"Text"_s);
    QVERIFY(visitor.title() == u"Zerk"_s || visitor.title() == qAppName());
}

void TestBasicBox::givenTitleIsKept()
{
    const BoxVisitor visitor(QMessageBox::Ok);
    s3BasicBox::show(QMessageBox::Information, u"*** Titel"_s, u"Text"_s, QMessageBox::Ok, 0, false);
    QCOMPARE(visitor.title(), u"*** Titel"_s);
}

void TestBasicBox::frontsShowTheirKind_data()
{
    QTest::addColumn<int>("front");
    QTest::addColumn<QMessageBox::Icon>("icon");
    QTest::newRow("information") << 0 << QMessageBox::Information;
    QTest::newRow("warning") << 1 << QMessageBox::Warning;
    QTest::newRow("critical") << 2 << QMessageBox::Critical;
}

void TestBasicBox::frontsShowTheirKind()
{
    QFETCH(const int, front);
    constexpr std::array fronts{s3BasicBox::information, s3BasicBox::warning, s3BasicBox::critical};
    const BoxVisitor visitor(QMessageBox::Ok);
    const int result = fronts.at(static_cast<size_t>(front))(sentence());
    QVERIFY(visitor.seen());
    QCOMPARE(result, int(QMessageBox::Ok));
    QCOMPARE(visitor.className(), u"s3BasicBox"_s);
    QTEST(visitor.icon(), "icon");
    QCOMPARE(visitor.text(), sentence());
    QCOMPARE(visitor.buttons(), QMessageBox::Ok);
    QCOMPARE(visitor.defaultButton(), QMessageBox::NoButton);
    QVERIFY(visitor.flags().testFlag(Qt::MSWindowsFixedSizeDialogHint));
    QVERIFY(visitor.parent() == nullptr);
}

void TestBasicBox::showGivesTheButtonPressed()
{
    for (const auto press : {QMessageBox::Yes, QMessageBox::No, QMessageBox::Cancel}) {
        const BoxVisitor visitor(press);
        const int result = s3BasicBox::show(QMessageBox::Question, QString(), u"Senden?"_s,
                                            QMessageBox::Yes | QMessageBox::No | QMessageBox::Cancel,
                                            QMessageBox::No, false);
        QCOMPARE(result, int(press));
        QCOMPARE(visitor.icon(), QMessageBox::Question);
        QCOMPARE(visitor.defaultButton(), QMessageBox::No);
    }
}

void TestBasicBox::flag336AvoidsTheNativeBox()
{
    const ScopedTestFlag avoid(336);
    for (const bool both : {false, true}) {
        const std::optional<ScopedTestFlag> force
            = both ? std::optional<ScopedTestFlag>(std::in_place, 335) : std::nullopt;
        const BoxVisitor visitor(QMessageBox::No);
        QCOMPARE(s3BasicBox::fatalQuestion(u"?"_s, QMessageBox::Yes | QMessageBox::No, QMessageBox::Yes),
                 int(QMessageBox::No));
        QVERIFY(visitor.seen());
        QCOMPARE(visitor.icon(), QMessageBox::Critical);
        QCOMPARE(visitor.defaultButton(), QMessageBox::Yes);
    }
}

void TestBasicBox::openErrorStreamTakesCriticalTexts_data()
{
    QTest::addColumn<QMessageBox::Icon>("icon");
    QTest::addColumn<bool>("fatal");
    QTest::addColumn<bool>("toStream");
    QTest::newRow("critical") << QMessageBox::Critical << false << true;
    QTest::newRow("fatal, critical") << QMessageBox::Critical << true << true;
    QTest::newRow("warning") << QMessageBox::Warning << false << false;
    QTest::newRow("information") << QMessageBox::Information << false << false;
    QTest::newRow("question") << QMessageBox::Question << false << false;
}

void TestBasicBox::openErrorStreamTakesCriticalTexts()
{
    QFETCH(const QMessageBox::Icon, icon);
    QFETCH(const bool, fatal);
    QFETCH(const bool, toStream);
    const ErrorStream stream;
    QVERIFY(stream.opened());
    const BoxVisitor visitor(QMessageBox::Ok);
    const int result = s3BasicBox::show(icon, u"Titel"_s, u"Zeile 1\nÄrger"_s, QMessageBox::Ok, 0, fatal);
    QCOMPARE(visitor.seen(), !toStream);
    QCOMPARE(result, toStream ? 0 : int(QMessageBox::Ok));
    // Read while the stream is open: each line is flushed.
    QCOMPARE(stream.content(), toStream ? u"s3BasicBox::show(): Zeile 1\nÄrger\n"_s : QString());
}

void TestBasicBox::otherStreamsTakeNothing()
{
    const ErrorStream stream(u"Error"_s);
    QVERIFY(stream.opened());
    const BoxVisitor visitor(QMessageBox::Ok);
    QCOMPARE(s3BasicBox::critical(u"Text"_s), int(QMessageBox::Ok));
    QVERIFY(visitor.seen());
    QCOMPARE(stream.content(), QString());
}

void TestBasicBox::traceOfShow()
{
    const ScopedTestFlag flag(334);
    const TraceRecorder trace;
    const BoxVisitor visitor(QMessageBox::Ok);
    s3BasicBox::show(QMessageBox::Warning, u"Titel"_s, u"Zeile 1\nZeile 2"_s, QMessageBox::Ok, 0, false);
    QCOMPARE(linesOf(trace.lines(), u"s3BasicBox::show"_s),
             QStringList{u"s3BasicBox::show() isFatal=false myTitle=\"Titel\" text=\"Zeile 1\\nZeile 2\""_s});
}

void TestBasicBox::noTraceWithoutFlag()
{
    const TraceRecorder trace;
    const BoxVisitor visitor(QMessageBox::Ok);
    s3BasicBox::warning(u"Text"_s);
    QVERIFY(visitor.seen());
    QCOMPARE(trace.lines(), QStringList());
}

void TestBasicBox::plainLines()
{
    s3BasicBox box;
    box.setPlainLines(QStringList{u"eins"_s, u"<b>zwei</b>"_s});
    QCOMPARE(box.textFormat(), Qt::PlainText);
    QCOMPARE(box.text(), u"\neins\n<b>zwei</b>\n"_s);
    box.setPlainLines(u"drei"_s);
    QCOMPARE(box.text(), u"\ndrei\n"_s);
    box.setPlainLines(QStringList());
    QCOMPARE(box.text(), u"\n\n"_s);
}

void TestBasicBox::richLines()
{
    s3BasicBox box;
    box.setRichLines(QStringList{u"eins"_s, u"<b>zwei</b>"_s});
    QCOMPARE(box.textFormat(), Qt::RichText);
    QCOMPARE(box.text(), u"<br>eins<br><b>zwei</b><br><br>"_s);
    box.setRichLines(u"drei"_s);
    QCOMPARE(box.text(), u"<br>drei<br><br>"_s);
    box.setRichLines(QStringList());
    QCOMPARE(box.text(), u"<br><br><br>"_s);
}

void TestBasicBox::textLabelIsQtsLabel()
{
    const s3BasicBox box(QMessageBox::Warning, QString(), u"Text"_s, QMessageBox::Ok);
    QLabel *label = box.textLabel();
    QVERIFY(label != nullptr);
    QCOMPARE(label->objectName(), u"qt_msgbox_label"_s);
    QCOMPARE(label->text(), u"Text"_s);
    delete label;
    QVERIFY(box.textLabel() == nullptr);
}

void TestBasicBox::widthRule_data()
{
    QTest::addColumn<Qt::TextFormat>("format");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("longestLine"); // empty: the label's minimum width is 0

    const QString s = sentence();
    const QString paragraph = QStringList(30, s).join(u' ');
    QTest::newRow("plain, one line") << Qt::PlainText << s << s;
    QTest::newRow("plain, several lines") << Qt::PlainText << u"kurz\n"_s + s + u"\nkurz"_s << s;
    QTest::newRow("plain, tags are text")
        << Qt::PlainText << u"<b>"_s + s + u"</b>"_s << u"<b>"_s + s + u"</b>"_s;
    QTest::newRow("plain, beyond the screen") << Qt::PlainText << paragraph << paragraph;
    QTest::newRow("plain, Arabic") << Qt::PlainText << u"البريد الإلكتروني لم يتم إرساله"_s
                                   << u"البريد الإلكتروني لم يتم إرساله"_s;
    QTest::newRow("plain, empty") << Qt::PlainText << QString() << QString();
    QTest::newRow("rich, one line") << Qt::RichText << u"<p>"_s + s + u"</p>"_s << s;
    QTest::newRow("rich, several lines") << Qt::RichText << u"kurz<br>"_s + s << s;
    QTest::newRow("rich, beyond the screen") << Qt::RichText << paragraph << paragraph;
    QTest::newRow("rich, empty") << Qt::RichText << QString() << QString();
    QTest::newRow("automatic, plain text") << Qt::AutoText << s << QString();
    QTest::newRow("automatic, rich text") << Qt::AutoText << u"<p>"_s + s + u"</p>"_s << QString();
    QTest::newRow("markdown") << Qt::MarkdownText << s << QString();
}

void TestBasicBox::widthRule()
{
    QFETCH(const Qt::TextFormat, format);
    QFETCH(const QString, text);
    QFETCH(const QString, longestLine);
    for (const Qt::LayoutDirection direction : directions) {
        const ScopedLayoutDirection scope(direction);
        s3BasicBox box(QMessageBox::Warning, u"Titel"_s, text, QMessageBox::Ok);
        box.setTextFormat(format);
        box.setModal(false);
        box.open();
        QVERIFY(QTest::qWaitForWindowExposed(&box));
        const int limit = box.screen()->availableGeometry().width() * 9 / 10;
        const int minimum = box.textLabel()->minimumWidth();
        if (longestLine.isEmpty()) {
            QCOMPARE(minimum, 0);
            continue;
        }
        const int advance = QFontMetrics(box.textLabel()->font()).horizontalAdvance(longestLine);
        // The document adds its margin of 4 at both sides, the rule one pixel; rounding is worth another.
        const int upper = advance + 10;
        if (advance > limit) {
            QCOMPARE(minimum, limit);
        } else {
            QVERIFY2(minimum > advance && minimum <= upper,
                     qPrintable(u"%1 for a line of %2"_s.arg(minimum).arg(advance)));
            // What the rule is for: the line is not wrapped.
            QVERIFY(box.textLabel()->width() >= minimum);
        }
        QVERIFY(box.width() >= box.iconPixmap().width() + minimum);
        box.done(0);
    }
}

void TestBasicBox::widthRuleWithoutAWindow()
{
    s3BasicBox box(QMessageBox::Warning, QString(), QString(), QMessageBox::Ok);
    box.setPlainLines(sentence());
    box.textLabel()->setMinimumWidth(77);
    QCOMPARE(box.availableScreenGeometry(), QRect());
    box.updateTextLabelMinimumWidth();
    QCOMPARE(box.textLabel()->minimumWidth(), 0);
}

void TestBasicBox::widthRuleWithoutALabel()
{
    const ScopedTestFlag flag(334);
    const TraceRecorder trace;
    s3BasicBox box(QMessageBox::Warning, QString(), u"Text"_s, QMessageBox::Ok);
    box.textLabel()->setObjectName(u"other"_s);
    box.updateTextLabelMinimumWidth();
    QCOMPARE(trace.lines(), QStringList());
}

void TestBasicBox::widthRuleUsesTheLabelsFont()
{
    s3BasicBox box(QMessageBox::Warning, QString(), QString(), QMessageBox::Ok);
    box.setPlainLines(u"Anhang"_s);
    box.winId();
    box.updateTextLabelMinimumWidth();
    const int small = box.textLabel()->minimumWidth();
    QVERIFY(small > 0);
    QFont font = box.textLabel()->font();
    font.setPointSize(font.pointSize() * 3);
    box.textLabel()->setFont(font);
    box.updateTextLabelMinimumWidth();
    QVERIFY(box.textLabel()->minimumWidth() > 2 * small);
}

void TestBasicBox::showingAppliesTheWidthRule()
{
    s3BasicBox box(QMessageBox::Warning, QString(), QString(), QMessageBox::Ok);
    box.setPlainLines(u"Anhang"_s);
    QCOMPARE(box.textLabel()->minimumWidth(), 0);
    box.open();
    QVERIFY(box.textLabel()->minimumWidth() > 0);
    // The base class got the event too: it is what names the escape button.
    QVERIFY(box.isVisible());
    QTest::keyClick(&box, Qt::Key_Escape);
    QVERIFY(!box.isVisible());
}

void TestBasicBox::screenGeometryOfAShownBox()
{
    s3BasicBox box(QMessageBox::Warning, QString(), u"Text"_s, QMessageBox::Ok);
    QVERIFY(box.availableScreenGeometry().isEmpty());
    box.open();
    QCOMPARE(box.availableScreenGeometry(), box.screen()->availableGeometry());
    QVERIFY(!box.availableScreenGeometry().isEmpty());
}

void TestBasicBox::traceOfWidthAndGeometry()
{
    s3BasicBox box(QMessageBox::Warning, QString(), QString(), QMessageBox::Ok);
    box.setPlainLines(sentence());
    box.winId();
    const ScopedTestFlag flag(334);
    const TraceRecorder trace;
    box.updateTextLabelMinimumWidth();
    const QString geometry = s3TraceText(u"s3BasicBox::availableScreenGeometry"_s)
                                 .argument(u"availableGeometry"_s, box.screen()->availableGeometry())
                                 .text();
    QCOMPARE(trace.lines(),
             (QStringList{geometry,
                          u"s3BasicBox::updateTextLabelMinimumWidth() minimumWidth=%1"_s.arg(
                              box.textLabel()->minimumWidth())}));
}

void TestBasicBox::resizeWidensTheBox()
{
    OpenBox box(QMessageBox::Warning, QString(), u"Text"_s, QMessageBox::Ok);
    box.open();
    box.textLabel()->setMinimumWidth(400);
    const int needed = box.iconPixmap().width() + 400 + 50;
    QVERIFY(box.iconPixmap().width() > 0);
    QResizeEvent event(QSize(needed - 1, 100), QSize(10, 100));
    box.resizeEvent(&event);
    QCOMPARE(box.minimumWidth(), needed);
    QCOMPARE(box.maximumWidth(), needed);
}

void TestBasicBox::resizeLeavesAWideBoxAlone()
{
    OpenBox box(QMessageBox::NoIcon, QString(), u"Text"_s, QMessageBox::Ok);
    box.open();
    box.textLabel()->setMinimumWidth(400);
    const int before = box.maximumWidth();
    QResizeEvent event(QSize(450, 100), QSize(10, 100));
    box.resizeEvent(&event);
    QCOMPARE(box.maximumWidth(), before);
    QVERIFY(before != 450);
}

void TestBasicBox::resizeIgnoresHiddenBoxesAndNull()
{
    OpenBox box(QMessageBox::Warning, QString(), u"Text"_s, QMessageBox::Ok);
    box.textLabel()->setMinimumWidth(400);
    const int before = box.maximumWidth();
    QResizeEvent event(QSize(1, 1), QSize(10, 100));
    box.resizeEvent(&event);
    QCOMPARE(box.maximumWidth(), before);
    box.open();
    const int shown = box.maximumWidth();
    box.resizeEvent(nullptr);
    QCOMPARE(box.maximumWidth(), shown);
}

void TestBasicBox::resizeWithoutALabel()
{
    OpenBox box(QMessageBox::Warning, QString(), u"Text"_s, QMessageBox::Ok);
    box.open();
    const int shown = box.maximumWidth();
    box.textLabel()->setObjectName(u"other"_s);
    QResizeEvent event(QSize(1, 1), QSize(10, 100));
    box.resizeEvent(&event);
    QCOMPARE(box.maximumWidth(), shown);
}

void TestBasicBox::brandGivesTheTitle()
{
    s3WhiteLabelInstance()->load(u"Foo.cfg"_s);
    const BoxVisitor visitor(QMessageBox::Ok);
    s3BasicBox::information(u"Text"_s);
    QCOMPARE(visitor.title(), u"Foo"_s);
}

QTEST_MAIN(TestBasicBox)
#include "tst_s3basicbox.moc"
