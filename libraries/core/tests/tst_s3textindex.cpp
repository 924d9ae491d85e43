#include "s3textindex.h"

#include <QHash>
#include <QRandomGenerator>
#include <QTest>

using namespace Qt::StringLiterals;

namespace
{

// The code units of a text at an odd address, as a dictionary file has them.
class OddUnits
{
public:
    explicit OddUnits(const QString &text)
    {
        m_bytes.append('x');
        m_bytes.append(reinterpret_cast<const char *>(text.utf16()),
                       text.size() * qsizetype(sizeof(char16_t)));
    }
    [[nodiscard]] QByteArrayView view() const { return QByteArrayView(m_bytes).sliced(1); }

private:
    QByteArray m_bytes;
};

} // namespace

class TestTextIndex final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void emptyHasNothing();
    void findsExactTexts();
    void lastNumberStays();
    void keepsItsTexts();
    void growsWithoutReserve();
    void reserveKeepsWhatIsThere();
    void longTexts();
    void agreesWithAHash();
};

void TestTextIndex::emptyHasNothing()
{
    s3TextIndex index;
    QCOMPARE(index.number(u"a"), 0);
    QCOMPARE(index.number(QStringView()), 0);
    index.reserve(0);
    QCOMPARE(index.number(u"a"), 0);
    index.reserve(100);
    QCOMPARE(index.number(u"a"), 0);
    QCOMPARE(index.number(QStringView()), 0);
}

void TestTextIndex::findsExactTexts()
{
    s3TextIndex index;
    int number = 0;
    const QStringList texts{u"a"_s, u"A"_s, u"ab"_s, u"ä"_s, u"😀"_s, u" a"_s, u"a\0"_s, u"\0"_s};
    for (const QString &text : texts)
        index.insert(OddUnits(text).view(), ++number);
    number = 0;
    for (const QString &text : texts)
        QCOMPARE(index.number(text), ++number);
    QCOMPARE(index.number(u"b"), 0);
    QCOMPARE(index.number(u"abc"), 0);
    QCOMPARE(index.number(QString()), 0);
}

void TestTextIndex::lastNumberStays()
{
    s3TextIndex index;
    for (const int number : {3, 7, 5})
        index.insert(OddUnits(u"text"_s).view(), number);
    index.insert(OddUnits(u"other"_s).view(), 1);
    QCOMPARE(index.number(u"text"), 5);
    QCOMPARE(index.number(u"other"), 1);
}

void TestTextIndex::keepsItsTexts()
{
    s3TextIndex index;
    QByteArray bytes("a\0b\0", 4);
    index.insert(bytes, 1);
    bytes.fill('z');
    QCOMPARE(index.number(u"ab"), 1);
}

void TestTextIndex::growsWithoutReserve()
{
    s3TextIndex index;
    for (int number = 1; number <= 5000; ++number)
        index.insert(OddUnits(QString::number(number)).view(), number);
    for (int number = 1; number <= 5000; ++number)
        QCOMPARE(index.number(QString::number(number)), number);
    QCOMPARE(index.number(u"5001"), 0);
}

void TestTextIndex::reserveKeepsWhatIsThere()
{
    s3TextIndex index;
    index.reserve(1);
    index.insert(OddUnits(u"a"_s).view(), 1);
    index.reserve(100000);
    QCOMPARE(index.number(u"a"), 1);
    index.reserve(10);
    QCOMPARE(index.number(u"a"), 1);
    QCOMPARE(index.number(u"b"), 0);
}

void TestTextIndex::longTexts()
{
    s3TextIndex index;
    const QString longText(200'000, u'x');
    index.insert(OddUnits(u"before"_s).view(), 1);
    index.insert(OddUnits(longText).view(), 2);
    index.insert(OddUnits(u"behind"_s).view(), 3);
    // An equal text takes no room of its own, and the next one still fits where it stands.
    index.insert(OddUnits(longText).view(), 4);
    index.insert(OddUnits(longText + u'y').view(), 5);
    QCOMPARE(index.number(u"before"), 1);
    QCOMPARE(index.number(longText), 4);
    QCOMPARE(index.number(u"behind"), 3);
    QCOMPARE(index.number(longText + u'y'), 5);
    QCOMPARE(index.number(longText.chopped(1)), 0);
}

void TestTextIndex::agreesWithAHash()
{
    QRandomGenerator random(20261122);
    s3TextIndex index;
    QHash<QString, qint32> hash;
    const auto randomText = [&] {
        QString text;
        for (int length = random.bounded(1, 5); length > 0; --length)
            text += QChar(u'a' + random.bounded(6));
        return text;
    };
    for (int number = 1; number <= 20000; ++number) {
        const QString text = randomText();
        index.insert(OddUnits(text).view(), number);
        hash.insert(text, number);
        const QString question = randomText();
        QCOMPARE(index.number(question), hash.value(question));
    }
    for (auto entry = hash.cbegin(); entry != hash.cend(); ++entry)
        QCOMPARE(index.number(entry.key()), entry.value());
}

QTEST_APPLESS_MAIN(TestTextIndex)
#include "tst_s3textindex.moc"
