#include "s3operatingsystemlinux.h"

#include <QHash>

using namespace Qt::StringLiterals;

namespace
{

// The value of an assignment without the quotes and escapes of a shell.
QString unquoted(QStringView value)
{
    const bool isQuoted = value.size() >= 2 && value.front() == value.back()
        && (value.front() == u'"' || value.front() == u'\'');
    const bool hasEscapes = !isQuoted || value.front() == u'"';
    if (isQuoted)
        value = value.mid(1, value.size() - 2);
    QString text;
    text.reserve(value.size());
    for (qsizetype index = 0; index < value.size(); ++index) {
        if (hasEscapes && value.at(index) == u'\\' && index + 1 < value.size())
            ++index;
        text += value.at(index);
    }
    return text;
}

// The assignments of an os-release file; the last one of a name counts.
QHash<QString, QString> assignments(const QByteArray &osRelease)
{
    QHash<QString, QString> values;
    const QString content = QString::fromUtf8(osRelease);
    for (const QStringView line : QStringView(content).split(u'\n')) {
        const QStringView text = line.trimmed();
        const qsizetype sign = text.indexOf(u'=');
        if (sign > 0 && text.front() != u'#')
            values.insert(text.left(sign).toString(), unquoted(text.mid(sign + 1)));
    }
    return values;
}

}

s3OperatingSystemLinux::s3OperatingSystemLinux(const QByteArray &osRelease, const QString &kernelVersion,
                                               const QString &hardware)
    : m_hardware(hardware)
{
    const QHash<QString, QString> values = assignments(osRelease);
    const auto value = [&](const QString &name) {
        return values.value(name);
    };

    m_description = value(u"PRETTY_NAME"_s);
    if (m_description.isEmpty())
        m_description = QString(value(u"NAME"_s) + u' ' + value(u"VERSION"_s)).trimmed();
    if (m_description.isEmpty())
        m_description = u"Linux"_s;
    if (!kernelVersion.isEmpty())
        m_description += u" Kernel "_s + kernelVersion;

    // What a distribution without an ID counts as, by os-release(5).
    const QString id = value(u"ID"_s);
    m_shortName = id.isEmpty() ? u"linux"_s : QString(id + value(u"VERSION_ID"_s));
    m_edition = value(u"VARIANT"_s);
}
