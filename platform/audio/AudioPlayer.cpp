#include "platform/audio/AudioPlayer.h"
