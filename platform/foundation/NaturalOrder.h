#pragma once

#include <QByteArrayView>
#include <QCollator>
#include <QLocale>

#include <array>
#include <cstdint>
#include <span>
#include <vector>

namespace platform {

/// The order in which file managers show names: by the rules of a language, case and accents aside
/// while anything else differs, numbers by their value, a full stop before every other character so
/// that "Song.mp3" precedes "Song 2.mp3". What is still alike stands in the order of its bytes.
/// May be shared by threads.
class NaturalOrder {
  public:
    /// After the rules of `locale`'s language, or of English for the C locale, which has none.
    explicit NaturalOrder(const QLocale& locale);

    /// After the rules that the user's locale has for sorting.
    static const NaturalOrder& ofUser();

    /// The indices of `names`, as the file system has them, in this order.
    std::vector<std::uint32_t> sorted(std::span<const QByteArrayView> names) const;

  private:
    struct Keyed;
    struct Collated;
    bool weigh();
    bool hasDigraphs() const;
    bool appendKey(QByteArrayView name, std::vector<unsigned char>& key) const;
    std::vector<Keyed> sortedByWeights(std::span<const QByteArrayView> names,
                                       std::vector<std::uint32_t>& others) const;
    std::vector<Collated> sortedByCollator(std::span<const QByteArrayView> names,
                                           const std::vector<std::uint32_t>& indices) const;

    QCollator collator_;
    /// What an ASCII character alone counts in this order, 0 for nothing.
    std::array<unsigned char, 0x80> weights_ = {};
    /// Whether the weights are the whole truth about ASCII names.
    bool weighs_ = false;
};

}  // namespace platform
