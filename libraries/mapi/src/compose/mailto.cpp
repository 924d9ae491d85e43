#include "compose/mailto.h"

#include "headertext.h"
#include "text.h"

namespace mapi
{

namespace
{

std::string mailboxList(const std::vector<Mailbox> &mailboxes, bool names)
{
    std::string out;
    for (const Mailbox &mailbox : mailboxes) {
        if (!out.empty())
            out.push_back(',');
        out += percentEncoded(names ? mailboxText(mailbox) : mailbox.address, "@");
    }
    return out;
}

// Collects "?key=value&key=value".
class Query
{
public:
    explicit Query(Argument &link) : m_link(link) { }

    void add(std::string_view key, const std::string &encoded, const std::string &shown)
    {
        if (encoded.empty())
            return;
        const std::string start = std::string(m_first ? "?" : "&").append(key).append("=");
        m_link.text += start + encoded;
        m_link.shown += start + shown;
        m_first = false;
    }
    void add(std::string_view key, const std::string &encoded) { add(key, encoded, encoded); }

private:
    Argument &m_link;
    bool m_first = true;
};

}

Argument mailtoLink(const Mail &mail, const MailtoOptions &options)
{
    Argument link("mailto:" + mailboxList(mail.to, options.names));
    Query query(link);
    query.add("cc", mailboxList(mail.cc, options.names));
    query.add("bcc", mailboxList(mail.bcc, options.names));
    query.add("subject", percentEncoded(mail.subject));
    query.add("body", percentEncoded(withLineEnds(mail.noteText, "\r\n")), hiddenText(mail.noteText));
    for (const std::string &file : options.files)
        query.add(options.fileKey, percentEncoded(file, "/"));
    return link;
}

}
