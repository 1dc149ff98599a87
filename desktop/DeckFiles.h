#pragma once

#include "presentation/PDPlayerType.h"

#include <QString>
#include <QStringList>

#include <array>

class PDSourceManager;
class Pairdeck;
namespace platform {
class View;
}

/// What comes in from outside the program: folders and music files, for either deck.
class DeckFiles {
  public:
    DeckFiles(Pairdeck& pairdeck, PDSourceManager& left, PDSourceManager& right);

    /// Whether `path` is a regular file that is named as an mp3 or m4a file, in any case.
    static bool isMusicFile(const QString& path);
    /// Whether `path` is a folder or a music file.
    static bool canOpen(const QString& path);

    /// A folder becomes the library of the deck, a music file plays on it. Anything else changes
    /// nothing.
    void openOn(PDPlayerType side, const QString& path);
    /// Opens the first that can be opened on the left deck and the second on the right.
    void open(const QStringList& paths);

    /// Lets the user drop folders and music files for that deck on `view`; of several the first
    /// counts.
    void takeDrops(PDPlayerType side, platform::View& view);

  private:
    Pairdeck& pairdeck_;
    std::array<PDSourceManager*, 2> libraries_;
};
