#include "sendmail.h"

#include "mailparameters.h"
#include "protocol/messagelog.h"
#include "simplemapi.h"

using namespace Qt::StringLiterals;

namespace
{

constexpr int MailHandedOver = 0;
constexpr int MailFailed = -1;

}

int sendMail(const MailParameters &parameters, QString &error)
{
    return sendMail(parameters, error, sendThroughSimpleMapi);
}

int sendMail(const MailParameters &parameters, QString &error, const MailMessage::SubmitFunction &submit)
{
    const QString body = parameters.body(error);
    if (!error.isEmpty())
        return MailFailed;

    MailMessage message;
    message.setSubject(parameters.subject());
    message.setTo(parameters.to());
    message.setCc(parameters.cc());
    message.setBcc(parameters.bcc());
    message.setBody(body);
    message.setAttachments(parameters.attachments());

    const bool readReceipt = parameters.readReceipt();
    const bool sendDirectly = parameters.send();
    message.send(sendDirectly, readReceipt, error, submit);
    if (error.isEmpty()) {
        logDebug() << u"Sending email OK"_s;
        return MailHandedOver;
    }
    error = u"Couldn't send email: %1"_s.arg(error);
    logDebug() << error;
    return MailFailed;
}
