#include "s3basicbox.h"

#include "platform/display.h"
#include "platform/standarderror.h"
#include "protocol/s3logfilestream.h"
#include "s3basicbox_p.h"
#include "s3basicboxwin.h"
#include "s3testflags.h"
#include "s3translate.h"
#include "s3whitelabel.h"
#include "test/s3trace.h"

#include <QLabel>
#include <QResizeEvent>
#include <QScreen>
#include <QStyle>
#include <QTextDocument>
#include <QTextDocumentFragment>
#include <QTextStream>
#include <QWindow>

#include <algorithm>
#include <bit>

using namespace Qt::StringLiterals;

namespace
{

QString defaultTitle()
{
    const s3WhiteLabel *brand = s3WhiteLabelInstance();
    return s3DefaultBoxTitle(brand->isActive(), brand->defaultWindowTitle(),
                             [](const QString &text) { return s3Translate(text); });
}

// The answer of a box that nobody can answer. QMessageBox puts an Ok button into an empty set, and Ok
// has the lowest of all button bits.
int unattendedAnswer(int buttons, int defaultButton)
{
    if ((buttons & defaultButton) != 0)
        return defaultButton;
    return buttons != 0 ? 1 << std::countr_zero(static_cast<unsigned int>(buttons)) : QMessageBox::Ok;
}

// A box decides by itself whether its text is HTML; so does what stands in for it.
QString plainText(const QString &text)
{
    return Qt::mightBeRichText(text) ? QTextDocumentFragment::fromHtml(text).toPlainText() : text;
}

}

s3BasicBox::s3BasicBox(QWidget *parent) : QMessageBox(parent) { }

s3BasicBox::s3BasicBox(QMessageBox::Icon icon, const QString &title, const QString &text,
                       QMessageBox::StandardButtons buttons, QWidget *parent)
    : QMessageBox(icon, title, text, buttons, parent, Qt::Dialog | Qt::MSWindowsFixedSizeDialogHint)
{
    if (parent != nullptr) {
        if (const QWidget *parentWindow = parent->window())
            setFont(parentWindow->font());
        setWindowModality(Qt::WindowModal);
    }
    if (layoutDirection() == Qt::RightToLeft) {
        if (QLabel *label = textLabel())
            label->setAlignment(QStyle::visualAlignment(layoutDirection(), label->alignment()));
    }
}

s3BasicBox::~s3BasicBox() = default;

int s3BasicBox::show(QMessageBox::Icon icon, const QString &title, const QString &text, int buttons,
                     int defaultButton, bool fatal)
{
    const QString myTitle = title.isEmpty() ? defaultTitle() : title;
    const s3TestFlagsGUI *flags = s3TestFlagsInstance();
    if (!flags->isEmpty()) {
        if (flags->contains(335))
            fatal = true;
        if (flags->contains(336))
            fatal = false;
    }
    s3Trace(334, [&] {
        return s3TraceText(u"s3BasicBox::show"_s)
            .argument(u"isFatal"_s, fatal)
            .argument(u"myTitle"_s, myTitle)
            .argument(u"text"_s, text);
    });

    const QString errorStream = u"error"_s;
    if (icon == Critical && s3LogFileStream::isOpen(errorStream)) {
        *s3LogFileStream::stream(errorStream) << u"s3BasicBox::show"_s << u"(): "_s << text << Qt::endl;
        return 0;
    }
    if (fatal)
        return s3BasicBoxWin::show(icon, myTitle, text, buttons, defaultButton);
    if (!platform::screenAvailable()) {
        platform::writeToStandardError(plainText(text));
        return unattendedAnswer(buttons, defaultButton);
    }
    s3BasicBox box(icon, myTitle, text, QMessageBox::StandardButtons(buttons));
    box.setDefaultButton(QMessageBox::StandardButton(defaultButton));
    return box.exec();
}

int s3BasicBox::information(const QString &text)
{
    return show(Information, QString(), text, Ok, NoButton, false);
}

int s3BasicBox::warning(const QString &text)
{
    return show(Warning, QString(), text, Ok, NoButton, false);
}

int s3BasicBox::critical(const QString &text)
{
    return show(Critical, QString(), text, Ok, NoButton, false);
}

int s3BasicBox::fatal(const QString &text)
{
    return show(Critical, QString(), text, Ok, NoButton, true);
}

int s3BasicBox::fatalQuestion(const QString &text, int buttons, int defaultButton)
{
    return show(Critical, QString(), text, buttons, defaultButton, true);
}

void s3BasicBox::setPlainLines(const QStringList &lines)
{
    setTextFormat(Qt::PlainText);
    setText(u'\n' + lines.join(u'\n') + u'\n');
}

void s3BasicBox::setPlainLines(const QString &line)
{
    setPlainLines(QStringList(line));
}

void s3BasicBox::setRichLines(const QStringList &lines)
{
    setTextFormat(Qt::RichText);
    setText("<br>"_L1 + lines.join("<br>"_L1) + "<br><br>"_L1);
}

void s3BasicBox::setRichLines(const QString &line)
{
    setRichLines(QStringList(line));
}

QLabel *s3BasicBox::textLabel() const
{
    return findChild<QLabel *>(u"qt_msgbox_label"_s);
}

void s3BasicBox::updateTextLabelMinimumWidth()
{
    QLabel *label = textLabel();
    if (label == nullptr)
        return;
    int minimumWidth = 0;
    const int limit = availableScreenGeometry().width() * 9 / 10;
    if (limit > 0) {
        QTextDocument document;
        if (textFormat() == Qt::PlainText)
            document.setPlainText(text());
        else if (textFormat() == Qt::RichText)
            document.setHtml(text());
        if (!document.isEmpty()) {
            document.setDefaultFont(label->font());
            // One more, as the document's width is rounded and the label must not wrap its longest line.
            minimumWidth = std::min(document.size().toSize().width() + 1, limit);
        }
    }
    label->setMinimumWidth(minimumWidth);
    s3Trace(334, [minimumWidth] {
        return s3TraceText(u"s3BasicBox::updateTextLabelMinimumWidth"_s)
            .argument(u"minimumWidth"_s, minimumWidth);
    });
}

QRect s3BasicBox::availableScreenGeometry() const
{
    QRect availableGeometry;
    if (const QWidget *topLevel = window()) {
        if (const QWindow *handle = topLevel->windowHandle()) {
            if (const QScreen *screen = handle->screen())
                availableGeometry = screen->availableGeometry();
        }
    }
    s3Trace(334, [&availableGeometry] {
        return s3TraceText(u"s3BasicBox::availableScreenGeometry"_s)
            .argument(u"availableGeometry"_s, availableGeometry);
    });
    return availableGeometry;
}

void s3BasicBox::resizeEvent(QResizeEvent *event)
{
    if (event == nullptr || isHidden())
        return;
    if (const QLabel *label = textLabel()) {
        // The room beside icon and text: margins and spacing of the box.
        constexpr int surroundings = 50;
        const int neededWidth = iconPixmap().width() + label->minimumWidth() + surroundings;
        if (neededWidth > event->size().width())
            setFixedWidth(neededWidth);
    }
}

void s3BasicBox::showEvent(QShowEvent *event)
{
    updateTextLabelMinimumWidth();
    QMessageBox::showEvent(event);
}
