#include "platform/audio/ThreadPriority.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QVariant>

#include <sched.h>
#include <sys/resource.h>

#include <algorithm>
#include <ctime>

namespace platform::audio {

namespace {

// Modest, as sound servers use it: above all ordinary threads, below the kernel's own.
constexpr int kRealTimePriority = 5;
// The service refuses threads that could hold a processor for longer without a pause.
constexpr rlim_t kLongestBurstMicroseconds = 200'000;

// https://github.com/heftig/rtkit, org.freedesktop.RealtimeKit1.xml
bool askService(pid_t thread) {
    const QString connectionName = QStringLiteral("thread-priority");
    const QString service = QStringLiteral("org.freedesktop.RealtimeKit1");
    bool granted = false;
    {
        const auto bus = QDBusConnection::connectToBus(QDBusConnection::SystemBus, connectionName);
        if (bus.isConnected()) {
            QDBusMessage call = QDBusMessage::createMethodCall(
                service, QStringLiteral("/org/freedesktop/RealtimeKit1"), service,
                QStringLiteral("MakeThreadRealtime"));
            call << QVariant::fromValue<qulonglong>(static_cast<qulonglong>(thread))
                 << QVariant::fromValue<uint>(kRealTimePriority);
            constexpr int kPatience = 500;
            granted = bus.call(call, QDBus::Block, kPatience).type() == QDBusMessage::ReplyMessage;
        }
    }
    QDBusConnection::disconnectFromBus(connectionName);
    return granted;
}

}  // namespace

pid_t kernelThreadId(pthread_t thread) {
    clockid_t clock = 0;
    if (pthread_getcpuclockid(thread, &clock) != 0) return 0;
    // A thread's CPU clock carries its ID, inverted, above three bits of flags (the kernel's
    // include/linux/posix-timers.h). Asking this way spares the thread itself a system call.
    return ~(clock >> 3);
}

bool askForRealTime(pid_t thread) {
    if (thread <= 0) return false;
    const sched_param parameters = {kRealTimePriority};
    if (sched_setscheduler(thread, SCHED_RR | SCHED_RESET_ON_FORK, &parameters) == 0) return true;
    rlimit burst = {};
    getrlimit(RLIMIT_RTTIME, &burst);
    burst.rlim_cur = burst.rlim_max = std::min(burst.rlim_max, kLongestBurstMicroseconds);
    if (setrlimit(RLIMIT_RTTIME, &burst) != 0) return false;
    return askService(thread);
}

}  // namespace platform::audio
