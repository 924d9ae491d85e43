#include "fakemapiplatform.h"

#include <QRegularExpression>
#include <QStringEncoder>

#include <algorithm>
#include <cstdlib>
#include <cstring>

using namespace Qt::StringLiterals;

namespace
{

FakeMapiPlatform *current = nullptr;

// Writes `text` with its terminating null if there is room for it, and counts as GetSystemDirectoryW does.
DWORD writeText(const QString &text, WCHAR *buffer, DWORD length)
{
    const auto size = static_cast<DWORD>(text.size());
    if (size >= length)
        return size + 1;
    std::memcpy(buffer, text.utf16(), (std::size_t{size} + 1) * sizeof(WCHAR));
    return size;
}

}

QByteArray registryText(const QString &text)
{
    return registryTextWithoutEnd(text + QChar(0));
}

QByteArray registryTextWithoutEnd(const QString &text)
{
    return {reinterpret_cast<const char *>(text.utf16()), text.size() * qsizetype{sizeof(WCHAR)}};
}

QByteArray registryTexts(const QStringList &texts)
{
    QByteArray data;
    for (const QString &text : texts)
        data += registryText(text);
    return data + registryText(QString());
}

QByteArray registryNumber(quint32 number)
{
    return {reinterpret_cast<const char *>(&number), sizeof(number)};
}

QString fromWide(const WCHAR *text)
{
    return QString::fromUtf16(reinterpret_cast<const char16_t *>(text));
}

LPWSTR toWide(const QString &text)
{
    return reinterpret_cast<LPWSTR>(const_cast<unsigned short *>(text.utf16()));
}

FakeMapiPlatform::FakeMapiPlatform()
{
    current = this;
}

FakeMapiPlatform::~FakeMapiPlatform()
{
    current = nullptr;
}

void FakeMapiPlatform::addKey(const QString &path)
{
    m_keys[path];
}

void FakeMapiPlatform::addValue(const QString &path, const QString &name, DWORD type, const QByteArray &data)
{
    m_keys[path].append({name, type, data});
}

void FakeMapiPlatform::addLibrary(const QString &name, const QHash<QByteArray, void *> &symbols)
{
    m_libraries.insert(name, symbols);
}

void FakeMapiPlatform::addInstaller(const QHash<QString, Answer> &answers)
{
    m_answers = answers;
    addLibrary(u"MSI.DLL"_s,
               {{"MsiProvideQualifiedComponentW"_ba, reinterpret_cast<void *>(&provideComponent)}});
}

QStringList FakeMapiPlatform::mistakes() const
{
    QStringList mistakes = m_mistakes;
    for (const void *handle : m_open)
        mistakes.append(u"still open: "_s + handleName(handle));
    for (std::size_t index = 0; index < m_memory.size(); ++index)
        mistakes.append(u"memory lost"_s);
    return mistakes;
}

QStringList FakeMapiPlatform::callsOf(const QString &word) const
{
    return calls.filter(QRegularExpression(u"^"_s + word + u"\\b"_s));
}

FakeMapiPlatform::Handle *FakeMapiPlatform::openHandle(const QString &name)
{
    m_handles.push_back(std::make_unique<Handle>(Handle{name}));
    m_open.insert(m_handles.back().get());
    return m_handles.back().get();
}

void FakeMapiPlatform::closeHandle(const void *handle)
{
    if (m_open.erase(handle) == 0)
        m_mistakes.append(u"closed, but not open: "_s + handleName(handle));
}

QString FakeMapiPlatform::handleName(const void *handle) const
{
    if (handle == HKEY_CURRENT_USER)
        return u"HKCU"_s;
    if (handle == HKEY_LOCAL_MACHINE)
        return u"HKLM"_s;
    for (const std::unique_ptr<Handle> &known : m_handles) {
        if (known.get() == handle)
            return known->name;
    }
    return u"(unknown)"_s;
}

LONG FakeMapiPlatform::openKey(HKEY parent, const WCHAR *name, DWORD access, HKEY &key)
{
    const QString parentName = handleName(parent);
    const QString path = name[0] == 0 ? parentName : parentName + u'\\' + fromWide(name);
    const bool isThere = m_keys.contains(path);
    calls.append(u"open [%1] %2%3"_s.arg(parentName, fromWide(name), isThere ? u""_s : u" = 2"_s));
    if (access != KEY_READ)
        m_mistakes.append(u"access %1"_s.arg(access));
    key = isThere ? reinterpret_cast<HKEY>(openHandle(path)) : nullptr;
    return isThere ? ERROR_SUCCESS : ERROR_FILE_NOT_FOUND;
}

void FakeMapiPlatform::closeKey(HKEY key)
{
    calls.append(u"close [%1]"_s.arg(handleName(key)));
    closeHandle(key);
}

LONG FakeMapiPlatform::queryValue(HKEY key, const WCHAR *name, DWORD *type, void *data, DWORD &size)
{
    const QString valueName = name != nullptr ? fromWide(name) : QString();
    const QString read = data != nullptr ? valueName : valueName + u":size"_s;
    calls.append(u"query [%1] %2 %3"_s.arg(handleName(key), name != nullptr ? valueName : u"(default)"_s,
                                           data != nullptr ? QString::number(size) : u"size"_s));
    if (m_open.count(key) == 0)
        m_mistakes.append(u"read, but not open: "_s + handleName(key));
    const LONG fault = registryFault ? registryFault(read) : ERROR_SUCCESS;
    if (fault != ERROR_SUCCESS)
        return fault;
    const QList<Value> values = m_keys.value(handleName(key));
    const auto value
        = std::find_if(values.begin(), values.end(), [&](const Value &one) { return one.name == valueName; });
    if (value == values.end())
        return ERROR_FILE_NOT_FOUND;
    const DWORD room = size;
    size = static_cast<DWORD>(value->data.size());
    if (type != nullptr)
        *type = value->type;
    if (data == nullptr)
        return ERROR_SUCCESS;
    if (size > room)
        return ERROR_MORE_DATA;
    std::memcpy(data, value->data.constData(), size);
    return ERROR_SUCCESS;
}

LONG FakeMapiPlatform::enumerateValue(HKEY key, DWORD index, WCHAR *name, DWORD &nameLength, void *data,
                                      DWORD &size)
{
    calls.append(u"enumerate %1 name %2%3"_s.arg(QString::number(index), QString::number(nameLength),
                                                 data != nullptr ? u" data %1"_s.arg(size) : u""_s));
    const QList<Value> values = m_keys.value(handleName(key));
    if (qsizetype{index} >= values.size())
        return ERROR_NO_MORE_ITEMS;
    const Value &value = values.at(qsizetype{index});
    const DWORD room = size;
    const DWORD written = writeText(value.name, name, nameLength);
    if (written >= nameLength)
        return ERROR_MORE_DATA;
    nameLength = written;
    if (data == nullptr)
        return ERROR_SUCCESS;
    size = static_cast<DWORD>(value.data.size());
    if (size > room)
        return ERROR_MORE_DATA;
    std::memcpy(data, value.data.constData(), size);
    return ERROR_SUCCESS;
}

bool FakeMapiPlatform::isModuleLoaded(const WCHAR *name)
{
    calls.append(u"module "_s + fromWide(name));
    return modules.contains(fromWide(name), Qt::CaseInsensitive);
}

HMODULE FakeMapiPlatform::loadLibrary(const WCHAR *name)
{
    const QString library = fromWide(name);
    const bool isThere = m_libraries.contains(library);
    calls.append(u"load %1%2"_s.arg(library, isThere ? u""_s : u" = 0"_s));
    return isThere ? reinterpret_cast<HMODULE>(openHandle(library)) : nullptr;
}

void *FakeMapiPlatform::symbol(HMODULE library, const char *name)
{
    calls.append(u"symbol [%1] %2"_s.arg(handleName(library), QString::fromLatin1(name)));
    if (m_open.count(library) == 0)
        m_mistakes.append(u"asked, but not loaded: "_s + handleName(library));
    return m_libraries.value(handleName(library)).value(name);
}

void FakeMapiPlatform::freeLibrary(HMODULE library)
{
    calls.append(u"free [%1]"_s.arg(handleName(library)));
    closeHandle(library);
}

bool FakeMapiPlatform::fileExists(const char *name)
{
    calls.append(u"file "_s + QString::fromLatin1(name));
    return files.contains(QString::fromLatin1(name));
}

DWORD FakeMapiPlatform::systemDirectory(WCHAR *buffer, DWORD length)
{
    calls.append(u"directory %1"_s.arg(length));
    const DWORD result = writeText(directory, buffer, length);
    return directoryResult.value_or(result);
}

DWORD FakeMapiPlatform::expandEnvironment(const WCHAR *text, WCHAR *buffer, DWORD length)
{
    const QString source = fromWide(text);
    calls.append(u"expand %1 %2"_s.arg(source).arg(length));
    const DWORD result = writeText(expansions.value(source, source), buffer, length);
    return expansionResult.value_or(result < length ? result + 1 : result);
}

DWORD FakeMapiPlatform::userLanguage()
{
    calls.append(u"user language"_s);
    return userLcid;
}

DWORD FakeMapiPlatform::systemLanguage()
{
    calls.append(u"system language"_s);
    return systemLcid;
}

bool FakeMapiPlatform::verifyVersionSuite(WORD suiteMask, DWORD typeMask, BYTE condition)
{
    calls.append(u"suite %1 %2 %3"_s.arg(suiteMask).arg(typeMask).arg(condition));
    return terminalServer;
}

// The ANSI code page of this system is Latin-1, with a question mark as the default character.
int FakeMapiPlatform::wideCharToMultiByte(UINT codePage, DWORD flags, const WCHAR *text, char *buffer,
                                          int size, BOOL *usedDefault)
{
    const QString source = fromWide(text);
    calls.append(
        u"convert %1 %2 %3 %4"_s.arg(codePage).arg(flags).arg(source).arg(size == 0 ? u"size"_s : u"text"_s));
    if ((codePage == CP_UTF8) != (usedDefault == nullptr))
        m_mistakes.append(u"the default character of code page %1"_s.arg(codePage));
    if (++m_conversions == failingConversion) {
        m_lastError = error;
        return 0;
    }
    QByteArray bytes;
    bool isDefault = false;
    if (codePage == CP_UTF8) {
        QStringEncoder encoder(QStringEncoder::Utf8, QStringEncoder::Flag::Stateless);
        bytes = encoder.encode(source);
        if (encoder.hasError()) {
            m_lastError = ERROR_NO_UNICODE_TRANSLATION;
            return 0;
        }
    } else {
        const QList<uint> codePoints = source.toUcs4();
        for (const uint codePoint : codePoints) {
            bytes += codePoint <= 0xFF ? static_cast<char>(codePoint) : '?';
            isDefault = isDefault || codePoint > 0xFF;
        }
    }
    if (usedDefault != nullptr)
        *usedDefault = isDefault ? 1 : 0;
    const int needed = static_cast<int>(bytes.size()) + 1;
    if (size == 0)
        return needed;
    if (size < needed) {
        m_lastError = ERROR_INSUFFICIENT_BUFFER;
        return 0;
    }
    std::memcpy(buffer, bytes.constData(), static_cast<std::size_t>(needed));
    return needed;
}

DWORD FakeMapiPlatform::shortPathName(const WCHAR *path, WCHAR *buffer, DWORD length)
{
    const QString source = fromWide(path);
    calls.append(u"short %1 %2"_s.arg(source).arg(length));
    if (shortPathResult.has_value())
        return *shortPathResult;
    if (!shortPaths.contains(source)) {
        m_lastError = error;
        return 0;
    }
    return writeText(shortPaths.value(source), buffer, length);
}

DWORD FakeMapiPlatform::lastError()
{
    calls.append(u"last error"_s);
    return m_lastError;
}

void *FakeMapiPlatform::allocate(std::size_t size)
{
    if (logMemory)
        calls.append(u"allocate %1"_s.arg(size));
    if (++allocations == failingAllocation)
        return nullptr;
    void *memory = std::calloc(1, size);
    m_memory.insert(memory);
    return memory;
}

void FakeMapiPlatform::release(void *memory)
{
    if (memory == nullptr)
        return;
    if (logMemory)
        calls.append(u"release"_s);
    if (m_memory.erase(memory) == 0)
        m_mistakes.append(u"released, but not allocated"_s);
    else
        std::free(memory);
}

UINT FakeMapiPlatform::provideComponent(const WCHAR *category, const WCHAR *qualifier, DWORD installMode,
                                        WCHAR *path, DWORD *pathLength)
{
    const QString mode = installMode == 0xFFFFFFFF ? u"existing"_s
        : installMode == 0                         ? u"default"_s
                                                   : QString::number(installMode);
    const QString question = fromWide(qualifier) + u' ' + mode;
    current->calls.append(u"installer %1 %2 %3%4"_s.arg(fromWide(category), question)
                              .arg(*pathLength)
                              .arg(path[0] == 0 ? u""_s : u" path "_s + fromWide(path)));
    const Answer answer = current->m_answers.value(question, {ERROR_UNKNOWN_COMPONENT, QString()});
    if (!answer.path.isNull())
        writeText(answer.path, path, *pathLength);
    *pathLength = static_cast<DWORD>(answer.path.size()); // as the installer leaves it
    return static_cast<UINT>(answer.status);
}
