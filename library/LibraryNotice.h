#pragma once

#include <QString>

#include <cstddef>
#include <optional>

/// What a library says of itself beside its rows, or in their place.
struct LibraryNotice {
    QString count;              ///< how many songs there are, or were found; empty for no folder
    QString explanation;        ///< why there are no rows; empty where there are some
    bool offersFolder = false;  ///< whether another folder would help

    /// Of the folder at `folder`, absent when none is loaded, with `total` songs of which the
    /// search for `text` has found `found`; all of them, for the empty text. Whether the folder is
    /// there is looked up only where that explains something.
    static LibraryNotice of(const std::optional<QString>& folder, const QString& text,
                            std::size_t total, std::size_t found);
};
