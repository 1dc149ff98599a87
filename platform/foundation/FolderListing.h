#pragma once

#include "platform/foundation/Descriptor.h"

#include <QByteArrayView>

#include <cstddef>
#include <functional>
#include <vector>

namespace platform {

/// Opens the folder at `path`, of any length, below the folder open as `root`; the root itself for
/// the empty path. None where there is no readable folder. The last component may not be a link.
Descriptor openFolder(int root, const QByteArray& path);

/// The entries of one folder as they were when this was made, hidden ones included, "." and ".."
/// not.
class FolderListing {
  public:
    enum class Kind : unsigned char { Regular, Folder, Link, Other };
    struct Entry {
        QByteArrayView name;  ///< ends in a NUL behind it, and lives as long as the listing
        Kind kind;            ///< of the entry itself: a link is a link
    };

    /// Reads the folder open as `folder` from its beginning.
    explicit FolderListing(int folder);

    /// Whether all could be read.
    bool isWhole() const { return isWhole_; }
    /// The same for two listings of the same names and kinds in the file system's own order.
    std::size_t fingerprint() const { return fingerprint_; }
    /// The entries that `isWanted` keeps, in NaturalOrder::ofUser().
    std::vector<Entry> sorted(const std::function<bool(const Entry&)>& isWanted) const;

  private:
    std::vector<char> records_;  // as getdents64 wrote them
    std::vector<Entry> entries_;
    std::size_t fingerprint_ = 0;
    bool isWhole_ = false;
};

}  // namespace platform
