#pragma once

namespace platform {

/// Whether the session has a message bus. It is never started for the asking.
bool hasSessionBus();

}  // namespace platform
