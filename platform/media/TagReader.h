#pragma once

#include "platform/containers/ByteReader.h"
#include "platform/media/Tags.h"

namespace platform {

/// The tags of the file at `path`; none for what is no audio file or can't be read.
Tags tagsOfFile(const QString& path);
/// The tags of `file`.
Tags tagsOf(ByteReader& file);

/// The encoded picture in the tags of the file at `path`; absent when there is none.
std::optional<QByteArray> pictureOfFile(const QString& path);
/// The encoded picture in the tags of `file`.
std::optional<QByteArray> pictureOf(ByteReader& file);

}  // namespace platform
