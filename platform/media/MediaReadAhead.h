#pragma once

#include <QStringList>

#include <memory>

namespace platform {

/// While it lives, the tags of the files at `paths` are read ahead on further threads. Assets that
/// the thread which made it asks for in that order find theirs ready; any other asset is read as
/// always. It shows in nothing but time, and what was not asked for goes with it.
class MediaReadAhead {
  public:
    explicit MediaReadAhead(const QStringList& paths);
    ~MediaReadAhead();

    MediaReadAhead(const MediaReadAhead&) = delete;
    MediaReadAhead& operator=(const MediaReadAhead&) = delete;

  private:
    friend class MediaAsset;
    class Queue;

    // The queue of the object that the calling thread made last, if it has one.
    static Queue*& current();

    std::unique_ptr<Queue> queue_;
    Queue* outer_ = nullptr;
};

}  // namespace platform
