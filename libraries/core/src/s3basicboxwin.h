#pragma once

#include <QMessageBox>
#include <QString>

// The native message box behind s3BasicBox::fatal: what the platform is asked for and what its answer
// means. It uses no Qt widget and may be called on any thread, also when the process is failing.
class s3BasicBoxWin
{
public:
    // Shows the native box without an owner window, blocks until it is answered and gives the button, a
    // QMessageBox::StandardButton as an integer; 0 for an answer that is no known button. See
    // platform/nativebox.h for what stands in for it on a platform that has none.
    static int show(QMessageBox::Icon icon, const QString &title, const QString &text, int buttons,
                    int defaultButton);

    // The style of the native box in the values of platform::NativeBoxStyle. An unknown kind has no icon,
    // an unknown set of buttons a single OK, a default button outside the set adds nothing. Always
    // topmost; with right-to-left reading in such a language. Traced under test flag 334.
    [[nodiscard]] static unsigned int boxType(int icon, int buttons, int defaultButton);

    // The button of a result identifier (platform::NativeBoxResult); NoButton for any other number.
    // Traced under test flag 334.
    [[nodiscard]] static int result2Button(int result);
};
