#include "platform/media/MediaAsset.h"
