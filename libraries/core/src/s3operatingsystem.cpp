#include "s3operatingsystem.h"

#include "platform/systemversion.h"

using namespace Qt::StringLiterals;

s3OperatingSystemPrivate::~s3OperatingSystemPrivate() = default;

QString s3OperatingSystemPrivate::hardwareIdentifier() const
{
    return QString();
}

QString s3OperatingSystemPrivate::edition() const
{
    return QString();
}

bool s3OperatingSystemPrivate::isGeneration1OrLater() const
{
    return false;
}

bool s3OperatingSystemPrivate::isGeneration2OrLater() const
{
    return false;
}

bool s3OperatingSystemPrivate::isGeneration3OrLater() const
{
    return false;
}

QString s3OperatingSystemPrivate::fullDescription() const
{
    QString text = description();
    const QString identifier = hardwareIdentifier();
    if (!identifier.isEmpty())
        text += u", "_s + identifier;
    text += u'\n';
    const QString editionText = edition();
    if (!editionText.isEmpty())
        text += u"        Edition: "_s + editionText + u'\n';
    return text;
}

QString s3OperatingSystem::description()
{
    return platform::operatingSystem().description();
}

QString s3OperatingSystem::shortName()
{
    return platform::operatingSystem().shortName();
}

QString s3OperatingSystem::hardwareIdentifier()
{
    return platform::operatingSystem().hardwareIdentifier();
}

QString s3OperatingSystem::edition()
{
    return platform::operatingSystem().edition();
}

QString s3OperatingSystem::fullDescription()
{
    return platform::operatingSystem().fullDescription();
}

bool s3OperatingSystem::isGeneration1OrLater()
{
    return platform::operatingSystem().isGeneration1OrLater();
}

bool s3OperatingSystem::isGeneration2OrLater()
{
    return platform::operatingSystem().isGeneration2OrLater();
}

bool s3OperatingSystem::isGeneration3OrLater()
{
    return platform::operatingSystem().isGeneration3OrLater();
}
