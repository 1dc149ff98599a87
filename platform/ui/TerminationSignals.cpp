#include "platform/ui/TerminationSignals.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdint>

namespace platform {

namespace {

constexpr std::array kSignals = {SIGTERM, SIGINT, SIGHUP};

// What the handler wakes the event loop by; -1 while nobody listens.
volatile std::sig_atomic_t wakeup = -1;

// In a handler hardly anything may be called; a write may (signal-safety(7)).
extern "C" void wakeEventLoop(int) {
    const int before = errno;
    const std::uint64_t one = 1;
    [[maybe_unused]] const ssize_t written = ::write(wakeup, &one, sizeof one);
    errno = before;
}

void handle(int signal, void (*handler)(int)) {
    struct sigaction current = {};
    // What the program was started with to be ignored (by nohup, say) stays ignored.
    if (::sigaction(signal, nullptr, &current) != 0 || current.sa_handler == SIG_IGN) return;
    struct sigaction action = {};
    action.sa_handler = handler;
    action.sa_flags = static_cast<int>(SA_RESTART | SA_RESETHAND);
    sigemptyset(&action.sa_mask);
    ::sigaction(signal, &action, nullptr);
}

}  // namespace

TerminationSignals::TerminationSignals(std::function<void()> terminate) {
    const int file = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (file < 0) return;
    wakeup = file;
    notifier_ = std::make_unique<QSocketNotifier>(file, QSocketNotifier::Read);
    QObject::connect(notifier_.get(), &QSocketNotifier::activated, notifier_.get(),
                     [file, terminate = std::move(terminate)] {
                         std::uint64_t count = 0;
                         if (::read(file, &count, sizeof count) == sizeof count) terminate();
                     });
    for (const int signal : kSignals)
        handle(signal, wakeEventLoop);
}

TerminationSignals::~TerminationSignals() {
    if (!notifier_) return;
    for (const int signal : kSignals)
        handle(signal, SIG_DFL);
    const int file = static_cast<int>(notifier_->socket());
    notifier_.reset();
    wakeup = -1;
    ::close(file);
}

}  // namespace platform
