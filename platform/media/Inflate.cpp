#include "platform/media/Inflate.h"

#include <zlib.h>

#include <algorithm>
#include <array>

namespace platform {

std::optional<QByteArray> inflated(QByteArrayView bytes, qint64 limit, ByteReader& budget) {
    z_stream stream = {};
    if (::inflateInit(&stream) != Z_OK) return std::nullopt;
    // zlib does not write to its input, but an old interface of it does not say so.
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(bytes.data()));
    stream.avail_in = static_cast<uInt>(bytes.size());
    QByteArray plain;
    std::array<char, size_t{16} << 10> chunk;
    int result = Z_OK;
    while (result == Z_OK && plain.size() < limit) {
        stream.next_out = reinterpret_cast<Bytef*>(chunk.data());
        stream.avail_out = static_cast<uInt>(chunk.size());
        result = ::inflate(&stream, Z_NO_FLUSH);
        const auto made = static_cast<qsizetype>(chunk.size() - stream.avail_out);
        if (!budget.spend(made)) break;
        plain.append(chunk.data(), std::min<qsizetype>(made, limit - plain.size()));
    }
    ::inflateEnd(&stream);
    return plain.isEmpty() ? std::nullopt : std::optional(plain);
}

}  // namespace platform
