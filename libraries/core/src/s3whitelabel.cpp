#include "s3whitelabel.h"

#include "s3fileinfo.h"

using namespace Qt::StringLiterals;

void s3WhiteLabel::load(const QString &filePath)
{
    const QString baseName = filePath.isEmpty() ? QString() : s3FileInfo(filePath).baseName();
    if (baseName.isEmpty() || baseName.startsWith(u"zerkgui"_s))
        return;
    m_name = baseName;
    m_active = true;
}

s3WhiteLabel *s3WhiteLabelInstance()
{
    return s3WhiteLabel::singletonInstance();
}
