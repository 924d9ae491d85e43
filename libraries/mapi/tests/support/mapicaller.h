#pragma once

#include <mapitypes.h>

#include <QByteArray>
#include <QList>
#include <QString>

#include <vector>

#include <dlfcn.h>

// The library under test, opened as a client opens it.
class MapiLibrary
{
public:
    MapiLibrary() : m_handle(dlopen(OSTRELLE_MAPI_LIBRARY, RTLD_NOW | RTLD_LOCAL))
    {
        m_wide = reinterpret_cast<LPMAPISENDMAILW>(symbol("MAPISendMailW"));
        m_narrow = reinterpret_cast<LPMAPISENDMAIL>(symbol("MAPISendMail"));
    }

    [[nodiscard]] void *symbol(const char *name) const
    {
        return m_handle != nullptr ? dlsym(m_handle, name) : nullptr;
    }
    [[nodiscard]] void *handle() const { return m_handle; }
    [[nodiscard]] LPMAPISENDMAILW wide() const { return m_wide; }
    [[nodiscard]] LPMAPISENDMAIL narrow() const { return m_narrow; }

private:
    void *m_handle;
    LPMAPISENDMAILW m_wide = nullptr;
    LPMAPISENDMAIL m_narrow = nullptr;
};

// A mail as a test writes it down. A null QString becomes a null pointer.
struct TestMail {
    struct Recipient {
        ULONG recipientClass;
        QString name;
        QString address;
    };
    struct File {
        QString path;
        QString name;
    };

    QString subject = {};
    QString noteText = {};
    QList<Recipient> recipients = {};
    QList<File> files = {};
    QList<Recipient> originator = {}; // none or one
    FLAGS flags = 0;

    // As the tool does it: the same text is name and address.
    TestMail &add(ULONG recipientClass, const QString &address)
    {
        recipients.append({recipientClass, address, address});
        return *this;
    }
    // As the tool does it: backslashes, no name.
    TestMail &attach(const QString &path)
    {
        files.append({QString(path).replace(QLatin1Char('/'), QLatin1Char('\\')), QString()});
        return *this;
    }

    [[nodiscard]] ULONG sendWithFlags(const MapiLibrary &library, FLAGS callFlags) const
    {
        std::vector<MapiRecipDescW> recips;
        for (const Recipient &recipient : recipients)
            recips.push_back(wideRecipient(recipient));
        std::vector<MapiFileDescW> fileDescs;
        for (const File &file : files)
            fileDescs.push_back({0, 0, 0xFFFFFFFF, wide(file.path), wide(file.name), nullptr});
        std::vector<MapiRecipDescW> from;
        for (const Recipient &recipient : originator)
            from.push_back(wideRecipient(recipient));
        MapiMessageW message{0,
                             wide(subject),
                             wide(noteText),
                             nullptr,
                             nullptr,
                             nullptr,
                             flags,
                             from.empty() ? nullptr : from.data(),
                             ULONG(recips.size()),
                             recips.empty() ? nullptr : recips.data(),
                             ULONG(fileDescs.size()),
                             fileDescs.empty() ? nullptr : fileDescs.data()};
        return library.wide()(0, 0, &message, callFlags, 0);
    }

    [[nodiscard]] ULONG sendWide(const MapiLibrary &library, bool dialog) const
    {
        return sendWithFlags(library, dialog ? MAPI_LOGON_UI | MAPI_DIALOG : MAPI_LOGON_UI);
    }

private:
    static LPWSTR wide(const QString &text)
    {
        return text.isNull() ? nullptr : const_cast<LPWSTR>(reinterpret_cast<const char16_t *>(text.utf16()));
    }
    static MapiRecipDescW wideRecipient(const Recipient &recipient)
    {
        return {0, recipient.recipientClass, wide(recipient.name), wide(recipient.address), 0, nullptr};
    }
};
