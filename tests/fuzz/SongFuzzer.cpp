#include "platform/audio/SongStream.h"

#include <algorithm>
#include <cstdint>

// Whatever the bytes are: the song opens or does not, and as many finite frames come as it says.

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using platform::audio::SongStream;
    const QByteArray bytes(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    const auto song = platform::audio::openSong(bytes);
    if (!song) return 0;
    if (song->length < 1 || song->rate < 1) __builtin_trap();
    SongStream stream(song);
    float block[2 * 1024];
    // A hostile file may hold hours of nothing; its start, a middle and its end tell enough.
    for (const int64_t start : {int64_t(0), song->length / 2, song->length - 2000}) {
        stream.seek(std::max<int64_t>(start, 0), start == 0 ? 48000 : song->rate);
        for (int i = 0; i < 3; ++i) {
            const size_t got = stream.read(block, 1024);
            for (size_t sample = 0; sample < 2 * got; ++sample) {
                if (!(block[sample] >= -16 && block[sample] <= 16)) __builtin_trap();
            }
            if (got < 1024) break;
        }
    }
    return 0;
}
