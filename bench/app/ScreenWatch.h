#pragma once

#include <cstdint>
#include <vector>

struct xcb_connection_t;

namespace bench {

/// Sees what a person before the screen sees: the pixels of the root window with all that the
/// compositor lays over it. It looks at every 100th line, which no window as tall as ours slips
/// through, some eight hundred times a second, which costs the X server next to nothing.
class ScreenWatch {
  public:
    /// Of the display that the environment names.
    ScreenWatch();
    ~ScreenWatch();
    ScreenWatch(const ScreenWatch&) = delete;
    ScreenWatch& operator=(const ScreenWatch&) = delete;

    /// False where there is no display to be watched.
    bool isOpen() const;

    /// Takes the screen as it is for the one that `awaitChange` compares with, once it has not
    /// changed for a tenth of a second.
    void remember();
    /// Takes it as it is at this moment.
    void rememberAtOnce() { remembered_ = look(); }
    /// Waits until any pixel looked at differs from the remembered one. False after `seconds`.
    bool awaitChange(double seconds) const;

  private:
    using Pixels = std::vector<std::uint8_t>;
    Pixels look() const;

    xcb_connection_t* connection_;
    std::uint32_t root_ = 0;
    std::uint16_t width_ = 0;
    std::uint16_t height_ = 0;
    Pixels remembered_;
};

}  // namespace bench
