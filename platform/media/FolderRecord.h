#pragma once

#include "platform/media/MediaTree.h"

namespace platform {

/// What the store keeps of a folder under the name of its file system and its number in it.
QByteArray recordKey(const FileIdentity& folder);

/// What is known of `folder`, but not of the folders in it. `order` names what made the listing
/// what it is: the order, and the suffixes asked for.
QByteArray recordOf(const MediaFolder& folder, const QByteArray& order);

/// Puts what `record` tells into `folder`, all of it unproven where it was made under another
/// `order`. False, with the folder as it was, where it makes no sense.
bool readRecord(const QByteArray& record, const QByteArray& order, MediaFolder& folder);

}  // namespace platform
