#pragma once

#include "platform/media/Tags.h"

#include <QByteArray>
#include <QString>

#include <optional>

namespace platform {

/// A media file's tags: ID3v1, ID3v2.2 to 2.4, APE and MP4 atoms.
class MediaAsset {
  public:
    /// Opens the file at `path` and reads its texts. Never fails: what is no audio, a folder or
    /// unreadable is an asset without tags, a damaged file has those that could be read.
    static MediaAsset URLAssetWithURL(const QString& path);

    /// The texts that count, whatever number of tags the file has.
    const Tags& metadata() const { return tags_; }
    /// The encoded picture that counts, read from the file at each call; absent when there is none
    /// or it can no longer be read.
    std::optional<QByteArray> artwork() const;

  private:
    MediaAsset(QString path, Tags tags);

    QString path_;
    Tags tags_;
};

}  // namespace platform
