#include "s3basicbox.h"

#include "s3translate.h"

using namespace Qt::StringLiterals;

s3BasicBox::s3BasicBox(QMessageBox::Icon icon, const QString &title, const QString &text,
                       QMessageBox::StandardButtons buttons, QWidget *parent)
    : QMessageBox(icon, title, text, buttons, parent, Qt::Dialog | Qt::MSWindowsFixedSizeDialogHint)
{
}

int s3BasicBox::show(QMessageBox::Icon icon, const QString &title, const QString &text, int buttons,
                     int defaultButton, bool)
{
    s3BasicBox box(icon, title.isEmpty() ? s3Translate(u"Zerk"_s) : title, text,
                   QMessageBox::StandardButtons(buttons));
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
