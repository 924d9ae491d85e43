#pragma once

#include <QString>

// The exact description of the operating system for reports. What cannot be found out is left out; nothing
// fails. The description is put together at the first call and kept; the hardware identifier and the edition
// are asked for at each call. Any thread.
class s3OperatingSystem
{
public:
    s3OperatingSystem() = delete;

    // Windows: "Windows 10 (Workstation) Version 22H2 Build 19045.2364". Linux: the distribution's own name
    // and the kernel.
    [[nodiscard]] static QString description();

    // The name for programs: "Windows10", "WindowsServer 2016"; Linux: "debian12". Empty for a Windows that
    // is not known.
    [[nodiscard]] static QString shortName();

    [[nodiscard]] static QString hardwareIdentifier();

    // Windows: the edition's id and the suites that are there, joined by ", ". Linux: the variant that the
    // distribution says it is.
    [[nodiscard]] static QString edition();

    // The head of diagnostics: description and hardware identifier, a line feed, and a line with the edition
    // if there is one.
    [[nodiscard]] static QString fullDescription();

    // Whether this is Windows 10 in its first form or later; one of build 17600 or later; Windows 11 or
    // later. Servers from 2016 on count for the first, from 2019 on for the second. False elsewhere.
    [[nodiscard]] static bool isGeneration1OrLater();
    [[nodiscard]] static bool isGeneration2OrLater();
    [[nodiscard]] static bool isGeneration3OrLater();
};

// What stands behind s3OperatingSystem on one platform. Read-only once constructed.
class s3OperatingSystemPrivate
{
public:
    s3OperatingSystemPrivate() = default;
    virtual ~s3OperatingSystemPrivate();
    Q_DISABLE_COPY_MOVE(s3OperatingSystemPrivate)

    // Empty here.
    [[nodiscard]] virtual QString hardwareIdentifier() const;
    [[nodiscard]] virtual QString edition() const;

    // False here.
    [[nodiscard]] virtual bool isGeneration1OrLater() const;
    [[nodiscard]] virtual bool isGeneration2OrLater() const;
    [[nodiscard]] virtual bool isGeneration3OrLater() const;

    [[nodiscard]] QString description() const { return m_description; }
    [[nodiscard]] QString shortName() const { return m_shortName; }

    // The head of diagnostics, see s3OperatingSystem::fullDescription.
    [[nodiscard]] QString fullDescription() const;

protected:
    QString m_description;
    QString m_shortName;
};
