// The conversion of old settings files against what QSettings takes to load the same file.
//
//     bench_settingsformat [DIRECTORY]
//
// DIRECTORY (default: the system's place for temporary files) needs 200 MiB.

#include "ratio.h"

#include "s3settingsprivate.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QSettings>
#include <QTemporaryDir>

#include <array>
#include <cstdio>
#include <cstdlib>

using namespace Qt::StringLiterals;

namespace
{

constexpr qsizetype fileSize = 64 * 1024 * 1024;

void require(bool done, const char *what)
{
    if (!done) {
        std::fprintf(stderr, "bench_settingsformat: %s\n", what);
        std::exit(2);
    }
}

template <std::size_t count> QByteArray keyLines(const std::array<const char *, count> &values)
{
    QByteArray content;
    content.reserve(fileSize + 100);
    for (std::size_t number = 0; content.size() < fileSize; ++number)
        content += "key" + QByteArray::number(qulonglong(number)) + '=' + values[number % count] + '\n';
    return content;
}

// Old lines, half of which change.
QByteArray oldLines()
{
    return keyLines(std::array{"1", "Fenster mit Größe und Ort", "C:\\Users\\jörg\\AppData\\Local\\Temp",
                               "255, 255, 0", "true", "\"in Anführungszeichen\"", "say \"hi\"; a=b",
                               "Dies ist ein etwas längerer Wert ohne alles Besondere"});
}

QByteArray plainLines()
{
    return keyLines(std::array{"1", "Fenster mit Größe und Ort", "/usr/share/applications/foo", "true", "",
                               "Dies ist ein etwas längerer Wert ohne alles Besondere"});
}

QByteArray convertedLines()
{
    return keyLines(std::array{"1", "Fenster mit Größe und Ort", "C:\\\\Users\\\\jörg\\\\AppData\\\\Local",
                               "\"255, 255, 0\"", "true", "\"in Anführungszeichen\"",
                               "\"say \\\"hi\\\"; a=b\"", "Dies ist ein etwas längerer Wert"});
}

// A file with the same content and a new name for each run: QSettings remembers files by their names.
class FreshFile
{
public:
    FreshFile(QString directory, QByteArray content)
        : m_directory(std::move(directory)), m_content(std::move(content))
    {
        renew();
    }
    ~FreshFile() { QFile::remove(m_path); }
    Q_DISABLE_COPY_MOVE(FreshFile)

    void renew()
    {
        if (!m_path.isEmpty())
            QFile::remove(m_path);
        m_path = m_directory + u"/%1.ini"_s.arg(++m_number);
        QFile file(m_path);
        require(file.open(QIODevice::WriteOnly) && file.write(m_content) == m_content.size(),
                "cannot make a file");
    }

    [[nodiscard]] QString path() const { return m_path; }

private:
    QString m_directory;
    QByteArray m_content;
    QString m_path;
    int m_number = 0;
};

void compare(RatioReport &report, const char *name, const QString &directory, const QByteArray &content,
             bool checkOnly, bool alreadyConverted, double bound)
{
    FreshFile file(directory, content);
    report.compare(
        name,
        [&] {
            bool formatOk = false;
            QString error;
            const bool rewritten = s3SettingsPrivate::updateFormat(file.path(), checkOnly, alreadyConverted,
                                                                   &formatOk, &error);
            require(formatOk && rewritten == !checkOnly, "updateFormat failed");
        },
        [&] {
            const QSettings settings(file.path(), QSettings::IniFormat);
            require(settings.contains(u"key1"_s) && settings.status() == QSettings::NoError,
                    "QSettings failed");
        },
        {.bound = bound, .runs = 3, .warmUp = false, .clock = RatioClock::Processor, .reset = [&] {
             file.renew();
         }});
}

}

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    const QString place = QCoreApplication::arguments().value(1, QDir::tempPath());
    const QTemporaryDir directory(place + u"/bench_settingsformat_XXXXXX"_s);
    require(directory.isValid(), "cannot make a directory");
    RatioReport report;
    compare(report, "rewriting 64 MiB, half of the lines change", directory.path(), oldLines(), false, false,
            0.5);
    compare(report, "check only, 64 MiB of plain values", directory.path(), plainLines(), true, false, 0.3);
    compare(report, "check only, 64 MiB in the new form", directory.path(), convertedLines(), true, true,
            0.3);
    return report.exitCode();
}
