#pragma once

#include <QMessageBox>
#include <QRect>
#include <QString>
#include <QStringList>

class QLabel;

// All that the program says to the user goes through `show` or one of its fronts.
//
// There are two ways of showing a text, and two of not showing it. An ordinary box is a QMessageBox; a
// fatal one is the platform's native box, which needs no working Qt. A critical text goes to the log
// stream "error" instead when that stream is open, so that an unattended run does not block. And where
// nobody can see a box (platform::screenAvailable) the text goes to standard error.
//
// Kinds of box are QMessageBox::Icon values; buttons and results are QMessageBox::StandardButton values
// passed as plain integers.
//
// Threads: a fatal box may be shown from any thread, everything else belongs to the main thread.
class s3BasicBox : public QMessageBox
{
    Q_OBJECT

public:
    // No icon, empty title and text, no buttons. `parent` may be null.
    explicit s3BasicBox(QWidget *parent = nullptr);

    // A box of fixed size. With a `parent` it takes over the font of the parent's window and is modal to
    // that window only. In a right-to-left layout the text stands at the reading side.
    s3BasicBox(QMessageBox::Icon icon, const QString &title, const QString &text,
               QMessageBox::StandardButtons buttons, QWidget *parent = nullptr);

    ~s3BasicBox() override;
    Q_DISABLE_COPY_MOVE(s3BasicBox)

    // Shows `text` modally and gives the button pressed; 0 when the text went to the log stream.
    //
    // An empty `title` stands for the default one: the brand's window title if a brand is active, else
    // the translation of "Zerk", and the application's name where there is no such translation.
    // `defaultButton` may be 0 (none). `fatal` asks for the native box; test flag 335 turns it on, 336
    // off, 334 traces.
    //
    // Without a screen the text, rich text turned to plain, is written to standard error and the answer
    // is `defaultButton` if it is one of `buttons`, else the first of `buttons` (Ok before all others).
    static int show(QMessageBox::Icon icon, const QString &title, const QString &text, int buttons,
                    int defaultButton, bool fatal);

    // The fronts: the default title, one Ok button (fatalQuestion: the buttons given), result as of show.
    static int information(const QString &text);
    static int warning(const QString &text);
    static int critical(const QString &text);
    static int fatal(const QString &text);
    static int fatalQuestion(const QString &text, int buttons, int defaultButton);

    // Sets plain text: the lines, with an empty line before and behind them.
    void setPlainLines(const QStringList &lines);
    void setPlainLines(const QString &line);

    // Sets rich text: the lines joined by "<br>", one "<br>" before and two behind them. The lines are
    // HTML already, nothing is escaped.
    void setRichLines(const QStringList &lines);
    void setRichLines(const QString &line);

    // The label with the box's text: the child that Qt names "qt_msgbox_label". Null if there is none.
    // Owned by the box.
    [[nodiscard]] QLabel *textLabel() const;

    // Gives the text label the width of the text's longest line, at most nine tenths of the screen, so
    // that the text wraps only beyond that. Only for the text formats PlainText and RichText; with any
    // other, AutoText included, the label's minimum width becomes 0 and Qt's own sizing holds.
    void updateTextLabelMinimumWidth();

    // The part of the box's screen that windows may use; empty while the box has no window on a screen.
    [[nodiscard]] QRect availableScreenGeometry() const;

protected:
    // Fixes the width of the box where the label's minimum width needs more than the new one. Leaves out
    // QMessageBox's handling, which would compute a width of its own. `event` may be null.
    void resizeEvent(QResizeEvent *event) override;

    void showEvent(QShowEvent *event) override;
};
