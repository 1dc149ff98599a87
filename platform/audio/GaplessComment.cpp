#include "platform/audio/GaplessComment.h"

#include <QByteArray>

#include <array>

namespace platform::audio {

namespace {

// Between the name and the numbers stand at most a language, a terminator or an atom's header.
constexpr qsizetype kTextReach = 96;

std::optional<int64_t> hexadecimal(QByteArrayView digits) {
    bool ok = false;
    const qlonglong value = digits.toByteArray().toLongLong(&ok, 16);
    return ok ? std::optional<int64_t>(value) : std::nullopt;
}

}  // namespace

// The text is " 00000000 dddddddd pppppppp llllllllllllllll ...", all hexadecimal.
std::optional<GaplessComment> readGaplessComment(QByteArrayView tag) {
    const QByteArrayView name = "iTunSMPB";
    const qsizetype found = tag.indexOf(name);
    if (found < 0) return std::nullopt;
    const QByteArrayView rest = tag.sliced(found + name.size());
    const QByteArrayView text = rest.first(std::min(kTextReach, rest.size()));
    const qsizetype start = text.indexOf(" 00000000 ");
    constexpr qsizetype kDelayAt = 10;
    constexpr qsizetype kPaddingAt = 19;
    constexpr qsizetype kLengthAt = 28;
    constexpr qsizetype kEnd = 44;
    if (start < 0 || text.size() < start + kEnd) return std::nullopt;
    const QByteArrayView numbers = text.sliced(start);
    const auto delay = hexadecimal(numbers.sliced(kDelayAt, 8));
    const auto padding = hexadecimal(numbers.sliced(kPaddingAt, 8));
    const auto length = hexadecimal(numbers.sliced(kLengthAt, 16));
    // Where no song ends, nothing that is reckoned from the numbers may overflow.
    constexpr int64_t kLongest = int64_t{1} << 48;
    if (!delay || !padding || !length || *delay < 0 || *padding < 0 || *length <= 0 ||
        *length > kLongest)
        return std::nullopt;
    return GaplessComment{*delay, *padding, *length};
}

}  // namespace platform::audio
