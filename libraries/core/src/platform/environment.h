#pragma once

#include <QString>

#include <optional>

// The environment of this process, one variable at a time. No lock of ours guards it: changes belong
// to one thread, and none may read a variable while another one changes it.
namespace platform
{

// The text of variable `name`, which is not empty; no value when it is not set. An empty text is
// told from that.
[[nodiscard]] std::optional<QString> environmentVariable(const QString &name);

// Sets `name`, which is not empty, for this process and the ones it starts from now on. An empty
// `value` removes the variable, as _wputenv_s of Windows does. A name that the system refuses, such as
// one with "=" in it, changes nothing.
void setEnvironmentVariable(const QString &name, const QString &value);

}
