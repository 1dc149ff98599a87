#include "platform/media/TagReader.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>

namespace {

// What any file at all must give: texts without NULs, and no more than the bounds allow.
void check(const std::optional<QString>& text) {
    if (text && (text->contains(QChar::Null) || text->size() > platform::ByteReader::kBytes))
        std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const QByteArray content(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    platform::ByteReader forTags(content);
    const platform::Tags tags = platform::tagsOf(forTags);
    check(tags.title);
    check(tags.artist);
    check(tags.album);
    platform::ByteReader forPicture(content);
    const auto picture = platform::pictureOf(forPicture);
    if (picture && (picture->isEmpty() || picture->size() > platform::ByteReader::kBytes))
        std::abort();
    return 0;
}
