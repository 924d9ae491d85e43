#pragma once

#include <QByteArray>
#include <QString>

#include <chrono>

// Appends `record` to the report file `fileName`, whose directory is made when it is missing. Other processes
// that append at the same time are waited for, for `lockWait` at most, so that records stay whole; behind
// that, and on a file system without locks, it is appended all the same. Whether all of it was written; an
// empty name is no place. Nothing is removed: a record that did not fit on the disk stays cut. On the crash
// path any thread.
bool deliverReport(const QByteArray &record, const QString &fileName, std::chrono::milliseconds lockWait);
