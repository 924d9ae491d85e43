#pragma once

#include "mailmessage.h"

#include <QString>

class MailParameters;

// Composes the mail that `parameters` describe and submits it through Simple MAPI. Gives the process's
// exit code: 0 when the mail was handed over, otherwise -1. `error` is empty on entry; on -1 it holds
// the text for the user. Main thread; may block in the mail client's compose window.
[[nodiscard]] int sendMail(const MailParameters &parameters, QString &error);

// The same with another receiver than Simple MAPI.
[[nodiscard]] int sendMail(const MailParameters &parameters, QString &error,
                           const MailMessage::SubmitFunction &submit);
