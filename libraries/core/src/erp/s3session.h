#pragma once

#include "s3numberformat.h"
#include "s3singleton.h"

#include <QDateTime>
#include <QMutex>
#include <QString>

// The record of the connection between a client and its ERP server: who and where the server is, its version
// and directories, the client's flags and the access token of the single sign-on. A program without a
// connection leaves it as constructed.
//
// Most of it is plain values, whose meaning lies in the client; numbered names stand for values that nothing
// here reads. All of it belongs to the main thread except setAccessTokenSSO, setAccessTokenSSOValidUntil,
// accessTokenSSO and accessTokenSSOValidUntil, which any thread may call.
class s3Session final : public s3Singleton<s3Session>
{
public:
    // Gives the current time.
    using Clock = QDateTime (*)();

    s3Session() = default;
    Q_DISABLE_COPY_MOVE(s3Session)

    // Gives every value its default again, for a new login in the same process. The number format and flag15
    // stay as they are.
    void reset();

    // The plain values. Of these, the server's version and build info and what follows from the version are
    // set by setServerVersionAndBuildInfo, the presence of the number format by setNumberFormat.
    // setCodeTestsEnabled: whether s3DisplayClass treats codes beginning with "TAZ" like those of s3IsCodeA.
    [[nodiscard]] QString text1() const { return m_values.m_text1; }
    void setText1(const QString &value) { m_values.m_text1 = value; }
    [[nodiscard]] bool flag1() const { return m_values.m_flag1; }
    void setFlag1(bool value) { m_values.m_flag1 = value; }
    [[nodiscard]] bool flag2() const { return m_values.m_flag2; }
    void setFlag2(bool value) { m_values.m_flag2 = value; }
    [[nodiscard]] bool flag3() const { return m_values.m_flag3; }
    void setFlag3(bool value) { m_values.m_flag3 = value; }
    [[nodiscard]] bool flag4() const { return m_values.m_flag4; }
    void setFlag4(bool value) { m_values.m_flag4 = value; }
    [[nodiscard]] bool flag5() const { return m_values.m_flag5; }
    void setFlag5(bool value) { m_values.m_flag5 = value; }
    [[nodiscard]] bool flag6() const { return m_values.m_flag6; }
    void setFlag6(bool value) { m_values.m_flag6 = value; }
    [[nodiscard]] bool codeTestsEnabled() const { return m_values.m_codeTestsEnabled; }
    void setCodeTestsEnabled(bool value) { m_values.m_codeTestsEnabled = value; }
    [[nodiscard]] bool flag8() const { return m_values.m_flag8; }
    void setFlag8(bool value) { m_values.m_flag8 = value; }
    [[nodiscard]] qint32 number1() const { return m_values.m_number1; }
    void setNumber1(qint32 value) { m_values.m_number1 = value; }
    [[nodiscard]] QString serverName() const { return m_values.m_serverName; }
    void setServerName(const QString &value) { m_values.m_serverName = value; }
    [[nodiscard]] qint32 number2() const { return m_values.m_number2; }
    void setNumber2(qint32 value) { m_values.m_number2 = value; }
    [[nodiscard]] bool flag9() const { return m_values.m_flag9; }
    void setFlag9(bool value) { m_values.m_flag9 = value; }
    [[nodiscard]] bool flag10() const { return m_values.m_flag10; }
    void setFlag10(bool value) { m_values.m_flag10 = value; }
    [[nodiscard]] QString text2() const { return m_values.m_text2; }
    void setText2(const QString &value) { m_values.m_text2 = value; }
    void setHostName(const QString &value) { m_values.m_hostName = value; }
    [[nodiscard]] QString text3() const { return m_values.m_text3; }
    void setText3(const QString &value) { m_values.m_text3 = value; }
    [[nodiscard]] QString serverVersion() const { return m_values.m_serverVersion; }
    [[nodiscard]] QString text4() const { return m_values.m_text4; }
    void setText4(const QString &value) { m_values.m_text4 = value; }
    [[nodiscard]] QString serverBuildInfo() const { return m_values.m_serverBuildInfo; }
    [[nodiscard]] QString serverInfo3() const { return m_values.m_serverInfo3; }
    void setServerInfo3(const QString &value) { m_values.m_serverInfo3 = value; }
    [[nodiscard]] bool isVersion2101r8n1OrLater() const { return m_values.m_isVersion2101r8n1OrLater; }
    [[nodiscard]] bool isVersion2200OrLater() const { return m_values.m_isVersion2200OrLater; }
    [[nodiscard]] QString text5() const { return m_values.m_text5; }
    void setText5(const QString &value) { m_values.m_text5 = value; }
    [[nodiscard]] bool flag11() const { return m_values.m_flag11; }
    [[nodiscard]] QString text6() const { return m_values.m_text6; }
    void setText6(const QString &value) { m_values.m_text6 = value; }
    [[nodiscard]] QString text7() const { return m_values.m_text7; }
    void setText7(const QString &value) { m_values.m_text7 = value; }
    [[nodiscard]] QString text8() const { return m_values.m_text8; }
    void setText8(const QString &value) { m_values.m_text8 = value; }
    [[nodiscard]] QString text9() const { return m_values.m_text9; }
    void setText9(const QString &value) { m_values.m_text9 = value; }
    [[nodiscard]] QString clientName() const { return m_values.m_clientName; }
    void setClientName(const QString &value) { m_values.m_clientName = value; }
    [[nodiscard]] QString text10() const { return m_values.m_text10; }
    void setText10(const QString &value) { m_values.m_text10 = value; }
    [[nodiscard]] QString guiDirectory() const { return m_values.m_guiDirectory; }
    [[nodiscard]] QString serverDirectory() const { return m_values.m_serverDirectory; }
    [[nodiscard]] QString zoneName() const { return m_values.m_zoneName; }
    void setZoneName(const QString &value) { m_values.m_zoneName = value; }
    [[nodiscard]] QString text11() const { return m_values.m_text11; }
    void setText11(const QString &value) { m_values.m_text11 = value; }
    [[nodiscard]] QString text12() const { return m_values.m_text12; }
    [[nodiscard]] qint32 number3() const { return m_values.m_number3; }
    [[nodiscard]] QString text13() const { return m_values.m_text13; }
    void setText13(const QString &value) { m_values.m_text13 = value; }
    [[nodiscard]] QString text14() const { return m_values.m_text14; }
    void setText14(const QString &value) { m_values.m_text14 = value; }
    [[nodiscard]] QString text15() const { return m_values.m_text15; }
    void setText15(const QString &value) { m_values.m_text15 = value; }
    [[nodiscard]] bool flag12() const { return m_values.m_flag12; }
    void setFlag12(bool value) { m_values.m_flag12 = value; }
    [[nodiscard]] bool flag13() const { return m_values.m_flag13; }
    void setFlag13(bool value) { m_values.m_flag13 = value; }
    [[nodiscard]] bool flag14() const { return m_values.m_flag14; }
    void setFlag14(bool value) { m_values.m_flag14 = value; }
    [[nodiscard]] bool flag15() const { return m_values.m_flag15; }
    void setFlag15(bool value) { m_values.m_flag15 = value; }
    [[nodiscard]] bool hasNumberFormat() const { return m_values.m_hasNumberFormat; }
    [[nodiscard]] bool preferLocal1() const { return m_values.m_preferLocal1; }
    void setPreferLocal1(bool value) { m_values.m_preferLocal1 = value; }
    [[nodiscard]] bool preferLocal2() const { return m_values.m_preferLocal2; }
    void setPreferLocal2(bool value) { m_values.m_preferLocal2 = value; }
    [[nodiscard]] bool preferLocal3() const { return m_values.m_preferLocal3; }
    void setPreferLocal3(bool value) { m_values.m_preferLocal3 = value; }
    [[nodiscard]] bool preferLocalFiles() const { return m_values.m_preferLocalFiles; }
    void setPreferLocalFiles(bool value) { m_values.m_preferLocalFiles = value; }
    [[nodiscard]] s3NumberFormat numberFormat() const { return m_values.m_numberFormat; }

    // Can only be switched on; reset() switches it off.
    void setFlag11() { m_values.m_flag11 = true; }

    // The two belong together.
    void setText12(const QString &text, qint32 number);

    // The server's way to write numbers; hasNumberFormat() then tells whether it has both decimal points.
    void setNumberFormat(const s3NumberFormat &format);

    [[nodiscard]] bool hasClientName() const { return !m_values.m_clientName.isEmpty(); }

    // The name of the workstation, "???" when it was never set. With test flag 248 it has a suffix of 160
    // characters, which shows how reports cope with a very long name.
    [[nodiscard]] QString hostName() const;

    // Stores both texts and derives from the version, in the product's own notation (s3Version), which
    // generation the server is of and whether local files are preferred: always from 2200 on, before that
    // only m_preferLocalFiles and only with the experimental feature "preferLocalFilesIfIsLocalInstall".
    //
    // Without a version the third word of the build info must be one in the product's notation; it is an
    // assertion failure if it is not. The rest is derived all the same.
    void setServerVersionAndBuildInfo(const QString &version, const QString &buildInfo);

    // The directories of the server and of this client's program, with slashes in either direction; stored
    // with forward slashes.
    void setServerDirectory(const QString &directory);
    void setGuiDirectory(const QString &directory);

    // `relativePath` below the server's or the program's directory, with forward slashes; alone while that
    // directory is empty or when it is absolute.
    [[nodiscard]] QString serverFilePath(const QString &relativePath) const;
    [[nodiscard]] QString guiFilePath(const QString &relativePath) const;

    // `path` with forward slashes and without the program's directory and "/" in front. An empty
    // directory is in front of everything, so a leading "/" goes then.
    [[nodiscard]] QString guiRelativePath(const QString &path) const;

    // Where to read the file `path` of the program: a resource (":/...") as it stands, anything else below
    // the program's directory. With `allowLocal` an absolute path, and a relative one that exists in the
    // working directory, stay as they are. With forward slashes.
    [[nodiscard]] QString resolveGuiPath(const QString &path, bool allowLocal) const;

    // Stores the token for the single sign-on, which is valid for `seconds` from now. Any thread.
    void setAccessTokenSSO(const QString &token, qint32 seconds);
    void setAccessTokenSSOValidUntil(const QDateTime &validUntil);
    [[nodiscard]] QString accessTokenSSO() const;
    [[nodiscard]] QDateTime accessTokenSSOValidUntil() const;

    // Whether the token is valid for more than five seconds from now, so that it does not run out on its way.
    // Traced under the test flags 314 and 318. Reads the date without the lock: an answer that is late by one
    // refresh does no harm.
    [[nodiscard]] bool accessTokenSSOCanBeUsed() const;

    // Replaces the clock that the token is measured by; null gives back the system's, which counts whole
    // seconds. For tests, before there are workers.
    void setClock(Clock clock);

private:
    // All values with their defaults, so that reset() cannot miss one.
    struct Values {
        QString m_text1;
        bool m_flag1 = false;
        bool m_flag2 = false;
        bool m_flag3 = false;
        bool m_flag4 = false;
        bool m_flag5 = false;
        bool m_flag6 = false;
        bool m_codeTestsEnabled = false;
        bool m_flag8 = true;
        qint32 m_number1 = 65;
        QString m_serverName;
        qint32 m_number2 = 0;
        bool m_flag9 = false;
        bool m_flag10 = false;
        QString m_text2;
        QString m_hostName;
        QString m_text3;
        QString m_serverVersion;
        QString m_text4;
        QString m_serverBuildInfo;
        QString m_serverInfo3;
        bool m_isVersion2101r8n1OrLater = false;
        bool m_isVersion2200OrLater = false;
        QString m_text5;
        bool m_flag11 = false;
        QString m_text6;
        QString m_text7;
        QString m_text8;
        QString m_text9;
        QString m_clientName;
        QString m_text10;
        QString m_guiDirectory;
        QString m_serverDirectory;
        QString m_zoneName;
        QString m_text11;
        QString m_accessTokenSSO;
        QDateTime m_accessTokenSSOValidUntil;
        QString m_text12;
        qint32 m_number3 = -1;
        QString m_text13;
        QString m_text14;
        QString m_text15;
        bool m_flag12 = false;
        bool m_flag13 = false;
        bool m_flag14 = false;
        bool m_flag15 = false;
        bool m_hasNumberFormat = false;
        bool m_preferLocal1 = false;
        bool m_preferLocal2 = false;
        bool m_preferLocal3 = false;
        bool m_preferLocalFiles = false;
        s3NumberFormat m_numberFormat;
    };

    void derivePreferences();
    [[nodiscard]] static QDateTime systemTime();

    mutable QMutex m_mutex; // guards m_accessTokenSSO and m_accessTokenSSOValidUntil
    Values m_values;
    Clock m_clock = systemTime;
};

// The process-wide session. Never null.
[[nodiscard]] inline s3Session *s3SessionInstance()
{
    return s3Session::singletonInstance();
}
