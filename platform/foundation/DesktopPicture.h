#pragma once

#include <QString>

#include <optional>

namespace platform {

// Where each desktop says which picture it shows. All of them give the path of a file, which may
// not be there, and nothing where the desktop shows no picture.

std::optional<QString> gnomeDesktopPicture(int screen);
std::optional<QString> cinnamonDesktopPicture(int screen);
std::optional<QString> mateDesktopPicture(int screen);

}  // namespace platform
