#include "platform/folders.h"

#include <QDir>
#include <QFileInfo>

#include <windows.h>

#include <shlobj.h>

#include <memory>

namespace platform
{

namespace
{

struct TaskMemoryDeleter {
    void operator()(wchar_t *text) const { CoTaskMemFree(text); }
};

class ShellFolders final : public Folders
{
public:
    QString knownFolder(const QUuid &id, bool create) override
    {
        static_assert(KF_FLAG_CREATE == 0x8000);
        const GUID folder = id;
        const DWORD flags = create ? DWORD(KF_FLAG_CREATE) : 0;
        wchar_t *text = nullptr;
        const HRESULT result = SHGetKnownFolderPath(folder, flags, nullptr, &text);
        // Also after a failure the text is the caller's to free.
        const std::unique_ptr<wchar_t, TaskMemoryDeleter> owner(text);
        return SUCCEEDED(result) && text != nullptr ? QString::fromWCharArray(text) : QString();
    }

    QString findProgram(const QString &) override { return QString(); }
};

}

Folders &folders()
{
    static ShellFolders real;
    return real;
}

bool makePrivateDirectory(const QString &path)
{
    return QDir().mkdir(path);
}

bool isOwnDirectory(const QString &path)
{
    const QFileInfo info(path);
    return info.isDir() && !info.isSymLink() && !info.isJunction();
}

}
