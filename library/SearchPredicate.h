#pragma once

#include <QString>

#include <cstddef>
#include <string>
#include <vector>

/// The fields of tracks in the form in which searches compare them, made once for all searches; of
/// the main thread, as are searches.
class SearchFields {
  public:
    /// Adds those of the next track.
    void append(const QString& name, const QString& artist);

  private:
    friend class SearchPredicate;

    std::string text_;           // of all tracks
    std::vector<quint32> ends_;  // where each track's ends in it
};

/// A test on tracks' fields: whether one of them contains a text.
///
/// The comparison ignores case, combining marks and variation selectors: both sides are decomposed
/// canonically, lose these, are case-folded in full and composed again. ß equals SS, Σ equals ς, İ
/// equals I but ı does not, か equals が, and a Korean syllable is one character whatever form it
/// is written in.
class SearchPredicate {
  public:
    /// Matches nothing.
    SearchPredicate() = default;
    /// Matches what contains `text`, which is taken literally. A text of nothing but what is
    /// ignored matches nothing.
    explicit SearchPredicate(const QString& text);

    /// The numbers of the tracks that match, in their order.
    std::vector<std::size_t> evaluate(const SearchFields& fields) const;

  private:
    std::string folded_;
};
