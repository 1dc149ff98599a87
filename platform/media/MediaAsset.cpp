#include "platform/media/MediaAsset.h"

#include "platform/media/TagReader.h"

#include <utility>

namespace platform {

MediaAsset::MediaAsset(QString path, Tags tags) : path_(std::move(path)), tags_(std::move(tags)) {}

MediaAsset MediaAsset::URLAssetWithURL(const QString& path) {
    return {path, tagsOfFile(path)};
}

std::optional<QByteArray> MediaAsset::artwork() const {
    return tags_.picture ? pictureOfFile(path_) : std::nullopt;
}

}  // namespace platform
