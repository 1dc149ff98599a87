#pragma once

namespace platform {

/// Tells assistive technology, from now on, what the platform's own controls are and what they
/// show, where the toolkit can't know: a slider's value in words, a progress bar, a named group, a
/// picture. Calling it again changes nothing.
void installAccessibility();

}  // namespace platform
