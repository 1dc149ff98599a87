#pragma once

#include "platform/media/Tags.h"

#include <QMutex>
#include <QString>

#include <memory>
#include <mutex>
#include <vector>

/// One audio file of a library. Every get and set is atomic.
class PDTrack {
  public:
    /// A track whose fields are empty.
    PDTrack() = default;
    PDTrack(const PDTrack&) = delete;
    PDTrack& operator=(const PDTrack&) = delete;

    /// The track of the file at `path`, with the title and artist of its tags, read before it
    /// returns. Without them: the file's name with its extension, and "Unknown Artist". Never
    /// fails.
    static std::shared_ptr<PDTrack> trackFromURL(const QString& path);
    /// The same with `tags` that were read before.
    static std::shared_ptr<PDTrack> trackFromURL(const QString& path, const platform::Tags& tags);

    /// The title that is shown and searched.
    QString name() const { return get(name_); }
    void setName(const QString& name) { set(name_, name); }
    /// The artist that is shown and searched.
    QString artist() const { return get(artist_); }
    void setArtist(const QString& artist) { set(artist_, artist); }
    /// The file's absolute path: a plain path, no URL.
    QString URL() const { return get(url_); }
    void setURL(const QString& url) { set(url_, url); }

    /// The field called `key` ("name", "artist" or "URL"); empty for any other key.
    QString valueForKey(const QString& key) const;

  private:
    QString get(const QString& field) const {
        const std::lock_guard lock(mutex_);
        return field;
    }
    void set(QString& field, const QString& value) {
        const std::lock_guard lock(mutex_);
        field = value;
    }

    mutable QMutex mutex_;  // a fifth of the standard library's, and there are many tracks
    QString name_;
    QString artist_;
    QString url_;
};

/// A library's tracks in their order.
using TrackArray = std::vector<std::shared_ptr<PDTrack>>;
