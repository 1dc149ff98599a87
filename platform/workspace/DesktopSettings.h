#pragma once

#include <QString>

#include <optional>

namespace platform {

/// The text (also of an enumeration; "true" and "false" for a boolean) under `key` of the GSettings
/// schema `schema`, as set now; absent when the schema is not installed or has no such text.
std::optional<QString> desktopSetting(const char* schema, const char* key);

}  // namespace platform
