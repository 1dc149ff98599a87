#include "platform/workspace/DesktopSettings.h"

#include "platform/workspace/SessionBus.h"

#include <gio/gio.h>

#include <memory>

namespace platform {

namespace {

template <auto release>
struct Release {
    template <typename Held>
    void operator()(Held* held) const {
        release(held);
    }
};

template <typename Held, auto release>
using Handle = std::unique_ptr<Held, Release<release>>;

void busDidConnect(GObject*, GAsyncResult* result, gpointer) {
    const Handle<GDBusConnection, g_object_unref> bus(g_bus_get_finish(result, nullptr));
    if (bus) g_dbus_connection_set_exit_on_close(bus.get(), FALSE);
}

}  // namespace

std::optional<QString> desktopSetting(const char* schema, const char* key) {
    // g_settings_new ends the process where the schema is missing: look it up first.
    GSettingsSchemaSource* source = g_settings_schema_source_get_default();
    if (!source) return std::nullopt;
    const Handle<GSettingsSchema, g_settings_schema_unref> installed(
        g_settings_schema_source_lookup(source, schema, TRUE));
    if (!installed || !g_settings_schema_has_key(installed.get(), key)) return std::nullopt;
    const Handle<GSettings, g_object_unref> settings(
        g_settings_new_full(installed.get(), nullptr, nullptr));
    const Handle<GVariant, g_variant_unref> value(g_settings_get_value(settings.get(), key));
    // The settings listen to the session's bus, whose end would end the program.
    if (hasSessionBus()) g_bus_get(G_BUS_TYPE_SESSION, nullptr, busDidConnect, nullptr);
    if (g_variant_is_of_type(value.get(), G_VARIANT_TYPE_BOOLEAN)) {
        return g_variant_get_boolean(value.get()) ? QStringLiteral("true")
                                                  : QStringLiteral("false");
    }
    if (!g_variant_is_of_type(value.get(), G_VARIANT_TYPE_STRING)) return std::nullopt;
    return QString::fromUtf8(g_variant_get_string(value.get(), nullptr));
}

}  // namespace platform
