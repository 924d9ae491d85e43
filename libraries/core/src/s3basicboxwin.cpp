#include "s3basicboxwin.h"

#include "platform/nativebox.h"
#include "s3language.h"
#include "test/s3trace.h"

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace
{

struct StyleOf {
    int boxValue;
    unsigned int style;
};

struct ButtonOf {
    int result;
    int button;
};

constexpr std::array iconStyles{
    StyleOf{QMessageBox::Critical, platform::BoxIconHand},
    StyleOf{QMessageBox::Warning, platform::BoxIconExclamation},
    StyleOf{QMessageBox::Information, platform::BoxIconAsterisk},
    StyleOf{QMessageBox::Question, platform::BoxIconQuestion},
};

// Looked up by the whole set, so any other combination is not here and gets a single OK.
constexpr std::array buttonStyles{
    StyleOf{QMessageBox::Ok, platform::BoxOk},
    StyleOf{QMessageBox::Ok | QMessageBox::Cancel, platform::BoxOkCancel},
    StyleOf{QMessageBox::Yes | QMessageBox::No, platform::BoxYesNo},
    StyleOf{QMessageBox::Yes | QMessageBox::No | QMessageBox::Cancel, platform::BoxYesNoCancel},
};

constexpr std::array resultButtons{
    ButtonOf{platform::BoxResultOk, QMessageBox::Ok},
    ButtonOf{platform::BoxResultCancel, QMessageBox::Cancel},
    ButtonOf{platform::BoxResultYes, QMessageBox::Yes},
    ButtonOf{platform::BoxResultNo, QMessageBox::No},
};

template <class Table> unsigned int styleOf(const Table &table, int boxValue)
{
    const auto *const row = std::ranges::find_if(
        table, [boxValue](const StyleOf &entry) { return entry.boxValue == boxValue; });
    return row != table.end() ? row->style : 0;
}

unsigned int defaultButtonStyle(unsigned int buttonStyle, int buttons, int defaultButton)
{
    if ((buttons & defaultButton) == 0)
        return 0;
    if (defaultButton == QMessageBox::No)
        return platform::BoxDefaultButton2;
    if (defaultButton == QMessageBox::Cancel)
        return buttonStyle == platform::BoxOkCancel ? platform::BoxDefaultButton2
                                                    : platform::BoxDefaultButton3;
    return 0;
}

}

int s3BasicBoxWin::show(QMessageBox::Icon icon, const QString &title, const QString &text, int buttons,
                        int defaultButton)
{
    return result2Button(platform::showNativeBox(text, title, boxType(icon, buttons, defaultButton)));
}

unsigned int s3BasicBoxWin::boxType(int icon, int buttons, int defaultButton)
{
    const unsigned int buttonStyle = styleOf(buttonStyles, buttons);
    unsigned int type = styleOf(iconStyles, icon) | buttonStyle
        | defaultButtonStyle(buttonStyle, buttons, defaultButton) | platform::BoxTopmost;
    if (s3IsRightToLeft())
        type |= platform::BoxRtlReading;
    s3Trace(334, [type] { return s3TraceText(u"s3BasicBoxWin::boxType"_s).argument(u"type"_s, type); });
    return type;
}

int s3BasicBoxWin::result2Button(int result)
{
    const auto *const row = std::ranges::find_if(
        resultButtons, [result](const ButtonOf &entry) { return entry.result == result; });
    const int button = row != resultButtons.end() ? row->button : QMessageBox::NoButton;
    s3Trace(334, [button] {
        return s3TraceText(u"s3BasicBoxWin::result2Button"_s).argument(u"button"_s, button);
    });
    return button;
}
