#include "s3file.h"

#include "s3string.h"

s3File::s3File(const QString &fileName) : QFile(s3String(fileName).toForwardSlashes()) { }
