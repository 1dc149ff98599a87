#include "decks/Backdrop.h"

#include "presentation/BlurredBackdrop.h"

platform::Image backdropFromImage(const platform::Image& picture, double level) {
    constexpr double kWidth = 575.0;
    const QSizeF size = picture.size();
    if (size.width() <= 0.0) return {};
    return blurWithLevelAndSize(picture, level,
                                QSizeF(kWidth, size.height() / (size.width() / kWidth)));
}
