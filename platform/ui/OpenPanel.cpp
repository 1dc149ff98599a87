#include "platform/ui/OpenPanel.h"

#include "platform/foundation/Path.h"

#include <QApplication>
#include <QFile>
#include <QFileDialog>
#include <QStandardPaths>

namespace platform {

std::shared_ptr<OpenPanel> OpenPanel::openPanel() {
    return std::shared_ptr<OpenPanel>(new OpenPanel);
}

OpenPanel::OpenPanel() : dialog_(new QFileDialog) {
    dialog_->setAttribute(Qt::WA_DeleteOnClose);
    dialog_->setModal(false);
    const QString music = QStandardPaths::writableLocation(QStandardPaths::MusicLocation);
    if (QFile::exists(music)) dialog_->setDirectory(music);
}

OpenPanel::~OpenPanel() {
    if (dialog_) dialog_->deleteLater();
}

void OpenPanel::setTitle(const QString& title) {
    dialog_->setWindowTitle(title);
}

void OpenPanel::setShowsResizeIndicator(bool shows) {
    dialog_->setSizeGripEnabled(shows);
}

void OpenPanel::setShowsHiddenFiles(bool shows) {
    QDir::Filters filter = dialog_->filter();
    filter.setFlag(QDir::Hidden, shows);
    dialog_->setFilter(filter);
}

void OpenPanel::setCanChooseDirectories(bool can) {
    // A desktop's panel chooses folders or files, not both; folders are what is asked for here.
    dialog_->setFileMode(can ? QFileDialog::Directory : QFileDialog::ExistingFile);
    dialog_->setOption(QFileDialog::ShowDirsOnly, can);
}

void OpenPanel::setAllowsMultipleSelection(bool allows) {
    if (allows && dialog_->fileMode() == QFileDialog::ExistingFile) {
        dialog_->setFileMode(QFileDialog::ExistingFiles);
    }
}

void OpenPanel::beginWithCompletionHandler(std::function<void(int)> handler) {
    QObject::connect(dialog_, &QDialog::finished, qApp,
                     [self = shared_from_this(), handler = std::move(handler)](int result) {
                         const bool confirmed = result == QDialog::Accepted &&
                                                !self->dialog_->selectedFiles().isEmpty();
                         // The toolkit hands names out through its own decoding; taking the bytes
                         // back through it keeps the name that the file system knows.
                         if (confirmed) {
                             self->path_ = stringWithFileSystemRepresentation(
                                 QFile::encodeName(self->dialog_->selectedFiles().first()));
                         }
                         handler(confirmed ? kConfirmed : 0);
                     });
    dialog_->show();
}

}  // namespace platform
