#pragma once

#include <QList>
#include <QString>

#include <functional>
#include <optional>

/// A test on a track's fields: a template with variables ("$value") until each has its text, then a
/// predicate. It is a disjunction of terms "(field contains[cd] $variable)", the fields being
/// "name" and "artist"; what does not parse never matches.
///
/// The comparison ignores case and combining marks: both sides are decomposed canonically, lose
/// their combining marks, are case-folded in full and composed again. ß equals SS, Σ equals ς, İ
/// equals I but ı does not, か equals が, and a Korean syllable is one character whatever form it
/// is written in.
class SearchPredicate {
  public:
    /// No terms: matches nothing.
    SearchPredicate() = default;
    /// The template written in `format`.
    explicit SearchPredicate(const QString& format);

    /// The predicate with each variable replaced by the text that `valueOf` has for its name. The
    /// text is taken literally and prepared here once, however many tracks are tested.
    SearchPredicate predicateWithSubstitutionVariables(
        const std::function<QString(const QString&)>& valueOf) const;

    /// Whether a track with these fields matches. A template with an open variable matches nothing.
    bool evaluate(const QString& name, const QString& artist) const;

  private:
    enum class Field { Name, Artist };

    // A text made ready for the comparison.
    struct Needle {
        QString folded;
        bool ascii = false;
        bool isIn(const QString& text) const;
    };

    struct Term {
        Field field = Field::Name;
        QString variable;
        std::optional<Needle> needle;
    };

    QList<Term> terms_;
};
