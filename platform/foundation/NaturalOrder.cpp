#include "platform/foundation/NaturalOrder.h"

#include "platform/foundation/Path.h"

#include <QtEndian>

#include <algorithm>
#include <cstring>
#include <numeric>
#include <optional>
#include <utility>

namespace platform {

namespace {

// The collator compares numbers of more digits in pieces (ICU, UCOL_NUMERIC_COLLATION).
constexpr qsizetype kLongestNumber = 254;

bool isDigit(char character) {
    return character >= '0' && character <= '9';
}

// Tabulators come first in every language's order, and no name has any.
QString forCollation(QByteArrayView name) {
    return stringWithFileSystemRepresentation(name).replace(QLatin1Char('.'), QLatin1Char('\t'));
}

QString text(char character) {
    return QString(QLatin1Char(character == '.' ? '\t' : character));
}

size_t placeOf(char character) {
    return static_cast<unsigned char>(character);
}

bool precedesInBytes(QByteArrayView left, QByteArrayView right) {
    const int order = std::memcmp(left.data(), right.data(),
                                  static_cast<size_t>(std::min(left.size(), right.size())));
    return order != 0 ? order < 0 : left.size() < right.size();
}

}  // namespace

// A name and its sort key, the beginning of it at hand.
struct NaturalOrder::Keyed {
    std::uint64_t beginning = 0;
    std::uint32_t key = 0;  // offset of the rest
    std::uint32_t length = 0;
    std::uint32_t index = 0;
};

// A name that needs the collator, and its key if there are many.
struct NaturalOrder::Collated {
    QString text;
    std::optional<QCollatorSortKey> key;
    std::uint32_t index = 0;
};

NaturalOrder::NaturalOrder(const QLocale& locale)
    : collator_(locale.language() == QLocale::C ? QLocale(QLocale::English, QLocale::UnitedStates)
                                                : locale) {
    collator_.setNumericMode(true);
    collator_.setCaseSensitivity(Qt::CaseInsensitive);
    // Its first use prepares it; from then on it is only read.
    weighs_ = weigh() && !hasDigraphs();
}

const NaturalOrder& NaturalOrder::ofUser() {
    static const NaturalOrder order(QLocale().collation());
    return order;
}

// Finds what each character counts. False where a difference between two of them counts less than
// what follows them, as between i and y in Lithuanian.
bool NaturalOrder::weigh() {
    std::vector<char> characters;
    for (char character = 1; character > 0 && character < 0x7F; ++character) {
        const bool counts = collator_.compare(text(character) + u'a', QStringLiteral("a")) != 0;
        const bool isRepeated = character == '\t' || (character > '0' && character <= '9') ||
                                (character >= 'A' && character <= 'Z');
        if (counts && !isRepeated) characters.push_back(character);
    }
    std::stable_sort(characters.begin(), characters.end(), [this](char left, char right) {
        return collator_.compare(text(left), text(right)) < 0;
    });
    unsigned char weight = 0;
    for (size_t i = 0; i < characters.size(); ++i) {
        const bool differs =
            i == 0 || collator_.compare(text(characters[i - 1]) + u'z', text(characters[i])) < 0;
        if (!differs) return false;
        weights_[placeOf(characters[i])] = ++weight;
    }
    weights_['\t'] = weights_['.'];
    for (size_t letter = 'A'; letter <= 'Z'; ++letter)
        weights_[letter] = weights_[letter - 'A' + 'a'];
    return true;
}

// Whether two letters together are one to this language and stand elsewhere than they would apart,
// as ch does behind h in Czech.
bool NaturalOrder::hasDigraphs() const {
    std::vector<char> letters(26);
    std::iota(letters.begin(), letters.end(), 'a');
    std::sort(letters.begin(), letters.end(), [this](char left, char right) {
        return weights_[placeOf(left)] < weights_[placeOf(right)];
    });
    for (size_t i = 0; i < letters.size(); ++i) {
        QString previous = text(letters[i]);
        for (const char second : letters) {
            const QString pair = text(letters[i]) + text(second);
            if (collator_.compare(previous, pair) >= 0) return true;
            previous = pair;
        }
        if (i + 1 < letters.size() && collator_.compare(previous, text(letters[i + 1])) >= 0)
            return true;
    }
    return false;
}

// The key of an ASCII name; false for a name that needs the collator.
bool NaturalOrder::appendKey(QByteArrayView name, std::vector<unsigned char>& key) const {
    for (qsizetype i = 0; i < name.size();) {
        const char character = name[i];
        if (placeOf(character) >= weights_.size()) return false;
        if (!isDigit(character)) {
            const unsigned char weight = weights_[placeOf(character)];
            if (weight > 0) key.push_back(weight);
            ++i;
            continue;
        }
        // A number: that it is one, its length and its digits, of 0 the one.
        qsizetype end = i;
        while (end < name.size() && isDigit(name[end]))
            ++end;
        while (i + 1 < end && name[i] == '0')
            ++i;
        if (end - i > kLongestNumber) return false;
        key.push_back(weights_['0']);
        key.push_back(static_cast<unsigned char>(end - i));
        key.insert(key.end(), name.begin() + i, name.begin() + end);
        i = end;
    }
    return true;
}

// Sorts the names that the weights are enough for, and leaves the others' indices in `others`.
std::vector<NaturalOrder::Keyed> NaturalOrder::sortedByWeights(
    std::span<const QByteArrayView> names, std::vector<std::uint32_t>& others) const {
    std::vector<Keyed> keyed;
    keyed.reserve(names.size());
    std::vector<unsigned char> keys;
    for (std::uint32_t index = 0; index < names.size(); ++index) {
        const size_t begin = keys.size();
        if (!weighs_ || !appendKey(names[index], keys)) {
            keys.resize(begin);
            others.push_back(index);
            continue;
        }
        keys.resize(std::max(keys.size(), begin + sizeof(std::uint64_t)), 0);
        keyed.push_back({qFromBigEndian<std::uint64_t>(keys.data() + begin),
                         static_cast<std::uint32_t>(begin),
                         static_cast<std::uint32_t>(keys.size() - begin), index});
    }
    std::sort(keyed.begin(), keyed.end(), [&](const Keyed& left, const Keyed& right) {
        if (left.beginning != right.beginning) return left.beginning < right.beginning;
        const int order = std::memcmp(keys.data() + left.key, keys.data() + right.key,
                                      std::min(left.length, right.length));
        if (order != 0) return order < 0;
        if (left.length != right.length) return left.length < right.length;
        return precedesInBytes(names[left.index], names[right.index]);
    });
    return keyed;
}

// The names of these indices as the collator wants them, in its order.
std::vector<NaturalOrder::Collated> NaturalOrder::sortedByCollator(
    std::span<const QByteArrayView> names, const std::vector<std::uint32_t>& indices) const {
    // A key takes as long to make as several comparisons.
    constexpr std::size_t kWorthKeys = 12;
    std::vector<Collated> collated;
    collated.reserve(indices.size());
    for (const std::uint32_t index : indices) {
        QString text = forCollation(names[index]);
        std::optional<QCollatorSortKey> key;
        if (indices.size() >= kWorthKeys) key = collator_.sortKey(text);
        collated.push_back({std::move(text), std::move(key), index});
    }
    std::sort(collated.begin(), collated.end(), [&](const Collated& left, const Collated& right) {
        const int order =
            left.key ? left.key->compare(*right.key) : collator_.compare(left.text, right.text);
        return order != 0 ? order < 0 : precedesInBytes(names[left.index], names[right.index]);
    });
    return collated;
}

std::vector<std::uint32_t> NaturalOrder::sorted(std::span<const QByteArrayView> names) const {
    std::vector<std::uint32_t> others;
    const std::vector<Keyed> weighed = sortedByWeights(names, others);
    std::vector<std::uint32_t> merged;
    merged.reserve(names.size());
    auto take = [&, next = weighed.begin()](auto end) mutable {
        for (; next != end; ++next)
            merged.push_back(next->index);
    };
    auto place = weighed.begin();
    for (const Collated& other : sortedByCollator(names, others)) {
        const auto precedes = [&](const Keyed& name) {
            const QByteArrayView bytes = names[name.index];
            const int order = collator_.compare(forCollation(bytes), other.text);
            return order != 0 ? order < 0 : precedesInBytes(bytes, names[other.index]);
        };
        // In growing steps: the others may be few among many or every second name.
        auto bound = place;
        for (std::ptrdiff_t step = 1; bound != weighed.end() && precedes(*bound); step *= 2) {
            place = bound + 1;
            bound += std::min(step, weighed.end() - bound);
        }
        place = std::partition_point(place, bound, precedes);
        take(place);
        merged.push_back(other.index);
    }
    take(weighed.end());
    return merged;
}

}  // namespace platform
