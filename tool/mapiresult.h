#pragma once

#include <QString>

// What the user reads for the Simple MAPI result code `result`, for example "User abort [1]"; an empty
// text for success. Codes without a word of their own read "MAPI error [n]". The number is shown as
// a signed 32-bit one.
[[nodiscard]] QString mapiResultText(quint32 result);
