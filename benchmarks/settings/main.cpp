// Reading settings against QSettings itself.

#include "ratio.h"

#include "s3settings.h"
#include "s3settingswithinheritance.h"

#include <QCoreApplication>
#include <QSettings>
#include <QTemporaryDir>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <vector>

using namespace Qt::StringLiterals;

namespace
{

constexpr int keyCount = 1000;
constexpr int fileCount = 5;
constexpr int runs = 101;

QString keyName(int index)
{
    return u"someKey%1"_s.arg(index);
}

void require(bool done, const char *what)
{
    if (done)
        return;
    std::fprintf(stderr, "bench_settings: %s\n", what);
    std::exit(2);
}

// A file of 1000 keys in a section; its name is part of the keys' names if it is not the last of a chain.
QString makeFile(const QString &directory, int number)
{
    const QString path = directory + u"/%1.ini"_s.arg(number);
    QSettings settings(path, QSettings::IniFormat);
    settings.setValue(u"version/format"_s, 2);
    settings.beginGroup(u"section"_s);
    const QString prefix = number == fileCount - 1 ? QString() : u"other%1"_s.arg(number);
    for (int i = 0; i < keyCount; ++i)
        settings.setValue(prefix + keyName(i), u"The value of number %1"_s.arg(i));
    settings.sync();
    require(settings.status() == QSettings::NoError, "cannot make a file");
    return path;
}

}

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    const QTemporaryDir directory;
    std::vector<std::unique_ptr<s3Settings>> ours;
    std::vector<std::unique_ptr<QSettings>> plain;
    s3SettingsWithInheritance chain(nullptr);
    for (int number = 0; number < fileCount; ++number) {
        const QString path = makeFile(directory.path(), number);
        ours.push_back(std::make_unique<s3Settings>(path, s3Settings::LoadFlags(), u"section"_s));
        require(ours.back()->isOk(), "cannot load a file");
        chain.addSettings(ours.back().get());
        plain.push_back(std::make_unique<QSettings>(path, QSettings::IniFormat));
        plain.back()->beginGroup(u"section"_s);
    }
    QStringList keys;
    QList<QStringList> keyLists;
    for (int i = 0; i < keyCount; ++i) {
        keys += keyName(i);
        keyLists += QStringList(keyName(i));
    }

    RatioReport report;
    s3Settings &last = *ours.back();
    const QSettings &plainLast = *plain.back();
    require(last.read(keys[7]) == u"The value of number 7"_s, "a wrong value");
    report.compare(
        "s3Settings::read, against QSettings::value",
        [&] {
            for (const QString &key : keys)
                keepResult(last.read(key));
        },
        [&] {
            for (const QString &key : keys)
                keepResult(plainLast.value(key));
        },
        {.bound = 1.3, .runs = runs});

    const auto fiveContainsAndOneValue = [&] {
        for (const QString &key : keys) {
            for (const auto &settings : plain)
                keepResult(settings->contains(key));
            keepResult(plainLast.value(key));
        }
    };
    require(chain.read(keyLists[7], QString()) == u"The value of number 7"_s, "a wrong value of the chain");
    report.compare("chain of 5, key in the last, against 5 contains, value",
                   [&] {
                       for (const QStringList &list : keyLists)
                           keepResult(chain.read(list, QString()));
                   },
                   fiveContainsAndOneValue, {.bound = 1.5, .runs = runs});
    // The same with the platform's key first, which all five files are asked for before.
    const auto tenContainsAndOneValue = [&] {
        for (const QString &key : keys) {
            const QString special = s3Settings::platformKey(key);
            for (const auto &settings : plain)
                keepResult(settings->contains(special));
            for (const auto &settings : plain)
                keepResult(settings->contains(key));
            keepResult(plainLast.value(key));
        }
    };
    const auto readForPlatform = [&] {
        for (const QString &key : keys)
            keepResult(chain.read(key, QString()));
    };
    report.compare("the platform's key first, against 10 contains, value", readForPlatform,
                   tenContainsAndOneValue, {.bound = 1.5, .runs = runs});
    report.compare("the platform's key first, against 5 contains, value", readForPlatform,
                   fiveContainsAndOneValue, {.runs = runs});
    return report.exitCode();
}
