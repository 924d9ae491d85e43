#pragma once

#include <QMessageBox>
#include <QString>

// All that the program says to the user. The functions show a modal box with the default title and
// give the button pressed. Main thread.
class s3BasicBox : public QMessageBox
{
    Q_OBJECT

public:
    s3BasicBox(QMessageBox::Icon icon, const QString &title, const QString &text,
               QMessageBox::StandardButtons buttons, QWidget *parent = nullptr);

    // Shows `text`; an empty title stands for the default one. Gives the QMessageBox::StandardButton pressed.
    static int show(QMessageBox::Icon icon, const QString &title, const QString &text, int buttons,
                    int defaultButton, bool fatal);

    static int information(const QString &text);
    static int warning(const QString &text);
    static int critical(const QString &text);
};
