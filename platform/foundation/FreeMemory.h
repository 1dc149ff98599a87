#pragma once

#include <QByteArray>
#include <QString>

namespace platform {

/// Bytes that this process may still take without the machine, the control group that it runs in
/// or its own limits (RLIMIT_AS, RLIMIT_DATA) running short: what is free or can be freed at once
/// now, without swapping. What does not tell sets no bound. `root` stands before /proc and /sys.
qint64 freeMemory(const QString& root = QString());

/// Has what is freed of a megabyte and more go back to the system at once, a song above all; to be
/// called before there are threads.
void returnFreedMemory();

}  // namespace platform
