#include "record.h"

#include "protocol/reportencoding.h"

#include <QFile>

using namespace Qt::StringLiterals;

namespace
{

const QString &hexadecimal()
{
    static const QString form = u"[0-9a-f]{16}"_s;
    return form;
}

// Six rows, or fewer when the last one breaks off where nothing can be read.
QString memoryForm()
{
    const QString row = u"\n%1: (?: [0-9a-f]{2}){16}  [ -~]{16}"_s.arg(hexadecimal());
    return u"(?:(?:%1){6}|(?:%1){0,5}\n%2: (?: [0-9a-f]{2}){0,15})\n"_s.arg(row, hexadecimal());
}

QString registersForm()
{
    const QString registers = u"RIP=%1  RSP=%1  RAX=%1  RBX=%1\nRCX=%1  RDX=%1   R8=%1   R9=%1\n"
                              "RSI=%1  RDI=%1  RBP=%1  EFlags=%1\n"_s.arg(hexadecimal());
    const QString frameWords = u"(?:\n(?:%1:  %1 %1\n){0,4})?\n"_s.arg(hexadecimal());
    return registers + memoryForm() + memoryForm() + frameWords;
}

// A line for each frame, one for its addresses, and what lies on the stack between it and the next one.
QString traceForm()
{
    const QString blanks(18, u' ');
    const QString frame = u"\\([^\n]{0,20}\\) [^\n]+\n"_s + blanks
        + u" RIP=[0-9a-f]+, StackFrame=[0-9a-f]+\n"_s
        + u"(?:%1 \\([ \\d,]+(?:\n%1   [ \\d,]+)* \\)\n%1(?: %2){1,6}(?:\n%1(?: %2){1,6})?\n)?"_s.arg(
            blanks, hexadecimal());
    return u"ImageHlpApiVersion: \\d+ \\d+ \\d+\n(?:searchPath=[^\n]*\n)?\nCall Stack \\(TraceStack_ME\\):\n"_s
        + u"(?:%1)*+(?:\nComplete\\([123]\\)        [^\n]*\n|too many stack frames\n)?"_s.arg(frame);
}

}

QString readReport(const QString &fileName)
{
    QFile file(fileName);
    return file.open(QIODevice::ReadOnly) ? fromReportEncoding(file.readAll()) : QString();
}

QStringList recordsOf(const QString &report)
{
    static const QRegularExpression head(u"-{90}\n\\d\\d\\.\\d\\d\\.\\d{4} # "_s);
    QStringList records;
    qsizetype start = -1;
    for (auto heads = head.globalMatch(report); heads.hasNext();) {
        const qsizetype next = heads.next().capturedStart();
        if (start < 0 && next != 0)
            return {};
        if (start >= 0)
            records += report.mid(start, next - start);
        start = next;
    }
    if (start >= 0)
        records += report.mid(start);
    return records;
}

QRegularExpression recordForm(const QString &errorBlocks, const QString &history, bool withRegisters)
{
    const QString row = u"-{90}\n"_s;
    const QString module = u"[^\n]+ = [^\n]* [^\n]*\n"_s;
    const QString form = u"^"_s + row
        + u"\\d\\d\\.\\d\\d\\.\\d{4} # \\d\\d:\\d\\d:\\d\\d # crasher\\.exe # \\d+ # v2\\.6\n"_s
        + u"Server Version: [^\n]*\nClient Version: [^\n]*\n"_s // versions
        + u"[^\n]*crasher[^\n]*\n"_s // arguments
        + u"[^\n]+\n(        Edition: [^\n]*\n)?"_s // system
        + u"(Memory usage: .*?\n)?\n"_s + u"(\nGPU #\\d+:\n.*?\n)*\n\n"_s
        + u"(([A-Z_]+=[^\n]*\n)+\n)?"_s // environment
        + u"Server: [^\n]*\n[^\n]*\n[^\n]*\n\n"_s + u"M=[^\n]* # Z=[^\n]* # GUI:[^\n]* # S=[^\n]*\n"_s
        + errorBlocks + u"\n"_s + history + row + u"ActiveWindow = [^\n]*\n"_s
        + u"(?:%1){35}\n(?:%1){6}\n(?:%1)*+\n"_s.arg(module) + (withRegisters ? registersForm() : QString())
        + traceForm() + row + u"finished\\.\n\n\\z"_s;
    return QRegularExpression(form, QRegularExpression::DotMatchesEverythingOption);
}

QString errorBlock(const QString &text, int code, const QString &location)
{
    return u"\n%1\n\\*\\*\\* %2 \\*\\*\\*\n%3\nGetLastError\\(\\): \\d+ txt=[^\n]*\n"_s.arg(
        text, QString::number(code), location);
}

QString historyLine(const QString &location)
{
    return u" {18} {25} ErrorAndExit {14}\\d+ *%1\n"_s.arg(location);
}

QString boxForm(const QString &text, const QString &location, const QString &rest)
{
    return u"^ACHTUNG: DIAGNOSEMELDUNG!\n\nBitte drucken Sie anschließend das Fehlerprotokoll "
           "mit dem Kommando:\nDiagnosemeldung ausgeben \\(Diverse Kommandos\\)\n\nDetails:\n%1\n%2\n\n%3\\z"_s
               .arg(text, location, rest);
}

bool matches(const QString &text, const QString &form)
{
    return QRegularExpression(form, QRegularExpression::DotMatchesEverythingOption).match(text).hasMatch();
}

QString locationOf(int code, const QString &place)
{
    return u"Fehlernummer -%1: in "_s.arg(code) + QRegularExpression::escape(place);
}

const QString &filterPlace()
{
    static const QString place = u"libraries/core/src/error/s3exceptionhandlerwin:849"_s;
    return place;
}

const QString &registerRows()
{
    static const QString rows
        = u"RIP=[0-9a-f]{16}  RSP=.*EFlags=[0-9a-f]{16}\n\n([0-9a-f]{16}:  ([0-9a-f]{2} ?)+\n){0,2}"
          "(\n([0-9a-f]{16}:  [0-9a-f]{16} [0-9a-f]{16}\n){0,4})?"_s;
    return rows;
}
