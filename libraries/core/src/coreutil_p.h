#pragma once

#include "platform/process.h"
#include "platform/versioninfo.h"

#include <QString>

// The decisions of coreutil over a given platform.

// See s3MemoryReport and s3ProcessMemoryText.
bool s3MemoryReportOf(platform::Processes &processes, QString &text);
[[nodiscard]] QString s3ProcessMemoryTextOf(platform::Processes &processes, platform::ProcessHandle process);

// The text `key` of the first translation in `info`; empty when there is none. A text without its closing
// null is a broken assumption.
[[nodiscard]] QString s3VersionText(const platform::VersionInfo &info, const QString &key);
