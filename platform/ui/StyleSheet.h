#pragma once

namespace platform {

/// Gives the application its style: the bundle's style sheet, and the one for more contrast behind
/// it while the desktop asks for that.
void installStyleSheet();

}  // namespace platform
