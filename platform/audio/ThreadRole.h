#pragma once

#include <QtGlobal>

namespace platform::audio {

/// What a thread is to the objects that threads share here without locks.
enum class ThreadRole {
    Main,      ///< Says what is wanted. Every thread that has taken no other role.
    Worker,    ///< Decodes ahead.
    Callback,  ///< Renders; on whichever thread the output has for it.
};

/// The calling thread's role. Debug builds hold each shared object's operations to it.
inline constinit thread_local ThreadRole threadRole = ThreadRole::Main;

/// Gives the calling thread a role for as long as it lives.
class InRole {
  public:
    explicit InRole(ThreadRole role) : before_(threadRole) { threadRole = role; }
    ~InRole() { threadRole = before_; }
    InRole(const InRole&) = delete;
    InRole& operator=(const InRole&) = delete;

  private:
    const ThreadRole before_;
};

/// Ends a debug build's program when a thread of another role calls.
inline void expectRole([[maybe_unused]] ThreadRole role) {
    Q_ASSERT(threadRole == role);
}

}  // namespace platform::audio
