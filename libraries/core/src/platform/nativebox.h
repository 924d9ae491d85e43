#pragma once

#include <QString>

namespace platform
{

// Styles of a native box, to be or-ed. Names and values are those of MessageBoxW (winuser.h).
enum NativeBoxStyle : unsigned int {
    BoxOk = 0x0,
    BoxOkCancel = 0x1,
    BoxYesNoCancel = 0x3,
    BoxYesNo = 0x4,
    BoxButtonMask = 0xF,
    BoxIconHand = 0x10,
    BoxIconQuestion = 0x20,
    BoxIconExclamation = 0x30,
    BoxIconAsterisk = 0x40,
    BoxIconMask = 0xF0,
    BoxDefaultButton2 = 0x100,
    BoxDefaultButton3 = 0x200,
    BoxDefaultMask = 0xF00,
    BoxTopmost = 0x40000,
    BoxRtlReading = 0x100000
};

// Identifiers of the buttons of a native box (IDOK, IDCANCEL, IDYES, IDNO of winuser.h).
enum NativeBoxResult : int { BoxResultOk = 1, BoxResultCancel = 2, BoxResultYes = 6, BoxResultNo = 7 };

// Shows a box with `text` and `title` in the given style, without an owner window, blocks until it is
// answered and gives the button's identifier; 0 when the system could not show it. The text is plain:
// nothing in it is taken as markup. Any thread.
//
// Windows: MessageBoxW.
//
// Linux: the first helper of the path that works, out of zenity, kdialog and xmessage, if a display is
// named by DISPLAY or WAYLAND_DISPLAY (xmessage needs the former). It is started without a shell, and
// neither text nor title can become an option of it. A text of more than 20,000 characters is cut in the
// box and written to standard error in full. Closing the window answers as Escape does on Windows: Cancel
// where there is such a button, OK where that is the only one, and No in a box of Yes and No. The preset
// button is passed on as far as the helper has a way for it. Where no helper could show the box, title
// and text are written to standard error and the answer is the preset button.
[[nodiscard]] int showNativeBox(const QString &text, const QString &title, unsigned int style);

}
