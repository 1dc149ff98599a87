#include "platform/ui/BlurBehind.h"

#include <QGuiApplication>
#include <QLibrary>

#include <xcb/xcb.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

namespace platform {

namespace {

// KWin's name; a list of rectangles (left, top, width, height) in the screen's pixels.
constexpr const char* kBlurRegion = "_KDE_NET_WM_BLUR_BEHIND_REGION";

struct Free {
    void operator()(void* held) const { std::free(held); }
};

xcb_atom_t atomNamed(xcb_connection_t* connection, const char* name) {
    const auto asked =
        xcb_intern_atom(connection, 0, static_cast<std::uint16_t>(std::strlen(name)), name);
    const std::unique_ptr<xcb_intern_atom_reply_t, Free> reply(
        xcb_intern_atom_reply(connection, asked, nullptr));
    return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
}

void askOnX11(xcb_connection_t* connection, const QWindow& window, const QRegion& region) {
    static const xcb_atom_t property = atomNamed(connection, kBlurRegion);
    const auto id = static_cast<xcb_window_t>(window.winId());
    const double scale = window.devicePixelRatio();
    std::vector<std::uint32_t> numbers;
    for (const QRect& rect : region) {
        const QRect scaled = scaledByEdges(rect, scale);
        for (const int side : {scaled.x(), scaled.y(), scaled.width(), scaled.height()})
            numbers.push_back(static_cast<std::uint32_t>(side));
    }
    if (numbers.empty()) {
        xcb_delete_property(connection, id, property);
    } else {
        xcb_change_property(connection, XCB_PROP_MODE_REPLACE, id, property, XCB_ATOM_CARDINAL, 32,
                            static_cast<std::uint32_t>(numbers.size()), numbers.data());
    }
    xcb_flush(connection);
}

// What asks on Wayland is a module, so that no start on X11 loads Wayland's libraries. Installed or
// built, it lies in the same place as seen from the program.
void askOnWayland(QWindow& window, const QRegion& region) {
    static const auto ask = reinterpret_cast<decltype(&askForBlurBehind)>(QLibrary::resolve(
        QCoreApplication::applicationDirPath() + QStringLiteral("/" PAIRDECK_WAYLAND_MODULE),
        "pairdeckAskForBlurBehind"));
    if (ask) ask(window, region);
}

}  // namespace

void askForBlurBehind(QWindow& window, const QRegion& region) {
    const auto* x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    if (x11 && x11->connection()) {
        askOnX11(x11->connection(), window, region);
    } else if (QGuiApplication::platformName().startsWith(QLatin1String("wayland"))) {
        askOnWayland(window, region);
    }
}

}  // namespace platform
