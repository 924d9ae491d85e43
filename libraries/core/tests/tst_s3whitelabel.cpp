#include "ostrelletest/childrun.h"
#include "ostrelletest/filecontent.h"
#include "ostrelletest/scopedcurrentdir.h"
#include "ostrelletest/scopedtestflag.h"
#include "privatemembers.h"
#include "s3settings.h"
#include "s3tempdir.h"
#include "s3translate.h"
#include "s3whitelabel.h"

#include <QDir>
#include <QTemporaryDir>
#include <QTest>

#include <cstdio>

using namespace Qt::StringLiterals;

struct WhiteLabelMembers {
    friend auto membersOf(WhiteLabelMembers);
};
template struct ExposeMembers<
    WhiteLabelMembers, &s3WhiteLabel::m_active, &s3WhiteLabel::m_name, &s3WhiteLabel::m_productName,
    &s3WhiteLabel::m_organizationName, &s3WhiteLabel::m_applicationName, &s3WhiteLabel::m_defaultWindowTitle,
    &s3WhiteLabel::m_iconName, &s3WhiteLabel::m_loginImageName, &s3WhiteLabel::m_loginImageNameRtl,
    &s3WhiteLabel::m_toolbarLogoName, &s3WhiteLabel::m_aboutImageName>;

namespace
{

const QByteArray wholeFile = u"[General]\n"
                             "productName=Größe 5\n"
                             "defaultWindowTitle=Fenster von Foo\n"
                             "[application]\n"
                             "organizationName=Foo AG\n"
                             "applicationName=Foo Client\n"
                             "iconName=icons/foo.ico\n"
                             "[login]\n"
                             "imageName=login.png\n"
                             "imageNameRtl=nigol.png\n"
                             "[toolbar]\n"
                             "logoName=logo.svg\n"
                             "[aboutDialog]\n"
                             "imageName=about.png\n"
                             "[version]\n"
                             "format=2\n"_s.toUtf8();

// A brand file below a directory of its own, and a private directory for the copies that are read.
class BrandFile
{
public:
    explicit BrandFile(const QByteArray &content, const QString &name = u"Foo.cfg"_s)
    {
        glob_file_tempDir = m_dir.filePath(u"temp"_s);
        m_path = m_dir.filePath(u"brand/"_s + name);
        m_made = QDir().mkpath(glob_file_tempDir) && QDir().mkpath(m_dir.filePath(u"brand"_s))
            && QDir().mkpath(m_dir.filePath(u"work"_s)) && writeFile(m_path, content);
    }
    ~BrandFile() { glob_file_tempDir.clear(); }
    Q_DISABLE_COPY_MOVE(BrandFile)

    [[nodiscard]] bool isMade() const { return m_made; }
    [[nodiscard]] QString path() const { return m_path; }
    [[nodiscard]] QString workingDirectory() const { return m_dir.filePath(u"work"_s); }

private:
    QTemporaryDir m_dir;
    QString m_path;
    bool m_made = false;
};

// Everything that a brand tells, in the order of the header, the two login images side by side.
QStringList texts(const s3WhiteLabel &brand)
{
    const auto rightToLeft = [&brand] {
        const ScopedTestFlag flag(229);
        return brand.loginImageName();
    };
    return {brand.name(),
            brand.replaceProductName(u"Zerk"_s),
            brand.organizationName(),
            brand.applicationName(),
            brand.defaultWindowTitle(),
            brand.iconName(),
            brand.loginImageName(),
            rightToLeft(),
            brand.toolbarLogoName(),
            brand.aboutImageName()};
}

// What a brand tells that has its name alone.
QStringList textsOfName(const QString &name)
{
    return {name, name, name, name, name, QString(), QString(), QString(), QString(), QString()};
}

const QStringList textsOfNone = {QString(), u"Zerk"_s, QString(), QString(), QString(),
                                 QString(), QString(), QString(), QString(), QString()};

}

class TestWhiteLabel final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void membersInOrder();
    void isInactiveAtFirst();
    void namesThatAreNoBrand_data();
    void namesThatAreNoBrand();
    void namesOfABrand_data();
    void namesOfABrand();
    void readsTheWholeFile();
    void readsEachKey_data();
    void readsEachKey();
    void keysOfOtherSectionsDoNotCount();
    void pathsCountFromTheWorkingDirectory_data();
    void pathsCountFromTheWorkingDirectory();
    void fallbacks_data();
    void fallbacks();
    void filesThatCannotBeRead_data();
    void filesThatCannotBeRead();
    void needsTheTemporaryDirectory();
    void leavesTheFileAlone_data();
    void leavesTheFileAlone();
    void secondLoadChangesWhatItReads();
    void loginImageFollowsTheLanguage_data();
    void loginImageFollowsTheLanguage();
    void replacesTheProductName_data();
    void replacesTheProductName();
    void instanceIsKept();
    void brandsTheProcess();
};

void TestWhiteLabel::membersInOrder()
{
    QVERIFY(areMembersInOrder<WhiteLabelMembers>(s3WhiteLabel()));
}

void TestWhiteLabel::isInactiveAtFirst()
{
    const s3WhiteLabel brand;
    QVERIFY(!brand.isActive());
    QCOMPARE(texts(brand), textsOfNone);
    QCOMPARE(brand.replaceProductName(u"Zerk, Zerk ERP und Zerkfoo"_s), u"Zerk, Zerk ERP und Zerkfoo"_s);
    QVERIFY(!s3WhiteLabelInstance()->isActive());
}

void TestWhiteLabel::namesThatAreNoBrand_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("null") << QString();
    QTest::newRow("empty") << u""_s;
    QTest::newRow("directory") << u"brands/"_s;
    QTest::newRow("suffix alone") << u"brands/.cfg"_s;
    QTest::newRow("product") << u"zerkgui"_s;
    QTest::newRow("product's ini") << u"zerkgui.ini"_s;
    QTest::newRow("product's cfg in a directory") << u"C:\\brands\\zerkgui.cfg"_s;
    QTest::newRow("product's local file") << u"zerkguilocaln.ini"_s;
    QTest::newRow("begins with the product") << u"zerkguifoo.cfg"_s;
}

void TestWhiteLabel::namesThatAreNoBrand()
{
    QFETCH(const QString, name);
    s3WhiteLabel brand;
    brand.load(name);
    QVERIFY(!brand.isActive());
    QCOMPARE(texts(brand), textsOfNone);
    // Nor do they take a brand away.
    brand.load(u"Foo.cfg"_s);
    brand.load(name);
    QVERIFY(brand.isActive());
    QCOMPARE(texts(brand), textsOfName(u"Foo"_s));
}

void TestWhiteLabel::namesOfABrand_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("name");
    QTest::newRow("name") << u"Foo"_s << u"Foo"_s;
    QTest::newRow("suffix") << u"Foo.cfg"_s << u"Foo"_s;
    QTest::newRow("the base name ends at the first point") << u"Foo.Bar.cfg"_s << u"Foo"_s;
    QTest::newRow("path") << u"/no/such/dir.d/Foo.cfg"_s << u"Foo"_s;
    QTest::newRow("path with backslashes") << u"C:\\no\\Foo.cfg"_s << u"Foo"_s;
    QTest::newRow("product in other case") << u"Zerkgui.cfg"_s << u"Zerkgui"_s;
    QTest::newRow("product in upper case") << u"ZERKGUI.ini"_s << u"ZERKGUI"_s;
    QTest::newRow("product not at the beginning") << u"myzerkgui.ini"_s << u"myzerkgui"_s;
    QTest::newRow("product in the path") << u"/zerkgui/Foo.cfg"_s << u"Foo"_s;
    QTest::newRow("part of the product") << u"zerkgu.ini"_s << u"zerkgu"_s;
    QTest::newRow("not ASCII") << u"Größe 日本.cfg"_s << u"Größe 日本"_s;
}

void TestWhiteLabel::namesOfABrand()
{
    QFETCH(const QString, path);
    QFETCH(const QString, name);
    const QTemporaryDir dir;
    const ScopedCurrentDir inside(dir.path());
    s3WhiteLabel brand;
    brand.load(path);
    QVERIFY(brand.isActive());
    const QStringList found = texts(brand);
    QCOMPARE(found, textsOfName(name));
}

void TestWhiteLabel::readsTheWholeFile()
{
    const BrandFile file(wholeFile);
    QVERIFY(file.isMade());
    const ScopedCurrentDir inside(file.workingDirectory());
    s3WhiteLabel brand;
    brand.load(file.path());
    QVERIFY(brand.isActive());
    const QString here = QDir::currentPath() + u'/';
    const QStringList expected = {u"Foo"_s,
                                  u"Größe 5"_s,
                                  u"Foo AG"_s,
                                  u"Foo Client"_s,
                                  u"Fenster von Foo"_s,
                                  here + u"icons/foo.ico"_s,
                                  here + u"login.png"_s,
                                  here + u"nigol.png"_s,
                                  here + u"logo.svg"_s,
                                  here + u"about.png"_s};
    QCOMPARE(texts(brand), expected);
}

void TestWhiteLabel::readsEachKey_data()
{
    QTest::addColumn<QByteArray>("section");
    QTest::addColumn<QByteArray>("key");
    QTest::addColumn<int>("position"); // in texts()
    QTest::addColumn<bool>("isPath");
    QTest::newRow("productName") << "General"_ba
                                 << "productName"_ba << 1 << false;
    QTest::newRow("organizationName") << "application"_ba
                                      << "organizationName"_ba << 2 << false;
    QTest::newRow("applicationName") << "application"_ba
                                     << "applicationName"_ba << 3 << false;
    QTest::newRow("defaultWindowTitle") << "General"_ba
                                        << "defaultWindowTitle"_ba << 4 << false;
    QTest::newRow("iconName") << "application"_ba
                              << "iconName"_ba << 5 << true;
    QTest::newRow("imageName of the login") << "login"_ba
                                            << "imageName"_ba << 6 << true;
    QTest::newRow("imageNameRtl") << "login"_ba
                                  << "imageNameRtl"_ba << 7 << true;
    QTest::newRow("logoName") << "toolbar"_ba
                              << "logoName"_ba << 8 << true;
    QTest::newRow("imageName of the dialog") << "aboutDialog"_ba
                                             << "imageName"_ba << 9 << true;
}

// A file with one key alone: the value arrives in its place and nowhere else, except for the product name,
// which stands in for a title.
void TestWhiteLabel::readsEachKey()
{
    QFETCH(const QByteArray, section);
    QFETCH(const QByteArray, key);
    QFETCH(const int, position);
    QFETCH(const bool, isPath);
    const BrandFile file('[' + section + "]\n" + key + "=a, ö\n");
    QVERIFY(file.isMade());
    const ScopedCurrentDir inside(file.workingDirectory());
    s3WhiteLabel brand;
    brand.load(file.path());
    QStringList expected = textsOfName(u"Foo"_s);
    expected[position] = (isPath ? QDir::currentPath() + u'/' : QString()) + u"a, ö"_s;
    if (key == "productName")
        expected[4] = u"a, ö"_s;
    QCOMPARE(texts(brand), expected);
}

void TestWhiteLabel::keysOfOtherSectionsDoNotCount()
{
    const BrandFile file("organizationName=1\napplicationName=2\niconName=3\nimageName=4\nimageNameRtl=5\n"
                         "logoName=6\n[application]\nproductName=7\ndefaultWindowTitle=8\nimageName=9\n"
                         "[login]\nlogoName=10\niconName=11\n[toolbar]\nimageName=12\n"
                         "[aboutDialog]\nlogoName=13\nimageNameRtl=14\n[version]\nformat=2\n");
    QVERIFY(file.isMade());
    s3WhiteLabel brand;
    brand.load(file.path());
    QCOMPARE(texts(brand), textsOfName(u"Foo"_s));
}

void TestWhiteLabel::pathsCountFromTheWorkingDirectory_data()
{
    QTest::addColumn<QString>("value");
    QTest::addColumn<QString>("expected"); // behind the working directory, unless absolute
    QTest::newRow("name") << u"a.png"_s << u"a.png"_s;
    QTest::newRow("directory") << u"images/a.png"_s << u"images/a.png"_s;
    QTest::newRow("backslash") << u"images\\a.png"_s << u"images/a.png"_s;
    QTest::newRow("not ASCII") << u"bilder ö/日本.png"_s << u"bilder ö/日本.png"_s;
    QTest::newRow("resource") << u":/images/a.png"_s << u":/images/a.png"_s;
    QTest::newRow("absolute") << QDir::rootPath() + u"images/a.png"_s << QDir::rootPath() + u"images/a.png"_s;
    QTest::newRow("empty") << QString() << QString();
    QTest::newRow("empty in quotes") << u"\"\""_s << QString();
}

void TestWhiteLabel::pathsCountFromTheWorkingDirectory()
{
    QFETCH(const QString, value);
    QFETCH(const QString, expected);
    const BrandFile file("[application]\niconName="_ba + value.toUtf8() + "\n[login]\nimageName="
                         + value.toUtf8() + "\nimageNameRtl=" + value.toUtf8() + "\n[toolbar]\nlogoName="
                         + value.toUtf8() + "\n[aboutDialog]\nimageName=" + value.toUtf8() + "\n");
    QVERIFY(file.isMade());
    const ScopedCurrentDir inside(file.workingDirectory());
    s3WhiteLabel brand;
    brand.load(file.path());
    const bool isAbsolute = expected.isEmpty() || QDir::isAbsolutePath(expected);
    const QString path = (isAbsolute ? QString() : QDir::currentPath() + u'/') + expected;
    QCOMPARE(texts(brand).mid(5), QStringList({path, path, path, path, path}));
}

void TestWhiteLabel::fallbacks_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QStringList>("expected"); // product in a text, organisation, application, title
    const QByteArray general = "[General]\n";
    const QByteArray application = "[application]\n";
    QTest::newRow("nothing") << QByteArray("") << QStringList({u"[Foo]"_s, u"Foo"_s, u"Foo"_s, u"Foo"_s});
    QTest::newRow("product: the title, not the names") << general
            + "productName=Bar\n" << QStringList({u"[Bar]"_s, u"Foo"_s, u"Foo"_s, u"Bar"_s});
    QTest::newRow("title") << general + "defaultWindowTitle=T\n"
                           << QStringList({u"[Foo]"_s, u"Foo"_s, u"Foo"_s, u"T"_s});
    QTest::newRow("product and title") << general + "productName=Bar\ndefaultWindowTitle=T\n"
                                       << QStringList({u"[Bar]"_s, u"Foo"_s, u"Foo"_s, u"T"_s});
    QTest::newRow("organisation") << application + "organizationName=O\n"
                                  << QStringList({u"[Foo]"_s, u"O"_s, u"Foo"_s, u"Foo"_s});
    QTest::newRow("application") << application + "applicationName=A\n"
                                 << QStringList({u"[Foo]"_s, u"Foo"_s, u"A"_s, u"Foo"_s});
    QTest::newRow("empty product") << general + "productName=\n"
                                   << QStringList({u"[Foo]"_s, u"Foo"_s, u"Foo"_s, u"Foo"_s});
    QTest::newRow("empty product in quotes") << general + "productName=\"\"\n"
                                             << QStringList({u"[Foo]"_s, u"Foo"_s, u"Foo"_s, u"Foo"_s});
    // Blanks at the ends of a value that is not quoted are no part of it.
    QTest::newRow("bare blanks") << general + "productName=   \n"
                                 << QStringList({u"[Foo]"_s, u"Foo"_s, u"Foo"_s, u"Foo"_s});
    QTest::newRow("three blanks") << general + "productName=\"   \"\n"
                                  << QStringList({u"[]"_s, u"Foo"_s, u"Foo"_s, u"Foo"_s});
    QTest::newRow("three blanks and a title") << general + "productName=\"   \"\ndefaultWindowTitle=T\n"
                                              << QStringList({u"[]"_s, u"Foo"_s, u"Foo"_s, u"T"_s});
    QTest::newRow("other white space") << general + "productName=\"\t\xC2\xA0\"\n"
                                       << QStringList({u"[]"_s, u"Foo"_s, u"Foo"_s, u"Foo"_s});
    QTest::newRow("blanks around a product") << general + "productName=\" Bar \"\n"
                                             << QStringList({u"[ Bar ]"_s, u"Foo"_s, u"Foo"_s, u" Bar "_s});
    QTest::newRow("blank title is a title") << general + "defaultWindowTitle=\" \"\n"
                                            << QStringList({u"[Foo]"_s, u"Foo"_s, u"Foo"_s, u" "_s});
    QTest::newRow("a list is text") << general + "productName=A, B,C\n[version]\nformat=2\n"
                                    << QStringList({u"[A, B, C]"_s, u"Foo"_s, u"Foo"_s, u"A, B, C"_s});
    QTest::newRow("no section line") << "productName=Bar\n"_ba
                                     << QStringList({u"[Bar]"_s, u"Foo"_s, u"Foo"_s, u"Bar"_s});
}

void TestWhiteLabel::fallbacks()
{
    QFETCH(const QByteArray, content);
    QFETCH(const QStringList, expected);
    const BrandFile file(content);
    QVERIFY(file.isMade());
    s3WhiteLabel brand;
    brand.load(file.path());
    QVERIFY(brand.isActive());
    QCOMPARE(QStringList({brand.replaceProductName(u"[Zerk]"_s), brand.organizationName(),
                          brand.applicationName(), brand.defaultWindowTitle()}),
             expected);
}

void TestWhiteLabel::filesThatCannotBeRead_data()
{
    QTest::addColumn<QByteArray>("kind");
    QTest::newRow("missing") << "missing"_ba;
    QTest::newRow("directory") << "directory"_ba;
    QTest::newRow("empty") << "empty"_ba;
    QTest::newRow("no text") << "bytes"_ba;
}

void TestWhiteLabel::filesThatCannotBeRead()
{
    QFETCH(const QByteArray, kind);
    QByteArray bytes;
    if (kind == "bytes") {
        for (int i = 0; i < 4096; ++i)
            bytes += static_cast<char>(i * 7);
    }
    const BrandFile file(bytes);
    QVERIFY(file.isMade());
    if (kind == "missing" || kind == "directory")
        QVERIFY(QFile::remove(file.path()));
    if (kind == "directory")
        QVERIFY(QDir().mkdir(file.path()));
    s3WhiteLabel brand;
    brand.load(file.path());
    QVERIFY(brand.isActive());
    QCOMPARE(texts(brand), textsOfName(u"Foo"_s));
}

void TestWhiteLabel::needsTheTemporaryDirectory()
{
    const BrandFile file(wholeFile);
    QVERIFY(file.isMade());
    glob_file_tempDir.clear();
    s3WhiteLabel brand;
    brand.load(file.path());
    QVERIFY(brand.isActive());
    QCOMPARE(texts(brand), textsOfName(u"Foo"_s));
}

void TestWhiteLabel::leavesTheFileAlone_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::newRow("old generation") << "productName=A\\B, \"C\"\n"_ba;
    QTest::newRow("generation 2") << "productName=\"A\\\\B, \\\"C\\\"\"\n[version]\nformat=2\n"_ba;
}

void TestWhiteLabel::leavesTheFileAlone()
{
    QFETCH(const QByteArray, content);
    const BrandFile file(content);
    QVERIFY(file.isMade());
    s3WhiteLabel brand;
    brand.load(file.path());
    QCOMPARE(brand.defaultWindowTitle(), u"A\\B, \"C\""_s);
    QCOMPARE(readFile(file.path()), content);
    QCOMPARE(QDir(QFileInfo(file.path()).path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot),
             QStringList(u"Foo.cfg"_s));
}

void TestWhiteLabel::secondLoadChangesWhatItReads()
{
    s3WhiteLabel brand;
    {
        const BrandFile file(wholeFile);
        QVERIFY(file.isMade());
        const ScopedCurrentDir inside(file.workingDirectory());
        brand.load(file.path());
    }
    const QStringList first = texts(brand);
    // What cannot be read gives its name alone.
    brand.load(u"no such directory/Bar.cfg"_s);
    QStringList expected = first;
    expected[0] = u"Bar"_s;
    QCOMPARE(texts(brand), expected);
    // What can be read is read as a whole.
    const BrandFile file("[toolbar]\nlogoName=x\n"_ba, u"Baz.cfg"_s);
    QVERIFY(file.isMade());
    const ScopedCurrentDir inside(file.workingDirectory());
    brand.load(file.path());
    expected = textsOfName(u"Baz"_s);
    expected[8] = QDir::currentPath() + u"/x"_s;
    QCOMPARE(texts(brand), expected);
}

void TestWhiteLabel::loginImageFollowsTheLanguage_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QString>("leftToRight");
    QTest::addColumn<QString>("rightToLeft");
    const QString a = QDir::rootPath() + u"a"_s;
    const QString b = QDir::rootPath() + u"b"_s;
    QTest::newRow("both") << "[login]\nimageName="_ba + a.toUtf8() + "\nimageNameRtl=" + b.toUtf8() + '\n'
                          << a << b;
    QTest::newRow("no fallback to the one") << "[login]\nimageName="_ba + a.toUtf8() + '\n' << a << QString();
    QTest::newRow("no fallback to the other") << "[login]\nimageNameRtl="_ba + b.toUtf8() + '\n'
                                              << QString() << b;
    QTest::newRow("none") << QByteArray("") << QString() << QString();
}

void TestWhiteLabel::loginImageFollowsTheLanguage()
{
    QFETCH(const QByteArray, content);
    QFETCH(const QString, leftToRight);
    QFETCH(const QString, rightToLeft);
    const BrandFile file(content);
    QVERIFY(file.isMade());
    s3WhiteLabel brand;
    brand.load(file.path());
    QCOMPARE(brand.loginImageName(), leftToRight);
    const ScopedTestFlag flag(229);
    QCOMPARE(brand.loginImageName(), rightToLeft);
}

void TestWhiteLabel::replacesTheProductName_data()
{
    QTest::addColumn<QByteArray>("product");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("expected");
    const QByteArray bar = "Bar";
    QTest::newRow("empty text") << bar << QString() << QString();
    QTest::newRow("without the word") << bar << u"Datei"_s << u"Datei"_s;
    QTest::newRow("alone") << bar << u"Zerk"_s << u"Bar"_s;
    QTest::newRow("blanks stay") << bar << u"In Zerk ist Zerk "_s << u"In Bar ist Bar "_s;
    QTest::newRow("part of a word") << bar << u"Zerkleinerer und aZerkb"_s << u"Barleinerer und aBarb"_s;
    QTest::newRow("other case") << bar << u"zerk ZERK zerk ERP"_s << u"zerk ZERK zerk ERP"_s;
    QTest::newRow("several") << bar << u"ZerkZerk Zerk"_s << u"BarBar Bar"_s;
    QTest::newRow("not ASCII") << "日本"_ba << u"Zerk läuft"_s << u"日本 läuft"_s;
    QTest::newRow("a product with the word in it") << "Zerk plus"_ba << u"Zerk"_s << u"Zerk plus"_s;
    QTest::newRow("placeholders") << "%1"_ba << u"Zerk %1"_s << u"%1 %1"_s;
    const QByteArray none = "\"   \"";
    QTest::newRow("none: at the beginning") << none << u"Zerk starten"_s << u"starten"_s;
    QTest::newRow("none: at the end") << none << u"Start von Zerk"_s << u"Start von"_s;
    QTest::newRow("none: in the middle") << none << u"Der Zerk Client"_s << u"Der Client"_s;
    QTest::newRow("none: alone") << none << u"Zerk"_s << QString();
    QTest::newRow("none: part of a word") << none << u"Zerkleinerer"_s << u"leinerer"_s;
    QTest::newRow("none: part of a word behind a blank") << none << u"ein Zerkleinerer"_s << u"einleinerer"_s;
    QTest::newRow("none: before a point") << none << u"Das ist Zerk."_s << u"Das ist."_s;
    QTest::newRow("none: in parentheses") << none << u"(Zerk)"_s << u"()"_s;
    QTest::newRow("none: two words") << none << u"Zerk Zerk"_s << QString();
    QTest::newRow("none: two blanks") << none << u"a  Zerk  b"_s << u"a   b"_s;
    QTest::newRow("none: other case") << none << u"zerk ERP "_s << u"zerk ERP "_s;
    QTest::newRow("none: other white space") << none << u"a\tZerk\tb"_s << u"a\t\tb"_s;
}

void TestWhiteLabel::replacesTheProductName()
{
    QFETCH(const QByteArray, product);
    QFETCH(const QString, text);
    QFETCH(const QString, expected);
    const BrandFile file("productName=" + product + '\n');
    QVERIFY(file.isMade());
    s3WhiteLabel brand;
    brand.load(file.path());
    QCOMPARE(brand.replaceProductName(text), expected);
}

void TestWhiteLabel::instanceIsKept()
{
    QVERIFY(s3WhiteLabelInstance() != nullptr);
    QVERIFY(s3WhiteLabelInstance() == s3WhiteLabelInstance());
}

void TestWhiteLabel::brandsTheProcess()
{
    const QTemporaryDir dir;
    const ChildRun run = runChild(u"brand"_s, dir.path());
    QVERIFY(run.ended);
    QCOMPARE(run.standardError, QByteArray());
    QCOMPARE(run.exitCode, 0);
}

namespace
{

int expect(const QString &found, const QString &expected)
{
    if (found == expected)
        return 0;
    std::fprintf(stderr, "found \"%s\" in place of \"%s\"\n", qPrintable(found), qPrintable(expected));
    return 1;
}

// A brand is in force for the rest of a process, so it gets one of its own.
int brandedProcess()
{
    const QTemporaryDir dir;
    QString error;
    glob_file_tempDir = dir.path();
    int failures = expect(s3Settings::localFileName(), u"zerkguilocaln.ini"_s);
    failures += expect(s3Translate(u"Zerk ist da"_s), u"Zerk ist da"_s);
    if (!writeFile(dir.filePath(u"Foo.cfg"_s), "productName=Bar\n"))
        return 1;
    s3WhiteLabelInstance()->load(dir.filePath(u"Foo.cfg"_s));
    failures += expect(s3Settings::localFileName(), u"Foolocaln.ini"_s);
    failures += expect(s3SettingsLocalFileName(), u"Foolocaln.ini"_s);
    failures += expect(s3Translate(u"Zerk ist da"_s), u"Bar ist da"_s);
    failures += expect(QFileInfo(s3MakeTempDirName(&error)).fileName().section(u'.', 0, 0), u"Foo"_s);
    // The local settings of a brand are a file of their own.
    glob_file_localSettingsDir = dir.path();
    {
        s3Settings settings(s3Settings::Type::Local);
        failures += settings.write(u"key"_s, u"value"_s) ? 0 : 1;
    }
    failures += expect(QString::number(QFile::exists(dir.filePath(u"Foolocaln.ini"_s))), u"1"_s);
    failures += expect(QString::number(QFile::exists(dir.filePath(u"zerkguilocaln.ini"_s))), u"0"_s);
    return failures;
}

}

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    if (childPart(argc, argv) == u"brand"_s)
        return brandedProcess();
    TestWhiteLabel test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_s3whitelabel.moc"
