#include "platform/nativebox.h"

#include <windows.h>

namespace platform
{

static_assert(BoxOk == MB_OK && BoxOkCancel == MB_OKCANCEL && BoxYesNoCancel == MB_YESNOCANCEL
              && BoxYesNo == MB_YESNO && BoxButtonMask == MB_TYPEMASK);
static_assert(BoxIconHand == MB_ICONHAND && BoxIconQuestion == MB_ICONQUESTION
              && BoxIconExclamation == MB_ICONEXCLAMATION && BoxIconAsterisk == MB_ICONASTERISK
              && BoxIconMask == MB_ICONMASK);
static_assert(BoxDefaultButton2 == MB_DEFBUTTON2 && BoxDefaultButton3 == MB_DEFBUTTON3
              && BoxDefaultMask == MB_DEFMASK && BoxTopmost == MB_TOPMOST && BoxRtlReading == MB_RTLREADING);
static_assert(BoxResultOk == IDOK && BoxResultCancel == IDCANCEL && BoxResultYes == IDYES
              && BoxResultNo == IDNO);

namespace
{

// The system takes a null character for the end.
QString withoutNulls(QString text)
{
    return text.replace(QChar::Null, QChar::ReplacementCharacter);
}

}

int showNativeBox(const QString &text, const QString &title, unsigned int style)
{
    return MessageBoxW(nullptr, reinterpret_cast<const wchar_t *>(withoutNulls(text).utf16()),
                       reinterpret_cast<const wchar_t *>(withoutNulls(title).utf16()), style);
}

}
