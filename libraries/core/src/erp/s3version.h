#pragma once

#include <QList>
#include <QString>

#include <compare>

// A version number of the ERP system: major, minor, service and patch, where -1 stands for a part that is
// absent. A value; thread-safe as any value is.
//
// There are two notations: the dotted one, "2101.8.16.3", and the product's own, "2101r8n16p03": a major of
// four digits, "r", a minor of one digit, then optionally "n" with the service and "p" with the patch in two
// digits each, and it may be padded on the right with "-" to 12 characters.
class s3Version
{
public:
    // 0, 0 and no further parts, which is no valid version.
    s3Version() = default;
    s3Version(qint32 majorPart, qint32 minorPart, qint32 servicePart, qint32 patchPart);

    // Reads the dotted notation. A part that is no number is 0, parts behind the fourth are ignored,
    // missing ones stay as in a default value.
    explicit s3Version(const QString &dotted);

    // Reads the product's own notation. What is not laid out as told above does not end in an error: a part
    // that is not understood is 0.
    [[nodiscard]] static s3Version fromZerkVersion(const QString &version);

    // The product's own notation without padding; empty for an invalid value. A patch of 0 is not written,
    // and a patch is written also where the service is absent.
    [[nodiscard]] QString toZerkVersion() const;

    // The numbers of numberList joined by "."; empty for an invalid value.
    [[nodiscard]] QString toString() const;

    // Major and minor, then the service if it is there, then the patch if both are there.
    [[nodiscard]] QList<qint32> numberList() const;

    // Whether this is at least 0, 0, 0 without a patch. A default value is below that, because a shorter
    // list of numbers is the smaller one.
    [[nodiscard]] bool isValid() const;

    [[nodiscard]] qint32 major() const { return m_major; }
    [[nodiscard]] qint32 minor() const { return m_minor; }
    [[nodiscard]] qint32 service() const { return m_service; }
    [[nodiscard]] qint32 patch() const { return m_patch; }

    // Compare the lists of numbers: the first difference decides, and a list that is the beginning of the
    // other one is the smaller.
    friend bool operator==(const s3Version &left, const s3Version &right);
    friend std::strong_ordering operator<=>(const s3Version &left, const s3Version &right);

    // Whether `version`, in the product's own notation, is at least 2100r0, 2101r8n01, 2200r0.
    [[nodiscard]] static bool isAtLeast2100(const QString &version);
    [[nodiscard]] static bool isAtLeast2101r8n1(const QString &version);
    [[nodiscard]] static bool isAtLeast2200(const QString &version);

private:
    qint32 m_major = 0;
    qint32 m_minor = 0;
    qint32 m_service = -1;
    qint32 m_patch = -1;
};

// The version of this client, "5.5.0".
[[nodiscard]] QString s3ClientVersion();

// The form in which the client names its version to a server: padded with "-" to 12 characters, with the
// mark of its generation behind it.
[[nodiscard]] QString s3ClientIdentification();
