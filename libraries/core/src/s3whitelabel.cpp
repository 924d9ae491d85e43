#include "s3whitelabel.h"

#include "s3fileinfo.h"
#include "s3language.h"
#include "s3settings.h"
#include "s3string.h"

using namespace Qt::StringLiterals;

namespace
{

QString pathOf(const s3Settings &settings, const QString &key)
{
    const QString path = settings.read(key);
    return path.isEmpty() ? path : s3FileInfo(path).absoluteFilePath();
}

}

void s3WhiteLabel::load(const QString &filePath)
{
    const QString baseName = filePath.isEmpty() ? QString() : s3FileInfo(filePath).baseName();
    if (baseName.isEmpty() || baseName.startsWith(u"zerkgui"_s))
        return;
    m_name = baseName;
    m_active = true;
    read(filePath);
    if (m_productName.isEmpty())
        m_productName = m_name;
    else if (s3String(m_productName).isBlank())
        m_productName.clear();
}

void s3WhiteLabel::read(const QString &filePath)
{
    s3Settings settings(filePath,
                        s3Settings::LoadFlags(s3Settings::LoadFlag::copyToTempDir)
                            | s3Settings::LoadFlag::readOnlyOrig,
                        u"general"_s);
    if (!settings.isOk())
        return;
    m_productName = settings.read(u"productName"_s);
    m_defaultWindowTitle = settings.read(u"defaultWindowTitle"_s);
    settings.setSection(u"application"_s);
    m_organizationName = settings.read(u"organizationName"_s);
    m_applicationName = settings.read(u"applicationName"_s);
    m_iconName = pathOf(settings, u"iconName"_s);
    settings.setSection(u"login"_s);
    m_loginImageName = pathOf(settings, u"imageName"_s);
    m_loginImageNameRtl = pathOf(settings, u"imageNameRtl"_s);
    settings.setSection(u"toolbar"_s);
    m_toolbarLogoName = pathOf(settings, u"logoName"_s);
    settings.setSection(u"aboutDialog"_s);
    m_aboutImageName = pathOf(settings, u"imageName"_s);
}

QString s3WhiteLabel::replaceProductName(const QString &text) const
{
    static const QString product = u"Zerk"_s;
    if (!m_active)
        return text;
    QString result = text;
    if (m_productName.isEmpty()) {
        result.remove(product + u' ');
        result.remove(u' ' + product);
    }
    return result.replace(product, m_productName);
}

QString s3WhiteLabel::organizationName() const
{
    return m_organizationName.isEmpty() ? m_name : m_organizationName;
}

QString s3WhiteLabel::applicationName() const
{
    return m_applicationName.isEmpty() ? m_name : m_applicationName;
}

QString s3WhiteLabel::defaultWindowTitle() const
{
    if (!m_defaultWindowTitle.isEmpty())
        return m_defaultWindowTitle;
    return m_productName.isEmpty() ? m_name : m_productName;
}

QString s3WhiteLabel::loginImageName() const
{
    return s3IsRightToLeft() ? m_loginImageNameRtl : m_loginImageName;
}

s3WhiteLabel *s3WhiteLabelInstance()
{
    return s3WhiteLabel::singletonInstance();
}
