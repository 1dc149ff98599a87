#include "platform/media/Tags.h"

#include <algorithm>
#include <array>

namespace platform {

std::optional<QByteArray> pictureOfBytes(const QByteArray& bytes) {
    constexpr qsizetype kMostStrayNuls = 3;
    constexpr std::array<const char*, 6> kSignatures = {"\xFF\xD8\xFF", "\x89PNG", "GIF8",
                                                        "BM",           "RIFF",    "II*"};
    if (bytes.isEmpty()) return std::nullopt;
    qsizetype nuls = 0;
    while (nuls < std::min(kMostStrayNuls, bytes.size()) && bytes[nuls] == '\0')
        ++nuls;
    // Formats exist whose own first byte is NUL; they stay whole.
    const QByteArrayView rest = QByteArrayView(bytes).sliced(nuls);
    const bool known =
        std::any_of(kSignatures.begin(), kSignatures.end(),
                    [&](const char* signature) { return rest.startsWith(signature); });
    return known ? bytes.sliced(nuls) : bytes;
}

}  // namespace platform
