#pragma once

#include <QString>

#include <windows.h>

// Collects what the process hands to its debugger for the scope. OutputDebugStringW raises an exception with
// the text, which a debugger would see; here a vectored handler stands in its place. One at a time.
class DebugOutputCapture
{
public:
    DebugOutputCapture() : m_handler(AddVectoredExceptionHandler(1, handler)) { text().clear(); }
    ~DebugOutputCapture() { stop(); }
    Q_DISABLE_COPY_MOVE(DebugOutputCapture)

    [[nodiscard]] QString take()
    {
        stop();
        return text();
    }

private:
    static constexpr DWORD printNarrow = 0x40010006; // DBG_PRINTEXCEPTION_C: size, text
    static constexpr DWORD printWide = 0x4001000A; // DBG_PRINTEXCEPTION_WIDE_C: the same in UTF-16

    static QString &text()
    {
        static QString collected;
        return collected;
    }

    static LONG CALLBACK handler(EXCEPTION_POINTERS *pointers)
    {
        const EXCEPTION_RECORD *record = pointers->ExceptionRecord;
        if (record->NumberParameters < 2)
            return EXCEPTION_CONTINUE_SEARCH;
        if (record->ExceptionCode == printWide)
            text() += QString::fromWCharArray(
                reinterpret_cast<const wchar_t *>(record->ExceptionInformation[1]));
        else if (record->ExceptionCode == printNarrow)
            text() += QString::fromLocal8Bit(reinterpret_cast<const char *>(record->ExceptionInformation[1]));
        else
            return EXCEPTION_CONTINUE_SEARCH;
        return EXCEPTION_CONTINUE_EXECUTION;
    }

    void stop()
    {
        if (m_handler != nullptr)
            RemoveVectoredExceptionHandler(m_handler);
        m_handler = nullptr;
    }

    void *m_handler;
};
