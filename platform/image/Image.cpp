#include "platform/image/Image.h"
