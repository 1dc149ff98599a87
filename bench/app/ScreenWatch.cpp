#include "bench/app/ScreenWatch.h"

#include <xcb/xcb.h>

#include <chrono>
#include <cstdlib>
#include <memory>
#include <thread>

namespace bench {

namespace {

constexpr int kLineDistance = 100;

struct Free {
    void operator()(void* memory) const { std::free(memory); }
};

}  // namespace

ScreenWatch::ScreenWatch() : connection_(xcb_connect(nullptr, nullptr)) {
    if (!isOpen()) return;
    const xcb_screen_t* const screen = xcb_setup_roots_iterator(xcb_get_setup(connection_)).data;
    root_ = screen->root;
    width_ = screen->width_in_pixels;
    height_ = screen->height_in_pixels;
}

ScreenWatch::~ScreenWatch() {
    xcb_disconnect(connection_);
}

bool ScreenWatch::isOpen() const {
    return xcb_connection_has_error(connection_) == 0;
}

ScreenWatch::Pixels ScreenWatch::look() const {
    std::vector<xcb_get_image_cookie_t> lines;
    for (int y = 0; y < height_; y += kLineDistance) {
        lines.push_back(xcb_get_image(connection_, XCB_IMAGE_FORMAT_Z_PIXMAP, root_, 0,
                                      static_cast<std::int16_t>(y), width_, 1, ~0U));
    }
    Pixels pixels;
    for (const xcb_get_image_cookie_t line : lines) {
        const std::unique_ptr<xcb_get_image_reply_t, Free> reply(
            xcb_get_image_reply(connection_, line, nullptr));
        if (!reply) continue;
        const std::uint8_t* const data = xcb_get_image_data(reply.get());
        pixels.insert(pixels.end(), data, data + xcb_get_image_data_length(reply.get()));
    }
    return pixels;
}

void ScreenWatch::remember() {
    constexpr int kStillLooks = 100;
    int still = 0;
    while (still < kStillLooks) {
        Pixels seen = look();
        still = seen == remembered_ ? still + 1 : 0;
        remembered_ = std::move(seen);
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

bool ScreenWatch::awaitChange(double seconds) const {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
    while (look() == remembered_) {
        if (std::chrono::steady_clock::now() > deadline) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

}  // namespace bench
