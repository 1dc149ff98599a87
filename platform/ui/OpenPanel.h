#pragma once

#include <QPointer>
#include <QString>

#include <functional>
#include <memory>

class QFileDialog;
class QWidget;

namespace platform {

/// The panel for choosing what is on disk: the desktop's own for a folder where there is one, else
/// the toolkit's. Free-standing: it blocks nothing.
class OpenPanel : public std::enable_shared_from_this<OpenPanel> {
  public:
    /// The result code of a confirmed panel; any other means that the user cancelled.
    static constexpr int kConfirmed = 1;

    /// A new panel.
    static std::shared_ptr<OpenPanel> openPanel();
    ~OpenPanel();

    void setTitle(const QString& title) { title_ = title; }
    void setShowsResizeIndicator(bool shows) { showsResizeIndicator_ = shows; }
    void setShowsHiddenFiles(bool shows) { showsHiddenFiles_ = shows; }
    void setCanChooseDirectories(bool can) { canChooseDirectories_ = can; }
    void setAllowsMultipleSelection(bool allows) { allowsMultipleSelection_ = allows; }
    /// Where the panel opens; a folder that is not there counts as none, and then it is the folder
    /// of music.
    void setDirectoryURL(const QString& path) { directory_ = path; }

    /// Shows the panel and returns; later calls `handler` on the main thread with the result code.
    /// The panel lives until then.
    void beginWithCompletionHandler(std::function<void(int result)> handler);

    /// The path of the chosen item; empty before the panel is confirmed.
    QString path() const { return path_; }

  private:
    OpenPanel() = default;

    bool askDesktop();
    void showOwnPanel();
    void dialogDidFinish(int result);
    void finish(int result);

    QString title_;
    QString directory_;
    bool showsResizeIndicator_ = false;
    bool showsHiddenFiles_ = false;
    bool canChooseDirectories_ = false;
    bool allowsMultipleSelection_ = false;
    std::function<void(int)> handler_;
    QPointer<QWidget> owner_;       // the window in front when the panel was asked for
    QPointer<QFileDialog> dialog_;  // the toolkit's
    QString path_;
};

}  // namespace platform
