#include "platform/audio/GaplessComment.h"

#include <QByteArray>

#include <array>

namespace platform::audio {

namespace {

// Between the name and the numbers stand at most a language, a terminator or an atom's header.
constexpr qsizetype textReach = 96;

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
    if (found < 0) return {};
    const QByteArrayView rest = tag.sliced(found + name.size());
    const QByteArrayView text = rest.first(std::min(textReach, rest.size()));
    const qsizetype start = text.indexOf(" 00000000 ");
    constexpr qsizetype delayAt = 10;
    constexpr qsizetype paddingAt = 19;
    constexpr qsizetype lengthAt = 28;
    constexpr qsizetype end = 44;
    if (start < 0 || text.size() < start + end) return {};
    const QByteArrayView numbers = text.sliced(start);
    const auto delay = hexadecimal(numbers.sliced(delayAt, 8));
    const auto padding = hexadecimal(numbers.sliced(paddingAt, 8));
    const auto length = hexadecimal(numbers.sliced(lengthAt, 16));
    // Where no song ends, nothing that is reckoned from the numbers may overflow.
    constexpr int64_t longest = int64_t{1} << 48;
    if (!delay || !padding || !length || *delay < 0 || *padding < 0 || *length <= 0 ||
        *length > longest)
        return {};
    return GaplessComment{*delay, *padding, *length};
}

}  // namespace platform::audio
