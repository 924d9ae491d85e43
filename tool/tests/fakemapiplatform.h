#pragma once

#include "mapiplatform.h"

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QMap>
#include <QPair>
#include <QString>
#include <QStringList>

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <vector>

// Registry data as bytes.
[[nodiscard]] QByteArray registryText(const QString &text); // with the terminating null
[[nodiscard]] QByteArray registryTextWithoutEnd(const QString &text);
[[nodiscard]] QByteArray registryTexts(const QStringList &texts); // REG_MULTI_SZ
[[nodiscard]] QByteArray registryNumber(quint32 number);

[[nodiscard]] QString fromWide(const WCHAR *text);
// Points into `text`.
[[nodiscard]] LPWSTR toWide(const QString &text);

// A whole system that a test scripts: registry, libraries, installer, files, code pages, heap. Every call is
// written down in `calls`, a short line each; handles and memory are watched. One at a time.
class FakeMapiPlatform final : public MapiPlatform
{
public:
    FakeMapiPlatform();
    ~FakeMapiPlatform() override;
    Q_DISABLE_COPY_MOVE(FakeMapiPlatform)

    struct Answer {
        LONG status = ERROR_SUCCESS;
        QString path; // what the installer writes, also with a failure
    };

    // Adds a key such as "HKCU\Software" or a value in it; an empty `name` is the default value.
    void addKey(const QString &path);
    void addValue(const QString &path, const QString &name, DWORD type, const QByteArray &data);

    // Adds a library with entries; the address of an entry may be anything.
    void addLibrary(const QString &name, const QHash<QByteArray, void *> &symbols = {});
    // Adds "MSI.DLL" that answers `answers`, by "language\NT existing", "language default" and so on; what
    // is not named is an unknown component.
    void addInstaller(const QHash<QString, Answer> &answers);

    // What is wrong with the handles and the memory: not given back, given back twice, unknown.
    [[nodiscard]] QStringList mistakes() const;
    // The lines of `calls` that start with `word`.
    [[nodiscard]] QStringList callsOf(const QString &word) const;

    QStringList calls;
    QStringList modules; // loaded in the process
    QStringList files; // on the search path
    QString directory = QStringLiteral("C:\\windows\\system32");
    std::optional<DWORD> directoryResult; // instead of the right one
    QHash<QString, QString> expansions;
    std::optional<DWORD> expansionResult;
    DWORD userLcid = 1031;
    DWORD systemLcid = 2055;
    bool terminalServer = false;
    // Gives the status of a registry read, by "name" or "name:size"; called each time, 0 goes on.
    std::function<LONG(const QString &read)> registryFault;
    QHash<QString, QString> shortPaths;
    std::optional<DWORD> shortPathResult;
    DWORD error = 0; // of a short path or conversion that fails
    int failingConversion = 0; // the call of that number fails, counted from 1
    int failingAllocation = 0;
    int allocations = 0;
    bool logMemory = false; // write down allocate and release too

    LONG openKey(HKEY parent, const WCHAR *name, DWORD access, HKEY &key) override;
    void closeKey(HKEY key) override;
    LONG queryValue(HKEY key, const WCHAR *name, DWORD *type, void *data, DWORD &size) override;
    LONG enumerateValue(HKEY key, DWORD index, WCHAR *name, DWORD &nameLength, void *data,
                        DWORD &size) override;
    bool isModuleLoaded(const WCHAR *name) override;
    HMODULE loadLibrary(const WCHAR *name) override;
    void *symbol(HMODULE library, const char *name) override;
    void freeLibrary(HMODULE library) override;
    bool fileExists(const char *name) override;
    DWORD systemDirectory(WCHAR *buffer, DWORD length) override;
    DWORD expandEnvironment(const WCHAR *text, WCHAR *buffer, DWORD length) override;
    DWORD userLanguage() override;
    DWORD systemLanguage() override;
    bool verifyVersionSuite(WORD suiteMask, DWORD typeMask, BYTE condition) override;
    int wideCharToMultiByte(UINT codePage, DWORD flags, const WCHAR *text, char *buffer, int size,
                            BOOL *usedDefault) override;
    DWORD shortPathName(const WCHAR *path, WCHAR *buffer, DWORD length) override;
    DWORD lastError() override;
    void *allocate(std::size_t size) override;
    void release(void *memory) override;

private:
    struct Value {
        QString name;
        DWORD type = 0;
        QByteArray data;
    };
    struct Handle {
        QString name;
    };

    static UINT provideComponent(const WCHAR *category, const WCHAR *qualifier, DWORD installMode,
                                 WCHAR *path, DWORD *pathLength);

    Handle *openHandle(const QString &name);
    void closeHandle(const void *handle);
    QString handleName(const void *handle) const;

    QMap<QString, QList<Value>> m_keys;
    QHash<QString, QHash<QByteArray, void *>> m_libraries;
    QHash<QString, Answer> m_answers;
    std::vector<std::unique_ptr<Handle>> m_handles;
    std::set<const void *> m_open;
    std::set<const void *> m_memory;
    QStringList m_mistakes;
    int m_conversions = 0;
    DWORD m_lastError = 0;
};
