#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

/// The picture of one deck's track as a file in the cache folder, for programs that show it by its
/// URL and remember pictures by their URLs: every picture has a name of its own. Only the latest is
/// kept.
class ArtworkFile {
  public:
    /// `prefix` tells the deck's files from others; what an earlier run left of them goes.
    explicit ArtworkFile(const QString& prefix);
    ~ArtworkFile();
    ArtworkFile(const ArtworkFile&) = delete;
    ArtworkFile& operator=(const ArtworkFile&) = delete;

    /// The "file:" URL of a file with the encoded `picture`; empty without a picture or when it
    /// can't be written.
    QString urlOf(const std::optional<QByteArray>& picture);

  private:
    void removeAll() const;

    QString folder_;
    QString prefix_;
    std::optional<QByteArray> picture_;
    QString url_;
};
