#pragma once

#include <QString>

#include <optional>

namespace platform {

class DisplayOptions;

/// The desktop session that the program runs in.
class Workspace {
  public:
    /// The number of the main screen.
    static constexpr int kMainScreen = 0;

    static Workspace& sharedWorkspace();

    /// The path of the picture that the running desktop shows on `screen` (0 is the main screen,
    /// further ones where the desktop keeps a picture for each), as its settings say now. Absent
    /// when the desktop shows none, is unknown, or names a file that is not there.
    std::optional<QString> desktopImageURLForScreen(int screen = kMainScreen) const;

    /// Whether the desktop asks for less motion, and for more contrast. The first call looks at its
    /// settings; where the desktop portal runs, its word counts too, a moment later.
    bool accessibilityDisplayShouldReduceMotion() const;
    bool accessibilityDisplayShouldIncreaseContrast() const;
    /// The notification that one of the two has changed; its object is the workspace.
    static const QString& accessibilityDisplayOptionsDidChange();

    /// Shows the file at `path` in the desktop's file manager, or its folder where the file manager
    /// can't point at files. Returns at once; nothing happens where there is no file manager.
    void activateFileViewerSelectingURL(const QString& path) const;

  private:
    Workspace() = default;
    const DisplayOptions& displayOptions() const;
};

}  // namespace platform
