#include "mapiplatform.h"

#include "platform/library.h"

#include <QStringEncoder>
#include <QStringView>

#include <cstdlib>
#include <cstring>
#include <limits>

namespace
{

class LinuxMapiPlatform final : public MapiPlatform
{
public:
    LONG openKey(HKEY, const WCHAR *, DWORD, HKEY &key) override
    {
        key = nullptr;
        return ERROR_FILE_NOT_FOUND;
    }
    void closeKey(HKEY) override { }
    LONG queryValue(HKEY, const WCHAR *, DWORD *, void *, DWORD &) override { return ERROR_FILE_NOT_FOUND; }
    LONG enumerateValue(HKEY, DWORD, WCHAR *, DWORD &, void *, DWORD &) override
    {
        return ERROR_FILE_NOT_FOUND;
    }

    bool isModuleLoaded(const WCHAR *) override { return false; }

    HMODULE loadLibrary(const WCHAR *name) override
    {
        return static_cast<HMODULE>(platform::openLibrary(QString::fromUtf16(name)));
    }
    void *symbol(HMODULE library, const char *name) override
    {
        return platform::librarySymbol(library, name);
    }
    void freeLibrary(HMODULE library) override { platform::closeLibrary(library); }

    bool fileExists(const char *) override { return false; }
    DWORD systemDirectory(WCHAR *, DWORD) override { return 0; }
    DWORD expandEnvironment(const WCHAR *, WCHAR *, DWORD) override { return 0; }
    DWORD userLanguage() override { return 0; }
    DWORD systemLanguage() override { return 0; }
    bool verifyVersionSuite(WORD, DWORD, BYTE) override { return false; }

    int wideCharToMultiByte(UINT codePage, DWORD flags, const WCHAR *text, char *buffer, int size,
                            BOOL *usedDefault) override
    {
        const bool isUtf8 = codePage == CP_UTF8;
        if ((!isUtf8 && codePage != CP_ACP) || (isUtf8 && usedDefault != nullptr))
            return fail(ERROR_INVALID_PARAMETER);
        QStringEncoder encoder(isUtf8 ? QStringEncoder::Utf8 : QStringEncoder::System,
                               QStringEncoder::Flag::Stateless);
        const QByteArray bytes = encoder.encode(QStringView(text));
        if (encoder.hasError() && (flags & WC_ERR_INVALID_CHARS) != 0)
            return fail(ERROR_NO_UNICODE_TRANSLATION);
        if (usedDefault != nullptr)
            *usedDefault = encoder.hasError() ? 1 : 0;
        const qsizetype needed = bytes.size() + 1;
        if (needed > std::numeric_limits<int>::max() || (size != 0 && size < needed))
            return fail(ERROR_INSUFFICIENT_BUFFER);
        if (size != 0)
            std::memcpy(buffer, bytes.constData(), static_cast<std::size_t>(needed));
        return static_cast<int>(needed);
    }

    DWORD shortPathName(const WCHAR *, WCHAR *, DWORD) override
    {
        return static_cast<DWORD>(fail(ERROR_NOT_SUPPORTED));
    }
    DWORD lastError() override { return m_lastError; }

    void *allocate(std::size_t size) override { return std::calloc(1, size); }
    void release(void *memory) override { std::free(memory); }

private:
    int fail(LONG error)
    {
        m_lastError = static_cast<DWORD>(error);
        return 0;
    }

    DWORD m_lastError = 0;
};

}

MapiPlatform &systemMapiPlatform()
{
    static LinuxMapiPlatform platform;
    return platform;
}
