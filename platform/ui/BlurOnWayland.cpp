#include "platform/ui/BlurBehind.h"

#include <QGuiApplication>
#include <QHash>
#include <QPlatformSurfaceEvent>
#include <qpa/qplatformnativeinterface.h>
#include <qpa/qplatformwindow.h>

#include <wayland-blur.h>
#include <wayland-client.h>

#include <cstdint>
#include <cstring>

namespace platform {

namespace {

const char* const kMark = "pairdeck";

/// What asks KDE's blur manager for all windows, as long as the compositor offers one. It waits for
/// nothing: the compositor's answers come with the toolkit's own events, in their order, so a
/// manager is known before the first frame of the first window is due.
class BlurOnWayland final : public QObject {
  public:
    void ask(QWindow& window, const QRegion& region) {
        if (!wishes_.contains(&window)) window.installEventFilter(this);
        wishes_[&window].region = region;
        listen();
        sendNow(window);
    }

    /// A window that was hidden has another surface, which knows nothing of what was asked; what is
    /// sent here goes with its next frame.
    bool eventFilter(QObject* watched, QEvent* event) override {
        auto& window = static_cast<QWindow&>(*watched);
        if (event->type() == QEvent::Expose) {
            listen();
            send(window);
        } else if (event->type() == QEvent::PlatformSurface &&
                   static_cast<QPlatformSurfaceEvent*>(event)->surfaceEventType() ==
                       QPlatformSurfaceEvent::SurfaceAboutToBeDestroyed) {
            listen();
            release(wishes_[&window]);
            wishes_.remove(&window);
        }
        return false;
    }

  private:
    struct Wish {
        QRegion region;
        org_kde_kwin_blur* blur = nullptr;
    };

    static QPlatformNativeInterface& toolkit() {
        return *QGuiApplication::platformNativeInterface();
    }

    static wl_compositor* compositor() {
        return static_cast<wl_compositor*>(toolkit().nativeResourceForIntegration("compositor"));
    }

    static wl_surface* surface(QWindow& window) {
        return static_cast<wl_surface*>(toolkit().nativeResourceForWindow("surface", &window));
    }

    /// Has the compositor tell what it offers. Where it went and came back, the toolkit has another
    /// connection, and nothing that belongs to the old one may be touched: only the mark on the
    /// toolkit's own object tells.
    void listen() {
        auto* const known = reinterpret_cast<wl_proxy*>(compositor());
        if (known && wl_proxy_get_tag(known) == &kMark) return;
        manager_ = nullptr;
        for (Wish& wish : wishes_)
            wish.blur = nullptr;
        if (!known) return;
        wl_proxy_set_tag(known, &kMark);
        static constexpr wl_registry_listener kListener = {
            [](void* self, wl_registry* registry, std::uint32_t name, const char* interface,
               std::uint32_t) {
                if (std::strcmp(interface, org_kde_kwin_blur_manager_interface.name) == 0)
                    static_cast<BlurOnWayland*>(self)->found(registry, name);
            },
            [](void* self, wl_registry*, std::uint32_t name) {
                static_cast<BlurOnWayland*>(self)->lost(name);
            }};
        auto* const display =
            static_cast<wl_display*>(toolkit().nativeResourceForIntegration("wl_display"));
        wl_registry_add_listener(wl_display_get_registry(display), &kListener, this);
    }

    /// A manager may come late, or come back, as the user turns the effect on.
    void found(wl_registry* registry, std::uint32_t name) {
        lost(name_);
        name_ = name;
        manager_ = static_cast<org_kde_kwin_blur_manager*>(
            wl_registry_bind(registry, name, &org_kde_kwin_blur_manager_interface, 1));
        for (auto window = wishes_.keyBegin(); window != wishes_.keyEnd(); ++window)
            sendNow(**window);
    }

    void lost(std::uint32_t name) {
        if (!manager_ || name != name_) return;
        org_kde_kwin_blur_manager_destroy(manager_);
        manager_ = nullptr;
    }

    static void release(Wish& wish) {
        if (wish.blur) org_kde_kwin_blur_release(wish.blur);
        wish.blur = nullptr;
    }

    /// Sends the wish without waiting for a frame, as none may follow.
    void sendNow(QWindow& window) {
        if (send(window)) wl_surface_commit(surface(window));
    }

    /// Sends the wish, which counts from the surface's next frame on, and says whether it could.
    bool send(QWindow& window) {
        if (!manager_ || !window.isExposed() || !surface(window)) return false;
        Wish& wish = wishes_[&window];
        if (wish.blur && wish.region.isEmpty())
            org_kde_kwin_blur_manager_unset(manager_, surface(window));
        // The compositor blurs no longer than this object is there.
        release(wish);
        if (wish.region.isEmpty()) return true;
        // The surface counts in the desktop's points, whatever the toolkit was told to scale by.
        const double scale = window.devicePixelRatio() / window.handle()->devicePixelRatio();
        wl_region* const region = wl_compositor_create_region(compositor());
        for (const QRect& rect : wish.region) {
            const QRect scaled = scaledByEdges(rect, scale);
            wl_region_add(region, scaled.x(), scaled.y(), scaled.width(), scaled.height());
        }
        wish.blur = org_kde_kwin_blur_manager_create(manager_, surface(window));
        org_kde_kwin_blur_set_region(wish.blur, region);
        org_kde_kwin_blur_commit(wish.blur);
        wl_region_destroy(region);
        return true;
    }

    QHash<QWindow*, Wish> wishes_;
    org_kde_kwin_blur_manager* manager_ = nullptr;
    std::uint32_t name_ = 0;
};

}  // namespace

}  // namespace platform

extern "C" Q_DECL_EXPORT void pairdeckAskForBlurBehind(QWindow& window, const QRegion& region) {
    static platform::BlurOnWayland blur;
    blur.ask(window, region);
}
