#pragma once

#include <QString>

/// A test on a track's fields: whether one of them contains a text.
///
/// The comparison ignores case, combining marks and variation selectors: both sides are decomposed
/// canonically, lose these, are case-folded in full and composed again. ß equals SS, Σ equals ς, İ
/// equals I but ı does not, か equals が, and a Korean syllable is one character whatever form it
/// is written in.
class SearchPredicate {
  public:
    /// Matches nothing.
    SearchPredicate() = default;
    /// Matches what contains `text`, which is taken literally and prepared here once, however many
    /// tracks are tested. A text of nothing but what is ignored matches nothing.
    explicit SearchPredicate(const QString& text);

    /// Whether a track with these fields matches.
    bool evaluate(const QString& name, const QString& artist) const;

  private:
    bool isIn(const QString& field) const;

    QString folded_;
    bool ascii_ = false;
};
