#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

namespace platform {

/// The texts of a file's tags that count: present though empty where the file says so.
struct Tags {
    std::optional<QString> title;
    std::optional<QString> artist;
    std::optional<QString> album;
    /// Whether a picture was seen or may be in what was left unread.
    bool picture = false;

    /// Whether no further tag can add a text.
    bool complete() const { return title && artist && album; }
};

/// The encoded picture that `bytes` of a tag hold: the bytes without the stray NULs that some
/// writers leave in front of it; absent when there are none.
std::optional<QByteArray> pictureOfBytes(const QByteArray& bytes);

}  // namespace platform
