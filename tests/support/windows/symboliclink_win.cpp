#include "ostrelletest/symboliclink.h"

#include <QDir>
#include <QFileInfo>

#include <windows.h>

bool makeSymbolicLink(const QString &target, const QString &link)
{
    // SYMBOLIC_LINK_FLAG_DIRECTORY and ..._ALLOW_UNPRIVILEGED_CREATE; older headers lack the second.
    const DWORD flags = (QFileInfo(target).isDir() ? 0x1U : 0x0U) | 0x2U;
    const QString nativeTarget = QDir::toNativeSeparators(target);
    const QString nativeLink = QDir::toNativeSeparators(link);
    return CreateSymbolicLinkW(reinterpret_cast<const wchar_t *>(nativeLink.utf16()),
                               reinterpret_cast<const wchar_t *>(nativeTarget.utf16()), flags)
        && QFileInfo(link).isSymbolicLink();
}
