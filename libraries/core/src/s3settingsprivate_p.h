#pragma once

#include "s3settingsprivate.h"

class s3File;

// What s3SettingsPrivate::updateFormat does on `file`, which is closed; without its last trace line. Here
// `checkOnly` has to be set where `alreadyConverted` is.
bool s3UpdateSettingsFormat(s3File &file, bool checkOnly, bool alreadyConverted, bool &formatOk,
                            QString &errorStringFileAccess);
