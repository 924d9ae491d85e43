#pragma once

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <clocale>
#include <libintl.h>

// How a program tells gettext that LANGUAGE has changed (GNU gettext manual, "gettext grok").
extern "C" int _nl_msg_cat_cntr;

// The catalogues of installed packages, as gettext itself finds and reads them.
namespace gettextlocale
{

// The folder with "de/LC_MESSAGES/...": the catalogues fetched by scripts/fetch-catalogues, or else those
// of the machine.
inline QString folder()
{
    const QString fetched = QStringLiteral(OSTRELLE_CATALOGUES);
    return QDir(fetched).exists() ? fetched : QStringLiteral("/usr/share/locale");
}

// The catalogue of a domain for a locale name, "de" or "zh_CN".
inline QString cataloguePath(const QByteArray &domain, const QString &localeName)
{
    return folder() + QStringLiteral("/%1/LC_MESSAGES/%2.mo").arg(localeName, QString::fromUtf8(domain));
}

// Lets dgettext answer in this language and in UTF-8, whatever locales the machine has: the variable LANGUAGE
// decides in every locale but "C", and newer C libraries count "C.UTF-8" as that, so it gets another name.
// False when the C library refuses.
inline bool select(const QByteArray &domain, const QString &localeName)
{
    static const QTemporaryDir locales;
    QFile::link(QStringLiteral("/usr/lib/locale/C.utf8"), locales.filePath(QStringLiteral("xx_XX.utf8")));
    qputenv("LOCPATH", QFile::encodeName(locales.path()));
    qputenv("LANGUAGE", localeName.toUtf8());
    ++_nl_msg_cat_cntr;
    return setlocale(LC_ALL, "xx_XX.UTF-8") != nullptr
        && bindtextdomain(domain.constData(), QFile::encodeName(folder()).constData()) != nullptr
        && bind_textdomain_codeset(domain.constData(), "UTF-8") != nullptr;
}

}
