#pragma once

#include "parameterfile.h"

#include <QStringList>

// The keywords of a zml file, read from its section ZERKMAIL.
class MailParameters : public ParameterFile
{
public:
    // Reads the zml file at `path`; see ParameterFile for a file that cannot be opened.
    explicit MailParameters(const QString &path);

    // Flags: on for the single character 1, j or y in either case, off for everything else.
    [[nodiscard]] bool send() const; // the mail goes out without a window
    [[nodiscard]] bool debug() const; // the log is written
    [[nodiscard]] bool htmlBody() const; // body lines are separated by "<BR>"
    [[nodiscard]] bool readReceipt() const; // a read receipt is asked for

    // "(no subject)" when the key is missing; an empty value is an empty subject.
    [[nodiscard]] QString subject() const;

    // The addresses of the numbered keys TO1, CC1, BCC1 and on, as they stand, each exact text once
    // for a kind. The first missing or empty number ends a list.
    [[nodiscard]] QStringList to() const;
    [[nodiscard]] QStringList cc() const;
    [[nodiscard]] QStringList bcc() const;

    // The paths of ATTACHMENT1 and on that exist, relative ones resolved beside the zml file, each once.
    // The others are left out without a word; a directory counts as existing.
    [[nodiscard]] QStringList attachments() const;

    // The token that stands for a line break in BODY; ";" when the key is missing, empty for none.
    [[nodiscard]] QString newLine() const;

    // The path of the body file, resolved beside the zml file; empty when there is none.
    [[nodiscard]] QString bodyFile() const;

    // The note text: BODY with its line break tokens resolved, then the lines of BODYZ1 and on, then
    // those of the body file, joined by a line feed or, with htmlBody(), by "<BR>". `error` is written
    // only when the body file cannot be opened, and then holds the text for the user.
    [[nodiscard]] QString body(QString &error) const;

    // Keywords that a zml file may hold and that have no effect on the mail: Simple MAPI has no place
    // for them.
    [[nodiscard]] bool useSignature() const;
    [[nodiscard]] bool deliveryReceipt() const;
    [[nodiscard]] int priority() const; // 1 to 5; 3 when missing, 1 for text that is no number
    [[nodiscard]] QString fromAddress() const; // FROMADDRESS, or else its old spelling FROMADRESS
    [[nodiscard]] QStringList replyTo() const; // REPLY-TO1 and on, then REPLYTO1 and on

private:
    [[nodiscard]] bool flag(const QString &key) const;
    [[nodiscard]] QStringList numberedValues(const QString &prefix) const;
    [[nodiscard]] QStringList addresses(const QString &prefix) const;
};
