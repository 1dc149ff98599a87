#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

#include <optional>

namespace platform {

/// One tag of a media file: a small value, cheap to copy.
class MetadataItem {
  public:
    /// A tag with the text `value` under the common key `key`.
    static MetadataItem text(const QString& key, const QString& value);
    /// The picture of the file at `path`, which is not read before it is asked for.
    static MetadataItem artwork(const QString& path);

    /// The tag's format-independent key: "title", "artist", "albumName" or "artwork"; absent for a
    /// tag that has none of these.
    std::optional<QString> commonKey() const { return key_; }
    /// The value as text; absent when it has no text form.
    std::optional<QString> stringValue() const { return text_; }
    /// The value as bytes (an encoded picture for "artwork"), read from the file when asked for;
    /// absent when it has none or can no longer be read.
    std::optional<QByteArray> dataValue() const;

  private:
    std::optional<QString> key_;
    std::optional<QString> text_;
    QString picturePath_;
};

/// The tags of a media file: ID3v1, ID3v2.2 to 2.4, APE and MP4 atoms.
class MediaAsset {
  public:
    /// Opens the file at `path`. Never fails: what is no audio, a folder or unreadable is an asset
    /// without items, a damaged file has the items that could be read.
    static MediaAsset URLAssetWithURL(const QString& path);

    /// The items in their order; where several have one key, the one that counts stands last. An
    /// "artwork" item says that a picture may be there: whether it is shows when it is asked for.
    QList<MetadataItem> metadata() const { return items_; }

  private:
    friend class MediaReadAhead;
    static QList<MetadataItem> itemsOfFile(const QString& path);

    QList<MetadataItem> items_;
};

}  // namespace platform
