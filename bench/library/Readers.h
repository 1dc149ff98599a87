#pragma once

#include <QStringList>

/// The entries of `listing` below `folder` that the library keeps, as full paths.
QStringList trackPaths(const QString& folder, const QStringList& listing);

/// Reads the first 4 KB of each file and nothing more.
void readStarts(const QStringList& paths);

/// Reads title and artist of well-made ID3v2.3, ID3v2.4 and MP4 tags with no heed to anything else:
/// what no reader of tags can well do without. Gives the number of texts found.
int readMinimal(const QStringList& paths);

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
