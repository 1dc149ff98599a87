#include "platform/media/Loudness.h"

#include "platform/containers/ByteReader.h"
#include "platform/containers/Id3v2Header.h"
#include "platform/containers/Mp4Boxes.h"
#include "platform/containers/TrailingTags.h"
#include "platform/media/ApeTag.h"
#include "platform/media/Id3v2.h"
#include "platform/media/Mp4.h"

#include <QRegularExpression>

#include <algorithm>
#include <cmath>

namespace platform {

namespace {

// Gains of real songs stay well within; what lies outside is damage.
constexpr double kLargestGain = 51.0;  // dB

// ReplayGain 2.0 refers to -18 LUFS, EBU R 128 and with it RFC 7845 to -23 LUFS.
constexpr double kR128Offset = 5.0;  // dB
// R128 gains are Q7.8 fixed-point numbers (RFC 7845, 5.2.1).
constexpr double kR128Scale = 256.0;

// The number that `text` begins with, a unit or anything else behind it; some writers put a comma.
std::optional<double> numberIn(const QString& text) {
    static const QRegularExpression form(QStringLiteral("^\\s*([-+]?[0-9]*[.,]?[0-9]+)"));
    QString digits = form.match(text).captured(1);
    bool isNumber = false;
    const double number = digits.replace(QLatin1Char(','), QLatin1Char('.')).toDouble(&isNumber);
    return isNumber ? std::optional(number) : std::nullopt;
}

}  // namespace

void Loudness::add(const QString& key, const QString& value) {
    const auto is = [&key](const char* name) {
        return key.compare(QLatin1String(name), Qt::CaseInsensitive) == 0;
    };
    const std::optional<double> number = numberIn(value);
    if (!number) return;
    if (is("replaygain_track_peak")) {
        if (!peak && *number > 0.0) peak = number;
        return;
    }
    const bool isR128 = is("r128_track_gain");
    if (gain || !(isR128 || is("replaygain_track_gain"))) return;
    const double told = isR128 ? *number / kR128Scale + kR128Offset : *number;
    if (std::abs(told) <= kLargestGain) gain = told;
}

float Loudness::factor() const {
    if (!gain) return 1.0F;
    const double wanted = std::pow(10.0, *gain / 20.0);
    return static_cast<float>(std::min(wanted, 1.0 / peak.value_or(1.0)));
}

Loudness loudnessOfFile(const QString& path) {
    Loudness loudness;
    std::optional<ByteReader> file = ByteReader::open(path);
    if (!file) return loudness;
    if (isMp4(*file)) {
        readMp4Loudness(*file, loudness);
        return loudness;
    }
    for (auto tag = firstId3v2Header(*file); tag && tag->readable;
         tag = id3v2HeaderAt(*file, tag->next)) {
        readId3v2Loudness(*file, *tag, loudness);
    }
    const TrailingTags tail = trailingTags(*file);
    if (tail.apeFooter) readApeLoudness(*file, *tail.apeFooter, loudness);
    return loudness;
}

}  // namespace platform
