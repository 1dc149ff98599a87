#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

/// The picture of one deck's track as a file for programs that show it by its URL and remember
/// pictures by their URLs: every picture has a name of its own. Only the latest is kept.
///
/// It lies in a folder of this object's alone below the session's (or, without one, the cache
/// folder), which no other user may enter. The folder is locked while the object lives, so that
/// what a crashed program left of its own is told from what another one uses.
class ArtworkFile {
  public:
    /// Removes what earlier programs left.
    ArtworkFile();
    ~ArtworkFile();
    ArtworkFile(const ArtworkFile&) = delete;
    ArtworkFile& operator=(const ArtworkFile&) = delete;

    /// The "file:" URL of a file with the encoded `picture`; empty without a picture or when it
    /// can't be written.
    QString urlOf(const std::optional<QByteArray>& picture);

  private:
    bool makeFolder();

    QByteArray base_;      // of all such folders
    QByteArray folder_;    // empty before the first picture
    int descriptor_ = -1;  // the folder's, which holds the lock
    std::optional<QByteArray> picture_;
    QString url_;
};
