#pragma once

#include <pthread.h>
#include <sys/types.h>

namespace platform::audio {

/// The kernel's ID of a running thread of this process, asked for from any other; 0 when unknown.
pid_t kernelThreadId(pthread_t thread);

/// Asks that the thread runs before all ordinary ones, in real time: by this process's own right
/// or, where it has none, of the session's priority service. False when refused; nothing is lost
/// then but safety under load. May take some milliseconds.
bool askForRealTime(pid_t thread);

}  // namespace platform::audio
