#pragma once

#include <QStringList>

/// The entries of `listing` below `folder` that the library keeps, as full paths.
QStringList trackPaths(const QString& folder, const QStringList& listing);

/// The texts that a track shows.
struct Texts {
    QString title;
    QString artist;
};

/// Title and artist of the file at `path` through TagLib, without audio properties; empty where the
/// file has none.
Texts textsFromTagLib(const QString& path);

/// Reads title and artist through TagLib, without audio properties, on `threads` threads. Gives the
/// number of texts found.
int readWithTagLib(const QStringList& paths, int threads);
