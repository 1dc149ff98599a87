# The rooms, lowest first, and what each may include besides its own: other rooms, then the headers
# of libraries that no other room sees. The build makes them in this order and refuses an include
# that is not in this table.

set(PAIRDECK_ROOMS
    "platform/foundation |  |"
    "platform/workspace | platform/foundation | gio/"
    "platform/store | platform/foundation | sqlite3.h"
    "platform/containers | platform/foundation |"
    "platform/media | platform/foundation platform/store platform/containers | tiostream.h tfile.h apetag.h zlib.h"
    "platform/audio | platform/foundation platform/containers | libav libsw cubeb/ soxr.h"
    "platform/image | platform/foundation | hwy/ lcms2 turbojpeg.h zlib.h"
    "platform/ui | platform/foundation platform/image platform/workspace | fontconfig/ private/ qpa/ wayland- xcb/"
    "library | platform/foundation platform/media platform/ui |"
    "presentation | platform/foundation platform/image platform/ui |"
    "decks | library presentation platform/ |"
    "desktop | decks library presentation platform/foundation platform/ui platform/workspace |"
    "app | decks desktop platform/ui |")
