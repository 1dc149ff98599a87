#pragma once

#include "platform/foundation/Descriptor.h"

#include <QByteArrayView>

#include <functional>

namespace platform {

/// The kernel's notices of what happens to the entries of folders. A notice is there before the
/// call that made the change returns. None is given of a file that is written through a link to it
/// from elsewhere or, until it is given back, through memory that it is mapped to, nor of what
/// other machines do.
class FolderWatch {
  public:
    struct Notice {
        int watch;            ///< the folder's number
        QByteArrayView name;  ///< of the entry; empty for the folder itself
        bool isOver;          ///< nothing more will come under this number
    };

    FolderWatch();

    /// Whether the file system of the folder open as `folder` is this machine's own, so that
    /// nobody changes it but through this kernel.
    static bool isLocal(int folder);

    /// Watches the folder open as `folder`, from now on: its number, greater than 0, the same for
    /// the same folder while it is watched. None for one that can't be watched: 0 where it may not
    /// be read or is gone, -1 where no further one can be watched.
    int add(int folder) const;
    void remove(int watch) const;

    /// Passes on what happened since the last call. False when some of it may be missing: the
    /// kernel had no room for it, or another file system was mounted somewhere.
    bool takeNotices(const std::function<void(const Notice&)>& take) const;

  private:
    Descriptor notices_;
    Descriptor mounts_;
};

}  // namespace platform
