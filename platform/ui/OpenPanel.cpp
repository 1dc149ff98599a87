#include "platform/ui/OpenPanel.h"

#include "platform/foundation/Path.h"
#include "platform/ui/RunLoop.h"
#include "platform/workspace/FolderChooser.h"

#include <QApplication>
#include <QFile>
#include <QFileDialog>
#include <QFileInfo>
#include <QFileSystemModel>
#include <QSortFilterProxyModel>
#include <QStandardPaths>
#include <QWindow>

#include <utility>

namespace platform {

namespace {

/// Shows the files of a folder without letting them be chosen, so that a folder of nothing else
/// does not look empty.
class OnlyFolders final : public QSortFilterProxyModel {
  public:
    using QSortFilterProxyModel::QSortFilterProxyModel;

    Qt::ItemFlags flags(const QModelIndex& index) const override {
        const auto* files = qobject_cast<const QFileSystemModel*>(sourceModel());
        const bool isFolder = !files || files->isDir(mapToSource(index));
        return isFolder ? QSortFilterProxyModel::flags(index) : Qt::ItemNeverHasChildren;
    }
};

/// What the desktop portal calls the window; empty where it has no name for it.
QString portalName(const QWidget* window) {
    if (!window || QGuiApplication::platformName() != QLatin1String("xcb")) return {};
    return QStringLiteral("x11:%1").arg(window->winId(), 0, 16);
}

}  // namespace

std::shared_ptr<OpenPanel> OpenPanel::openPanel() {
    return std::shared_ptr<OpenPanel>(new OpenPanel);
}

OpenPanel::~OpenPanel() {
    if (dialog_) dialog_->deleteLater();
}

void OpenPanel::beginWithCompletionHandler(std::function<void(int)> handler) {
    handler_ = std::move(handler);
    owner_ = QApplication::activeWindow();
    if (!QFileInfo(directory_).isDir())
        directory_ = QStandardPaths::writableLocation(QStandardPaths::MusicLocation);
    if (!askDesktop()) showOwnPanel();
}

bool OpenPanel::askDesktop() {
    // The desktop's panel chooses folders or files, not both; folders are what is asked for here.
    if (!canChooseDirectories_) return false;
    using Outcome = FolderAnswer::Outcome;
    // GNOME's panel, closed by Escape or by its window's button, answers as one that could not be
    // shown. That it was there shows in that it took the keyboard from our windows.
    const auto wasShown = std::make_shared<bool>(false);
    const auto watch = QObject::connect(
        qGuiApp, &QGuiApplication::applicationStateChanged, qGuiApp,
        [wasShown](Qt::ApplicationState state) { *wasShown |= state != Qt::ApplicationActive; });
    const bool isAsked =
        askForFolder({title_, directory_, portalName(owner_)},
                     [self = shared_from_this(), wasShown, watch](const FolderAnswer& answer) {
                         QObject::disconnect(watch);
                         if (answer.outcome == Outcome::Unavailable && !*wasShown)
                             return self->showOwnPanel();
                         self->path_ = answer.path;
                         self->finish(answer.outcome == Outcome::Confirmed ? kConfirmed : 0);
                     });
    if (!isAsked) QObject::disconnect(watch);
    return isAsked;
}

void OpenPanel::showOwnPanel() {
    dialog_ = new QFileDialog;
    dialog_->setAttribute(Qt::WA_DeleteOnClose);
    dialog_->setModal(false);
    dialog_->setWindowTitle(title_);
    dialog_->setSizeGripEnabled(showsResizeIndicator_);
    if (canChooseDirectories_) {
        dialog_->setFileMode(QFileDialog::Directory);
        dialog_->setOption(QFileDialog::ShowDirsOnly, false);
        dialog_->setProxyModel(new OnlyFolders(dialog_));
    } else {
        dialog_->setFileMode(allowsMultipleSelection_ ? QFileDialog::ExistingFiles
                                                      : QFileDialog::ExistingFile);
    }
    QDir::Filters filter = dialog_->filter() | QDir::Files;
    filter.setFlag(QDir::Hidden, showsHiddenFiles_);
    dialog_->setFilter(filter);
    if (QFileInfo(directory_).isDir()) dialog_->setDirectory(directory_);
    QObject::connect(dialog_, &QDialog::finished, qApp,
                     [self = shared_from_this()](int result) { self->dialogDidFinish(result); });
    dialog_->winId();  // makes the native window
    if (owner_ && dialog_->windowHandle())
        dialog_->windowHandle()->setTransientParent(owner_->windowHandle());
    dialog_->show();
}

void OpenPanel::dialogDidFinish(int result) {
    const bool confirmed = result == QDialog::Accepted && !dialog_->selectedFiles().isEmpty();
    // The toolkit hands names out through its own decoding; taking the bytes back through it keeps
    // the name that the file system knows.
    if (confirmed) {
        path_ =
            stringWithFileSystemRepresentation(QFile::encodeName(dialog_->selectedFiles().first()));
    }
    finish(confirmed ? kConfirmed : 0);
}

void OpenPanel::finish(int result) {
    if (!handler_) return;
    RunLoop::perform([self = shared_from_this(), handler = std::exchange(handler_, nullptr),
                      result] { handler(result); });
}

}  // namespace platform
