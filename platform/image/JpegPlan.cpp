#include "platform/image/JpegPlan.h"

#include <QtEndian>

#include <algorithm>
#include <array>
#include <cstring>

// After ITU-T T.81, annex B.

namespace platform {

namespace {

constexpr qint64 kMostPixels = qint64{1} << 28;
constexpr qint64 kMostFullPixels = 24'000'000;
constexpr qint64 kMostFullInkPixels = 9'000'000;

// A file whose scans give all components at once is decoded as it is read, at 10 ms a megabyte.
constexpr qsizetype kMostBytes = qsizetype{32} << 20;
// Any other is held as coefficients, two bytes each, until its last scan has been read; that takes
// up to 75 ms a megabyte, and time for each block of each scan however little the scan says of it.
constexpr qint64 kMostCoefficientBytes = qint64{160} << 20;
constexpr qsizetype kMostScanBytes = qsizetype{4} << 20;
constexpr qint64 kMostBlockVisits = 16'000'000;
// Arithmetic coding takes a multiple of that.
constexpr qsizetype kMostArithmeticBytes = qsizetype{512} << 10;

constexpr int kMostComponents = 4;

enum Marker : uchar {
    kBaseline = 0xC0,
    kExtended = 0xC1,
    kProgressive = 0xC2,
    kArithmetic = 0xC9,
    kArithmeticProgressive = 0xCA,
    kFirstRestart = 0xD0,
    kEndOfImage = 0xD9,
    kStartOfScan = 0xDA,
};

bool isFrame(uchar marker) {
    return marker == kBaseline || marker == kExtended || marker == kProgressive ||
           marker == kArithmetic || marker == kArithmeticProgressive;
}

// The frame header's content, as far as it matters here.
struct Frame {
    uchar type = 0;
    qint64 pixels = 0;
    int width = 0;
    int height = 0;
    int components = 0;
    std::array<uchar, kMostComponents> identifiers = {};
    std::array<qint64, kMostComponents> blocks = {};

    bool isArithmetic() const { return type == kArithmetic || type == kArithmeticProgressive; }
    bool isProgressive() const { return type == kProgressive || type == kArithmeticProgressive; }
    qint64 allBlocks() const {
        qint64 sum = 0;
        for (const qint64 some : blocks)
            sum += some;
        return sum;
    }
};

std::optional<Frame> frameIn(QByteArrayView content, uchar type) {
    constexpr qsizetype kHeader = 6;
    constexpr qsizetype kEntry = 3;
    if (content.size() < kHeader) return std::nullopt;
    const auto at = [&](qsizetype i) { return static_cast<uchar>(content[i]); };
    Frame frame;
    frame.type = type;
    frame.height = at(1) << 8 | at(2);
    frame.width = at(3) << 8 | at(4);
    frame.pixels = qint64{frame.width} * frame.height;
    frame.components = at(5);
    if (frame.pixels == 0 || frame.components < 1 || frame.components > kMostComponents ||
        content.size() < kHeader + frame.components * kEntry)
        return std::nullopt;
    int widest = 1;
    int highest = 1;
    const auto entry = [&](int i) { return kHeader + i * kEntry; };
    for (int i = 0; i < frame.components; ++i) {
        widest = std::max(widest, at(entry(i) + 1) >> 4);
        highest = std::max(highest, at(entry(i) + 1) & 0xF);
    }
    const auto along = [](int side, int factor, int largest) {
        return (qint64{side} * factor + 8 * largest - 1) / (8 * largest);
    };
    for (int i = 0; i < frame.components; ++i) {
        const auto index = static_cast<size_t>(i);
        frame.identifiers[index] = at(entry(i));
        frame.blocks[index] = along(frame.width, at(entry(i) + 1) >> 4, widest) *
                              along(frame.height, at(entry(i) + 1) & 0xF, highest);
    }
    return frame;
}

// The blocks that a scan with this header visits.
qint64 blocksOfScan(QByteArrayView content, const Frame& frame, int& components) {
    components = content.isEmpty() ? 0 : static_cast<uchar>(content[0]);
    qint64 sum = 0;
    for (qsizetype i = 0; i < components && 1 + 2 * i < content.size(); ++i) {
        const auto* const found = std::find(frame.identifiers.begin(), frame.identifiers.end(),
                                            static_cast<uchar>(content[1 + 2 * i]));
        if (found != frame.identifiers.end())
            sum += frame.blocks[found - frame.identifiers.begin()];
    }
    return sum;
}

// Walks the file's segments, over what is coded between them.
class Segments {
  public:
    explicit Segments(QByteArrayView data) : data_(data) {}

    struct Segment {
        uchar marker;
        qsizetype begin;  // of its marker
        QByteArrayView content;
    };

    std::optional<Segment> next() {
        const auto byte = [this](qsizetype i) { return static_cast<uchar>(data_[i]); };
        while (at_ + 4 <= data_.size()) {
            const void* const mark =
                std::memchr(data_.data() + at_, 0xFF, static_cast<size_t>(data_.size() - at_));
            if (!mark) break;
            at_ = static_cast<const char*>(mark) - data_.data();
            if (at_ + 4 > data_.size()) break;
            const uchar marker = byte(at_ + 1);
            if (marker == kEndOfImage) break;
            // A byte of coded data, a restart within it, another fill byte.
            if (marker == 0 || (marker >= kFirstRestart && marker < kEndOfImage)) {
                at_ += 2;
                continue;
            }
            if (marker == 0xFF) {
                ++at_;
                continue;
            }
            const qsizetype begin = at_;
            const qsizetype length = byte(at_ + 2) << 8 | byte(at_ + 3);
            at_ += 2 + std::max<qsizetype>(length, 2);
            if (length < 2 || at_ > data_.size()) break;
            return Segment{marker, begin, data_.sliced(begin + 4, length - 2)};
        }
        at_ = data_.size();
        return std::nullopt;
    }

  private:
    QByteArrayView data_;
    qsizetype at_ = 2;
};

std::optional<int> reductionFor(const Frame& frame) {
    if (frame.pixels > kMostPixels) return std::nullopt;
    const qint64 most = frame.components == 4 ? kMostFullInkPixels : kMostFullPixels;
    for (const int reduction : {1, 2, 4, 8}) {
        const qint64 width = (frame.width + reduction - 1) / reduction;
        const qint64 height = (frame.height + reduction - 1) / reduction;
        if (width * height <= most) return reduction;
    }
    return std::nullopt;
}

}  // namespace

std::optional<JpegPlan> jpegPlan(const QByteArray& data) {
    Segments segments(data);
    std::optional<Frame> frame;
    std::optional<JpegPlan> plan;
    qint64 visits = 0;
    while (const auto segment = segments.next()) {
        if (!frame && isFrame(segment->marker)) {
            frame = frameIn(segment->content, segment->marker);
            if (!frame) return std::nullopt;
        }
        if (segment->marker != kStartOfScan) continue;
        if (!frame) return std::nullopt;
        int components = 0;
        visits += blocksOfScan(segment->content, *frame, components);
        if (!plan) {
            const auto reduction = reductionFor(*frame);
            if (!reduction) return std::nullopt;
            plan = JpegPlan{*reduction, data.size()};
            if (frame->isArithmetic() && data.size() > kMostArithmeticBytes) return std::nullopt;
            const bool atOnce = !frame->isProgressive() && components == frame->components;
            if (atOnce) return data.size() <= kMostBytes ? plan : std::nullopt;
            if (frame->allBlocks() * 128 > kMostCoefficientBytes) return std::nullopt;
            plan->length = std::min(data.size(), segment->begin + kMostScanBytes);
        }
        if (segment->begin >= plan->length) break;
        if (visits > kMostBlockVisits) {
            plan->length = segment->begin;
            break;
        }
    }
    return plan;
}

}  // namespace platform
