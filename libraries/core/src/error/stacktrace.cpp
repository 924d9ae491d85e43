#include "error/stacktrace.h"

#include "coreutil.h"
#include "platform/faultcontext.h"
#include "platform/stackwalker.h"
#include "protocol/reportencoding.h"

#include <QFileDevice>

#include <limits>

using namespace Qt::StringLiterals;
using platform::StackFrame;
using platform::StackLine;
using platform::StackModule;
using platform::StackSymbol;
using platform::StackWalker;

namespace
{

constexpr int mostFrames = 100;
constexpr int mostWords = 12;
constexpr int secondRowOfWords = 6;
constexpr qsizetype widthOfDecimals = 100;
constexpr qsizetype widthOfModule = 20;
constexpr qsizetype widthOfRule = 90;
constexpr quint64 wordSize = sizeof(quint64);

// Gives the symbols back however the walk ends, but for a machine fault.
class OpenSymbols
{
public:
    explicit OpenSymbols(StackWalker &walker) : m_walker(walker) { }
    ~OpenSymbols() { m_walker.cleanUp(); }
    Q_DISABLE_COPY_MOVE(OpenSymbols)

private:
    StackWalker &m_walker;
};

QString reasonOf(StackWalker &walker)
{
    const QString text = walker.errorText();
    return text.isEmpty() ? s3LastErrorText() : text;
}

QString hexadecimal(quint64 value)
{
    return QString::number(value, 16);
}

// The last directory and the name of a source file; the whole of it when there is one separator at most.
QString shownSourceFile(const QString &file)
{
    const QChar separator = file.contains(u'\\') ? u'\\' : u'/';
    const qsizetype last = file.lastIndexOf(separator);
    const qsizetype beforeLast = last > 0 ? file.lastIndexOf(separator, last - 1) : -1;
    return beforeLast < 0 ? file : file.mid(beforeLast + 1);
}

QString symbolText(StackWalker &walker, const StackFrame &frame, const StackModule &module)
{
    StackSymbol symbol;
    if (!walker.symbol(frame, symbol)) {
        const QString reason
            = module.loadedImageName.isEmpty() ? u"Image file not found."_s : reasonOf(walker);
        return u"SymGetSymFromAddr64() failed: "_s + reason;
    }
    QString text = u"%1+%2"_s.arg(symbol.name, QString::number(symbol.displacement));
    if (StackLine line; walker.line(frame, line))
        text += u" at %1:%2"_s.arg(shownSourceFile(line.file), QString::number(line.line));
    return text;
}

// What lies on the stack between two frames, behind the return address of the inner one.
void writeStackWords(QIODevice &file, StackWalker &walker, quint64 last, quint64 now)
{
    if (last > std::numeric_limits<quint64>::max() - 2 * wordSize)
        return;
    const QString prefix(18, u' ');
    QString decimals;
    QString hexadecimals;
    qsizetype lineLength = 0;
    quint64 address = last + 2 * wordSize;
    for (int index = 0; index < mostWords && address < now; ++index, address += wordSize) {
        quint64 word = 0;
        if (!walker.word(address, word))
            break;
        const QString decimal = QString::number(word);
        if (!decimals.isEmpty())
            decimals += u',';
        if (lineLength + decimal.size() > widthOfDecimals) {
            decimals += u'\n' + prefix + u"  "_s;
            lineLength = 1;
        }
        decimals += u' ' + decimal;
        lineLength += decimal.size() + 2;
        if (index == secondRowOfWords)
            hexadecimals += u'\n' + prefix;
        hexadecimals += u" %1"_s.arg(word, 16, 16, QChar(u'0'));
    }
    if (!decimals.isEmpty())
        writeReportLine(file, u"%1 (%2 )\n"_s.arg(prefix, decimals));
    if (!hexadecimals.isEmpty())
        writeReportLine(file, u"%1%2\n"_s.arg(prefix, hexadecimals));
}

void writeFrame(QIODevice &file, StackWalker &walker, const StackFrame &frame)
{
    StackModule module;
    if (!walker.module(frame, module))
        module = StackModule();
    writeReportLine(
        file, u"(%1) %2\n"_s.arg(module.moduleName.left(widthOfModule), symbolText(walker, frame, module)));
    writeReportLine(file,
                    u"%1RIP=%2, StackFrame=%3\n"_s.arg(QString(19, u' '), hexadecimal(frame.programCounter),
                                                       hexadecimal(frame.frameAddress)));
}

void writeFrames(QIODevice &file, StackWalker &walker)
{
    quint64 last = 0;
    for (int n = 0; n < mostFrames; ++n) {
        StackFrame frame;
        if (!walker.next(frame)) {
            if (n > 0)
                writeReportLine(file, u"\nComplete(1)        %1\n"_s.arg(reasonOf(walker)));
            return;
        }
        if (frame.frameAddress == 0) {
            writeReportLine(file, u"\nComplete(2)        StackFrame=0\n"_s);
            return;
        }
        if (frame.programCounter == 0) {
            writeReportLine(file, u"\nComplete(3)        RIP=0\n"_s);
            return;
        }
        if (n > 0)
            writeStackWords(file, walker, last, frame.frameAddress);
        writeFrame(file, walker, frame);
        last = frame.frameAddress;
    }
    writeReportLine(file, u"too many stack frames\n"_s);
}

bool walkForSummary(s3StackSummary &summary, StackWalker &walker, const s3FaultContext &context)
{
    summary.reset();
    walker.start(context);
    QString lastName;
    std::size_t count = 0;
    for (int n = 1; n <= mostFrames && count < summary.modules.size(); ++n) {
        StackFrame frame;
        if (!walker.next(frame) || frame.frameAddress == 0 || frame.programCounter == 0)
            break;
        if (n == 1)
            s3SetFirstFrameAddress(frame.frameAddress);
        StackModule module;
        if (!walker.module(frame, module))
            continue;
        const QString name = module.imageName.isEmpty() ? module.moduleName : module.imageName;
        if (name.isEmpty() || name == lastName)
            continue;
        if (count < summary.functions.size()) {
            if (StackSymbol symbol; walker.symbol(frame, symbol))
                summary.functions[count] = symbol.name;
        }
        summary.modules[count] = name;
        summary.frameNumbers[count] = n;
        ++count;
        lastName = name;
    }
    return count > 0;
}

}

void writeReportLine(QIODevice &file, const QString &text)
{
    // A report gets as far as it can: what a full disk refuses is lost, and nobody is there to be told.
    (void)file.write(toReportEncoding(text));
    if (auto *device = qobject_cast<QFileDevice *>(&file))
        (void)device->flush();
}

bool initDbghelpStackTrace(QIODevice &file, StackWalker &walker)
{
    const StackWalker::Version version = walker.version();
    writeReportLine(file,
                    u"ImageHlpApiVersion: %1 %2 %3\n"_s.arg(QString::number(version.major),
                                                            QString::number(version.minor),
                                                            QString::number(version.revision)));
    if (!walker.initialize()) {
        writeReportLine(file, u"initDbghelpStackTrace() failed: "_s + reasonOf(walker));
        return false;
    }
    if (QString path; walker.searchPath(path))
        writeReportLine(file, u"searchPath=%1\n"_s.arg(path));
    return true;
}

bool captureStackSummary(s3StackSummary &summary, StackWalker &walker)
{
    if (s3SavedContext() == nullptr)
        s3ForceFault();
    s3SetFirstFrameAddress(0);
    if (s3SavedContext() == nullptr)
        return false;
    const s3FaultContext context = *s3SavedContext();
    if (walker.initialize()) {
        const OpenSymbols symbols(walker);
        return walkForSummary(summary, walker, context);
    }
    summary.reset();
    const QString path = walker.modulePath(context.rip);
    if (path.isEmpty())
        return false;
    summary.modules[0] = path;
    summary.frameNumbers[0] = 1;
    return true;
}

void writeStackTrace(QIODevice &file, StackWalker &walker)
{
    if (!file.isOpen())
        return;
    if (s3SavedContext() == nullptr)
        s3ForceFault();
    if (s3SavedContext() == nullptr)
        return;
    const s3FaultContext context = *s3SavedContext();
    if (!initDbghelpStackTrace(file, walker))
        return;
    {
        const OpenSymbols symbols(walker);
        writeReportLine(file, u"\nCall Stack (TraceStack_ME):\n"_s);
        walker.start(context);
        writeFrames(file, walker);
    }
    writeReportLine(file, QString(widthOfRule, u'-') + u"\nfinished.\n\n"_s);
}

bool initDbghelpStackTrace(QIODevice &file)
{
    return initDbghelpStackTrace(file, platform::stackWalker());
}

bool captureStackSummary(s3StackSummary &summary)
{
    return captureStackSummary(summary, platform::stackWalker());
}

void writeStackTrace(QIODevice &file)
{
    writeStackTrace(file, platform::stackWalker());
}
