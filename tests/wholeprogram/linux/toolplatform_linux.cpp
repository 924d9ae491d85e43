#include "toolplatform.h"

#include <QFile>
#include <QStringList>

using namespace Qt::StringLiterals;

namespace toolplatform
{

namespace
{

// Without a display the tool's boxes go to standard error; all that stands there is one box.
class StandardErrorWatcher final : public BoxWatcher
{
public:
    std::optional<SeenBox> nextBox(const QProcess &tool, const QByteArray &standardError) override
    {
        if (tool.state() != QProcess::NotRunning || m_seen)
            return {};
        m_seen = true;
        QStringList lines = QString::fromUtf8(standardError).split(u'\n');
        // Qt's own words about a session without a runtime directory.
        lines.removeIf([](const QString &line) { return line.startsWith("QStandardPaths: "_L1); });
        const QString text = lines.join(u'\n').trimmed();
        if (text.isEmpty())
            return {};
        return SeenBox{QString(), text};
    }

private:
    bool m_seen = false;
};

}

void installProvider(const QString &choice, const QString &providers, const QString &toolDirectory,
                     QProcessEnvironment &environment)
{
    if (choice.isEmpty())
        return;
    // The library that comes with the tool is found relative to it; the suites start the tool from a
    // folder where there is none, so this is the only one.
    environment.remove(u"LD_LIBRARY_PATH"_s);
    if (choice == "none"_L1)
        return;
    // A copy, since the build tree may lie where an ordinary user cannot go.
    const QString library = u"/libmapi32.so"_s;
    QFile::remove(toolDirectory + library);
    if (!QFile::copy(providers + u'/' + choice + library, toolDirectory + library))
        qFatal("cannot copy the provider %s", qPrintable(choice));
    environment.insert(u"LD_LIBRARY_PATH"_s, toolDirectory);
}

std::unique_ptr<BoxWatcher> makeBoxWatcher()
{
    return std::make_unique<StandardErrorWatcher>();
}

QByteArray lineEnd()
{
    return "\n";
}

int exitCodeOfMinusOne()
{
    return 255;
}

}
