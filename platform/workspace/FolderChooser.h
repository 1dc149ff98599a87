#pragma once

#include <QString>

#include <functional>

namespace platform {

/// What the desktop's panel is to show.
struct FolderQuestion {
    QString title;
    QString folder;  ///< where it opens; empty for where the desktop likes
    /// The window that it belongs to, as the desktop portal names windows ("x11:" and a hexadecimal
    /// number); empty for none.
    QString parentWindow;
};

/// What became of it.
struct FolderAnswer {
    enum class Outcome {
        Confirmed,
        Cancelled,
        /// There is no such panel, it could not be shown, or it was closed without a word.
        Unavailable,
    };
    Outcome outcome = Outcome::Unavailable;
    QString path;  ///< the chosen folder where it was confirmed
};

/// Shows the desktop's own panel for choosing a folder, by the desktop portal's file chooser from
/// version 3 on. Returns at once; later calls `answered`, once: unavailable as soon as it is known
/// that nobody answers to the portal's name, after three seconds without a word at most. False
/// where there is no message bus: nothing is called then.
bool askForFolder(const FolderQuestion& question,
                  std::function<void(const FolderAnswer&)> answered);

}  // namespace platform
