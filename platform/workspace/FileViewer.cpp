#include "platform/foundation/Path.h"
#include "platform/workspace/Workspace.h"

#include <gio/gio.h>

#include <memory>

namespace platform {

namespace {

// The interface is that of freedesktop.org's file manager D-Bus interface, revision 1.
constexpr const char* kName = "org.freedesktop.FileManager1";
constexpr const char* kPath = "/org/freedesktop/FileManager1";

struct Request {
    QByteArray file;
    QByteArray folder;  // both as "file:" URLs
};

void openFolder(const Request& request) {
    g_app_info_launch_default_for_uri_async(request.folder.constData(), nullptr, nullptr, nullptr,
                                            nullptr);
}

void showItemsDidFinish(GObject* source, GAsyncResult* result, gpointer data) {
    const std::unique_ptr<Request> request(static_cast<Request*>(data));
    GVariant* answer = g_dbus_connection_call_finish(G_DBUS_CONNECTION(source), result, nullptr);
    if (!answer) return openFolder(*request);
    g_variant_unref(answer);
}

void busDidConnect(GObject*, GAsyncResult* result, gpointer data) {
    std::unique_ptr<Request> request(static_cast<Request*>(data));
    GDBusConnection* bus = g_bus_get_finish(result, nullptr);
    if (!bus) return openFolder(*request);
    // The program lives on where the bus ends.
    g_dbus_connection_set_exit_on_close(bus, FALSE);
    const char* files[] = {request->file.constData(), nullptr};
    g_dbus_connection_call(bus, kName, kPath, kName, "ShowItems",
                           g_variant_new("(^ass)", files, ""), nullptr, G_DBUS_CALL_FLAGS_NONE, -1,
                           nullptr, showItemsDidFinish, request.release());
    g_object_unref(bus);
}

}  // namespace

void Workspace::activateFileViewerSelectingURL(const QString& path) const {
    const QString folder = path.left(path.lastIndexOf(QLatin1Char('/')) + 1);
    auto request =
        std::make_unique<Request>(Request{fileURLWithPath(path), fileURLWithPath(folder)});
    g_bus_get(G_BUS_TYPE_SESSION, nullptr, busDidConnect, request.release());
}

}  // namespace platform
