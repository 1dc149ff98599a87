#pragma once

#include <QPointer>
#include <QString>

#include <functional>
#include <memory>

class QFileDialog;

namespace platform {

/// The desktop's own panel for choosing what is on disk. Free-standing: it blocks nothing.
class OpenPanel : public std::enable_shared_from_this<OpenPanel> {
  public:
    /// The result code of a confirmed panel; any other means that the user cancelled.
    static constexpr int kConfirmed = 1;

    /// A new panel.
    static std::shared_ptr<OpenPanel> openPanel();
    ~OpenPanel();

    void setTitle(const QString& title);
    void setShowsResizeIndicator(bool shows);
    void setShowsHiddenFiles(bool shows);
    void setCanChooseDirectories(bool can);
    void setAllowsMultipleSelection(bool allows);

    /// Shows the panel and returns; later calls `handler` on the main thread with the result code.
    /// The panel lives until then.
    void beginWithCompletionHandler(std::function<void(int result)> handler);

    /// The path of the chosen item; empty before the panel is confirmed.
    QString path() const { return path_; }

  private:
    OpenPanel();

    QPointer<QFileDialog> dialog_;
    QString path_;
};

}  // namespace platform
