#include "s3numberformat.h"

#include <QLocale>

#include <utility>

using namespace Qt::StringLiterals;

s3NumberFormat::s3NumberFormat(QString decimalPoint, QString groupSeparator, QString alternativeDecimalPoint,
                               QString alternativeGroupSeparator)
    : m_decimalPoint(std::move(decimalPoint))
    , m_groupSeparator(std::move(groupSeparator))
    , m_alternativeDecimalPoint(std::move(alternativeDecimalPoint))
    , m_alternativeGroupSeparator(std::move(alternativeGroupSeparator))
{
}

QString s3NumberFormat::decimalPoint(s3NumberClassFlags flags) const
{
    if ((flags & s3NumberClassReal) == 0)
        return {};
    if ((flags & s3NumberClassLanguageIndependent) != 0)
        return u"."_s;
    return (flags & s3NumberClassLanguageDependentDecimalPoint) != 0 ? m_alternativeDecimalPoint
                                                                     : m_decimalPoint;
}

QString s3NumberFormat::groupSeparator(s3NumberClassFlags flags) const
{
    if ((flags & s3NumberClassNumber) == 0 || (flags & s3NumberClassLanguageIndependent) != 0)
        return {};
    constexpr s3NumberClassFlags languageReal
        = s3NumberClassReal | s3NumberClassLanguageDependentDecimalPoint;
    if ((flags & languageReal) == languageReal) {
        return (flags & s3NumberClassLanguageDependentGroupSeparator) != 0 ? m_alternativeGroupSeparator
                                                                           : QString();
    }
    return m_groupSeparator;
}

QString s3NumberFormat::effectiveGroupSeparator() const
{
    if (m_decimalPoint == m_alternativeDecimalPoint)
        return m_alternativeGroupSeparator;
    if (m_groupSeparator.isEmpty() && m_decimalPoint == QLocale::c().decimalPoint())
        return QLocale::c().groupSeparator();
    return m_groupSeparator;
}

QString s3NumberFormat::toString() const
{
    return u"{\"%1\", \"%2\", \"%3\", \"%4\"}"_s.arg(m_decimalPoint, m_groupSeparator,
                                                     m_alternativeDecimalPoint, m_alternativeGroupSeparator);
}
