#include "mailclients.h"

#include <windows.h>

#include <QUuid>

#include <array>
#include <cstring>

using namespace Qt::StringLiterals;

namespace mailclients
{

namespace
{

const QString clientsPath = u"Software\\Clients\\Mail"_s;
const QString modulesPath = u"SOFTWARE\\Microsoft\\Windows Messaging Subsystem\\MSMapiApps"_s;

const wchar_t *wide(const QString &text)
{
    return reinterpret_cast<const wchar_t *>(text.utf16());
}

HKEY root(Hive hive)
{
    return hive == Hive::User ? HKEY_CURRENT_USER : HKEY_LOCAL_MACHINE;
}

void write(HKEY key, const QString &path, const QString &value, DWORD type, const void *data, qsizetype size)
{
    if (RegSetKeyValueW(key, wide(path), wide(value), type, data, DWORD(size)) != ERROR_SUCCESS)
        qFatal("cannot write %s into the registry", qPrintable(path));
}

void writeText(HKEY key, const QString &path, const QString &value, DWORD type, const QString &text)
{
    write(key, path, value, type, text.utf16(), (text.size() + 1) * qsizetype(sizeof(wchar_t)));
}

// A REG_MULTI_SZ: the utf16() of a QString adds the last of the closing zeros.
void writeTexts(HKEY key, const QString &path, const QString &value, const QStringList &texts)
{
    writeText(key, path, value, REG_MULTI_SZ, texts.join(QChar(u'\0')) + QChar(u'\0'));
}

void remove(HKEY key, const QString &path)
{
    const LONG result = RegDeleteTreeW(key, wide(path));
    if (result != ERROR_SUCCESS && result != ERROR_FILE_NOT_FOUND)
        qFatal("cannot remove %s from the registry", qPrintable(path));
}

QString clientPath(const QString &client)
{
    return clientsPath + u'\\' + client;
}

// The digits of a GUID with each of its parts turned round, the last two pair by pair: Windows Installer's
// names of keys.
QString packedGuid(const QString &guid)
{
    QString digits = guid;
    digits.remove(u'{').remove(u'}').remove(u'-');
    QString packed;
    qsizetype position = 0;
    for (const int length : {8, 4, 4, 2, 2, 2, 2, 2, 2, 2, 2}) {
        const QString part = digits.mid(position, length);
        for (auto digit = part.crbegin(); digit != part.crend(); ++digit)
            packed += *digit;
        position += length;
    }
    return packed;
}

// A GUID in the 20 characters that it has in Windows Installer's descriptors: its four 32-bit numbers, each
// with the lowest of its five digits to the base 85 in front.
QString shortGuid(const QString &guid)
{
    static constexpr QLatin1String digits(
        "!$%&'()*+,-.0123456789=?@ABCDEFGHIJKLMNOPQRSTUVWXYZ[]^_`abcdefghijklmnopqrstuvwxyz{}~");
    const QUuid uuid(guid);
    std::array<quint32, 4> numbers = {};
    const GUID native = uuid;
    std::memcpy(numbers.data(), &native, sizeof numbers);
    QString text;
    for (quint32 number : numbers) {
        for (int digit = 0; digit < 5; ++digit, number /= 85)
            text += QChar(digits[number % 85]);
    }
    return text;
}

}

void setSystemLibrary(const QString &loadOrder)
{
    writeText(HKEY_CURRENT_USER, u"Software\\Wine\\AppDefaults\\ostrelle.exe\\DllOverrides"_s, u"mapi32"_s,
              REG_SZ, loadOrder);
}

void removeAll()
{
    remove(HKEY_CURRENT_USER, clientsPath);
    remove(HKEY_LOCAL_MACHINE, clientsPath);
    remove(HKEY_LOCAL_MACHINE, modulesPath);
}

void setDefault(Hive hive, const QString &client)
{
    writeText(root(hive), clientsPath, QString(), REG_SZ, client);
}

void setText(Hive hive, const QString &client, const QString &value, const QString &text)
{
    writeText(root(hive), clientPath(client), value, REG_SZ, text);
}

void setExpandableText(Hive hive, const QString &client, const QString &value, const QString &text)
{
    writeText(root(hive), clientPath(client), value, REG_EXPAND_SZ, text);
}

void setTexts(Hive hive, const QString &client, const QString &value, const QStringList &texts)
{
    writeTexts(root(hive), clientPath(client), value, texts);
}

void setNumber(Hive hive, const QString &client, const QString &value, quint32 number)
{
    write(root(hive), clientPath(client), value, REG_DWORD, &number, sizeof number);
}

void setUserNumber(const QString &path, const QString &value, quint32 number)
{
    write(HKEY_CURRENT_USER, path, value, REG_DWORD, &number, sizeof number);
}

void listModule(const QString &module, const QString &client)
{
    writeText(HKEY_LOCAL_MACHINE, modulesPath, module, REG_SZ, client);
}

void publishComponent(const QString &category, const QString &qualifier, const QString &file)
{
    const QString product = u"{5C4EB7B2-6A0D-4C93-9C7E-2F3A4B5C6D71}"_s;
    const QString component = u"{0B7D9A15-3E42-4F68-8A9B-C1D2E3F40516}"_s;
    const QString feature = u"Mail"_s;
    const QString userData
        = u"Software\\Microsoft\\Windows\\CurrentVersion\\Installer\\UserData\\S-1-5-18\\"_s;
    const DWORD installed = 1;
    write(HKEY_LOCAL_MACHINE, userData + u"Products\\"_s + packedGuid(product) + u"\\InstallProperties"_s,
          u"WindowsInstaller"_s, REG_DWORD, &installed, sizeof installed);
    writeText(HKEY_LOCAL_MACHINE, userData + u"Products\\"_s + packedGuid(product) + u"\\Features"_s, feature,
              REG_SZ, shortGuid(component));
    writeText(HKEY_LOCAL_MACHINE, userData + u"Components\\"_s + packedGuid(component), packedGuid(product),
              REG_SZ, file);
    const QString classes = u"Software\\Classes\\Installer\\"_s;
    writeText(HKEY_LOCAL_MACHINE, classes + u"Products\\"_s + packedGuid(product), u"ProductName"_s, REG_SZ,
              u"Ostrelle recorder"_s);
    writeText(HKEY_LOCAL_MACHINE, classes + u"Features\\"_s + packedGuid(product), feature, REG_SZ,
              QString());
    writeTexts(HKEY_LOCAL_MACHINE, classes + u"Components\\"_s + packedGuid(category), qualifier,
               {shortGuid(product) + feature + u'>' + shortGuid(component)});
}

void unpublishComponents(const QString &category)
{
    remove(HKEY_LOCAL_MACHINE, u"Software\\Classes\\Installer\\Components\\"_s + packedGuid(category));
}

}
