#include "protocol/reportmemory.h"

#include "platform/faultcontext.h"
#include "platform/runguarded.h"
#include "s3string.h"

#include <array>

using namespace Qt::StringLiterals;

namespace
{

constexpr qsizetype bytesPerRow = 16;
constexpr int memoryRows = 6;
constexpr int frameRows = 4;
constexpr quint64 bytesBeforeInstruction = 32;
constexpr quint64 bytesBelowFirstFrame = 16;

using Row = std::array<uchar, bytesPerRow>;

// All is volatile, so that what was copied and counted is in memory when a fault ends the loop. The
// sanitizers look away: a report shows memory of any owner, and the redzones of a stack.
__attribute__((no_sanitize("address"), no_sanitize("thread"), no_sanitize("undefined"))) void
copyBytes(quint64 address, volatile uchar *to, qsizetype size, volatile qsizetype *copied)
{
    for (qsizetype i = 0; i < size; ++i) {
        to[i] = *reinterpret_cast<const volatile uchar *>(address + quint64(i));
        *copied = i + 1;
    }
}

QString hexWord(quint64 value)
{
    return s3String::fromHex(value, 16, false);
}

// Of ASCII alone: what else can be printed depends on the locale, and a report must not.
bool isPrintable(uchar byte)
{
    return byte >= 0x20 && byte < 0x7F;
}

QString memoryBlock(quint64 address)
{
    QString text;
    for (int row = 0; row < memoryRows; ++row, address += bytesPerRow) {
        Row bytes = {};
        const qsizetype readable = readMemoryGuarded(address, bytes.data(), bytesPerRow);
        text += u'\n' + hexWord(address) + u": "_s;
        QString characters = u"  "_s;
        for (qsizetype i = 0; i < readable; ++i) {
            const uchar byte = bytes.at(size_t(i));
            text += u' ' + s3String::fromHex(byte, 2, false);
            characters += QLatin1Char(isPrintable(byte) ? static_cast<char>(byte) : '.');
        }
        if (readable < bytesPerRow)
            break;
        text += characters;
    }
    return text + u'\n';
}

// The words are those of x86-64, the lowest byte first.
quint64 wordAt(const Row &bytes, size_t offset)
{
    quint64 word = 0;
    for (size_t i = 0; i < sizeof word; ++i)
        word |= quint64(bytes.at(offset + i)) << (8 * i);
    return word;
}

}

qsizetype readMemoryGuarded(quint64 address, uchar *to, qsizetype size)
{
    volatile qsizetype copied = 0;
    (void)s3RunGuarded([&] { copyBytes(address, to, size, &copied); });
    return copied;
}

QString reportRegisters(const s3FaultContext *context)
{
    if (context == nullptr)
        return QString();
    return u"RIP=%1  RSP=%2  RAX=%3  RBX=%4\n"_s.arg(hexWord(context->rip), hexWord(context->rsp),
                                                     hexWord(context->rax), hexWord(context->rbx))
        + u"RCX=%1  RDX=%2   R8=%3   R9=%4\n"_s.arg(hexWord(context->rcx), hexWord(context->rdx),
                                                    hexWord(context->r8), hexWord(context->r9))
        + u"RSI=%1  RDI=%2  RBP=%3  EFlags=%4\n"_s.arg(hexWord(context->rsi), hexWord(context->rdi),
                                                       hexWord(context->rbp), hexWord(context->eflags));
}

QString reportMemory(const s3FaultContext *context)
{
    if (context == nullptr)
        return QString();
    return memoryBlock(context->rip - bytesBeforeInstruction) + memoryBlock(context->rsp);
}

QString reportFrameWords(quint64 firstFrameAddress)
{
    if (firstFrameAddress == 0)
        return QString();
    QString text = u"\n"_s;
    quint64 address = firstFrameAddress - bytesBelowFirstFrame;
    for (int row = 0; row < frameRows; ++row, address += bytesPerRow) {
        Row bytes = {};
        if (readMemoryGuarded(address, bytes.data(), bytesPerRow) < bytesPerRow)
            break;
        text += u"%1:  %2 %3\n"_s.arg(hexWord(address), hexWord(wordAt(bytes, 0)), hexWord(wordAt(bytes, 8)));
    }
    return text;
}
